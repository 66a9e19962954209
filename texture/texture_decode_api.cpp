// Exported texture block decoders.
#include "texture/texture_checks.h"
#include "texture/texture_decode.h"

using namespace zeq;

namespace {

ZeqStatus decode(TextureFormat format, const uint8_t* src, uint8_t* dst, int32_t dstStep,
                 ZeqiSize size) {
    if (ZeqStatus s = checkTextureArguments(src, dst, dstStep, size)) return s;
    decodeTextureSse2(format, src, dst, dstStep, size);
    return StatusOk;
}

}  // namespace

extern "C" ZeqStatus zeqiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R(const uint8_t* src, uint8_t* dst,
                                                                int32_t dstStep, ZeqiSize size) {
    return decode(TextureFormat::Dxt1, src, dst, dstStep, size);
}
extern "C" ZeqStatus zeqiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R(const uint8_t* src, uint8_t* dst,
                                                                int32_t dstStep, ZeqiSize size) {
    return decode(TextureFormat::Dxt3, src, dst, dstStep, size);
}
extern "C" ZeqStatus zeqiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R(const uint8_t* src, uint8_t* dst,
                                                                int32_t dstStep, ZeqiSize size) {
    return decode(TextureFormat::Dxt5, src, dst, dstStep, size);
}
extern "C" ZeqStatus zeqiTextureDecodeBlockToRGBA_BC7_8u_C1C4R(const uint8_t* src, uint8_t* dst,
                                                               int32_t dstStep, ZeqiSize size) {
    return decode(TextureFormat::Bc7, src, dst, dstStep, size);
}
