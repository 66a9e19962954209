// The SSE2 PackBits kernels against the scalar reference: the same packets,
// status, position and untouched bytes for random rows of every texture, at
// every start offset and many capacities, and the same decode of random
// packet streams, truncated sources and short rows.
#include <gtest/gtest.h>

#include <vector>

#include "tests/common/test_support.h"
#include "tiff/packbits.h"

namespace {

using namespace zeq;
using Bytes = std::vector<uint8_t>;

// Rows mixing long runs (past the 64-byte scan window and the 128-byte
// packet), two-byte runs and literals, over small or full alphabets.
Bytes randomRow(std::mt19937& rng, int length) {
    Bytes row;
    const int alphabet = test::uniform<int>(rng, 1, 4) == 1 ? 2 : 256;
    const int longRuns = test::uniform<int>(rng, 0, 10);
    while (static_cast<int>(row.size()) < length) {
        const auto v = test::uniform<uint8_t>(rng, 0, alphabet - 1);
        const int kind = test::uniform<int>(rng, 0, 9);
        const int n = kind < longRuns / 3       ? test::uniform<int>(rng, 60, 300)
                      : kind < longRuns / 2 + 1 ? test::uniform<int>(rng, 3, 20)
                      : kind < 5                ? 2
                                                : 1;
        for (int i = 0; i < n && static_cast<int>(row.size()) < length; ++i) row.push_back(v);
    }
    return row;
}

constexpr int kGuard = 40;

struct EncodeResult {
    ZeqStatus status;
    int32_t position;
    Bytes dst;  // the whole buffer, guards included
    bool operator==(const EncodeResult& o) const {
        return status == o.status && position == o.position && dst == o.dst;
    }
};

using EncodeFn = ZeqStatus (*)(const uint8_t*, int32_t, uint8_t*, int32_t*, int32_t);

EncodeResult encodeWith(EncodeFn fn, const Bytes& row, int32_t start, int32_t capacity) {
    EncodeResult r{StatusOk, start, Bytes(static_cast<size_t>(capacity) + kGuard, 0x5A)};
    r.status =
        fn(row.data(), static_cast<int32_t>(row.size()), r.dst.data(), &r.position, capacity);
    return r;
}

TEST(PackBitsSse2, EncodeMatchesTheScalarKernelAtEveryCapacity) {
    auto& rng = test::seededRng(81);
    for (int n = 0; n < test::scaledCount(2500); ++n) {
        const Bytes row = randomRow(rng, test::uniform<int>(rng, 1, n % 10 == 0 ? 5000 : 400));
        const int32_t start = test::uniform<int32_t>(rng, 0, 20);
        const int32_t full = start + 2 * static_cast<int32_t>(row.size()) + 2;
        const int32_t capacities[] = {full, test::uniform<int32_t>(rng, start, full),
                                      test::uniform<int32_t>(rng, start, start + 40), start + 1};
        for (const int32_t capacity : capacities) {
            const EncodeResult scalar = encodeWith(packBitsRowScalar, row, start, capacity);
            const EncodeResult sse2 = encodeWith(packBitsRowSse2, row, start, capacity);
            ASSERT_TRUE(sse2 == scalar) << "row " << n << " length " << row.size() << " start "
                                        << start << " capacity " << capacity;
        }
    }
}

// A stop right after any packet leaves the bytes from the position to the
// capacity as they were, whatever the kernel rewrote around them.
TEST(PackBitsSse2, EncodeMatchesTheScalarKernelAtEverySmallCapacity) {
    auto& rng = test::seededRng(83);
    for (int n = 0; n < test::scaledCount(150); ++n) {
        const Bytes row = randomRow(rng, test::uniform<int>(rng, 1, 300));
        const int32_t start = test::uniform<int32_t>(rng, 0, 3);
        for (int32_t capacity = start; capacity < start + 2 * static_cast<int32_t>(row.size()) + 2;
             ++capacity) {
            const EncodeResult scalar = encodeWith(packBitsRowScalar, row, start, capacity);
            const EncodeResult sse2 = encodeWith(packBitsRowSse2, row, start, capacity);
            ASSERT_TRUE(sse2 == scalar) << "row " << n << " capacity " << capacity;
        }
    }
}

using DecodeFn = ZeqStatus (*)(const uint8_t*, int32_t*, int32_t, uint8_t*, int32_t);

struct DecodeResult {
    ZeqStatus status;
    int32_t position;
    Bytes dst;
    bool operator==(const DecodeResult& o) const {
        return status == o.status && position == o.position && dst == o.dst;
    }
};

DecodeResult decodeWith(DecodeFn fn, const Bytes& packed, int32_t start, int32_t length) {
    DecodeResult r{StatusOk, start, Bytes(static_cast<size_t>(length) + kGuard, 0x5A)};
    r.status =
        fn(packed.data(), &r.position, static_cast<int32_t>(packed.size()), r.dst.data(), length);
    return r;
}

// Packet streams: encoder output of random rows, with no-operation headers
// and damaged headers mixed in at random.
Bytes randomPackets(std::mt19937& rng, int32_t& rowLength) {
    const Bytes row = randomRow(rng, test::uniform<int>(rng, 1, 3000));
    Bytes packed(row.size() * 2 + 2);
    int32_t position = 0;
    packBitsRowScalar(row.data(), static_cast<int32_t>(row.size()), packed.data(), &position,
                      static_cast<int32_t>(packed.size()));
    packed.resize(static_cast<size_t>(position));
    const int damage = test::uniform<int>(rng, 0, 3);
    for (int d = 0; d < damage; ++d) {
        const auto at = test::uniform<size_t>(rng, 0, packed.size());
        packed.insert(
            packed.begin() + static_cast<long>(at),
            test::uniform<int>(rng, 0, 1) ? uint8_t{0x80} : test::uniform<uint8_t>(rng, 0, 255));
    }
    rowLength = static_cast<int32_t>(row.size());
    return packed;
}

TEST(PackBitsSse2, DecodeMatchesTheScalarKernelOnWholeCutAndDamagedStreams) {
    auto& rng = test::seededRng(82);
    for (int n = 0; n < test::scaledCount(2500); ++n) {
        int32_t rowLength = 0;
        Bytes packed = randomPackets(rng, rowLength);
        if (test::uniform<int>(rng, 0, 3) == 0)
            packed.resize(test::uniform<size_t>(rng, 1, packed.size()));
        const int32_t start = test::uniform<int32_t>(rng, 0, 2);
        const int32_t lengths[] = {rowLength, test::uniform<int32_t>(rng, 1, rowLength + 200),
                                   test::uniform<int32_t>(rng, 1, 20)};
        for (const int32_t length : lengths) {
            const DecodeResult scalar = decodeWith(unpackBitsRowScalar, packed, start, length);
            const DecodeResult sse2 = decodeWith(unpackBitsRowSse2, packed, start, length);
            ASSERT_TRUE(sse2 == scalar) << "stream " << n << " of " << packed.size()
                                        << " bytes, start " << start << " length " << length;
        }
    }
}

}  // namespace
