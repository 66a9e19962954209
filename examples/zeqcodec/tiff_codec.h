// TIFF files of zeqcodec: 8-bit grey or RGB Netpbm images to baseline TIFFs
// whose strips are coded row by row with the library's PackBits encoder, and
// such PackBits TIFFs (from any writer) back to Netpbm images through its
// PackBits decoder.
#ifndef ZEQCODEC_TIFF_CODEC_H
#define ZEQCODEC_TIFF_CODEC_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "container/netpbm.h"
#include "zeqcodec/commands.h"

namespace zeqcodec {

// Rows per strip for a row of rowBytes: strips of about 8 KiB, at least one row.
int32_t tiffRowsPerStrip(int64_t rowBytes);

// Encodes a grey (1 channel) or RGB (3 channels) image. Returns false with
// *error set when the image is refused.
bool encodeTiffPackBits(const zeq::container::Image& image, std::vector<uint8_t>& file,
                        std::string* error);

// Decodes a PackBits TIFF held in memory to a grey or RGB image (grey stored
// white-is-zero comes back black-is-zero). Strips whose packets run short of
// their rows or past them are refused.
bool decodeTiffPackBits(const uint8_t* data, size_t size, zeq::container::Image& image,
                        std::string* error);

// zeqcodec tiff-packbits IN.pgm|IN.ppm OUT.tif
int runTiffPackBits(const Arguments& args);
// zeqcodec tiff-unpack IN.tif OUT.ppm (grey images are written as PGM)
int runTiffUnpack(const Arguments& args);

}  // namespace zeqcodec

#endif
