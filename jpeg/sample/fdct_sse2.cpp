// SSE2 integer forward DCT: the whole block in eight registers, rows then
// columns, each pass one vertical 8-point transform after a transpose, and
// the quantization fused into the store.
#include "core/rows.h"
#include "jpeg/sample/dct_constants.h"
#include "jpeg/sample/dct_sse2.h"
#include "jpeg/sample/fdct.h"
#include "jpeg/sample/quantize_sse2.h"

namespace zeq {

using namespace dct;
using namespace dctsse2;

namespace {

// The odd part's rotations as factors of (p = 8 * d16, q = 8 * d25, u, w).
struct OddPart {
    static constexpr Factors4 a{1, 1, 1, 0}, b{1, -1, 0, 1}, c{-1, -1, 1, 0}, d{-1, 1, 0, 1};
    static constexpr Factors4 z1 = (a + b) * kFwdSin1;
    static constexpr Factors4 z2 = (c + d) * kFwdCos3;
    static constexpr Factors4 p1 = z1 + a * kFwdCos1MinusSin1;
    static constexpr Factors4 p7 = z1 - b * kFwdCos1PlusSin1;
    static constexpr Factors4 p3 = z2 - d * kFwdCos3PlusSin3;
    static constexpr Factors4 p5 = z2 - c * kFwdCos3MinusSin3;
};

// u and w are up to 20 bits: each is split as 16 * (v >> 4) + (v & 15), both
// halves 16-bit, so their products are pmaddwd pairs too.
struct SplitUW {
    SplitUW(Wide u, Wide w) : high(highPart(u), highPart(w)), low(lowPart(u), lowPart(w)) {}
    static V128 highPart(Wide v) {
        return _mm_packs_epi32(_mm_srai_epi32(v.lo, 4), _mm_srai_epi32(v.hi, 4));
    }
    static V128 lowPart(Wide v) {
        const V128 mask = _mm_set1_epi32(15);
        return _mm_packs_epi32(_mm_and_si128(v.lo, mask), _mm_and_si128(v.hi, mask));
    }
    Pair high, low;
};

template <const Factors4& kF>
Wide oddOutput(const Pair& p16, const Pair& p25, const SplitUW& uw) {
    return dot<8 * kF.f0, -8 * kF.f0, 8 * kF.f1, -8 * kF.f1>(p16, p25) +
           dot<16 * kF.f2, 16 * kF.f3>(uw.high) + dot<kF.f2, kF.f3>(uw.low);
}

// The six rotated outputs, rounded and shifted by kShift (low 16 bits kept).
template <int kShift>
void storeRotated(V128 (&x)[8], Wide p1, Wide p2, Wide p3, Wide p5, Wide p6, Wide p7) {
    constexpr int32_t bias = 1 << (kShift - 1);
    x[1] = narrowShifted<kShift>(p1 + bias);
    x[2] = narrowShifted<kShift>(p2 + bias);
    x[3] = narrowShifted<kShift>(p3 + bias);
    x[5] = narrowShifted<kShift>(p5 + bias);
    x[6] = narrowShifted<kShift>(p6 + bias);
    x[7] = narrowShifted<kShift>(p7 + bias);
}

// Vertical 8-point forward transform of x[0..7], in place. The row pass
// keeps the low 16 bits of its scaled results; the column pass rounds them away.
template <bool kColumnPass>
void forwardPass(V128 (&x)[8]) {
    constexpr int kShift = kColumnPass ? kPassTwoShift : kPassOneShift;
    const Pair p07(x[0], x[7]), p16(x[1], x[6]), p25(x[2], x[5]), p34(x[3], x[4]);

    const Wide p2 =
        dot<kEvenDifference + kEvenRotation, kEvenDifference + kEvenRotation,
            -(kEvenDifference + kEvenRotation), -(kEvenDifference + kEvenRotation)>(p07, p34) +
        dot<kEvenRotation, kEvenRotation, -kEvenRotation, -kEvenRotation>(p16, p25);
    const Wide p6 = dot<kEvenRotation, kEvenRotation, -kEvenRotation, -kEvenRotation>(p07, p34) +
                    dot<kEvenRotation - kEvenSum, kEvenRotation - kEvenSum,
                        kEvenSum - kEvenRotation, kEvenSum - kEvenRotation>(p16, p25);
    const Wide u = shiftRight<12>(dot<kFwdSqrt2, -kFwdSqrt2>(p07) + 2048);
    const Wide w = shiftRight<12>(dot<kFwdSqrt2, -kFwdSqrt2>(p34) + 2048);
    const SplitUW uw(u, w);

    const Wide p1 = oddOutput<OddPart::p1>(p16, p25, uw);
    const Wide p3 = oddOutput<OddPart::p3>(p16, p25, uw);
    const Wide p5 = oddOutput<OddPart::p5>(p16, p25, uw);
    const Wide p7 = oddOutput<OddPart::p7>(p16, p25, uw);

    if constexpr (kColumnPass) {
        constexpr int32_t evenBias = 1 << (kFwdEvenShift - 1);
        const Wide a = dot<1, 1, 1, 1>(p07, p34) + evenBias;
        const Wide b = dot<1, 1, 1, 1>(p16, p25);
        x[0] = narrowShifted<kFwdEvenShift>(a + b);
        x[4] = narrowShifted<kFwdEvenShift>(a - b);
    } else {
        // 8 * (a +- b) modulo 2^16 needs only 16-bit sums.
        const V128 a = _mm_add_epi16(_mm_add_epi16(x[0], x[7]), _mm_add_epi16(x[3], x[4]));
        const V128 b = _mm_add_epi16(_mm_add_epi16(x[1], x[6]), _mm_add_epi16(x[2], x[5]));
        x[0] = _mm_slli_epi16(_mm_add_epi16(a, b), 3);
        x[4] = _mm_slli_epi16(_mm_sub_epi16(a, b), 3);
    }
    storeRotated<kShift>(x, p1, p2, p3, p5, p6, p7);
}

// The row pass of level-shifted 8-bit samples (-128..127): every intermediate
// of the flow graph fits in 16 bits and nothing wraps, so the rotations can
// act on the 16-bit sums and differences with a quarter of the multiplies of
// the general pass, giving the same results.
void forwardRowPassOfSamples(V128 (&x)[8]) {
    const V128 s07 = _mm_add_epi16(x[0], x[7]), d07 = _mm_sub_epi16(x[0], x[7]);
    const V128 s16 = _mm_add_epi16(x[1], x[6]), d16 = _mm_sub_epi16(x[1], x[6]);
    const V128 s25 = _mm_add_epi16(x[2], x[5]), d25 = _mm_sub_epi16(x[2], x[5]);
    const V128 s34 = _mm_add_epi16(x[3], x[4]), d34 = _mm_sub_epi16(x[3], x[4]);
    const V128 a = _mm_add_epi16(s07, s34), c = _mm_sub_epi16(s07, s34);
    const V128 b = _mm_add_epi16(s16, s25), d = _mm_sub_epi16(s16, s25);

    const Pair cd(c, d);
    const Wide p2 = dot<kEvenDifference + kEvenRotation, kEvenRotation>(cd);
    const Wide p6 = dot<kEvenRotation, kEvenRotation - kEvenSum>(cd);

    // u and w with their rounding term as a second product.
    const V128 ones = splat16(1);
    const V128 u = narrowShifted<12>(dot<kFwdSqrt2, 2048>(Pair(d07, ones)));
    const V128 w = narrowShifted<12>(dot<kFwdSqrt2, 2048>(Pair(d34, ones)));
    const V128 p = _mm_slli_epi16(d16, 3), q = _mm_slli_epi16(d25, 3);
    const V128 e = _mm_sub_epi16(p, q);
    const Pair ab(_mm_add_epi16(_mm_add_epi16(p, q), u), _mm_add_epi16(e, w));
    const Pair cd2(_mm_sub_epi16(u, _mm_add_epi16(p, q)), _mm_sub_epi16(w, e));
    // z1 = 799 (A + B) and z2 = 3406 (C + D) folded into the factors of A, B, C, D.
    const Wide p1 = dot<kFwdSin1 + kFwdCos1MinusSin1, kFwdSin1>(ab);
    const Wide p7 = dot<kFwdSin1, kFwdSin1 - kFwdCos1PlusSin1>(ab);
    const Wide p3 = dot<kFwdCos3, kFwdCos3 - kFwdCos3PlusSin3>(cd2);
    const Wide p5 = dot<kFwdCos3 - kFwdCos3MinusSin3, kFwdCos3>(cd2);

    x[0] = _mm_slli_epi16(_mm_add_epi16(a, b), 3);
    x[4] = _mm_slli_epi16(_mm_sub_epi16(a, b), 3);
    storeRotated<kPassOneShift>(x, p1, p2, p3, p5, p6, p7);
}

// Rows in, coefficient rows out.
template <bool kSampleRows>
void forwardDct(V128 (&x)[8]) {
    transpose8x8(x);
    if constexpr (kSampleRows)
        forwardRowPassOfSamples(x);
    else
        forwardPass<false>(x);
    transpose8x8(x);
    forwardPass<true>(x);
}

template <bool kSampleRows>
void transformAndStore(V128 (&x)[8], int16_t* dst, const uint16_t* fwdTable) {
    forwardDct<kSampleRows>(x);
    storeQuantizedBlock(x, dst, fwdTable);
}

}  // namespace

void forwardDctSse2(int16_t* block) {
    V128 x[8];
    for (int y = 0; y < 8; ++y) x[y] = loadu(block + 8 * y);
    forwardDct<false>(x);
    for (int y = 0; y < 8; ++y) storeu(block + 8 * y, x[y]);
}

void forwardDctQuantSse2(const int16_t* src, int16_t* dst, const uint16_t* fwdTable) {
    V128 x[8];
    for (int y = 0; y < 8; ++y) x[y] = loadu(src + 8 * y);
    transformAndStore<false>(x, dst, fwdTable);
}

void forwardDctQuantSamplesSse2(const uint8_t* src, int32_t srcStep, int16_t* dst,
                                const uint16_t* fwdTable) {
    V128 x[8];
    const V128 shift = splat16(128);
    for (int y = 0; y < 8; ++y)
        x[y] = _mm_sub_epi16(_mm_unpacklo_epi8(loadLow64(rowAt(src, srcStep, y)), zero()), shift);
    transformAndStore<true>(x, dst, fwdTable);
}

}  // namespace zeq
