// The three coding passes over the sample-state array, written once for the
// encoder and both decoders. A pass decides which samples are coded and in
// which context; the Coder decides what a decision is. Samples are named by
// column x and row r (0..3) of the current stripe:
//
//   void stripe(y0)                  a stripe starts at row y0
//   int  bit(x, r, label)            significance bit of plane p (zero coding)
//   int  sign(x, r, label, xorBit)   the sample's sign (1 = negative)
//   void significant(x, r, sign)     the sample has just become significant
//   int  refine(x, r, label)         refinement bit of plane p
//   int  run(x)                      run mode of a four-row column: -1 when
//                                    all four stay insignificant, else the
//                                    row (0..3) of the first that does not
//
// The encoder's coder reads the source block and records decisions; the
// decoders' coders read the MQ decoder or the raw reader and write samples.
#ifndef ZEQ_JPEG2000_TIER1_T1_PASSES_H
#define ZEQ_JPEG2000_TIER1_T1_PASSES_H

#include <cstdint>
#include <type_traits>

#include "core/rows.h"
#include "jpeg2000/tier1/t1_contexts.h"

namespace zeq::t1 {

// The rows of a block of 32-bit samples (the coders' source or destination)
// as the passes walk them: the first row of the current stripe and the byte
// offsets of its four rows.
template <class Byte>
struct StripeRows {
    Byte* base;
    Byte* first;
    std::ptrdiff_t offset[4];

