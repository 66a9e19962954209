// Sequential Huffman coding of one natural-order 8x8 block (DC difference,
// then AC run/size symbols in zigzag order with ZRL and EOB) and of one lone
// value. The block coders are templates over the bit writers of
// bit_writer.h, instantiated for all three; the SSE2 twin finds the non-zero
// coefficients with a vector mask and gives the same bits as the scalar walk.
#ifndef ZEQ_JPEG_ENTROPY_BASELINE_ENCODE_H
#define ZEQ_JPEG_ENTROPY_BASELINE_ENCODE_H

#include <cstdint>

#include "jpeg/entropy/bit_writer.h"
#include "jpeg/entropy/magnitude_category.h"

namespace zeq {

constexpr int kZeroRunSymbol = 0xF0;  // ZRL: sixteen zeros
constexpr int kEndOfBlockSymbol = 0x00;
constexpr int kLongestRun = 15;
// Category 16 (the value -32768 on its own) is coded by its symbol alone.
constexpr int kSymbolOnlyCategory = 16;

// The largest categories a coder accepts; a larger one stops it with
// StatusCoefficientRange before its symbol is written. The sequential
// encoders code every category a 16-bit value has; the statistics and the
// progressive coders have tighter limits.
struct CategoryLimits {
    int dc = kSymbolOnlyCategory;
    int ac = kSymbolOnlyCategory;
};

// The DC difference of v against *lastDC, which takes v before anything is
// written (also when the category is refused).
template <class Writer>
inline ZeqStatus encodeDCDifference(int16_t v, int16_t* lastDC, const HuffmanEncodeSpec* dc,
                                    Writer& out, int largestCategory = kSymbolOnlyCategory) {
    const int32_t diff = int32_t{v} - *lastDC;
    *lastDC = v;
    const int s = magnitudeCategory(diff);
    if (s > largestCategory) return StatusCoefficientRange;
    return out.symbolWithBits(dc, s, extraBits(diff, s), s);
}

// A non-zero AC coefficient after `run` zeros: ZRLs while the run exceeds 15,
// then (category permitting) the run/size symbol and the extra bits.
template <class Writer>
inline ZeqStatus encodeACCoefficient(int run, int16_t c, const HuffmanEncodeSpec* ac, Writer& out,
                                     int largestCategory = kSymbolOnlyCategory) {
    for (; run > kLongestRun; run -= kLongestRun + 1)
        if (ZeqStatus status = out.symbol(ac, kZeroRunSymbol)) return status;
    const int s = magnitudeCategory(c);
    if (s > largestCategory) return StatusCoefficientRange;
    return out.symbolWithBits(ac, run * 16 + s, extraBits(c, s), s);
}

// One lone value (a DC difference or a lossless difference): its category
// symbol, then the extra bits, none for category 16.
template <class Writer>
inline ZeqStatus encodeLoneValue(int16_t v, const HuffmanEncodeSpec* table, Writer& out) {
    const int s = magnitudeCategory(v);
    return out.symbolWithBits(table, s, extraBits(v, s), s < kSymbolOnlyCategory ? s : 0);
}

template <class Writer>
ZeqStatus encodeBlockScalar(const int16_t* src, int16_t* lastDC, const HuffmanEncodeSpec* dc,
                            const HuffmanEncodeSpec* ac, Writer& out, CategoryLimits limits = {});
template <class Writer>
ZeqStatus encodeBlockSse2(const int16_t* src, int16_t* lastDC, const HuffmanEncodeSpec* dc,
                          const HuffmanEncodeSpec* ac, Writer& out, CategoryLimits limits = {});

// The exported operations: the one-value coder and the direct block coder
// (the state-based block coder is inline, in baseline_encode_sse2.h).
ZeqStatus encodeOneWithState(const int16_t* src, uint8_t* dst, int32_t dstLen, int32_t* dstPos,
                             const HuffmanEncodeSpec* table, HuffmanEncodeState* state);
ZeqStatus encodeBlockDirect(const int16_t* src, uint8_t* dst, int32_t* dstBitPos, int16_t* lastDC,
                            const HuffmanEncodeSpec* dc, const HuffmanEncodeSpec* ac);

}  // namespace zeq

#endif  // ZEQ_JPEG_ENTROPY_BASELINE_ENCODE_H
