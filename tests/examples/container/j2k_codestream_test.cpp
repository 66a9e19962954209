#include "container/j2k_codestream.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/common/test_support.h"

namespace zeq::container {
namespace {

J2kHeader sampleHeader() {
    J2kHeader h;
    h.width = 37;
    h.height = 19;
    h.components = 3;
    h.levels = 2;
    h.codeBlockStyle = J2kStyleBypass | J2kStyleCausal;
    h.reversible = false;
    h.multiComponentTransform = true;
    h.guardBits = 3;
    h.quantized = true;
    for (int32_t b = 0; b < j2kBandCount(2); ++b)
        h.steps.push_back(J2kQuantStep{static_cast<uint8_t>(8 + b), static_cast<uint16_t>(b * 99)});
    return h;
}

TEST(J2kCodestream, HeadersRoundTripThroughWriterAndParser) {
    std::mt19937& rng = test::seededRng(3);
    for (int i = 0; i < test::scaledCount(500); ++i) {
        J2kHeader h;
        h.width = test::uniform<uint32_t>(rng, 1, 5000);
        h.height = test::uniform<uint32_t>(rng, 1, 5000);
        h.components = test::uniform<int>(rng, 0, 1) ? 3 : 1;
        h.precision = test::uniform<uint8_t>(rng, 1, 16);
        h.isSigned = test::uniform<int>(rng, 0, 1);
        h.levels = test::uniform<uint8_t>(rng, 0, J2kMaxLevels);
        h.codeBlockStyle = test::uniform<uint8_t>(rng, 0, 63);
        h.reversible = test::uniform<int>(rng, 0, 1);
        h.multiComponentTransform = h.components == 3 && test::uniform<int>(rng, 0, 1);
        h.guardBits = test::uniform<uint8_t>(rng, 1, 7);
        h.quantized = !h.reversible;
        for (int32_t b = 0; b < j2kBandCount(h.levels); ++b)
            h.steps.push_back(
                J2kQuantStep{test::uniform<uint8_t>(rng, 1, 31 - h.guardBits),
                             h.quantized ? test::uniform<uint16_t>(rng, 0, 2047) : uint16_t{0}});
        std::vector<uint8_t> packets(test::uniform<size_t>(rng, 0, 40));
        for (auto& p : packets) p = test::uniform<uint8_t>(rng, 0, 0x8F);
        const std::vector<uint8_t> cs = writeJ2kCodestream(h, packets.data(), packets.size());
        J2kHeader back;
        const uint8_t* at = nullptr;
        size_t size = 0;
        std::string error;
        ASSERT_TRUE(parseJ2kCodestream(cs.data(), cs.size(), back, &at, &size, &error)) << error;
        EXPECT_EQ(back.width, h.width);
        EXPECT_EQ(back.height, h.height);
        EXPECT_EQ(back.components, h.components);
        EXPECT_EQ(back.precision, h.precision);
        EXPECT_EQ(back.isSigned, h.isSigned);
        EXPECT_EQ(back.levels, h.levels);
        EXPECT_EQ(back.codeBlockStyle, h.codeBlockStyle);
        EXPECT_EQ(back.reversible, h.reversible);
        EXPECT_EQ(back.multiComponentTransform, h.multiComponentTransform);
        EXPECT_EQ(back.guardBits, h.guardBits);
        EXPECT_EQ(back.quantized, h.quantized);
        ASSERT_EQ(back.steps.size(), h.steps.size());
        for (size_t b = 0; b < h.steps.size(); ++b) {
            EXPECT_EQ(back.steps[b].exponent, h.steps[b].exponent);
            EXPECT_EQ(back.steps[b].mantissa, h.steps[b].mantissa);
        }
        EXPECT_EQ(std::vector<uint8_t>(at, at + size), packets);
    }
}

// One edit of a valid codestream and the reason the parser must give.
struct Refusal {
    const char* what;
    size_t offset;
    std::vector<uint8_t> bytes;
    const char* reason;
};

TEST(J2kCodestream, ShapesOutsideTheWritersAreRefusedWithAReason) {
    const std::vector<uint8_t> valid = [] {
        const J2kHeader h = sampleHeader();
        const uint8_t packets[3] = {0x80, 0x00, 0x11};
        return writeJ2kCodestream(h, packets, 3);
    }();
    // Offsets: SIZ segment at 2, COD at 2 + 2 + 47, QCD after it.
    const size_t siz = 4, cod = 2 + 2 + 47 + 2, qcd = cod + 12 + 2;
    const Refusal cases[] = {
        {"no SOC", 0, {0xFF, 0x4E}, "not a JPEG 2000"},
        {"image offset", siz + 12, {0, 0, 0, 1}, "image offsets"},
        {"tiles", siz + 20, {0, 0, 0, 8}, "more than one tile"},
        {"empty image", siz + 4, {0, 0, 0, 0}, "empty image"},
        {"huge image", siz + 4, {0x7F, 0xFF, 0xFF, 0xFF}, "too large"},
        {"subsampling", siz + 39, {2}, "subsampled"},
        {"mixed precision", siz + 41, {0x0A}, "different precision"},
        {"precincts", cod + 2, {1}, "precincts"},
        {"progression", cod + 3, {2}, "LRCP"},
        {"layers", cod + 4, {0, 2}, "quality layer"},
        {"levels", cod + 7, {9}, "decomposition levels"},
        {"code blocks", cod + 8, {3}, "64x64"},
        {"style", cod + 10, {0x40}, "style bits"},
        {"filter", cod + 11, {2}, "wavelet filter"},
        {"transform", cod + 6, {2}, "multiple-component"},
        {"scalar derived", qcd + 2, {0x61}, "quantization style"},
        {"magnitude bits", qcd + 3, {0xF8}, "magnitude bits"},
        {"unknown marker", cod - 2, {0xFF, 0x5F}, "is not supported"},
        {"tile index", valid.size() - 2 - 3 - 2 - 8, {0, 1}, "tile index"},
        {"tile length", valid.size() - 2 - 3 - 2 - 6, {0, 0, 1, 0}, "past the end"},
        {"no EOC", valid.size() - 2, {0xFF, 0xD8}, "EOC"},
    };
    for (const Refusal& c : cases) {
        SCOPED_TRACE(c.what);
        std::vector<uint8_t> cs = valid;
        std::copy(c.bytes.begin(), c.bytes.end(), cs.begin() + static_cast<ptrdiff_t>(c.offset));
        J2kHeader h;
        const uint8_t* at = nullptr;
        size_t size = 0;
        std::string error;
        EXPECT_FALSE(parseJ2kCodestream(cs.data(), cs.size(), h, &at, &size, &error));
        EXPECT_NE(error.find(c.reason), std::string::npos) << error;
    }
    for (size_t n = 0; n < valid.size(); ++n) {
        J2kHeader h;
        const uint8_t* at = nullptr;
        size_t size = 0;
        std::string error;
        EXPECT_FALSE(parseJ2kCodestream(valid.data(), n, h, &at, &size, &error)) << n;
        EXPECT_FALSE(error.empty());
    }
}

TEST(J2kCodestream, SegmentsFollowTheTerminationStyle) {
    struct Case {
        int32_t passes;
        uint8_t style;
        std::vector<int32_t> counts;
    };
    const Case cases[] = {
        {1, 0, {1}},
        {28, 0, {28}},
        {3, J2kStyleTerminateAll, {1, 1, 1}},
        {9, J2kStyleBypass, {9}},
        {10, J2kStyleBypass, {10}},
        {16, J2kStyleBypass, {10, 2, 1, 2, 1}},
        {17, J2kStyleBypass, {10, 2, 1, 2, 1, 1}},
        {12, J2kStyleBypass | J2kStyleTerminateAll, std::vector<int32_t>(12, 1)},
    };
    for (const Case& c : cases) EXPECT_EQ(j2kSegmentPassCounts(c.passes, c.style), c.counts);
}

TEST(J2kCodestream, StyleByteAndTierOneFlagsMapBothWays) {
    EXPECT_EQ(j2kStyleFromFlags(1, 0), J2kStyleCausal);
    EXPECT_EQ(j2kStyleFromFlags(2, 0), J2kStyleBypass);
    EXPECT_EQ(j2kStyleFromFlags(4, 0), J2kStyleTerminateAll);
    EXPECT_EQ(j2kStyleFromFlags(8, 0), J2kStyleResetContexts);
    EXPECT_EQ(j2kStyleFromFlags(16, 0), J2kStyleSegmentationSymbol);
    EXPECT_EQ(j2kStyleFromFlags(0, 2), J2kStylePredictableTermination);
    EXPECT_EQ(j2kStyleFromFlags(0, 1), 0);
    for (int32_t flags = 0; flags < 32; ++flags)
        EXPECT_EQ(j2kFlagsFromStyle(j2kStyleFromFlags(flags, 2)), flags);
}

// A first packet with hand-checked bits: one band of 2x1 blocks, the first
// included with 3 zero planes, 1 pass of 5 bytes, the second not.
TEST(J2kCodestream, PacketHeaderBitsOfAKnownPacket) {
    std::vector<J2kPacketBand> bands(1);
    bands[0].blocksWide = 2;
    bands[0].blocksHigh = 1;
    bands[0].magnitudeBits = 10;
    J2kCodeBlockContribution a;
    a.included = true;
    a.zeroBitPlanes = 3;
    a.passes = 1;
    a.segmentLengths = {5};
    bands[0].blocks = {a, J2kCodeBlockContribution{}};
    // 1 (not empty); inclusion: root 1, leaf 1; zero planes: root 0001,
    // leaf 1; passes 0; Lblock 0; length 101 (3 bits); inclusion of the
    // second block: leaf 0 (the root is known); padding.
    // Bits: 1 1 1 0001 1 0 0 101 0 -> 1110 0011 0010 1000
    const std::vector<uint8_t> header = writeJ2kPacketHeader(bands, 0);
    EXPECT_EQ(header, (std::vector<uint8_t>{0xE3, 0x28}));
    std::vector<J2kPacketBand> back = bands;
    size_t used = 0;
    std::string error;
    ASSERT_TRUE(readJ2kPacketHeader(header.data(), header.size(), back, 0, &used, &error));
    EXPECT_EQ(used, 2u);
    EXPECT_TRUE(back[0].blocks[0].included);
    EXPECT_EQ(back[0].blocks[0].zeroBitPlanes, 3);
    EXPECT_EQ(back[0].blocks[0].segmentLengths, std::vector<int32_t>{5});
    EXPECT_FALSE(back[0].blocks[1].included);
}

TEST(J2kCodestream, RandomPacketHeadersRoundTrip) {
    std::mt19937& rng = test::seededRng(11);
    const uint8_t styles[] = {0, J2kStyleBypass, J2kStyleTerminateAll,
                              J2kStyleBypass | J2kStyleTerminateAll};
    for (int i = 0; i < test::scaledCount(400); ++i) {
        const uint8_t style = styles[i % 4];
        std::vector<J2kPacketBand> bands(static_cast<size_t>(test::uniform<int>(rng, 1, 3)));
        for (J2kPacketBand& band : bands) {
            band.blocksWide = test::uniform<int32_t>(rng, 0, 7);
            band.blocksHigh = test::uniform<int32_t>(rng, 0, 5);
            band.magnitudeBits = test::uniform<int32_t>(rng, 1, 31);
            const int included = test::uniform<int>(rng, 0, 100);
            for (int32_t k = 0; k < band.blocksWide * band.blocksHigh; ++k) {
                J2kCodeBlockContribution c;
                c.included = test::uniform<int>(rng, 1, 100) <= included;
                if (c.included) {
                    c.zeroBitPlanes = test::uniform<int32_t>(rng, 0, band.magnitudeBits - 1);
                    const int32_t planes = band.magnitudeBits - c.zeroBitPlanes;
                    c.passes = test::uniform<int32_t>(rng, 1, 3 * planes - 2);
                    for (size_t s = 0; s < j2kSegmentPassCounts(c.passes, style).size(); ++s)
                        c.segmentLengths.push_back(
                            test::uniform<int32_t>(rng, 0, 1 << test::uniform<int>(rng, 0, 20)));
                }
                band.blocks.push_back(c);
            }
        }
        std::vector<uint8_t> header = writeJ2kPacketHeader(bands, style);
        const size_t length = header.size();
        header.push_back(0xFF);  // body bytes after the header are not read
        std::vector<J2kPacketBand> back = bands;
        for (auto& b : back) b.blocks.clear();
        size_t used = 0;
        std::string error;
        ASSERT_TRUE(readJ2kPacketHeader(header.data(), header.size(), back, style, &used, &error))
            << error;
        EXPECT_EQ(used, length);
        for (size_t b = 0; b < bands.size(); ++b) {
            ASSERT_EQ(back[b].blocks.size(), bands[b].blocks.size());
            for (size_t k = 0; k < bands[b].blocks.size(); ++k) {
                const J2kCodeBlockContribution &x = bands[b].blocks[k], &y = back[b].blocks[k];
                EXPECT_EQ(y.included, x.included);
                if (!x.included) continue;
                EXPECT_EQ(y.zeroBitPlanes, x.zeroBitPlanes);
                EXPECT_EQ(y.passes, x.passes);
                EXPECT_EQ(y.segmentLengths, x.segmentLengths);
            }
        }
        // Every truncation of the header is refused, never over-read.
        for (size_t n = 0; n + 1 < length; ++n) {
            std::vector<uint8_t> cut(header.begin(), header.begin() + static_cast<ptrdiff_t>(n));
            std::vector<J2kPacketBand> partial = back;
            if (readJ2kPacketHeader(cut.data(), cut.size(), partial, style, &used, &error)) {
                EXPECT_LE(used, n);
            }
        }
    }
}

}  // namespace
}  // namespace zeq::container
