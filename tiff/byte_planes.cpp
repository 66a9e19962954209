#include "tiff/byte_planes.h"

namespace zeq {

void splitRowScalar(const uint8_t* row, uint8_t* high, uint8_t* low, int32_t count) {
    for (int32_t i = 0; i < count; ++i) {
        low[i] = row[2 * i];
        high[i] = row[2 * i + 1];
    }
}

void joinRowScalar(const uint8_t* high, const uint8_t* low, uint8_t* row, int32_t count) {
    for (int32_t i = 0; i < count; ++i) {
        row[2 * i] = low[i];
        row[2 * i + 1] = high[i];
    }
}

}  // namespace zeq
