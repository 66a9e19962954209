// The JPEG 2000 encoder and decoder of zeqcodec, callable in-process (the
// commands, the demo, the tests and the benchmark share them). They write and
// read one-tile, one-layer LRCP codestreams with 64x64 code blocks.
#ifndef ZEQCODEC_J2K_CODEC_H
#define ZEQCODEC_J2K_CODEC_H

#include <cstdint>
#include <string>
#include <vector>

#include "container/netpbm.h"

namespace zeqcodec {

struct J2kEncodeOptions {
    bool lossless = true;       // RCT + 5/3, every pass kept; false: ICT + 9/7
    double bitsPerPixel = 0;    // lossy byte budget per pixel; 0 keeps every pass
    int32_t levels = 5;         // decomposition levels, 0..8
    bool bypass = false;        // raw significance and refinement passes
    bool terminateAll = false;  // terminate the coder after every pass
    bool causal = false;        // vertically causal contexts
    bool segmentationSymbols = false;
    // Quantizer step of the 9/7 path relative to each band's synthesis
    // norm, in sample units; 0 picks one from the byte budget.
    double baseStep = 0;
};

// Encodes a grey (1 channel) or RGB (3 channels) image into a codestream.
// Returns false with *error set when the options or the image are refused.
bool encodeJ2k(const zeq::container::Image& image, const J2kEncodeOptions& options,
               std::vector<uint8_t>& codestream, std::string* error);

// Decodes a codestream of the shape encodeJ2k writes (8-bit unsigned samples,
// one or three components). Returns false with *error set on anything
// malformed or outside that shape.
bool decodeJ2k(const uint8_t* data, size_t size, zeq::container::Image& image, std::string* error);

}  // namespace zeqcodec

#endif
