// Sequential Huffman decoding of one 8x8 block into natural order and of one
// lone value, over the readers of bit_reader.h.
#ifndef ZEQ_JPEG_ENTROPY_BASELINE_DECODE_H
#define ZEQ_JPEG_ENTROPY_BASELINE_DECODE_H

#include <cstdint>

#include "jpeg/entropy/bit_reader.h"

namespace zeq {

constexpr int kCategoryMask = 15;
constexpr int kZeroRunCode = 15;  // run nibble of ZRL (with size 0)
constexpr int kZeroRunLength = 16;
constexpr int kSymbolOnlyDecodedCategory = 16;  // this category and above: 32768, no extra bits

// The DC value a decoded DC symbol stands for: the last DC, plus the
// sign-extended extra bits when its category (the low nibble) is not 0; the
// sum (16-bit arithmetic) becomes the new last DC.
template <class Reader>
ZEQ_ENTROPY_INLINE ZeqStatus dcValueOfSymbol(Reader& in, int symbol, int16_t* lastDC,
                                             int16_t* value) {
    const int s = symbol & kCategoryMask;
    if (s != 0) {
        int32_t diff;
        if (ZeqStatus status = in.extended(s, &diff)) return status;
        *lastDC = static_cast<int16_t>(*lastDC + diff);
    }
    *value = *lastDC;
    return StatusOk;
}

// One lone value: category 0 is 0, 1..15 carry extra bits, 16 and above
// stand for 32768 (the pattern 0x8000) without bits.
template <class Reader>
ZEQ_ENTROPY_INLINE ZeqStatus decodeLoneValue(Reader& in, const HuffmanDecodeSpec* table,
                                             int16_t* value) {
    int s;
    if (ZeqStatus status = in.symbol(table, &s)) return status;
    int32_t v = 0;
    if (s >= kSymbolOnlyDecodedCategory) {
        v = -32768;
    } else if (s > 0) {
        if (ZeqStatus status = in.extended(s, &v)) return status;
    }
    *value = static_cast<int16_t>(v);
    return StatusOk;
}

// The exported operations on their caller-held positions and states.
ZeqStatus decodeBlockWithState(const uint8_t* src, int32_t srcLen, int32_t* srcPos, int16_t* dst,
                               int16_t* lastDC, int32_t* marker, const HuffmanDecodeSpec* dc,
                               const HuffmanDecodeSpec* ac, HuffmanDecodeState* state);
ZeqStatus decodeOneWithState(const uint8_t* src, int32_t srcLen, int32_t* srcPos, int16_t* dst,
                             int32_t* marker, const HuffmanDecodeSpec* table,
                             HuffmanDecodeState* state);
ZeqStatus decodeBlockDirect(const uint8_t* src, int32_t* srcBitPos, int16_t* dst, int16_t* lastDC,
                            int32_t* marker, uint32_t* reservoir, int32_t* reservoirCount,
                            const HuffmanDecodeSpec* dc, const HuffmanDecodeSpec* ac);

}  // namespace zeq

#endif  // ZEQ_JPEG_ENTROPY_BASELINE_DECODE_H
