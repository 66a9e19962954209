// SSE2 lifting runner and row helpers. Every vector op gives the bytes of
// the scalar op of its step (wavelet_steps.h): the 16-bit 5/3 steps use the
// floor average (a & b) + ((a ^ b) >> 1), which equals the 32-bit
// (a + b) >> 1; the 16.16 steps form exact 64-bit products with the unsigned
// 32x32 multiply and a sign correction; the 2.14 steps use the 16-bit
// multiply-add, whose 32-bit sums cannot overflow for 2.14 constants.
#include <emmintrin.h>

#include "core/rows.h"
#include "core/sse2.h"
#include "jpeg2000/wavelet_schemes.h"
#include "jpeg2000/wavelet_steps.h"

namespace zeq::wt {

using sse2::loadu;
using sse2::storeu;
using sse2::V128;

namespace {

inline __m128 loadps(const uint8_t* p) { return _mm_castsi128_ps(loadu(p)); }
inline void storeps(uint8_t* p, __m128 v) { storeu(p, _mm_castps_si128(v)); }

// Sign-extends the low or high four 16-bit lanes to 32 bits.
inline V128 widenLow(V128 v) { return _mm_srai_epi32(_mm_unpacklo_epi16(v, v), 16); }
inline V128 widenHigh(V128 v) { return _mm_srai_epi32(_mm_unpackhi_epi16(v, v), 16); }
// The low 16 bits of each 32-bit lane, eight lanes.
inline V128 packLow16(V128 lo, V128 hi) {
    return _mm_packs_epi32(_mm_srai_epi32(_mm_slli_epi32(lo, 16), 16),
                           _mm_srai_epi32(_mm_slli_epi32(hi, 16), 16));
}

// Signed 64-bit products v * kC of lanes 0, 2 (even) and 1, 3 (odd): the
// unsigned product less 2^32 * ((v < 0 ? kC : 0) + (kC < 0 ? v : 0)).
template <int32_t kC>
inline void mul64(V128 v, V128& even, V128& odd) {
    const V128 c = _mm_set1_epi32(kC);
    V128 correction = _mm_and_si128(_mm_srai_epi32(v, 31), c);
    if (kC < 0) correction = _mm_add_epi32(correction, v);
    even = _mm_sub_epi64(_mm_mul_epu32(v, c), _mm_slli_epi64(correction, 32));
    odd = _mm_sub_epi64(_mm_mul_epu32(_mm_srli_epi64(v, 32), c),
                        _mm_and_si128(correction, _mm_set_epi32(-1, 0, -1, 0)));
}

// Low 32 bits of (x * kCx + y * kCn + 2^(kShift-1)) >> kShift, 64-bit exact.
template <int32_t kCx, int32_t kCn, int kShift>
inline V128 mulRound(V128 x, V128 y) {
    V128 accEven = _mm_set1_epi64x(int64_t{1} << (kShift - 1)), accOdd = accEven, e, o;
    if (kCx != 0) {
        mul64<kCx>(x, e, o);
        accEven = _mm_add_epi64(accEven, e);
        accOdd = _mm_add_epi64(accOdd, o);
    }
    if (kCn != 0) {
        mul64<kCn>(y, e, o);
        accEven = _mm_add_epi64(accEven, e);
        accOdd = _mm_add_epi64(accOdd, o);
    }
    const V128 re = _mm_shuffle_epi32(_mm_srli_epi64(accEven, kShift), _MM_SHUFFLE(3, 1, 2, 0));
    const V128 ro = _mm_shuffle_epi32(_mm_srli_epi64(accOdd, kShift), _MM_SHUFFLE(3, 1, 2, 0));
    return _mm_unpacklo_epi32(re, ro);
}

template <int kXSign>
inline V128 combine32(V128 x, V128 r) {
    return kXSign > 0 ? _mm_add_epi32(x, r) : (kXSign < 0 ? _mm_sub_epi32(x, r) : r);
}
template <int kXSign>
inline V128 combine16(V128 x, V128 r) {
    return kXSign > 0 ? _mm_add_epi16(x, r) : (kXSign < 0 ? _mm_sub_epi16(x, r) : r);
}

template <class Step>
struct Vec;

template <int kSign, bool kUseB, int kBias, int kShift>
struct Vec<IntStep<Wrap16, kSign, kUseB, kBias, kShift>> {
    static constexpr int kLanes = 8;
    static void apply(uint8_t* out, const uint8_t* in, const uint8_t* pa, const uint8_t* pb) {
        const V128 a = loadu(pa);
        V128 r;
        if constexpr (kUseB) {
            const V128 b = loadu(pb);
            // floor((a + b) / 2), then floor((a + b + 2) / 4) = ceil of its half
            const V128 h =
                _mm_add_epi16(_mm_and_si128(a, b), _mm_srai_epi16(_mm_xor_si128(a, b), 1));
            static_assert((kBias == 0 && kShift == 1) || (kBias == 2 && kShift == 2));
            r = kShift == 1 ? h : _mm_sub_epi16(h, _mm_srai_epi16(h, 1));
        } else {
            static_assert((kBias == 0 && kShift == 0) || (kBias == 1 && kShift == 1));
            r = kShift == 0 ? a : _mm_sub_epi16(a, _mm_srai_epi16(a, 1));
        }
        storeu(out, combine16<kSign>(loadu(in), r));
    }
};

template <int kSign, bool kUseB, int kBias, int kShift>
struct Vec<IntStep<Wrap32, kSign, kUseB, kBias, kShift>> {
    static constexpr int kLanes = 4;
    static void apply(uint8_t* out, const uint8_t* in, const uint8_t* pa, const uint8_t* pb) {
        V128 sum = loadu(pa);
        if constexpr (kUseB) sum = _mm_add_epi32(sum, loadu(pb));
        if constexpr (kBias != 0) sum = _mm_add_epi32(sum, _mm_set1_epi32(kBias));
        storeu(out, combine32<kSign>(loadu(in), _mm_srai_epi32(sum, kShift)));
    }
};

// 16.16 with saturation: 16-bit samples widened to 32 bits, packed back with
// signed saturation (the clamp).
template <int kXSign, int32_t kCx, int32_t kCn>
struct Vec<FixStep<Sat16, 16, kXSign, kCx, kCn>> {
    static constexpr int kLanes = 8;
    static void apply(uint8_t* out, const uint8_t* in, const uint8_t* pa, const uint8_t* pb) {
        const V128 x = loadu(in);
        const V128 xl = widenLow(x), xh = widenHigh(x);
        V128 sl = xl, sh = xh;
        if constexpr (kCn != 0) {
            const V128 a = loadu(pa), b = loadu(pb);
            sl = _mm_add_epi32(widenLow(a), widenLow(b));
            sh = _mm_add_epi32(widenHigh(a), widenHigh(b));
        }
        const V128 lo = combine32<kXSign>(xl, mulRound<kCx, kCn, 16>(xl, sl));
        const V128 hi = combine32<kXSign>(xh, mulRound<kCx, kCn, 16>(xh, sh));
        storeu(out, _mm_packs_epi32(lo, hi));
    }
};

template <int kXSign, int32_t kCx, int32_t kCn>
struct Vec<FixStep<Wrap32, 16, kXSign, kCx, kCn>> {
    static constexpr int kLanes = 4;
    static void apply(uint8_t* out, const uint8_t* in, const uint8_t* pa, const uint8_t* pb) {
        const V128 x = loadu(in);
        const V128 s = kCn != 0 ? _mm_add_epi32(loadu(pa), loadu(pb)) : x;
        storeu(out, combine32<kXSign>(x, mulRound<kCx, kCn, 16>(x, s)));
    }
};

// 2.14 with 16-bit wrapping: a lifting step multiplies (a, b) pairs by
// (c, c), a scaling step (x, 0) pairs by (c, 0).
template <int kXSign, int32_t kCx, int32_t kCn>
struct Vec<FixStep<Wrap16, 14, kXSign, kCx, kCn>> {
    static constexpr int kLanes = 8;
    static_assert((kCx == 0) != (kCn == 0));
    static_assert(kCx >= -32768 && kCx <= 32767 && kCn >= -32768 && kCn <= 32767);
    static V128 pair(int32_t c0, int32_t c1) {
        return _mm_set1_epi32(static_cast<int32_t>((static_cast<uint32_t>(c1 & 0xFFFF) << 16) |
                                                   static_cast<uint32_t>(c0 & 0xFFFF)));
    }
    static void apply(uint8_t* out, const uint8_t* in, const uint8_t* pa, const uint8_t* pb) {
        const V128 x = loadu(in);
        V128 lo, hi;
        if constexpr (kCn != 0) {
            const V128 a = loadu(pa), b = loadu(pb), c = pair(kCn, kCn);
            lo = _mm_madd_epi16(_mm_unpacklo_epi16(a, b), c);
            hi = _mm_madd_epi16(_mm_unpackhi_epi16(a, b), c);
        } else {
            const V128 c = pair(kCx, 0);
            lo = _mm_madd_epi16(_mm_unpacklo_epi16(x, x), c);
            hi = _mm_madd_epi16(_mm_unpackhi_epi16(x, x), c);
        }
        const V128 half = _mm_set1_epi32(8192);
        lo = _mm_srai_epi32(_mm_add_epi32(lo, half), 14);
        hi = _mm_srai_epi32(_mm_add_epi32(hi, half), 14);
        storeu(out, combine16<kXSign>(x, packLow16(lo, hi)));
    }
};

template <int kSign, class C>
struct Vec<FloatLift<kSign, C>> {
    static constexpr int kLanes = 4;
    static void apply(uint8_t* out, const uint8_t* in, const uint8_t* pa, const uint8_t* pb) {
        const __m128 t = _mm_mul_ps(_mm_set1_ps(C::value), _mm_add_ps(loadps(pa), loadps(pb)));
        const __m128 x = loadps(in);
        storeps(out, kSign > 0 ? _mm_add_ps(x, t) : _mm_sub_ps(x, t));
    }
};

template <class C>
struct Vec<FloatScale<C>> {
    static constexpr int kLanes = 4;
    static void apply(uint8_t* out, const uint8_t* in, const uint8_t*, const uint8_t*) {
        storeps(out, _mm_mul_ps(loadps(in), _mm_set1_ps(C::value)));
    }
};

template <class Cx, class Cn>
struct Vec<FloatScaleLift<Cx, Cn>> {
    static constexpr int kLanes = 4;
    static void apply(uint8_t* out, const uint8_t* in, const uint8_t* pa, const uint8_t* pb) {
        const __m128 t = _mm_mul_ps(_mm_set1_ps(Cn::value), _mm_add_ps(loadps(pa), loadps(pb)));
        storeps(out, _mm_sub_ps(_mm_mul_ps(loadps(in), _mm_set1_ps(Cx::value)), t));
    }
};

}  // namespace

template <class Step>
void liftRun(uint8_t* out, const uint8_t* in, const uint8_t* a, const uint8_t* b, int32_t n) {
    using V = Vec<Step>;
    constexpr std::ptrdiff_t sz = sizeof(typename Step::T);
    int32_t i = 0;
    for (; i + V::kLanes <= n; i += V::kLanes)
        V::apply(out + i * sz, in + i * sz, a + i * sz, b + i * sz);
    liftRunScalar<Step>(out + i * sz, in + i * sz, a + i * sz, b + i * sz, n - i);
}

#define ZEQ_WT_INSTANTIATE_VECTOR(...)                                                           \
    template void liftRun<__VA_ARGS__>(uint8_t*, const uint8_t*, const uint8_t*, const uint8_t*, \
                                       int32_t);
ZEQ_WT_FOR_EACH_STEP(ZEQ_WT_INSTANTIATE_VECTOR)

// Forward 5/3 pairs: E and O split in registers, E_{j+1} and d_{j-1} by
// shifting in one lane from the next pair and from the previous block.
namespace {

template <class T>
struct PairLanes;
template <>
struct PairLanes<int16_t> {
    static constexpr int kLanes = 8;
    static void split(V128 v0, V128 v1, V128& even, V128& odd) {
        even = packLow16(v0, v1);
        odd = _mm_packs_epi32(_mm_srai_epi32(v0, 16), _mm_srai_epi32(v1, 16));
    }
    // (v[1..7], next)
    static V128 shiftInLast(V128 v, int16_t next) {
        return _mm_insert_epi16(_mm_srli_si128(v, 2), static_cast<uint16_t>(next), 7);
    }
    // (prev[7], v[0..6])
    static V128 shiftInFirst(V128 v, V128 prev) {
        return _mm_or_si128(_mm_slli_si128(v, 2), _mm_srli_si128(prev, 14));
    }
    static V128 lastLane(int16_t v) {
        return _mm_insert_epi16(_mm_setzero_si128(), static_cast<uint16_t>(v), 7);
    }
    static int16_t last(V128 v) { return static_cast<int16_t>(_mm_extract_epi16(v, 7)); }
    // (a + b) >> 1 and (a + b + 2) >> 2 in 32 bits, low 16 bits kept
    static V128 half(V128 a, V128 b) {
        return _mm_add_epi16(_mm_and_si128(a, b), _mm_srai_epi16(_mm_xor_si128(a, b), 1));
    }
    static V128 quarter(V128 a, V128 b) {
        const V128 h = half(a, b);
        return _mm_sub_epi16(h, _mm_srai_epi16(h, 1));
    }
    static V128 add(V128 a, V128 b) { return _mm_add_epi16(a, b); }
    static V128 sub(V128 a, V128 b) { return _mm_sub_epi16(a, b); }
};
template <>
struct PairLanes<int32_t> {
    static constexpr int kLanes = 4;
    static void split(V128 v0, V128 v1, V128& even, V128& odd) {
        const __m128 a = _mm_castsi128_ps(v0), b = _mm_castsi128_ps(v1);
        even = _mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0)));
        odd = _mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1)));
    }
    static V128 shiftInLast(V128 v, int32_t next) {
        return _mm_or_si128(_mm_srli_si128(v, 4), _mm_slli_si128(_mm_cvtsi32_si128(next), 12));
    }
    static V128 shiftInFirst(V128 v, V128 prev) {
        return _mm_or_si128(_mm_slli_si128(v, 4), _mm_srli_si128(prev, 12));
    }
    static V128 lastLane(int32_t v) { return _mm_slli_si128(_mm_cvtsi32_si128(v), 12); }
    static int32_t last(V128 v) { return _mm_cvtsi128_si32(_mm_srli_si128(v, 12)); }
    static V128 half(V128 a, V128 b) { return _mm_srai_epi32(_mm_add_epi32(a, b), 1); }
    static V128 quarter(V128 a, V128 b) {
        return _mm_srai_epi32(_mm_add_epi32(_mm_add_epi32(a, b), _mm_set1_epi32(2)), 2);
    }
    static V128 add(V128 a, V128 b) { return _mm_add_epi32(a, b); }
    static V128 sub(V128 a, V128 b) { return _mm_sub_epi32(a, b); }
};

}  // namespace

