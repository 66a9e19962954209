// Exported encode-state and baseline encoding functions.
#include "core/arg_checks.h"
#include "core/memory.h"
#include "jpeg/entropy/baseline_encode_sse2.h"
#include "jpeg/entropy/record_allocation.h"

using namespace zeq;

namespace {

// The checks every state-based encoder makes before it looks at `flush`.
ZeqStatus checkDestination(const uint8_t* dst, int32_t dstLen, const int32_t* dstPos,
                           const HuffmanEncodeState* state) {
    return ArgChecks().pointer(dst).length(dstLen).pointers(dstPos, state).status();
}

}  // namespace

extern "C" ZeqStatus zeqiEncodeHuffmanStateGetBufSize_JPEG_8u(int32_t* size) {
    if (ZeqStatus s = ArgChecks().pointer(size).status()) return s;
    *size = kEncodeStateBytes;
    return StatusOk;
}

extern "C" ZeqStatus zeqiEncodeHuffmanStateInit_JPEG_8u(HuffmanEncodeState* state) {
    if (ZeqStatus s = ArgChecks().pointer(state).status()) return s;
    resetEncodeState(state);
    return StatusOk;
}

// A failed allocation reports StatusNullPointer and stores nothing.
extern "C" ZeqStatus zeqiEncodeHuffmanStateInitAlloc_JPEG_8u(HuffmanEncodeState** state) {
    if (ZeqStatus s = ArgChecks().pointer(state).status()) return s;
    return allocateRecord(state, kEncodeStateBytes, [](auto* block) {
        resetEncodeState(block);
        return StatusOk;
    });
}

extern "C" ZeqStatus zeqiEncodeHuffmanStateFree_JPEG_8u(HuffmanEncodeState* state) {
    if (ZeqStatus s = ArgChecks().pointer(state).status()) return s;
    releaseBuffer(state);
    return StatusOk;
}

extern "C" ZeqStatus zeqiEncodeHuffman8x8_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst,
                                                        int32_t dstLen, int32_t* dstPos,
                                                        int16_t* lastDC,
                                                        const HuffmanEncodeSpec* dcTable,
                                                        const HuffmanEncodeSpec* acTable,
                                                        HuffmanEncodeState* state, int32_t flush) {
    if (ZeqStatus s = checkDestination(dst, dstLen, dstPos, state)) return s;
    if (flush != 0) return flushEncodeState(dst, dstLen, dstPos, state);
    if (ZeqStatus s = ArgChecks().pointers(src, lastDC, dcTable, acTable).status()) return s;
    return encodeBlockWithState(src, dst, dstLen, dstPos, lastDC, dcTable, acTable, state);
}

extern "C" ZeqStatus zeqiEncodeHuffmanOne_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst,
                                                        int32_t dstLen, int32_t* dstPos,
                                                        const HuffmanEncodeSpec* table,
                                                        HuffmanEncodeState* state, int32_t flush) {
    if (ZeqStatus s = checkDestination(dst, dstLen, dstPos, state)) return s;
    if (flush != 0) return flushEncodeState(dst, dstLen, dstPos, state);
    if (ZeqStatus s = ArgChecks().pointers(src, table).status()) return s;
    return encodeOneWithState(src, dst, dstLen, dstPos, table, state);
}

extern "C" ZeqStatus zeqiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst,
                                                               int32_t* dstBitPos, int16_t* lastDC,
                                                               const HuffmanEncodeSpec* dcTable,
                                                               const HuffmanEncodeSpec* acTable) {
    if (ZeqStatus s = ArgChecks().pointers(src, dst, dstBitPos, lastDC, dcTable, acTable).status())
        return s;
    return encodeBlockDirect(src, dst, dstBitPos, lastDC, dcTable, acTable);
}
