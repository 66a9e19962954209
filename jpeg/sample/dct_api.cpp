// Exported forward and inverse 8x8 DCT functions with (de)quantization.
#include "core/arg_checks.h"
#include "jpeg/sample/fdct.h"
#include "jpeg/sample/idct.h"

using namespace zeq;

// ---- Forward ---------------------------------------------------------------

extern "C" ZeqStatus zeqiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(const uint8_t* src, int32_t srcStep,
                                                         int16_t* dst,
                                                         const uint16_t* fwdQuantTable) {
    if (ZeqStatus s = ArgChecks().pointers(src, dst).steps(srcStep).pointer(fwdQuantTable).status())
        return s;
    forwardDctQuantSamplesSse2(src, srcStep, dst, fwdQuantTable);
    return StatusOk;
}

extern "C" ZeqStatus zeqiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(const uint16_t* src, int32_t srcStep,
                                                          int16_t* dst,
                                                          const float* fwdQuantTable) {
    if (ZeqStatus s = ArgChecks().pointers(src, dst).steps(srcStep).pointer(fwdQuantTable).status())
        return s;
    forwardDctQuant12BitSse2(reinterpret_cast<const uint8_t*>(src), srcStep, dst, fwdQuantTable);
    return StatusOk;
}

extern "C" ZeqStatus zeqiDCTQuantFwd8x8_JPEG_16s_C1(const int16_t* src, int16_t* dst,
                                                    const uint16_t* fwdQuantTable) {
    if (ZeqStatus s = ArgChecks().pointers(src, dst, fwdQuantTable).status()) return s;
    forwardDctQuantSse2(src, dst, fwdQuantTable);
    return StatusOk;
}

extern "C" ZeqStatus zeqiDCTQuantFwd8x8_JPEG_16s_C1I(int16_t* srcDst,
                                                     const uint16_t* fwdQuantTable) {
    if (ZeqStatus s = ArgChecks().pointers(srcDst, fwdQuantTable).status()) return s;
    forwardDctQuantSse2(srcDst, srcDst, fwdQuantTable);
    return StatusOk;
}

// ---- Inverse ---------------------------------------------------------------

extern "C" ZeqStatus zeqiDCTQuantInv8x8_JPEG_16s_C1(const int16_t* src, int16_t* dst,
                                                    const uint16_t* invQuantTable) {
    if (ZeqStatus s = ArgChecks().pointers(src, dst, invQuantTable).status()) return s;
    inverseDctQuantSse2(src, dst, invQuantTable);
    return StatusOk;
}

extern "C" ZeqStatus zeqiDCTQuantInv8x8_JPEG_16s_C1I(int16_t* srcDst,
                                                     const uint16_t* invQuantTable) {
    if (ZeqStatus s = ArgChecks().pointers(srcDst, invQuantTable).status()) return s;
    inverseDctQuantSse2(srcDst, srcDst, invQuantTable);
    return StatusOk;
}

namespace {

// The 8-bit-output inverse functions share one check order.
ZeqStatus checkInverseSamples(const void* src, const void* dst, int32_t dstStep,
                              const void* table) {
    return ArgChecks().pointers(src, dst).steps(dstStep).pointer(table).status();
}

}  // namespace

#define ZEQ_INVERSE_SAMPLES(name, kernel)                                                  \
    extern "C" ZeqStatus name(const int16_t* src, uint8_t* dst, int32_t dstStep,           \
                              const uint16_t* invQuantTable) {                             \
        if (ZeqStatus s = checkInverseSamples(src, dst, dstStep, invQuantTable)) return s; \
        kernel(src, dst, dstStep, invQuantTable);                                          \
        return StatusOk;                                                                   \
    }

ZEQ_INVERSE_SAMPLES(zeqiDCTQuantInv8x8LS_JPEG_16s8u_C1R, inverseDctQuantSamplesSse2)
ZEQ_INVERSE_SAMPLES(zeqiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R, inverseDctQuantDcSamples)
ZEQ_INVERSE_SAMPLES(zeqiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R, inverseDctQuant2x2SamplesSse2)
ZEQ_INVERSE_SAMPLES(zeqiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R, inverseDctQuant4x4SamplesSse2)
ZEQ_INVERSE_SAMPLES(zeqiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R, inverseDctQuantTo2x2SamplesSse2)
ZEQ_INVERSE_SAMPLES(zeqiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R, inverseDctQuantTo4x4SamplesSse2)

#undef ZEQ_INVERSE_SAMPLES

extern "C" ZeqStatus zeqiDCTQuantInv8x8LS_JPEG_16s16u_C1R(const int16_t* src, uint16_t* dst,
                                                          int32_t dstStep,
                                                          const float* invQuantTable) {
    if (ZeqStatus s = checkInverseSamples(src, dst, dstStep, invQuantTable)) return s;
    inverseDctQuant12BitSse2(src, reinterpret_cast<uint8_t*>(dst), dstStep, invQuantTable);
    return StatusOk;
}
