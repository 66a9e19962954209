// dds-encode and dds-decode: exact agreement with the library's block coders
// on padded images (edge replication on encode, cropping on decode), Pillow
// reading every output, BC7 files from random valid blocks decoded
// identically by zeqcodec and Pillow, the YCoCg variant, and refusal of
// corrupt files without a crash.
#include "zeqcodec/dds_codec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "container/dds.h"
#include "tests/common/test_support.h"
#include "tests/examples/zeqcodec/texture_tiff_test_files.h"
#include "zeqcodec/texture_tiff_demo.h"
#include "zeqj.h"

namespace {

using namespace zeq;
using container::DdsFormat;
using container::Image;
using Bytes = std::vector<uint8_t>;

struct FormatCase {
    const char* option;
    DdsFormat format;
};
const FormatCase kFormats[] = {{"dxt1", DdsFormat::Dxt1},
                               {"dxt3", DdsFormat::Dxt3},
                               {"dxt5", DdsFormat::Dxt5},
                               {"ycocg-dxt5", DdsFormat::YCoCgDxt5}};

struct Shape {
    int32_t width, height, channels;
};
const Shape kShapes[] = {{1, 1, 3}, {4, 4, 3}, {5, 5, 3}, {17, 3, 1}, {64, 48, 3}, {71, 33, 3}};

int32_t roundUp4(int32_t v) { return (v + 3) / 4 * 4; }

// The image widened to whole blocks by repeating the last column and row,
// as interleaved 3- or 4-byte pixels built by `pixel`.
template <class PixelFn>
Bytes padded(const Image& image, int bytesPerPixel, PixelFn pixel) {
    const int32_t w = roundUp4(image.width), h = roundUp4(image.height);
    Bytes out(static_cast<size_t>(w) * h * bytesPerPixel);
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x) {
            const size_t from = static_cast<size_t>(std::min(y, image.height - 1)) * image.width +
                                std::min(x, image.width - 1);
            pixel(from, &out[(static_cast<size_t>(y) * w + x) * bytesPerPixel]);
        }
    return out;
}

// Blocks of the padded image from the library alone.
Bytes referenceBlocks(const Image& image, DdsFormat format) {
    const ZeqiSize size = {roundUp4(image.width), roundUp4(image.height)};
    auto rgb = [&](size_t i, int c) {
        return image.channels == 1 ? image.pixels[i] : image.pixels[3 * i + size_t(c)];
    };
    Bytes blocks(
        container::ddsBlockStreamBytes(format, uint32_t(size.width), uint32_t(size.height)));
    if (format == DdsFormat::YCoCgDxt5) {
        const Bytes src = padded(image, 3, [&](size_t i, uint8_t* p) {
            const uint8_t pixel[3] = {rgb(i, 0), rgb(i, 1), rgb(i, 2)};
            zeqcodec::rgbToYCoCg(pixel, p, 1);
        });
        EXPECT_EQ(zeqiTextureEncodeBlockFromYCoCg_DXT5_8u_C3C1R(src.data(), size.width * 3, size,
                                                                blocks.data()),
                  StatusOk);
        return blocks;
    }
    const Bytes src = padded(image, 4, [&](size_t i, uint8_t* p) {
        for (int c = 0; c < 3; ++c) p[c] = rgb(i, c);
        p[3] = 255;
    });
    const auto encode = format == DdsFormat::Dxt1   ? zeqiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R
                        : format == DdsFormat::Dxt3 ? zeqiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R
                                                    : zeqiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R;
    EXPECT_EQ(encode(src.data(), size.width * 4, size, blocks.data()), StatusOk);
    return blocks;
}

// RGB of the whole-block decode of the padded stream, cropped to the image.
Bytes referenceDecode(const Bytes& blocks, DdsFormat format, int32_t width, int32_t height) {
    const ZeqiSize size = {roundUp4(width), roundUp4(height)};
    Bytes rgba(static_cast<size_t>(size.width) * size.height * 4);
    const auto decode = format == DdsFormat::Dxt1   ? zeqiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R
                        : format == DdsFormat::Dxt3 ? zeqiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R
                                                    : zeqiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R;
    EXPECT_EQ(decode(blocks.data(), rgba.data(), size.width * 4, size), StatusOk);
    Bytes cropped;
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x) {
            const uint8_t* p = &rgba[(static_cast<size_t>(y) * size.width + x) * 4];
            cropped.insert(cropped.end(), p, p + 4);
        }
    Bytes rgb(cropped.size() / 4 * 3);
    if (format == DdsFormat::YCoCgDxt5) {
        zeqcodec::ycocgDxt5ToRgb(cropped.data(), rgb.data(), cropped.size() / 4);
    } else {
        for (size_t i = 0; i < cropped.size() / 4; ++i)
            std::copy_n(&cropped[4 * i], 3, &rgb[3 * i]);
    }
    return rgb;
}

