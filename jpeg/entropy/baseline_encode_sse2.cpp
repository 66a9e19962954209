#include "core/sse2.h"
#include "jpeg/entropy/baseline_encode.h"
#include "jpeg/zigzag.h"

namespace zeq {

namespace {

// Bit k set where zigzag coefficient k is non-zero.
uint64_t nonZeroMask(const int16_t* zigzag) {
    using namespace sse2;
    uint64_t mask = 0;
    for (int k = 0; k < kBlockSize; k += 16) {
        const V128 zeroA = _mm_cmpeq_epi16(loadu(zigzag + k), zero());
        const V128 zeroB = _mm_cmpeq_epi16(loadu(zigzag + k + 8), zero());
        const uint32_t zeros =
            static_cast<uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(zeroA, zeroB)));
        mask |= uint64_t{~zeros & 0xFFFFu} << k;
    }
    return mask;
}

}  // namespace

template <class Writer>
ZeqStatus encodeBlockSse2(const int16_t* src, int16_t* lastDC, const HuffmanEncodeSpec* dc,
                          const HuffmanEncodeSpec* ac, Writer& out) {
    int16_t zigzag[kBlockSize];
    for (int k = 0; k < kBlockSize; ++k) zigzag[k] = src[NaturalOfZigzag[k]];
    if (ZeqStatus status = encodeDCDifference(zigzag[0], lastDC, dc, out)) return status;
    uint64_t pending = nonZeroMask(zigzag) & ~uint64_t{1};
    int last = 0;
    while (pending != 0) {
        const int k = __builtin_ctzll(pending);
        pending &= pending - 1;
        if (ZeqStatus status = encodeACCoefficient(k - last - 1, zigzag[k], ac, out)) return status;
        last = k;
    }
    return last < kBlockSize - 1 ? out.symbol(ac, kEndOfBlockSymbol) : StatusOk;
}

template ZeqStatus encodeBlockSse2(const int16_t*, int16_t*, const HuffmanEncodeSpec*,
                                   const HuffmanEncodeSpec*, BoundedBitWriter&);
template ZeqStatus encodeBlockSse2(const int16_t*, int16_t*, const HuffmanEncodeSpec*,
                                   const HuffmanEncodeSpec*, FastBitWriter&);
template ZeqStatus encodeBlockSse2(const int16_t*, int16_t*, const HuffmanEncodeSpec*,
                                   const HuffmanEncodeSpec*, DirectBitWriter&);

}  // namespace zeq
