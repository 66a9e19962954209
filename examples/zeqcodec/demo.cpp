// The zeqcodec demo: encodes a built-in 1920x1080 picture as baseline 4:2:0
// quality 90, progressive and optimized JPEG with zeqcodec and with
// libjpeg-turbo, decodes every file with both decoders, and prints sizes,
// PSNR against the original and speeds. Then JPEG 2000 (lossless and 1 bpp,
// checked by libopenjp2), DXT1 and BC7 textures (BC7 checked by Pillow) and
// a PackBits TIFF (read back by libtiff). Exits non-zero when a peer cannot
// read one of zeqcodec's files, when the two JPEG decoders' PSNR of the same
// file differ by more than 0.1 dB, or when a peer check fails.
#include <turbojpeg.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "zeqcodec/j2k_demo.h"
#include "zeqcodec/jpeg_decoder.h"
#include "zeqcodec/jpeg_encoder.h"
#include "zeqcodec/synthetic_image.h"
#include "zeqcodec/texture_tiff_demo.h"
#include "zeqcore.h"
#include "zeqj.h"

namespace {

using zeq::container::Image;

constexpr int32_t Width = 1920, Height = 1080, Quality = 90;
constexpr int Runs = 5;                    // the fastest of these is reported
constexpr double MaxPsnrDifference = 0.1;  // dB, between the two decoders

double psnr(const Image& a, const Image& b) {
    double sum = 0;
    for (size_t i = 0; i < a.pixels.size(); ++i) {
        const double d = double(a.pixels[i]) - double(b.pixels[i]);
        sum += d * d;
    }
    return sum == 0 ? 99.99 : 10 * std::log10(255.0 * 255.0 * double(a.pixels.size()) / sum);
}

// Megapixels per second of the fastest of Runs calls; -1 when a call fails.
double rate(const std::function<bool()>& run) {
    double best = 1e30;
    for (int i = 0; i < Runs; ++i) {
        const auto start = std::chrono::steady_clock::now();
        if (!run()) return -1;
        best = std::min(
            best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return double(Width) * Height / 1e6 / best;
}

struct Variant {
    const char* name;
    bool progressive, optimize;
};

bool turboEncode(tjhandle handle, const Image& img, const Variant& v, std::vector<uint8_t>& out) {
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    if (v.optimize) setenv("TJ_OPTIMIZE", "1", 1);  // TurboJPEG reads it at every call
    const int status =
        tjCompress2(handle, img.pixels.data(), img.width, 0, img.height, TJPF_RGB, &buffer, &size,
                    TJSAMP_420, Quality, v.progressive ? TJFLAG_PROGRESSIVE : 0);
    unsetenv("TJ_OPTIMIZE");
    if (status == 0) out.assign(buffer, buffer + size);
    tjFree(buffer);
    return status == 0;
}

bool turboDecode(tjhandle handle, const std::vector<uint8_t>& file, Image& img) {
    int width = 0, height = 0, sampling = 0, colours = 0;
    if (tjDecompressHeader3(handle, file.data(), file.size(), &width, &height, &sampling,
                            &colours) != 0)
        return false;
    img.width = width;
    img.height = height;
    img.channels = 3;
    img.pixels.resize(size_t(width) * size_t(height) * 3);
    return tjDecompress2(handle, file.data(), file.size(), img.pixels.data(), width, 0, height,
                         TJPF_RGB, 0) == 0;
}

std::string cell(double v, const char* format) {
    if (v < 0) return "n/a";
    char text[32];
    std::snprintf(text, sizeof text, format, v);
    return text;
}

// The files of the peer checks go through a scratch directory, as a user's
// would; it is removed afterwards.
int otherFormats(const Image& original) {
    char pattern[] = "/tmp/zeqcodec-demo-XXXXXX";
    const char* dir = mkdtemp(pattern);
    if (!dir) {
        std::printf("cannot create a scratch directory\n");
        return 1;
    }
    int failures = 0;
    std::printf("\n%-16s %10s %9s %11s %11s %9s %9s  %s\n", "JPEG 2000", "bytes", "bits/px",
                "PSNR zeq dB", "PSNR oj dB", "enc MP/s", "dec MP/s", "check");
    std::vector<zeqcodec::J2kDemoRow> j2k;
    zeqcodec::runJ2kDemo(original, dir, j2k);
    for (const auto& r : j2k) {
        std::printf("%-16s %10zu %9.3f %11s %11s %9.1f %9.1f  %s\n", r.name.c_str(), r.bytes,
                    r.bitsPerPixel, cell(r.psnr, "%.2f").c_str(),
                    cell(r.openjpegPsnr, "%.2f").c_str(), r.encodeMPps, r.decodeMPps,
                    r.passed ? "libopenjp2 agrees" : r.note.c_str());
        failures += !r.passed;
    }
    std::printf("(PSNR 99 means exact.)\n");

    std::printf("\n%-30s %10s %10s %9s %12s  %s\n", "texture / TIFF", "raw bytes", "file bytes",
                "PSNR dB", "MP/s", "check");
    const zeqcodec::TextureTiffDemoRow rows[] = {
        zeqcodec::demoDxt1RoundTrip(original),
        zeqcodec::demoBc7AgainstPillow(512, 512, 2026, dir),
        zeqcodec::demoTiffLibtiffReadback(original, dir),
    };
    for (const auto& r : rows) {
        const std::string psnrText = std::isinf(r.psnr)   ? "exact"
                                     : std::isnan(r.psnr) ? "-"
                                                          : cell(r.psnr, "%.2f");
        std::printf("%-30s %10llu %10llu %9s %7.1f %-6s  %s\n", r.name.c_str(),
                    static_cast<unsigned long long>(r.rawBytes),
                    static_cast<unsigned long long>(r.fileBytes), psnrText.c_str(),
                    r.megapixelsPerSecond, r.timed.c_str(), r.detail.c_str());
        failures += !r.passed;
    }
    std::string cleanup = std::string("rm -rf '") + dir + "'";
    if (std::system(cleanup.c_str()) != 0) std::printf("could not remove %s\n", dir);
    return failures;
}

}  // namespace

int main() {
    // Every peer runs on one thread, so zeqcodec does too.
    zeqSetNumThreads(1);
    const LibraryVersion* version = zeqjGetLibVersion();
    std::printf(
        "zeqcodec demo on libzeqj %s: built-in %dx%d picture (gradients, edges, text, "
        "noise), quality %d, 4:2:0, one thread\n\n",
        version->versionText, Width, Height, Quality);
    const Image original = zeqcodec::syntheticImage(Width, Height, 3);
    tjhandle compressor = tjInitCompress(), decompressor = tjInitDecompress();
    const Variant variants[] = {
        {"baseline", false, false}, {"progressive", true, false}, {"optimized", false, true}};
    int failures = 0;
    std::printf("%-12s %-14s %10s %11s %11s %9s %15s\n", "variant", "encoder", "bytes",
                "PSNR zeq dB", "PSNR lj dB", "enc MP/s", "dec MP/s");
    for (const Variant& v : variants) {
        zeqcodec::JpegEncodeOptions o;
        o.quality = Quality;
        o.sampling = 420;
        o.progressive = v.progressive;
        o.optimize = v.optimize;
        for (bool ours : {true, false}) {
            std::vector<uint8_t> file;
            std::string error;
            const double encodeRate =
                ours ? rate([&] { return zeqcodec::encodeJpeg(original, o, file, &error); })
                     : rate([&] { return turboEncode(compressor, original, v, file); });
            if (encodeRate < 0) {
                std::printf("%-12s %-14s encoding failed: %s\n", v.name,
                            ours ? "zeqcodec" : "libjpeg-turbo",
                            ours ? error.c_str() : tjGetErrorStr2(compressor));
                ++failures;
                continue;
            }
            Image byTurbo, byZeq;
            const double turboRate = rate([&] { return turboDecode(decompressor, file, byTurbo); });
            if (turboRate < 0) {
                std::printf("%-12s %-14s libjpeg cannot decode the file: %s\n", v.name,
                            ours ? "zeqcodec" : "libjpeg-turbo", tjGetErrorStr2(decompressor));
                ++failures;
                continue;
            }
            const double zeqRate = rate(
                [&] { return zeqcodec::decodeJpeg(file.data(), file.size(), {}, byZeq, &error); });
            if (zeqRate < 0) {
                std::printf("%-12s %-14s zeqcodec cannot decode the file: %s\n", v.name,
                            ours ? "zeqcodec" : "libjpeg-turbo", error.c_str());
                ++failures;
            }
            const double psnrTurbo = psnr(original, byTurbo);
            const double psnrZeq = zeqRate < 0 ? -1 : psnr(original, byZeq);
            std::printf("%-12s %-14s %10zu %11s %11.2f %9.1f %15s\n", v.name,
                        ours ? "zeqcodec" : "libjpeg-turbo", file.size(),
                        cell(psnrZeq, "%.2f").c_str(), psnrTurbo, encodeRate,
                        (cell(zeqRate, "%.1f") + " / " + cell(turboRate, "%.1f")).c_str());
            if (psnrZeq >= 0 && std::fabs(psnrZeq - psnrTurbo) > MaxPsnrDifference) {
                std::printf("  the decoders' PSNR differ by %.3f dB (more than %.1f)\n",
                            std::fabs(psnrZeq - psnrTurbo), MaxPsnrDifference);
                ++failures;
            }
        }
    }
    std::printf("\ndec MP/s is zeqcodec / libjpeg-turbo on the same file.\n");
    tjDestroy(compressor);
    tjDestroy(decompressor);
    failures += otherFormats(original);
    if (failures) std::printf("%d check(s) failed\n", failures);
    return failures ? 1 : 0;
}
