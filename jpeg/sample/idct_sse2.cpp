// SSE2 integer inverse DCT: the whole block in eight registers, columns then
// rows, each pass one vertical 8-point transform with a transpose between.
// The pruned transforms run the same engine with the absent inputs dropped
// at compile time.
#include "core/rows.h"
#include "jpeg/sample/dct_constants.h"
#include "jpeg/sample/dct_sse2.h"
#include "jpeg/sample/idct.h"

namespace zeq {

using namespace dct;
using namespace dctsse2;

namespace {

// The odd part's products as factors of (y1, y3, y5, y7), so that each sum
// is a pair of pmaddwd.
template <int32_t kCos1MinusSin1>
struct OddPart {
    static constexpr Factors4 t1{kInvSin1 + kCos1MinusSin1, 0, 0, kInvSin1};
    static constexpr Factors4 t7{kInvSin1, 0, 0, kInvSin1 - kInvCos1PlusSin1};
    static constexpr Factors4 t5{0, kInvCos3, kInvCos3 - kInvCos3MinusSin3, 0};
    static constexpr Factors4 t3{0, kInvCos3 - kInvCos3PlusSin3, kInvCos3, 0};
    static constexpr Factors4 sum0 = t5 + t1;
    static constexpr Factors4 sum3 = t3 + t7;
    static constexpr Factors4 r1 = t1 - t5 + (t7 - t3);
    static constexpr Factors4 r2 = t1 - t5 + (t3 - t7);
};

// With kActive inputs, y1 and y3 pair up; y5 and y7 exist only in the full transform.
template <int kActive, const Factors4& kF>
Wide oddSum(const Pair& p13, const Pair& p57) {
    if constexpr (kActive > 4)
        return dot<kF.f0, kF.f1, kF.f2, kF.f3>(p13, p57);
    else
        return dot<kF.f0, kF.f1>(p13);
}

// Vertical 8-point inverse transform of y[0..kActive-1] (the others are zero),
// rounded by kShift, in place.
template <int kActive, int kShift, int32_t kCos1MinusSin1>
void inversePass(V128 (&y)[8]) {
    using Odd = OddPart<kCos1MinusSin1>;
    constexpr int32_t bias = 1 << (kShift - 1);
    const Wide y0 = timesHalfWordSize(y[0]);
    Wide s = y0 + bias, h = s;
    if constexpr (kActive > 4) {
        const Wide y4 = timesHalfWordSize(y[4]);
        s = s + y4;
        h = h - y4;
    }
    Wide e0 = s, e1 = h, e2 = h, e3 = s;
    if constexpr (kActive > 2) {
        const Pair p26(y[2], kActive > 4 ? y[6] : zero());
        const Wide e = dot<kEvenDifference + kEvenRotation, kEvenRotation>(p26);
        const Wide f = dot<kEvenRotation, kEvenRotation - kEvenSum>(p26);
        e0 = s + e;
        e3 = s - e;
        e1 = h + f;
        e2 = h - f;
    }
    const Pair p13(y[1], kActive > 2 ? y[3] : zero());
    const Pair p57(kActive > 4 ? y[5] : zero(), kActive > 4 ? y[7] : zero());
    const Wide r0 = times<kInvSqrt2>(shiftRight<12>(oddSum<kActive, Odd::sum0>(p13, p57) + 2048));
    const Wide r3 = times<kInvSqrt2>(shiftRight<12>(oddSum<kActive, Odd::sum3>(p13, p57) + 2048));
    const Wide r1 = oddSum<kActive, Odd::r1>(p13, p57);
    const Wide r2 = oddSum<kActive, Odd::r2>(p13, p57);
    y[0] = narrowShifted<kShift>(e0 + r0);
    y[7] = narrowShifted<kShift>(e0 - r0);
    y[1] = narrowShifted<kShift>(e1 + r1);
    y[6] = narrowShifted<kShift>(e1 - r1);
    y[2] = narrowShifted<kShift>(e2 + r2);
    y[5] = narrowShifted<kShift>(e2 - r2);
    y[3] = narrowShifted<kShift>(e3 + r3);
    y[4] = narrowShifted<kShift>(e3 - r3);
}

V128 dequantizeSignedLanes(V128 coefficients, V128 quantizers) {
    const V128 lo = _mm_mullo_epi16(coefficients, quantizers);
    const V128 hi = _mm_mulhi_epi16(coefficients, quantizers);
    return _mm_packs_epi32(_mm_unpacklo_epi16(lo, hi), _mm_unpackhi_epi16(lo, hi));
}

// Rows 0..kActive-1, columns 0..kActive-1 of the dequantized block; the rest is zero.
template <int kActive>
void loadDequantized(const int16_t* src, const uint16_t* invTable, V128 (&r)[8]) {
    const V128 keep = kActive == 8   ? _mm_set1_epi32(-1)
                      : kActive == 4 ? _mm_set_epi32(0, 0, -1, -1)
                                     : _mm_set_epi32(0, 0, 0, -1);
    for (int i = 0; i < 8; ++i) {
        if (i < kActive) {
            r[i] = dequantizeSignedLanes(loadu(src + 8 * i), loadu(invTable + 8 * i));
            if (kActive < 8) r[i] = _mm_and_si128(r[i], keep);
        } else {
            r[i] = zero();
        }
    }
}

template <int kActive, int32_t kCos1MinusSin1>
void inverseDct(V128 (&r)[8]) {
    inversePass<kActive, kPassOneShift, kCos1MinusSin1>(r);
    transpose8x8(r);
    inversePass<kActive, kPassTwoShift, kCos1MinusSin1>(r);
    transpose8x8(r);
}

void storeSamples(const V128 (&r)[8], uint8_t* dst, int32_t dstStep) {
    const V128 shift = splat16(128);
    for (int y = 0; y < 8; y += 2) {
        const V128 two =
            _mm_packus_epi16(_mm_add_epi16(r[y], shift), _mm_add_epi16(r[y + 1], shift));
        storeLow64(rowAt(dst, dstStep, y), two);
        storeLow64(rowAt(dst, dstStep, y + 1), _mm_unpackhi_epi64(two, two));
    }
}

template <int kActive, int32_t kCos1MinusSin1>
void inverseDctSamples(const int16_t* src, uint8_t* dst, int32_t dstStep,
                       const uint16_t* invTable) {
    V128 r[8];
    loadDequantized<kActive>(src, invTable, r);
    inverseDct<kActive, kCos1MinusSin1>(r);
    storeSamples(r, dst, dstStep);
}

}  // namespace

void inverseDctQuantSse2(const int16_t* src, int16_t* dst, const uint16_t* invTable) {
    V128 r[8];
    loadDequantized<8>(src, invTable, r);
    inverseDct<8, kInvCos1MinusSin1>(r);
    for (int y = 0; y < 8; ++y) storeu(dst + 8 * y, r[y]);
}

void inverseDctQuantSamplesSse2(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                const uint16_t* invTable) {
    inverseDctSamples<8, kInvCos1MinusSin1>(src, dst, dstStep, invTable);
}

void inverseDctQuant2x2SamplesSse2(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                   const uint16_t* invTable) {
    inverseDctSamples<2, kPrunedCos1MinusSin1>(src, dst, dstStep, invTable);
}

void inverseDctQuant4x4SamplesSse2(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                   const uint16_t* invTable) {
    inverseDctSamples<4, kPrunedCos1MinusSin1>(src, dst, dstStep, invTable);
}

}  // namespace zeq
