// Exported MCU conversions. Forward: source and block-set array, source
// step, then each component; reverse: block-set array and each component,
// destination, destination step.
#include "core/arg_checks.h"
#include "jpeg/sample/mcu_convert.h"

using namespace zeq;

namespace {

const uint8_t* bytes(const void* p) { return static_cast<const uint8_t*>(p); }
uint8_t* bytes(void* p) { return static_cast<uint8_t*>(p); }

}  // namespace

extern "C" ZeqStatus zeqiRGBToYCbCr444LS_MCU_8u16s_C3P3R(const uint8_t* src, int32_t srcStep,
                                                         int16_t* const dstMCU[3]) {
    if (ZeqStatus s = ArgChecks().pointers(src, dstMCU).steps(srcStep).planes(dstMCU, 3).status())
        return s;
    mcuForwardSse2<RgbMcu444>(bytes(src), srcStep, dstMCU);
    return StatusOk;
}

extern "C" ZeqStatus zeqiRGBToYCbCr422LS_MCU_8u16s_C3P3R(const uint8_t* src, int32_t srcStep,
                                                         int16_t* const dstMCU[3]) {
    if (ZeqStatus s = ArgChecks().pointers(src, dstMCU).steps(srcStep).planes(dstMCU, 3).status())
        return s;
    mcuForwardSse2<RgbMcu422>(bytes(src), srcStep, dstMCU);
    return StatusOk;
}

extern "C" ZeqStatus zeqiRGBToYCbCr411LS_MCU_8u16s_C3P3R(const uint8_t* src, int32_t srcStep,
                                                         int16_t* const dstMCU[3]) {
    if (ZeqStatus s = ArgChecks().pointers(src, dstMCU).steps(srcStep).planes(dstMCU, 3).status())
        return s;
    mcuForwardSse2<RgbMcu411>(bytes(src), srcStep, dstMCU);
    return StatusOk;
}

extern "C" ZeqStatus zeqiBGRToYCbCr444LS_MCU_8u16s_C3P3R(const uint8_t* src, int32_t srcStep,
                                                         int16_t* const dstMCU[3]) {
    if (ZeqStatus s = ArgChecks().pointers(src, dstMCU).steps(srcStep).planes(dstMCU, 3).status())
        return s;
    mcuForwardSse2<BgrMcu444>(bytes(src), srcStep, dstMCU);
    return StatusOk;
}

extern "C" ZeqStatus zeqiBGRToYCbCr422LS_MCU_8u16s_C3P3R(const uint8_t* src, int32_t srcStep,
                                                         int16_t* const dstMCU[3]) {
    if (ZeqStatus s = ArgChecks().pointers(src, dstMCU).steps(srcStep).planes(dstMCU, 3).status())
        return s;
    mcuForwardSse2<BgrMcu422>(bytes(src), srcStep, dstMCU);
    return StatusOk;
}

extern "C" ZeqStatus zeqiBGRToYCbCr411LS_MCU_8u16s_C3P3R(const uint8_t* src, int32_t srcStep,
                                                         int16_t* const dstMCU[3]) {
    if (ZeqStatus s = ArgChecks().pointers(src, dstMCU).steps(srcStep).planes(dstMCU, 3).status())
        return s;
    mcuForwardSse2<BgrMcu411>(bytes(src), srcStep, dstMCU);
    return StatusOk;
}

extern "C" ZeqStatus zeqiBGR555ToYCbCr444LS_MCU_16u16s_C3P3R(const uint16_t* src, int32_t srcStep,
                                                             int16_t* const dstMCU[3]) {
    if (ZeqStatus s = ArgChecks().pointers(src, dstMCU).steps(srcStep).planes(dstMCU, 3).status())
        return s;
    mcuForwardSse2<Bgr555Mcu444>(bytes(src), srcStep, dstMCU);
    return StatusOk;
}

extern "C" ZeqStatus zeqiBGR555ToYCbCr422LS_MCU_16u16s_C3P3R(const uint16_t* src, int32_t srcStep,
                                                             int16_t* const dstMCU[3]) {
    if (ZeqStatus s = ArgChecks().pointers(src, dstMCU).steps(srcStep).planes(dstMCU, 3).status())
        return s;
    mcuForwardSse2<Bgr555Mcu422>(bytes(src), srcStep, dstMCU);
    return StatusOk;
}

