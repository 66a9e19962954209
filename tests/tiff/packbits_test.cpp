// PackBits rows: exact packets for the run, literal and merge cases, round
// trips of random rows, partial progress at every small capacity, decoder
// stops, and the check order of both functions.
#include "tiff/packbits.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/common/test_support.h"
#include "zeqj.h"

namespace {

using namespace zeq;
using Bytes = std::vector<uint8_t>;

Bytes distinct(int n, int first = 0) {
    Bytes b;
    for (int i = 0; i < n; ++i) b.push_back(static_cast<uint8_t>((first + i) % 200));
    return b;
}
Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
Bytes repeat(int n, uint8_t v) { return Bytes(static_cast<size_t>(n), v); }
Bytes literal(const Bytes& data) { return Bytes{static_cast<uint8_t>(data.size() - 1)} + data; }
Bytes run(int n, uint8_t v) { return Bytes{static_cast<uint8_t>(1 - n), v}; }

Bytes encode(const Bytes& row, ZeqStatus* status = nullptr) {
    Bytes out(row.size() * 2 + 8);
    int32_t position = 0;
    const ZeqStatus s =
        zeqiPackBitsRow_TIFF_8u_C1(row.data(), static_cast<int32_t>(row.size()), out.data(),
                                   &position, static_cast<int32_t>(out.size()));
    if (status) *status = s;
    out.resize(static_cast<size_t>(position));
    return out;
}

TEST(PackBitsEncode, ExactPacketsForRunsLiteralsAndMerges) {
    const Bytes ab = {'A', 'B'};
    struct Case {
        const char* name;
        Bytes row;
        Bytes packed;
    } const cases[] = {
        {"one byte", {'A'}, literal({'A'})},
        {"two equal bytes are a repeat", {'A', 'A'}, run(2, 'A')},
        {"two different bytes", ab, literal(ab)},
        {"128 equal bytes", repeat(128, 7), run(128, 7)},
        {"129 equal bytes", repeat(129, 7), run(128, 7) + literal({7})},
        {"130 equal bytes", repeat(130, 7), run(128, 7) + run(2, 7)},
        {"repeat first, no literal before it", Bytes{'A', 'A', 'B', 'C'},
         run(2, 'A') + literal({'B', 'C'})},
        {"literal, two-byte run, literal merge", Bytes{'A', 'B', 'C', 'C', 'D'},
         literal({'A', 'B', 'C', 'C', 'D'})},
        {"row ending on a two-byte run", Bytes{'A', 'B', 'C', 'C'}, literal(ab) + run(2, 'C')},
        {"three-byte run is never merged", Bytes{'A', 'B', 'B', 'B', 'C'},
         literal({'A'}) + run(3, 'B') + literal({'C'})},
        {"merges chain", Bytes{'A', 'B', 'B', 'C', 'D', 'D', 'E'},
         literal({'A', 'B', 'B', 'C', 'D', 'D', 'E'})},
        {"two runs in a row break the merge", Bytes{'A', 'B', 'B', 'C', 'C', 'D'},
         literal({'A'}) + run(2, 'B') + run(2, 'C') + literal({'D'})},
        {"literal of 125 still merges", distinct(125) + repeat(2, 250) + Bytes{251},
         literal(distinct(125) + repeat(2, 250) + Bytes{251})},
        {"literal of 126 does not merge", distinct(126) + repeat(2, 250) + Bytes{251},
         literal(distinct(126)) + run(2, 250) + literal({251})},
        {"merge stops at 128, the rest is a new literal",
         distinct(125) + repeat(2, 250) + distinct(10, 201),
         literal(distinct(125) + repeat(2, 250) + distinct(1, 201)) + literal(distinct(9, 202))},
        {"merge of 124 fills exactly 128", distinct(124) + repeat(2, 250) + distinct(2, 201),
         literal(distinct(124) + repeat(2, 250) + distinct(2, 201))},
        {"literals end at 128 bytes", distinct(130),
         literal(distinct(128)) + literal(distinct(2, 128))},
        {"literal ends before a pair", Bytes{'A', 'B', 'C', 'C', 'C'}, literal(ab) + run(3, 'C')},
    };
    for (const auto& c : cases) {
        ZeqStatus status;
        EXPECT_EQ(encode(c.row, &status), c.packed) << c.name;
        EXPECT_EQ(status, StatusOk) << c.name;
    }
}

Bytes decode(const Bytes& packed, size_t length, ZeqStatus* status, int32_t* position) {
    Bytes out(length);
    *position = 0;
    *status =
        zeqiUnpackBitsRow_TIFF_8u_C1(packed.data(), position, static_cast<int32_t>(packed.size()),
                                     out.data(), static_cast<int32_t>(length));
    return out;
}

// Rows from a small alphabet, with forced runs, so every packet kind occurs.
Bytes randomRow(std::mt19937& rng, int length) {
    Bytes row;
    const int alphabet = test::uniform<int>(rng, 2, 256);
    while (static_cast<int>(row.size()) < length) {
        const auto v = test::uniform<uint8_t>(rng, 0, alphabet - 1);
        const int n = test::uniform<int>(rng, 0, 3) == 0 ? test::uniform<int>(rng, 1, 140) : 1;
        for (int i = 0; i < n && static_cast<int>(row.size()) < length; ++i) row.push_back(v);
    }
    return row;
}

TEST(PackBitsRow, RandomRowsRoundTripAndStayCompact) {
    auto& rng = test::seededRng(21);
    for (int n = 0; n < test::scaledCount(3000); ++n) {
        const Bytes row = randomRow(rng, test::uniform<int>(rng, 1, 700));
        ZeqStatus status;
        const Bytes packed = encode(row, &status);
        ASSERT_EQ(status, StatusOk);
        // At most one header per 128 bytes beyond the row itself.
        ASSERT_LE(packed.size(), row.size() + (row.size() + 127) / 128);
        int32_t position;
        ASSERT_EQ(decode(packed, row.size(), &status, &position), row) << n;
        ASSERT_EQ(status, StatusOk);
        ASSERT_EQ(position, static_cast<int32_t>(packed.size()));
    }
}

// Every capacity short of the full output stops with the position reached,
// writes nothing at or past the capacity, and leaves whole packets that decode
// to a prefix of the row; more room never means less progress.
TEST(PackBitsEncode, EverySmallCapacityStopsCleanlyWithItsPosition) {
    auto& rng = test::seededRng(22);
    for (int n = 0; n < test::scaledCount(200); ++n) {
        const Bytes row = randomRow(rng, test::uniform<int>(rng, 1, 300));
        const Bytes full = encode(row);
        const int32_t start = test::uniform<int32_t>(rng, 0, 5);
        int32_t lastPosition = start;
        for (int32_t capacity = 1; capacity < start + static_cast<int32_t>(full.size());
             ++capacity) {
            Bytes dst(static_cast<size_t>(capacity) + 64, 0xA5);
            int32_t position = start;
            ASSERT_EQ(zeqiPackBitsRow_TIFF_8u_C1(row.data(), static_cast<int32_t>(row.size()),
                                                 dst.data(), &position, capacity),
                      StatusRowBufferExhausted)
                << capacity;
            ASSERT_GE(position, lastPosition);
            ASSERT_LE(position, std::max(capacity, start));
            lastPosition = position;
            for (size_t i = static_cast<size_t>(std::max(capacity, position)); i < dst.size(); ++i)
                ASSERT_EQ(dst[i], 0xA5) << "capacity " << capacity << " byte " << i;
            for (int32_t i = 0; i < start; ++i) ASSERT_EQ(dst[static_cast<size_t>(i)], 0xA5);
            // Decode what was written until the packets run out.
            const Bytes written(dst.begin() + start, dst.begin() + position);
            Bytes decoded;
            for (size_t at = 0; at < written.size();) {
                const auto h = static_cast<int8_t>(written[at]);
                const size_t count =
                    h < 0 ? static_cast<size_t>(1 - h) : static_cast<size_t>(h + 1);
                if (h < 0) {
                    decoded.insert(decoded.end(), count, written[at + 1]);
                    at += 2;
                } else {
                    ASSERT_LE(at + 1 + count, written.size());
                    decoded.insert(decoded.end(), written.begin() + static_cast<long>(at) + 1,
                                   written.begin() + static_cast<long>(at + 1 + count));
                    at += 1 + count;
                }
            }
            ASSERT_LT(decoded.size(), row.size());
            ASSERT_TRUE(std::equal(decoded.begin(), decoded.end(), row.begin()));
        }
    }
}

TEST(PackBitsEncode, PositionPastTheCapacityStopsAtOnce) {
    const Bytes row = {1, 2, 3};
    Bytes dst(16, 0xA5);
    int32_t position = 20;
    EXPECT_EQ(zeqiPackBitsRow_TIFF_8u_C1(row.data(), 3, dst.data(), &position, 16),
              StatusRowBufferExhausted);
    EXPECT_EQ(position, 20);
    EXPECT_EQ(dst, Bytes(16, 0xA5));
}

TEST(PackBitsDecode, StopsAndReportsWhereTheWorkWent) {
    struct Case {
        const char* name;
        Bytes packed;
        int32_t start;
        size_t length;
        ZeqStatus status;
        int32_t position;
        Bytes out;  // the bytes written, the rest stays zero
    } const cases[] = {
        {"extra packets are not read",
         Bytes{1, 'A', 'B', 0xFF, 'C', 0, 'D'},
         0,
         4,
         StatusOk,
         5,
         {'A', 'B', 'C', 'C'}},
        {"no-operation header consumes one byte",
         Bytes{0x80, 0, 'A', 0x80, 0, 'B'},
         0,
         2,
         StatusOk,
         6,
         {'A', 'B'}},
        {"start offset is honoured", Bytes{9, 9, 0xFE, 'Z'}, 2, 3, StatusOk, 4, {'Z', 'Z', 'Z'}},
        {"source ends before the row is full",
         Bytes{0, 'A'},
         0,
         2,
         StatusRowBufferExhausted,
         2,
         {'A', 0}},
        {"start at the end of the source", Bytes{0, 'A'}, 2, 1, StatusRowBufferExhausted, 2, {0}},
        {"repeat would overfill the row",
         Bytes{0, 'A', 0xFE, 'B'},
         0,
         3,
         StatusRowBufferExhausted,
         2,
         {'A', 0, 0}},
        {"literal would overfill the row",
         Bytes{2, 'A', 'B', 'C'},
         0,
         2,
         StatusRowBufferExhausted,
         0,
         {0, 0}},
        {"repeat byte missing",
         Bytes{0, 'A', 0xFE},
         0,
         4,
         StatusRowBufferExhausted,
         2,
         {'A', 0, 0, 0}},
        {"literal cut short", Bytes{3, 'A', 'B'}, 0, 4, StatusRowBufferExhausted, 0, {0, 0, 0, 0}},
        {"trailing no-operation only",
         Bytes{0, 'A', 0x80},
         0,
         2,
         StatusRowBufferExhausted,
         3,
         {'A', 0}},
    };
    for (const auto& c : cases) {
        Bytes out(c.length + 8, 0);
        int32_t position = c.start;
        EXPECT_EQ(zeqiUnpackBitsRow_TIFF_8u_C1(c.packed.data(), &position,
                                               static_cast<int32_t>(c.packed.size()), out.data(),
                                               static_cast<int32_t>(c.length)),
                  c.status)
            << c.name;
        EXPECT_EQ(position, c.position) << c.name;
        EXPECT_EQ(Bytes(out.begin(), out.begin() + static_cast<long>(c.length)), c.out) << c.name;
        EXPECT_EQ(Bytes(out.begin() + static_cast<long>(c.length), out.end()), Bytes(8, 0))
            << c.name;
    }
}

// Arguments in list order: a null pointer or a length below 1 in an earlier
// argument wins over a later one; a negative position is refused last.
TEST(PackBitsApi, FirstFailingCheckWinsAndNothingMoves) {
    const uint8_t row[4] = {1, 1, 2, 3};
    struct Case {
        bool srcNull;
        int32_t srcLength;
        bool dstNull;
        bool positionNull;
        int32_t capacity;
        int32_t position;
        ZeqStatus expected;
    } const cases[] = {
        {true, 0, true, true, 0, 0, StatusNullPointer},
        {false, 0, true, true, 0, 0, StatusBadSize},
        {false, -3, false, false, 8, 0, StatusBadSize},
        {false, 4, true, false, 0, 0, StatusNullPointer},
        {false, 4, false, true, 0, 0, StatusNullPointer},
        {false, 4, false, false, 0, 0, StatusBadSize},
        {false, 4, false, false, 8, -1, StatusBadArgument},
        {false, 4, false, false, 8, 0, StatusOk},
    };
    for (const auto& c : cases) {
        Bytes dst(16, 0xA5);
        int32_t position = c.position;
        EXPECT_EQ(zeqiPackBitsRow_TIFF_8u_C1(c.srcNull ? nullptr : row, c.srcLength,
                                             c.dstNull ? nullptr : dst.data(),
                                             c.positionNull ? nullptr : &position, c.capacity),
                  c.expected);
        if (c.expected != StatusOk) {
            EXPECT_EQ(dst, Bytes(16, 0xA5));
            EXPECT_EQ(position, c.position);
        }
    }
}

TEST(UnpackBitsApi, FirstFailingCheckWinsAndNothingMoves) {
    const uint8_t packed[3] = {1, 'A', 'B'};
    struct Case {
        bool srcNull;
        bool positionNull;
        int32_t srcLength;
        bool dstNull;
        int32_t dstLength;
        int32_t position;
        ZeqStatus expected;
    } const cases[] = {
        {true, true, 0, true, 0, 0, StatusNullPointer},
        {false, true, 0, true, 0, 0, StatusNullPointer},
        {false, false, 0, true, 0, 0, StatusBadSize},
        {false, false, 3, true, 0, 0, StatusNullPointer},
        {false, false, 3, false, 0, 0, StatusBadSize},
        {false, false, 3, false, -2, 0, StatusBadSize},
        {false, false, 3, false, 2, -1, StatusBadArgument},
        {false, false, 3, false, 2, 0, StatusOk},
    };
    for (const auto& c : cases) {
        Bytes out(16, 0xA5);
        int32_t position = c.position;
        EXPECT_EQ(zeqiUnpackBitsRow_TIFF_8u_C1(c.srcNull ? nullptr : packed,
                                               c.positionNull ? nullptr : &position, c.srcLength,
                                               c.dstNull ? nullptr : out.data(), c.dstLength),
                  c.expected);
        if (c.expected != StatusOk) {
            EXPECT_EQ(out, Bytes(16, 0xA5));
            EXPECT_EQ(position, c.position);
        }
    }
}

}  // namespace
