#include "jpeg/sample/quantize_sse2.h"

#include "jpeg/sample/quantize.h"
#include "jpeg/zigzag.h"

namespace zeq {

using namespace sse2;

void quantizeBlockSse2(int16_t* block, const uint16_t* fwdTable) {
    for (int i = 0; i < kBlockSize; i += 8)
        storeu(block + i, quantizeLanes(loadu(block + i), loadu(fwdTable + i)));
}

void dequantizeBlockSse2(int16_t* block, const uint16_t* invTable) {
    for (int i = 0; i < kBlockSize; i += 8)
        storeu(block + i, dequantizeLanes(loadu(block + i), loadu(invTable + i)));
}

}  // namespace zeq
