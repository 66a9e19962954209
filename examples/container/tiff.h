// Baseline TIFF files of 8-bit grey or RGB samples in PackBits strips. The
// writer produces little-endian files; the reader takes either byte order,
// walks the first image file directory and locates the strips, checking every
// offset and count against the file. Strip bytes are coded and decoded by
// the caller (this part only moves bytes).
#ifndef ZEQ_CONTAINER_TIFF_H
#define ZEQ_CONTAINER_TIFF_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zeq::container {

// Compression tag value of PackBits strips.
constexpr uint16_t kTiffCompressionPackBits = 32773;

struct TiffImageShape {
    int32_t width = 0;
    int32_t height = 0;
    int32_t samplesPerPixel = 0;  // 1 grey, 3 RGB (chunky)
    int32_t rowsPerStrip = 0;     // the last strip may hold fewer rows
};

// Strips per image and rows in one strip, for a valid shape.
int32_t tiffStripCount(const TiffImageShape& shape);
int32_t tiffRowsInStrip(const TiffImageShape& shape, int32_t strip);

// Serializes a grey (black is zero) or RGB image whose strips are already
// PackBits-coded, one entry per strip in top-to-bottom order.
std::vector<uint8_t> formatPackBitsTiff(const TiffImageShape& shape,
                                        const std::vector<std::vector<uint8_t>>& strips);

struct TiffStripSpan {
    uint32_t offset = 0;  // into the parsed file
    uint32_t bytes = 0;   // coded bytes
};

struct TiffPackBitsFile {
    TiffImageShape shape;
    bool whiteIsZero = false;  // grey samples are stored inverted
    std::vector<TiffStripSpan> strips;
};

// Parses the first image of a TIFF file. Only PackBits strips of 8-bit grey
// or RGB samples are accepted; other
// compressions, bit depths, tiles, planar RGB, predictors and extra samples
// are refused with a message naming what was found. Every strip lies inside
// the file, holds at least the smallest possible coding of its rows, and
// strips together are no larger than the file, so a decoder's output stays
// proportionate to the input. Any input bytes are safe.
bool parsePackBitsTiff(const uint8_t* data, size_t size, TiffPackBitsFile& file,
                       std::string* error);

}  // namespace zeq::container

#endif
