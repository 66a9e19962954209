// Exported texture block encoders.
#include "texture/dxt_encode.h"
#include "texture/texture_checks.h"

using namespace zeq;

namespace {

ZeqStatus encode(DxtEncoding encoding, const uint8_t* src, int32_t srcStep, ZeqiSize size,
                 uint8_t* dst) {
    if (ZeqStatus s = checkTextureArguments(src, dst, srcStep, size)) return s;
    encodeTextureSse2(encoding, src, srcStep, size, dst);
    return StatusOk;
}

}  // namespace

extern "C" ZeqStatus zeqiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R(const uint8_t* src,
                                                                  int32_t srcStep, ZeqiSize size,
                                                                  uint8_t* dst) {
    return encode(DxtEncoding::Dxt1, src, srcStep, size, dst);
}
extern "C" ZeqStatus zeqiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R(const uint8_t* src,
                                                                  int32_t srcStep, ZeqiSize size,
                                                                  uint8_t* dst) {
    return encode(DxtEncoding::Dxt3, src, srcStep, size, dst);
}
extern "C" ZeqStatus zeqiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R(const uint8_t* src,
                                                                  int32_t srcStep, ZeqiSize size,
                                                                  uint8_t* dst) {
    return encode(DxtEncoding::Dxt5, src, srcStep, size, dst);
}
extern "C" ZeqStatus zeqiTextureEncodeBlockFromYCoCg_DXT5_8u_C3C1R(const uint8_t* src,
                                                                   int32_t srcStep, ZeqiSize size,
                                                                   uint8_t* dst) {
    return encode(DxtEncoding::YCoCgDxt5, src, srcStep, size, dst);
}
