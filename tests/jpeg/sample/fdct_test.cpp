// Forward DCT with quantization: the scalar engine against an exact DCT, the
// vector engines against the scalar ones bit for bit, exact values, and the
// exported functions' checks.
#include "jpeg/sample/fdct.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>

#include "tests/jpeg/sample/dct_test_support.h"
#include "zeqj.h"

namespace {

using namespace zeq;
using namespace zeq::test;

TEST(ForwardDctEngine, ScalarEngineIsTheOrthonormalDctWithinOne) {
    auto& rng = seededRng(21);
    for (int n = 0; n < scaledCount(2000); ++n) {
        Block16 block;
        BlockD samples;
        for (int i = 0; i < 64; ++i) {
            block[i] = uniform<int16_t>(rng, -128, 127);
            samples[i] = block[i];
        }
        const BlockD exact = exactForwardDct(samples);
        forwardDctScalar(block.data());
        for (int i = 0; i < 64; ++i)
            ASSERT_NEAR(block[i], exact[i], 1.0) << "block " << n << " at " << i;
    }
}

TEST(ForwardDctEngine, VectorMatchesScalarOnAnyBlock) {
    auto& rng = seededRng(22);
    for (int n = 0; n < scaledCount(100000); ++n) {
        const Block16 input = randomCoefficients(rng, n);
        Block16 vec = input, ref = input;
        forwardDctSse2(vec.data());
        forwardDctScalar(ref.data());
        ASSERT_EQ(vec, ref) << "block " << n;
    }
}

TEST(ForwardDctQuant, VectorMatchesScalarOnAnyBlockAndTable) {
    auto& rng = seededRng(23);
    for (int n = 0; n < scaledCount(100000); ++n) {
        const Block16 input = randomCoefficients(rng, n);
        const Table16 table = randomTable(rng, n / 5, true);
        Block16 vec, ref;
        forwardDctQuantSse2(input.data(), vec.data(), table.data());
        forwardDctQuantScalar(input.data(), ref.data(), table.data());
        ASSERT_EQ(vec, ref) << "block " << n;
    }
}

TEST(ForwardDctQuantSamples, VectorMatchesScalarAtAnyStepAndAlignment) {
    auto& rng = seededRng(24);
    for (int n = 0; n < scaledCount(100000); ++n) {
        const int32_t step = uniform<int32_t>(rng, 8, 40);
        ByteImage image(step, 8, uniform<int>(rng, 0, 15));
        for (int y = 0; y < 8; ++y) {
            // random, flat 0, flat 255, 0/255 checkerboard, random 0/255
            const int kind = n % 5;
            for (int x = 0; x < 8; ++x)
                image.data()[y * step + x] = kind == 0   ? uniform<uint8_t>(rng, 0, 255)
                                             : kind == 1 ? 0
                                             : kind == 2 ? 255
                                             : kind == 3 ? ((x + y) % 2 ? 255 : 0)
                                                         : 255 * uniform<int>(rng, 0, 1);
        }
        const Table16 table = randomTable(rng, n, true);
        Block16 vec, ref;
        forwardDctQuantSamplesSse2(image.data(), step, vec.data(), table.data());
        forwardDctQuantSamplesScalar(image.data(), step, ref.data(), table.data());
        ASSERT_EQ(vec, ref) << "block " << n;
    }
}

// Blocks of 0 and 255 following the sign of one 2D basis function (or its
// negation) drive the intermediates of both passes of the 8-bit kernel to
// their bounds. Reciprocal 32768 (quantizer 1) shows the transform itself,
// the others take the fast quantizer.
TEST(ForwardDctQuantSamples, VectorMatchesScalarOnBlocksAtTheBounds) {
    for (const uint16_t reciprocal : {32768, 16384, 3}) {
        const Table16 table = flatTable(reciprocal);
        for (int frequency = 0; frequency < 64; ++frequency) {
            for (const bool negate : {false, true}) {
                uint8_t samples[64];
                for (int y = 0; y < 8; ++y)
                    for (int x = 0; x < 8; ++x) {
                        const bool high =
                            (basis(y, frequency / 8) * basis(x, frequency % 8) >= 0) != negate;
                        samples[8 * y + x] = high ? 255 : 0;
                    }
                Block16 vec, ref;
                forwardDctQuantSamplesSse2(samples, 8, vec.data(), table.data());
                forwardDctQuantSamplesScalar(samples, 8, ref.data(), table.data());
                ASSERT_EQ(vec, ref) << "frequency " << frequency << " negated " << negate
                                    << " reciprocal " << reciprocal;
            }
        }
    }
}

TEST(ForwardDctQuantSamples, FlatBlockGivesEightTimesTheShiftedValue) {
    const Table16 unit = flatTable(32768);  // quantizer 1
    for (int v : {0, 1, 127, 128, 129, 200, 255}) {
        uint8_t samples[64];
        std::memset(samples, v, sizeof samples);
        Block16 out;
        ASSERT_EQ(zeqiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(samples, 8, out.data(), unit.data()),
                  StatusOk);
        EXPECT_EQ(out[0], 8 * (v - 128)) << v;
        for (int i = 1; i < 64; ++i) ASSERT_EQ(out[i], 0) << v << " at " << i;
    }
}

TEST(ForwardDctQuantSamples, QuantizesWithThePreparedTable) {
    // Quantizer 16 on a flat block of 228: DC 800 / 16 = 50.
    uint8_t raw[64];
    std::memset(raw, 16, sizeof raw);
    Table16 fwd;
    ASSERT_EQ(zeqiQuantFwdTableInit_JPEG_8u16u(raw, fwd.data()), StatusOk);
    uint8_t samples[64];
    std::memset(samples, 228, sizeof samples);
    Block16 out;
    ASSERT_EQ(zeqiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(samples, 8, out.data(), fwd.data()), StatusOk);
    EXPECT_EQ(out[0], 50);
}

TEST(ForwardDctQuant, CopyVariantKeepsItsSourceAndInPlaceVariantAgrees) {
    auto& rng = seededRng(25);
    for (int n = 0; n < scaledCount(1000); ++n) {
        const Block16 input = randomCoefficients(rng, n);
        const Table16 table = randomTable(rng, n, true);
        Block16 src = input, dst{}, inPlace = input;
        ASSERT_EQ(zeqiDCTQuantFwd8x8_JPEG_16s_C1(src.data(), dst.data(), table.data()), StatusOk);
        ASSERT_EQ(zeqiDCTQuantFwd8x8_JPEG_16s_C1I(inPlace.data(), table.data()), StatusOk);
        ASSERT_EQ(src, input);
        ASSERT_EQ(dst, inPlace);
        Block16 ref;
        forwardDctQuantScalar(input.data(), ref.data(), table.data());
        ASSERT_EQ(dst, ref);
    }
}

TEST(ForwardDctQuant, LevelShiftedBlockMatchesTheSampleVariant) {
    auto& rng = seededRng(26);
    const Table16 table = randomTable(rng, 1, true);
    uint8_t samples[64];
    Block16 shifted;
    for (int i = 0; i < 64; ++i) {
        samples[i] = uniform<uint8_t>(rng, 0, 255);
        shifted[i] = static_cast<int16_t>(samples[i] - 128);
    }
    Block16 a, b;
    ASSERT_EQ(zeqiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(samples, 8, a.data(), table.data()), StatusOk);
    ASSERT_EQ(zeqiDCTQuantFwd8x8_JPEG_16s_C1(shifted.data(), b.data(), table.data()), StatusOk);
    EXPECT_EQ(a, b);
}

// Level-shifted samples take the bounded kernel; one value just outside
// -128..127 anywhere in the block sends it to the wrapping kernel. Both must
// give the scalar bytes, in place too.
TEST(ForwardDctQuant, VectorMatchesScalarOnLevelShiftedBlocksAndJustOutside) {
    auto& rng = seededRng(29);
    for (int n = 0; n < scaledCount(100000); ++n) {
        Block16 input;
        const int kind = n % 4;
        for (auto& v : input)
            v = kind == 0   ? uniform<int16_t>(rng, -128, 127)
                : kind == 1 ? static_cast<int16_t>(uniform<int>(rng, 0, 1) ? 127 : -128)
                : kind == 2 ? static_cast<int16_t>(uniform<int>(rng, 0, 1) ? 127 : -128)
                            : uniform<int16_t>(rng, -128, 127);
        if (kind >= 2) {
            static constexpr int16_t kOutside[] = {128, -129, 255, 256, -256, 384, 32767, -32768};
            input[uniform<int>(rng, 0, 63)] = kOutside[uniform<int>(rng, 0, 7)];
        }
        const Table16 table = randomTable(rng, n / 4, true);
        Block16 vec, ref, inPlace = input;
        forwardDctQuantSse2(input.data(), vec.data(), table.data());
        forwardDctQuantSse2(inPlace.data(), inPlace.data(), table.data());
        forwardDctQuantScalar(input.data(), ref.data(), table.data());
        ASSERT_EQ(vec, ref) << "block " << n;
        ASSERT_EQ(inPlace, ref) << "block " << n;
    }
}

// ---- 12-bit float engine ----------------------------------------------------

TEST(ForwardDct12Bit, VectorMatchesScalarBitForBit) {
    auto& rng = seededRng(27);
    for (int n = 0; n < scaledCount(100000); ++n) {
        const int32_t step = 2 * uniform<int32_t>(rng, 8, 20) + uniform<int32_t>(rng, 0, 1);
        ByteImage image(step, 8, uniform<int>(rng, 0, 15));
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x) {
                const uint16_t v =
                    n % 3 == 0 ? uniform<uint16_t>(rng, 0, 4095) : uniform<uint16_t>(rng, 0, 65535);
                std::memcpy(image.data() + y * step + 2 * x, &v, 2);
            }
        TableF table;
        for (auto& t : table)
            t = n % 2 ? std::ldexp(static_cast<float>(uniform<int>(rng, 1, 1 << 20)), -20)
                      : static_cast<float>(uniform<int>(rng, -100, 100));
        Block16 vec, ref;
        forwardDctQuant12BitSse2(image.data(), step, vec.data(), table.data());
        forwardDctQuant12BitScalar(image.data(), step, ref.data(), table.data());
        ASSERT_EQ(vec, ref) << "block " << n;
    }
}

