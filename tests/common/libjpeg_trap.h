// libjpeg reports fatal errors through a jump back to the caller's setjmp
// (with the message kept), and warnings (corrupt-data messages) are counted in
// manager.num_warnings so a test can require none. Shared by every test that
// uses libjpeg as an oracle or a peer.
#ifndef ZEQ_TESTS_COMMON_LIBJPEG_TRAP_H
#define ZEQ_TESTS_COMMON_LIBJPEG_TRAP_H

#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

// clang-format off
#include <jpeglib.h>
// clang-format on

namespace zeq::test {

struct LibjpegTrap {
    jpeg_error_mgr manager;
    std::jmp_buf jump;
    char message[JMSG_LENGTH_MAX] = {};
    void attach(j_common_ptr info) {
        info->err = jpeg_std_error(&manager);
        manager.error_exit = [](j_common_ptr info) {
            auto* trap = reinterpret_cast<LibjpegTrap*>(info->err);
            info->err->format_message(info, trap->message);
            std::longjmp(trap->jump, 1);
        };
        manager.emit_message = [](j_common_ptr info, int level) {
            if (level < 0) ++info->err->num_warnings;
        };
    }
};

// Starts decompression and reads every scanline into `image` (sized to the
// output, channels as libjpeg gives them).
template <class Image>
void readScanlines(jpeg_decompress_struct& info, Image& image) {
    jpeg_start_decompress(&info);
    image.width = int32_t(info.output_width);
    image.height = int32_t(info.output_height);
    image.channels = info.output_components;
    const size_t stride = size_t(image.width) * size_t(image.channels);
    image.pixels.assign(stride * size_t(image.height), 0);
    while (info.output_scanline < info.output_height) {
        JSAMPROW row = image.pixels.data() + size_t(info.output_scanline) * stride;
        jpeg_read_scanlines(&info, &row, 1);
    }
}

// What became of one read through libjpeg: its message when it failed, and
// how many corrupt-data warnings it gave otherwise.
struct LibjpegOutcome {
    std::string failure;
    long warnings = 0;
    bool clean() const { return failure.empty() && warnings == 0; }
};

// Opens `file` in a decompressor, reads its header, runs read(info), then
// finishes and destroys the decompressor. The jump target lives in this
// frame, so read() may call any libjpeg function.
template <class Read>
LibjpegOutcome readWithLibjpeg(const std::vector<uint8_t>& file, Read&& read) {
    LibjpegOutcome outcome;
    jpeg_decompress_struct info;
    LibjpegTrap trap;
    trap.attach(reinterpret_cast<j_common_ptr>(&info));
    if (setjmp(trap.jump)) {
        jpeg_destroy_decompress(&info);
        outcome.failure = trap.message[0] ? trap.message : "libjpeg failed";
        return outcome;
    }
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, file.data(), static_cast<unsigned long>(file.size()));
    jpeg_read_header(&info, TRUE);
    read(info);
    jpeg_finish_decompress(&info);
    outcome.warnings = trap.manager.num_warnings;
    jpeg_destroy_decompress(&info);
    return outcome;
}

}  // namespace zeq::test

#endif
