// zeqcodec's JPEG encoder against libjpeg as the reader: the coefficients
// libjpeg reads are exactly those of a plain model of the encoder's
// conversion, padding and quantization; the pixels it decodes are close to
// the original; lossless files come back exact; bad options and inputs are
// refused with a message.
#include "zeqcodec/jpeg_encoder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "container/jpeg_standard_tables.h"
#include "container/netpbm.h"
#include "tests/common/test_support.h"
#include "tests/examples/zeqcodec/libjpeg_reader.h"
#include "zeqcodec/jpeg_decoder.h"
#include "zeqj.h"

namespace zeq::test {
namespace {

using container::Image;
using zeqcodec::JpegEncodeOptions;

// A photo-like test image: smooth gradients, a few hard edges, fine
// stripes and some noise, so every frequency band carries energy.
Image naturalImage(int32_t width, int32_t height, int32_t channels, uint32_t seed) {
    Image img;
    img.width = width;
    img.height = height;
    img.channels = channels;
    img.pixels.resize(size_t(width) * size_t(height) * size_t(channels));
    std::mt19937& rng = seededRng(seed);
    const double fx = uniform<int>(rng, 5, 40), fy = uniform<int>(rng, 5, 40);
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x)
            for (int32_t c = 0; c < channels; ++c) {
                double v = 128 + 70 * std::sin(x / fx + c) * std::cos(y / fy - c) +
                           40.0 * (x + 2 * y) / (width + 2 * height) - 20;
                if ((x / 23 + y / 17) % 5 == 0) v += 50;  // edges
                if (y % 11 < 2) v -= 30;                  // thin lines
                v += uniform<int>(rng, -6, 6);            // noise
                img.pixels[(size_t(y) * size_t(width) + size_t(x)) * size_t(channels) + size_t(c)] =
                    uint8_t(std::lround(std::fmin(255, std::fmax(0, v))));
            }
    return img;
}

Image noiseImage(int32_t width, int32_t height, int32_t channels, uint32_t seed) {
    Image img;
    img.width = width;
    img.height = height;
    img.channels = channels;
    img.pixels.resize(size_t(width) * size_t(height) * size_t(channels));
    fillRandom(seededRng(seed), img.pixels.data(), img.pixels.size());
    return img;
}

// libjpeg's own quality scaling of the example tables, natural order.
std::array<uint16_t, 64> libjpegQuantTable(int quality, int which) {
    jpeg_compress_struct info;
    jpeg_error_mgr err;
    info.err = jpeg_std_error(&err);
    jpeg_create_compress(&info);
    info.in_color_space = JCS_RGB;
    info.input_components = 3;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, quality, TRUE);
    std::array<uint16_t, 64> q{};
    for (int k = 0; k < 64; ++k) q[size_t(k)] = info.quant_tbl_ptrs[which]->quantval[k];
    jpeg_destroy_compress(&info);
    return q;
}

