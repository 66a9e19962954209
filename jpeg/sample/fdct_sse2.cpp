// SSE2 integer forward DCT: the whole block in eight registers, rows then
// columns, each pass one vertical 8-point transform after a transpose, and
// the quantization fused into the store. Blocks of any 16-bit values follow
// the wrapping arithmetic exactly; 8-bit samples, whose intermediates are
// bounded, take a cheaper kernel that regroups the graph without wrapping.
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

// ---- 8-bit samples ----
//
// Bounds (interval analysis of the flow graph over samples 0..255): in the
// row pass every sum and difference, u, w and A..D stay within 16 bits
// (|A..D| <= 6965, |u|, |w| <= 2885) and the products stay below 2^25. Its
// outputs lie in [-8192, 8160], so in the column pass the sums a, b, c, d fit
// 16 bits ([-32768, 32640]), 2 * d07 .. 2 * d34 fit 16 bits (|d| <= 16320),
// u and w need 18 bits (|u| <= 184640) and every rotated product stays below
// 1.98e9 < 2^31. Nothing wraps, so the row results fit 16 bits without
// truncation and the whole graph may be regrouped freely.

// (k * x) >> 16 of unsigned lanes.
inline V128 mulHighUnsigned(V128 x, uint16_t k) {
    return _mm_mulhi_epu16(x, splat16(static_cast<int16_t>(k)));
}

template <int kShift>
V128 roundNarrow(Wide v, int32_t bias) {
    const V128 b = _mm_set1_epi32(bias);
    return _mm_packs_epi32(_mm_srai_epi32(_mm_add_epi32(v.lo, b), kShift),
                           _mm_srai_epi32(_mm_add_epi32(v.hi, b), kShift));
}

// The first two butterfly stages of an 8-point pass in 16-bit lanes (the
// bounds above keep them exact): differences d07..d34, then a = s07 + s34,
// b = s16 + s25, c = s07 - s34, d = s16 - s25.
struct Butterflies16 {
    explicit Butterflies16(const V128 (&x)[8])
        : d07(_mm_sub_epi16(x[0], x[7])),
          d16(_mm_sub_epi16(x[1], x[6])),
          d25(_mm_sub_epi16(x[2], x[5])),
          d34(_mm_sub_epi16(x[3], x[4])) {
        const V128 s07 = _mm_add_epi16(x[0], x[7]), s16 = _mm_add_epi16(x[1], x[6]);
        const V128 s25 = _mm_add_epi16(x[2], x[5]), s34 = _mm_add_epi16(x[3], x[4]);
        a = _mm_add_epi16(s07, s34);
        b = _mm_add_epi16(s16, s25);
        c = _mm_sub_epi16(s07, s34);
        d = _mm_sub_epi16(s16, s25);
    }
    V128 d07, d16, d25, d34, a, b, c, d;
};

// u + 23170 for u = (46341 * d + 2048) >> 12 and |d| <= 255: with
// x = 16 * d + 32768 (unsigned), (x * 46341) >> 16 adds exactly 23170.5
// to 46341 * d / 4096, folding the rounding term into the multiply.
constexpr int32_t kRootTwoOffset = 23170;
inline V128 rootTwoRoundedPlusOffset(V128 d) {
    return mulHighUnsigned(_mm_xor_si128(_mm_slli_epi16(d, 4), splat16(-32768)), kFwdSqrt2);
}

// Row pass of unshifted samples (0..255, lanes are rows, x[i] element i).
// The level shift only changes the DC term (8 * 8 * 128), so it is applied
// there alone; differences do not see it.
[[gnu::always_inline]] inline void forwardRowPassOfSamples(V128 (&x)[8]) {
    const Butterflies16 f(x);

    // P2 = 25080 c + 17734 (c + d), P6 = 17734 (c - d) - 25079 d.
    constexpr int32_t bias = 1 << (kPassOneShift - 1);
    x[2] = roundNarrow<kPassOneShift>(
        madd(Pair(f.c, _mm_add_epi16(f.c, f.d)), factors(kEvenDifference, kEvenRotation)), bias);
    x[6] = roundNarrow<kPassOneShift>(madd(Pair(_mm_sub_epi16(f.c, f.d), f.d),
                                           factors(kEvenRotation, 2 * kEvenRotation - kEvenSum)),
                                      bias);

    // A..D carry the offset of u and w; the rotations' biases take it back out.
    const V128 u = rootTwoRoundedPlusOffset(f.d07), w = rootTwoRoundedPlusOffset(f.d34);
    const V128 pq = _mm_slli_epi16(_mm_add_epi16(f.d16, f.d25), 3);
    const V128 e = _mm_slli_epi16(_mm_sub_epi16(f.d16, f.d25), 3);
    const Pair ab(_mm_add_epi16(pq, u), _mm_add_epi16(e, w));
    const Pair cd(_mm_sub_epi16(u, pq), _mm_sub_epi16(w, e));
    constexpr int32_t p1a = kFwdSin1 + kFwdCos1MinusSin1, p1b = kFwdSin1;
    constexpr int32_t p7a = kFwdSin1, p7b = kFwdSin1 - kFwdCos1PlusSin1;
    constexpr int32_t p3c = kFwdCos3, p3d = kFwdCos3 - kFwdCos3PlusSin3;
    constexpr int32_t p5c = kFwdCos3 - kFwdCos3MinusSin3, p5d = kFwdCos3;
    const auto biasOf = [](int32_t f0, int32_t f1) { return bias - kRootTwoOffset * (f0 + f1); };
    x[1] = roundNarrow<kPassOneShift>(madd(ab, factors(p1a, p1b)), biasOf(p1a, p1b));
    x[7] = roundNarrow<kPassOneShift>(madd(ab, factors(p7a, p7b)), biasOf(p7a, p7b));
    x[3] = roundNarrow<kPassOneShift>(madd(cd, factors(p3c, p3d)), biasOf(p3c, p3d));
    x[5] = roundNarrow<kPassOneShift>(madd(cd, factors(p5c, p5d)), biasOf(p5c, p5d));

    x[0] = _mm_sub_epi16(_mm_slli_epi16(_mm_add_epi16(f.a, f.b), 3), splat16(8 * 8 * 128));
    x[4] = _mm_slli_epi16(_mm_sub_epi16(f.a, f.b), 3);
}

