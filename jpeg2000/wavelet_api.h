// Argument checks and the one kernel call shared by the exported 5/3 and
// 9/7 functions: each exported function is one call of these with its
// member kernel. Checks run in parameter order, first failure wins, nothing
// is written on failure.
#ifndef ZEQ_JPEG2000_WAVELET_API_H
#define ZEQ_JPEG2000_WAVELET_API_H

#include <cstdint>

#include "core/arg_checks.h"
#include "jpeg2000/wavelet_level.h"
#include "zeqj.h"

namespace zeq::wt {

inline uint8_t* bytes(void* p) { return static_cast<uint8_t*>(p); }
inline const uint8_t* bytes(const void* p) { return static_cast<const uint8_t*>(p); }

// The tile's size for the size check (any valid size when the pointer is
// null: the null check comes first).
inline ZeqiSize tileSize(const ZeqiRect* r) {
    return r ? ZeqiSize{r->width, r->height} : ZeqiSize{1, 1};
}

using ForwardLineKernel = void (*)(const uint8_t*, int32_t, uint8_t*, int32_t, uint8_t*, int32_t,
                                   ZeqiSize, int);
using InverseLineKernel = void (*)(const uint8_t*, int32_t, const uint8_t*, int32_t, ZeqiSize,
                                   uint8_t*, int32_t, int);

// Row and Col members. The phase is the parity of the first sample: only
// its lowest bit counts.
template <class T>
ZeqStatus forwardLines(ForwardLineKernel kernel, const T* src, int32_t srcStep, T* low,
                       int32_t lowStep, T* high, int32_t highStep, ZeqiSize roi, int32_t phase) {
    if (ZeqStatus s = ArgChecks()
                          .image(src, srcStep)
                          .image(low, lowStep)
                          .image(high, highStep)
                          .size(roi)
                          .status())
        return s;
    kernel(bytes(src), srcStep, bytes(low), lowStep, bytes(high), highStep, roi, phase & 1);
    return StatusOk;
}

// The region size is checked after all three images (sizes come last).
template <class T>
ZeqStatus inverseLines(InverseLineKernel kernel, const T* low, int32_t lowStep, const T* high,
                       int32_t highStep, ZeqiSize roi, T* dst, int32_t dstStep, int32_t phase) {
    if (ZeqStatus s = ArgChecks()
                          .image(low, lowStep)
                          .image(high, highStep)
                          .image(dst, dstStep)
                          .size(roi)
                          .status())
        return s;
    kernel(bytes(low), lowStep, bytes(high), highStep, roi, bytes(dst), dstStep, phase & 1);
    return StatusOk;
}

// Whole level in place: image, step, then rectangle and buffer, then size.
template <class T>
ZeqStatus levelInPlace(void (*kernel)(uint8_t*, int32_t, const ZeqiRect&, uint8_t*), T* image,
                       int32_t step, const ZeqiRect* rect, uint8_t* buffer) {
    if (ZeqStatus s =
            ArgChecks().image(image, step).pointers(rect, buffer).size(tileSize(rect)).status())
        return s;
    kernel(bytes(image), step, *rect, buffer);
    return StatusOk;
}

template <class T>
void bytePointers(T* const* planes, uint8_t* out[4]) {
    for (int i = 0; i < 4; ++i) out[i] = bytes(planes[i]);
}
template <class T>
void bytePointers(const T* const* planes, const uint8_t* out[4]) {
    for (int i = 0; i < 4; ++i) out[i] = bytes(planes[i]);
}

// Forward level into four subbands: source, subband array, step array,
// rectangle and buffer; source step; each subband; subband steps; size.
template <class T>
ZeqStatus levelForwardCopying(void (*kernel)(const uint8_t*, int32_t, const ZeqiRect&,
                                             uint8_t* const[4], const int32_t[4], uint8_t*),
                              const T* src, int32_t srcStep, const ZeqiRect* rect, T* const dst[4],
                              const int32_t dstStep[4], uint8_t* buffer) {
    ArgChecks c;
    c.pointers(src, dst, dstStep, rect, buffer).steps(srcStep);
    if (c.ok()) c.planes(dst, 4);
    if (c.ok()) c.steps(dstStep[0], dstStep[1], dstStep[2], dstStep[3]).size(tileSize(rect));
    if (!c.ok()) return c.status();
    uint8_t* d[4];
    bytePointers(dst, d);
    kernel(bytes(src), srcStep, *rect, d, dstStep, buffer);
    return StatusOk;
}

// Inverse level from four subbands: subband array, destination, step array,
// rectangle and buffer; destination step; each subband; subband steps; size.
template <class T>
ZeqStatus levelInverseCopying(void (*kernel)(const uint8_t* const[4], const int32_t[4], uint8_t*,
                                             int32_t, const ZeqiRect&, uint8_t*),
                              const T* const src[4], const int32_t srcStep[4], T* dst,
                              int32_t dstStep, const ZeqiRect* rect, uint8_t* buffer) {
    ArgChecks c;
    c.pointers(src, dst, srcStep, rect, buffer).steps(dstStep);
    if (c.ok()) c.planes(src, 4);
    if (c.ok()) c.steps(srcStep[0], srcStep[1], srcStep[2], srcStep[3]).size(tileSize(rect));
    if (!c.ok()) return c.status();
    const uint8_t* s[4];
    bytePointers(src, s);
    kernel(s, srcStep, bytes(dst), dstStep, *rect, buffer);
    return StatusOk;
}

// Buffer-size queries: both pointers, nothing else.
inline ZeqStatus bufferSize(int32_t (*formula)(const ZeqiRect&, int32_t, bool),
                            const ZeqiRect* rect, int32_t* size, int32_t sampleBytes, bool copies) {
    if (ZeqStatus s = ArgChecks().pointers(rect, size).status()) return s;
    *size = formula(*rect, sampleBytes, copies);
    return StatusOk;
}

}  // namespace zeq::wt

