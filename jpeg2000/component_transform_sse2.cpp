// SSE2 component-transform rows, four pixels per step. Every member
// computes on 32-bit lanes (16s samples widened and stored back as their low
// 16 bits); 32-bit products use the unsigned 32x32 multiply, whose low half
// is the wrapping signed product. Interleaved pixels are split into channels
// with float shuffles, which move bits unchanged.
#include <emmintrin.h>

#include <type_traits>

#include "core/sse2.h"
#include "jpeg2000/component_transform.h"
#include "jpeg2000/component_transform_ops.h"

namespace zeq::ct {

using sse2::loadLow64;
using sse2::loadu;
using sse2::storeLow64;
using sse2::storeu;
using sse2::V128;

namespace {

inline V128 mulLow32(V128 v, int32_t c) {
    const V128 k = _mm_set1_epi32(c);
    const V128 even = _mm_mul_epu32(v, k);
    const V128 odd = _mm_mul_epu32(_mm_srli_epi64(v, 32), k);
    return _mm_unpacklo_epi32(_mm_shuffle_epi32(even, _MM_SHUFFLE(3, 1, 2, 0)),
                              _mm_shuffle_epi32(odd, _MM_SHUFFLE(3, 1, 2, 0)));
}
inline V128 weigh(V128 a, int32_t wa, V128 b, int32_t wb, V128 c, int32_t wc) {
    V128 sum = _mm_set1_epi32(kIctHalf);
    if (wa) sum = _mm_add_epi32(sum, mulLow32(a, wa));
    if (wb) sum = _mm_add_epi32(sum, mulLow32(b, wb));
    if (wc) sum = _mm_add_epi32(sum, mulLow32(c, wc));
    return _mm_srai_epi32(sum, kIctFracBits);
}

template <Op op>
inline void pixels(V128& c0, V128& c1, V128& c2) {
    const V128 a = c0, b = c1, c = c2;
    if constexpr (op == Op::RctForward) {
        c0 = _mm_srai_epi32(_mm_add_epi32(_mm_add_epi32(a, c), _mm_add_epi32(b, b)), 2);
        c1 = _mm_sub_epi32(c, b);
        c2 = _mm_sub_epi32(a, b);
    } else if constexpr (op == Op::RctInverse) {
        const V128 g = _mm_sub_epi32(a, _mm_srai_epi32(_mm_add_epi32(b, c), 2));
        c0 = _mm_add_epi32(c, g);
        c1 = g;
        c2 = _mm_add_epi32(b, g);
    } else if constexpr (op == Op::IctForward) {
        c0 = weigh(a, kYr, b, kYg, c, kYb);
        c1 = weigh(a, kCbR, b, kCbG, c, kCbB);
        c2 = weigh(a, kCrR, b, kCrG, c, kCrB);
    } else {
        c0 = _mm_add_epi32(a, weigh(b, 0, c, kRCr, c, 0));
        c1 = _mm_add_epi32(a, weigh(b, kGCb, c, kGCr, c, 0));
        c2 = _mm_add_epi32(a, weigh(b, kBCb, c, 0, c, 0));
    }
}

// The scalar op order: (k0 a + k1 b) + k2 c.
inline __m128 weighF(__m128 a, float ka, __m128 b, float kb, __m128 c, float kc) {
    return _mm_add_ps(_mm_add_ps(_mm_mul_ps(_mm_set1_ps(ka), a), _mm_mul_ps(_mm_set1_ps(kb), b)),
                      _mm_mul_ps(_mm_set1_ps(kc), c));
}
template <Op op>
inline void pixels(__m128& c0, __m128& c1, __m128& c2) {
    const __m128 a = c0, b = c1, c = c2;
    if constexpr (op == Op::IctForward) {
        c0 = weighF(a, kYrF, b, kYgF, c, kYbF);
        c1 = weighF(a, kCbRF, b, kCbGF, c, kCbBF);
        c2 = weighF(a, kCrRF, b, kCrGF, c, kCrBF);
    } else {
        c0 = _mm_add_ps(a, _mm_mul_ps(_mm_set1_ps(kRCrF), c));
        c1 = _mm_add_ps(_mm_add_ps(a, _mm_mul_ps(_mm_set1_ps(kGCbF), b)),
                        _mm_mul_ps(_mm_set1_ps(kGCrF), c));
        c2 = _mm_add_ps(a, _mm_mul_ps(_mm_set1_ps(kBCbF), b));
    }
}

// Four elements as lanes (16-bit ones sign-extended to 32 bits), chosen by a
// tag of the element type; and back.
inline V128 widenLow(V128 v) { return _mm_srai_epi32(_mm_unpacklo_epi16(v, v), 16); }
inline V128 widenHigh(V128 v) { return _mm_srai_epi32(_mm_unpackhi_epi16(v, v), 16); }
inline V128 low16(V128 v) { return _mm_srai_epi32(_mm_slli_epi32(v, 16), 16); }

inline V128 load4(const uint8_t* p, int16_t) { return widenLow(loadLow64(p)); }
inline V128 load4(const uint8_t* p, int32_t) { return loadu(p); }
inline __m128 load4(const uint8_t* p, float) { return _mm_castsi128_ps(loadu(p)); }
inline void store4(uint8_t* p, V128 v, int16_t) {
    storeLow64(p, _mm_packs_epi32(low16(v), low16(v)));
}
inline void store4(uint8_t* p, V128 v, int32_t) { storeu(p, v); }
inline void store4(uint8_t* p, __m128 v, float) { storeu(p, _mm_castps_si128(v)); }

// (r0 g0 b0 r1) (g1 b1 r2 g2) (b2 r3 g3 b3) <-> (r0..r3) (g0..g3) (b0..b3)
inline void splitChannels(__m128& x0, __m128& x1, __m128& x2) {
    const __m128 a = x0, b = x1, c = x2;
    const __m128 bc = _mm_shuffle_ps(b, c, _MM_SHUFFLE(0, 1, 0, 2));   // b2 b0 c1 c0
    const __m128 ab = _mm_shuffle_ps(a, b, _MM_SHUFFLE(0, 0, 0, 1));   // a1 a0 b0 b0
    const __m128 bc2 = _mm_shuffle_ps(b, c, _MM_SHUFFLE(0, 2, 0, 3));  // b3 b0 c2 c0
    const __m128 ab2 = _mm_shuffle_ps(a, b, _MM_SHUFFLE(0, 1, 0, 2));  // a2 a0 b1 b0
    const __m128 cc = _mm_shuffle_ps(c, c, _MM_SHUFFLE(0, 3, 0, 0));   // c0 c0 c3 c0
    x0 = _mm_shuffle_ps(a, bc, _MM_SHUFFLE(2, 0, 3, 0));               // a0 a3 b2 c1
    x1 = _mm_shuffle_ps(ab, bc2, _MM_SHUFFLE(2, 0, 2, 0));             // a1 b0 b3 c2
    x2 = _mm_shuffle_ps(ab2, cc, _MM_SHUFFLE(2, 0, 2, 0));             // a2 b1 c0 c3
}
inline void joinChannels(__m128& x0, __m128& x1, __m128& x2) {
    const __m128 r = x0, g = x1, b = x2;
    const __m128 rg = _mm_unpacklo_ps(r, g);                           // r0 g0 r1 g1
    const __m128 br = _mm_shuffle_ps(b, r, _MM_SHUFFLE(0, 1, 0, 0));   // b0 b0 r1 r0
    const __m128 gb = _mm_unpacklo_ps(g, b);                           // g0 b0 g1 b1
    const __m128 rgHigh = _mm_unpackhi_ps(r, g);                       // r2 g2 r3 g3
    const __m128 br2 = _mm_shuffle_ps(b, r, _MM_SHUFFLE(0, 3, 0, 2));  // b2 b0 r3 r0
    const __m128 gbHigh = _mm_unpackhi_ps(g, b);                       // g2 b2 g3 b3
    x0 = _mm_shuffle_ps(rg, br, _MM_SHUFFLE(2, 0, 1, 0));              // r0 g0 b0 r1
    x1 = _mm_shuffle_ps(gb, rgHigh, _MM_SHUFFLE(1, 0, 3, 2));          // g1 b1 r2 g2
    x2 = _mm_shuffle_ps(br2, gbHigh, _MM_SHUFFLE(3, 2, 2, 0));         // b2 r3 g3 b3
}
inline void castThrough(V128& x0, V128& x1, V128& x2, void (*f)(__m128&, __m128&, __m128&)) {
    __m128 a = _mm_castsi128_ps(x0), b = _mm_castsi128_ps(x1), c = _mm_castsi128_ps(x2);
    f(a, b, c);
    x0 = _mm_castps_si128(a);
    x1 = _mm_castps_si128(b);
    x2 = _mm_castps_si128(c);
}
inline void splitChannels(V128& x0, V128& x1, V128& x2) { castThrough(x0, x1, x2, splitChannels); }
inline void joinChannels(V128& x0, V128& x1, V128& x2) { castThrough(x0, x1, x2, joinChannels); }

// Twelve interleaved elements (four pixels) as three vectors of lanes.
inline void load12(const uint8_t* p, V128& x0, V128& x1, V128& x2, int16_t) {
    const V128 v = loadu(p);
    x0 = widenLow(v);
    x1 = widenHigh(v);
    x2 = widenLow(loadLow64(p + 16));
}
template <class L, class T>
inline void load12(const uint8_t* p, L& x0, L& x1, L& x2, T tag) {
    x0 = load4(p, tag);
    x1 = load4(p + 16, tag);
    x2 = load4(p + 32, tag);
}
inline void store12(uint8_t* p, V128 x0, V128 x1, V128 x2, int16_t tag) {
    storeu(p, _mm_packs_epi32(low16(x0), low16(x1)));
    store4(p + 16, x2, tag);
}
template <class L, class T>
inline void store12(uint8_t* p, L x0, L x1, L x2, T tag) {
    store4(p, x0, tag);
    store4(p + 16, x1, tag);
    store4(p + 32, x2, tag);
}

}  // namespace

template <Op op, class T>
void planesRow(const uint8_t* const src[3], uint8_t* const dst[3], int32_t width) {
    constexpr int32_t sz = sizeof(T);
    int32_t i = 0;
    for (; i + 4 <= width; i += 4) {
        auto c0 = load4(src[0] + i * sz, T{}), c1 = load4(src[1] + i * sz, T{}),
             c2 = load4(src[2] + i * sz, T{});
        pixels<op>(c0, c1, c2);
        store4(dst[0] + i * sz, c0, T{});
        store4(dst[1] + i * sz, c1, T{});
        store4(dst[2] + i * sz, c2, T{});
    }
    const uint8_t* s[3] = {src[0] + i * sz, src[1] + i * sz, src[2] + i * sz};
    uint8_t* const d[3] = {dst[0] + i * sz, dst[1] + i * sz, dst[2] + i * sz};
    planesRowScalar<op, T>(s, d, width - i);
}

template <Op op, class T>
void pixelsToPlanesRow(const uint8_t* src, uint8_t* const dst[3], int32_t width) {
    constexpr int32_t sz = sizeof(T);
    int32_t i = 0;
    for (; i + 4 <= width; i += 4) {
        decltype(load4(src, T{})) c0, c1, c2;
        load12(src + 3 * i * sz, c0, c1, c2, T{});
        splitChannels(c0, c1, c2);
        pixels<op>(c0, c1, c2);
        store4(dst[0] + i * sz, c0, T{});
        store4(dst[1] + i * sz, c1, T{});
        store4(dst[2] + i * sz, c2, T{});
    }
    uint8_t* const d[3] = {dst[0] + i * sz, dst[1] + i * sz, dst[2] + i * sz};
    pixelsToPlanesRowScalar<op, T>(src + 3 * i * sz, d, width - i);
}

template <Op op, class T>
void planesToPixelsRow(const uint8_t* const src[3], uint8_t* dst, int32_t width) {
    constexpr int32_t sz = sizeof(T);
    int32_t i = 0;
    for (; i + 4 <= width; i += 4) {
        auto c0 = load4(src[0] + i * sz, T{}), c1 = load4(src[1] + i * sz, T{}),
             c2 = load4(src[2] + i * sz, T{});
        pixels<op>(c0, c1, c2);
        joinChannels(c0, c1, c2);
        store12(dst + 3 * i * sz, c0, c1, c2, T{});
    }
    const uint8_t* s[3] = {src[0] + i * sz, src[1] + i * sz, src[2] + i * sz};
    planesToPixelsRowScalar<op, T>(s, dst + 3 * i * sz, width - i);
}

#define ZEQ_CT_PLANAR(op, T) \
    template void planesRow<op, T>(const uint8_t* const[3], uint8_t* const[3], int32_t);
#define ZEQ_CT_TO_PLANES(op, T) \
    template void pixelsToPlanesRow<op, T>(const uint8_t*, uint8_t* const[3], int32_t);
#define ZEQ_CT_TO_PIXELS(op, T) \
    template void planesToPixelsRow<op, T>(const uint8_t* const[3], uint8_t*, int32_t);
ZEQ_CT_FOR_EACH_PLANAR(ZEQ_CT_PLANAR)
ZEQ_CT_FOR_EACH_TO_PLANES(ZEQ_CT_TO_PLANES)
ZEQ_CT_FOR_EACH_TO_PIXELS(ZEQ_CT_TO_PIXELS)

}  // namespace zeq::ct
