// Progressive Huffman decoding of one 8x8 block in one scan, into a
// natural-order block the caller keeps across all scans of the image: DC
// first and refinement, AC first with end-of-band runs, AC refinement with
// correction bits. The end-of-band run still to come lives in the
// HuffmanDecodeState; a block inside a run is passed over (AC first) or only
// takes its correction bits (refinement).
#ifndef ZEQ_JPEG_ENTROPY_PROGRESSIVE_DECODE_H
#define ZEQ_JPEG_ENTROPY_PROGRESSIVE_DECODE_H

#include <cstdint>

#include "jpeg/entropy/bit_reader.h"

namespace zeq {

// The exported operations on the caller's stream and state. A failure leaves
// what was decoded before it in place, and the position past the bits read.
ZeqStatus decodeDCFirstWithState(const uint8_t* src, int32_t srcLen, int32_t* srcPos, int16_t* dst,
                                 int16_t* lastDC, int32_t* marker, int al,
                                 const HuffmanDecodeSpec* dc, HuffmanDecodeState* state);
ZeqStatus decodeDCRefineWithState(const uint8_t* src, int32_t srcLen, int32_t* srcPos, int16_t* dst,
                                  int32_t* marker, int al, HuffmanDecodeState* state);
// The band of one block in an AC first scan, or in an AC refinement scan.
ZeqStatus decodeBandWithState(const uint8_t* src, int32_t srcLen, int32_t* srcPos, int16_t* dst,
                              int32_t* marker, int ss, int se, int al, const HuffmanDecodeSpec* ac,
                              HuffmanDecodeState* state, bool refinement);

}  // namespace zeq

#endif  // ZEQ_JPEG_ENTROPY_PROGRESSIVE_DECODE_H
