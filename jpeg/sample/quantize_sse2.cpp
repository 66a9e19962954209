#include "jpeg/sample/quantize_sse2.h"

#include "jpeg/sample/quantize.h"
#include "jpeg/zigzag.h"

namespace zeq {

using namespace sse2;

void quantizeBlockSse2(int16_t* block, const uint16_t* fwdTable) {
    V128 rows[8];
    for (int y = 0; y < 8; ++y) rows[y] = loadu(block + 8 * y);
    storeQuantizedBlock(rows, block, fwdTable);
}

void dequantizeBlockSse2(int16_t* block, const uint16_t* invTable) {
    for (int i = 0; i < kBlockSize; i += 8)
        storeu(block + i, dequantizeLanes(loadu(block + i), loadu(invTable + i)));
}

}  // namespace zeq
