// The three coding passes over the sample-state array, written once for the
// encoder and both decoders. A pass decides which samples are coded and in
// which context; the Coder decides what a decision is:
//
//   int  bit(x, y, label)            significance bit of plane p (zero coding)
//   int  sign(x, y, label, xorBit)   the sample's sign (1 = negative)
//   void significant(x, y, sign)     the sample has just become significant
//   int  refine(x, y, label)         refinement bit of plane p
//   int  run(x, y0)                  run mode of a four-row column: -1 when
//                                    all four stay insignificant, else the
//                                    row (0..3) of the first that does not
//
// The encoder's coder reads the source block and records decisions; the
// decoders' coders read the MQ decoder or the raw reader and write samples.
#ifndef ZEQ_JPEG2000_TIER1_T1_PASSES_H
#define ZEQ_JPEG2000_TIER1_T1_PASSES_H

#include <algorithm>
#include <cstdint>

#include "jpeg2000/tier1/t1_contexts.h"

namespace zeq::t1 {

// Sign coding then the significance update, as the significance and cleanup
// passes both do it. Raw passes send the plain sign: no context, no XOR.
template <bool Raw, bool Causal, class Coder>
inline void codeSignificantSample(const SampleGrid& g, Coder& coder, uint32_t* w, int odd, int x,
                                  int y, int rowInStripe) {
    const uint32_t half = *w >> (16 * odd);
    int negative;
    if (Raw) {
        negative = coder.sign(x, y, kSignFirstLabel, 0);
    } else {
        const uint32_t entry = signEntry(half);
        negative = coder.sign(x, y, static_cast<int>(entry & 0xFF), entry >> 31);
    }
    coder.significant(x, y, negative);
    markSignificant(w, g.stride, odd, negative, Causal && rowInStripe == 0);
}

// Significance propagation: every insignificant sample with a significant
// neighbour, stripe by stripe (four rows), column by column, top to bottom.
template <bool Raw, bool Causal, class Coder>
void significancePass(const SampleGrid& g, Coder& shared, const uint8_t* zeroCoding) {
    Coder coder = shared;  // a local copy keeps the coder registers out of memory
    for (int y0 = 0; y0 < g.height; y0 += 4) {
        const int rows = std::min(4, g.height - y0);
        uint32_t* column = g.words + (y0 >> 1) * g.stride;
        for (int x = 0; x < g.width; ++x, ++column) {
            if ((column[0] | column[g.stride]) == 0) continue;
            for (int r = 0; r < rows; ++r) {
                uint32_t* w = column + (r >> 1) * g.stride;
                const int odd = r & 1;
                const uint32_t half = *w >> (16 * odd);
                if ((half & (kSignificant | kVisited)) || !(half & kNeighbourMask)) continue;
                if (coder.bit(x, y0 + r, zeroCoding[half & kNeighbourMask]))
                    codeSignificantSample<Raw, Causal>(g, coder, w, odd, x, y0 + r, r);
                *w |= kVisited << (16 * odd);
            }
        }
    }
    shared = coder;
}

// Magnitude refinement: every sample significant before this plane and not
// visited by this plane's significance pass.
template <class Coder>
void refinementPass(const SampleGrid& g, Coder& shared) {
    Coder coder = shared;  // a local copy keeps the coder registers out of memory
    for (int y0 = 0; y0 < g.height; y0 += 4) {
        const int rows = std::min(4, g.height - y0);
        uint32_t* column = g.words + (y0 >> 1) * g.stride;
        for (int x = 0; x < g.width; ++x, ++column) {
            if (!((column[0] | column[g.stride]) & kBothHalves(kSignificant))) continue;
            for (int r = 0; r < rows; ++r) {
                uint32_t* w = column + (r >> 1) * g.stride;
                const int shift = 16 * (r & 1);
                const uint32_t half = *w >> shift;
                if ((half & (kSignificant | kVisited)) != kSignificant) continue;
                coder.refine(x, y0 + r, refinementLabel(half));
                *w |= kRefined << shift;
            }
        }
    }
    shared = coder;
}

// Cleanup: every sample neither significant nor visited; a full column of
// four samples with all-zero state words is coded in run mode. The visited
// marks are cleared on the way.
template <bool Causal, class Coder>
void cleanupPass(const SampleGrid& g, Coder& shared, const uint8_t* zeroCoding) {
    Coder coder = shared;  // a local copy keeps the coder registers out of memory
    constexpr uint32_t kClearVisited = ~kBothHalves(kVisited);
    for (int y0 = 0; y0 < g.height; y0 += 4) {
        const int rows = std::min(4, g.height - y0);
        uint32_t* column = g.words + (y0 >> 1) * g.stride;
        for (int x = 0; x < g.width; ++x, ++column) {
            int r = 0;
            if (rows == 4 && (column[0] | column[g.stride]) == 0) {
                r = coder.run(x, y0);
                if (r < 0) continue;
                codeSignificantSample<false, Causal>(g, coder, column + (r >> 1) * g.stride, r & 1,
                                                     x, y0 + r, r);
                ++r;
            }
            for (; r < rows; ++r) {
                uint32_t* w = column + (r >> 1) * g.stride;
                const int odd = r & 1;
                const uint32_t half = *w >> (16 * odd);
                if (half & (kSignificant | kVisited)) continue;
                if (coder.bit(x, y0 + r, zeroCoding[half & kNeighbourMask]))
                    codeSignificantSample<false, Causal>(g, coder, w, odd, x, y0 + r, r);
            }
            column[0] &= kClearVisited;
            column[g.stride] &= kClearVisited;
        }
    }
    shared = coder;
}

// The segmentation symbol closing a cleanup pass: 1, 0, 1, 0 in the uniform
// context.
constexpr int kSegmentationSymbol[4] = {1, 0, 1, 0};

}  // namespace zeq::t1

#endif  // ZEQ_JPEG2000_TIER1_T1_PASSES_H
