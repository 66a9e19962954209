// Four blocks at a time: a 16 x 4 tile is split into one 16-byte plane per
// channel and row, so byte lane i of a plane is column i and block i / 4.
// Per-block values (ranges, endpoints, thresholds) live in 32-bit lanes, one
// per block, and are spread back over the block's byte or 16-bit lanes.
#include <cstring>

#include "core/rows.h"
#include "core/sse2.h"
#include "texture/dxt_encode.h"

namespace zeq {

using namespace sse2;
using namespace dxt;

namespace {

constexpr int kTileBlocks = 4;

struct Tile {
    V128 plane[4][kBlockSide];  // [source channel][row]
};

// Byte `channel` of each 32-bit pixel of q0..q3, as 16 bytes in pixel order.
V128 channelPlane(const V128 q[4], int channel) {
    const V128 lowByte = _mm_set1_epi32(0xFF);
    V128 x[4];
    for (int k = 0; k < 4; ++k) {
        V128 shifted = q[k];
        switch (channel) {
            case 1:
                shifted = _mm_srli_epi32(q[k], 8);
                break;
            case 2:
                shifted = _mm_srli_epi32(q[k], 16);
                break;
            case 3:
                shifted = _mm_srli_epi32(q[k], 24);
                break;
            default:
                break;
        }
        x[k] = _mm_and_si128(shifted, lowByte);
    }
    return _mm_packus_epi16(_mm_packs_epi32(x[0], x[1]), _mm_packs_epi32(x[2], x[3]));
}

// Three-byte pixels at bytes 0, 3, 6 and 9 of v, widened to 32-bit lanes
// (the fourth byte of each lane is whatever follows and is never used).
V128 threeBytePixels(V128 v) {
    const V128 p1 = _mm_srli_si128(v, 3), p2 = _mm_srli_si128(v, 6), p3 = _mm_srli_si128(v, 9);
    return _mm_unpacklo_epi64(_mm_unpacklo_epi32(v, p1), _mm_unpacklo_epi32(p2, p3));
}

Tile loadTile(const uint8_t* src, int32_t srcStep, int sourceChannels) {
    Tile tile;
    for (int row = 0; row < kBlockSide; ++row) {
        const uint8_t* line = rowAt(src, srcStep, row);
        V128 q[4];
        if (sourceChannels == 4) {
            for (int k = 0; k < 4; ++k) q[k] = loadu(line + 16 * k);
        } else {
            // 48 bytes hold the 16 pixels; nothing past them is read.
            const V128 l0 = loadu(line), l1 = loadu(line + 16), l2 = loadu(line + 32);
            q[0] = threeBytePixels(l0);
            q[1] = threeBytePixels(_mm_or_si128(_mm_srli_si128(l0, 12), _mm_slli_si128(l1, 4)));
            q[2] = threeBytePixels(_mm_or_si128(_mm_srli_si128(l1, 8), _mm_slli_si128(l2, 8)));
            q[3] = threeBytePixels(_mm_srli_si128(l2, 4));
        }
        for (int ch = 0; ch < sourceChannels; ++ch) tile.plane[ch][row] = channelPlane(q, ch);
    }
    return tile;
}

// Per-block minimum and maximum of a channel, one 32-bit lane per block.
// Shifting within 32-bit lanes brings in zeros, which leave byte 0 of a
// minimum and every byte of a maximum correct.
V128 blockMin(const V128 p[4]) {
    V128 m = _mm_min_epu8(_mm_min_epu8(p[0], p[1]), _mm_min_epu8(p[2], p[3]));
    m = _mm_min_epu8(m, _mm_srli_epi32(m, 8));
    m = _mm_min_epu8(m, _mm_srli_epi32(m, 16));
    return _mm_and_si128(m, _mm_set1_epi32(0xFF));
}
V128 blockMax(const V128 p[4]) {
    V128 m = _mm_max_epu8(_mm_max_epu8(p[0], p[1]), _mm_max_epu8(p[2], p[3]));
    m = _mm_max_epu8(m, _mm_srli_epi32(m, 8));
    m = _mm_max_epu8(m, _mm_srli_epi32(m, 16));
    return _mm_and_si128(m, _mm_set1_epi32(0xFF));
}

// A per-block byte value spread over the block's four byte lanes.
V128 spreadBytes(V128 perBlock) {
    const V128 x = _mm_or_si128(perBlock, _mm_slli_epi32(perBlock, 8));
    return _mm_or_si128(x, _mm_slli_epi32(x, 16));
}
// A per-block value below 65536 spread over the block's 16-bit lanes, for
// blocks 0-1 (low) and 2-3 (high).
void spreadWords(V128 perBlock, V128& low, V128& high) {
    const V128 x = _mm_or_si128(perBlock, _mm_slli_epi32(perBlock, 16));
    low = _mm_unpacklo_epi32(x, x);
    high = _mm_unpackhi_epi32(x, x);
}

V128 absDiff8(V128 a, V128 b) { return _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a)); }

