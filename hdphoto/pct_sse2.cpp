#include "core/rows.h"
#include "core/sse2.h"
#include "hdphoto/pct.h"
#include "hdphoto/pct_lifting.h"

namespace zeq {

using namespace sse2;

namespace {

// Four 32-bit lanes, one per block.
struct BlockLanes {
    V128 v;
    static BlockLanes splat(int x) { return {_mm_set1_epi32(x)}; }
    friend BlockLanes operator+(BlockLanes x, BlockLanes y) { return {_mm_add_epi32(x.v, y.v)}; }
    friend BlockLanes operator-(BlockLanes x, BlockLanes y) { return {_mm_sub_epi32(x.v, y.v)}; }
    friend BlockLanes operator>>(BlockLanes x, int n) { return {_mm_srai_epi32(x.v, n)}; }
};

// In: row i holds four 32-bit values. Out: row j holds column j.
inline void transpose4x4(V128& r0, V128& r1, V128& r2, V128& r3) {
    const V128 t0 = _mm_unpacklo_epi32(r0, r1), t1 = _mm_unpackhi_epi32(r0, r1);
    const V128 t2 = _mm_unpacklo_epi32(r2, r3), t3 = _mm_unpackhi_epi32(r2, r3);
    r0 = _mm_unpacklo_epi64(t0, t2);
    r1 = _mm_unpackhi_epi64(t0, t2);
    r2 = _mm_unpacklo_epi64(t1, t3);
    r3 = _mm_unpackhi_epi64(t1, t3);
}

}  // namespace

// For each block row r, the four blocks' rows transpose into coefficients
// 4r .. 4r + 3 with one lane per block; the transform then runs on lanes.
void pctFourBlocksSse2(PctDirection direction, uint8_t* const blocks[4], int32_t step) {
    BlockLanes c[16];
    for (int row = 0; row < 4; ++row) {
        V128 r[4];
        for (int b = 0; b < 4; ++b) r[b] = loadu(rowAt(blocks[b], step, row));
        transpose4x4(r[0], r[1], r[2], r[3]);
        for (int col = 0; col < 4; ++col) c[4 * row + col].v = r[col];
    }
    if (direction == PctDirection::Forward)
        pct::forward4x4(c);
    else
        pct::inverse4x4(c);
    for (int row = 0; row < 4; ++row) {
        V128 r[4] = {c[4 * row].v, c[4 * row + 1].v, c[4 * row + 2].v, c[4 * row + 3].v};
        transpose4x4(r[0], r[1], r[2], r[3]);
        for (int b = 0; b < 4; ++b) storeu(rowAt(blocks[b], step, row), r[b]);
    }
}

void pctAreaSse2(PctDirection direction, uint8_t* image, int32_t step, int32_t blocksAcross,
                 int32_t blocksDown) {
    uint8_t* group[4];
    int pending = 0;
    for (int32_t by = 0; by < blocksDown; ++by) {
        for (int32_t bx = 0; bx < blocksAcross; ++bx) {
            group[pending++] = rowAt(image, step, 4 * by) + 16 * static_cast<std::ptrdiff_t>(bx);
            if (pending == 4) {
                pctFourBlocksSse2(direction, group, step);
                pending = 0;
            }
        }
    }
    for (int i = 0; i < pending; ++i) pctBlockScalar(direction, group[i], step);
}

}  // namespace zeq
