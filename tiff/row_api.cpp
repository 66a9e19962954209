// Exported TIFF row functions: PackBits rows and 16-bit byte planes.
#include "core/arg_checks.h"
#include "tiff/byte_planes.h"
#include "tiff/packbits.h"

using namespace zeq;

// Arguments in list order; a negative position would address bytes before
// the buffer and is refused before anything is read or written.
extern "C" ZeqStatus zeqiPackBitsRow_TIFF_8u_C1(const uint8_t* src, int32_t srcLength, uint8_t* dst,
                                                int32_t* dstPosition, int32_t dstCapacity) {
    if (ZeqStatus s = ArgChecks()
                          .pointer(src)
                          .length(srcLength)
                          .pointers(dst, dstPosition)
                          .length(dstCapacity)
                          .status())
        return s;
    if (ZeqStatus s = ArgChecks().argument(*dstPosition >= 0).status()) return s;
    return packBitsRowSse2(src, srcLength, dst, dstPosition, dstCapacity);
}

extern "C" ZeqStatus zeqiUnpackBitsRow_TIFF_8u_C1(const uint8_t* src, int32_t* srcPosition,
                                                  int32_t srcLength, uint8_t* dst,
                                                  int32_t dstLength) {
    if (ZeqStatus s = ArgChecks()
                          .pointers(src, srcPosition)
                          .length(srcLength)
                          .pointer(dst)
                          .length(dstLength)
                          .status())
        return s;
    if (ZeqStatus s = ArgChecks().argument(*srcPosition >= 0).status()) return s;
    return unpackBitsRowSse2(src, srcPosition, srcLength, dst, dstLength);
}

// A sample count below 1 is reported as StatusBadStep, a choice kept for existing callers.
extern "C" ZeqStatus zeqiSplitRow_TIFF_16u8u_C1(const uint8_t* src, uint8_t* const dst[2],
                                                int32_t length) {
    if (ZeqStatus s = ArgChecks().pointer(src).planes(dst, 2).steps(length).status()) return s;
    splitRowSse2(src, dst[0], dst[1], length);
    return StatusOk;
}

extern "C" ZeqStatus zeqiJoinRow_TIFF_8u16u_C1(const uint8_t* const src[2], uint8_t* dst,
                                               int32_t length) {
    if (ZeqStatus s = ArgChecks().planes(src, 2).pointer(dst).steps(length).status()) return s;
    joinRowSse2(src[0], src[1], dst, length);
    return StatusOk;
}
