// Reversible 5/3 wavelet: the 5/3 scheme on the shared lifting drivers, and
// the rules for lines of one and two samples.
#include "jpeg2000/wavelet53.h"

#include "jpeg2000/lifting.h"
#include "jpeg2000/wavelet_schemes.h"

namespace zeq::wt {

namespace {

template <class T>
struct StoreOf;
template <>
struct StoreOf<int16_t> {
    using type = Wrap16;
};
template <>
struct StoreOf<int32_t> {
    using type = Wrap32;
};

}  // namespace

// The interior pairs go through one vector pass; the mirrored samples at
// both ends are read through the mirror and lifted one by one.
template <class T>
void forwardLevelLine53(const uint8_t* src, int32_t n, int p, uint8_t* dst) {
    using St = typename StoreOf<T>::type;
    constexpr std::ptrdiff_t sz = sizeof(T);
    const int32_t nL = lowCount(n, p), nH = n - nL;
    uint8_t* high = dst + nL * sz;
    auto x = [&](int32_t k) { return loadElement<T>(src, mirror(k, n)); };
    // d_j, the high value right of low j (line position 2j + p + 1)
    auto predictAt = [&](int32_t j) {
        const int32_t k = 2 * j + p + 1;
        return Predict53<St>::one(x(k), x(k - 1), x(k + 1));
    };
    T dPrev = predictAt(-1);
    if (p) storeElement<T>(high, 0, dPrev);
    // For p = 1 the high value right of low j is high j + 1.
    uint8_t* dOut = high + p * sz;
    // Pairs whose right neighbour E_{j+1} lies inside the line.
    const int32_t inside = (n - 1 - p) / 2;
    dPrev = forwardPairs53<St>(src + p * sz, inside, dPrev, dst, dOut);
    for (int32_t j = inside; j < nL; ++j) {
        const T d = predictAt(j);
        if (j + p < nH) storeElement<T>(dOut, j, d);
        storeElement<T>(dst, j, Update53<St>::one(x(2 * j + p), dPrev, d));
        dPrev = d;
    }
}

// A 5/3 whole level: lines shorter than three samples take the short-line rules.
template <class Elem>
struct Level53 {
    using T = Elem;
    using St = typename StoreOf<T>::type;
    using Scheme = Scheme53<St>;
    using Image = T;
    static constexpr int32_t kMinLifted = 3;
    static void lineForward(const uint8_t* src, int32_t n, int p, uint8_t* dst) {
        forwardLevelLine53<T>(src, n, p, dst);
    }
    static constexpr bool kFloatLines = false;
    static T doubled(T v) { return St::store(2 * static_cast<int64_t>(v)); }
    static T halved(T v) { return static_cast<T>(v >> 1); }
    // A two-sample line (e at the even position): h = o - e, l = e + ((h + 1) >> 1).
    static void pairForward(T e, T o, T& l, T& h) {
        h = St::store(static_cast<int64_t>(o) - e);
        l = St::store(e + static_cast<int64_t>(sum32(h, 1) >> 1));
    }
    static void pairInverse(T l, T h, T& e, T& o) {
        e = St::store(l - static_cast<int64_t>(sum32(h, 1) >> 1));
        o = St::store(static_cast<int64_t>(h) + e);
    }
};

template <class T>
void forwardRows53(const uint8_t* src, int32_t srcStep, uint8_t* low, int32_t lowStep,
                   uint8_t* high, int32_t highStep, ZeqiSize roi, int phase) {
    rowsForward<typename Level53<T>::Scheme::Forward, T>(src, srcStep, low, lowStep, high, highStep,
                                                         roi, phase);
}
template <class T>
void forwardColumns53(const uint8_t* src, int32_t srcStep, uint8_t* low, int32_t lowStep,
                      uint8_t* high, int32_t highStep, ZeqiSize roi, int phase) {
    columnsForward<typename Level53<T>::Scheme::Forward, T>(src, srcStep, low, lowStep, high,
                                                            highStep, roi, phase);
}
template <class T>
void inverseRows53(const uint8_t* low, int32_t lowStep, const uint8_t* high, int32_t highStep,
                   ZeqiSize roi, uint8_t* dst, int32_t dstStep, int phase) {
    rowsInverse<typename Level53<T>::Scheme::Inverse, T>(low, lowStep, high, highStep, roi, dst,
                                                         dstStep, phase);
}
template <class T>
void inverseColumns53(const uint8_t* low, int32_t lowStep, const uint8_t* high, int32_t highStep,
                      ZeqiSize roi, uint8_t* dst, int32_t dstStep, int phase) {
    columnsInverse<typename Level53<T>::Scheme::Inverse, T>(low, lowStep, high, highStep, roi, dst,
                                                            dstStep, phase);
}

template <class T>
void forwardColumnLift53(const uint8_t* even0, const uint8_t* odd, const uint8_t* even1,
                         uint8_t* low, const uint8_t* highPrev, uint8_t* high, int32_t width) {
    using St = typename StoreOf<T>::type;
    liftRun<Predict53<St>>(high, odd, even0, even1, width);
    liftRun<Update53<St>>(low, even0, highPrev, high, width);
}
template <class T>
void inverseColumnLift53(const uint8_t* low1, const uint8_t* high0, const uint8_t* high1,
                         const uint8_t* even0, uint8_t* odd, uint8_t* even1, int32_t width) {
    using St = typename StoreOf<T>::type;
    liftRun<Unupdate53<St>>(even1, low1, high0, high1, width);
    liftRun<Unpredict53<St>>(odd, high0, even0, even1, width);
}

// Two extension samples at each end of a line.
int32_t levelBufferSize53(const ZeqiRect& rect, int32_t sampleBytes, bool copies) {
    return levelBufferSize(rect, sampleBytes, Level53<int16_t>::kMinLifted, 4, copies);
}

#define ZEQ_WT_INSTANTIATE_53(T)                                                                   \
    template void forwardRows53<T>(const uint8_t*, int32_t, uint8_t*, int32_t, uint8_t*, int32_t,  \
                                   ZeqiSize, int);                                                 \
    template void forwardColumns53<T>(const uint8_t*, int32_t, uint8_t*, int32_t, uint8_t*,        \
                                      int32_t, ZeqiSize, int);                                     \
    template void inverseRows53<T>(const uint8_t*, int32_t, const uint8_t*, int32_t, ZeqiSize,     \
                                   uint8_t*, int32_t, int);                                        \
    template void inverseColumns53<T>(const uint8_t*, int32_t, const uint8_t*, int32_t, ZeqiSize,  \
                                      uint8_t*, int32_t, int);                                     \
    template void forwardLevelLine53<T>(const uint8_t*, int32_t, int, uint8_t*);                   \
    template void forwardColumnLift53<T>(const uint8_t*, const uint8_t*, const uint8_t*, uint8_t*, \
                                         const uint8_t*, uint8_t*, int32_t);                       \
    template void inverseColumnLift53<T>(const uint8_t*, const uint8_t*, const uint8_t*,           \
                                         const uint8_t*, uint8_t*, uint8_t*, int32_t);
ZEQ_WT_INSTANTIATE_53(int16_t)
ZEQ_WT_INSTANTIATE_53(int32_t)
template struct LevelKernels<Level53<int16_t>>;
template struct LevelKernels<Level53<int32_t>>;

}  // namespace zeq::wt
