// Sample conversions of the JPEG 2000 codec, SSE2 with scalar tails: 16-bit
// coefficients to code-block words, code-block words to coefficients and
// reconstructed samples to bytes.
#ifndef ZEQCODEC_J2K_SAMPLES_H
#define ZEQCODEC_J2K_SAMPLES_H

#include <emmintrin.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>

namespace zeqcodec::j2k {

// 16-bit coefficients to code-block words (sign-magnitude).
inline void shortsToSignMagnitude(const int16_t* src, int32_t* dst, int32_t n) {
    const __m128i zero = _mm_setzero_si128(), signBit = _mm_set1_epi32(INT32_MIN);
    int32_t x = 0;
    for (; x + 8 <= n; x += 8) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + x));
        const __m128i negative = _mm_srai_epi16(v, 15);
        const __m128i m = _mm_sub_epi16(_mm_xor_si128(v, negative), negative);  // |v| unsigned
        const __m128i low =
            _mm_or_si128(_mm_unpacklo_epi16(m, zero),
                         _mm_and_si128(_mm_unpacklo_epi16(zero, negative), signBit));
        const __m128i high =
            _mm_or_si128(_mm_unpackhi_epi16(m, zero),
                         _mm_and_si128(_mm_unpackhi_epi16(zero, negative), signBit));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + x), low);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + x + 4), high);
    }
    for (; x < n; ++x) {
        const int32_t v = src[x];
        const uint32_t m = static_cast<uint32_t>(v < 0 ? -v : v);
        dst[x] = static_cast<int32_t>(m | (v < 0 ? 0x80000000u : 0u));
    }
}

// Code-block words (sign and magnitude) to signed coefficients with the
// magnitude capped at `limit`.
inline void reversibleCoefficients(const int32_t* src, int32_t* dst, int32_t n, int32_t limit) {
    const __m128i magnitudeMask = _mm_set1_epi32(0x7FFFFFFF), top = _mm_set1_epi32(limit);
    int32_t x = 0;
    for (; x + 4 <= n; x += 4) {
        const __m128i w = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + x));
        __m128i m = _mm_and_si128(w, magnitudeMask);
        const __m128i over = _mm_cmpgt_epi32(m, top);
        m = _mm_or_si128(_mm_andnot_si128(over, m), _mm_and_si128(over, top));
        const __m128i negative = _mm_srai_epi32(w, 31);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + x),
                         _mm_sub_epi32(_mm_xor_si128(m, negative), negative));
    }
    for (; x < n; ++x) {
        const int32_t m = std::min(src[x] & 0x7FFFFFFF, limit);
        dst[x] = src[x] < 0 ? -m : m;
    }
}

// Code-block words to coefficients scaled by `scale` (magnitude capped at
// `top`, then rounded half up), in single precision.
inline void irreversibleCoefficients(const int32_t* src, int32_t* dst, int32_t n, float scale,
                                     float top) {
    const __m128i magnitudeMask = _mm_set1_epi32(0x7FFFFFFF);
    const __m128 s = _mm_set1_ps(scale), t = _mm_set1_ps(top), half = _mm_set1_ps(0.5f);
    int32_t x = 0;
    for (; x + 4 <= n; x += 4) {
        const __m128i w = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + x));
        const __m128 m = _mm_cvtepi32_ps(_mm_and_si128(w, magnitudeMask));
        const __m128i r = _mm_cvttps_epi32(_mm_add_ps(_mm_min_ps(_mm_mul_ps(m, s), t), half));
        const __m128i negative = _mm_srai_epi32(w, 31);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + x),
                         _mm_sub_epi32(_mm_xor_si128(r, negative), negative));
    }
    for (; x < n; ++x) {
        const float m = static_cast<float>(src[x] & 0x7FFFFFFF);
        const int32_t r = static_cast<int32_t>(std::min(m * scale, top) + 0.5f);
        dst[x] = src[x] < 0 ? -r : r;
    }
}

// Samples to bytes: rounded shift right, level shift by 128, clamp to
// 0..255. The rounding takes bit shift - 1 instead of adding half first, so
// no sum can overflow; the packs saturate exactly where the clamp would.
inline void samplesToBytes(const int32_t* src, uint8_t* dst, size_t n, int32_t shift) {
    const __m128i offset = _mm_set1_epi16(128), one = _mm_set1_epi32(1);
    auto level = [&](const int32_t* p) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        if (shift == 0) return v;
        return _mm_add_epi32(_mm_sra_epi32(v, _mm_cvtsi32_si128(shift)),
                             _mm_and_si128(_mm_sra_epi32(v, _mm_cvtsi32_si128(shift - 1)), one));
    };
    size_t i = 0;
    for (; i + 16 <= n; i += 16) {
        const __m128i a =
            _mm_adds_epi16(_mm_packs_epi32(level(src + i), level(src + i + 4)), offset);
        const __m128i b =
            _mm_adds_epi16(_mm_packs_epi32(level(src + i + 8), level(src + i + 12)), offset);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), _mm_packus_epi16(a, b));
    }
    for (; i < n; ++i) {
        const int32_t v = src[i];
        const int32_t t = shift == 0 ? v : (v >> shift) + ((v >> (shift - 1)) & 1);
        dst[i] = static_cast<uint8_t>(std::clamp(t, -128, 127) + 128);
    }
}

// Three byte planes to interleaved triples. Four pixels are widened to
// dwords (the fourth byte zero), each pair of them squeezed into six bytes
// of a qword, and the two qwords into twelve bytes; stores of 16 bytes
// overlap by four, so the vector loop stops 4 bytes short of the end.
inline void interleaveBytes3(const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* dst,
                             size_t n) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i lowPixel = _mm_set1_epi64x(0xFFFFFF);
    const __m128i highPixel = _mm_set1_epi64x(0xFFFFFF000000);
    const __m128i lowQword = _mm_set_epi32(0, 0, -1, -1);
    auto squeeze = [&](__m128i rgb0, uint8_t* out) {
        const __m128i six = _mm_or_si128(_mm_and_si128(rgb0, lowPixel),
                                         _mm_and_si128(_mm_srli_epi64(rgb0, 8), highPixel));
        const __m128i twelve = _mm_or_si128(_mm_and_si128(six, lowQword),
                                            _mm_srli_si128(_mm_andnot_si128(lowQword, six), 2));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), twelve);
    };
    size_t i = 0;
    for (; 3 * i + 52 <= 3 * n; i += 16) {
        const __m128i va = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + i));
        const __m128i vb = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + i));
        const __m128i vc = _mm_loadu_si128(reinterpret_cast<const __m128i*>(c + i));
        const __m128i abLow = _mm_unpacklo_epi8(va, vb), abHigh = _mm_unpackhi_epi8(va, vb);
        const __m128i cLow = _mm_unpacklo_epi8(vc, zero), cHigh = _mm_unpackhi_epi8(vc, zero);
        uint8_t* out = dst + 3 * i;
        squeeze(_mm_unpacklo_epi16(abLow, cLow), out);
        squeeze(_mm_unpackhi_epi16(abLow, cLow), out + 12);
        squeeze(_mm_unpacklo_epi16(abHigh, cHigh), out + 24);
        squeeze(_mm_unpackhi_epi16(abHigh, cHigh), out + 36);
    }
    for (; i < n; ++i) {
        dst[3 * i] = a[i];
        dst[3 * i + 1] = b[i];
        dst[3 * i + 2] = c[i];
    }
}

}  // namespace zeqcodec::j2k

#endif