    StripeRows() = default;
    StripeRows(Byte* block, int32_t step) : base(block), first(block) {
        for (int r = 0; r < 4; ++r) offset[r] = static_cast<std::ptrdiff_t>(step) * r;
    }
    void start(int y0) { first = base + offset[1] * y0; }
    Byte* row(int r) const { return first + offset[r]; }
};

// ---- Stripe columns ------------------------------------------------------------
//
// A pass handles the four samples of a stripe column together: its two state
// words are read into one 64-bit word (row r of the stripe in bits 16r ..
// 16r + 15), and masks computed on that word find the samples the pass codes,
// so columns without any are passed over with one test.

constexpr uint64_t kEveryHalf(uint32_t bits) { return uint64_t{bits} * 0x0001000100010001ull; }

inline uint64_t loadColumn(const uint32_t* column, int32_t stride) {
    return column[0] | (uint64_t{column[stride]} << 32);
}

inline void storeColumn(uint32_t* column, int32_t stride, uint64_t v) {
    column[0] = static_cast<uint32_t>(v);
    column[stride] = static_cast<uint32_t>(v >> 32);
}

// The rows of a stripe that exist: all four, or the first `rows`.
inline uint64_t stripeRowsMask(int rows) {
    return rows >= 4 ? ~uint64_t{0} : (uint64_t{1} << (16 * rows)) - 1;
}

// The rows of the stripe below row r.
inline uint64_t rowsBelow(int r) { return (~uint64_t{0} << (16 * r)) << 16; }

// Samples neither significant nor visited, marked by their significance bit.
inline uint64_t unsettledSamples(uint64_t column) {
    return ~(column | (column >> 1)) & kEveryHalf(kSignificant);
}

// Significance propagation codes the unsettled samples that have a
// significant neighbour; marked by bit 8 of their half (the neighbour byte
// plus 0xFF carries into it exactly when the byte is not zero).
inline uint64_t propagationCandidates(uint64_t column) {
    const uint64_t neighbours =
        ((column & kEveryHalf(kNeighbourMask)) + kEveryHalf(kNeighbourMask)) & kEveryHalf(0x100);
    return neighbours & (unsettledSamples(column) >> 4);
}

// Refinement codes the samples significant before this plane (not visited).
inline uint64_t refinementCandidates(uint64_t column) {
    return column & ~(column >> 1) & kEveryHalf(kSignificant);
}

// The refinement labels of the four rows at once, as offsets from the first
// refinement label in bits 0..1 of each half: 2 when refined before, else 1
// when a neighbour is significant, else 0 (the refinement table's rule).
inline uint64_t refinementLabelOffsets(uint64_t column) {
    const uint64_t refined = column & kEveryHalf(kRefined);
    const uint64_t neighbours =
        ((column & kEveryHalf(kNeighbourMask)) + kEveryHalf(kNeighbourMask)) & kEveryHalf(0x100);
    return (refined >> 13) | ((neighbours >> 8) & ~(refined >> 14));
}

// Walks the stripes of a pass (four rows each, the last one maybe fewer):
// tells the coder where each starts and calls body(column, rows, full) with
// the stripe's first state word, the mask of the rows that exist and `full`,
// a compile-time true for stripes of four rows.
template <class Coder, class Body>
inline void forEachStripe(const SampleGrid& g, Coder& coder, Body&& body) {
    int y0 = 0;
    for (; y0 + 4 <= g.height; y0 += 4) {
        coder.stripe(y0);
        body(g.words + (y0 >> 1) * g.stride, ~uint64_t{0}, std::true_type{});
    }
    if (y0 < g.height) {
        coder.stripe(y0);
        body(g.words + (y0 >> 1) * g.stride, stripeRowsMask(g.height - y0), std::false_type{});
    }
}

inline int candidateRow(uint64_t candidates) { return __builtin_ctzll(candidates) >> 4; }

// Sign coding then the significance update, as the significance and cleanup
// passes both do it; `half` is the sample's state. Raw passes send the plain
// sign: no context, no XOR.
template <bool Raw, bool Causal, class Coder>
inline void codeSignificantSample(const SampleGrid& g, Coder& coder, uint32_t* column,
                                  uint64_t& state, uint32_t half, int x, int r) {
    int negative;
    if (Raw) {
        negative = coder.sign(x, r, kSignFirstLabel, 0);
    } else {
        const uint32_t entry = signEntry(half);
        negative = coder.sign(x, r, static_cast<int>(entry & 0xFF), entry >> 31);
    }
    coder.significant(x, r, negative);
    markSignificant<Causal>(column, g.stride, state, r, negative);
}

// Each pass below is a function of its own (not inlined): inlined into one
// caller, the passes would share one register allocation and spill the coder
// registers. A pass works on local copies of the grid (state stores cannot
// alias them) and of the coder (its registers stay out of memory), stripe by
// stripe, column by column, top to bottom.
//
// Walks the stripe columns holding candidates of significance propagation,
// calling body(x, column, state, candidates, unsettled): the column's state
// (the body marks samples significant in it), its candidates, and the rows
// that become candidates when the row above them turns significant (the
// unsettled ones: coding other rows of the column does not change that).
// The body returns the rows it coded, which are marked visited.
template <class Coder, class Body>
inline void forEachPropagationColumn(const SampleGrid& g, Coder& coder, Body&& body) {
    static_assert(kVisited == 0x100 << 5, "candidate marks sit five bits below visited");
    forEachStripe(g, coder, [&](uint32_t* column, uint64_t rows, auto) {
        for (int x = 0; x < g.width; ++x, ++column) {
            uint64_t state = loadColumn(column, g.stride);
            const uint64_t candidates = propagationCandidates(state) & rows;
            if (candidates == 0) continue;
            const uint64_t unsettled = (unsettledSamples(state) >> 4) & rows;
            const uint64_t coded = body(x, column, state, candidates, unsettled);
            storeColumn(column, g.stride, state | (coded << 5));
        }
    });
}

// Significance propagation: every insignificant sample with a significant
// neighbour.
template <bool Raw, bool Causal, class Coder>
[[gnu::noinline]] void significancePass(const SampleGrid& grid, Coder& shared,
                                        const uint8_t* zeroCoding) {
    const SampleGrid g = grid;
    Coder coder = shared;
    forEachPropagationColumn(
        g, coder,
        [&](int x, uint32_t* column, uint64_t& state, uint64_t candidates, uint64_t unsettled) {
            uint64_t coded = candidates;  // every candidate is coded, hence visited
            do {
                const uint64_t mark = candidates & (0 - candidates);
                const int r = candidateRow(candidates);
                candidates ^= mark;
                const uint32_t half = static_cast<uint32_t>(state >> (16 * r));
                if (coder.bit(x, r, zeroCoding[half & kNeighbourMask])) {
                    codeSignificantSample<Raw, Causal>(g, coder, column, state, half, x, r);
                    const uint64_t below = unsettled & (mark << 16);
                    candidates |= below;
                    coded |= below;
                }
            } while (candidates != 0);
            return coded;
        });
    shared = coder;
}

// Walks the stripe columns holding samples to refine, calling
// body(x, refined, labelOffsets) with the rows to refine (refinement
// candidates) and their labels' offsets, then marks those rows refined.
template <class Coder, class Body>
inline void forEachRefinementColumn(const SampleGrid& g, Coder& coder, Body&& body) {
    static_assert(kRefined == kSignificant << 2, "refined marks sit two bits above significance");
    forEachStripe(g, coder, [&](uint32_t* column, uint64_t rows, auto) {
        for (int x = 0; x < g.width; ++x, ++column) {
            const uint64_t state = loadColumn(column, g.stride);
            const uint64_t refined = refinementCandidates(state) & rows;
            if (refined == 0) continue;
            body(x, refined, refinementLabelOffsets(state));
            storeColumn(column, g.stride, state | (refined << 2));
        }
    });
}

// Magnitude refinement: every sample significant before this plane and not
// visited by this plane's significance pass.
template <class Coder>
[[gnu::noinline]] void refinementPass(const SampleGrid& grid, Coder& shared) {
    const SampleGrid g = grid;
    Coder coder = shared;
    forEachRefinementColumn(g, coder, [&](int x, uint64_t refined, uint64_t labels) {
        for (uint64_t candidates = refined; candidates != 0; candidates &= candidates - 1) {
            const int r = candidateRow(candidates);
            coder.refine(x, r, kRefineFirstLabel + static_cast<int>((labels >> (16 * r)) & 3));
        }
    });
    shared = coder;
}

// Cleanup: every sample neither significant nor visited; a full column of
// four samples with all-zero state words is coded in run mode. The visited
// marks go at the end, all at once: no sample's coding reads those of another
// column.
template <bool Causal, class Coder>
[[gnu::noinline]] void cleanupPass(const SampleGrid& grid, Coder& shared,
                                   const uint8_t* zeroCoding) {
    const SampleGrid g = grid;
    Coder coder = shared;
    forEachStripe(g, coder, [&](uint32_t* column, uint64_t rows, auto full) {
        for (int x = 0; x < g.width; ++x, ++column) {
            const uint64_t loaded = loadColumn(column, g.stride);
            uint64_t state = loaded;
            uint64_t candidates;
            if (decltype(full)::value && state == 0) {
                const int r = coder.run(x);
                if (r < 0) continue;
                codeSignificantSample<false, Causal>(g, coder, column, state, 0, x, r);
                candidates = kEveryHalf(kSignificant) & rowsBelow(r);
            } else {
                candidates = unsettledSamples(state) & rows;
            }
            for (; candidates != 0; candidates &= candidates - 1) {
                const int r = candidateRow(candidates);
                const uint32_t half = static_cast<uint32_t>(state >> (16 * r));
                if (coder.bit(x, r, zeroCoding[half & kNeighbourMask]))
                    codeSignificantSample<false, Causal>(g, coder, column, state, half, x, r);
            }
            if (state != loaded) storeColumn(column, g.stride, state);
        }
    });
    for (int32_t y = 0; y < (g.height + 1) / 2; ++y) {
        uint32_t* row = g.words + y * g.stride;
        for (int32_t x = 0; x < g.width; ++x) row[x] &= ~kBothHalves(kVisited);
    }
    shared = coder;
}

// The segmentation symbol closing a cleanup pass: 1, 0, 1, 0 in the uniform
// context.
constexpr int kSegmentationSymbol[4] = {1, 0, 1, 0};

}  // namespace zeq::t1

#endif  // ZEQ_JPEG2000_TIER1_T1_PASSES_H
