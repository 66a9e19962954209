// The three coding passes as the decoders run them. They scan and model
// exactly as the encoder's passes (t1_passes.h) but are written for
// decoding: the coefficient is written where its decision is taken, the
// arithmetic decoder's registers and contexts live in the pass's locals, and
// the zero-coding table is a template argument, so that its lookups take no
// register. A column's samples are found from its mask of candidates: one
// loop exit per column for the branch predictor, not a branch per row.
//
// A Source gives the decisions: `decide(label)` for a context-coded bit
// whose more probable value usually comes (cleanup), `decideEven(label)` for
// one near even odds (significance propagation, refinement), decoded without
// data-dependent branches, and `sign(label, xorBit)` for a sign (also
// branch-free). The arithmetic source reads the MQ decoder, the raw source
// plain bits (labels ignored). On the low planes of a finely quantized block
// half the decisions of those passes go either way, and a mispredicted
// branch costs more than the few instructions the branch-free form adds.
#ifndef ZEQ_JPEG2000_TIER1_DECODE_PASSES_H
#define ZEQ_JPEG2000_TIER1_DECODE_PASSES_H

#include <emmintrin.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "core/rows.h"
#include "jpeg2000/tier1/t1_passes.h"

namespace zeq::t1 {

using ZeroCodingTable = std::array<uint8_t, 256>;

// Where a pass writes coefficients and what it writes for the current plane
// p: a new significant coefficient gets 3 x 2^p / 2 and its sign; a
// refinement keeps the bits above p, sets bit p to the decision and the
// mid-point bit below it.
struct CoefficientPlane {
    uint8_t* block;
    std::ptrdiff_t rowOffset[4];  // of the rows of a stripe: 0, step, 2 x step, 3 x step
    uint32_t planeBit;
    uint32_t midpoint;
    uint32_t half;
    uint32_t maskAbove;
};

// The coder that the encoder's steps for a new significant sample
// (codeSignificantSample) see while decoding: the sign comes from the
// source, and the coefficient is written.
template <class Source>
struct NewSignificant {
    Source& source;
    uint8_t* coefficient;
    uint32_t midpoint;

    int sign(int, int, int label, uint32_t xorBit) { return source.sign(label, xorBit); }
    void significant(int, int, int negative) {
        storeElement<uint32_t>(coefficient, 0, (static_cast<uint32_t>(negative) << 31) | midpoint);
    }
};

// Decodes the sign of the sample at row r of a stripe column, writes its
// coefficient and marks it significant; `half` is its state.
template <bool Raw, bool Causal, class Source>
[[gnu::always_inline]] inline void decodeNewSignificant(Source& source, const SampleGrid& g,
                                                        uint32_t* column, uint8_t* coefficient,
                                                        uint32_t midpoint, uint64_t& state,
                                                        uint32_t half, int r) {
    NewSignificant<Source> coder{source, coefficient, midpoint};
    codeSignificantSample<Raw, Causal>(g, coder, column, state, half, 0, r);
}

// A stripe column as a pass sees it: its first state word and coefficient
// and the mask of the stripe's rows that exist.
struct DecodeColumn {
    uint32_t* words;
    uint8_t* coefficients;
    uint64_t rows;
};

// Walks the columns of a pass, stripe by stripe, left to right:
// body(column, full), `full` a compile-time true in stripes of four rows.
template <class Body>
[[gnu::always_inline]] inline void forEachDecodeColumn(const SampleGrid& g,
                                                       const CoefficientPlane& out, Body&& body) {
    const auto stripe = [&](int y0, uint64_t rows, auto full) __attribute__((always_inline)) {
        DecodeColumn c{g.words + (y0 >> 1) * g.stride, out.block + out.rowOffset[1] * y0, rows};
        for (int x = 0; x < g.width; ++x, ++c.words, c.coefficients += 4) body(c, full);
    };
    int y0 = 0;
    for (; y0 + 4 <= g.height; y0 += 4) stripe(y0, ~uint64_t{0}, std::true_type{});
    if (y0 < g.height) stripe(y0, stripeRowsMask(g.height - y0), std::false_type{});
}

// ---- Columns to refine ---------------------------------------------------------
//
// In a stripe of four rows the refinement pass finds the columns holding
// samples to refine by a scan of the state words, eight columns at a time,
// before it walks them: whether a column has any is about as likely as not
// on the middle planes, and a test per column would be mispredicted every
// other time. (The other passes change what the columns to their right
// hold as they go, or visit most columns anyway.)

// Bit i set when column i of the stripe (rows 0, 1 in `upper`, rows 2, 3 in
// `lower`, one word per column) holds a sample to refine: significant and
// not visited. count <= 64. The plain form, and the reference of the vector
// one.
inline uint64_t columnsToRefineScalar(const uint32_t* upper, const uint32_t* lower, int count) {
    uint64_t columns = 0;
    for (int i = 0; i < count; ++i) {
        const uint64_t column = upper[i] | (uint64_t{lower[i]} << 32);
        columns |= uint64_t{refinementCandidates(column) != 0} << i;
    }
    return columns;
}

// Four columns without a sample to refine, as 32-bit lanes of all ones.
inline __m128i columnsWithoutRefinement(const uint32_t* upper, const uint32_t* lower) {
    const __m128i settled = _mm_set1_epi16(kSignificant | kVisited);
    const __m128i significant = _mm_set1_epi16(kSignificant);
    const __m128i toRefine = _mm_or_si128(
        _mm_cmpeq_epi16(
            _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(upper)), settled),
            significant),
        _mm_cmpeq_epi16(
            _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(lower)), settled),
            significant));
    return _mm_cmpeq_epi32(toRefine, _mm_setzero_si128());
}

