// The decoder passes' helpers against their plain forms.
#include "jpeg2000/tier1/decode_passes.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/common/test_support.h"

namespace {

using namespace zeq::t1;
using zeq::test::scaledCount;
using zeq::test::seededRng;
using zeq::test::uniform;

// State words whose halves are mostly one of the four settled/unsettled
// kinds, with neighbour and sign bits at random; every count and offset
// (the vector scan reads eight columns at a time, unaligned).
TEST(DecodePasses, VectorScanFindsTheColumnsToRefineOfThePlainScan) {
    for (int i = 0; i < scaledCount(4000); ++i) {
        auto& rng = seededRng(static_cast<uint32_t>(i));
        const int count = uniform<int>(rng, 0, 64);
        const int offset = uniform<int>(rng, 0, 3);
        const int emptyPercent = uniform<int>(rng, 0, 100);
        std::vector<uint32_t> upper(static_cast<size_t>(count + offset)),
            lower(static_cast<size_t>(count + offset));
        for (auto* row : {&upper, &lower}) {
            for (auto& w : *row) {
                uint32_t word = 0;
                for (int half = 0; half < 2; ++half) {
                    uint32_t h = uniform<uint32_t>(rng, 0, 0xFFFF);
                    if (uniform<int>(rng, 0, 99) < emptyPercent)
                        h &= ~kSignificant;  // never to refine
                    word |= h << (16 * half);
                }
                w = word;
            }
        }
        const uint64_t expected =
            columnsToRefineScalar(upper.data() + offset, lower.data() + offset, count);
        ASSERT_EQ(columnsToRefine(upper.data() + offset, lower.data() + offset, count), expected)
            << i;
        // The plain scan itself, one column at a time.
        for (int x = 0; x < count; ++x) {
            bool refine = false;
            for (uint32_t w :
                 {upper[static_cast<size_t>(x + offset)], lower[static_cast<size_t>(x + offset)]})
                for (uint32_t h : {w & 0xFFFF, w >> 16})
                    refine = refine || (h & (kSignificant | kVisited)) == kSignificant;
            ASSERT_EQ((expected >> x) & 1, uint64_t{refine}) << i << " " << x;
        }
    }
}

}  // namespace
