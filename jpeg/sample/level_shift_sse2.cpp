#include "core/sse2.h"
#include "jpeg/sample/level_shift.h"

namespace zeq {

using namespace sse2;

// 16 pixels per step. The saturating 16-bit add keeps src + 128 exact up to
// 32767, and every larger true value maps to 255 after the unsigned pack anyway.
void add128RowSse2(const uint8_t* src, uint8_t* dst, int32_t width) {
    const V128 bias = splat16(128);
    int32_t x = 0;
    for (; x + 16 <= width; x += 16) {
        const V128 a = _mm_adds_epi16(loadu(src + 2 * x), bias);
        const V128 b = _mm_adds_epi16(loadu(src + 2 * x + 16), bias);
        storeu(dst + x, packSaturate16To8u(a, b));
    }
    add128RowScalar(src + 2 * x, dst + x, width - x);
}

// 16 pixels per step: widen with zero bytes, then subtract the bias.
void sub128RowSse2(const uint8_t* src, uint8_t* dst, int32_t width) {
    const V128 bias = splat16(128);
    int32_t x = 0;
    for (; x + 16 <= width; x += 16) {
        const V128 v = loadu(src + x);
        storeu(dst + 2 * x, _mm_sub_epi16(_mm_unpacklo_epi8(v, zero()), bias));
        storeu(dst + 2 * x + 16, _mm_sub_epi16(_mm_unpackhi_epi8(v, zero()), bias));
    }
    sub128RowScalar(src + x, dst + 2 * x, width - x);
}

}  // namespace zeq
