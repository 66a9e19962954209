// The code-block encoder's records, check orders and reported figures.
#include <gtest/gtest.h>

#include <cmath>

#include "jpeg2000/tier1/t1_distortion.h"
#include "tests/jpeg2000/tier1/t1_test_support.h"

namespace {

using namespace zeq::test;
using namespace zeq::test::t1;

TEST(CodeBlockEncoder, InitAllocChecksAndFreesWhatItTookOnEveryAllocationFailure) {
    CodeBlockEncodeState* s = reinterpret_cast<CodeBlockEncodeState*>(0x1);
    EXPECT_EQ(zeqiEncodeInitAlloc_JPEG2K(nullptr, {0, 0}), StatusNullPointer);
    EXPECT_EQ(zeqiEncodeInitAlloc_JPEG2K(&s, {0, 4}), StatusBadSize);
    EXPECT_EQ(zeqiEncodeInitAlloc_JPEG2K(&s, {4, 0}), StatusBadSize);
    EXPECT_EQ(s, reinterpret_cast<CodeBlockEncodeState*>(0x1));
    // State, coding record, two symbol arrays, state array.
    for (int nth = 1; nth <= 5; ++nth) {
        ScopedAllocationFailure fail(nth);
        EXPECT_EQ(zeqiEncodeInitAlloc_JPEG2K(&s, {32, 32}), StatusNoMemory) << nth;
        EXPECT_EQ(s, nullptr);
    }
    {
        ScopedAllocationFailure none(0);
        ASSERT_EQ(zeqiEncodeInitAlloc_JPEG2K(&s, {32, 32}), StatusOk);
        EXPECT_EQ(zeqTestMallocCalls(), 5);
    }
    EXPECT_EQ(zeqiEncodeFree_JPEG2K(nullptr), StatusNullPointer);
    EXPECT_EQ(zeqiEncodeFree_JPEG2K(s), StatusOk);
}

TEST(CodeBlockEncoder, ChecksRunInTheirOrderAndWriteNothingOnFailure) {
    EncoderHandle enc({8, 8});
    std::vector<int32_t> src(64, 5);
    int32_t sf = -1, passes = -1, segments = -1;
    auto load = [&](const int32_t* p, int32_t step, ZeqiSize size, CodeBlockEncodeState* st,
                    int32_t* a, int32_t* b, int32_t* c) {
        return zeqiEncodeLoadCodeBlock_JPEG2K_32s_C1R(p, step, size, st, 0, 31, 0, 0, 0, a, b, c);
    };
    // A record with another identifier.
    std::vector<uint8_t> other(1024, 0);
    auto* wrong = reinterpret_cast<CodeBlockEncodeState*>(other.data());
    EXPECT_EQ(load(nullptr, 0, {0, 0}, nullptr, nullptr, nullptr, nullptr), StatusNullPointer);
    EXPECT_EQ(load(nullptr, 0, {0, 0}, wrong, nullptr, nullptr, nullptr), StatusContextMismatch);
    EXPECT_EQ(load(nullptr, 0, {0, 0}, enc.state, &sf, nullptr, &segments), StatusNullPointer);
    // Sizes before the source pointer, height before width.
    EXPECT_EQ(load(nullptr, 0, {8, 0}, enc.state, &sf, &passes, &segments), StatusBadSize);
    EXPECT_EQ(load(nullptr, 0, {0, 8}, enc.state, &sf, &passes, &segments), StatusBadSize);
    EXPECT_EQ(load(nullptr, 0, {8, 8}, enc.state, &sf, &passes, &segments), StatusNullPointer);
    EXPECT_EQ(load(src.data(), 0, {8, 8}, enc.state, &sf, &passes, &segments), StatusBadStep);
    EXPECT_EQ(sf, -1);
    EXPECT_EQ(passes, -1);
    EXPECT_EQ(segments, -1);

    uint8_t out[4];
    int32_t len = 4, notFinished = 7;
    EXPECT_EQ(zeqiEncodeStoreBits_JPEG2K_1u(out, &len, nullptr, &notFinished), StatusNullPointer);
    EXPECT_EQ(zeqiEncodeStoreBits_JPEG2K_1u(nullptr, nullptr, wrong, nullptr),
              StatusContextMismatch);
    EXPECT_EQ(zeqiEncodeStoreBits_JPEG2K_1u(out, &len, enc.state, nullptr), StatusNullPointer);
    len = 0;
    EXPECT_EQ(zeqiEncodeStoreBits_JPEG2K_1u(out, &len, enc.state, &notFinished), StatusBadSize);
    EXPECT_EQ(notFinished, 7);

    uint32_t rate = 9;
    double dist = 9;
    int32_t segLen = 9;
    EXPECT_EQ(zeqiEncodeGetRate_JPEG2K(nullptr, 0, &rate), StatusNullPointer);
    EXPECT_EQ(zeqiEncodeGetRate_JPEG2K(wrong, 0, &rate), StatusContextMismatch);
    EXPECT_EQ(zeqiEncodeGetRate_JPEG2K(enc.state, -1, nullptr), StatusNullPointer);
    EXPECT_EQ(zeqiEncodeGetDist_JPEG2K(wrong, -1, nullptr), StatusContextMismatch);
    EXPECT_EQ(zeqiEncodeGetTermPassLen_JPEG2K(enc.state, 0, nullptr), StatusNullPointer);

    ASSERT_EQ(load(src.data(), 32, {8, 8}, enc.state, &sf, &passes, &segments), StatusOk);
    EXPECT_EQ(sf, 3);
    EXPECT_EQ(passes, 7);
    EXPECT_EQ(segments, 1);
    EXPECT_EQ(zeqiEncodeGetRate_JPEG2K(enc.state, 7, &rate), StatusBadPassIndex);
    EXPECT_EQ(zeqiEncodeGetRate_JPEG2K(enc.state, -1, &rate), StatusBadPassIndex);
    EXPECT_EQ(zeqiEncodeGetDist_JPEG2K(enc.state, 7, &dist), StatusBadPassIndex);
    EXPECT_EQ(zeqiEncodeGetTermPassLen_JPEG2K(enc.state, 1, &segLen), StatusBadPassIndex);
    EXPECT_EQ(rate, 9u);
    EXPECT_EQ(dist, 9.0);
    EXPECT_EQ(segLen, 9);
}

TEST(CodeBlockEncoder, AllZeroBlocksAndPlanesBelowTheLowestGiveNoPasses) {
    EncoderHandle enc({16, 16});
    const Block zero{5, 7, std::vector<int32_t>(35, 0)};
    for (int32_t flags : {0, 4}) {
        Encoded e = encode(enc.state, zero, 0, flags, 0, 4);
        EXPECT_EQ(e.sfBits, 0);
        EXPECT_EQ(e.passes, 0);
        EXPECT_EQ(e.segments, flags ? 0 : 1);
        EXPECT_TRUE(e.bytes.empty());
    }
    Block small{4, 4, std::vector<int32_t>(16, 0)};
    small.words[5] = 0x80000003;  // -3: two planes
    // magnBitDepth 29: lowest plane 2, above the highest (1).
    Encoded e = encode(enc.state, small, 0, 0, 0, 8, 29);
    EXPECT_EQ(e.sfBits, 2);
    EXPECT_EQ(e.passes, 0);
    e = encode(enc.state, small, 0, 0, 0, 8, 30);  // lowest plane 1: one cleanup
    EXPECT_EQ(e.passes, 1);
}

TEST(CodeBlockEncoder, BypassSegmentsAreTenArithmeticPassesThenRawPairsAndCleanups) {
    EncoderHandle enc({8, 8});
    Block b{8, 8, std::vector<int32_t>(64, 0)};
    for (size_t i = 0; i < 64; ++i) b.words[i] = static_cast<int32_t>((i * 37) % 64);  // 6 planes
    const Encoded e = encode(enc.state, b, 0, 2, 0);
    ASSERT_EQ(e.passes, 16);
    ASSERT_EQ(e.segments, 5);  // 0..9, 10-11 raw, 12, 13-14 raw, 15
    EXPECT_EQ(segmentEndPasses(e.passes, e.sfBits, 2), (std::vector<int32_t>{10, 12, 13, 15, 16}));
    const Encoded each = encode(enc.state, b, 0, 6, 0);
    EXPECT_EQ(each.segments, 16);
}

// Distortion: the sum over passes of each pass's table values times
// 2^(2 (p - L) - 13), recomputed here sample by sample from the pass that
// codes each bit (significance in the plane of the top bit, refinement in
// every plane below).
TEST(CodeBlockEncoder, DistortionOfAllPassesIsTheSumOfTheTableValues) {
    EncoderHandle enc({16, 16});
    for (int i = 0; i < scaledCount(50); ++i) {
        auto& rng = seededRng(static_cast<uint32_t>(i));
        const Block b = randomBlock(rng, 16, 16, uniform<int>(rng, 0, 20));
        const int32_t depth = uniform<int>(rng, 15, 31);
        const bool finalFlag = uniform<int>(rng, 0, 1) == 1;
        const Encoded e = encode(enc.state, b, 0, finalFlag ? 32 : 0, 0, 1 << 20, depth);
        if (e.passes == 0) continue;
        const int lowest = 31 - depth;
        double expected = 0;
        for (int32_t w : b.words) {
            const uint32_t m = static_cast<uint32_t>(w) & 0x7FFFFFFFu;
            if (m == 0) continue;
            const int top = 31 - __builtin_clz(m);
            for (int p = top; p >= lowest; --p) {
                const uint32_t window = p >= 6 ? m >> (p - 6) : m << (6 - p);
                const bool last = finalFlag && p == lowest;
                const int32_t value = p == top
                                          ? (last ? zeq::t1::kSignificanceDistortionFinal
                                                  : zeq::t1::kSignificanceDistortion)[window & 63]
                                          : (last ? zeq::t1::kRefinementDistortionFinal
                                                  : zeq::t1::kRefinementDistortion)[window & 127];
                expected += std::ldexp(value, 2 * (p - lowest) - 13);
            }
        }
        EXPECT_DOUBLE_EQ(e.distortion.back(), expected) << i;
    }
}

TEST(CodeBlockEncoder, ChunksOfAnySizeGiveTheBytesOfOneCall) {
    EncoderHandle enc({64, 64});
    for (int i = 0; i < scaledCount(60); ++i) {
        auto& rng = seededRng(static_cast<uint32_t>(i));
        const Block b = randomBlock(rng, uniform<int>(rng, 1, 64), uniform<int>(rng, 1, 64), 20);
        const int32_t flags = uniform<int>(rng, 0, 63), term = uniform<int>(rng, 0, 3);
        const Encoded whole = encode(enc.state, b, 1, flags, term);
        for (int32_t chunk : {1, 2, 3, 7, 64}) {
            const Encoded pieces = encode(enc.state, b, 1, flags, term, chunk);
            ASSERT_EQ(pieces.bytes, whole.bytes) << i << " chunk " << chunk;
            ASSERT_EQ(pieces.rates, whole.rates) << i << " chunk " << chunk;
            ASSERT_EQ(pieces.segmentLengths, whole.segmentLengths) << i << " chunk " << chunk;
        }
        // A finished block reports finished with nothing written.
        uint8_t out[8];
        int32_t len = 8, notFinished = 1;
        EXPECT_EQ(zeqiEncodeStoreBits_JPEG2K_1u(out, &len, enc.state, &notFinished), StatusOk);
        EXPECT_EQ(len, 0);
        EXPECT_EQ(notFinished, 0);
    }
}

// A pass rate never ends just after a 0xFF byte: the one that would is
// lowered by a byte. Whole-buffer calls make that check on a run's bytes
// after writing them, one-byte chunks byte by byte; both lower the same
// rates, and the dense blocks here meet such rates.
TEST(CodeBlockEncoder, RatesEndingOnAnFFByteAreLoweredAlikeForAnyChunkSize) {
    EncoderHandle enc({64, 64});
    int lowered = 0;
    for (int i = 0; i < scaledCount(300); ++i) {
        auto& rng = seededRng(static_cast<uint32_t>(i));
        const Block b = randomBlock(rng, 64, 64, uniform<int>(rng, 12, 24));
        const int32_t flags = uniform<int>(rng, 0, 63) & ~4, term = uniform<int>(rng, 0, 2);
        const Encoded whole = encode(enc.state, b, 0, flags, term);
        const Encoded bytewise = encode(enc.state, b, 0, flags, term, 1);
        ASSERT_EQ(bytewise.bytes, whole.bytes) << i;
        ASSERT_EQ(bytewise.rates, whole.rates) << i;
        for (uint32_t rate : whole.rates) {
            ASSERT_LE(rate, whole.bytes.size()) << i;
            if (rate > 0) {
                ASSERT_NE(whole.bytes[rate - 1], 0xFF) << i;
            }
            lowered += rate < whole.bytes.size() && whole.bytes[rate] == 0xFF;
        }
    }
    EXPECT_GT(lowered, 0);
}

}  // namespace
