// dds-decode and tiff-unpack on damaged files: every truncation and many
// random byte changes of valid files either decode (to an image of the size
// the file claims) or fail with a message, and the commands exit with 1;
// the sanitizer build runs the same cases to show nothing reads or writes
// out of bounds.
#include <gtest/gtest.h>
#include <tiffio.h>

#include <functional>
#include <string>
#include <vector>

#include "container/dds.h"
#include "container/tiff.h"
#include "tests/common/test_support.h"
#include "tests/examples/zeqcodec/texture_tiff_test_files.h"
#include "zeqcodec/dds_codec.h"
#include "zeqcodec/texture_tiff_demo.h"
#include "zeqcodec/tiff_codec.h"

namespace {

using namespace zeq;
using container::DdsFormat;
using container::Image;
using Bytes = std::vector<uint8_t>;
using DecodeFn = bool (*)(const uint8_t*, size_t, Image&, std::string*);
using CommandFn = int (*)(const zeqcodec::Arguments&);

struct Sample {
    std::string name;
    Bytes file;
    DecodeFn decode;
    CommandFn command;
};

Bytes ddsSample(DdsFormat format, int32_t width, int32_t height) {
    auto& rng = test::seededRng(51);
    Bytes file;
    std::string error;
    if (format == DdsFormat::Bc7) {
        container::DdsImage image;
        image.width = width;
        image.height = height;
        image.format = format;
        image.blocks = zeqcodec::randomValidBc7Blocks(
            size_t(container::ddsBlockStreamBytes(format, uint32_t(width), uint32_t(height)) / 16),
            52);
        return container::formatDds(image);
    }
    EXPECT_TRUE(
        zeqcodec::encodeDds(test::makeImage(rng, width, height, 3, 30), format, file, &error));
    return file;
}

Bytes tiffSample(int32_t width, int32_t height, int32_t channels) {
    auto& rng = test::seededRng(53);
    Bytes file;
    std::string error;
    EXPECT_TRUE(zeqcodec::encodeTiffPackBits(test::makeRunImage(rng, width, height, channels), file,
                                             &error));
    return file;
}

// A big-endian libtiff file with strips of two rows, to walk another writer's layout.
Bytes libtiffSample() {
    test::TempFile path("corrupt_libtiff.tif");
    TIFF* tif = TIFFOpen(path.path().c_str(), "wb");
    EXPECT_NE(tif, nullptr);
    if (!tif) return {};
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, 19u);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, 7u);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_PACKBITS);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, 2u);
    auto& rng = test::seededRng(54);
    const Image image = test::makeRunImage(rng, 19, 7, 3);
    for (uint32_t y = 0; y < 7; ++y)
        TIFFWriteScanline(tif, const_cast<uint8_t*>(&image.pixels[y * 57]), y, 0);
    TIFFClose(tif);
    return test::readBytes(path.path());
}

std::vector<Sample> samples() {
    return {
        {"DXT1", ddsSample(DdsFormat::Dxt1, 5, 5), zeqcodec::decodeDds, zeqcodec::runDdsDecode},
        {"DXT3", ddsSample(DdsFormat::Dxt3, 9, 4), zeqcodec::decodeDds, zeqcodec::runDdsDecode},
        {"DXT5", ddsSample(DdsFormat::Dxt5, 4, 6), zeqcodec::decodeDds, zeqcodec::runDdsDecode},
        {"YCoCg", ddsSample(DdsFormat::YCoCgDxt5, 7, 3), zeqcodec::decodeDds,
         zeqcodec::runDdsDecode},
        {"BC7", ddsSample(DdsFormat::Bc7, 8, 5), zeqcodec::decodeDds, zeqcodec::runDdsDecode},
        {"TIFF grey", tiffSample(37, 9, 1), zeqcodec::decodeTiffPackBits, zeqcodec::runTiffUnpack},
        {"TIFF RGB strips", tiffSample(1500, 5, 3), zeqcodec::decodeTiffPackBits,
         zeqcodec::runTiffUnpack},
        {"TIFF big-endian from libtiff", libtiffSample(), zeqcodec::decodeTiffPackBits,
         zeqcodec::runTiffUnpack},
    };
}

