// Inverse DCT with dequantization: the scalar engine against an exact inverse
// DCT, the vector engines against the scalar ones bit for bit, the pruned and
// scaled-down forms, exact values, and the exported functions' checks.
#include "jpeg/sample/idct.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

#include "tests/jpeg/sample/dct_test_support.h"
#include "zeqj.h"

namespace {

using namespace zeq;
using namespace zeq::test;

using SamplesKernel = void (*)(const int16_t*, uint8_t*, int32_t, const uint16_t*);
using SamplesApi = ZeqStatus (*)(const int16_t*, uint8_t*, int32_t, const uint16_t*);

// Runs an 8-bit-output function into a guarded image and returns its samples.
struct Output {
    explicit Output(int32_t step, int offset = 0) : image(step, 8, offset) {}
    uint8_t at(int x, int y) const { return image.data()[y * image.step() + x]; }
    // Every byte outside the width x width area still holds the sentinel.
    bool onlyAreaWritten(int width) const {
        const auto& all = image.allBytes();
        const uint8_t* base = image.data();
        for (size_t i = 0; i < all.size(); ++i) {
            const std::ptrdiff_t rel = &all[i] - base;
            const bool inside =
                rel >= 0 && rel / image.step() < width && rel % image.step() < width;
            if (!inside && all[i] != ByteImage::kSentinel) return false;
        }
        return true;
    }
    ByteImage image;
};

TEST(InverseDctEngine, ScalarEngineIsTheOrthonormalInverseWithinOne) {
    auto& rng = seededRng(31);
    const Table16 unit = flatTable(1);
    for (int n = 0; n < scaledCount(2000); ++n) {
        Block16 coefficients;
        BlockD exactIn;
        for (int i = 0; i < 64; ++i) {
            coefficients[i] = uniform<int16_t>(rng, i == 0 ? -1024 : -300, i == 0 ? 1023 : 300);
            exactIn[i] = coefficients[i];
        }
        const BlockD exact = exactInverseDct(exactIn);
        Block16 out;
        inverseDctQuantScalar(coefficients.data(), out.data(), unit.data());
        for (int i = 0; i < 64; ++i)
            ASSERT_NEAR(out[i], exact[i], 1.0) << "block " << n << " at " << i;
    }
}

TEST(InverseDctEngine, VectorMatchesScalarOnAnyBlockAndTable) {
    auto& rng = seededRng(32);
    for (int n = 0; n < scaledCount(100000); ++n) {
        const Block16 input = randomCoefficients(rng, n);
        const Table16 table = randomTable(rng, n / 5, false);
        Block16 vec, ref;
        inverseDctQuantSse2(input.data(), vec.data(), table.data());
        inverseDctQuantScalar(input.data(), ref.data(), table.data());
        ASSERT_EQ(vec, ref) << "block " << n;
    }
}

// The vector engine forms (x + 2048) >> 12 of the odd sums in 32 bits and
// multiplies it by 5793 split at bit 16, and keeps the column results as the
// high words of 16-times-larger sums. Coefficients that put those values just
// inside and outside 16 bits (and column results that wrap) must still give
// the scalar bytes in both passes.
TEST(InverseDctEngine, VectorMatchesScalarAroundTheSixteenBitLimits) {
    // Values whose odd-part products land near k * 4096 for k at the limits,
    // directly (column pass) and after the column pass's gain of 8 (row pass).
    std::vector<int16_t> edges;
    for (const int64_t k : {32767, 32768, 32769, 65535, 65536, 131072})
        for (const int64_t gain : {1, 8})
            for (const int32_t factor : {32139, 27246, 18205, 6393})
                for (int delta = -2; delta <= 2; ++delta) {
                    const int64_t v = k * 4096 / (factor * gain) + delta;
                    if (v <= 32767) {
                        edges.push_back(static_cast<int16_t>(v));
                        edges.push_back(static_cast<int16_t>(-v));
                    }
                }
    auto& rng = seededRng(36);
    const Table16 unit = flatTable(1);
    for (int n = 0; n < scaledCount(50000); ++n) {
        Block16 input;
        for (auto& v : input) {
            const int pick = uniform<int>(rng, 0, 7);
            v = pick < 3   ? edges[uniform<size_t>(rng, 0, edges.size() - 1)]
                : pick < 4 ? (uniform<int>(rng, 0, 1) ? 32767 : -32768)
                : pick < 5 ? int16_t{0}
                           : uniform<int16_t>(rng, -64, 64);
        }
        Block16 vec, ref;
        inverseDctQuantSse2(input.data(), vec.data(), unit.data());
        inverseDctQuantScalar(input.data(), ref.data(), unit.data());
        ASSERT_EQ(vec, ref) << "block " << n;
        uint8_t vecSamples[64], refSamples[64];
        for (const auto& [vector, scalar] :
             {std::pair{inverseDctQuantSamplesSse2, inverseDctQuantSamplesScalar},
              std::pair{inverseDctQuant2x2SamplesSse2, inverseDctQuant2x2SamplesScalar},
              std::pair{inverseDctQuant4x4SamplesSse2, inverseDctQuant4x4SamplesScalar},
              std::pair{inverseDctQuantTo2x2SamplesSse2, inverseDctQuantTo2x2SamplesScalar},
              std::pair{inverseDctQuantTo4x4SamplesSse2, inverseDctQuantTo4x4SamplesScalar}}) {
            std::memset(vecSamples, 0, sizeof vecSamples);
            std::memset(refSamples, 0, sizeof refSamples);
            vector(input.data(), vecSamples, 8, unit.data());
            scalar(input.data(), refSamples, 8, unit.data());
            ASSERT_EQ(0, std::memcmp(vecSamples, refSamples, 64)) << "block " << n;
        }
    }
}

// Every 8-bit-output member with a vector kernel, against its scalar twin.
TEST(InverseDctSamples, VectorMatchesScalarAtAnyStepAndAlignment) {
    struct Pairing {
        const char* name;
        SamplesKernel vector, scalar;
    } const pairings[] = {
        {"full", inverseDctQuantSamplesSse2, inverseDctQuantSamplesScalar},
        {"2x2", inverseDctQuant2x2SamplesSse2, inverseDctQuant2x2SamplesScalar},
        {"4x4", inverseDctQuant4x4SamplesSse2, inverseDctQuant4x4SamplesScalar},
        {"to2x2", inverseDctQuantTo2x2SamplesSse2, inverseDctQuantTo2x2SamplesScalar},
        {"to4x4", inverseDctQuantTo4x4SamplesSse2, inverseDctQuantTo4x4SamplesScalar},
    };
    for (const auto& p : pairings) {
        auto& rng = seededRng(33);
        for (int n = 0; n < scaledCount(100000); ++n) {
            const Block16 input = randomCoefficients(rng, n);
            const Table16 table = randomTable(rng, n / 5, false);
            const int32_t step = uniform<int32_t>(rng, 8, 40);
            const int offset = uniform<int>(rng, 0, 15);
            Output vec(step, offset), ref(step, offset);
            p.vector(input.data(), vec.image.data(), step, table.data());
            p.scalar(input.data(), ref.image.data(), step, table.data());
            ASSERT_EQ(vec.image.allBytes(), ref.image.allBytes()) << p.name << " block " << n;
        }
    }
}

// A DC of 8 with quantizer 1 is 1 in every sample (129 after the shift) on
// every path; a DC product of -1 shows the 1x1 form's floor.
TEST(InverseDctSamples, DcOnlyBlocksThroughEveryPath) {
    struct Path {
        const char* name;
        SamplesApi api;
        int width;
    } const paths[] = {
        {"full", zeqiDCTQuantInv8x8LS_JPEG_16s8u_C1R, 8},
        {"1x1", zeqiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R, 8},
        {"2x2", zeqiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R, 8},
        {"4x4", zeqiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R, 8},
        {"to2x2", zeqiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R, 2},
        {"to4x4", zeqiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R, 4},
    };
    struct Case {
        int16_t dc;
        uint16_t q;
        int expected;  // every path but 1x1
        int expected1x1;
    } const cases[] = {
        {8, 1, 129, 129},    {-1, 1, 128, 127},   {-8, 1, 127, 127}, {4, 2, 129, 129},
        {1000, 1, 253, 253}, {2000, 1, 255, 255}, {-2000, 1, 0, 0},  {-9, 1, 127, 126},
    };
    for (const auto& path : paths) {
        for (const auto& c : cases) {
            Block16 block{};
            block[0] = c.dc;
            Table16 table = flatTable(7);
            table[0] = c.q;
            Output out(11);
            ASSERT_EQ(path.api(block.data(), out.image.data(), 11, table.data()), StatusOk);
            const int expected = std::string(path.name) == "1x1" ? c.expected1x1 : c.expected;
            for (int y = 0; y < path.width; ++y)
                for (int x = 0; x < path.width; ++x)
                    ASSERT_EQ(out.at(x, y), expected)
                        << path.name << " dc " << c.dc << " q " << c.q;
            ASSERT_TRUE(out.onlyAreaWritten(path.width)) << path.name;
        }
    }
}

TEST(InverseDctSamples, PrunedFormsIgnoreCoefficientsOutsideTheirArea) {
    auto& rng = seededRng(34);
    for (int size : {2, 4}) {
        const SamplesApi api = size == 2 ? zeqiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R
                                         : zeqiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R;
        for (int n = 0; n < scaledCount(500); ++n) {
            const Block16 input = randomCoefficients(rng, n);
            const Table16 table = randomTable(rng, n, false);
            Block16 noisy = input;
            for (int i = 0; i < 64; ++i)
                if (i / 8 >= size || i % 8 >= size) noisy[i] = uniform<int16_t>(rng, -32768, 32767);
            Output a(8), b(8);
            ASSERT_EQ(api(input.data(), a.image.data(), 8, table.data()), StatusOk);
            ASSERT_EQ(api(noisy.data(), b.image.data(), 8, table.data()), StatusOk);
            ASSERT_EQ(a.image.allBytes(), b.image.allBytes()) << size << " block " << n;
        }
    }
}

// The pruned forms keep cos(pi/16) - sin(pi/16) at 25745: on a block with
// only coefficient 1 they differ from the full transform where the one-unit
// factor change crosses a rounding point, and nowhere by more than 1.
TEST(InverseDctSamples, PrunedFormsUseTheirOwnOddFactor) {
    bool differs = false;
    for (int c1 = -1024; c1 <= 1024; ++c1) {
        Block16 block{};
        block[0] = 16;
        block[1] = static_cast<int16_t>(c1);
        const Table16 unit = flatTable(1);
        Output full(8), two(8), four(8);
        ASSERT_EQ(
            zeqiDCTQuantInv8x8LS_JPEG_16s8u_C1R(block.data(), full.image.data(), 8, unit.data()),
            StatusOk);
        ASSERT_EQ(
            zeqiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R(block.data(), two.image.data(), 8, unit.data()),
            StatusOk);
        ASSERT_EQ(zeqiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R(block.data(), four.image.data(), 8,
                                                          unit.data()),
                  StatusOk);
        ASSERT_EQ(two.image.allBytes(), four.image.allBytes()) << c1;
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x) {
                ASSERT_LE(std::abs(full.at(x, y) - two.at(x, y)), 1) << c1;
                differs = differs || full.at(x, y) != two.at(x, y);
            }
    }
    EXPECT_TRUE(differs);
}

