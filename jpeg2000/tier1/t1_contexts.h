// The context model of tier-1 coding, shared by the encoder and both
// decoders: context labels and their initial states, the zero-coding, sign
// and refinement tables (built at compile time from their defining rules),
// and the packed per-sample state array with its neighbourhood updates.
#ifndef ZEQ_JPEG2000_TIER1_T1_CONTEXTS_H
#define ZEQ_JPEG2000_TIER1_T1_CONTEXTS_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "jpeg2000/tier1/mq_coder.h"

namespace zeq::t1 {

// codeStyleFlags shared by the encoder and the decoders.
constexpr int32_t kFlagCausal = 1;
constexpr int32_t kFlagBypass = 2;
constexpr int32_t kFlagTerminateEachPass = 4;
constexpr int32_t kFlagResetContexts = 8;
constexpr int32_t kFlagSegmentationSymbol = 16;
constexpr int32_t kFlagFinalPlaneDistortion = 32;

// Context labels. Zero coding uses 2..10, sign coding 11..15, refinement
// 16..18: the standard's context k is label k + 2.
constexpr int kUniformLabel = 0;
constexpr int kRunLabel = 1;
constexpr int kZeroCodingFirstLabel = 2;
constexpr int kSignFirstLabel = 11;
constexpr int kRefineFirstLabel = 16;
constexpr int kRefineNeighbourLabel = 17;
constexpr int kRefineLaterLabel = 18;
constexpr int kContextCount = 19;

// Every context starts at state 0 with MPS 0, except the uniform (46), the
// run-length (3) and the no-neighbour zero-coding context (4).
constexpr std::array<uint8_t, kContextCount> makeInitialContexts() {
    std::array<uint8_t, kContextCount> c{};
    c[kUniformLabel] = mqContext(46, 0);
    c[kRunLabel] = mqContext(3, 0);
    c[kZeroCodingFirstLabel] = mqContext(4, 0);
    return c;
}
inline constexpr std::array<uint8_t, kContextCount> kInitialContexts = makeInitialContexts();

// ---- Per-sample state --------------------------------------------------------
//
// The state array holds two vertically adjacent samples per 32-bit word: the
// even row in bits 0..15, the odd row in bits 16..31. Each 16-bit half is:
//
//   bit  0..3   diagonal neighbours significant: NW, NE, SW, SE
//   bit  4, 5   vertical neighbours significant: N, S
//   bit  6, 7   horizontal neighbours significant: W, E
//   bit  8..11  sign (1 = negative) of the N, S, W, E neighbour, set with
//               that neighbour's significance
//   bit 12      the sample is significant
//   bit 13      visited: coded by this plane's significance propagation pass
//   bit 14      refined before (its first refinement has been coded)
//   bit 15      the sample's own sign, set with its significance
//
// So the low byte indexes the zero-coding tables, bits 4..11 the sign table
// and bit 14 with the low byte the refinement table; a sample whose half is
// zero is insignificant, unvisited and has no significant neighbour.
//
// The array has a guard column on both sides and a guard row pair above and
// below the block: its rows are (4 x width + 8 rounded up to 32) bytes apart,
// and there are (height + 1) / 2 + 2 of them. Neighbour updates may write the
// guards; they are never coded.
constexpr uint32_t kDiagonalMask = 0x000F;
constexpr uint32_t kNorth = 0x0010, kSouth = 0x0020, kWest = 0x0040, kEast = 0x0080;
constexpr uint32_t kNorthWest = 0x0001, kNorthEast = 0x0002, kSouthWest = 0x0004,
                   kSouthEast = 0x0008;
constexpr uint32_t kNeighbourMask = 0x00FF;
constexpr uint32_t kNorthNegative = 0x0100, kSouthNegative = 0x0200, kWestNegative = 0x0400,
                   kEastNegative = 0x0800;
constexpr uint32_t kSignificant = 0x1000;
constexpr uint32_t kVisited = 0x2000;
constexpr uint32_t kRefined = 0x4000;
constexpr uint32_t kNegative = 0x8000;
constexpr uint32_t kBothHalves(uint32_t bits) { return bits | (bits << 16); }

constexpr int32_t stateRowBytes(int32_t width) { return (4 * width + 8 + 31) / 32 * 32; }
constexpr int32_t stateRows(int32_t height) { return (height + 1) / 2 + 2; }
constexpr int32_t stateArrayBytes(int32_t width, int32_t height) {
    return stateRowBytes(width) * stateRows(height);
}

// The array as the passes see it: `words` points at the first data word
// (column 0 of the first row pair), `stride` counts words.
struct SampleGrid {
    uint32_t* words;
    int32_t stride;
    int32_t width;
    int32_t height;
};

inline SampleGrid makeGrid(void* array, int32_t width, int32_t height) {
    const int32_t stride = stateRowBytes(width) / 4;
    return {static_cast<uint32_t*>(array) + stride + 1, stride, width, height};
}

// ---- Zero-coding tables -------------------------------------------------------

enum class ZeroCodingRule { LowLowLowHigh, HighLow, HighHigh };

// The standard's zero-coding contexts from the counts of significant
// horizontal (h), vertical (v) and diagonal (d) neighbours.
constexpr int zeroCodingContext(ZeroCodingRule rule, int h, int v, int d) {
    if (rule == ZeroCodingRule::HighLow) {  // the roles of h and v exchanged
        const int t = h;
        h = v;
        v = t;
    }
    if (rule == ZeroCodingRule::HighHigh) {
        const int hv = h + v;
        if (d >= 3) return 8;
        if (d == 2) return hv >= 1 ? 7 : 6;
        if (d == 1) return hv >= 2 ? 5 : (hv == 1 ? 4 : 3);
        return hv >= 2 ? 2 : hv;
    }
    if (h == 2) return 8;
    if (h == 1) return v >= 1 ? 7 : (d >= 1 ? 6 : 5);
    if (v >= 1) return v == 2 ? 4 : 3;
    return d >= 2 ? 2 : d;
}

constexpr int bitCount(uint32_t v) {
    int n = 0;
    for (; v; v &= v - 1) ++n;
    return n;
}

constexpr std::array<uint8_t, 256> makeZeroCodingTable(ZeroCodingRule rule) {
    std::array<uint8_t, 256> t{};
    for (uint32_t p = 0; p < 256; ++p) {
        const int d = bitCount(p & kDiagonalMask);
        const int v = bitCount(p & (kNorth | kSouth));
        const int h = bitCount(p & (kWest | kEast));
        t[p] = static_cast<uint8_t>(kZeroCodingFirstLabel + zeroCodingContext(rule, h, v, d));
    }
    return t;
}
inline constexpr std::array<uint8_t, 256> kZeroCodingLowLow =
    makeZeroCodingTable(ZeroCodingRule::LowLowLowHigh);
inline constexpr std::array<uint8_t, 256> kZeroCodingHighLow =
    makeZeroCodingTable(ZeroCodingRule::HighLow);
inline constexpr std::array<uint8_t, 256> kZeroCodingHighHigh =
    makeZeroCodingTable(ZeroCodingRule::HighHigh);

// Subband argument 2 takes the exchanged rule, 3 the diagonal rule, any other
// value the rule of the LL and LH bands.
inline const uint8_t* zeroCodingTable(int32_t subband) {
    if (subband == 2) return kZeroCodingHighLow.data();
    if (subband == 3) return kZeroCodingHighHigh.data();
    return kZeroCodingLowLow.data();
}

// ---- Sign table ----------------------------------------------------------------

// Indexed by bits 4..11 of a sample's half (N, S, W, E significance, then
// their signs). Low byte: the label; bit 31: the bit XORed with the sign.
constexpr uint32_t kSignXorBit = 0x80000000u;

constexpr int signContribution(uint32_t pattern, uint32_t sigBit, uint32_t negBit) {
    return (pattern & sigBit) ? ((pattern & negBit) ? -1 : 1) : 0;
}

constexpr std::array<uint32_t, 256> makeSignTable() {
    std::array<uint32_t, 256> t{};
    for (uint32_t i = 0; i < 256; ++i) {
        const uint32_t p = i << 4;
        const auto clamp = [](int s) { return s > 0 ? 1 : (s < 0 ? -1 : 0); };
        const int h = clamp(signContribution(p, kWest, kWestNegative) +
                            signContribution(p, kEast, kEastNegative));
        const int v = clamp(signContribution(p, kNorth, kNorthNegative) +
                            signContribution(p, kSouth, kSouthNegative));
        // The standard's table: contexts 9..13 by |h| and v, the XOR bit set
        // where the prediction is negative.
        int context = 0;
        uint32_t flip = 0;
        if (h == 0) {
            context = v == 0 ? 9 : 10;
            flip = v < 0;
        } else {
            const int vv = h * v;  // v seen from the side of h's sign
            context = vv > 0 ? 13 : (vv == 0 ? 12 : 11);
            flip = h < 0;
        }
        t[i] = static_cast<uint32_t>(context + 2) | (flip ? kSignXorBit : 0);
    }
    return t;
}
inline constexpr std::array<uint32_t, 256> kSignTable = makeSignTable();

inline uint32_t signEntry(uint32_t half) { return kSignTable[(half >> 4) & 0xFF]; }

// ---- Refinement table ---------------------------------------------------------

constexpr std::array<uint8_t, 512> makeRefinementTable() {
    std::array<uint8_t, 512> t{};
    for (int i = 0; i < 512; ++i)
        t[i] = static_cast<uint8_t>(i >= 256 ? kRefineLaterLabel
                                    : i != 0 ? kRefineNeighbourLabel
                                             : kRefineFirstLabel);
    return t;
}
inline constexpr std::array<uint8_t, 512> kRefinementTable = makeRefinementTable();

inline int refinementLabel(uint32_t half) {
    return kRefinementTable[((half & kRefined) >> 6) | (half & kNeighbourMask)];
}

// ---- Significance updates -------------------------------------------------------
//
// The passes hold a stripe column (four rows) as one 64-bit word: row r of the
// stripe in bits 16r .. 16r + 15, the even row pair word in the low half.

// What a sample at row r (0..3) of a stripe column ORs into the state when it
// becomes significant, by sign: the stripe words of its own, the left and the
// right column, and, for the first and the last row, the nearest row-pair word
// of the stripe above or below (columns x - 1, x, x + 1), `outsideRow` row
// pairs away. Rows 1 and 2 have no outside bits (offset 0, masks 0), nor has
// row 0 in vertically causal mode: there the last row of the stripe above
// never sees the stripe below.
struct alignas(64) StripeSignificance {  // 64 bytes: an entry is found by a shift
    uint64_t centre;
    uint64_t left;
    uint64_t right;
    uint32_t outside[3];
    int32_t outsideRow;
};

constexpr StripeSignificance makeStripeSignificance(bool causal, int r, int negative) {
    const uint32_t n = negative ? 1 : 0;
    // Seen from the row above: this sample is its S, SE (left column) or SW.
    const uint32_t rowAbove[3] = {kSouthEast, kSouth | (n * kSouthNegative), kSouthWest};
    const uint32_t sameRow[3] = {kEast | (n * kEastNegative), kSignificant | (n * kNegative),
                                 kWest | (n * kWestNegative)};
    const uint32_t rowBelow[3] = {kNorthEast, kNorth | (n * kNorthNegative), kNorthWest};
    uint64_t stripe[3] = {0, 0, 0};
    uint32_t outside[3] = {0, 0, 0};
    int32_t outsideRow = 0;
    for (int k = 0; k < 3; ++k) {
        stripe[k] = uint64_t{sameRow[k]} << (16 * r);
        if (r > 0) {
            stripe[k] |= uint64_t{rowAbove[k]} << (16 * (r - 1));
        } else if (!causal) {
            outside[k] = rowAbove[k] << 16;  // the odd row of the pair above
            outsideRow = -1;
        }
        if (r < 3) {
            stripe[k] |= uint64_t{rowBelow[k]} << (16 * (r + 1));
        } else {
            outside[k] = rowBelow[k];  // the even row of the pair below
            outsideRow = 2;
        }
    }
    return {stripe[1], stripe[0], stripe[2], {outside[0], outside[1], outside[2]}, outsideRow};
}

template <bool Causal>
struct StripeSignificanceTable {
    static constexpr StripeSignificance kRows[4][2] = {
        {makeStripeSignificance(Causal, 0, 0), makeStripeSignificance(Causal, 0, 1)},
        {makeStripeSignificance(Causal, 1, 0), makeStripeSignificance(Causal, 1, 1)},
        {makeStripeSignificance(Causal, 2, 0), makeStripeSignificance(Causal, 2, 1)},
        {makeStripeSignificance(Causal, 3, 0), makeStripeSignificance(Causal, 3, 1)},
    };
};

inline void orIntoColumn(uint32_t* column, int32_t stride, uint64_t bits) {
    column[0] |= static_cast<uint32_t>(bits);
    column[stride] |= static_cast<uint32_t>(bits >> 32);
}

// Marks the sample at row r of the stripe column significant: the column's
// own stripe word is the caller's `state` (stored when the column is done),
// the other words are updated in the array, the outside ones without a
// branch (an OR of nothing where there are none).
template <bool Causal>
inline void markSignificant(uint32_t* column, int32_t stride, uint64_t& state, int r,
                            int negative) {
    const StripeSignificance& m = StripeSignificanceTable<Causal>::kRows[r][negative];
    state |= m.centre;
    orIntoColumn(column - 1, stride, m.left);
    orIntoColumn(column + 1, stride, m.right);
    uint32_t* outside = column + static_cast<std::ptrdiff_t>(m.outsideRow) * stride;
    outside[-1] |= m.outside[0];
    outside[0] |= m.outside[1];
    outside[1] |= m.outside[2];
}

}  // namespace zeq::t1

#endif  // ZEQ_JPEG2000_TIER1_T1_CONTEXTS_H
