// Level shift between unsigned 8-bit samples and the zero-centred 16-bit range
// of the DCT. Row kernels take byte pointers: 16-bit rows may sit at any byte
// offset. The SSE2 kernels give the same bytes as their scalar twins.
#ifndef ZEQ_JPEG_SAMPLE_LEVEL_SHIFT_H
#define ZEQ_JPEG_SAMPLE_LEVEL_SHIFT_H

#include <cstdint>

namespace zeq {

// dst[x] = clamp(src[x] + 128, 0, 255); src holds int16 values.
void add128RowScalar(const uint8_t* src, uint8_t* dst, int32_t width);
void add128RowSse2(const uint8_t* src, uint8_t* dst, int32_t width);

// dst[x] = src[x] - 128; dst receives int16 values.
void sub128RowScalar(const uint8_t* src, uint8_t* dst, int32_t width);
void sub128RowSse2(const uint8_t* src, uint8_t* dst, int32_t width);

}  // namespace zeq

#endif  // ZEQ_JPEG_SAMPLE_LEVEL_SHIFT_H
