// Exported functions of the progressive code-block decoder.
#include "core/arg_checks.h"
#include "core/memory.h"
#include "jpeg2000/tier1/progressive_decoder.h"

using namespace zeq;

namespace {

ZeqStatus checkState(const ProgressiveDecodeState* s) {
    if (s == nullptr) return StatusNullPointer;
    return t1::hasDecodeId(s) ? StatusOk : StatusContextMismatch;
}

}  // namespace

extern "C" ZeqStatus zeqiDecodeCBProgrGetStateSize_JPEG2K(ZeqiSize codeBlockMaxSize,
                                                          int32_t* pStateSize) {
    // The size is checked before the pointer.
    if (ZeqStatus s = ArgChecks().size(codeBlockMaxSize).pointer(pStateSize).status()) return s;
    const int64_t size = t1::decodeStateSize(codeBlockMaxSize);
    if (size > INT32_MAX) return StatusBadSize;
    *pStateSize = static_cast<int32_t>(size);
    return StatusOk;
}

extern "C" ZeqStatus zeqiDecodeCBProgrInit_JPEG2K(ProgressiveDecodeState* pState) {
    if (ZeqStatus s = ArgChecks().pointer(pState).status()) return s;
    t1::initDecodeState(pState);
    return StatusOk;
}

extern "C" ZeqStatus zeqiDecodeCBProgrInitAlloc_JPEG2K(ProgressiveDecodeState** pState,
                                                       ZeqiSize codeBlockMaxSize) {
    if (ZeqStatus s = ArgChecks().pointer(pState).size(codeBlockMaxSize).status()) return s;
    const int64_t size = t1::decodeStateSize(codeBlockMaxSize);
    void* p = size > INT32_MAX ? nullptr : allocateBuffer(static_cast<int32_t>(size));
    *pState = static_cast<ProgressiveDecodeState*>(p);
    if (p == nullptr) return StatusNoMemory;
    t1::initDecodeState(*pState);
    return StatusOk;
}

extern "C" ZeqStatus zeqiDecodeCBProgrFree_JPEG2K(ProgressiveDecodeState* pState) {
    if (ZeqStatus s = checkState(pState)) return s;
    releaseBuffer(pState);
    return StatusOk;
}

extern "C" ZeqStatus zeqiDecodeCBProgrAttach_JPEG2K_32s_C1R(int32_t* pDst, int32_t dstStep,
                                                            ZeqiSize codeBlockSize,
                                                            ProgressiveDecodeState* pState,
                                                            int32_t subband, int32_t sfBits,
                                                            int32_t codeStyleFlags) {
    if (ZeqStatus s = checkState(pState)) return s;
    if (ZeqStatus s = ArgChecks()
                          .image(pDst, dstStep)
                          .length(codeBlockSize.height)
                          .length(codeBlockSize.width)
                          .status())
        return s;
    t1::attachCodeBlock(pState, reinterpret_cast<uint8_t*>(pDst), dstStep, codeBlockSize, subband,
                        sfBits, codeStyleFlags);
    return StatusOk;
}

extern "C" ZeqStatus zeqiDecodeCBProgrSetPassCounter_JPEG2K(int32_t nOfPasses,
                                                            ProgressiveDecodeState* pState) {
    if (ZeqStatus s = checkState(pState)) return s;
    pState->passCounter = nOfPasses;
    return StatusOk;
}

extern "C" ZeqStatus zeqiDecodeCBProgrGetPassCounter_JPEG2K(const ProgressiveDecodeState* pState,
                                                            int32_t* pNOfPasses) {
    if (ZeqStatus s = ArgChecks().pointers(pState, pNOfPasses).status()) return s;
    if (ZeqStatus s = checkState(pState)) return s;
    *pNOfPasses = pState->passCounter;
    return StatusOk;
}

extern "C" ZeqStatus zeqiDecodeCBProgrGetCurBitPlaneNum_JPEG2K(const ProgressiveDecodeState* pState,
                                                               int32_t* pBitPlaneNum) {
    if (ZeqStatus s = checkState(pState)) return s;
    if (ZeqStatus s = ArgChecks().pointer(pBitPlaneNum).status()) return s;
    *pBitPlaneNum = pState->bitPlane;
    return StatusOk;
}

extern "C" ZeqStatus zeqiDecodeCBProgrStep_JPEG2K(const uint8_t* pSrc, int32_t srcLen,
                                                  ProgressiveDecodeState* pState) {
    if (ZeqStatus s = ArgChecks().pointers(pSrc, pState).status()) return s;
    if (ZeqStatus s = checkState(pState)) return s;
    if (!pState->attached) return StatusNotAttached;
    if (pState->errorLatch) return StatusCodeBlockCorrupt;
    return t1::decodeStep(pState, pSrc, srcLen);
}
