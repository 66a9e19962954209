// The demo rows of the texture and TIFF commands report what their peers
// found, with sizes, PSNR and speed filled in.
#include "zeqcodec/texture_tiff_demo.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/common/test_support.h"
#include "tests/examples/zeqcodec/texture_tiff_test_files.h"

namespace {

using namespace zeq;

TEST(TextureTiffDemo, Dxt1RoundTripReportsSizesPsnrAndSpeed) {
    auto& rng = test::seededRng(61);
    const container::Image image = test::makeImage(rng, 37, 21, 3, 2);
    const auto row = zeqcodec::demoDxt1RoundTrip(image);
    EXPECT_TRUE(row.passed) << row.detail;
    EXPECT_EQ(row.width, 37);
    EXPECT_EQ(row.rawBytes, 37u * 21 * 3);
    EXPECT_EQ(row.fileBytes, 128u + 10 * 6 * 8);
    EXPECT_GT(row.psnr, 20.0);
    EXPECT_TRUE(std::isfinite(row.psnr));
    EXPECT_GT(row.megapixelsPerSecond, 0.0);
    EXPECT_EQ(row.timed, "encode");
}

TEST(TextureTiffDemo, Bc7RowComparesWithPillow) {
    if (!zeqcodec::pillowAvailable()) GTEST_SKIP() << "/usr/bin/python3 has no Pillow";
    const auto row = zeqcodec::demoBc7AgainstPillow(48, 20, 3, testing::TempDir());
    EXPECT_TRUE(row.passed) << row.detail;
    EXPECT_EQ(row.fileBytes, 148u + 12 * 5 * 16);
    EXPECT_TRUE(std::isnan(row.psnr));
    EXPECT_GT(row.megapixelsPerSecond, 0.0);
}

TEST(TextureTiffDemo, TiffRowIsReadBackExactlyByLibtiff) {
    auto& rng = test::seededRng(62);
    const auto row =
        zeqcodec::demoTiffLibtiffReadback(test::makeRunImage(rng, 300, 40, 3), testing::TempDir());
    EXPECT_TRUE(row.passed) << row.detail;
    EXPECT_TRUE(std::isinf(row.psnr));
    EXPECT_GT(row.fileBytes, 0u);
    EXPECT_GT(row.megapixelsPerSecond, 0.0);
}

}  // namespace