// The quantized blocks of one component as a plain model of the encoder
// computes them: colour conversion with rounding, pixels replicated to whole
// MCUs, chroma averaged over pixel pairs or quads with alternating biases
// (1 and 2 over quads, 0 and 1 over pairs), then the level shift and the
// library's forward DCT with the file's quantizers.
std::vector<int16_t> modelBlocks(const Image& img, int sampling, int component,
                                 const std::array<uint16_t, 64>& quantNatural) {
    const bool colour = img.channels == 3;
    const int hMax = colour && sampling != 444 ? 2 : 1;
    const int vMax = colour && sampling == 420 ? 2 : 1;
    const int sh = component == 0 ? 1 : hMax, sv = component == 0 ? 1 : vMax;
    const int compWidth = (img.width * (component == 0 ? hMax : 1) + hMax - 1) / hMax;
    const int compHeight = (img.height * (component == 0 ? vMax : 1) + vMax - 1) / vMax;
    const int bw = (compWidth + 7) / 8, bh = (compHeight + 7) / 8;
    auto converted = [&](int x, int y) -> int64_t {
        x = std::min(x, img.width - 1);
        y = std::min(y, img.height - 1);
        const uint8_t* p =
            &img.pixels[(size_t(y) * size_t(img.width) + size_t(x)) * size_t(img.channels)];
        if (!colour) return p[0];
        const int64_t r = p[0], g = p[1], b = p[2];
        if (component == 0) return (19595 * r + 38470 * g + 7471 * b + 32768) >> 16;
        if (component == 1) return (-11059 * r - 21709 * g + 32768 * b + 8421375) >> 16;
        return (32768 * r - 27439 * g - 5329 * b + 8421375) >> 16;
    };
    auto sample = [&](int x, int y) -> int16_t {
        int64_t sum = 0;
        for (int dy = 0; dy < sv; ++dy)
            for (int dx = 0; dx < sh; ++dx) sum += converted(x * sh + dx, y * sv + dy);
        const int n = sh * sv;
        const int64_t bias = n == 4 ? 1 + (x & 1) : n == 2 ? (x & 1) : 0;
        return int16_t(((sum + bias) >> (n == 4 ? 2 : n == 2 ? 1 : 0)) - 128);
    };
    uint8_t raw[64];
    for (int i = 0; i < 64; ++i)
        raw[container::kNaturalToZigzag[size_t(i)]] = uint8_t(quantNatural[size_t(i)]);
    uint16_t forward[64];
    EXPECT_EQ(zeqiQuantFwdTableInit_JPEG_8u16u(raw, forward), StatusOk);
    std::vector<int16_t> blocks;
    for (int by = 0; by < bh; ++by)
        for (int bx = 0; bx < bw; ++bx) {
            int16_t block[64];
            for (int r = 0; r < 8; ++r)
                for (int c = 0; c < 8; ++c) block[r * 8 + c] = sample(bx * 8 + c, by * 8 + r);
            EXPECT_EQ(zeqiDCTQuantFwd8x8_JPEG_16s_C1I(block, forward), StatusOk);
            blocks.insert(blocks.end(), block, block + 64);
        }
    return blocks;
}

std::vector<uint8_t> encode(const Image& img, const JpegEncodeOptions& options) {
    std::vector<uint8_t> file;
    std::string error;
    EXPECT_TRUE(zeqcodec::encodeJpeg(img, options, file, &error)) << error;
    return file;
}

// Checks every stored coefficient and quantizer against the model.
void expectModelCoefficients(const Image& img, const JpegEncodeOptions& o,
                             const std::vector<uint8_t>& file, const std::string& what) {
    const LibjpegCoefficients read = libjpegCoefficients(file);
    ASSERT_EQ(read.error, "") << what;
    ASSERT_EQ(read.components.size(), size_t(img.channels)) << what;
    EXPECT_EQ(read.progressive, o.progressive) << what;
    for (int c = 0; c < img.channels; ++c) {
        const LibjpegComponent& comp = read.components[size_t(c)];
        EXPECT_EQ(comp.quant, libjpegQuantTable(o.quality, c == 0 ? 0 : 1)) << what;
        const std::vector<int16_t> expected = modelBlocks(img, o.sampling, c, comp.quant);
        ASSERT_EQ(comp.blocks.size(), expected.size()) << what << " component " << c;
        size_t wrong = 0, first = 0;
        for (size_t i = 0; i < expected.size(); ++i)
            if (comp.blocks[i] != expected[i] && wrong++ == 0) first = i;
        EXPECT_EQ(wrong, 0u) << what << " component " << c << ", first difference in block "
                             << first / 64 << " at " << first % 64;
    }
}

struct CoefficientCase {
    const char* name;
    int32_t width, height, channels;
    JpegEncodeOptions options;
};

JpegEncodeOptions opts(int quality, int sampling, bool progressive = false, bool optimize = false,
                       int restart = 0, int threads = 1) {
    JpegEncodeOptions o;
    o.quality = quality;
    o.sampling = sampling;
    o.progressive = progressive;
    o.optimize = optimize;
    o.restartInterval = restart;
    o.threads = threads;
    return o;
}

