// Vector building blocks of the integer DCT engines. A pass works on eight
// 16-bit registers (one per element of the 8-point transform, one lane per
// line) and forms every 32-bit intermediate as a sum of pmaddwd products of
// 16-bit inputs. Products wrap modulo 2^32 exactly as the scalar references
// do: a factor k outside the signed 16-bit range is split as
// low16(k) + 65536 * wraps(k), and the 65536 * wraps(k) * x part only needs
// the low 16 bits of x, moved into the high half of each 32-bit lane.
#ifndef ZEQ_JPEG_SAMPLE_DCT_SSE2_H
#define ZEQ_JPEG_SAMPLE_DCT_SSE2_H

#include "core/sse2.h"

namespace zeq::dctsse2 {

using namespace sse2;

// Factors of four inputs in one linear sum; the flow graphs' products are
// expanded into these at compile time (exact modulo 2^32).
struct Factors4 {
    int32_t f0, f1, f2, f3;
};
constexpr Factors4 operator+(Factors4 a, Factors4 b) {
    return {a.f0 + b.f0, a.f1 + b.f1, a.f2 + b.f2, a.f3 + b.f3};
}
constexpr Factors4 operator-(Factors4 a, Factors4 b) {
    return {a.f0 - b.f0, a.f1 - b.f1, a.f2 - b.f2, a.f3 - b.f3};
}
constexpr Factors4 operator*(Factors4 a, int32_t k) {
    return {a.f0 * k, a.f1 * k, a.f2 * k, a.f3 * k};
}

// Eight signed 32-bit lanes: lanes 0-3 and 4-7 of a 16-bit register.
struct Wide {
    V128 lo, hi;
};
inline Wide operator+(Wide a, Wide b) {
    return {_mm_add_epi32(a.lo, b.lo), _mm_add_epi32(a.hi, b.hi)};
}
inline Wide operator-(Wide a, Wide b) {
    return {_mm_sub_epi32(a.lo, b.lo), _mm_sub_epi32(a.hi, b.hi)};
}
inline Wide operator+(Wide a, int32_t k) { return a + Wide{_mm_set1_epi32(k), _mm_set1_epi32(k)}; }

template <int kShift>
Wide shiftRight(Wide a) {
    return {_mm_srai_epi32(a.lo, kShift), _mm_srai_epi32(a.hi, kShift)};
}

// x * 65536 for each 16-bit lane (only the low 16 bits of x matter).
inline Wide timesWordSize(V128 x) {
    return {_mm_unpacklo_epi16(zero(), x), _mm_unpackhi_epi16(zero(), x)};
}
// x * 32768, exact for every 16-bit lane.
inline Wide timesHalfWordSize(V128 x) { return shiftRight<1>(timesWordSize(x)); }

constexpr int16_t low16Of(int32_t k) {
    return static_cast<int16_t>(((k & 0xFFFF) ^ 0x8000) - 0x8000);
}
constexpr int32_t wrapsOf(int32_t k) { return (k - low16Of(k)) / 65536; }

// 16-bit lanes of kw * x (modulo 2^16).
template <int32_t kw>
V128 scaled16(V128 x) {
    if constexpr (kw == 1) return x;
    if constexpr (kw == -1) return _mm_sub_epi16(zero(), x);
    return _mm_mullo_epi16(x, splat16(static_cast<int16_t>(kw)));
}

// Two 16-bit registers interleaved for pmaddwd.
struct Pair {
    Pair(V128 a, V128 b) : lo(_mm_unpacklo_epi16(a, b)), hi(_mm_unpackhi_epi16(a, b)), a(a), b(b) {}
    V128 lo, hi, a, b;
};

// a * ka + b * kb modulo 2^32 without the 65536-multiples of ka and kb.
template <int32_t ka, int32_t kb>
Wide dotLow(const Pair& p) {
    const V128 k = _mm_set1_epi32(
        static_cast<int32_t>((static_cast<uint32_t>(static_cast<uint16_t>(low16Of(kb))) << 16) |
                             static_cast<uint16_t>(low16Of(ka))));
    return {_mm_madd_epi16(p.lo, k), _mm_madd_epi16(p.hi, k)};
}

// The 16-bit sum of wraps(k) * x over the pair, to be moved up by timesWordSize.
template <int32_t ka, int32_t kb>
V128 wrapTerm(const Pair& p) {
    constexpr int32_t wa = wrapsOf(ka), wb = wrapsOf(kb);
    if constexpr (wa == 0 && wb == 0) return zero();
    if constexpr (wa == 0) return scaled16<wb>(p.b);
    if constexpr (wb == 0) return scaled16<wa>(p.a);
    return _mm_add_epi16(scaled16<wa>(p.a), scaled16<wb>(p.b));
}

template <int32_t ka, int32_t kb>
constexpr bool wraps() {
    return wrapsOf(ka) != 0 || wrapsOf(kb) != 0;
}

// p.a * ka + p.b * kb (+ q.a * kc + q.b * kd) modulo 2^32, for any 16-bit lanes.
template <int32_t ka, int32_t kb>
Wide dot(const Pair& p) {
    Wide r = dotLow<ka, kb>(p);
    if constexpr (wraps<ka, kb>()) r = r + timesWordSize(wrapTerm<ka, kb>(p));
    return r;
}
template <int32_t ka, int32_t kb, int32_t kc, int32_t kd>
Wide dot(const Pair& p, const Pair& q) {
    Wide r = dotLow<ka, kb>(p) + dotLow<kc, kd>(q);
    if constexpr (wraps<ka, kb>() && wraps<kc, kd>())
        r = r + timesWordSize(_mm_add_epi16(wrapTerm<ka, kb>(p), wrapTerm<kc, kd>(q)));
    else if constexpr (wraps<ka, kb>())
        r = r + timesWordSize(wrapTerm<ka, kb>(p));
    else if constexpr (wraps<kc, kd>())
        r = r + timesWordSize(wrapTerm<kc, kd>(q));
    return r;
}

// v * k modulo 2^32 for 32-bit lanes v and a signed 16-bit k: with
// v = 65536 * h + l (l signed), pmaddwd gives l * k and h = (v + 32768) >> 16
// contributes (h * k mod 2^16) * 65536.
template <int32_t k>
Wide times(Wide v) {
    static_assert(wrapsOf(k) == 0, "factor must fit in 16 signed bits");
    const V128 low = _mm_set1_epi32(static_cast<uint16_t>(k));
    const V128 high = _mm_set1_epi32(static_cast<int32_t>(static_cast<uint32_t>(k) << 16));
    const V128 highMask = _mm_set1_epi32(static_cast<int32_t>(0xFFFF0000u));
    const V128 round = _mm_set1_epi32(0x8000);
    const auto half = [&](V128 x) {
        const V128 h = _mm_and_si128(_mm_add_epi32(x, round), highMask);
        return _mm_add_epi32(_mm_madd_epi16(x, low), _mm_mullo_epi16(h, high));
    };
    return {half(v.lo), half(v.hi)};
}

// v >> kShift (arithmetic), keeping the low 16 bits of each lane.
template <int kShift>
V128 narrowShifted(Wide v) {
    if constexpr (kShift <= 16) {
        const auto half = [](V128 x) { return _mm_srai_epi32(_mm_slli_epi32(x, 16 - kShift), 16); };
        return _mm_packs_epi32(half(v.lo), half(v.hi));
    } else {
        // Fewer than 16 significant bits remain: the saturating pack is exact.
        return _mm_packs_epi32(_mm_srai_epi32(v.lo, kShift), _mm_srai_epi32(v.hi, kShift));
    }
}

// Two signed 16-bit factors for pmaddwd: ka on the low word of each 32-bit
// lane, kb on the high word (taken modulo 2^16).
inline V128 factors(int32_t ka, int32_t kb) {
    return _mm_set1_epi32(static_cast<int32_t>(
        (static_cast<uint32_t>(static_cast<uint16_t>(kb)) << 16) | static_cast<uint16_t>(ka)));
}
// Lanes holding (a, b) word pairs, times (ka, kb): a * ka + b * kb per lane.
inline Wide madd(Wide pairs, V128 k) {
    return {_mm_madd_epi16(pairs.lo, k), _mm_madd_epi16(pairs.hi, k)};
}
inline Wide madd(const Pair& p, V128 k) { return madd(Wide{p.lo, p.hi}, k); }

// 8x8 transpose of 16-bit lanes: r[i] lane j becomes r[j] lane i.
inline void transpose8x8(V128 (&r)[8]) {
    const V128 a0 = _mm_unpacklo_epi16(r[0], r[1]), a1 = _mm_unpackhi_epi16(r[0], r[1]);
    const V128 a2 = _mm_unpacklo_epi16(r[2], r[3]), a3 = _mm_unpackhi_epi16(r[2], r[3]);
    const V128 a4 = _mm_unpacklo_epi16(r[4], r[5]), a5 = _mm_unpackhi_epi16(r[4], r[5]);
    const V128 a6 = _mm_unpacklo_epi16(r[6], r[7]), a7 = _mm_unpackhi_epi16(r[6], r[7]);
    const V128 b0 = _mm_unpacklo_epi32(a0, a2), b1 = _mm_unpackhi_epi32(a0, a2);
    const V128 b2 = _mm_unpacklo_epi32(a1, a3), b3 = _mm_unpackhi_epi32(a1, a3);
    const V128 b4 = _mm_unpacklo_epi32(a4, a6), b5 = _mm_unpackhi_epi32(a4, a6);
    const V128 b6 = _mm_unpacklo_epi32(a5, a7), b7 = _mm_unpackhi_epi32(a5, a7);
    r[0] = _mm_unpacklo_epi64(b0, b4);
    r[1] = _mm_unpackhi_epi64(b0, b4);
    r[2] = _mm_unpacklo_epi64(b1, b5);
    r[3] = _mm_unpackhi_epi64(b1, b5);
    r[4] = _mm_unpacklo_epi64(b2, b6);
    r[5] = _mm_unpackhi_epi64(b2, b6);
    r[6] = _mm_unpacklo_epi64(b3, b7);
    r[7] = _mm_unpackhi_epi64(b3, b7);
}

}  // namespace zeq::dctsse2

#endif  // ZEQ_JPEG_SAMPLE_DCT_SSE2_H
