#include "core/rows.h"
#include "jpeg/sample/colour_sse2.h"
#include "jpeg/sample/mcu_convert.h"

namespace zeq {

using namespace sse2;
using namespace colour_sse2;

namespace {

// Sums of adjacent lane pairs of a (chroma columns 0..3) and b (4..7).
V128 pairSums(V128 a, V128 b) {
    const V128 ones = splat16(1);
    return _mm_packs_epi32(_mm_madd_epi16(a, ones), _mm_madd_epi16(b, ones));
}

V128 levelShiftDown(V128 v) { return _mm_sub_epi16(v, splat16(128)); }

// Sample + 128 clamped to 0..255, for every 16-bit sample.
V128 levelShiftUp(V128 v) { return clampByte16(_mm_adds_epi16(v, splat16(128))); }

// Chroma row j from the channel sums of its pixel groups.
template <class M>
void storeChroma(const V128 sum[3], int16_t* const* blocks, int j) {
    V128 cb, cr;
    if constexpr (M::kColour) {
        mcuChroma<M::kGroupBits>(sum[0], sum[1], sum[2], cb, cr);
    } else {
        const V128 offset = splat16(static_cast<int16_t>(128 << M::kGroupBits));
        cb = _mm_srai_epi16(_mm_sub_epi16(sum[1], offset), M::kGroupBits);
        cr = _mm_srai_epi16(_mm_sub_epi16(sum[2], offset), M::kGroupBits);
    }
    storeu(blocks[1] + 8 * j, cb);
    storeu(blocks[2] + 8 * j, cr);
}

// Rows of sixteen three-byte pixels per step (a 4:4:4 MCU pairs two rows of
// eight), fully unrolled. Pixels split by parity put both pixels of a
// horizontal group in the same lane, so group sums are plain adds: of the
// (B - G, B - R) pairs for the colour members (chroma is linear in them), of
// the chroma channels for the sampling members.
template <class M>
void mcuForward16(const uint8_t* src, int32_t srcStep, int16_t* const* blocks) {
    using F = typename M::Format;
    constexpr bool kPairedRows = M::kWidth == 8;
    constexpr int kSteps = kPairedRows ? 4 : M::kHeight;
    constexpr int kChromaShift = 16 + M::kGroupBits;
    const V128 shift = splat16(128);
    ChannelPairs groups{zero(), zero()};
    V128 cbSum = zero(), crSum = zero();
#pragma GCC unroll 16
    for (int step = 0; step < kSteps; ++step) {
        const int r = kPairedRows ? 2 * step : step;
        const uint8_t* first = rowAt(src, srcStep, r);
        const Pixels16 p = kPairedRows ? F::load16(first, rowAt(src, srcStep, r + 1), false, false)
                                       : F::load16(first, first + 24, true, false);
        Lanes16 luma = inPixelOrder(p.even.c0, p.odd.c0);
        SplitPairs pairs{};
        if constexpr (M::kColour) {
            pairs = channelPairs(p);
            const Lanes16 t = pairRowHigh(pairs, lumaPairWeights());
            const Lanes16 g = inPixelOrder(p.even.c1, p.odd.c1);
            luma = {_mm_add_epi16(t.low, g.low), _mm_add_epi16(t.high, g.high)};
        }
        // Pixels 0..7 and 8..15: the next row of the same block, or the next block.
        storeu(blocks[0] + lumaIndex<M::kH>(r, 0), _mm_sub_epi16(luma.low, shift));
        storeu(blocks[0] + (kPairedRows ? lumaIndex<1>(r + 1, 0) : lumaIndex<M::kH>(r, 8)),
               _mm_sub_epi16(luma.high, shift));
        if constexpr (kPairedRows) {
            Lanes16 cb = inPixelOrder(p.even.c1, p.odd.c1), cr = inPixelOrder(p.even.c2, p.odd.c2);
            if constexpr (M::kColour) {
                cb = pairRowHigh(pairs, cbPairWeights());
                cr = pairRowHigh(pairs, crPairWeights());
            } else {
                cb = {_mm_sub_epi16(cb.low, shift), _mm_sub_epi16(cb.high, shift)};
                cr = {_mm_sub_epi16(cr.low, shift), _mm_sub_epi16(cr.high, shift)};
            }
            storeu(blocks[1] + 8 * r, cb.low);
            storeu(blocks[1] + 8 * r + 8, cb.high);
            storeu(blocks[2] + 8 * r, cr.low);
            storeu(blocks[2] + 8 * r + 8, cr.high);
        } else {
            const bool lastOfGroup = r % M::kV == M::kV - 1;
            const int j = r / M::kV;
            if constexpr (M::kColour) {
                const ChannelPairs sums = pixelPairSums(pairs);
                groups = r % M::kV == 0 ? sums : groups + sums;
                if (lastOfGroup) {
                    storeu(blocks[1] + 8 * j, pairRow<kChromaShift>(groups, cbPairWeights()));
                    storeu(blocks[2] + 8 * j, pairRow<kChromaShift>(groups, crPairWeights()));
                }
            } else {
                const V128 cb = _mm_add_epi16(p.even.c1, p.odd.c1);
                const V128 cr = _mm_add_epi16(p.even.c2, p.odd.c2);
                cbSum = r % M::kV == 0 ? cb : _mm_add_epi16(cbSum, cb);
                crSum = r % M::kV == 0 ? cr : _mm_add_epi16(crSum, cr);
                if (lastOfGroup) {
                    const V128 sum[3] = {zero(), cbSum, crSum};
                    storeChroma<M>(sum, blocks, j);
                }
            }
        }
    }
}

// One chroma row (8 samples) per step: its V pixel rows of 8 * H pixels each.
template <class M>
void mcuForward8(const uint8_t* src, int32_t srcStep, int16_t* const* blocks) {
    using F = typename M::Format;
    for (int j = 0; j < 8; ++j) {
        V128 sum[3] = {zero(), zero(), zero()};
        for (int v = 0; v < M::kV; ++v) {
            const int r = j * M::kV + v;
            const InRow row{{rowAt(src, srcStep, r)}};
            Pixels8 p[M::kH];
            for (int h = 0; h < M::kH; ++h) {
                p[h] = F::load8(row, 8 * h);
                const int i = lumaIndex<M::kH>(r, 8 * h);
                storeu(blocks[0] + i,
                       M::kColour ? mcuLuma(p[h].c0, p[h].c1, p[h].c2) : levelShiftDown(p[h].c0));
                if constexpr (F::kHasK) storeu(blocks[3] + i, levelShiftDown(p[h].k));
            }
            if constexpr (M::kH == 2) {
                sum[0] = _mm_add_epi16(sum[0], pairSums(p[0].c0, p[1].c0));
                sum[1] = _mm_add_epi16(sum[1], pairSums(p[0].c1, p[1].c1));
                sum[2] = _mm_add_epi16(sum[2], pairSums(p[0].c2, p[1].c2));
            } else {
                sum[0] = _mm_add_epi16(sum[0], p[0].c0);
                sum[1] = _mm_add_epi16(sum[1], p[0].c1);
                sum[2] = _mm_add_epi16(sum[2], p[0].c2);
            }
        }
        storeChroma<M>(sum, blocks, j);
    }
}

}  // namespace

template <class M>
void mcuForwardSse2(const uint8_t* src, int32_t srcStep, int16_t* const* blocks) {
    if constexpr (M::Format::kSixteen)
        mcuForward16<M>(src, srcStep, blocks);
    else
        mcuForward8<M>(src, srcStep, blocks);
}

namespace {

// What the pixels of one chroma row take from it: the colour terms, or the
// shifted chroma samples of the sampling members (in cb and cr).
template <class M>
McuChromaTerms chromaRow(const int16_t* const* blocks, int j) {
    const V128 cb = loadu(blocks[1] + 8 * j), cr = loadu(blocks[2] + 8 * j);
    if constexpr (M::kColour)
        return mcuChromaTerms(cb, cr);
    else
        return {levelShiftUp(cr), zero(), zero(), levelShiftUp(cb), zero()};
}

// The terms of chroma samples 4h..4h+3, each taken for both pixels of its pair.
inline McuChromaTerms replicated(const McuChromaTerms& t, int h) {
    auto twice = [h](V128 v) { return h ? _mm_unpackhi_epi16(v, v) : _mm_unpacklo_epi16(v, v); };
    return {twice(t.cr), twice(t.rRest), twice(t.gRest), twice(t.cb), twice(t.bRest)};
}

// Pixels 8h..8h+7 of MCU row r from their chroma terms. Colour lanes come out
// saturated to 16 bits (a byte pack clamps them); layouts that take 16-bit
// lanes get them clamped here.
template <class M>
Pixels8 reverse8(const int16_t* const* blocks, int r, int h, const McuChromaTerms& t) {
    const int i = lumaIndex<M::kH>(r, 8 * h);
    const V128 y = loadu(blocks[0] + i);
    Pixels8 p{levelShiftUp(y), t.cb, t.cr, zero()};
    if constexpr (M::kColour) {
        p = mcuYCbCrToRgb(y, t);
        if constexpr (!M::Format::kSixteen)
            p = {clampByte16(p.c0), clampByte16(p.c1), clampByte16(p.c2), zero()};
    }
    if constexpr (M::Format::kHasK)
        p.k = _mm_and_si128(_mm_add_epi16(loadu(blocks[3] + i), splat16(128)), splat16(0xFF));
    return p;
}

template <class F>
void store16Pair(uint8_t* first, uint8_t* second, const Pixels8& a, const Pixels8& b) {
    const V128 c0 = _mm_packus_epi16(a.c0, b.c0), c1 = _mm_packus_epi16(a.c1, b.c1);
    const V128 c2 = _mm_packus_epi16(a.c2, b.c2);
    if (second)
        F::store16(first, second, c0, c1, c2);
    else
        F::store16(OutRow{{first}}, 0, c0, c1, c2);
}

}  // namespace

// Fully unrolled over the chroma rows; the chroma terms of a row are formed
// once and serve its V pixel rows. Three-byte pixels go out sixteen at a
// time: one row of a 4:2:2 or 4:1:1 MCU, or two rows of a 4:4:4 MCU.
template <class M>
void mcuReverseSse2(const int16_t* const* blocks, uint8_t* dst, int32_t dstStep) {
    using F = typename M::Format;
    if constexpr (F::kSixteen && M::kH == 1) {
#pragma GCC unroll 4
        for (int r = 0; r < 8; r += 2) {
            store16Pair<F>(rowAt(dst, dstStep, r), rowAt(dst, dstStep, r + 1),
                           reverse8<M>(blocks, r, 0, chromaRow<M>(blocks, r)),
                           reverse8<M>(blocks, r + 1, 0, chromaRow<M>(blocks, r + 1)));
        }
    } else {
#pragma GCC unroll 8
        for (int j = 0; j < 8; ++j) {
            const McuChromaTerms t = chromaRow<M>(blocks, j);
            McuChromaTerms half[2] = {t, t};
            if constexpr (M::kH == 2) half[0] = replicated(t, 0), half[1] = replicated(t, 1);
            for (int v = 0; v < M::kV; ++v) {
                const int r = j * M::kV + v;
                uint8_t* row = rowAt(dst, dstStep, r);
                if constexpr (F::kSixteen) {
                    store16Pair<F>(row, nullptr, reverse8<M>(blocks, r, 0, half[0]),
                                   reverse8<M>(blocks, r, 1, half[1]));
                } else {
                    for (int h = 0; h < M::kH; ++h)
                        F::store8(OutRow{{row}}, 8 * h, reverse8<M>(blocks, r, h, half[h]));
                }
            }
        }
    }
}

#define ZEQ_INSTANTIATE(M)                                                     \
    template void mcuForwardSse2<M>(const uint8_t*, int32_t, int16_t* const*); \
    template void mcuReverseSse2<M>(const int16_t* const*, uint8_t*, int32_t);
ZEQ_MCU_KINDS(ZEQ_INSTANTIATE)
#undef ZEQ_INSTANTIATE

}  // namespace zeq
