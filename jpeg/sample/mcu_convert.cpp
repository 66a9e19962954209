#include "jpeg/sample/mcu_convert.h"

#include "core/rows.h"
#include "jpeg/sample/colour_formulas.h"

namespace zeq {

template <class M>
void mcuForwardScalar(const uint8_t* src, int32_t srcStep, int16_t* const* blocks) {
    using F = typename M::Format;
    Pixel sums[64] = {};
    for (int r = 0; r < M::kHeight; ++r) {
        const InRow row{{rowAt(src, srcStep, r)}};
        for (int c = 0; c < M::kWidth; ++c) {
            const Pixel p = F::load(row, c);
            const int i = lumaIndex<M::kH>(r, c);
            blocks[0][i] = static_cast<int16_t>(M::kColour ? mcuLuma(p) : p.c0 - kLevelShift);
            if constexpr (F::kHasK) blocks[3][i] = static_cast<int16_t>(p.k - kLevelShift);
            Pixel& s = sums[(r / M::kV) * 8 + c / M::kH];
            s.c0 += p.c0, s.c1 += p.c1, s.c2 += p.c2;
        }
    }
    const int n = M::kGroupBits;
    for (int j = 0; j < 64; ++j) {
        int32_t cb, cr;
        if constexpr (M::kColour) {
            mcuChroma(sums[j], n, cb, cr);
        } else {
            cb = (sums[j].c1 - (kLevelShift << n)) >> n;
            cr = (sums[j].c2 - (kLevelShift << n)) >> n;
        }
        blocks[1][j] = static_cast<int16_t>(cb);
        blocks[2][j] = static_cast<int16_t>(cr);
    }
}

template <class M>
void mcuReverseScalar(const int16_t* const* blocks, uint8_t* dst, int32_t dstStep) {
    using F = typename M::Format;
    for (int r = 0; r < M::kHeight; ++r) {
        const OutRow row{{rowAt(dst, dstStep, r)}};
        for (int c = 0; c < M::kWidth; ++c) {
            const int i = lumaIndex<M::kH>(r, c), j = (r / M::kV) * 8 + c / M::kH;
            const int32_t y = blocks[0][i], cb = blocks[1][j], cr = blocks[2][j];
            Pixel p = M::kColour ? mcuYCbCrToRgb(y, cb, cr)
                                 : Pixel{clampByte(y + kLevelShift), clampByte(cb + kLevelShift),
                                         clampByte(cr + kLevelShift), 0};
            if constexpr (F::kHasK) p.k = (blocks[3][i] + kLevelShift) & 0xFF;
            F::store(row, c, p);
        }
    }
}

#define ZEQ_INSTANTIATE(M)                                                       \
    template void mcuForwardScalar<M>(const uint8_t*, int32_t, int16_t* const*); \
    template void mcuReverseScalar<M>(const int16_t* const*, uint8_t*, int32_t);
ZEQ_MCU_KINDS(ZEQ_INSTANTIATE)
#undef ZEQ_INSTANTIATE

}  // namespace zeq
