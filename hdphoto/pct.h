// Photo core transform of 4x4 blocks of 32-bit samples, in place. Blocks are
// independent: a region is any set of blocks, visited in any order.
#ifndef ZEQ_HDPHOTO_PCT_H
#define ZEQ_HDPHOTO_PCT_H

#include <cstdint>

namespace zeq {

enum class PctDirection { Forward, Inverse };

// One block whose top-left sample is at `block`, rows `step` bytes apart.
void pctBlockScalar(PctDirection direction, uint8_t* block, int32_t step);
// Four blocks at once, one 32-bit lane per block.
void pctFourBlocksSse2(PctDirection direction, uint8_t* const blocks[4], int32_t step);

// Every block of an area blocksAcross x blocksDown blocks large. The SSE2
// form takes blocks four at a time in raster order; the rest go one by one.
void pctAreaScalar(PctDirection direction, uint8_t* image, int32_t step, int32_t blocksAcross,
                   int32_t blocksDown);
void pctAreaSse2(PctDirection direction, uint8_t* image, int32_t step, int32_t blocksAcross,
                 int32_t blocksDown);

}  // namespace zeq

#endif  // ZEQ_HDPHOTO_PCT_H
