// Forward and inverse 8x8 DCT with (de)quantization, per block: the exported
// functions (SSE2 engines) next to their scalar twins in the same run.
#include <benchmark/benchmark.h>

#include <array>
#include <random>
#include <vector>

#include "jpeg/sample/fdct.h"
#include "jpeg/sample/idct.h"
#include "zeqj.h"

namespace {

constexpr int kBlocks = 256;

// Typical data: natural-ish samples, and coefficients as a decoder meets them
// (quantized values of a real forward transform).
struct Data {
    Data() {
        std::mt19937 rng(9);
        std::uniform_int_distribution<int> noise(-12, 12);
        for (int b = 0; b < kBlocks; ++b)
            for (int i = 0; i < 64; ++i) {
                const int v = 60 + 2 * (i % 8) + 3 * (i / 8) + b % 100 + noise(rng);
                samples[64 * b + i] = static_cast<uint8_t>(v);
                shifted[64 * b + i] = static_cast<int16_t>(samples[64 * b + i] - 128);
                samples12[64 * b + i] = static_cast<uint16_t>(16 * v);
            }
        uint8_t raw[64];
        for (int i = 0; i < 64; ++i) raw[i] = static_cast<uint8_t>(4 + i);
        zeqiQuantFwdTableInit_JPEG_8u16u(raw, fwd.data());
        zeqiQuantInvTableInit_JPEG_8u16u(raw, inv.data());
        for (int i = 0; i < 64; ++i) {
            fwdF[i] = 1.0f / (4 + i);
            invF[i] = static_cast<float>(4 + i);
        }
        for (int b = 0; b < kBlocks; ++b)
            zeqiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(&samples[64 * b], 8, &coefficients[64 * b],
                                                fwd.data());
    }
    std::vector<uint8_t> samples = std::vector<uint8_t>(64 * kBlocks);
    std::vector<uint16_t> samples12 = std::vector<uint16_t>(64 * kBlocks);
    std::vector<int16_t> coefficients = std::vector<int16_t>(64 * kBlocks);
    std::vector<int16_t> shifted = std::vector<int16_t>(64 * kBlocks);
    std::vector<int16_t> out16 = std::vector<int16_t>(64 * kBlocks);
    std::vector<uint8_t> out8 = std::vector<uint8_t>(64 * kBlocks);
    std::vector<uint16_t> out12 = std::vector<uint16_t>(64 * kBlocks);
    std::array<uint16_t, 64> fwd{}, inv{};
    std::array<float, 64> fwdF{}, invF{};
};

template <class Body>
void runBlocks(benchmark::State& state, Body body) {
    for (auto _ : state) {
        for (int b = 0; b < kBlocks; ++b) body(b);
        benchmark::ClobberMemory();
    }
    state.counters["ns/block"] =
        benchmark::Counter(static_cast<double>(state.iterations() * kBlocks),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// ---- Forward ----

template <auto kernel>
void BM_FwdSamples(benchmark::State& state) {
    Data d;
    runBlocks(state, [&](int b) { kernel(&d.samples[64 * b], 8, &d.out16[64 * b], d.fwd.data()); });
}
// Level-shifted samples, as an encoder hands them over.
template <auto kernel>
void BM_FwdBlock(benchmark::State& state) {
    Data d;
    runBlocks(state, [&](int b) { kernel(&d.shifted[64 * b], &d.out16[64 * b], d.fwd.data()); });
}
template <auto kernel>
void BM_Fwd12(benchmark::State& state) {
    Data d;
    runBlocks(state, [&](int b) {
        kernel(reinterpret_cast<const uint8_t*>(&d.samples12[64 * b]), 16, &d.out16[64 * b],
               d.fwdF.data());
    });
}

void apiFwdSamples(const uint8_t* s, int32_t step, int16_t* d, const uint16_t* t) {
    zeqiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(s, step, d, t);
}
void apiFwdBlock(const int16_t* s, int16_t* d, const uint16_t* t) {
    zeqiDCTQuantFwd8x8_JPEG_16s_C1(s, d, t);
}
void apiFwd12(const uint8_t* s, int32_t step, int16_t* d, const float* t) {
    zeqiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(reinterpret_cast<const uint16_t*>(s), step, d, t);
}

BENCHMARK(BM_FwdSamples<apiFwdSamples>)->Name("DCTQuantFwd8x8LS_8u16s");
BENCHMARK(BM_FwdSamples<zeq::forwardDctQuantSamplesScalar>)->Name("DCTQuantFwd8x8LS_8u16s/scalar");
BENCHMARK(BM_FwdBlock<apiFwdBlock>)->Name("DCTQuantFwd8x8_16s");
BENCHMARK(BM_FwdBlock<zeq::forwardDctQuantScalar>)->Name("DCTQuantFwd8x8_16s/scalar");
BENCHMARK(BM_Fwd12<apiFwd12>)->Name("DCTQuantFwd8x8LS_16u16s");
BENCHMARK(BM_Fwd12<zeq::forwardDctQuant12BitScalar>)->Name("DCTQuantFwd8x8LS_16u16s/scalar");

// ---- Inverse ----

template <auto kernel>
void BM_InvSamples(benchmark::State& state) {
    Data d;
    runBlocks(state,
              [&](int b) { kernel(&d.coefficients[64 * b], &d.out8[64 * b], 8, d.inv.data()); });
}
template <auto kernel>
void BM_InvBlock(benchmark::State& state) {
    Data d;
    runBlocks(state,
              [&](int b) { kernel(&d.coefficients[64 * b], &d.out16[64 * b], d.inv.data()); });
}
template <auto kernel>
void BM_Inv12(benchmark::State& state) {
    Data d;
    runBlocks(state, [&](int b) {
        kernel(&d.coefficients[64 * b], reinterpret_cast<uint8_t*>(&d.out12[64 * b]), 16,
               d.invF.data());
    });
}

void apiInvBlock(const int16_t* s, int16_t* d, const uint16_t* t) {
    zeqiDCTQuantInv8x8_JPEG_16s_C1(s, d, t);
}
void apiInv12(const int16_t* s, uint8_t* d, int32_t step, const float* t) {
    zeqiDCTQuantInv8x8LS_JPEG_16s16u_C1R(s, reinterpret_cast<uint16_t*>(d), step, t);
}

BENCHMARK(BM_InvSamples<zeqiDCTQuantInv8x8LS_JPEG_16s8u_C1R>)->Name("DCTQuantInv8x8LS_16s8u");
BENCHMARK(BM_InvSamples<zeq::inverseDctQuantSamplesScalar>)->Name("DCTQuantInv8x8LS_16s8u/scalar");
BENCHMARK(BM_InvBlock<apiInvBlock>)->Name("DCTQuantInv8x8_16s");
BENCHMARK(BM_InvBlock<zeq::inverseDctQuantScalar>)->Name("DCTQuantInv8x8_16s/scalar");
BENCHMARK(BM_InvSamples<zeqiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R>)->Name("DCTQuantInv8x8LS_4x4");
BENCHMARK(BM_InvSamples<zeq::inverseDctQuant4x4SamplesScalar>)->Name("DCTQuantInv8x8LS_4x4/scalar");
BENCHMARK(BM_InvSamples<zeqiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R>)->Name("DCTQuantInv8x8LS_2x2");
BENCHMARK(BM_InvSamples<zeq::inverseDctQuant2x2SamplesScalar>)->Name("DCTQuantInv8x8LS_2x2/scalar");
BENCHMARK(BM_InvSamples<zeqiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R>)->Name("DCTQuantInv8x8LS_1x1");
BENCHMARK(BM_InvSamples<zeqiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R>)->Name("DCTQuantInv8x8To4x4LS");
BENCHMARK(BM_InvSamples<zeq::inverseDctQuantTo4x4SamplesScalar>)
    ->Name("DCTQuantInv8x8To4x4LS/scalar");
BENCHMARK(BM_InvSamples<zeqiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R>)->Name("DCTQuantInv8x8To2x2LS");
BENCHMARK(BM_InvSamples<zeq::inverseDctQuantTo2x2SamplesScalar>)
    ->Name("DCTQuantInv8x8To2x2LS/scalar");
BENCHMARK(BM_Inv12<apiInv12>)->Name("DCTQuantInv8x8LS_16s16u");
BENCHMARK(BM_Inv12<zeq::inverseDctQuant12BitScalar>)->Name("DCTQuantInv8x8LS_16s16u/scalar");

}  // namespace
