// A stand-in for a bit writer that counts symbols instead of writing them.
// The statistics for optimal tables run the very coders that write the
// stream, with this counter as their writer, so every symbol the encoding pass
// will need is counted exactly as often as it is written.
//
// A coder names the table of each symbol it writes; for the counter, that
// "table" is the statistics array itself (tableOfCounts), so a coder that
// uses a DC and an AC table counts into two arrays without knowing it.
#ifndef ZEQ_JPEG_ENTROPY_SYMBOL_COUNTER_H
#define ZEQ_JPEG_ENTROPY_SYMBOL_COUNTER_H

#include <cstdint>

#include "jpeg/entropy/huffman_records.h"

namespace zeq {

inline const HuffmanEncodeSpec* tableOfCounts(int32_t* counts) {
    return reinterpret_cast<const HuffmanEncodeSpec*>(counts);
}

struct SymbolCounter {
    // Extra bits and correction bits take no part in the statistics.
    ZEQ_ENTROPY_INLINE ZeqStatus bits(uint32_t, int) { return StatusOk; }
    ZEQ_ENTROPY_INLINE ZeqStatus symbol(const HuffmanEncodeSpec* table, int s) {
        int32_t* counts = const_cast<int32_t*>(reinterpret_cast<const int32_t*>(table));
        // Counters wrap rather than overflow (a caller that never clears them).
        counts[s] = static_cast<int32_t>(static_cast<uint32_t>(counts[s]) + 1u);
        return StatusOk;
    }
    ZEQ_ENTROPY_INLINE ZeqStatus symbolWithBits(const HuffmanEncodeSpec* table, int s, uint32_t,
                                                int) {
        return symbol(table, s);
    }
};

}  // namespace zeq

#endif  // ZEQ_JPEG_ENTROPY_SYMBOL_COUNTER_H
