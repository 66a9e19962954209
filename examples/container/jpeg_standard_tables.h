// The example tables of the JPEG standard (its Annex K): base quantization
// tables scaled by a quality factor, and the Huffman tables a baseline file
// uses when it carries no statistics-derived ones.
#ifndef ZEQ_CONTAINER_JPEG_STANDARD_TABLES_H
#define ZEQ_CONTAINER_JPEG_STANDARD_TABLES_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "container/jpeg_markers.h"

namespace zeq::container {

// Natural position i of a block is stored at zigzag index kNaturalToZigzag[i].
extern const std::array<uint8_t, 64> kNaturalToZigzag;

// Base quantization tables in zigzag order, as a DQT segment stores them.
extern const std::array<uint8_t, 64> kLuminanceQuantZigzag;
extern const std::array<uint8_t, 64> kChrominanceQuantZigzag;

// The four Huffman tables (class and id still to be set by the caller).
const JpegHuffmanTable& standardDcLuminance();
const JpegHuffmanTable& standardDcChrominance();
const JpegHuffmanTable& standardAcLuminance();
const JpegHuffmanTable& standardAcChrominance();

}  // namespace zeq::container

#endif