// floor(x / d) for the small ranges that occur, by a 16-bit reciprocal:
// x <= 765 for thirds, x <= 1785 for sevenths, x <= 255 for fourteenths.
constexpr int16_t kThirdReciprocal = 21846;
constexpr int16_t kSeventhReciprocal = 9363;
constexpr int16_t kFourteenthReciprocal = 4682;
V128 divideSmall(V128 x, int16_t reciprocal) { return _mm_mulhi_epu16(x, splat16(reciprocal)); }

// Indices of `bits` bits of one row of two blocks (16-bit lanes) gathered
// into the low 4 * bits bits of each 64-bit lane, block 0 (or 2) first.
template <int kBits>
V128 packRowIndices(V128 indices) {
    const V128 pairs = _mm_madd_epi16(indices, _mm_set1_epi32(1 | (1 << (kBits + 16))));
    const V128 row = _mm_add_epi32(pairs, _mm_srli_epi64(pairs, 32 - 2 * kBits));
    constexpr int kRowMask = (1 << (4 * kBits)) - 1;
    return _mm_and_si128(row, _mm_set_epi32(0, kRowMask, 0, kRowMask));
}

// Per-block index fields, 64-bit lanes: blocks 0 and 1 in low, 2 and 3 in high.
struct IndexFields {
    V128 low = zero(), high = zero();
    template <int kBits>
    void addRow(int row, V128 lowIndices, V128 highIndices) {
        low = _mm_or_si128(low, _mm_sll_epi64(packRowIndices<kBits>(lowIndices),
                                              _mm_cvtsi32_si128(4 * kBits * row)));
        high = _mm_or_si128(high, _mm_sll_epi64(packRowIndices<kBits>(highIndices),
                                                _mm_cvtsi32_si128(4 * kBits * row)));
    }
    void store(uint64_t out[4]) const {
        storeu(out, low);
        storeu(out + 2, high);
    }
};

struct ColourEndpoints {
    V128 hi[3], lo[3];  // 8-bit endpoints per colour channel, one lane per block
};

