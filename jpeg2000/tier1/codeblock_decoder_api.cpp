// Exported one-shot code-block decoder: a driver over the exported functions
// of the progressive decoder, then the output clean-up.
#include "core/arg_checks.h"
#include "jpeg2000/tier1/progressive_decoder.h"

using namespace zeq;

extern "C" ZeqStatus zeqiDecodeGetBufSize_JPEG2K(ZeqiSize codeBlockSize, int32_t* pSize) {
    return zeqiDecodeCBProgrGetStateSize_JPEG2K(codeBlockSize, pSize);
}

extern "C" ZeqStatus zeqiDecodeCodeBlock_JPEG2K_1u32s_C1R(
    const uint8_t* pSrc, int32_t* pDst, int32_t dstStep, ZeqiSize codeBlockSize, int32_t subband,
    int32_t sfBits, int32_t nOfPasses, const int32_t* pTermPassLen, int32_t nOfTermPasses,
    int32_t codeStyleFlags, int32_t* pErrorBitPlane, ProgressiveDecodeState* pState) {
    if (ZeqStatus s = ArgChecks()
                          .pointers(pSrc, pState)
                          .size(codeBlockSize)
                          .pointers(pTermPassLen, pDst)
                          .steps(dstStep)
                          .status())
        return s;
    zeqiDecodeCBProgrInit_JPEG2K(pState);
    zeqiDecodeCBProgrAttach_JPEG2K_32s_C1R(pDst, dstStep, codeBlockSize, pState, subband, sfBits,
                                           codeStyleFlags);
    zeqiDecodeCBProgrSetPassCounter_JPEG2K(nOfPasses, pState);
    ZeqStatus status = StatusOk;
    const uint8_t* segment = pSrc;
    for (int32_t i = 0; i < nOfTermPasses && status == StatusOk; ++i) {
        // A negative length reads nothing and does not move the input back.
        const int32_t length = pTermPassLen[i] > 0 ? pTermPassLen[i] : 0;
        status = zeqiDecodeCBProgrStep_JPEG2K(segment, length, pState);
        segment += length;
    }
    int32_t plane = 0;
    zeqiDecodeCBProgrGetCurBitPlaneNum_JPEG2K(pState, &plane);
    uint8_t* dst = reinterpret_cast<uint8_t*>(pDst);
    if (status == StatusCodeBlockCorrupt) {
        if (pErrorBitPlane != nullptr) *pErrorBitPlane = plane;
        if (codeStyleFlags & t1::kFlagMidpointAfterCorruption)
            t1::reconstructAfterCorruption(dst, dstStep, codeBlockSize, plane);
    }
    if (!(codeStyleFlags & t1::kFlagNoFinalTruncation))
        t1::truncateBelowPlane(dst, dstStep, codeBlockSize, plane);
    return status;
}
