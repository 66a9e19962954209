// Exported statistics functions for optimal Huffman tables.
#include "core/arg_checks.h"
#include "jpeg/entropy/progressive_encode.h"
#include "jpeg/entropy/statistics.h"

using namespace zeq;

extern "C" ZeqStatus zeqiGetHuffmanStatistics8x8_JPEG_16s_C1(const int16_t* src,
                                                             int32_t* dcStatistics,
                                                             int32_t* acStatistics,
                                                             int16_t* lastDC) {
    if (ZeqStatus s = ArgChecks().pointers(src, dcStatistics, acStatistics, lastDC).status())
        return s;
    return countBlockSymbols(src, dcStatistics, acStatistics, lastDC);
}

extern "C" ZeqStatus zeqiGetHuffmanStatisticsOne_JPEG_16s_C1(const int16_t* src,
                                                             int32_t* statistics) {
    if (ZeqStatus s = ArgChecks().pointers(src, statistics).status()) return s;
    return countLoneValue(src, statistics);
}

extern "C" ZeqStatus zeqiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(const int16_t* src,
                                                                     int32_t* dcStatistics,
                                                                     int16_t* lastDC, int32_t Al) {
    if (ZeqStatus s = ArgChecks()
                          .pointers(src, dcStatistics, lastDC)
                          .argument(validSuccessiveApproximationBit(Al))
                          .status())
        return s;
    return countDCFirstSymbols(src, dcStatistics, lastDC, Al);
}

namespace {

// Counts and state; a flush counts the pending run; otherwise the block and its band.
ZeqStatus countBand(const int16_t* src, int32_t* acStatistics, int32_t Ss, int32_t Se, int32_t Al,
                    HuffmanEncodeState* state, int32_t flush, bool refinement) {
    if (ZeqStatus s = ArgChecks().pointers(acStatistics, state).status()) return s;
    if (flush != 0) return countBandEnd(acStatistics, state, refinement);
    if (ZeqStatus s = checkBandBlock(src, Ss, Se, Al)) return s;
    return countBandSymbols(src, acStatistics, Ss, Se, Al, state, refinement);
}

}  // namespace

extern "C" ZeqStatus zeqiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(
    const int16_t* src, int32_t* acStatistics, int32_t Ss, int32_t Se, int32_t Al,
    HuffmanEncodeState* state, int32_t flush) {
    return countBand(src, acStatistics, Ss, Se, Al, state, flush, false);
}

extern "C" ZeqStatus zeqiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(
    const int16_t* src, int32_t* acStatistics, int32_t Ss, int32_t Se, int32_t Al,
    HuffmanEncodeState* state, int32_t flush) {
    return countBand(src, acStatistics, Ss, Se, Al, state, flush, true);
}