TEST(JpegEncoder, LibjpegReadsExactlyTheModelCoefficients) {
    const CoefficientCase cases[] = {
        {"1x1 grey", 1, 1, 1, opts(75, 420)},
        {"1x1 colour 420", 1, 1, 3, opts(75, 420)},
        {"17x9 colour 420", 17, 9, 3, opts(90, 420)},
        {"17x9 colour 422", 17, 9, 3, opts(90, 422)},
        {"17x9 colour 444", 17, 9, 3, opts(90, 444)},
        {"17x9 grey", 17, 9, 1, opts(90, 420)},
        {"4095x3 colour 420", 4095, 3, 3, opts(90, 420)},
        {"4095x3 grey progressive", 4095, 3, 1, opts(90, 420, true)},
        {"quality 1", 67, 45, 3, opts(1, 420)},
        {"quality 50", 67, 45, 3, opts(50, 422)},
        {"quality 100", 67, 45, 3, opts(100, 444)},
        {"quality 100 grey", 67, 45, 1, opts(100, 444)},
        {"optimized", 99, 61, 3, opts(85, 420, false, true)},
        {"optimized grey", 99, 61, 1, opts(85, 420, false, true)},
        {"restart 1", 40, 40, 3, opts(75, 420, false, false, 1)},
        {"restart 7 optimized", 99, 61, 3, opts(75, 422, false, true, 7)},
        {"progressive 420", 99, 61, 3, opts(80, 420, true)},
        {"progressive 444 quality 100", 99, 61, 3, opts(100, 444, true)},
        {"progressive 422 restart 3", 99, 61, 3, opts(80, 422, true, false, 3)},
        {"progressive grey restart 5", 99, 61, 1, opts(80, 420, true, false, 5)},
        {"two threads", 130, 77, 3, opts(90, 420, false, false, 0, 2)},
        {"two threads restart 5", 130, 77, 3, opts(90, 420, false, false, 5, 2)},
        {"two threads optimized", 130, 77, 3, opts(90, 420, false, true, 0, 2)},
        {"three threads optimized restart 2", 130, 77, 1, opts(90, 444, false, true, 2, 3)},
        {"two threads progressive", 130, 77, 3, opts(90, 420, true, false, 0, 2)},
    };
    for (const CoefficientCase& c : cases) {
        const Image img = naturalImage(c.width, c.height, c.channels, 7);
        expectModelCoefficients(img, c.options, encode(img, c.options), c.name);
    }
    // Full-range noise drives every coefficient category.
    for (int sampling : {444, 420}) {
        const Image img = noiseImage(48, 32, 3, 3);
        JpegEncodeOptions o = opts(100, sampling, false, false);
        expectModelCoefficients(img, o, encode(img, o), "noise");
        o.progressive = true;
        expectModelCoefficients(img, o, encode(img, o), "noise progressive");
        o.progressive = false;
        o.optimize = true;
        expectModelCoefficients(img, o, encode(img, o), "noise optimized");
    }
}

TEST(JpegEncoder, RandomSizesAndOptionsGiveTheModelCoefficients) {
    std::mt19937& rng = seededRng(41);
    const int count = scaledCount(40);
    for (int i = 0; i < count; ++i) {
        const int32_t w = uniform<int32_t>(rng, 1, 90), h = uniform<int32_t>(rng, 1, 70);
        const int32_t channels = uniform<int>(rng, 0, 3) == 0 ? 1 : 3;
        JpegEncodeOptions o;
        o.quality = uniform<int32_t>(rng, 1, 100);
        o.sampling = std::array<int, 3>{444, 422, 420}[uniform<size_t>(rng, 0, 2)];
        o.progressive = uniform<int>(rng, 0, 2) == 0;
        o.optimize = uniform<int>(rng, 0, 1) == 0;
        o.restartInterval = uniform<int>(rng, 0, 1) ? 0 : uniform<int32_t>(rng, 1, 9);
        o.threads = uniform<int32_t>(rng, 1, 3);
        const Image img = uniform<int>(rng, 0, 3) == 0 ? noiseImage(w, h, channels, uint32_t(i))
                                                       : naturalImage(w, h, channels, uint32_t(i));
        expectModelCoefficients(img, o, encode(img, o), "case " + std::to_string(i));
    }
}

// Lowest PSNR (dB) of libjpeg's decode against the original, by quality, for
// the natural test image; 4:4:4 keeps the chroma detail the others lose.
struct QualityBound {
    int quality;
    int sampling;
    double minGrey, minColour;
};

