// Exported decode-state and baseline decoding functions.
#include "core/arg_checks.h"
#include "core/memory.h"
#include "jpeg/entropy/baseline_decode.h"
#include "jpeg/entropy/record_allocation.h"

using namespace zeq;

extern "C" ZeqStatus zeqiDecodeHuffmanStateGetBufSize_JPEG_8u(int32_t* size) {
    if (ZeqStatus s = ArgChecks().pointer(size).status()) return s;
    *size = kDecodeStateBytes;
    return StatusOk;
}

extern "C" ZeqStatus zeqiDecodeHuffmanStateInit_JPEG_8u(HuffmanDecodeState* state) {
    if (ZeqStatus s = ArgChecks().pointer(state).status()) return s;
    resetDecodeState(state);
    return StatusOk;
}

// A failed allocation reports StatusNullPointer and stores nothing.
extern "C" ZeqStatus zeqiDecodeHuffmanStateInitAlloc_JPEG_8u(HuffmanDecodeState** state) {
    if (ZeqStatus s = ArgChecks().pointer(state).status()) return s;
    return allocateRecord(state, kDecodeStateBytes, [](auto* block) {
        resetDecodeState(block);
        return StatusOk;
    });
}

extern "C" ZeqStatus zeqiDecodeHuffmanStateFree_JPEG_8u(HuffmanDecodeState* state) {
    if (ZeqStatus s = ArgChecks().pointer(state).status()) return s;
    releaseBuffer(state);
    return StatusOk;
}

// A source length of 0 is accepted: the block is then decoded from the bits
// the state already holds.
extern "C" ZeqStatus zeqiDecodeHuffman8x8_JPEG_1u16s_C1(const uint8_t* src, int32_t srcLen,
                                                        int32_t* srcPos, int16_t* dst,
                                                        int16_t* lastDC, int32_t* marker,
                                                        const HuffmanDecodeSpec* dcTable,
                                                        const HuffmanDecodeSpec* acTable,
                                                        HuffmanDecodeState* state) {
    if (ZeqStatus s = ArgChecks()
                          .pointer(src)
                          .argument(srcLen >= 0)
                          .pointers(srcPos, dst, lastDC, marker, dcTable, acTable, state)
                          .status())
        return s;
    return decodeBlockWithState(src, srcLen, srcPos, dst, lastDC, marker, dcTable, acTable, state);
}

extern "C" ZeqStatus zeqiDecodeHuffmanOne_JPEG_1u16s_C1(const uint8_t* src, int32_t srcLen,
                                                        int32_t* srcPos, int16_t* dst,
                                                        int32_t* marker,
                                                        const HuffmanDecodeSpec* table,
                                                        HuffmanDecodeState* state) {
    if (ZeqStatus s = ArgChecks()
                          .pointer(src)
                          .length(srcLen)
                          .pointers(srcPos, dst, marker, table, state)
                          .status())
        return s;
    return decodeOneWithState(src, srcLen, srcPos, dst, marker, table, state);
}

extern "C" ZeqStatus zeqiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(
    const uint8_t* src, int32_t* srcBitPos, int16_t* dst, int16_t* lastDC, int32_t* marker,
    uint32_t* reservoir, int32_t* reservoirCount, const HuffmanDecodeSpec* dcTable,
    const HuffmanDecodeSpec* acTable) {
    // A pointer found null stops the chain before its value would be read.
    if (ZeqStatus s = ArgChecks()
                          .pointers(src, srcBitPos)
                          .argument(srcBitPos == nullptr || *srcBitPos >= 0)
                          .pointers(dst, lastDC, marker, reservoir, reservoirCount)
                          .argument(reservoirCount == nullptr || *reservoirCount >= 0)
                          .pointers(dcTable, acTable)
                          .status())
        return s;
    return decodeBlockDirect(src, srcBitPos, dst, lastDC, marker, reservoir, reservoirCount,
                             dcTable, acTable);
}
