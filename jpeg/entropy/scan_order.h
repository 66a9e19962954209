// The zigzag scan as the entropy coders walk it: zigzag index to natural
// position, with a tail of eight entries of 63 so that a decoder whose run
// overshoots the block by up to eight positions still writes inside it.
#ifndef ZEQ_JPEG_ENTROPY_SCAN_ORDER_H
#define ZEQ_JPEG_ENTROPY_SCAN_ORDER_H

#include <array>
#include <cstdint>

#include "jpeg/zigzag.h"

namespace zeq {

constexpr int kOverrunTolerance = 8;
constexpr int kLastZigzagIndex = kBlockSize - 1;

constexpr std::array<uint8_t, kBlockSize + kOverrunTolerance> kNaturalOfZigzagWithTail = [] {
    std::array<uint8_t, kBlockSize + kOverrunTolerance> order{};
    for (int k = 0; k < kBlockSize; ++k) order[k] = NaturalOfZigzag[k];
    for (int k = kBlockSize; k < kBlockSize + kOverrunTolerance; ++k) order[k] = kLastZigzagIndex;
    return order;
}();

}  // namespace zeq

#endif  // ZEQ_JPEG_ENTROPY_SCAN_ORDER_H
