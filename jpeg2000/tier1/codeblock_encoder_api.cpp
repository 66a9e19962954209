// Exported functions of the code-block encoder.
#include "core/arg_checks.h"
#include "jpeg2000/tier1/codeblock_encoder.h"

using namespace zeq;

namespace {

// The state record, then its identifier.
ZeqStatus checkState(const CodeBlockEncodeState* s) {
    if (s == nullptr) return StatusNullPointer;
    return t1::hasEncodeId(s) ? StatusOk : StatusContextMismatch;
}

// The checks shared by the three per-pass queries; the index bound is read
// only from a record whose identifier matched.
ZeqStatus checkQuery(const CodeBlockEncodeState* s, int32_t index, const void* out,
                     int32_t EncodeCodingRecord::*count) {
    if (ZeqStatus st = checkState(s)) return st;
    if (out == nullptr) return StatusNullPointer;
    return index < 0 || index >= s->coding->*count ? StatusBadPassIndex : StatusOk;
}

}  // namespace

extern "C" ZeqStatus zeqiEncodeInitAlloc_JPEG2K(CodeBlockEncodeState** pState,
                                                ZeqiSize codeBlockMaxSize) {
    if (ZeqStatus s = ArgChecks().pointer(pState).size(codeBlockMaxSize).status()) return s;
    return t1::allocateEncodeState(pState, codeBlockMaxSize);
}

extern "C" ZeqStatus zeqiEncodeFree_JPEG2K(CodeBlockEncodeState* pState) {
    if (ZeqStatus s = ArgChecks().pointer(pState).status()) return s;
    t1::releaseEncodeState(pState);
    return StatusOk;
}

extern "C" ZeqStatus zeqiEncodeLoadCodeBlock_JPEG2K_32s_C1R(
    const int32_t* pSrc, int32_t srcStep, ZeqiSize codeBlockSize, CodeBlockEncodeState* pState,
    int32_t subband, int32_t magnBitDepth, int32_t mqTermType, int32_t reserved,
    int32_t codeStyleFlags, int32_t* pSfBits, int32_t* pNOfPasses, int32_t* pNOfTermPasses) {
    (void)reserved;
    if (ZeqStatus s = checkState(pState)) return s;
    if (ZeqStatus s = ArgChecks()
                          .pointers(pSfBits, pNOfPasses, pNOfTermPasses)
                          .length(codeBlockSize.height)
                          .length(codeBlockSize.width)
                          .image(pSrc, srcStep)
                          .status())
        return s;
    const t1::LoadResult r =
        t1::loadCodeBlock(reinterpret_cast<const uint8_t*>(pSrc), srcStep, codeBlockSize, pState,
                          subband, magnBitDepth, mqTermType, codeStyleFlags);
    *pSfBits = r.significantPlanes;
    *pNOfPasses = r.passes;
    *pNOfTermPasses = r.segments;
    return StatusOk;
}

extern "C" ZeqStatus zeqiEncodeStoreBits_JPEG2K_1u(uint8_t* pDst, int32_t* pDstLen,
                                                   CodeBlockEncodeState* pState,
                                                   int32_t* pIsNotFinished) {
    if (ZeqStatus s = checkState(pState)) return s;
    if (ZeqStatus s = ArgChecks().pointers(pDst, pDstLen, pIsNotFinished).status()) return s;
    if (*pDstLen < 1) return StatusBadSize;
    if (pState->coding->passCount == 0) {
        *pDstLen = 0;
        *pIsNotFinished = 0;
        return StatusOk;
    }
    *pIsNotFinished = t1::storeBits(pState, pDst, pDstLen) ? 1 : 0;
    return StatusOk;
}

extern "C" ZeqStatus zeqiEncodeGetRate_JPEG2K(const CodeBlockEncodeState* pState, int32_t passIndex,
                                              uint32_t* pRate) {
    if (ZeqStatus s = checkQuery(pState, passIndex, pRate, &EncodeCodingRecord::passCount))
        return s;
    *pRate = pState->coding->passRate[passIndex];
    return StatusOk;
}

extern "C" ZeqStatus zeqiEncodeGetDist_JPEG2K(const CodeBlockEncodeState* pState, int32_t passIndex,
                                              double* pDist) {
    if (ZeqStatus s = checkQuery(pState, passIndex, pDist, &EncodeCodingRecord::passCount))
        return s;
    *pDist = t1::cumulativeDistortion(pState, passIndex);
    return StatusOk;
}

extern "C" ZeqStatus zeqiEncodeGetTermPassLen_JPEG2K(const CodeBlockEncodeState* pState,
                                                     int32_t segmentIndex, int32_t* pLen) {
    if (ZeqStatus s = checkQuery(pState, segmentIndex, pLen, &EncodeCodingRecord::segmentCount))
        return s;
    *pLen = t1::segmentLength(pState, segmentIndex);
    return StatusOk;
}
