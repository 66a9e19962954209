// The library's code blocks against a real JPEG 2000 codec: libopenjp2 must
// decode what the encoder writes, and the decoders must reproduce what
// libopenjp2 encodes, for the code-block styles the flags map to.
#include <gtest/gtest.h>

#include "tests/jpeg2000/tier1/openjpeg_oracle.h"
#include "tests/jpeg2000/tier1/t1_test_support.h"

namespace {

using namespace zeq::test;
using namespace zeq::test::t1;

// Sign-magnitude words to the signed samples of a reversible codestream.
std::vector<int32_t> toSigned(const std::vector<int32_t>& words) {
    std::vector<int32_t> out;
    for (int32_t w : words) {
        const int32_t m = w & 0x7FFFFFFF;
        out.push_back(w < 0 ? -m : m);
    }
    return out;
}

struct StyleCase {
    int32_t flags;
    int32_t termType;
};

const StyleCase kStyles[] = {{0, 0}, {1, 0}, {2, 0},  {4, 0},  {8, 0},  {16, 0}, {0, 1}, {0, 2},
                             {2, 1}, {6, 2}, {31, 0}, {31, 1}, {31, 2}, {19, 2}, {2, 2}, {12, 1}};

TEST(Tier1OpenJpeg, OpenJpegDecodesTheEncodersCodeBlocksExactly) {
    EncoderHandle enc({64, 64});
    for (const StyleCase& style : kStyles) {
        for (int i = 0; i < scaledCount(12); ++i) {
            auto& rng =
                seededRng(static_cast<uint32_t>(1000 * style.flags + 100 * style.termType + i));
            const int w = i == 0 ? 64 : uniform<int>(rng, 1, 64);
            const int h = i == 0 ? 64 : uniform<int>(rng, 1, 64);
            const Block b = randomBlock(rng, w, h, uniform<int>(rng, 0, 14));
            const int32_t subband = 0;  // the only band of a codestream without levels
            const Encoded e = encode(enc.state, b, subband, style.flags, style.termType);
            const std::vector<uint8_t> cs =
                wrapCodeBlock(w, h, codeBlockStyle(style.flags, style.termType), e.sfBits, e.passes,
                              e.bytes, e.segmentLengths);
            std::vector<int32_t> samples;
            ASSERT_TRUE(openjpegDecode(cs, samples))
                << "flags " << style.flags << " term " << style.termType << " case " << i;
            ASSERT_EQ(samples, toSigned(b.words))
                << "flags " << style.flags << " term " << style.termType << " case " << i << " "
                << w << "x" << h;
        }
    }
}

TEST(Tier1OpenJpeg, DecodersReproduceOpenJpegCodeBlocks) {
    for (const StyleCase& style : kStyles) {
        const uint8_t cbStyle = codeBlockStyle(style.flags, style.termType);
        for (int i = 0; i < scaledCount(8); ++i) {
            auto& rng =
                seededRng(static_cast<uint32_t>(7 + 1000 * style.flags + 100 * style.termType + i));
            const int w = i == 0 ? 64 : uniform<int>(rng, 1, 64);
            const int h = i == 0 ? 64 : uniform<int>(rng, 1, 64);
            Block b = randomBlock(rng, w, h, uniform<int>(rng, 0, 14));
            b.words[0] |= 1;  // never an all-zero block: its packet would be empty
            const std::vector<uint8_t> cs = openjpegEncode(toSigned(b.words), w, h, cbStyle);
            ASSERT_FALSE(cs.empty());
            const ParsedCodeBlock p = parseCodeBlock(cs);
            ASSERT_TRUE(p.ok) << "flags " << style.flags << " case " << i;
            ASSERT_EQ(p.style, cbStyle);
            int32_t flags = libraryFlags(p.style);
            if (style.termType == 2) flags |= 0x100000;  // their predictable termination checks out
            const Decoded one =
                decodeOneShot(b, p.data, p.segmentLengths, 0, p.sfBits, p.passes, flags);
            EXPECT_EQ(one.status, StatusOk);
            ASSERT_EQ(one.words, b.words) << "flags " << style.flags << " case " << i;
            const Decoded progressive =
                decodeProgressive(b, p.data, p.segmentLengths, 0, p.sfBits, p.passes, flags);
            EXPECT_EQ(progressive.status, StatusOk);
            ASSERT_EQ(progressive.words, b.words) << "flags " << style.flags << " case " << i;
        }
    }
}

}  // namespace
