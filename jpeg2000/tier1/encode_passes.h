// The encoder's own significance propagation and refinement passes. The
// encoder knows every magnitude before it codes, so a stripe column's four
// rows are handled in straight-line code: a decision and its label are stored
// for every row and the symbol count moves on only for the rows coded, and
// distortion is added through masks. What stays a branch is a sample turning
// significant (its neighbours' states change); the loops over candidate rows
// with unpredictable trip counts of the shared passes are gone.
//
// The Model is the encoder's recorder: `words` (the current stripe of the
// block copy in stripe-column order), `decisions`, `labels`, `count`,
// `plane`, `distortion`, `significanceTable`, `refinementTable`, `stripe(y0)`
// and `window(w)`. Every store of a row not coded lands on the next free
// symbol, which a later row or pass overwrites; the symbol arrays have room
// for far more than the decisions of one column past the last.
#ifndef ZEQ_JPEG2000_TIER1_ENCODE_PASSES_H
#define ZEQ_JPEG2000_TIER1_ENCODE_PASSES_H

#include <cstdint>

#include "jpeg2000/tier1/t1_contexts.h"
#include "jpeg2000/tier1/t1_passes.h"

namespace zeq::t1 {

// Significance propagation: every insignificant sample with a significant
// neighbour, row by row down the column; a row below one that turns
// significant joins when it is unsettled, so the candidates left at the end
// are the rows coded. Raw passes send the plain sign.
template <bool Raw, bool Causal, class Model>
[[gnu::noinline]] void encodeSignificancePass(const SampleGrid& grid, Model& shared,
                                              const uint8_t* zeroCoding) {
    const SampleGrid g = grid;
    Model m = shared;
    forEachPropagationColumn(
        g, m,
        [&](int x, uint32_t* column, uint64_t& state, uint64_t candidates, uint64_t unsettled) {
            const uint32_t* words = m.words + 4 * x;
#pragma GCC unroll 4
            for (int r = 0; r < 4; ++r) {
                const uint32_t coding = static_cast<uint32_t>(candidates >> (16 * r + 8)) & 1;
                const uint32_t half = static_cast<uint32_t>(state >> (16 * r));
                const uint32_t w = words[r];
                const uint32_t bit = (w >> m.plane) & 1;
                m.decisions[m.count] = static_cast<uint8_t>(bit);
                m.labels[m.count] = zeroCoding[half & kNeighbourMask];
                m.count += static_cast<int32_t>(coding);
                if (coding & bit) {
                    const uint32_t entry =
                        Raw ? static_cast<uint32_t>(kSignFirstLabel) : signEntry(half);
                    const uint32_t negative = w >> 31;
                    m.decisions[m.count] = static_cast<uint8_t>(negative ^ (entry >> 31));
                    m.labels[m.count] = static_cast<uint8_t>(entry & 0xFF);
                    ++m.count;
                    m.distortion += m.significanceTable[m.window(w) & 63];
                    markSignificant<Causal>(column, g.stride, state, r, static_cast<int>(negative));
                    candidates |= unsettled & ((uint64_t{0x100} << (16 * r)) << 16);
                }
            }
            return candidates;
        });
    shared = m;
}

// Magnitude refinement: every sample significant before this plane and not
// visited by this plane's significance pass.
template <class Model>
[[gnu::noinline]] void encodeRefinementPass(const SampleGrid& grid, Model& shared) {
    const SampleGrid g = grid;
    Model m = shared;
    forEachRefinementColumn(g, m, [&](int x, uint64_t refined, uint64_t labels) {
        const uint32_t* words = m.words + 4 * x;
        int32_t distortion = 0;
#pragma GCC unroll 4
        for (int r = 0; r < 4; ++r) {
            const uint32_t coding = static_cast<uint32_t>(refined >> (16 * r + 12)) & 1;
            const uint32_t w = words[r];
            m.decisions[m.count] = static_cast<uint8_t>((w >> m.plane) & 1);
            m.labels[m.count] =
                static_cast<uint8_t>(kRefineFirstLabel + ((labels >> (16 * r)) & 3));
            m.count += static_cast<int32_t>(coding);
            distortion += m.refinementTable[m.window(w) & 127] & -static_cast<int32_t>(coding);
        }
        m.distortion += distortion;
    });
    shared = m;
}

}  // namespace zeq::t1

#endif  // ZEQ_JPEG2000_TIER1_ENCODE_PASSES_H
