// The fixed-point colour arithmetic, one pixel at a time. Two sets exist on
// purpose: the whole-image conversions round (a half added before the shift)
// and keep the chroma offset of 128 in the formula; the MCU conversions fold
// the level shift in and truncate. These are the reference for the vector code.
#ifndef ZEQ_JPEG_SAMPLE_COLOUR_FORMULAS_H
#define ZEQ_JPEG_SAMPLE_COLOUR_FORMULAS_H

#include <cstdint>

#include "jpeg/sample/pixel_formats.h"

namespace zeq {

// Forward weights at a scale of 2^16 (each row sums to 65536 or to 0).
constexpr int32_t kYFromR = 19595, kYFromG = 38470, kYFromB = 7471;
constexpr int32_t kCbFromR = -11059, kCbFromG = -21709, kCbFromB = 32768;
constexpr int32_t kCrFromR = 32768, kCrFromG = -27439, kCrFromB = -5329;
constexpr int32_t kColourScaleBits = 16;
constexpr int32_t kLumaRounding = 32768;
// Chroma offset 128 and a rounding term one below a half: the same term serves
// both chroma channels.
constexpr int32_t kChromaOffsetAndRounding = 128 * 65536 + 32767;

// Inverse weights at a scale of 2^16.
constexpr int32_t kRFromCr = 91881, kBFromCb = 116130, kGFromCb = -22554, kGFromCr = -46802;
constexpr int32_t kHalf = 32768;

constexpr int32_t kLevelShift = 128;

inline int32_t clampByte(int32_t v) { return v < 0 ? 0 : (v > 255 ? 255 : v); }

// ---- Whole-image conversions -----------------------------------------------

inline int32_t luma(const Pixel& rgb) {
    return (kYFromR * rgb.c0 + kYFromG * rgb.c1 + kYFromB * rgb.c2 + kLumaRounding) >>
           kColourScaleBits;
}

// R, G, B (and K) to Y, Cb, Cr (and K); always within 0..255.
inline Pixel rgbToYCbCr(const Pixel& rgb) {
    const int32_t cb =
        (kCbFromR * rgb.c0 + kCbFromG * rgb.c1 + kCbFromB * rgb.c2 + kChromaOffsetAndRounding) >>
        kColourScaleBits;
    const int32_t cr =
        (kCrFromR * rgb.c0 + kCrFromG * rgb.c1 + kCrFromB * rgb.c2 + kChromaOffsetAndRounding) >>
        kColourScaleBits;
    return {luma(rgb), cb, cr, rgb.k};
}

// Y, Cb, Cr (and K) to clamped R, G, B (and K).
inline Pixel yCbCrToRgb(const Pixel& ycc) {
    const int32_t cb = ycc.c1 - kLevelShift, cr = ycc.c2 - kLevelShift;
    const int32_t rFromCr = (kRFromCr * cr + kHalf) >> kColourScaleBits;
    const int32_t bFromCb = (kBFromCb * cb + kHalf) >> kColourScaleBits;
    const int32_t gFromCb = kGFromCb * cb + kHalf, gFromCr = kGFromCr * cr;
    return {clampByte(ycc.c0 + rFromCr), clampByte(ycc.c0 + ((gFromCb + gFromCr) >> 16)),
            clampByte(ycc.c0 + bFromCb), ycc.k};
}

// ---- MCU conversions (level-shifted 16-bit samples, truncating) ----------

// Luma sample of one pixel, level-shifted.
inline int32_t mcuLuma(const Pixel& rgb) {
    return ((kYFromR * rgb.c0 + kYFromG * rgb.c1 + kYFromB * rgb.c2) >> kColourScaleBits) -
           kLevelShift;
}

// Chroma of a group of 2^groupBits pixels from their channel sums: the
// converted mean, truncated; the offset 128 and the level shift cancel.
inline void mcuChroma(const Pixel& sums, int groupBits, int32_t& cb, int32_t& cr) {
    cb = (kCbFromR * sums.c0 + kCbFromG * sums.c1 + kCbFromB * sums.c2) >>
         (kColourScaleBits + groupBits);
    cr = (kCrFromR * sums.c0 + kCrFromG * sums.c1 + kCrFromB * sums.c2) >>
         (kColourScaleBits + groupBits);
}

// Level-shifted Y, Cb, Cr samples of any 16-bit value to clamped R, G, B. The
// products of extreme samples leave 32 bits, hence 64-bit arithmetic.
inline Pixel mcuYCbCrToRgb(int32_t y, int32_t cb, int32_t cr) {
    const int64_t r = y + ((int64_t{kRFromCr} * cr) >> kColourScaleBits) + kLevelShift;
    const int64_t g =
        y + ((int64_t{kGFromCb} * cb + int64_t{kGFromCr} * cr) >> kColourScaleBits) + kLevelShift;
    const int64_t b = y + ((int64_t{kBFromCb} * cb) >> kColourScaleBits) + kLevelShift;
    auto clamp = [](int64_t v) { return static_cast<int32_t>(v < 0 ? 0 : (v > 255 ? 255 : v)); };
    return {clamp(r), clamp(g), clamp(b), 0};
}

}  // namespace zeq

#endif  // ZEQ_JPEG_SAMPLE_COLOUR_FORMULAS_H
