// Exported quantization-table and block quantization functions.
#include "core/arg_checks.h"
#include "jpeg/sample/quant_tables.h"
#include "jpeg/sample/quantize.h"

using namespace zeq;

extern "C" ZeqStatus zeqiQuantFwdRawTableInit_JPEG_8u(uint8_t* rawQuantTable,
                                                      int32_t qualityFactor) {
    if (ZeqStatus s = ArgChecks().pointer(rawQuantTable).argument(qualityFactor >= 1).status())
        return s;
    scaleQuantTable(rawQuantTable, qualityFactor);
    return StatusOk;
}

extern "C" ZeqStatus zeqiQuantFwdTableInit_JPEG_8u16u(const uint8_t* rawQuantTable,
                                                      uint16_t* fwdQuantTable) {
    if (ZeqStatus s = ArgChecks().pointers(rawQuantTable, fwdQuantTable).status()) return s;
    return buildFwdQuantTable(rawQuantTable, fwdQuantTable) ? StatusOk : StatusDivideByZero;
}

extern "C" ZeqStatus zeqiQuantInvTableInit_JPEG_8u16u(const uint8_t* rawQuantTable,
                                                      uint16_t* invQuantTable) {
    if (ZeqStatus s = ArgChecks().pointers(invQuantTable, rawQuantTable).status()) return s;
    buildInvQuantTable(rawQuantTable, invQuantTable);
    return StatusOk;
}

extern "C" ZeqStatus zeqiQuantFwd8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* fwdQuantTable) {
    if (ZeqStatus s = ArgChecks().pointers(fwdQuantTable, srcDst).status()) return s;
    quantizeBlockSse2(srcDst, fwdQuantTable);
    return StatusOk;
}

extern "C" ZeqStatus zeqiQuantInv8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* invQuantTable) {
    if (ZeqStatus s = ArgChecks().pointers(invQuantTable, srcDst).status()) return s;
    dequantizeBlockSse2(srcDst, invQuantTable);
    return StatusOk;
}
