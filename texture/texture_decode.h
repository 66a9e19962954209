// Texture block decoders to interleaved RGBA. Blocks that pass the right or
// bottom edge are decoded whole and only their pixels inside the image are
// written. The DXT colour endpoints are widened by shifting alone (31 gives
// 248, 63 gives 252), unlike the bit-replicating BC7 endpoints.
#ifndef ZEQ_TEXTURE_TEXTURE_DECODE_H
#define ZEQ_TEXTURE_TEXTURE_DECODE_H

#include <cstdint>

#include "texture/dxt_layout.h"
#include "zeqj.h"

namespace zeq {

enum class TextureFormat { Dxt1, Dxt3, Dxt5, Bc7 };

constexpr int blockBytesOf(TextureFormat f) { return f == TextureFormat::Dxt1 ? 8 : 16; }

// The four colour entries of a DXT colour block, each R | G << 8 | B << 16 | A << 24.
// threeColourAllowed: DXT1 takes the three-colour palette (fourth entry opaque
// white) when colour0 <= colour1; DXT3 and DXT5 always take thirds.
struct DxtColourPalette {
    uint32_t entry[4];
};
DxtColourPalette dxtColourPalette(const uint8_t* colourBlock, bool threeColourAllowed);
// Alpha of the 16 pixels of a DXT3 or DXT5 alpha block.
void dxtAlphaValues(TextureFormat format, const uint8_t* alphaBlock, uint8_t alpha[16]);

// One block to 16 RGBA pixels, row-major (64 bytes).
void decodeBlockScalar(TextureFormat format, const uint8_t* block, uint8_t* pixels);
void decodeBc7Block(const uint8_t* block, uint8_t* pixels);
// Four consecutive blocks to a 16 x 4 area of the destination.
void decodeFourBlocksSse2(TextureFormat format, const uint8_t* blocks, uint8_t* dst,
                          int32_t dstStep);

// Copies the part of decoded block (bx, by) that lies inside the image.
void storeBlockClipped(const uint8_t* pixels, uint8_t* dst, int32_t dstStep, ZeqiSize size,
                       int32_t bx, int32_t by);

// Whole images: one block at a time everywhere, or four at a time on full
// block rows and one at a time for the rest.
void decodeTextureScalar(TextureFormat format, const uint8_t* src, uint8_t* dst, int32_t dstStep,
                         ZeqiSize size);
void decodeTextureSse2(TextureFormat format, const uint8_t* src, uint8_t* dst, int32_t dstStep,
                       ZeqiSize size);

}  // namespace zeq

#endif  // ZEQ_TEXTURE_TEXTURE_DECODE_H
