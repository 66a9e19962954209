#include <cstdint>

#include "core/rows.h"
#include "core/sse2.h"
#include "jpeg/entropy/lossless_predict.h"

namespace zeq {

namespace {

using namespace sse2;

constexpr int32_t kLanes = 8;
constexpr int32_t kSampleBytes = 2;
constexpr int kLastVectorPredictor = 3;

// Predictors 1 to 3 take one sample as they stand: predictor 1 the one to the
// left, 2 the one above, 3 the one above-left. `lag` is how far left of i it is.
constexpr int lagOf(int predictor) { return predictor == 2 ? 0 : 1; }

bool overlaps(const uint8_t* a, const uint8_t* b, int32_t width) {
    if (b == nullptr) return false;
    const uintptr_t bytes = static_cast<uintptr_t>(width) * kSampleBytes;
    const uintptr_t pa = reinterpret_cast<uintptr_t>(a), pb = reinterpret_cast<uintptr_t>(b);
    return pa < pb + bytes && pb < pa + bytes;
}

inline const uint8_t* sampleAddress(const uint8_t* row, int32_t i) {
    return row + static_cast<std::ptrdiff_t>(i) * kSampleBytes;
}
inline uint8_t* sampleAddress(uint8_t* row, int32_t i) {
    return row + static_cast<std::ptrdiff_t>(i) * kSampleBytes;
}

// Vectors of samples 1.. while eight fit; returns the first sample not done.
// Differences: dst = src - ref (ref `lag` samples to the left).
int32_t subtractVectors(const uint8_t* src, const uint8_t* ref, int lag, uint8_t* dst,
                        int32_t width) {
    int32_t i = 1;
    for (; i + kLanes <= width; i += kLanes)
        storeu(sampleAddress(dst, i),
               _mm_sub_epi16(loadu(sampleAddress(src, i)), loadu(sampleAddress(ref, i - lag))));
    return i;
}
// Reconstruction by a sample of the row above: dst = src + ref.
int32_t addVectors(const uint8_t* src, const uint8_t* ref, int lag, uint8_t* dst, int32_t width) {
    int32_t i = 1;
    for (; i + kLanes <= width; i += kLanes)
        storeu(sampleAddress(dst, i),
               _mm_add_epi16(loadu(sampleAddress(src, i)), loadu(sampleAddress(ref, i - lag))));
    return i;
}
// Reconstruction by the left neighbour: running sums from dst[0] = first.
int32_t prefixSumVectors(const uint8_t* src, uint8_t* dst, int32_t width, int16_t first) {
    V128 carry = splat16(first);
    int32_t i = 1;
    for (; i + kLanes <= width; i += kLanes) {
        V128 v = loadu(sampleAddress(src, i));
        v = _mm_add_epi16(v, _mm_slli_si128(v, 2));
        v = _mm_add_epi16(v, _mm_slli_si128(v, 4));
        v = _mm_add_epi16(v, _mm_slli_si128(v, 8));
        v = _mm_add_epi16(v, carry);
        storeu(sampleAddress(dst, i), v);
        const V128 lastInHigh = _mm_shufflehi_epi16(v, _MM_SHUFFLE(3, 3, 3, 3));
        carry = _mm_unpackhi_epi64(lastInHigh, lastInHigh);
    }
    return i;
}

inline int32_t sampleAt(const uint8_t* row, int32_t i) { return loadElement<int16_t>(row, i); }
inline int32_t sampleAtOrZero(const uint8_t* row, int32_t i) {
    return row == nullptr ? 0 : sampleAt(row, i);
}

bool vectorised(const uint8_t* src, const uint8_t* prev, const uint8_t* dst, int32_t width,
                int predictor) {
    return predictor <= kLastVectorPredictor && width > kLanes && !overlaps(dst, src, width) &&
           !overlaps(dst, prev, width);
}

// Sample 0 is done; vectors from 1, then the scalar tail.
void diffFromSecond(const uint8_t* src, const uint8_t* prev, uint8_t* dst, int32_t width,
                    int predictor) {
    const uint8_t* ref = predictor == 1 ? src : prev;
    const int32_t i = subtractVectors(src, ref, lagOf(predictor), dst, width);
    diffPredRangeScalar(src, prev, dst, i, width, predictor, sampleAt(src, i - 1),
                        sampleAtOrZero(prev, i - 1));
}

void reconstructFromSecond(const uint8_t* src, const uint8_t* prev, uint8_t* dst, int32_t width,
                           int predictor, int16_t first) {
    const int32_t i = predictor == 1 ? prefixSumVectors(src, dst, width, first)
                                     : addVectors(src, prev, lagOf(predictor), dst, width);
    reconstructRangeScalar(src, prev, dst, i, width, predictor, sampleAt(dst, i - 1),
                           sampleAtOrZero(prev, i - 1));
}

}  // namespace

void diffPredFirstRowSse2(const uint8_t* src, uint8_t* dst, int32_t width, int16_t initial) {
    if (!vectorised(src, nullptr, dst, width, 1))
        return diffPredFirstRowScalar(src, dst, width, initial);
    storeElement<int16_t>(dst, 0, static_cast<int16_t>(sampleAt(src, 0) - initial));
    diffFromSecond(src, nullptr, dst, width, 1);
}

void reconstructFirstRowSse2(const uint8_t* src, uint8_t* dst, int32_t width, int16_t initial) {
    if (!vectorised(src, nullptr, dst, width, 1))
        return reconstructFirstRowScalar(src, dst, width, initial);
    const int16_t first = static_cast<int16_t>(sampleAt(src, 0) + initial);
    storeElement<int16_t>(dst, 0, first);
    reconstructFromSecond(src, nullptr, dst, width, 1, first);
}

void diffPredRowSse2(const uint8_t* src, const uint8_t* prev, uint8_t* dst, int32_t width,
                     int predictor) {
    if (!vectorised(src, prev, dst, width, predictor))
        return diffPredRowScalar(src, prev, dst, width, predictor);
    storeElement<int16_t>(dst, 0, static_cast<int16_t>(sampleAt(src, 0) - sampleAt(prev, 0)));
    diffFromSecond(src, prev, dst, width, predictor);
}

void reconstructRowSse2(const uint8_t* src, const uint8_t* prev, uint8_t* dst, int32_t width,
                        int predictor) {
    if (!vectorised(src, prev, dst, width, predictor))
        return reconstructRowScalar(src, prev, dst, width, predictor);
    const int16_t first = static_cast<int16_t>(sampleAt(src, 0) + sampleAt(prev, 0));
    storeElement<int16_t>(dst, 0, first);
    reconstructFromSecond(src, prev, dst, width, predictor, first);
}

}  // namespace zeq
