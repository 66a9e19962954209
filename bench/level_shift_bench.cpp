// Level shift of a 3840x2160 plane next to memcpy of the same bytes. Bytes
// processed count what is read plus what is written.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "jpeg/sample/level_shift.h"
#include "tests/common/test_support.h"
#include "zeqcore.h"
#include "zeqj.h"

namespace {

constexpr ZeqiSize kPlane = {3840, 2160};
constexpr size_t kPixels = size_t{3840} * 2160;

void BM_Add128(benchmark::State& state) {
    zeq::test::ScopedThreads threads(static_cast<int>(state.range(0)));
    std::vector<int16_t> src(kPixels, 100);
    std::vector<uint8_t> dst(kPixels);
    for (auto _ : state) {
        zeqiAdd128_JPEG_16s8u_C1R(src.data(), kPlane.width * 2, dst.data(), kPlane.width, kPlane);
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kPixels * 3));
}
BENCHMARK(BM_Add128)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMicrosecond);

void BM_Sub128(benchmark::State& state) {
    zeq::test::ScopedThreads threads(static_cast<int>(state.range(0)));
    std::vector<uint8_t> src(kPixels, 100);
    std::vector<int16_t> dst(kPixels);
    for (auto _ : state) {
        zeqiSub128_JPEG_8u16s_C1R(src.data(), kPlane.width, dst.data(), kPlane.width * 2, kPlane);
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kPixels * 3));
}
BENCHMARK(BM_Sub128)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMicrosecond);

// One thread, no fork: the serial row loop over the whole plane.
void BM_Add128SerialRows(benchmark::State& state) {
    std::vector<int16_t> src(kPixels, 100);
    std::vector<uint8_t> dst(kPixels);
    for (auto _ : state) {
        for (int y = 0; y < kPlane.height; ++y)
            zeq::add128RowSse2(reinterpret_cast<const uint8_t*>(src.data() + size_t{3840} * y),
                               dst.data() + size_t{3840} * y, kPlane.width);
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kPixels * 3));
}
BENCHMARK(BM_Add128SerialRows)->Unit(benchmark::kMicrosecond);

// memcpy of the 16-bit plane (the larger side of either level shift).
void BM_MemcpyPlane16(benchmark::State& state) {
    std::vector<uint8_t> src(kPixels * 2, 100), dst(kPixels * 2);
    for (auto _ : state) {
        std::memcpy(dst.data(), src.data(), src.size());
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kPixels * 4));
}
BENCHMARK(BM_MemcpyPlane16)->UseRealTime()->Unit(benchmark::kMicrosecond);

// memcpy of the 8-bit plane.
void BM_MemcpyPlane8(benchmark::State& state) {
    std::vector<uint8_t> src(kPixels, 100), dst(kPixels);
    for (auto _ : state) {
        std::memcpy(dst.data(), src.data(), src.size());
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kPixels * 2));
}
BENCHMARK(BM_MemcpyPlane8)->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace
