#include "jpeg/entropy/baseline_decode.h"

#include <cstring>

#include "jpeg/entropy/scan_order.h"

namespace zeq {

namespace {

// Covered positions: the next zigzag index, which is 64 minus the positions
// still to decode.
template <class Reader>
ZEQ_ENTROPY_INLINE ZeqStatus decodeBlockBody(Reader& in, int16_t* dst, int16_t* lastDC,
                                             const HuffmanDecodeSpec* dc,
                                             const HuffmanDecodeSpec* ac, int& next) {
    int symbol;
    if (ZeqStatus status = in.symbol(dc, &symbol)) return status;
    next = 1;
    if (ZeqStatus status = dcValueOfSymbol(in, symbol, lastDC, &dst[0])) return status;

    while (next < kBlockSize) {
        if (ZeqStatus status = in.symbol(ac, &symbol)) return status;
        const int run = (symbol >> 4) & 15;
        const int size = symbol & kCategoryMask;
        if (size == 0) {
            if (run != kZeroRunCode) return StatusOk;  // EOB
            next += kZeroRunLength;
            continue;
        }
        const int k = next + run;
        next = k + 1;
        if (k >= kBlockSize + kOverrunTolerance) return StatusBlockOverrun;
        int32_t coefficient;
        if (ZeqStatus status = in.extended(size, &coefficient)) return status;
        dst[kNaturalOfZigzagWithTail[k]] = static_cast<int16_t>(coefficient);
    }
    return StatusOk;
}

}  // namespace

template <class Reader>
ZeqStatus decodeBlock(Reader& in, int16_t* dst, int16_t* lastDC, const HuffmanDecodeSpec* dc,
                      const HuffmanDecodeSpec* ac, int32_t* covered) {
    std::memset(dst, 0, kBlockSize * sizeof(int16_t));
    int next = 0;
    Reader local = in;  // a local copy keeps the reader's fields in registers
    const ZeqStatus status = decodeBlockBody(local, dst, lastDC, dc, ac, next);
    in = local;
    *covered = next;
    return status;
}

template ZeqStatus decodeBlock(StreamBitReader&, int16_t*, int16_t*, const HuffmanDecodeSpec*,
                               const HuffmanDecodeSpec*, int32_t*);
template ZeqStatus decodeBlock(UnboundedBitReader&, int16_t*, int16_t*, const HuffmanDecodeSpec*,
                               const HuffmanDecodeSpec*, int32_t*);

ZeqStatus decodeBlockWithState(const uint8_t* src, int32_t srcLen, int32_t* srcPos, int16_t* dst,
                               int16_t* lastDC, int32_t* marker, const HuffmanDecodeSpec* dc,
                               const HuffmanDecodeSpec* ac, HuffmanDecodeState* state) {
    StreamBitReader in = openStream(src, srcLen, srcPos, marker, state);
    int32_t covered;
    const ZeqStatus status = decodeBlock(in, dst, lastDC, dc, ac, &covered);
    closeStream(in, srcPos, state);
    storeField<int32_t>(state, offsetof(HuffmanDecodeState, coveredCount), covered);
    return status;
}

// The value is stored only on success.
ZeqStatus decodeOneWithState(const uint8_t* src, int32_t srcLen, int32_t* srcPos, int16_t* dst,
                             int32_t* marker, const HuffmanDecodeSpec* table,
                             HuffmanDecodeState* state) {
    StreamBitReader in = openStream(src, srcLen, srcPos, marker, state);
    int16_t value;
    const ZeqStatus status = decodeLoneValue(in, table, &value);
    closeStream(in, srcPos, state);
    if (status == StatusOk) *dst = value;
    return status;
}

// The reservoir and the position live in the caller's variables; the bit
// position moves by 8 for every byte taken. With no bit left once a marker
// has been met, the block is left cleared and the call succeeds.
ZeqStatus decodeBlockDirect(const uint8_t* src, int32_t* srcBitPos, int16_t* dst, int16_t* lastDC,
                            int32_t* marker, uint32_t* reservoir, int32_t* reservoirCount,
                            const HuffmanDecodeSpec* dc, const HuffmanDecodeSpec* ac) {
    const int32_t startByte = *srcBitPos >> 3;
    UnboundedBitReader in(src, 0, startByte, marker, *reservoir, *reservoirCount);
    ZeqStatus status = StatusOk;
    if (in.count() == 0) in.fill(0);
    if (in.markerMet() && in.count() == 0) {
        std::memset(dst, 0, kBlockSize * sizeof(int16_t));
    } else {
        int32_t covered;
        status = decodeBlock(in, dst, lastDC, dc, ac, &covered);
    }
    *srcBitPos = static_cast<int32_t>(*srcBitPos + int64_t{8} * (in.position() - startByte));
    *reservoir = in.buffer();
    *reservoirCount = in.count();
    return status;
}

}  // namespace zeq
