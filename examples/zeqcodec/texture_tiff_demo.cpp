#include "zeqcodec/texture_tiff_demo.h"

#include <tiffio.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <random>

#include "container/dds.h"
#include "zeqcodec/tiff_codec.h"

namespace zeqcodec {
namespace {

using zeq::container::DdsFormat;
using zeq::container::DdsImage;
using zeq::container::Image;

constexpr const char* kPython = "/usr/bin/python3";
constexpr int kBc7Modes = 8;
constexpr double kMinTimedSeconds = 0.25;
constexpr int kMinTimedRuns = 3;

// Best time of one run of work, in seconds, over at least kMinTimedRuns runs
// and kMinTimedSeconds in total.
double bestSeconds(const std::function<bool()>& work) {
    using Clock = std::chrono::steady_clock;
    double best = std::numeric_limits<double>::infinity(), total = 0;
    for (int run = 0; run < kMinTimedRuns || total < kMinTimedSeconds; ++run) {
        const auto start = Clock::now();
        if (!work()) return std::numeric_limits<double>::quiet_NaN();
        const double s = std::chrono::duration<double>(Clock::now() - start).count();
        best = std::min(best, s);
        total += s;
    }
    return best;
}

double megapixelsPerSecond(int32_t width, int32_t height, double seconds) {
    return double(width) * double(height) / 1e6 / seconds;
}

// PSNR of b against a over bytes taken `stride` apart, first `channels` of each.
double psnr(const uint8_t* a, const uint8_t* b, size_t pixels, int aStride, int bStride,
            int channels) {
    double sum = 0;
    for (size_t i = 0; i < pixels; ++i)
        for (int c = 0; c < channels; ++c) {
            const double d = double(a[i * size_t(aStride) + size_t(c)]) -
                             double(b[i * size_t(bStride) + size_t(c)]);
            sum += d * d;
        }
    if (sum == 0) return std::numeric_limits<double>::infinity();
    const double mse = sum / (double(pixels) * channels);
    return 10 * std::log10(255.0 * 255.0 / mse);
}

TextureTiffDemoRow startRow(const char* name, const char* timed, int32_t width, int32_t height,
                            uint64_t rawBytes) {
    TextureTiffDemoRow row;
    row.name = name;
    row.timed = timed;
    row.width = width;
    row.height = height;
    row.rawBytes = rawBytes;
    return row;
}

// Paths go to the shell in single quotes.
bool shellSafe(const std::string& path) { return path.find('\'') == std::string::npos; }

}  // namespace

std::vector<uint8_t> randomValidBc7Blocks(size_t blockCount, uint32_t seed) {
    std::mt19937 rng(seed);
    std::vector<uint8_t> blocks(blockCount * 16);
    for (size_t b = 0; b < blockCount; ++b) {
        uint8_t* block = &blocks[b * 16];
        for (int i = 0; i < 16; ++i) block[i] = static_cast<uint8_t>(rng());
        // Mode m is m zero bits then a one, from the lowest bit of byte 0.
        const auto mode = static_cast<int>(rng() % kBc7Modes);
        const auto low = static_cast<uint8_t>((1u << (mode + 1)) - 1);
        block[0] = static_cast<uint8_t>((block[0] & ~low) | (1u << mode));
    }
    return blocks;
}

bool pillowAvailable() {
    const std::string command = std::string(kPython) + " -c 'import PIL.Image' >/dev/null 2>&1";
    return std::system(command.c_str()) == 0;
}

bool pillowDecodeRgba(const std::string& path, RgbaImage& rgba, std::string* error) {
    rgba = RgbaImage{};
    const std::string out = path + ".pillow.rgba";
    if (!shellSafe(path)) {
        if (error) *error = "path holds a quote: " + path;
        return false;
    }
    // Writes "width height\n" and the RGBA bytes.
    const std::string command = std::string(kPython) +
                                " -c 'import sys\nfrom PIL import Image\n"
                                "im = Image.open(sys.argv[1]).convert(\"RGBA\")\n"
                                "f = open(sys.argv[2], \"wb\")\n"
                                "f.write(b\"%d %d\\n\" % im.size)\nf.write(im.tobytes())' '" +
                                path + "' '" + out + "'";
    std::vector<uint8_t> bytes;
    const bool ran = std::system(command.c_str()) == 0;
    const bool read = ran && zeq::container::readFile(out, bytes, error);
    std::remove(out.c_str());
    if (!ran) {
        if (error) *error = "Pillow (" + std::string(kPython) + ") could not decode " + path;
        return false;
    }
    if (!read) return false;
    unsigned width = 0, height = 0;
    int used = 0;
    const std::string head(bytes.begin(), bytes.begin() + std::min<size_t>(bytes.size(), 32));
    if (std::sscanf(head.c_str(), "%u %u\n%n", &width, &height, &used) != 2 || used == 0 ||
        bytes.size() - size_t(used) != size_t(width) * height * 4) {
        if (error) *error = "unexpected output from Pillow for " + path;
        return false;
    }
    rgba.width = static_cast<int32_t>(width);
    rgba.height = static_cast<int32_t>(height);
    rgba.pixels.assign(bytes.begin() + used, bytes.end());
    return true;
}

TextureTiffDemoRow demoDxt1RoundTrip(const Image& image) {
    TextureTiffDemoRow row =
        startRow("DXT1 round trip", "encode", image.width, image.height, image.pixels.size());
    std::vector<uint8_t> file;
    Image back;
    std::string error;
    const double seconds =
        bestSeconds([&] { return encodeDds(image, DdsFormat::Dxt1, file, &error); });
    if (std::isnan(seconds) || !decodeDds(file.data(), file.size(), back, &error)) {
        row.detail = error;
        return row;
    }
    row.fileBytes = file.size();
    row.megapixelsPerSecond = megapixelsPerSecond(image.width, image.height, seconds);
    const size_t pixels = size_t(image.width) * size_t(image.height);
    row.psnr =
        psnr(image.pixels.data(), back.pixels.data(), pixels, image.channels, 3, image.channels);
    row.passed = back.width == image.width && back.height == image.height;
    row.detail = row.passed ? "decoded to the source size" : "decoded size differs";
    return row;
}

TextureTiffDemoRow demoBc7AgainstPillow(int32_t width, int32_t height, uint32_t seed,
                                        const std::string& workDir) {
    TextureTiffDemoRow row = startRow("BC7 DDS, zeqcodec vs Pillow", "decode", width, height,
                                      uint64_t(width) * uint64_t(height) * 4);
    row.psnr = std::numeric_limits<double>::quiet_NaN();
    DdsImage dds;
    dds.width = width;
    dds.height = height;
    dds.format = DdsFormat::Bc7;
    dds.blocks =
        randomValidBc7Blocks(size_t(zeq::container::ddsBlockStreamBytes(
                                        DdsFormat::Bc7, uint32_t(width), uint32_t(height)) /
                                    16),
                             seed);
    const std::vector<uint8_t> file = zeq::container::formatDds(dds);
    row.fileBytes = file.size();
    const std::string path = workDir + "/zeqcodec_demo_bc7.dds";
    std::string error;
    RgbaImage ours, theirs;
    const double seconds = bestSeconds([&] { return decodeDdsBlocks(dds, ours, &error); });
    if (std::isnan(seconds) || !zeq::container::writeFile(path, file, &error) ||
        !pillowDecodeRgba(path, theirs, &error)) {
        std::remove(path.c_str());
        row.detail = error;
        return row;
    }
    std::remove(path.c_str());
    row.megapixelsPerSecond = megapixelsPerSecond(width, height, seconds);
    row.passed = theirs.width == width && theirs.height == height && theirs.pixels == ours.pixels;
    row.detail =
        row.passed ? "Pillow decodes every RGBA byte identically" : "Pillow and zeqcodec disagree";
    return row;
}

TextureTiffDemoRow demoTiffLibtiffReadback(const Image& image, const std::string& workDir) {
    TextureTiffDemoRow row = startRow("PackBits TIFF read by libtiff", "encode", image.width,
                                      image.height, image.pixels.size());
    std::vector<uint8_t> file;
    std::string error;
    const double seconds = bestSeconds([&] { return encodeTiffPackBits(image, file, &error); });
    const std::string path = workDir + "/zeqcodec_demo_packbits.tif";
    if (std::isnan(seconds) || !zeq::container::writeFile(path, file, &error)) {
        row.detail = error;
        return row;
    }
    row.fileBytes = file.size();
    row.megapixelsPerSecond = megapixelsPerSecond(image.width, image.height, seconds);
    TIFF* tif = TIFFOpen(path.c_str(), "r");
    const size_t rowBytes = size_t(image.width) * size_t(image.channels);
    bool same = tif && TIFFScanlineSize(tif) == tmsize_t(rowBytes);
    std::vector<uint8_t> line(rowBytes), all;
    for (int32_t y = 0; same && y < image.height; ++y) {
        same = TIFFReadScanline(tif, line.data(), uint32_t(y), 0) == 1;
        all.insert(all.end(), line.begin(), line.end());
    }
    if (tif) TIFFClose(tif);
    std::remove(path.c_str());
    row.passed = same && all == image.pixels;
    row.psnr = row.passed ? std::numeric_limits<double>::infinity()
                          : std::numeric_limits<double>::quiet_NaN();
    row.detail = row.passed ? "libtiff reads every sample exactly"
                            : "libtiff failed or read different samples";
    return row;
}

}  // namespace zeqcodec
