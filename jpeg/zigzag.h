// The zigzag scan of an 8x8 block, shared by the quantization tables and the
// entropy coders.
#ifndef ZEQ_JPEG_ZIGZAG_H
#define ZEQ_JPEG_ZIGZAG_H

#include <array>
#include <cstdint>

namespace zeq {

constexpr int kBlockSize = 64;

// Entry i is the zigzag index of natural (row-major) position i.
constexpr std::array<uint8_t, kBlockSize> ZigzagToNatural = {
    0,  1,  5,  6,  14, 15, 27, 28, 2,  4,  7,  13, 16, 26, 29, 42,
    3,  8,  12, 17, 25, 30, 41, 43, 9,  11, 18, 24, 31, 40, 44, 53,
    10, 19, 23, 32, 39, 45, 52, 54, 20, 22, 33, 38, 46, 51, 55, 60,
    21, 34, 37, 47, 50, 56, 59, 61, 35, 36, 48, 49, 57, 58, 62, 63};

// The inverse map: entry k is the natural position of zigzag index k.
constexpr std::array<uint8_t, kBlockSize> NaturalOfZigzag = [] {
    std::array<uint8_t, kBlockSize> inverse{};
    for (int i = 0; i < kBlockSize; ++i) inverse[ZigzagToNatural[i]] = static_cast<uint8_t>(i);
    return inverse;
}();

}  // namespace zeq

#endif  // ZEQ_JPEG_ZIGZAG_H