TEST(JpegEncoder, LibjpegDecodesPixelsCloseToTheOriginal) {
    const QualityBound bounds[] = {
        {10, 420, 27.5, 24.5}, {50, 420, 33, 31}, {75, 422, 35.5, 33.5}, {90, 420, 38, 34.5},
        {90, 444, 38, 35.5},   {95, 444, 41, 36}, {100, 444, 57, 44.5}};
    for (int32_t channels : {1, 3})
        for (const QualityBound& b : bounds)
            for (bool progressive : {false, true}) {
                const Image img = naturalImage(203, 119, channels, 11);
                JpegEncodeOptions o = opts(b.quality, b.sampling, progressive, !progressive);
                Image decoded;
                std::string error;
                ASSERT_TRUE(libjpegPixels(encode(img, o), decoded, &error)) << error;
                ASSERT_EQ(decoded.width, img.width);
                ASSERT_EQ(decoded.height, img.height);
                ASSERT_EQ(decoded.channels, img.channels);
                EXPECT_GE(psnr(img, decoded), channels == 1 ? b.minGrey : b.minColour)
                    << "quality " << b.quality << " sampling " << b.sampling << " channels "
                    << channels << (progressive ? " progressive" : "");
            }
}

TEST(JpegEncoder, ThreadCountDoesNotChangeTheDecodedPixels) {
    const Image img = naturalImage(301, 207, 3, 5);
    for (bool optimize : {false, true}) {
        Image one, two;
        std::string error;
        ASSERT_TRUE(libjpegPixels(encode(img, opts(90, 420, false, optimize, 0, 1)), one, &error));
        ASSERT_TRUE(libjpegPixels(encode(img, opts(90, 420, false, optimize, 0, 2)), two, &error));
        EXPECT_EQ(one.pixels, two.pixels);
    }
}

// The libjpeg on this system has no lossless process (it refuses SOF3 as
// unsupported), so lossless files are read here: the frame, table and scan
// segments are walked by hand and the rows decoded and reconstructed with
// the library's decoding primitives.
bool decodeLossless(const std::vector<uint8_t>& file, Image& image, std::string* error) {
    std::vector<uint8_t> bits, values;
    int predictor = 0;
    size_t at = 2, data = 0;
    image = {};
    while (at + 4 <= file.size() && data == 0) {
        if (file[at] != 0xFF) return *error = "no marker", false;
        const uint8_t m = file[at + 1];
        const size_t length = size_t(file[at + 2]) << 8 | file[at + 3];
        const uint8_t* seg = file.data() + at + 4;
        if (m == 0xC3) {
            image.height = seg[1] << 8 | seg[2];
            image.width = seg[3] << 8 | seg[4];
            image.channels = seg[5];
        } else if (m == 0xC4) {
            if (seg[0] != 0x00) return *error = "unexpected table class or id", false;
            bits.assign(seg + 1, seg + 17);
            values.assign(seg + 17, seg + length - 2);
        } else if (m == 0xDA) {
            predictor = seg[1 + 2 * seg[0]];
            data = at + 2 + length;
        } else if (m == 0xC0 || m == 0xC2) {
            return *error = "not a lossless frame", false;
        }
        at += 2 + length;
    }
    if (data == 0 || image.channels < 1 || bits.empty()) return *error = "no scan", false;
    std::vector<uint8_t> specBytes(1644), stateBytes(24);
    auto* spec = reinterpret_cast<HuffmanDecodeSpec*>(specBytes.data());
    auto* state = reinterpret_cast<HuffmanDecodeState*>(stateBytes.data());
    if (zeqiDecodeHuffmanSpecInit_JPEG_8u(bits.data(), values.data(), spec) != StatusOk ||
        zeqiDecodeHuffmanStateInit_JPEG_8u(state) != StatusOk)
        return *error = "bad table", false;
    const HuffmanDecodeSpec* const tables[4] = {spec, spec, spec, spec};
    const size_t w = size_t(image.width), comps = size_t(image.channels);
    std::vector<int16_t> diffs(w * comps),
        rows[2] = {std::vector<int16_t>(w * comps), std::vector<int16_t>(w * comps)};
    image.pixels.resize(w * size_t(image.height) * comps);
    int32_t pos = 0, marker = 0;
    const int32_t length = int32_t(file.size() - data);
    for (int32_t y = 0; y < image.height; ++y) {
        int16_t* const planes[4] = {diffs.data(), diffs.data() + w * (comps > 1),
                                    diffs.data() + 2 * w * (comps > 2), nullptr};
        const ZeqStatus s = zeqiDecodeHuffmanRow_JPEG_1u16s_C1P4(
            file.data() + data, length, &pos, planes, image.width, image.channels, &marker, tables,
            state);
        if (s != StatusOk) return *error = "row decoding failed: " + std::to_string(s), false;
        int16_t* current = rows[y & 1].data();
        const int16_t* above = rows[(y + 1) & 1].data();
        for (size_t c = 0; c < comps; ++c) {
            const ZeqStatus r =
                y == 0
                    ? zeqiReconstructPredFirstRow_JPEG_16s_C1(diffs.data() + c * w, current + c * w,
                                                              image.width, 8, 0)
                    : zeqiReconstructPredRow_JPEG_16s_C1(diffs.data() + c * w, above + c * w,
                                                         current + c * w, image.width, predictor);
            if (r != StatusOk) return *error = "reconstruction failed", false;
            for (size_t x = 0; x < w; ++x)
                image.pixels[(size_t(y) * w + x) * comps + c] = uint8_t(current[c * w + x]);
        }
    }
    return true;
}

