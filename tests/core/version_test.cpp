#include <gtest/gtest.h>

#include <cstring>

#include "zeqj.h"

namespace {

TEST(LibraryVersion, RecordHoldsThisBuildsNumbersAndTexts) {
    const LibraryVersion* v = zeqjGetLibVersion();
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->majorVersion, 6);
    EXPECT_EQ(v->minorVersion, 1);
    EXPECT_EQ(v->buildMajor, 137);
    EXPECT_EQ(v->buildNumber, 787);
    const char tag[4] = {'m', 'x', 0, 0};
    EXPECT_EQ(std::memcmp(v->cpuTag, tag, 4), 0);
    EXPECT_STREQ(v->libraryName, "zeqjmx-6.1.dll");
    EXPECT_STREQ(v->versionText, "6.1 build 137.20");
    EXPECT_STREQ(v->buildDate, "Jun 10 2009");
}

TEST(LibraryVersion, SamePointerOnEveryCall) {
    EXPECT_EQ(zeqjGetLibVersion(), zeqjGetLibVersion());
}

}  // namespace