// floor((a + b + 32) / 64) and floor((a - b + 32) / 64) of 16-bit a, b
// (a <= 32735) through the unsigned average, which keeps the 17th bit.
inline void evenColumnOutputs(V128 a, V128 b, V128& x0, V128& x4) {
    const V128 sign = splat16(-32768);
    const V128 a0 = _mm_add_epi16(a, splat16(static_cast<int16_t>(32768 + 31 - 65536)));
    const V128 a4 = _mm_add_epi16(a, splat16(static_cast<int16_t>(32768 + 32 - 65536)));
    const V128 sum = _mm_avg_epu16(a0, _mm_xor_si128(b, sign));  // (a + b + 32) / 2 + 32768
    const V128 diff =
        _mm_avg_epu16(a4, _mm_xor_si128(b, splat16(0x7FFF)));  // (a - b + 32) / 2 + 32768
    const V128 offset = splat16(1024);
    x0 = _mm_sub_epi16(_mm_srli_epi16(sum, 5), offset);
    x4 = _mm_sub_epi16(_mm_srli_epi16(diff, 5), offset);
}

// v = (k * t + 32768) >> 16 for 16-bit t: the high product plus the carry
// of the rounding term out of the low product.
template <int16_t k>
V128 mulHighRounded(V128 t) {
    const V128 f = splat16(k);
    return _mm_add_epi16(_mm_mulhi_epi16(t, f), _mm_srli_epi16(_mm_mullo_epi16(t, f), 15));
}

// Column pass of the row results above (lanes are columns, x[i] row i).
[[gnu::always_inline]] inline void forwardColumnPassOfSamples(V128 (&x)[8]) {
    const Butterflies16 f(x);
    evenColumnOutputs(f.a, f.b, x[0], x[4]);

    constexpr int32_t bias = 1 << (kPassTwoShift - 1);
    // P2 is even: (P2 / 2 + 2^19) >> 20. P6 = 17734 c - 42813 d takes
    // -42813 as 22723 - 65536, and the 65536 d part with the bias as
    // (d - 16) << 16.
    const Pair cd(f.c, f.d);
    x[2] = roundNarrow<kPassTwoShift - 1>(
        madd(cd, factors((kEvenDifference + kEvenRotation) / 2, kEvenRotation / 2)), bias / 2);
    const Wide p6 = madd(cd, factors(kEvenRotation, kEvenRotation - kEvenSum + 65536));
    const V128 dHigh = _mm_sub_epi16(f.d, splat16(bias >> 16));
    x[6] = _mm_packs_epi32(
        _mm_srai_epi32(_mm_sub_epi32(p6.lo, _mm_unpacklo_epi16(zero(), dHigh)), kPassTwoShift),
        _mm_srai_epi32(_mm_sub_epi32(p6.hi, _mm_unpackhi_epi16(zero(), dHigh)), kPassTwoShift));

    // u = 12 d07 + v with v = (-2811 d07 + 2048) >> 12 within 16 bits, so
    // each rotation 8 k0 d16 + 8 k1 d25 + k2 u + k3 w is three pmaddwd on
    // pairs of 16-bit values: (2 d16, 2 d25), (2 d07, 2 d34), (v, vw).
    constexpr int16_t kFraction = (kFwdSqrt2 - 12 * 4096) * 8;  // -2811 / 4096, applied to 2 d07
    const V128 t = _mm_add_epi16(f.d07, f.d07), tw = _mm_add_epi16(f.d34, f.d34);
    const Pair dd(_mm_add_epi16(f.d16, f.d16), _mm_add_epi16(f.d25, f.d25));
    const Pair tt(t, tw);
    const Pair vv(mulHighRounded<kFraction>(t), mulHighRounded<kFraction>(tw));
    const auto rotation = [&](const Factors4& k) {
        const Wide sum = madd(dd, factors(4 * k.f0, 4 * k.f1)) +
                         madd(tt, factors(6 * k.f2, 6 * k.f3)) + madd(vv, factors(k.f2, k.f3));
        return roundNarrow<kPassTwoShift>(sum, bias);
    };
    x[1] = rotation(OddPart::p1);
    x[3] = rotation(OddPart::p3);
    x[5] = rotation(OddPart::p5);
    x[7] = rotation(OddPart::p7);
}

