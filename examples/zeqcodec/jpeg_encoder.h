// The JPEG encoder of zeqcodec, callable in-process (the command, the demo,
// the tests and the benchmark share it).
#ifndef ZEQCODEC_JPEG_ENCODER_H
#define ZEQCODEC_JPEG_ENCODER_H

#include <cstdint>
#include <string>
#include <vector>

#include "container/netpbm.h"

namespace zeqcodec {

struct JpegEncodeOptions {
    int32_t quality = 75;          // 1..100
    int32_t sampling = 420;        // 444, 422 or 420 (ignored for grey input)
    bool progressive = false;      // SOF2 with a standard scan script
    bool optimize = false;         // optimal Huffman tables from the statistics
    int32_t restartInterval = 0;   // MCUs between RSTn markers, 0 = none
    bool lossless = false;         // SOF3
    int32_t predictor = 1;         // 1..7, lossless only
};

// Encodes a grey (1 channel) or RGB (3 channels) image into a JFIF file.
// Returns false with *error set when the options or the image are refused.
bool encodeJpeg(const zeq::container::Image& image, const JpegEncodeOptions& options,
                std::vector<uint8_t>& file, std::string* error);

}  // namespace zeqcodec

#endif
