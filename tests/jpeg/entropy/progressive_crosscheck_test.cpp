// Cross-checks of the progressive coders with libjpeg (as an oracle): full
// scan scripts coded by the library and wrapped in a minimal SOF2 file are
// read back by libjpeg with identical coefficients; progressive files libjpeg
// writes are decoded scan by scan by the library's decoders (and by the plain
// reference decoder) with identical coefficients. Grey and 4:2:0 colour.
#include <gtest/gtest.h>

#include <vector>

#include "tests/common/test_support.h"
#include "tests/jpeg/entropy/huffman_test_support.h"
#include "tests/jpeg/entropy/jpeg_file.h"
#include "tests/jpeg/entropy/libjpeg_oracle.h"
#include "tests/jpeg/entropy/photo_blocks.h"
#include "tests/jpeg/entropy/progressive_scans.h"
#include "zeqj.h"

namespace {

using namespace zeq::test;

struct CrossCase {
    const char* name;
    bool colour;
    int width, height;
    PhotoBlockShape shape;
};

const CrossCase kCases[] = {
    {"grey, quality 75", false, 64, 48, kQuality75},
    {"grey, quality 95", false, 96, 80, kQuality95},
    {"4:2:0, quality 75", true, 64, 48, kQuality75},
    {"4:2:0, quality 95", true, 128, 96, kQuality95},
};

Frame frameOf(const CrossCase& c) {
    return c.colour ? colour420Frame(c.width, c.height, 0) : greyFrame(c.width, c.height, 0);
}

Blocks zeroBlocksLike(const Blocks& blocks) {
    Blocks zeros;
    for (const auto& b : blocks) zeros.emplace_back(b.size(), int16_t{0});
    return zeros;
}

// The library's encoders with optimal tables from the library's statistics
// (the standard tables have no end-of-band run symbols).
TEST(ProgressiveCrossCheck, LibjpegReadsOurStandardScriptWithIdenticalCoefficients) {
    uint32_t seed = 300;
    for (const CrossCase& c : kCases) {
        const Frame f = frameOf(c);
        const Blocks blocks = photoComponents(f, seed++, c.shape);
        ZeqStatus status = StatusOk;
        const auto scans = libraryEncodeScript(f, blocks, standardScript(c.colour), status);
        ASSERT_EQ(status, StatusOk) << c.name;
        Blocks read;
        ASSERT_TRUE(libjpegReadCoefficients(writeProgressiveFile(f, scans), read)) << c.name;
        ASSERT_EQ(read.size(), blocks.size()) << c.name;
        for (size_t ci = 0; ci < blocks.size(); ++ci)
            EXPECT_EQ(read[ci], blocks[ci]) << c.name << " component " << ci;
    }
}

// Random scripts with up to four bits of successive approximation, blocks
// with dense refinements among them (long runs of correction bits).
TEST(ProgressiveCrossCheck, LibjpegReadsOurRandomScriptsWithIdenticalCoefficients) {
    for (int i = 0; i < scaledCount(20); ++i) {
        auto& rng = seededRng(400 + uint32_t(i));
        const bool colour = i % 2 == 1;
        const Frame f = colour ? colour420Frame(64, 32, 0) : greyFrame(48, 40, 0);
        Blocks blocks = photoComponents(f, 500 + uint32_t(i), i % 3 ? kQuality95 : kQuality75);
        for (auto& component : blocks)
            for (size_t b = 0; b < component.size() / 64; ++b)
                if (uniform<int>(rng, 0, 3) == 0)
                    for (int k = 1; k < 64; ++k)
                        component[64 * b + k] =
                            int16_t(uniform<int>(rng, 2, 15) * (uniform<int>(rng, 0, 1) ? 1 : -1));
        ZeqStatus status = StatusOk;
        const auto scans =
            libraryEncodeScript(f, blocks, randomScript(rng, colour ? 3 : 1), status);
        ASSERT_EQ(status, StatusOk) << i;
        Blocks read;
        ASSERT_TRUE(libjpegReadCoefficients(writeProgressiveFile(f, scans), read)) << i;
        ASSERT_EQ(read.size(), blocks.size());
        for (size_t ci = 0; ci < blocks.size(); ++ci)
            EXPECT_EQ(read[ci], blocks[ci]) << "script " << i << " component " << ci;
    }
}

TEST(ProgressiveCrossCheck, OurDecodersReadLibjpegProgressiveFilesWithIdenticalCoefficients) {
    uint32_t seed = 600;
    for (const CrossCase& c : kCases) {
        const Frame f = frameOf(c);
        const Blocks blocks = photoComponents(f, seed++, c.shape);
        std::vector<uint8_t> file;
        ASSERT_TRUE(libjpegWriteCoefficients(f, blocks, true, file, true)) << c.name;
        const ParsedFile parsed = parseJpegFile(file);
        ASSERT_TRUE(parsed.ok && parsed.progressive) << c.name;
        Blocks ours = zeroBlocksLike(blocks), reference = zeroBlocksLike(blocks);
        ASSERT_GE(parsed.scans.size(), 6u) << c.name;
        for (const ParsedScan& s : parsed.scans) {
            Frame scanFrame = parsed.frame;
            for (size_t i = 0; i < s.components.size(); ++i) {
                scanFrame.components[size_t(s.components[i])].dcTable = s.dcTable[i];
                scanFrame.components[size_t(s.components[i])].acTable = s.acTable[i];
            }
            ASSERT_EQ(libraryDecodeScan(scanFrame, ours, s.components, s.ss, s.se, s.ah, s.al, s.dc,
                                        s.ac, s.data),
                      StatusOk)
                << c.name << " scan " << s.ss << ".." << s.se << " Ah " << s.ah;
            // The reference decoder takes its tables by the ids the frame names.
            ProgressiveScan plain = scanOf(s.components, s.ss, s.se, s.ah, s.al);
            for (int t = 0; t < 4; ++t) {
                plain.dc[t] = s.dc[t];
                plain.ac[t] = s.ac[t];
            }
            plain.data = s.data;
            ScanCounts tally;
            ASSERT_TRUE(referenceDecodeScan(scanFrame, reference, plain, tally)) << c.name;
        }
        for (size_t ci = 0; ci < blocks.size(); ++ci) {
            EXPECT_EQ(ours[ci], blocks[ci]) << c.name << " component " << ci;
            EXPECT_EQ(reference[ci], blocks[ci]) << c.name << " component " << ci;
        }
    }
}

// The comparison has teeth: a flipped bit in a refinement scan changes what
// libjpeg reads.
TEST(ProgressiveCrossCheck, AFlippedRefinementBitIsNoticed) {
    const Frame f = greyFrame(64, 64, 0);
    const Blocks blocks = photoComponents(f, 9, kQuality95);
    ZeqStatus status = StatusOk;
    auto scans = libraryEncodeScript(f, blocks, standardScript(false), status);
    ASSERT_EQ(status, StatusOk);
    std::vector<uint8_t>& refine = scans.back().data;
    ASSERT_GT(refine.size(), 8u);
    refine[refine.size() / 2] ^= 0x04;
    Blocks read;
    const bool clean = libjpegReadCoefficients(writeProgressiveFile(f, scans), read);
    EXPECT_FALSE(clean && read == blocks);
}

}  // namespace
