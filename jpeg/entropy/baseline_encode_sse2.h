// The vector walk of one block for the stream writers, inline so that the
// exported block coder runs it without a call of its own (it is called once
// per block, and the call and its argument passing are a fair part of a
// sparse block's cost). The general walk, for the bounded writer and the
// symbol counter, is in baseline_encode_sse2.cpp.
#ifndef ZEQ_JPEG_ENTROPY_BASELINE_ENCODE_SSE2_H
#define ZEQ_JPEG_ENTROPY_BASELINE_ENCODE_SSE2_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/sse2.h"
#include "jpeg/entropy/baseline_encode.h"
#include "jpeg/entropy/zigzag_masks.h"
#include "jpeg/zigzag.h"

namespace zeq {

// Where the writer surely has room for a DC code and its extra bits (at most
// 32 bits): at the start of a block coded from the state, which brings at
// most 7 pending bits into the 64-bit accumulator.
enum class DCRoom { Checked, Sure };

// The code of symbol `high` + category of v (v a DC difference, or an AC
// coefficient after fewer than 15 zeros, so the symbol is inside the table),
// then its extra bits, in one put. Below zero, v - 1 is the extra bits' ones'
// complement form, and the bits of it above the category are all ones:
// adding it to the code plus one, shifted, gives code and extra bits side by
// side.
template <MissingCode kMissing, bool kSureRoom = false>
ZEQ_ENTROPY_INLINE ZeqStatus putCodedValue(const HuffmanEncodeSpec* table, size_t high, int32_t v,
                                           StreamBitWriter<kMissing>& out) {
    const uint64_t sign = static_cast<uint64_t>(int64_t{v} >> 63);
    const uint64_t base = static_cast<uint64_t>(int64_t{v}) + sign;
    const size_t s = static_cast<unsigned>(magnitudeCategoryOf(static_cast<uint32_t>(base ^ sign)));
    const size_t symbol = high + s;
    const uint32_t entry = loadField<uint32_t>(table, offsetof(HuffmanEncodeSpec, codes), symbol);
    const unsigned length = entry >> 16;
    if (__builtin_expect(length == 0, 0))
        return out.symbolWithBits(table, int(symbol), extraBits(v, int(s)), int(s));
    const uint64_t bits = ((codeBits(entry) - sign) << s) + base;
    if (kSureRoom)
        out.putWithRoom(bits, int(length + s));
    else
        out.put(bits, int(length + s));
    return StatusOk;
}

// The walk of the stream writers, which take every category a 16-bit value
// has: each non-zero coefficient costs one table read and one put of its code
// and extra bits together. Runs of 15 zeros and more (ZRLs, and the one symbol past the
// table, a category 16 after 15 zeros) and symbols without a code take the
// general path.
template <DCRoom kDCRoom = DCRoom::Checked, MissingCode kMissing>
ZEQ_ENTROPY_INLINE ZeqStatus walkStreamBlock(const int16_t* src, int16_t* lastDC,
                                             const HuffmanEncodeSpec* dc,
                                             const HuffmanEncodeSpec* ac,
                                             StreamBitWriter<kMissing>& out) {
    const int32_t diff = int32_t{src[0]} - *lastDC;
    *lastDC = src[0];
    if (ZeqStatus status = putCodedValue<kMissing, kDCRoom == DCRoom::Sure>(dc, 0, diff, out))
        return status;
    uint64_t pending = ~(zigzagZeroMask(src) | 1);
    size_t next = 1;  // the zigzag index after the last coded coefficient
    while (pending != 0) {
        const size_t k = static_cast<unsigned>(__builtin_ctzll(pending));
        pending &= pending - 1;
        const size_t run = k - next;
        next = k + 1;
        const int32_t c = src[NaturalOfZigzag[k]];
        if (__builtin_expect(run >= size_t{kLongestRun}, 0)) {
            // Spelled out rather than called, so that the writer stays in registers.
            size_t zeros = run;
            for (; zeros > size_t{kLongestRun}; zeros -= kLongestRun + 1)
                if (ZeqStatus status = out.symbol(ac, kZeroRunSymbol)) return status;
            const int s = magnitudeCategory(c);
            if (ZeqStatus status = out.symbolWithBits(ac, int(zeros) * 16 + s, extraBits(c, s), s))
                return status;
            continue;
        }
        if (ZeqStatus status = putCodedValue(ac, run * 16, c, out)) return status;
    }
    return next < size_t{kBlockSize} ? out.symbol(ac, kEndOfBlockSymbol) : StatusOk;
}

// The state-based block coder with the destination too short for the
// stream writer's unchecked stores: the bounded writer's general walk.
ZeqStatus encodeBlockNearEnd(const int16_t* src, uint8_t* dst, int32_t dstLen, int32_t* dstPos,
                             int16_t* lastDC, const HuffmanEncodeSpec* dc,
                             const HuffmanEncodeSpec* ac, HuffmanEncodeState* state);

// The state-based block coder: the stream writer when a whole block surely
// fits (with the word its closing store may touch), the bounded writer
// otherwise; both give the same bytes, position, state and status.
ZEQ_ENTROPY_INLINE ZeqStatus encodeBlockWithState(const int16_t* src, uint8_t* dst, int32_t dstLen,
                                                  int32_t* dstPos, int16_t* lastDC,
                                                  const HuffmanEncodeSpec* dc,
                                                  const HuffmanEncodeSpec* ac,
                                                  HuffmanEncodeState* state) {
    if (!fitsUnchecked(dstLen, *dstPos, kWorstCaseBlockBytes))
        return encodeBlockNearEnd(src, dst, dstLen, dstPos, lastDC, dc, ac, state);
    FastBitWriter out(dst, *dstPos, state);
    const ZeqStatus status = walkStreamBlock<DCRoom::Sure>(src, lastDC, dc, ac, out);
    out.close(dstPos, state);
    return status;
}

}  // namespace zeq

#endif  // ZEQ_JPEG_ENTROPY_BASELINE_ENCODE_SSE2_H