// 8x8 bytes (row step in bytes) into eight registers of 16-bit lanes, one
// per column (lanes are rows): a byte transpose before widening.
inline void loadSampleColumns(const uint8_t* src, int32_t srcStep, V128 (&x)[8]) {
    V128 r[8];
    for (int y = 0; y < 8; ++y) r[y] = loadLow64(rowAt(src, srcStep, y));
    const V128 a0 = _mm_unpacklo_epi8(r[0], r[1]), a1 = _mm_unpacklo_epi8(r[2], r[3]);
    const V128 a2 = _mm_unpacklo_epi8(r[4], r[5]), a3 = _mm_unpacklo_epi8(r[6], r[7]);
    const V128 b0 = _mm_unpacklo_epi16(a0, a1), b1 = _mm_unpackhi_epi16(a0, a1);
    const V128 b2 = _mm_unpacklo_epi16(a2, a3), b3 = _mm_unpackhi_epi16(a2, a3);
    const V128 c[4] = {_mm_unpacklo_epi32(b0, b2), _mm_unpackhi_epi32(b0, b2),
                       _mm_unpacklo_epi32(b1, b3), _mm_unpackhi_epi32(b1, b3)};
    for (int i = 0; i < 4; ++i) {
        x[2 * i] = _mm_unpacklo_epi8(c[i], zero());
        x[2 * i + 1] = _mm_unpackhi_epi8(c[i], zero());
    }
}

// Rows in, coefficient rows out.
void forwardDct(V128 (&x)[8]) {
    transpose8x8(x);
    forwardPass<false>(x);
    transpose8x8(x);
    forwardPass<true>(x);
}

// The bounded kernel from unshifted samples (0..255) held as columns.
[[gnu::always_inline]] inline void forwardDctQuantSampleColumns(V128 (&x)[8], int16_t* dst,
                                                                const uint16_t* fwdTable) {
    forwardRowPassOfSamples(x);
    transpose8x8(x);
    forwardColumnPassOfSamples(x);
    storeQuantizedBlock(x, dst, fwdTable);
}

// Rows of src plus 128; true when every value is then a sample (0..255), that
// is when the block holds level-shifted 8-bit samples, the usual input of an
// encoder. The test is one OR over the rows: a high byte set anywhere shows.
bool loadUnshiftedSamples(const int16_t* src, V128 (&x)[8]) {
    const V128 shift = splat16(128);
    V128 any = zero();
    for (int y = 0; y < 8; ++y) {
        x[y] = _mm_add_epi16(loadu(src + 8 * y), shift);
        any = _mm_or_si128(any, x[y]);
    }
    return _mm_movemask_epi8(_mm_cmpeq_epi16(_mm_srli_epi16(any, 8), zero())) == 0xFFFF;
}

}  // namespace

void forwardDctSse2(int16_t* block) {
    V128 x[8];
    for (int y = 0; y < 8; ++y) x[y] = loadu(block + 8 * y);
    forwardDct(x);
    for (int y = 0; y < 8; ++y) storeu(block + 8 * y, x[y]);
}

// Level-shifted 8-bit samples take the bounded kernel (the same bytes as the
// wrapping one there); any other block takes the wrapping kernel.
void forwardDctQuantSse2(const int16_t* src, int16_t* dst, const uint16_t* fwdTable) {
    V128 x[8];
    if (loadUnshiftedSamples(src, x)) {
        transpose8x8(x);
        forwardDctQuantSampleColumns(x, dst, fwdTable);
        return;
    }
    for (int y = 0; y < 8; ++y) x[y] = loadu(src + 8 * y);
    forwardDct(x);
    storeQuantizedBlock(x, dst, fwdTable);
}

void forwardDctQuantSamplesSse2(const uint8_t* src, int32_t srcStep, int16_t* dst,
                                const uint16_t* fwdTable) {
    V128 x[8];
    loadSampleColumns(src, srcStep, x);
    forwardDctQuantSampleColumns(x, dst, fwdTable);
}

}  // namespace zeq
