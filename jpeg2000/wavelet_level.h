// The whole-level kernels of a wavelet family member, named by its Level type
// (lifting.h); defined in lifting.h and instantiated once per member by the
// family's source file, so the exported functions only need this header.
#ifndef ZEQ_JPEG2000_WAVELET_LEVEL_H
#define ZEQ_JPEG2000_WAVELET_LEVEL_H

#include <cstdint>

#include "zeqj.h"

namespace zeq::wt {

template <class L>
struct LevelKernels {
    // In place: vertical, then horizontal; low band first in each direction.
    static void forward(uint8_t* image, int32_t step, const ZeqiRect& rect, uint8_t* buffer);
    static void inverse(uint8_t* image, int32_t step, const ZeqiRect& rect, uint8_t* buffer);
    // Through a copy in the scratch buffer, into / from four subbands.
    static void forwardCopy(const uint8_t* src, int32_t srcStep, const ZeqiRect& rect,
                            uint8_t* const dst[4], const int32_t dstStep[4], uint8_t* buffer);
    static void inverseCopy(const uint8_t* const src[4], const int32_t srcStep[4], uint8_t* dst,
                            int32_t dstStep, const ZeqiRect& rect, uint8_t* buffer);
};

}  // namespace zeq::wt

#endif  // ZEQ_JPEG2000_WAVELET_LEVEL_H
