// SSE2 integer inverse DCT: the whole block in registers, columns then rows.
//
// The flow graph is defined on 32-bit values that wrap, and the column pass
// keeps the low 16 bits of its results, so no input range is assumed.
// Additions, subtractions and multiplications are exact modulo 2^32 in any
// grouping, so a pass forms every 32-bit sum straight from pmaddwd pairs of
// its 16-bit inputs with factors that fit 16 bits; only the three steps that
// are not linear modulo 2^32 need care:
// - (x + 2048) >> 12 times 5793 in the odd part: the shifted value can take
//   20 bits, so the product is split at bit 16 (timesRootTwo);
// - the column results keep their low 16 bits: they are formed 16 times
//   larger, so those bits are the high word of each 32-bit lane;
// - the row results, (x + 2^20) >> 21, always fit 16 bits.
// The high words of the column results are gathered straight into the word
// pairs the row pass multiplies, (z0, z4), (z2, z6), (z1, z5), (z3, z7), so
// the transpose between the passes moves 32-bit lanes only.
#include <cstring>

#include "core/rows.h"
#include "jpeg/sample/dct_constants.h"
#include "jpeg/sample/dct_sse2.h"
#include "jpeg/sample/idct.h"

namespace zeq {

using namespace dct;
using namespace dctsse2;

namespace {

template <int kShift>
V128 shiftLeft(V128 a) {
    if constexpr (kShift == 0) return a;
    return _mm_slli_epi32(a, kShift);
}

// v * 5793 modulo 2^32 for any 32-bit v: pmaddwd takes the signed low word,
// and the high word rounded by the low word's sign contributes
// (h * 5793 mod 2^16) * 65536, which pmullw forms in the high word directly.
inline V128 timesRootTwo(V128 v) {
    const V128 h = _mm_add_epi32(v, _mm_set1_epi32(0x8000));
    return _mm_add_epi32(_mm_madd_epi16(v, factors(kInvSqrt2, 0)),
                         _mm_mullo_epi16(h, factors(0, kInvSqrt2)));
}

// The last butterflies of a pass: x = E -+ r, with r1 = g + k, r2 = g - k.
[[gnu::always_inline]] inline void outputButterflies(V128 e0, V128 e1, V128 e2, V128 e3, V128 r0,
                                                     V128 r3, V128 g, V128 k, V128 (&x)[8]) {
    const auto add = [](V128 a, V128 b) { return _mm_add_epi32(a, b); };
    const auto sub = [](V128 a, V128 b) { return _mm_sub_epi32(a, b); };
    x[0] = add(e0, r0);
    x[7] = sub(e0, r0);
    x[3] = add(e3, r3);
    x[4] = sub(e3, r3);
    const V128 r1 = add(g, k), r2 = sub(g, k);
    x[1] = add(e1, r1);
    x[6] = sub(e1, r1);
    x[2] = add(e2, r2);
    x[5] = sub(e2, r2);
}

// ((sum + 2048) >> 12) * 5793 of the odd part, times 2^kScale.
template <int kScale>
V128 rotatedOdd(V128 sum) {
    const V128 bias = _mm_set1_epi32(1 << (kPassOneShift - 1));
    return shiftLeft<kScale>(timesRootTwo(_mm_srai_epi32(_mm_add_epi32(sum, bias), kPassOneShift)));
}

// One pass of the flow graph on four lines, each 32-bit lane holding the
// word pairs (y0, y4), (y2, y6), (y1, y5), (y3, y7) of its line:
// x[i] = 2^kScale * (output i + kBias) modulo 2^32, before the final shift.
template <int32_t kBias, int kScale>
[[gnu::always_inline]] inline void inversePass(V128 p04, V128 p26, V128 p15, V128 p37,
                                               V128 (&x)[8]) {
    // t1 = c1 y1 + 6393 y7, t7 = 6393 y1 + c7 y7, t5 = c5 y5 + 27246 y3,
    // t3 = 27246 y5 + c3 y3; the graph needs t1 + t5, t3 + t7, t1 - t5, t7 - t3.
    constexpr int32_t c1 = kInvSin1 + kInvCos1MinusSin1;
    constexpr int32_t c7 = kInvSin1 - kInvCos1PlusSin1;
    constexpr int32_t c5 = kInvCos3 - kInvCos3MinusSin3;
    constexpr int32_t c3 = kInvCos3 - kInvCos3PlusSin3;
    const auto madd = [](V128 p, V128 k) { return _mm_madd_epi16(p, k); };
    const auto add = [](V128 a, V128 b) { return _mm_add_epi32(a, b); };
    const auto sub = [](V128 a, V128 b) { return _mm_sub_epi32(a, b); };
    const V128 r0 =
        rotatedOdd<kScale>(add(madd(p15, factors(c1, c5)), madd(p37, factors(kInvCos3, kInvSin1))));
    const V128 r3 =
        rotatedOdd<kScale>(add(madd(p15, factors(kInvSin1, kInvCos3)), madd(p37, factors(c3, c7))));
    const V128 g = shiftLeft<kScale>(
        add(madd(p15, factors(c1, -c5)), madd(p37, factors(-kInvCos3, kInvSin1))));
    const V128 k = shiftLeft<kScale>(
        add(madd(p15, factors(kInvSin1, -kInvCos3)), madd(p37, factors(-c3, c7))));

    // s + e = 2 (a + b) and s - e = 2 (a - b) with a = 16384 (y0 + y4) and
    // b = 21407 y2 + 8867 y6; h = 2 c with c = 16384 (y0 - y4);
    // f = 17734 y2 - 42813 y6, with -42813 as 22723 - 65536 and the 65536 y6
    // part taken from the high words of the (y2, y6) pairs.
    const V128 evenBias = _mm_set1_epi32(kBias / 2);
    const V128 a = add(madd(p04, factors(16384, 16384)), evenBias);
    const V128 c = add(madd(p04, factors(16384, -16384)), evenBias);
    const V128 b = madd(p26, factors(kEvenDifference / 2 + kEvenRotation / 2, kEvenRotation / 2));
    const V128 f = shiftLeft<kScale>(
        sub(madd(p26, factors(kEvenRotation, kEvenRotation - kEvenSum + 65536)),
            _mm_and_si128(p26, _mm_set1_epi32(static_cast<int32_t>(0xFFFF0000u)))));
    const V128 e0 = shiftLeft<kScale + 1>(add(a, b)), e3 = shiftLeft<kScale + 1>(sub(a, b));
    const V128 h = shiftLeft<kScale + 1>(c);
    outputButterflies(e0, add(h, f), sub(h, f), e3, r0, r3, g, k, x);
}

// Transposes the 4x4 block of 32-bit lanes q[0..3].
inline void transpose4x4(const V128* q, V128& c0, V128& c1, V128& c2, V128& c3) {
    const V128 t0 = _mm_unpacklo_epi32(q[0], q[1]), t1 = _mm_unpackhi_epi32(q[0], q[1]);
    const V128 t2 = _mm_unpacklo_epi32(q[2], q[3]), t3 = _mm_unpackhi_epi32(q[2], q[3]);
    c0 = _mm_unpacklo_epi64(t0, t2);
    c1 = _mm_unpackhi_epi64(t0, t2);
    c2 = _mm_unpacklo_epi64(t1, t3);
    c3 = _mm_unpackhi_epi64(t1, t3);
}

// The results of one row pass on four rows (lanes), packed in pairs of
// columns: half[j] holds columns 2j and 2j + 1.
inline void packRowResults(const V128 (&x)[8], V128 (&half)[4]) {
    for (int j = 0; j < 4; ++j)
        half[j] = _mm_packs_epi32(_mm_srai_epi32(x[2 * j], kPassTwoShift),
                                  _mm_srai_epi32(x[2 * j + 1], kPassTwoShift));
}

// Dequantized rows in (natural order). Out: half[h][j] holds the 16-bit
// results of columns 2j and 2j + 1 (four words each) for rows 4h..4h+3. Each
// pass runs on four lines at a time to stay within the registers.
[[gnu::always_inline]] inline void inverseDct(const V128 (&y)[8], V128 (&half)[2][4]) {
    constexpr int kColumnScale = 16 - kPassOneShift;
    // Column pass, columns 4-7 then 0-3 (the order that spills least). Row
    // r's results sit in the high words; lane j of q[r] becomes the word pair
    // (column j, column j + 4).
    V128 q[8];
    inversePass<1 << (kPassOneShift - 1), kColumnScale>(
        _mm_unpackhi_epi16(y[0], y[4]), _mm_unpackhi_epi16(y[2], y[6]),
        _mm_unpackhi_epi16(y[1], y[5]), _mm_unpackhi_epi16(y[3], y[7]), q);
    const V128 highWords = _mm_set1_epi32(static_cast<int32_t>(0xFFFF0000u));
    for (int r = 0; r < 8; ++r) q[r] = _mm_and_si128(q[r], highWords);
    V128 low[8];
    inversePass<1 << (kPassOneShift - 1), kColumnScale>(
        _mm_unpacklo_epi16(y[0], y[4]), _mm_unpacklo_epi16(y[2], y[6]),
        _mm_unpacklo_epi16(y[1], y[5]), _mm_unpacklo_epi16(y[3], y[7]), low);
    for (int r = 0; r < 8; ++r) q[r] = _mm_or_si128(q[r], _mm_srli_epi32(low[r], 16));

    // Row pass, rows 0-3 then 4-7: the 32-bit transpose of q hands each
    // line its word pairs.
    for (int h = 0; h < 2; ++h) {
        V128 p04, p15, p26, p37, x[8];
        transpose4x4(q + 4 * h, p04, p15, p26, p37);
        inversePass<1 << (kPassTwoShift - 1), 0>(p04, p26, p15, p37, x);
        packRowResults(x, half[h]);
    }
}

V128 dequantizeSignedLanes(V128 coefficients, V128 quantizers) {
    const V128 lo = _mm_mullo_epi16(coefficients, quantizers);
    const V128 hi = _mm_mulhi_epi16(coefficients, quantizers);
    return _mm_packs_epi32(_mm_unpacklo_epi16(lo, hi), _mm_unpackhi_epi16(lo, hi));
}

inline V128 dequantizedRow(const int16_t* src, const uint16_t* invTable, int row) {
    return dequantizeSignedLanes(loadu(src + 8 * row), loadu(invTable + 8 * row));
}

void loadDequantized(const int16_t* src, const uint16_t* invTable, V128 (&r)[8]) {
    for (int i = 0; i < 8; ++i) r[i] = dequantizedRow(src, invTable, i);
}

// The results plus 128, saturated to bytes, stored as rows: packing to
// bytes first leaves a byte transpose.
[[gnu::always_inline]] inline void storeSamples(const V128 (&half)[2][4], uint8_t* dst,
                                                int32_t dstStep) {
    // Signed saturation to -128..127, then the sign flip adds 128. b[j]
    // holds column 2j in bytes 0-7 and column 2j+1 in bytes 8-15.
    const V128 flip = splat8(-128);
    V128 b[4];
    for (int j = 0; j < 4; ++j)
        b[j] = _mm_shuffle_epi32(_mm_xor_si128(_mm_packs_epi16(half[0][j], half[1][j]), flip),
                                 _MM_SHUFFLE(3, 1, 2, 0));
    const V128 t0 = _mm_unpacklo_epi8(b[0], b[1]), t1 = _mm_unpackhi_epi8(b[0], b[1]);
    const V128 t2 = _mm_unpacklo_epi8(b[2], b[3]), t3 = _mm_unpackhi_epi8(b[2], b[3]);
    const V128 u0 = _mm_unpacklo_epi8(t0, t1), u1 = _mm_unpackhi_epi8(t0, t1);
    const V128 u2 = _mm_unpacklo_epi8(t2, t3), u3 = _mm_unpackhi_epi8(t2, t3);
    const V128 rows[4] = {_mm_unpacklo_epi32(u0, u2), _mm_unpackhi_epi32(u0, u2),
                          _mm_unpacklo_epi32(u1, u3), _mm_unpackhi_epi32(u1, u3)};
    for (int j = 0; j < 4; ++j) {
        storeLow64(rowAt(dst, dstStep, 2 * j), rows[j]);
        // movhps: the high eight bytes, no alignment needed.
        _mm_storeh_pi(reinterpret_cast<__m64*>(rowAt(dst, dstStep, 2 * j + 1)),
                      _mm_castsi128_ps(rows[j]));
    }
}

// ---- Scaled-down outputs ----
//
// Both passes form their 32-bit sums straight from pmaddwd pairs, exact
// modulo 2^32 like the scalar formulas: a weight outside the signed 16-bit
// range (59384, 41991, -35598, and the 2^15 or 2^16 of the DC term) is taken
// as its low 16 bits plus 65536 times the input, which is the input's low
// word moved into the high word of the lane. The first pass keeps the low 16
// bits of its results; the second pass ends in at most 11 significant bits.

// The four 32-bit lanes as samples: plus 128, saturated, low byte of each
// lane packed into the low four bytes.
inline V128 samplesOfLanes(V128 a, V128 b) {
    const V128 words = _mm_packs_epi32(a, b);
    return _mm_xor_si128(_mm_packs_epi16(words, words), splat8(-128));
}

inline void storeBytes(uint8_t* dst, uint32_t bytes, size_t count) {
    std::memcpy(dst, &bytes, count);
}

// Word pairs (word 0 = a, word 1 = b per 32-bit lane) times 65536 * a and
// 65536 * b, modulo 2^32.
inline V128 lowWordUp(V128 pairs) { return _mm_slli_epi32(pairs, 16); }
inline V128 highWordOnly(V128 pairs) {
    return _mm_and_si128(pairs, _mm_set1_epi32(static_cast<int32_t>(0xFFFF0000u)));
}

// ---- Pruned 2x2 ----
//
// With only y0 and y1 of a line nonzero, the graph (pruned odd factor) is
// x_i = 32768 y0 + R_i(y1) for i < 4 and 32768 y0 - R_{7-i}(y1) for i >= 4,
// with R0 = ((32138 y1 + 2048) >> 12) * 5793, R1 = 38531 y1, R2 = 25745 y1
// and R3 = ((6393 y1 + 2048) >> 12) * 5793, all modulo 2^32. Lanes hold the
// word pairs (y0, y1): 32768 y0 is the low word moved up and halved, and
// 38531 = -27005 + 65536 takes the high word as it stands.
constexpr int32_t kPrunedR0 = kInvSin1 + kPrunedCos1MinusSin1;
constexpr int32_t kPrunedR1 = 2 * kInvSin1 + kPrunedCos1MinusSin1;
constexpr int32_t kPrunedR2 = kPrunedCos1MinusSin1;
constexpr int32_t kPrunedR3 = kInvSin1;
static_assert(wrapsOf(kPrunedR0) == 0 && wrapsOf(kPrunedR1) == 1 && wrapsOf(kPrunedR2) == 0 &&
              wrapsOf(kPrunedR3) == 0);

// 32768 y0 + bias.
inline V128 prunedEven(V128 pairs, int32_t bias) {
    return _mm_add_epi32(_mm_srai_epi32(_mm_slli_epi32(pairs, 16), 1), _mm_set1_epi32(bias));
}
// ((y1 * k + 2048) >> 12) * 5793 from per-lane products y1 * k.
inline V128 prunedRotated(V128 products) {
    return timesRootTwo(_mm_srai_epi32(
        _mm_add_epi32(products, _mm_set1_epi32(1 << (kPassOneShift - 1))), kPassOneShift));
}

// The row pass of four rows (lanes) into their 8 outputs, packed in pairs of
// columns as storeSamples takes them.
inline void prunedRowPass(V128 pairs, V128 (&half)[4]) {
    const V128 s = prunedEven(pairs, 1 << (kPassTwoShift - 1));
    const V128 r0 = prunedRotated(_mm_madd_epi16(pairs, factors(0, kPrunedR0)));
    const V128 r3 = prunedRotated(_mm_madd_epi16(pairs, factors(0, kPrunedR3)));
    const V128 r1 =
        _mm_add_epi32(_mm_madd_epi16(pairs, factors(0, low16Of(kPrunedR1))), highWordOnly(pairs));
    const V128 r2 = _mm_madd_epi16(pairs, factors(0, kPrunedR2));
    const auto out = [](V128 v) { return _mm_srai_epi32(v, kPassTwoShift); };
    half[0] = _mm_packs_epi32(out(_mm_add_epi32(s, r0)), out(_mm_add_epi32(s, r1)));
    half[1] = _mm_packs_epi32(out(_mm_add_epi32(s, r2)), out(_mm_add_epi32(s, r3)));
    half[2] = _mm_packs_epi32(out(_mm_sub_epi32(s, r3)), out(_mm_sub_epi32(s, r2)));
    half[3] = _mm_packs_epi32(out(_mm_sub_epi32(s, r1)), out(_mm_sub_epi32(s, r0)));
}

// ---- Pruned 4x4 ----
//
// With y4..y7 of a line zero the pairs (y0, y4) ... (y3, y7) of the full
// pass would carry a zero in every word pair; this pass takes (y0, y2) and
// (y1, y3) instead and drops the products of the absent inputs: the odd
// sums lose their y5, y7 terms, c = a, and f = 17734 y2 without the y6 term.
template <int32_t kBias, int kScale>
[[gnu::always_inline]] inline void inversePassOfFour(V128 p02, V128 p13, V128 (&x)[8]) {
    constexpr int32_t c1 = kInvSin1 + kPrunedCos1MinusSin1;
    constexpr int32_t c3 = kInvCos3 - kInvCos3PlusSin3;
    const auto madd = [](V128 p, V128 k) { return _mm_madd_epi16(p, k); };
    const auto add = [](V128 a, V128 b) { return _mm_add_epi32(a, b); };
    const auto sub = [](V128 a, V128 b) { return _mm_sub_epi32(a, b); };
    const V128 r0 = rotatedOdd<kScale>(madd(p13, factors(c1, kInvCos3)));
    const V128 r3 = rotatedOdd<kScale>(madd(p13, factors(kInvSin1, c3)));
    const V128 g = shiftLeft<kScale>(madd(p13, factors(c1, -kInvCos3)));
    const V128 k = shiftLeft<kScale>(madd(p13, factors(kInvSin1, -c3)));

    // As in the full pass, with b = 21407 y2: e0 = 2 (a + b), e3 = 2 (a - b), h =
    // 2 a.
    const V128 evenBias = _mm_set1_epi32(kBias / 2);
    constexpr int32_t b2 = kEvenDifference / 2 + kEvenRotation / 2;
    const V128 e0 = shiftLeft<kScale + 1>(add(madd(p02, factors(16384, b2)), evenBias));
    const V128 e3 = shiftLeft<kScale + 1>(add(madd(p02, factors(16384, -b2)), evenBias));
    const V128 h = shiftLeft<kScale + 1>(add(madd(p02, factors(16384, 0)), evenBias));
    const V128 f = shiftLeft<kScale>(madd(p02, factors(0, kEvenRotation)));
    outputButterflies(e0, add(h, f), sub(h, f), e3, r0, r3, g, k, x);
}

}  // namespace

void inverseDctQuantTo2x2SamplesSse2(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                     const uint16_t* invTable) {
    // Pass one on all eight columns at once (pass two reads 0, 1, 3, 5, 7):
    // o from rows 1, 3, 5, 7, d = row 0 at 2^16.
    const V128 y0 = dequantizedRow(src, invTable, 0);
    const Pair p13(dequantizedRow(src, invTable, 1), dequantizedRow(src, invTable, 3));
    const Pair p57(dequantizedRow(src, invTable, 5), dequantizedRow(src, invTable, 7));
    const Wide o = dot<kHalfMean[0], kHalfMean[1], kHalfMean[2], kHalfMean[3]>(p13, p57);
    const Wide d = timesWordSize(y0) + (1 << 12);
    const V128 top = narrowShifted<13>(d + o), bottom = narrowShifted<13>(d - o);

    // Pass two, both rows together. Per row, pmaddwd with the low words of
    // the weights on odd elements leaves four lanes to sum; 59384 = -6152 +
    // 65536 adds 65536 * element 1, and d is 65536 * element 0: the high and
    // the low word of lane 0 moved into place.
    const V128 weights = _mm_setr_epi16(0, low16Of(kHalfMean[0]), 0, low16Of(kHalfMean[1]), 0,
                                        low16Of(kHalfMean[2]), 0, low16Of(kHalfMean[3]));
    static_assert(wrapsOf(kHalfMean[0]) == 1 && wrapsOf(kHalfMean[1]) == 0 &&
                  wrapsOf(kHalfMean[2]) == 0 && wrapsOf(kHalfMean[3]) == 0);
    const V128 t = _mm_madd_epi16(top, weights), b = _mm_madd_epi16(bottom, weights);
    // Lanes 0 and 1: the top row's and the bottom row's sums.
    const V128 halves = _mm_add_epi32(_mm_unpacklo_epi32(t, b), _mm_unpackhi_epi32(t, b));
    const V128 first = _mm_unpacklo_epi32(top, bottom);
    const V128 oddSum = _mm_add_epi32(_mm_add_epi32(halves, _mm_unpackhi_epi64(halves, halves)),
                                      highWordOnly(first));
    const V128 dc = _mm_add_epi32(lowWordUp(first), _mm_set1_epi32(1 << 21));
    const V128 left = _mm_srai_epi32(_mm_add_epi32(dc, oddSum), 22);
    const V128 right = _mm_srai_epi32(_mm_sub_epi32(dc, oddSum), 22);
    // Bytes: top left, top right, bottom left, bottom right.
    const auto samples = static_cast<uint32_t>(_mm_cvtsi128_si32(
        samplesOfLanes(_mm_unpacklo_epi32(left, right), _mm_unpacklo_epi32(left, right))));
    storeBytes(rowAt(dst, dstStep, 0), samples, 2);
    storeBytes(rowAt(dst, dstStep, 1), samples >> 16, 2);
}

void inverseDctQuantTo4x4SamplesSse2(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                     const uint16_t* invTable) {
    // Pass one on all eight columns at once (pass two does not read column 4;
    // row 4 is not read at all).
    const V128 y0 = dequantizedRow(src, invTable, 0);
    const Pair p13(dequantizedRow(src, invTable, 1), dequantizedRow(src, invTable, 3));
    const Pair p57(dequantizedRow(src, invTable, 5), dequantizedRow(src, invTable, 7));
    const Pair p26(dequantizedRow(src, invTable, 2), dequantizedRow(src, invTable, 6));
    const Wide even = madd(p26, factors(kPairCos2, -kPairCos6));
    const Wide dc = timesHalfWordSize(y0) + (1 << (kPassOneShift - 1));
    const Wide bigE = dc + even, bigF = dc - even;
    const Wide o1 = dot<kPairOdd1[0], kPairOdd1[1], kPairOdd1[2], kPairOdd1[3]>(p13, p57);
    const Wide o2 = dot<kPairOdd2[0], kPairOdd2[1], kPairOdd2[2], kPairOdd2[3]>(p13, p57);
    const V128 r0 = narrowShifted<kPassOneShift>(bigE + o1);
    const V128 r1 = narrowShifted<kPassOneShift>(bigF + o2);
    const V128 r2 = narrowShifted<kPassOneShift>(bigF - o2);
    const V128 r3 = narrowShifted<kPassOneShift>(bigE - o1);

    // Pass two on the four rows, one 32-bit lane each: the transpose hands
    // every lane its word pairs (e0, e2), (e4, e6), (e1, e3), (e5, e7).
    const V128 a0 = _mm_unpacklo_epi16(r0, r1), a1 = _mm_unpackhi_epi16(r0, r1);
    const V128 a2 = _mm_unpacklo_epi16(r2, r3), a3 = _mm_unpackhi_epi16(r2, r3);
    const V128 e01 = _mm_unpacklo_epi32(a0, a2), e23 = _mm_unpackhi_epi32(a0, a2);
    const V128 e45 = _mm_unpacklo_epi32(a1, a3), e67 = _mm_unpackhi_epi32(a1, a3);
    const V128 q02 = _mm_unpacklo_epi16(e01, e23), q13 = _mm_unpackhi_epi16(e01, e23);
    const V128 q46 = _mm_unpacklo_epi16(e45, e67), q57 = _mm_unpackhi_epi16(e45, e67);
    // E = 32768 e0 + 30274 e2 - 12540 e6 with 32768 = -32768 + 65536, and
    // F = 32768 e0 - (30274 e2 - 12540 e6) = 65536 e0 - E.
    const V128 dcTwice = lowWordUp(q02);
    const V128 bigE2 =
        _mm_add_epi32(_mm_add_epi32(_mm_madd_epi16(q02, factors(-32768, kPairCos2)),
                                    _mm_madd_epi16(q46, factors(0, -kPairCos6))),
                      _mm_add_epi32(dcTwice, _mm_set1_epi32(1 << (kPassTwoShift - 1))));
    const V128 bigF2 =
        _mm_sub_epi32(_mm_add_epi32(dcTwice, _mm_set1_epi32(1 << kPassTwoShift)), bigE2);
    static_assert(wrapsOf(kPairOdd1[0]) == 1 && wrapsOf(kPairOdd1[1]) == 0 &&
                  wrapsOf(kPairOdd1[2]) == 0 && wrapsOf(kPairOdd1[3]) == 0);
    static_assert(wrapsOf(kPairOdd2[0]) == 0 && wrapsOf(kPairOdd2[1]) == -1 &&
                  wrapsOf(kPairOdd2[2]) == 0 && wrapsOf(kPairOdd2[3]) == 0);
    const V128 o1b = _mm_add_epi32(
        _mm_add_epi32(_mm_madd_epi16(q13, factors(low16Of(kPairOdd1[0]), kPairOdd1[1])),
                      _mm_madd_epi16(q57, factors(kPairOdd1[2], kPairOdd1[3]))),
        lowWordUp(q13));
    const V128 o2b = _mm_sub_epi32(
        _mm_add_epi32(_mm_madd_epi16(q13, factors(kPairOdd2[0], low16Of(kPairOdd2[1]))),
                      _mm_madd_epi16(q57, factors(kPairOdd2[2], kPairOdd2[3]))),
        highWordOnly(q13));
    // Outputs 0..3 of each row (lanes are rows), as samples in the column
    // order 0, 1, 2, 3 of a 4x4 byte block stored by columns.
    const V128 s0 = _mm_srai_epi32(_mm_add_epi32(bigE2, o1b), kPassTwoShift);
    const V128 s1 = _mm_srai_epi32(_mm_add_epi32(bigF2, o2b), kPassTwoShift);
    const V128 s2 = _mm_srai_epi32(_mm_sub_epi32(bigF2, o2b), kPassTwoShift);
    const V128 s3 = _mm_srai_epi32(_mm_sub_epi32(bigE2, o1b), kPassTwoShift);
    const V128 bytes = _mm_xor_si128(
        _mm_packs_epi16(_mm_packs_epi32(s0, s2), _mm_packs_epi32(s1, s3)), splat8(-128));
    // Columns 0, 2, 1, 3 in the four dwords: two interleaves make rows.
    const V128 u = _mm_unpacklo_epi8(bytes, _mm_srli_si128(bytes, 8));
    const V128 rows = _mm_unpacklo_epi16(u, _mm_srli_si128(u, 8));
    const auto rowBytes = [](V128 v) { return static_cast<uint32_t>(_mm_cvtsi128_si32(v)); };
    storeBytes(rowAt(dst, dstStep, 0), rowBytes(rows), 4);
    storeBytes(rowAt(dst, dstStep, 1), rowBytes(_mm_shuffle_epi32(rows, 1)), 4);
    storeBytes(rowAt(dst, dstStep, 2), rowBytes(_mm_shuffle_epi32(rows, 2)), 4);
    storeBytes(rowAt(dst, dstStep, 3), rowBytes(_mm_shuffle_epi32(rows, 3)), 4);
}

void inverseDctQuantSse2(const int16_t* src, int16_t* dst, const uint16_t* invTable) {
    V128 r[8];
    loadDequantized(src, invTable, r);
    V128 half[2][4];
    inverseDct(r, half);
    V128 columns[8];
    for (int j = 0; j < 4; ++j) {
        columns[2 * j] = _mm_unpacklo_epi64(half[0][j], half[1][j]);
        columns[2 * j + 1] = _mm_unpackhi_epi64(half[0][j], half[1][j]);
    }
    transpose8x8(columns);
    for (int y = 0; y < 8; ++y) storeu(dst + 8 * y, columns[y]);
}

void inverseDctQuantSamplesSse2(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                const uint16_t* invTable) {
    V128 r[8];
    loadDequantized(src, invTable, r);
    V128 half[2][4];
    inverseDct(r, half);
    storeSamples(half, dst, dstStep);
}

void inverseDctQuant2x2SamplesSse2(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                   const uint16_t* invTable) {
    // Column pass of columns 0 and 1 together: lanes (column 0, column 1,
    // column 0, column 1) with the word pairs (y0, y1), the odd terms R0 and
    // R3 in one register, R1 and R2 in the other, each as (column 0, column
    // 1, column 0, column 1).
    const V128 y0 = dequantizedRow(src, invTable, 0), y1 = dequantizedRow(src, invTable, 1);
    const V128 columns = _mm_shuffle_epi32(_mm_unpacklo_epi16(y0, y1), _MM_SHUFFLE(1, 0, 1, 0));
    const V128 s = prunedEven(columns, 1 << (kPassOneShift - 1));
    const V128 r03 = prunedRotated(_mm_madd_epi16(
        columns, _mm_setr_epi16(0, kPrunedR0, 0, kPrunedR0, 0, kPrunedR3, 0, kPrunedR3)));
    const V128 r12 = _mm_add_epi32(
        _mm_madd_epi16(columns, _mm_setr_epi16(0, low16Of(kPrunedR1), 0, low16Of(kPrunedR1), 0,
                                               kPrunedR2, 0, kPrunedR2)),
        _mm_and_si128(columns, _mm_setr_epi32(static_cast<int32_t>(0xFFFF0000u),
                                              static_cast<int32_t>(0xFFFF0000u), 0, 0)));
    // Low 16 bits of x >> 12, as the word pairs (column 0, column 1) of each
    // row: rows 0, 3, 1, 2 from the sums, rows 7, 4, 6, 5 from the
    // differences, put in order by one shuffle each.
    const auto narrow = [](V128 v) { return _mm_srai_epi32(_mm_slli_epi32(v, 4), 16); };
    const V128 upper =
        _mm_packs_epi32(narrow(_mm_add_epi32(s, r03)), narrow(_mm_add_epi32(s, r12)));
    const V128 lower =
        _mm_packs_epi32(narrow(_mm_sub_epi32(s, r03)), narrow(_mm_sub_epi32(s, r12)));
    V128 half[2][4];
    prunedRowPass(_mm_shuffle_epi32(upper, _MM_SHUFFLE(1, 3, 2, 0)), half[0]);
    prunedRowPass(_mm_shuffle_epi32(lower, _MM_SHUFFLE(0, 2, 3, 1)), half[1]);
    storeSamples(half, dst, dstStep);
}

void inverseDctQuant4x4SamplesSse2(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                   const uint16_t* invTable) {
    // Column pass of columns 0-3 (the others are zero and give zero); the
    // results sit in the high words, moved down so that lane j of q[r] is
    // (column j of row r, 0).
    V128 y[4];
    for (int i = 0; i < 4; ++i) y[i] = dequantizedRow(src, invTable, i);
    V128 q[8];
    inversePassOfFour<1 << (kPassOneShift - 1), 16 - kPassOneShift>(
        _mm_unpacklo_epi16(y[0], y[2]), _mm_unpacklo_epi16(y[1], y[3]), q);
    for (int r = 0; r < 8; ++r) q[r] = _mm_srli_epi32(q[r], 16);

    // Row pass, rows 0-3 then 4-7: the 32-bit transpose gives each row its
    // columns 0..3 in the low words, joined into the pairs (z0, z2), (z1, z3).
    V128 half[2][4];
    for (int g = 0; g < 2; ++g) {
        V128 z0, z1, z2, z3, x[8];
        transpose4x4(q + 4 * g, z0, z1, z2, z3);
        inversePassOfFour<1 << (kPassTwoShift - 1), 0>(_mm_or_si128(z0, _mm_slli_epi32(z2, 16)),
                                                       _mm_or_si128(z1, _mm_slli_epi32(z3, 16)), x);
        packRowResults(x, half[g]);
    }
    storeSamples(half, dst, dstStep);
}

}  // namespace zeq
