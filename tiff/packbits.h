// PackBits coding of one row of bytes. Positions are byte offsets into the
// caller's buffers and are reported back even when a row stops early, so a
// caller sees how far the work went.
#ifndef ZEQ_TIFF_PACKBITS_H
#define ZEQ_TIFF_PACKBITS_H

#include <cstdint>

#include "zeqj.h"

namespace zeq {

// Appends the packets of src[0 .. srcLength) at dst[*position]; the buffer
// holds `capacity` bytes in all. Only whole packets are written.
// StatusOk, or StatusRowBufferExhausted when the next packet does not fit.
// The scalar kernel is the reference; the SSE2 one gives the same bytes,
// status and position.
ZeqStatus packBitsRowScalar(const uint8_t* src, int32_t srcLength, uint8_t* dst, int32_t* position,
                            int32_t capacity);
ZeqStatus packBitsRowSse2(const uint8_t* src, int32_t srcLength, uint8_t* dst, int32_t* position,
                          int32_t capacity);

// Reads packets from src[*position] until exactly dstLength bytes are out.
// StatusOk, or StatusRowBufferExhausted when the source ends or a packet
// would overfill the row; *position is then the offset of that packet.
ZeqStatus unpackBitsRowScalar(const uint8_t* src, int32_t* position, int32_t srcLength,
                              uint8_t* dst, int32_t dstLength);
ZeqStatus unpackBitsRowSse2(const uint8_t* src, int32_t* position, int32_t srcLength, uint8_t* dst,
                            int32_t dstLength);

}  // namespace zeq

#endif  // ZEQ_TIFF_PACKBITS_H
