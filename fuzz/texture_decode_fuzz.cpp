// The DXT1, DXT3, DXT5 and BC7 decoders on arbitrary blocks: random image
// size and row step (the step may exceed the row, or be negative, walking up
// from the last row); the source holds exactly the blocks the size needs, and
// the bytes outside the image's pixels must stay untouched.
#include <cstdlib>

#include "fuzz/fuzz_support.h"

namespace {

using namespace zeq::fuzz;

constexpr uint8_t kGuard = 0xA5;

using Decoder = ZeqStatus (*)(const uint8_t*, uint8_t*, int32_t, ZeqiSize);
using Encoder = ZeqStatus (*)(const uint8_t*, int32_t, ZeqiSize, uint8_t*);

constexpr Decoder kDecoders[] = {
    zeqiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R, zeqiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R,
    zeqiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R, zeqiTextureDecodeBlockToRGBA_BC7_8u_C1C4R};
constexpr int kBlockBytes[] = {8, 16, 16, 16};

void seeds(SeedSet& set) {
    const Encoder encoders[] = {zeqiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R,
                                zeqiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R,
                                zeqiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R};
    SeedRandom rng(51);
    for (int format = 0; format < 3; ++format) {
        for (ZeqiSize size : {ZeqiSize{4, 4}, ZeqiSize{17, 9}, ZeqiSize{5, 5}}) {
            std::vector<uint8_t> rgba(static_cast<size_t>(size.width) * size.height * 4);
            for (size_t i = 0; i < rgba.size(); ++i)
                rgba[i] = static_cast<uint8_t>((i * 7) ^ rng.range(0, 40));
            const int blocks = ((size.width + 3) / 4) * ((size.height + 3) / 4);
            std::vector<uint8_t> coded(static_cast<size_t>(blocks) * kBlockBytes[format]);
            encoders[format](rgba.data(), size.width * 4, size, coded.data());
            SeedBuilder out;
            out.u8(static_cast<uint32_t>(format)).u8(static_cast<uint32_t>(size.width - 1));
            out.u8(static_cast<uint32_t>(size.height - 1)).u8(0).append(coded);
            set.add(out.bytes());
        }
    }
    // BC7 has no encoder here: one block of each mode, the mode bit set in
    // the first byte and the rest pseudo-random.
    SeedBuilder out;
    out.u8(3).u8(31).u8(3).u8(0);
    for (int mode = 0; mode < 8; ++mode) {
        std::vector<uint8_t> block(16);
        for (uint8_t& b : block) b = static_cast<uint8_t>(rng.next());
        block[0] = static_cast<uint8_t>((block[0] << (mode + 1)) | (1u << mode));
        out.append(block);
    }
    set.add(out.bytes());
}

}  // namespace

ZEQ_FUZZ_TARGET(seeds, in) {
    const int format = in.u8() % 4;
    const ZeqiSize size{in.range(1, 64), in.range(1, 64)};
    const uint8_t stepChoice = in.u8();
    const int32_t rowBytes = size.width * 4;
    const int32_t pad = stepChoice & 7;
    const bool upward = stepChoice & 8;
    const int32_t span = rowBytes + pad;
    const int blocks = ((size.width + 3) / 4) * ((size.height + 3) / 4);
    std::vector<uint8_t> src = in.take(static_cast<size_t>(blocks) * kBlockBytes[format]);
    src.resize(static_cast<size_t>(blocks) * kBlockBytes[format], 0);
    std::vector<uint8_t> image(static_cast<size_t>(span) * size.height, kGuard);
    uint8_t* first =
        upward ? image.data() + static_cast<size_t>(span) * (size.height - 1) : image.data();
    const int32_t step = upward ? -span : span;
    if (kDecoders[format](src.data(), first, step, size) != StatusOk) std::abort();
    for (int32_t y = 0; y < size.height; ++y)
        for (int32_t x = rowBytes; x < span; ++x)
            if (image[static_cast<size_t>(y * span + x)] != kGuard) std::abort();
}
