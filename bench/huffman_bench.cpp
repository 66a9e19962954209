// Baseline Huffman coding of photo-like quantized blocks (quality 75 and 95
// shapes) with the standard luminance tables. Throughput is bytes of coded
// data per second, for the state-based coders and their direct variants.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "jpeg/entropy/baseline_encode_sse2.h"
#include "tests/jpeg/entropy/huffman_test_support.h"
#include "tests/jpeg/entropy/photo_blocks.h"
#include "zeqj.h"

namespace {

constexpr int kBlocks = 4096;

using namespace zeq::test;

struct Coder {
    explicit Coder(PhotoBlockShape shape) : blocks(photoBlocks(kBlocks, shape, 2024)) {
        stream.resize(static_cast<size_t>(kBlocks) * 300);
        coded = encode();
        // A marker ends the data for the direct decoder.
        stream[coded] = 0xFF;
        stream[coded + 1] = 0xD9;
    }

    int32_t encode() {
        zeqiEncodeHuffmanStateInit_JPEG_8u(encState());
        int32_t pos = 0;
        int16_t lastDC = 0;
        const int32_t len = static_cast<int32_t>(stream.size());
        for (int i = 0; i < kBlocks; ++i)
            zeqiEncodeHuffman8x8_JPEG_16s1u_C1(&blocks[64 * i], stream.data(), len, &pos, &lastDC,
                                               dcEnc(), acEnc(), encState(), 0);
        zeqiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, stream.data(), len, &pos, nullptr, nullptr,
                                           nullptr, encState(), 1);
        return pos;
    }
    int32_t encodeDirect() {
        int32_t bitPos = 0;
        int16_t lastDC = 0;
        for (int i = 0; i < kBlocks; ++i)
            zeqiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(&blocks[64 * i], scratch.data(), &bitPos,
                                                      &lastDC, dcEnc(), acEnc());
        return bitPos / 8;
    }
    void decode() {
        zeqiDecodeHuffmanStateInit_JPEG_8u(decState());
        int32_t pos = 0, marker = 0;
        int16_t lastDC = 0;
        for (int i = 0; i < kBlocks; ++i)
            zeqiDecodeHuffman8x8_JPEG_1u16s_C1(stream.data(), coded, &pos, out.data(), &lastDC,
                                               &marker, dcDec(), acDec(), decState());
    }
    void decodeDirect() {
        int32_t bitPos = 0, marker = 0, count = 0;
        uint32_t reservoir = 0;
        int16_t lastDC = 0;
        for (int i = 0; i < kBlocks; ++i)
            zeqiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(stream.data(), &bitPos, out.data(), &lastDC,
                                                      &marker, &reservoir, &count, dcDec(),
                                                      acDec());
    }

    HuffmanEncodeSpec* dcEnc() { return dcEncSpec.get(); }
    HuffmanEncodeSpec* acEnc() { return acEncSpec.get(); }
    HuffmanDecodeSpec* dcDec() { return dcDecSpec.get(); }
    HuffmanDecodeSpec* acDec() { return acDecSpec.get(); }
    HuffmanEncodeState* encState() { return encStateBuffer.get(); }
    HuffmanDecodeState* decState() { return decStateBuffer.get(); }

    std::vector<int16_t> blocks;
    EncodeSpecBuffer dcEncSpec = encodeSpec(annexKDcLuminance());
    EncodeSpecBuffer acEncSpec = encodeSpec(annexKAcLuminance());
    DecodeSpecBuffer dcDecSpec = decodeSpec(annexKDcLuminance());
    DecodeSpecBuffer acDecSpec = decodeSpec(annexKAcLuminance());
    EncodeStateBuffer encStateBuffer;
    DecodeStateBuffer decStateBuffer;
    std::vector<uint8_t> stream;
    std::vector<uint8_t> scratch = std::vector<uint8_t>(static_cast<size_t>(kBlocks) * 300);
    std::array<int16_t, 64> out{};
    int32_t coded = 0;
};

