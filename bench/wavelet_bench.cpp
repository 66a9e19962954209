// One whole wavelet level on a 2048x2048 tile (5/3 and 9/7, 16s and 32s, in
// place) and the component transforms on three 3840x2160 planes, next to
// memcpy of the same bytes. Items processed are samples, so the rates read
// as samples per second; bytes processed count what is read plus written.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

#include "zeqj.h"

namespace {

constexpr int32_t kTile = 2048;
constexpr size_t kTileSamples = size_t{kTile} * kTile;
constexpr ZeqiSize kPlane = {3840, 2160};
constexpr size_t kPlaneSamples = size_t{3840} * 2160;

template <class T>
std::vector<T> randomSamples(size_t n, int range) {
    std::mt19937 rng(1);
    std::uniform_int_distribution<int> d(-range, range);
    std::vector<T> v(n);
    for (auto& x : v) x = static_cast<T>(d(rng));
    return v;
}

template <class T>
void setCounters(benchmark::State& state, size_t samples) {
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * samples));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * samples * sizeof(T) * 2));
}

// The forward level runs on a fresh copy each time (outside the timing, so
// values stay in range); the copy is not counted.
template <class T>
void levelBench(benchmark::State& state, ZeqStatus (*sizeQuery)(const ZeqiRect*, int32_t*),
                ZeqStatus (*level)(T*, int32_t, const ZeqiRect*, uint8_t*)) {
    const ZeqiRect rect = {0, 0, kTile, kTile};
    int32_t size = 0;
    sizeQuery(&rect, &size);
    std::vector<uint8_t> buffer(size);
    const std::vector<T> source = randomSamples<T>(kTileSamples, 1000);
    std::vector<T> tile = source;
    for (auto _ : state) {
        state.PauseTiming();
        tile = source;
        state.ResumeTiming();
        level(tile.data(), kTile * sizeof(T), &rect, buffer.data());
        benchmark::DoNotOptimize(tile.data());
    }
    setCounters<T>(state, kTileSamples);
}

void BM_Wavelet53Forward16s(benchmark::State& s) {
    levelBench<int16_t>(s, zeqiWTGetBufSize_B53_JPEG2K_16s_C1IR, zeqiWTFwd_B53_JPEG2K_16s_C1IR);
}
void BM_Wavelet53Forward32s(benchmark::State& s) {
    levelBench<int32_t>(s, zeqiWTGetBufSize_B53_JPEG2K_32s_C1IR, zeqiWTFwd_B53_JPEG2K_32s_C1IR);
}
void BM_Wavelet53Inverse16s(benchmark::State& s) {
    levelBench<int16_t>(s, zeqiWTGetBufSize_B53_JPEG2K_16s_C1IR, zeqiWTInv_B53_JPEG2K_16s_C1IR);
}
void BM_Wavelet97Forward16s(benchmark::State& s) {
    levelBench<int16_t>(s, zeqiWTGetBufSize_D97_JPEG2K_16s_C1IR, zeqiWTFwd_D97_JPEG2K_16s_C1IR);
}
void BM_Wavelet97Forward32s(benchmark::State& s) {
    levelBench<int32_t>(s, zeqiWTGetBufSize_D97_JPEG2K_32s_C1IR, zeqiWTFwd_D97_JPEG2K_32s_C1IR);
}
void BM_Wavelet97Inverse32s(benchmark::State& s) {
    levelBench<int32_t>(s, zeqiWTGetBufSize_D97_JPEG2K_32s_C1IR, zeqiWTInv_D97_JPEG2K_32s_C1IR);
}
BENCHMARK(BM_Wavelet53Forward16s)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Wavelet53Forward32s)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Wavelet53Inverse16s)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Wavelet97Forward16s)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Wavelet97Forward32s)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Wavelet97Inverse32s)->Unit(benchmark::kMillisecond);

