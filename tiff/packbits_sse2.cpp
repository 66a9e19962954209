#include <algorithm>
#include <cstring>

#include "core/sse2.h"
#include "tiff/packbits.h"
#include "tiff/packbits_rows.h"

namespace zeq {

namespace {

using namespace sse2;

constexpr int32_t kWindow = 64;
constexpr int32_t kVector = 16;

// Bit k is set when src[from + k] equals src[from + k + 1], for the k < 64
// whose pair lies inside the row; other bits are 0.
uint64_t equalPairs(const uint8_t* src, int32_t from, int32_t srcLength) {
    if (srcLength - from > kWindow) {
        uint64_t bits = 0;
        for (int j = 0; j < kWindow / kVector; ++j) {
            const uint8_t* p = src + from + kVector * j;
            const auto mask =
                static_cast<uint16_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(loadu(p), loadu(p + 1))));
            bits |= uint64_t{mask} << (kVector * j);
        }
        return bits;
    }
    uint64_t bits = 0;
    for (int32_t k = 0; from + k + 1 < srcLength; ++k)
        bits |= uint64_t{src[from + k] == src[from + k + 1]} << k;
    return bits;
}

// 16 bytes of ones then 16 of zeros: a load at 16 - n masks the first n lanes.
alignas(16) constexpr uint8_t kFirstLanes[2 * kVector] = {
    0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

// Stores the first n lanes of v at dst (all 16 from n = 16 up, none at 0 or
// below); the other bytes of the 16 at dst are rewritten with their own
// values, so all 16 must be the caller's.
inline void storeFirst(uint8_t* dst, V128 v, int32_t n) {
    const V128 keep = loadu(kFirstLanes + kVector - std::clamp(n, 0, kVector));
    storeu(dst, _mm_or_si128(_mm_and_si128(keep, v), _mm_andnot_si128(keep, loadu(dst))));
}

// n (1..128) bytes of src, or of a repeated value, in 16-byte steps; the
// steps after the n rewrite bytes with their own values. The first two
// steps are always taken: most packets are short, and a loop exit per packet
// costs more than a step.
inline void copyStepping(uint8_t* dst, const uint8_t* src, int32_t n) {
    storeFirst(dst, loadu(src), n);
    storeFirst(dst + kVector, loadu(src + kVector), n - kVector);
    for (int32_t i = 2 * kVector; i < n; i += kVector) storeFirst(dst + i, loadu(src + i), n - i);
}
inline void fillStepping(uint8_t* dst, V128 value, int32_t n) {
    storeFirst(dst, value, n);
    storeFirst(dst + kVector, value, n - kVector);
    for (int32_t i = 2 * kVector; i < n; i += kVector) storeFirst(dst + i, value, n - i);
}

// Exact moves for the ends of rows, where no byte past the n may be touched.
void copyExact(uint8_t* dst, const uint8_t* src, int32_t n) {
    if (n >= kVector) {
        for (int32_t i = 0; i + kVector < n; i += kVector) storeu(dst + i, loadu(src + i));
        storeu(dst + n - kVector, loadu(src + n - kVector));
    } else {
        std::memcpy(dst, src, static_cast<size_t>(n));
    }
}

class Sse2Kernels {
public:
    // One more than the number of equal pairs in a row starting at from.
    int32_t runLength(const uint8_t* src, int32_t from, int32_t srcLength) {
        int32_t n = 1;
        for (int32_t p = from; n < packbits::kMaxPacket; p += kWindow) {
            const uint64_t unequal = ~pairsAt(src, p, srcLength);
            if (unequal) return std::min(n + __builtin_ctzll(unequal), packbits::kMaxPacket);
            n += kWindow;
        }
        return packbits::kMaxPacket;
    }

    // The first equal pair at from + k with k >= 1 ends the literal at k.
    int32_t literalLength(const uint8_t* src, int32_t from, int32_t srcLength) {
        const int32_t limit = std::min(srcLength - from, packbits::kMaxPacket);
        for (int32_t k = 0; k < limit; k += kWindow) {
            uint64_t pairs = pairsAt(src, from + k, srcLength);
            if (k == 0) pairs &= ~uint64_t{1};
            if (pairs) return std::min(k + __builtin_ctzll(pairs), limit);
        }
        return limit;
    }

    static void copy(uint8_t* dst, const uint8_t* src, int32_t n, int32_t dstRoom,
                     int32_t srcRoom) {
        if (n <= kVector && dstRoom >= kVector && srcRoom >= kVector)
            storeFirst(dst, loadu(src), n);
        else
            copyExact(dst, src, n);
    }

    static void fill(uint8_t* dst, uint8_t value, int32_t n, int32_t dstRoom) {
        if (dstRoom >= packbits::kMaxPacket)
            fillStepping(dst, splat8(static_cast<int8_t>(value)), n);
        else
            std::memset(dst, value, static_cast<size_t>(n));
    }

    // While a whole packet and its 16-byte steps fit in both buffers no stop
    // can occur, so packets decode without the per-packet checks.
    static void fastUnpack(const uint8_t* src, int32_t& at, int32_t srcLength, uint8_t* dst,
                           int32_t& out, int32_t dstLength) {
        while (at <= srcLength - 1 - packbits::kMaxPacket &&
               out <= dstLength - packbits::kMaxPacket) {
            const auto header = static_cast<int8_t>(src[at]);
            if (header >= 0) {
                const int32_t count = header + 1;
                copyStepping(dst + out, src + at + 1, count);
                out += count;
                at += 1 + count;
            } else if (header != packbits::kNoOperation) {
                const int32_t count = 1 - header;
                fillStepping(dst + out, splat8(static_cast<int8_t>(src[at + 1])), count);
                out += count;
                at += 2;
            } else {
                ++at;
            }
        }
    }

private:
    // The scan of a packet's start serves both its run and literal tests.
    uint64_t pairsAt(const uint8_t* src, int32_t from, int32_t srcLength) {
        if (from != cachedFrom_) {
            cachedFrom_ = from;
            cached_ = equalPairs(src, from, srcLength);
        }
        return cached_;
    }

    int32_t cachedFrom_ = -1;
    uint64_t cached_ = 0;
};

}  // namespace

ZeqStatus packBitsRowSse2(const uint8_t* src, int32_t srcLength, uint8_t* dst, int32_t* position,
                          int32_t capacity) {
    return packbits::packBitsRowWith<Sse2Kernels>(src, srcLength, dst, position, capacity);
}

ZeqStatus unpackBitsRowSse2(const uint8_t* src, int32_t* position, int32_t srcLength, uint8_t* dst,
                            int32_t dstLength) {
    return packbits::unpackBitsRowWith<Sse2Kernels>(src, position, srcLength, dst, dstLength);
}

}  // namespace zeq
