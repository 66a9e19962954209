// The encoder's fast paths against their plain forms: recorded decisions
// coded in runs against the bit-by-bit coder, one decision at a time, and blocks using every
// magnitude plane with signs, whose bits and distortion windows come from
// the stripe-column copy.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <vector>

#include "jpeg2000/tier1/mq_coder.h"
#include "jpeg2000/tier1/t1_contexts.h"
#include "jpeg2000/tier1/t1_distortion.h"
#include "tests/jpeg2000/tier1/t1_test_support.h"

namespace {

using namespace zeq::t1;
using namespace zeq::test;
using namespace zeq::test::t1;

struct ByteSink {
    std::vector<uint8_t> bytes;
    void put(uint8_t b) { bytes.push_back(b); }
};

// One decision renormalized as the standard's flow chart does it: one bit
// at a time, with a byte-out whenever CT runs out.
template <class Sink>
void referenceEncode(MqEncoderRegisters& r, uint8_t& context, int decision, Sink& sink) {
    if (!mqEncodeInterval(r, context, decision)) return;
    do {
        r.a <<= 1;
        r.c <<= 1;
        if (--r.ct == 0) mqByteOut(r, sink);
    } while (!(r.a & 0x8000u));
}

// Long runs of one decision drive a context to its smallest LPS
// probability; the LPS that follows renormalizes by up to 15 bits.
void skewedDecisions(std::mt19937& rng, int count, std::vector<uint8_t>& labels,
                     std::vector<uint8_t>& decisions) {
    labels.clear();
    decisions.clear();
    while (static_cast<int>(labels.size()) < count) {
        const uint8_t label = static_cast<uint8_t>(uniform<int>(rng, 0, kContextCount - 1));
        const int run = uniform<int>(rng, 0, 3) == 0 ? uniform<int>(rng, 20, 600) : 1;
        const uint8_t usual = static_cast<uint8_t>(uniform<int>(rng, 0, 1));
        for (int k = 0; k < run; ++k) {
            labels.push_back(label);
            decisions.push_back(run > 1 ? usual : static_cast<uint8_t>(uniform<int>(rng, 0, 1)));
        }
        labels.push_back(label);
        decisions.push_back(static_cast<uint8_t>(usual ^ 1));
    }
}

TEST(MqCoder, RunsOfRecordedDecisionsCodeLikeTheBitByBitCoder) {
    std::vector<uint8_t> labels, decisions;
    int32_t mostBytes = 0;
    for (int i = 0; i < scaledCount(2000); ++i) {
        auto& rng = seededRng(static_cast<uint32_t>(i));
        skewedDecisions(rng, uniform<int>(rng, 1, 3000), labels, decisions);
        const int32_t n = static_cast<int32_t>(labels.size());

        MqEncoderRegisters one, runs;
        mqEncoderStart(one);
        mqEncoderStart(runs);
        std::array<uint8_t, kContextCount> oneContexts = kInitialContexts;
        std::array<uint8_t, kContextCount> runContexts = kInitialContexts;
        ByteSink a, b;
        for (int32_t k = 0; k < n; ++k) {
            const size_t before = a.bytes.size();
            referenceEncode(one, oneContexts[labels[k]], decisions[k], a);
            mostBytes = std::max(mostBytes, static_cast<int32_t>(a.bytes.size() - before));
        }
        for (int32_t k = 0; k < n;) {
            const int32_t run = std::min(
                n - k, uniform<int>(rng, 0, 3) ? uniform<int>(rng, 1, 9) : uniform<int>(rng, 1, n));
            mqEncodeRun(runs, runContexts.data(), labels.data() + k, decisions.data() + k, run, b);
            k += run;
        }
        ASSERT_EQ(a.bytes, b.bytes) << i;
        ASSERT_EQ(oneContexts, runContexts) << i;
        ASSERT_EQ(one.a, runs.a) << i;
        ASSERT_EQ(one.c, runs.c) << i;
        ASSERT_EQ(one.ct, runs.ct) << i;
        ASSERT_EQ(one.pending, runs.pending) << i;
        ASSERT_EQ(one.byteOuts, runs.byteOuts) << i;
    }
    // StoreBits sizes its unchecked runs by this bound.
    EXPECT_LE(mostBytes, kMqMaxBytesPerDecision);
}

// Blocks whose magnitudes reach bit 30, half of them negative: every plane
// down to L is coded, the decoders give the block back, and the distortion
// is the table sum recomputed sample by sample.
TEST(CodeBlockEncoder, BlocksUsingEveryPlaneRoundTripAndSumTheirDistortion) {
    EncoderHandle enc({64, 64});
    for (int i = 0; i < scaledCount(60); ++i) {
        auto& rng = seededRng(static_cast<uint32_t>(i));
        Block b = randomBlock(rng, uniform<int>(rng, 1, 64), uniform<int>(rng, 1, 64), 30);
        b.words[static_cast<size_t>(uniform<int>(rng, 0, static_cast<int>(b.words.size()) - 1))] =
            static_cast<int32_t>(0xC0000000u | static_cast<uint32_t>(uniform<int>(rng, 0, 0xFFFF)));
        const int32_t flags = uniform<int>(rng, 0, 31) & ~4;  // one segment per run of passes
        const int32_t subband = uniform<int>(rng, 0, 3);
        const Encoded e = encode(enc.state, b, subband, flags, 0);
        ASSERT_EQ(e.sfBits, 31) << i;
        ASSERT_EQ(e.passes, 1 + 3 * 30) << i;

        const Decoded d =
            decodeOneShot(b, e.bytes, e.segmentLengths, subband, e.sfBits, e.passes, flags);
        ASSERT_EQ(d.status, StatusOk) << i;
        ASSERT_EQ(d.words, b.words) << i;

        double expected = 0;
        for (int32_t w : b.words) {
            const uint32_t m = static_cast<uint32_t>(w) & 0x7FFFFFFFu;
            if (m == 0) continue;
            const int top = 31 - __builtin_clz(m);
            for (int p = top; p >= 0; --p) {
                const uint32_t window = p >= 6 ? m >> (p - 6) : m << (6 - p);
                const int32_t value = p == top ? kSignificanceDistortion[window & 63]
                                               : kRefinementDistortion[window & 127];
                expected += std::ldexp(value, 2 * p - 13);
            }
        }
        // Sums near 2^66 in another order: equal to a dozen digits.
        EXPECT_NEAR(e.distortion.back(), expected, expected * 1e-12) << i;
    }
}

}  // namespace
