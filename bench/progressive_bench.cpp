// Progressive and lossless Huffman coding. Progressive: a 1920x1080 colour
// image (4:2:0, 1088 rows of MCUs) of photo-like quantized blocks (quality 75
// and 95 shapes) through the ten-scan standard script with optimal tables;
// throughput is bytes of coded data per second over all scans (statistics,
// encoding, decoding). Lossless: rows of 1920 differences of three
// components, coded and decoded in Msamples/s, and row prediction and
// reconstruction.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "tests/jpeg/entropy/huffman_test_support.h"
#include "tests/jpeg/entropy/jpeg_file.h"
#include "tests/jpeg/entropy/photo_blocks.h"
#include "tests/jpeg/entropy/progressive_drivers.h"
#include "zeqj.h"

namespace {

using namespace zeq::test;

struct ProgressiveImage {
    explicit ProgressiveImage(PhotoBlockShape shape)
        : frame(colour420Frame(1920, 1088, 0)), blocks(photoComponents(frame, 11, shape)) {
        ZeqStatus status = StatusOk;
        scans = libraryEncodeScript(frame, blocks, standardScript(true), status);
        for (const auto& s : scans) {
            coded += int64_t(s.data.size());
            orders.push_back(scanBlocks(frame, s.components));
        }
        for (const auto& b : blocks) decoded.emplace_back(b.size(), int16_t{0});
    }
    Frame frame;
    Blocks blocks, decoded;
    std::vector<ProgressiveScan> scans;
    std::vector<std::vector<BlockRef>> orders;
    std::vector<uint8_t> out = std::vector<uint8_t>(1 << 22);
    int64_t coded = 0;
};

ProgressiveImage& image(int quality) {
    static ProgressiveImage q75(kQuality75), q95(kQuality95);
    return quality == 75 ? q75 : q95;
}

enum class Pass { Statistics, Encode, Decode };

template <Pass kPass>
void BM_Progressive(benchmark::State& state) {
    ProgressiveImage& im = image(int(state.range(0)));
    ZeqStatus status = StatusOk;
    for (auto _ : state) {
        if (kPass == Pass::Decode) {  // every decode starts from empty blocks
            state.PauseTiming();
            for (auto& b : im.decoded) std::fill(b.begin(), b.end(), int16_t{0});
            state.ResumeTiming();
        }
        for (size_t i = 0; i < im.scans.size(); ++i) {
            const ProgressiveScan& s = im.scans[i];
            if (kPass == Pass::Statistics)
                benchmark::DoNotOptimize(
                    libraryScanStatistics(im.frame, im.blocks, s, im.orders[i], status));
            else if (kPass == Pass::Encode)
                benchmark::DoNotOptimize(
                    libraryEncodeScan(im.frame, im.blocks, s, im.orders[i], im.out, status));
            else
                keepFirst(status, libraryDecodeScan(im.frame, im.decoded, im.orders[i], s.ss, s.se,
                                                    s.ah, s.al, s.dc, s.ac, s.data));
        }
        benchmark::ClobberMemory();
    }
    if (status != StatusOk) state.SkipWithError("a coder failed");
    state.SetBytesProcessed(state.iterations() * im.coded);
    state.counters["coded MB"] = double(im.coded) / 1e6;
}

BENCHMARK(BM_Progressive<Pass::Statistics>)
    ->Name("ProgressiveStatistics1080p/quality")
    ->Arg(75)
    ->Arg(95)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Progressive<Pass::Encode>)
    ->Name("ProgressiveEncode1080p/quality")
    ->Arg(75)
    ->Arg(95)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Progressive<Pass::Decode>)
    ->Name("ProgressiveDecode1080p/quality")
    ->Arg(75)
    ->Arg(95)
    ->Unit(benchmark::kMillisecond);

// Three components of a smooth 12-bit image with noise, as differences of
// predictor 1 (what a lossless encoder codes).
struct LosslessRows {
    static constexpr int32_t kWidth = 1920;
    static constexpr int kRows = 64;
    static constexpr int kComps = 3;

    LosslessRows() {
        std::mt19937 rng(5);
        std::normal_distribution<double> noise(0.0, 6.0);
        for (int c = 0; c < kComps; ++c) {
            samples[c].resize(size_t(kWidth) * kRows);
            diffs[c].resize(samples[c].size());
            for (int y = 0; y < kRows; ++y)
                for (int32_t x = 0; x < kWidth; ++x)
                    samples[c][size_t(y) * kWidth + size_t(x)] = int16_t(
                        2048 + 900 * std::sin(x / 200.0 + c) * std::cos(y / 30.0) + noise(rng));
            for (int y = 0; y < kRows; ++y) {
                const int16_t* row = &samples[c][size_t(y) * kWidth];
                int16_t* d = &diffs[c][size_t(y) * kWidth];
                if (y == 0)
                    zeqiDiffPredFirstRow_JPEG_16s_C1(row, d, kWidth, 12, 0);
                else
                    zeqiDiffPredRow_JPEG_16s_C1(row, row - kWidth, d, kWidth, 1);
            }
        }
        std::vector<int32_t> counts(257, 0);
        for (int c = 0; c < kComps; ++c)
            for (int16_t v : diffs[c]) zeqiGetHuffmanStatisticsOne_JPEG_16s_C1(&v, counts.data());
        const TableDefinition def = optimalDefinition(counts);
        enc = encodeSpec(def);
        dec = decodeSpec(def);
        stream.resize(size_t(kWidth) * kRows * kComps * 8);
        coded = encode();
    }