TEST(InverseDctSamples, ScaledDownOutputsAreGroupMeansOfTheInverse) {
    auto& rng = seededRng(35);
    const Table16 unit = flatTable(1);
    for (int n = 0; n < scaledCount(2000); ++n) {
        Block16 coefficients;
        BlockD exactIn;
        for (int i = 0; i < 64; ++i) {
            coefficients[i] = uniform<int16_t>(rng, i == 0 ? -1024 : -200, i == 0 ? 1023 : 200);
            exactIn[i] = coefficients[i];
        }
        const BlockD exact = exactInverseDct(exactIn);
        for (int width : {2, 4}) {
            const int group = 8 / width;
            Output out(13, n % 7);
            const SamplesApi api = width == 2 ? zeqiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R
                                              : zeqiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R;
            ASSERT_EQ(api(coefficients.data(), out.image.data(), 13, unit.data()), StatusOk);
            ASSERT_TRUE(out.onlyAreaWritten(width));
            for (int y = 0; y < width; ++y)
                for (int x = 0; x < width; ++x) {
                    double mean = 0;
                    for (int j = 0; j < group; ++j)
                        for (int i = 0; i < group; ++i)
                            mean += exact[8 * (y * group + j) + x * group + i];
                    mean = mean / (group * group) + 128;
                    mean = mean < 0 ? 0 : (mean > 255 ? 255 : mean);
                    ASSERT_NEAR(out.at(x, y), mean, 1.0) << width << " block " << n;
                }
        }
    }
}

