// Exported chroma sampling: region functions over the destination region
// (two-size check order) and row functions.
#include "core/arg_checks.h"
#include "core/row_parallel.h"
#include "core/rows.h"
#include "jpeg/sample/sampling.h"

using namespace zeq;

extern "C" ZeqStatus zeqiSampleDownH2V1_JPEG_8u_C1R(const uint8_t* src, int32_t srcStep,
                                                    ZeqiSize srcSize, uint8_t* dst, int32_t dstStep,
                                                    ZeqiSize dstSize) {
    if (ZeqStatus s = checkTwoSizeRegion(src, srcStep, srcSize, dst, dstStep, dstSize)) return s;
    forEachRow(dstSize, [&](int32_t y) {
        boxDownH2V1Sse2(rowAt(src, srcStep, y), rowAt(dst, dstStep, y), dstSize.width,
                        kRegionH2V1Bias);
    });
    return StatusOk;
}

extern "C" ZeqStatus zeqiSampleDownH2V2_JPEG_8u_C1R(const uint8_t* src, int32_t srcStep,
                                                    ZeqiSize srcSize, uint8_t* dst, int32_t dstStep,
                                                    ZeqiSize dstSize) {
    if (ZeqStatus s = checkTwoSizeRegion(src, srcStep, srcSize, dst, dstStep, dstSize)) return s;
    forEachRow(dstSize, [&](int32_t y) {
        boxDownH2V2Sse2(rowAt(src, srcStep, 2 * y), rowAt(src, srcStep, 2 * y + 1),
                        rowAt(dst, dstStep, y), dstSize.width, kRegionH2V2Bias);
    });
    return StatusOk;
}

// Serial by design: the cheapest of the four, so a fork would not pay.
extern "C" ZeqStatus zeqiSampleUpH2V1_JPEG_8u_C1R(const uint8_t* src, int32_t srcStep,
                                                  ZeqiSize srcSize, uint8_t* dst, int32_t dstStep,
                                                  ZeqiSize dstSize) {
    if (ZeqStatus s = checkTwoSizeRegion(src, srcStep, srcSize, dst, dstStep, dstSize)) return s;
    for (int32_t y = 0; y < dstSize.height; ++y)
        triangleUpH2V1Sse2(rowAt(src, srcStep, y), rowAt(dst, dstStep, y), dstSize.width);
    return StatusOk;
}

// Output row y lies between source rows y/2 and its neighbour above (even y)
// or below (odd y); the caller supplies rows -1 and h.
extern "C" ZeqStatus zeqiSampleUpH2V2_JPEG_8u_C1R(const uint8_t* src, int32_t srcStep,
                                                  ZeqiSize srcSize, uint8_t* dst, int32_t dstStep,
                                                  ZeqiSize dstSize) {
    if (ZeqStatus s = checkTwoSizeRegion(src, srcStep, srcSize, dst, dstStep, dstSize)) return s;
    forEachRow(dstSize, [&](int32_t y) {
        const int32_t near = y >> 1, far = (y & 1) ? near + 1 : near - 1;
        triangleUpH2V2Sse2(rowAt(src, srcStep, near), rowAt(src, srcStep, far),
                           rowAt(dst, dstStep, y), dstSize.width);
    });
    return StatusOk;
}

// Outputs k while 2k < srcWidth: an odd width reads one sample past it.
extern "C" ZeqStatus zeqiSampleDownRowH2V1_Box_JPEG_8u_C1(const uint8_t* src, int32_t srcWidth,
                                                          uint8_t* dst) {
    if (ZeqStatus s = ArgChecks().pointers(src, dst).length(srcWidth).status()) return s;
    boxDownH2V1Sse2(src, dst, srcWidth / 2 + srcWidth % 2, kRowH2V1Bias);
    return StatusOk;
}

extern "C" ZeqStatus zeqiSampleDownRowH2V2_Box_JPEG_8u_C1(const uint8_t* src1, const uint8_t* src2,
                                                          int32_t srcWidth, uint8_t* dst) {
    if (ZeqStatus s = ArgChecks().pointers(src1, src2, dst).length(srcWidth).status()) return s;
    boxDownH2V2Sse2(src1, src2, dst, srcWidth / 2 + srcWidth % 2, kRowH2V2Bias);
    return StatusOk;
}

extern "C" ZeqStatus zeqiSampleUpRowH2V1_Triangle_JPEG_8u_C1(const uint8_t* src, int32_t srcWidth,
                                                             uint8_t* dst) {
    if (ZeqStatus s = ArgChecks().pointers(src, dst).length(srcWidth).status()) return s;
    triangleUpH2V1EdgeRow(src, srcWidth, dst, triangleUpH2V1Sse2);
    return StatusOk;
}

extern "C" ZeqStatus zeqiSampleUpRowH2V2_Triangle_JPEG_8u_C1(const uint8_t* srcNear,
                                                             const uint8_t* srcFar,
                                                             int32_t srcWidth, uint8_t* dst) {
    if (ZeqStatus s = ArgChecks().pointers(srcNear, srcFar, dst).length(srcWidth).status())
        return s;
    triangleUpH2V2EdgeRow(srcNear, srcFar, srcWidth, dst, triangleUpH2V2Sse2);
    return StatusOk;
}