extern "C" ZeqStatus zeqiBGR555ToYCbCr411LS_MCU_16u16s_C3P3R(const uint16_t* src, int32_t srcStep,
                                                             int16_t* const dstMCU[3]) {
    if (ZeqStatus s = ArgChecks().pointers(src, dstMCU).steps(srcStep).planes(dstMCU, 3).status())
        return s;
    mcuForwardSse2<Bgr555Mcu411>(bytes(src), srcStep, dstMCU);
    return StatusOk;
}

extern "C" ZeqStatus zeqiBGR565ToYCbCr444LS_MCU_16u16s_C3P3R(const uint16_t* src, int32_t srcStep,
                                                             int16_t* const dstMCU[3]) {
    if (ZeqStatus s = ArgChecks().pointers(src, dstMCU).steps(srcStep).planes(dstMCU, 3).status())
        return s;
    mcuForwardSse2<Bgr565Mcu444>(bytes(src), srcStep, dstMCU);
    return StatusOk;
}

extern "C" ZeqStatus zeqiBGR565ToYCbCr422LS_MCU_16u16s_C3P3R(const uint16_t* src, int32_t srcStep,
                                                             int16_t* const dstMCU[3]) {
    if (ZeqStatus s = ArgChecks().pointers(src, dstMCU).steps(srcStep).planes(dstMCU, 3).status())
        return s;
    mcuForwardSse2<Bgr565Mcu422>(bytes(src), srcStep, dstMCU);
    return StatusOk;
}

extern "C" ZeqStatus zeqiBGR565ToYCbCr411LS_MCU_16u16s_C3P3R(const uint16_t* src, int32_t srcStep,
                                                             int16_t* const dstMCU[3]) {
    if (ZeqStatus s = ArgChecks().pointers(src, dstMCU).steps(srcStep).planes(dstMCU, 3).status())
        return s;
    mcuForwardSse2<Bgr565Mcu411>(bytes(src), srcStep, dstMCU);
    return StatusOk;
}

extern "C" ZeqStatus zeqiCMYKToYCCK444LS_MCU_8u16s_C4P4R(const uint8_t* src, int32_t srcStep,
                                                         int16_t* const dstMCU[4]) {
    if (ZeqStatus s = ArgChecks().pointers(src, dstMCU).steps(srcStep).planes(dstMCU, 4).status())
        return s;
    mcuForwardSse2<CmykMcu444>(bytes(src), srcStep, dstMCU);
    return StatusOk;
}

extern "C" ZeqStatus zeqiCMYKToYCCK422LS_MCU_8u16s_C4P4R(const uint8_t* src, int32_t srcStep,
                                                         int16_t* const dstMCU[4]) {
    if (ZeqStatus s = ArgChecks().pointers(src, dstMCU).steps(srcStep).planes(dstMCU, 4).status())
        return s;
    mcuForwardSse2<CmykMcu422>(bytes(src), srcStep, dstMCU);
    return StatusOk;
}

extern "C" ZeqStatus zeqiCMYKToYCCK411LS_MCU_8u16s_C4P4R(const uint8_t* src, int32_t srcStep,
                                                         int16_t* const dstMCU[4]) {
    if (ZeqStatus s = ArgChecks().pointers(src, dstMCU).steps(srcStep).planes(dstMCU, 4).status())
        return s;
    mcuForwardSse2<CmykMcu411>(bytes(src), srcStep, dstMCU);
    return StatusOk;
}

extern "C" ZeqStatus zeqiSampleDown444LS_MCU_8u16s_C3P3R(const uint8_t* src, int32_t srcStep,
                                                         int16_t* const dstMCU[3]) {
    if (ZeqStatus s = ArgChecks().pointers(src, dstMCU).steps(srcStep).planes(dstMCU, 3).status())
        return s;
    mcuForwardSse2<SamplesMcu444>(bytes(src), srcStep, dstMCU);
    return StatusOk;
}

extern "C" ZeqStatus zeqiSampleDown422LS_MCU_8u16s_C3P3R(const uint8_t* src, int32_t srcStep,
                                                         int16_t* const dstMCU[3]) {
    if (ZeqStatus s = ArgChecks().pointers(src, dstMCU).steps(srcStep).planes(dstMCU, 3).status())
        return s;
    mcuForwardSse2<SamplesMcu422>(bytes(src), srcStep, dstMCU);
    return StatusOk;
}

