// Reversible 5/3 wavelet: the member kernels behind the exported functions,
// for T = int16_t and int32_t. Pointers are byte pointers to T samples; the
// arguments have been checked.
#ifndef ZEQ_JPEG2000_WAVELET53_H
#define ZEQ_JPEG2000_WAVELET53_H

#include <cstdint>

#include "zeqj.h"

namespace zeq::wt {

// Row and Col: low and high band of roi (width coefficients per band per row
// for rows, height per column for columns) from samples whose border
// extension the caller has placed around the region; phase is the parity of
// the first sample.
template <class T>
void forwardRows53(const uint8_t* src, int32_t srcStep, uint8_t* low, int32_t lowStep,
                   uint8_t* high, int32_t highStep, ZeqiSize roi, int phase);
template <class T>
void forwardColumns53(const uint8_t* src, int32_t srcStep, uint8_t* low, int32_t lowStep,
                      uint8_t* high, int32_t highStep, ZeqiSize roi, int phase);
template <class T>
void inverseRows53(const uint8_t* low, int32_t lowStep, const uint8_t* high, int32_t highStep,
                   ZeqiSize roi, uint8_t* dst, int32_t dstStep, int phase);
template <class T>
void inverseColumns53(const uint8_t* low, int32_t lowStep, const uint8_t* high, int32_t highStep,
                      ZeqiSize roi, uint8_t* dst, int32_t dstStep, int phase);

// One lifting step down the columns: rows x(2n), x(2n+1), x(2n+2) give the
// high row d(n) and, with d(n-1), the low row s(n).
template <class T>
void forwardColumnLift53(const uint8_t* even0, const uint8_t* odd, const uint8_t* even1,
                         uint8_t* low, const uint8_t* highPrev, uint8_t* high, int32_t width);
// Its inverse: s(n+1), d(n), d(n+1) and x(2n) give x(2n+2), then x(2n+1).
template <class T>
void inverseColumnLift53(const uint8_t* low1, const uint8_t* high0, const uint8_t* high1,
                         const uint8_t* even0, uint8_t* odd, uint8_t* even1, int32_t width);

// A whole-level line, forward: the n >= 3 samples at src (the first at
// parity p), extended by whole-sample symmetric extension, lifted into dst
// as the low band followed by the high band. src and dst must not overlap.
template <class T>
void forwardLevelLine53(const uint8_t* src, int32_t n, int p, uint8_t* dst);

// Whole levels: LevelKernels<Level53<T>> (wavelet_level.h).
template <class T>
struct Level53;

// Scratch bytes of the whole-level members.
int32_t levelBufferSize53(const ZeqiRect& rect, int32_t sampleBytes, bool copies);

}  // namespace zeq::wt

#endif  // ZEQ_JPEG2000_WAVELET53_H
