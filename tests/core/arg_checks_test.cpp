// The check chains: the first failing check decides, in the order written.
#include "core/arg_checks.h"

#include <gtest/gtest.h>

namespace {

using zeq::ArgChecks;
using zeq::checkInterleavedRegion;
using zeq::checkTwoSizeRegion;

int cell;
const void* const kPtr = &cell;

struct InterleavedCase {
    const char* what;
    const void* src;
    int32_t srcStep;
    const void* dst;
    int32_t dstStep;
    ZeqiSize size;
    ZeqStatus expected;
};

TEST(ArgChecks, InterleavedOrderReportsTheFirstFailure) {
    const InterleavedCase cases[] = {
        {"all valid", kPtr, 1, kPtr, 1, {1, 1}, StatusOk},
        {"null src beats everything", nullptr, 0, nullptr, 0, {0, 0}, StatusNullPointer},
        {"src step before null dst", kPtr, 0, nullptr, 0, {0, 0}, StatusBadStep},
        {"negative src step", kPtr, -3, kPtr, 1, {1, 1}, StatusBadStep},
        {"null dst before dst step", kPtr, 1, nullptr, 0, {0, 0}, StatusNullPointer},
        {"dst step before size", kPtr, 1, kPtr, 0, {0, 0}, StatusBadStep},
        {"zero width", kPtr, 1, kPtr, 1, {0, 5}, StatusBadSize},
        {"zero height", kPtr, 1, kPtr, 1, {5, 0}, StatusBadSize},
        {"negative width", kPtr, 1, kPtr, 1, {-1, 5}, StatusBadSize},
    };
    for (const auto& c : cases)
        EXPECT_EQ(checkInterleavedRegion(c.src, c.srcStep, c.dst, c.dstStep, c.size), c.expected)
            << c.what;
}

TEST(ArgChecks, TwoSizeOrderChecksSourceSizeBeforeDestination) {
    EXPECT_EQ(checkTwoSizeRegion(kPtr, 1, {0, 1}, nullptr, 0, {0, 0}), StatusBadSize);
    EXPECT_EQ(checkTwoSizeRegion(kPtr, 1, {1, 1}, nullptr, 1, {1, 1}), StatusNullPointer);
    EXPECT_EQ(checkTwoSizeRegion(kPtr, 1, {1, 1}, kPtr, 0, {0, 1}), StatusBadStep);
    EXPECT_EQ(checkTwoSizeRegion(kPtr, 1, {1, 1}, kPtr, 1, {1, 0}), StatusBadSize);
    EXPECT_EQ(checkTwoSizeRegion(kPtr, 1, {1, 1}, kPtr, 1, {1, 1}), StatusOk);
}

TEST(ArgChecks, GroupedOrderChecksAllPointersThenBothStepsThenSize) {
    uint8_t plane;
    uint8_t* const planes[3] = {&plane, &plane, &plane};
    uint8_t* const missingSecond[3] = {&plane, nullptr, &plane};
    auto grouped = [](const void* src, uint8_t* const* dst, int32_t s1, int32_t s2, ZeqiSize r) {
        return ArgChecks().pointer(src).planes(dst, 3).steps(s1, s2).size(r).status();
    };
    EXPECT_EQ(grouped(kPtr, nullptr, 0, 0, {0, 0}), StatusNullPointer);
    EXPECT_EQ(grouped(kPtr, missingSecond, 0, 0, {0, 0}), StatusNullPointer);
    EXPECT_EQ(grouped(kPtr, planes, 1, 0, {0, 0}), StatusBadStep);
    EXPECT_EQ(grouped(kPtr, planes, 0, 1, {0, 0}), StatusBadStep);
    EXPECT_EQ(grouped(kPtr, planes, 1, 1, {1, 0}), StatusBadSize);
    EXPECT_EQ(grouped(kPtr, planes, 1, 1, {1, 1}), StatusOk);
}

TEST(ArgChecks, ArgumentAndLengthChecksMapToTheirStatuses) {
    EXPECT_EQ(ArgChecks().pointer(kPtr).argument(false).length(0).status(), StatusBadArgument);
    EXPECT_EQ(ArgChecks().pointer(kPtr).length(0).argument(false).status(), StatusBadSize);
    EXPECT_EQ(ArgChecks().pointers(kPtr, nullptr).argument(false).status(), StatusNullPointer);
    static_assert(ArgChecks().pointer(nullptr).status() == StatusNullPointer,
                  "checks are usable at compile time");
}

}  // namespace
