// libjpeg as an oracle for the entropy coders: coefficient images written
// and read through jpeg_write_coefficients and jpeg_read_coefficients, with
// the frames and photo-like coefficient images the cross-checks use.
#ifndef ZEQ_TESTS_JPEG_ENTROPY_LIBJPEG_ORACLE_H
#define ZEQ_TESTS_JPEG_ENTROPY_LIBJPEG_ORACLE_H

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <vector>

// clang-format off
#include <jpeglib.h>
// clang-format on

#include "tests/common/libjpeg_trap.h"
#include "tests/jpeg/entropy/jpeg_file.h"
#include "tests/jpeg/entropy/photo_blocks.h"

namespace zeq::test {

// Reads a file with jpeg_read_coefficients; false on an error or a warning.
inline bool libjpegReadCoefficients(const std::vector<uint8_t>& file, Blocks& blocks) {
    blocks.clear();
    return readWithLibjpeg(file,
                           [&](jpeg_decompress_struct& info) {
                               jvirt_barray_ptr* arrays = jpeg_read_coefficients(&info);
                               for (int ci = 0; ci < info.num_components; ++ci) {
                                   const jpeg_component_info& c = info.comp_info[ci];
                                   blocks.emplace_back();
                                   for (JDIMENSION by = 0; by < c.height_in_blocks; ++by) {
                                       JBLOCKARRAY row = info.mem->access_virt_barray(
                                           reinterpret_cast<j_common_ptr>(&info), arrays[ci], by, 1,
                                           FALSE);
                                       for (JDIMENSION bx = 0; bx < c.width_in_blocks; ++bx)
                                           blocks.back().insert(blocks.back().end(), row[0][bx],
                                                                row[0][bx] + 64);
                                   }
                               }
                           })
        .clean();
}

// Writes a file with jpeg_write_coefficients (grey, or YCbCr 4:2:0 by the
// defaults), optionally with libjpeg's own optimal tables, or as a
// progressive file with libjpeg's simple progression script.
inline bool libjpegWriteCoefficients(const Frame& f, const Blocks& blocks, bool optimize,
                                     std::vector<uint8_t>& file, bool progressive = false) {
    jpeg_compress_struct info;
    LibjpegTrap trap;
    trap.attach(reinterpret_cast<j_common_ptr>(&info));
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    std::vector<jvirt_barray_ptr> arrays;  // before the jump target: nothing to unwind after it
    if (setjmp(trap.jump)) {
        jpeg_destroy_compress(&info);
        std::free(buffer);
        return false;
    }
    jpeg_create_compress(&info);
    jpeg_mem_dest(&info, &buffer, &size);
    info.image_width = JDIMENSION(f.width);
    info.image_height = JDIMENSION(f.height);
    info.input_components = int(f.components.size());
    info.in_color_space = f.components.size() == 1 ? JCS_GRAYSCALE : JCS_YCbCr;
    jpeg_set_defaults(&info);
    info.optimize_coding = optimize ? TRUE : FALSE;
    info.restart_interval = static_cast<unsigned int>(f.restartInterval);
    if (progressive) jpeg_simple_progression(&info);
    for (const auto& c : f.components)
        arrays.push_back(info.mem->request_virt_barray(
            reinterpret_cast<j_common_ptr>(&info), JPOOL_IMAGE, TRUE, JDIMENSION(c.widthInBlocks),
            JDIMENSION(c.heightInBlocks), JDIMENSION(c.v)));
    jpeg_write_coefficients(&info, arrays.data());
    for (size_t ci = 0; ci < f.components.size(); ++ci) {
        const auto& c = f.components[ci];
        for (int by = 0; by < c.heightInBlocks; ++by) {
            JBLOCKARRAY row = info.mem->access_virt_barray(reinterpret_cast<j_common_ptr>(&info),
                                                           arrays[ci], JDIMENSION(by), 1, TRUE);
            for (int bx = 0; bx < c.widthInBlocks; ++bx)
                std::copy_n(&blocks[ci][64 * (size_t(by) * c.widthInBlocks + bx)], 64, row[0][bx]);
        }
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    file.assign(buffer, buffer + size);
    std::free(buffer);
    return true;
}

}  // namespace zeq::test

#endif  // ZEQ_TESTS_JPEG_ENTROPY_LIBJPEG_ORACLE_H
