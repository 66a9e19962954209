#include "zeqcodec/j2k_demo.h"

#include <openjpeg.h>

#include <algorithm>
#include <chrono>
#include <cmath>

#include "zeqcodec/j2k_codec.h"

namespace zeqcodec {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double DemoBitsPerPixel = 1.0;
constexpr double PsnrTolerance = 0.1;
constexpr double ExactPsnr = 99;

double psnr(const zeq::container::Image& a, const zeq::container::Image& b) {
    if (a.pixels.size() != b.pixels.size() || a.pixels.empty()) return 0;
    double sum = 0;
    for (size_t i = 0; i < a.pixels.size(); ++i) {
        const double d = static_cast<double>(a.pixels[i]) - b.pixels[i];
        sum += d * d;
    }
    if (sum == 0) return ExactPsnr;
    return 10 * std::log10(255.0 * 255.0 * static_cast<double>(a.pixels.size()) / sum);
}

void quiet(const char*, void*) {}

// libopenjp2 reads the codestream file.
bool openjpegDecodeFile(const std::string& path, zeq::container::Image& out) {
    opj_stream_t* stream = opj_stream_create_default_file_stream(path.c_str(), OPJ_TRUE);
    if (!stream) return false;
    opj_codec_t* codec = opj_create_decompress(OPJ_CODEC_J2K);
    opj_set_error_handler(codec, quiet, nullptr);
    opj_set_warning_handler(codec, quiet, nullptr);
    opj_dparameters_t params;
    opj_set_default_decoder_parameters(&params);
    opj_image_t* image = nullptr;
    bool ok = opj_setup_decoder(codec, &params) && opj_read_header(stream, codec, &image) &&
              opj_decode(codec, stream, image) && opj_end_decompress(codec, stream) &&
              (image->numcomps == 1 || image->numcomps == 3);
    if (ok) {
        const size_t channels = image->numcomps;
        out.width = static_cast<int32_t>(image->comps[0].w);
        out.height = static_cast<int32_t>(image->comps[0].h);
        out.channels = static_cast<int32_t>(channels);
        const size_t pixels = static_cast<size_t>(out.width) * static_cast<size_t>(out.height);
        out.pixels.assign(pixels * channels, 0);
        for (size_t c = 0; c < channels; ++c)
            for (size_t i = 0; i < pixels; ++i)
                out.pixels[i * channels + c] =
                    static_cast<uint8_t>(std::clamp(image->comps[c].data[i], 0, 255));
    }
    opj_image_destroy(image);
    opj_destroy_codec(codec);
    opj_stream_destroy(stream);
    return ok;
}

J2kDemoRow roundTrip(const zeq::container::Image& image, const std::string& name,
                     const J2kEncodeOptions& options, const std::string& path) {
    J2kDemoRow row;
    row.name = name;
    const double megapixels = image.width * static_cast<double>(image.height) / 1e6;
    std::vector<uint8_t> codestream;
    std::string error;
    const auto t0 = Clock::now();
    if (!encodeJ2k(image, options, codestream, &error)) {
        row.note = "encode: " + error;
        return row;
    }
    const auto t1 = Clock::now();
    zeq::container::Image ours, theirs;
    if (!decodeJ2k(codestream.data(), codestream.size(), ours, &error)) {
        row.note = "decode: " + error;
        return row;
    }
    const auto t2 = Clock::now();
    row.bytes = codestream.size();
    row.bitsPerPixel = 8.0 * static_cast<double>(codestream.size()) /
                       (image.width * static_cast<double>(image.height));
    row.encodeMPps = megapixels / std::max(1e-9, std::chrono::duration<double>(t1 - t0).count());
    row.decodeMPps = megapixels / std::max(1e-9, std::chrono::duration<double>(t2 - t1).count());
    row.psnr = psnr(image, ours);
    if (!zeq::container::writeFile(path, codestream, &error)) {
        row.note = error;
        return row;
    }
    if (!openjpegDecodeFile(path, theirs)) {
        row.note = "libopenjp2 refused the codestream";
        return row;
    }
    row.openjpegPsnr = psnr(image, theirs);
    if (options.lossless) {
        row.passed = row.psnr == ExactPsnr && row.openjpegPsnr == ExactPsnr;
        if (!row.passed) row.note = "lossless round trip is not exact";
    } else {
        row.passed = std::fabs(row.psnr - row.openjpegPsnr) <= PsnrTolerance;
        if (!row.passed) row.note = "zeqcodec and libopenjp2 decodes differ";
    }
    return row;
}

}  // namespace

bool runJ2kDemo(const zeq::container::Image& image, const std::string& workDirectory,
                std::vector<J2kDemoRow>& rows) {
    J2kEncodeOptions lossless;
    J2kEncodeOptions lossy;
    lossy.lossless = false;
    lossy.bitsPerPixel = DemoBitsPerPixel;
    rows.push_back(roundTrip(image, "j2k lossless", lossless, workDirectory + "/lossless.j2k"));
    rows.push_back(roundTrip(image, "j2k 1 bpp", lossy, workDirectory + "/1bpp.j2k"));
    return rows[rows.size() - 2].passed && rows.back().passed;
}

}  // namespace zeqcodec
