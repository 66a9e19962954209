// Zigzag-order bit masks of a natural-order block after the point transform
// (|c| >> al): which coefficients are non-zero and which are exactly 1. The
// progressive coders walk the set bits of these masks instead of every
// coefficient of a band. A vector compare gives the natural-order pattern of
// each row, and one table lookup per row moves its bits to their zigzag
// places.
#ifndef ZEQ_JPEG_ENTROPY_ZIGZAG_MASKS_H
#define ZEQ_JPEG_ENTROPY_ZIGZAG_MASKS_H

#include <emmintrin.h>

#include <array>
#include <cstdint>

#include "jpeg/entropy/huffman_records.h"
#include "jpeg/zigzag.h"

namespace zeq {

constexpr int kBlockRowLength = 8;

// Entry [row][pattern]: the zigzag-order bits of the coefficients that an
// 8-bit pattern marks in one natural-order row.
using ZigzagBitsOfNaturalRows = std::array<std::array<uint64_t, 256>, kBlockRowLength>;
inline constexpr ZigzagBitsOfNaturalRows kZigzagBitsOfNaturalRows = [] {
    ZigzagBitsOfNaturalRows table{};
    for (int row = 0; row < kBlockRowLength; ++row)
        for (int pattern = 0; pattern < 256; ++pattern)
            for (int column = 0; column < kBlockRowLength; ++column)
                if (pattern & (1 << column))
                    table[size_t(row)][size_t(pattern)] |=
                        uint64_t{1} << ZigzagToNatural[size_t(row * kBlockRowLength + column)];
    return table;
}();

struct ZigzagMasks {
    uint64_t nonZero;  // bit k: |c| >> al at zigzag index k is not 0
    uint64_t one;      // bit k: it is exactly 1
};

// Bits ss..se.
inline uint64_t bandMask(int ss, int se) {
    return (~uint64_t{0} >> (kBlockSize - 1 - se)) & (~uint64_t{0} << ss);
}

ZEQ_ENTROPY_INLINE uint64_t zigzagOfNaturalMask(uint64_t natural) {
    uint64_t zigzag = 0;
    for (int row = 0; row < kBlockRowLength; ++row)
        zigzag |= kZigzagBitsOfNaturalRows[size_t(row)][(natural >> (8 * row)) & 0xFF];
    return zigzag;
}

// The plain reference: one coefficient after the other (magnitudes in 32
// bits, so -32768 has the magnitude 32768).
inline ZigzagMasks zigzagMasksScalar(const int16_t* block, int al) {
    ZigzagMasks masks{0, 0};
    for (int k = 0; k < kBlockSize; ++k) {
        const int32_t c = block[NaturalOfZigzag[size_t(k)]];
        const int32_t v = (c < 0 ? -c : c) >> al;
        if (v != 0) masks.nonZero |= uint64_t{1} << k;
        if (v == 1) masks.one |= uint64_t{1} << k;
    }
    return masks;
}

// The vector form. The magnitude of -32768 wraps to the 16-bit pattern
// 0x8000, which read unsigned is 32768 again, so the logical shift gives
// the same values as the 32-bit arithmetic above. kOnes: the mask of ones
// too (otherwise it is left 0).
template <bool kOnes = true>
ZEQ_ENTROPY_INLINE ZigzagMasks zigzagMasks(const int16_t* block, int al) {
    const __m128i shift = _mm_cvtsi32_si128(al);
    const __m128i zero = _mm_setzero_si128();
    const __m128i one = _mm_set1_epi16(1);
    uint64_t zeroBits = 0, oneBits = 0;
    for (int row = 0; row < kBlockRowLength; row += 2) {
        __m128i v[2];
        for (int i = 0; i < 2; ++i) {
            const __m128i c = _mm_loadu_si128(
                reinterpret_cast<const __m128i*>(block + (row + i) * kBlockRowLength));
            const __m128i sign = _mm_srai_epi16(c, 15);
            v[i] = _mm_srl_epi16(_mm_sub_epi16(_mm_xor_si128(c, sign), sign), shift);
        }
        const uint64_t zeros = static_cast<uint32_t>(_mm_movemask_epi8(
            _mm_packs_epi16(_mm_cmpeq_epi16(v[0], zero), _mm_cmpeq_epi16(v[1], zero))));
        zeroBits |= zeros << (8 * row);
        if (kOnes) {
            const uint64_t ones = static_cast<uint32_t>(_mm_movemask_epi8(
                _mm_packs_epi16(_mm_cmpeq_epi16(v[0], one), _mm_cmpeq_epi16(v[1], one))));
            oneBits |= ones << (8 * row);
        }
    }
    return {zigzagOfNaturalMask(~zeroBits), kOnes ? zigzagOfNaturalMask(oneBits) : 0};
}

// Bit k set where the coefficient at zigzag index k is 0. Two rows go into
// one byte vector: packing saturates, so a non-zero coefficient stays a
// non-zero byte. Each row's 8-bit pattern is looked up straight from the
// movemask word (the zigzag map is a permutation, so the zero pattern maps
// like the non-zero one).
ZEQ_ENTROPY_INLINE uint64_t zigzagZeroMask(const int16_t* block) {
    const __m128i zero = _mm_setzero_si128();
    uint64_t zigzag = 0;
    for (int row = 0; row < kBlockRowLength; row += 2) {
        const __m128i a =
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + row * kBlockRowLength));
        const __m128i b =
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + (row + 1) * kBlockRowLength));
        const auto zeros =
            static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(_mm_packs_epi16(a, b), zero)));
        zigzag |= kZigzagBitsOfNaturalRows[size_t(row)][zeros & 0xFF] |
                  kZigzagBitsOfNaturalRows[size_t(row) + 1][zeros >> 8];
    }
    return zigzag;
}

// Bit k set where the coefficient at zigzag index k is not 0.
ZEQ_ENTROPY_INLINE uint64_t zigzagNonZeroMask(const int16_t* block) {
    return ~zigzagZeroMask(block);
}

}  // namespace zeq

#endif  // ZEQ_JPEG_ENTROPY_ZIGZAG_MASKS_H
