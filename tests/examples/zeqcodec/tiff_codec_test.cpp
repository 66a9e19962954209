// tiff-packbits and tiff-unpack against libtiff in-process: libtiff reads
// every file zeqcodec writes exactly, zeqcodec unpacks PackBits files that
// libtiff writes (either byte order, any strip height) exactly, other
// layouts are refused with a message, and round trips are exact.
#include "zeqcodec/tiff_codec.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <string>
#include <vector>

#include "container/tiff.h"
#include "tests/common/test_support.h"
#include "tests/examples/zeqcodec/texture_tiff_test_files.h"

namespace {

using namespace zeq;
using container::Image;
using Bytes = std::vector<uint8_t>;

void silence(const char*, const char*, va_list) {}

struct Shape {
    int32_t width, height, channels;
};
const Shape kShapes[] = {{1, 1, 1},    {1, 1, 3},    {300, 37, 1}, {129, 20, 3},
                         {5000, 3, 3}, {2, 4100, 1}, {64, 64, 3}};

// Reads every scanline of a file with libtiff; empty on failure.
Image libtiffRead(const std::string& path) {
    Image image;
    TIFF* tif = TIFFOpen(path.c_str(), "r");
    if (!tif) return image;
    uint32_t width = 0, height = 0;
    uint16_t samples = 0, compression = 0;
    TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetField(tif, TIFFTAG_COMPRESSION, &compression);
    EXPECT_EQ(compression, COMPRESSION_PACKBITS);
    Bytes line(static_cast<size_t>(TIFFScanlineSize(tif)));
    EXPECT_EQ(line.size(), size_t(width) * samples);
    for (uint32_t y = 0; y < height; ++y) {
        if (TIFFReadScanline(tif, line.data(), y, 0) != 1) {
            TIFFClose(tif);
            return Image{};
        }
        image.pixels.insert(image.pixels.end(), line.begin(), line.end());
    }
    TIFFClose(tif);
    image.width = int32_t(width);
    image.height = int32_t(height);
    image.channels = samples;
    return image;
}

struct LibtiffLayout {
    const char* mode = "w";  // "wb" writes big-endian
    uint16_t compression = COMPRESSION_PACKBITS;
    uint32_t rowsPerStrip = 8;
    uint16_t bits = 8;
    uint16_t planar = PLANARCONFIG_CONTIG;
    bool tiled = false;
    uint16_t greyPhotometric = PHOTOMETRIC_MINISBLACK;
};

// Writes image through libtiff with the given layout.
bool libtiffWrite(const std::string& path, const Image& image, const LibtiffLayout& layout) {
    TIFF* tif = TIFFOpen(path.c_str(), layout.mode);
    if (!tif) return false;
    const auto samples = static_cast<uint16_t>(image.channels);
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, uint32_t(image.width));
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, uint32_t(image.height));
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, layout.bits);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, layout.compression);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, samples == 3 ? PHOTOMETRIC_RGB : layout.greyPhotometric);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, layout.planar);
    bool ok = true;
    const size_t rowBytes = size_t(image.width) * samples * layout.bits / 8;
    Bytes row(rowBytes);
    if (layout.tiled) {
        TIFFSetField(tif, TIFFTAG_TILEWIDTH, 16u);
        TIFFSetField(tif, TIFFTAG_TILELENGTH, 16u);
        Bytes tile(static_cast<size_t>(TIFFTileSize(tif)), 1);
        ok = TIFFWriteTile(tif, tile.data(), 0, 0, 0, 0) >= 0;
    } else {
        TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, layout.rowsPerStrip);
        for (int32_t y = 0; ok && y < image.height; ++y) {
            for (size_t i = 0; i < rowBytes; ++i)
                row[i] =
                    image.pixels[(size_t(y) * image.width * samples + i) % image.pixels.size()];
            ok = TIFFWriteScanline(tif, row.data(), uint32_t(y), 0) == 1;
        }
    }
    TIFFClose(tif);
    return ok;
}

TEST(TiffCodec, LibtiffReadsEveryFileTiffPackbitsWritesExactly) {
    TIFFSetWarningHandler(silence);
    auto& rng = test::seededRng(31);
    test::TempFile in("tiff_in.ppm"), tif("tiff_out.tif");
    for (const auto& s : kShapes) {
        SCOPED_TRACE(std::to_string(s.width) + "x" + std::to_string(s.height) + "x" +
                     std::to_string(s.channels));
        const Image image = test::makeRunImage(rng, s.width, s.height, s.channels);
        test::writeImage(in.path(), image);
        ASSERT_EQ(zeqcodec::runTiffPackBits({in.path(), tif.path()}), 0);
        const Image back = libtiffRead(tif.path());
        EXPECT_EQ(back.width, s.width);
        EXPECT_EQ(back.height, s.height);
        EXPECT_EQ(back.channels, s.channels);
        EXPECT_TRUE(back.pixels == image.pixels);
    }
}