// colour0, colour1 and the index words of four blocks from endpoints and the
// colour planes; `count` planes enter the distances.
void colourBlocks(const ColourEndpoints& e, const V128* const planes[3], int count,
                  uint32_t colour0[4], uint32_t colour1[4], uint64_t indices[4]) {
    V128 palette[4][3];
    for (int ch = 0; ch < 3; ++ch) {
        const V128 mask = _mm_set1_epi32(ch == 1 ? kSixBitMask : kFiveBitMask);
        const int shift = ch == 1 ? 6 : 5;
        const V128 c0 =
            _mm_or_si128(_mm_and_si128(e.hi[ch], mask), _mm_srli_epi32(e.hi[ch], shift));
        const V128 c1 =
            _mm_or_si128(_mm_and_si128(e.lo[ch], mask), _mm_srli_epi32(e.lo[ch], shift));
        palette[0][ch] = spreadBytes(c0);
        palette[1][ch] = spreadBytes(c1);
        palette[2][ch] =
            spreadBytes(divideSmall(_mm_add_epi32(_mm_add_epi32(c0, c0), c1), kThirdReciprocal));
        palette[3][ch] =
            spreadBytes(divideSmall(_mm_add_epi32(_mm_add_epi32(c1, c1), c0), kThirdReciprocal));
    }
    IndexFields fields;
    for (int row = 0; row < kBlockSide; ++row) {
        V128 dLow[4], dHigh[4];
        for (int k = 0; k < 4; ++k) {
            dLow[k] = dHigh[k] = zero();
            for (int ch = 0; ch < count; ++ch) {
                const V128 d = absDiff8(planes[ch][row], palette[k][ch]);
                dLow[k] = _mm_add_epi16(dLow[k], _mm_unpacklo_epi8(d, zero()));
                dHigh[k] = _mm_add_epi16(dHigh[k], _mm_unpackhi_epi8(d, zero()));
            }
        }
        auto index = [](const V128* d) {
            const V128 b0 = _mm_cmpgt_epi16(d[0], d[3]), b1 = _mm_cmpgt_epi16(d[1], d[2]);
            const V128 b2 = _mm_cmpgt_epi16(d[0], d[2]), b3 = _mm_cmpgt_epi16(d[1], d[3]);
            const V128 b4 = _mm_cmpgt_epi16(d[2], d[3]);
            const V128 lowBit = _mm_and_si128(_mm_and_si128(b0, b4), splat16(1));
            const V128 highBit = _mm_and_si128(
                _mm_or_si128(_mm_and_si128(b1, b2), _mm_and_si128(b0, b3)), splat16(2));
            return _mm_or_si128(lowBit, highBit);
        };
        fields.addRow<2>(row, index(dLow), index(dHigh));
    }
    auto pack = [](const V128* v) {
        return _mm_or_si128(
            _mm_or_si128(_mm_slli_epi32(_mm_and_si128(v[0], _mm_set1_epi32(kFiveBitMask)), 8),
                         _mm_slli_epi32(_mm_and_si128(v[1], _mm_set1_epi32(kSixBitMask)), 3)),
            _mm_srli_epi32(v[2], 3));
    };
    storeu(colour0, pack(e.hi));
    storeu(colour1, pack(e.lo));
    fields.store(indices);
}

ColourEndpoints rgbEndpoints(const Tile& tile) {
    ColourEndpoints e;
    for (int ch = 0; ch < 3; ++ch) {
        const V128 mn = blockMin(tile.plane[ch]), mx = blockMax(tile.plane[ch]);
        const V128 inset = _mm_srli_epi32(_mm_sub_epi32(mx, mn), 4);
        e.hi[ch] = _mm_sub_epi32(mx, inset);
        e.lo[ch] = _mm_add_epi32(mn, inset);  // never above the maximum
    }
    return e;
}

// ((v - 128) * scale + 128) mod 256 on bytes: scale 2 and 4 are a doubling
// or two and a flip of the top bit.
V128 scaleChroma(V128 v, V128 isTwo, V128 isFour) {
    const V128 topBit = splat8(static_cast<int8_t>(0x80));
    const V128 twice = _mm_add_epi8(v, v);
    const V128 byTwo = _mm_xor_si128(twice, topBit);
    const V128 byFour = _mm_xor_si128(_mm_add_epi8(twice, twice), topBit);
    return _mm_or_si128(_mm_andnot_si128(_mm_or_si128(isTwo, isFour), v),
                        _mm_or_si128(_mm_and_si128(isTwo, byTwo), _mm_and_si128(isFour, byFour)));
}

