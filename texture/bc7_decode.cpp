// BC7 block decoding: all eight modes with partitions, anchors, p-bits,
// rotation and index selection. A first byte of 0 (no mode bit) is the
// reserved mode and decodes to transparent black.
#include <array>
#include <cstring>

#include "texture/bc7_tables.h"
#include "texture/texture_decode.h"

namespace zeq {

namespace {

struct ModeLayout {
    int subsets;
    int partitionBits;
    int rotationBits;
    int indexSelectionBits;
    int colourBits;
    int alphaBits;
    int endpointPBits;  // one p-bit per endpoint
    int sharedPBits;    // one p-bit per subset
    int indexBits;
    int secondaryIndexBits;
};

constexpr ModeLayout kModes[8] = {
    {3, 4, 0, 0, 4, 0, 1, 0, 3, 0}, {2, 6, 0, 0, 6, 0, 0, 1, 3, 0}, {3, 6, 0, 0, 5, 0, 0, 0, 2, 0},
    {2, 6, 0, 0, 7, 0, 1, 0, 2, 0}, {1, 0, 2, 1, 5, 6, 0, 0, 2, 3}, {1, 0, 2, 0, 7, 8, 0, 0, 2, 2},
    {1, 0, 0, 0, 7, 7, 1, 0, 4, 0}, {2, 6, 0, 0, 5, 5, 1, 0, 2, 0},
};

constexpr int kReservedMode = 8;

// Mode of each first byte: the position of its lowest set bit.
constexpr std::array<uint8_t, 256> kModeOfFirstByte = [] {
    std::array<uint8_t, 256> table{};
    for (int b = 0; b < 256; ++b) {
        int mode = 0;
        while (mode < 8 && !(b & (1 << mode))) ++mode;
        table[static_cast<size_t>(b)] = static_cast<uint8_t>(mode);
    }
    return table;
}();

constexpr uint8_t kWeights2[4] = {0, 21, 43, 64};
constexpr uint8_t kWeights3[8] = {0, 9, 18, 27, 37, 46, 55, 64};
constexpr uint8_t kWeights4[16] = {0, 4, 9, 13, 17, 21, 26, 30, 34, 38, 43, 47, 51, 55, 60, 64};

const uint8_t* weightsFor(int bits) {
    return bits == 2 ? kWeights2 : (bits == 3 ? kWeights3 : kWeights4);
}

// Fields are read from bit 0 of byte 0 upward.
class BitReader {
public:
    explicit BitReader(const uint8_t* block) {
        std::memcpy(&low_, block, 8);
        std::memcpy(&high_, block + 8, 8);
    }
    uint32_t read(int bits) {
        if (bits == 0) return 0;
        const uint32_t v = static_cast<uint32_t>(low_ & ((uint64_t{1} << bits) - 1));
        low_ = (low_ >> bits) | (high_ << (64 - bits));
        high_ >>= bits;
        return v;
    }

private:
    uint64_t low_ = 0, high_ = 0;  // blocks are little-endian, as is the host
};

// Appends nothing for an endpoint already 8 bits wide; otherwise copies the
// top bits into the freed low bits.
uint32_t widen(uint32_t v, int bits) {
    return bits >= 8 ? v : ((v << (8 - bits)) | (v >> (2 * bits - 8)));
}

uint32_t interpolate(uint32_t e0, uint32_t e1, uint32_t weight) {
    return ((64 - weight) * e0 + weight * e1 + 32) >> 6;
}

}  // namespace

void decodeBc7Block(const uint8_t* block, uint8_t* pixels) {
    const int mode = kModeOfFirstByte[block[0]];
    if (mode == kReservedMode) {
        std::memset(pixels, 0, 64);
        return;
    }
    const ModeLayout& m = kModes[mode];
    BitReader bits(block);
    bits.read(mode + 1);
    const uint32_t partition = bits.read(m.partitionBits);
    const uint32_t rotation = bits.read(m.rotationBits);
    const uint32_t indexSelection = bits.read(m.indexSelectionBits);

    uint32_t endpoint[3][2][4] = {};  // [subset][end][channel]
    for (int ch = 0; ch < 3; ++ch)
        for (int s = 0; s < m.subsets; ++s)
            for (int e = 0; e < 2; ++e) endpoint[s][e][ch] = bits.read(m.colourBits);
    for (int s = 0; s < m.subsets; ++s)
        for (int e = 0; e < 2; ++e) endpoint[s][e][3] = bits.read(m.alphaBits);

    uint32_t pBit[3][2] = {};
    const bool hasPBits = m.endpointPBits || m.sharedPBits;
    for (int s = 0; s < m.subsets; ++s) {
        if (m.endpointPBits) {
            pBit[s][0] = bits.read(1);
            pBit[s][1] = bits.read(1);
        } else if (m.sharedPBits) {
            pBit[s][0] = pBit[s][1] = bits.read(1);
        }
    }
    const int colourWidth = m.colourBits + (hasPBits ? 1 : 0);
    const int alphaWidth = m.alphaBits + (hasPBits && m.alphaBits ? 1 : 0);
    for (int s = 0; s < m.subsets; ++s) {
        for (int e = 0; e < 2; ++e) {
            for (int ch = 0; ch < 4; ++ch) {
                uint32_t& v = endpoint[s][e][ch];
                if (ch == 3 && m.alphaBits == 0) {
                    v = 255;
                    continue;
                }
                if (hasPBits) v = (v << 1) | pBit[s][e];
                v = widen(v, ch == 3 ? alphaWidth : colourWidth);
            }
        }
    }

    const uint32_t* subsetOf = nullptr;
    int anchor[3] = {0, 0, 0};
    if (m.subsets == 2) {
        subsetOf = bc7::kTwoSubsetPartitions[partition];
        anchor[1] = bc7::kTwoSubsetSecondAnchor[partition];
    } else if (m.subsets == 3) {
        subsetOf = bc7::kThreeSubsetPartitions[partition];
        anchor[1] = bc7::kThreeSubsetSecondAnchor[partition];
        anchor[2] = bc7::kThreeSubsetThirdAnchor[partition];
    }
    auto subsetAt = [&](int i) { return subsetOf ? static_cast<int>(subsetOf[i]) : 0; };

    // An anchor pixel's index has an implied top bit of 0.
    uint32_t primary[16], secondary[16] = {};
    for (int i = 0; i < 16; ++i)
        primary[i] = bits.read(m.indexBits - (i == anchor[subsetAt(i)] ? 1 : 0));
    for (int i = 0; i < 16 && m.secondaryIndexBits; ++i)
        secondary[i] = bits.read(m.secondaryIndexBits - (i == 0 ? 1 : 0));

    // Mode 4's selection bit gives the three-bit set to colour and the
    // two-bit set to alpha.
    const uint8_t* primaryWeights = weightsFor(m.indexBits);
    const uint8_t* secondaryWeights = weightsFor(m.secondaryIndexBits);
    for (int i = 0; i < 16; ++i) {
        const uint32_t(&e)[2][4] = endpoint[subsetAt(i)];
        uint32_t colourWeight = primaryWeights[primary[i]];
        uint32_t alphaWeight = colourWeight;
        if (m.secondaryIndexBits) {
            alphaWeight = secondaryWeights[secondary[i]];
            if (indexSelection) std::swap(colourWeight, alphaWeight);
        }
        uint32_t rgba[4];
        for (int ch = 0; ch < 3; ++ch) rgba[ch] = interpolate(e[0][ch], e[1][ch], colourWeight);
        rgba[3] = interpolate(e[0][3], e[1][3], alphaWeight);
        if (rotation) std::swap(rgba[3], rgba[rotation - 1]);
        for (int ch = 0; ch < 4; ++ch) pixels[4 * i + ch] = static_cast<uint8_t>(rgba[ch]);
    }
}

}  // namespace zeq
