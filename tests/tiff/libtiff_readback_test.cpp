// Real-client check: libtiff decodes TIFF files whose PackBits strips come
// from this library's encoder back to the rows that went in.
#include <gtest/gtest.h>
#include <tiffio.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "container/netpbm.h"
#include "container/tiff.h"
#include "tests/common/test_support.h"
#include "zeqj.h"

namespace {

using namespace zeq;

// Rows with long runs, two-byte runs between literals (the merge case) and noise.
std::vector<std::vector<uint8_t>> makeRows(std::mt19937& rng, int32_t width, int32_t height,
                                           int32_t samples) {
    std::vector<std::vector<uint8_t>> rows;
    for (int32_t y = 0; y < height; ++y) {
        std::vector<uint8_t> row;
        const auto rowBytes = static_cast<size_t>(width) * samples;
        while (row.size() < rowBytes) {
            const auto v = test::uniform<uint8_t>(rng, 0, 255);
            const int kind = test::uniform<int>(rng, 0, 9);
            const int n = kind < 2 ? test::uniform<int>(rng, 3, 300) : (kind < 4 ? 2 : 1);
            for (int i = 0; i < n && row.size() < rowBytes; ++i) row.push_back(v);
        }
        rows.push_back(row);
    }
    return rows;
}

// Codes every row with this library's encoder and wraps the strips in a file.
bool writePackBitsTiff(const std::string& path, const container::TiffImageShape& shape,
                       const std::vector<std::vector<uint8_t>>& rows) {
    std::vector<std::vector<uint8_t>> strips;
    for (int32_t s = 0; s < container::tiffStripCount(shape); ++s) {
        std::vector<uint8_t> strip;
        for (int32_t r = 0; r < container::tiffRowsInStrip(shape, s); ++r) {
            const auto& row = rows[static_cast<size_t>(s * shape.rowsPerStrip + r)];
            std::vector<uint8_t> packed(row.size() * 2 + 2);
            int32_t position = 0;
            if (zeqiPackBitsRow_TIFF_8u_C1(row.data(), static_cast<int32_t>(row.size()),
                                           packed.data(), &position,
                                           static_cast<int32_t>(packed.size())) != StatusOk)
                return false;
            strip.insert(strip.end(), packed.begin(), packed.begin() + position);
        }
        strips.push_back(std::move(strip));
    }
    return container::writeFile(path, container::formatPackBitsTiff(shape, strips), nullptr);
}

void silence(const char*, const char*, va_list) {}

TEST(LibtiffReadback, PackBitsStripsFromTheEncoderDecodeToTheSameRows) {
    TIFFSetWarningHandler(silence);
    auto& rng = test::seededRng(41);
    struct Shape {
        int32_t width, height, samples, rowsPerStrip;
    } const shapes[] = {{1, 1, 1, 1}, {300, 37, 1, 8}, {129, 20, 3, 5}, {1000, 9, 3, 9}};
    const std::string path = testing::TempDir() + "zeqj_packbits_readback.tif";
    for (const auto& s : shapes) {
        const auto rows = makeRows(rng, s.width, s.height, s.samples);
        ASSERT_TRUE(writePackBitsTiff(path, {s.width, s.height, s.samples, s.rowsPerStrip}, rows));
        TIFF* tif = TIFFOpen(path.c_str(), "r");
        ASSERT_NE(tif, nullptr);
        uint16_t compression = 0;
        TIFFGetField(tif, TIFFTAG_COMPRESSION, &compression);
        EXPECT_EQ(compression, COMPRESSION_PACKBITS);
        ASSERT_EQ(TIFFScanlineSize(tif), static_cast<tmsize_t>(s.width) * s.samples);
        std::vector<uint8_t> line(static_cast<size_t>(TIFFScanlineSize(tif)));
        for (int32_t y = 0; y < s.height; ++y) {
            ASSERT_EQ(TIFFReadScanline(tif, line.data(), static_cast<uint32_t>(y), 0), 1) << y;
            ASSERT_EQ(line, rows[static_cast<size_t>(y)])
                << s.width << "x" << s.height << " row " << y;
        }
        TIFFClose(tif);
    }
    std::remove(path.c_str());
}

}  // namespace