TEST(InverseDctSamples, ScaledDownFormsSkipTheFrequenciesThatAverageOut) {
    // To2x2 never reads even frequencies 2, 4, 6; To4x4 never reads frequency 4.
    auto& rng = seededRng(36);
    for (int n = 0; n < scaledCount(500); ++n) {
        const Block16 input = randomCoefficients(rng, n);
        const Table16 table = randomTable(rng, n, false);
        Block16 noisy2 = input, noisy4 = input;
        for (int i = 0; i < 64; ++i) {
            const int u = i / 8, v = i % 8;
            if (u == 2 || u == 4 || u == 6 || v == 2 || v == 4 || v == 6)
                noisy2[i] = uniform<int16_t>(rng, -32768, 32767);
            if (u == 4 || v == 4) noisy4[i] = uniform<int16_t>(rng, -32768, 32767);
        }
        Output a(8), b(8);
        ASSERT_EQ(
            zeqiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R(input.data(), a.image.data(), 8, table.data()),
            StatusOk);
        ASSERT_EQ(zeqiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R(noisy2.data(), b.image.data(), 8,
                                                           table.data()),
                  StatusOk);
        ASSERT_EQ(a.image.allBytes(), b.image.allBytes());
        ASSERT_EQ(
            zeqiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R(input.data(), a.image.data(), 8, table.data()),
            StatusOk);
        ASSERT_EQ(zeqiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R(noisy4.data(), b.image.data(), 8,
                                                           table.data()),
                  StatusOk);
        ASSERT_EQ(a.image.allBytes(), b.image.allBytes());
    }
}

