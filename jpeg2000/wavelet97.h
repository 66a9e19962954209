// Irreversible 9/7 wavelet: the member kernels behind the exported
// functions. Row and ColLift members come in 16s and 32s (16.16 fixed point,
// 16s clamped) and 32f; Col members in 32f; whole levels in 16s (2.14 fixed
// point, wrapping) and 32s (single-precision lifting, truncated back).
// Pointers are byte pointers; the arguments have been checked.
#ifndef ZEQ_JPEG2000_WAVELET97_H
#define ZEQ_JPEG2000_WAVELET97_H

#include <cstdint>

#include "zeqj.h"

namespace zeq::wt {

// T = int16_t, int32_t or float. A destination width of 1 takes the direct
// filters instead of the lifting.
template <class T>
void forwardRows97(const uint8_t* src, int32_t srcStep, uint8_t* low, int32_t lowStep,
                   uint8_t* high, int32_t highStep, ZeqiSize roi, int phase);
template <class T>
void inverseRows97(const uint8_t* low, int32_t lowStep, const uint8_t* high, int32_t highStep,
                   ZeqiSize roi, uint8_t* dst, int32_t dstStep, int phase);
void forwardColumns97(const uint8_t* src, int32_t srcStep, uint8_t* low, int32_t lowStep,
                      uint8_t* high, int32_t highStep, ZeqiSize roi, int phase);
void inverseColumns97(const uint8_t* low, int32_t lowStep, const uint8_t* high, int32_t highStep,
                      ZeqiSize roi, uint8_t* dst, int32_t dstStep, int phase);

// The forward column pipeline: rows x(2n+2), x(2n+1), x(2n) in; s(n-1) after
// step 2 becomes final low, s(n) after step 2 is written, d(n-2) after step 3
// becomes final high, d(n-1) after step 1 gets step 3, d(n) after step 1 is
// written.
template <class T>
void forwardColumnLift97(const uint8_t* even1, const uint8_t* odd, const uint8_t* even0,
                         uint8_t* lowPrev, uint8_t* lowNew, uint8_t* highOld, uint8_t* highPrev,
                         uint8_t* highNew, int32_t width);
// The inverse pipeline: low s(n+1), high d(n+1), high d(n) in; lowPrev (s(n)
// with steps 5 and 4 undone) becomes x(2n) using x(2n-2) (evenOld) and
// highPrev (d(n-1) with step 3 undone) becomes x(2n-1); lowNew and highNew
// receive s(n+1) and d(n) at the same stages.
template <class T>
void inverseColumnLift97(const uint8_t* low1, const uint8_t* high1, const uint8_t* high0,
                         uint8_t* lowPrev, uint8_t* lowNew, const uint8_t* evenOld,
                         uint8_t* highPrev, uint8_t* highNew, int32_t width);

// Whole levels, T = int16_t or int32_t: LevelKernels<Level97<T>> (wavelet_level.h).
template <class T>
struct Level97;

int32_t levelBufferSize97(const ZeqiRect& rect, int32_t sampleBytes, bool copies);

// Taps of the direct filters (centre first): analysis low and high,
// synthesis of the low and of the high band; single precision and 16.16.
extern const float kAnalysisLow[5];
extern const float kAnalysisHigh[4];
extern const float kSynthesisLow[4];
extern const float kSynthesisHigh[5];
extern const int32_t kAnalysisLow16[5];
extern const int32_t kAnalysisHigh16[4];
extern const int32_t kSynthesisLow16[4];
extern const int32_t kSynthesisHigh16[5];

}  // namespace zeq::wt

#endif  // ZEQ_JPEG2000_WAVELET97_H
