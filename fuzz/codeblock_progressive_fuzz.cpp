// The progressive code-block decoder fed segment by segment: random size
// (up to 64x64), subband, bit planes and flags; each segment may first reset
// the pass counter. The state is exactly as large as the block needs, and
// the destination rows carry guard words that must stay untouched.
#include <cstdlib>

#include "fuzz/codeblock_seeds.h"

namespace {

using namespace zeq::fuzz;

constexpr int kMaxSegments = 200;
constexpr int32_t kGuard = 0x5A5A5A5A;

void seeds(SeedSet& set) {
    forEachSeedBlock([&](const CodedBlock& c) {
        SeedBuilder out;
        putCodeBlockParameters(out, c, static_cast<int32_t>(c.passes));
        out.u8(0);  // no extra row padding
        size_t at = 0;
        for (int32_t len : c.segmentLengths) {
            out.u8(0).u16(static_cast<uint32_t>(len));
            out.append(std::vector<uint8_t>(c.bytes.begin() + at, c.bytes.begin() + at + len));
            at += static_cast<size_t>(len);
        }
        set.add(out.bytes());
    });
}

}  // namespace

ZEQ_FUZZ_TARGET(seeds, in) {
    const CodeBlockParameters p = takeCodeBlockParameters(in);
    const int32_t rowWords = p.size.width + in.u8() % 4;
    int32_t stateSize = 0;
    if (zeqiDecodeCBProgrGetStateSize_JPEG2K(p.size, &stateSize) != StatusOk) std::abort();
    std::vector<uint8_t> stateMemory(static_cast<size_t>(stateSize));
    auto* state = reinterpret_cast<ProgressiveDecodeState*>(stateMemory.data());
    std::vector<int32_t> dst(static_cast<size_t>(rowWords) * p.size.height, kGuard);
    if (zeqiDecodeCBProgrInit_JPEG2K(state) != StatusOk ||
        zeqiDecodeCBProgrAttach_JPEG2K_32s_C1R(dst.data(), 4 * rowWords, p.size, state, p.subband,
                                               p.sfBits, p.flags) != StatusOk ||
        zeqiDecodeCBProgrSetPassCounter_JPEG2K(p.passes, state) != StatusOk)
        std::abort();
    for (int i = 0; i < kMaxSegments && in.remaining() > 0; ++i) {
        const uint8_t control = in.u8();
        if (control & 0x80) zeqiDecodeCBProgrSetPassCounter_JPEG2K(control & 0x3F, state);
        const std::vector<uint8_t> segment = in.take(in.u16());
        const uint8_t none = 0;
        const ZeqStatus status = zeqiDecodeCBProgrStep_JPEG2K(
            segment.empty() ? &none : segment.data(), static_cast<int32_t>(segment.size()), state);
        int32_t passes = 0, plane = 0;
        zeqiDecodeCBProgrGetPassCounter_JPEG2K(state, &passes);
        zeqiDecodeCBProgrGetCurBitPlaneNum_JPEG2K(state, &plane);
        if (plane < -1 || plane > 31) std::abort();
        if (status != StatusOk && status != StatusCodeBlockCorrupt) std::abort();
    }
    for (int32_t y = 0; y < p.size.height; ++y)
        for (int32_t x = p.size.width; x < rowWords; ++x)
            if (dst[static_cast<size_t>(y * rowWords + x)] != kGuard) std::abort();
}
