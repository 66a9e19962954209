// Exported lossless prediction, reconstruction and row coding functions.
#include <algorithm>

#include "core/arg_checks.h"
#include "jpeg/entropy/bit_writer.h"
#include "jpeg/entropy/lossless_predict.h"
#include "jpeg/entropy/lossless_rows.h"

using namespace zeq;

namespace {

inline const uint8_t* bytesOf(const int16_t* row) { return reinterpret_cast<const uint8_t*>(row); }
inline uint8_t* bytesOf(int16_t* row) { return reinterpret_cast<uint8_t*>(row); }

// P and Pt of a first row; Pt is not tested against P.
ZeqStatus checkFirstRow(const int16_t* src, const int16_t* dst, int32_t width, int32_t P,
                        int32_t Pt) {
    return ArgChecks()
        .pointers(src, dst)
        .length(width)
        .argument(validPrecision(P) && Pt >= 0)
        .status();
}

ZeqStatus checkRow(const int16_t* src, const int16_t* prevRow, const int16_t* dst, int32_t width,
                   int32_t predictor) {
    return ArgChecks()
        .pointers(src, prevRow, dst)
        .length(width)
        .argument(validPredictor(predictor))
        .status();
}

// Components beyond four are not coded; each used one needs its row and table.
template <class Row, class Table>
ZeqStatus checkComponents(const Row* const planes[], const Table* const tables[], int nComps) {
    ArgChecks checks;
    for (int c = 0; c < nComps && checks.ok(); ++c) checks.pointers(planes[c], tables[c]);
    return checks.status();
}

}  // namespace

extern "C" ZeqStatus zeqiDiffPredFirstRow_JPEG_16s_C1(const int16_t* src, int16_t* dst,
                                                      int32_t width, int32_t P, int32_t Pt) {
    if (ZeqStatus s = checkFirstRow(src, dst, width, P, Pt)) return s;
    diffPredFirstRowSse2(bytesOf(src), bytesOf(dst), width, firstSamplePrediction(P, Pt));
    return StatusOk;
}

extern "C" ZeqStatus zeqiReconstructPredFirstRow_JPEG_16s_C1(const int16_t* src, int16_t* dst,
                                                             int32_t width, int32_t P, int32_t Pt) {
    if (ZeqStatus s = checkFirstRow(src, dst, width, P, Pt)) return s;
    reconstructFirstRowSse2(bytesOf(src), bytesOf(dst), width, firstSamplePrediction(P, Pt));
    return StatusOk;
}

extern "C" ZeqStatus zeqiDiffPredRow_JPEG_16s_C1(const int16_t* src, const int16_t* prevRow,
                                                 int16_t* dst, int32_t width, int32_t predictor) {
    if (ZeqStatus s = checkRow(src, prevRow, dst, width, predictor)) return s;
    diffPredRowSse2(bytesOf(src), bytesOf(prevRow), bytesOf(dst), width, predictor);
    return StatusOk;
}

extern "C" ZeqStatus zeqiReconstructPredRow_JPEG_16s_C1(const int16_t* src, const int16_t* prevRow,
                                                        int16_t* dst, int32_t width,
                                                        int32_t predictor) {
    if (ZeqStatus s = checkRow(src, prevRow, dst, width, predictor)) return s;
    reconstructRowSse2(bytesOf(src), bytesOf(prevRow), bytesOf(dst), width, predictor);
    return StatusOk;
}

extern "C" ZeqStatus zeqiEncodeHuffmanRow_JPEG_16s1u_P4C1(
    const int16_t* const srcPlanes[4], int32_t width, int32_t nComps, uint8_t* dst, int32_t dstLen,
    int32_t* dstPos, const HuffmanEncodeSpec* const tables[4], HuffmanEncodeState* state,
    int32_t flush) {
    if (ZeqStatus s = ArgChecks().pointer(dst).length(dstLen).pointers(dstPos, state).status())
        return s;
    if (flush != 0) return flushEncodeState(dst, dstLen, dstPos, state);
    if (ZeqStatus s =
            ArgChecks().pointer(srcPlanes).length(width).length(nComps).pointer(tables).status())
        return s;
    const int used = std::min(nComps, kLargestRowComponents);
    if (ZeqStatus s = checkComponents(srcPlanes, tables, used)) return s;
    return encodeRowWithState(srcPlanes, width, used, dst, dstLen, dstPos, tables, state);
}

extern "C" ZeqStatus zeqiDecodeHuffmanRow_JPEG_1u16s_C1P4(
    const uint8_t* src, int32_t srcLen, int32_t* srcPos, int16_t* const dstPlanes[4], int32_t width,
    int32_t nComps, int32_t* marker, const HuffmanDecodeSpec* const tables[4],
    HuffmanDecodeState* state) {
    if (ZeqStatus s = ArgChecks()
                          .pointer(src)
                          .length(srcLen)
                          .pointers(srcPos, dstPlanes)
                          .length(width)
                          .length(nComps)
                          .pointers(marker, tables, state)
                          .status())
        return s;
    const int used = std::min(nComps, kLargestRowComponents);
    if (ZeqStatus s = checkComponents(dstPlanes, tables, used)) return s;
    return decodeRowWithState(src, srcLen, srcPos, dstPlanes, width, used, marker, tables, state);
}
