// Exported texture block encoders.
#include "core/arg_checks.h"
#include "texture/dxt_encode.h"

using namespace zeq;

namespace {

// Both pointers, then a step of 0 (any other step, negative too, is used as
// given), then the size.
ZeqStatus encode(DxtEncoding encoding, const uint8_t* src, int32_t srcStep, ZeqiSize size,
                 uint8_t* dst) {
    if (ZeqStatus s = ArgChecks().pointers(src, dst).status()) return s;
    if (srcStep == 0) return StatusBadStep;
    if (ZeqStatus s = ArgChecks().size(size).status()) return s;
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
