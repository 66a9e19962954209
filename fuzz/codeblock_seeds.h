// Seeds of the code-block decoder targets: random code blocks coded by the
// library's own tier-1 encoder, with their terminated segment lengths.
#ifndef ZEQ_FUZZ_CODEBLOCK_SEEDS_H
#define ZEQ_FUZZ_CODEBLOCK_SEEDS_H

#include "fuzz/fuzz_support.h"

namespace zeq::fuzz {

// Flags both decoders understand: the coding style (1, 2, 4, 8, 16) and the
// decoder's own (0x10000 .. 0x100000).
constexpr uint32_t kCodeBlockFlagMask = 0x1F001F;

struct CodedBlock {
    int32_t width = 0, height = 0, subband = 0, flags = 0;
    int32_t sfBits = 0, passes = 0, segments = 0;
    std::vector<uint8_t> bytes;
    std::vector<int32_t> segmentLengths;
};

inline CodedBlock encodeCodeBlock(uint32_t seed, int32_t width, int32_t height, int32_t subband,
                                  int32_t flags, int32_t termType, int topPlane) {
    SeedRandom rng(seed);
    CodedBlock c;
    c.width = width;
    c.height = height;
    c.subband = subband;
    c.flags = flags;
    std::vector<int32_t> words(static_cast<size_t>(width) * height);
    for (int32_t& w : words) {
        if (rng.range(0, 2) == 0) continue;
        const uint32_t mag = rng.next() & ((2u << rng.range(0, topPlane)) - 1);
        w = static_cast<int32_t>(mag | (mag && (rng.next() & 1) ? 0x80000000u : 0));
    }
    CodeBlockEncodeState* state = nullptr;
    zeqiEncodeInitAlloc_JPEG2K(&state, {width, height});
    zeqiEncodeLoadCodeBlock_JPEG2K_32s_C1R(words.data(), 4 * width, {width, height}, state, subband,
                                           31, termType, 0, flags, &c.sfBits, &c.passes,
                                           &c.segments);
    std::vector<uint8_t> chunk(4096);
    for (int32_t notFinished = 1; notFinished;) {
        int32_t len = static_cast<int32_t>(chunk.size());
        if (zeqiEncodeStoreBits_JPEG2K_1u(chunk.data(), &len, state, &notFinished) != StatusOk)
            break;
        c.bytes.insert(c.bytes.end(), chunk.begin(), chunk.begin() + len);
    }
    for (int32_t i = 0; i < c.segments; ++i) {
        int32_t len = 0;
        zeqiEncodeGetTermPassLen_JPEG2K(state, i, &len);
        c.segmentLengths.push_back(len);
    }
    zeqiEncodeFree_JPEG2K(state);
    return c;
}

// Parameters as both code-block targets read them.
inline void putCodeBlockParameters(SeedBuilder& out, const CodedBlock& c, int32_t passes) {
    out.u8(static_cast<uint32_t>(c.width - 1)).u8(static_cast<uint32_t>(c.height - 1));
    out.u8(static_cast<uint32_t>(c.subband)).u8(static_cast<uint32_t>(c.sfBits));
    out.u32(static_cast<uint32_t>(c.flags)).u8(static_cast<uint32_t>(passes));
}

struct CodeBlockParameters {
    ZeqiSize size;
    int32_t subband, sfBits, flags, passes;
};

inline CodeBlockParameters takeCodeBlockParameters(FuzzInput& in) {
    CodeBlockParameters p;
    p.size.width = in.range(1, 64);
    p.size.height = in.range(1, 64);
    p.subband = in.u8() % 5;
    p.sfBits = in.u8() % 34;
    p.flags = static_cast<int32_t>(in.u32() & kCodeBlockFlagMask);
    p.passes = in.u8();
    return p;
}

// The blocks the seeds cover: sizes from 1x1 to 64x64, every subband rule,
// each flag alone and the usual combinations, all three terminations.
template <class Emit>
void forEachSeedBlock(Emit emit) {
    struct Case {
        int32_t w, h, subband, flags, term, top;
    };
    const Case cases[] = {{1, 1, 0, 0, 0, 3},    {4, 4, 1, 0, 1, 6},    {8, 5, 2, 1, 2, 10},
                          {16, 16, 3, 2, 0, 12}, {13, 7, 0, 4, 1, 8},   {32, 32, 1, 8, 0, 14},
                          {9, 9, 2, 16, 1, 9},   {64, 64, 0, 6, 0, 16}, {64, 3, 3, 31, 2, 20},
                          {5, 64, 1, 18, 1, 25}};
    uint32_t seed = 100;
    for (const Case& k : cases)
        emit(encodeCodeBlock(seed++, k.w, k.h, k.subband, k.flags, k.term, k.top));
}

}  // namespace zeq::fuzz

#endif  // ZEQ_FUZZ_CODEBLOCK_SEEDS_H
