#include "jpeg/sample/level_shift.h"

#include "core/rows.h"

namespace zeq {

void add128RowScalar(const uint8_t* src, uint8_t* dst, int32_t width) {
    for (int32_t x = 0; x < width; ++x) {
        const int32_t v = loadElement<int16_t>(src, x) + 128;
        dst[x] = static_cast<uint8_t>(v >= 255 ? 255 : (v < 0 ? 0 : v));
    }
}

void sub128RowScalar(const uint8_t* src, uint8_t* dst, int32_t width) {
    for (int32_t x = 0; x < width; ++x)
        storeElement<int16_t>(dst, x, static_cast<int16_t>(src[x] - 128));
}

}  // namespace zeq
