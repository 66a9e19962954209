// The MQ coder, the raw bit packer and reader, and the context tables.
#include "jpeg2000/tier1/mq_coder.h"

#include <gtest/gtest.h>

#include <vector>

#include "jpeg2000/tier1/t1_contexts.h"
#include "jpeg2000/tier1/t1_distortion.h"
#include "tests/common/test_support.h"

namespace {

using namespace zeq::t1;
using zeq::test::scaledCount;
using zeq::test::seededRng;
using zeq::test::uniform;

struct VectorSink {
    std::vector<uint8_t> bytes;
    void put(uint8_t b) { bytes.push_back(b); }
};

// Decisions with a skew per context, so that states move both ways.
struct Decision {
    int bit;
    int label;
};

std::vector<Decision> randomDecisions(std::mt19937& rng, int count) {
    std::vector<Decision> d(static_cast<size_t>(count));
    for (auto& x : d) {
        x.label = uniform<int>(rng, 0, kContextCount - 1);
        x.bit = uniform<int>(rng, 0, 99) < 5 + 5 * x.label ? 1 : 0;
    }
    return d;
}

TEST(MqCoder, EveryTerminationDecodesTheDecisionsWithMissingBytesReadAsFF) {
    using Flush = void (*)(MqEncoderRegisters&, VectorSink&);
    const Flush flushes[] = {mqFlushStandard<VectorSink>, mqFlushShortest<VectorSink>,
                             mqFlushPredictable<VectorSink>};
    for (int t = 0; t < 3; ++t) {
        for (int i = 0; i < scaledCount(3000); ++i) {
            auto& rng = seededRng(static_cast<uint32_t>(i * 3 + t));
            const auto decisions = randomDecisions(rng, uniform<int>(rng, 0, 400));
            MqEncoderRegisters enc;
            mqEncoderStart(enc);
            std::array<uint8_t, kContextCount> contexts = kInitialContexts;
            VectorSink sink;
            for (const Decision& d : decisions) mqEncode(enc, contexts[d.label], d.bit, sink);
            flushes[t](enc, sink);
            ASSERT_TRUE(sink.bytes.empty() || sink.bytes.back() != 0xFF) << t << " " << i;
            for (size_t k = 0; k + 1 < sink.bytes.size(); ++k)
                ASSERT_FALSE(sink.bytes[k] == 0xFF && sink.bytes[k + 1] > 0x8F);

            MqDecoderRegisters dec;
            mqDecoderStart(dec, sink.bytes.data(), static_cast<int32_t>(sink.bytes.size()));
            contexts = kInitialContexts;
            for (size_t k = 0; k < decisions.size(); ++k)
                ASSERT_EQ(mqDecode(dec, contexts[decisions[k].label]), decisions[k].bit)
                    << "termination " << t << " case " << i << " decision " << k;
        }
    }
}

// The branch-free decision against the branching one on arbitrary bytes
// (markers, 0xFF runs, segments that end early included) and every context
// state: the same decisions, registers, stream position and contexts after
// every step.
TEST(MqCoder, BranchFreeDecisionsMatchTheBranchingDecoder) {
    for (int i = 0; i < scaledCount(2000); ++i) {
        auto& rng = seededRng(static_cast<uint32_t>(7000 + i));
        std::vector<uint8_t> bytes(static_cast<size_t>(uniform<int>(rng, 0, 60)));
        for (auto& b : bytes) {
            const int kind = uniform<int>(rng, 0, 9);
            b = static_cast<uint8_t>(kind == 0   ? 0xFF
                                     : kind == 1 ? uniform<int>(rng, 0x80, 0xFF)
                                                 : uniform<int>(rng, 0, 255));
        }
        MqDecoderRegisters branching{}, even{};
        mqDecoderStart(branching, bytes.data(), static_cast<int32_t>(bytes.size()));
        mqDecoderStart(even, bytes.data(), static_cast<int32_t>(bytes.size()));
        MqDecoderCursor a(branching), b(even);
        MqDecodeContext ca[kContextCount], cb[kContextCount];
        for (int k = 0; k < kContextCount; ++k)
            ca[k] = cb[k] = kMqDecodeContexts[static_cast<size_t>(uniform<int>(rng, 0, 93))];
        for (int k = 0; k < 600; ++k) {
            const int label = uniform<int>(rng, 0, kContextCount - 1);
            const int expected = mqDecode(a, ca[label]);
            ASSERT_EQ(mqDecodeEven(b, cb[label]), expected) << i << " " << k;
            ASSERT_EQ(b.a, a.a) << i << " " << k;
            ASSERT_EQ(b.c, a.c) << i << " " << k;
            ASSERT_EQ(b.ct, a.ct) << i << " " << k;
            ASSERT_EQ(cb[label].self, ca[label].self) << i << " " << k;
        }
        ASSERT_EQ(even.position, branching.position) << i;
        ASSERT_EQ(even.markerReached, branching.markerReached) << i;
    }
}

TEST(MqCoder, ShortestTerminationIsNeverLongerThanTheStandardFlush) {
    for (int i = 0; i < scaledCount(2000); ++i) {
        auto& rng = seededRng(static_cast<uint32_t>(i));
        const auto decisions = randomDecisions(rng, uniform<int>(rng, 1, 300));
        size_t lengths[2];
        for (int shortest = 0; shortest < 2; ++shortest) {
            MqEncoderRegisters enc;
            mqEncoderStart(enc);
            std::array<uint8_t, kContextCount> contexts = kInitialContexts;
            VectorSink sink;
            for (const Decision& d : decisions) mqEncode(enc, contexts[d.label], d.bit, sink);
            if (shortest)
                mqFlushShortest(enc, sink);
            else
                mqFlushStandard(enc, sink);
            lengths[shortest] = sink.bytes.size();
        }
        ASSERT_LE(lengths[1], lengths[0]) << i;
    }
}

TEST(MqCoder, KnownCodeOfTwoDecisions) {
    // A 1 in the no-neighbour context (state 4) then an MPS in a sign context:
    // the interval ends as [0, 0xAC02) after 6 shifts; the flush sets C to
    // 0x7FFF and writes 0x03 (the 0xFF after it is dropped).
    MqEncoderRegisters enc;
    mqEncoderStart(enc);
    std::array<uint8_t, kContextCount> contexts = kInitialContexts;
    VectorSink sink;
    mqEncode(enc, contexts[kZeroCodingFirstLabel], 1, sink);
    mqEncode(enc, contexts[kSignFirstLabel], 0, sink);
    EXPECT_EQ(enc.a, 0xAC02u);
    EXPECT_EQ(enc.ct, 6);
    mqFlushStandard(enc, sink);
    EXPECT_EQ(sink.bytes, std::vector<uint8_t>{0x03});
    EXPECT_EQ(contexts[kZeroCodingFirstLabel], mqContext(29, 0));
    EXPECT_EQ(contexts[kSignFirstLabel], mqContext(1, 0));
}

TEST(RawBits, PackerAndReaderAgreeAndStuffAfterFF) {
    for (int i = 0; i < scaledCount(2000); ++i) {
        auto& rng = seededRng(static_cast<uint32_t>(i));
        const int ones = uniform<int>(rng, 0, 100);
        std::vector<int> bits(static_cast<size_t>(uniform<int>(rng, 0, 300)));
        for (auto& b : bits) b = uniform<int>(rng, 0, 99) < ones;
        RawPacker p;
        rawPackerStart(p);
        VectorSink sink;
        for (int b : bits) rawPut(p, b, sink);
        rawFlush(p, sink);
        ASSERT_TRUE(sink.bytes.empty() || sink.bytes.back() != 0xFF);
        for (size_t k = 0; k + 1 < sink.bytes.size(); ++k)
            ASSERT_TRUE(sink.bytes[k] != 0xFF || sink.bytes[k + 1] < 0x80);
        RawReader r;
        rawReaderStart(r, sink.bytes.data(), static_cast<int32_t>(sink.bytes.size()));
        for (size_t k = 0; k < bits.size(); ++k) ASSERT_EQ(rawGet(r), bits[k]) << i << " " << k;
    }
    // Eight 1 bits make a 0xFF that the segment end drops; the reader's 0xFF
    // past the end gives them back.
    RawPacker p;
    rawPackerStart(p);
    VectorSink sink;
    for (int k = 0; k < 8; ++k) rawPut(p, 1, sink);
    rawFlush(p, sink);
    EXPECT_TRUE(sink.bytes.empty());
    // A partial byte is padded with 0, 1, 0, ...
    rawPackerStart(p);
    rawPut(p, 1, sink);
    rawFlush(p, sink);
    EXPECT_EQ(sink.bytes, std::vector<uint8_t>{0xAA});
}

TEST(ContextTables, ZeroCodingRowsOfEachRule) {
    struct Row {
        uint32_t pattern;
        int lowLow, highLow, highHigh;
    };
    const Row rows[] = {
        {0, 2, 2, 2},
        {kNorthWest, 3, 3, 5},
        {kNorthWest | kSouthEast, 4, 4, 8},
        {kNorthWest | kNorthEast | kSouthWest, 4, 4, 10},
        {kNorth, 5, 7, 3},
        {kNorth | kSouth, 6, 10, 4},
        {kWest, 7, 5, 3},
        {kWest | kNorthWest, 8, 5, 6},
        {kWest | kNorth, 9, 9, 4},
        {kWest | kEast, 10, 6, 4},
        {kWest | kEast | kNorth | kSouth | 0xF, 10, 10, 10},
    };
    for (const Row& r : rows) {
        EXPECT_EQ(zeroCodingTable(0)[r.pattern], r.lowLow) << r.pattern;
        EXPECT_EQ(zeroCodingTable(1)[r.pattern], r.lowLow) << r.pattern;
        EXPECT_EQ(zeroCodingTable(2)[r.pattern], r.highLow) << r.pattern;
        EXPECT_EQ(zeroCodingTable(3)[r.pattern], r.highHigh) << r.pattern;
        EXPECT_EQ(zeroCodingTable(7)[r.pattern], r.lowLow) << r.pattern;
    }
}

TEST(ContextTables, SignContextsAndPredictions) {
    // h, v in {-1, 0, 1} from one neighbour each side: label and XOR bit.
    auto pattern = [](int h, int v) {
        uint32_t p = 0;
        if (h) p |= kWest | (h < 0 ? kWestNegative : 0);
        if (v) p |= kNorth | (v < 0 ? kNorthNegative : 0);
        return p;
    };
    const int expected[3][3][2] = {
        // v = -1       v = 0      v = 1
        {{15, 1}, {14, 1}, {13, 1}},  // h = -1
        {{12, 1}, {11, 0}, {12, 0}},  // h = 0
        {{13, 0}, {14, 0}, {15, 0}},  // h = 1
    };
    for (int h = -1; h <= 1; ++h)
        for (int v = -1; v <= 1; ++v) {
            const uint32_t e = signEntry(pattern(h, v));
            EXPECT_EQ(static_cast<int>(e & 0xFF), expected[h + 1][v + 1][0]) << h << " " << v;
            EXPECT_EQ(static_cast<int>(e >> 31), expected[h + 1][v + 1][1]) << h << " " << v;
        }
    // Opposite signs on one side cancel.
    EXPECT_EQ(signEntry(kWest | kEast | kEastNegative), 11u);
}

TEST(ContextTables, RefinementInitialStatesAndDistortion) {
    int counts[19] = {};
    for (uint8_t label : kRefinementTable) ++counts[label];
    EXPECT_EQ(counts[16], 1);
    EXPECT_EQ(counts[17], 255);
    EXPECT_EQ(counts[18], 256);
    EXPECT_EQ(kInitialContexts[0], mqContext(46, 0));
    EXPECT_EQ(kInitialContexts[1], mqContext(3, 0));
    EXPECT_EQ(kInitialContexts[2], mqContext(4, 0));
    for (int i = 3; i < kContextCount; ++i) EXPECT_EQ(kInitialContexts[i], 0);
    for (int i = 0; i < 64; ++i) {
        EXPECT_EQ(kSignificanceDistortion[i], 6144 + 384 * i);
        EXPECT_EQ(kSignificanceDistortionFinal[i], 2 * (64 + i) * (64 + i));
    }
    for (int j = 0; j < 128; ++j) {
        const double x = j / 64.0, r = x < 1 ? 0.5 : 1.5;
        EXPECT_EQ(kRefinementDistortion[j], 8192 * ((x - 1) * (x - 1) - (x - r) * (x - r)));
        EXPECT_EQ(kRefinementDistortionFinal[j], 8192 * (x - 1) * (x - 1));
    }
}

}  // namespace
