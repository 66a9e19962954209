// DDS texture files of zeqcodec: Netpbm images to DXT1/DXT3/DXT5 and
// YCoCg-DXT5 blocks through the library's block encoders, and DXT1/3/5,
// YCoCg-DXT5 and BC7 files back to pixels through its block decoders.
// Images whose sides are not multiples of 4 are encoded with their last
// column and row repeated into the partial blocks and decoded cropped, both
// done by the library's block functions.
#ifndef ZEQCODEC_DDS_CODEC_H
#define ZEQCODEC_DDS_CODEC_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "container/dds.h"
#include "container/netpbm.h"
#include "zeqcodec/commands.h"

namespace zeqcodec {

// Interleaved R, G, B, A pixels, rows of width * 4 bytes.
struct RgbaImage {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> pixels;
};

// Encodes a grey or RGB image (grey is spread to R = G = B; alpha is 255).
// BC7 is decode-only here. Returns false with *error set on refusal.
bool encodeDds(const zeq::container::Image& image, zeq::container::DdsFormat format,
               std::vector<uint8_t>& file, std::string* error);

// Decodes the blocks of a parsed DDS file to RGBA as they are stored: for
// YCoCg-DXT5 that is scaled Co in red, scaled Cg in green, the scale code
// in blue and Y in alpha, as any DXT5 reader sees it.
bool decodeDdsBlocks(const zeq::container::DdsImage& dds, RgbaImage& rgba, std::string* error);

// Decodes a DDS file held in memory to an RGB image (alpha is dropped;
// YCoCg-DXT5 is converted back to RGB).
bool decodeDds(const uint8_t* data, size_t size, zeq::container::Image& image, std::string* error);

// RGB <-> YCoCg of the YCoCg-DXT5 variant, chroma offset by 128:
// Y = (R + 2G + B + 2) >> 2, Co = ((R - B + 1) >> 1) + 128,
// Cg = ((2G - R - B + 2) >> 2) + 128, each limited to 0..255.
void rgbToYCoCg(const uint8_t* rgb, uint8_t* ycocg, size_t pixels);
// From decoded YCoCg-DXT5 RGBA (see decodeDdsBlocks) to RGB.
void ycocgDxt5ToRgb(const uint8_t* rgba, uint8_t* rgb, size_t pixels);

// zeqcodec dds-encode IN.ppm OUT.dds --format dxt1|dxt3|dxt5|ycocg-dxt5
int runDdsEncode(const Arguments& args);
// zeqcodec dds-decode IN.dds OUT.ppm
int runDdsDecode(const Arguments& args);

}  // namespace zeqcodec

#endif