int run(int (*command)(const zeqcodec::Arguments&), const zeqcodec::Arguments& args) {
    return command(args);
}

TEST(DdsCodec, CommandsMatchTheLibraryOnPaddedImagesForEveryFormatAndSize) {
    auto& rng = test::seededRng(11);
    test::TempFile in("dds_in.ppm"), dds("dds_out.dds"), out("dds_back.ppm");
    for (const auto& f : kFormats) {
        for (const auto& s : kShapes) {
            SCOPED_TRACE(std::string(f.option) + " " + std::to_string(s.width) + "x" +
                         std::to_string(s.height) + "x" + std::to_string(s.channels));
            const Image image = test::makeImage(rng, s.width, s.height, s.channels, 9);
            test::writeImage(in.path(), image);
            ASSERT_EQ(run(zeqcodec::runDdsEncode, {in.path(), dds.path(), "--format", f.option}),
                      0);
            const Bytes file = test::readBytes(dds.path());
            container::DdsImage parsed;
            std::string error;
            ASSERT_TRUE(container::parseDds(file.data(), file.size(), parsed, &error)) << error;
            EXPECT_EQ(parsed.format, f.format);
            EXPECT_EQ(parsed.width, s.width);
            EXPECT_EQ(parsed.height, s.height);
            const Bytes blocks = referenceBlocks(image, f.format);
            ASSERT_EQ(parsed.blocks, blocks);

            ASSERT_EQ(run(zeqcodec::runDdsDecode, {dds.path(), out.path()}), 0);
            const Image back = test::readImage(out.path());
            EXPECT_EQ(back.width, s.width);
            EXPECT_EQ(back.height, s.height);
            EXPECT_EQ(back.channels, 3);
            EXPECT_EQ(back.pixels, referenceDecode(blocks, f.format, s.width, s.height));
        }
    }
}

// Round trips of smooth images keep the picture; flat colours that 5:6:5
// holds exactly come back exactly.
TEST(DdsCodec, RoundTripsKeepSmoothImagesAndExactColours) {
    Image smooth;
    smooth.width = 96;
    smooth.height = 64;
    smooth.channels = 3;
    for (int y = 0; y < smooth.height; ++y)
        for (int x = 0; x < smooth.width; ++x)
            for (const double v :
                 {128 + 100 * std::sin(x / 23.0) * std::cos(y / 31.0),
                  128 + 90 * std::sin((x + y) / 40.0), 128 + 80 * std::cos(x / 17.0 - y / 29.0)})
                smooth.pixels.push_back(static_cast<uint8_t>(v));
    Image flat;
    flat.width = 9;
    flat.height = 7;
    flat.channels = 3;
    for (int i = 0; i < 63; ++i) flat.pixels.insert(flat.pixels.end(), {200, 100, 48});
    for (const auto& f : kFormats) {
        SCOPED_TRACE(f.option);
        Bytes file;
        Image back;
        std::string error;
        ASSERT_TRUE(zeqcodec::encodeDds(smooth, f.format, file, &error)) << error;
        ASSERT_TRUE(zeqcodec::decodeDds(file.data(), file.size(), back, &error)) << error;
        double sum = 0;
        for (size_t i = 0; i < back.pixels.size(); ++i) {
            const double d = double(back.pixels[i]) - smooth.pixels[i];
            sum += d * d;
        }
        EXPECT_GT(10 * std::log10(255.0 * 255 * back.pixels.size() / sum), 33.0);
        if (f.format == DdsFormat::YCoCgDxt5) continue;  // chroma is rescaled
        ASSERT_TRUE(zeqcodec::encodeDds(flat, f.format, file, &error)) << error;
        ASSERT_TRUE(zeqcodec::decodeDds(file.data(), file.size(), back, &error)) << error;
        EXPECT_EQ(back.pixels, flat.pixels);
    }
}

