// Lifting steps of the 5/3 and 9/7 wavelets. A step rewrites one band from
// itself and the two neighbouring samples of the other band:
//
//   out[i] = op(in[i], a[i], b[i])          (out may be in)
//
// Each step type names its element type and its scalar op (`one`), which is
// the reference arithmetic. liftRun<Step> applies a step to a run of elements
// with SSE2 and liftRunScalar<Step> with the scalar op; both take byte
// pointers at any alignment and give the same bytes. Scaling steps read no
// neighbours: callers pass `in` for a and b.
#ifndef ZEQ_JPEG2000_WAVELET_STEPS_H
#define ZEQ_JPEG2000_WAVELET_STEPS_H

#include <cstdint>

namespace zeq::wt {

// How a step's result is stored.
struct Wrap16 {  // low 16 bits, no saturation
    using T = int16_t;
    static int16_t store(int64_t v) { return static_cast<int16_t>(static_cast<uint16_t>(v)); }
};
struct Sat16 {  // clamped to -32768..32767
    using T = int16_t;
    static int16_t store(int64_t v) {
        return static_cast<int16_t>(v < -32768 ? -32768 : (v > 32767 ? 32767 : v));
    }
};
struct Wrap32 {  // low 32 bits
    using T = int32_t;
    static int32_t store(int64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(v)); }
};

// Sum of two samples in 32-bit integers (wrapping for 32-bit samples).
inline int32_t sum32(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

// Integer steps of the 5/3 wavelet:
//   out = in + kSign * ((a + b + kBias) >> kShift)       (kUseB)
//   out = in + kSign * ((a + kBias) >> kShift)           (!kUseB)
// with the sum formed in 32 bits and the result stored as St says.
template <class St, int kSign, bool kUseB, int kBias, int kShift>
struct IntStep {
    using Store = St;
    using T = typename St::T;
    static T one(T x, T a, T b) {
        const int32_t sum = sum32(sum32(a, kUseB ? b : 0), kBias);
        const int64_t r = sum >> kShift;
        return St::store(static_cast<int64_t>(x) + kSign * r);
    }
};

template <class St>
using Predict53 = IntStep<St, -1, true, 0, 1>;  // d = x - ((a + b) >> 1)
template <class St>
using Update53 = IntStep<St, 1, true, 2, 2>;  // s = x + ((a + b + 2) >> 2)
template <class St>
using Unpredict53 = IntStep<St, 1, true, 0, 1>;
template <class St>
using Unupdate53 = IntStep<St, -1, true, 2, 2>;

// Fixed-point steps: a 64-bit accumulation of x * kCx and the 32-bit sum
// (a + b) times kCn, rounded by adding half and shifting right by kShift:
//   r = (x * kCx + (a + b) * kCn + 2^(kShift-1)) >> kShift
//   out = store(x + r), store(x - r) or store(r) for kXSign +1, -1, 0.
template <class St, int kShift, int kXSign, int32_t kCx, int32_t kCn>
struct FixStep {
    using Store = St;
    using T = typename St::T;
    static constexpr int64_t kHalf = int64_t{1} << (kShift - 1);
    static T one(T x, T a, T b) {
        int64_t acc = kHalf;
        if (kCx != 0) acc += static_cast<int64_t>(x) * kCx;
        if (kCn != 0) acc += static_cast<int64_t>(sum32(a, b)) * kCn;
        const int64_t r = acc >> kShift;
        return St::store(kXSign > 0 ? x + r : (kXSign < 0 ? x - r : r));
    }
};

// Single-precision steps. Constants are types with a `value` member.
struct FloatStore {
    using T = float;
};
// out = x + C * (a + b), or x - C * (a + b) for kSign -1.
template <int kSign, class C>
struct FloatLift {
    using Store = FloatStore;
    using T = float;
    static float one(float x, float a, float b) {
        return kSign > 0 ? x + C::value * (a + b) : x - C::value * (a + b);
    }
};
// out = x * C.
template <class C>
struct FloatScale {
    using Store = FloatStore;
    using T = float;
    static float one(float x, float, float) { return x * C::value; }
};
// out = x * Cx - Cn * (a + b): undoes a scaling and a lifting step at once.
template <class Cx, class Cn>
struct FloatScaleLift {
    using Store = FloatStore;
    using T = float;
    static float one(float x, float a, float b) { return x * Cx::value - Cn::value * (a + b); }
};

// Applies Step to n elements: vector loop with a scalar tail.
template <class Step>
void liftRun(uint8_t* out, const uint8_t* in, const uint8_t* a, const uint8_t* b, int32_t n);
// The scalar reference.
template <class Step>
void liftRunScalar(uint8_t* out, const uint8_t* in, const uint8_t* a, const uint8_t* b, int32_t n);

// The 5/3 lifting of a run of sample pairs in one pass, for whole-level
// lines. Pair j is E_j at element 2j of e and O_j after it; E_count is read
// too. Forward, for j in [0, count):
//   d_j = O_j - ((E_j + E_{j+1}) >> 1)            to dOut[j]
//   s_j = E_j + ((d_{j-1} + d_j + 2) >> 2)        to low[j]
// with d_{-1} = dPrev; returns d_{count-1} (dPrev for no pairs). The outputs
// must not overlap e.
template <class St>
typename St::T forwardPairs53(const uint8_t* e, int32_t count, typename St::T dPrev, uint8_t* low,
                              uint8_t* dOut);
template <class St>
typename St::T forwardPairs53Scalar(const uint8_t* e, int32_t count, typename St::T dPrev,
                                    uint8_t* low, uint8_t* dOut);

// Row helpers of the line and level drivers (SSE2, with scalar twins).
// Splits n pairs of elements (e0 o0 e1 o1 ...) into two runs.
template <class T>
void deinterleave(const uint8_t* src, uint8_t* first, uint8_t* second, int32_t pairs);
template <class T>
void deinterleaveScalar(const uint8_t* src, uint8_t* first, uint8_t* second, int32_t pairs);
// Joins two runs of n elements into pairs.
template <class T>
void interleave(const uint8_t* first, const uint8_t* second, uint8_t* dst, int32_t pairs);
template <class T>
void interleaveScalar(const uint8_t* first, const uint8_t* second, uint8_t* dst, int32_t pairs);

// In place between 32-bit integers and single precision. Back to integers by
// truncation toward zero, clamping at 2147483648.0 and below -2147483648.0.
void int32ToFloat(uint8_t* row, int32_t n);
void int32ToFloatScalar(uint8_t* row, int32_t n);
void floatToInt32(uint8_t* row, int32_t n);
void floatToInt32Scalar(uint8_t* row, int32_t n);
int32_t truncateToInt32(float v);

}  // namespace zeq::wt

#endif  // ZEQ_JPEG2000_WAVELET_STEPS_H
