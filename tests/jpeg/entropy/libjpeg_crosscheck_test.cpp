// Cross-checks with a real JPEG codec (libjpeg, as an oracle): scans coded by
// the library, wrapped in a minimal baseline file, are read back by libjpeg
// with identical coefficients; files libjpeg writes are decoded by the
// library's block decoder with identical coefficients. Grey and 4:2:0 colour,
// restart intervals, standard and optimal tables.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/common/test_support.h"
#include "tests/jpeg/entropy/huffman_test_support.h"
#include "tests/jpeg/entropy/jpeg_file.h"
#include "tests/jpeg/entropy/libjpeg_oracle.h"
#include "tests/jpeg/entropy/photo_blocks.h"
#include "zeqj.h"

namespace {

using namespace zeq::test;

// The scan through the library's block encoder (tables 0 and 1 of dc and ac): MCU order, a flush
// and an RSTn marker after every interval, last DC values back to 0.
std::vector<uint8_t> encodeScan(const Frame& f, const Blocks& blocks, const TableDefinition* dc,
                                const TableDefinition* ac) {
    const EncodeSpecBuffer dcSpec[2] = {encodeSpec(dc[0]), encodeSpec(dc[1])};
    const EncodeSpecBuffer acSpec[2] = {encodeSpec(ac[0]), encodeSpec(ac[1])};
    EncodeStateBuffer state = freshEncodeState();
    std::vector<uint8_t> out(1 << 20);
    const int32_t len = int32_t(out.size());
    int32_t pos = 0;
    std::vector<int16_t> lastDC(f.components.size(), 0);
    const auto mcus = mcuOrder(f);
    for (size_t m = 0; m < mcus.size(); ++m) {
        if (f.restartInterval > 0 && m > 0 && m % f.restartInterval == 0) {
            EXPECT_EQ(zeqiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, out.data(), len, &pos, nullptr,
                                                         nullptr, nullptr, state.get(), 1),
                      StatusOk);
            out[pos++] = 0xFF;
            out[pos++] = uint8_t(0xD0 + (m / f.restartInterval - 1) % 8);
            std::fill(lastDC.begin(), lastDC.end(), 0);
        }
        for (const BlockRef& b : mcus[m]) {
            const auto& c = f.components[b.component];
            EXPECT_EQ(
                zeqiEncodeHuffman8x8_JPEG_16s1u_C1(
                    &blocks[b.component][64 * b.index], out.data(), len, &pos, &lastDC[b.component],
                    dcSpec[c.dcTable].get(), acSpec[c.acTable].get(), state.get(), 0),
                StatusOk);
        }
    }
    EXPECT_EQ(zeqiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, out.data(), len, &pos, nullptr, nullptr,
                                                 nullptr, state.get(), 1),
              StatusOk);
    out.resize(pos);
    return out;
}

// The scan through the library's block decoder; at each interval end the
// caller's part: find the marker if the reader has not met it yet, check it,
// reset state, marker word and last DC values.
Blocks decodeScan(const ParsedFile& file) {
    const Frame& f = file.frame;
    Blocks blocks;
    for (const auto& c : f.components)
        blocks.emplace_back(size_t(64) * c.widthInBlocks * c.heightInBlocks, int16_t{0});
    DecodeSpecBuffer dcSpec[4], acSpec[4];
    for (int t = 0; t < 4; ++t) {
        if (!file.dc[t].values.empty()) dcSpec[t] = decodeSpec(file.dc[t]);
        if (!file.ac[t].values.empty()) acSpec[t] = decodeSpec(file.ac[t]);
    }
    DecodeStateBuffer state = freshDecodeState();
    const std::vector<uint8_t>& src = file.scan;
    int32_t pos = 0, marker = 0;
    std::vector<int16_t> lastDC(f.components.size(), 0);
    const auto mcus = mcuOrder(f);
    for (size_t m = 0; m < mcus.size(); ++m) {
        if (f.restartInterval > 0 && m > 0 && m % f.restartInterval == 0) {
            if (marker == 0) {
                while (!(src[pos] == 0xFF && src[pos + 1] != 0x00)) ++pos;
                marker = src[pos + 1];
                pos += 2;
            }
            EXPECT_EQ(marker, int32_t(0xD0 + (m / f.restartInterval - 1) % 8)) << m;
            marker = 0;
            std::fill(lastDC.begin(), lastDC.end(), 0);
            zeqiDecodeHuffmanStateInit_JPEG_8u(state.get());
        }
        for (const BlockRef& b : mcus[m]) {
            const auto& c = f.components[b.component];
            EXPECT_EQ(zeqiDecodeHuffman8x8_JPEG_1u16s_C1(
                          src.data(), int32_t(src.size()), &pos, &blocks[b.component][64 * b.index],
                          &lastDC[b.component], &marker, dcSpec[c.dcTable].get(),
                          acSpec[c.acTable].get(), state.get()),
                      StatusOk)
                << m;
        }
    }
    return blocks;
}

