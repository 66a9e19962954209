// The allocation wrappers around the core library.
#include "core/memory.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/common/test_support.h"

namespace {

using namespace zeq;

TEST(AllocateBuffer, SizeBelowOneGivesNullWithoutAskingTheCore) {
    test::ScopedAllocationFailure none(0);
    EXPECT_EQ(allocateBuffer(0), nullptr);
    EXPECT_EQ(allocateBuffer(-7), nullptr);
    EXPECT_EQ(zeqTestMallocCalls(), 0);
}

TEST(AllocateBuffer, PassesCoreFailureThrough) {
    test::ScopedAllocationFailure first(1);
    EXPECT_EQ(allocateBuffer(128), nullptr);
    void* p = allocateBuffer(128);
    EXPECT_NE(p, nullptr);
    releaseBuffer(p);
    releaseBuffer(nullptr);
}

TEST(ZeroBuffer, ChecksPointerThenSizeAndZeroesExactlyTheBytes) {
    std::vector<uint8_t> bytes(16, 0xEE);
    EXPECT_EQ(zeroBuffer(nullptr, 0), StatusNullPointer);
    EXPECT_EQ(zeroBuffer(bytes.data(), 0), StatusBadSize);
    EXPECT_EQ(zeroBuffer(bytes.data(), -1), StatusBadSize);
    EXPECT_EQ(bytes, std::vector<uint8_t>(16, 0xEE));
    EXPECT_EQ(zeroBuffer(bytes.data() + 2, 5), StatusOk);
    const std::vector<uint8_t> expected = {0xEE, 0xEE, 0, 0, 0, 0, 0, 0xEE,
                                           0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
    EXPECT_EQ(bytes, expected);
}

}  // namespace