template <class St>
typename St::T forwardPairs53(const uint8_t* e, int32_t count, typename St::T dPrev, uint8_t* low,
                              uint8_t* dOut) {
    using T = typename St::T;
    using L = PairLanes<T>;
    constexpr std::ptrdiff_t sz = sizeof(T);
    int32_t j = 0;
    if (count >= L::kLanes) {
        V128 prev = L::lastLane(dPrev);
        for (; j + L::kLanes <= count; j += L::kLanes) {
            const uint8_t* s = e + 2 * sz * j;
            V128 even, odd;
            L::split(loadu(s), loadu(s + 16), even, odd);
            const V128 nextEven = L::shiftInLast(even, loadElement<T>(e, 2 * (j + L::kLanes)));
            const V128 d = L::sub(odd, L::half(even, nextEven));
            storeu(dOut + sz * j, d);
            storeu(low + sz * j, L::add(even, L::quarter(L::shiftInFirst(d, prev), d)));
            prev = d;
        }
        dPrev = L::last(prev);
    }
    return forwardPairs53Scalar<St>(e + 2 * sz * j, count - j, dPrev, low + sz * j, dOut + sz * j);
}
template int16_t forwardPairs53<Wrap16>(const uint8_t*, int32_t, int16_t, uint8_t*, uint8_t*);
template int32_t forwardPairs53<Wrap32>(const uint8_t*, int32_t, int32_t, uint8_t*, uint8_t*);

