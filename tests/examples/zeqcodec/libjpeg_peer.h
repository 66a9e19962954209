// libjpeg as the peer of zeqcodec's JPEG decoder: files written through its
// compression API with cjpeg-like settings, and its own decode of them
// (jpeg_read_scanlines), optionally scaled or without colour conversion.
#ifndef ZEQ_TESTS_EXAMPLES_ZEQCODEC_LIBJPEG_PEER_H
#define ZEQ_TESTS_EXAMPLES_ZEQCODEC_LIBJPEG_PEER_H

#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

// clang-format off
#include <jpeglib.h>
// clang-format on

#include "container/netpbm.h"
#include "tests/common/libjpeg_trap.h"

namespace zeq::test {

struct LibjpegSettings {
    int32_t channels = 3;    // 1 grey, 3 colour
    int32_t sampling = 420;  // 444, 422, 420
    int32_t quality = 90;
    bool progressive = false;
    bool optimize = false;
    int32_t restartInterval = 0;    // MCUs
    bool scanPerComponent = false;  // sequential, one non-interleaved scan per component
};

// A photo-like test image: smooth gradients, a few hard edges and noise.
inline container::Image syntheticImage(int32_t width, int32_t height, int32_t channels,
                                       uint32_t seed) {
    container::Image image;
    image.width = width;
    image.height = height;
    image.channels = channels;
    image.pixels.resize(size_t(width) * height * channels);
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> noise(-12, 12);
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x)
            for (int32_t c = 0; c < channels; ++c) {
                int v = (x * (97 + 40 * c)) / (width + 1) + (y * (150 - 30 * c)) / (height + 1);
                if (((x / 13) + (y / 7)) % 5 == 0) v = 255 - v;  // edges
                v += noise(rng);
                image.pixels[(size_t(y) * width + x) * channels + c] =
                    static_cast<uint8_t>(v < 0     ? 0
                                         : v > 255 ? 255
                                                   : v);
            }
    return image;
}

inline bool libjpegEncode(const container::Image& image, const LibjpegSettings& s,
                          std::vector<uint8_t>& file) {
    jpeg_compress_struct info;
    LibjpegTrap trap;
    trap.attach(reinterpret_cast<j_common_ptr>(&info));
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    if (setjmp(trap.jump)) {
        jpeg_destroy_compress(&info);
        std::free(buffer);
        return false;
    }
    jpeg_create_compress(&info);
    jpeg_mem_dest(&info, &buffer, &size);
    info.image_width = JDIMENSION(image.width);
    info.image_height = JDIMENSION(image.height);
    info.input_components = image.channels;
    info.in_color_space = image.channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, s.quality, TRUE);
    if (image.channels == 3) {
        info.comp_info[0].h_samp_factor = s.sampling == 444 ? 1 : 2;
        info.comp_info[0].v_samp_factor = s.sampling == 420 ? 2 : 1;
    }
    info.optimize_coding = s.optimize ? TRUE : FALSE;
    info.restart_interval = unsigned(s.restartInterval);
    if (s.progressive) jpeg_simple_progression(&info);
    jpeg_scan_info scans[3];
    if (s.scanPerComponent) {
        for (int c = 0; c < image.channels; ++c) {
            scans[c].comps_in_scan = 1;
            scans[c].component_index[0] = c;
            scans[c].Ss = 0;
            scans[c].Se = 63;
            scans[c].Ah = 0;
            scans[c].Al = 0;
        }
        info.scan_info = scans;
        info.num_scans = image.channels;
    }
    jpeg_start_compress(&info, TRUE);
    const size_t stride = size_t(image.width) * image.channels;
    while (info.next_scanline < info.image_height) {
        JSAMPROW row = const_cast<JSAMPROW>(image.pixels.data() + info.next_scanline * stride);
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    file.assign(buffer, buffer + size);
    std::free(buffer);
    return true;
}

// libjpeg's decode at 1/denominator size; colour files as RGB, or as
// up-sampled YCbCr when ycbcr is set.
inline bool libjpegDecode(const std::vector<uint8_t>& file, int32_t denominator, bool ycbcr,
                          container::Image& image) {
    return readWithLibjpeg(file,
                           [&](jpeg_decompress_struct& info) {
                               info.scale_num = 1;
                               info.scale_denom = unsigned(denominator);
                               if (info.num_components == 3)
                                   info.out_color_space = ycbcr ? JCS_YCbCr : JCS_RGB;
                               readScanlines(info, image);
                           })
        .failure.empty();
}

}  // namespace zeq::test

#endif
