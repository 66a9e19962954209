// Eight-lane forms of the coefficient formulas of quantize.h, for the block
// kernels and the fused DCT kernels.
#ifndef ZEQ_JPEG_SAMPLE_QUANTIZE_SSE2_H
#define ZEQ_JPEG_SAMPLE_QUANTIZE_SSE2_H

#include "core/sse2.h"

namespace zeq::sse2 {

// Round half to even of (c * r) / 2^15 in 16-bit lanes, saturated. With the
// product split as 65536 * hi + lo (lo unsigned), the result is
// 2 * hi + carry, where carry = (lo + 16383 + bit 15 of lo) >> 15 is 0, 1 or 2.
// The 17-bit sum is formed by the unsigned average, and 2 * hi + carry is
// added as (hi + carry) + hi so the saturation sees the true sum.
// kReciprocalsBelow32768 drops the unsigned correction of the high half; it is
// exact only when every lane of r is below 32768.
template <bool kReciprocalsBelow32768 = false>
inline V128 quantizeLanes(V128 coefficients, V128 reciprocals) {
    const V128 lo = mulLow16(coefficients, reciprocals);
    const V128 hi = kReciprocalsBelow32768 ? _mm_mulhi_epi16(coefficients, reciprocals)
                                           : mulHighSignedUnsigned16(coefficients, reciprocals);
    const V128 loTopBit = _mm_srli_epi16(lo, 15);
    const V128 halfSum = _mm_avg_epu16(lo, _mm_add_epi16(loTopBit, splat16(16382)));
    const V128 carry = _mm_srli_epi16(halfSum, 14);
    return _mm_adds_epi16(_mm_adds_epi16(hi, carry), hi);
}

inline bool reciprocalsBelow32768(const uint16_t* fwdTable) {
    V128 topBits = zero();
    for (int i = 0; i < 64; i += 8) topBits = _mm_or_si128(topBits, loadu(fwdTable + i));
    return (_mm_movemask_epi8(topBits) & 0xAAAA) == 0;
}

template <bool kReciprocalsBelow32768>
inline void quantizeRowsInto(const V128 (&rows)[8], int16_t* dst, const uint16_t* fwdTable) {
    for (int y = 0; y < 8; ++y)
        storeu(dst + 8 * y,
               quantizeLanes<kReciprocalsBelow32768>(rows[y], loadu(fwdTable + 8 * y)));
}

// Quantizes a block held as eight rows of lanes into dst. Quantizers of 2 and
// up give reciprocals below 32768, where the signed high multiply is already
// exact; only tables holding a 0 or a 1 pay the unsigned correction.
inline void storeQuantizedBlock(const V128 (&rows)[8], int16_t* dst, const uint16_t* fwdTable) {
    if (reciprocalsBelow32768(fwdTable))
        quantizeRowsInto<true>(rows, dst, fwdTable);
    else
        quantizeRowsInto<false>(rows, dst, fwdTable);
}

// c * q saturated to 16 bits (q unsigned).
inline V128 dequantizeLanes(V128 coefficients, V128 quantizers) {
    const V128 lo = mulLow16(coefficients, quantizers);
    const V128 hi = mulHighSignedUnsigned16(coefficients, quantizers);
    return packSaturate32To16(interleaveLow16(lo, hi), interleaveHigh16(lo, hi));
}

}  // namespace zeq::sse2

#endif  // ZEQ_JPEG_SAMPLE_QUANTIZE_SSE2_H
