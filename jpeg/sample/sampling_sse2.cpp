#include <algorithm>
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

// Eight outputs (16 source bytes of each row) as 16-bit lanes.
V128 boxH2V1Eight(const uint8_t* s, V128 bias) {
    return _mm_srli_epi16(_mm_add_epi16(pairSums(loadu(s)), bias), 1);
}
V128 boxH2V2Eight(const uint8_t* s1, const uint8_t* s2, V128 bias) {
    const V128 sum = _mm_add_epi16(pairSums(loadu(s1)), pairSums(loadu(s2)));
    return _mm_srli_epi16(_mm_add_epi16(sum, bias), 2);
}

// 2N outputs from source positions i..i+N-1 (N = 8, or 4 for a short row's
// last vector step), reading s[i-1..i+N]: no further than the scalar formulas.
template <int N>
V128 widenN(const uint8_t* p) {
    return N == 8 ? widen8(p) : widen4(p);
}
template <int N>
void storeEvenOddN(uint8_t* d, V128 even, V128 odd) {
    if constexpr (N == 8)
        storeEvenOdd(d, even, odd);
    else
        storeEvenOdd4(d, even, odd);
}
template <int N>
void triangleH2V1Step(const uint8_t* p, uint8_t* d) {
    const V128 c3 = times3(widenN<N>(p));
    const V128 even =
        _mm_srli_epi16(_mm_add_epi16(c3, _mm_add_epi16(widenN<N>(p - 1), splat16(1))), 2);
    const V128 odd =
        _mm_srli_epi16(_mm_add_epi16(c3, _mm_add_epi16(widenN<N>(p + 1), splat16(2))), 2);
    storeEvenOddN<N>(d, even, odd);
}
template <int N>
void triangleH2V2Step(const uint8_t* near, const uint8_t* far, uint8_t* d) {
    auto column = [](const uint8_t* n, const uint8_t* f) {
        return _mm_add_epi16(times3(widenN<N>(n)), widenN<N>(f));
    };
    const V128 c3 = times3(column(near, far));
    const V128 left = column(near - 1, far - 1), right = column(near + 1, far + 1);
    const V128 even = _mm_srli_epi16(_mm_add_epi16(c3, _mm_add_epi16(left, splat16(8))), 4);
    const V128 odd = _mm_srli_epi16(_mm_add_epi16(c3, _mm_add_epi16(right, splat16(7))), 4);
    storeEvenOddN<N>(d, even, odd);
}

// c = 3 * near + far for eight source positions.
V128 column8(const uint8_t* near, const uint8_t* far) {
    return _mm_add_epi16(times3(widen8(near)), widen8(far));
}

}  // namespace

// 16 outputs per step, then one step of 8 so that short rows (a chroma row
// of one MCU row) stay in vectors, then the scalar tail.
void boxDownH2V1Sse2(const uint8_t* s, uint8_t* d, int32_t count, BoxBias bias) {
    const V128 b = biasLanes(bias);
    int32_t k = 0;
    for (; k + 16 <= count; k += 16)
        storeu(d + k,
               packSaturate16To8u(boxH2V1Eight(s + 2 * k, b), boxH2V1Eight(s + 2 * k + 16, b)));
    if (k + 8 <= count) {
        const V128 v = boxH2V1Eight(s + 2 * k, b);
        storeLow64(d + k, packSaturate16To8u(v, v));
        k += 8;
    }
    boxDownH2V1Scalar(s + 2 * k, d + k, count - k, bias);
}

void boxDownH2V2Sse2(const uint8_t* s1, const uint8_t* s2, uint8_t* d, int32_t count,
                     BoxBias bias) {
    const V128 b = biasLanes(bias);
    int32_t k = 0;
    for (; k + 16 <= count; k += 16)
        storeu(d + k, packSaturate16To8u(boxH2V2Eight(s1 + 2 * k, s2 + 2 * k, b),
                                         boxH2V2Eight(s1 + 2 * k + 16, s2 + 2 * k + 16, b)));
    if (k + 8 <= count) {
        const V128 v = boxH2V2Eight(s1 + 2 * k, s2 + 2 * k, b);
        storeLow64(d + k, packSaturate16To8u(v, v));
        k += 8;
    }
    boxDownH2V2Scalar(s1 + 2 * k, s2 + 2 * k, d + k, count - k, bias);
}

void triangleUpH2V1Sse2(const uint8_t* s, uint8_t* d, int32_t dstWidth) {
    int32_t x = 0;
    for (; x + 16 <= dstWidth; x += 16) triangleH2V1Step<8>(s + x / 2, d + x);
    if (x + 8 <= dstWidth) {
        triangleH2V1Step<4>(s + x / 2, d + x);
        x += 8;
    }
    triangleUpH2V1Scalar(s + x / 2, d + x, dstWidth - x);
}

// Long rows: each column sum c is formed once and its neighbours come from
// the previous and next eight by lane shifts, and the even and odd outputs
// (all within 0..255) interleave as the two bytes of a 16-bit lane. The
// stream stops while the next eight sums still lie within what the scalar
// formulas read (an odd last output reads no right neighbour); the rest goes
// through the three-load steps.
void triangleUpH2V2Sse2(const uint8_t* near, const uint8_t* far, uint8_t* d, int32_t dstWidth) {
    int32_t x = 0;
    const int32_t lastSource = dstWidth % 2 ? (dstWidth - 1) / 2 : dstWidth / 2;
    if (dstWidth >= 32) {
        // Steps t = 0, 1, ... while 16 t + 16 <= dstWidth and the next eight
        // sums (sources 8 t + 8 .. 8 t + 15) are still read by the formulas;
        // the pointers advance instead of an index.
        const int32_t steps = std::min((dstWidth - 16) / 16, (lastSource - 15) / 8) + 1;
        const V128 seven = splat16(7), eight = splat16(8);
        V128 previous = _mm_insert_epi16(zero(), 3 * near[-1] + far[-1], 7);
        V128 current = column8(near, far);
        const uint8_t* n = near + 8;
        const uint8_t* f = far + 8;
        uint8_t* out = d;
        for (int32_t t = 0; t < steps; ++t) {
            const V128 next = column8(n, f);
            const V128 left =
                _mm_or_si128(_mm_slli_si128(current, 2), _mm_srli_si128(previous, 14));
            const V128 right = _mm_or_si128(_mm_srli_si128(current, 2), _mm_slli_si128(next, 14));
            const V128 c3 = times3(current);
            const V128 even = _mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(c3, eight), left), 4);
            const V128 odd = _mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(c3, seven), right), 4);
            storeu(out, _mm_or_si128(even, _mm_slli_epi16(odd, 8)));
            previous = current;
            current = next;
            n += 8;
            f += 8;
            out += 16;
        }
        x = 16 * steps;
    }
    for (; x + 16 <= dstWidth; x += 16) triangleH2V2Step<8>(near + x / 2, far + x / 2, d + x);
    if (x + 8 <= dstWidth) {
        triangleH2V2Step<4>(near + x / 2, far + x / 2, d + x);
        x += 8;
    }
    triangleUpH2V2Scalar(near + x / 2, far + x / 2, d + x, dstWidth - x);
}

}  // namespace zeq
