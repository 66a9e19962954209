// Single-pass DXT block encoders: endpoints from the inset bounding box of a
// block, indices from fixed distance comparisons. The one-block path is the
// reference; the SSE2 path takes four blocks of a full-height block row at a
// time and gives the same bytes.
#ifndef ZEQ_TEXTURE_DXT_ENCODE_H
#define ZEQ_TEXTURE_DXT_ENCODE_H

#include <cstdint>

#include "texture/dxt_layout.h"
#include "zeqj.h"

namespace zeq {

enum class DxtEncoding { Dxt1, Dxt3, Dxt5, YCoCgDxt5 };

struct DxtEncodingTraits {
    int sourceChannels;  // bytes per source pixel
    int blockBytes;
    bool fourBitAlpha;     // DXT3
    bool eightValueAlpha;  // DXT5 (alpha, or Y for YCoCg)
    bool scaledChroma;     // colour block from Co/Cg with a per-block scale
};

constexpr DxtEncodingTraits traitsOf(DxtEncoding e) {
    switch (e) {
        case DxtEncoding::Dxt1:
            return {4, 8, false, false, false};
        case DxtEncoding::Dxt3:
            return {4, 16, true, false, false};
        case DxtEncoding::Dxt5:
            return {4, 16, false, true, false};
        case DxtEncoding::YCoCgDxt5:
            break;
    }
    return {3, 16, false, true, true};
}

// Which source channel feeds each role: colour channels 0..2 and alpha.
// YCoCg has no third colour channel: Y is the alpha, Co and Cg the colours.
struct ChannelRoles {
    int colour[3];
    int colourCount;
    int alpha;
};
constexpr ChannelRoles rolesOf(DxtEncoding e) {
    return e == DxtEncoding::YCoCgDxt5 ? ChannelRoles{{1, 2, 2}, 2, 0}
                                       : ChannelRoles{{0, 1, 2}, 3, 3};
}

// The 16 pixels of one block, one plane of 16 bytes per source channel.
struct BlockPixels {
    uint8_t channel[4][dxt::kBlockPixels];
};

// Copies block (bx, by) out of the image; columns past the right edge repeat
// the row's last pixel, rows past the bottom repeat the last row.
BlockPixels gatherBlock(const uint8_t* src, int32_t srcStep, ZeqiSize size, int sourceChannels,
                        int32_t bx, int32_t by);

void encodeBlockScalar(DxtEncoding encoding, const BlockPixels& pixels, uint8_t* dst);
// Four blocks side by side whose 16 x 4 pixels lie inside the image; src
// points at the top-left pixel, dst at the first block.
void encodeFourBlocksSse2(DxtEncoding encoding, const uint8_t* src, int32_t srcStep, uint8_t* dst);

// Whole images: one block at a time everywhere, or the four-block path on
// full-height block rows and the one-block path for the rest.
void encodeTextureScalar(DxtEncoding encoding, const uint8_t* src, int32_t srcStep, ZeqiSize size,
                         uint8_t* dst);
void encodeTextureSse2(DxtEncoding encoding, const uint8_t* src, int32_t srcStep, ZeqiSize size,
                       uint8_t* dst);

}  // namespace zeq

#endif  // ZEQ_TEXTURE_DXT_ENCODE_H