enum class Op { Encode, EncodeDirect, Decode, DecodeDirect, Copy };

template <Op kOp>
void BM_Huffman(benchmark::State& state) {
    Coder coder(state.range(0) == 75 ? kQuality75 : kQuality95);
    for (auto _ : state) {
        switch (kOp) {
            case Op::Encode:
                benchmark::DoNotOptimize(coder.encode());
                break;
            case Op::EncodeDirect:
                benchmark::DoNotOptimize(coder.encodeDirect());
                break;
            case Op::Decode:
                coder.decode();
                break;
            case Op::DecodeDirect:
                coder.decodeDirect();
                break;
            case Op::Copy:  // the machine's pace on the same bytes, for scale
                std::memcpy(coder.scratch.data(), coder.stream.data(), size_t(coder.coded));
                break;
        }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * coder.coded);
    state.counters["bytes/block"] = double(coder.coded) / kBlocks;
}

BENCHMARK(BM_Huffman<Op::Encode>)->Name("HuffmanEncode8x8/quality")->Arg(75)->Arg(95);
BENCHMARK(BM_Huffman<Op::EncodeDirect>)->Name("HuffmanEncode8x8_Direct/quality")->Arg(75)->Arg(95);
BENCHMARK(BM_Huffman<Op::Decode>)->Name("HuffmanDecode8x8/quality")->Arg(75)->Arg(95);
BENCHMARK(BM_Huffman<Op::DecodeDirect>)->Name("HuffmanDecode8x8_Direct/quality")->Arg(75)->Arg(95);
BENCHMARK(BM_Huffman<Op::Copy>)->Name("HuffmanCodedBytesMemcpy/quality")->Arg(75)->Arg(95);

}  // namespace

// ---- The floor under the per-block encoder ----------------------------------
// The same blocks and tables coded by the same block walk in one loop, with
// one writer (a 64-bit accumulator) that lives across all blocks: no call
// boundary, no checks, no state record to load and store, no bound. What the
// exported coder costs above this is the price of its per-block API.
namespace {

int32_t encodeIdealLoop(Coder& coder, uint8_t* dst) {
    zeqiEncodeHuffmanStateInit_JPEG_8u(coder.encState());
    zeq::FastBitWriter out(dst, 0, coder.encState());
    int16_t lastDC = 0;
    for (int i = 0; i < kBlocks; ++i)
        zeq::walkStreamBlock(&coder.blocks[64 * size_t(i)], &lastDC, coder.dcEnc(), coder.acEnc(),
                             out);
    int32_t pos = 0;
    out.close(&pos, coder.encState());
    return pos;
}

double nonZeroPerBlock(const std::vector<int16_t>& blocks) {
    const auto nonZero = std::count_if(blocks.begin(), blocks.end(), [](int16_t c) { return c; });
    return double(nonZero) / kBlocks;
}

void BM_HuffmanEncodeIdealLoop(benchmark::State& state) {
    Coder coder(state.range(0) == 75 ? kQuality75 : kQuality95);
    // The loop must give the stream of the exported coder (before its padding).
    const int32_t whole = encodeIdealLoop(coder, coder.scratch.data());
    if (whole > coder.coded || whole < coder.coded - 2 ||
        std::memcmp(coder.scratch.data(), coder.stream.data(), size_t(whole)) != 0)
        state.SkipWithError("the ideal loop codes other bytes");
    for (auto _ : state) {
        benchmark::DoNotOptimize(encodeIdealLoop(coder, coder.scratch.data()));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * coder.coded);
    state.counters["bytes/block"] = double(coder.coded) / kBlocks;
    state.counters["nonzero/block"] = nonZeroPerBlock(coder.blocks);
}

BENCHMARK(BM_HuffmanEncodeIdealLoop)->Name("HuffmanEncodeIdealLoop/quality")->Arg(75)->Arg(95);

}  // namespace
