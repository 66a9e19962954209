// Exported 9/7 functions: checks, then one member kernel (wavelet97.h).
#include "core/arg_checks.h"
#include "jpeg2000/wavelet97.h"
#include "jpeg2000/wavelet_api.h"

using namespace zeq;
using namespace zeq::wt;

#define ZEQ_D97_LINE_EXPORTS(t, T)                                                                \
    ZEQ_WT_FORWARD_LINES_EXPORT(zeqiWTFwdRow_D97_JPEG2K_##t##_C1R, T, forwardRows97<T>)           \
    ZEQ_WT_INVERSE_LINES_EXPORT(zeqiWTInvRow_D97_JPEG2K_##t##_C1R, T, inverseRows97<T>)           \
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

ZEQ_WT_FORWARD_LINES_EXPORT(zeqiWTFwdCol_D97_JPEG2K_32f_C1R, float, forwardColumns97)
ZEQ_WT_INVERSE_LINES_EXPORT(zeqiWTInvCol_D97_JPEG2K_32f_C1R, float, inverseColumns97)
ZEQ_WT_LEVEL_EXPORTS(D97, 16s, int16_t, Level97<int16_t>, levelBufferSize97)
ZEQ_WT_LEVEL_EXPORTS(D97, 32s, int32_t, Level97<int32_t>, levelBufferSize97)
