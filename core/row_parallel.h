// The row-parallel runner of the whole-image functions. Small regions (a block
// row, an MCU) run on the calling thread; above ParallelPixelThreshold pixels
// the rows are split into contiguous runs, one per thread, with OpenMP's static
// schedule. Rows are independent, so the output never depends on the thread
// count.
#ifndef ZEQ_CORE_ROW_PARALLEL_H
#define ZEQ_CORE_ROW_PARALLEL_H

#include <cstdint>

#include "zeqcore.h"

namespace zeq {

// At or below this many pixels a region is always processed serially.
constexpr int32_t ParallelPixelThreshold = 8192;

// width * height wraps like a signed 32-bit product (computed unsigned, so
// without overflow); a product that wraps negative also stays serial.
constexpr bool rowsRunInParallel(ZeqiSize roi) {
    const auto pixels = static_cast<int32_t>(static_cast<uint32_t>(roi.width) *
                                             static_cast<uint32_t>(roi.height));
    return pixels > ParallelPixelThreshold;
}

// Calls rowBody(y) once for every y in 0..roi.height-1.
template <class RowBody>
void forEachRow(ZeqiSize roi, const RowBody& rowBody) {
    const int threads = ownGetNumThreads();
    const int32_t height = roi.height;
    if (!rowsRunInParallel(roi)) {
        for (int32_t y = 0; y < height; ++y) rowBody(y);
        return;
    }
#pragma omp parallel for schedule(static) num_threads(threads)
    for (int32_t y = 0; y < height; ++y) rowBody(y);
}

}  // namespace zeq

#endif  // ZEQ_CORE_ROW_PARALLEL_H
