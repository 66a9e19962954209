// zeqcodec: image codecs assembled from libzeqj's primitives.
#include <cstdio>
#include <cstring>

#include "zeqcodec/commands.h"
#include "zeqcodec/dds_codec.h"
#include "zeqcodec/j2k_commands.h"
#include "zeqcodec/jpeg_decoder.h"
#include "zeqcodec/jpeg_encoder.h"
#include "zeqcodec/tiff_codec.h"

namespace zeqcodec {
namespace {

// Each codec adds its subcommands here.
const Command kCommands[] = {
    {"help", nullptr, "help"},
    {"jpeg-encode", runJpegEncode,
     "jpeg-encode IN.ppm|IN.pgm OUT.jpg [--quality 1..100] [--sampling 444|422|420] "
     "[--progressive] [--optimize] [--restart N] [--lossless --predictor 1..7] [--threads N]"},
    {"j2k-encode", runJ2kEncode,
     "j2k-encode IN.ppm|IN.pgm OUT.j2k [--lossless | --rate BITS_PER_PIXEL] [--levels 0..8] "
     "[--bypass] [--terminate-all] [--causal] [--segmark]"},
    {"j2k-decode", runJ2kDecode, "j2k-decode IN.j2k OUT.ppm"},
    {"dds-encode", runDdsEncode, "dds-encode IN.ppm OUT.dds [--format dxt1|dxt3|dxt5|ycocg-dxt5]"},
    {"dds-decode", runDdsDecode, "dds-decode IN.dds OUT.ppm"},
    {"tiff-packbits", runTiffPackBits, "tiff-packbits IN.pgm|IN.ppm OUT.tif"},
    {"tiff-unpack", runTiffUnpack, "tiff-unpack IN.tif OUT.ppm"},
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
