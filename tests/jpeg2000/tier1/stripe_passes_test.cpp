// The stripe-column passes against a plain per-sample model: the encoder
// records exactly the decisions and context labels that the standard's rules
// give, for every block shape, subband and modeling flag; and the column-wide
// helpers agree with the per-sample tables.
#include <gtest/gtest.h>

#include "jpeg2000/tier1/codeblock_encoder.h"
#include "jpeg2000/tier1/t1_passes.h"
#include "tests/jpeg2000/tier1/reference_modeling.h"
#include "tests/jpeg2000/tier1/t1_test_support.h"

namespace {

using namespace zeq::test;
using namespace zeq::test::t1;

// The decisions the encoder recorded, split by pass.
std::vector<ReferencePass> recordedPasses(const CodeBlockEncodeState* s) {
    const EncodeCodingRecord* rec = s->coding;
    std::vector<ReferencePass> passes(static_cast<size_t>(rec->passCount));
    int32_t k = 0;
    for (int32_t i = 0; i < rec->passCount; ++i) {
        passes[i].raw = rec->passSegmentType[i] == zeq::t1::kSegmentRaw;
        for (int32_t d = 0; d < rec->passDecisions[i]; ++d, ++k)
            passes[i].decisions.push_back(
                {rec->decisions[k], passes[i].raw ? -1 : static_cast<int>(rec->labels[k])});
    }
    return passes;
}

TEST(StripePasses, EncoderRecordsTheDecisionsOfThePerSampleModel) {
    EncoderHandle enc({64, 64});
    for (int i = 0; i < scaledCount(400); ++i) {
        auto& rng = seededRng(static_cast<uint32_t>(i));
        const int w = uniform<int>(rng, 1, 64), h = uniform<int>(rng, 1, 64);
        const Block b = randomBlock(rng, w, h, uniform<int>(rng, 0, 12));
        const int32_t subband = uniform<int>(rng, 0, 3);
        const int32_t flags = uniform<int>(rng, 0, 31);
        const int32_t depth = uniform<int>(rng, 20, 31);
        int32_t sf = 0, passes = 0, segments = 0;
        ASSERT_EQ(zeqiEncodeLoadCodeBlock_JPEG2K_32s_C1R(b.words.data(), b.step(), b.size(),
                                                         enc.state, subband, depth, 0, 0, flags,
                                                         &sf, &passes, &segments),
                  StatusOk);
        const std::vector<ReferencePass> expected =
            ReferenceModel(b.words, w, h, subband, flags).run(31 - depth);
        const std::vector<ReferencePass> got = recordedPasses(enc.state);
        ASSERT_EQ(got.size(), expected.size()) << i;
        for (size_t p = 0; p < got.size(); ++p) {
            ASSERT_EQ(got[p].raw, expected[p].raw) << i << " pass " << p;
            ASSERT_EQ(got[p].decisions.size(), expected[p].decisions.size()) << i << " pass " << p;
            for (size_t d = 0; d < got[p].decisions.size(); ++d)
                ASSERT_TRUE(got[p].decisions[d] == expected[p].decisions[d])
                    << "case " << i << " (" << w << "x" << h << ", subband " << subband
                    << ", flags " << flags << ") pass " << p << " decision " << d << ": bit "
                    << got[p].decisions[d].bit << " label " << got[p].decisions[d].label
                    << ", expected bit " << expected[p].decisions[d].bit << " label "
                    << expected[p].decisions[d].label;
        }
    }
}

// Dense blocks: every column of later planes is busy, so each sample sees
// significance arrive from all sides, across stripe borders and the block's
// edges.
TEST(StripePasses, DenseBlocksMatchThePerSampleModel) {
    EncoderHandle enc({64, 64});
    for (int i = 0; i < scaledCount(60); ++i) {
        auto& rng = seededRng(static_cast<uint32_t>(1000 + i));
        const int w = uniform<int>(rng, 1, 40), h = uniform<int>(rng, 1, 40);
        Block b{w, h, std::vector<int32_t>(static_cast<size_t>(w) * h)};
        for (auto& v : b.words) {
            const uint32_t m = static_cast<uint32_t>(uniform<int>(rng, 0, 255));
            v = static_cast<int32_t>(m | (uniform<int>(rng, 0, 1) ? 0x80000000u : 0));
        }
        const int32_t subband = i % 4, flags = uniform<int>(rng, 0, 31);
        int32_t sf = 0, passes = 0, segments = 0;
        ASSERT_EQ(zeqiEncodeLoadCodeBlock_JPEG2K_32s_C1R(b.words.data(), b.step(), b.size(),
                                                         enc.state, subband, 31, 0, 0, flags, &sf,
                                                         &passes, &segments),
                  StatusOk);
        const std::vector<ReferencePass> expected =
            ReferenceModel(b.words, w, h, subband, flags).run(0);
        const std::vector<ReferencePass> got = recordedPasses(enc.state);
        ASSERT_EQ(got.size(), expected.size()) << i;
        for (size_t p = 0; p < got.size(); ++p) {
            ASSERT_EQ(got[p].raw, expected[p].raw) << i << " pass " << p;
            ASSERT_TRUE(got[p].decisions == expected[p].decisions) << i << " pass " << p;
        }
    }
}

TEST(StripePasses, ColumnRefinementLabelsFollowTheRefinementTable) {
    using namespace zeq::t1;
    auto& rng = seededRng(7);
    for (int i = 0; i < scaledCount(20000); ++i) {
        uint64_t column = 0;
        uint32_t pattern[4];
        for (int r = 0; r < 4; ++r) {
            // Neighbour byte, refined mark and the other bits at random.
            pattern[r] = static_cast<uint32_t>(uniform<int>(rng, 0, 0xFFFF));
            if (uniform<int>(rng, 0, 2) == 0) pattern[r] &= ~kNeighbourMask;
            column |= uint64_t{pattern[r]} << (16 * r);
        }
        const uint64_t offsets = refinementLabelOffsets(column);
        for (int r = 0; r < 4; ++r)
            ASSERT_EQ(kRefineFirstLabel + static_cast<int>((offsets >> (16 * r)) & 3),
                      refinementLabel(pattern[r]))
                << std::hex << pattern[r];
    }
}

}  // namespace