extern "C" ZeqStatus zeqiSampleDown411LS_MCU_8u16s_C3P3R(const uint8_t* src, int32_t srcStep,
                                                         int16_t* const dstMCU[3]) {
    if (ZeqStatus s = ArgChecks().pointers(src, dstMCU).steps(srcStep).planes(dstMCU, 3).status())
        return s;
    mcuForwardSse2<SamplesMcu411>(bytes(src), srcStep, dstMCU);
    return StatusOk;
}

extern "C" ZeqStatus zeqiSplit422LS_MCU_8u16s_C2P3R(const uint8_t* src, int32_t srcStep,
                                                    int16_t* const dstMCU[3]) {
    if (ZeqStatus s = ArgChecks().pointers(src, dstMCU).steps(srcStep).planes(dstMCU, 3).status())
        return s;
    mcuForwardSse2<Packed422Mcu>(bytes(src), srcStep, dstMCU);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCbCr444ToRGBLS_MCU_16s8u_P3C3R(const int16_t* const srcMCU[3],
                                                         uint8_t* dst, int32_t dstStep) {
    if (ZeqStatus s = ArgChecks().planes(srcMCU, 3).pointer(dst).steps(dstStep).status()) return s;
    mcuReverseSse2<RgbMcu444>(srcMCU, bytes(dst), dstStep);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCbCr422ToRGBLS_MCU_16s8u_P3C3R(const int16_t* const srcMCU[3],
                                                         uint8_t* dst, int32_t dstStep) {
    if (ZeqStatus s = ArgChecks().planes(srcMCU, 3).pointer(dst).steps(dstStep).status()) return s;
    mcuReverseSse2<RgbMcu422>(srcMCU, bytes(dst), dstStep);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCbCr411ToRGBLS_MCU_16s8u_P3C3R(const int16_t* const srcMCU[3],
                                                         uint8_t* dst, int32_t dstStep) {
    if (ZeqStatus s = ArgChecks().planes(srcMCU, 3).pointer(dst).steps(dstStep).status()) return s;
    mcuReverseSse2<RgbMcu411>(srcMCU, bytes(dst), dstStep);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCbCr444ToBGRLS_MCU_16s8u_P3C3R(const int16_t* const srcMCU[3],
                                                         uint8_t* dst, int32_t dstStep) {
    if (ZeqStatus s = ArgChecks().planes(srcMCU, 3).pointer(dst).steps(dstStep).status()) return s;
    mcuReverseSse2<BgrMcu444>(srcMCU, bytes(dst), dstStep);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCbCr422ToBGRLS_MCU_16s8u_P3C3R(const int16_t* const srcMCU[3],
                                                         uint8_t* dst, int32_t dstStep) {
    if (ZeqStatus s = ArgChecks().planes(srcMCU, 3).pointer(dst).steps(dstStep).status()) return s;
    mcuReverseSse2<BgrMcu422>(srcMCU, bytes(dst), dstStep);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCbCr411ToBGRLS_MCU_16s8u_P3C3R(const int16_t* const srcMCU[3],
                                                         uint8_t* dst, int32_t dstStep) {
    if (ZeqStatus s = ArgChecks().planes(srcMCU, 3).pointer(dst).steps(dstStep).status()) return s;
    mcuReverseSse2<BgrMcu411>(srcMCU, bytes(dst), dstStep);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCbCr444ToBGR555LS_MCU_16s16u_P3C3R(const int16_t* const srcMCU[3],
                                                             uint16_t* dst, int32_t dstStep) {
    if (ZeqStatus s = ArgChecks().planes(srcMCU, 3).pointer(dst).steps(dstStep).status()) return s;
    mcuReverseSse2<Bgr555Mcu444>(srcMCU, bytes(dst), dstStep);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCbCr422ToBGR555LS_MCU_16s16u_P3C3R(const int16_t* const srcMCU[3],
                                                             uint16_t* dst, int32_t dstStep) {
    if (ZeqStatus s = ArgChecks().planes(srcMCU, 3).pointer(dst).steps(dstStep).status()) return s;
    mcuReverseSse2<Bgr555Mcu422>(srcMCU, bytes(dst), dstStep);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCbCr411ToBGR555LS_MCU_16s16u_P3C3R(const int16_t* const srcMCU[3],
                                                             uint16_t* dst, int32_t dstStep) {
    if (ZeqStatus s = ArgChecks().planes(srcMCU, 3).pointer(dst).steps(dstStep).status()) return s;
    mcuReverseSse2<Bgr555Mcu411>(srcMCU, bytes(dst), dstStep);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCbCr444ToBGR565LS_MCU_16s16u_P3C3R(const int16_t* const srcMCU[3],
                                                             uint16_t* dst, int32_t dstStep) {
    if (ZeqStatus s = ArgChecks().planes(srcMCU, 3).pointer(dst).steps(dstStep).status()) return s;
    mcuReverseSse2<Bgr565Mcu444>(srcMCU, bytes(dst), dstStep);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCbCr422ToBGR565LS_MCU_16s16u_P3C3R(const int16_t* const srcMCU[3],
                                                             uint16_t* dst, int32_t dstStep) {
    if (ZeqStatus s = ArgChecks().planes(srcMCU, 3).pointer(dst).steps(dstStep).status()) return s;
    mcuReverseSse2<Bgr565Mcu422>(srcMCU, bytes(dst), dstStep);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCbCr411ToBGR565LS_MCU_16s16u_P3C3R(const int16_t* const srcMCU[3],
                                                             uint16_t* dst, int32_t dstStep) {
    if (ZeqStatus s = ArgChecks().planes(srcMCU, 3).pointer(dst).steps(dstStep).status()) return s;
    mcuReverseSse2<Bgr565Mcu411>(srcMCU, bytes(dst), dstStep);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCCK444ToCMYKLS_MCU_16s8u_P4C4R(const int16_t* const srcMCU[4],
                                                         uint8_t* dst, int32_t dstStep) {
    if (ZeqStatus s = ArgChecks().planes(srcMCU, 4).pointer(dst).steps(dstStep).status()) return s;
    mcuReverseSse2<CmykMcu444>(srcMCU, bytes(dst), dstStep);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCCK422ToCMYKLS_MCU_16s8u_P4C4R(const int16_t* const srcMCU[4],
                                                         uint8_t* dst, int32_t dstStep) {
    if (ZeqStatus s = ArgChecks().planes(srcMCU, 4).pointer(dst).steps(dstStep).status()) return s;
    mcuReverseSse2<CmykMcu422>(srcMCU, bytes(dst), dstStep);
    return StatusOk;
}

extern "C" ZeqStatus zeqiYCCK411ToCMYKLS_MCU_16s8u_P4C4R(const int16_t* const srcMCU[4],
                                                         uint8_t* dst, int32_t dstStep) {
    if (ZeqStatus s = ArgChecks().planes(srcMCU, 4).pointer(dst).steps(dstStep).status()) return s;
    mcuReverseSse2<CmykMcu411>(srcMCU, bytes(dst), dstStep);
    return StatusOk;
}

extern "C" ZeqStatus zeqiSampleUp444LS_MCU_16s8u_P3C3R(const int16_t* const srcMCU[3], uint8_t* dst,
                                                       int32_t dstStep) {
    if (ZeqStatus s = ArgChecks().planes(srcMCU, 3).pointer(dst).steps(dstStep).status()) return s;
    mcuReverseSse2<SamplesMcu444>(srcMCU, bytes(dst), dstStep);
    return StatusOk;
}

extern "C" ZeqStatus zeqiSampleUp422LS_MCU_16s8u_P3C3R(const int16_t* const srcMCU[3], uint8_t* dst,
                                                       int32_t dstStep) {
    if (ZeqStatus s = ArgChecks().planes(srcMCU, 3).pointer(dst).steps(dstStep).status()) return s;
    mcuReverseSse2<SamplesMcu422>(srcMCU, bytes(dst), dstStep);
    return StatusOk;
}

extern "C" ZeqStatus zeqiSampleUp411LS_MCU_16s8u_P3C3R(const int16_t* const srcMCU[3], uint8_t* dst,
                                                       int32_t dstStep) {
    if (ZeqStatus s = ArgChecks().planes(srcMCU, 3).pointer(dst).steps(dstStep).status()) return s;
    mcuReverseSse2<SamplesMcu411>(srcMCU, bytes(dst), dstStep);
    return StatusOk;
}

extern "C" ZeqStatus zeqiJoin422LS_MCU_16s8u_P3C2R(const int16_t* const srcMCU[3], uint8_t* dst,
                                                   int32_t dstStep) {
    if (ZeqStatus s = ArgChecks().planes(srcMCU, 3).pointer(dst).steps(dstStep).status()) return s;
    mcuReverseSse2<Packed422Mcu>(srcMCU, bytes(dst), dstStep);
    return StatusOk;
}
