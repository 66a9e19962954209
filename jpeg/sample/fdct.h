// Forward 8x8 DCT with quantization. One integer engine (rows, then columns,
// a 16-bit block between the passes) serves the 8-bit and the 16-bit block
// variants; 12-bit samples take a single-precision engine. Every vector kernel
// gives the same bytes as its scalar twin for every input.
#ifndef ZEQ_JPEG_SAMPLE_FDCT_H
#define ZEQ_JPEG_SAMPLE_FDCT_H

#include <cstdint>

namespace zeq {

// The integer forward DCT of a natural-order block, in place (no quantization).
void forwardDctScalar(int16_t* block);
void forwardDctSse2(int16_t* block);

// DCT of src into dst, then quantization with a reciprocal table; src may be dst.
void forwardDctQuantScalar(const int16_t* src, int16_t* dst, const uint16_t* fwdTable);
void forwardDctQuantSse2(const int16_t* src, int16_t* dst, const uint16_t* fwdTable);

// 8x8 unsigned 8-bit samples (byte row step) less 128, DCT, quantization.
void forwardDctQuantSamplesScalar(const uint8_t* src, int32_t srcStep, int16_t* dst,
                                  const uint16_t* fwdTable);
void forwardDctQuantSamplesSse2(const uint8_t* src, int32_t srcStep, int16_t* dst,
                                const uint16_t* fwdTable);

// 8x8 12-bit samples in 16-bit elements (byte row step) less 2048, float DCT,
// times the float table, rounded half to even and saturated (NaN gives 0).
void forwardDctQuant12BitScalar(const uint8_t* src, int32_t srcStep, int16_t* dst,
                                const float* table);
void forwardDctQuant12BitSse2(const uint8_t* src, int32_t srcStep, int16_t* dst,
                              const float* table);

}  // namespace zeq

#endif  // ZEQ_JPEG_SAMPLE_FDCT_H
