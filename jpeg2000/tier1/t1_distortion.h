// Distortion reduction tables of the code-block encoder, in units of 1/8192
// of the squared step of the plane being coded. x is the magnitude in units
// of 2^p as far as the bits below p reach (six bits for significance, seven
// with bit p for refinement).
#ifndef ZEQ_JPEG2000_TIER1_T1_DISTORTION_H
#define ZEQ_JPEG2000_TIER1_T1_DISTORTION_H

#include <array>
#include <cstdint>

namespace zeq::t1 {

constexpr int32_t kDistortionUnit = 8192;

// Becoming significant: reconstruction moves from 0 to 1.5, or, on the last
// plane coded with exact reconstruction, to x itself. x = 1 + i / 64.
constexpr std::array<int32_t, 64> makeSignificanceDistortion(bool finalPlane) {
    std::array<int32_t, 64> t{};
    for (int i = 0; i < 64; ++i) {
        const int64_t x64 = 64 + i;                                   // 64 x
        t[i] = static_cast<int32_t>(finalPlane ? 2 * x64 * x64        // 8192 x^2
                                               : 384 * x64 - 18432);  // 8192 (3x - 2.25)
    }
    return t;
}

// Refinement: reconstruction moves from 1 to 0.5 or 1.5, or to x itself on
// the last plane. x = j / 64.
constexpr std::array<int32_t, 128> makeRefinementDistortion(bool finalPlane) {
    std::array<int32_t, 128> t{};
    for (int j = 0; j < 128; ++j) {
        const int64_t d = j - 64;  // 64 (x - 1)
        // 8192 (x - 1)^2 = 2 d^2; 8192 (x - r)^2 = 2 (j - 64 r)^2 with 64 r = 32 or 96.
        const int64_t e = j - (j < 64 ? 32 : 96);
        t[j] = static_cast<int32_t>(finalPlane ? 2 * d * d : 2 * d * d - 2 * e * e);
    }
    return t;
}

inline constexpr std::array<int32_t, 64> kSignificanceDistortion =
    makeSignificanceDistortion(false);
inline constexpr std::array<int32_t, 64> kSignificanceDistortionFinal =
    makeSignificanceDistortion(true);
inline constexpr std::array<int32_t, 128> kRefinementDistortion = makeRefinementDistortion(false);
inline constexpr std::array<int32_t, 128> kRefinementDistortionFinal =
    makeRefinementDistortion(true);

static_assert(kSignificanceDistortion[0] == 6144 && kSignificanceDistortion[63] == 6144 + 384 * 63);
static_assert(kRefinementDistortion[0] == 6144 && kRefinementDistortion[1] == 6016 &&
              kRefinementDistortion[64] == -2048 && kRefinementDistortion[127] == 6016);
static_assert(kSignificanceDistortionFinal[0] == 8192);
static_assert(kRefinementDistortionFinal[0] == 8192 && kRefinementDistortionFinal[64] == 0 &&
              kRefinementDistortionFinal[127] == 7938);

}  // namespace zeq::t1

#endif  // ZEQ_JPEG2000_TIER1_T1_DISTORTION_H
