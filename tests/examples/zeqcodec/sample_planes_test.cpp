// The codec's coefficient planes: zeroed, separate and writable on both the
// heap path and the mapped path, and sizes whose byte count overflows
// refused rather than wrapped.
#include "zeqcodec/sample_planes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

using SamplePlanes = zeqcodec::SamplePlanes<int32_t>;

TEST(SamplePlanes, PlanesAreZeroedSeparateAndWritable) {
    const size_t sizes[] = {2, 1000, (size_t{1} << 20) + 3};  // heap, heap, mapped
    for (const size_t samples : sizes) {
        SamplePlanes planes;
        ASSERT_TRUE(planes.allocate(3, samples));
        ASSERT_EQ(planes.count(), 3);
        for (int32_t c = 0; c < 3; ++c) {
            EXPECT_EQ(planes[c][0], 0);
            EXPECT_EQ(planes[c][samples - 1], 0);
            planes[c][0] = c + 1;
            planes[c][samples - 1] = -(c + 1);
        }
        for (int32_t c = 0; c < 3; ++c) {
            EXPECT_EQ(planes[c][0], c + 1) << samples;
            EXPECT_EQ(planes[c][samples - 1], -(c + 1)) << samples;
        }
        // A second allocation replaces the first and is zeroed again.
        ASSERT_TRUE(planes.allocate(1, samples));
        EXPECT_EQ(planes[0][0], 0);
    }
}

TEST(SamplePlanes, SizesWhoseBytesOverflowAreRefused) {
    SamplePlanes planes;
    EXPECT_FALSE(planes.allocate(3, SIZE_MAX / 4));
    EXPECT_FALSE(planes.allocate(2, SIZE_MAX / 8 + 1));
    EXPECT_FALSE(planes.allocate(-1, 10));
    EXPECT_EQ(planes.count(), 0);
    EXPECT_TRUE(planes.allocate(0, 10));
    EXPECT_EQ(planes.count(), 0);
}

}  // namespace
