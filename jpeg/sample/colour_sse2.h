// Exact fixed-point colour arithmetic on eight or sixteen pixels (16-bit
// lanes), shared by the whole-image and MCU kernels. Weights above 32767 do
// not fit a signed 16-bit multiplier, so each is split as 65536 * n + w with w
// in range (or the formula is rewritten on channel differences): the
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

// Luma and chroma from channel differences. With e1 = R - G, e2 = B - G and
// e3 = B - R (each within -255..255, or -1020..1020 for sums of four pixels):
//   19595 R + 38470 G + 7471 B  = 65536 G + 19595 e1 + 7471 e2
//   -11059 R - 21709 G + 32768 B =  11059 e3 + 21709 e2
//   32768 R - 27439 G - 5329 B  =  27439 e1 - 5329 e3
// so every channel is one pmaddwd of a difference pair, with every weight
// inside a signed 16-bit multiplier and every sum inside 32 bits.
constexpr int kLumaE1 = 19595, kLumaE2 = 7471;
constexpr int kCbE3 = 11059, kCbE2 = 21709;
constexpr int kCrE1 = 27439, kCrE3 = -5329;

struct Differences {
    V128 rg, bg, br;  // R - G, B - G, B - R
};
inline Differences differences(V128 r, V128 g, V128 b) {
    return {_mm_sub_epi16(r, g), _mm_sub_epi16(b, g), _mm_sub_epi16(b, r)};
}

// (wa*a + wb*b + bias) >> shift per lane of eight, back in 16 bits.
inline V128 pairedHigh(V128 a, V128 b, V128 w, V128 bias, int shift) {
    const V128 low = _mm_add_epi32(_mm_madd_epi16(_mm_unpacklo_epi16(a, b), w), bias);
    const V128 high = _mm_add_epi32(_mm_madd_epi16(_mm_unpackhi_epi16(a, b), w), bias);
    const V128 count = _mm_cvtsi32_si128(shift);
    return narrow32(_mm_sra_epi32(low, count), _mm_sra_epi32(high, count));
}

// ((19595 R + 38470 G + 7471 B) >> 16) - 128 for eight pixels.
inline V128 mcuLuma(V128 r, V128 g, V128 b) {
    const Differences d = differences(r, g, b);
    return _mm_add_epi16(_mm_sub_epi16(g, splat16(128)),
                         pairedHigh(d.rg, d.bg, weights(kLumaE1, kLumaE2), zero(), 16));
}

