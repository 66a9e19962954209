// Block quantization and dequantization: the coefficient formulas against
// exact arithmetic, the vector kernels against the scalar ones, and the API.
#include "jpeg/sample/quantize.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <vector>

#include "jpeg/sample/quantize_sse2.h"
#include "tests/common/test_support.h"
#include "zeqj.h"

namespace {

using namespace zeq;
using Block = std::array<int16_t, 64>;
using Table16 = std::array<uint16_t, 64>;

int16_t saturate(int64_t v) {
    return static_cast<int16_t>(v > 32767 ? 32767 : (v < -32768 ? -32768 : v));
}

// Round half to even of p / 2^15 by 64-bit floor division, then saturation.
int16_t referenceQuantize(int16_t c, uint16_t r) {
    const int64_t p = int64_t{c} * r;
    const int64_t floorQ = p >= 0 ? p / 32768 : -((-p + 32767) / 32768);
    const int64_t rem = p - floorQ * 32768;
    return saturate(floorQ + (rem > 16384 || (rem == 16384 && (floorQ & 1))));
}

// Reciprocals that matter (0, the zero-quantizer 65535, the sign-bit edge at
// 32768) plus random ones.
std::vector<uint16_t> interestingTableValues(uint32_t seed) {
    std::vector<uint16_t> values = {0,     1,     2,     3,     129,   255,   10923,
                                    16384, 32767, 32768, 32769, 65534, 65535};
    auto& rng = test::seededRng(seed);
    for (int i = 0; i < test::scaledCount(60); ++i)
        values.push_back(test::uniform<uint16_t>(rng, 0, 65535));
    return values;
}

TEST(QuantizeCoefficient, EveryCoefficientMatchesExactRoundHalfEven) {
    for (uint16_t r : interestingTableValues(7)) {
        for (int c0 = -32768; c0 <= 32767; c0 += 8) {
            int16_t lanes[8], out[8], outBelow[8];
            for (int k = 0; k < 8; ++k) lanes[k] = static_cast<int16_t>(c0 + k);
            const sse2::V128 splat = sse2::splat16(static_cast<int16_t>(r));
            sse2::storeu(out, sse2::quantizeLanes(sse2::loadu(lanes), splat));
            sse2::storeu(outBelow, sse2::quantizeLanes<true>(sse2::loadu(lanes), splat));
            for (int k = 0; k < 8; ++k) {
                const int16_t expected = referenceQuantize(lanes[k], r);
                ASSERT_EQ(quantizeCoefficient(lanes[k], r), expected) << lanes[k] << " * " << r;
                ASSERT_EQ(out[k], expected) << "vector " << lanes[k] << " * " << r;
                if (r < 32768) {
                    ASSERT_EQ(outBelow[k], expected) << lanes[k] << " * " << r;
                }
            }
        }
    }
}

TEST(DequantizeCoefficient, EveryCoefficientMatchesSaturatedProduct) {
    for (uint16_t q : interestingTableValues(8)) {
        for (int c0 = -32768; c0 <= 32767; c0 += 8) {
            int16_t lanes[8], out[8];
            for (int k = 0; k < 8; ++k) lanes[k] = static_cast<int16_t>(c0 + k);
            sse2::storeu(out, sse2::dequantizeLanes(sse2::loadu(lanes),
                                                    sse2::splat16(static_cast<int16_t>(q))));
            for (int k = 0; k < 8; ++k) {
                const int16_t expected = saturate(int64_t{lanes[k]} * q);
                ASSERT_EQ(dequantizeCoefficient(lanes[k], q), expected) << lanes[k] << " * " << q;
                ASSERT_EQ(out[k], expected) << "vector " << lanes[k] << " * " << q;
            }
        }
    }
}

TEST(QuantizeCoefficient, TiesAndExtremesFromTheTable) {
    struct Case {
        int16_t c;
        uint16_t r;
        int16_t expected;
    } const cases[] = {
        {3, 16384, 2},            // 1.5 -> 2
        {5, 16384, 2},            // 2.5 -> 2
        {-3, 16384, -2},          // -1.5 -> -2
        {-5, 16384, -2},          // -2.5 -> -2
        {1, 16384, 0},            // 0.5 -> 0
        {-1, 16384, 0},           // -0.5 -> 0
        {-32768, 32768, -32768},  // p = -2^30
        {32767, 32768, 32767},
        {32767, 65535, 32767},    // saturates
        {-32768, 65535, -32768},  // saturates
        {100, 0, 0},
    };
    for (const auto& c : cases) {
        Block block{};
        block[17] = c.c;
        Table16 table{};
        table[17] = c.r;
        ASSERT_EQ(zeqiQuantFwd8x8_JPEG_16s_C1I(block.data(), table.data()), StatusOk);
        EXPECT_EQ(block[17], c.expected) << c.c << " * " << c.r;
    }
}

TEST(QuantizeBlock, VectorMatchesScalarOnRandomBlocks) {
    auto& rng = test::seededRng(11);
    for (int n = 0; n < test::scaledCount(100000); ++n) {
        Block block;
        Table16 fwd, inv;
        // Mix full-range and small (typical) coefficients and tables.
        const bool small = n % 2;
        for (int i = 0; i < 64; ++i) {
            block[i] = small ? test::uniform<int16_t>(rng, -2048, 2047)
                             : test::uniform<int16_t>(rng, -32768, 32767);
            // Tables of quantizers 2..255 (all reciprocals below 32768), with
            // a quantizer of 1 (32768), and of any 16-bit value.
            fwd[i] = n % 3 == 0   ? test::uniform<uint16_t>(rng, 0, 65535)
                     : n % 3 == 1 ? test::uniform<uint16_t>(rng, 129, 16384)
                                  : test::uniform<uint16_t>(rng, 129, 32768);
            inv[i] = n % 3 ? test::uniform<uint16_t>(rng, 1, 255)
                           : test::uniform<uint16_t>(rng, 0, 65535);
        }
        if (n % 3 == 2) fwd[n % 64] = 32768;
        Block qVec = block, qRef = block, dVec = block, dRef = block;
        quantizeBlockSse2(qVec.data(), fwd.data());
        quantizeBlockScalar(qRef.data(), fwd.data());
        ASSERT_EQ(qVec, qRef) << "block " << n;
        dequantizeBlockSse2(dVec.data(), inv.data());
        dequantizeBlockScalar(dRef.data(), inv.data());
        ASSERT_EQ(dVec, dRef) << "block " << n;
    }
}

TEST(QuantizeBlock, RoundTripThroughPreparedTablesStaysWithinHalfAStep) {
    uint8_t raw[64];
    for (int i = 0; i < 64; ++i) raw[i] = static_cast<uint8_t>(1 + (i * 37) % 200);
    Table16 fwd, inv;
    ASSERT_EQ(zeqiQuantFwdTableInit_JPEG_8u16u(raw, fwd.data()), StatusOk);
    ASSERT_EQ(zeqiQuantInvTableInit_JPEG_8u16u(raw, inv.data()), StatusOk);
    auto& rng = test::seededRng(12);
    for (int n = 0; n < test::scaledCount(2000); ++n) {
        Block original;
        for (auto& v : original) v = test::uniform<int16_t>(rng, -1024, 1023);
        Block block = original;
        ASSERT_EQ(zeqiQuantFwd8x8_JPEG_16s_C1I(block.data(), fwd.data()), StatusOk);
        ASSERT_EQ(zeqiQuantInv8x8_JPEG_16s_C1I(block.data(), inv.data()), StatusOk);
        for (int i = 0; i < 64; ++i) {
            // Half a step, plus what the 15-bit reciprocal (off by at most 1)
            // adds for |c| up to 1024: q * 1024 / 2^15.
            const double bound = inv[i] * (0.5 + 1024.0 / 32768.0);
            ASSERT_LE(std::abs(block[i] - original[i]), bound) << i;
        }
    }
}

TEST(DequantizeBlock, ZeroQuantizerGivesZero) {
    Block block;
    block.fill(1234);
    Table16 inv;
    inv.fill(3);
    inv[9] = 0;
    ASSERT_EQ(zeqiQuantInv8x8_JPEG_16s_C1I(block.data(), inv.data()), StatusOk);
    EXPECT_EQ(block[9], 0);
    EXPECT_EQ(block[8], 3702);
    EXPECT_EQ(block[10], 3702);
}

TEST(QuantizeApi, NullPointersReturnWithoutWriting) {
    Block block;
    block.fill(77);
    const Block before = block;
    Table16 table;
    table.fill(1);
    EXPECT_EQ(zeqiQuantFwd8x8_JPEG_16s_C1I(nullptr, table.data()), StatusNullPointer);
    EXPECT_EQ(zeqiQuantFwd8x8_JPEG_16s_C1I(block.data(), nullptr), StatusNullPointer);
    EXPECT_EQ(zeqiQuantInv8x8_JPEG_16s_C1I(nullptr, table.data()), StatusNullPointer);
    EXPECT_EQ(zeqiQuantInv8x8_JPEG_16s_C1I(block.data(), nullptr), StatusNullPointer);
    EXPECT_EQ(block, before);
}

}  // namespace