TEST(TiffCodec, TiffUnpackReadsLibtiffPackBitsFilesExactly) {
    TIFFSetWarningHandler(silence);
    auto& rng = test::seededRng(32);
    test::TempFile tif("libtiff.tif"), out("libtiff_back.ppm");
    const LibtiffLayout little, big{"wb"}, oneStrip{"w", COMPRESSION_PACKBITS, 1u << 20},
        rowStrips{"w", COMPRESSION_PACKBITS, 1};
    for (const auto& layout : {little, big, oneStrip, rowStrips}) {
        for (const auto& s : kShapes) {
            SCOPED_TRACE(std::string(layout.mode) + " rows/strip " +
                         std::to_string(layout.rowsPerStrip) + " " + std::to_string(s.width) + "x" +
                         std::to_string(s.height) + "x" + std::to_string(s.channels));
            const Image image = test::makeRunImage(rng, s.width, s.height, s.channels);
            ASSERT_TRUE(libtiffWrite(tif.path(), image, layout));
            ASSERT_EQ(zeqcodec::runTiffUnpack({tif.path(), out.path()}), 0);
            const Image back = test::readImage(out.path());
            EXPECT_EQ(back.width, s.width);
            EXPECT_EQ(back.channels, s.channels);
            EXPECT_TRUE(back.pixels == image.pixels);
        }
    }
}

TEST(TiffCodec, WhiteIsZeroGreyComesBackBlackIsZero) {
    auto& rng = test::seededRng(34);
    test::TempFile tif("white.tif"), out("white.pgm");
    const Image image = test::makeRunImage(rng, 33, 9, 1);
    LibtiffLayout layout;
    layout.greyPhotometric = PHOTOMETRIC_MINISWHITE;
    ASSERT_TRUE(libtiffWrite(tif.path(), image, layout));
    ASSERT_EQ(zeqcodec::runTiffUnpack({tif.path(), out.path()}), 0);
    const Image back = test::readImage(out.path());
    ASSERT_EQ(back.pixels.size(), image.pixels.size());
    for (size_t i = 0; i < image.pixels.size(); ++i)
        ASSERT_EQ(back.pixels[i], 255 - image.pixels[i]) << i;
}

TEST(TiffCodec, RoundTripsThroughTheCommandsAreExact) {
    auto& rng = test::seededRng(33);
    test::TempFile in("rt_in.ppm"), tif("rt.tif"), out("rt_back.ppm");
    for (int n = 0; n < test::scaledCount(30); ++n) {
        const Image image = test::makeRunImage(rng, test::uniform<int32_t>(rng, 1, 700),
                                               test::uniform<int32_t>(rng, 1, 40),
                                               test::uniform<int>(rng, 0, 1) ? 3 : 1);
        test::writeImage(in.path(), image);
        ASSERT_EQ(zeqcodec::runTiffPackBits({in.path(), tif.path()}), 0);
        ASSERT_EQ(zeqcodec::runTiffUnpack({tif.path(), out.path()}), 0);
        const Image back = test::readImage(out.path());
        ASSERT_EQ(back.width, image.width);
        ASSERT_EQ(back.height, image.height);
        ASSERT_EQ(back.channels, image.channels);
        ASSERT_TRUE(back.pixels == image.pixels) << n;
    }
}

TEST(TiffCodec, StripsHoldAboutEightKibibytesOfRows) {
    const struct {
        int64_t rowBytes;
        int32_t rows;
    } cases[] = {{1, 8192}, {3, 2730}, {8192, 1}, {8193, 1}, {100000, 1}, {4000, 2}};
    for (const auto& c : cases) EXPECT_EQ(zeqcodec::tiffRowsPerStrip(c.rowBytes), c.rows);
}

// Other layouts written by libtiff are refused with a message naming them.
TEST(TiffCodec, OtherCompressionsAndLayoutsAreRefusedWithAReason) {
    TIFFSetWarningHandler(silence);
    TIFFSetErrorHandler(silence);
    test::TempFile tif("refused.tif");
    const Image rgb = test::flatImage(20, 20, 3, 40);
    struct Case {
        LibtiffLayout layout;
        const char* message;
    } const cases[] = {
        {{"w", COMPRESSION_NONE}, "compression 1"},
        {{"w", COMPRESSION_LZW}, "compression 5"},
        {{"w", COMPRESSION_ADOBE_DEFLATE}, "compression 8"},
        {{"w", COMPRESSION_PACKBITS, 8, 16}, "16 bits per sample"},
        {{"w", COMPRESSION_PACKBITS, 8, 8, PLANARCONFIG_SEPARATE}, "planar"},
        {{"w", COMPRESSION_PACKBITS, 8, 8, PLANARCONFIG_CONTIG, true}, "tiled"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        ASSERT_TRUE(libtiffWrite(tif.path(), rgb, c.layout));
        const Bytes bytes = test::readBytes(tif.path());
        Image image;
        std::string error;
        EXPECT_FALSE(zeqcodec::decodeTiffPackBits(bytes.data(), bytes.size(), image, &error));
        EXPECT_NE(error.find(c.message), std::string::npos) << error;
        EXPECT_TRUE(image.pixels.empty());
        EXPECT_EQ(zeqcodec::runTiffUnpack({tif.path(), tif.path() + ".ppm"}), 1);
    }
}

TEST(TiffCodec, BadArgumentsGiveAnErrorExit) {
    test::TempFile in("tiff_args.ppm"), out("tiff_args.tif");
    test::writeImage(in.path(), test::flatImage(2, 2, 1, 9));
    EXPECT_EQ(zeqcodec::runTiffPackBits({in.path()}), 1);
    EXPECT_EQ(zeqcodec::runTiffPackBits({in.path(), out.path(), "--fast"}), 1);
    EXPECT_EQ(zeqcodec::runTiffPackBits({in.path() + ".missing", out.path()}), 1);
    EXPECT_EQ(zeqcodec::runTiffUnpack({in.path(), out.path()}), 1);  // a PGM, not a TIFF
    EXPECT_EQ(zeqcodec::runTiffUnpack({out.path() + ".missing", in.path()}), 1);
}

}  // namespace
