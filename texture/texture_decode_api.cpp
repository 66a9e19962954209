// Exported texture block decoders.
#include "core/arg_checks.h"
#include "texture/texture_decode.h"

using namespace zeq;

namespace {

// Both pointers, then a step of 0 (any other step, negative too, is used as
// given), then width, then height.
ZeqStatus decode(TextureFormat format, const uint8_t* src, uint8_t* dst, int32_t dstStep,
                 ZeqiSize size) {
    if (ZeqStatus s = ArgChecks().pointers(src, dst).status()) return s;
    if (dstStep == 0) return StatusBadStep;
    if (ZeqStatus s = ArgChecks().size(size).status()) return s;
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
