// How close the tier-1 decoder runs to the arithmetic decoder alone, on the
// code blocks of the head-to-head's codestreams (the 3840x2160 image,
// lossless and 1 bit per pixel, five levels, 64x64 blocks, one segment each).
//
// The reference loop ("MQ only") decodes every block's bytes with the
// labels of its decisions already known, read from an array: no sample
// states, no pass scans, no coefficient writes, no checks. It runs both of
// the MQ decoder's forms (branch-free and branching) and counts the faster.
// It is what any decoder built on the same MQ decoding step cannot beat, so
// it bounds what the modelling may cost. The labels come from coding each
// decoded block again with the library's encoder and keeping the decisions
// of the passes the codestream holds; the loop checks that it decodes
// exactly those.
// Both loops run alternately in each iteration; times are the thread's CPU
// time.
#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <string>
#include <vector>

#include "jpeg2000/tier1/codeblock_encoder.h"
#include "jpeg2000/tier1/mq_coder.h"
#include "jpeg2000/tier1/t1_contexts.h"
#include "tests/examples/zeqcodec/openjpeg_j2k.h"
#include "zeqcodec/j2k_codec.h"
#include "zeqcodec/j2k_stream_blocks.h"
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

// The blocks of our codestream of the benchmark image, with the label and
// value of every decision the decoder takes. Empty if anything fails.
std::vector<CodedBlock> streamBlocks(bool lossless) {
    const zeq::container::Image image = zeq::test::j2k::syntheticImage(Width, Height, 3, 11);
    zeqcodec::J2kEncodeOptions options;
    options.lossless = lossless;
    options.bitsPerPixel = lossless ? 0 : 1.0;
    options.levels = Levels;
    std::vector<uint8_t> codestream;
    std::string error;
    zeqcodec::j2k::StreamBlocks s;
    if (!zeqcodec::encodeJ2k(image, options, codestream, &error) ||
        !zeqcodec::j2k::readStreamBlocks(codestream.data(), codestream.size(), s, &error) ||
        s.header.codeBlockStyle != 0)
        return {};
    int32_t stateSize = 0;
    zeqiDecodeGetBufSize_JPEG2K(ZeqiSize{CodeBlockSize, CodeBlockSize}, &stateSize);
    std::vector<uint8_t> decoderState(static_cast<size_t>(stateSize) + 64);
    CodeBlockEncodeState* encoder = nullptr;
    zeqiEncodeInitAlloc_JPEG2K(&encoder, ZeqiSize{CodeBlockSize, CodeBlockSize});
    std::vector<int32_t> block(size_t{CodeBlockSize} * CodeBlockSize);
    std::vector<CodedBlock> blocks;
    for (int32_t c = 0; c < s.components; ++c) {
        const zeqcodec::j2k::StreamBlock* stream = s.blocks.data() + c * s.blocksPerComponent();
        for (const auto& band : s.bands) {
            for (int32_t i = 0; i < band.blocksWide * band.blocksHigh; ++i) {
                const zeqcodec::j2k::StreamBlock& d = stream[band.firstBlock + i];
                if (d.passes == 0 || d.segments != 1) continue;
                CodedBlock b{};
                b.width = std::min(CodeBlockSize, band.width - i % band.blocksWide * CodeBlockSize);
                b.height =
                    std::min(CodeBlockSize, band.height - i / band.blocksWide * CodeBlockSize);
                b.subband = zeqcodec::j2k::tier1Subband(band.orientation);
                b.planes = d.planes;
                b.passes = d.passes;
                const int32_t length = s.segmentLengths[d.firstSegment];
                b.bytes.assign(d.bytes, d.bytes + length);
                if (zeqiDecodeCodeBlock_JPEG2K_1u32s_C1R(
                        d.bytes, block.data(), CodeBlockSize * 4, ZeqiSize{b.width, b.height},
                        b.subband, b.planes, b.passes, &length, 1, 0, nullptr,
                        reinterpret_cast<ProgressiveDecodeState*>(decoderState.data())) != StatusOk)
                    return {};
                // Coding the decoded samples again repeats the decisions of
                // every pass the codestream holds.
                int32_t planes = 0, passes = 0, segments = 0;
                zeqiEncodeLoadCodeBlock_JPEG2K_32s_C1R(
                    block.data(), CodeBlockSize * 4, ZeqiSize{b.width, b.height}, encoder,
                    b.subband, 31, 0, 0, 0, &planes, &passes, &segments);
                if (planes != b.planes || passes < b.passes) return {};
                const EncodeCodingRecord& rec = *encoder->coding;
                int32_t decisions = 0;
                for (int32_t k = 0; k < b.passes; ++k) decisions += rec.passDecisions[k];
                b.labels.assign(rec.labels, rec.labels + decisions);
                b.decisions.assign(rec.decisions, rec.decisions + decisions);
                blocks.push_back(std::move(b));
            }
        }
    }
    zeqiEncodeFree_JPEG2K(encoder);
    return blocks;
}

// The arithmetic decoder alone, in its branch-free form (Even) or its
// branching one; returns the number of blocks whose decisions differ from
// the recorded ones (0 unless the loop is wrong).
template <bool Even>
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
        for (size_t i = 0; i < n; ++i) {
            t1::MqDecodeContext& context = contexts[b.labels[i]];
            out[i] = static_cast<uint8_t>(Even ? t1::mqDecodeEven(cursor, context)
                                               : t1::mqDecode(cursor, context));
        }
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

void floor(benchmark::State& state, const std::vector<CodedBlock>& blocks) {
    zeqSetNumThreads(1);
    if (blocks.empty()) {
        state.SkipWithError("no code blocks");
        return;
    }
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
        if (decodeMqOnly<true>(blocks, out) != 0) state.SkipWithError("MQ-only loop went wrong");
        const double t2 = threadSeconds();
        if (decodeMqOnly<false>(blocks, out) != 0) state.SkipWithError("MQ-only loop went wrong");
        const double t3 = threadSeconds();
        tier1 += t1 - t0;
        mqOnly += std::min(t2 - t1, t3 - t2);  // the faster form for these decisions
        state.SetIterationTime(t1 - t0);
    }
    const double n = static_cast<double>(state.iterations());
    state.counters["blocks"] = static_cast<double>(blocks.size());
    state.counters["decisions"] = static_cast<double>(decisions);
    state.counters["tier1_ms"] = 1e3 * tier1 / n;
    state.counters["mq_only_ms"] = 1e3 * mqOnly / n;
    state.counters["tier1_ns_per_decision"] = 1e9 * tier1 / n / static_cast<double>(decisions);
    state.counters["mq_only_ns_per_decision"] = 1e9 * mqOnly / n / static_cast<double>(decisions);
}

void BM_J2kTier1DecodeFloorLossless(benchmark::State& state) {
    static const std::vector<CodedBlock> blocks = streamBlocks(true);
    floor(state, blocks);
}
void BM_J2kTier1DecodeFloor1bpp(benchmark::State& state) {
    static const std::vector<CodedBlock> blocks = streamBlocks(false);
    floor(state, blocks);
}
BENCHMARK(BM_J2kTier1DecodeFloorLossless)
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_J2kTier1DecodeFloor1bpp)
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
