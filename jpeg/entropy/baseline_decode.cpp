#include "jpeg/entropy/baseline_decode.h"

#include <cstring>

#include "jpeg/entropy/block_bit_reader.h"
#include "jpeg/entropy/scan_order.h"

namespace zeq {

namespace {

// Eight stores written out: as a loop the compiler turns them into a string
// store, whose start-up costs more than the stores.
ZEQ_ENTROPY_INLINE void clearBlock(int16_t* dst) {
    const __m128i zero = _mm_setzero_si128();
    __m128i* out = reinterpret_cast<__m128i*>(dst);
    _mm_storeu_si128(out + 0, zero);
    _mm_storeu_si128(out + 1, zero);
    _mm_storeu_si128(out + 2, zero);
    _mm_storeu_si128(out + 3, zero);
    _mm_storeu_si128(out + 4, zero);
    _mm_storeu_si128(out + 5, zero);
    _mm_storeu_si128(out + 6, zero);
    _mm_storeu_si128(out + 7, zero);
}

// Where the word reader hands a block over to the general reader: the next
// zigzag index (0: the DC symbol is still to come) and, when the handover
// falls between a symbol and its extra bits, the category and the zigzag
// index those bits belong to (0 for the DC difference).
struct Handover {
    int next = 0;
    int pendingSize = 0;
    int pendingIndex = 0;
};

// The block in the word reader: true when the block is finished (its status
// in `status`, `at.next` the covered count), false when the general reader
// has to go on from `at`.
template <SourceEnd kEnd>
ZEQ_ENTROPY_INLINE bool decodeBlockInWord(BlockBitReader<kEnd>& in, int16_t* dst, int16_t* lastDC,
                                          const HuffmanDecodeSpec* dc, const HuffmanDecodeSpec* ac,
                                          Handover& at, ZeqStatus& status) {
    int symbol;
    if (!in.symbol(dc, LongCodeLimits(dc), &symbol)) return false;
    int next = 1;
    const int s = symbol & kCategoryMask;
    int32_t diff = 0;
    if (s != 0 && !in.extended(s, &diff)) {
        at = {next, s, 0};
        return false;
    }
    *lastDC = static_cast<int16_t>(*lastDC + diff);
    dst[0] = *lastDC;
    status = StatusOk;
    const LongCodeLimits acLimits(ac);
    while (next < kBlockSize) {
        if (!in.symbol(ac, acLimits, &symbol)) {
            at = {next, 0, 0};
            return false;
        }
        const int run = (symbol >> 4) & 15;
        const int size = symbol & kCategoryMask;
        if (size == 0) {
            if (run != kZeroRunCode) break;  // EOB
            next += kZeroRunLength;
            continue;
        }
        const int k = next + run;
        next = k + 1;
        if (k >= kBlockSize + kOverrunTolerance) {
            status = StatusBlockOverrun;
            break;
        }
        int32_t value;
        if (!in.extended(size, &value)) {
            at = {next, size, k};
            return false;
        }
        dst[kNaturalOfZigzagWithTail[k]] = static_cast<int16_t>(value);
    }
    at = {next, 0, 0};
    return true;
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

// The block loop from `next` (0: from the DC symbol) on the general reader,
// which meets markers, fill bytes and the end. The AC loop keeps the
// reader's bits in registers and hands them back only for the general
// paths; with the window full enough for a whole step it leaves out the
// tests for bytes ahead.
template <class Reader>
ZeqStatus decodeBlockBody(Reader& in, int16_t* dst, int16_t* lastDC, const HuffmanDecodeSpec* dc,
                          const HuffmanDecodeSpec* ac, const Handover& from, int& next) {
    ReaderBits bits = in.bits();
    in.readAhead(bits);
    ZeqStatus status = StatusOk;
    next = from.next;
    if (from.pendingSize != 0) {
        int32_t value;
        status = in.extended(bits, from.pendingSize, &value);
        if (status == StatusOk) {
            if (from.pendingIndex == 0) {
                *lastDC = static_cast<int16_t>(*lastDC + value);
                dst[0] = *lastDC;
            } else {
                dst[kNaturalOfZigzagWithTail[from.pendingIndex]] = static_cast<int16_t>(value);
            }
        }
    } else if (next == 0) {
        int symbol;
        status = in.symbol(bits, dc, &symbol);
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

// The caller-visible reader between calls.
struct ReaderPosition {
    int32_t pos;
    uint32_t buffer;
    int32_t count;
};

// Clears dst and decodes one block; `covered` receives one past the zigzag
// index reached (0 when the DC symbol could not be read). Runs up to eight
// positions past index 63 land on position 63; further gives
// StatusBlockOverrun. A failure leaves the coefficients decoded so far.
// Until a marker is met the block runs in the word reader; the general one
// takes over where that cannot go on. `before` runs on the general reader
// before the DC symbol; false from it leaves the block cleared.
template <SourceEnd kEnd, class BeforeDC>
ZEQ_ENTROPY_INLINE ZeqStatus decodeBlock(const uint8_t* src, int32_t srcLen, ReaderPosition& at,
                                         int16_t* dst, int16_t* lastDC, int32_t* marker,
                                         const HuffmanDecodeSpec* dc, const HuffmanDecodeSpec* ac,
                                         int& covered, BeforeDC before) {
    clearBlock(dst);
    Handover from;
    ZeqStatus status = StatusOk;
    if (*marker == 0) {
        BlockBitReader<kEnd> word(src, srcLen, at.pos, at.buffer, at.count);
        parkInMemory(at);
        const bool finished = decodeBlockInWord(word, dst, lastDC, dc, ac, from, status);
        parkInMemory(at);
        const auto h = word.handback(at.pos, at.buffer);
        at = {h.pos, h.buffer, h.count};
        if (finished) {
            covered = from.next;
            return status;
        }
    }
    HuffmanBitReader<kEnd> in(src, srcLen, at.pos, marker, at.buffer, at.count);
    int next = from.next;
    if (next != 0 || before(in)) status = decodeBlockBody(in, dst, lastDC, dc, ac, from, next);
    at = {in.position(), in.buffer(), in.count()};
    covered = next;
    return status;
}

}  // namespace

ZeqStatus decodeBlockWithState(const uint8_t* src, int32_t srcLen, int32_t* srcPos, int16_t* dst,
                               int16_t* lastDC, int32_t* marker, const HuffmanDecodeSpec* dc,
                               const HuffmanDecodeSpec* ac, HuffmanDecodeState* state) {
    const BitPosition p = loadBitPosition(state);
    ReaderPosition at{*srcPos, static_cast<uint32_t>(p.buffer), p.count};
    parkInMemory(srcPos);
    parkInMemory(state);
    int covered;
    const ZeqStatus status =
        decodeBlock<SourceEnd::Bounded>(src, srcLen, at, dst, lastDC, marker, dc, ac, covered,
                                        [](StreamBitReader&) { return true; });
    parkInMemory(srcPos);
    parkInMemory(state);
    *srcPos = at.pos;
    storeBitPosition(state, {at.buffer, at.count});
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
// position moves by 8 for every byte taken. An empty reservoir is filled
// before the block; with no bit in it once a marker has been met, the block
// is left cleared and the call succeeds.
ZeqStatus decodeBlockDirect(const uint8_t* src, int32_t* srcBitPos, int16_t* dst, int16_t* lastDC,
                            int32_t* marker, uint32_t* reservoir, int32_t* reservoirCount,
                            const HuffmanDecodeSpec* dc, const HuffmanDecodeSpec* ac) {
    const int32_t startByte = *srcBitPos >> 3;
    ReaderPosition at{startByte, *reservoir, *reservoirCount};
    int covered;
    const ZeqStatus status = decodeBlock<SourceEnd::MarkerOnly>(
        src, 0, at, dst, lastDC, marker, dc, ac, covered, [](UnboundedBitReader& in) {
            if (in.count() == 0) in.fill(0);
            return !(in.markerMet() && in.count() == 0);
        });
    *srcBitPos = static_cast<int32_t>(*srcBitPos + int64_t{8} * (at.pos - startByte));
    *reservoir = at.buffer;
    *reservoirCount = at.count;
    return status;
}

}  // namespace zeq
