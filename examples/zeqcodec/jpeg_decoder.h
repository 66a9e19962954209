// The JPEG decoder of zeqcodec, callable in-process (the command, the demo,
// the tests and the benchmark share it).
#ifndef ZEQCODEC_JPEG_DECODER_H
#define ZEQCODEC_JPEG_DECODER_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "container/netpbm.h"

namespace zeqcodec {

struct JpegDecodeOptions {
    int32_t scaleDenominator = 1;  // 1, 2 or 4: output is ceil(size / denominator)
};

// Decodes a baseline, progressive or lossless JPEG file into a grey or RGB
// image. Returns false with *error set for unsupported or corrupt files.
bool decodeJpeg(const uint8_t* data, size_t size, const JpegDecodeOptions& options,
                zeq::container::Image& image, std::string* error);

}  // namespace zeqcodec

#endif
