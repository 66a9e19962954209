// What the JPEG 2000 encoder and decoder of zeqcodec share: where each
// subband sits in a component plane after the in-place wavelet levels, the
// code-block grid, the step sizes of the 9/7 path and the band weights.
#ifndef ZEQCODEC_J2K_LAYOUT_H
#define ZEQCODEC_J2K_LAYOUT_H

#include <cstdint>
#include <string>
#include <vector>

#include "container/j2k_codestream.h"

namespace zeqcodec::j2k {

// Sets *error (when given) and returns false.
inline bool fail(std::string* error, const std::string& why) {
    if (error) *error = why;
    return false;
}

constexpr int32_t CodeBlockSize = 64;
// The 9/7 path carries samples with this many fraction bits through the
// integer component transform and wavelet, which truncate at every level.
constexpr int32_t FractionBits = 6;
// Samples of the codestreams zeqcodec writes.
constexpr int32_t SampleBits = 8;

struct Band {
    int32_t x = 0, y = 0;  // top-left corner inside the component plane
    int32_t width = 0, height = 0;
    int32_t orientation = 0;  // 0 LL, 1 HL, 2 LH, 3 HH
    int32_t resolution = 0;
    int32_t blocksWide = 0, blocksHigh = 0;
    int32_t firstBlock = 0;  // index of its first code block among all bands
};

// The bands of a width x height plane after `levels` in-place levels, in
// codestream order.
std::vector<Band> planeBands(int32_t width, int32_t height, int32_t levels);

// Width and height of the low band after `level` levels (level 0: the plane).
inline int32_t lowSize(int32_t size, int32_t level) {
    return static_cast<int32_t>((static_cast<int64_t>(size) + (int64_t{1} << level) - 1) >> level);
}

// The subband argument of the tier-1 coder for an orientation.
inline int32_t tier1Subband(int32_t orientation) {
    static const int32_t map[4] = {0, 2, 1, 3};
    return map[orientation];
}

// L2 norms of the 9/7 synthesis basis function of every band (codestream
// order), measured by the library's own inverse levels on an impulse.
std::vector<double> synthesisNorms97(int32_t levels);

// Nominal dynamic range bits of a band of 8-bit samples.
inline int32_t rangeBits(int32_t orientation) {
    return SampleBits + zeq::container::j2kBandGainBits(orientation);
}

// The QCD entry nearest above `step` (sample units) and the step it stands for.
zeq::container::J2kQuantStep encodeStep(double step, int32_t rangeBits);
double stepValue(const zeq::container::J2kQuantStep& s, int32_t rangeBits);

}  // namespace zeqcodec::j2k

#endif
