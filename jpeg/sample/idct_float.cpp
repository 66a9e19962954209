// Inverse DCT of 12-bit data in single precision: float dequantization,
// columns, then rows (each pass prescales its inputs per frequency), plus
// 2048, then rounding half to even within 0..4095. The scalar kernel runs one
// line at a time, the vector kernel four; both call the same butterflies.
#include <cmath>

#include "core/rows.h"
#include "core/sse2.h"
#include "jpeg/sample/dct_float.h"
#include "jpeg/sample/idct.h"
#include "jpeg/zigzag.h"

namespace zeq {

using namespace dctfloat;

namespace {

constexpr float kLevelShift12 = 2048.0f;
constexpr float kMaxSample12 = 4095.0f;

const std::array<float, 8>& prescale() {
    static const std::array<float, 8> table = inversePrescale();
    return table;
}

// NaN to 0, then the 12-bit range, then rounding in the current (nearest-even) mode.
uint16_t toSample12(float v) {
    if (std::isnan(v)) return 0;
    v = v < 0.0f ? 0.0f : (v > kMaxSample12 ? kMaxSample12 : v);
    return static_cast<uint16_t>(std::lrint(v));
}

}  // namespace

void inverseDctQuant12BitScalar(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                const float* table) {
    const std::array<float, 8>& scale = prescale();
    float block[kBlockSize];
    for (int i = 0; i < kBlockSize; ++i) block[i] = static_cast<float>(src[i]) * table[i];
    float line[8];
    for (int c = 0; c < 8; ++c) {
        for (int r = 0; r < 8; ++r) line[r] = block[8 * r + c] * scale[r];
        inverse8(line);
        for (int r = 0; r < 8; ++r) block[8 * r + c] = line[r];
    }
    for (int r = 0; r < 8; ++r) {
        for (int c = 0; c < 8; ++c) line[c] = block[8 * r + c] * scale[c];
        inverse8(line);
        uint8_t* row = rowAt(dst, dstStep, r);
        for (int c = 0; c < 8; ++c) storeElement(row, c, toSample12(line[c] + kLevelShift12));
    }
}

namespace {

void prescaleLines(Float4 (&x)[8]) {
    const std::array<float, 8>& scale = prescale();
    for (int k = 0; k < 8; ++k) x[k] = x[k] * scale[k];
}

sse2::V128 toSample12Lanes(Float4 a, Float4 b) {
    const auto clamp = [](__m128 v) {
        v = _mm_add_ps(v, _mm_set1_ps(kLevelShift12));
        v = _mm_and_ps(v, _mm_cmpord_ps(v, v));
        return _mm_min_ps(_mm_max_ps(v, _mm_setzero_ps()), _mm_set1_ps(kMaxSample12));
    };
    return _mm_packs_epi32(_mm_cvtps_epi32(clamp(a.v)), _mm_cvtps_epi32(clamp(b.v)));
}

}  // namespace

void inverseDctQuant12BitSse2(const int16_t* src, uint8_t* dst, int32_t dstStep,
                              const float* table) {
    using namespace sse2;
    Float4 left[8], right[8];
    for (int y = 0; y < 8; ++y) {
        const V128 row = loadu(src + 8 * y);
        const V128 sign = _mm_srai_epi16(row, 15);
        left[y] = Float4{_mm_cvtepi32_ps(_mm_unpacklo_epi16(row, sign))} *
                  Float4{_mm_loadu_ps(table + 8 * y)};
        right[y] = Float4{_mm_cvtepi32_ps(_mm_unpackhi_epi16(row, sign))} *
                   Float4{_mm_loadu_ps(table + 8 * y + 4)};
    }
    prescaleLines(left);
    prescaleLines(right);
    inverse8(left);
    inverse8(right);
    transpose8(left, right);
    prescaleLines(left);
    prescaleLines(right);
    inverse8(left);
    inverse8(right);
    transpose8(left, right);
    for (int y = 0; y < 8; ++y) storeu(rowAt(dst, dstStep, y), toSample12Lanes(left[y], right[y]));
}

}  // namespace zeq
