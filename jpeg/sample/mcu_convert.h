// Fused per-MCU conversions between pixels and level-shifted 8x8 blocks. Each
// member is one Mcu of a pixel layout, an arithmetic (fused colour conversion
// or level shift only) and a sampling scheme; one scalar kernel (the
// reference) and one SSE2 kernel per direction serve all of them.
//
// Blocks: component 0 (and K) holds the scheme's luma blocks left to right,
// top to bottom (1, 2 or 4 blocks, 64 samples each); components 1 and 2 hold
// one block of chroma, one sample per H x V pixel group.
#ifndef ZEQ_JPEG_SAMPLE_MCU_CONVERT_H
#define ZEQ_JPEG_SAMPLE_MCU_CONVERT_H

#include <cstdint>
#include <type_traits>

#include "jpeg/sample/pixel_formats.h"

namespace zeq {

struct McuColour {};   // R, G, B pixels; truncating fused conversion
struct McuSamples {};  // Y, Cb, Cr pixels; level shift and sampling only

template <class PixelLayout, class Arithmetic, int H, int V>
struct Mcu {
    using Format = PixelLayout;
    static constexpr bool kColour = std::is_same_v<Arithmetic, McuColour>;
    static constexpr int kH = H, kV = V;                    // chroma subsampling factors
    static constexpr int kGroupBits = (H == 2) + (V == 2);  // log2 of pixels per chroma sample
    static constexpr int kWidth = 8 * H, kHeight = 8 * V;
    static constexpr int kComponents = PixelLayout::kHasK ? 4 : 3;
};

// Index in component 0 (and K) of MCU pixel (r, c).
template <int H>
constexpr int lumaIndex(int r, int c) {
    return ((r >> 3) * H + (c >> 3)) * 64 + (r & 7) * 8 + (c & 7);
}

template <class Layout, class Arithmetic>
using Mcu444 = Mcu<Layout, Arithmetic, 1, 1>;
template <class Layout, class Arithmetic>
using Mcu422 = Mcu<Layout, Arithmetic, 2, 1>;
template <class Layout, class Arithmetic>
using Mcu411 = Mcu<Layout, Arithmetic, 2, 2>;

using RgbMcu444 = Mcu444<Rgb8, McuColour>;
using RgbMcu422 = Mcu422<Rgb8, McuColour>;
using RgbMcu411 = Mcu411<Rgb8, McuColour>;
using BgrMcu444 = Mcu444<Bgr8, McuColour>;
using BgrMcu422 = Mcu422<Bgr8, McuColour>;
using BgrMcu411 = Mcu411<Bgr8, McuColour>;
using Bgr555Mcu444 = Mcu444<Bgr555, McuColour>;
using Bgr555Mcu422 = Mcu422<Bgr555, McuColour>;
using Bgr555Mcu411 = Mcu411<Bgr555, McuColour>;
using Bgr565Mcu444 = Mcu444<Bgr565, McuColour>;
using Bgr565Mcu422 = Mcu422<Bgr565, McuColour>;
using Bgr565Mcu411 = Mcu411<Bgr565, McuColour>;
using CmykMcu444 = Mcu444<Cmyk8, McuColour>;
using CmykMcu422 = Mcu422<Cmyk8, McuColour>;
using CmykMcu411 = Mcu411<Cmyk8, McuColour>;
using SamplesMcu444 = Mcu444<YCbCr8, McuSamples>;
using SamplesMcu422 = Mcu422<YCbCr8, McuSamples>;
using SamplesMcu411 = Mcu411<YCbCr8, McuSamples>;
using Packed422Mcu = Mcu422<Packed422, McuSamples>;

// The table of members; each serves a forward and a reverse function.
// clang-format off
#define ZEQ_MCU_KINDS(X) \
    X(RgbMcu444) X(RgbMcu422) X(RgbMcu411) \
    X(BgrMcu444) X(BgrMcu422) X(BgrMcu411) \
    X(Bgr555Mcu444) X(Bgr555Mcu422) X(Bgr555Mcu411) \
    X(Bgr565Mcu444) X(Bgr565Mcu422) X(Bgr565Mcu411) \
    X(CmykMcu444) X(CmykMcu422) X(CmykMcu411) \
    X(SamplesMcu444) X(SamplesMcu422) X(SamplesMcu411) \
    X(Packed422Mcu)
// clang-format on

// Pixels (row step in bytes) to blocks.
template <class M>
void mcuForwardScalar(const uint8_t* src, int32_t srcStep, int16_t* const* blocks);
template <class M>
void mcuForwardSse2(const uint8_t* src, int32_t srcStep, int16_t* const* blocks);

// Blocks to pixels; the K byte is the low 8 bits of its sample + 128.
template <class M>
void mcuReverseScalar(const int16_t* const* blocks, uint8_t* dst, int32_t dstStep);
template <class M>
void mcuReverseSse2(const int16_t* const* blocks, uint8_t* dst, int32_t dstStep);

}  // namespace zeq

#endif  // ZEQ_JPEG_SAMPLE_MCU_CONVERT_H