// The library's decoder expands 5:6:5 by shifting and rounds DXT5 alpha up,
// where Pillow replicates bits, truncates and scales DXT3 alpha by 17; pixel
// for pixel the two must differ by exactly those rules and nothing else, so
// any header, order or crop fault shows.
void expectPillowAgrees(const zeqcodec::RgbaImage& ours, const zeqcodec::RgbaImage& pillow,
                        DdsFormat format) {
    ASSERT_EQ(pillow.width, ours.width);
    ASSERT_EQ(pillow.height, ours.height);
    ASSERT_EQ(pillow.pixels.size(), ours.pixels.size());
    int failures = 0;
    for (size_t i = 0; i < ours.pixels.size() && failures < 5; ++i) {
        const int o = ours.pixels[i], p = pillow.pixels[i], c = int(i % 4);
        bool ok;
        if (c < 3) {
            ok = p - o >= 0 && p - o <= (c == 1 ? 3 : 7);
        } else if (format == DdsFormat::Dxt1) {
            ok = o == 255 && p == 255;
        } else if (format == DdsFormat::Dxt3) {
            ok = p == o + o / 16;
        } else {
            ok = o - p >= 0 && o - p <= 1;
        }
        if (!ok) {
            ADD_FAILURE() << "pixel " << i / 4 << " channel " << c << ": ours " << o << " Pillow "
                          << p;
            ++failures;
        }
    }
}

TEST(DdsCodec, PillowReadsEveryEncodedFormat) {
    if (!zeqcodec::pillowAvailable()) GTEST_SKIP() << "/usr/bin/python3 has no Pillow";
    auto& rng = test::seededRng(13);
    test::TempFile dds("dds_pillow.dds");
    for (const auto& f : kFormats) {
        for (const auto& s : kShapes) {
            SCOPED_TRACE(std::string(f.option) + " " + std::to_string(s.width) + "x" +
                         std::to_string(s.height));
            const Image image = test::makeImage(rng, s.width, s.height, s.channels, 20);
            Bytes file;
            std::string error;
            ASSERT_TRUE(zeqcodec::encodeDds(image, f.format, file, &error)) << error;
            test::writeBytes(dds.path(), file);
            container::DdsImage parsed;
            ASSERT_TRUE(container::parseDds(file.data(), file.size(), parsed, &error));
            zeqcodec::RgbaImage ours, pillow;
            ASSERT_TRUE(zeqcodec::decodeDdsBlocks(parsed, ours, &error)) << error;
            ASSERT_TRUE(zeqcodec::pillowDecodeRgba(dds.path(), pillow, &error)) << error;
            expectPillowAgrees(ours, pillow, f.format);
        }
    }
}

TEST(DdsCodec, Bc7FilesOfRandomValidBlocksDecodeLikePillow) {
    if (!zeqcodec::pillowAvailable()) GTEST_SKIP() << "/usr/bin/python3 has no Pillow";
    test::TempFile dds("bc7.dds"), out("bc7.ppm");
    const Shape shapes[] = {{4, 4, 0}, {5, 7, 0}, {64, 64, 0}, {130, 18, 0}};
    uint32_t seed = 21;
    for (const auto& s : shapes) {
        SCOPED_TRACE(std::to_string(s.width) + "x" + std::to_string(s.height));
        container::DdsImage image;
        image.width = s.width;
        image.height = s.height;
        image.format = DdsFormat::Bc7;
        image.blocks = zeqcodec::randomValidBc7Blocks(
            size_t(container::ddsBlockStreamBytes(DdsFormat::Bc7, uint32_t(s.width),
                                                  uint32_t(s.height)) /
                   16),
            seed++);
        test::writeBytes(dds.path(), container::formatDds(image));
        zeqcodec::RgbaImage ours, pillow;
        std::string error;
        ASSERT_TRUE(zeqcodec::decodeDdsBlocks(image, ours, &error)) << error;
        ASSERT_TRUE(zeqcodec::pillowDecodeRgba(dds.path(), pillow, &error)) << error;
        ASSERT_EQ(pillow.width, s.width);
        ASSERT_EQ(pillow.height, s.height);
        EXPECT_TRUE(ours.pixels == pillow.pixels);

        ASSERT_EQ(run(zeqcodec::runDdsDecode, {dds.path(), out.path()}), 0);
        const Image back = test::readImage(out.path());
        Bytes pillowRgb;
        for (size_t i = 0; i < pillow.pixels.size(); i += 4)
            pillowRgb.insert(pillowRgb.end(), &pillow.pixels[i], &pillow.pixels[i] + 3);
        EXPECT_TRUE(back.pixels == pillowRgb);
    }
}