TEST(ForwardDct12Bit, IsWithinOneOfTheExactDct) {
    auto& rng = seededRng(28);
    const TableF unit = flatFloatTable(1.0f);
    for (int n = 0; n < scaledCount(2000); ++n) {
        uint16_t samples[64];
        BlockD shifted;
        for (int i = 0; i < 64; ++i) {
            samples[i] = uniform<uint16_t>(rng, 0, 4095);
            shifted[i] = samples[i] - 2048.0;
        }
        const BlockD exact = exactForwardDct(shifted);
        Block16 out;
        ASSERT_EQ(zeqiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(samples, 16, out.data(), unit.data()),
                  StatusOk);
        for (int i = 0; i < 64; ++i)
            ASSERT_NEAR(out[i], exact[i], 1.0) << "block " << n << " at " << i;
    }
}

TEST(ForwardDct12Bit, ListedCases) {
    uint16_t samples[64];
    Block16 out;
    const TableF unit = flatFloatTable(1.0f);
    // A flat block of 2048 is all zero.
    std::fill(std::begin(samples), std::end(samples), 2048);
    ASSERT_EQ(zeqiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(samples, 16, out.data(), unit.data()), StatusOk);
    for (int16_t v : out) ASSERT_EQ(v, 0);
    // Flat 4095: DC 8 * 2047, then a table of 100 saturates it, NaN gives 0.
    std::fill(std::begin(samples), std::end(samples), 4095);
    ASSERT_EQ(zeqiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(samples, 16, out.data(), unit.data()), StatusOk);
    EXPECT_EQ(out[0], 8 * 2047);
    TableF special = unit;
    special[0] = 100.0f;
    special[1] = std::numeric_limits<float>::quiet_NaN();
    ASSERT_EQ(zeqiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(samples, 16, out.data(), special.data()),
              StatusOk);
    EXPECT_EQ(out[0], 32767);
    EXPECT_EQ(out[1], 0);
    special[0] = -100.0f;
    ASSERT_EQ(zeqiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(samples, 16, out.data(), special.data()),
              StatusOk);
    EXPECT_EQ(out[0], -32768);
}

