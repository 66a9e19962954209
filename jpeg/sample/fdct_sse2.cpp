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

// Factors of p = 8 * d16, q = 8 * d25, u and w in one odd output.
struct OddFactors {
    int32_t p, q, u, w;
};
constexpr OddFactors operator+(OddFactors a, OddFactors b) {
    return {a.p + b.p, a.q + b.q, a.u + b.u, a.w + b.w};
}
constexpr OddFactors operator-(OddFactors a, OddFactors b) {
    return {a.p - b.p, a.q - b.q, a.u - b.u, a.w - b.w};
}
constexpr OddFactors operator*(OddFactors a, int32_t k) {
    return {a.p * k, a.q * k, a.u * k, a.w * k};
}

// The odd part's rotations expanded into one factor per input (exact modulo 2^32).
struct OddPart {
    static constexpr OddFactors a{1, 1, 1, 0}, b{1, -1, 0, 1}, c{-1, -1, 1, 0}, d{-1, 1, 0, 1};
    static constexpr OddFactors z1 = (a + b) * kFwdSin1;
    static constexpr OddFactors z2 = (c + d) * kFwdCos3;
    static constexpr OddFactors p1 = z1 + a * kFwdCos1MinusSin1;
    static constexpr OddFactors p7 = z1 - b * kFwdCos1PlusSin1;
    static constexpr OddFactors p3 = z2 - d * kFwdCos3PlusSin3;
    static constexpr OddFactors p5 = z2 - c * kFwdCos3MinusSin3;
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

template <const OddFactors& kF>
Wide oddOutput(const Pair& p16, const Pair& p25, const SplitUW& uw) {
    return dot<8 * kF.p, -8 * kF.p, 8 * kF.q, -8 * kF.q>(p16, p25) +
           dot<16 * kF.u, 16 * kF.w>(uw.high) + dot<kF.u, kF.w>(uw.low);
}

// Vertical 8-point forward transform of x[0..7], in place. The row pass
// keeps the low 16 bits of its scaled results; the column pass rounds them away.
template <bool kColumnPass>
void forwardPass(V128 (&x)[8]) {
    constexpr int kShift = kColumnPass ? kPassTwoShift : kPassOneShift;
    constexpr int32_t bias = 1 << (kShift - 1);
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
    x[1] = narrowShifted<kShift>(p1 + bias);
    x[2] = narrowShifted<kShift>(p2 + bias);
    x[3] = narrowShifted<kShift>(p3 + bias);
    x[5] = narrowShifted<kShift>(p5 + bias);
    x[6] = narrowShifted<kShift>(p6 + bias);
    x[7] = narrowShifted<kShift>(p7 + bias);
}

// Rows in, coefficient rows out.
void forwardDct(V128 (&x)[8]) {
    transpose8x8(x);
    forwardPass<false>(x);
    transpose8x8(x);
    forwardPass<true>(x);
}

template <bool kReciprocalsBelow32768>
void storeQuantized(const V128 (&x)[8], int16_t* dst, const uint16_t* fwdTable) {
    for (int y = 0; y < 8; ++y)
        storeu(dst + 8 * y, quantizeLanes<kReciprocalsBelow32768>(x[y], loadu(fwdTable + 8 * y)));
}

// Tables without a 0 or 1 quantizer hold only reciprocals below 32768, where
// the cheaper signed multiply is exact.
void transformAndStore(V128 (&x)[8], int16_t* dst, const uint16_t* fwdTable) {
    forwardDct(x);
    V128 topBits = zero();
    for (int y = 0; y < 8; ++y) topBits = _mm_or_si128(topBits, loadu(fwdTable + 8 * y));
    if ((_mm_movemask_epi8(topBits) & 0xAAAA) == 0)
        storeQuantized<true>(x, dst, fwdTable);
    else
        storeQuantized<false>(x, dst, fwdTable);
}

}  // namespace

void forwardDctSse2(int16_t* block) {
    V128 x[8];
    for (int y = 0; y < 8; ++y) x[y] = loadu(block + 8 * y);
    forwardDct(x);
    for (int y = 0; y < 8; ++y) storeu(block + 8 * y, x[y]);
}

void forwardDctQuantSse2(const int16_t* src, int16_t* dst, const uint16_t* fwdTable) {
    V128 x[8];
    for (int y = 0; y < 8; ++y) x[y] = loadu(src + 8 * y);
    transformAndStore(x, dst, fwdTable);
}

void forwardDctQuantSamplesSse2(const uint8_t* src, int32_t srcStep, int16_t* dst,
                                const uint16_t* fwdTable) {
    V128 x[8];
    const V128 shift = splat16(128);
    for (int y = 0; y < 8; ++y)
        x[y] = _mm_sub_epi16(_mm_unpacklo_epi8(loadLow64(rowAt(src, srcStep, y)), zero()), shift);
    transformAndStore(x, dst, fwdTable);
}

}  // namespace zeq
