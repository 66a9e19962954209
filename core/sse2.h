// Small named wrappers over SSE2 intrinsics so kernels read as arithmetic.
// Only SSE2 is used: the library targets every x86-64 processor.
#ifndef ZEQ_CORE_SSE2_H
#define ZEQ_CORE_SSE2_H

#include <emmintrin.h>

#include <cstdint>

namespace zeq::sse2 {

using V128 = __m128i;

inline V128 loadu(const void* p) { return _mm_loadu_si128(static_cast<const V128*>(p)); }
inline void storeu(void* p, V128 v) { _mm_storeu_si128(static_cast<V128*>(p), v); }
inline V128 loadLow64(const void* p) { return _mm_loadl_epi64(static_cast<const V128*>(p)); }
inline void storeLow64(void* p, V128 v) { _mm_storel_epi64(static_cast<V128*>(p), v); }

inline V128 splat8(int8_t v) { return _mm_set1_epi8(v); }
inline V128 splat16(int16_t v) { return _mm_set1_epi16(v); }
inline V128 zero() { return _mm_setzero_si128(); }

// Lanes of b taken as unsigned 16-bit: the low and high halves of the 32-bit
// products a * b. mulhi is signed, so a lane with b >= 32768 needs a added back
// to its high half (a * (b - 65536) + 65536 * a).
inline V128 mulLow16(V128 a, V128 b) { return _mm_mullo_epi16(a, b); }
inline V128 mulHighSignedUnsigned16(V128 a, V128 b) {
    return _mm_add_epi16(_mm_mulhi_epi16(a, b), _mm_and_si128(a, _mm_srai_epi16(b, 15)));
}

// Widen the 16-bit lanes of x to 32 bits: low four lanes, high four lanes.
inline V128 interleaveLow16(V128 lo, V128 hi) { return _mm_unpacklo_epi16(lo, hi); }
inline V128 interleaveHigh16(V128 lo, V128 hi) { return _mm_unpackhi_epi16(lo, hi); }

// Signed 32-bit lanes to signed 16-bit with saturation (a's lanes first).
inline V128 packSaturate32To16(V128 a, V128 b) { return _mm_packs_epi32(a, b); }
// Signed 16-bit lanes to unsigned 8-bit with saturation (a's lanes first).
inline V128 packSaturate16To8u(V128 a, V128 b) { return _mm_packus_epi16(a, b); }

}  // namespace zeq::sse2

#endif  // ZEQ_CORE_SSE2_H
