// Exported level-shift functions: row-parallel over the region.
#include "core/arg_checks.h"
#include "core/row_parallel.h"
#include "core/rows.h"
#include "jpeg/sample/level_shift.h"

using namespace zeq;

extern "C" ZeqStatus zeqiAdd128_JPEG_16s8u_C1R(const int16_t* src, int32_t srcStep, uint8_t* dst,
                                               int32_t dstStep, ZeqiSize roiSize) {
    if (ZeqStatus s = checkInterleavedRegion(src, srcStep, dst, dstStep, roiSize)) return s;
    forEachRow(roiSize, [&](int32_t y) {
        add128RowSse2(rowAt(src, srcStep, y), rowAt(dst, dstStep, y), roiSize.width);
    });
    return StatusOk;
}

extern "C" ZeqStatus zeqiSub128_JPEG_8u16s_C1R(const uint8_t* src, int32_t srcStep, int16_t* dst,
                                               int32_t dstStep, ZeqiSize roiSize) {
    if (ZeqStatus s = checkInterleavedRegion(src, srcStep, dst, dstStep, roiSize)) return s;
    forEachRow(roiSize, [&](int32_t y) {
        sub128RowSse2(rowAt(src, srcStep, y), rowAt(dst, dstStep, y), roiSize.width);
    });
    return StatusOk;
}
