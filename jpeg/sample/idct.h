// Inverse 8x8 DCT with dequantization. One integer engine (columns, then
// rows, a 16-bit block between the passes) serves the full transform and,
// with the pruned odd factor and absent inputs dropped, the transforms of
// the top-left 2x2 and 4x4 coefficients; the scaled-down 2x2 and 4x4 outputs
// and the DC-only form have their own small kernels, and 12-bit samples a
// single-precision engine. The vector forms of the pruned transforms pair
// only the inputs that can be nonzero. Vector kernels give the same bytes as their scalar
// twins for every input. The caller's coefficients are never modified except
// by the in-place block variant.
#ifndef ZEQ_JPEG_SAMPLE_IDCT_H
#define ZEQ_JPEG_SAMPLE_IDCT_H

#include <cstdint>

#include "jpeg/sample/quantize.h"

namespace zeq {

// The inverse DCT reads its quantizer table as signed 16-bit values.
inline int16_t dequantizeSigned(int16_t coefficient, uint16_t quantizer) {
    return saturate16(int32_t{coefficient} * int32_t{static_cast<int16_t>(quantizer)});
}

// Dequantized src (src may be dst) transformed into 16-bit samples in dst.
void inverseDctQuantScalar(const int16_t* src, int16_t* dst, const uint16_t* invTable);
void inverseDctQuantSse2(const int16_t* src, int16_t* dst, const uint16_t* invTable);

// Full transform, plus 128 and saturated into an 8x8 region of 8-bit samples.
void inverseDctQuantSamplesScalar(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                  const uint16_t* invTable);
void inverseDctQuantSamplesSse2(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                const uint16_t* invTable);

// Pruned transforms of the top-left 2x2 or 4x4 dequantized coefficients (the
// rest is not read), 8x8 samples out.
void inverseDctQuant2x2SamplesScalar(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                     const uint16_t* invTable);
void inverseDctQuant2x2SamplesSse2(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                   const uint16_t* invTable);
void inverseDctQuant4x4SamplesScalar(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                     const uint16_t* invTable);
void inverseDctQuant4x4SamplesSse2(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                   const uint16_t* invTable);

// DC alone: (c0 * q0) >> 3 plus 128, saturated, into all 64 samples.
void inverseDctQuantDcSamples(const int16_t* src, uint8_t* dst, int32_t dstStep,
                              const uint16_t* invTable);

// Scaled-down outputs: each sample the mean of a 4x4 (To2x2) or 2x2 (To4x4)
// group of the full inverse, computed from the coefficients directly.
void inverseDctQuantTo2x2SamplesScalar(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                       const uint16_t* invTable);
void inverseDctQuantTo2x2SamplesSse2(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                     const uint16_t* invTable);
void inverseDctQuantTo4x4SamplesScalar(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                       const uint16_t* invTable);
void inverseDctQuantTo4x4SamplesSse2(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                     const uint16_t* invTable);

// 12-bit: float dequantization and transform, plus 2048, rounded half to
// even and kept within 0..4095, into 16-bit elements (byte row step).
void inverseDctQuant12BitScalar(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                const float* table);
void inverseDctQuant12BitSse2(const int16_t* src, uint8_t* dst, int32_t dstStep,
                              const float* table);

}  // namespace zeq

#endif  // ZEQ_JPEG_SAMPLE_IDCT_H
