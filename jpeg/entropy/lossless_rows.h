// Huffman coding of one row of lossless differences for one to four
// components, interleaved sample by sample into one stream (component 0 of
// sample 0, component 1 of sample 0, ...). Each difference is a category
// symbol from its component's table and the category's extra bits; the
// difference -32768 is its symbol (16) alone.
#ifndef ZEQ_JPEG_ENTROPY_LOSSLESS_ROWS_H
#define ZEQ_JPEG_ENTROPY_LOSSLESS_ROWS_H

#include <cstdint>

#include "jpeg/entropy/huffman_records.h"

namespace zeq {

constexpr int kLargestRowComponents = 4;

// nComps is 1..4. The first failure is returned as it stands (the values
// before it are coded or stored).
ZeqStatus encodeRowWithState(const int16_t* const planes[], int32_t width, int nComps, uint8_t* dst,
                             int32_t dstLen, int32_t* dstPos,
                             const HuffmanEncodeSpec* const tables[], HuffmanEncodeState* state);
ZeqStatus decodeRowWithState(const uint8_t* src, int32_t srcLen, int32_t* srcPos,
                             int16_t* const planes[], int32_t width, int nComps, int32_t* marker,
                             const HuffmanDecodeSpec* const tables[], HuffmanDecodeState* state);

}  // namespace zeq

#endif  // ZEQ_JPEG_ENTROPY_LOSSLESS_ROWS_H
