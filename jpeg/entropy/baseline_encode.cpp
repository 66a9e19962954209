#include "jpeg/entropy/baseline_encode.h"

#include "jpeg/entropy/scan_order.h"

namespace zeq {

template <class Writer>
ZeqStatus encodeBlockScalar(const int16_t* src, int16_t* lastDC, const HuffmanEncodeSpec* dc,
                            const HuffmanEncodeSpec* ac, Writer& out) {
    if (ZeqStatus status = encodeDCDifference(src[0], lastDC, dc, out)) return status;
    int run = 0;
    for (int k = 1; k < kBlockSize; ++k) {
        const int16_t c = src[NaturalOfZigzag[k]];
        if (c == 0) {
            ++run;
            continue;
        }
        if (ZeqStatus status = encodeACCoefficient(run, c, ac, out)) return status;
        run = 0;
    }
    return run > 0 ? out.symbol(ac, kEndOfBlockSymbol) : StatusOk;
}

template ZeqStatus encodeBlockScalar(const int16_t*, int16_t*, const HuffmanEncodeSpec*,
                                     const HuffmanEncodeSpec*, BoundedBitWriter&);
template ZeqStatus encodeBlockScalar(const int16_t*, int16_t*, const HuffmanEncodeSpec*,
                                     const HuffmanEncodeSpec*, FastBitWriter&);
template ZeqStatus encodeBlockScalar(const int16_t*, int16_t*, const HuffmanEncodeSpec*,
                                     const HuffmanEncodeSpec*, DirectBitWriter&);

ZeqStatus encodeBlockWithState(const int16_t* src, uint8_t* dst, int32_t dstLen, int32_t* dstPos,
                               int16_t* lastDC, const HuffmanEncodeSpec* dc,
                               const HuffmanEncodeSpec* ac, HuffmanEncodeState* state) {
    if (int64_t{dstLen} - *dstPos >= kWorstCaseBlockBytes) {
        FastBitWriter out(dst, *dstPos, state);
        const ZeqStatus status = encodeBlockSse2(src, lastDC, dc, ac, out);
        out.close(dstPos, state);
        return status;
    }
    BoundedBitWriter out(dst, dstLen, *dstPos, state);
    const ZeqStatus status = encodeBlockSse2(src, lastDC, dc, ac, out);
    out.close(dstPos, state);
    return status;
}

// Category 16 (the value -32768) is coded by its symbol alone.
ZeqStatus encodeOneWithState(const int16_t* src, uint8_t* dst, int32_t dstLen, int32_t* dstPos,
                             const HuffmanEncodeSpec* table, HuffmanEncodeState* state) {
    constexpr int kSymbolOnlyCategory = 16;
    BoundedBitWriter out(dst, dstLen, *dstPos, state);
    const int s = magnitudeCategory(*src);
    const ZeqStatus status =
        out.symbolWithBits(table, s, extraBits(*src, s), s < kSymbolOnlyCategory ? s : 0);
    out.close(dstPos, state);
    return status;
}

ZeqStatus encodeBlockDirect(const int16_t* src, uint8_t* dst, int32_t* dstBitPos, int16_t* lastDC,
                            const HuffmanEncodeSpec* dc, const HuffmanEncodeSpec* ac) {
    DirectBitWriter out(dst, *dstBitPos);
    const ZeqStatus status = encodeBlockSse2(src, lastDC, dc, ac, out);
    out.close(dstBitPos);
    return status;
}

}  // namespace zeq
