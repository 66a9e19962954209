// The row-parallel runner: when it forks, and that every row runs exactly once.
#include "core/row_parallel.h"

#include <gtest/gtest.h>
#include <omp.h>

#include <atomic>
#include <vector>

#include "tests/common/test_support.h"

namespace {

using zeq::forEachRow;
using zeq::rowsRunInParallel;
using zeq::test::ScopedThreads;

TEST(RowParallel, ForksOnlyAboveThresholdOfTheWrappedProduct) {
    struct Case {
        ZeqiSize roi;
        bool parallel;
    } const cases[] = {
        {{8192, 1}, false},
        {{4096, 2}, false},
        {{8193, 1}, true},
        {{1, 8193}, true},
        {{65536, 65536}, false},  // wraps to 0
        {{46341, 46341}, false},  // wraps negative
        {{65536, 32768}, false},  // exactly 2^31: wraps to INT32_MIN
        {{65537, 65537}, true},   // wraps to 131073
    };
    for (const auto& c : cases)
        EXPECT_EQ(rowsRunInParallel(c.roi), c.parallel) << c.roi.width << "x" << c.roi.height;
}

// Records which thread ran each row.
std::vector<int> threadOfEachRow(ZeqiSize roi) {
    std::vector<std::atomic<int>> seen(static_cast<size_t>(roi.height));
    for (auto& s : seen) s = -1;
    std::vector<std::atomic<int>> runs(static_cast<size_t>(roi.height));
    forEachRow(roi, [&](int32_t y) {
        seen[static_cast<size_t>(y)] = omp_get_thread_num();
        ++runs[static_cast<size_t>(y)];
    });
    std::vector<int> result;
    for (int32_t y = 0; y < roi.height; ++y) {
        EXPECT_EQ(runs[static_cast<size_t>(y)], 1) << "row " << y;
        result.push_back(seen[static_cast<size_t>(y)]);
    }
    return result;
}

TEST(RowParallel, SmallRegionStaysOnTheCallingThread) {
    ScopedThreads two(2);
    for (int t : threadOfEachRow({4096, 2})) EXPECT_EQ(t, 0);
}

TEST(RowParallel, LargeRegionSplitsRowsIntoContiguousRunsPerThread) {
    ScopedThreads two(2);
    const std::vector<int> threads = threadOfEachRow({4097, 2});
    EXPECT_EQ(threads, (std::vector<int>{0, 1}));

    const std::vector<int> many = threadOfEachRow({100, 101});
    for (size_t y = 1; y < many.size(); ++y) EXPECT_GE(many[y], many[y - 1]) << y;
    EXPECT_EQ(many.front(), 0);
    EXPECT_EQ(many.back(), 1);
}

TEST(RowParallel, OneThreadRunsEveryRowOnItsOwn) {
    ScopedThreads one(1);
    for (int t : threadOfEachRow({5000, 7})) EXPECT_EQ(t, 0);
}

}  // namespace
