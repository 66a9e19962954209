// Exported 9/7 functions: checks, then one member kernel (wavelet97.h).
#include "core/arg_checks.h"
#include "jpeg2000/wavelet97.h"
#include "jpeg2000/wavelet_api.h"

using namespace zeq;
using namespace zeq::wt;

#define ZEQ_D97_LINE_EXPORTS(t, T)                                                                \
    extern "C" ZeqStatus zeqiWTFwdRow_D97_JPEG2K_##t##_C1R(                                       \
        const T* src, int32_t srcStep, T* dstLow, int32_t dstLowStep, T* dstHigh,                 \
        int32_t dstHighStep, ZeqiSize dstRoiSize, int32_t phase) {                                \
        return forwardLines(forwardRows97<T>, src, srcStep, dstLow, dstLowStep, dstHigh,          \
                            dstHighStep, dstRoiSize, phase);                                      \
    }                                                                                             \
    extern "C" ZeqStatus zeqiWTInvRow_D97_JPEG2K_##t##_C1R(                                       \
        const T* srcLow, int32_t srcLowStep, const T* srcHigh, int32_t srcHighStep,               \
        ZeqiSize srcRoiSize, T* dst, int32_t dstStep, int32_t phase) {                            \
        return inverseLines(inverseRows97<T>, srcLow, srcLowStep, srcHigh, srcHighStep,           \
                            srcRoiSize, dst, dstStep, phase);                                     \
    }                                                                                             \
    extern "C" ZeqStatus zeqiWTFwdColLift_D97_JPEG2K_##t##_C1(                                    \
        const T* srcEven1, const T* srcOdd, const T* srcEven0, T* lowPrev, T* dstLow, T* highOld, \
        T* highPrev, T* dstHigh, int32_t width) {                                                 \
        if (ZeqStatus s = ArgChecks()                                                             \
                              .pointers(srcEven1, srcOdd, srcEven0, lowPrev, dstLow, highOld,     \
                                        highPrev, dstHigh)                                        \
                              .length(width)                                                      \
                              .status())                                                          \
            return s;                                                                             \
        forwardColumnLift97<T>(bytes(srcEven1), bytes(srcOdd), bytes(srcEven0), bytes(lowPrev),   \
                               bytes(dstLow), bytes(highOld), bytes(highPrev), bytes(dstHigh),    \
                               width);                                                            \
        return StatusOk;                                                                          \
    }                                                                                             \
    extern "C" ZeqStatus zeqiWTInvColLift_D97_JPEG2K_##t##_C1(                                    \
        const T* srcLow1, const T* srcHigh1, const T* srcHigh0, T* lowPrev, T* dstLow,            \
        const T* srcEvenOld, T* highPrev, T* dstHigh, int32_t width) {                            \
        if (ZeqStatus s = ArgChecks()                                                             \
                              .pointers(srcLow1, srcHigh1, srcHigh0, lowPrev, dstLow, srcEvenOld, \
                                        highPrev, dstHigh)                                        \
                              .length(width)                                                      \
                              .status())                                                          \
            return s;                                                                             \
        inverseColumnLift97<T>(bytes(srcLow1), bytes(srcHigh1), bytes(srcHigh0), bytes(lowPrev),  \
                               bytes(dstLow), bytes(srcEvenOld), bytes(highPrev), bytes(dstHigh), \
                               width);                                                            \
        return StatusOk;                                                                          \
    }

ZEQ_D97_LINE_EXPORTS(16s, int16_t)
ZEQ_D97_LINE_EXPORTS(32s, int32_t)
ZEQ_D97_LINE_EXPORTS(32f, float)

extern "C" ZeqStatus zeqiWTFwdCol_D97_JPEG2K_32f_C1R(const float* src, int32_t srcStep,
                                                     float* dstLow, int32_t dstLowStep,
                                                     float* dstHigh, int32_t dstHighStep,
                                                     ZeqiSize dstRoiSize, int32_t phase) {
    return forwardLines(forwardColumns97, src, srcStep, dstLow, dstLowStep, dstHigh, dstHighStep,
                        dstRoiSize, phase);
}

extern "C" ZeqStatus zeqiWTInvCol_D97_JPEG2K_32f_C1R(const float* srcLow, int32_t srcLowStep,
                                                     const float* srcHigh, int32_t srcHighStep,
                                                     ZeqiSize srcRoiSize, float* dst,
                                                     int32_t dstStep, int32_t phase) {
    return inverseLines(inverseColumns97, srcLow, srcLowStep, srcHigh, srcHighStep, srcRoiSize, dst,
                        dstStep, phase);
}

#define ZEQ_D97_LEVEL_EXPORTS(t, T, sampleBytes)                                                \
    extern "C" ZeqStatus zeqiWTFwd_D97_JPEG2K_##t##_C1IR(                                       \
        T* srcDst, int32_t srcDstStep, const ZeqiRect* tileRect, uint8_t* buffer) {             \
        return levelInPlace(forwardLevel97<T>, srcDst, srcDstStep, tileRect, buffer);           \
    }                                                                                           \
    extern "C" ZeqStatus zeqiWTInv_D97_JPEG2K_##t##_C1IR(                                       \
        T* srcDst, int32_t srcDstStep, const ZeqiRect* tileRect, uint8_t* buffer) {             \
        return levelInPlace(inverseLevel97<T>, srcDst, srcDstStep, tileRect, buffer);           \
    }                                                                                           \
    extern "C" ZeqStatus zeqiWTFwd_D97_JPEG2K_##t##_C1R(                                        \
        const T* src, int32_t srcStep, const ZeqiRect* tileRect, T* const dst[4],               \
        const int32_t dstStep[4], uint8_t* buffer) {                                            \
        return levelForwardCopying(forwardLevelCopy97<T>, src, srcStep, tileRect, dst, dstStep, \
                                   buffer);                                                     \
    }                                                                                           \
    extern "C" ZeqStatus zeqiWTInv_D97_JPEG2K_##t##_C1R(                                        \
        const T* const src[4], const int32_t srcStep[4], T* dst, int32_t dstStep,               \
        const ZeqiRect* tileRect, uint8_t* buffer) {                                            \
        return levelInverseCopying(inverseLevelCopy97<T>, src, srcStep, dst, dstStep, tileRect, \
                                   buffer);                                                     \
    }                                                                                           \
    extern "C" ZeqStatus zeqiWTGetBufSize_D97_JPEG2K_##t##_C1IR(const ZeqiRect* tileRect,       \
                                                                int32_t* size) {                \
        return bufferSize(levelBufferSize97, tileRect, size, sampleBytes, false);               \
    }                                                                                           \
    extern "C" ZeqStatus zeqiWTGetBufSize_D97_JPEG2K_##t##_C1R(const ZeqiRect* tileRect,        \
                                                               int32_t* size) {                 \
        return bufferSize(levelBufferSize97, tileRect, size, sampleBytes, true);                \
    }

ZEQ_D97_LEVEL_EXPORTS(16s, int16_t, 2)
ZEQ_D97_LEVEL_EXPORTS(32s, int32_t, 4)
