// Quality scaling and the preparation of forward and inverse tables.
#include "jpeg/sample/quant_tables.h"

#include <gtest/gtest.h>

#include <array>
#include <numeric>

#include "jpeg/zigzag.h"
#include "zeqj.h"

namespace {

using Table8 = std::array<uint8_t, 64>;
using Table16 = std::array<uint16_t, 64>;

// The example luminance table of JPEG, in zigzag order.
constexpr Table8 kLuma = {16, 11, 12, 14, 12, 10, 16, 14, 13, 14, 18, 17, 16, 19, 24, 40,
                          26, 24, 22, 22, 24, 49, 35, 37, 29, 40, 58, 51, 61, 60, 57, 51,
                          56, 55, 64, 72, 92, 78, 64, 68, 87, 69, 55, 56, 80, 109, 81, 87,
                          95, 98, 103, 104, 103, 62, 77, 113, 121, 112, 100, 120, 92, 101, 103, 99};

Table8 scaled(Table8 t, int32_t quality) {
    EXPECT_EQ(zeqiQuantFwdRawTableInit_JPEG_8u(t.data(), quality), StatusOk);
    return t;
}

TEST(QuantRawTable, QualityScalingFollowsTheFixedPercentages) {
    EXPECT_EQ(scaled(kLuma, 50), kLuma);
    Table8 ones;
    ones.fill(1);
    for (int q : {100, 101, 1000, INT32_MAX}) EXPECT_EQ(scaled(kLuma, q), ones) << q;

    // Quality 1: scale 5000, so every entry of at least 1 saturates to 255.
    Table8 maxed;
    maxed.fill(255);
    EXPECT_EQ(scaled(kLuma, 1), maxed);

    // Both branches and the rounding of (e * scale + 50) / 100, checked per entry.
    for (int quality : {2, 10, 33, 49, 51, 75, 90, 99}) {
        const int scale = quality < 50 ? 5000 / quality : 200 - 2 * quality;
        const Table8 t = scaled(kLuma, quality);
        for (int i = 0; i < 64; ++i) {
            const int v = (kLuma[i] * scale + 50) / 100;
            ASSERT_EQ(t[i], v > 255 ? 255 : (v < 1 ? 1 : v)) << quality << " " << i;
        }
    }
    EXPECT_EQ(scaled(kLuma, 75)[0], 8);   // (16 * 50 + 50) / 100
    EXPECT_EQ(scaled(kLuma, 10)[0], 80);  // (16 * 500 + 50) / 100
}

TEST(QuantRawTable, ChecksPointerThenQualityAndLeavesTableOnFailure) {
    Table8 t = kLuma;
    EXPECT_EQ(zeqiQuantFwdRawTableInit_JPEG_8u(nullptr, 0), StatusNullPointer);
    EXPECT_EQ(zeqiQuantFwdRawTableInit_JPEG_8u(t.data(), 0), StatusBadArgument);
    EXPECT_EQ(zeqiQuantFwdRawTableInit_JPEG_8u(t.data(), -50), StatusBadArgument);
    EXPECT_EQ(t, kLuma);
}

// The reciprocal rule, stated as its rounding cases: above one half rounds
// up; an odd integer part also rounds up from 32767/65536.
uint16_t referenceReciprocal(int q) {
    const uint32_t t = 0x80000000u / static_cast<uint32_t>(q);
    const uint32_t integer = t >> 16, fraction = t & 0xFFFF;
    const bool up = fraction > 32768 || ((integer & 1) && fraction >= 32767);
    return static_cast<uint16_t>(integer + up);
}

TEST(QuantFwdTable, ReciprocalsForEveryQuantizer) {
    EXPECT_EQ(zeq::quantReciprocal(1), 32768);
    EXPECT_EQ(zeq::quantReciprocal(2), 16384);
    EXPECT_EQ(zeq::quantReciprocal(3), 10923);
    EXPECT_EQ(zeq::quantReciprocal(255), 129);
    for (int q = 1; q < 256; ++q) {
        ASSERT_EQ(zeq::quantReciprocal(static_cast<uint8_t>(q)), referenceReciprocal(q)) << q;
        // Always within one of the true reciprocal.
        ASSERT_NEAR(zeq::quantReciprocal(static_cast<uint8_t>(q)), 32768.0 / q, 1.0) << q;
    }
}

TEST(QuantTables, BothTablesAreInNaturalOrder) {
    Table8 raw;
    std::iota(raw.begin(), raw.end(), 1);  // entry k holds zigzag index k + 1
    Table16 fwd{}, inv{};
    ASSERT_EQ(zeqiQuantFwdTableInit_JPEG_8u16u(raw.data(), fwd.data()), StatusOk);
    ASSERT_EQ(zeqiQuantInvTableInit_JPEG_8u16u(raw.data(), inv.data()), StatusOk);
    for (int i = 0; i < 64; ++i) {
        const uint8_t q = static_cast<uint8_t>(zeq::ZigzagToNatural[i] + 1);
        EXPECT_EQ(inv[i], q) << i;
        EXPECT_EQ(fwd[i], zeq::quantReciprocal(q)) << i;
    }
    // Row 1 of the block starts at zigzag index 2; the last entry is index 63.
    EXPECT_EQ(inv[8], 3);
    EXPECT_EQ(inv[63], 64);
    for (int k = 0; k < 64; ++k) EXPECT_EQ(zeq::ZigzagToNatural[zeq::NaturalOfZigzag[k]], k);
}

TEST(QuantTables, ZeroQuantizerWarnsButBuildsTheWholeTable) {
    Table8 raw = kLuma;
    raw[5] = 0;  // zigzag 5 is natural position 2 (row 0, column 2)
    Table16 fwd{}, inv{};
    ASSERT_EQ(zeqiQuantFwdTableInit_JPEG_8u16u(raw.data(), fwd.data()), StatusDivideByZero);
    ASSERT_EQ(zeqiQuantInvTableInit_JPEG_8u16u(raw.data(), inv.data()), StatusOk);
    EXPECT_EQ(fwd[2], 65535);
    EXPECT_EQ(inv[2], 0);
    EXPECT_EQ(fwd[63], zeq::quantReciprocal(raw[63]));
    EXPECT_EQ(fwd[0], zeq::quantReciprocal(16));
}

TEST(QuantTables, NullPointersLeaveTheOutputUntouched) {
    Table8 raw = kLuma;
    Table16 out;
    out.fill(0xBEEF);
    const Table16 before = out;
    EXPECT_EQ(zeqiQuantFwdTableInit_JPEG_8u16u(nullptr, out.data()), StatusNullPointer);
    EXPECT_EQ(zeqiQuantFwdTableInit_JPEG_8u16u(raw.data(), nullptr), StatusNullPointer);
    EXPECT_EQ(zeqiQuantInvTableInit_JPEG_8u16u(nullptr, out.data()), StatusNullPointer);
    EXPECT_EQ(zeqiQuantInvTableInit_JPEG_8u16u(raw.data(), nullptr), StatusNullPointer);
    EXPECT_EQ(out, before);
}

}  // namespace
