// Forward DCT of 12-bit samples in single precision: columns, then rows, each
// pass descaled per frequency, then the caller's table and a round-half-even
// conversion with saturation. The scalar kernel runs one line at a time, the
// vector kernel four; both call the same butterflies.
#include <cmath>

#include "core/rows.h"
#include "core/sse2.h"
#include "jpeg/sample/dct_float.h"
#include "jpeg/sample/fdct.h"
#include "jpeg/zigzag.h"

namespace zeq {

using namespace dctfloat;

namespace {

constexpr float kLevelShift12 = 2048.0f;
constexpr float kInt16Min = -32768.0f, kInt16Max = 32767.0f;

const std::array<float, 8>& descale() {
    static const std::array<float, 8> table = forwardDescale();
    return table;
}

// NaN to 0, then saturation and rounding in the current (nearest-even) mode.
int16_t toInt16(float v) {
    if (std::isnan(v)) return 0;
    v = v < kInt16Min ? kInt16Min : (v > kInt16Max ? kInt16Max : v);
    return static_cast<int16_t>(std::lrint(v));
}

}  // namespace

void forwardDctQuant12BitScalar(const uint8_t* src, int32_t srcStep, int16_t* dst,
                                const float* table) {
    const std::array<float, 8>& scale = descale();
    float block[kBlockSize];
    for (int y = 0; y < 8; ++y) {
        const uint8_t* row = rowAt(src, srcStep, y);
        for (int x = 0; x < 8; ++x)
            block[8 * y + x] = static_cast<float>(loadElement<uint16_t>(row, x)) - kLevelShift12;
    }
    float line[8];
    for (int c = 0; c < 8; ++c) {
        for (int r = 0; r < 8; ++r) line[r] = block[8 * r + c];
        forward8(line);
        for (int k = 0; k < 8; ++k) block[8 * k + c] = line[k] * scale[k];
    }
    for (int r = 0; r < 8; ++r) {
        for (int c = 0; c < 8; ++c) line[c] = block[8 * r + c];
        forward8(line);
        for (int k = 0; k < 8; ++k) block[8 * r + k] = line[k] * scale[k];
    }
    for (int i = 0; i < kBlockSize; ++i) dst[i] = toInt16(block[i] * table[i]);
}

namespace {

void descaleLines(Float4 (&x)[8]) {
    const std::array<float, 8>& scale = descale();
    for (int k = 0; k < 8; ++k) x[k] = x[k] * scale[k];
}

sse2::V128 toInt16Lanes(Float4 a, Float4 b) {
    const auto clamp = [](__m128 v) {
        v = _mm_and_ps(v, _mm_cmpord_ps(v, v));
        return _mm_min_ps(_mm_max_ps(v, _mm_set1_ps(kInt16Min)), _mm_set1_ps(kInt16Max));
    };
    return _mm_packs_epi32(_mm_cvtps_epi32(clamp(a.v)), _mm_cvtps_epi32(clamp(b.v)));
}

}  // namespace

// left[r] holds columns 0-3 of row r, right[r] columns 4-7; after the column
// pass and a transpose they hold rows 0-3 and 4-7 of each column.
void forwardDctQuant12BitSse2(const uint8_t* src, int32_t srcStep, int16_t* dst,
                              const float* table) {
    using namespace sse2;
    Float4 left[8], right[8];
    const __m128 shift = _mm_set1_ps(kLevelShift12);
    for (int y = 0; y < 8; ++y) {
        const V128 row = loadu(rowAt(src, srcStep, y));
        left[y] = {_mm_sub_ps(_mm_cvtepi32_ps(_mm_unpacklo_epi16(row, zero())), shift)};
        right[y] = {_mm_sub_ps(_mm_cvtepi32_ps(_mm_unpackhi_epi16(row, zero())), shift)};
    }
    forward8(left);
    forward8(right);
    descaleLines(left);
    descaleLines(right);
    transpose8(left, right);
    forward8(left);
    forward8(right);
    descaleLines(left);
    descaleLines(right);
    transpose8(left, right);
    for (int y = 0; y < 8; ++y) {
        const Float4 lo = left[y] * Float4{_mm_loadu_ps(table + 8 * y)};
        const Float4 hi = right[y] * Float4{_mm_loadu_ps(table + 8 * y + 4)};
        storeu(dst + 8 * y, toInt16Lanes(lo, hi));
    }
}

}  // namespace zeq
