// Pixel layouts shared by the whole-image colour conversions and the MCU
// family: how one pixel (scalar) or eight pixels (SSE2, one 16-bit lane per
// pixel and channel) are read from and written to one row. A pixel is a colour
// triple (R, G, B or Y, Cb, Cr, in that order whatever the byte order) plus an
// optional fourth channel (K) that no conversion touches.
//
// Layouts with kSixteen also move sixteen pixels at a time: load16 gives the
// triple as 16-bit lanes split by pixel parity (what three-byte pixels
// deinterleave to most cheaply), store16 takes one byte vector per channel in
// pixel order.
//
// Multi-pixel access touches exactly the bytes of those pixels, so a kernel
// may run it up to the last whole group in a row. The exceptions say so: the
// sixteen-pixel load and store of three-byte pixels may also touch the first
// two bytes of the next pixel when the caller says the row goes on.
#ifndef ZEQ_JPEG_SAMPLE_PIXEL_FORMATS_H
#define ZEQ_JPEG_SAMPLE_PIXEL_FORMATS_H

#include <cstdint>

#include "core/rows.h"
#include "core/sse2.h"

namespace zeq {

struct Pixel {
    int32_t c0, c1, c2, k;
};

// 16-bit lanes holding 0..255 (loads give that; stores expect it).
struct Pixels8 {
    sse2::V128 c0, c1, c2, k;
};

// Sixteen pixels as 16-bit lanes: `even` holds pixels 0, 2, .., 14 and `odd`
// pixels 1, 3, .., 15 (lane i of each is pixel 2i or 2i + 1). K is not carried.
struct Pixels16 {
    Pixels8 even, odd;
};

// One row of an image: one pointer per plane; interleaved layouts use plane[0].
struct InRow {
    const uint8_t* plane[4];
};
struct OutRow {
    uint8_t* plane[4];
};

namespace pixel_sse2 {

using namespace sse2;

inline V128 widenLow(V128 bytes) { return _mm_unpacklo_epi8(bytes, zero()); }
inline V128 widenHigh(V128 bytes) { return _mm_unpackhi_epi8(bytes, zero()); }
inline V128 loadWidened8(const uint8_t* p) { return widenLow(loadLow64(p)); }
inline void storeNarrowed8(uint8_t* p, V128 v) { storeLow64(p, packSaturate16To8u(v, v)); }

// 24 16-bit values a0|a1|a2 become t with t[2j] = a[j], t[2j+1] = a[12+j]:
// a riffle of the two halves. Seen on indices mod 23 that multiplies by 12,
// so three rounds multiply by 12^3 = 3: channel-interleaved becomes planar.
inline void riffle24(V128& a0, V128& a1, V128& a2) {
    const V128 t0 = _mm_unpacklo_epi16(a0, _mm_unpackhi_epi64(a1, a1));
    const V128 t1 = _mm_unpackhi_epi16(a0, _mm_unpacklo_epi64(a2, a2));
    const V128 t2 = _mm_unpacklo_epi16(a1, _mm_unpackhi_epi64(a2, a2));
    a0 = t0, a1 = t1, a2 = t2;
}

// The inverse round: evens, then odds (indices multiplied by 2 mod 23); three
// rounds turn planar into channel-interleaved. Lanes must hold 0..32767.
inline void unriffle24(V128& a0, V128& a1, V128& a2) {
    const V128 low = _mm_set1_epi32(0xFFFF);
    const V128 t0 = _mm_packs_epi32(_mm_and_si128(a0, low), _mm_and_si128(a1, low));
    const V128 t1 = _mm_packs_epi32(_mm_and_si128(a2, low), _mm_srli_epi32(a0, 16));
    const V128 t2 = _mm_packs_epi32(_mm_srli_epi32(a1, 16), _mm_srli_epi32(a2, 16));
    a0 = t0, a1 = t1, a2 = t2;
}

// 48 bytes a0|a1|a2 riffled: byte j goes to 2j and byte 24 + j to 2j + 1,
// i.e. byte index i moves to 2i mod 47. Three rounds send byte 3p + c of
// pixel p, channel c to 24p + 8c mod 47: a0 = [c0 even | c1 even],
// a1 = [c2 even | c0 odd], a2 = [c1 odd | c2 odd], pixels in order. (A
// fourth round would give planes; the parity split is one round cheaper and
// is what the arithmetic wants anyway.)
inline void riffle48(V128& a0, V128& a1, V128& a2) {
    const V128 a1Swapped = _mm_shuffle_epi32(a1, 0x4E), a2Swapped = _mm_shuffle_epi32(a2, 0x4E);
    const V128 t0 = _mm_unpacklo_epi8(a0, a1Swapped);
    const V128 t1 = _mm_unpackhi_epi8(a0, a2Swapped);
    const V128 t2 = _mm_unpackhi_epi8(a1Swapped, a2);
    a0 = t0, a1 = t1, a2 = t2;
}

// Three byte vectors (channels 0, 1, 2 of pixels 0..15) to 48 interleaved
// bytes. Each step pairs units of one size into units of twice that size: the
// output stream is A0 B0 C0 A1 B1 C1 .. at every unit size, where A, B and C
// are the units starting with channel 0, 2 and 1 of a pixel pair (bytes),
// then of a pair of such units, and so on up to 16-byte vectors.
// shufps gathers the even (or odd) doublewords of two vectors, one pshufd
// puts the pairs side by side. The selector is a template argument because
// the instruction takes it as an immediate.
template <int kPick>
inline V128 pairUpDwords(V128 a, V128 b) {
    const __m128 g = _mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), kPick);
    return _mm_shuffle_epi32(_mm_castps_si128(g), _MM_SHUFFLE(3, 1, 2, 0));
}

