// A built-in test picture for the demo and the benchmarks: smooth colour
// gradients, hard-edged shapes, rows of text-like glyphs and sensor-like
// noise, so a codec meets the content of real photographs and screenshots.
#ifndef ZEQCODEC_SYNTHETIC_IMAGE_H
#define ZEQCODEC_SYNTHETIC_IMAGE_H

#include <cstdint>

#include "container/netpbm.h"

namespace zeqcodec {

// channels 1 gives the luma of the colour picture.
zeq::container::Image syntheticImage(int32_t width, int32_t height, int32_t channels,
                                     uint32_t seed = 1);

}  // namespace zeqcodec

#endif
