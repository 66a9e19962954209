// Magnitude categories (SSSS) and their extra bits, shared by every encoder
// and statistics counter of the entropy coders.
#ifndef ZEQ_JPEG_ENTROPY_MAGNITUDE_CATEGORY_H
#define ZEQ_JPEG_ENTROPY_MAGNITUDE_CATEGORY_H

#include <array>
#include <cstdint>

namespace zeq {

// Entry i: the number of significant bits of i (0 for 0).
constexpr std::array<uint8_t, 256> kBitLengths = [] {
    std::array<uint8_t, 256> lengths{};
    for (int i = 1; i < 256; ++i) lengths[i] = static_cast<uint8_t>(lengths[i >> 1] + 1);
    return lengths;
}();

// Significant bits of |v| for |v| below 65536: the table entry at |v|, or at
// |v| >> 8 plus 8 from 256 up. The bit-scan form gives the same numbers
// without the branch.
inline int magnitudeCategoryByTable(int32_t v) {
    const uint32_t magnitude = static_cast<uint32_t>(v < 0 ? -v : v);
    return magnitude < 256 ? kBitLengths[magnitude] : kBitLengths[magnitude >> 8] + 8;
}
// (2 |v| + 1 keeps 0 at category 0 with no branch.)
inline int magnitudeCategoryOf(uint32_t magnitude) {
    return 31 ^ __builtin_clz(2 * magnitude + 1);  // the index of the top bit
}
inline int magnitudeCategory(int32_t v) {
    const uint32_t sign = static_cast<uint32_t>(v >> 31);
    return magnitudeCategoryOf((static_cast<uint32_t>(v) ^ sign) - sign);
}

// The low `category` bits of v, or of v - 1 for negative v (ones' complement
// of the magnitude).
inline uint32_t extraBits(int32_t v, int category) {
    const uint32_t bits = static_cast<uint32_t>(v) + static_cast<uint32_t>(v >> 31);
    return bits & ((uint32_t{1} << category) - 1);
}

}  // namespace zeq

#endif  // ZEQ_JPEG_ENTROPY_MAGNITUDE_CATEGORY_H
