// Four blocks at a time on full block rows: each block row of 16 pixels is
// written with four 16-byte stores. DXT pixels are chosen from the palette
// with compare masks, four pixels per vector; BC7 blocks are decoded one by
// one and stored together.
#include <algorithm>

#include "core/rows.h"
#include "core/sse2.h"
#include "texture/texture_decode.h"

namespace zeq {

using namespace sse2;
using namespace dxt;

namespace {

constexpr int kTileBlocks = 4;

// The four pixels of one block row: index byte `indices` (2 bits a pixel)
// picks entries of the palette vector (one 32-bit entry per lane).
V128 selectColours(V128 palette, uint32_t indices) {
    const V128 fields = _mm_and_si128(_mm_set1_epi32(static_cast<int>(indices)),
                                      _mm_setr_epi32(3, 3 << 2, 3 << 4, 3 << 6));
    const V128 e0 = _mm_shuffle_epi32(palette, 0x00), e1 = _mm_shuffle_epi32(palette, 0x55);
    const V128 e2 = _mm_shuffle_epi32(palette, 0xAA), e3 = _mm_shuffle_epi32(palette, 0xFF);
    V128 out = _mm_and_si128(_mm_cmpeq_epi32(fields, zero()), e0);
    out = _mm_or_si128(
        out, _mm_and_si128(_mm_cmpeq_epi32(fields, _mm_setr_epi32(1, 1 << 2, 1 << 4, 1 << 6)), e1));
    out = _mm_or_si128(
        out, _mm_and_si128(_mm_cmpeq_epi32(fields, _mm_setr_epi32(2, 2 << 2, 2 << 4, 2 << 6)), e2));
    return _mm_or_si128(
        out, _mm_and_si128(_mm_cmpeq_epi32(fields, _mm_setr_epi32(3, 3 << 2, 3 << 4, 3 << 6)), e3));
}

// Bytes 4 * row .. 4 * row + 3 of the alpha vector, moved to the top byte of
// four 32-bit lanes.
template <int kRow>
V128 alphaLanes(V128 alpha) {
    const V128 bytes = _mm_srli_si128(alpha, 4 * kRow);
    return _mm_unpacklo_epi16(zero(), _mm_unpacklo_epi8(zero(), bytes));
}

void decodeDxtBlock(TextureFormat format, const uint8_t* block, uint8_t* dst, int32_t dstStep) {
    const uint8_t* colour = block + blockBytesOf(format) - kColourBlockBytes;
    const DxtColourPalette palette = dxtColourPalette(colour, format == TextureFormat::Dxt1);
    const V128 entries = loadu(palette.entry);
    V128 rows[4];
    for (int row = 0; row < kBlockSide; ++row) rows[row] = selectColours(entries, colour[4 + row]);
    if (format != TextureFormat::Dxt1) {
        alignas(16) uint8_t alpha[kBlockPixels];
        dxtAlphaValues(format, block, alpha);
        const V128 a = loadu(alpha), rgbOnly = _mm_set1_epi32(0x00FFFFFF);
        rows[0] = _mm_or_si128(_mm_and_si128(rows[0], rgbOnly), alphaLanes<0>(a));
        rows[1] = _mm_or_si128(_mm_and_si128(rows[1], rgbOnly), alphaLanes<1>(a));
        rows[2] = _mm_or_si128(_mm_and_si128(rows[2], rgbOnly), alphaLanes<2>(a));
        rows[3] = _mm_or_si128(_mm_and_si128(rows[3], rgbOnly), alphaLanes<3>(a));
    }
    for (int row = 0; row < kBlockSide; ++row) storeu(rowAt(dst, dstStep, row), rows[row]);
}

}  // namespace

void decodeFourBlocksSse2(TextureFormat format, const uint8_t* blocks, uint8_t* dst,
                          int32_t dstStep) {
    const int blockBytes = blockBytesOf(format);
    for (int b = 0; b < kTileBlocks; ++b) {
        if (format == TextureFormat::Bc7) {
            alignas(16) uint8_t pixels[4 * kBlockPixels];
            decodeBc7Block(blocks + b * blockBytes, pixels);
            for (int row = 0; row < kBlockSide; ++row)
                storeu(rowAt(dst, dstStep, row) + 16 * b, loadu(pixels + 16 * row));
        } else {
            decodeDxtBlock(format, blocks + b * blockBytes, dst + 16 * b, dstStep);
        }
    }
}

void decodeTextureSse2(TextureFormat format, const uint8_t* src, uint8_t* dst, int32_t dstStep,
                       ZeqiSize size) {
    const int blockBytes = blockBytesOf(format);
    const int32_t fullGroups = size.width / (kBlockSide * kTileBlocks);
    uint8_t pixels[4 * kBlockPixels];
    for (int32_t by = 0; by < blocksDown(size); ++by) {
        int32_t bx = 0;
        if (by < fullBlockRows(size)) {
            uint8_t* line = rowAt(dst, dstStep, by * kBlockSide);
            for (; bx < fullGroups * kTileBlocks; bx += kTileBlocks)
                decodeFourBlocksSse2(format, src + blockOffset(size, bx, by, blockBytes),
                                     line + static_cast<std::ptrdiff_t>(bx) * 16, dstStep);
        }
        for (; bx < blocksAcross(size); ++bx) {
            decodeBlockScalar(format, src + blockOffset(size, bx, by, blockBytes), pixels);
            storeBlockClipped(pixels, dst, dstStep, size, bx, by);
        }
    }
}

}  // namespace zeq
