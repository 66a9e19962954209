// Symbol statistics for optimal Huffman tables: how often each symbol would
// be coded by the sequential, lone-value and progressive encoders. The block
// and progressive counts come from the encoders themselves, run with a
// SymbolCounter (symbol_counter.h); the counters are only added to.
#ifndef ZEQ_JPEG_ENTROPY_STATISTICS_H
#define ZEQ_JPEG_ENTROPY_STATISTICS_H

#include <cstdint>

#include "jpeg/entropy/huffman_records.h"

namespace zeq {

// Sequential block: DC categories above 15 and AC categories above 14 are
// refused with StatusCoefficientRange (the last DC has taken src[0] by then).
ZeqStatus countBlockSymbols(const int16_t* src, int32_t* dcCounts, int32_t* acCounts,
                            int16_t* lastDC);
// A lone value's category; above 16 (no 16-bit value) StatusOutOfRange.
ZeqStatus countLoneValue(const int16_t* src, int32_t* counts);
ZeqStatus countDCFirstSymbols(const int16_t* src, int32_t* dcCounts, int16_t* lastDC, int al);
// The progressive AC passes carry their run in the state's eobRun and
// correctionCount; the correction bits themselves are not kept.
ZeqStatus countBandSymbols(const int16_t* src, int32_t* acCounts, int ss, int se, int al,
                           HuffmanEncodeState* state, bool refinement);
// Counts the pending run and resets the whole state, also when the count
// failed; returns the status of the count.
ZeqStatus countBandEnd(int32_t* acCounts, HuffmanEncodeState* state, bool refinement);

}  // namespace zeq

#endif  // ZEQ_JPEG_ENTROPY_STATISTICS_H
