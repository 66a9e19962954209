// Scalar component-transform rows: the reference of the vector rows.
#include "jpeg2000/component_transform.h"

#include <type_traits>

#include "core/rows.h"
#include "jpeg2000/component_transform_ops.h"

namespace zeq::ct {

namespace {

// 16s samples are widened to 32 bits and stored back as their low 16 bits.
template <class T>
using Wide = std::conditional_t<std::is_same_v<T, float>, float, int32_t>;

template <class T>
T narrow(Wide<T> v) {
    if constexpr (std::is_same_v<T, int16_t>)
        return static_cast<int16_t>(static_cast<uint16_t>(static_cast<uint32_t>(v)));
    else
        return v;
}

// in(i, c) reads channel c of pixel i; out(i, c, v) writes it.
template <Op op, class T, class In, class Out>
void transformRow(const In& in, const Out& out, int32_t width) {
    for (int32_t i = 0; i < width; ++i) {
        Wide<T> c0 = in(i, 0), c1 = in(i, 1), c2 = in(i, 2);
        pixel<op>(c0, c1, c2);
        out(i, 0, narrow<T>(c0));
        out(i, 1, narrow<T>(c1));
        out(i, 2, narrow<T>(c2));
    }
}

template <class T>
auto planeReader(const uint8_t* const p[3]) {
    return [p](int32_t i, int c) { return loadElement<T>(p[c], i); };
}
template <class T>
auto planeWriter(uint8_t* const p[3]) {
    return [p](int32_t i, int c, T v) { storeElement<T>(p[c], i, v); };
}

}  // namespace

template <Op op, class T>
void planesRowScalar(const uint8_t* const src[3], uint8_t* const dst[3], int32_t width) {
    transformRow<op, T>(planeReader<T>(src), planeWriter<T>(dst), width);
}
template <Op op, class T>
void pixelsToPlanesRowScalar(const uint8_t* src, uint8_t* const dst[3], int32_t width) {
    transformRow<op, T>([src](int32_t i, int c) { return loadElement<T>(src, 3 * i + c); },
                        planeWriter<T>(dst), width);
}
template <Op op, class T>
void planesToPixelsRowScalar(const uint8_t* const src[3], uint8_t* dst, int32_t width) {
    transformRow<op, T>(
        planeReader<T>(src), [dst](int32_t i, int c, T v) { storeElement<T>(dst, 3 * i + c, v); },
        width);
}

#define ZEQ_CT_PLANAR_SCALAR(op, T) \
    template void planesRowScalar<op, T>(const uint8_t* const[3], uint8_t* const[3], int32_t);
#define ZEQ_CT_TO_PLANES_SCALAR(op, T) \
    template void pixelsToPlanesRowScalar<op, T>(const uint8_t*, uint8_t* const[3], int32_t);
#define ZEQ_CT_TO_PIXELS_SCALAR(op, T) \
    template void planesToPixelsRowScalar<op, T>(const uint8_t* const[3], uint8_t*, int32_t);
ZEQ_CT_FOR_EACH_PLANAR(ZEQ_CT_PLANAR_SCALAR)
ZEQ_CT_FOR_EACH_TO_PLANES(ZEQ_CT_TO_PLANES_SCALAR)
ZEQ_CT_FOR_EACH_TO_PIXELS(ZEQ_CT_TO_PIXELS_SCALAR)

}  // namespace zeq::ct