TEST(DdsCodec, RandomValidBc7BlocksCoverEveryModeAndNoReservedBlock) {
    const Bytes blocks = zeqcodec::randomValidBc7Blocks(4096, 5);
    int perMode[8] = {};
    for (size_t b = 0; b < blocks.size(); b += 16) {
        ASSERT_NE(blocks[b], 0);
        ++perMode[__builtin_ctz(blocks[b])];
    }
    for (int count : perMode) EXPECT_GT(count, 400);
    EXPECT_EQ(zeqcodec::randomValidBc7Blocks(3, 5), Bytes(blocks.begin(), blocks.begin() + 48));
}

TEST(DdsCodec, YCoCgConversionMatchesItsIntegerFormulas) {
    struct Case {
        uint8_t rgb[3], ycocg[3];
    } const cases[] = {
        {{0, 0, 0}, {0, 128, 128}},         {{255, 255, 255}, {255, 128, 128}},
        {{255, 0, 0}, {64, 255, 64}},       {{0, 255, 0}, {128, 128, 255}},
        {{0, 0, 255}, {64, 1, 64}},         {{10, 20, 30}, {20, 118, 128}},
        {{128, 128, 128}, {128, 128, 128}},
    };
    for (const auto& c : cases) {
        uint8_t got[3];
        zeqcodec::rgbToYCoCg(c.rgb, got, 1);
        EXPECT_EQ(Bytes(got, got + 3), Bytes(c.ycocg, c.ycocg + 3))
            << int(c.rgb[0]) << "," << int(c.rgb[1]) << "," << int(c.rgb[2]);
    }
    // Unscaled chroma (blue 0) and chroma scaled by 2 and 4 (blue 8 and 24)
    // come back to within the rounding of the forward formulas.
    auto& rng = test::seededRng(14);
    for (int n = 0; n < test::scaledCount(20000); ++n) {
        uint8_t rgb[3], ycocg[3], back[3];
        test::fillRandom(rng, rgb, 3);
        zeqcodec::rgbToYCoCg(rgb, ycocg, 1);
        for (const int scale : {1, 2, 4}) {
            const int co = ycocg[1] - 128, cg = ycocg[2] - 128;
            if (scale > 1 && (std::abs(co) * scale > 127 || std::abs(cg) * scale > 127)) continue;
            const uint8_t rgba[4] = {uint8_t(co * scale + 128), uint8_t(cg * scale + 128),
                                     uint8_t((scale - 1) * 8), ycocg[0]};
            zeqcodec::ycocgDxt5ToRgb(rgba, back, 1);
            for (int c = 0; c < 3; ++c) ASSERT_LE(std::abs(back[c] - rgb[c]), 2) << n;
        }
    }
}

TEST(DdsCodec, TheYCoCgVariantIsMarkedInTheReservedHeaderWords) {
    const Image image = test::flatImage(4, 4, 1, 77);
    Bytes file;
    std::string error;
    ASSERT_TRUE(zeqcodec::encodeDds(image, DdsFormat::YCoCgDxt5, file, &error));
    EXPECT_EQ(std::string(file.begin() + 84, file.begin() + 88), "DXT5");
    EXPECT_EQ(std::string(file.begin() + 32, file.begin() + 40), "ZEQJYCG5");
    container::DdsImage parsed;
    ASSERT_TRUE(container::parseDds(file.data(), file.size(), parsed, &error));
    EXPECT_EQ(parsed.format, DdsFormat::YCoCgDxt5);
    file[36] = 0;  // without the variant tag it is plain DXT5
    ASSERT_TRUE(container::parseDds(file.data(), file.size(), parsed, &error));
    EXPECT_EQ(parsed.format, DdsFormat::Dxt5);
    Image back;
    ASSERT_TRUE(zeqcodec::decodeDds(file.data(), file.size(), back, &error));
}

TEST(DdsCodec, BadArgumentsGiveAnErrorExit) {
    test::TempFile in("dds_args.ppm"), out("dds_args.dds");
    test::writeImage(in.path(), test::flatImage(2, 2, 3, 9));
    const zeqcodec::Arguments encodeCases[] = {
        {},
        {in.path()},
        {in.path(), out.path(), "--format", "bc7"},
        {in.path(), out.path(), "--format"},
        {in.path(), out.path(), "--quality", "3"},
        {in.path() + ".missing", out.path()},
    };
    for (const auto& args : encodeCases) EXPECT_EQ(run(zeqcodec::runDdsEncode, args), 1);
    EXPECT_EQ(run(zeqcodec::runDdsDecode, {in.path()}), 1);
    EXPECT_EQ(run(zeqcodec::runDdsDecode, {in.path(), out.path()}), 1);  // a PPM, not a DDS
    EXPECT_EQ(run(zeqcodec::runDdsDecode, {in.path() + ".missing", out.path()}), 1);
}

}  // namespace
