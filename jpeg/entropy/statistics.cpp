#include "jpeg/entropy/statistics.h"

#include "jpeg/entropy/baseline_encode.h"
#include "jpeg/entropy/progressive_encode.h"
#include "jpeg/entropy/symbol_counter.h"

namespace zeq {

namespace {

constexpr CategoryLimits kSequentialCountedLimits{15, 14};
constexpr int kLargestLoneCategory = 16;

}  // namespace

ZeqStatus countBlockSymbols(const int16_t* src, int32_t* dcCounts, int32_t* acCounts,
                            int16_t* lastDC) {
    SymbolCounter counter;
    return encodeBlockSse2(src, lastDC, tableOfCounts(dcCounts), tableOfCounts(acCounts), counter,
                           kSequentialCountedLimits);
}

ZeqStatus countLoneValue(const int16_t* src, int32_t* counts) {
    const int s = magnitudeCategory(*src);
    if (s > kLargestLoneCategory) return StatusOutOfRange;
    SymbolCounter counter;
    return counter.symbol(tableOfCounts(counts), s);
}

ZeqStatus countDCFirstSymbols(const int16_t* src, int32_t* dcCounts, int16_t* lastDC, int al) {
    SymbolCounter counter;
    return encodeDCFirst(src[0], lastDC, al, tableOfCounts(dcCounts), counter);
}

ZeqStatus countBandEnd(int32_t* acCounts, HuffmanEncodeState* state, bool refinement) {
    BandRun run = loadBandRun(state, false);
    SymbolCounter counter;
    const ZeqStatus status = emitEobRun(run, tableOfCounts(acCounts), counter, refinement);
    resetEncodeState(state);
    return status;
}

}  // namespace zeq