inline uint64_t columnsToRefine(const uint32_t* upper, const uint32_t* lower, int count) {
    uint64_t columns = 0;
    int i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m128i none =
            _mm_packs_epi32(columnsWithoutRefinement(upper + i, lower + i),
                            columnsWithoutRefinement(upper + i + 4, lower + i + 4));
        const uint32_t bytes =
            static_cast<uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(none, none))) & 0xFF;
        columns |= uint64_t{bytes ^ 0xFF} << i;
    }
    if (i < count) columns |= columnsToRefineScalar(upper + i, lower + i, count - i) << i;
    return columns;
}

// ---- Significance propagation ----------------------------------------------
//
// Each pass takes the grid and the coefficient plane by value (its stores
// cannot alias them) and works on a copy of the coder, so that the coder's
// registers stay out of memory; it is not inlined into its caller, where the
// passes would share one register allocation.

template <bool Raw, bool Causal, const ZeroCodingTable& ZeroCoding, class Source>
[[gnu::noinline]] void decodeSignificancePass(const SampleGrid g, Source& shared,
                                              const CoefficientPlane out) {
    Source source = shared;
    forEachDecodeColumn(
        g, out, [&](DecodeColumn column, auto) __attribute__((always_inline)) {
            uint64_t state = loadColumn(column.words, g.stride);
            // Candidates are found from the column's mask (one loop exit per
            // column to predict, not a branch per row); a row that the
            // sample above it makes a candidate joins the mask.
            uint64_t candidates = propagationCandidates(state) & column.rows;
            if (candidates == 0) return;
            const uint64_t unsettled = (unsettledSamples(state) >> 4) & column.rows;
            uint64_t coded = candidates;  // every candidate is decoded, hence visited
            do {
                const uint64_t mark = candidates & (0 - candidates);
                const int shift = __builtin_ctzll(candidates) & ~15;  // 16 x row
                candidates ^= mark;
                const uint32_t half = static_cast<uint32_t>(state >> shift);
                if (source.decideEven(ZeroCoding[half & kNeighbourMask])) {
                    decodeNewSignificant<Raw, Causal>(
                        source, g, column.words, column.coefficients + out.rowOffset[shift >> 4],
                        out.midpoint, state, half, shift >> 4);
                    const uint64_t below = unsettled & (mark << 16);
                    candidates |= below;
                    coded |= below;
                }
            } while (candidates != 0);
            static_assert(kVisited == 0x100 << 5, "candidate marks sit five bits below visited");
            storeColumn(column.words, g.stride, state | (coded << 5));
        });
    shared = source;
}

// ---- Magnitude refinement ----------------------------------------------------

// The refinement of the sample at row r of a stripe column: bits above the
// plane kept, the plane's bit decoded, the mid-point bit below it.
template <class Source>
[[gnu::always_inline]] inline void decodeRefinement(Source& source, const CoefficientPlane& out,
                                                    uint8_t* coefficients, uint64_t labels, int r) {
    const int bit =
        source.decideEven(kRefineFirstLabel + static_cast<int>((labels >> (16 * r)) & 3));
    uint8_t* row = coefficients + out.rowOffset[r];
    const uint32_t v = loadElement<uint32_t>(row, 0);
    storeElement<uint32_t>(
        row, 0,
        (v & out.maskAbove) | out.half | (out.planeBit & (0u - static_cast<uint32_t>(bit))));
}