// Decodes, and checks the outcome is one of the two allowed ones.
bool decodeChecked(const Sample& s, const Bytes& bytes, Image& image) {
    std::string error;
    const bool ok = s.decode(bytes.data(), bytes.size(), image, &error);
    if (ok) {
        EXPECT_EQ(image.pixels.size(),
                  size_t(image.width) * size_t(image.height) * size_t(image.channels));
    } else {
        EXPECT_FALSE(error.empty());
        EXPECT_TRUE(image.pixels.empty());
    }
    return ok;
}

TEST(CorruptInput, EveryTruncationIsRefusedOrDecodesTheSameImage) {
    for (const auto& s : samples()) {
        SCOPED_TRACE(s.name);
        ASSERT_FALSE(s.file.empty());
        Image whole;
        ASSERT_TRUE(decodeChecked(s, s.file, whole));
        for (size_t length = 0; length < s.file.size(); ++length) {
            Image image;
            // Only a cut in bytes no reader needs (the TIFF next-directory
            // offset) may still decode, and then to the same image.
            if (decodeChecked(s, Bytes(s.file.begin(), s.file.begin() + long(length)), image)) {
                EXPECT_TRUE(image.pixels == whole.pixels) << length;
            }
        }
    }
}

TEST(CorruptInput, RandomByteChangesNeverCrashTheDecoders) {
    auto& rng = test::seededRng(55);
    for (const auto& s : samples()) {
        SCOPED_TRACE(s.name);
        int refused = 0;
        const int count = test::scaledCount(3000);
        for (int n = 0; n < count; ++n) {
            Bytes bytes = s.file;
            const int changes = test::uniform<int>(rng, 1, 4);
            for (int c = 0; c < changes; ++c) {
                // Half the changes hit the headers at either end of the file.
                const size_t limit = std::min<size_t>(bytes.size(), 160);
                size_t at = test::uniform<size_t>(rng, 0, bytes.size() - 1);
                if (test::uniform<int>(rng, 0, 1))
                    at = test::uniform<int>(rng, 0, 1)
                             ? test::uniform<size_t>(rng, 0, limit - 1)
                             : bytes.size() - 1 - test::uniform<size_t>(rng, 0, limit - 1);
                const uint8_t kValues[] = {0x00, 0xFF, 0x80, 0x7F, 0x01};
                bytes[at] =
                    test::uniform<int>(rng, 0, 1)
                        ? kValues[test::uniform<int>(rng, 0, 4)]
                        : static_cast<uint8_t>(bytes[at] ^ (1u << test::uniform<int>(rng, 0, 7)));
            }
            Image image;
            refused += !decodeChecked(s, bytes, image);
        }
        EXPECT_GT(refused, 0);
    }
}

TEST(CorruptInput, RandomBytesBehindAValidSignatureAreRefused) {
    auto& rng = test::seededRng(56);
    const struct {
        Bytes prefix;
        DecodeFn decode;
    } kinds[] = {{{'D', 'D', 'S', ' ', 124, 0, 0, 0}, zeqcodec::decodeDds},
                 {{'I', 'I', 42, 0}, zeqcodec::decodeTiffPackBits},
                 {{'M', 'M', 0, 42}, zeqcodec::decodeTiffPackBits}};
    for (const auto& k : kinds) {
        for (int n = 0; n < test::scaledCount(2000); ++n) {
            Bytes bytes = k.prefix;
            const auto extra = test::uniform<size_t>(rng, 0, 400);
            for (size_t i = 0; i < extra; ++i) bytes.push_back(test::uniform<uint8_t>(rng, 0, 255));
            Image image;
            std::string error;
            if (!k.decode(bytes.data(), bytes.size(), image, &error)) {
                EXPECT_FALSE(error.empty());
            }
        }
    }
}

TEST(CorruptInput, CommandsExitWithOneOnDamagedFiles) {
    test::TempFile in("damaged.bin"), out("damaged.ppm");
    for (const auto& s : samples()) {
        SCOPED_TRACE(s.name);
        for (const size_t keep : {size_t{0}, size_t{3}, s.file.size() / 2, s.file.size() - 5}) {
            test::writeBytes(in.path(), Bytes(s.file.begin(), s.file.begin() + long(keep)));
            EXPECT_EQ(s.command({in.path(), out.path()}), 1) << keep;
        }
    }
}

}  // namespace
