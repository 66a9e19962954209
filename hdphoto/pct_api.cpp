// Exported photo core transform functions: the general region members and the
// fixed 8x8, 8x16 and 16x16 areas.
#include <cstdint>

#include "core/arg_checks.h"
#include "hdphoto/pct.h"

using namespace zeq;

namespace {

constexpr int32_t kBlockSide = 4;
constexpr int32_t kSampleBytes = 4;

// Null image, size below 1, step short of the row, then a size that is not
// whole blocks: the size is checked twice, around the step.
ZeqStatus checkRegion(const int32_t* image, int32_t step, ZeqiSize roi) {
    if (ZeqStatus s = ArgChecks().pointer(image).size(roi).status()) return s;
    if (step < int64_t{kSampleBytes} * roi.width) return StatusBadStep;
    if (roi.width % kBlockSide != 0 || roi.height % kBlockSide != 0) return StatusBadSize;
    return StatusOk;
}

ZeqStatus transformRegion(PctDirection direction, int32_t* image, int32_t step, ZeqiSize roi) {
    if (ZeqStatus s = checkRegion(image, step, roi)) return s;
    pctAreaSse2(direction, reinterpret_cast<uint8_t*>(image), step, roi.width / kBlockSide,
                roi.height / kBlockSide);
    return StatusOk;
}

template <int32_t kWidth, int32_t kHeight>
ZeqStatus transformArea(PctDirection direction, int32_t* image, int32_t step) {
    if (ZeqStatus s = ArgChecks().pointer(image).status()) return s;
    if (step < kSampleBytes * kWidth) return StatusBadStep;
    pctAreaSse2(direction, reinterpret_cast<uint8_t*>(image), step, kWidth / kBlockSide,
                kHeight / kBlockSide);
    return StatusOk;
}

}  // namespace

extern "C" ZeqStatus zeqiPCTFwd_HDP_32s_C1IR(int32_t* srcDst, int32_t srcDstStep,
                                             ZeqiSize roiSize) {
    return transformRegion(PctDirection::Forward, srcDst, srcDstStep, roiSize);
}
extern "C" ZeqStatus zeqiPCTFwd8x8_HDP_32s_C1IR(int32_t* srcDst, int32_t srcDstStep) {
    return transformArea<8, 8>(PctDirection::Forward, srcDst, srcDstStep);
}
extern "C" ZeqStatus zeqiPCTFwd8x16_HDP_32s_C1IR(int32_t* srcDst, int32_t srcDstStep) {
    return transformArea<8, 16>(PctDirection::Forward, srcDst, srcDstStep);
}
extern "C" ZeqStatus zeqiPCTFwd16x16_HDP_32s_C1IR(int32_t* srcDst, int32_t srcDstStep) {
    return transformArea<16, 16>(PctDirection::Forward, srcDst, srcDstStep);
}
extern "C" ZeqStatus zeqiPCTInv_HDP_32s_C1IR(int32_t* srcDst, int32_t srcDstStep,
                                             ZeqiSize roiSize) {
    return transformRegion(PctDirection::Inverse, srcDst, srcDstStep, roiSize);
}
extern "C" ZeqStatus zeqiPCTInv8x8_HDP_32s_C1IR(int32_t* srcDst, int32_t srcDstStep) {
    return transformArea<8, 8>(PctDirection::Inverse, srcDst, srcDstStep);
}
extern "C" ZeqStatus zeqiPCTInv8x16_HDP_32s_C1IR(int32_t* srcDst, int32_t srcDstStep) {
    return transformArea<8, 16>(PctDirection::Inverse, srcDst, srcDstStep);
}
extern "C" ZeqStatus zeqiPCTInv16x16_HDP_32s_C1IR(int32_t* srcDst, int32_t srcDstStep) {
    return transformArea<16, 16>(PctDirection::Inverse, srcDst, srcDstStep);
}
