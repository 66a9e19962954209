// libjpeg as the reader of zeqcodec's files: the quantized coefficients and
// tables as stored, and the decoded pixels, with fatal errors and warnings
// caught rather than ending the test program.
#ifndef ZEQ_TESTS_EXAMPLES_ZEQCODEC_LIBJPEG_READER_H
#define ZEQ_TESTS_EXAMPLES_ZEQCODEC_LIBJPEG_READER_H

#include <array>
#include <cmath>
#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

// clang-format off
#include <jpeglib.h>
// clang-format on

#include "container/netpbm.h"
#include "tests/common/libjpeg_trap.h"

namespace zeq::test {

struct LibjpegComponent {
    int h = 0, v = 0;
    int widthInBlocks = 0, heightInBlocks = 0;
    std::array<uint16_t, 64> quant{};  // natural order
    std::vector<int16_t> blocks;       // 64 per block, block rows top to bottom
};

struct LibjpegCoefficients {
    std::vector<LibjpegComponent> components;
    bool progressive = false;
    unsigned restartInterval = 0;
    std::string error;  // empty when read without error or warning
};

// Reads a file with jpeg_read_coefficients.
inline LibjpegCoefficients libjpegCoefficients(const std::vector<uint8_t>& file) {
    LibjpegCoefficients out;
    jpeg_decompress_struct info;
    LibjpegTrap trap;
    trap.attach(reinterpret_cast<j_common_ptr>(&info));
    if (setjmp(trap.jump)) {
        jpeg_destroy_decompress(&info);
        out.error = trap.message;
        return out;
    }
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, file.data(), static_cast<unsigned long>(file.size()));
    jpeg_read_header(&info, TRUE);
    jvirt_barray_ptr* arrays = jpeg_read_coefficients(&info);
    out.progressive = info.progressive_mode != 0;
    out.restartInterval = info.restart_interval;
    for (int ci = 0; ci < info.num_components; ++ci) {
        const jpeg_component_info& c = info.comp_info[ci];
        LibjpegComponent comp;
        comp.h = c.h_samp_factor;
        comp.v = c.v_samp_factor;
        comp.widthInBlocks = int(c.width_in_blocks);
        comp.heightInBlocks = int(c.height_in_blocks);
        for (int k = 0; k < 64; ++k) comp.quant[size_t(k)] = c.quant_table->quantval[k];
        for (JDIMENSION by = 0; by < c.height_in_blocks; ++by) {
            JBLOCKARRAY row = info.mem->access_virt_barray(reinterpret_cast<j_common_ptr>(&info),
                                                           arrays[ci], by, 1, FALSE);
            for (JDIMENSION bx = 0; bx < c.width_in_blocks; ++bx)
                comp.blocks.insert(comp.blocks.end(), row[0][bx], row[0][bx] + 64);
        }
        out.components.push_back(std::move(comp));
    }
    jpeg_finish_decompress(&info);
    if (trap.manager.num_warnings) out.error = "libjpeg warned about corrupt data";
    jpeg_destroy_decompress(&info);
    return out;
}

// Decodes a file with jpeg_read_scanlines into grey or RGB pixels; false
// (with *error) on an error or a warning.
inline bool libjpegPixels(const std::vector<uint8_t>& file, container::Image& image,
                          std::string* error) {
    jpeg_decompress_struct info;
    LibjpegTrap trap;
    trap.attach(reinterpret_cast<j_common_ptr>(&info));
    if (setjmp(trap.jump)) {
        jpeg_destroy_decompress(&info);
        *error = trap.message;
        return false;
    }
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, file.data(), static_cast<unsigned long>(file.size()));
    jpeg_read_header(&info, TRUE);
    info.out_color_space = info.num_components == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_start_decompress(&info);
    image.width = int32_t(info.output_width);
    image.height = int32_t(info.output_height);
    image.channels = info.output_components;
    image.pixels.assign(size_t(image.width) * size_t(image.height) * size_t(image.channels), 0);
    while (info.output_scanline < info.output_height) {
        JSAMPROW row = image.pixels.data() +
                       size_t(info.output_scanline) * size_t(image.width) * size_t(image.channels);
        jpeg_read_scanlines(&info, &row, 1);
    }
    jpeg_finish_decompress(&info);
    const long warnings = trap.manager.num_warnings;
    jpeg_destroy_decompress(&info);
    if (warnings) *error = "libjpeg warned about corrupt data";
    return warnings == 0;
}

// Peak signal-to-noise ratio of b against a (same size), in dB; 999 when equal.
inline double psnr(const container::Image& a, const container::Image& b) {
    double sum = 0;
    for (size_t i = 0; i < a.pixels.size(); ++i) {
        const double d = double(a.pixels[i]) - double(b.pixels[i]);
        sum += d * d;
    }
    if (sum == 0) return 999;
    return 10 * std::log10(255.0 * 255.0 * double(a.pixels.size()) / sum);
}

}  // namespace zeq::test

#endif
