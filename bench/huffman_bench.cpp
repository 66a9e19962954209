// Baseline Huffman coding of photo-like quantized blocks (quality 75 and 95
// shapes) with the standard luminance tables. Throughput is bytes of coded
// data per second, for the state-based coders and their direct variants.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "jpeg/entropy/baseline_encode_sse2.h"
#include "jpeg/entropy/bit_reader.h"
#include "jpeg/entropy/huffman_records.h"
#include "jpeg/zigzag.h"
#include "tests/jpeg/entropy/huffman_test_support.h"
#include "tests/jpeg/entropy/photo_blocks.h"
#include "zeqj.h"

namespace {

constexpr int kBlocks = 4096;

// ---- Reference: the ideal loop -------------------------------------------
// Not the library: how fast the same streams decode with nothing but a
// left-aligned 64-bit reader and the same prepared tables. The whole scan in
// one loop: no call per block, no caller-visible state to keep exact, no
// argument checks, no source-end emulation beyond stopping at a marker. It
// sets the floor the block decoder's per-call work is measured against.
namespace ideal {

struct Reader {
    const uint8_t* src;
    size_t pos;
    size_t len;
    uint64_t word;  // unread bits from the top
    int bits;       // unread bits in word
};

// At least 56 bits: the plain bytes of eight-byte loads up to a 0xFF, a
// stuffed 0xFF as data; a marker or the end feeds zeros.
inline void refill(Reader& in) {
    while (in.pos + 8 <= in.len) {
        uint64_t bytes;
        std::memcpy(&bytes, in.src + in.pos, 8);
        const uint64_t flags =
            ((~bytes - 0x0101010101010101ull) & bytes & 0x8080808080808080ull) | (1ull << 63);
        const int plain = __builtin_ctzll(flags) >> 3;
        const int room = (63 - in.bits) >> 3;
        in.word |= __builtin_bswap64(bytes) >> in.bits;
        if (room <= plain) {
            in.pos += room;
            in.bits += 8 * room;
            return;
        }
        in.pos += plain;
        in.bits += 8 * plain;
        in.word &= ~(~0ull >> in.bits);  // no bits past the 0xFF
        if (in.src[in.pos + 1] != 0x00) break;
        in.word |= 0xFFull << (56 - in.bits);
        in.bits += 8;
        in.pos += 2;
    }
    while (in.bits <= 56) {
        uint64_t byte = 0;
        if (in.pos < in.len) {
            byte = in.src[in.pos];
            if (byte == 0xFF) {
                if (in.pos + 1 < in.len && in.src[in.pos + 1] == 0x00)
                    ++in.pos;
                else
                    byte = 0, in.pos = in.len;  // a marker: zeros from here on
            }
            ++in.pos;
        }
        in.word |= byte << (56 - in.bits);
        in.bits += 8;
    }
}

inline int symbol(Reader& in, const HuffmanDecodeSpec* t, const zeq::LongCodeLimits& limits) {
    const uint32_t entry = t->fastLookup[in.word >> 56];
    const int length = static_cast<int>(entry >> 16);
    if (__builtin_expect(length - 1u < 8u, 1)) {
        in.word <<= length;
        in.bits -= length;
        return static_cast<int>(entry & 0xFF);
    }
    // Longer codes: the library's eight-lane length search.
    const uint32_t window = static_cast<uint32_t>(in.word >> 47);
    int l = zeq::longCodeLength(limits, window);
    if (l > 16) l = 16;  // not reached on the benchmark streams
    in.word <<= l;
    in.bits -= l;
    return zeq::symbolOfLength(t, window >> (17 - l), l);
}

inline int32_t extend(Reader& in, int s) {
    const uint64_t w = in.word;
    const uint32_t low = zeq::kLowBitMasks[s];
    const uint32_t v = static_cast<uint32_t>((w << s) | (w >> (64 - s))) & low;
    const uint32_t negative = static_cast<uint32_t>(static_cast<int64_t>(~w) >> 63);
    in.word <<= s;
    in.bits -= s;
    return static_cast<int32_t>(v - (negative & low));
}

// Figures of a scan: symbols (DC, AC, EOB and ZRL alike), their code bits
// and extra bits, and the codes longer than 8 bits.
struct Figures {
    long symbols = 0;
    long codeBits = 0;
    long extraBits = 0;
    long longCodes = 0;
};

template <bool kCount>
inline int countedSymbol(Reader& in, const HuffmanDecodeSpec* t, const zeq::LongCodeLimits& limits,
                         Figures* f) {
    if (!kCount) return symbol(in, t, limits);
    const int before = in.bits;
    const int s = symbol(in, t, limits);
    ++f->symbols;
    f->codeBits += before - in.bits;
    f->longCodes += before - in.bits > 8;
    return s;
}

template <bool kCount = false>
inline void decodeBlock(Reader& in, int32_t& lastDC, int16_t* dst, const HuffmanDecodeSpec* dc,
                        const HuffmanDecodeSpec* ac, Figures* f = nullptr) {
    std::memset(dst, 0, 64 * sizeof(int16_t));
    if (in.bits < 32) refill(in);
    const int s = countedSymbol<kCount>(in, dc, zeq::LongCodeLimits(dc), f) & 15;
    if (kCount) f->extraBits += s;
    if (s != 0) lastDC += extend(in, s);
    dst[0] = static_cast<int16_t>(lastDC);
    const zeq::LongCodeLimits acLimits(ac);
    for (int k = 1; k < 64; ++k) {
        if (in.bits < 32) refill(in);
        const int rs = countedSymbol<kCount>(in, ac, acLimits, f);
        const int size = rs & 15;
        const int run = rs >> 4;
        if (size == 0) {
            if (run != 15) break;
            k += 15;
            continue;
        }
        k += run;
        if (kCount) f->extraBits += size;
        dst[zeq::NaturalOfZigzag[k & 63]] = static_cast<int16_t>(extend(in, size));
    }
}

// The whole scan in one loop; returns the input consumed.
inline size_t decodeScan(const uint8_t* src, size_t len, int blocks, int16_t* out,
                         const HuffmanDecodeSpec* dc, const HuffmanDecodeSpec* ac) {
    Reader in{src, 0, len, 0, 0};
    int32_t lastDC = 0;
    for (int b = 0; b < blocks; ++b) {
        decodeBlock(in, lastDC, out, dc, ac);
        benchmark::DoNotOptimize(out);
    }
    return in.pos;
}

// The same loop with one call per block, the reader's position, word and bit
// count and the last DC kept in memory between calls (but no exact 32-bit
// state, no checks): what the call boundary alone costs.
struct BlockCallState {
    size_t pos;
    uint64_t word;
    int bits;
    int32_t lastDC;
};
__attribute__((noinline)) void decodeBlockCall(const uint8_t* src, size_t len,
                                               BlockCallState* state, int16_t* dst,
                                               const HuffmanDecodeSpec* dc,
                                               const HuffmanDecodeSpec* ac) {
    Reader in{src, state->pos, len, state->word, state->bits};
    int32_t lastDC = state->lastDC;
    decodeBlock(in, lastDC, dst, dc, ac);
    *state = {in.pos, in.word, in.bits, lastDC};
}
inline size_t decodeScanByBlock(const uint8_t* src, size_t len, int blocks, int16_t* out,
                                const HuffmanDecodeSpec* dc, const HuffmanDecodeSpec* ac) {
    BlockCallState state{0, 0, 0, 0};
    for (int b = 0; b < blocks; ++b) decodeBlockCall(src, len, &state, out, dc, ac);
    return state.pos;
}

inline Figures figuresOf(const uint8_t* src, size_t len, int blocks, const HuffmanDecodeSpec* dc,
                         const HuffmanDecodeSpec* ac) {
    Figures f;
    Reader in{src, 0, len, 0, 0};
    int32_t lastDC = 0;
    int16_t out[64];
    for (int b = 0; b < blocks; ++b) decodeBlock<true>(in, lastDC, out, dc, ac, &f);
    return f;
}

}  // namespace ideal

using namespace zeq::test;

struct Coder {
    // With `optimal`, the tables are the optimal ones for these blocks (as a
    // two-pass encoder makes them) instead of the standard luminance ones.
    Coder(PhotoBlockShape shape, bool optimal) : blocks(photoBlocks(kBlocks, shape, 2024)) {
        if (optimal) {
            std::vector<int32_t> dc(257, 0), ac(257, 0);
            int16_t lastDC = 0;
            for (int i = 0; i < kBlocks; ++i) countBlockSymbols(&blocks[64 * i], lastDC, dc, ac);
            const TableDefinition dcDefinition = optimalDefinition(dc);
            const TableDefinition acDefinition = optimalDefinition(ac);
            dcEncSpec = encodeSpec(dcDefinition);
            acEncSpec = encodeSpec(acDefinition);
            dcDecSpec = decodeSpec(dcDefinition);
            acDecSpec = decodeSpec(acDefinition);
        }
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

    void decodeIdeal() {
        benchmark::DoNotOptimize(
            ideal::decodeScan(stream.data(), size_t(coded), kBlocks, out.data(), dcDec(), acDec()));
    }
    void decodeIdealByBlock() {
        benchmark::DoNotOptimize(ideal::decodeScanByBlock(stream.data(), size_t(coded), kBlocks,
                                                          out.data(), dcDec(), acDec()));
    }
    // The ideal loop decodes what the encoder was given.
    bool idealMatches() {
        ideal::Reader in{stream.data(), 0, size_t(coded), 0, 0};
        int32_t lastDC = 0;
        int16_t block[64];
        for (int i = 0; i < kBlocks; ++i) {
            ideal::decodeBlock(in, lastDC, block, dcDec(), acDec());
            if (std::memcmp(block, &blocks[64 * size_t(i)], sizeof(block)) != 0) return false;
        }
        return true;
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

enum class Op { Encode, EncodeDirect, Decode, DecodeDirect, Copy, IdealLoop, IdealByBlock };

template <Op kOp, bool kOptimalTables = false>
void BM_Huffman(benchmark::State& state) {
    Coder coder(state.range(0) == 75 ? kQuality75 : kQuality95, kOptimalTables);
    if ((kOp == Op::IdealLoop || kOp == Op::IdealByBlock) && !coder.idealMatches()) {
        state.SkipWithError("the ideal loop decodes other coefficients");
        return;
    }
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
            case Op::IdealLoop:
                coder.decodeIdeal();
                break;
            case Op::IdealByBlock:
                coder.decodeIdealByBlock();
                break;
            case Op::Copy:  // the machine's pace on the same bytes, for scale
                std::memcpy(coder.scratch.data(), coder.stream.data(), size_t(coder.coded));
                break;
        }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * coder.coded);
    state.counters["bytes/block"] = double(coder.coded) / kBlocks;
    if (kOp == Op::IdealLoop || kOp == Op::Decode) {
        const ideal::Figures f = ideal::figuresOf(coder.stream.data(), size_t(coder.coded), kBlocks,
                                                  coder.dcDec(), coder.acDec());
        state.counters["symbols/block"] = double(f.symbols) / kBlocks;
        state.counters["bits/symbol"] = double(f.codeBits + f.extraBits) / double(f.symbols);
        state.counters["codebits/symbol"] = double(f.codeBits) / double(f.symbols);
        state.counters["long/block"] = double(f.longCodes) / kBlocks;
    }
}

BENCHMARK(BM_Huffman<Op::Encode>)->Name("HuffmanEncode8x8/quality")->Arg(75)->Arg(95);
BENCHMARK(BM_Huffman<Op::EncodeDirect>)->Name("HuffmanEncode8x8_Direct/quality")->Arg(75)->Arg(95);
BENCHMARK(BM_Huffman<Op::Decode>)->Name("HuffmanDecode8x8/quality")->Arg(75)->Arg(95);
BENCHMARK(BM_Huffman<Op::DecodeDirect>)->Name("HuffmanDecode8x8_Direct/quality")->Arg(75)->Arg(95);
// References for the decoders above, not the library (see namespace ideal).
BENCHMARK(BM_Huffman<Op::IdealLoop>)
    ->Name("HuffmanDecodeIdealLoop_Reference/quality")
    ->Arg(75)
    ->Arg(95);
BENCHMARK(BM_Huffman<Op::IdealByBlock>)
    ->Name("HuffmanDecodeIdealPerBlockCall_Reference/quality")
    ->Arg(75)
    ->Arg(95);
// The decoders on streams coded with optimal tables (more codes of 9 to 16
// bits than the standard tables give these blocks), with their reference.
BENCHMARK(BM_Huffman<Op::Decode, true>)
    ->Name("HuffmanDecode8x8_OptimalTables/quality")
    ->Arg(75)
    ->Arg(95);
BENCHMARK(BM_Huffman<Op::IdealLoop, true>)
    ->Name("HuffmanDecodeIdealLoop_OptimalTables_Reference/quality")
    ->Arg(75)
    ->Arg(95);
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
    Coder coder(state.range(0) == 75 ? kQuality75 : kQuality95, false);
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

BENCHMARK(BM_HuffmanEncodeIdealLoop)
    ->Name("HuffmanEncodeIdealLoop_Reference/quality")
    ->Arg(75)
    ->Arg(95);

}  // namespace
