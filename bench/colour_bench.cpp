// Colour conversion on a 3840x2160 image next to memcpy of the same bytes,
// H2V2 sampling of a 1920x1080 plane, and one MCU of each scheme. Bytes
// processed count what is read plus what is written.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "tests/common/test_support.h"
#include "zeqcore.h"
#include "zeqj.h"

namespace {

constexpr ZeqiSize kImage = {3840, 2160};
constexpr size_t kPixels = size_t{3840} * 2160;

std::vector<uint8_t> pattern(size_t n) {
    std::vector<uint8_t> v(n);
    uint32_t x = 12345;
    for (auto& b : v) b = static_cast<uint8_t>((x = x * 1103515245u + 12345u) >> 24);
    return v;
}

void reportPixels(benchmark::State& state, size_t pixels, size_t bytesPerPixel) {
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * pixels));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * pixels * bytesPerPixel));
}

void BM_RGBToYCbCr_C3P3(benchmark::State& state) {
    zeq::test::ScopedThreads threads(static_cast<int>(state.range(0)));
    const auto rgb = pattern(3 * kPixels);
    std::vector<uint8_t> y(kPixels), cb(kPixels), cr(kPixels);
    uint8_t* planes[3] = {y.data(), cb.data(), cr.data()};
    for (auto _ : state) {
        zeqiRGBToYCbCr_JPEG_8u_C3P3R(rgb.data(), 3 * kImage.width, planes, kImage.width, kImage);
        benchmark::DoNotOptimize(y.data());
    }
    reportPixels(state, kPixels, 6);
}
BENCHMARK(BM_RGBToYCbCr_C3P3)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);

void BM_YCbCrToRGB_P3C3(benchmark::State& state) {
    zeq::test::ScopedThreads threads(static_cast<int>(state.range(0)));
    const auto y = pattern(kPixels), cb = pattern(kPixels), cr = pattern(kPixels);
    const uint8_t* planes[3] = {y.data(), cb.data(), cr.data()};
    std::vector<uint8_t> rgb(3 * kPixels);
    for (auto _ : state) {
        zeqiYCbCrToRGB_JPEG_8u_P3C3R(planes, kImage.width, rgb.data(), 3 * kImage.width, kImage);
        benchmark::DoNotOptimize(rgb.data());
    }
    reportPixels(state, kPixels, 6);
}
BENCHMARK(BM_YCbCrToRGB_P3C3)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);

void BM_CMYKToYCCK_C4P4(benchmark::State& state) {
    zeq::test::ScopedThreads threads(static_cast<int>(state.range(0)));
    const auto cmyk = pattern(4 * kPixels);
    std::vector<uint8_t> p0(kPixels), p1(kPixels), p2(kPixels), p3(kPixels);
    uint8_t* planes[4] = {p0.data(), p1.data(), p2.data(), p3.data()};
    for (auto _ : state) {
        zeqiCMYKToYCCK_JPEG_8u_C4P4R(cmyk.data(), 4 * kImage.width, planes, kImage.width, kImage);
        benchmark::DoNotOptimize(p0.data());
    }
    reportPixels(state, kPixels, 8);
}
BENCHMARK(BM_CMYKToYCCK_C4P4)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);

void BM_BGR565ToYCbCr(benchmark::State& state) {
    const auto packed = pattern(2 * kPixels);
    std::vector<uint8_t> y(kPixels), cb(kPixels), cr(kPixels);
    uint8_t* planes[3] = {y.data(), cb.data(), cr.data()};
    for (auto _ : state) {
        zeqiBGR565ToYCbCr_JPEG_16u8u_C3P3R(reinterpret_cast<const uint16_t*>(packed.data()),
                                           2 * kImage.width, planes, kImage.width, kImage);
        benchmark::DoNotOptimize(y.data());
    }
    reportPixels(state, kPixels, 5);
}
BENCHMARK(BM_BGR565ToYCbCr)->UseRealTime()->Unit(benchmark::kMillisecond);

