// zeqcodec: image codecs assembled from libzeqj's primitives.
#include <cstdio>
#include <cstring>

#include "zeqcodec/commands.h"
#include "zeqcodec/jpeg_decoder.h"

namespace zeqcodec {
namespace {

// Each codec adds its subcommands here.
const Command kCommands[] = {
    {"help", nullptr, "help"},
    {"jpeg-decode", runJpegDecode, "jpeg-decode IN.jpg OUT.ppm [--scale 1|1/2|1/4]"},
};

int usage(FILE* out) {
    std::fprintf(out, "usage:\n");
    for (const Command& c : kCommands) std::fprintf(out, "  zeqcodec %s\n", c.synopsis);
    return out == stdout ? 0 : 2;
}

}  // namespace
}  // namespace zeqcodec

int main(int argc, char** argv) {
    using namespace zeqcodec;
    if (argc < 2) return usage(stderr);
    for (const Command& c : kCommands) {
        if (std::strcmp(argv[1], c.name) != 0) continue;
        if (!c.run) return usage(stdout);
        return c.run(Arguments(argv + 2, argv + argc));
    }
    std::fprintf(stderr, "zeqcodec: unknown command '%s'\n", argv[1]);
    return usage(stderr);
}