// The table is read as signed 16-bit values: 65535 dequantizes as -1.
TEST(InverseDctSamples, QuantizerTableIsReadAsSigned) {
    Block16 block{};
    block[0] = 8;
    Table16 table = flatTable(65535);
    Output out(8);
    ASSERT_EQ(zeqiDCTQuantInv8x8LS_JPEG_16s8u_C1R(block.data(), out.image.data(), 8, table.data()),
              StatusOk);
    EXPECT_EQ(out.at(0, 0), 127);
    ASSERT_EQ(
        zeqiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R(block.data(), out.image.data(), 8, table.data()),
        StatusOk);
    EXPECT_EQ(out.at(0, 0), 127);
}

TEST(InverseDctApi, SampleVariantsNeverModifyTheCoefficients) {
    const SamplesApi apis[] = {
        zeqiDCTQuantInv8x8LS_JPEG_16s8u_C1R,      zeqiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R,
        zeqiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R,  zeqiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R,
        zeqiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R, zeqiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R,
    };
    auto& rng = seededRng(37);
    const Block16 input = randomCoefficients(rng, 0);
    const Table16 table = randomTable(rng, 0, false);
    for (SamplesApi api : apis) {
        Block16 block = input;
        Output out(8);
        ASSERT_EQ(api(block.data(), out.image.data(), 8, table.data()), StatusOk);
        ASSERT_EQ(block, input);
    }
    Block16 block = input;
    uint16_t out16[64];
    const TableF unit = flatFloatTable(1.0f);
    ASSERT_EQ(zeqiDCTQuantInv8x8LS_JPEG_16s16u_C1R(block.data(), out16, 16, unit.data()), StatusOk);
    ASSERT_EQ(block, input);
}

