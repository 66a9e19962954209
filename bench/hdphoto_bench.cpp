// Photo core transform of one 16x16 area (16 blocks) and of a 512x512 region.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "hdphoto/pct.h"
#include "zeqj.h"

namespace {

std::vector<int32_t> samples(size_t count) {
    std::mt19937 rng(5);
    std::vector<int32_t> v(count);
    for (auto& x : v) x = static_cast<int32_t>(rng() % 4096) - 2048;
    return v;
}

void BM_PctFwd16x16(benchmark::State& state) {
    auto area = samples(256);
    for (auto _ : state) {
        zeqiPCTFwd16x16_HDP_32s_C1IR(area.data(), 64);
        benchmark::DoNotOptimize(area.data());
    }
}
BENCHMARK(BM_PctFwd16x16);

void BM_PctInv16x16(benchmark::State& state) {
    auto area = samples(256);
    for (auto _ : state) {
        zeqiPCTInv16x16_HDP_32s_C1IR(area.data(), 64);
        benchmark::DoNotOptimize(area.data());
    }
}
BENCHMARK(BM_PctInv16x16);

// The one-block path on the same area, for the gain of the four-block lanes.
void BM_PctFwd16x16OneBlockPath(benchmark::State& state) {
    auto area = samples(256);
    for (auto _ : state) {
        zeq::pctAreaScalar(zeq::PctDirection::Forward, reinterpret_cast<uint8_t*>(area.data()), 64,
                           4, 4);
        benchmark::DoNotOptimize(area.data());
    }
}
BENCHMARK(BM_PctFwd16x16OneBlockPath);

void BM_PctFwdRegion512(benchmark::State& state) {
    auto image = samples(512 * 512);
    for (auto _ : state) {
        zeqiPCTFwd_HDP_32s_C1IR(image.data(), 2048, {512, 512});
        benchmark::DoNotOptimize(image.data());
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * 512 * 512);
}
BENCHMARK(BM_PctFwdRegion512)->Unit(benchmark::kMicrosecond);

}  // namespace
