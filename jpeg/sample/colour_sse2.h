// Exact fixed-point colour arithmetic on eight or sixteen pixels (16-bit
// lanes), shared by the whole-image and MCU kernels. Weights above 32767 do
// not fit a signed 16-bit multiplier, so the formulas are rewritten on channel
// differences (forward) or each weight is split as 65536 * n + w with w in
// range (inverse): the 65536 * n part passes the shift by 16 unchanged and is
// added back as n times the channel, which keeps every result bit-identical to
// the scalar formulas.
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

// (wa*a + wb*b + bias) >> 16 per lane, from the (a, b) pairs only.
inline V128 weightedHigh(const Pairs& p, int wa, int wb, int32_t bias) {
    const V128 ab = weights(wa, wb), b32 = _mm_set1_epi32(bias);
    const V128 low = _mm_add_epi32(_mm_madd_epi16(p.abLow, ab), b32);
    const V128 high = _mm_add_epi32(_mm_madd_epi16(p.abHigh, ab), b32);
    return narrow32(_mm_srai_epi32(low, 16), _mm_srai_epi32(high, 16));
}

inline V128 clampByte16(V128 v) { return _mm_min_epi16(_mm_max_epi16(v, zero()), splat16(255)); }

// ---- Forward arithmetic on channel pairs -----------------------------------

// With e = B - G and d = B - R (each within -255..255, or -1020..1020 for the
// sums of four pixels) the three forward rows become
//   19595 R + 38470 G + 7471 B   = 65536 G + 27066 e - 19595 d
//   -11059 R - 21709 G + 32768 B =           21709 e + 11059 d
//   32768 R - 27439 G - 5329 B   =           27439 e - 32768 d
// (expand e and d to check). Every weight fits a signed 16-bit multiplier, so
// one vector of (e, d) lane pairs feeds all three rows through pmaddwd, and
// every sum stays far inside 32 bits (below 65536 * 1100 in magnitude).
constexpr int kLumaE = 27066, kLumaD = -19595;
constexpr int kCbE = 21709, kCbD = 11059;
constexpr int kCrE = 27439, kCrD = -32768;
inline V128 lumaPairWeights() { return weights(kLumaE, kLumaD); }
inline V128 cbPairWeights() { return weights(kCbE, kCbD); }
inline V128 crPairWeights() { return weights(kCrE, kCrD); }

// Rounding terms of the whole-image rows: a half for luma, 128 * 65536 plus
// one less than a half for chroma.
inline V128 lumaBias() { return _mm_set1_epi32(32768); }
inline V128 chromaBias() { return _mm_set1_epi32(128 * 65536 + 32767); }

// (e, d) lane pairs of lanes 0..3 and 4..7, ready for pmaddwd.
struct ChannelPairs {
    V128 low, high;
};
inline ChannelPairs channelPairs(V128 r, V128 g, V128 b) {
    const V128 e = _mm_sub_epi16(b, g), d = _mm_sub_epi16(b, r);
    return {_mm_unpacklo_epi16(e, d), _mm_unpackhi_epi16(e, d)};
}
inline ChannelPairs operator+(const ChannelPairs& a, const ChannelPairs& b) {
    return {_mm_add_epi16(a.low, b.low), _mm_add_epi16(a.high, b.high)};
}

// (w . pair + bias) >> Shift per lane, back in 16 bits.
template <int Shift>
V128 pairRow(const ChannelPairs& p, V128 w, V128 bias) {
    const V128 low = _mm_add_epi32(_mm_madd_epi16(p.low, w), bias);
    const V128 high = _mm_add_epi32(_mm_madd_epi16(p.high, w), bias);
    return narrow32(_mm_srai_epi32(low, Shift), _mm_srai_epi32(high, Shift));
}
template <int Shift>
V128 pairRow(const ChannelPairs& p, V128 w) {
    return narrow32(_mm_srai_epi32(_mm_madd_epi16(p.low, w), Shift),
                    _mm_srai_epi32(_mm_madd_epi16(p.high, w), Shift));
}

