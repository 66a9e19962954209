// libopenjp2 as the peer of zeqcodec's JPEG 2000 codec: decodes codestreams
// into Netpbm-shaped images and encodes images with the same structure
// (levels, 64x64 code blocks, one layer, LRCP), for the tests and the
// benchmark.
#ifndef ZEQ_TESTS_EXAMPLES_ZEQCODEC_OPENJPEG_J2K_H
#define ZEQ_TESTS_EXAMPLES_ZEQCODEC_OPENJPEG_J2K_H

#include <openjpeg.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "container/netpbm.h"
#include "tests/jpeg2000/tier1/openjpeg_oracle.h"

namespace zeq::test::j2k {

using t1::LinkedStreamApi;
using t1::quiet;

// Decodes an 8-bit grey or three-component codestream; false if libopenjp2
// refuses it.
inline bool openjpegDecode(const std::vector<uint8_t>& codestream, container::Image& out) {
    opj_image_t* image = t1::openjpegDecodeImage(codestream);
    if (!image) return false;
    const bool ok = image->numcomps == 1 || image->numcomps == 3;
    if (ok) {
        const int channels = static_cast<int>(image->numcomps);
        out.width = static_cast<int32_t>(image->comps[0].w);
        out.height = static_cast<int32_t>(image->comps[0].h);
        out.channels = channels;
        const size_t pixels = static_cast<size_t>(out.width) * static_cast<size_t>(out.height);
        out.pixels.assign(pixels * static_cast<size_t>(channels), 0);
        for (int c = 0; c < channels; ++c)
            for (size_t i = 0; i < pixels; ++i)
                out.pixels[i * static_cast<size_t>(channels) + static_cast<size_t>(c)] =
                    static_cast<uint8_t>(std::clamp(image->comps[c].data[i], 0, 255));
    }
    opj_image_destroy(image);
    return ok;
}

// Encodes with libopenjp2: lossless (5/3, RCT) or 9/7 + ICT at a byte
// budget of bitsPerPixel; 64x64 code blocks, one layer, LRCP.
inline bool openjpegEncode(const container::Image& in, bool lossless, double bitsPerPixel,
                           int levels, std::vector<uint8_t>& out) {
    std::vector<opj_image_cmptparm_t> comps(static_cast<size_t>(in.channels));
    for (auto& c : comps) {
        c = opj_image_cmptparm_t{};
        c.dx = c.dy = 1;
        c.w = static_cast<OPJ_UINT32>(in.width);
        c.h = static_cast<OPJ_UINT32>(in.height);
        c.prec = 8;
        c.sgnd = 0;
    }
    opj_image_t* image = opj_image_create(static_cast<OPJ_UINT32>(in.channels), comps.data(),
                                          in.channels == 3 ? OPJ_CLRSPC_SRGB : OPJ_CLRSPC_GRAY);
    image->x1 = static_cast<OPJ_UINT32>(in.width);
    image->y1 = static_cast<OPJ_UINT32>(in.height);
    const size_t pixels = static_cast<size_t>(in.width) * static_cast<size_t>(in.height);
    for (int c = 0; c < in.channels; ++c)
        for (size_t i = 0; i < pixels; ++i)
            image->comps[c].data[i] =
                in.pixels[i * static_cast<size_t>(in.channels) + static_cast<size_t>(c)];
    opj_cparameters_t params;
    opj_set_default_encoder_parameters(&params);
    params.tcp_numlayers = 1;
    params.cp_disto_alloc = 1;
    params.tcp_rates[0] = lossless ? 0.0f : static_cast<float>(8.0 * in.channels / bitsPerPixel);
    params.irreversible = lossless ? 0 : 1;
    params.tcp_mct = in.channels == 3 ? 1 : 0;
    params.numresolution = levels + 1;
    params.cblockw_init = 64;
    params.cblockh_init = 64;
    opj_codec_t* codec = opj_create_compress(OPJ_CODEC_J2K);
    opj_set_error_handler(codec, quiet, nullptr);
    opj_set_warning_handler(codec, quiet, nullptr);
    t1::MemoryStream m;
    opj_stream_t* stream = m.open(LinkedStreamApi{}, false);
    const bool ok = opj_setup_encoder(codec, &params, image) &&
                    opj_start_compress(codec, image, stream) && opj_encode(codec, stream) &&
                    opj_end_compress(codec, stream);
    opj_stream_destroy(stream);
    opj_destroy_codec(codec);
    opj_image_destroy(image);
    if (ok) out = std::move(m.bytes);
    return ok;
}

// PSNR of b against a over all samples (99 dB for identical images).
inline double psnr(const container::Image& a, const container::Image& b) {
    if (a.pixels.size() != b.pixels.size() || a.pixels.empty()) return -1;
    double sum = 0;
    for (size_t i = 0; i < a.pixels.size(); ++i) {
        const double d = static_cast<double>(a.pixels[i]) - b.pixels[i];
        sum += d * d;
    }
    if (sum == 0) return 99;
    return 10 * std::log10(255.0 * 255.0 * static_cast<double>(a.pixels.size()) / sum);
}

// A natural-looking synthetic image: smooth gradients, soft edges, texture
// and mild noise, deterministic for a seed.
inline container::Image syntheticImage(int32_t width, int32_t height, int32_t channels,
                                       uint32_t seed) {
    container::Image image;
    image.width = width;
    image.height = height;
    image.channels = channels;
    image.pixels.resize(static_cast<size_t>(width) * static_cast<size_t>(height) *
                        static_cast<size_t>(channels));
    uint32_t state = seed * 2654435761u + 12345u;
    auto noise = [&state]() {
        state = state * 1664525u + 1013904223u;
        return static_cast<int32_t>((state >> 24) & 7) - 4;
    };
    const double fx = 6.2831853 / std::max(width, 8), fy = 6.2831853 / std::max(height, 8);
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            const double u = x * fx, v = y * fy;
            const double base = 0.5 + 0.25 * std::sin(3 * u + seed) * std::cos(2 * v) +
                                0.15 * std::sin(17 * u + 11 * v) * std::cos(5 * v - u);
            const bool edge = (x / 37 + y / 29) % 5 == 0;
            for (int32_t c = 0; c < channels; ++c) {
                double value = base * 200 + 20 * c * std::cos(u + 2 * c) + (edge ? 35 : 0);
                value += 6 * std::sin(0.9 * x + 0.7 * y + c) + noise();
                image.pixels[(static_cast<size_t>(y) * static_cast<size_t>(width) +
                              static_cast<size_t>(x)) *
                                 static_cast<size_t>(channels) +
                             static_cast<size_t>(c)] =
                    static_cast<uint8_t>(std::clamp(static_cast<int>(std::lround(value)), 0, 255));
            }
        }
    }
    return image;
}

}  // namespace zeq::test::j2k

#endif