TEST(InverseDctApi, CopyVariantKeepsItsSourceAndInPlaceVariantAgrees) {
    auto& rng = seededRng(38);
    for (int n = 0; n < scaledCount(1000); ++n) {
        const Block16 input = randomCoefficients(rng, n);
        const Table16 table = randomTable(rng, n, false);
        Block16 src = input, dst{}, inPlace = input;
        ASSERT_EQ(zeqiDCTQuantInv8x8_JPEG_16s_C1(src.data(), dst.data(), table.data()), StatusOk);
        ASSERT_EQ(zeqiDCTQuantInv8x8_JPEG_16s_C1I(inPlace.data(), table.data()), StatusOk);
        ASSERT_EQ(src, input);
        ASSERT_EQ(dst, inPlace);
        // The sample variant is the same block plus 128, saturated.
        Output samples(8);
        ASSERT_EQ(zeqiDCTQuantInv8x8LS_JPEG_16s8u_C1R(input.data(), samples.image.data(), 8,
                                                      table.data()),
                  StatusOk);
        for (int i = 0; i < 64; ++i)
            ASSERT_EQ(samples.at(i % 8, i / 8), std::min(255, std::max(0, dst[i] + 128)));
    }
}

// ---- 12-bit float engine ----------------------------------------------------

TEST(InverseDct12Bit, VectorMatchesScalarBitForBit) {
    auto& rng = seededRng(39);
    for (int n = 0; n < scaledCount(100000); ++n) {
        const Block16 input = n % 2 ? randomCoefficients(rng, n) : randomCoefficients(rng, 1);
        TableF table;
        for (auto& t : table)
            t = n % 3 ? static_cast<float>(uniform<int>(rng, -255, 255))
                      : std::ldexp(static_cast<float>(uniform<int>(rng, 1, 1 << 20)), -18);
        const int32_t step = 2 * uniform<int32_t>(rng, 8, 20) + uniform<int32_t>(rng, 0, 1);
        const int offset = uniform<int>(rng, 0, 15);
        ByteImage vec(step, 8, offset), ref(step, 8, offset);
        inverseDctQuant12BitSse2(input.data(), vec.data(), step, table.data());
        inverseDctQuant12BitScalar(input.data(), ref.data(), step, table.data());
        ASSERT_EQ(vec.allBytes(), ref.allBytes()) << "block " << n;
    }
}

TEST(InverseDct12Bit, IsWithinOneOfTheExactInverseAndNeverAbove4095) {
    auto& rng = seededRng(40);
    const TableF unit = flatFloatTable(1.0f);
    for (int n = 0; n < scaledCount(2000); ++n) {
        Block16 coefficients;
        BlockD exactIn;
        const int range = n % 2 ? 2000 : 32767;
        for (int i = 0; i < 64; ++i) {
            coefficients[i] = uniform<int16_t>(rng, -range, range);
            exactIn[i] = coefficients[i];
        }
        const BlockD exact = exactInverseDct(exactIn);
        uint16_t out[64];
        ASSERT_EQ(zeqiDCTQuantInv8x8LS_JPEG_16s16u_C1R(coefficients.data(), out, 16, unit.data()),
                  StatusOk);
        for (int i = 0; i < 64; ++i) {
            ASSERT_LE(out[i], 4095);
            const double v = std::min(4095.0, std::max(0.0, exact[i] + 2048));
            ASSERT_NEAR(out[i], v, 1.0) << "block " << n << " at " << i;
        }
    }
}

