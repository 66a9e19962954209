// Exported component transforms: pointers (interleaved image, plane array,
// each plane), then the steps, then the size; then the rows, serially.
#include "core/arg_checks.h"
#include "core/rows.h"
#include "jpeg2000/component_transform.h"

using namespace zeq;
using namespace zeq::ct;

namespace {

template <class T>
void planeRows(T* const planes[3], int32_t step, int32_t y, uint8_t* out[3]) {
    for (int c = 0; c < 3; ++c) out[c] = rowAt(planes[c], step, y);
}
template <class T>
void planeRows(const T* const planes[3], int32_t step, int32_t y, const uint8_t* out[3]) {
    for (int c = 0; c < 3; ++c) out[c] = rowAt(planes[c], step, y);
}

template <Op op, class T>
ZeqStatus inPlace(T* const srcDst[3], int32_t step, ZeqiSize roi) {
    if (ZeqStatus s = ArgChecks().planes(srcDst, 3).steps(step).size(roi).status()) return s;
    for (int32_t y = 0; y < roi.height; ++y) {
        uint8_t* rows[3];
        planeRows(srcDst, step, y, rows);
        planesRow<op, T>(rows, rows, roi.width);
    }
    return StatusOk;
}

template <Op op, class T>
ZeqStatus toPlanes(const T* src, int32_t srcStep, T* const dst[3], int32_t dstStep, ZeqiSize roi) {
    if (ZeqStatus s =
            ArgChecks().pointer(src).planes(dst, 3).steps(srcStep, dstStep).size(roi).status())
        return s;
    for (int32_t y = 0; y < roi.height; ++y) {
        uint8_t* rows[3];
        planeRows(dst, dstStep, y, rows);
        pixelsToPlanesRow<op, T>(rowAt(src, srcStep, y), rows, roi.width);
    }
    return StatusOk;
}

template <Op op, class T>
ZeqStatus toPixels(const T* const src[3], int32_t srcStep, T* dst, int32_t dstStep, ZeqiSize roi) {
    if (ZeqStatus s =
            ArgChecks().pointer(dst).planes(src, 3).steps(srcStep, dstStep).size(roi).status())
        return s;
    for (int32_t y = 0; y < roi.height; ++y) {
        const uint8_t* rows[3];
        planeRows(src, srcStep, y, rows);
        planesToPixelsRow<op, T>(rows, rowAt(dst, dstStep, y), roi.width);
    }
    return StatusOk;
}

}  // namespace

#define ZEQ_CT_IN_PLACE(name, op, T)                                                      \
    extern "C" ZeqStatus name(T* const srcDst[3], int32_t srcDstStep, ZeqiSize roiSize) { \
        return inPlace<op, T>(srcDst, srcDstStep, roiSize);                               \
    }
ZEQ_CT_IN_PLACE(zeqiRCTFwd_JPEG2K_16s_P3IR, Op::RctForward, int16_t)
ZEQ_CT_IN_PLACE(zeqiRCTFwd_JPEG2K_32s_P3IR, Op::RctForward, int32_t)
ZEQ_CT_IN_PLACE(zeqiRCTInv_JPEG2K_16s_P3IR, Op::RctInverse, int16_t)
ZEQ_CT_IN_PLACE(zeqiRCTInv_JPEG2K_32s_P3IR, Op::RctInverse, int32_t)
ZEQ_CT_IN_PLACE(zeqiICTFwd_JPEG2K_16s_P3IR, Op::IctForward, int16_t)
ZEQ_CT_IN_PLACE(zeqiICTFwd_JPEG2K_32s_P3IR, Op::IctForward, int32_t)
ZEQ_CT_IN_PLACE(zeqiICTFwd_JPEG2K_32f_P3IR, Op::IctForward, float)
ZEQ_CT_IN_PLACE(zeqiICTInv_JPEG2K_16s_P3IR, Op::IctInverse, int16_t)
ZEQ_CT_IN_PLACE(zeqiICTInv_JPEG2K_32s_P3IR, Op::IctInverse, int32_t)
ZEQ_CT_IN_PLACE(zeqiICTInv_JPEG2K_32f_P3IR, Op::IctInverse, float)

#define ZEQ_CT_TO_PLANES(name, op, T)                                                          \
    extern "C" ZeqStatus name(const T* src, int32_t srcStep, T* const dst[3], int32_t dstStep, \
                              ZeqiSize roiSize) {                                              \
        return toPlanes<op, T>(src, srcStep, dst, dstStep, roiSize);                           \
    }
ZEQ_CT_TO_PLANES(zeqiRCTFwd_JPEG2K_16s_C3P3R, Op::RctForward, int16_t)
ZEQ_CT_TO_PLANES(zeqiRCTFwd_JPEG2K_32s_C3P3R, Op::RctForward, int32_t)
ZEQ_CT_TO_PLANES(zeqiICTFwd_JPEG2K_32f_C3P3R, Op::IctForward, float)

#define ZEQ_CT_TO_PIXELS(name, op, T)                                                          \
    extern "C" ZeqStatus name(const T* const src[3], int32_t srcStep, T* dst, int32_t dstStep, \
                              ZeqiSize roiSize) {                                              \
        return toPixels<op, T>(src, srcStep, dst, dstStep, roiSize);                           \
    }
ZEQ_CT_TO_PIXELS(zeqiRCTInv_JPEG2K_16s_P3C3R, Op::RctInverse, int16_t)
ZEQ_CT_TO_PIXELS(zeqiRCTInv_JPEG2K_32s_P3C3R, Op::RctInverse, int32_t)
ZEQ_CT_TO_PIXELS(zeqiICTInv_JPEG2K_32f_P3C3R, Op::IctInverse, float)
