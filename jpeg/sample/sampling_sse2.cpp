#include <cstring>

#include "core/sse2.h"
#include "jpeg/sample/sampling.h"

namespace zeq {

using namespace sse2;

namespace {

// 16-bit lanes alternating even and odd bias; vector steps start at even k.
V128 biasLanes(BoxBias bias) {
    return _mm_set1_epi32(static_cast<int32_t>(bias.even) | (bias.odd << 16));
}

// Sum of each byte pair of v in 16-bit lanes.
V128 pairSums(V128 v) {
    return _mm_add_epi16(_mm_and_si128(v, splat16(0xFF)), _mm_srli_epi16(v, 8));
}

V128 widen8(const uint8_t* p) { return _mm_unpacklo_epi8(loadLow64(p), zero()); }

// Four bytes into the low four 16-bit lanes.
V128 widen4(const uint8_t* p) {
    int32_t v;
    std::memcpy(&v, p, sizeof v);
    return _mm_unpacklo_epi8(_mm_cvtsi32_si128(v), zero());
}

// Even and odd outputs of eight source positions, interleaved into 16 bytes;
// of four positions (the low lanes), into 8 bytes.
void storeEvenOdd(uint8_t* d, V128 even, V128 odd) {
    storeu(d, packSaturate16To8u(_mm_unpacklo_epi16(even, odd), _mm_unpackhi_epi16(even, odd)));
}
void storeEvenOdd4(uint8_t* d, V128 even, V128 odd) {
    const V128 pairs = _mm_unpacklo_epi16(even, odd);
    storeLow64(d, packSaturate16To8u(pairs, pairs));
}

V128 times3(V128 v) { return _mm_add_epi16(_mm_add_epi16(v, v), v); }

}  // namespace

// 16 outputs (32 source bytes) per step.
void boxDownH2V1Sse2(const uint8_t* s, uint8_t* d, int32_t count, BoxBias bias) {
    const V128 b = biasLanes(bias);
    int32_t k = 0;
    for (; k + 16 <= count; k += 16) {
        const V128 low = _mm_srli_epi16(_mm_add_epi16(pairSums(loadu(s + 2 * k)), b), 1);
        const V128 high = _mm_srli_epi16(_mm_add_epi16(pairSums(loadu(s + 2 * k + 16)), b), 1);
        storeu(d + k, packSaturate16To8u(low, high));
    }
    if (k + 8 <= count) {  // short rows (one MCU row of chroma) stay in vectors too
        const V128 v = _mm_srli_epi16(_mm_add_epi16(pairSums(loadu(s + 2 * k)), b), 1);
        storeLow64(d + k, packSaturate16To8u(v, v));
        k += 8;
    }
    boxDownH2V1Scalar(s + 2 * k, d + k, count - k, bias);
}

void boxDownH2V2Sse2(const uint8_t* s1, const uint8_t* s2, uint8_t* d, int32_t count,
                     BoxBias bias) {
    const V128 b = biasLanes(bias);
    int32_t k = 0;
    for (; k + 16 <= count; k += 16) {
        V128 half[2];
        for (int h = 0; h < 2; ++h) {
            const int32_t at = 2 * k + 16 * h;
            const V128 sum = _mm_add_epi16(pairSums(loadu(s1 + at)), pairSums(loadu(s2 + at)));
            half[h] = _mm_srli_epi16(_mm_add_epi16(sum, b), 2);
        }
        storeu(d + k, packSaturate16To8u(half[0], half[1]));
    }
    if (k + 8 <= count) {
        const V128 sum = _mm_add_epi16(pairSums(loadu(s1 + 2 * k)), pairSums(loadu(s2 + 2 * k)));
        const V128 v = _mm_srli_epi16(_mm_add_epi16(sum, b), 2);
        storeLow64(d + k, packSaturate16To8u(v, v));
        k += 8;
    }
    boxDownH2V2Scalar(s1 + 2 * k, s2 + 2 * k, d + k, count - k, bias);
}

// 16 outputs from source positions i..i+7, reading s[i-1..i+8]; the last full
// step reads no further than the scalar formulas do.
void triangleUpH2V1Sse2(const uint8_t* s, uint8_t* d, int32_t dstWidth) {
    int32_t x = 0;
    for (; x + 16 <= dstWidth; x += 16) {
        const uint8_t* p = s + x / 2;
        const V128 c3 = times3(widen8(p));
        const V128 even =
            _mm_srli_epi16(_mm_add_epi16(c3, _mm_add_epi16(widen8(p - 1), splat16(1))), 2);
        const V128 odd =
            _mm_srli_epi16(_mm_add_epi16(c3, _mm_add_epi16(widen8(p + 1), splat16(2))), 2);
        storeEvenOdd(d + x, even, odd);
    }
    if (x + 8 <= dstWidth) {  // source positions i..i+3, reading s[i-1..i+4]
        const uint8_t* p = s + x / 2;
        const V128 c3 = times3(widen4(p));
        const V128 even =
            _mm_srli_epi16(_mm_add_epi16(c3, _mm_add_epi16(widen4(p - 1), splat16(1))), 2);
        const V128 odd =
            _mm_srli_epi16(_mm_add_epi16(c3, _mm_add_epi16(widen4(p + 1), splat16(2))), 2);
        storeEvenOdd4(d + x, even, odd);
        x += 8;
    }
    triangleUpH2V1Scalar(s + x / 2, d + x, dstWidth - x);
}

void triangleUpH2V2Sse2(const uint8_t* near, const uint8_t* far, uint8_t* d, int32_t dstWidth) {
    int32_t x = 0;
    auto column = [](const uint8_t* n, const uint8_t* f) {
        return _mm_add_epi16(times3(widen8(n)), widen8(f));
    };
    for (; x + 16 <= dstWidth; x += 16) {
        const int32_t i = x / 2;
        const V128 c3 = times3(column(near + i, far + i));
        const V128 left = column(near + i - 1, far + i - 1);
        const V128 right = column(near + i + 1, far + i + 1);
        const V128 even = _mm_srli_epi16(_mm_add_epi16(c3, _mm_add_epi16(left, splat16(8))), 4);
        const V128 odd = _mm_srli_epi16(_mm_add_epi16(c3, _mm_add_epi16(right, splat16(7))), 4);
        storeEvenOdd(d + x, even, odd);
    }
    if (x + 8 <= dstWidth) {
        auto column4 = [](const uint8_t* n, const uint8_t* f) {
            return _mm_add_epi16(times3(widen4(n)), widen4(f));
        };
        const int32_t i = x / 2;
        const V128 c3 = times3(column4(near + i, far + i));
        const V128 left = column4(near + i - 1, far + i - 1);
        const V128 right = column4(near + i + 1, far + i + 1);
        const V128 even = _mm_srli_epi16(_mm_add_epi16(c3, _mm_add_epi16(left, splat16(8))), 4);
        const V128 odd = _mm_srli_epi16(_mm_add_epi16(c3, _mm_add_epi16(right, splat16(7))), 4);
        storeEvenOdd4(d + x, even, odd);
        x += 8;
    }
    triangleUpH2V2Scalar(near + x / 2, far + x / 2, d + x, dstWidth - x);
}

}  // namespace zeq