inline void interleave48(V128 c0, V128 c1, V128 c2, V128 out[3]) {
    const V128 lowByte = splat16(0x00FF), highByte = splat16(static_cast<int16_t>(0xFF00));
    // Words: A = (c0, c1) of even pixels, B = (c2 even, c0 odd), C = (c1, c2) odd.
    const V128 wa = _mm_or_si128(_mm_and_si128(c0, lowByte), _mm_slli_epi16(c1, 8));
    const V128 wb = _mm_or_si128(_mm_and_si128(c2, lowByte), _mm_and_si128(c0, highByte));
    const V128 wc = _mm_or_si128(_mm_srli_epi16(c1, 8), _mm_and_si128(c2, highByte));
    // Doublewords (A, B) of even word pairs, (C even, A odd), (B, C) odd.
    const V128 lowWord = _mm_set1_epi32(0xFFFF), highWord = _mm_set1_epi32(~0xFFFF);
    const V128 da = _mm_or_si128(_mm_and_si128(wa, lowWord), _mm_slli_epi32(wb, 16));
    const V128 db = _mm_or_si128(_mm_and_si128(wc, lowWord), _mm_and_si128(wa, highWord));
    const V128 dc = _mm_or_si128(_mm_srli_epi32(wb, 16), _mm_and_si128(wc, highWord));
    // Quadwords the same way.
    const V128 qa = pairUpDwords<_MM_SHUFFLE(2, 0, 2, 0)>(da, db);
    const V128 qb = pairUpDwords<_MM_SHUFFLE(3, 1, 2, 0)>(dc, da);
    const V128 qc = pairUpDwords<_MM_SHUFFLE(3, 1, 3, 1)>(db, dc);
    out[0] = _mm_unpacklo_epi64(qa, qb);
    out[1] = _mm_castpd_si128(_mm_shuffle_pd(_mm_castsi128_pd(qc), _mm_castsi128_pd(qa), 2));
    out[2] = _mm_unpackhi_epi64(qb, qc);
}

// 32 bytes a0|a1 riffled: one rotation of the 5-bit byte index.
inline void riffle32(V128& a0, V128& a1) {
    const V128 t0 = _mm_unpacklo_epi8(a0, a1);
    const V128 t1 = _mm_unpackhi_epi8(a0, a1);
    a0 = t0, a1 = t1;
}

