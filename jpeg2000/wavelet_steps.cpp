// Scalar lifting runner and row helpers: the reference arithmetic of every
// step and the tails of the vector loops.
#include "jpeg2000/wavelet_steps.h"

#include "core/rows.h"
#include "jpeg2000/wavelet_schemes.h"

namespace zeq::wt {

template <class Step>
void liftRunScalar(uint8_t* out, const uint8_t* in, const uint8_t* a, const uint8_t* b, int32_t n) {
    using T = typename Step::T;
    for (int32_t i = 0; i < n; ++i)
        storeElement<T>(
            out, i, Step::one(loadElement<T>(in, i), loadElement<T>(a, i), loadElement<T>(b, i)));
}

#define ZEQ_WT_INSTANTIATE_SCALAR(...)                                                 \
    template void liftRunScalar<__VA_ARGS__>(uint8_t*, const uint8_t*, const uint8_t*, \
                                             const uint8_t*, int32_t);
ZEQ_WT_FOR_EACH_STEP(ZEQ_WT_INSTANTIATE_SCALAR)

template <class St>
typename St::T forwardPairs53Scalar(const uint8_t* e, int32_t count, typename St::T dPrev,
                                    uint8_t* low, uint8_t* dOut) {
    using T = typename St::T;
    for (int32_t j = 0; j < count; ++j) {
        const T even = loadElement<T>(e, 2 * j);
        const T d =
            Predict53<St>::one(loadElement<T>(e, 2 * j + 1), even, loadElement<T>(e, 2 * j + 2));
        storeElement<T>(dOut, j, d);
        storeElement<T>(low, j, Update53<St>::one(even, dPrev, d));
        dPrev = d;
    }
    return dPrev;
}
template int16_t forwardPairs53Scalar<Wrap16>(const uint8_t*, int32_t, int16_t, uint8_t*, uint8_t*);
template int32_t forwardPairs53Scalar<Wrap32>(const uint8_t*, int32_t, int32_t, uint8_t*, uint8_t*);

template <class T>
void deinterleaveScalar(const uint8_t* src, uint8_t* first, uint8_t* second, int32_t pairs) {
    for (int32_t i = 0; i < pairs; ++i) {
        storeElement<T>(first, i, loadElement<T>(src, 2 * i));
        storeElement<T>(second, i, loadElement<T>(src, 2 * i + 1));
    }
}

template <class T>
void interleaveScalar(const uint8_t* first, const uint8_t* second, uint8_t* dst, int32_t pairs) {
    for (int32_t i = 0; i < pairs; ++i) {
        storeElement<T>(dst, 2 * i, loadElement<T>(first, i));
        storeElement<T>(dst, 2 * i + 1, loadElement<T>(second, i));
    }
}

template void deinterleaveScalar<int16_t>(const uint8_t*, uint8_t*, uint8_t*, int32_t);
template void deinterleaveScalar<int32_t>(const uint8_t*, uint8_t*, uint8_t*, int32_t);
template void deinterleaveScalar<float>(const uint8_t*, uint8_t*, uint8_t*, int32_t);
template void interleaveScalar<int16_t>(const uint8_t*, const uint8_t*, uint8_t*, int32_t);
template void interleaveScalar<int32_t>(const uint8_t*, const uint8_t*, uint8_t*, int32_t);
template void interleaveScalar<float>(const uint8_t*, const uint8_t*, uint8_t*, int32_t);

void int32ToFloatScalar(uint8_t* row, int32_t n) {
    for (int32_t i = 0; i < n; ++i)
        storeElement<float>(row, i, static_cast<float>(loadElement<int32_t>(row, i)));
}

int32_t truncateToInt32(float v) {
    if (v >= 2147483648.0f) return INT32_MAX;
    if (v >= -2147483648.0f) return static_cast<int32_t>(v);
    return INT32_MIN;  // below the range (or not a number)
}

void floatToInt32Scalar(uint8_t* row, int32_t n) {
    for (int32_t i = 0; i < n; ++i)
        storeElement<int32_t>(row, i, truncateToInt32(loadElement<float>(row, i)));
}

}  // namespace zeq::wt