TEST(JpegEncoder, LosslessFilesDecodeToTheExactPixels) {
    for (int32_t channels : {1, 3})
        for (int predictor = 1; predictor <= 7; ++predictor)
            for (bool optimize : {false, true}) {
                const Image img = predictor == 4 ? noiseImage(37, 23, channels, 9)
                                                 : naturalImage(37, 23, channels, 9);
                JpegEncodeOptions o;
                o.lossless = true;
                o.predictor = predictor;
                o.optimize = optimize;
                const std::vector<uint8_t> file = encode(img, o);
                ASSERT_GE(file.size(), 4u);
                EXPECT_EQ(file[file.size() - 2], 0xFF);
                EXPECT_EQ(file[file.size() - 1], 0xD9);
                Image decoded;
                std::string error;
                ASSERT_TRUE(decodeLossless(file, decoded, &error)) << error;
                EXPECT_EQ(decoded.width, img.width);
                EXPECT_EQ(decoded.channels, img.channels);
                EXPECT_EQ(decoded.pixels, img.pixels) << "predictor " << predictor;
            }
    // A lone pixel and a one-pixel column.
    for (const auto& [w, h] : {std::pair{1, 1}, std::pair{1, 9}}) {
        const Image img = noiseImage(w, h, 3, 4);
        JpegEncodeOptions o;
        o.lossless = true;
        o.predictor = 7;
        Image decoded;
        std::string error;
        ASSERT_TRUE(decodeLossless(encode(img, o), decoded, &error)) << error;
        EXPECT_EQ(decoded.pixels, img.pixels);
    }
}

TEST(JpegEncoder, OwnDecoderGivesLibjpegsPixels) {
    std::vector<std::pair<std::string, JpegEncodeOptions>> cases = {
        {"baseline 420", opts(90, 420)},
        {"baseline 422", opts(75, 422)},
        {"baseline 444", opts(95, 444)},
        {"quality 10", opts(10, 420)},
        {"quality 100", opts(100, 444)},
        {"optimized", opts(90, 420, false, true)},
        {"progressive", opts(90, 420, true)},
        {"progressive 422", opts(50, 422, true)},
        {"restart 3", opts(90, 420, false, false, 3)},
        {"two threads", opts(90, 420, false, false, 0, 2)}};
    const std::pair<int32_t, int32_t> sizes[] = {{77, 45}, {1, 1}, {17, 9}, {4095, 3}};
    for (const auto& [width, height] : sizes)
        for (const auto& [caseName, o] : cases) {
            const Image img = naturalImage(width, height, 3, 2);
            const std::string name =
                caseName + " " + std::to_string(width) + "x" + std::to_string(height);
            const std::vector<uint8_t> file = encode(img, o);
            Image ours, theirs;
            std::string error;
            if (!zeqcodec::decodeJpeg(file.data(), file.size(), {}, ours, &error)) {
                FAIL() << name << ": " << error;
            }
            ASSERT_TRUE(libjpegPixels(file, theirs, &error)) << error;
            ASSERT_EQ(ours.pixels.size(), theirs.pixels.size()) << name;
            // The two decoders upsample and convert colour differently; both stay
            // within a few levels of each other.
            int worst = 0;
            double sum = 0;
            for (size_t i = 0; i < ours.pixels.size(); ++i) {
                const int d = std::abs(int(ours.pixels[i]) - int(theirs.pixels[i]));
                worst = std::max(worst, d);
                sum += d;
            }
            EXPECT_LE(worst, 3) << name;
            EXPECT_LT(sum / double(ours.pixels.size()), 0.5) << name;
        }
}

