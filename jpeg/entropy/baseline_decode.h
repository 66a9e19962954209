// Sequential Huffman decoding of one 8x8 block into natural order and of one
// lone value, over the readers of bit_reader.h.
#ifndef ZEQ_JPEG_ENTROPY_BASELINE_DECODE_H
#define ZEQ_JPEG_ENTROPY_BASELINE_DECODE_H

#include <cstdint>

#include "jpeg/entropy/bit_reader.h"

namespace zeq {

// Clears dst and decodes one block; *covered receives one past the zigzag
// index reached (0 when the DC symbol could not be read). Runs up to eight
// positions past index 63 land on position 63; further gives
// StatusBlockOverrun. A failure leaves the coefficients decoded so far.
template <class Reader>
ZeqStatus decodeBlock(Reader& in, int16_t* dst, int16_t* lastDC, const HuffmanDecodeSpec* dc,
                      const HuffmanDecodeSpec* ac, int32_t* covered);

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
