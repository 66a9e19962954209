// The JPEG 2000 part of the zeqcodec demo: a lossless and a 1 bit-per-pixel
// round trip of one image, each codestream also decoded by libopenjp2.
#ifndef ZEQCODEC_J2K_DEMO_H
#define ZEQCODEC_J2K_DEMO_H

#include <cstddef>
#include <string>
#include <vector>

#include "container/netpbm.h"

namespace zeqcodec {

struct J2kDemoRow {
    std::string name;         // "j2k lossless", "j2k 1 bpp"
    size_t bytes = 0;         // codestream size
    double bitsPerPixel = 0;  // codestream bits per image pixel
    double psnr = 0;          // zeqcodec's decode against the input, dB (99: exact)
    double openjpegPsnr = 0;  // libopenjp2's decode against the input, dB
    double encodeMPps = 0;    // megapixels per second
    double decodeMPps = 0;
    bool passed = false;  // lossless: both exact; lossy: PSNRs within 0.1 dB
    std::string note;     // why it failed, empty when passed
};

// Runs both round trips, appends one row each and returns true when every
// check passed. The codestreams go through files in workDirectory (which
// must exist), as a user's would.
bool runJ2kDemo(const zeq::container::Image& image, const std::string& workDirectory,
                std::vector<J2kDemoRow>& rows);

}  // namespace zeqcodec

#endif
