// Irreversible 9/7 wavelet: the 9/7 schemes on the shared lifting drivers,
// the direct filters of single-coefficient lines and the column pipelines.
#include "jpeg2000/wavelet97.h"

#include <cstdlib>
#include <type_traits>

#include "core/rows.h"
#include "jpeg2000/lifting.h"
#include "jpeg2000/wavelet_schemes.h"

namespace zeq::wt {

// The synthesis taps are the analysis taps of the other band with
// alternating signs: they are the impulse responses of the inverse lifting.
const float kAnalysisLow[5] = {0.602949f, 0.26686412f, -0.078223266f, -0.01686412f, 0.026748758f};
const float kAnalysisHigh[4] = {1.115087f, -0.59127176f, -0.057543527f, 0.091271766f};
const float kSynthesisLow[4] = {1.115087f, 0.59127176f, -0.057543527f, -0.091271766f};
const float kSynthesisHigh[5] = {0.602949f, -0.26686412f, -0.078223266f, 0.01686412f, 0.026748758f};
const int32_t kAnalysisLow16[5] = {39515, 17489, -5126, -1105, 1753};
const int32_t kAnalysisHigh16[4] = {73078, -38749, -3771, 5982};
const int32_t kSynthesisLow16[4] = {73078, 38749, -3771, -5982};
const int32_t kSynthesisHigh16[5] = {39515, -17489, -5126, 1105, 1753};

namespace {

// Arithmetic of the Row and ColLift members per element type.
template <class T>
struct Lines97;
template <>
struct Lines97<int16_t> : Scheme97Fix16<Sat16> {};
template <>
struct Lines97<int32_t> : Scheme97Fix16<Wrap32> {};
template <>
struct Lines97<float> : FloatScheme97 {};

// Sum of taps[|k - centre|] * v(k) over the taps' support, rounded like
// the member's arithmetic.
template <class T, class Sample>
T directSum(int32_t centre, const float* taps, const int32_t* taps16, int32_t last,
            const Sample& v) {
    if constexpr (std::is_same_v<T, float>) {
        float acc = taps[0] * v(centre);
        for (int32_t k = 1; k <= last; ++k) acc += taps[k] * (v(centre - k) + v(centre + k));
        return acc;
    } else {
        int64_t acc = int64_t{1} << 15;
        for (int32_t k = -last; k <= last; ++k)
            acc += static_cast<int64_t>(taps16[std::abs(k)]) * v(centre + k);
        return Lines97<T>::Store::store(acc >> 16);
    }
}

// One coefficient per band: low = 9 taps centred on the low sample, high =
// 7 taps centred on the high sample (positions p and 1 - p).
template <class T>
void forwardSingle(const uint8_t* x, uint8_t* low, uint8_t* high, int p) {
    auto v = [&](int32_t k) { return loadElement<T>(x, k); };
    storeElement<T>(low, 0, directSum<T>(p, kAnalysisLow, kAnalysisLow16, 4, v));
    storeElement<T>(high, 0, directSum<T>(1 - p, kAnalysisHigh, kAnalysisHigh16, 3, v));
}

// x(k) for k = 0, 1: low j sits at 2j + p, high j at 2j + 1 - p; the caller's
// extension supplies the neighbouring coefficients.
template <class T>
void inverseSingle(const uint8_t* low, const uint8_t* high, uint8_t* x, int p) {
    for (int32_t k = 0; k < 2; ++k) {
        // Positions as a line of samples: low j at 2j + p, high j at 2j + 1 - p.
        auto sample = [&](int32_t pos) -> T {
            return ((pos + p) & 1) == 0 ? loadElement<T>(low, (pos - p) / 2)
                                        : loadElement<T>(high, (pos - 1 + p) / 2);
        };
        if constexpr (std::is_same_v<T, float>) {
            float acc = 0;
            for (int32_t pos = k - 4; pos <= k + 4; ++pos) {
                const int32_t d = std::abs(pos - k);
                const bool isLow = ((pos + p) & 1) == 0;
                if (isLow && d <= 3) acc += kSynthesisLow[d] * sample(pos);
                if (!isLow) acc += kSynthesisHigh[d] * sample(pos);
            }
            storeElement<T>(x, k, acc);
        } else {
            int64_t acc = int64_t{1} << 15;
            for (int32_t pos = k - 4; pos <= k + 4; ++pos) {
                const int32_t d = std::abs(pos - k);
                const bool isLow = ((pos + p) & 1) == 0;
                if (isLow && d <= 3) acc += static_cast<int64_t>(kSynthesisLow16[d]) * sample(pos);
                if (!isLow) acc += static_cast<int64_t>(kSynthesisHigh16[d]) * sample(pos);
            }
            storeElement<T>(x, k, Lines97<T>::Store::store(acc >> 16));
        }
    }
}

}  // namespace

// Whole levels: 16s in 2.14 fixed point, 32s lifted in single precision.
template <class Elem>
struct Level97;
template <>
struct Level97<int16_t> {
    using Scheme = Scheme97Fix14;
    using T = int16_t;
    using Image = int16_t;
    static constexpr int32_t kMinLifted = 2;
    static constexpr bool kFloatLines = false;
    static int16_t doubled(int16_t v) { return Wrap16::store(2 * int64_t{v}); }
    static int16_t halved(int16_t v) { return static_cast<int16_t>(v >> 1); }
};
template <>
struct Level97<int32_t> {
    using Scheme = FloatScheme97;
    using T = float;
    using Image = int32_t;
    static constexpr int32_t kMinLifted = 2;
    static constexpr bool kFloatLines = true;
    static float doubled(float v) { return v * 2.0f; }
    static float halved(float v) { return v * 0.5f; }
};

template <class T>
void forwardRows97(const uint8_t* src, int32_t srcStep, uint8_t* low, int32_t lowStep,
                   uint8_t* high, int32_t highStep, ZeqiSize roi, int phase) {
    if (roi.width == 1) {
        for (int32_t y = 0; y < roi.height; ++y)
            forwardSingle<T>(rowAt(src, srcStep, y), rowAt(low, lowStep, y),
                             rowAt(high, highStep, y), phase);
        return;
    }
    rowsForward<typename Lines97<T>::Forward, T>(src, srcStep, low, lowStep, high, highStep, roi,
                                                 phase);
}

template <class T>
void inverseRows97(const uint8_t* low, int32_t lowStep, const uint8_t* high, int32_t highStep,
                   ZeqiSize roi, uint8_t* dst, int32_t dstStep, int phase) {
    if (roi.width == 1) {
        for (int32_t y = 0; y < roi.height; ++y)
            inverseSingle<T>(rowAt(low, lowStep, y), rowAt(high, highStep, y),
                             rowAt(dst, dstStep, y), phase);
        return;
    }
    rowsInverse<typename Lines97<T>::Inverse, T>(low, lowStep, high, highStep, roi, dst, dstStep,
                                                 phase);
}

void forwardColumns97(const uint8_t* src, int32_t srcStep, uint8_t* low, int32_t lowStep,
                      uint8_t* high, int32_t highStep, ZeqiSize roi, int phase) {
    columnsForward<FloatScheme97::Forward, float>(src, srcStep, low, lowStep, high, highStep, roi,
                                                  phase);
}
void inverseColumns97(const uint8_t* low, int32_t lowStep, const uint8_t* high, int32_t highStep,
                      ZeqiSize roi, uint8_t* dst, int32_t dstStep, int phase) {
    columnsInverse<FloatScheme97::Inverse, float>(low, lowStep, high, highStep, roi, dst, dstStep,
                                                  phase);
}

namespace {

// The column pipelines take the kernels of the member's scheme; the fixed-
// point members always fuse the delta step with the 1/K scaling here.
template <class T>
struct Pipeline97;
template <class St>
struct Fix16Pipeline {
    using Alpha_ = Fix16Lift<St, Alpha>;
    using Beta_ = Fix16Lift<St, Beta>;
    using Gamma_ = Fix16Lift<St, Gamma>;
    using ScaleHigh = Fix16Scale<St, GainK>;
    static void finishLow(uint8_t* low, const uint8_t* a, const uint8_t* b, int32_t w) {
        liftRun<Fix16FusedLow<St>>(low, low, a, b, w);
    }
    using Unlow = Fix16FusedUnlow<St>;
    static void unhigh(uint8_t* out, const uint8_t* high, const uint8_t* a, const uint8_t* b,
                       int32_t w) {
        liftRun<Fix16FusedUnhigh<St>>(out, high, a, b, w);
    }
    using Unbeta = Fix16Unlift<St, Beta>;
    using Unalpha = Fix16Unlift<St, Alpha>;
};
template <>
struct Pipeline97<int16_t> : Fix16Pipeline<Sat16> {};
template <>
struct Pipeline97<int32_t> : Fix16Pipeline<Wrap32> {};
template <>
struct Pipeline97<float> {
    using Alpha_ = FloatLift<1, Alpha>;
    using Beta_ = FloatLift<1, Beta>;
    using Gamma_ = FloatLift<1, Gamma>;
    using ScaleHigh = FloatScale<GainK>;
    static void finishLow(uint8_t* low, const uint8_t* a, const uint8_t* b, int32_t w) {
        liftRun<FloatLift<1, Delta>>(low, low, a, b, w);
        liftRun<FloatScale<InvGainK>>(low, low, low, low, w);
    }
    using Unlow = FloatScaleLift<GainK, DeltaOverK>;
    static void unhigh(uint8_t* out, const uint8_t* high, const uint8_t* a, const uint8_t* b,
                       int32_t w) {
        liftRun<FloatScaleLift<InvGainK, Gamma>>(out, high, a, b, w);
    }
    using Unbeta = FloatLift<-1, Beta>;
    using Unalpha = FloatLift<-1, Alpha>;
};

}  // namespace

template <class T>
void forwardColumnLift97(const uint8_t* even1, const uint8_t* odd, const uint8_t* even0,
                         uint8_t* lowPrev, uint8_t* lowNew, uint8_t* highOld, uint8_t* highPrev,
                         uint8_t* highNew, int32_t width) {
    using P = Pipeline97<T>;
    liftRun<typename P::Alpha_>(highNew, odd, even0, even1, width);           // d(n), step 1
    liftRun<typename P::Beta_>(lowNew, even0, highPrev, highNew, width);      // s(n), step 2
    liftRun<typename P::Gamma_>(highPrev, highPrev, lowPrev, lowNew, width);  // d(n-1), step 3
    P::finishLow(lowPrev, highOld, highPrev, width);                          // s(n-1), steps 4, 5
    liftRun<typename P::ScaleHigh>(highOld, highOld, highOld, highOld, width);  // d(n-2) * K
}

template <class T>
void inverseColumnLift97(const uint8_t* low1, const uint8_t* high1, const uint8_t* high0,
                         uint8_t* lowPrev, uint8_t* lowNew, const uint8_t* evenOld,
                         uint8_t* highPrev, uint8_t* highNew, int32_t width) {
    using P = Pipeline97<T>;
    liftRun<typename P::Unlow>(lowNew, low1, high0, high1, width);  // s(n+1): 5 and 4 undone
    P::unhigh(highNew, high0, lowPrev, lowNew, width);              // d(n): K and 3 undone
    liftRun<typename P::Unbeta>(lowPrev, lowPrev, highPrev, highNew, width);    // x(2n)
    liftRun<typename P::Unalpha>(highPrev, highPrev, evenOld, lowPrev, width);  // x(2n-1)
}

// Four extension samples at each end of a line.
int32_t levelBufferSize97(const ZeqiRect& rect, int32_t sampleBytes, bool copies) {
    return levelBufferSize(rect, sampleBytes, Level97<int16_t>::kMinLifted, 8, copies);
}

#define ZEQ_WT_INSTANTIATE_97_LINES(T)                                                             \
    template void forwardRows97<T>(const uint8_t*, int32_t, uint8_t*, int32_t, uint8_t*, int32_t,  \
                                   ZeqiSize, int);                                                 \
    template void inverseRows97<T>(const uint8_t*, int32_t, const uint8_t*, int32_t, ZeqiSize,     \
                                   uint8_t*, int32_t, int);                                        \
    template void forwardColumnLift97<T>(const uint8_t*, const uint8_t*, const uint8_t*, uint8_t*, \
                                         uint8_t*, uint8_t*, uint8_t*, uint8_t*, int32_t);         \
    template void inverseColumnLift97<T>(const uint8_t*, const uint8_t*, const uint8_t*, uint8_t*, \
                                         uint8_t*, const uint8_t*, uint8_t*, uint8_t*, int32_t);
ZEQ_WT_INSTANTIATE_97_LINES(int16_t)
ZEQ_WT_INSTANTIATE_97_LINES(int32_t)
ZEQ_WT_INSTANTIATE_97_LINES(float)

template struct LevelKernels<Level97<int16_t>>;
template struct LevelKernels<Level97<int32_t>>;

}  // namespace zeq::wt