// Whole-image forward conversion (rounded) of eight pixels.
inline V128 lumaRounded(const ChannelPairs& p, V128 g) {
    return _mm_add_epi16(g, pairRow<16>(p, lumaPairWeights(), lumaBias()));
}
inline Pixels8 rgbToYCbCr(const Pixels8& rgb) {
    const ChannelPairs p = channelPairs(rgb.c0, rgb.c1, rgb.c2);
    return {lumaRounded(p, rgb.c1), pairRow<16>(p, cbPairWeights(), chromaBias()),
            pairRow<16>(p, crPairWeights(), chromaBias()), rgb.k};
}

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

// ((19595 R + 38470 G + 7471 B) >> 16) - 128 for eight pixels.
inline V128 mcuLuma(V128 r, V128 g, V128 b) {
    return _mm_add_epi16(_mm_sub_epi16(g, splat16(128)),
                         pairRow<16>(channelPairs(r, g, b), lumaPairWeights()));
}

// Chroma of groups of 2^GroupBits pixels from their channel sums (each below
// 1024).
template <int GroupBits>
void mcuChroma(V128 sumR, V128 sumG, V128 sumB, V128& cb, V128& cr) {
    const ChannelPairs p = channelPairs(sumR, sumG, sumB);
    cb = pairRow<16 + GroupBits>(p, cbPairWeights());
    cr = pairRow<16 + GroupBits>(p, crPairWeights());
}

