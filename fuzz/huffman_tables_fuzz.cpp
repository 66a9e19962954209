// The Huffman table builders on arbitrary definitions, and the optimal-table
// builder on arbitrary statistics. Whatever the statistics, a definition the
// optimal builder accepts from plausible counts must give one code per
// counted symbol and build as an encode and a decode table.
#include <cstdlib>

#include "fuzz/fuzz_support.h"
#include "tests/jpeg/entropy/huffman_test_support.h"

namespace {

using namespace zeq::fuzz;

constexpr int32_t kPlausibleTotal = 1000000000;

void putDefinition(SeedBuilder& out, const zeq::test::TableDefinition& t) {
    out.u8(0);  // definition form
    for (uint8_t b : t.bits) out.u8(b);
    for (uint8_t v : t.values) out.u8(v);
}

void seeds(SeedSet& set) {
    namespace k = zeq::test;
    for (const k::TableDefinition* t : {&k::annexKDcLuminance(), &k::annexKDcChrominance(),
                                        &k::annexKAcLuminance(), &k::annexKAcChrominance()}) {
        SeedBuilder b;
        putDefinition(b, *t);
        set.add(b.bytes());
    }
    // Statistics the library gathers from coefficient blocks, as 16-bit counts.
    SeedRandom rng(7);
    for (int scale : {4, 60, 900}) {
        int32_t dc[257] = {}, ac[257] = {};
        int16_t lastDC = 0;
        int16_t block[64];
        for (int i = 0; i < 64; ++i) {
            seedBlock(rng, block, scale);
            zeqiGetHuffmanStatistics8x8_JPEG_16s_C1(block, dc, ac, &lastDC);
        }
        for (const int32_t* counts : {dc, ac}) {
            SeedBuilder b;
            b.u8(1);  // statistics form, 16-bit counts
            for (int s = 0; s < 257; ++s) b.u16(static_cast<uint32_t>(std::min(counts[s], 65535)));
            set.add(b.bytes());
        }
    }
}

void checkDefinitionBuilds(const uint8_t* bits, const uint8_t* values) {
    int32_t size = 0;
    zeqiEncodeHuffmanSpecGetBufSize_JPEG_8u(&size);
    std::vector<uint8_t> encode(static_cast<size_t>(size));
    zeqiDecodeHuffmanSpecGetBufSize_JPEG_8u(&size);
    std::vector<uint8_t> decode(static_cast<size_t>(size));
    if (zeqiEncodeHuffmanSpecInit_JPEG_8u(
            bits, values, reinterpret_cast<HuffmanEncodeSpec*>(encode.data())) != StatusOk ||
        zeqiDecodeHuffmanSpecInit_JPEG_8u(
            bits, values, reinterpret_cast<HuffmanDecodeSpec*>(decode.data())) != StatusOk) {
        std::fprintf(stderr, "an optimal definition does not build\n");
        std::abort();
    }
}

}  // namespace

ZEQ_FUZZ_TARGET(seeds, in) {
    const uint8_t form = in.u8();
    if (form % 3 == 0) {
        // A definition as a DHT segment carries it, all 256 symbol bytes given.
        uint8_t bits[16], values[256] = {};
        for (uint8_t& b : bits) b = in.u8();
        const std::vector<uint8_t> v = in.take(256);
        std::copy(v.begin(), v.end(), values);
        int32_t size = 0;
        zeqiEncodeHuffmanSpecGetBufSize_JPEG_8u(&size);
        std::vector<uint8_t> encode(static_cast<size_t>(size));
        const ZeqStatus encodeStatus = zeqiEncodeHuffmanSpecInit_JPEG_8u(
            bits, values, reinterpret_cast<HuffmanEncodeSpec*>(encode.data()));
        zeqiDecodeHuffmanSpecGetBufSize_JPEG_8u(&size);
        std::vector<uint8_t> decode(static_cast<size_t>(size));
        const ZeqStatus decodeStatus = zeqiDecodeHuffmanSpecInit_JPEG_8u(
            bits, values, reinterpret_cast<HuffmanDecodeSpec*>(decode.data()));
        // The decode builder accepts every table the encode builder does.
        if (encodeStatus == StatusOk && decodeStatus != StatusOk) std::abort();
        HuffmanEncodeSpec* encodeAlloc = nullptr;
        HuffmanDecodeSpec* decodeAlloc = nullptr;
        zeqiEncodeHuffmanSpecInitAlloc_JPEG_8u(bits, values, &encodeAlloc);
        zeqiDecodeHuffmanSpecInitAlloc_JPEG_8u(bits, values, &decodeAlloc);
        if (encodeAlloc && std::memcmp(encodeAlloc, encode.data(), encode.size()) != 0)
            std::abort();
        if (decodeAlloc && std::memcmp(decodeAlloc, decode.data(), decode.size()) != 0)
            std::abort();
        zeqiEncodeHuffmanSpecFree_JPEG_8u(encodeAlloc);
        zeqiDecodeHuffmanSpecFree_JPEG_8u(decodeAlloc);
        return;
    }
    // 257 statistics words: 16-bit counts (form 1) or any 32-bit values.
    int32_t counts[257];
    int64_t total = 0;
    int used = 0;
    for (int32_t& c : counts) {
        c = form % 3 == 1 ? in.u16() : static_cast<int32_t>(in.u32());
        total += c;
    }
    for (int s = 0; s < 256; ++s) used += counts[s] != 0;
    uint8_t bits[16] = {}, values[256] = {};
    const ZeqStatus status = zeqiEncodeHuffmanRawTableInit_JPEG_8u(counts, bits, values);
    if (form % 3 != 1 || used == 0 || total >= kPlausibleTotal) return;
    if (status != StatusOk) {
        std::fprintf(stderr, "plausible statistics rejected: %d\n", status);
        std::abort();
    }
    int coded = 0;
    for (uint8_t b : bits) coded += b;
    if (coded != used) {
        std::fprintf(stderr, "%d codes for %d symbols\n", coded, used);
        std::abort();
    }
    checkDefinitionBuilds(bits, values);
}
