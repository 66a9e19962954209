// Exported whole-image colour conversions: grouped argument checks, then the
// region runner of the member's conversion.
#include "core/arg_checks.h"
#include "jpeg/sample/colour_convert.h"

using namespace zeq;

namespace {

// A planar argument checks its array and each plane; an interleaved one its pointer.
template <class Layout, class Image>
void checkImage(ArgChecks& checks, Image image) {
    if constexpr (std::is_pointer_v<std::remove_pointer_t<Image>>)
        checks.planes(image, Layout::kPlanes);
    else
        checks.pointer(image);
}

// All pointers (source, then destination), then both steps, then the size.
template <class C, class SrcImage, class DstImage>
ZeqStatus checkGrouped(SrcImage src, int32_t srcStep, DstImage dst, int32_t dstStep, ZeqiSize roi) {
    ArgChecks checks;
    checkImage<typename C::Src>(checks, src);
    checkImage<typename C::Dst>(checks, dst);
    return checks.steps(srcStep, dstStep).size(roi).status();
}

}  // namespace

extern "C" ZeqStatus zeqiRGBToYCbCr_JPEG_8u_C3P3R(const uint8_t* src, int32_t srcStep,
                                                  uint8_t* const dst[3], int32_t dstStep,
                                                  ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<RgbToYCbCr_C3P3>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<RgbToYCbCr_C3P3>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}

extern "C" ZeqStatus zeqiRGBToYCbCr_JPEG_8u_P3R(const uint8_t* const src[3], int32_t srcStep,
                                                uint8_t* const dst[3], int32_t dstStep,
                                                ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<RgbToYCbCr_P3>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<RgbToYCbCr_P3>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}

extern "C" ZeqStatus zeqiBGRToYCbCr_JPEG_8u_C3P3R(const uint8_t* src, int32_t srcStep,
                                                  uint8_t* const dst[3], int32_t dstStep,
                                                  ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<BgrToYCbCr_C3P3>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<BgrToYCbCr_C3P3>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}

extern "C" ZeqStatus zeqiRGBToY_JPEG_8u_C3C1R(const uint8_t* src, int32_t srcStep, uint8_t* dst,
                                              int32_t dstStep, ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<RgbToY_C3C1>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<RgbToY_C3C1>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}

extern "C" ZeqStatus zeqiRGBToY_JPEG_8u_P3C1R(const uint8_t* const src[3], int32_t srcStep,
                                              uint8_t* dst, int32_t dstStep, ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<RgbToY_P3C1>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<RgbToY_P3C1>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}

extern "C" ZeqStatus zeqiBGRToY_JPEG_8u_C3C1R(const uint8_t* src, int32_t srcStep, uint8_t* dst,
                                              int32_t dstStep, ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<BgrToY_C3C1>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<BgrToY_C3C1>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}

extern "C" ZeqStatus zeqiRGB555ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int32_t srcStep,
                                                        uint8_t* const dst[3], int32_t dstStep,
                                                        ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<Rgb555ToYCbCr>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<Rgb555ToYCbCr>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}

extern "C" ZeqStatus zeqiRGB565ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int32_t srcStep,
                                                        uint8_t* const dst[3], int32_t dstStep,
                                                        ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<Rgb565ToYCbCr>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<Rgb565ToYCbCr>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}

extern "C" ZeqStatus zeqiBGR555ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int32_t srcStep,
                                                        uint8_t* const dst[3], int32_t dstStep,
                                                        ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<Bgr555ToYCbCr>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<Bgr555ToYCbCr>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}

extern "C" ZeqStatus zeqiBGR565ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int32_t srcStep,
                                                        uint8_t* const dst[3], int32_t dstStep,
                                                        ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<Bgr565ToYCbCr>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<Bgr565ToYCbCr>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCbCrToRGB_JPEG_8u_P3C3R(const uint8_t* const src[3], int32_t srcStep,
                                                  uint8_t* dst, int32_t dstStep, ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<YCbCrToRgb_P3C3>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<YCbCrToRgb_P3C3>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCbCrToRGB_JPEG_8u_P3R(const uint8_t* const src[3], int32_t srcStep,
                                                uint8_t* const dst[3], int32_t dstStep,
                                                ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<YCbCrToRgb_P3>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<YCbCrToRgb_P3>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCbCrToBGR_JPEG_8u_P3C3R(const uint8_t* const src[3], int32_t srcStep,
                                                  uint8_t* dst, int32_t dstStep, ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<YCbCrToBgr_P3C3>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<YCbCrToBgr_P3C3>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCbCrToRGB555_JPEG_8u16u_P3C3R(const uint8_t* const src[3],
                                                        int32_t srcStep, uint16_t* dst,
                                                        int32_t dstStep, ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<YCbCrToRgb555>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<YCbCrToRgb555>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCbCrToRGB565_JPEG_8u16u_P3C3R(const uint8_t* const src[3],
                                                        int32_t srcStep, uint16_t* dst,
                                                        int32_t dstStep, ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<YCbCrToRgb565>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<YCbCrToRgb565>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCbCrToBGR555_JPEG_8u16u_P3C3R(const uint8_t* const src[3],
                                                        int32_t srcStep, uint16_t* dst,
                                                        int32_t dstStep, ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<YCbCrToBgr555>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<YCbCrToBgr555>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCbCrToBGR565_JPEG_8u16u_P3C3R(const uint8_t* const src[3],
                                                        int32_t srcStep, uint16_t* dst,
                                                        int32_t dstStep, ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<YCbCrToBgr565>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<YCbCrToBgr565>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCbCr422ToRGB_JPEG_8u_C2C3R(const uint8_t* src, int32_t srcStep,
                                                     uint8_t* dst, int32_t dstStep,
                                                     ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<YCbCr422ToRgb>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<YCbCr422ToRgb>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}

extern "C" ZeqStatus zeqiCMYKToYCCK_JPEG_8u_C4P4R(const uint8_t* src, int32_t srcStep,
                                                  uint8_t* const dst[4], int32_t dstStep,
                                                  ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<CmykToYcck_C4P4>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<CmykToYcck_C4P4>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}

extern "C" ZeqStatus zeqiCMYKToYCCK_JPEG_8u_P4R(const uint8_t* const src[4], int32_t srcStep,
                                                uint8_t* const dst[4], int32_t dstStep,
                                                ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<CmykToYcck_P4>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<CmykToYcck_P4>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCCKToCMYK_JPEG_8u_P4C4R(const uint8_t* const src[4], int32_t srcStep,
                                                  uint8_t* dst, int32_t dstStep, ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<YcckToCmyk_P4C4>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<YcckToCmyk_P4C4>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCCKToCMYK_JPEG_8u_P4R(const uint8_t* const src[4], int32_t srcStep,
                                                uint8_t* const dst[4], int32_t dstStep,
                                                ZeqiSize roiSize) {
    if (ZeqStatus s = checkGrouped<YcckToCmyk_P4>(src, srcStep, dst, dstStep, roiSize)) return s;
    convertImage<YcckToCmyk_P4>(src, srcStep, dst, dstStep, roiSize);
    return StatusOk;
}
