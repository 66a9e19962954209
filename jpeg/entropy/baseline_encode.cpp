#include "jpeg/entropy/baseline_encode.h"

#include "jpeg/entropy/scan_order.h"
#include "jpeg/entropy/symbol_counter.h"

namespace zeq {

template <class Writer>
ZeqStatus encodeBlockScalar(const int16_t* src, int16_t* lastDC, const HuffmanEncodeSpec* dc,
                            const HuffmanEncodeSpec* ac, Writer& out, CategoryLimits limits) {
    if (ZeqStatus status = encodeDCDifference(src[0], lastDC, dc, out, limits.dc)) return status;
    int run = 0;
    for (int k = 1; k < kBlockSize; ++k) {
        const int16_t c = src[NaturalOfZigzag[k]];
        if (c == 0) {
            ++run;
            continue;
        }
        if (ZeqStatus status = encodeACCoefficient(run, c, ac, out, limits.ac)) return status;
        run = 0;
    }
    return run > 0 ? out.symbol(ac, kEndOfBlockSymbol) : StatusOk;
}

template ZeqStatus encodeBlockScalar(const int16_t*, int16_t*, const HuffmanEncodeSpec*,
                                     const HuffmanEncodeSpec*, BoundedBitWriter&, CategoryLimits);
template ZeqStatus encodeBlockScalar(const int16_t*, int16_t*, const HuffmanEncodeSpec*,
                                     const HuffmanEncodeSpec*, FastBitWriter&, CategoryLimits);
template ZeqStatus encodeBlockScalar(const int16_t*, int16_t*, const HuffmanEncodeSpec*,
                                     const HuffmanEncodeSpec*, DirectBitWriter&, CategoryLimits);
template ZeqStatus encodeBlockScalar(const int16_t*, int16_t*, const HuffmanEncodeSpec*,
                                     const HuffmanEncodeSpec*, SymbolCounter&, CategoryLimits);

ZeqStatus encodeOneWithState(const int16_t* src, uint8_t* dst, int32_t dstLen, int32_t* dstPos,
                             const HuffmanEncodeSpec* table, HuffmanEncodeState* state) {
    BoundedBitWriter out(dst, dstLen, *dstPos, state);
    const ZeqStatus status = encodeLoneValue(*src, table, out);
    out.close(dstPos, state);
    return status;
}

}  // namespace zeq