inline V128 invert8(V128 v) { return _mm_xor_si128(v, splat16(0xFF)); }

// The high 8 bytes of v to any address (movhps; its builtin makes no
// alignment claim, unlike the double store of _mm_storeh_pd).
inline void storeHigh64(void* p, V128 v) {
    _mm_storeh_pi(static_cast<__m64*>(p), _mm_castsi128_ps(v));
}

}  // namespace pixel_sse2

// Bytes interleaved per pixel: triple channel i at byte Ci, K at byte 3 when
// there are four bytes. Inverted layouts hold 255 - v for the triple (CMYK
// inks against R, G, B).
template <int Bytes, int C0, int C1, int C2, bool Inverted = false>
struct Interleaved8 {
    static_assert(Bytes == 3 || Bytes == 4, "three or four bytes per pixel");
    static constexpr int kPlanes = 1, kBytesPerPixel = Bytes;
    static constexpr int kPixelGroup = 1;
    static constexpr bool kHasK = Bytes == 4;
    static constexpr bool kLumaOnly = false;
    static constexpr bool kSixteen = Bytes == 3 && !Inverted;

    static int32_t in(int32_t v) { return Inverted ? 255 - v : v; }

    static InRow advance(InRow r, int32_t x) { return {{r.plane[0] + Bytes * x}}; }
    static OutRow advance(OutRow r, int32_t x) { return {{r.plane[0] + Bytes * x}}; }

    static Pixel load(const InRow& r, int32_t x) {
        const uint8_t* p = r.plane[0] + Bytes * x;
        return {in(p[C0]), in(p[C1]), in(p[C2]), kHasK ? p[3] : 0};
    }
    static void store(const OutRow& r, int32_t x, const Pixel& v) {
        uint8_t* p = r.plane[0] + Bytes * x;
        p[C0] = static_cast<uint8_t>(in(v.c0));
        p[C1] = static_cast<uint8_t>(in(v.c1));
        p[C2] = static_cast<uint8_t>(in(v.c2));
        if (kHasK) p[3] = static_cast<uint8_t>(v.k);
    }

