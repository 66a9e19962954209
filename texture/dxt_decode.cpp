#include <algorithm>
#include <cstring>

#include "core/rows.h"
#include "texture/texture_decode.h"

namespace zeq {

using namespace dxt;

namespace {

constexpr uint32_t kOpaque = 0xFF000000u;

struct Rgb {
    uint32_t r, g, b;
};
// Shifting alone, without copying high bits into the low ones.
Rgb widen565(uint32_t c) { return {(c & 0xF800) >> 8, (c & 0x07E0) >> 3, (c << 3) & 255}; }
uint32_t opaque(uint32_t r, uint32_t g, uint32_t b) { return r | (g << 8) | (b << 16) | kOpaque; }

}  // namespace

DxtColourPalette dxtColourPalette(const uint8_t* colourBlock, bool threeColourAllowed) {
    const uint32_t c0 = loadLe16(colourBlock), c1 = loadLe16(colourBlock + 2);
    const Rgb e0 = widen565(c0), e1 = widen565(c1);
    DxtColourPalette p;
    p.entry[0] = opaque(e0.r, e0.g, e0.b);
    p.entry[1] = opaque(e1.r, e1.g, e1.b);
    if (!threeColourAllowed || c0 > c1) {
        p.entry[2] = opaque((2 * e0.r + e1.r) / 3, (2 * e0.g + e1.g) / 3, (2 * e0.b + e1.b) / 3);
        p.entry[3] = opaque((e0.r + 2 * e1.r) / 3, (e0.g + 2 * e1.g) / 3, (e0.b + 2 * e1.b) / 3);
    } else {
        p.entry[2] = opaque((e0.r + e1.r) / 2, (e0.g + e1.g) / 2, (e0.b + e1.b) / 2);
        p.entry[3] = 0xFFFFFFFFu;  // opaque white, by design, not transparent black
    }
    return p;
}

void dxtAlphaValues(TextureFormat format, const uint8_t* alphaBlock, uint8_t alpha[16]) {
    if (format == TextureFormat::Dxt3) {
        const uint64_t nibbles = loadLe64(alphaBlock);
        for (int i = 0; i < kBlockPixels; ++i)
            alpha[i] = static_cast<uint8_t>(((nibbles >> (4 * i)) & 15) * 16);
        return;
    }
    const uint32_t a0 = alphaBlock[0], a1 = alphaBlock[1];
    uint32_t palette[8] = {a0, a1};
    if (a0 > a1) {
        for (uint32_t k = 1; k <= 6; ++k) palette[k + 1] = ((7 - k) * a0 + k * a1 + 3) / 7;
    } else {
        for (uint32_t k = 1; k <= 4; ++k) palette[k + 1] = ((5 - k) * a0 + k * a1 + 2) / 5;
        palette[6] = 0;
        palette[7] = 255;
    }
    const uint64_t indices = loadLe64(alphaBlock) >> 16;
    for (int i = 0; i < kBlockPixels; ++i)
        alpha[i] = static_cast<uint8_t>(palette[(indices >> (3 * i)) & 7]);
}

void decodeBlockScalar(TextureFormat format, const uint8_t* block, uint8_t* pixels) {
    if (format == TextureFormat::Bc7) {
        decodeBc7Block(block, pixels);
        return;
    }
    const uint8_t* colour = block + blockBytesOf(format) - kColourBlockBytes;
    const DxtColourPalette palette = dxtColourPalette(colour, format == TextureFormat::Dxt1);
    const uint32_t indices = loadLe32(colour + 4);
    for (int i = 0; i < kBlockPixels; ++i)
        storeLe32(pixels + 4 * i, palette.entry[(indices >> (2 * i)) & 3]);
    if (format != TextureFormat::Dxt1) {
        uint8_t alpha[kBlockPixels];
        dxtAlphaValues(format, block, alpha);
        for (int i = 0; i < kBlockPixels; ++i) pixels[4 * i + 3] = alpha[i];
    }
}

void storeBlockClipped(const uint8_t* pixels, uint8_t* dst, int32_t dstStep, ZeqiSize size,
                       int32_t bx, int32_t by) {
    const int32_t x0 = bx * kBlockSide, y0 = by * kBlockSide;
    const int32_t columns = std::min(kBlockSide, size.width - x0);
    const int32_t rows = std::min(kBlockSide, size.height - y0);
    for (int32_t row = 0; row < rows; ++row)
        std::memcpy(rowAt(dst, dstStep, y0 + row) + static_cast<std::ptrdiff_t>(x0) * 4,
                    pixels + 16 * row, static_cast<size_t>(columns) * 4);
}

void decodeTextureScalar(TextureFormat format, const uint8_t* src, uint8_t* dst, int32_t dstStep,
                         ZeqiSize size) {
    uint8_t pixels[4 * kBlockPixels];
    for (int32_t by = 0; by < blocksDown(size); ++by) {
        for (int32_t bx = 0; bx < blocksAcross(size); ++bx) {
            decodeBlockScalar(format, src + blockOffset(size, bx, by, blockBytesOf(format)),
                              pixels);
            storeBlockClipped(pixels, dst, dstStep, size, bx, by);
        }
    }
}

}  // namespace zeq
