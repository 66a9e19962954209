// The one-shot code-block decoder: random size (up to 64x64), subband, bit
// planes, flags and pass count, and a list of segment lengths (negative ones
// included) whose positive lengths stay inside the coded bytes.
#include <cstdlib>

#include "fuzz/codeblock_seeds.h"

namespace {

using namespace zeq::fuzz;

constexpr int32_t kGuard = 0x5A5A5A5A;

void seeds(SeedSet& set) {
    forEachSeedBlock([&](const CodedBlock& c) {
        for (int32_t passes : {c.passes, c.passes / 2}) {
            SeedBuilder out;
            putCodeBlockParameters(out, c, passes);
            out.u8(0).u8(static_cast<uint32_t>(c.segmentLengths.size()));
            for (int32_t len : c.segmentLengths) out.u16(static_cast<uint32_t>(len));
            out.append(c.bytes);
            set.add(out.bytes());
        }
    });
}

}  // namespace

ZEQ_FUZZ_TARGET(seeds, in) {
    const CodeBlockParameters p = takeCodeBlockParameters(in);
    const int32_t rowWords = p.size.width + in.u8() % 4;
    const int32_t segments = in.u8();
    std::vector<int32_t> lengths(static_cast<size_t>(segments) + 1);
    for (int32_t i = 0; i < segments; ++i)
        lengths[static_cast<size_t>(i)] = static_cast<int16_t>(in.u16());
    const std::vector<uint8_t> coded = in.rest();
    // Positive lengths are cut so that the segments stay inside the data.
    int64_t left = static_cast<int64_t>(coded.size());
    for (int32_t& len : lengths) {
        if (len > left) len = static_cast<int32_t>(left);
        if (len > 0) left -= len;
    }
    int32_t bufSize = 0;
    if (zeqiDecodeGetBufSize_JPEG2K(p.size, &bufSize) != StatusOk) std::abort();
    std::vector<uint8_t> stateMemory(static_cast<size_t>(bufSize));
    std::vector<int32_t> dst(static_cast<size_t>(rowWords) * p.size.height, kGuard);
    const uint8_t none = 0;
    int32_t errorPlane = -100;
    const ZeqStatus status = zeqiDecodeCodeBlock_JPEG2K_1u32s_C1R(
        coded.empty() ? &none : coded.data(), dst.data(), 4 * rowWords, p.size, p.subband, p.sfBits,
        p.passes, lengths.data(), segments, p.flags, &errorPlane,
        reinterpret_cast<ProgressiveDecodeState*>(stateMemory.data()));
    if (status != StatusOk && status != StatusCodeBlockCorrupt) std::abort();
    if (status == StatusCodeBlockCorrupt && (errorPlane < -1 || errorPlane > 31)) std::abort();
    for (int32_t y = 0; y < p.size.height; ++y)
        for (int32_t x = p.size.width; x < rowWords; ++x)
            if (dst[static_cast<size_t>(y * rowWords + x)] != kGuard) std::abort();
}
