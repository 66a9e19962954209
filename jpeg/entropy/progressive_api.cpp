// Exported progressive block encoders and decoders.
#include "core/arg_checks.h"
#include "jpeg/entropy/progressive_decode.h"
#include "jpeg/entropy/progressive_encode.h"

using namespace zeq;

extern "C" ZeqStatus zeqiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(
    const int16_t* src, uint8_t* dst, int32_t dstLen, int32_t* dstPos, int16_t* lastDC, int32_t Al,
    const HuffmanEncodeSpec* dcTable, HuffmanEncodeState* state, int32_t flush) {
    if (ZeqStatus s = ArgChecks().pointer(dst).length(dstLen).pointers(dstPos, state).status())
        return s;
    if (flush != 0) return flushEncodeState(dst, dstLen, dstPos, state);
    if (ZeqStatus s = ArgChecks()
                          .pointers(src, lastDC)
                          .argument(validSuccessiveApproximationBit(Al))
                          .pointer(dcTable)
                          .status())
        return s;
    return encodeDCFirstWithState(src, dst, dstLen, dstPos, lastDC, Al, dcTable, state);
}

extern "C" ZeqStatus zeqiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst,
                                                                 int32_t dstLen, int32_t* dstPos,
                                                                 int32_t Al,
                                                                 HuffmanEncodeState* state,
                                                                 int32_t flush) {
    if (ZeqStatus s = ArgChecks().pointer(dst).length(dstLen).pointers(dstPos, state).status())
        return s;
    if (flush != 0) return flushEncodeState(dst, dstLen, dstPos, state);
    if (ZeqStatus s =
            ArgChecks().pointer(src).argument(validSuccessiveApproximationBit(Al)).status())
        return s;
    return encodeDCRefineWithState(src, dst, dstLen, dstPos, Al, state);
}

namespace {

// The AC encoders: destination, table and state; a flush codes the pending
// run; otherwise the block and its band.
ZeqStatus encodeBand(const int16_t* src, uint8_t* dst, int32_t dstLen, int32_t* dstPos, int32_t Ss,
                     int32_t Se, int32_t Al, const HuffmanEncodeSpec* acTable,
                     HuffmanEncodeState* state, int32_t flush, bool refinement) {
    if (ZeqStatus s =
            ArgChecks().pointer(dst).length(dstLen).pointers(dstPos, acTable, state).status())
        return s;
    if (flush != 0) return flushBandWithState(dst, dstLen, dstPos, acTable, state, refinement);
    if (ZeqStatus s = checkBandBlock(src, Ss, Se, Al)) return s;
    return encodeBandWithState(src, dst, dstLen, dstPos, Ss, Se, Al, acTable, state, refinement);
}

// The AC decoders test the band and Al before their table and state.
ZeqStatus decodeBand(const uint8_t* src, int32_t srcLen, int32_t* srcPos, int16_t* dst,
                     int32_t* marker, int32_t Ss, int32_t Se, int32_t Al,
                     const HuffmanDecodeSpec* acTable, HuffmanDecodeState* state, bool refinement) {
    if (ZeqStatus s = ArgChecks()
                          .pointer(src)
                          .length(srcLen)
                          .pointers(srcPos, dst, marker)
                          .argument(validSpectralBand(Ss, Se))
                          .argument(validSuccessiveApproximationBit(Al))
                          .pointers(acTable, state)
                          .status())
        return s;
    return decodeBandWithState(src, srcLen, srcPos, dst, marker, Ss, Se, Al, acTable, state,
                               refinement);
}

}  // namespace

extern "C" ZeqStatus zeqiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(
    const int16_t* src, uint8_t* dst, int32_t dstLen, int32_t* dstPos, int32_t Ss, int32_t Se,
    int32_t Al, const HuffmanEncodeSpec* acTable, HuffmanEncodeState* state, int32_t flush) {
    return encodeBand(src, dst, dstLen, dstPos, Ss, Se, Al, acTable, state, flush, false);
}

extern "C" ZeqStatus zeqiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(
    const int16_t* src, uint8_t* dst, int32_t dstLen, int32_t* dstPos, int32_t Ss, int32_t Se,
    int32_t Al, const HuffmanEncodeSpec* acTable, HuffmanEncodeState* state, int32_t flush) {
    return encodeBand(src, dst, dstLen, dstPos, Ss, Se, Al, acTable, state, flush, true);
}

// The DC decoders test Al after all their pointers.
extern "C" ZeqStatus zeqiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(
    const uint8_t* src, int32_t srcLen, int32_t* srcPos, int16_t* dst, int16_t* lastDC,
    int32_t* marker, int32_t Al, const HuffmanDecodeSpec* dcTable, HuffmanDecodeState* state) {
    if (ZeqStatus s = ArgChecks()
                          .pointer(src)
                          .length(srcLen)
                          .pointers(srcPos, dst, lastDC, marker, dcTable, state)
                          .argument(validSuccessiveApproximationBit(Al))
                          .status())
        return s;
    return decodeDCFirstWithState(src, srcLen, srcPos, dst, lastDC, marker, Al, dcTable, state);
}

extern "C" ZeqStatus zeqiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(const uint8_t* src, int32_t srcLen,
                                                                 int32_t* srcPos, int16_t* dst,
                                                                 int32_t* marker, int32_t Al,
                                                                 HuffmanDecodeState* state) {
    if (ZeqStatus s = ArgChecks()
                          .pointer(src)
                          .length(srcLen)
                          .pointers(srcPos, dst, marker, state)
                          .argument(validSuccessiveApproximationBit(Al))
                          .status())
        return s;
    return decodeDCRefineWithState(src, srcLen, srcPos, dst, marker, Al, state);
}

extern "C" ZeqStatus zeqiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(
    const uint8_t* src, int32_t srcLen, int32_t* srcPos, int16_t* dst, int32_t* marker, int32_t Ss,
    int32_t Se, int32_t Al, const HuffmanDecodeSpec* acTable, HuffmanDecodeState* state) {
    return decodeBand(src, srcLen, srcPos, dst, marker, Ss, Se, Al, acTable, state, false);
}

extern "C" ZeqStatus zeqiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(
    const uint8_t* src, int32_t srcLen, int32_t* srcPos, int16_t* dst, int32_t* marker, int32_t Ss,
    int32_t Se, int32_t Al, const HuffmanDecodeSpec* acTable, HuffmanDecodeState* state) {
    return decodeBand(src, srcLen, srcPos, dst, marker, Ss, Se, Al, acTable, state, true);
}