    // Pixels 0..7 from `first`, 8..15 from `second` (two rows of eight, or
    // second = first + 24), parity-split. The 48 bytes are an 8 x 6 matrix
    // (pixel pairs by the six bytes of a pair), read as eight 8-byte rows and
    // transposed by three rounds of byte unpacks: bytes 0, 1 of every pair
    // (R, G of the even pixel), then 2, 3, then 4, 5. Each row read takes
    // two bytes past its pair; where those may lie outside what the caller
    // owns (`firstTail`, `secondTail` false), the last row is read two bytes
    // early and shifted down instead.
    static Pixels16 load16(const uint8_t* first, const uint8_t* second, bool firstTail,
                           bool secondTail) {
        static_assert(kSixteen, "three-byte pixels only");
        using namespace pixel_sse2;
        auto pairRow = [](const uint8_t* p, int pair, bool tail) {
            if (pair < 3 || tail) return loadLow64(p + 6 * pair);
            return _mm_srli_epi64(loadLow64(p + 16), 16);
        };
        V128 x[4];
        for (int pair = 0; pair < 4; ++pair)
            x[pair] = _mm_unpacklo_epi8(pairRow(first, pair, firstTail),
                                        pairRow(second, pair, secondTail));
        const V128 y0 = _mm_unpacklo_epi8(x[0], x[2]), y1 = _mm_unpacklo_epi8(x[1], x[3]);
        const V128 y2 = _mm_unpackhi_epi8(x[0], x[2]), y3 = _mm_unpackhi_epi8(x[1], x[3]);
        const V128 a0 = _mm_unpacklo_epi8(y0, y1), a1 = _mm_unpackhi_epi8(y0, y1);
        const V128 a2 = _mm_unpacklo_epi8(y2, y3);
        const V128 even[3] = {widenLow(a0), widenHigh(a0), widenLow(a1)};
        const V128 odd[3] = {widenHigh(a1), widenLow(a2), widenHigh(a2)};
        return {{even[C0], even[C1], even[C2], zero()}, {odd[C0], odd[C1], odd[C2], zero()}};
    }
    // Sixteen pixels of one row; with `moreFollow` the row goes on past them.
    static Pixels16 load16(const InRow& r, int32_t x, bool moreFollow) {
        const uint8_t* p = r.plane[0] + Bytes * x;
        return load16(p, p + 24, true, moreFollow);
    }
    static Pixels8 load8(const InRow& r, int32_t x) {
        using namespace pixel_sse2;
        const uint8_t* p = r.plane[0] + Bytes * x;
        V128 ch[4];
        if constexpr (Bytes == 3) {
            const V128 v0 = loadu(p);
            ch[0] = widenLow(v0), ch[1] = widenHigh(v0), ch[2] = loadWidened8(p + 16);
            for (int round = 0; round < 3; ++round) riffle24(ch[0], ch[1], ch[2]);
            ch[3] = zero();
        } else {
            // 5-bit byte index (pixel:3, channel:2); three rotations make it
            // (channel:2, pixel:3).
            V128 a0 = loadu(p), a1 = loadu(p + 16);
            for (int round = 0; round < 3; ++round) riffle32(a0, a1);
            ch[0] = widenLow(a0), ch[1] = widenHigh(a0), ch[2] = widenLow(a1);
            ch[3] = widenHigh(a1);
        }
        Pixels8 out{ch[C0], ch[C1], ch[C2], ch[3]};
        if constexpr (Inverted) {
            out.c0 = invert8(out.c0), out.c1 = invert8(out.c1), out.c2 = invert8(out.c2);
        }
        return out;
    }
    // One byte vector per channel of the triple, pixels 0..15 in order, to
    // the 48 bytes of those pixels.
    static void interleave16(sse2::V128 c0, sse2::V128 c1, sse2::V128 c2, sse2::V128 out[3]) {
        static_assert(kSixteen, "three-byte pixels only");
        sse2::V128 ch[3];
        ch[C0] = c0, ch[C1] = c1, ch[C2] = c2;
        pixel_sse2::interleave48(ch[0], ch[1], ch[2], out);
    }
    // Pixels 0..7 go to `first`, 8..15 to `second` (two rows of eight).
    static void store16(uint8_t* first, uint8_t* second, sse2::V128 c0, sse2::V128 c1,
                        sse2::V128 c2) {
        using namespace sse2;
        V128 out[3];
        interleave16(c0, c1, c2, out);
        storeu(first, out[0]);
        storeLow64(first + 16, out[1]);
        storeLow64(second, _mm_unpackhi_epi64(out[1], out[1]));
        storeu(second + 8, out[2]);
    }
    static void store16(const OutRow& r, int32_t x, sse2::V128 c0, sse2::V128 c1, sse2::V128 c2) {
        sse2::V128 out[3];
        interleave16(c0, c1, c2, out);
        for (int i = 0; i < 3; ++i) sse2::storeu(r.plane[0] + Bytes * x + 16 * i, out[i]);
    }
    // The same 48 bytes as eight 8-byte stores of two pixels each, 6 bytes
    // apart: each store's last two bytes are junk that the next one
    // overwrites, and the last store puts two junk bytes over pixel x + 16,
    // so the caller must write that pixel afterwards. Cheaper than
    // interleave16: the stores do the final byte compaction.
    static void store16Overlapping(const OutRow& r, int32_t x, sse2::V128 c0, sse2::V128 c1,
                                   sse2::V128 c2) {
        static_assert(kSixteen, "three-byte pixels only");
        using namespace pixel_sse2;
        V128 ch[3];
        ch[C0] = c0, ch[C1] = c1, ch[C2] = c2;
        // Words of byte pairs that start at byte 0, 1 and 2 of each pixel.
        const V128 nextFirst = _mm_srli_si128(ch[0], 1);
        const V128 w01[2] = {_mm_unpacklo_epi8(ch[0], ch[1]), _mm_unpackhi_epi8(ch[0], ch[1])};
        const V128 w20[2] = {_mm_unpacklo_epi8(ch[2], nextFirst),
                             _mm_unpackhi_epi8(ch[2], nextFirst)};
        const V128 w12[2] = {_mm_unpacklo_epi8(ch[1], ch[2]), _mm_unpackhi_epi8(ch[1], ch[2])};
        uint8_t* p = r.plane[0] + Bytes * x;
        for (int h = 0; h < 2; ++h) {
            // Doubleword j: bytes 0..3 of pixel 2j, then bytes 1..2 of pixel 2j + 1.
            const V128 first4 = _mm_or_si128(_mm_and_si128(w01[h], _mm_set1_epi32(0xFFFF)),
                                             _mm_slli_epi32(w20[h], 16));
            const V128 last2 = _mm_srli_epi32(w12[h], 16);
            const V128 q01 = _mm_unpacklo_epi32(first4, last2);
            const V128 q23 = _mm_unpackhi_epi32(first4, last2);
            storeLow64(p + 24 * h, q01);
            storeHigh64(p + 24 * h + 6, q01);
            storeLow64(p + 24 * h + 12, q23);
            storeHigh64(p + 24 * h + 18, q23);
        }
    }