    int32_t encode() {
        const HuffmanEncodeSpec* tables[4] = {enc.get(), enc.get(), enc.get(), enc.get()};
        zeqiEncodeHuffmanStateInit_JPEG_8u(encState.get());
        int32_t pos = 0;
        const int32_t len = int32_t(stream.size());
        for (int y = 0; y < kRows; ++y) {
            const int16_t* planes[4] = {&diffs[0][size_t(y) * kWidth],
                                        &diffs[1][size_t(y) * kWidth],
                                        &diffs[2][size_t(y) * kWidth], nullptr};
            zeqiEncodeHuffmanRow_JPEG_16s1u_P4C1(planes, kWidth, kComps, stream.data(), len, &pos,
                                                 tables, encState.get(), 0);
        }
        zeqiEncodeHuffmanRow_JPEG_16s1u_P4C1(nullptr, 0, 0, stream.data(), len, &pos, nullptr,
                                             encState.get(), 1);
        return pos;
    }
    void decode() {
        const HuffmanDecodeSpec* tables[4] = {dec.get(), dec.get(), dec.get(), dec.get()};
        zeqiDecodeHuffmanStateInit_JPEG_8u(decState.get());
        int32_t pos = 0, marker = 0;
        for (int y = 0; y < kRows; ++y) {
            int16_t* planes[4] = {&out[0][0], &out[1][0], &out[2][0], nullptr};
            zeqiDecodeHuffmanRow_JPEG_1u16s_C1P4(stream.data(), coded, &pos, planes, kWidth, kComps,
                                                 &marker, tables, decState.get());
        }
    }

    std::vector<int16_t> samples[kComps], diffs[kComps];
    std::vector<int16_t> out[kComps] = {std::vector<int16_t>(kWidth), std::vector<int16_t>(kWidth),
                                        std::vector<int16_t>(kWidth)};
    EncodeSpecBuffer enc;
    DecodeSpecBuffer dec;
    EncodeStateBuffer encState;
    DecodeStateBuffer decState;
    std::vector<uint8_t> stream;
    int32_t coded = 0;
};

LosslessRows& losslessRows() {
    static LosslessRows rows;
    return rows;
}

void BM_LosslessRowEncode(benchmark::State& state) {
    LosslessRows& r = losslessRows();
    for (auto _ : state) benchmark::DoNotOptimize(r.encode());
    state.SetItemsProcessed(state.iterations() * LosslessRows::kWidth * LosslessRows::kRows *
                            LosslessRows::kComps);
    state.counters["bits/sample"] =
        8.0 * r.coded / (LosslessRows::kWidth * LosslessRows::kRows * LosslessRows::kComps);
}
void BM_LosslessRowDecode(benchmark::State& state) {
    LosslessRows& r = losslessRows();
    for (auto _ : state) {
        r.decode();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * LosslessRows::kWidth * LosslessRows::kRows *
                            LosslessRows::kComps);
}
BENCHMARK(BM_LosslessRowEncode)->Name("LosslessEncodeRow_3x1920");
BENCHMARK(BM_LosslessRowDecode)->Name("LosslessDecodeRow_3x1920");

// Prediction and reconstruction of one 1920-sample row by each predictor.
template <bool kReconstruct>
void BM_LosslessPredict(benchmark::State& state) {
    const int predictor = int(state.range(0));
    LosslessRows& r = losslessRows();
    const int16_t* above = &r.samples[0][0];
    const int16_t* row = &r.samples[0][LosslessRows::kWidth];
    const int16_t* diff = &r.diffs[0][LosslessRows::kWidth];
    std::vector<int16_t> out(LosslessRows::kWidth);
    for (auto _ : state) {
        if (kReconstruct)
            zeqiReconstructPredRow_JPEG_16s_C1(diff, above, out.data(), LosslessRows::kWidth,
                                               predictor);
        else
            zeqiDiffPredRow_JPEG_16s_C1(row, above, out.data(), LosslessRows::kWidth, predictor);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * LosslessRows::kWidth);
}
BENCHMARK(BM_LosslessPredict<false>)->Name("DiffPredRow_1920/predictor")->DenseRange(1, 7);
BENCHMARK(BM_LosslessPredict<true>)->Name("ReconstructPredRow_1920/predictor")->DenseRange(1, 7);

}  // namespace
