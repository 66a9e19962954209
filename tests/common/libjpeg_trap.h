// libjpeg reports fatal errors through a jump back to the caller's setjmp
// (with the message kept), and warnings (corrupt-data messages) are counted in
// manager.num_warnings so a test can require none. Shared by every test that
// uses libjpeg as an oracle or a peer.
#ifndef ZEQ_TESTS_COMMON_LIBJPEG_TRAP_H
#define ZEQ_TESTS_COMMON_LIBJPEG_TRAP_H

#include <csetjmp>
#include <cstdio>

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

}  // namespace zeq::test

#endif