    static void store8(const OutRow& r, int32_t x, const Pixels8& v) {
        using namespace pixel_sse2;
        uint8_t* p = r.plane[0] + Bytes * x;
        V128 ch[4];
        ch[C0] = Inverted ? invert8(v.c0) : v.c0;
        ch[C1] = Inverted ? invert8(v.c1) : v.c1;
        ch[C2] = Inverted ? invert8(v.c2) : v.c2;
        if constexpr (Bytes == 3) {
            for (int round = 0; round < 3; ++round) unriffle24(ch[0], ch[1], ch[2]);
            storeu(p, packSaturate16To8u(ch[0], ch[1]));
            storeLow64(p + 16, packSaturate16To8u(ch[2], ch[2]));
        } else {
            V128 a0 = packSaturate16To8u(ch[0], ch[1]), a1 = packSaturate16To8u(ch[2], v.k);
            for (int round = 0; round < 2; ++round) riffle32(a0, a1);
            storeu(p, a0);
            storeu(p + 16, a1);
        }
    }
};

// One byte plane per channel: Planes of 1 (luma only), 3 or 4 (K last).
template <int Planes, bool Inverted = false>
struct Planar8 {
    static constexpr int kPlanes = Planes, kBytesPerPixel = 1;
    static constexpr int kPixelGroup = 1;
    static constexpr bool kHasK = Planes == 4;
    static constexpr bool kLumaOnly = Planes == 1;
    static constexpr bool kSixteen = Planes != 4 && !Inverted;

    static int32_t in(int32_t v) { return Inverted ? 255 - v : v; }

    template <class Row>
    static Row advance(Row r, int32_t x) {
        for (int i = 0; i < Planes; ++i) r.plane[i] += x;
        return r;
    }

    // The 16 bytes of pixels x..x+15 of each of the three planes.
    static void loadBytes16(const InRow& r, int32_t x, sse2::V128 out[3]) {
        static_assert(Planes == 3 && kSixteen, "three planes");
        for (int i = 0; i < 3; ++i) out[i] = sse2::loadu(r.plane[i] + x);
    }
    static Pixels16 load16(const InRow& r, int32_t x, bool /*moreFollow*/) {
        static_assert(Planes == 3 && kSixteen, "three planes");
        using namespace sse2;
        V128 even[3], odd[3];
        for (int i = 0; i < 3; ++i) {
            const V128 v = loadu(r.plane[i] + x);
            even[i] = _mm_and_si128(v, splat16(0xFF));
            odd[i] = _mm_srli_epi16(v, 8);
        }
        return {{even[0], even[1], even[2], zero()}, {odd[0], odd[1], odd[2], zero()}};
    }
    // Channel 0 only for a luma plane.
    static void store16(const OutRow& r, int32_t x, sse2::V128 c0, sse2::V128 c1, sse2::V128 c2) {
        static_assert(kSixteen, "one or three planes");
        sse2::storeu(r.plane[0] + x, c0);
        if constexpr (Planes == 3) {
            sse2::storeu(r.plane[1] + x, c1);
            sse2::storeu(r.plane[2] + x, c2);
        }
    }

