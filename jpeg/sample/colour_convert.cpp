#include "jpeg/sample/colour_convert.h"

#include "jpeg/sample/colour_formulas.h"

namespace zeq {

template <class C>
void convertRowScalar(const InRow& src, const OutRow& dst, int32_t width) {
    using Src = typename C::Src;
    using Dst = typename C::Dst;
    const int32_t pixels = width - width % Src::kPixelGroup;
    for (int32_t x = 0; x < pixels; ++x) {
        const Pixel p = Src::load(src, x);
        Dst::store(dst, x, C::kForward ? rgbToYCbCr(p) : yCbCrToRgb(p));
    }
}

#define ZEQ_INSTANTIATE(C) template void convertRowScalar<C>(const InRow&, const OutRow&, int32_t);
ZEQ_COLOUR_CONVERSIONS(ZEQ_INSTANTIATE)
#undef ZEQ_INSTANTIATE

}  // namespace zeq
