// The companion core: aligned allocation, the thread setting and the test hook
// that makes one chosen allocation fail.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "tests/common/test_support.h"
#include "zeqcore.h"

namespace {

using zeq::test::ScopedThreads;

TEST(ZeqMalloc, ReturnsWritableMemoryAlignedTo64Bytes) {
    for (int size : {1, 2, 3, 63, 64, 65, 1000, 4096, 1 << 20}) {
        void* p = zeqMalloc(size);
        ASSERT_NE(p, nullptr) << size;
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u) << size;
        std::memset(p, 0x5A, static_cast<size_t>(size));
        zeqFree(p);
    }
}

TEST(ZeqMalloc, SizeBelowOneGivesNull) {
    for (int size : {0, -1, INT32_MIN}) EXPECT_EQ(zeqMalloc(size), nullptr) << size;
}

TEST(ZeqFree, AcceptsNull) { zeqFree(nullptr); }

TEST(ZeqThreads, DefaultIsAtLeastOneAndSettable) {
    int n = 0;
    ASSERT_EQ(zeqGetNumThreads(&n), StatusOk);
    EXPECT_GE(n, 1);
    EXPECT_EQ(ownGetNumThreads(), n);
    const int initial = n;
    {
        ScopedThreads three(3);
        EXPECT_EQ(ownGetNumThreads(), 3);
        ASSERT_EQ(zeqGetNumThreads(&n), StatusOk);
        EXPECT_EQ(n, 3);
    }
    EXPECT_EQ(ownGetNumThreads(), initial);
}

TEST(ZeqThreads, RejectsCountBelowOneAndNullOutput) {
    const int before = ownGetNumThreads();
    EXPECT_EQ(zeqSetNumThreads(0), StatusBadSize);
    EXPECT_EQ(zeqSetNumThreads(-4), StatusBadSize);
    EXPECT_EQ(ownGetNumThreads(), before);
    EXPECT_EQ(zeqGetNumThreads(nullptr), StatusNullPointer);
}

TEST(ZeqMallocTestHook, FailsExactlyTheNthCallThenRecovers) {
    zeq::test::ScopedAllocationFailure third(3);
    void* a = zeqMalloc(16);
    void* b = zeqMalloc(16);
    void* c = zeqMalloc(16);
    void* d = zeqMalloc(16);
    EXPECT_NE(a, nullptr);
    EXPECT_NE(b, nullptr);
    EXPECT_EQ(c, nullptr);
    EXPECT_NE(d, nullptr);
    EXPECT_EQ(zeqTestMallocCalls(), 4);
    zeqFree(a);
    zeqFree(b);
    zeqFree(d);
}

TEST(ZeqMallocTestHook, SizeBelowOneIsNotCounted) {
    zeq::test::ScopedAllocationFailure none(0);
    EXPECT_EQ(zeqMalloc(0), nullptr);
    EXPECT_EQ(zeqTestMallocCalls(), 0);
}

}  // namespace
