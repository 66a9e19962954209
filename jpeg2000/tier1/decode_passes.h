// The three coding passes as the decoders run them. They scan and model
// exactly as the encoder's passes (t1_passes.h) but are written for
// decoding: the four rows of a stripe column are unrolled, so that every
// shift, row offset and neighbourhood update is a constant, the coefficient
// is written where its decision is taken, and the arithmetic decoder's
// registers and contexts live in the pass's locals.
//
// The zero-coding table is a template argument, so that its lookups take
// no register.
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

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "core/rows.h"
#include "jpeg2000/tier1/t1_passes.h"

namespace zeq::t1 {

// Where a pass writes coefficients and what it writes for the current plane
// p: a new significant coefficient gets 3 x 2^p / 2 and its sign; a
// refinement keeps the bits above p, sets bit p to the decision and the
// mid-point bit below it.
using ZeroCodingTable = std::array<uint8_t, 256>;

struct CoefficientPlane {
    uint8_t* block;
    std::ptrdiff_t step;
    uint32_t planeBit;
    uint32_t midpoint;
    uint32_t half;
    uint32_t maskAbove;
};

// The grid and the coefficients of one stripe column, as the row code sees
// them.
struct DecodeColumn {
    uint32_t* words;       // the column's first state word
    uint8_t* coefficient;  // the column's coefficient in the stripe's first row
};

// Marks the sample at row R of a stripe column significant: its own column's
// stripe word is the caller's `state`; the neighbouring columns' words and
// the words of the stripes above and below are updated in the array. Words
// that gain nothing for this row are not touched.
template <bool Causal, int R>
[[gnu::always_inline]] inline void markSignificantRow(uint32_t* column, int32_t stride,
                                                      uint64_t& state, int negative) {
    static constexpr StripeSignificance kPositive = makeStripeSignificance(Causal, R, 0);
    static constexpr StripeSignificance kNegative = makeStripeSignificance(Causal, R, 1);
    // One load per word from the table row of the sign (the row's
    // always-zero words are known here and skipped).
    const StripeSignificance& m = StripeSignificanceTable<Causal>::kRows[R][negative];
    state |= m.centre;
    if constexpr (static_cast<uint32_t>(kPositive.left | kNegative.left) != 0) {
        column[-1] |= static_cast<uint32_t>(m.left);
        column[1] |= static_cast<uint32_t>(m.right);
    }
    if constexpr (((kPositive.left | kNegative.left) >> 32) != 0) {
        column[stride - 1] |= static_cast<uint32_t>(m.left >> 32);
        column[stride + 1] |= static_cast<uint32_t>(m.right >> 32);
    }
    if constexpr (kPositive.outsideRow != 0) {
        uint32_t* outside = column + std::ptrdiff_t{kPositive.outsideRow} * stride;
        outside[-1] |= kPositive.outside[0];
        outside[0] |= m.outside[1];
        outside[1] |= kPositive.outside[2];
    }
    static_assert(kPositive.outside[0] == kNegative.outside[0] &&
                      kPositive.outside[2] == kNegative.outside[2],
                  "diagonal neighbours carry no sign");
}

template <int R>
[[gnu::always_inline]] inline uint8_t* coefficientRow(const DecodeColumn& c,
                                                      const CoefficientPlane& out) {
    return c.coefficient + out.step * R;
}

// Decodes the sign of the sample at row R, writes its coefficient and marks
// it significant; `half` is its state.
template <bool Raw, bool Causal, int R, class Source>
[[gnu::always_inline]] inline void decodeNewSignificant(Source& source, const DecodeColumn& c,
                                                        int32_t stride, const CoefficientPlane& out,
                                                        uint64_t& state, uint32_t half) {
    int negative;
    if (Raw) {
        negative = source.sign(kSignFirstLabel, 0);
    } else {
        const uint32_t entry = signEntry(half);
        negative = source.sign(static_cast<int>(entry & 0xFF), entry >> 31);
    }
    storeElement<uint32_t>(coefficientRow<R>(c, out), 0,
                           (static_cast<uint32_t>(negative) << 31) | out.midpoint);
    markSignificantRow<Causal, R>(c.words, stride, state, negative);
}

// Rows of a stripe column, unrolled: Full is a compile-time true for stripes
// of four rows, else `rows` masks the rows that exist.
template <bool Full, int R>
[[gnu::always_inline]] inline bool rowExists(uint64_t rows) {
    return Full || ((rows >> (16 * R)) & 1) != 0;
}

// ---- Significance propagation ----------------------------------------------

template <bool Raw, bool Causal, const ZeroCodingTable& ZeroCoding, class Source>
[[gnu::noinline]] void decodeSignificancePass(const SampleGrid& grid, Source& shared,
                                              const CoefficientPlane& plane) {
    const SampleGrid g = grid;
    const CoefficientPlane out = plane;
    Source source = shared;
    const std::ptrdiff_t rowOffsets[4] = {0, out.step, 2 * out.step, 3 * out.step};
    int y0 = 0;
    const auto stripe = [&](auto, uint64_t rows) __attribute__((always_inline)) {
        uint32_t* words = g.words + (y0 >> 1) * g.stride;
        uint8_t* coefficients = out.block + out.step * y0;
        for (int x = 0; x < g.width; ++x, ++words, coefficients += 4) {
            uint64_t state = loadColumn(words, g.stride);
            // Candidates are found from the column's mask (one loop exit per
            // column to predict, not a branch per row); a row that the
            // sample above it makes a candidate joins the mask.
            uint64_t candidates = propagationCandidates(state) & rows;
            if (candidates == 0) continue;
            const uint64_t unsettled = (unsettledSamples(state) >> 4) & rows;
            uint64_t coded = candidates;  // every candidate is decoded, hence visited
            do {
                const uint64_t mark = candidates & (0 - candidates);
                const int shift = __builtin_ctzll(candidates) & ~15;  // 16 x row
                candidates ^= mark;
                const uint32_t half = static_cast<uint32_t>(state >> shift);
                if (source.decideEven(ZeroCoding[half & kNeighbourMask])) {
                    int negative;
                    if (Raw) {
                        negative = source.sign(kSignFirstLabel, 0);
                    } else {
                        const uint32_t entry = signEntry(half);
                        negative = source.sign(static_cast<int>(entry & 0xFF), entry >> 31);
                    }
                    storeElement<uint32_t>(coefficients + rowOffsets[shift >> 4], 0,
                                           (static_cast<uint32_t>(negative) << 31) | out.midpoint);
                    markSignificant<Causal>(words, g.stride, state, shift >> 4, negative);
                    const uint64_t below = unsettled & (mark << 16);
                    candidates |= below;
                    coded |= below;
                }
            } while (candidates != 0);
            static_assert(kVisited == 0x100 << 5, "candidate marks sit five bits below visited");
            storeColumn(words, g.stride, state | (coded << 5));
        }
    };
    for (; y0 + 4 <= g.height; y0 += 4) stripe(std::true_type{}, ~uint64_t{0});
    if (y0 < g.height) stripe(std::false_type{}, stripeRowsMask(g.height - y0));
    shared = source;
}

// ---- Magnitude refinement ----------------------------------------------------

template <class Source>
[[gnu::noinline]] void decodeRefinementPass(const SampleGrid& grid, Source& shared,
                                            const CoefficientPlane& plane) {
    const SampleGrid g = grid;
    const CoefficientPlane out = plane;
    Source source = shared;
    const std::ptrdiff_t rowOffsets[4] = {0, out.step, 2 * out.step, 3 * out.step};
    int y0 = 0;
    const auto stripe = [&](auto, uint64_t rows) __attribute__((always_inline)) {
        uint32_t* words = g.words + (y0 >> 1) * g.stride;
        uint8_t* coefficients = out.block + out.step * y0;
        for (int x = 0; x < g.width; ++x, ++words, coefficients += 4) {
            const uint64_t state = loadColumn(words, g.stride);
            const uint64_t refined = refinementCandidates(state) & rows;
            if (refined == 0) continue;
            // Refinement changes no neighbourhood: every row reads the state
            // the column had when the pass reached it. The rows are found
            // one by one from the mask (one loop exit per column to predict,
            // not a branch per row).
            const uint64_t labels = refinementLabelOffsets(state);
            for (uint64_t left = refined; left != 0; left &= left - 1) {
                const int shift = __builtin_ctzll(left) & ~15;  // 16 x row
                const int bit =
                    source.decideEven(kRefineFirstLabel + static_cast<int>((labels >> shift) & 3));
                uint8_t* row = coefficients + rowOffsets[shift >> 4];
                const uint32_t v = loadElement<uint32_t>(row, 0);
                storeElement<uint32_t>(row, 0,
                                       (v & out.maskAbove) | out.half |
                                           (out.planeBit & (0u - static_cast<uint32_t>(bit))));
            }
            static_assert(kRefined == kSignificant << 2, "refined marks sit two bits above");
            storeColumn(words, g.stride, state | (refined << 2));
        }
    };
    for (; y0 + 4 <= g.height; y0 += 4) stripe(std::true_type{}, ~uint64_t{0});
    if (y0 < g.height) stripe(std::false_type{}, stripeRowsMask(g.height - y0));
    shared = source;
}

// ---- Cleanup -----------------------------------------------------------------

// Normal mode of row R: From is the first row still to decode (the rows
// above it were settled by run mode).
template <bool Causal, const ZeroCodingTable& ZeroCoding, bool Full, int R, class Source>
[[gnu::always_inline]] inline void cleanupRow(Source& source, const DecodeColumn& c, int32_t stride,
                                              const CoefficientPlane& out, uint64_t& state,
                                              uint64_t rows) {
    const uint32_t half = static_cast<uint32_t>(state >> (16 * R));
    if ((half & (kSignificant | kVisited)) != 0 || !rowExists<Full, R>(rows)) return;
    if (source.decide(ZeroCoding[half & kNeighbourMask]))
        decodeNewSignificant<false, Causal, R>(source, c, stride, out, state, half);
}

template <bool Causal, const ZeroCodingTable& ZeroCoding, class Source>
[[gnu::noinline]] void decodeCleanupPass(const SampleGrid& grid, Source& shared,
                                         const CoefficientPlane& plane) {
    const SampleGrid g = grid;
    const CoefficientPlane out = plane;
    Source source = shared;
    int y0 = 0;
    const auto stripe = [&](auto full, uint64_t rows) __attribute__((always_inline)) {
        constexpr bool F = decltype(full)::value;
        uint32_t* words = g.words + (y0 >> 1) * g.stride;
        uint8_t* coefficients = out.block + out.step * y0;
        for (int x = 0; x < g.width; ++x, ++words, coefficients += 4) {
            const uint64_t loaded = loadColumn(words, g.stride);
            uint64_t state = loaded;
            const DecodeColumn c{words, coefficients};
            if (F && state == 0) {
                // Run mode: one decision for the four rows, then the row of
                // the first significant one and its sign; the rows below it
                // continue in normal mode.
                if (!source.decide(kRunLabel)) continue;
                const int high = source.decide(kUniformLabel);
                const int r = (high << 1) | source.decide(kUniformLabel);
                switch (r) {
                    case 0:
                        decodeNewSignificant<false, Causal, 0>(source, c, g.stride, out, state, 0);
                        goto row1;
                    case 1:
                        decodeNewSignificant<false, Causal, 1>(source, c, g.stride, out, state, 0);
                        goto row2;
                    case 2:
                        decodeNewSignificant<false, Causal, 2>(source, c, g.stride, out, state, 0);
                        goto row3;
                    default:
                        decodeNewSignificant<false, Causal, 3>(source, c, g.stride, out, state, 0);
                        goto done;
                }
            }
            if ((unsettledSamples(loaded) & rows) == 0) continue;
            cleanupRow<Causal, ZeroCoding, F, 0>(source, c, g.stride, out, state, rows);
        row1:
            cleanupRow<Causal, ZeroCoding, F, 1>(source, c, g.stride, out, state, rows);
        row2:
            cleanupRow<Causal, ZeroCoding, F, 2>(source, c, g.stride, out, state, rows);
        row3:
            cleanupRow<Causal, ZeroCoding, F, 3>(source, c, g.stride, out, state, rows);
        done:
            if (state != loaded) storeColumn(words, g.stride, state);
        }
    };
    for (; y0 + 4 <= g.height; y0 += 4) stripe(std::true_type{}, ~uint64_t{0});
    if (y0 < g.height) stripe(std::false_type{}, stripeRowsMask(g.height - y0));
    // The visited marks go at the end, all at once: no sample's decoding
    // reads those of another column.
    for (int32_t y = 0; y < (g.height + 1) / 2; ++y) {
        uint32_t* row = g.words + y * g.stride;
        for (int32_t x = 0; x < g.width; ++x) row[x] &= ~kBothHalves(kVisited);
    }
    shared = source;
}

}  // namespace zeq::t1

#endif  // ZEQ_JPEG2000_TIER1_DECODE_PASSES_H
