// The JPEG decoder of zeqcodec, callable in-process (the command, the demo,
// the tests and the benchmark share it).
#ifndef ZEQCODEC_JPEG_DECODER_H
#define ZEQCODEC_JPEG_DECODER_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "container/netpbm.h"
#include "zeqcodec/commands.h"

namespace zeqcodec {

struct JpegDecodeOptions {
    int32_t scaleDenominator = 1;  // 1, 2 or 4: output is ceil(size / denominator)
    bool reportProgress = false;   // a progress line on stderr above 20 megapixels
    bool convertColour = true;     // false: YCbCr files give up-sampled Y, Cb, Cr triples
    int32_t threads = 1;           // 2: entropy decoding and reconstruction overlap
};

// Decodes a baseline, progressive or lossless JPEG file into a grey or RGB
// image. Returns false with *error set for unsupported or corrupt files.
bool decodeJpeg(const uint8_t* data, size_t size, const JpegDecodeOptions& options,
                zeq::container::Image& image, std::string* error);

// The jpeg-decode command: IN.jpg OUT.ppm [--scale 1|1/2|1/4].
int runJpegDecode(const Arguments& args);

}  // namespace zeqcodec

#endif
