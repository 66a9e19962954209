// Quantization and dequantization of one 8x8 block (the items are blocks),
// vector kernels next to their scalar twins.
#include <benchmark/benchmark.h>

#include <array>
#include <random>
#include <vector>

#include "jpeg/sample/quantize.h"
#include "zeqj.h"

namespace {

constexpr int kBlocks = 256;  // 32 KiB of coefficients: stays in L1/L2

struct Blocks {
    Blocks() {
        std::mt19937 rng(5);
        std::uniform_int_distribution<int> coef(-1024, 1023), q(1, 120);
        for (auto& v : data) v = static_cast<int16_t>(coef(rng));
        uint8_t raw[64];
        for (auto& r : raw) r = static_cast<uint8_t>(q(rng));
        zeqiQuantFwdTableInit_JPEG_8u16u(raw, fwd.data());
        zeqiQuantInvTableInit_JPEG_8u16u(raw, inv.data());
    }
    std::vector<int16_t> data = std::vector<int16_t>(kBlocks * 64);
    std::array<uint16_t, 64> fwd{}, inv{};
};

template <void (*Kernel)(int16_t*, const uint16_t*), bool Forward>
void BM_Block(benchmark::State& state) {
    Blocks b;
    const uint16_t* table = Forward ? b.fwd.data() : b.inv.data();
    for (auto _ : state) {
        for (int i = 0; i < kBlocks; ++i) Kernel(b.data.data() + 64 * i, table);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kBlocks);
    state.counters["ns/block"] = benchmark::Counter(
        static_cast<double>(state.iterations() * kBlocks),
        benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void apiQuantize(int16_t* block, const uint16_t* table) { zeqiQuantFwd8x8_JPEG_16s_C1I(block, table); }
void apiDequantize(int16_t* block, const uint16_t* table) { zeqiQuantInv8x8_JPEG_16s_C1I(block, table); }

BENCHMARK(BM_Block<apiQuantize, true>)->Name("QuantFwd8x8");
BENCHMARK(BM_Block<zeq::quantizeBlockSse2, true>)->Name("QuantFwd8x8/kernel");
BENCHMARK(BM_Block<zeq::quantizeBlockScalar, true>)->Name("QuantFwd8x8/scalar");
BENCHMARK(BM_Block<apiDequantize, false>)->Name("QuantInv8x8");
BENCHMARK(BM_Block<zeq::dequantizeBlockScalar, false>)->Name("QuantInv8x8/scalar");

}  // namespace
