// Preparing Huffman tables: DHT-form definitions (sixteen code counts, then
// the symbols by increasing code length) turned into the encode and decode
// records, and optimal definitions derived from symbol statistics.
#ifndef ZEQ_JPEG_ENTROPY_HUFFMAN_TABLES_H
#define ZEQ_JPEG_ENTROPY_HUFFMAN_TABLES_H

#include <cstdint>

#include "jpeg/entropy/huffman_records.h"

namespace zeq {

// Entries of the statistics array the optimal-table derivation reads: one per
// symbol and one for the reserved code point (its value is not used).
constexpr int kStatisticsEntries = 257;
// Counts above this never take part in the merging, so sums stay in 32 bits.
constexpr int32_t kLargestMergedCount = 1000000000;

// Clears the record and fills it. StatusHuffmanTable when the counts add up
// to more than 256, or a length ends with its next free code at 2^length or
// beyond (over-subscribed, or using an all-ones code); the record then stays
// all zero.
ZeqStatus buildEncodeSpec(const uint8_t* bits, const uint8_t* values, HuffmanEncodeSpec* spec);

// Clears the record and fills it. Accepts tables that fill the whole code
// space; StatusHuffmanTable for more than 256 codes or a fast-lookup index
// above 256 (the index 256 itself is written, into the first bytes of
// minCode), leaving the record partly built.
ZeqStatus buildDecodeSpec(const uint8_t* bits, const uint8_t* values, HuffmanDecodeSpec* spec);

// Optimal code counts (16 bytes) and symbols from 257 statistics words, with
// lengths limited to 16 and the all-ones code kept free. StatusHuffmanTable,
// writing nothing, when a code would pass 32 bits before limiting or no
// symbol has a count in 1..kLargestMergedCount.
ZeqStatus deriveOptimalTable(const int32_t* statistics, uint8_t* bits, uint8_t* values);

}  // namespace zeq

#endif  // ZEQ_JPEG_ENTROPY_HUFFMAN_TABLES_H