    static Pixel load(const InRow& r, int32_t x) {
        return {in(r.plane[0][x]), in(r.plane[1][x]), in(r.plane[2][x]), kHasK ? r.plane[3][x] : 0};
    }
    static void store(const OutRow& r, int32_t x, const Pixel& v) {
        r.plane[0][x] = static_cast<uint8_t>(in(v.c0));
        if constexpr (Planes >= 3) {
            r.plane[1][x] = static_cast<uint8_t>(in(v.c1));
            r.plane[2][x] = static_cast<uint8_t>(in(v.c2));
        }
        if constexpr (kHasK) r.plane[3][x] = static_cast<uint8_t>(v.k);
    }

    static Pixels8 load8(const InRow& r, int32_t x) {
        using namespace pixel_sse2;
        Pixels8 out{loadWidened8(r.plane[0] + x), loadWidened8(r.plane[1] + x),
                    loadWidened8(r.plane[2] + x), kHasK ? loadWidened8(r.plane[3] + x) : zero()};
        if constexpr (Inverted) {
            out.c0 = invert8(out.c0), out.c1 = invert8(out.c1), out.c2 = invert8(out.c2);
        }
        return out;
    }
    static void store8(const OutRow& r, int32_t x, const Pixels8& v) {
        using namespace pixel_sse2;
        storeNarrowed8(r.plane[0] + x, Inverted ? invert8(v.c0) : v.c0);
        if constexpr (Planes >= 3) {
            storeNarrowed8(r.plane[1] + x, Inverted ? invert8(v.c1) : v.c1);
            storeNarrowed8(r.plane[2] + x, Inverted ? invert8(v.c2) : v.c2);
        }
        if constexpr (kHasK) storeNarrowed8(r.plane[3] + x, v.k);
    }
};

// 16-bit pixels of 5-bit red and blue and a 5- or 6-bit green at bit 5.
// Fields widen by shifting left (zero low bits) and narrow by truncation.
template <int RedShift, int BlueShift, int GreenBits>
struct Packed16 {
    static constexpr int kPlanes = 1, kBytesPerPixel = 2;
    static constexpr int kPixelGroup = 1;
    static constexpr bool kHasK = false;
    static constexpr bool kLumaOnly = false;
    static constexpr bool kSixteen = false;
    static constexpr int kGreenMask = (1 << GreenBits) - 1;
    static constexpr int kGreenDrop = 8 - GreenBits;

    template <class Row>
    static Row advance(Row r, int32_t x) {
        r.plane[0] += 2 * x;
        return r;
    }

    static Pixel load(const InRow& r, int32_t x) {
        const int32_t p = loadElement<uint16_t>(r.plane[0], x);
        return {((p >> RedShift) & 31) << 3, ((p >> 5) & kGreenMask) << kGreenDrop,
                ((p >> BlueShift) & 31) << 3, 0};
    }
    static void store(const OutRow& r, int32_t x, const Pixel& v) {
        const int32_t p =
            ((v.c0 >> 3) << RedShift) | ((v.c1 >> kGreenDrop) << 5) | ((v.c2 >> 3) << BlueShift);
        storeElement<uint16_t>(r.plane[0], x, static_cast<uint16_t>(p));
    }