// A Row or Col export: forward (source to two bands) and inverse (two bands
// to samples), each one call of its member kernel.
#define ZEQ_WT_FORWARD_LINES_EXPORT(name, T, kernel)                                        \
    extern "C" ZeqStatus name(const T* src, int32_t srcStep, T* dstLow, int32_t dstLowStep, \
                              T* dstHigh, int32_t dstHighStep, ZeqiSize dstRoiSize,         \
                              int32_t phase) {                                              \
        return zeq::wt::forwardLines(kernel, src, srcStep, dstLow, dstLowStep, dstHigh,     \
                                     dstHighStep, dstRoiSize, phase);                       \
    }
#define ZEQ_WT_INVERSE_LINES_EXPORT(name, T, kernel)                                               \
    extern "C" ZeqStatus name(const T* srcLow, int32_t srcLowStep, const T* srcHigh,               \
                              int32_t srcHighStep, ZeqiSize srcRoiSize, T* dst, int32_t dstStep,   \
                              int32_t phase) {                                                     \
        return zeq::wt::inverseLines(kernel, srcLow, srcLowStep, srcHigh, srcHighStep, srcRoiSize, \
                                     dst, dstStep, phase);                                         \
    }

// The six whole-level exports of a family member (Level: its Level type;
// sizeFormula: its buffer-size function).
#define ZEQ_WT_LEVEL_EXPORTS(fam, t, T, Level, sizeFormula)                                     \
    extern "C" ZeqStatus zeqiWTFwd_##fam##_JPEG2K_##t##_C1IR(                                   \
        T* srcDst, int32_t srcDstStep, const ZeqiRect* tileRect, uint8_t* buffer) {             \
        return zeq::wt::levelInPlace(zeq::wt::LevelKernels<Level>::forward, srcDst, srcDstStep, \
                                     tileRect, buffer);                                         \
    }                                                                                           \
    extern "C" ZeqStatus zeqiWTInv_##fam##_JPEG2K_##t##_C1IR(                                   \
        T* srcDst, int32_t srcDstStep, const ZeqiRect* tileRect, uint8_t* buffer) {             \
        return zeq::wt::levelInPlace(zeq::wt::LevelKernels<Level>::inverse, srcDst, srcDstStep, \
                                     tileRect, buffer);                                         \
    }                                                                                           \
    extern "C" ZeqStatus zeqiWTFwd_##fam##_JPEG2K_##t##_C1R(                                    \
        const T* src, int32_t srcStep, const ZeqiRect* tileRect, T* const dst[4],               \
        const int32_t dstStep[4], uint8_t* buffer) {                                            \
        return zeq::wt::levelForwardCopying(zeq::wt::LevelKernels<Level>::forwardCopy, src,     \
                                            srcStep, tileRect, dst, dstStep, buffer);           \
    }                                                                                           \
    extern "C" ZeqStatus zeqiWTInv_##fam##_JPEG2K_##t##_C1R(                                    \
        const T* const src[4], const int32_t srcStep[4], T* dst, int32_t dstStep,               \
        const ZeqiRect* tileRect, uint8_t* buffer) {                                            \
        return zeq::wt::levelInverseCopying(zeq::wt::LevelKernels<Level>::inverseCopy, src,     \
                                            srcStep, dst, dstStep, tileRect, buffer);           \
    }                                                                                           \
    extern "C" ZeqStatus zeqiWTGetBufSize_##fam##_JPEG2K_##t##_C1IR(const ZeqiRect* tileRect,   \
                                                                    int32_t* size) {            \
        return zeq::wt::bufferSize(sizeFormula, tileRect, size, sizeof(T), false);              \
    }                                                                                           \
    extern "C" ZeqStatus zeqiWTGetBufSize_##fam##_JPEG2K_##t##_C1R(const ZeqiRect* tileRect,    \
                                                                   int32_t* size) {             \
        return zeq::wt::bufferSize(sizeFormula, tileRect, size, sizeof(T), true);               \
    }

#endif  // ZEQ_JPEG2000_WAVELET_API_H
