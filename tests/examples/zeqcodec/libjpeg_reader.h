// libjpeg as the reader of zeqcodec's files: the quantized coefficients and
// tables as stored, and the decoded pixels, with fatal errors and warnings
// caught rather than ending the test program.
#ifndef ZEQ_TESTS_EXAMPLES_ZEQCODEC_LIBJPEG_READER_H
#define ZEQ_TESTS_EXAMPLES_ZEQCODEC_LIBJPEG_READER_H

#include <array>
#include <cmath>
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
    const LibjpegOutcome outcome = readWithLibjpeg(file, [&](jpeg_decompress_struct& info) {
        jvirt_barray_ptr* arrays = jpeg_read_coefficients(&info);
        out.progressive = info.progressive_mode != 0;
        out.restartInterval = info.restart_interval;
        for (int ci = 0; ci < info.num_components; ++ci) {
            const jpeg_component_info& c = info.comp_info[ci];
            LibjpegComponent& comp = out.components.emplace_back();
            comp.h = c.h_samp_factor;
            comp.v = c.v_samp_factor;
            comp.widthInBlocks = int(c.width_in_blocks);
            comp.heightInBlocks = int(c.height_in_blocks);
            for (int k = 0; k < 64; ++k) comp.quant[size_t(k)] = c.quant_table->quantval[k];
            for (JDIMENSION by = 0; by < c.height_in_blocks; ++by) {
                JBLOCKARRAY row = info.mem->access_virt_barray(
                    reinterpret_cast<j_common_ptr>(&info), arrays[ci], by, 1, FALSE);
                for (JDIMENSION bx = 0; bx < c.width_in_blocks; ++bx)
                    comp.blocks.insert(comp.blocks.end(), row[0][bx], row[0][bx] + 64);
            }
        }
    });
    if (!outcome.failure.empty())
        out.error = outcome.failure;
    else if (outcome.warnings)
        out.error = "libjpeg warned about corrupt data";
    return out;
}

// Decodes a file with jpeg_read_scanlines into grey or RGB pixels; false
// (with *error) on an error or a warning.
inline bool libjpegPixels(const std::vector<uint8_t>& file, container::Image& image,
                          std::string* error) {
    const LibjpegOutcome outcome = readWithLibjpeg(file, [&](jpeg_decompress_struct& info) {
        info.out_color_space = info.num_components == 1 ? JCS_GRAYSCALE : JCS_RGB;
        readScanlines(info, image);
    });
    if (!outcome.failure.empty())
        *error = outcome.failure;
    else if (outcome.warnings)
        *error = "libjpeg warned about corrupt data";
    return outcome.clean();
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
