#include "jpeg/entropy/lossless_rows.h"

#include <algorithm>

#include "core/rows.h"
#include "jpeg/entropy/baseline_decode.h"
#include "jpeg/entropy/baseline_encode.h"
#include "jpeg/entropy/bit_writer.h"

namespace zeq {

namespace {

// The row is coded in runs of samples; a run with room for its worst case
// goes through the unbounded writer.
constexpr int32_t kSamplesPerRun = 64;
// A code of up to 16 bits and up to 15 extra bits, every byte stuffed.
constexpr int32_t kWorstCaseValueBytes = 2 * 4;
constexpr int32_t kPaddingBytes = 2;

inline const uint8_t* bytesOf(const int16_t* row) { return reinterpret_cast<const uint8_t*>(row); }
inline uint8_t* bytesOf(int16_t* row) { return reinterpret_cast<uint8_t*>(row); }

}  // namespace

ZeqStatus encodeRowWithState(const int16_t* const planes[], int32_t width, int nComps, uint8_t* dst,
                             int32_t dstLen, int32_t* dstPos,
                             const HuffmanEncodeSpec* const tables[], HuffmanEncodeState* state) {
    for (int32_t start = 0; start < width; start += kSamplesPerRun) {
        const int32_t end = start + std::min(kSamplesPerRun, width - start);
        const int32_t worstCase = (end - start) * nComps * kWorstCaseValueBytes + kPaddingBytes;
        const ZeqStatus status =
            codeIntoStream(dst, dstLen, dstPos, state, worstCase, [&](auto& out) -> ZeqStatus {
                for (int32_t i = start; i < end; ++i)
                    for (int c = 0; c < nComps; ++c)
                        if (ZeqStatus s = encodeLoneValue(
                                loadElement<int16_t>(bytesOf(planes[c]), i), tables[c], out))
                            return s;
                return StatusOk;
            });
        if (status != StatusOk) return status;
    }
    return StatusOk;
}

ZeqStatus decodeRowWithState(const uint8_t* src, int32_t srcLen, int32_t* srcPos,
                             int16_t* const planes[], int32_t width, int nComps, int32_t* marker,
                             const HuffmanDecodeSpec* const tables[], HuffmanDecodeState* state) {
    StreamBitReader in = openStream(src, srcLen, srcPos, marker, state);
    ZeqStatus status = StatusOk;
    for (int32_t i = 0; i < width && status == StatusOk; ++i) {
        for (int c = 0; c < nComps; ++c) {
            int16_t value;
            status = decodeLoneValue(in, tables[c], &value);
            if (status != StatusOk) break;
            storeElement<int16_t>(bytesOf(planes[c]), i, value);
        }
    }
    closeStream(in, srcPos, state);
    return status;
}

}  // namespace zeq
