// Encoder -> one-shot and progressive decoders for every combination of the
// coding-style flags and termination types, at every truncation point the
// rates allow.
#include <gtest/gtest.h>

#include "tests/jpeg2000/tier1/t1_test_support.h"

namespace {

using namespace zeq::test;
using namespace zeq::test::t1;

// The segments of a stream truncated after `passes` passes at that pass's rate.
std::vector<int32_t> truncatedSegments(const Encoded& e, int32_t flags, int32_t passes) {
    std::vector<int32_t> lengths;
    int32_t start = 0;
    const std::vector<int32_t> ends = segmentEndPasses(e.passes, e.sfBits, flags);
    for (size_t s = 0; s < ends.size(); ++s) {
        if (ends[s] >= passes) {
            lengths.push_back(static_cast<int32_t>(e.rates[static_cast<size_t>(passes) - 1]) -
                              start);
            break;
        }
        lengths.push_back(e.segmentLengths[s]);
        start += e.segmentLengths[s];
    }
    return lengths;
}

class Tier1RoundTrip : public ::testing::TestWithParam<int32_t> {};

TEST_P(Tier1RoundTrip, BothDecodersReconstructEveryRateTruncation) {
    const int32_t flags = GetParam();
    EncoderHandle enc({64, 64});
    for (int32_t term = 0; term < 3; ++term) {
        for (int i = 0; i < scaledCount(14); ++i) {
            auto& rng = seededRng(static_cast<uint32_t>(flags * 1000 + term * 100 + i));
            const int w = i == 0 ? 64 : (i == 1 ? 1 : uniform<int>(rng, 1, 64));
            const int h = i == 0 ? 64 : (i == 1 ? 1 : uniform<int>(rng, 1, 64));
            const Block b = randomBlock(rng, w, h, i == 2 ? 30 : uniform<int>(rng, 0, 30));
            const int32_t subband = uniform<int>(rng, 0, 3);
            const Encoded e = encode(enc.state, b, subband, flags, term);
            const std::string where = "flags " + std::to_string(flags) + " term " +
                                      std::to_string(term) + " case " + std::to_string(i);
            ASSERT_EQ(segmentEndPasses(e.passes, e.sfBits, flags).size(),
                      static_cast<size_t>(e.passes ? e.segments : 0))
                << where;
            // Pulling the bytes one at a time gives the same stream and rates.
            const Encoded bytewise = encode(enc.state, b, subband, flags, term, 1);
            ASSERT_EQ(bytewise.bytes, e.bytes) << where;
            ASSERT_EQ(bytewise.rates, e.rates) << where;
            int64_t total = 0;
            for (int32_t len : e.segmentLengths) total += len;
            ASSERT_EQ(total, static_cast<int64_t>(e.bytes.size())) << where;

            const std::vector<int32_t> exact = reconstructedAtPlane(b, 0);
            const Decoded one =
                decodeOneShot(b, e.bytes, e.segmentLengths, subband, e.sfBits, e.passes, flags);
            ASSERT_EQ(one.status, StatusOk) << where;
            ASSERT_EQ(one.words, exact) << where;
            const Decoded progressive =
                decodeProgressive(b, e.bytes, e.segmentLengths, subband, e.sfBits, e.passes, flags);
            ASSERT_EQ(progressive.status, StatusOk) << where;
            ASSERT_EQ(progressive.words, exact) << where;
            ASSERT_EQ(progressive.bitPlane, e.passes ? -1 : e.sfBits - 1) << where;

            for (int32_t k = 1; k <= e.passes; ++k) {
                const uint32_t rate = e.rates[static_cast<size_t>(k) - 1];
                ASSERT_TRUE(k == 1 || rate >= e.rates[static_cast<size_t>(k) - 2]) << where;
                ASSERT_LE(rate, e.bytes.size()) << where;
                ASSERT_TRUE(rate == 0 || e.bytes[rate - 1] != 0xFF) << where << " pass " << k;
                const std::vector<uint8_t> cut(e.bytes.begin(), e.bytes.begin() + rate);
                const std::vector<int32_t> segments = truncatedSegments(e, flags, k);
                const Decoded partial =
                    decodeOneShot(b, cut, segments, subband, e.sfBits, k, flags);
                const Decoded reference =
                    decodeOneShot(b, e.bytes, e.segmentLengths, subband, e.sfBits, k, flags);
                ASSERT_EQ(partial.status, StatusOk) << where << " pass " << k;
                ASSERT_EQ(partial.words, reference.words) << where << " pass " << k;
                if ((k - 1) % 3 == 0) {  // a cleanup pass ends plane p: mid-point of bits >= p
                    const int plane = e.sfBits - 1 - (k - 1) / 3;
                    ASSERT_EQ(partial.words, reconstructedAtPlane(b, plane)) << where << " " << k;
                }
            }
        }
    }
}

// Flags 1, 2, 4, 8, 16 in every combination (32 and the decoders' own flags
// are covered elsewhere).
INSTANTIATE_TEST_SUITE_P(AllStyleFlags, Tier1RoundTrip, ::testing::Range(0, 32));

TEST(Tier1RoundTrip, LowestPlaneStopsCodingAndDecodingKeepsItsMidpoint) {
    EncoderHandle enc({64, 64});
    for (int i = 0; i < scaledCount(40); ++i) {
        auto& rng = seededRng(static_cast<uint32_t>(i));
        const Block b = randomBlock(rng, uniform<int>(rng, 1, 40), uniform<int>(rng, 1, 40), 20);
        const int32_t depth = uniform<int>(rng, 10, 31);  // lowest plane 31 - depth
        const int32_t flags = uniform<int>(rng, 0, 31);
        const Encoded e = encode(enc.state, b, 0, flags, uniform<int>(rng, 0, 2), 1 << 20, depth);
        const int lowest = 31 - depth;
        ASSERT_EQ(e.passes, e.sfBits - 1 >= lowest ? 1 + 3 * (e.sfBits - 1 - lowest) : 0);
        const Decoded d = decodeOneShot(b, e.bytes, e.segmentLengths, 0, e.sfBits, e.passes, flags);
        ASSERT_EQ(d.status, StatusOk);
        ASSERT_EQ(d.words, reconstructedAtPlane(b, e.passes ? lowest : 31)) << i;
    }
}

}  // namespace
