#include "zeqcodec/jpeg_decoder.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/common/test_support.h"
#include "tests/examples/zeqcodec/libjpeg_peer.h"
#include "tests/examples/zeqcodec/lossless_file.h"

namespace zeq::test {
namespace {

using container::Image;
using zeqcodec::decodeJpeg;
using zeqcodec::JpegDecodeOptions;

struct FileCase {
    const char* name;
    int32_t width, height;
    LibjpegSettings settings;
};

LibjpegSettings colour(int32_t sampling, int32_t quality, bool progressive = false,
                       bool optimize = false, int32_t restart = 0) {
    return {3, sampling, quality, progressive, optimize, restart};
}
LibjpegSettings grey(int32_t quality, bool progressive = false, int32_t restart = 0) {
    return {1, 444, quality, progressive, false, restart};
}

const FileCase kFiles[] = {
    {"grey q75", 96, 80, grey(75)},
    {"grey q95 progressive", 70, 51, grey(95, true)},
    {"grey restart 5", 64, 48, grey(80, false, 5)},
    {"444 q90", 64, 40, colour(444, 90)},
    {"422 q90", 80, 48, colour(422, 90)},
    {"420 q90", 96, 64, colour(420, 90)},
    {"420 q50", 61, 43, colour(420, 50)},
    {"420 q100", 48, 32, colour(420, 100)},
    {"420 q10", 48, 32, colour(420, 10)},
    {"420 optimized", 77, 45, colour(420, 85, false, true)},
    {"420 restart 3", 80, 64, colour(420, 90, false, false, 3)},
    {"422 restart 1", 40, 24, colour(422, 75, false, false, 1)},
    {"420 progressive", 90, 66, colour(420, 90, true)},
    {"444 progressive", 41, 39, colour(444, 80, true)},
    {"422 progressive restart 2", 50, 34, colour(422, 92, true, false, 2)},
    {"420 scan per component", 45, 37, {3, 420, 85, false, false, 0, true}},
    {"422 scan per component restart 2", 45, 19, {3, 422, 85, false, false, 2, true}},
    {"1x1 grey", 1, 1, grey(90)},
    {"1x1 420", 1, 1, colour(420, 90)},
    {"17x9 420", 17, 9, colour(420, 90)},
    {"17x9 422 progressive", 17, 9, colour(422, 90, true)},
    {"4095x3 420", 4095, 3, colour(420, 90)},
    {"4095x3 grey", 4095, 3, grey(90)},
};

std::vector<uint8_t> libjpegFile(const FileCase& c, uint32_t seed) {
    std::vector<uint8_t> file;
    const Image source = syntheticImage(c.width, c.height, c.settings.channels, seed);
    EXPECT_TRUE(libjpegEncode(source, c.settings, file)) << c.name;
    return file;
}

struct Difference {
    int max = 0;
    double mean = 0;
};

Difference compare(const Image& a, const Image& b) {
    Difference d;
    EXPECT_EQ(a.width, b.width);
    EXPECT_EQ(a.height, b.height);
    EXPECT_EQ(a.channels, b.channels);
    if (a.pixels.size() != b.pixels.size() || a.pixels.empty()) return {255, 255};
    double total = 0;
    for (size_t i = 0; i < a.pixels.size(); ++i) {
        const int e = std::abs(int(a.pixels[i]) - int(b.pixels[i]));
        d.max = std::max(d.max, e);
        total += e;
    }
    d.mean = total / double(a.pixels.size());
    return d;
}

bool ours(const std::vector<uint8_t>& file, int32_t denominator, bool convert, Image& image,
          std::string* error, int32_t threads = 1) {
    JpegDecodeOptions options;
    options.scaleDenominator = denominator;
    options.convertColour = convert;
    options.threads = threads;
    return decodeJpeg(file.data(), file.size(), options, image, error);
}

TEST(JpegDecoder, LibjpegFilesDecodeWithinOneOfLibjpegPlanesAndThreeOfItsRgb) {
    uint32_t seed = 10;
    for (const FileCase& c : kFiles) {
        const std::vector<uint8_t> file = libjpegFile(c, seed++);
        Image theirsPlanes, theirsRgb, oursPlanes, oursRgb;
        std::string error;
        ASSERT_TRUE(libjpegDecode(file, 1, true, theirsPlanes)) << c.name;
        ASSERT_TRUE(libjpegDecode(file, 1, false, theirsRgb)) << c.name;
        ASSERT_TRUE(ours(file, 1, false, oursPlanes, &error)) << c.name << ": " << error;
        ASSERT_TRUE(ours(file, 1, true, oursRgb, &error)) << c.name << ": " << error;
        const Difference planes = compare(oursPlanes, theirsPlanes);
        EXPECT_LE(planes.max, 1) << c.name;
        const Difference rgb = compare(oursRgb, theirsRgb);
        EXPECT_LE(rgb.max, 3) << c.name;
        EXPECT_LT(rgb.mean, 0.5) << c.name;
    }
}

constexpr int kScaledMaxDifference = 2;
constexpr double kScaledMeanDifference = 0.25;

// libjpeg scales with reduced-size transforms of the low frequencies; ours
// averages the full transform over 2x2 or 4x4 groups. On photo-like content
// the planes differ by at most 1 (2 allowed), rarely.
TEST(JpegDecoder, ScaledDecodesHaveLibjpegSizesAndStayCloseToItsScaledDecode) {
    uint32_t seed = 50;
    for (const FileCase& c : kFiles) {
        const std::vector<uint8_t> file = libjpegFile(c, seed++);
        for (int32_t denominator : {2, 4}) {
            Image theirs, mine;
            std::string error;
            ASSERT_TRUE(libjpegDecode(file, denominator, true, theirs)) << c.name;
            ASSERT_TRUE(ours(file, denominator, false, mine, &error)) << c.name << ": " << error;
            const Difference d = compare(mine, theirs);
            EXPECT_LE(d.max, kScaledMaxDifference) << c.name << " 1/" << denominator;
            EXPECT_LT(d.mean, kScaledMeanDifference) << c.name << " 1/" << denominator;
        }
    }
}

TEST(JpegDecoder, TwoThreadDecodesEqualOneThreadDecodes) {
    uint32_t seed = 70;
    for (const FileCase& c : kFiles) {
        const std::vector<uint8_t> file = libjpegFile(c, seed++);
        for (int32_t denominator : {1, 2}) {
            Image one, two;
            std::string error;
            ASSERT_TRUE(ours(file, denominator, true, one, &error, 1)) << c.name << ": " << error;
            ASSERT_TRUE(ours(file, denominator, true, two, &error, 2)) << c.name << ": " << error;
            EXPECT_EQ(one.pixels, two.pixels) << c.name;
        }
    }
}

struct LosslessCase {
    const char* name;
    int32_t width, height, channels;
    LosslessSettings settings;
};

const LosslessCase kLossless[] = {
    {"grey predictor 1", 33, 17, 1, {1, 0, 0}},
    {"grey predictor 2", 33, 17, 1, {2, 0, 0}},
    {"grey predictor 3", 20, 9, 1, {3, 0, 0}},
    {"rgb predictor 4", 31, 12, 3, {4, 0, 0}},
    {"rgb predictor 5", 16, 16, 3, {5, 0, 0}},
    {"rgb predictor 6", 7, 30, 3, {6, 0, 0}},
    {"rgb predictor 7", 40, 11, 3, {7, 0, 0}},
    {"grey point transform 2", 25, 10, 1, {1, 2, 0}},
    {"rgb restart every 3 rows", 19, 14, 3, {4, 0, 3}},
    {"grey 1x1", 1, 1, 1, {1, 0, 0}},
};

TEST(JpegDecoder, LosslessFilesDecodeExactly) {
    uint32_t seed = 90;
    for (const LosslessCase& c : kLossless) {
        Image source = syntheticImage(c.width, c.height, c.channels, seed++);
        const std::vector<uint8_t> file = writeLosslessFile(source, c.settings);
        Image decoded;
        std::string error;
        ASSERT_TRUE(ours(file, 1, true, decoded, &error)) << c.name << ": " << error;
        for (uint8_t& p : source.pixels)
            p = static_cast<uint8_t>((p >> c.settings.pointTransform) << c.settings.pointTransform);
        EXPECT_EQ(decoded.width, c.width) << c.name;
        EXPECT_EQ(decoded.channels, c.channels) << c.name;
        EXPECT_EQ(decoded.pixels, source.pixels) << c.name;
    }
}

// Byte positions where a marker segment or a scan starts.
std::vector<size_t> segmentBoundaries(const std::vector<uint8_t>& file) {
    std::vector<size_t> cuts;
    for (size_t i = 0; i + 1 < file.size(); ++i)
        if (file[i] == 0xFF && file[i + 1] != 0x00 && file[i + 1] != 0xFF) {
            cuts.push_back(i);
            cuts.push_back(i + 1);
            cuts.push_back(std::min(file.size(), i + 4));
        }
    cuts.push_back(file.size() / 2);
    cuts.push_back(file.size() - 1);
    return cuts;
}

std::vector<std::vector<uint8_t>> corruptionSeeds() {
    std::vector<std::vector<uint8_t>> files;
    files.push_back(libjpegFile({"", 48, 40, colour(420, 90, false, false, 2)}, 1));
    files.push_back(libjpegFile({"", 40, 24, colour(422, 80, true)}, 2));
    files.push_back(libjpegFile({"", 33, 21, grey(70, true, 3)}, 3));
    files.push_back(libjpegFile({"", 24, 16, colour(444, 95)}, 4));
    files.push_back(writeLosslessFile(syntheticImage(21, 13, 3, 5), {4, 0, 4}));
    return files;
}

void expectCleanOutcome(const std::vector<uint8_t>& file, int32_t denominator, const char* what,
                        int32_t threads = 1) {
    Image image;
    std::string error;
    if (ours(file, denominator, true, image, &error, threads)) {
        EXPECT_EQ(image.pixels.size(), size_t(image.width) * image.height * image.channels) << what;
    } else {
        EXPECT_FALSE(error.empty()) << what;
    }
}

// A cut inside the headers is an error; later cuts may leave a decodable
// image (a progressive file without its last scans) or an error, never more.
TEST(JpegDecoder, TruncatedFilesGiveAnErrorOrAnImageAtEverySegmentBoundary) {
    for (const std::vector<uint8_t>& file : corruptionSeeds()) {
        size_t firstScan = 0;
        while (!(file[firstScan] == 0xFF && file[firstScan + 1] == 0xDA)) ++firstScan;
        for (size_t cut : segmentBoundaries(file)) {
            const std::vector<uint8_t> head(file.begin(), file.begin() + long(cut));
            expectCleanOutcome(head, 1, "truncated");
            expectCleanOutcome(head, 4, "truncated", 2);
            Image image;
            std::string error;
            if (cut <= firstScan + 4) {
                EXPECT_FALSE(ours(head, 1, true, image, &error)) << cut;
            }
        }
    }
}

TEST(JpegDecoder, FilesWithRandomByteFlipsGiveAnErrorOrAnImage) {
    std::mt19937& rng = seededRng(77);
    const auto seeds = corruptionSeeds();
    const int rounds = scaledCount(400);
    for (int i = 0; i < rounds; ++i) {
        std::vector<uint8_t> file = seeds[size_t(i) % seeds.size()];
        const int flips = uniform<int>(rng, 1, 4);
        for (int f = 0; f < flips; ++f) {
            const size_t at = uniform<size_t>(rng, 0, int64_t(file.size()) - 1);
            file[at] = static_cast<uint8_t>(uniform<int>(rng, 0, 255));
        }
        expectCleanOutcome(file, i % 3 == 0 ? 2 : 1, "flipped", 1 + i % 2);
    }
}

// A libjpeg 4:2:0 file with one header byte changed, and the word the
// refusal must contain.
struct Refusal {
    const char* name;
    uint8_t marker;  // segment to edit
    size_t offset;   // byte within the segment, after the length
    uint8_t value;
    const char* says;
};

const Refusal kRefusals[] = {
    {"4:1:1 luma", 0xC0, 7, 0x41, "sampling"},
    {"2x1 chroma", 0xC0, 10, 0x21, "sampling"},
    {"12-bit samples", 0xC0, 0, 12, "precision"},
    {"arithmetic coding", 0xC0, size_t(-2), 0xC9, "arithmetic"},
    {"hierarchical frame", 0xC0, size_t(-2), 0xC5, "hierarchical"},
    {"height from DNL", 0xC0, 2, 0, "DNL"},
    {"undefined quantization table", 0xC0, 8, 3, "quantization table"},
    {"scan of an unknown component", 0xDA, 1, 9, "component"},
    {"undefined Huffman table", 0xDA, 2, 0x33, "Huffman table"},
};

TEST(JpegDecoder, UnsupportedOrInconsistentHeadersAreRefusedWithAReason) {
    const std::vector<uint8_t> base = libjpegFile({"", 32, 32, colour(420, 90)}, 6);
    for (const Refusal& r : kRefusals) {
        std::vector<uint8_t> file = base;
        size_t at = 2;
        while (at + 4 < file.size() && file[at + 1] != r.marker)
            at += 2 + (size_t(file[at + 2]) << 8 | file[at + 3]);
        ASSERT_LT(at + 4, file.size()) << r.name;
        file[r.offset == size_t(-2) ? at + 1 : at + 4 + r.offset] = r.value;
        Image image;
        std::string error;
        EXPECT_FALSE(ours(file, 1, true, image, &error)) << r.name;
        EXPECT_NE(error.find(r.says), std::string::npos) << r.name << ": " << error;
    }
}

std::string temporaryPath(const char* name) {
    const char* dir = std::getenv("TMPDIR");
    return std::string(dir ? dir : "/tmp") + "/zeqcodec_jpegdec_" + std::to_string(::getpid()) +
           "_" + name;
}

TEST(JpegDecodeCommand, WritesThePpmOfTheDecodeAndRefusesBadArguments) {
    const FileCase c{"", 35, 21, colour(420, 90)};
    const std::vector<uint8_t> file = libjpegFile(c, 8);
    const std::string in = temporaryPath("in.jpg"), out = temporaryPath("out.ppm");
    std::string error;
    ASSERT_TRUE(container::writeFile(in, file, &error)) << error;
    EXPECT_EQ(zeqcodec::runJpegDecode({in, out, "--scale", "1/2"}), 0);
    Image written, expected;
    ASSERT_TRUE(container::readNetpbm(out, written, &error)) << error;
    ASSERT_TRUE(ours(file, 2, true, expected, &error)) << error;
    EXPECT_EQ(written.width, 18);
    EXPECT_EQ(written.pixels, expected.pixels);
    EXPECT_NE(zeqcodec::runJpegDecode({in, out, "--scale", "1/3"}), 0);
    EXPECT_NE(zeqcodec::runJpegDecode({in}), 0);
    EXPECT_NE(zeqcodec::runJpegDecode({in + ".missing", out}), 0);
    std::remove(in.c_str());
    std::remove(out.c_str());
}

}  // namespace
}  // namespace zeq::test
