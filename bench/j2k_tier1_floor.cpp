// How close the tier-1 decoder runs to the arithmetic decoder alone, on the
// code blocks of the lossless head-to-head (the 3840x2160 image, RCT, five
// 5/3 levels, 64x64 blocks, one segment each).
//
// The reference loop ("MQ only") decodes every block's bytes with the
// labels of its decisions already known, read from an array: no sample
// states, no pass scans, no coefficient writes, no checks. It is what any
// decoder built on the same MQ decoding step cannot beat, so it bounds what
// the modelling may cost. Both loops run alternately in each iteration;
// times are the thread's CPU time.
#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <vector>

#include "jpeg2000/tier1/codeblock_encoder.h"
#include "jpeg2000/tier1/mq_coder.h"
#include "jpeg2000/tier1/t1_contexts.h"
#include "tests/examples/zeqcodec/openjpeg_j2k.h"
#include "zeqcodec/j2k_layout.h"
#include "zeqcore.h"
#include "zeqj.h"

namespace {

namespace t1 = zeq::t1;
using zeqcodec::j2k::CodeBlockSize;

constexpr int32_t Width = 3840, Height = 2160, Levels = 5;

double threadSeconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

struct CodedBlock {
    int32_t width, height, subband, planes, passes;
    std::vector<uint8_t> bytes, labels, decisions;
};

// The image's lossless code blocks, coded by the library's encoder, with
// the label and value of every decision as the encoder recorded them.
std::vector<CodedBlock> losslessBlocks() {
    const zeq::container::Image image = zeq::test::j2k::syntheticImage(Width, Height, 3, 11);
    const size_t pixels = size_t{Width} * Height;
    std::vector<std::vector<int32_t>> planes(3, std::vector<int32_t>(pixels));
    for (size_t c = 0; c < 3; ++c)
        for (size_t i = 0; i < pixels; ++i) planes[c][i] = image.pixels[3 * i + c] - 128;
    int32_t* const p[3] = {planes[0].data(), planes[1].data(), planes[2].data()};
    zeqiRCTFwd_JPEG2K_32s_P3IR(p, Width * 4, ZeqiSize{Width, Height});
    const ZeqiRect full{0, 0, Width, Height};
    int32_t bufferSize = 0;
    zeqiWTGetBufSize_B53_JPEG2K_32s_C1IR(&full, &bufferSize);
    std::vector<uint8_t> buffer(static_cast<size_t>(bufferSize) + 64);
    for (auto& plane : planes)
        for (int32_t level = 1; level <= Levels; ++level) {
            const ZeqiRect r{0, 0, zeqcodec::j2k::lowSize(Width, level - 1),
                             zeqcodec::j2k::lowSize(Height, level - 1)};
            zeqiWTFwd_B53_JPEG2K_32s_C1IR(plane.data(), Width * 4, &r, buffer.data());
        }
    CodeBlockEncodeState* state = nullptr;
    zeqiEncodeInitAlloc_JPEG2K(&state, ZeqiSize{CodeBlockSize, CodeBlockSize});
    std::vector<CodedBlock> blocks;
    std::vector<int32_t> block(size_t{CodeBlockSize} * CodeBlockSize);
    std::vector<uint8_t> chunk(size_t{1} << 16);
    for (const auto& plane : planes) {
        for (const auto& band : zeqcodec::j2k::planeBands(Width, Height, Levels)) {
            for (int32_t by = 0; by < band.blocksHigh; ++by) {
                for (int32_t bx = 0; bx < band.blocksWide; ++bx) {
                    CodedBlock b{};
                    const int32_t x0 = bx * CodeBlockSize, y0 = by * CodeBlockSize;
                    b.width = std::min(CodeBlockSize, band.width - x0);
                    b.height = std::min(CodeBlockSize, band.height - y0);
                    b.subband = zeqcodec::j2k::tier1Subband(band.orientation);
                    for (int32_t y = 0; y < b.height; ++y)
                        for (int32_t x = 0; x < b.width; ++x) {
                            const int32_t v = plane[static_cast<size_t>(band.y + y0 + y) * Width +
                                                    static_cast<size_t>(band.x + x0 + x)];
                            const uint32_t m = static_cast<uint32_t>(v < 0 ? -v : v);
                            block[static_cast<size_t>(y * CodeBlockSize + x)] =
                                static_cast<int32_t>(m | (v < 0 ? 0x80000000u : 0u));
                        }
                    int32_t segments = 0;
                    zeqiEncodeLoadCodeBlock_JPEG2K_32s_C1R(
                        block.data(), CodeBlockSize * 4, ZeqiSize{b.width, b.height}, state,
                        b.subband, 31, 0, 0, 0, &b.planes, &b.passes, &segments);
                    if (b.passes == 0) continue;
                    const EncodeCodingRecord& rec = *state->coding;
                    int32_t decisions = 0;
                    for (int32_t k = 0; k < b.passes; ++k) decisions += rec.passDecisions[k];
                    b.labels.assign(rec.labels, rec.labels + decisions);
                    b.decisions.assign(rec.decisions, rec.decisions + decisions);
                    for (int32_t more = 1; more;) {
                        int32_t length = static_cast<int32_t>(chunk.size());
                        zeqiEncodeStoreBits_JPEG2K_1u(chunk.data(), &length, state, &more);
                        b.bytes.insert(b.bytes.end(), chunk.begin(), chunk.begin() + length);
                    }
                    blocks.push_back(std::move(b));
                }
            }
        }
    }
    zeqiEncodeFree_JPEG2K(state);
    return blocks;
}

// The arithmetic decoder alone; returns the number of decisions that differ
// from the recorded ones (0 unless the loop is wrong).
int64_t decodeMqOnly(const std::vector<CodedBlock>& blocks, std::vector<uint8_t>& out) {
    int64_t wrong = 0;
    for (const CodedBlock& b : blocks) {
        t1::MqDecoderRegisters r;
        t1::mqDecoderStart(r, b.bytes.data(), static_cast<int32_t>(b.bytes.size()));
        t1::MqDecoderCursor cursor(r);
        t1::MqDecodeContext contexts[t1::kContextCount];
        for (int i = 0; i < t1::kContextCount; ++i)
            contexts[i] = t1::kMqDecodeContexts[t1::kInitialContexts[static_cast<size_t>(i)]];
        const size_t n = b.labels.size();
        for (size_t i = 0; i < n; ++i)
            out[i] = static_cast<uint8_t>(t1::mqDecodeEven(cursor, contexts[b.labels[i]]));
        wrong += !std::equal(b.decisions.begin(), b.decisions.end(), out.begin());
    }
    return wrong;
}

void decodeTier1(const std::vector<CodedBlock>& blocks, std::vector<uint8_t>& state,
                 std::vector<int32_t>& block) {
    for (const CodedBlock& b : blocks) {
        const int32_t length = static_cast<int32_t>(b.bytes.size());
        zeqiDecodeCodeBlock_JPEG2K_1u32s_C1R(
            b.bytes.data(), block.data(), CodeBlockSize * 4, ZeqiSize{b.width, b.height}, b.subband,
            b.planes, b.passes, &length, 1, 0, nullptr,
            reinterpret_cast<ProgressiveDecodeState*>(state.data()));
    }
}

void BM_J2kTier1DecodeFloor(benchmark::State& state) {
    zeqSetNumThreads(1);
    static const std::vector<CodedBlock> blocks = losslessBlocks();
    int64_t decisions = 0;
    size_t longest = 0;
    for (const CodedBlock& b : blocks) {
        decisions += static_cast<int64_t>(b.labels.size());
        longest = std::max(longest, b.labels.size());
    }
    std::vector<uint8_t> out(longest);
    int32_t stateSize = 0;
    zeqiDecodeGetBufSize_JPEG2K(ZeqiSize{CodeBlockSize, CodeBlockSize}, &stateSize);
    std::vector<uint8_t> decoderState(static_cast<size_t>(stateSize) + 64);
    std::vector<int32_t> block(size_t{CodeBlockSize} * CodeBlockSize);
    double tier1 = 0, mqOnly = 0;
    for (auto _ : state) {
        const double t0 = threadSeconds();
        decodeTier1(blocks, decoderState, block);
        const double t1 = threadSeconds();
        if (decodeMqOnly(blocks, out) != 0) state.SkipWithError("MQ-only loop decoded wrongly");
        const double t2 = threadSeconds();
        tier1 += t1 - t0;
        mqOnly += t2 - t1;
        state.SetIterationTime(t1 - t0);
    }
    const double n = static_cast<double>(state.iterations());
    state.counters["decisions"] = static_cast<double>(decisions);
    state.counters["tier1_ms"] = 1e3 * tier1 / n;
    state.counters["mq_only_ms"] = 1e3 * mqOnly / n;
    state.counters["tier1_ns_per_decision"] = 1e9 * tier1 / n / static_cast<double>(decisions);
    state.counters["mq_only_ns_per_decision"] = 1e9 * mqOnly / n / static_cast<double>(decisions);
}
BENCHMARK(BM_J2kTier1DecodeFloor)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