// memcpy of the 3 bytes per pixel that each conversion reads (and writes).
void BM_MemcpyRgbImage(benchmark::State& state) {
    const auto src = pattern(3 * kPixels);
    std::vector<uint8_t> dst(3 * kPixels);
    for (auto _ : state) {
        std::memcpy(dst.data(), src.data(), src.size());
        benchmark::DoNotOptimize(dst.data());
    }
    reportPixels(state, kPixels, 6);
}
BENCHMARK(BM_MemcpyRgbImage)->UseRealTime()->Unit(benchmark::kMillisecond);

// ---- H2V2 sampling of a 1920x1080 plane (the up-sampler reads a border) ------

constexpr ZeqiSize kPlane = {1920, 1080};
constexpr ZeqiSize kHalfPlane = {960, 540};

void BM_SampleDownH2V2(benchmark::State& state) {
    zeq::test::ScopedThreads threads(static_cast<int>(state.range(0)));
    const auto src = pattern(size_t{1920} * 1080);
    std::vector<uint8_t> dst(size_t{960} * 540);
    for (auto _ : state) {
        zeqiSampleDownH2V2_JPEG_8u_C1R(src.data(), 1920, kPlane, dst.data(), 960, kHalfPlane);
        benchmark::DoNotOptimize(dst.data());
    }
    reportPixels(state, size_t{960} * 540, 5);
}
BENCHMARK(BM_SampleDownH2V2)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMicrosecond);

void BM_SampleUpH2V2(benchmark::State& state) {
    zeq::test::ScopedThreads threads(static_cast<int>(state.range(0)));
    const int32_t step = 960 + 2;
    const auto src = pattern(size_t{step} * (540 + 2));
    std::vector<uint8_t> dst(size_t{1920} * 1080);
    const uint8_t* inner = src.data() + step + 1;
    for (auto _ : state) {
        zeqiSampleUpH2V2_JPEG_8u_C1R(inner, step, kHalfPlane, dst.data(), 1920, kPlane);
        benchmark::DoNotOptimize(dst.data());
    }
    reportPixels(state, size_t{1920} * 1080, 1);
}
BENCHMARK(BM_SampleUpH2V2)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMicrosecond);

// ---- One MCU of each scheme ----------------------------------------------------

template <ZeqStatus (*Fn)(const uint8_t*, int32_t, int16_t* const*)>
void BM_ForwardMcu(benchmark::State& state) {
    const auto rgb = pattern(48 * 16);
    alignas(16) int16_t y[256], cb[64], cr[64];
    int16_t* blocks[3] = {y, cb, cr};
    for (auto _ : state) {
        Fn(rgb.data(), 48, blocks);
        benchmark::DoNotOptimize(y);
        benchmark::ClobberMemory();
    }
}
BENCHMARK_TEMPLATE(BM_ForwardMcu, zeqiRGBToYCbCr444LS_MCU_8u16s_C3P3R);
BENCHMARK_TEMPLATE(BM_ForwardMcu, zeqiRGBToYCbCr422LS_MCU_8u16s_C3P3R);
BENCHMARK_TEMPLATE(BM_ForwardMcu, zeqiRGBToYCbCr411LS_MCU_8u16s_C3P3R);

template <ZeqStatus (*Fn)(const int16_t* const*, uint8_t*, int32_t)>
void BM_ReverseMcu(benchmark::State& state) {
    alignas(16) int16_t y[256], cb[64], cr[64];
    for (int i = 0; i < 256; ++i) y[i] = static_cast<int16_t>(i - 128);
    for (int i = 0; i < 64; ++i)
        cb[i] = static_cast<int16_t>(2 * i - 64), cr[i] = static_cast<int16_t>(64 - 2 * i);
    const int16_t* blocks[3] = {y, cb, cr};
    std::vector<uint8_t> rgb(48 * 16);
    for (auto _ : state) {
        Fn(blocks, rgb.data(), 48);
        benchmark::DoNotOptimize(rgb.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK_TEMPLATE(BM_ReverseMcu, zeqiYCbCr444ToRGBLS_MCU_16s8u_P3C3R);
BENCHMARK_TEMPLATE(BM_ReverseMcu, zeqiYCbCr422ToRGBLS_MCU_16s8u_P3C3R);
BENCHMARK_TEMPLATE(BM_ReverseMcu, zeqiYCbCr411ToRGBLS_MCU_16s8u_P3C3R);

}  // namespace