// Chroma of groups of 2^groupBits pixels from their channel sums (each below
// 1024): the differences of the sums stay within 11 bits.
inline void mcuChroma(V128 sumR, V128 sumG, V128 sumB, int groupBits, V128& cb, V128& cr) {
    const Differences d = differences(sumR, sumG, sumB);
    cb = pairedHigh(d.br, d.bg, weights(kCbE3, kCbE2), zero(), 16 + groupBits);
    cr = pairedHigh(d.rg, d.br, weights(kCrE1, kCrE3), zero(), 16 + groupBits);
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

// ---- Sixteen pixels (lanes split by parity, see Pixels16) -------------------

// 16-bit lanes of pixels 0..7 and 8..15.
struct Lanes16 {
    V128 low, high;
};

// The high halves of 32-bit sums of even pixels (0, 2, 4, 6) and odd pixels
// (1, 3, 5, 7) interleaved back into pixel order: for sums within 32 bits the
// high half taken as a signed 16-bit lane is the sum >> 16, floored.
inline V128 highHalvesInPixelOrder(V128 even, V128 odd) {
    return _mm_or_si128(_mm_srli_epi32(even, 16), _mm_and_si128(odd, _mm_set1_epi32(~0xFFFF)));
}

// (wa*a + wb*b + bias) >> 16 per pixel, from parity-split a and b.
inline Lanes16 pairedHigh16(const V128 a[2], const V128 b[2], V128 w, V128 bias) {
    auto sum = [&](V128 pairs) { return _mm_add_epi32(_mm_madd_epi16(pairs, w), bias); };
    const V128 evenLow = sum(_mm_unpacklo_epi16(a[0], b[0]));
    const V128 evenHigh = sum(_mm_unpackhi_epi16(a[0], b[0]));
    const V128 oddLow = sum(_mm_unpacklo_epi16(a[1], b[1]));
    const V128 oddHigh = sum(_mm_unpackhi_epi16(a[1], b[1]));
    return {highHalvesInPixelOrder(evenLow, oddLow), highHalvesInPixelOrder(evenHigh, oddHigh)};
}

struct Differences16 {
    V128 rg[2], bg[2], br[2];  // [0] even pixels, [1] odd pixels
};
inline Differences16 differences(const Pixels16& p) {
    const Differences e = differences(p.even.c0, p.even.c1, p.even.c2);
    const Differences o = differences(p.odd.c0, p.odd.c1, p.odd.c2);
    return {{e.rg, o.rg}, {e.bg, o.bg}, {e.br, o.br}};
}

// One channel of parity-split pixels back in pixel order: 16-bit lanes, or
// bytes (lanes within 0..255).
inline Lanes16 inPixelOrder(V128 even, V128 odd) {
    return {_mm_unpacklo_epi16(even, odd), _mm_unpackhi_epi16(even, odd)};
}
inline V128 bytesInPixelOrder(V128 even, V128 odd) {
    return _mm_or_si128(even, _mm_slli_epi16(odd, 8));
}

// Whole-image forward conversion of sixteen pixels to Y, Cb, Cr bytes.
//   Y  = G + ((19595 e1 + 7471 e2 + 32768) >> 16): the second term lies within
//        -105..105, so it is packed to signed bytes and added to G modulo 256.
//   Cb = (11059 e3 + 21709 e2 + 8421375) >> 16, within 0..255.
//   Cr = (27439 e1 - 5329 e3 + 8421375) >> 16, within 0..255.
inline V128 luma16(const Pixels16& p, const Differences16& d) {
    const Lanes16 y = pairedHigh16(d.rg, d.bg, weights(kLumaE1, kLumaE2), _mm_set1_epi32(32768));
    return _mm_add_epi8(_mm_packs_epi16(y.low, y.high), bytesInPixelOrder(p.even.c1, p.odd.c1));
}
inline void chroma16(const Differences16& d, V128& cb, V128& cr) {
    const V128 bias = _mm_set1_epi32(128 * 65536 + 32767);
    const Lanes16 b = pairedHigh16(d.br, d.bg, weights(kCbE3, kCbE2), bias);
    const Lanes16 r = pairedHigh16(d.rg, d.br, weights(kCrE1, kCrE3), bias);
    cb = _mm_packus_epi16(b.low, b.high);
    cr = _mm_packus_epi16(r.low, r.high);
}

// Whole-image inverse of sixteen pixels (bytes in, clamped bytes out).
//   R = Y + x + ((mulhi(256 x, 26345) + 128) >> 8), x = Cr - 128
//       since (26345 x + 32768) >> 16 = (floor(26345 x / 256) + 128) >> 8;
//   B = Y + 2x + ((mulhi(256 x, -14942) + 128) >> 8), x = Cb - 128
//       (116130 = 131072 - 14942);
//   G = Y - Cr + ((-22554 Cb + 18734 Cr + 8910336) >> 16)
//       (-46802 = -65536 + 18734, the offsets of Cb and Cr folded into the
//       constant). The constant enters as offsets of the 16-bit lanes: with
//       lanes Cb + 256 * 57 and Cr + 256 * 32 the sum carries 8910336 less
//       2816 * 65536, and Cr is widened as Cr - 2816 to take the 2816 back.
inline void yCbCrToRgb16(V128 y, V128 cb, V128 cr, V128& r, V128& g, V128& b) {
    const V128 z = zero(), signFlip = splat8(static_cast<int8_t>(0x80));
    const V128 xr = _mm_xor_si128(cr, signFlip), xb = _mm_xor_si128(cb, signFlip);
    const V128 half = splat16(128);
    auto plusFraction = [&](V128 scaled, V128 w) {  // (mulhi(256 x, w) + 128) >> 8
        return _mm_srai_epi16(_mm_add_epi16(_mm_mulhi_epi16(scaled, w), half), 8);
    };
    const V128 chromaOffsets = _mm_set1_epi16(57 | (32 << 8));
    const V128 crOffset = splat8(-11);
    const V128 gWeights = weights(-22554, 18734);
    const V128 cbCr[2] = {_mm_unpacklo_epi8(cb, cr), _mm_unpackhi_epi8(cb, cr)};
    V128 out[3][2];
    for (int h = 0; h < 2; ++h) {
        const V128 y16 = h ? _mm_unpackhi_epi8(y, z) : _mm_unpacklo_epi8(y, z);
        const V128 r256 = h ? _mm_unpackhi_epi8(z, xr) : _mm_unpacklo_epi8(z, xr);
        const V128 b256 = h ? _mm_unpackhi_epi8(z, xb) : _mm_unpacklo_epi8(z, xb);
        out[0][h] = _mm_add_epi16(_mm_add_epi16(y16, _mm_srai_epi16(r256, 8)),
                                  plusFraction(r256, splat16(26345)));
        out[2][h] = _mm_add_epi16(_mm_add_epi16(y16, _mm_srai_epi16(b256, 7)),
                                  plusFraction(b256, splat16(-14942)));
        const V128 low = _mm_madd_epi16(_mm_unpacklo_epi8(cbCr[h], chromaOffsets), gWeights);
        const V128 high = _mm_madd_epi16(_mm_unpackhi_epi8(cbCr[h], chromaOffsets), gWeights);
        const V128 crLess = h ? _mm_unpackhi_epi8(cr, crOffset) : _mm_unpacklo_epi8(cr, crOffset);
        out[1][h] = _mm_add_epi16(_mm_sub_epi16(y16, crLess),
                                  narrow32(_mm_srai_epi32(low, 16), _mm_srai_epi32(high, 16)));
    }
    r = _mm_packus_epi16(out[0][0], out[0][1]);
    g = _mm_packus_epi16(out[1][0], out[1][1]);
    b = _mm_packus_epi16(out[2][0], out[2][1]);
}

}  // namespace zeq::colour_sse2

#endif  // ZEQ_JPEG_SAMPLE_COLOUR_SSE2_H
