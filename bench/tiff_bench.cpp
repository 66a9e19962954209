// PackBits rows of 4096 bytes mixing runs, two-byte runs and literals, coded
// and decoded through the exported functions; bytes processed are row bytes.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "zeqj.h"

namespace {

constexpr int32_t kRowBytes = 4096;
constexpr int kRows = 256;

std::vector<std::vector<uint8_t>> mixedRows() {
    std::mt19937 rng(3);
    std::vector<std::vector<uint8_t>> rows(kRows);
    for (auto& row : rows) {
        while (static_cast<int32_t>(row.size()) < kRowBytes) {
            const auto v = static_cast<uint8_t>(rng());
            const unsigned kind = rng() % 8;
            const unsigned n = kind < 2 ? 3 + rng() % 60 : (kind < 3 ? 2 : 1);
            for (unsigned i = 0; i < n && static_cast<int32_t>(row.size()) < kRowBytes; ++i)
                row.push_back(v);
        }
    }
    return rows;
}

void BM_PackBitsEncode(benchmark::State& state) {
    const auto rows = mixedRows();
    std::vector<uint8_t> dst(kRowBytes * 2);
    for (auto _ : state) {
        for (const auto& row : rows) {
            int32_t position = 0;
            zeqiPackBitsRow_TIFF_8u_C1(row.data(), kRowBytes, dst.data(), &position,
                                       static_cast<int32_t>(dst.size()));
            benchmark::DoNotOptimize(position);
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kRows * kRowBytes);
}
BENCHMARK(BM_PackBitsEncode)->Unit(benchmark::kMicrosecond);

void BM_PackBitsDecode(benchmark::State& state) {
    const auto rows = mixedRows();
    std::vector<std::vector<uint8_t>> packed;
    for (const auto& row : rows) {
        std::vector<uint8_t> p(kRowBytes * 2);
        int32_t position = 0;
        zeqiPackBitsRow_TIFF_8u_C1(row.data(), kRowBytes, p.data(), &position,
                                   static_cast<int32_t>(p.size()));
        p.resize(static_cast<size_t>(position));
        packed.push_back(p);
    }
    std::vector<uint8_t> out(kRowBytes);
    for (auto _ : state) {
        for (const auto& p : packed) {
            int32_t position = 0;
            zeqiUnpackBitsRow_TIFF_8u_C1(p.data(), &position, static_cast<int32_t>(p.size()),
                                         out.data(), kRowBytes);
            benchmark::DoNotOptimize(out.data());
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kRows * kRowBytes);
}
BENCHMARK(BM_PackBitsDecode)->Unit(benchmark::kMicrosecond);

void BM_SplitRow16(benchmark::State& state) {
    std::vector<uint8_t> row(kRowBytes * 2, 7), high(kRowBytes), low(kRowBytes);
    uint8_t* const planes[2] = {high.data(), low.data()};
    for (auto _ : state) {
        zeqiSplitRow_TIFF_16u8u_C1(row.data(), planes, kRowBytes);
        benchmark::DoNotOptimize(high.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kRowBytes * 2);
}
BENCHMARK(BM_SplitRow16);

}  // namespace
