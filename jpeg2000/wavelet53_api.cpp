// Exported 5/3 functions: checks, then one member kernel (wavelet53.h). The
// 16s and 32s members differ only in the element type.
#include "core/arg_checks.h"
#include "jpeg2000/wavelet53.h"
#include "jpeg2000/wavelet_api.h"

using namespace zeq;
using namespace zeq::wt;

#define ZEQ_B53_EXPORTS(t, T)                                                                     \
    ZEQ_WT_FORWARD_LINES_EXPORT(zeqiWTFwdRow_B53_JPEG2K_##t##_C1R, T, forwardRows53<T>)           \
    ZEQ_WT_FORWARD_LINES_EXPORT(zeqiWTFwdCol_B53_JPEG2K_##t##_C1R, T, forwardColumns53<T>)        \
    ZEQ_WT_INVERSE_LINES_EXPORT(zeqiWTInvRow_B53_JPEG2K_##t##_C1R, T, inverseRows53<T>)           \
    ZEQ_WT_INVERSE_LINES_EXPORT(zeqiWTInvCol_B53_JPEG2K_##t##_C1R, T, inverseColumns53<T>)        \
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
    }

ZEQ_B53_EXPORTS(16s, int16_t)
ZEQ_B53_EXPORTS(32s, int32_t)
ZEQ_WT_LEVEL_EXPORTS(B53, 16s, int16_t, Level53<int16_t>, levelBufferSize53)
ZEQ_WT_LEVEL_EXPORTS(B53, 32s, int32_t, Level53<int32_t>, levelBufferSize53)