void chromaColourBlocks(const Tile& tile, uint32_t colour0[4], uint32_t colour1[4],
                        uint64_t indices[4]) {
    const V128* source[2] = {tile.plane[1], tile.plane[2]};
    V128 mn[2], mx[2];
    V128 m = zero();
    for (int ch = 0; ch < 2; ++ch) {
        mn[ch] = blockMin(source[ch]);
        mx[ch] = blockMax(source[ch]);
        // The largest |v - 128| of a range is at one of its ends; it is never
        // negative, so the 16-bit maximum of the lanes is exact.
        m = _mm_max_epi16(m, _mm_sub_epi32(_mm_set1_epi32(128), mn[ch]));
        m = _mm_max_epi16(m, _mm_sub_epi32(mx[ch], _mm_set1_epi32(128)));
    }
    const V128 below64 = _mm_cmpgt_epi32(_mm_set1_epi32(64), m);
    const V128 below32 = _mm_cmpgt_epi32(_mm_set1_epi32(32), m);
    const V128 isTwo = _mm_andnot_si128(below32, below64), isFour = below32;
    const V128 scaleMinusOne = _mm_or_si128(_mm_and_si128(below64, _mm_set1_epi32(1)),
                                            _mm_and_si128(below32, _mm_set1_epi32(2)));

    V128 scaled[2][kBlockSide];
    ColourEndpoints e;
    for (int ch = 0; ch < 2; ++ch) {
        for (int row = 0; row < kBlockSide; ++row)
            scaled[ch][row] = scaleChroma(source[ch][row], isTwo, isFour);
        const V128 lowByte = _mm_set1_epi32(0xFF);
        const V128 sMin = _mm_and_si128(scaleChroma(mn[ch], isTwo, isFour), lowByte);
        const V128 sMax = _mm_and_si128(scaleChroma(mx[ch], isTwo, isFour), lowByte);
        const V128 range = _mm_sub_epi32(sMax, sMin);
        const V128 seven = _mm_set1_epi32(7);
        const V128 low =
            _mm_srai_epi32(_mm_add_epi32(_mm_slli_epi32(sMin, 4), _mm_sub_epi32(range, seven)), 4);
        e.lo[ch] = _mm_andnot_si128(_mm_cmpgt_epi32(zero(), low), low);
        // (16 max - range + 7) >> 4 never passes 255.
        e.hi[ch] =
            _mm_srai_epi32(_mm_add_epi32(_mm_slli_epi32(sMax, 4), _mm_sub_epi32(seven, range)), 4);
    }
    e.hi[2] = e.lo[2] = _mm_slli_epi32(scaleMinusOne, 3);
    const V128* const planes[3] = {scaled[0], scaled[1], scaled[1]};
    colourBlocks(e, planes, 2, colour0, colour1, indices);
}

void fourBitAlpha(const V128 alpha[4], uint64_t fields[4]) {
    IndexFields f;
    for (int row = 0; row < kBlockSide; ++row)
        f.addRow<4>(row, _mm_srli_epi16(_mm_unpacklo_epi8(alpha[row], zero()), 4),
                    _mm_srli_epi16(_mm_unpackhi_epi8(alpha[row], zero()), 4));
    f.store(fields);
}

void eightValueAlpha(const V128 alpha[4], uint32_t alpha0[4], uint32_t alpha1[4],
                     uint64_t fields[4]) {
    const V128 mn = blockMin(alpha), mx = blockMax(alpha);
    const V128 inset = _mm_srli_epi32(_mm_sub_epi32(mx, mn), 4);
    const V128 a0 = _mm_sub_epi32(mx, inset), a1 = _mm_add_epi32(mn, inset);
    const V128 bias = divideSmall(_mm_sub_epi32(a0, a1), kFourteenthReciprocal);
    V128 tLow[7], tHigh[7];
    for (int j = 0; j < 7; ++j) {
        const V128 sum = _mm_add_epi32(_mm_mullo_epi16(a1, _mm_set1_epi32(7 - j)),
                                       _mm_mullo_epi16(a0, _mm_set1_epi32(j)));
        spreadWords(_mm_add_epi32(divideSmall(sum, kSeventhReciprocal), bias), tLow[j], tHigh[j]);
    }
    // Each threshold the alpha exceeds adds -1; the index is then that sum
    // modulo 8 with 0 and 1 swapped.
    auto index = [](V128 a, const V128* t) {
        V128 above = zero();
        for (int j = 0; j < 7; ++j) above = _mm_add_epi16(above, _mm_cmpgt_epi16(a, t[j]));
        const V128 i = _mm_and_si128(above, splat16(7));
        return _mm_xor_si128(i, _mm_and_si128(_mm_cmplt_epi16(i, splat16(2)), splat16(1)));
    };
    IndexFields f;
    for (int row = 0; row < kBlockSide; ++row)
        f.addRow<3>(row, index(_mm_unpacklo_epi8(alpha[row], zero()), tLow),
                    index(_mm_unpackhi_epi8(alpha[row], zero()), tHigh));
    storeu(alpha0, a0);
    storeu(alpha1, a1);
    f.store(fields);
}

}  // namespace

