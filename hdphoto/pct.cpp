#include "hdphoto/pct.h"

#include "core/rows.h"
#include "hdphoto/pct_lifting.h"

namespace zeq {

namespace {

// A 32-bit lane that wraps like the two's-complement arithmetic of the
// transform (computed unsigned, so overflow is defined) and shifts
// arithmetically.
struct WrappingLane {
    uint32_t bits;
    static WrappingLane splat(int v) { return {static_cast<uint32_t>(v)}; }
    friend WrappingLane operator+(WrappingLane x, WrappingLane y) { return {x.bits + y.bits}; }
    friend WrappingLane operator-(WrappingLane x, WrappingLane y) { return {x.bits - y.bits}; }
    friend WrappingLane operator>>(WrappingLane x, int n) {
        return {static_cast<uint32_t>(static_cast<int32_t>(x.bits) >> n)};
    }
};

}  // namespace

void pctBlockScalar(PctDirection direction, uint8_t* block, int32_t step) {
    WrappingLane c[16];
    for (int row = 0; row < 4; ++row)
        for (int col = 0; col < 4; ++col)
            c[4 * row + col].bits = loadElement<uint32_t>(rowAt(block, step, row), col);
    if (direction == PctDirection::Forward)
        pct::forward4x4(c);
    else
        pct::inverse4x4(c);
    for (int row = 0; row < 4; ++row)
        for (int col = 0; col < 4; ++col)
            storeElement<uint32_t>(rowAt(block, step, row), col, c[4 * row + col].bits);
}

void pctAreaScalar(PctDirection direction, uint8_t* image, int32_t step, int32_t blocksAcross,
                   int32_t blocksDown) {
    for (int32_t by = 0; by < blocksDown; ++by)
        for (int32_t bx = 0; bx < blocksAcross; ++bx)
            pctBlockScalar(direction, rowAt(image, step, 4 * by) + 16 * bx, step);
}

}  // namespace zeq
