// Split and join of 16-bit rows: vector against scalar at every count and
// alignment, exact byte placement, round trip, and the check order with its
// StatusBadStep for a count below 1.
#include "tiff/byte_planes.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/common/test_support.h"
#include "zeqj.h"

namespace {

using namespace zeq;
using test::ByteImage;

TEST(BytePlanes, VectorMatchesScalarForEveryCountAndAlignment) {
    auto& rng = test::seededRng(31);
    for (int32_t count = 1; count <= 80; ++count) {
        for (int offset = 0; offset < 3; ++offset) {
            std::vector<uint8_t> row(static_cast<size_t>(2 * count + offset));
            test::fillRandom(rng, row.data(), row.size());
            ByteImage hi(count, 1, offset), lo(count, 1, offset + 1);
            ByteImage hiRef(count, 1, offset), loRef(count, 1, offset + 1);
            splitRowSse2(row.data() + offset, hi.data(), lo.data(), count);
            splitRowScalar(row.data() + offset, hiRef.data(), loRef.data(), count);
            ASSERT_EQ(hi.allBytes(), hiRef.allBytes()) << count;
            ASSERT_EQ(lo.allBytes(), loRef.allBytes()) << count;

            ByteImage joined(2 * count, 1, offset), joinedRef(2 * count, 1, offset);
            joinRowSse2(hi.data(), lo.data(), joined.data(), count);
            joinRowScalar(hi.data(), lo.data(), joinedRef.data(), count);
            ASSERT_EQ(joined.allBytes(), joinedRef.allBytes()) << count;
            ASSERT_TRUE(std::equal(row.begin() + offset, row.end(), joined.data()));
        }
    }
}

TEST(BytePlanes, PlaneZeroHoldsTheHighBytes) {
    const uint16_t samples[3] = {0x1234, 0xABCD, 0x00FF};
    uint8_t hi[3], lo[3];
    uint8_t* const planes[2] = {hi, lo};
    ASSERT_EQ(zeqiSplitRow_TIFF_16u8u_C1(reinterpret_cast<const uint8_t*>(samples), planes, 3),
              StatusOk);
    EXPECT_EQ(std::vector<uint8_t>(hi, hi + 3), (std::vector<uint8_t>{0x12, 0xAB, 0x00}));
    EXPECT_EQ(std::vector<uint8_t>(lo, lo + 3), (std::vector<uint8_t>{0x34, 0xCD, 0xFF}));
    uint16_t back[3] = {};
    const uint8_t* const in[2] = {hi, lo};
    ASSERT_EQ(zeqiJoinRow_TIFF_8u16u_C1(in, reinterpret_cast<uint8_t*>(back), 3), StatusOk);
    EXPECT_EQ(back[0], 0x1234);
    EXPECT_EQ(back[1], 0xABCD);
    EXPECT_EQ(back[2], 0x00FF);
}

TEST(BytePlanesApi, NullPointersThenCountBelowOneAsBadStep) {
    std::vector<uint8_t> row(8, 0xA5);
    ByteImage hi(4, 1), lo(4, 1);
    uint8_t* const planes[2] = {hi.data(), lo.data()};
    uint8_t* const firstNull[2] = {nullptr, lo.data()};
    uint8_t* const secondNull[2] = {hi.data(), nullptr};
    struct Case {
        bool rowNull;
        uint8_t* const* planes;
        int32_t count;
        ZeqStatus expected;
    } const cases[] = {
        {true, nullptr, 0, StatusNullPointer},    {false, nullptr, 0, StatusNullPointer},
        {false, firstNull, 0, StatusNullPointer}, {false, secondNull, 0, StatusNullPointer},
        {false, planes, 0, StatusBadStep},        {false, planes, -1, StatusBadStep},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(zeqiSplitRow_TIFF_16u8u_C1(c.rowNull ? nullptr : row.data(), c.planes, c.count),
                  c.expected);
        EXPECT_EQ(zeqiJoinRow_TIFF_8u16u_C1(c.planes, c.rowNull ? nullptr : row.data(), c.count),
                  c.expected);
        EXPECT_TRUE(hi.untouched());
        EXPECT_TRUE(lo.untouched());
        EXPECT_EQ(row, std::vector<uint8_t>(8, 0xA5));
    }
}

}  // namespace
