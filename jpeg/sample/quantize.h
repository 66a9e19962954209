// Quantization and dequantization of natural-order 8x8 coefficient blocks with
// prepared tables. The per-coefficient formulas are inline so the fused DCT
// kernels share them.
#ifndef ZEQ_JPEG_SAMPLE_QUANTIZE_H
#define ZEQ_JPEG_SAMPLE_QUANTIZE_H

#include <cstdint>

namespace zeq {

inline int16_t saturate16(int32_t v) {
    return static_cast<int16_t>(v > 32767 ? 32767 : (v < -32768 ? -32768 : v));
}

// coefficient * reciprocal / 2^15, rounded half to even and saturated. The
// halving first keeps every step inside 32 bits for any 16-bit pair.
inline int16_t quantizeCoefficient(int16_t coefficient, uint16_t reciprocal) {
    const int32_t p = int32_t{coefficient} * int32_t{reciprocal};
    const int32_t half = p >> 1;
    const int32_t keptLowBit = (p >> 15) & 1;
    return saturate16((half + (((p & 1) + (1 << 14) - (1 - keptLowBit)) >> 1)) >> 14);
}

inline int16_t dequantizeCoefficient(int16_t coefficient, uint16_t quantizer) {
    return saturate16(int32_t{coefficient} * int32_t{quantizer});
}

void quantizeBlockScalar(int16_t* block, const uint16_t* fwdTable);
void quantizeBlockSse2(int16_t* block, const uint16_t* fwdTable);
void dequantizeBlockScalar(int16_t* block, const uint16_t* invTable);
void dequantizeBlockSse2(int16_t* block, const uint16_t* invTable);

}  // namespace zeq

#endif  // ZEQ_JPEG_SAMPLE_QUANTIZE_H
