// The zigzag scan as the entropy coders walk it: zigzag index to natural
// position, with a tail of entries of 63 behind the 64 so that a decoder whose
// run overshoots the block still writes inside it. The sequential decoder
// tolerates eight positions past index 63 and rejects more; the progressive
// AC-first decoder makes no check at all, and the furthest it can reach is a
// run of 15 from index 63 (78), or a ZRL from 63 (79), so the tail reaches 79.
#ifndef ZEQ_JPEG_ENTROPY_SCAN_ORDER_H
#define ZEQ_JPEG_ENTROPY_SCAN_ORDER_H

#include <array>
#include <cstdint>

#include "jpeg/zigzag.h"

namespace zeq {

constexpr int kOverrunTolerance = 8;
constexpr int kLastZigzagIndex = kBlockSize - 1;
constexpr int kFurthestUncheckedIndex = kLastZigzagIndex + 16;
constexpr int kZigzagWithTailEntries = kFurthestUncheckedIndex + 1;
static_assert(kBlockSize + kOverrunTolerance <= kZigzagWithTailEntries);

constexpr std::array<uint8_t, kZigzagWithTailEntries> kNaturalOfZigzagWithTail = [] {
    std::array<uint8_t, kZigzagWithTailEntries> order{};
    for (int k = 0; k < kBlockSize; ++k) order[k] = NaturalOfZigzag[k];
    for (int k = kBlockSize; k < kZigzagWithTailEntries; ++k) order[k] = kLastZigzagIndex;
    return order;
}();

}  // namespace zeq

#endif  // ZEQ_JPEG_ENTROPY_SCAN_ORDER_H
