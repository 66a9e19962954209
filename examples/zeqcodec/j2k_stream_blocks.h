// The code blocks of a codestream of the shape zeqcodec writes: the header,
// the bands, and for every block where its segments lie. The decoder works
// from it, and the tier-1 benchmarks take real blocks from it.
#ifndef ZEQCODEC_J2K_STREAM_BLOCKS_H
#define ZEQCODEC_J2K_STREAM_BLOCKS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "container/j2k_codestream.h"
#include "zeqcodec/j2k_layout.h"

namespace zeqcodec::j2k {

// Where one code block's segments lie in the codestream; a block without
// passes has no bytes.
struct StreamBlock {
    const uint8_t* bytes = nullptr;
    int32_t planes = 0, passes = 0;
    size_t firstSegment = 0, segments = 0;
};

struct StreamBlocks {
    zeq::container::J2kHeader header;
    int32_t width = 0, height = 0, components = 0, levels = 0;
    std::vector<Band> bands;
    std::vector<StreamBlock> blocks;      // per component, per block in band order
    std::vector<int32_t> segmentLengths;  // of every block's segments, in turn

    size_t blocksPerComponent() const { return blocks.size() / static_cast<size_t>(components); }
};

// Parses the codestream and its packet headers. False with *error set when
// anything is malformed or outside the shape (8-bit unsigned samples, one or
// three components).
bool readStreamBlocks(const uint8_t* data, size_t size, StreamBlocks& out, std::string* error);

}  // namespace zeqcodec::j2k

#endif