// The tables libjpeg codes with by default are those of T.81 Annex K.
TEST(LibjpegCrossCheck, DefaultTablesAreTheAnnexKTables) {
    jpeg_compress_struct info;
    LibjpegTrap trap;
    trap.attach(reinterpret_cast<j_common_ptr>(&info));
    jpeg_create_compress(&info);
    info.in_color_space = JCS_YCbCr;
    info.input_components = 3;
    jpeg_set_defaults(&info);
    const TableDefinition* ours[4] = {&annexKDcLuminance(), &annexKDcChrominance(),
                                      &annexKAcLuminance(), &annexKAcChrominance()};
    JHUFF_TBL* theirs[4] = {info.dc_huff_tbl_ptrs[0], info.dc_huff_tbl_ptrs[1],
                            info.ac_huff_tbl_ptrs[0], info.ac_huff_tbl_ptrs[1]};
    for (int t = 0; t < 4; ++t) {
        for (int i = 0; i < 16; ++i) EXPECT_EQ(theirs[t]->bits[i + 1], ours[t]->bits[i]) << t;
        for (size_t k = 0; k < ours[t]->values.size(); ++k)
            EXPECT_EQ(theirs[t]->huffval[k], ours[t]->values[k]);
    }
    jpeg_destroy_compress(&info);
}

struct CrossCase {
    const char* name;
    bool colour;
    int width, height, interval;
    bool optimal;
    PhotoBlockShape shape;
};

const CrossCase kCases[] = {
    {"grey, no restarts", false, 64, 48, 0, false, kQuality75},
    {"grey, restart every 5 blocks", false, 80, 64, 5, false, kQuality95},
    {"grey, optimal tables, restart every 3", false, 72, 40, 3, true, kQuality95},
    {"4:2:0, no restarts", true, 64, 48, 0, false, kQuality75},
    {"4:2:0, restart every 2 MCUs", true, 96, 64, 2, false, kQuality95},
    {"4:2:0, optimal tables, restart every 7 MCUs", true, 128, 96, 7, true, kQuality75},
};

Frame frameOf(const CrossCase& c) {
    return c.colour ? colour420Frame(c.width, c.height, c.interval)
                    : greyFrame(c.width, c.height, c.interval);
}

TEST(LibjpegCrossCheck, LibjpegReadsOurScansWithIdenticalCoefficients) {
    uint32_t seed = 1;
    for (const CrossCase& c : kCases) {
        const Frame f = frameOf(c);
        const Blocks blocks = photoComponents(f, seed++, c.shape);
        TableDefinition dc[2] = {annexKDcLuminance(), annexKDcChrominance()};
        TableDefinition ac[2] = {annexKAcLuminance(), annexKAcChrominance()};
        if (c.optimal) {
            // Statistics per table (luminance, chrominance); every DC
            // category gets a count because restarts reset the prediction.
            std::vector<int32_t> dcCounts[2], acCounts[2];
            for (int t = 0; t < 2; ++t) {
                dcCounts[t].assign(257, 0);
                acCounts[t].assign(257, 0);
                for (int s = 0; s < 12; ++s) dcCounts[t][s] = 1;
            }
            for (size_t ci = 0; ci < f.components.size(); ++ci) {
                int16_t last = 0;
                const int t = f.components[ci].dcTable;
                for (size_t b = 0; b < blocks[ci].size() / 64; ++b)
                    countBlockSymbols(&blocks[ci][64 * b], last, dcCounts[t], acCounts[t]);
            }
            for (int t = 0; t < 2; ++t) {
                dc[t] = optimalDefinition(dcCounts[t]);
                if (std::any_of(acCounts[t].begin(), acCounts[t].end(),
                                [](int32_t n) { return n > 0; }))
                    ac[t] = optimalDefinition(acCounts[t]);
            }
        }
        const std::vector<uint8_t> file =
            writeBaselineFile(f, dc, ac, c.colour ? 2 : 1, encodeScan(f, blocks, dc, ac));
        Blocks read;
        ASSERT_TRUE(libjpegReadCoefficients(file, read)) << c.name;
        ASSERT_EQ(read.size(), blocks.size()) << c.name;
        for (size_t ci = 0; ci < blocks.size(); ++ci)
            EXPECT_EQ(read[ci], blocks[ci]) << c.name << " component " << ci;
    }
}

// The comparison has teeth: one flipped bit in the scan changes what libjpeg reads.
TEST(LibjpegCrossCheck, AFlippedScanBitIsNoticed) {
    const Frame f = greyFrame(64, 64, 0);
    const Blocks blocks = photoComponents(f, 9, kQuality75);
    const TableDefinition dc[2] = {annexKDcLuminance(), annexKDcChrominance()};
    const TableDefinition ac[2] = {annexKAcLuminance(), annexKAcChrominance()};
    std::vector<uint8_t> scan = encodeScan(f, blocks, dc, ac);
    scan[scan.size() / 2] ^= 0x10;
    Blocks read;
    const bool clean = libjpegReadCoefficients(writeBaselineFile(f, dc, ac, 1, scan), read);
    EXPECT_FALSE(clean && read == blocks);
}

TEST(LibjpegCrossCheck, OurDecoderReadsLibjpegScansWithIdenticalCoefficients) {
    uint32_t seed = 50;
    for (const CrossCase& c : kCases) {
        const Frame f = frameOf(c);
        const Blocks blocks = photoComponents(f, seed++, c.shape);
        std::vector<uint8_t> file;
        ASSERT_TRUE(libjpegWriteCoefficients(f, blocks, c.optimal, file)) << c.name;
        const ParsedFile parsed = parseBaselineFile(file);
        ASSERT_TRUE(parsed.ok) << c.name;
        ASSERT_EQ(parsed.frame.restartInterval, c.interval) << c.name;
        const Blocks decoded = decodeScan(parsed);
        ASSERT_EQ(decoded.size(), blocks.size());
        for (size_t ci = 0; ci < blocks.size(); ++ci)
            EXPECT_EQ(decoded[ci], blocks[ci]) << c.name << " component " << ci;
    }
}

}  // namespace
