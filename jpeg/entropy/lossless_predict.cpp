#include "jpeg/entropy/lossless_predict.h"

#include <array>

#include "core/rows.h"

namespace zeq {

namespace {

// The predictors, exact in 32 bits; halving is an arithmetic shift.
template <int kPredictor>
inline int32_t prediction(int32_t ra, int32_t rb, int32_t rc) {
    if constexpr (kPredictor == 1) return ra;
    if constexpr (kPredictor == 2) return rb;
    if constexpr (kPredictor == 3) return rc;
    if constexpr (kPredictor == 4) return ra + rb - rc;
    if constexpr (kPredictor == 5) return ra + ((rb - rc) >> 1);
    if constexpr (kPredictor == 6) return rb + ((ra - rc) >> 1);
    if constexpr (kPredictor == 7) return (ra + rb) >> 1;
}

inline int32_t sampleAt(const uint8_t* row, int32_t i) { return loadElement<int16_t>(row, i); }
inline int16_t truncated(int32_t v) { return static_cast<int16_t>(v); }

// Predictor 1 never reads the row above: a first row has none.
template <int kPredictor>
constexpr bool kReadsRowAbove = kPredictor != 1;

template <int kPredictor>
void diffRange(const uint8_t* src, const uint8_t* prev, uint8_t* dst, int32_t from, int32_t width,
               int32_t ra, int32_t rc) {
    for (int32_t i = from; i < width; ++i) {
        const int32_t x = sampleAt(src, i);
        const int32_t rb = kReadsRowAbove<kPredictor> ? sampleAt(prev, i) : 0;
        storeElement<int16_t>(dst, i, truncated(x - prediction<kPredictor>(ra, rb, rc)));
        ra = x;
        rc = rb;
    }
}

template <int kPredictor>
void reconstructRange(const uint8_t* src, const uint8_t* prev, uint8_t* dst, int32_t from,
                      int32_t width, int32_t ra, int32_t rc) {
    for (int32_t i = from; i < width; ++i) {
        const int32_t x = sampleAt(src, i);
        const int32_t rb = kReadsRowAbove<kPredictor> ? sampleAt(prev, i) : 0;
        const int16_t v = truncated(x + prediction<kPredictor>(ra, rb, rc));
        storeElement<int16_t>(dst, i, v);
        ra = v;
        rc = rb;
    }
}

using RangeKernel = void (*)(const uint8_t*, const uint8_t*, uint8_t*, int32_t, int32_t, int32_t,
                             int32_t);

constexpr std::array<RangeKernel, kLastPredictor> kDiffKernels = {
    diffRange<1>, diffRange<2>, diffRange<3>, diffRange<4>,
    diffRange<5>, diffRange<6>, diffRange<7>};
constexpr std::array<RangeKernel, kLastPredictor> kReconstructKernels = {
    reconstructRange<1>, reconstructRange<2>, reconstructRange<3>, reconstructRange<4>,
    reconstructRange<5>, reconstructRange<6>, reconstructRange<7>};

}  // namespace

int16_t firstSamplePrediction(int precision, int pointTransform) {
    const int exponent = precision - pointTransform - 1;
    return exponent < 0 ? 0 : truncated(int32_t{1} << exponent);
}

void diffPredRangeScalar(const uint8_t* src, const uint8_t* prev, uint8_t* dst, int32_t from,
                         int32_t width, int predictor, int32_t ra, int32_t rc) {
    kDiffKernels[predictor - kFirstPredictor](src, prev, dst, from, width, ra, rc);
}

void reconstructRangeScalar(const uint8_t* src, const uint8_t* prev, uint8_t* dst, int32_t from,
                            int32_t width, int predictor, int32_t ra, int32_t rc) {
    kReconstructKernels[predictor - kFirstPredictor](src, prev, dst, from, width, ra, rc);
}

void diffPredFirstRowScalar(const uint8_t* src, uint8_t* dst, int32_t width, int16_t initial) {
    const int32_t x = sampleAt(src, 0);
    storeElement<int16_t>(dst, 0, truncated(x - initial));
    diffRange<1>(src, nullptr, dst, 1, width, x, 0);
}

void reconstructFirstRowScalar(const uint8_t* src, uint8_t* dst, int32_t width, int16_t initial) {
    const int16_t v = truncated(sampleAt(src, 0) + initial);
    storeElement<int16_t>(dst, 0, v);
    reconstructRange<1>(src, nullptr, dst, 1, width, v, 0);
}

// Sample 0 of a later row is predicted by the sample above, whatever the predictor.
void diffPredRowScalar(const uint8_t* src, const uint8_t* prev, uint8_t* dst, int32_t width,
                       int predictor) {
    const int32_t x = sampleAt(src, 0), above = sampleAt(prev, 0);
    storeElement<int16_t>(dst, 0, truncated(x - above));
    diffPredRangeScalar(src, prev, dst, 1, width, predictor, x, above);
}

void reconstructRowScalar(const uint8_t* src, const uint8_t* prev, uint8_t* dst, int32_t width,
                          int predictor) {
    const int32_t above = sampleAt(prev, 0);
    const int16_t v = truncated(sampleAt(src, 0) + above);
    storeElement<int16_t>(dst, 0, v);
    reconstructRangeScalar(src, prev, dst, 1, width, predictor, v, above);
}

}  // namespace zeq