    static Pixels8 load8(const InRow& r, int32_t x) {
        using namespace sse2;
        const V128 p = loadu(r.plane[0] + 2 * x);
        const V128 five = splat16(31);
        return {
            _mm_slli_epi16(_mm_and_si128(_mm_srli_epi16(p, RedShift), five), 3),
            _mm_slli_epi16(_mm_and_si128(_mm_srli_epi16(p, 5), splat16(kGreenMask)), kGreenDrop),
            _mm_slli_epi16(_mm_and_si128(_mm_srli_epi16(p, BlueShift), five), 3), zero()};
    }
    static void store8(const OutRow& r, int32_t x, const Pixels8& v) {
        using namespace sse2;
        const V128 red = _mm_slli_epi16(_mm_srli_epi16(v.c0, 3), RedShift);
        const V128 green = _mm_slli_epi16(_mm_srli_epi16(v.c1, kGreenDrop), 5);
        const V128 blue = _mm_slli_epi16(_mm_srli_epi16(v.c2, 3), BlueShift);
        storeu(r.plane[0] + 2 * x, _mm_or_si128(_mm_or_si128(red, green), blue));
    }
};

using Rgb8 = Interleaved8<3, 0, 1, 2>;
using Bgr8 = Interleaved8<3, 2, 1, 0>;
using Cmyk8 = Interleaved8<4, 0, 1, 2, true>;
using YCbCr8 = Interleaved8<3, 0, 1, 2>;  // already-converted samples
using Rgb555 = Packed16<0, 10, 5>;        // red in the low bits
using Rgb565 = Packed16<0, 11, 6>;
using Bgr555 = Packed16<10, 0, 5>;  // blue in the low bits
using Bgr565 = Packed16<11, 0, 6>;

// 4:2:2 packed bytes Y0 Cb Y1 Cr per pixel pair: both pixels of a pair carry
// the pair's Cb and Cr; storing writes each pixel's Y and, from the even pixel
// its Cb, from the odd pixel its Cr. Rows hold whole pairs only.
struct Packed422 {
    static constexpr int kPlanes = 1, kBytesPerPixel = 2;
    static constexpr int kPixelGroup = 2;
    static constexpr bool kHasK = false;
    static constexpr bool kLumaOnly = false;
    static constexpr bool kSixteen = false;

    template <class Row>
    static Row advance(Row r, int32_t x) {
        r.plane[0] += 2 * x;
        return r;
    }

    static Pixel load(const InRow& r, int32_t x) {
        const uint8_t* pair = r.plane[0] + 2 * (x & ~1);
        return {r.plane[0][2 * x], pair[1], pair[3], 0};
    }
    static void store(const OutRow& r, int32_t x, const Pixel& v) {
        r.plane[0][2 * x] = static_cast<uint8_t>(v.c0);
        r.plane[0][2 * x + 1] = static_cast<uint8_t>((x & 1) ? v.c2 : v.c1);
    }

    static Pixels8 load8(const InRow& r, int32_t x) {
        using namespace sse2;
        const V128 v = loadu(r.plane[0] + 2 * x);
        const V128 chroma = _mm_srli_epi16(v, 8);  // Cb, Cr, Cb, Cr, ...
        const V128 cb = _mm_and_si128(chroma, _mm_set1_epi32(0xFFFF));
        const V128 cr = _mm_srli_epi32(chroma, 16);
        return {_mm_and_si128(v, splat16(0xFF)), _mm_or_si128(cb, _mm_slli_epi32(cb, 16)),
                _mm_or_si128(cr, _mm_slli_epi32(cr, 16)), zero()};
    }
    static void store8(const OutRow& r, int32_t x, const Pixels8& v) {
        using namespace sse2;
        const V128 evenLanes = _mm_set1_epi32(0xFFFF);
        const V128 chroma =
            _mm_or_si128(_mm_and_si128(v.c1, evenLanes), _mm_andnot_si128(evenLanes, v.c2));
        storeu(r.plane[0] + 2 * x, _mm_or_si128(v.c0, _mm_slli_epi16(chroma, 8)));
    }
};

}  // namespace zeq

#endif  // ZEQ_JPEG_SAMPLE_PIXEL_FORMATS_H