void encodeFourBlocksSse2(DxtEncoding encoding, const uint8_t* src, int32_t srcStep, uint8_t* dst) {
    const DxtEncodingTraits traits = traitsOf(encoding);
    const ChannelRoles roles = rolesOf(encoding);
    const Tile tile = loadTile(src, srcStep, traits.sourceChannels);

    alignas(16) uint64_t alphaFields[kTileBlocks];
    alignas(16) uint32_t alpha0[kTileBlocks], alpha1[kTileBlocks];
    if (traits.fourBitAlpha) fourBitAlpha(tile.plane[roles.alpha], alphaFields);
    if (traits.eightValueAlpha)
        eightValueAlpha(tile.plane[roles.alpha], alpha0, alpha1, alphaFields);

    alignas(16) uint32_t colour0[kTileBlocks], colour1[kTileBlocks];
    alignas(16) uint64_t indices[kTileBlocks];
    if (traits.scaledChroma) {
        chromaColourBlocks(tile, colour0, colour1, indices);
    } else {
        const V128* const planes[3] = {tile.plane[0], tile.plane[1], tile.plane[2]};
        colourBlocks(rgbEndpoints(tile), planes, 3, colour0, colour1, indices);
    }

    for (int b = 0; b < kTileBlocks; ++b) {
        uint8_t* block = dst + b * traits.blockBytes;
        if (traits.fourBitAlpha) storeLe64(block, alphaFields[b]);
        if (traits.eightValueAlpha) {
            block[0] = static_cast<uint8_t>(alpha0[b]);
            block[1] = static_cast<uint8_t>(alpha1[b]);
            for (int i = 0; i < 6; ++i)
                block[2 + i] = static_cast<uint8_t>(alphaFields[b] >> (8 * i));
        }
        uint8_t* colour = block + traits.blockBytes - kColourBlockBytes;
        storeLe16(colour, colour0[b]);
        storeLe16(colour + 2, colour1[b]);
        storeLe32(colour + 4, static_cast<uint32_t>(indices[b]));
    }
}

void encodeTextureSse2(DxtEncoding encoding, const uint8_t* src, int32_t srcStep, ZeqiSize size,
                       uint8_t* dst) {
    const DxtEncodingTraits traits = traitsOf(encoding);
    const int32_t across = blocksAcross(size);
    const int32_t fullGroups = size.width / (kBlockSide * kTileBlocks);
    for (int32_t by = 0; by < blocksDown(size); ++by) {
        int32_t bx = 0;
        if (by < fullBlockRows(size)) {
            const uint8_t* line = rowAt(src, srcStep, by * kBlockSide);
            for (; bx < fullGroups * kTileBlocks; bx += kTileBlocks)
                encodeFourBlocksSse2(
                    encoding,
                    line + static_cast<std::ptrdiff_t>(bx) * kBlockSide * traits.sourceChannels,
                    srcStep, dst + blockOffset(size, bx, by, traits.blockBytes));
        }
        for (; bx < across; ++bx)
            encodeBlockScalar(encoding,
                              gatherBlock(src, srcStep, size, traits.sourceChannels, bx, by),
                              dst + blockOffset(size, bx, by, traits.blockBytes));
    }
}

}  // namespace zeq
