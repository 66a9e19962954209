// The arithmetic of the component transforms on one pixel, shared by the
// scalar kernels and the vector tails: integer members in 32-bit wrapping
// arithmetic (arithmetic shifts), float members in single precision in a
// fixed order of operations that the vector kernels repeat.
#ifndef ZEQ_JPEG2000_COMPONENT_TRANSFORM_OPS_H
#define ZEQ_JPEG2000_COMPONENT_TRANSFORM_OPS_H

#include <cstdint>

#include "jpeg2000/component_transform.h"

namespace zeq::ct {

// Weights of the fixed-point ICT, 14 fractional bits.
constexpr int32_t kIctFracBits = 14;
constexpr int32_t kIctHalf = 1 << (kIctFracBits - 1);
constexpr int32_t kYr = 4899, kYg = 9617, kYb = 1868;
constexpr int32_t kCbR = -2765, kCbG = -5427, kCbB = 8192;
constexpr int32_t kCrR = 8192, kCrG = -6860, kCrB = -1332;
constexpr int32_t kRCr = 22970, kGCb = -5638, kGCr = -11700, kBCb = 29032;

// Single-precision ICT.
constexpr float kYrF = 0.299f, kYgF = 0.587f, kYbF = 0.114f;
constexpr float kCbRF = -0.16875f, kCbGF = -0.33126f, kCbBF = 0.5f;
constexpr float kCrRF = 0.5f, kCrGF = -0.41869f, kCrBF = -0.08131f;
constexpr float kRCrF = 1.402f, kGCbF = -0.34413f, kGCrF = -0.71414f, kBCbF = 1.772f;

// 32-bit wrapping helpers.
inline int32_t add(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
inline int32_t sub(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}
inline int32_t mul(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}
// (wa a + wb b + wc c + half) >> 14, wrapping.
inline int32_t weigh(int32_t a, int32_t wa, int32_t b, int32_t wb, int32_t c, int32_t wc) {
    return add(add(add(mul(a, wa), mul(b, wb)), mul(c, wc)), kIctHalf) >> kIctFracBits;
}

template <Op op>
inline void pixel(int32_t& c0, int32_t& c1, int32_t& c2) {
    const int32_t a = c0, b = c1, c = c2;
    if constexpr (op == Op::RctForward) {  // R G B -> Y U V
        c0 = add(add(a, c), add(b, b)) >> 2;
        c1 = sub(c, b);
        c2 = sub(a, b);
    } else if constexpr (op == Op::RctInverse) {  // Y U V -> R G B
        const int32_t g = sub(a, add(b, c) >> 2);
        c0 = add(c, g);
        c1 = g;
        c2 = add(b, g);
    } else if constexpr (op == Op::IctForward) {
        c0 = weigh(a, kYr, b, kYg, c, kYb);
        c1 = weigh(a, kCbR, b, kCbG, c, kCbB);
        c2 = weigh(a, kCrR, b, kCrG, c, kCrB);
    } else {
        c0 = add(a, weigh(b, 0, c, kRCr, 0, 0));
        c1 = add(a, weigh(b, kGCb, c, kGCr, 0, 0));
        c2 = add(a, weigh(b, kBCb, c, 0, 0, 0));
    }
}

template <Op op>
inline void pixel(float& c0, float& c1, float& c2) {
    const float a = c0, b = c1, c = c2;
    if constexpr (op == Op::IctForward) {
        c0 = kYrF * a + kYgF * b + kYbF * c;
        c1 = kCbRF * a + kCbGF * b + kCbBF * c;
        c2 = kCrRF * a + kCrGF * b + kCrBF * c;
    } else {
        static_assert(op == Op::IctInverse);
        c0 = a + kRCrF * c;
        c1 = a + kGCbF * b + kGCrF * c;
        c2 = a + kBCbF * b;
    }
}

}  // namespace zeq::ct

#endif  // ZEQ_JPEG2000_COMPONENT_TRANSFORM_OPS_H
