#include "jpeg/entropy/baseline_decode.h"

#include <cstring>

#include "jpeg/entropy/scan_order.h"

namespace zeq {

namespace {

void clearBlock(int16_t* dst) {
    const __m128i zero = _mm_setzero_si128();
    for (int i = 0; i < kBlockSize; i += 8)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), zero);
}

// One AC step on bits in registers: a symbol, then for a coefficient its
// extra bits stored at its place. Returns false at the end of the block
// (EOB, or a status in `status`). kSure: see quickSymbol.
template <bool kSure, class Reader>
ZEQ_ENTROPY_INLINE bool decodeACStep(Reader& in, ReaderBits& bits, int16_t* dst,
                                     const HuffmanDecodeSpec* ac, int& next, ZeqStatus& status) {
    int symbol;
    status = in.template symbol<kSure>(bits, ac, &symbol);
    if (status != StatusOk) return false;
    const int run = (symbol >> 4) & 15;
    const int size = symbol & kCategoryMask;
    if (size == 0) {
        if (run != kZeroRunCode) return false;  // EOB
        next += kZeroRunLength;
        return true;
    }
    const int k = next + run;
    next = k + 1;
    if (k >= kBlockSize + kOverrunTolerance) {
        status = StatusBlockOverrun;
        return false;
    }
    int32_t coefficient;
    status = in.template extended<kSure>(bits, size, &coefficient);
    if (status != StatusOk) return false;
    dst[kNaturalOfZigzagWithTail[k]] = static_cast<int16_t>(coefficient);
    return true;
}

// Covered positions: the next zigzag index, which is 64 minus the positions
// still to decode. The AC loop keeps the reader's bits in registers and
// hands them back only for the general paths; with the window full enough
// for a whole step it leaves out the tests for bytes ahead.
template <class Reader>
ZEQ_ENTROPY_INLINE ZeqStatus decodeBlockBody(Reader& in, int16_t* dst, int16_t* lastDC,
                                             const HuffmanDecodeSpec* dc,
                                             const HuffmanDecodeSpec* ac, int& next) {
    ReaderBits bits = in.bits();
    in.readAhead(bits);
    int symbol;
    ZeqStatus status = in.symbol(bits, dc, &symbol);
    if (status == StatusOk) {
        next = 1;
        const int s = symbol & kCategoryMask;
        int32_t diff = 0;
        if (s != 0) status = in.extended(bits, s, &diff);
        if (status == StatusOk) {
            *lastDC = static_cast<int16_t>(*lastDC + diff);
            dst[0] = *lastDC;
        }
    }

    while (status == StatusOk && next < kBlockSize) {
        if (bits.avail < kSureStepBits) in.readAhead(bits);
        const bool more = bits.avail >= kSureStepBits
                              ? decodeACStep<true>(in, bits, dst, ac, next, status)
                              : decodeACStep<false>(in, bits, dst, ac, next, status);
        if (!more) break;
    }
    in.setBits(bits);
    return status;
}

// Clears dst and decodes one block; *covered receives one past the zigzag
// index reached (0 when the DC symbol could not be read). Runs up to eight
// positions past index 63 land on position 63; further gives
// StatusBlockOverrun. A failure leaves the coefficients decoded so far.
template <class Reader>
ZEQ_ENTROPY_INLINE ZeqStatus decodeBlock(Reader& in, int16_t* dst, int16_t* lastDC,
                                         const HuffmanDecodeSpec* dc, const HuffmanDecodeSpec* ac,
                                         int32_t* covered) {
    clearBlock(dst);
    int next = 0;
    const ZeqStatus status = decodeBlockBody(in, dst, lastDC, dc, ac, next);
    *covered = next;
    return status;
}

}  // namespace

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
    int16_t value = 0;
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
