#include "jpeg/sample/quantize.h"

#include "jpeg/zigzag.h"

namespace zeq {

void quantizeBlockScalar(int16_t* block, const uint16_t* fwdTable) {
    for (int i = 0; i < kBlockSize; ++i) block[i] = quantizeCoefficient(block[i], fwdTable[i]);
}

void dequantizeBlockScalar(int16_t* block, const uint16_t* invTable) {
    for (int i = 0; i < kBlockSize; ++i) block[i] = dequantizeCoefficient(block[i], invTable[i]);
}

}  // namespace zeq