// 16-bit pairs: the first of each pair is the sign-extended low half of a
// 32-bit lane, the second its arithmetic high half. 32-bit pairs move through
// the float shuffles, which copy bits unchanged.
template <class T>
void deinterleave(const uint8_t* src, uint8_t* first, uint8_t* second, int32_t pairs) {
    constexpr int32_t sz = sizeof(T), step = 16 / sz;
    int32_t i = 0;
    for (; i + step <= pairs; i += step) {
        const uint8_t* s = src + 2 * sz * i;
        if constexpr (sz == 2) {
            const V128 v0 = loadu(s), v1 = loadu(s + 16);
            storeu(first + sz * i, packLow16(v0, v1));
            storeu(second + sz * i,
                   _mm_packs_epi32(_mm_srai_epi32(v0, 16), _mm_srai_epi32(v1, 16)));
        } else {
            const __m128 v0 = loadps(s), v1 = loadps(s + 16);
            storeps(first + sz * i, _mm_shuffle_ps(v0, v1, _MM_SHUFFLE(2, 0, 2, 0)));
            storeps(second + sz * i, _mm_shuffle_ps(v0, v1, _MM_SHUFFLE(3, 1, 3, 1)));
        }
    }
    deinterleaveScalar<T>(src + 2 * sz * i, first + sz * i, second + sz * i, pairs - i);
}

