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
        return {lumaRounded(channelPairs(p.c0, p.c1, p.c2), p.c1), p.c1, p.c2, p.k};
    } else {
        return rgbToYCbCr(p);
    }
}

// Sixteen pixels per step where both layouts move sixteen at once: forward
// from a parity-split load, inverse from three planes of bytes.
template <class C>
constexpr bool kSixteenPixels = C::Src::kSixteen&& C::Dst::kSixteen &&
                                (C::kForward || C::Src::kPlanes == 3);

template <class C, bool MoreFollow = false>
void convert16(const InRow& src, const OutRow& dst, int32_t x) {
    using namespace colour_sse2;
    if constexpr (C::kForward) {
        const Pixels16 p = C::Src::load16(src, x, MoreFollow);
        const SplitPairs pairs = channelPairs(p);
        V128 cb = zero(), cr = zero();
        if constexpr (!C::Dst::kLumaOnly) chroma16(pairs, cb, cr);
        C::Dst::store16(dst, x, luma16(p, pairs), cb, cr);
    } else {
        V128 ycc[3], r, g, b;
        C::Src::loadBytes16(src, x, ycc);
        yCbCrToRgb16(ycc[0], ycc[1], ycc[2], r, g, b);
        if constexpr (MoreFollow && C::Dst::kPlanes == 1)
            C::Dst::store16Overlapping(dst, x, r, g, b);
        else
            C::Dst::store16(dst, x, r, g, b);
    }
}

// Sixteen or eight pixels per step; the last width % 8 pixels go through the
// scalar kernel.
template <class C>
inline void convertSteps(const InRow& src, const OutRow& dst, int32_t width) {
    using Src = typename C::Src;
    using Dst = typename C::Dst;
    const int32_t pixels = width - width % Src::kPixelGroup;
    int32_t x = 0;
    if constexpr (kSixteenPixels<C>) {
        // Every step but a row's last may touch the next pixel: read two of
        // its bytes, or write junk over them that a later step replaces.
        for (; x + 16 < pixels; x += 16) convert16<C, true>(src, dst, x);
        if (x + 16 == pixels) convert16<C>(src, dst, x), x += 16;
    }
    for (; x + 8 <= pixels; x += 8) Dst::store8(dst, x, convert8<C>(Src::load8(src, x)));
    if (x < pixels) convertRowScalar<C>(Src::advance(src, x), Dst::advance(dst, x), pixels - x);
}

}  // namespace

// The byte stores could alias the callers' row records, so the steps reload
// the row pointers from them. Local copies make the forward rows faster; the
// inverse rows measured faster without.
template <class C>
void convertRowSse2(const InRow& src, const OutRow& dst, int32_t width) {
    if constexpr (C::kForward) {
        const InRow localSrc = src;
        const OutRow localDst = dst;
        convertSteps<C>(localSrc, localDst, width);
    } else {
        convertSteps<C>(src, dst, width);
    }
}

#define ZEQ_INSTANTIATE(C) template void convertRowSse2<C>(const InRow&, const OutRow&, int32_t);
ZEQ_COLOUR_CONVERSIONS(ZEQ_INSTANTIATE)
#undef ZEQ_INSTANTIATE

}  // namespace zeq
