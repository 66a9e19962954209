// Split of little-endian 16-bit samples into a plane of high bytes (plane 0)
// and a plane of low bytes (plane 1), and the join back.
#ifndef ZEQ_TIFF_BYTE_PLANES_H
#define ZEQ_TIFF_BYTE_PLANES_H

#include <cstdint>

namespace zeq {

void splitRowScalar(const uint8_t* row, uint8_t* high, uint8_t* low, int32_t count);
void splitRowSse2(const uint8_t* row, uint8_t* high, uint8_t* low, int32_t count);
void joinRowScalar(const uint8_t* high, const uint8_t* low, uint8_t* row, int32_t count);
void joinRowSse2(const uint8_t* high, const uint8_t* low, uint8_t* row, int32_t count);

}  // namespace zeq

#endif  // ZEQ_TIFF_BYTE_PLANES_H
