// Demonstrations of the texture and TIFF commands against real peers, each
// returning one table row: a DXT1 round trip, a BC7 texture decoded by
// zeqcodec and by Pillow, and a PackBits TIFF read back by libtiff. The BC7
// block generator and the Pillow reader are shared with the tests.
#ifndef ZEQCODEC_TEXTURE_TIFF_DEMO_H
#define ZEQCODEC_TEXTURE_TIFF_DEMO_H

#include <cstdint>
#include <string>
#include <vector>

#include "container/netpbm.h"
#include "zeqcodec/dds_codec.h"

namespace zeqcodec {

struct TextureTiffDemoRow {
    std::string name;  // what was run, e.g. "DXT1 round trip"
    int32_t width = 0;
    int32_t height = 0;
    uint64_t rawBytes = 0;   // uncompressed pixel bytes
    uint64_t fileBytes = 0;  // bytes of the file written
    double psnr = 0;         // dB against the source; +inf when exact, NaN when not applicable
    double megapixelsPerSecond = 0;  // of `timed`
    std::string timed;               // which step the speed is of, e.g. "encode"
    bool passed = false;             // the peer check held
    std::string detail;              // the peer's verdict or the failure
};

// Encodes image (grey or RGB) to a DXT1 DDS and decodes it, both in-process;
// PSNR over R, G, B; speed of the encode.
TextureTiffDemoRow demoDxt1RoundTrip(const zeq::container::Image& image);

// Writes a BC7 DDS of random valid blocks, decodes it with zeqcodec and with
// Pillow (/usr/bin/python3) and compares every RGBA byte; speed of the
// zeqcodec decode. Files go to workDir (which must exist).
TextureTiffDemoRow demoBc7AgainstPillow(int32_t width, int32_t height, uint32_t seed,
                                        const std::string& workDir);

// Writes image as a PackBits TIFF, reads it back with libtiff (in-process)
// and compares every sample; speed of the zeqcodec encode.
TextureTiffDemoRow demoTiffLibtiffReadback(const zeq::container::Image& image,
                                           const std::string& workDir);

// BC7 blocks from seeded random bits with the mode field forced to one of
// the eight defined modes (chosen at random), so no block is of the
// reserved mode. Built from the format's mode field alone, without any
// decoder. blockCount blocks of 16 bytes.
std::vector<uint8_t> randomValidBc7Blocks(size_t blockCount, uint32_t seed);

// True when /usr/bin/python3 can import Pillow.
bool pillowAvailable();
// Decodes the image file at path with Pillow, converted to RGBA. Returns
// false with *error set when Pillow fails.
bool pillowDecodeRgba(const std::string& path, RgbaImage& rgba, std::string* error);

}  // namespace zeqcodec

#endif
