#include "jpeg/sample/quantize_sse2.h"

#include "jpeg/sample/quantize.h"
#include "jpeg/zigzag.h"

namespace zeq {

using namespace sse2;

namespace {

template <bool kReciprocalsBelow32768>
void quantizeBlock(int16_t* block, const uint16_t* fwdTable) {
    for (int i = 0; i < kBlockSize; i += 8)
        storeu(block + i, quantizeLanes<kReciprocalsBelow32768>(loadu(block + i),
                                                                loadu(fwdTable + i)));
}

bool reciprocalsBelow32768(const uint16_t* fwdTable) {
    V128 topBits = zero();
    for (int i = 0; i < kBlockSize; i += 8) topBits = _mm_or_si128(topBits, loadu(fwdTable + i));
    return (_mm_movemask_epi8(topBits) & 0xAAAA) == 0;
}

}  // namespace

// Quantizers of 2 and up give reciprocals below 32768, where the signed high
// multiply is already exact; only tables holding a 0 or a 1 pay the correction.
void quantizeBlockSse2(int16_t* block, const uint16_t* fwdTable) {
    if (reciprocalsBelow32768(fwdTable))
        quantizeBlock<true>(block, fwdTable);
    else
        quantizeBlock<false>(block, fwdTable);
}

void dequantizeBlockSse2(int16_t* block, const uint16_t* invTable) {
    for (int i = 0; i < kBlockSize; i += 8)
        storeu(block + i, dequantizeLanes(loadu(block + i), loadu(invTable + i)));
}

}  // namespace zeq
