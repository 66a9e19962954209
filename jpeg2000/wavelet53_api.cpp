// Exported 5/3 functions: checks, then one member kernel (wavelet53.h). The
// 16s and 32s members differ only in the element type.
#include "core/arg_checks.h"
#include "jpeg2000/wavelet53.h"
#include "jpeg2000/wavelet_api.h"

using namespace zeq;
using namespace zeq::wt;

#define ZEQ_B53_EXPORTS(t, T, sampleBytes)                                                        \
    extern "C" ZeqStatus zeqiWTFwdRow_B53_JPEG2K_##t##_C1R(                                       \
        const T* src, int32_t srcStep, T* dstLow, int32_t dstLowStep, T* dstHigh,                 \
        int32_t dstHighStep, ZeqiSize dstRoiSize, int32_t phase) {                                \
        return forwardLines(forwardRows53<T>, src, srcStep, dstLow, dstLowStep, dstHigh,          \
                            dstHighStep, dstRoiSize, phase);                                      \
    }                                                                                             \
    extern "C" ZeqStatus zeqiWTFwdCol_B53_JPEG2K_##t##_C1R(                                       \
        const T* src, int32_t srcStep, T* dstLow, int32_t dstLowStep, T* dstHigh,                 \
        int32_t dstHighStep, ZeqiSize dstRoiSize, int32_t phase) {                                \
        return forwardLines(forwardColumns53<T>, src, srcStep, dstLow, dstLowStep, dstHigh,       \
                            dstHighStep, dstRoiSize, phase);                                      \
    }                                                                                             \
    extern "C" ZeqStatus zeqiWTInvRow_B53_JPEG2K_##t##_C1R(                                       \
        const T* srcLow, int32_t srcLowStep, const T* srcHigh, int32_t srcHighStep,               \
        ZeqiSize srcRoiSize, T* dst, int32_t dstStep, int32_t phase) {                            \
        return inverseLines(inverseRows53<T>, srcLow, srcLowStep, srcHigh, srcHighStep,           \
                            srcRoiSize, dst, dstStep, phase);                                     \
    }                                                                                             \
    extern "C" ZeqStatus zeqiWTInvCol_B53_JPEG2K_##t##_C1R(                                       \
        const T* srcLow, int32_t srcLowStep, const T* srcHigh, int32_t srcHighStep,               \
        ZeqiSize srcRoiSize, T* dst, int32_t dstStep, int32_t phase) {                            \
        return inverseLines(inverseColumns53<T>, srcLow, srcLowStep, srcHigh, srcHighStep,        \
                            srcRoiSize, dst, dstStep, phase);                                     \
    }                                                                                             \
    extern "C" ZeqStatus zeqiWTFwdColLift_B53_JPEG2K_##t##_C1(                                    \
        const T* srcEven0, const T* srcOdd, const T* srcEven1, T* dstLow, const T* srcHighPrev,   \
        T* dstHigh, int32_t width) {                                                              \
        if (ZeqStatus s = ArgChecks()                                                             \
                              .pointers(srcEven0, srcOdd, srcEven1, dstLow, srcHighPrev, dstHigh) \
                              .length(width)                                                      \
                              .status())                                                          \
            return s;                                                                             \
        forwardColumnLift53<T>(bytes(srcEven0), bytes(srcOdd), bytes(srcEven1), bytes(dstLow),    \
                               bytes(srcHighPrev), bytes(dstHigh), width);                        \
        return StatusOk;                                                                          \
    }                                                                                             \
    extern "C" ZeqStatus zeqiWTInvColLift_B53_JPEG2K_##t##_C1(                                    \
        const T* srcLow1, const T* srcHigh0, const T* srcHigh1, const T* srcEven0, T* dstOdd,     \
        T* dstEven1, int32_t width) {                                                             \
        if (ZeqStatus s = ArgChecks()                                                             \
                              .pointers(srcLow1, srcHigh0, srcHigh1, srcEven0, dstOdd, dstEven1)  \
                              .length(width)                                                      \
                              .status())                                                          \
            return s;                                                                             \
        inverseColumnLift53<T>(bytes(srcLow1), bytes(srcHigh0), bytes(srcHigh1), bytes(srcEven0), \
                               bytes(dstOdd), bytes(dstEven1), width);                            \
        return StatusOk;                                                                          \
    }                                                                                             \
    extern "C" ZeqStatus zeqiWTFwd_B53_JPEG2K_##t##_C1IR(                                         \
        T* srcDst, int32_t srcDstStep, const ZeqiRect* tileRect, uint8_t* buffer) {               \
        return levelInPlace(forwardLevel53<T>, srcDst, srcDstStep, tileRect, buffer);             \
    }                                                                                             \
    extern "C" ZeqStatus zeqiWTInv_B53_JPEG2K_##t##_C1IR(                                         \
        T* srcDst, int32_t srcDstStep, const ZeqiRect* tileRect, uint8_t* buffer) {               \
        return levelInPlace(inverseLevel53<T>, srcDst, srcDstStep, tileRect, buffer);             \
    }                                                                                             \
    extern "C" ZeqStatus zeqiWTFwd_B53_JPEG2K_##t##_C1R(                                          \
        const T* src, int32_t srcStep, const ZeqiRect* tileRect, T* const dst[4],                 \
        const int32_t dstStep[4], uint8_t* buffer) {                                              \
        return levelForwardCopying(forwardLevelCopy53<T>, src, srcStep, tileRect, dst, dstStep,   \
                                   buffer);                                                       \
    }                                                                                             \
    extern "C" ZeqStatus zeqiWTInv_B53_JPEG2K_##t##_C1R(                                          \
        const T* const src[4], const int32_t srcStep[4], T* dst, int32_t dstStep,                 \
        const ZeqiRect* tileRect, uint8_t* buffer) {                                              \
        return levelInverseCopying(inverseLevelCopy53<T>, src, srcStep, dst, dstStep, tileRect,   \
                                   buffer);                                                       \
    }                                                                                             \
    extern "C" ZeqStatus zeqiWTGetBufSize_B53_JPEG2K_##t##_C1IR(const ZeqiRect* tileRect,         \
                                                                int32_t* size) {                  \
        return bufferSize(levelBufferSize53, tileRect, size, sampleBytes, false);                 \
    }                                                                                             \
    extern "C" ZeqStatus zeqiWTGetBufSize_B53_JPEG2K_##t##_C1R(const ZeqiRect* tileRect,          \
                                                               int32_t* size) {                   \
        return bufferSize(levelBufferSize53, tileRect, size, sampleBytes, true);                  \
    }

ZEQ_B53_EXPORTS(16s, int16_t, 2)
ZEQ_B53_EXPORTS(32s, int32_t, 4)
