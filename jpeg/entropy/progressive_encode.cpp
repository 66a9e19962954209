#include "jpeg/entropy/progressive_encode.h"

namespace zeq {

ZeqStatus encodeDCFirstWithState(const int16_t* src, uint8_t* dst, int32_t dstLen, int32_t* dstPos,
                                 int16_t* lastDC, int al, const HuffmanEncodeSpec* dc,
                                 HuffmanEncodeState* state) {
    BoundedBitWriter out(dst, dstLen, *dstPos, state);
    const ZeqStatus status = encodeDCFirst(src[0], lastDC, al, dc, out);
    out.close(dstPos, state);
    return status;
}

// Bit al of the coefficient as it is stored (two's complement).
ZeqStatus encodeDCRefineWithState(const int16_t* src, uint8_t* dst, int32_t dstLen, int32_t* dstPos,
                                  int al, HuffmanEncodeState* state) {
    BoundedBitWriter out(dst, dstLen, *dstPos, state);
    const ZeqStatus status = out.bits(static_cast<uint32_t>(src[0] >> al), 1);
    out.close(dstPos, state);
    return status;
}

ZeqStatus flushBandWithState(uint8_t* dst, int32_t dstLen, int32_t* dstPos,
                             const HuffmanEncodeSpec* ac, HuffmanEncodeState* state,
                             bool refinement) {
    BandRun run = loadBandRun(state, refinement);
    const ZeqStatus status =
        codeIntoStream(dst, dstLen, dstPos, state, kWorstCaseProgressiveBytes,
                       [&](auto& out) { return emitEobRun(run, ac, out, refinement); });
    if (status != StatusOk) {
        resetEncodeState(state);
        return status;
    }
    return flushEncodeState(dst, dstLen, dstPos, state);
}

}  // namespace zeq
