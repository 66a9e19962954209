#include <array>
#include <type_traits>

#include "core/sse2.h"
#include "jpeg/entropy/baseline_encode.h"
#include "jpeg/entropy/symbol_counter.h"
#include "jpeg/zigzag.h"

namespace zeq {

namespace {

constexpr int kRowLength = 8;

// Entry [row][zeros]: the zigzag-order bits of the non-zero coefficients of
// one natural-order row whose zero coefficients an 8-bit pattern marks.
using ZigzagBitsOfRows = std::array<std::array<uint64_t, 256>, kRowLength>;
constexpr ZigzagBitsOfRows kZigzagBitsOfRows = [] {
    ZigzagBitsOfRows table{};
    for (int row = 0; row < kRowLength; ++row)
        for (int zeros = 0; zeros < 256; ++zeros)
            for (int column = 0; column < kRowLength; ++column)
                if (!(zeros & (1 << column)))
                    table[row][zeros] |= uint64_t{1}
                                         << ZigzagToNatural[row * kRowLength + column];
    return table;
}();

// Bit k set where the coefficient at zigzag index k is non-zero: a vector
// compare gives the pattern of zeros of each row, a table lookup per row
// moves the others to their zigzag places.
ZEQ_ENTROPY_INLINE uint64_t zigzagNonZeroMask(const int16_t* block) {
    using namespace sse2;
    uint64_t mask = 0;
    for (int row = 0; row < kRowLength; row += 2) {
        const V128 zerosA = _mm_cmpeq_epi16(loadu(block + row * kRowLength), zero());
        const V128 zerosB = _mm_cmpeq_epi16(loadu(block + (row + 1) * kRowLength), zero());
        const uint32_t zeros =
            static_cast<uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(zerosA, zerosB)));
        mask |= kZigzagBitsOfRows[row][zeros & 0xFF] | kZigzagBitsOfRows[row + 1][zeros >> 8];
    }
    return mask;
}

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

// The code of symbol `high` + category of v (v a DC difference, or an AC
// coefficient after fewer than 15 zeros, so the symbol is inside the table),
// then its extra bits, in one put. Below zero, v - 1 is the extra bits' ones'
// complement form, and the bits of it above the category are all ones:
// adding it to the code plus one, shifted, gives code and extra bits side by
// side.
template <MissingCode kMissing>
ZEQ_ENTROPY_INLINE ZeqStatus putCodedValue(const HuffmanEncodeSpec* table, size_t high,
                                           int32_t v, StreamBitWriter<kMissing>& out) {
    const uint64_t sign = static_cast<uint64_t>(int64_t{v} >> 63);
    const uint64_t base = static_cast<uint64_t>(int64_t{v}) + sign;
    const uint32_t s = static_cast<uint32_t>(magnitudeCategoryOf(static_cast<uint32_t>(base ^ sign)));
    const size_t symbol = high + s;
    const uint32_t entry = loadField<uint32_t>(table, offsetof(HuffmanEncodeSpec, codes), symbol);
    if (__builtin_expect(codeLength(entry) == 0, 0))
        return out.symbolWithBits(table, int(symbol), extraBits(v, int(s)), int(s));
    out.put(((codeBits(entry) - sign) << s) + base, codeLength(entry) + int(s));
    return StatusOk;
}

// The walk of the stream writers, which take every category a 16-bit value
// has: each non-zero coefficient costs one table read and one put of its code
// and extra bits together. Runs of 15 zeros and more (ZRLs, and the one
// symbol past the table, a category 16 after 15 zeros) and symbols without a
// code take the general path.
template <MissingCode kMissing>
ZEQ_ENTROPY_INLINE ZeqStatus walkStreamBlock(const int16_t* src, int16_t* lastDC,
                                             const HuffmanEncodeSpec* dc,
                                             const HuffmanEncodeSpec* ac,
                                             StreamBitWriter<kMissing>& out) {
    const int32_t diff = int32_t{src[0]} - *lastDC;
    *lastDC = src[0];
    if (ZeqStatus status = putCodedValue(dc, 0, diff, out)) return status;
    uint64_t pending = zigzagNonZeroMask(src) & ~uint64_t{1};
    size_t next = 1;  // the zigzag index after the last coded coefficient
    while (pending != 0) {
        const size_t k = static_cast<unsigned>(__builtin_ctzll(pending));
        pending &= pending - 1;
        const size_t run = k - next;
        next = k + 1;
        const int32_t c = src[NaturalOfZigzag[k]];
        if (__builtin_expect(run >= size_t{kLongestRun}, 0)) {
            if (ZeqStatus status = encodeACCoefficient(int(run), static_cast<int16_t>(c), ac, out))
                return status;
            continue;
        }
        if (ZeqStatus status = putCodedValue(ac, run * 16, c, out)) return status;
    }
    return next < size_t{kBlockSize} ? out.symbol(ac, kEndOfBlockSymbol) : StatusOk;
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

// The exported block coders run the vector walk inline on their writer.
ZeqStatus encodeBlockWithState(const int16_t* src, uint8_t* dst, int32_t dstLen, int32_t* dstPos,
                               int16_t* lastDC, const HuffmanEncodeSpec* dc,
                               const HuffmanEncodeSpec* ac, HuffmanEncodeState* state) {
    return codeIntoStream(dst, dstLen, dstPos, state, kWorstCaseBlockBytes, [&](auto& out) {
        return walkAnyBlock(src, lastDC, dc, ac, out, CategoryLimits{});
    });
}

ZeqStatus encodeBlockDirect(const int16_t* src, uint8_t* dst, int32_t* dstBitPos, int16_t* lastDC,
                            const HuffmanEncodeSpec* dc, const HuffmanEncodeSpec* ac) {
    DirectBitWriter out(dst, *dstBitPos);
    const ZeqStatus status = walkStreamBlock(src, lastDC, dc, ac, out);
    out.close(dstBitPos);
    return status;
}

}  // namespace zeq
