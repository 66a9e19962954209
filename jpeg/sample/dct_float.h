// Single-precision 8-point DCT butterflies for the 12-bit engines, written once
// over a lane type: plain float (the scalar kernels, one line at a time) or
// Float4 (the vector kernels, four lines at a time). Both run the same IEEE
// operations in the same order, so they give identical bits.
#ifndef ZEQ_JPEG_SAMPLE_DCT_FLOAT_H
#define ZEQ_JPEG_SAMPLE_DCT_FLOAT_H

#include <emmintrin.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace zeq::dctfloat {

struct Float4 {
    __m128 v;
};
inline Float4 operator+(Float4 a, Float4 b) { return {_mm_add_ps(a.v, b.v)}; }
inline Float4 operator-(Float4 a, Float4 b) { return {_mm_sub_ps(a.v, b.v)}; }
inline Float4 operator*(Float4 a, Float4 b) { return {_mm_mul_ps(a.v, b.v)}; }
inline Float4 operator*(Float4 a, float k) { return {_mm_mul_ps(a.v, _mm_set1_ps(k))}; }

inline void transpose4(Float4& a, Float4& b, Float4& c, Float4& d) {
    _MM_TRANSPOSE4_PS(a.v, b.v, c.v, d.v);
}

// An 8x8 block as left[r] (columns 0-3 of row r) and right[r] (columns 4-7)
// becomes left[c] (rows 0-3 of column c) and right[c] (rows 4-7), and back.
inline void transpose8(Float4 (&left)[8], Float4 (&right)[8]) {
    transpose4(left[0], left[1], left[2], left[3]);
    transpose4(right[0], right[1], right[2], right[3]);
    transpose4(left[4], left[5], left[6], left[7]);
    transpose4(right[4], right[5], right[6], right[7]);
    for (int i = 0; i < 4; ++i) std::swap(right[i], left[4 + i]);
}

// Factors of the fast factorization (cosines of multiples of pi/8).
constexpr float kCos4 = 0.707106781f;  // cos(pi/4)
constexpr float kCos6 = 0.382683433f;  // cos(3pi/8)
constexpr float kCos2MinusCos6 = 0.541196100f;
constexpr float kCos2PlusCos6 = 1.306562965f;
constexpr float kSqrt2 = 1.414213562f;
constexpr float kTwoCos2 = 1.847759065f;
constexpr float kTwoCos2MinusCos6 = 1.082392200f;
constexpr float kTwoCos2PlusCos6 = 2.613125930f;

constexpr double kPi = 3.14159265358979323846;

// Frequency k of the factorized transform carries sqrt(2) * cos(k pi / 16)
// (1 for k = 0) relative to the orthonormal one, and each pass another
// sqrt(8): the forward passes divide by both, the inverse multiplies its
// inputs by the first and divides by the second.
inline float frequencyGain(int k) {
    return k == 0 ? 1.0f : static_cast<float>(std::sqrt(2.0) * std::cos(k * kPi / 16.0));
}
inline std::array<float, 8> forwardDescale() {
    std::array<float, 8> t{};
    for (int k = 0; k < 8; ++k)
        t[k] = static_cast<float>(1.0 / (frequencyGain(k) * std::sqrt(8.0)));
    return t;
}
inline std::array<float, 8> inversePrescale() {
    std::array<float, 8> t{};
    for (int k = 0; k < 8; ++k) t[k] = static_cast<float>(frequencyGain(k) / std::sqrt(8.0));
    return t;
}

// Eight samples in, eight scaled frequencies out, in place.
template <class T>
void forward8(T (&x)[8]) {
    const T s07 = x[0] + x[7], d07 = x[0] - x[7];
    const T s16 = x[1] + x[6], d16 = x[1] - x[6];
    const T s25 = x[2] + x[5], d25 = x[2] - x[5];
    const T s34 = x[3] + x[4], d34 = x[3] - x[4];

    const T a = s07 + s34, c = s07 - s34, b = s16 + s25, d = s16 - s25;
    x[0] = a + b;
    x[4] = a - b;
    const T z1 = (d + c) * kCos4;
    x[2] = c + z1;
    x[6] = c - z1;

    const T o10 = d34 + d25, o11 = d25 + d16, o12 = d16 + d07;
    const T z5 = (o10 - o12) * kCos6;
    const T z2 = o10 * kCos2MinusCos6 + z5;
    const T z4 = o12 * kCos2PlusCos6 + z5;
    const T z3 = o11 * kCos4;
    const T z11 = d07 + z3, z13 = d07 - z3;
    x[5] = z13 + z2;
    x[3] = z13 - z2;
    x[1] = z11 + z4;
    x[7] = z11 - z4;
}

// Eight prescaled frequencies in, eight samples out, in place.
template <class T>
void inverse8(T (&x)[8]) {
    const T e10 = x[0] + x[4], e11 = x[0] - x[4];
    const T e13 = x[2] + x[6];
    const T e12 = (x[2] - x[6]) * kSqrt2 - e13;
    const T even0 = e10 + e13, even3 = e10 - e13, even1 = e11 + e12, even2 = e11 - e12;

    const T z13 = x[5] + x[3], z10 = x[5] - x[3], z11 = x[1] + x[7], z12 = x[1] - x[7];
    const T odd7 = z11 + z13;
    const T o11 = (z11 - z13) * kSqrt2;
    const T z5 = (z10 + z12) * kTwoCos2;
    const T o10 = z12 * kTwoCos2MinusCos6 - z5;
    const T o12 = z5 - z10 * kTwoCos2PlusCos6;
    const T odd6 = o12 - odd7;
    const T odd5 = o11 - odd6;
    const T odd4 = o10 + odd5;

    x[0] = even0 + odd7;
    x[7] = even0 - odd7;
    x[1] = even1 + odd6;
    x[6] = even1 - odd6;
    x[2] = even2 + odd5;
    x[5] = even2 - odd5;
    x[4] = even3 + odd4;
    x[3] = even3 - odd4;
}

}  // namespace zeq::dctfloat

#endif  // ZEQ_JPEG_SAMPLE_DCT_FLOAT_H
