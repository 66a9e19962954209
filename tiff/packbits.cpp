#include "tiff/packbits.h"

#include <cstring>

#include "tiff/packbits_rows.h"

namespace zeq {

namespace {

struct ScalarKernels {
    int32_t runLength(const uint8_t* src, int32_t from, int32_t srcLength) {
        int32_t n = 1;
        while (n < packbits::kMaxPacket && from + n < srcLength && src[from + n] == src[from]) ++n;
        return n;
    }

    // A literal ends before a pair of equal bytes, at the end of the row or at
    // 128 bytes; its bytes never equal their successors.
    int32_t literalLength(const uint8_t* src, int32_t from, int32_t srcLength) {
        int32_t end = from + 1;
        while (end < srcLength && end - from < packbits::kMaxPacket &&
               !(end + 1 < srcLength && src[end] == src[end + 1]))
            ++end;
        return end - from;
    }

    static void copy(uint8_t* dst, const uint8_t* src, int32_t n, int32_t, int32_t) {
        std::memcpy(dst, src, static_cast<size_t>(n));
    }
    static void fill(uint8_t* dst, uint8_t value, int32_t n, int32_t) {
        std::memset(dst, value, static_cast<size_t>(n));
    }
    static void fastUnpack(const uint8_t*, int32_t&, int32_t, uint8_t*, int32_t&, int32_t) {}
};

}  // namespace

ZeqStatus packBitsRowScalar(const uint8_t* src, int32_t srcLength, uint8_t* dst, int32_t* position,
                            int32_t capacity) {
    return packbits::packBitsRowWith<ScalarKernels>(src, srcLength, dst, position, capacity);
}

ZeqStatus unpackBitsRowScalar(const uint8_t* src, int32_t* position, int32_t srcLength,
                              uint8_t* dst, int32_t dstLength) {
    return packbits::unpackBitsRowWith<ScalarKernels>(src, position, srcLength, dst, dstLength);
}

}  // namespace zeq