template <class T>
void interleave(const uint8_t* first, const uint8_t* second, uint8_t* dst, int32_t pairs) {
    constexpr int32_t sz = sizeof(T), step = 16 / sz;
    int32_t i = 0;
    for (; i + step <= pairs; i += step) {
        const V128 a = loadu(first + sz * i), b = loadu(second + sz * i);
        uint8_t* d = dst + 2 * sz * i;
        if constexpr (sz == 2) {
            storeu(d, _mm_unpacklo_epi16(a, b));
            storeu(d + 16, _mm_unpackhi_epi16(a, b));
        } else {
            storeu(d, _mm_unpacklo_epi32(a, b));
            storeu(d + 16, _mm_unpackhi_epi32(a, b));
        }
    }
    interleaveScalar<T>(first + sz * i, second + sz * i, dst + 2 * sz * i, pairs - i);
}

template void deinterleave<int16_t>(const uint8_t*, uint8_t*, uint8_t*, int32_t);
template void deinterleave<int32_t>(const uint8_t*, uint8_t*, uint8_t*, int32_t);
template void deinterleave<float>(const uint8_t*, uint8_t*, uint8_t*, int32_t);
template void interleave<int16_t>(const uint8_t*, const uint8_t*, uint8_t*, int32_t);
template void interleave<int32_t>(const uint8_t*, const uint8_t*, uint8_t*, int32_t);
template void interleave<float>(const uint8_t*, const uint8_t*, uint8_t*, int32_t);

void int32ToFloat(uint8_t* row, int32_t n) {
    int32_t i = 0;
    for (; i + 4 <= n; i += 4) storeps(row + 4 * i, _mm_cvtepi32_ps(loadu(row + 4 * i)));
    int32ToFloatScalar(row + 4 * i, n - i);
}

// The truncating conversion gives 0x80000000 for every value out of range;
// lanes at or above 2^31 become 0x7FFFFFFF by flipping all bits.
void floatToInt32(uint8_t* row, int32_t n) {
    const __m128 limit = _mm_set1_ps(2147483648.0f);
    int32_t i = 0;
    for (; i + 4 <= n; i += 4) {
        const __m128 v = loadps(row + 4 * i);
        const V128 over = _mm_castps_si128(_mm_cmpge_ps(v, limit));
        storeu(row + 4 * i, _mm_xor_si128(_mm_cvttps_epi32(v), over));
    }
    floatToInt32Scalar(row + 4 * i, n - i);
}

}  // namespace zeq::wt
