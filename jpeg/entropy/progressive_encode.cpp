#include "jpeg/entropy/progressive_encode.h"

namespace zeq {

namespace {

constexpr size_t kEobRunAt = offsetof(HuffmanEncodeState, eobRun);
constexpr size_t kCorrectionCountAt = offsetof(HuffmanEncodeState, correctionCount);
constexpr size_t kCorrectionBitsAt = offsetof(HuffmanEncodeState, correctionBits);
// A block appends at most one bit per coefficient behind the run's bits.
constexpr int32_t kLargestCarriedCorrectionCount = kCorrectionBitsCapacity - kBlockSize;
// Far beyond any valid run, and far from overflow when a block adds to it.
constexpr int32_t kLargestCarriedEobRun = int32_t{1} << 30;

}  // namespace

BandRun loadBandRun(HuffmanEncodeState* state, bool withCorrectionBits) {
    BandRun run;
    run.eobRun = std::clamp(loadField<int32_t>(state, kEobRunAt), 0, kLargestCarriedEobRun);
    run.correctionCount = std::clamp(loadField<int32_t>(state, kCorrectionCountAt), 0,
                                     kLargestCarriedCorrectionCount);
    run.correctionBits =
        withCorrectionBits ? reinterpret_cast<uint8_t*>(state) + kCorrectionBitsAt : nullptr;
    return run;
}

void storeBandRun(HuffmanEncodeState* state, const BandRun& run) {
    storeField<int32_t>(state, kEobRunAt, run.eobRun);
    storeField<int32_t>(state, kCorrectionCountAt, run.correctionCount);
}

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
