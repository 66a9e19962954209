#include "zeqcodec/j2k_demo.h"

#include <gtest/gtest.h>

#include "tests/examples/zeqcodec/openjpeg_j2k.h"

namespace zeqcodec {
namespace {

TEST(J2kDemo, BothRoundTripsPassAndReportTheirFigures) {
    for (int32_t channels : {1, 3}) {
        const zeq::container::Image image = zeq::test::j2k::syntheticImage(160, 96, channels, 8);
        std::vector<J2kDemoRow> rows;
        ASSERT_TRUE(runJ2kDemo(image, ::testing::TempDir(), rows));
        ASSERT_EQ(rows.size(), 2u);
        EXPECT_EQ(rows[0].name, "j2k lossless");
        EXPECT_EQ(rows[0].psnr, 99);
        EXPECT_EQ(rows[0].openjpegPsnr, 99);
        EXPECT_EQ(rows[1].name, "j2k 1 bpp");
        EXPECT_LE(rows[1].bitsPerPixel, 1.0);
        EXPECT_GT(rows[1].bitsPerPixel, 0.9);
        EXPECT_NEAR(rows[1].psnr, rows[1].openjpegPsnr, 0.1);
        for (const J2kDemoRow& r : rows) {
            EXPECT_TRUE(r.passed) << r.note;
            EXPECT_GT(r.encodeMPps, 0);
            EXPECT_GT(r.decodeMPps, 0);
        }
    }
}

TEST(J2kDemo, AnUnwritableDirectoryFailsTheRowWithAReason) {
    const zeq::container::Image image = zeq::test::j2k::syntheticImage(16, 16, 1, 8);
    std::vector<J2kDemoRow> rows;
    EXPECT_FALSE(runJ2kDemo(image, "/nonexistent/zeqcodec", rows));
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_FALSE(rows[0].passed);
    EXPECT_FALSE(rows[0].note.empty());
}

}  // namespace
}  // namespace zeqcodec
