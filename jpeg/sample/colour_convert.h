// Whole-image colour conversions: every exported member is one Conversion of
// a direction, a source layout and a destination layout. One scalar row kernel
// (the reference) and one SSE2 row kernel serve all of them.
#ifndef ZEQ_JPEG_SAMPLE_COLOUR_CONVERT_H
#define ZEQ_JPEG_SAMPLE_COLOUR_CONVERT_H

#include <cstdint>
#include <type_traits>

#include "core/row_parallel.h"
#include "core/rows.h"
#include "jpeg/sample/pixel_formats.h"
#include "zeqj.h"

namespace zeq {

struct ToYCbCr {};  // R, G, B to Y, Cb, Cr (the luma-only layouts keep Y)
struct ToRgb {};    // Y, Cb, Cr to R, G, B

template <class Direction, class SrcLayout, class DstLayout, bool RowParallel>
struct Conversion {
    using Src = SrcLayout;
    using Dst = DstLayout;
    static constexpr bool kForward = std::is_same_v<Direction, ToYCbCr>;
    static constexpr bool kRowParallel = RowParallel;
};

constexpr bool kParallel = true, kSerial = false;

using RgbToYCbCr_C3P3 = Conversion<ToYCbCr, Rgb8, Planar8<3>, kParallel>;
using RgbToYCbCr_P3 = Conversion<ToYCbCr, Planar8<3>, Planar8<3>, kParallel>;
using BgrToYCbCr_C3P3 = Conversion<ToYCbCr, Bgr8, Planar8<3>, kParallel>;
using RgbToY_C3C1 = Conversion<ToYCbCr, Rgb8, Planar8<1>, kParallel>;
using RgbToY_P3C1 = Conversion<ToYCbCr, Planar8<3>, Planar8<1>, kParallel>;
using BgrToY_C3C1 = Conversion<ToYCbCr, Bgr8, Planar8<1>, kParallel>;
using Rgb555ToYCbCr = Conversion<ToYCbCr, Rgb555, Planar8<3>, kSerial>;
using Rgb565ToYCbCr = Conversion<ToYCbCr, Rgb565, Planar8<3>, kSerial>;
using Bgr555ToYCbCr = Conversion<ToYCbCr, Bgr555, Planar8<3>, kSerial>;
using Bgr565ToYCbCr = Conversion<ToYCbCr, Bgr565, Planar8<3>, kSerial>;
using YCbCrToRgb_P3C3 = Conversion<ToRgb, Planar8<3>, Rgb8, kParallel>;
using YCbCrToRgb_P3 = Conversion<ToRgb, Planar8<3>, Planar8<3>, kParallel>;
using YCbCrToBgr_P3C3 = Conversion<ToRgb, Planar8<3>, Bgr8, kParallel>;
using YCbCrToRgb555 = Conversion<ToRgb, Planar8<3>, Rgb555, kSerial>;
using YCbCrToRgb565 = Conversion<ToRgb, Planar8<3>, Rgb565, kSerial>;
using YCbCrToBgr555 = Conversion<ToRgb, Planar8<3>, Bgr555, kSerial>;
using YCbCrToBgr565 = Conversion<ToRgb, Planar8<3>, Bgr565, kSerial>;
using YCbCr422ToRgb = Conversion<ToRgb, Packed422, Rgb8, kParallel>;
using CmykToYcck_C4P4 = Conversion<ToYCbCr, Cmyk8, Planar8<4>, kParallel>;
using CmykToYcck_P4 = Conversion<ToYCbCr, Planar8<4, true>, Planar8<4>, kParallel>;
using YcckToCmyk_P4C4 = Conversion<ToRgb, Planar8<4>, Cmyk8, kParallel>;
using YcckToCmyk_P4 = Conversion<ToRgb, Planar8<4>, Planar8<4, true>, kParallel>;

// The table of members: every kernel is instantiated once per entry.
// clang-format off
#define ZEQ_COLOUR_CONVERSIONS(X) \
    X(RgbToYCbCr_C3P3) \
    X(RgbToYCbCr_P3) \
    X(BgrToYCbCr_C3P3) \
    X(RgbToY_C3C1) \
    X(RgbToY_P3C1) \
    X(BgrToY_C3C1) \
    X(Rgb555ToYCbCr) \
    X(Rgb565ToYCbCr) \
    X(Bgr555ToYCbCr) \
    X(Bgr565ToYCbCr) \
    X(YCbCrToRgb_P3C3) \
    X(YCbCrToRgb_P3) \
    X(YCbCrToBgr_P3C3) \
    X(YCbCrToRgb555) \
    X(YCbCrToRgb565) \
    X(YCbCrToBgr555) \
    X(YCbCrToBgr565) \
    X(YCbCr422ToRgb) \
    X(CmykToYcck_C4P4) \
    X(CmykToYcck_P4) \
    X(YcckToCmyk_P4C4) \
    X(YcckToCmyk_P4)
// clang-format on

// Converts `width` pixels of one row; a layout of pixel pairs takes whole
// pairs only (an odd last pixel has no Cr and is left alone).
template <class C>
void convertRowScalar(const InRow& src, const OutRow& dst, int32_t width);
template <class C>
void convertRowSse2(const InRow& src, const OutRow& dst, int32_t width);

// Row pointers of row y of an interleaved image or of a planar image (an
// array of `planes` plane pointers sharing one step).
inline InRow rowOf(const void* image, int32_t step, int32_t y) { return {{rowAt(image, step, y)}}; }
inline OutRow rowOf(void* image, int32_t step, int32_t y) { return {{rowAt(image, step, y)}}; }
template <int Planes>
InRow rowOf(const uint8_t* const* planes, int32_t step, int32_t y) {
    InRow r{};
    for (int i = 0; i < Planes; ++i) r.plane[i] = rowAt(planes[i], step, y);
    return r;
}
template <int Planes>
OutRow rowOf(uint8_t* const* planes, int32_t step, int32_t y) {
    OutRow r{};
    for (int i = 0; i < Planes; ++i) r.plane[i] = rowAt(planes[i], step, y);
    return r;
}

template <class Layout, class Image>
auto layoutRow(Image image, int32_t step, int32_t y) {
    if constexpr (std::is_pointer_v<std::remove_pointer_t<Image>>)
        return rowOf<Layout::kPlanes>(image, step, y);
    else
        return rowOf(image, step, y);
}

// The whole region, row-parallel for the members that allow it.
template <class C, class SrcImage, class DstImage>
void convertImage(SrcImage src, int32_t srcStep, DstImage dst, int32_t dstStep, ZeqiSize roi) {
    auto row = [&](int32_t y) {
        convertRowSse2<C>(layoutRow<typename C::Src>(src, srcStep, y),
                          layoutRow<typename C::Dst>(dst, dstStep, y), roi.width);
    };
    if constexpr (C::kRowParallel) {
        forEachRow(roi, row);
    } else {
        for (int32_t y = 0; y < roi.height; ++y) row(y);
    }
}

}  // namespace zeq

#endif  // ZEQ_JPEG_SAMPLE_COLOUR_CONVERT_H