template <class Source>
[[gnu::noinline]] void decodeRefinementPass(const SampleGrid g, Source& shared,
                                            const CoefficientPlane out) {
    Source source = shared;
    const auto refineColumn = [&](DecodeColumn column) __attribute__((always_inline)) {
        const uint64_t state = loadColumn(column.words, g.stride);
        const uint64_t refined = refinementCandidates(state) & column.rows;
        if (refined == 0) return;
        // Refinement changes no neighbourhood: every row reads the state
        // the column had when the pass reached it.
        const uint64_t labels = refinementLabelOffsets(state);
        if (refined == kEveryHalf(kSignificant)) {
            // All four rows, the common case of the low planes: straight
            // code, no search for the rows.
            decodeRefinement(source, out, column.coefficients, labels, 0);
            decodeRefinement(source, out, column.coefficients, labels, 1);
            decodeRefinement(source, out, column.coefficients, labels, 2);
            decodeRefinement(source, out, column.coefficients, labels, 3);
        } else {
            // The rows found one by one from the mask: one loop exit per
            // column to predict, not a branch per row.
            for (uint64_t left = refined; left != 0; left &= left - 1)
                decodeRefinement(source, out, column.coefficients, labels,
                                 __builtin_ctzll(left) >> 4);
        }
        static_assert(kRefined == kSignificant << 2, "refined marks sit two bits above");
        storeColumn(column.words, g.stride, state | (refined << 2));
    };
    int y0 = 0;
    for (; y0 + 4 <= g.height; y0 += 4) {
        uint32_t* upper = g.words + (y0 >> 1) * g.stride;
        uint8_t* coefficients = out.block + out.rowOffset[1] * y0;
        for (int x0 = 0; x0 < g.width; x0 += 64) {
            const int count = g.width - x0 < 64 ? g.width - x0 : 64;
            for (uint64_t columns = columnsToRefine(upper + x0, upper + x0 + g.stride, count);
                 columns != 0; columns &= columns - 1) {
                const int x = x0 + __builtin_ctzll(columns);
                refineColumn({upper + x, coefficients + 4 * x, ~uint64_t{0}});
            }
        }
    }
    if (y0 < g.height) {
        DecodeColumn c{g.words + (y0 >> 1) * g.stride, out.block + out.rowOffset[1] * y0,
                       stripeRowsMask(g.height - y0)};
        for (int x = 0; x < g.width; ++x, ++c.words, c.coefficients += 4) refineColumn(c);
    }
    shared = source;
}

// ---- Cleanup -----------------------------------------------------------------

template <bool Causal, const ZeroCodingTable& ZeroCoding, class Source>
[[gnu::noinline]] void decodeCleanupPass(const SampleGrid g, Source& shared,
                                         const CoefficientPlane out) {
    Source source = shared;
    forEachDecodeColumn(
        g, out, [&](DecodeColumn column, auto full) __attribute__((always_inline)) {
            constexpr bool F = decltype(full)::value;
            const uint64_t loaded = loadColumn(column.words, g.stride);
            // The plane's visited marks go as the column is passed: no
            // sample's decoding reads those of another column.
            uint64_t state = loaded & ~kEveryHalf(kVisited);
            uint64_t candidates;
            if (F && loaded == 0) {
                // Run mode: one decision for the four rows, then the row of
                // the first significant one and its sign; the rows below it
                // continue in normal mode.
                if (!source.decide(kRunLabel)) return;
                const int high = source.decide(kUniformLabel);
                const int r = (high << 1) | source.decide(kUniformLabel);
                decodeNewSignificant<false, Causal>(source, g, column.words,
                                                    column.coefficients + out.rowOffset[r],
                                                    out.midpoint, state, 0, r);
                candidates = kEveryHalf(kSignificant) & rowsBelow(r);
            } else {
                candidates = unsettledSamples(loaded) & column.rows;
                if (candidates == 0) {
                    // Stored whether marks went or not: a branch on it would
                    // be mispredicted about as often as it saves the stores.
                    storeColumn(column.words, g.stride, state);
                    return;
                }
            }
            for (; candidates != 0; candidates &= candidates - 1) {
                const int shift = __builtin_ctzll(candidates) & ~15;  // 16 x row
                const uint32_t half = static_cast<uint32_t>(state >> shift);
                if (source.decide(ZeroCoding[half & kNeighbourMask]))
                    decodeNewSignificant<false, Causal>(
                        source, g, column.words, column.coefficients + out.rowOffset[shift >> 4],
                        out.midpoint, state, half, shift >> 4);
            }
            storeColumn(column.words, g.stride, state);
        });
    shared = source;
}

}  // namespace zeq::t1

#endif  // ZEQ_JPEG2000_TIER1_DECODE_PASSES_H