// ---- Argument checks -----------------------------------------------------------

TEST(ForwardDctApi, ChecksRunInOrderAndWriteNothing) {
    uint8_t samples8[64] = {};
    uint16_t samples16[64] = {};
    Block16 src{};
    const Table16 table = flatTable(32768);
    const TableF tableF = flatFloatTable(1.0f);
    Block16 dst;
    const auto fresh = [&] { dst.fill(0x5A5A); };
    const auto untouched = [&] {
        for (int16_t v : dst)
            if (v != 0x5A5A) return false;
        return true;
    };
    struct Case {
        const char* what;
        ZeqStatus expected;
        std::function<ZeqStatus()> call;
    };
    const Case cases[] = {
        {"8u null src", StatusNullPointer,
         [&] { return zeqiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(nullptr, 0, dst.data(), nullptr); }},
        {"8u null dst before step", StatusNullPointer,
         [&] { return zeqiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(samples8, 0, nullptr, table.data()); }},
        {"8u step 0 before table", StatusBadStep,
         [&] { return zeqiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(samples8, 0, dst.data(), nullptr); }},
        {"8u negative step", StatusBadStep,
         [&] {
             return zeqiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(samples8, -8, dst.data(), table.data());
         }},
        {"8u null table", StatusNullPointer,
         [&] { return zeqiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(samples8, 8, dst.data(), nullptr); }},
        {"16u null src", StatusNullPointer,
         [&] { return zeqiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(nullptr, 0, dst.data(), nullptr); }},
        {"16u null dst before step", StatusNullPointer,
         [&] { return zeqiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(samples16, 0, nullptr, nullptr); }},
        {"16u step 0 before table", StatusBadStep,
         [&] { return zeqiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(samples16, 0, dst.data(), nullptr); }},
        {"16u null table", StatusNullPointer,
         [&] { return zeqiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(samples16, 16, dst.data(), nullptr); }},
        {"C1 null src", StatusNullPointer,
         [&] { return zeqiDCTQuantFwd8x8_JPEG_16s_C1(nullptr, dst.data(), table.data()); }},
        {"C1 null dst", StatusNullPointer,
         [&] { return zeqiDCTQuantFwd8x8_JPEG_16s_C1(src.data(), nullptr, table.data()); }},
        {"C1 null table", StatusNullPointer,
         [&] { return zeqiDCTQuantFwd8x8_JPEG_16s_C1(src.data(), dst.data(), nullptr); }},
        {"C1I null table", StatusNullPointer,
         [&] { return zeqiDCTQuantFwd8x8_JPEG_16s_C1I(dst.data(), nullptr); }},
    };
    for (const auto& c : cases) {
        fresh();
        EXPECT_EQ(c.call(), c.expected) << c.what;
        EXPECT_TRUE(untouched()) << c.what;
    }
    EXPECT_EQ(zeqiDCTQuantFwd8x8_JPEG_16s_C1I(nullptr, table.data()), StatusNullPointer);
    (void)tableF;
}

}  // namespace