// memcpy of a tile, the yardstick of one level (same bytes read and written).
template <class T>
void BM_MemcpyTile(benchmark::State& state) {
    std::vector<T> src(kTileSamples, 1), dst(kTileSamples);
    for (auto _ : state) {
        std::memcpy(dst.data(), src.data(), src.size() * sizeof(T));
        benchmark::DoNotOptimize(dst.data());
    }
    setCounters<T>(state, kTileSamples);
}
BENCHMARK(BM_MemcpyTile<int16_t>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MemcpyTile<int32_t>)->Unit(benchmark::kMillisecond);

// Component transforms over three 3840x2160 planes, in place.
template <class T>
void transformBench(benchmark::State& state, ZeqStatus (*fn)(T* const[3], int32_t, ZeqiSize)) {
    std::vector<T> planes[3];
    for (auto& p : planes) p = randomSamples<T>(kPlaneSamples, 255);
    T* const ptrs[3] = {planes[0].data(), planes[1].data(), planes[2].data()};
    for (auto _ : state) {
        fn(ptrs, kPlane.width * sizeof(T), kPlane);
        benchmark::DoNotOptimize(ptrs[0]);
    }
    setCounters<T>(state, 3 * kPlaneSamples);
}
void BM_RctForward16s(benchmark::State& s) {
    transformBench<int16_t>(s, zeqiRCTFwd_JPEG2K_16s_P3IR);
}
void BM_RctForward32s(benchmark::State& s) {
    transformBench<int32_t>(s, zeqiRCTFwd_JPEG2K_32s_P3IR);
}
void BM_IctForward16s(benchmark::State& s) {
    transformBench<int16_t>(s, zeqiICTFwd_JPEG2K_16s_P3IR);
}
void BM_IctForward32s(benchmark::State& s) {
    transformBench<int32_t>(s, zeqiICTFwd_JPEG2K_32s_P3IR);
}
void BM_IctForward32f(benchmark::State& s) {
    std::vector<float> planes[3];
    for (auto& p : planes) p.assign(kPlaneSamples, 100.0f);
    float* const ptrs[3] = {planes[0].data(), planes[1].data(), planes[2].data()};
    for (auto _ : s) {
        zeqiICTFwd_JPEG2K_32f_P3IR(ptrs, kPlane.width * 4, kPlane);
        benchmark::DoNotOptimize(ptrs[0]);
    }
    setCounters<float>(s, 3 * kPlaneSamples);
}
void BM_RctForward16sInterleaved(benchmark::State& s) {
    const std::vector<int16_t> rgb = randomSamples<int16_t>(3 * kPlaneSamples, 255);
    std::vector<int16_t> planes[3];
    for (auto& p : planes) p.resize(kPlaneSamples);
    int16_t* const ptrs[3] = {planes[0].data(), planes[1].data(), planes[2].data()};
    for (auto _ : s) {
        zeqiRCTFwd_JPEG2K_16s_C3P3R(rgb.data(), 3 * kPlane.width * 2, ptrs, kPlane.width * 2,
                                    kPlane);
        benchmark::DoNotOptimize(ptrs[0]);
    }
    setCounters<int16_t>(s, 3 * kPlaneSamples);
}
BENCHMARK(BM_RctForward16s)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RctForward32s)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IctForward16s)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IctForward32s)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IctForward32f)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RctForward16sInterleaved)->Unit(benchmark::kMillisecond);

// memcpy of the three planes.
template <class T>
void BM_MemcpyPlanes(benchmark::State& state) {
    std::vector<T> src(3 * kPlaneSamples, 1), dst(3 * kPlaneSamples);
    for (auto _ : state) {
        std::memcpy(dst.data(), src.data(), src.size() * sizeof(T));
        benchmark::DoNotOptimize(dst.data());
    }
    setCounters<T>(state, 3 * kPlaneSamples);
}
BENCHMARK(BM_MemcpyPlanes<int16_t>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MemcpyPlanes<int32_t>)->Unit(benchmark::kMillisecond);

}  // namespace
