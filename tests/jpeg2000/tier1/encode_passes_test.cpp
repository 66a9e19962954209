// The encoder's own passes against the passes it shares with the decoders:
// the same decisions, labels and distortion per pass, then the same bytes,
// rates and lengths, for every flag combination, every termination and
// block sizes from 1x1 to 64x64.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "jpeg2000/tier1/codeblock_encoder.h"
#include "tests/jpeg2000/tier1/t1_test_support.h"

namespace {

using namespace zeq::t1;
using namespace zeq::test;
using namespace zeq::test::t1;

struct StateHandle {
    CodeBlockEncodeState* state = nullptr;
    explicit StateHandle(ZeqiSize max) { EXPECT_EQ(allocateEncodeState(&state, max), StatusOk); }
    ~StateHandle() { releaseEncodeState(state); }
    StateHandle(const StateHandle&) = delete;
    StateHandle& operator=(const StateHandle&) = delete;
};

struct Coded {
    std::vector<uint8_t> bytes;
    std::vector<uint32_t> rates;
    std::vector<int32_t> lengths;
};

// Pulls the bytes in chunks of `chunk`.
Coded storeAll(CodeBlockEncodeState* s, int32_t chunk) {
    Coded c;
    std::vector<uint8_t> buffer(static_cast<size_t>(chunk));
    for (bool more = true; more;) {
        int32_t len = chunk;
        more = storeBits(s, buffer.data(), &len);
        c.bytes.insert(c.bytes.end(), buffer.begin(), buffer.begin() + len);
    }
    const EncodeCodingRecord* rec = s->coding;
    c.rates.assign(rec->passRate, rec->passRate + rec->passCount);
    c.lengths.assign(rec->passLength, rec->passLength + rec->passCount);
    return c;
}

std::vector<uint8_t> symbols(const uint8_t* array, const EncodeCodingRecord* rec) {
    int32_t n = 0;
    for (int32_t i = 0; i < rec->passCount; ++i) n += rec->passDecisions[i];
    return {array, array + n};
}

TEST(EncodePasses, CodeLikeTheSharedPassesForEveryFlagCombinationAndSize) {
    static constexpr ZeqiSize kSizes[] = {{64, 64}, {32, 32}, {4, 4},  {1, 1},  {1, 64},
                                          {64, 1},  {7, 13},  {63, 5}, {3, 61}, {17, 2}};
    StateHandle own({64, 64}), shared({64, 64});
    for (int i = 0; i < scaledCount(1500); ++i) {
        auto& rng = seededRng(static_cast<uint32_t>(i));
        const ZeqiSize size =
            i < 640 ? kSizes[i % 10] : ZeqiSize{uniform<int>(rng, 1, 64), uniform<int>(rng, 1, 64)};
        const int32_t flags = i % 64;  // causal, bypass, terminate, reset, segmentation, final
        const Block b = randomBlock(rng, size.width, size.height, uniform<int>(rng, 0, 30));
        const int32_t subband = uniform<int>(rng, 0, 3);
        const int32_t termType = uniform<int>(rng, 0, 2);
        const int32_t depth = uniform<int>(rng, 0, 3) ? 31 : uniform<int>(rng, -1, 31);
        const auto* src = reinterpret_cast<const uint8_t*>(b.words.data());

        const LoadResult a =
            loadCodeBlock(src, b.step(), size, own.state, subband, depth, termType, flags);
        const LoadResult r = loadCodeBlockWithSharedPasses(src, b.step(), size, shared.state,
                                                           subband, depth, termType, flags);
        ASSERT_EQ(a.significantPlanes, r.significantPlanes) << i;
        ASSERT_EQ(a.passes, r.passes) << i;
        ASSERT_EQ(a.segments, r.segments) << i;
        const EncodeCodingRecord* ra = own.state->coding;
        const EncodeCodingRecord* rr = shared.state->coding;
        for (int32_t p = 0; p < r.passes; ++p) {
            ASSERT_EQ(ra->passDecisions[p], rr->passDecisions[p]) << i << " pass " << p;
            ASSERT_EQ(ra->passSegmentType[p], rr->passSegmentType[p]) << i << " pass " << p;
            ASSERT_EQ(own.state->passDistortion[p], shared.state->passDistortion[p])
                << i << " pass " << p;
            ASSERT_EQ(own.state->passExponent[p], shared.state->passExponent[p]) << i;
        }
        ASSERT_EQ(symbols(ra->decisions, ra), symbols(rr->decisions, rr)) << i;
        ASSERT_EQ(symbols(ra->labels, ra), symbols(rr->labels, rr)) << i;

        const int32_t chunk = uniform<int>(rng, 0, 1) ? 1 << 20 : uniform<int>(rng, 1, 9);
        const Coded ca = storeAll(own.state, chunk);
        const Coded cr = storeAll(shared.state, chunk);
        ASSERT_EQ(ca.bytes, cr.bytes) << i;
        ASSERT_EQ(ca.rates, cr.rates) << i;
        ASSERT_EQ(ca.lengths, cr.lengths) << i;
    }
}

// Dense blocks with every sample significant from the top plane on: no run
// mode, every column coded in every pass, neighbours turning significant
// across stripe and block edges.
TEST(EncodePasses, DenseBlocksCodeLikeTheSharedPasses) {
    StateHandle own({64, 64}), shared({64, 64});
    for (int i = 0; i < scaledCount(200); ++i) {
        auto& rng = seededRng(static_cast<uint32_t>(i));
        const ZeqiSize size{uniform<int>(rng, 1, 64), uniform<int>(rng, 1, 64)};
        Block b{size.width, size.height,
                std::vector<int32_t>(static_cast<size_t>(size.width) * size.height)};
        const int top = uniform<int>(rng, 1, 30);
        for (auto& w : b.words)
            w = static_cast<int32_t>(
                static_cast<uint32_t>(uniform<int64_t>(rng, 1, (int64_t{1} << top) - 1)) |
                (uniform<int>(rng, 0, 1) ? 0x80000000u : 0));
        const int32_t flags = uniform<int>(rng, 0, 63);
        const auto* src = reinterpret_cast<const uint8_t*>(b.words.data());
        const int32_t subband = uniform<int>(rng, 0, 3);
        loadCodeBlock(src, b.step(), size, own.state, subband, 31, 0, flags);
        loadCodeBlockWithSharedPasses(src, b.step(), size, shared.state, subband, 31, 0, flags);
        const EncodeCodingRecord* ra = own.state->coding;
        const EncodeCodingRecord* rr = shared.state->coding;
        ASSERT_EQ(ra->passCount, rr->passCount) << i;
        ASSERT_EQ(0, std::memcmp(own.state->passDistortion, shared.state->passDistortion,
                                 sizeof(int32_t) * static_cast<size_t>(rr->passCount)))
            << i;
        ASSERT_EQ(symbols(ra->decisions, ra), symbols(rr->decisions, rr)) << i;
        ASSERT_EQ(symbols(ra->labels, ra), symbols(rr->labels, rr)) << i;
        ASSERT_EQ(storeAll(own.state, 1 << 20).bytes, storeAll(shared.state, 1 << 20).bytes) << i;
    }
}

}  // namespace