TEST(JpegEncoder, OwnDecoderReadsLosslessFilesExactly) {
    for (int32_t channels : {1, 3}) {
        const Image img = naturalImage(45, 17, channels, 8);
        JpegEncodeOptions o;
        o.lossless = true;
        o.predictor = 5;
        const std::vector<uint8_t> file = encode(img, o);
        Image ours;
        std::string error;
        if (!zeqcodec::decodeJpeg(file.data(), file.size(), {}, ours, &error)) {
            FAIL() << error;
        }
        EXPECT_EQ(ours.channels, channels);
        EXPECT_EQ(ours.pixels, img.pixels);
    }
}

TEST(JpegEncoder, LargeImagesReportProgressOnStderr) {
    Image img;
    img.width = 5000;
    img.height = 4001;  // just above 20 megapixels
    img.channels = 1;
    img.pixels.assign(size_t(img.width) * size_t(img.height), 100);
    JpegEncodeOptions o;
    o.progress = true;
    std::vector<uint8_t> file;
    std::string error;
    testing::internal::CaptureStderr();
    const bool ok = zeqcodec::encodeJpeg(img, o, file, &error);
    const std::string progress = testing::internal::GetCapturedStderr();
    ASSERT_TRUE(ok) << error;
    EXPECT_NE(progress.find("zeqcodec: encoding 100%\n"), std::string::npos) << progress;
    img.height = 4000;  // exactly 20 megapixels: quiet
    img.pixels.resize(size_t(img.width) * size_t(img.height));
    testing::internal::CaptureStderr();
    ASSERT_TRUE(zeqcodec::encodeJpeg(img, o, file, &error)) << error;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(JpegEncoder, BadOptionsAndImagesAreRefusedWithAReason) {
    const Image good = naturalImage(20, 10, 3, 1);
    struct Bad {
        const char* name;
        Image image;
        JpegEncodeOptions options;
    };
    auto with = [&](auto change) {
        JpegEncodeOptions o;
        change(o);
        return o;
    };
    Image twoChannels = good;
    twoChannels.channels = 2;
    Image empty = good;
    empty.width = 0;
    Image short_ = good;
    short_.pixels.pop_back();
    Image tooWide = good;
    tooWide.width = 65536;
    const Bad cases[] = {
        {"quality 0", good, with([](auto& o) { o.quality = 0; })},
        {"quality 101", good, with([](auto& o) { o.quality = 101; })},
        {"sampling 411", good, with([](auto& o) { o.sampling = 411; })},
        {"restart -1", good, with([](auto& o) { o.restartInterval = -1; })},
        {"restart 65536", good, with([](auto& o) { o.restartInterval = 65536; })},
        {"threads 0", good, with([](auto& o) { o.threads = 0; })},
        {"predictor 0", good, with([](auto& o) { o.lossless = true, o.predictor = 0; })},
        {"predictor 8", good, with([](auto& o) { o.lossless = true, o.predictor = 8; })},
        {"lossless progressive", good, with([](auto& o) { o.lossless = o.progressive = true; })},
        {"lossless restart", good, with([](auto& o) { o.lossless = true, o.restartInterval = 4; })},
        {"two channels", twoChannels, JpegEncodeOptions{}},
        {"width 0", empty, JpegEncodeOptions{}},
        {"short pixels", short_, JpegEncodeOptions{}},
        {"width 65536", tooWide, JpegEncodeOptions{}},
    };
    for (const Bad& c : cases) {
        std::vector<uint8_t> file = {1, 2, 3};
        std::string error;
        EXPECT_FALSE(zeqcodec::encodeJpeg(c.image, c.options, file, &error)) << c.name;
        EXPECT_FALSE(error.empty()) << c.name;
    }
}

}  // namespace
}  // namespace zeq::test
