#include "jpeg/sample/colour_convert.h"
#include "jpeg/sample/colour_sse2.h"

namespace zeq {

namespace {

template <class C>
Pixels8 convert8(const Pixels8& p) {
    using namespace colour_sse2;
    if constexpr (!C::kForward) {
        return yCbCrToRgb(p);
    } else if constexpr (C::Dst::kLumaOnly) {
        return {lumaRounded(rgbAndOne(p), p.c1), p.c1, p.c2, p.k};
    } else {
        return rgbToYCbCr(p, rgbAndOne(p));
    }
}

}  // namespace

// Eight pixels per step; the last width % 8 pixels go through the scalar kernel.
template <class C>
void convertRowSse2(const InRow& src, const OutRow& dst, int32_t width) {
    using Src = typename C::Src;
    using Dst = typename C::Dst;
    const int32_t pixels = width - width % Src::kPixelGroup;
    int32_t x = 0;
    for (; x + 8 <= pixels; x += 8) Dst::store8(dst, x, convert8<C>(Src::load8(src, x)));
    if (x < pixels) convertRowScalar<C>(Src::advance(src, x), Dst::advance(dst, x), pixels - x);
}

#define ZEQ_INSTANTIATE(C) template void convertRowSse2<C>(const InRow&, const OutRow&, int32_t);
ZEQ_COLOUR_CONVERSIONS(ZEQ_INSTANTIATE)
#undef ZEQ_INSTANTIATE

}  // namespace zeq
