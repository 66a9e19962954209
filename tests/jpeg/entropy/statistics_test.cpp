// Statistics for optimal tables: the documented counts, the per-function
// category limits, check orders, the sequential counts against a plain
// reference, and the consistency that matters: for random images and scan
// scripts, the symbols the plain reference decoder reads from the library's
// progressive streams (coded with tables made from the counts) are exactly
// the counted ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

#include "tests/common/test_support.h"
#include "tests/jpeg/entropy/huffman_test_support.h"
#include "tests/jpeg/entropy/photo_blocks.h"
#include "tests/jpeg/entropy/progressive_scans.h"
#include "zeqj.h"

namespace {

using namespace zeq::test;
using Block = std::array<int16_t, 64>;
using Counts = std::vector<int32_t>;

// Only the listed counters are non-zero.
Counts countsWith(std::initializer_list<std::pair<int, int32_t>> entries) {
    Counts c(257, 0);
    for (auto [symbol, n] : entries) c[size_t(symbol)] = n;
    return c;
}

struct BandCounter {
    ZeqStatus first(const Block& b, int ss = 1, int se = 63, int al = 0) {
        return zeqiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(b.data(), counts.data(), ss, se, al,
                                                               state.get(), 0);
    }
    ZeqStatus refine(const Block& b, int ss = 1, int se = 63, int al = 0) {
        return zeqiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(b.data(), counts.data(), ss, se, al,
                                                                state.get(), 0);
    }
    ZeqStatus flushFirst() {
        return zeqiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(nullptr, counts.data(), 0, 0, 0,
                                                               state.get(), 1);
    }
    ZeqStatus flushRefine() {
        return zeqiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(nullptr, counts.data(), 0, 0, 0,
                                                                state.get(), 1);
    }
    int32_t eobRun() const { return state.at<int32_t>(12); }
    int32_t correctionCount() const { return state.at<int32_t>(16); }
    Counts counts = Counts(257, 0);
    EncodeStateBuffer state = freshEncodeState();
};

TEST(Statistics, SequentialDocumentedCounts) {
    struct Case {
        const char* name;
        Block block;
        Counts dc, ac;
    } cases[] = {
        {"zero block: DC 0 and EOB", Block{}, countsWith({{0, 1}}), countsWith({{0x00, 1}})},
        {"35 zeros: two ZRLs, then 0x33, then EOB", zigzagBlock({{36, 5}}), countsWith({{0, 1}}),
         countsWith({{0xF0, 2}, {0x33, 1}, {0x00, 1}})},
        {"trailing run of 40: EOB only, no ZRL", zigzagBlock({{0, -3}, {23, 1}}),
         countsWith({{2, 1}}), countsWith({{0xF0, 1}, {0x61, 1}, {0x00, 1}})},
        {"last coefficient non-zero: no EOB", zigzagBlock({{63, -200}}), countsWith({{0, 1}}),
         countsWith({{0xF0, 3}, {0xE8, 1}})},
    };
    for (const auto& c : cases) {
        Counts dc(257, 0), ac(257, 0);
        int16_t lastDC = 0;
        ASSERT_EQ(
            zeqiGetHuffmanStatistics8x8_JPEG_16s_C1(c.block.data(), dc.data(), ac.data(), &lastDC),
            StatusOk)
            << c.name;
        EXPECT_EQ(lastDC, c.block[0]) << c.name;
        EXPECT_EQ(dc, c.dc) << c.name;
        EXPECT_EQ(ac, c.ac) << c.name;
    }
}

TEST(Statistics, ProgressiveDocumentedCounts) {
    BandCounter three;
    for (int i = 0; i < 3; ++i) ASSERT_EQ(three.first(Block{}), StatusOk);
    EXPECT_EQ(three.counts, Counts(257, 0));
    EXPECT_EQ(three.eobRun(), 3);
    ASSERT_EQ(three.flushFirst(), StatusOk);
    EXPECT_EQ(three.counts, countsWith({{0x10, 1}}));
    EXPECT_EQ(three.eobRun(), 0);

    BandCounter one;
    ASSERT_EQ(one.first(Block{}), StatusOk);
    ASSERT_EQ(one.flushFirst(), StatusOk);
    EXPECT_EQ(one.counts, countsWith({{0x00, 1}}));

    // A coefficient ends the pending run: EOB0 for the block before it.
    BandCounter ended;
    ASSERT_EQ(ended.first(Block{}), StatusOk);
    ASSERT_EQ(ended.first(zigzagBlock({{20, -9}}), 3, 40, 1), StatusOk);  // 9 >> 1 = 4
    EXPECT_EQ(ended.counts, countsWith({{0x00, 1}, {0xF0, 1}, {0x13, 1}}));
    EXPECT_EQ(ended.eobRun(), 1);
}

TEST(Statistics, RunOf32767BandsIsCountedAtOnceAndRestarts) {
    BandCounter b;
    for (int i = 0; i < 32766; ++i) ASSERT_EQ(b.first(Block{}), StatusOk);
    EXPECT_EQ(b.counts, Counts(257, 0));
    ASSERT_EQ(b.first(Block{}), StatusOk);
    EXPECT_EQ(b.counts, countsWith({{0xE0, 1}}));
    EXPECT_EQ(b.eobRun(), 0);
    for (int i = 0; i < 5; ++i) ASSERT_EQ(b.first(Block{}), StatusOk);
    ASSERT_EQ(b.flushFirst(), StatusOk);
    EXPECT_EQ(b.counts, countsWith({{0xE0, 1}, {0x20, 1}}));
}

// Bands with coefficients significant before only add correction bits and
// extend the run; at the 15th block of 63 bits the 945 bits pass 937.
TEST(Statistics, RefinementRunIsCountedOnceCorrectionBitsPass937) {
    BandCounter b;
    Block dense;
    dense.fill(-6);
    for (int i = 0; i < 14; ++i) ASSERT_EQ(b.refine(dense, 1, 63, 1), StatusOk);
    EXPECT_EQ(b.counts, Counts(257, 0));
    EXPECT_EQ(b.eobRun(), 14);
    EXPECT_EQ(b.correctionCount(), 14 * 63);
    ASSERT_EQ(b.refine(dense, 1, 63, 1), StatusOk);
    EXPECT_EQ(b.counts, countsWith({{0x30, 1}}));
    EXPECT_EQ(b.eobRun(), 0);
    EXPECT_EQ(b.correctionCount(), 0);
    // The state keeps no correction bits: only the counts are carried.
    for (size_t i = 20; i < 1048; ++i) ASSERT_EQ(b.state.bytes[i], 0) << i;
}

TEST(Statistics, RefinementZRLsOnlyBeforeANewCoefficient) {
    BandCounter b;
    // 20 zeros, a coefficient significant before, 10 zeros, a new one, then 20 zeros.
    ASSERT_EQ(b.refine(zigzagBlock({{21, 4}, {32, -1}})), StatusOk);
    EXPECT_EQ(b.counts, countsWith({{0xF0, 1}, {0xE1, 1}}));
    EXPECT_EQ(b.eobRun(), 1);
    // 40 zeros then a coefficient significant before: no ZRL, only the run.
    ASSERT_EQ(b.refine(zigzagBlock({{41, 2}})), StatusOk);
    EXPECT_EQ(b.counts, countsWith({{0xF0, 1}, {0xE1, 1}}));
    EXPECT_EQ(b.eobRun(), 2);
    EXPECT_EQ(b.correctionCount(), 1);
    ASSERT_EQ(b.flushRefine(), StatusOk);
    EXPECT_EQ(b.counts, countsWith({{0xF0, 1}, {0xE1, 1}, {0x10, 1}}));
}

struct LimitCase {
    const char* name;
    int which;  // 0 sequential, 1 DC first, 2 AC first
    Block block;
    int al;
    ZeqStatus expected;
};

// Each function's own limit; counts made before a refusal stay.
TEST(Statistics, CategoryLimitsPerFunction) {
    const LimitCase cases[] = {
        {"sequential DC 15", 0, zigzagBlock({{0, -32767}}), 0, StatusOk},
        {"sequential DC 16", 0, zigzagBlock({{0, -32768}}), 0, StatusCoefficientRange},
        {"sequential AC 14", 0, zigzagBlock({{5, 16383}}), 0, StatusOk},
        {"sequential AC 15", 0, zigzagBlock({{5, -16384}}), 0, StatusCoefficientRange},
        {"DC first 11", 1, zigzagBlock({{0, 4095}}), 1, StatusOk},
        {"DC first 12", 1, zigzagBlock({{0, 4096}}), 1, StatusCoefficientRange},
        {"AC first 10", 2, zigzagBlock({{5, -1023}}), 0, StatusOk},
        {"AC first 11: counted refused, coded accepted", 2, zigzagBlock({{5, 1024}}), 0,
         StatusCoefficientRange},
        {"AC first 11 after the point transform", 2, zigzagBlock({{5, 4096}}), 2,
         StatusCoefficientRange},
    };
    for (const LimitCase& c : cases) {
        Counts dc(257, 0), ac(257, 0);
        int16_t lastDC = 0;
        EncodeStateBuffer state = freshEncodeState();
        ZeqStatus status;
        if (c.which == 0)
            status = zeqiGetHuffmanStatistics8x8_JPEG_16s_C1(c.block.data(), dc.data(), ac.data(),
                                                             &lastDC);
        else if (c.which == 1)
            status = zeqiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(c.block.data(), dc.data(),
                                                                     &lastDC, c.al);
        else
            status = zeqiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(c.block.data(), ac.data(), 1,
                                                                     63, c.al, state.get(), 0);
        EXPECT_EQ(status, c.expected) << c.name;
        EXPECT_EQ(lastDC, c.which == 2 ? 0 : c.block[0] >> c.al) << c.name;
    }
    // The sequential DC refusal counts nothing; an AC refusal keeps the DC count.
    Counts dc(257, 0), ac(257, 0);
    int16_t lastDC = 0;
    const Block acTooLarge = zigzagBlock({{1, 3}, {30, -16384}});
    EXPECT_EQ(
        zeqiGetHuffmanStatistics8x8_JPEG_16s_C1(acTooLarge.data(), dc.data(), ac.data(), &lastDC),
        StatusCoefficientRange);
    EXPECT_EQ(dc, countsWith({{0, 1}}));
    EXPECT_EQ(ac, countsWith({{0x02, 1}, {0xF0, 1}}));
    const Block dcTooLarge = zigzagBlock({{0, -32768}, {1, 3}});
    Counts none(257, 0);
    lastDC = 0;
    EXPECT_EQ(
        zeqiGetHuffmanStatistics8x8_JPEG_16s_C1(dcTooLarge.data(), dc.data(), ac.data(), &lastDC),
        StatusCoefficientRange);
    EXPECT_EQ(lastDC, -32768);
    EXPECT_EQ(dc, countsWith({{0, 1}}));  // unchanged
    // The AC-first encoder codes category 11 where the statistics stop at 10.
    EncodeSpecBuffer every = encodeSpec(everySymbolTable());
    EncodeStateBuffer state = freshEncodeState();
    std::vector<uint8_t> out(64);
    int32_t pos = 0;
    const Block eleven = zigzagBlock({{5, 1024}});
    EXPECT_EQ(zeqiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(eleven.data(), out.data(), 64, &pos, 1, 63,
                                                         0, every.get(), state.get(), 0),
              StatusOk);
}

TEST(Statistics, LoneValueCountsItsCategory) {
    Counts counts(257, 0);
    for (int16_t v : {0, 1, -1, 255, -256, 32767, -32768})
        ASSERT_EQ(zeqiGetHuffmanStatisticsOne_JPEG_16s_C1(&v, counts.data()), StatusOk);
    EXPECT_EQ(counts, countsWith({{0, 1}, {1, 2}, {8, 1}, {9, 1}, {15, 1}, {16, 1}}));
}

struct StatsCheckCase {
    const char* name;
    ZeqStatus expected;
    int which;  // 0 sequential, 1 one, 2 DC first, 3 AC first, 4 AC refine
    bool nullSrc, nullDc, nullAc, nullLastDC, nullState;
    int32_t ss, se, al, flush;
};

// The first failing check decides and nothing is counted.
TEST(Statistics, ArgumentChecksInOrder) {
    const StatsCheckCase cases[] = {
        {"sequential src", StatusNullPointer, 0, true, false, false, false, false, 0, 0, 0, 0},
        {"sequential AC counts", StatusNullPointer, 0, false, false, true, false, false, 0, 0, 0,
         0},
        {"sequential last DC", StatusNullPointer, 0, false, false, false, true, false, 0, 0, 0, 0},
        {"one", StatusNullPointer, 1, false, true, false, false, false, 0, 0, 0, 0},
        {"DC first: pointers before Al", StatusNullPointer, 2, false, false, false, true, false, 0,
         0, 14, 0},
        {"DC first Al", StatusBadArgument, 2, false, false, false, false, false, 0, 0, 14, 0},
        {"AC counts before flush", StatusNullPointer, 3, true, false, true, false, false, 0, 0, 99,
         1},
        {"state before flush", StatusNullPointer, 4, true, false, false, false, true, 0, 0, 99, 1},
        {"flush looks at nothing else", StatusOk, 4, true, false, false, false, false, 0, 0, 99, 1},
        {"src", StatusNullPointer, 3, true, false, false, false, false, 0, 0, 99, 0},
        {"Ss 0 (AC first)", StatusBadArgument, 3, false, false, false, false, false, 0, 5, 0, 0},
        {"Ss 0 (AC refine)", StatusBadArgument, 4, false, false, false, false, false, 0, 5, 0, 0},
        {"Se below Ss", StatusBadArgument, 4, false, false, false, false, false, 9, 8, 0, 0},
        {"Se 64", StatusBadArgument, 3, false, false, false, false, false, 1, 64, 0, 0},
        {"Al 14", StatusBadArgument, 4, false, false, false, false, false, 1, 63, 14, 0},
    };
    const Block block = zigzagBlock({{0, 9}, {1, 5}});
    for (const auto& c : cases) {
        Counts dc(257, 0), ac(257, 0);
        int16_t lastDC = 0;
        EncodeStateBuffer state = freshEncodeState();
        const int16_t* src = c.nullSrc ? nullptr : block.data();
        int32_t* d = c.nullDc ? nullptr : dc.data();
        int32_t* a = c.nullAc ? nullptr : ac.data();
        int16_t* last = c.nullLastDC ? nullptr : &lastDC;
        HuffmanEncodeState* s = c.nullState ? nullptr : state.get();
        ZeqStatus status;
        switch (c.which) {
            case 0:
                status = zeqiGetHuffmanStatistics8x8_JPEG_16s_C1(src, d, a, last);
                break;
            case 1:
                status = zeqiGetHuffmanStatisticsOne_JPEG_16s_C1(src, d);
                break;
            case 2:
                status = zeqiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(src, d, last, c.al);
                break;
            case 3:
                status = zeqiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(src, a, c.ss, c.se, c.al,
                                                                         s, c.flush);
                break;
            default:
                status = zeqiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(src, a, c.ss, c.se, c.al,
                                                                          s, c.flush);
        }
        EXPECT_EQ(status, c.expected) << c.name;
        EXPECT_EQ(dc, Counts(257, 0)) << c.name;
        EXPECT_EQ(ac, Counts(257, 0)) << c.name;
        EXPECT_EQ(lastDC, 0) << c.name;
    }
}

// Random blocks within the sequential limits, against the plain count.
TEST(Statistics, SequentialCountsMatchThePlainCount) {
    for (int i = 0; i < scaledCount(200); ++i) {
        auto& rng = seededRng(2000 + uint32_t(i));
        std::vector<int16_t> blocks = photoBlocks(16, i % 2 ? kQuality95 : kQuality75, uint32_t(i));
        if (i % 3 == 0)
            for (auto& v : blocks)
                if (uniform<int>(rng, 0, 2) == 0) v = int16_t(uniform<int>(rng, -16383, 16383));
        Counts dc(257, 0), ac(257, 0), expectedDc(257, 0), expectedAc(257, 0);
        int16_t lastDC = 0, expectedLast = 0;
        for (size_t b = 0; b < 16; ++b) {
            ASSERT_EQ(zeqiGetHuffmanStatistics8x8_JPEG_16s_C1(&blocks[64 * b], dc.data(), ac.data(),
                                                              &lastDC),
                      StatusOk);
            countBlockSymbols(&blocks[64 * b], expectedLast, expectedDc, expectedAc);
        }
        EXPECT_EQ(dc, expectedDc) << i;
        EXPECT_EQ(ac, expectedAc) << i;
    }
}

// The statistics pass over every scan of a random script, tables from its
// counts, the coding pass, and the plain reference decoder's tally of the
// symbols in the coded data: equal, table by table and symbol by symbol.
TEST(Statistics, CountsEqualTheSymbolsTheEncodersEmit) {
    for (int i = 0; i < scaledCount(30); ++i) {
        auto& rng = seededRng(3000 + uint32_t(i));
        const bool colour = i % 2 == 1;
        const Frame f = colour ? colour420Frame(48, 32, 0) : greyFrame(64, 40, 0);
        Blocks blocks = photoComponents(f, 3100 + uint32_t(i), i % 3 ? kQuality75 : kQuality95);
        // Some blocks all zero (long runs), some dense (long correction runs).
        for (auto& component : blocks)
            for (size_t b = 0; b < component.size() / 64; ++b) {
                const int kind = uniform<int>(rng, 0, 5);
                for (int k = 1; k < 64 && kind < 2; ++k)
                    component[64 * b + size_t(k)] =
                        kind == 0 ? 0 : int16_t(uniform<int>(rng, -40, 40));
            }
        const auto script = i == 0 ? standardScript(colour) : randomScript(rng, colour ? 3 : 1);
        ZeqStatus status = StatusOk;
        const auto coded = libraryEncodeScript(f, blocks, script, status);
        ASSERT_EQ(status, StatusOk) << i;
        Blocks decoded;
        for (const auto& b : blocks) decoded.emplace_back(b.size(), int16_t{0});
        for (const ProgressiveScan& s : coded) {
            const ScanCounts counted = libraryScanStatistics(f, blocks, s, status);
            ASSERT_EQ(status, StatusOk) << i;
            ScanCounts tally;
            ASSERT_TRUE(referenceDecodeScan(f, decoded, s, tally)) << i;
            for (int t = 0; t < 2; ++t) {
                EXPECT_EQ(tally.dc[t], counted.dc[t]) << "script " << i << " DC table " << t;
                EXPECT_EQ(tally.ac[t], counted.ac[t])
                    << "script " << i << " scan " << s.ss << ".." << s.se << " Ah " << s.ah;
            }
        }
        EXPECT_EQ(decoded, blocks) << i;
    }
}

}  // namespace
