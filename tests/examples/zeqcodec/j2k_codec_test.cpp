#include "zeqcodec/j2k_codec.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "tests/common/test_support.h"
#include "tests/examples/zeqcodec/openjpeg_j2k.h"
#include "zeqcodec/j2k_commands.h"

namespace zeqcodec {
namespace {

using zeq::container::Image;
using zeq::test::j2k::openjpegDecode;
using zeq::test::j2k::openjpegEncode;
using zeq::test::j2k::psnr;
using zeq::test::j2k::syntheticImage;

struct Size {
    int32_t width, height;
};
const Size kOddSizes[] = {{1, 1}, {17, 9}, {65, 3}, {3, 65}, {70, 129}};

J2kEncodeOptions withFlags(int32_t flags, int32_t levels) {
    J2kEncodeOptions o;
    o.levels = levels;
    o.bypass = flags & 1;
    o.terminateAll = flags & 2;
    o.causal = flags & 4;
    o.segmentationSymbols = flags & 8;
    return o;
}

std::string describe(const Image& image, int32_t flags, int32_t levels) {
    return std::to_string(image.width) + "x" + std::to_string(image.height) + "x" +
           std::to_string(image.channels) + " flags " + std::to_string(flags) + " levels " +
           std::to_string(levels);
}

TEST(J2kCodec, LosslessOutputOfEveryFlagAndLevelDecodesExactlyHereAndInOpenJpeg) {
    for (const Size& size : kOddSizes) {
        for (int32_t channels : {1, 3}) {
            const Image image = syntheticImage(size.width, size.height, channels,
                                               static_cast<uint32_t>(size.width * 7 + channels));
            for (int32_t levels = 0; levels <= 5; ++levels) {
                for (int32_t flags = 0; flags < 16; ++flags) {
                    SCOPED_TRACE(describe(image, flags, levels));
                    std::vector<uint8_t> cs;
                    std::string error;
                    ASSERT_TRUE(encodeJ2k(image, withFlags(flags, levels), cs, &error)) << error;
                    Image ours, theirs;
                    ASSERT_TRUE(decodeJ2k(cs.data(), cs.size(), ours, &error)) << error;
                    EXPECT_EQ(ours.pixels, image.pixels);
                    ASSERT_TRUE(openjpegDecode(cs, theirs));
                    EXPECT_EQ(theirs.pixels, image.pixels);
                }
            }
        }
    }
}

// Full-swing images push the coefficients toward the largest the lossless
// path can hold: 16-bit planes up to five levels, 32-bit ones beyond.
TEST(J2kCodec, FullSwingImagesStayExactAtEveryLevelCount) {
    auto& rng = zeq::test::seededRng(11);
    for (int pattern = 0; pattern < 3; ++pattern) {
        Image image;
        image.width = 300;
        image.height = 280;
        image.channels = 3;
        image.pixels.resize(size_t{300} * 280 * 3);
        for (size_t i = 0; i < image.pixels.size(); ++i) {
            const size_t x = i / 3 % 300, y = i / 900, c = i % 3;
            const bool on = pattern == 0   ? zeq::test::uniform<int>(rng, 0, 1) == 1
                            : pattern == 1 ? ((x + y) & 1) != (c == 1)
                                           : ((x / 2 + y / 2) & 1) == (c != 2);
            image.pixels[i] = on ? 255 : 0;
        }
        for (int32_t levels : {1, 5, 6, 8}) {
            SCOPED_TRACE("pattern " + std::to_string(pattern) + " levels " +
                         std::to_string(levels));
            std::vector<uint8_t> cs;
            std::string error;
            ASSERT_TRUE(encodeJ2k(image, withFlags(0, levels), cs, &error)) << error;
            Image ours, theirs;
            ASSERT_TRUE(decodeJ2k(cs.data(), cs.size(), ours, &error)) << error;
            EXPECT_EQ(ours.pixels, image.pixels);
            ASSERT_TRUE(openjpegDecode(cs, theirs));
            EXPECT_EQ(theirs.pixels, image.pixels);
        }
    }
}

TEST(J2kCodec, LossyOutputDecodesToTheSamePsnrHereAndInOpenJpeg) {
    const Size sizes[] = {{1, 1}, {17, 9}, {65, 3}, {97, 131}, {256, 200}};
    for (const Size& size : sizes) {
        for (int32_t channels : {1, 3}) {
            const Image image = syntheticImage(size.width, size.height, channels, 5);
            for (int32_t levels = 0; levels <= 5; ++levels) {
                for (int32_t flags : {0, 1, 2, 4, 8, 15}) {
                    for (double rate : {0.5, 2.0}) {
                        SCOPED_TRACE(describe(image, flags, levels) + " rate " +
                                     std::to_string(rate));
                        J2kEncodeOptions o = withFlags(flags, levels);
                        o.lossless = false;
                        o.bitsPerPixel = rate;
                        std::vector<uint8_t> cs;
                        std::string error;
                        ASSERT_TRUE(encodeJ2k(image, o, cs, &error)) << error;
                        Image ours, theirs;
                        ASSERT_TRUE(decodeJ2k(cs.data(), cs.size(), ours, &error)) << error;
                        ASSERT_TRUE(openjpegDecode(cs, theirs));
                        const double a = psnr(image, ours), b = psnr(image, theirs);
                        EXPECT_NEAR(a, b, 0.1);
                    }
                }
            }
        }
    }
}

TEST(J2kCodec, RateControlFillsItsByteBudget) {
    const Image image = syntheticImage(320, 240, 3, 9);
    double lastPsnr = 0;
    for (double rate : {0.25, 0.5, 1.0, 2.0, 4.0}) {
        SCOPED_TRACE(rate);
        J2kEncodeOptions o;
        o.lossless = false;
        o.bitsPerPixel = rate;
        std::vector<uint8_t> cs;
        std::string error;
        ASSERT_TRUE(encodeJ2k(image, o, cs, &error)) << error;
        const double budget = rate * image.width * image.height / 8;
        EXPECT_LE(static_cast<double>(cs.size()), budget);
        EXPECT_GE(static_cast<double>(cs.size()), 0.97 * budget);
        Image ours;
        ASSERT_TRUE(decodeJ2k(cs.data(), cs.size(), ours, &error)) << error;
        const double quality = psnr(image, ours);
        EXPECT_GT(quality, lastPsnr);  // more bytes, better picture
        lastPsnr = quality;
    }
    EXPECT_GT(lastPsnr, 35.0);
}

TEST(J2kCodec, OpenJpegStreamsOfTheSameShapeDecodeHere) {
    for (int32_t channels : {1, 3}) {
        const Image image = syntheticImage(131, 77, channels, 3);
        for (int32_t levels : {0, 1, 3, 5}) {
            SCOPED_TRACE(describe(image, 0, levels));
            std::vector<uint8_t> cs;
            ASSERT_TRUE(openjpegEncode(image, true, 0, levels, cs));
            Image ours;
            std::string error;
            ASSERT_TRUE(decodeJ2k(cs.data(), cs.size(), ours, &error)) << error;
            EXPECT_EQ(ours.pixels, image.pixels);
            ASSERT_TRUE(openjpegEncode(image, false, 1.0, levels, cs));
            Image theirs;
            ASSERT_TRUE(decodeJ2k(cs.data(), cs.size(), ours, &error)) << error;
            ASSERT_TRUE(openjpegDecode(cs, theirs));
            EXPECT_NEAR(psnr(image, ours), psnr(image, theirs), 0.1);
        }
    }
}

TEST(J2kCodec, EncoderRefusesWhatItCannotWrite) {
    Image image = syntheticImage(8, 8, 3, 1);
    std::vector<uint8_t> cs;
    std::string error;
    J2kEncodeOptions o;
    o.levels = 9;
    EXPECT_FALSE(encodeJ2k(image, o, cs, &error));
    o.levels = 5;
    o.bitsPerPixel = 1;  // a budget with the lossless path
    EXPECT_FALSE(encodeJ2k(image, o, cs, &error));
    image.channels = 2;
    EXPECT_FALSE(encodeJ2k(image, J2kEncodeOptions{}, cs, &error));
    image.channels = 3;
    image.pixels.pop_back();
    EXPECT_FALSE(encodeJ2k(image, J2kEncodeOptions{}, cs, &error));
    EXPECT_TRUE(cs.empty());
}

// Every prefix and random damage of valid streams: decoding either fails
// with a reason or yields an image of the declared size, never a crash.
TEST(J2kCodec, TruncatedAndDamagedStreamsNeverCrashTheDecoder) {
    const Image image = syntheticImage(70, 45, 3, 2);
    std::vector<std::vector<uint8_t>> streams;
    for (int32_t flags : {0, 1, 2, 8, 15}) {
        std::vector<uint8_t> cs;
        std::string error;
        J2kEncodeOptions o = withFlags(flags, 3);
        ASSERT_TRUE(encodeJ2k(image, o, cs, &error));
        streams.push_back(cs);
        o.lossless = false;
        o.bitsPerPixel = 2;
        ASSERT_TRUE(encodeJ2k(image, o, cs, &error));
        streams.push_back(cs);
    }
    for (const auto& cs : streams) {
        for (size_t n = 0; n < cs.size(); n += 1 + n / 64) {
            Image out;
            std::string error;
            if (!decodeJ2k(cs.data(), n, out, &error)) {
                EXPECT_FALSE(error.empty());
            }
        }
    }
    std::mt19937& rng = zeq::test::seededRng(17);
    const int cases = zeq::test::scaledCount(3000);
    for (int i = 0; i < cases; ++i) {
        std::vector<uint8_t> cs = streams[static_cast<size_t>(i) % streams.size()];
        const int damage = zeq::test::uniform<int>(rng, 1, 8);
        for (int k = 0; k < damage; ++k) {
            // Headers are the interesting part: bias damage to the front.
            const size_t limit = k % 2 ? cs.size() : std::min<size_t>(cs.size(), 200);
            cs[zeq::test::uniform<size_t>(rng, 0, static_cast<int64_t>(limit) - 1)] =
                zeq::test::uniform<uint8_t>(rng, 0, 255);
        }
        Image out;
        std::string error;
        if (decodeJ2k(cs.data(), cs.size(), out, &error)) {
            EXPECT_EQ(out.pixels.size(),
                      static_cast<size_t>(out.width) * out.height * out.channels);
        } else {
            EXPECT_FALSE(error.empty());
        }
    }
}

std::string tempPath(const std::string& name) {
    return ::testing::TempDir() + "zeqcodec_j2k_" + name;
}

TEST(J2kCommands, EncodeAndDecodeThroughFilesWithEveryOption) {
    const Image image = syntheticImage(33, 21, 3, 4);
    const std::string in = tempPath("in.ppm"), cs = tempPath("out.j2k"), out = tempPath("out.ppm");
    std::string error;
    ASSERT_TRUE(zeq::container::writeNetpbm(in, image, &error)) << error;
    const std::vector<Arguments> encodes = {
        {in, cs},
        {in, cs, "--lossless", "--levels", "0"},
        {in, cs, "--bypass", "--terminate-all", "--causal", "--segmark", "--levels", "8"},
        {in, cs, "--rate", "2.5", "--levels", "3", "--bypass"},
    };
    for (const Arguments& args : encodes) {
        ASSERT_EQ(runJ2kEncode(args), 0);
        ASSERT_EQ(runJ2kDecode({cs, out}), 0);
        Image back;
        ASSERT_TRUE(zeq::container::readNetpbm(out, back, &error)) << error;
        if (args.size() > 2 && args[2] == "--rate")
            EXPECT_GT(psnr(image, back), 20.0);
        else
            EXPECT_EQ(back.pixels, image.pixels);
    }
    std::remove(in.c_str());
    std::remove(cs.c_str());
    std::remove(out.c_str());
}

TEST(J2kCommands, BadArgumentsAndCorruptFilesGiveAnErrorExit) {
    const Image image = syntheticImage(9, 9, 1, 4);
    const std::string in = tempPath("bad.pgm"), cs = tempPath("bad.j2k"),
                      out = tempPath("bad_out.ppm");
    std::string error;
    ASSERT_TRUE(zeq::container::writeNetpbm(in, image, &error)) << error;
    const std::vector<Arguments> bad = {
        {in},
        {in, cs, "--levels", "9"},
        {in, cs, "--rate", "0"},
        {in, cs, "--rate", "x"},
        {in, cs, "--rate", "1", "--lossless"},
        {in, cs, "--quality", "3"},
        {tempPath("missing.ppm"), cs},
    };
    for (const Arguments& args : bad) EXPECT_EQ(runJ2kEncode(args), 1);
    EXPECT_EQ(runJ2kDecode({tempPath("missing.j2k"), out}), 1);
    EXPECT_EQ(runJ2kDecode({in, out}), 1);  // not a codestream
    ASSERT_EQ(runJ2kEncode({in, cs}), 0);
    std::vector<uint8_t> bytes;
    ASSERT_TRUE(zeq::container::readFile(cs, bytes, &error));
    bytes.resize(bytes.size() / 2);
    ASSERT_TRUE(zeq::container::writeFile(cs, bytes, &error));
    EXPECT_EQ(runJ2kDecode({cs, out}), 1);
    std::remove(in.c_str());
    std::remove(cs.c_str());
    std::remove(out.c_str());
}

}  // namespace
}  // namespace zeqcodec
