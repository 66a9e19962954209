// Exact fixed-point colour arithmetic on eight pixels (16-bit lanes), shared by
// the whole-image and MCU kernels. Weights above 32767 do not fit a signed
// 16-bit multiplier, so each is split as 65536 * n + w with w in range: the
// 65536 * n part passes the shift by 16 unchanged and is added back as n times
// the channel, which keeps every result bit-identical to the scalar formulas.
#ifndef ZEQ_JPEG_SAMPLE_COLOUR_SSE2_H
#define ZEQ_JPEG_SAMPLE_COLOUR_SSE2_H

#include "core/sse2.h"
#include "jpeg/sample/pixel_formats.h"

namespace zeq::colour_sse2 {

using namespace sse2;

// Two pairs of 16-bit channels (a, b) and (c, d), interleaved for
// _mm_madd_epi16, low and high four lanes each.
struct Pairs {
    V128 abLow, abHigh, cdLow, cdHigh;
};

inline Pairs pairUp(V128 a, V128 b, V128 c, V128 d) {
    return {_mm_unpacklo_epi16(a, b), _mm_unpackhi_epi16(a, b), _mm_unpacklo_epi16(c, d),
            _mm_unpackhi_epi16(c, d)};
}

inline V128 weights(int first, int second) {
    return _mm_set1_epi32(static_cast<int32_t>(static_cast<uint16_t>(first)) |
                          static_cast<int32_t>(static_cast<uint32_t>(second) << 16));
}

inline V128 narrow32(V128 low, V128 high) { return _mm_packs_epi32(low, high); }

// (wa*a + wb*b + wc*c + wd*d) >> 16 per lane, back in 16 bits.
inline V128 weightedHigh(const Pairs& p, int wa, int wb, int wc, int wd) {
    const V128 ab = weights(wa, wb), cd = weights(wc, wd);
    const V128 low = _mm_add_epi32(_mm_madd_epi16(p.abLow, ab), _mm_madd_epi16(p.cdLow, cd));
    const V128 high = _mm_add_epi32(_mm_madd_epi16(p.abHigh, ab), _mm_madd_epi16(p.cdHigh, cd));
    return narrow32(_mm_srai_epi32(low, 16), _mm_srai_epi32(high, 16));
}

// (wa*a + wb*b + bias) >> 16 per lane, from the (a, b) pairs only.
inline V128 weightedHigh(const Pairs& p, int wa, int wb, int32_t bias) {
    const V128 ab = weights(wa, wb), b32 = _mm_set1_epi32(bias);
    const V128 low = _mm_add_epi32(_mm_madd_epi16(p.abLow, ab), b32);
    const V128 high = _mm_add_epi32(_mm_madd_epi16(p.abHigh, ab), b32);
    return narrow32(_mm_srai_epi32(low, 16), _mm_srai_epi32(high, 16));
}

inline V128 clampByte16(V128 v) { return _mm_min_epi16(_mm_max_epi16(v, zero()), splat16(255)); }

// ---- Whole-image arithmetic (rounded) -----------------------------------

// Y = (19595 R + 38470 G + 7471 B + 32768) >> 16
//   = G + 1 + ((19595 R - 27066 G + 7471 B - 32768) >> 16).
inline V128 lumaRounded(const Pairs& rgb1, V128 g) {
    return _mm_add_epi16(_mm_add_epi16(g, splat16(1)),
                         weightedHigh(rgb1, 19595, -27066, 7471, -32768));
}

// rgb1 pairs (R, G) and (B, 1).
inline Pixels8 rgbToYCbCr(const Pixels8& rgb, const Pairs& rgb1) {
    const V128 offset = splat16(128);
    // Cb = B + 128 + ((-11059 R - 21709 G - 32768 B + 32767) >> 16)
    const V128 cb = _mm_add_epi16(_mm_add_epi16(rgb.c2, offset),
                                  weightedHigh(rgb1, -11059, -21709, -32768, 32767));
    // Cr = R + 128 + ((-32768 R - 27439 G - 5329 B + 32767) >> 16)
    const V128 cr = _mm_add_epi16(_mm_add_epi16(rgb.c0, offset),
                                  weightedHigh(rgb1, -32768, -27439, -5329, 32767));
    return {lumaRounded(rgb1, rgb.c1), cb, cr, rgb.k};
}

inline Pairs rgbAndOne(const Pixels8& rgb) { return pairUp(rgb.c0, rgb.c1, rgb.c2, splat16(1)); }

// Inverse with the tables' rounding, clamped to 0..255.
inline Pixels8 yCbCrToRgb(const Pixels8& ycc) {
    const V128 offset = splat16(128), one = splat16(1);
    const V128 cb = _mm_sub_epi16(ycc.c1, offset), cr = _mm_sub_epi16(ycc.c2, offset);
    const Pairs p = pairUp(cb, cr, cb, cr);
    // R: (91881 cr + 32768) >> 16 = cr + 1 + ((26345 cr - 32768) >> 16)
    const V128 r = _mm_add_epi16(_mm_add_epi16(ycc.c0, _mm_add_epi16(cr, one)),
                                 weightedHigh(p, 0, 26345, -32768));
    // G: (-22554 cb + 32768 - 46802 cr) >> 16
    //  = 1 - cr + ((-22554 cb + 18734 cr - 32768) >> 16)
    const V128 g = _mm_add_epi16(_mm_sub_epi16(_mm_add_epi16(ycc.c0, one), cr),
                                 weightedHigh(p, -22554, 18734, -32768));
    // B: (116130 cb + 32768) >> 16 = 2 cb + 1 + ((-14942 cb - 32768) >> 16)
    const V128 b = _mm_add_epi16(_mm_add_epi16(ycc.c0, _mm_add_epi16(_mm_add_epi16(cb, cb), one)),
                                 weightedHigh(p, -14942, 0, -32768));
    return {clampByte16(r), clampByte16(g), clampByte16(b), ycc.k};
}

// ---- MCU arithmetic (truncating, level-shifted) -----------------------------

// ((19595 R + 38470 G + 7471 B) >> 16) - 128, from (R, G) and (B, any) pairs.
inline V128 mcuLuma(const Pairs& rgbx, V128 g) {
    return _mm_add_epi16(_mm_sub_epi16(g, splat16(128)),
                         weightedHigh(rgbx, 19595, -27066, 7471, 0));
}

// Chroma of groups of 2^groupBits pixels from their channel sums (each below
// 32768): (65536 S + X) >> (16 + n) = (S + (X >> 16)) >> n.
inline void mcuChroma(V128 sumR, V128 sumG, V128 sumB, int groupBits, V128& cb, V128& cr) {
    const Pairs p = pairUp(sumR, sumG, sumB, zero());
    const V128 shift = _mm_cvtsi32_si128(groupBits);
    cb = _mm_sra_epi16(_mm_add_epi16(sumB, weightedHigh(p, -11059, -21709, -32768, 0)), shift);
    cr = _mm_sra_epi16(_mm_add_epi16(sumR, weightedHigh(p, -32768, -27439, -5329, 0)), shift);
}

// Level-shifted samples of the full 16-bit range to clamped R, G, B. Sums are
// formed in 32 bits: Y + Cr alone can leave 16 bits.
//   R = Y + Cr + ((26345 Cr) >> 16) + 128           (91881 = 65536 + 26345)
//   G = Y - Cr + ((-22554 Cb + 18734 Cr) >> 16) + 128 (-46802 = -65536 + 18734)
//   B = Y + 2 Cb + ((-14942 Cb) >> 16) + 128        (116130 = 131072 - 14942)
inline Pixels8 mcuYCbCrToRgb(V128 y, V128 cb, V128 cr) {
    const V128 one = splat16(1);
    const Pairs yCr = pairUp(y, cr, y, cb);  // (Y, Cr) and (Y, Cb)
    const Pairs rbHigh =
        pairUp(_mm_mulhi_epi16(cr, splat16(26345)), one, _mm_mulhi_epi16(cb, splat16(-14942)), one);
    const Pairs cbCr = pairUp(cb, cr, cb, cr);
    const V128 plus1 = weights(1, 1), plusOffset = weights(1, 128), minus = weights(1, -1);
    const V128 two = weights(1, 2), gWeights = weights(-22554, 18734);
    const V128 offset = _mm_set1_epi32(128);
    auto r32 = [&](V128 yc, V128 h) {
        return _mm_add_epi32(_mm_madd_epi16(yc, plus1), _mm_madd_epi16(h, plusOffset));
    };
    auto g32 = [&](V128 yc, V128 cc) {
        return _mm_add_epi32(_mm_add_epi32(_mm_madd_epi16(yc, minus),
                                           _mm_srai_epi32(_mm_madd_epi16(cc, gWeights), 16)),
                             offset);
    };
    auto b32 = [&](V128 yc, V128 h) {
        return _mm_add_epi32(_mm_madd_epi16(yc, two), _mm_madd_epi16(h, plusOffset));
    };
    return {clampByte16(narrow32(r32(yCr.abLow, rbHigh.abLow), r32(yCr.abHigh, rbHigh.abHigh))),
            clampByte16(narrow32(g32(yCr.abLow, cbCr.abLow), g32(yCr.abHigh, cbCr.abHigh))),
            clampByte16(narrow32(b32(yCr.cdLow, rbHigh.cdLow), b32(yCr.cdHigh, rbHigh.cdHigh))),
            zero()};
}

}  // namespace zeq::colour_sse2

#endif  // ZEQ_JPEG_SAMPLE_COLOUR_SSE2_H
