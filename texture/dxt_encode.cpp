#include "texture/dxt_encode.h"

#include <algorithm>
#include <cstdlib>

#include "core/rows.h"

namespace zeq {

using namespace dxt;

namespace {

struct Range {
    int min = 255, max = 0;
};
Range rangeOf(const uint8_t* v) {
    Range r;
    for (int i = 0; i < kBlockPixels; ++i) {
        r.min = std::min<int>(r.min, v[i]);
        r.max = std::max<int>(r.max, v[i]);
    }
    return r;
}

// 5- and 6-bit endpoint fields expanded back to 8 bits for indexing.
int expand5(int v) { return (v & kFiveBitMask) | (v >> 5); }
int expand6(int v) { return (v & kSixBitMask) | (v >> 6); }

// Index of the nearest palette entry by the fixed comparisons; ties go as
// the strict comparisons say.
uint32_t colourIndex(int d0, int d1, int d2, int d3) {
    const bool b0 = d0 > d3, b1 = d1 > d2, b2 = d0 > d2, b3 = d1 > d3, b4 = d2 > d3;
    return static_cast<uint32_t>(b0 && b4) | (static_cast<uint32_t>((b1 && b2) || (b0 && b3)) << 1);
}

// Writes colour0, colour1 and the index word. hi and lo are 8-bit endpoints
// per colour channel; pixels has `count` colour planes that enter the
// distances (the chroma block leaves its constant blue out).
void writeColourBlock(const int hi[3], const int lo[3], const uint8_t* const pixels[3], int count,
                      uint8_t* dst) {
    int palette[4][3];
    for (int ch = 0; ch < 3; ++ch) {
        const int c0 = ch == 1 ? expand6(hi[ch]) : expand5(hi[ch]);
        const int c1 = ch == 1 ? expand6(lo[ch]) : expand5(lo[ch]);
        palette[0][ch] = c0;
        palette[1][ch] = c1;
        palette[2][ch] = (2 * c0 + c1) / 3;
        palette[3][ch] = (c0 + 2 * c1) / 3;
    }
    uint32_t indices = 0;
    for (int i = 0; i < kBlockPixels; ++i) {
        int d[4] = {};
        for (int k = 0; k < 4; ++k)
            for (int ch = 0; ch < count; ++ch) d[k] += std::abs(pixels[ch][i] - palette[k][ch]);
        indices |= colourIndex(d[0], d[1], d[2], d[3]) << (2 * i);
    }
    storeLe16(dst, pack565(hi[0], hi[1], hi[2]));
    storeLe16(dst + 2, pack565(lo[0], lo[1], lo[2]));
    storeLe32(dst + 4, indices);
}

// Inset bounding box: a sixteenth of the range off each end.
void rgbColourBlock(const uint8_t* const rgb[3], uint8_t* dst) {
    int hi[3], lo[3];
    for (int ch = 0; ch < 3; ++ch) {
        const Range r = rangeOf(rgb[ch]);
        const int inset = (r.max - r.min) >> 4;
        hi[ch] = r.max - inset;
        lo[ch] = std::min(r.min + inset, 255);
    }
    writeColourBlock(hi, lo, rgb, 3, dst);
}

int scaleChroma(int v, int scale) { return ((v - 128) * scale + 128) & 255; }

// Co and Cg are stretched by 1, 2 or 4 around 128 so small chroma uses the
// endpoint precision; the scale rides in the blue field (blue / 8 + 1).
void chromaColourBlock(const uint8_t* co, const uint8_t* cg, uint8_t* dst) {
    const Range rCo = rangeOf(co), rCg = rangeOf(cg);
    const int m = std::max({std::abs(rCo.min - 128), std::abs(rCo.max - 128),
                            std::abs(rCg.min - 128), std::abs(rCg.max - 128)});
    const int scale = 1 + (m < 64 ? 1 : 0) + (m < 32 ? 2 : 0);
    uint8_t scaled[2][kBlockPixels];
    for (int i = 0; i < kBlockPixels; ++i) {
        scaled[0][i] = static_cast<uint8_t>(scaleChroma(co[i], scale));
        scaled[1][i] = static_cast<uint8_t>(scaleChroma(cg[i], scale));
    }
    int hi[3], lo[3];
    const Range ranges[2] = {rCo, rCg};
    for (int ch = 0; ch < 2; ++ch) {
        const int mn = scaleChroma(ranges[ch].min, scale), mx = scaleChroma(ranges[ch].max, scale);
        const int r = mx - mn;
        // A narrower inset than the RGB rule; a low end below 0 (tiny ranges
        // at 0) is held at 0.
        lo[ch] = std::clamp((16 * mn + r - 7) >> 4, 0, 255);
        hi[ch] = std::min((16 * mx - r + 7) >> 4, 255);
    }
    hi[2] = lo[2] = (scale - 1) * 8;
    const uint8_t* const planes[3] = {scaled[0], scaled[1], scaled[1]};
    writeColourBlock(hi, lo, planes, 2, dst);
}

void fourBitAlphaBlock(const uint8_t* alpha, uint8_t* dst) {
    for (int row = 0; row < 4; ++row) {
        uint32_t bits = 0;
        for (int col = 0; col < 4; ++col)
            bits |= static_cast<uint32_t>(alpha[4 * row + col] >> 4) << (4 * col);
        storeLe16(dst + 2 * row, bits);
    }
}

void eightValueAlphaBlock(const uint8_t* alpha, uint8_t* dst) {
    const Range r = rangeOf(alpha);
    const int inset = (r.max - r.min) >> 4;
    const int a0 = r.max - inset, a1 = std::min(r.min + inset, 255);
    const int bias = (a0 - a1) / 14;
    int threshold[7];
    for (int j = 0; j < 7; ++j) threshold[j] = ((7 - j) * a1 + j * a0) / 7 + bias;
    uint64_t indices = 0;
    for (int i = 0; i < kBlockPixels; ++i) {
        int n = 0;
        for (int j = 0; j < 7; ++j) n += alpha[i] <= threshold[j] ? 1 : 0;
        uint64_t index = static_cast<uint64_t>((n + 1) & 7);
        if (index < 2) index ^= 1;
        indices |= index << (3 * i);
    }
    dst[0] = static_cast<uint8_t>(a0);
    dst[1] = static_cast<uint8_t>(a1);
    for (int b = 0; b < 6; ++b) dst[2 + b] = static_cast<uint8_t>(indices >> (8 * b));
}

}  // namespace

BlockPixels gatherBlock(const uint8_t* src, int32_t srcStep, ZeqiSize size, int sourceChannels,
                        int32_t bx, int32_t by) {
    BlockPixels block;
    for (int row = 0; row < kBlockSide; ++row) {
        const auto y = static_cast<int32_t>(
            std::min<int64_t>(int64_t{by} * kBlockSide + row, size.height - 1));
        const uint8_t* line = rowAt(src, srcStep, y);
        for (int col = 0; col < kBlockSide; ++col) {
            const auto x = static_cast<int32_t>(
                std::min<int64_t>(int64_t{bx} * kBlockSide + col, size.width - 1));
            for (int ch = 0; ch < sourceChannels; ++ch)
                block.channel[ch][4 * row + col] =
                    line[static_cast<std::ptrdiff_t>(x) * sourceChannels + ch];
        }
    }
    return block;
}

void encodeBlockScalar(DxtEncoding encoding, const BlockPixels& pixels, uint8_t* dst) {
    const DxtEncodingTraits traits = traitsOf(encoding);
    const ChannelRoles roles = rolesOf(encoding);
    if (traits.fourBitAlpha) fourBitAlphaBlock(pixels.channel[roles.alpha], dst);
    if (traits.eightValueAlpha) eightValueAlphaBlock(pixels.channel[roles.alpha], dst);
    uint8_t* colour = dst + traits.blockBytes - kColourBlockBytes;
    if (traits.scaledChroma) {
        chromaColourBlock(pixels.channel[roles.colour[0]], pixels.channel[roles.colour[1]], colour);
    } else {
        const uint8_t* const rgb[3] = {pixels.channel[0], pixels.channel[1], pixels.channel[2]};
        rgbColourBlock(rgb, colour);
    }
}

void encodeTextureScalar(DxtEncoding encoding, const uint8_t* src, int32_t srcStep, ZeqiSize size,
                         uint8_t* dst) {
    const DxtEncodingTraits traits = traitsOf(encoding);
    for (int32_t by = 0; by < blocksDown(size); ++by)
        for (int32_t bx = 0; bx < blocksAcross(size); ++bx)
            encodeBlockScalar(encoding,
                              gatherBlock(src, srcStep, size, traits.sourceChannels, bx, by),
                              dst + blockOffset(size, bx, by, traits.blockBytes));
}

}  // namespace zeq