// Level-shifted samples of the full 16-bit range to R, G, B, summed with
// saturating 16-bit adds:
//   R = (Y + Cr) + rRest              rRest = ((26345 Cr) >> 16) + 128
//   G = (Y - Cr) + gRest              gRest = ((-22554 Cb + 18734 Cr) >> 16) + 128
//   B = ((Y + Cb) + Cb) + bRest       bRest = ((-14942 Cb) >> 16) + 128
// (91881 = 65536 + 26345, -46802 = -65536 + 18734, 116130 = 131072 - 14942).
// The rests depend on chroma alone, so a chroma sample's terms are formed
// once for all pixels that share it. Clamped to 0..255 the saturated sums
// equal the exact ones: a sum that saturates high at 32767 stays above 255
// and one that saturates low at -32768 stays below 0, because what is still
// to be added is either a term of the same sign as the one that saturated
// (the second Cb: the first one saturated upward only if Cb > 0, and then
// Cb + bRest >= 128) or a rest, each within -20516..20772, never enough to
// cross the 32512 back to the byte range. The exact sums, of magnitude up to
// 32768 + 65536 + 7471 + 128, are thus never needed.
struct McuChromaTerms {
    V128 cr, rRest, gRest, cb, bRest;
};
inline McuChromaTerms mcuChromaTerms(V128 cb, V128 cr) {
    const V128 offset = splat16(128), gWeights = weights(-22554, 18734);
    const V128 gLow = _mm_madd_epi16(_mm_unpacklo_epi16(cb, cr), gWeights);
    const V128 gHigh = _mm_madd_epi16(_mm_unpackhi_epi16(cb, cr), gWeights);
    return {cr, _mm_add_epi16(_mm_mulhi_epi16(cr, splat16(26345)), offset),
            _mm_add_epi16(narrow32(_mm_srai_epi32(gLow, 16), _mm_srai_epi32(gHigh, 16)), offset),
            cb, _mm_add_epi16(_mm_mulhi_epi16(cb, splat16(-14942)), offset)};
}
inline Pixels8 mcuYCbCrToRgb(V128 y, const McuChromaTerms& t) {
    return {_mm_adds_epi16(_mm_adds_epi16(y, t.cr), t.rRest),
            _mm_adds_epi16(_mm_subs_epi16(y, t.cr), t.gRest),
            _mm_adds_epi16(_mm_adds_epi16(_mm_adds_epi16(y, t.cb), t.cb), t.bRest), zero()};
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

// Channel pairs of parity-split pixels.
struct SplitPairs {
    ChannelPairs even, odd;
};
inline SplitPairs channelPairs(const Pixels16& p) {
    return {channelPairs(p.even.c0, p.even.c1, p.even.c2),
            channelPairs(p.odd.c0, p.odd.c1, p.odd.c2)};
}
// Pairs of horizontally adjacent pixels summed: groups 0..3 and 4..7.
inline ChannelPairs pixelPairSums(const SplitPairs& p) { return p.even + p.odd; }

// (w . pair + bias) >> 16 per pixel, in pixel order.
inline Lanes16 pairRowHigh(const SplitPairs& p, V128 w, V128 bias) {
    auto sum = [&](V128 pairs) { return _mm_add_epi32(_mm_madd_epi16(pairs, w), bias); };
    return {highHalvesInPixelOrder(sum(p.even.low), sum(p.odd.low)),
            highHalvesInPixelOrder(sum(p.even.high), sum(p.odd.high))};
}
inline Lanes16 pairRowHigh(const SplitPairs& p, V128 w) {
    auto sum = [&](V128 pairs) { return _mm_madd_epi16(pairs, w); };
    return {highHalvesInPixelOrder(sum(p.even.low), sum(p.odd.low)),
            highHalvesInPixelOrder(sum(p.even.high), sum(p.odd.high))};
}

// One channel of parity-split pixels back in pixel order: 16-bit lanes, or
// bytes (lanes within 0..255).
inline Lanes16 inPixelOrder(V128 even, V128 odd) {
    return {_mm_unpacklo_epi16(even, odd), _mm_unpackhi_epi16(even, odd)};
}
inline V128 bytesInPixelOrder(V128 even, V128 odd) {
    return _mm_or_si128(even, _mm_slli_epi16(odd, 8));
}

// Whole-image forward conversion of sixteen pixels to Y, Cb, Cr bytes. Luma
// is G plus a term within -105..105, so that term is packed to signed bytes
// and added to G modulo 256; chroma lies within 0..255.
inline V128 luma16(const Pixels16& p, const SplitPairs& pairs) {
    const Lanes16 y = pairRowHigh(pairs, lumaPairWeights(), lumaBias());
    return _mm_add_epi8(_mm_packs_epi16(y.low, y.high), bytesInPixelOrder(p.even.c1, p.odd.c1));
}
inline void chroma16(const SplitPairs& pairs, V128& cb, V128& cr) {
    const Lanes16 b = pairRowHigh(pairs, cbPairWeights(), chromaBias());
    const Lanes16 r = pairRowHigh(pairs, crPairWeights(), chromaBias());
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
    const V128 y16[2] = {_mm_unpacklo_epi8(y, z), _mm_unpackhi_epi8(y, z)};
    // One channel at a time (both halves, then the byte pack), which keeps
    // fewer vectors live than three channels side by side.
    // Y + k x + ((mulhi(256 x, w) + 128) >> 8) for the chroma byte c, x = c - 128.
    auto withFraction = [&](V128 c, int kShift, int16_t w) {
        const V128 x = _mm_xor_si128(c, signFlip);
        V128 half[2];
        for (int h = 0; h < 2; ++h) {
            const V128 x256 = h ? _mm_unpackhi_epi8(z, x) : _mm_unpacklo_epi8(z, x);
            const V128 fraction =
                _mm_srai_epi16(_mm_add_epi16(_mm_mulhi_epi16(x256, splat16(w)), splat16(128)), 8);
            half[h] = _mm_add_epi16(_mm_add_epi16(y16[h], _mm_srai_epi16(x256, kShift)), fraction);
        }
        return _mm_packus_epi16(half[0], half[1]);
    };
    r = withFraction(cr, 8, 26345);
    b = withFraction(cb, 7, -14942);
    const V128 chromaOffsets = _mm_set1_epi16(57 | (32 << 8));
    const V128 crOffset = splat8(-11);
    const V128 gWeights = weights(-22554, 18734);
    V128 gHalf[2];
    for (int h = 0; h < 2; ++h) {
        const V128 cbCr = h ? _mm_unpackhi_epi8(cb, cr) : _mm_unpacklo_epi8(cb, cr);
        const V128 low = _mm_madd_epi16(_mm_unpacklo_epi8(cbCr, chromaOffsets), gWeights);
        const V128 high = _mm_madd_epi16(_mm_unpackhi_epi8(cbCr, chromaOffsets), gWeights);
        const V128 crLess = h ? _mm_unpackhi_epi8(cr, crOffset) : _mm_unpacklo_epi8(cr, crOffset);
        gHalf[h] = _mm_add_epi16(_mm_sub_epi16(y16[h], crLess),
                                 narrow32(_mm_srai_epi32(low, 16), _mm_srai_epi32(high, 16)));
    }
    g = _mm_packus_epi16(gHalf[0], gHalf[1]);
}

}  // namespace zeq::colour_sse2

#endif  // ZEQ_JPEG_SAMPLE_COLOUR_SSE2_H