TEST(InverseDct12Bit, ListedCases) {
    Block16 block{};
    TableF table;
    table.fill(1.0f);
    uint16_t out[64];
    // A DC-only block of D gives D / 8 around 2048; big DCs clip at 0 and 4095.
    const struct {
        int16_t dc;
        uint16_t expected;
    } cases[] = {{0, 2048},     {8, 2049},   {-8, 2047}, {16376, 4095},
                 {32767, 4095}, {-16384, 0}, {-32768, 0}};
    for (const auto& c : cases) {
        block[0] = c.dc;
        ASSERT_EQ(zeqiDCTQuantInv8x8LS_JPEG_16s16u_C1R(block.data(), out, 16, table.data()),
                  StatusOk);
        for (uint16_t v : out) ASSERT_EQ(v, c.expected) << c.dc;
    }
    table[0] = std::numeric_limits<float>::quiet_NaN();
    ASSERT_EQ(zeqiDCTQuantInv8x8LS_JPEG_16s16u_C1R(block.data(), out, 16, table.data()), StatusOk);
    for (uint16_t v : out) ASSERT_EQ(v, 0);
}

// ---- Argument checks -----------------------------------------------------------

TEST(InverseDctApi, ChecksRunInOrderAndWriteNothing) {
    const SamplesApi apis[] = {
        zeqiDCTQuantInv8x8LS_JPEG_16s8u_C1R,      zeqiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R,
        zeqiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R,  zeqiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R,
        zeqiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R, zeqiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R,
    };
    const Block16 src{};
    const Table16 table = flatTable(1);
    TableF tableF;
    tableF.fill(1.0f);
    struct Case {
        const char* what;
        bool nullSrc, nullDst;
        int32_t step;
        bool nullTable;
        ZeqStatus expected;
    } const cases[] = {
        {"null src first", true, true, 0, true, StatusNullPointer},
        {"null dst before step", false, true, 0, true, StatusNullPointer},
        {"step 0 before table", false, false, 0, true, StatusBadStep},
        {"negative step", false, false, -16, false, StatusBadStep},
        {"null table", false, false, 16, true, StatusNullPointer},
    };
    for (const auto& c : cases) {
        for (SamplesApi api : apis) {
            Output out(16);
            EXPECT_EQ(api(c.nullSrc ? nullptr : src.data(), c.nullDst ? nullptr : out.image.data(),
                          c.step, c.nullTable ? nullptr : table.data()),
                      c.expected)
                << c.what;
            EXPECT_TRUE(out.image.untouched()) << c.what;
        }
        Output out(16);
        EXPECT_EQ(zeqiDCTQuantInv8x8LS_JPEG_16s16u_C1R(
                      c.nullSrc ? nullptr : src.data(),
                      c.nullDst ? nullptr : reinterpret_cast<uint16_t*>(out.image.data()), c.step,
                      c.nullTable ? nullptr : tableF.data()),
                  c.expected)
            << "16u " << c.what;
        EXPECT_TRUE(out.image.untouched()) << c.what;
    }
    Block16 dst;
    dst.fill(0x5A5A);
    const Block16 before = dst;
    EXPECT_EQ(zeqiDCTQuantInv8x8_JPEG_16s_C1(nullptr, dst.data(), table.data()), StatusNullPointer);
    EXPECT_EQ(zeqiDCTQuantInv8x8_JPEG_16s_C1(src.data(), nullptr, table.data()), StatusNullPointer);
    EXPECT_EQ(zeqiDCTQuantInv8x8_JPEG_16s_C1(src.data(), dst.data(), nullptr), StatusNullPointer);
    EXPECT_EQ(zeqiDCTQuantInv8x8_JPEG_16s_C1I(nullptr, table.data()), StatusNullPointer);
    EXPECT_EQ(zeqiDCTQuantInv8x8_JPEG_16s_C1I(dst.data(), nullptr), StatusNullPointer);
    EXPECT_EQ(dst, before);
}

}  // namespace
