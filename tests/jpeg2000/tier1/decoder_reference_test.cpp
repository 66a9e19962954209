// Both code-block decoders against the plain reference decoder, byte for
// byte: intact streams from the encoder, streams cut short, changed bytes,
// random bytes, pass counts and plane counts that do not match the data,
// every coding-style flag and block shapes down to one row or column.
#include <gtest/gtest.h>

#include "tests/jpeg2000/tier1/reference_decoding.h"
#include "tests/jpeg2000/tier1/t1_test_support.h"

namespace {

using namespace zeq::test;
using namespace zeq::test::t1;

constexpr int32_t kFill = 0x5A5A5A5A;

struct Case {
    int32_t width, height, subband, sfBits, passes, flags;
    std::vector<uint8_t> bytes;
    std::vector<int32_t> lengths;
};

// An encoded block, then damage of one kind: none, segments cut short,
// changed bits, wrong pass or plane counts, or bytes that were never coded.
Case randomCase(std::mt19937& rng, EncoderHandle& enc, int i) {
    Case c;
    const int shape = i % 8;
    c.width = shape == 0 ? 1 : (shape == 1 ? 64 : uniform<int>(rng, 1, 64));
    c.height = shape == 2 ? 1 : (shape == 1 ? 64 : uniform<int>(rng, 1, 64));
    c.subband = uniform<int>(rng, 0, 3);
    const int32_t codingFlags = uniform<int>(rng, 0, 31);
    c.flags = codingFlags | (uniform<int>(rng, 0, 3) == 0 ? 0x10000 : 0) |
              (uniform<int>(rng, 0, 3) == 0 ? 0x20000 : 0) |
              (uniform<int>(rng, 0, 3) == 0 ? 0x40000 : 0) |
              (uniform<int>(rng, 0, 2) == 0 ? 0x100000 : 0);
    const int damage = uniform<int>(rng, 0, 5);
    if (damage == 5) {  // random bytes in random segments
        c.bytes.resize(static_cast<size_t>(uniform<int>(rng, 0, 800)));
        fillRandom(rng, c.bytes.data(), c.bytes.size());
        for (int32_t left = static_cast<int32_t>(c.bytes.size()); left > 0;) {
            const int32_t len = uniform<int>(rng, -2, left);
            c.lengths.push_back(len);
            left -= std::max(len, 1);
        }
        c.sfBits = uniform<int>(rng, 0, 33);
        c.passes = uniform<int>(rng, 0, 100);
        return c;
    }
    const Block b = randomBlock(rng, c.width, c.height, uniform<int>(rng, 0, 30));
    const Encoded e = encode(enc.state, b, c.subband, codingFlags, uniform<int>(rng, 0, 2));
    c.bytes = e.bytes;
    c.lengths = e.segmentLengths;
    c.sfBits = e.sfBits;
    c.passes = e.passes;
    if (damage == 1) {  // segments cut short
        for (auto& len : c.lengths)
            if (len > 0 && uniform<int>(rng, 0, 2) == 0) len = uniform<int>(rng, 0, len);
    } else if (damage == 2) {  // changed bits, markers included
        for (int k = uniform<int>(rng, 1, 4); k > 0 && !c.bytes.empty(); --k) {
            const size_t at = uniform<size_t>(rng, 0, static_cast<int64_t>(c.bytes.size()) - 1);
            c.bytes[at] = uniform<int>(rng, 0, 3) == 0
                              ? 0xFF
                              : static_cast<uint8_t>(c.bytes[at] ^ (1 << uniform<int>(rng, 0, 7)));
        }
    } else if (damage == 3) {  // fewer or more passes than coded
        c.passes = uniform<int>(rng, -1, c.passes + 3);
    } else if (damage == 4) {  // a plane count that does not match
        c.sfBits = std::max(0, c.sfBits + uniform<int>(rng, -2, 2));
    }
    return c;
}

TEST(CodeBlockDecoder, BothDecodersMatchThePlainReferenceOnIntactAndDamagedStreams) {
    EncoderHandle enc({64, 64});
    int corrupt = 0;
    for (int i = 0; i < scaledCount(3000); ++i) {
        auto& rng = seededRng(static_cast<uint32_t>(90000 + i));
        const Case c = randomCase(rng, enc, i);
        const Block shape{c.width, c.height,
                          std::vector<int32_t>(static_cast<size_t>(c.width) * c.height)};

        std::vector<int32_t> expected(shape.words.size(), kFill);
        ReferenceDecoder reference(expected, c.width, c.height, c.subband, c.flags);
        const uint8_t none = 0;
        const ReferenceDecodeResult want =
            reference.run(c.bytes.empty() ? &none : c.bytes.data(), c.lengths, c.sfBits, c.passes);
        corrupt += want.status != StatusOk;

        const Decoded one =
            decodeOneShot(shape, c.bytes, c.lengths, c.subband, c.sfBits, c.passes, c.flags);
        ASSERT_EQ(one.status, want.status) << i;
        ASSERT_EQ(one.words, expected) << i;
        if (want.status != StatusOk) {
            ASSERT_EQ(one.bitPlane, want.errorPlane) << i;
        }

        // The progressive decoder stops where the one-shot one does; without
        // the one-shot's clean-up their outputs are the same.
        const Decoded steps =
            decodeProgressive(shape, c.bytes, c.lengths, c.subband, c.sfBits, c.passes, c.flags);
        ASSERT_EQ(steps.status, want.status) << i;
        if ((c.flags & 0x40000) && (want.status == StatusOk || !(c.flags & 0x10000))) {
            ASSERT_EQ(steps.words, expected) << i;
        }
    }
    // The damage reaches the checks often enough to test them.
    EXPECT_GT(corrupt, scaledCount(3000) / 50);
}

}  // namespace
