#include "jpeg/entropy/baseline_encode_sse2.h"

#include <type_traits>

#include "jpeg/entropy/symbol_counter.h"

namespace zeq {

namespace {

template <class Writer>
ZEQ_ENTROPY_INLINE ZeqStatus walkBlock(const int16_t* src, int16_t* lastDC,
                                       const HuffmanEncodeSpec* dc, const HuffmanEncodeSpec* ac,
                                       Writer& out, CategoryLimits limits) {
    if (ZeqStatus status = encodeDCDifference(src[0], lastDC, dc, out, limits.dc)) return status;
    uint64_t pending = zigzagNonZeroMask(src) & ~uint64_t{1};
    int last = 0;
    while (pending != 0) {
        const int k = __builtin_ctzll(pending);
        pending &= pending - 1;
        if (ZeqStatus status =
                encodeACCoefficient(k - last - 1, src[NaturalOfZigzag[k]], ac, out, limits.ac))
            return status;
        last = k;
    }
    return last < kBlockSize - 1 ? out.symbol(ac, kEndOfBlockSymbol) : StatusOk;
}

template <class Writer>
struct IsStreamWriter : std::false_type {};
template <MissingCode kMissing>
struct IsStreamWriter<StreamBitWriter<kMissing>> : std::true_type {};

// The stream writers' walk where the limits are those of the sequential
// encoders, the general one otherwise.
template <class Writer>
ZEQ_ENTROPY_INLINE ZeqStatus walkAnyBlock(const int16_t* src, int16_t* lastDC,
                                          const HuffmanEncodeSpec* dc, const HuffmanEncodeSpec* ac,
                                          Writer& out, CategoryLimits limits) {
    if constexpr (IsStreamWriter<Writer>::value) {
        if (limits.dc == kSymbolOnlyCategory && limits.ac == kSymbolOnlyCategory)
            return walkStreamBlock(src, lastDC, dc, ac, out);
    }
    return walkBlock(src, lastDC, dc, ac, out, limits);
}

}  // namespace

// The writer works as a local copy: its fields stay in registers.
template <class Writer>
ZeqStatus encodeBlockSse2(const int16_t* src, int16_t* lastDC, const HuffmanEncodeSpec* dc,
                          const HuffmanEncodeSpec* ac, Writer& out, CategoryLimits limits) {
    Writer local = out;
    const ZeqStatus status = walkAnyBlock(src, lastDC, dc, ac, local, limits);
    out = local;
    return status;
}

template ZeqStatus encodeBlockSse2(const int16_t*, int16_t*, const HuffmanEncodeSpec*,
                                   const HuffmanEncodeSpec*, BoundedBitWriter&, CategoryLimits);
template ZeqStatus encodeBlockSse2(const int16_t*, int16_t*, const HuffmanEncodeSpec*,
                                   const HuffmanEncodeSpec*, FastBitWriter&, CategoryLimits);
template ZeqStatus encodeBlockSse2(const int16_t*, int16_t*, const HuffmanEncodeSpec*,
                                   const HuffmanEncodeSpec*, DirectBitWriter&, CategoryLimits);
template ZeqStatus encodeBlockSse2(const int16_t*, int16_t*, const HuffmanEncodeSpec*,
                                   const HuffmanEncodeSpec*, SymbolCounter&, CategoryLimits);

ZeqStatus encodeBlockNearEnd(const int16_t* src, uint8_t* dst, int32_t dstLen, int32_t* dstPos,
                             int16_t* lastDC, const HuffmanEncodeSpec* dc,
                             const HuffmanEncodeSpec* ac, HuffmanEncodeState* state) {
    BoundedBitWriter out(dst, dstLen, *dstPos, state);
    const ZeqStatus status = walkBlock(src, lastDC, dc, ac, out, CategoryLimits{});
    out.close(dstPos, state);
    return status;
}

ZeqStatus encodeBlockDirect(const int16_t* src, uint8_t* dst, int32_t* dstBitPos, int16_t* lastDC,
                            const HuffmanEncodeSpec* dc, const HuffmanEncodeSpec* ac) {
    DirectBitWriter out(dst, *dstBitPos);
    const ZeqStatus status = walkStreamBlock<DCRoom::Sure>(src, lastDC, dc, ac, out);
    out.close(dstBitPos);
    return status;
}

}  // namespace zeq
