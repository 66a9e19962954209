// Helpers of the Huffman tests: the standard tables of T.81 Annex K, record
// buffers of the reported sizes, and a plain bit-by-bit reference coder
// (canonical codes, one bit at a time, stuffing and padding at the end) that
// the library's encoders are compared with.
#ifndef ZEQ_TESTS_JPEG_ENTROPY_HUFFMAN_TEST_SUPPORT_H
#define ZEQ_TESTS_JPEG_ENTROPY_HUFFMAN_TEST_SUPPORT_H

#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <utility>
#include <vector>

#include "jpeg/zigzag.h"
#include "zeqj.h"

namespace zeq::test {

struct TableDefinition {
    std::array<uint8_t, 16> bits;
    std::vector<uint8_t> values;
};

inline const TableDefinition& annexKDcLuminance() {
    static const TableDefinition t{{0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0},
                                   {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}};
    return t;
}
inline const TableDefinition& annexKDcChrominance() {
    static const TableDefinition t{{0, 3, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0},
                                   {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}};
    return t;
}
inline const TableDefinition& annexKAcLuminance() {
    static const TableDefinition t{
        {0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 0x7d},
        {0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31, 0x41, 0x06, 0x13, 0x51, 0x61,
         0x07, 0x22, 0x71, 0x14, 0x32, 0x81, 0x91, 0xa1, 0x08, 0x23, 0x42, 0xb1, 0xc1, 0x15, 0x52,
         0xd1, 0xf0, 0x24, 0x33, 0x62, 0x72, 0x82, 0x09, 0x0a, 0x16, 0x17, 0x18, 0x19, 0x1a, 0x25,
         0x26, 0x27, 0x28, 0x29, 0x2a, 0x34, 0x35, 0x36, 0x37, 0x38, 0x39, 0x3a, 0x43, 0x44, 0x45,
         0x46, 0x47, 0x48, 0x49, 0x4a, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5a, 0x63, 0x64,
         0x65, 0x66, 0x67, 0x68, 0x69, 0x6a, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7a, 0x83,
         0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8a, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99,
         0x9a, 0xa2, 0xa3, 0xa4, 0xa5, 0xa6, 0xa7, 0xa8, 0xa9, 0xaa, 0xb2, 0xb3, 0xb4, 0xb5, 0xb6,
         0xb7, 0xb8, 0xb9, 0xba, 0xc2, 0xc3, 0xc4, 0xc5, 0xc6, 0xc7, 0xc8, 0xc9, 0xca, 0xd2, 0xd3,
         0xd4, 0xd5, 0xd6, 0xd7, 0xd8, 0xd9, 0xda, 0xe1, 0xe2, 0xe3, 0xe4, 0xe5, 0xe6, 0xe7, 0xe8,
         0xe9, 0xea, 0xf1, 0xf2, 0xf3, 0xf4, 0xf5, 0xf6, 0xf7, 0xf8, 0xf9, 0xfa}};
    return t;
}
inline const TableDefinition& annexKAcChrominance() {
    static const TableDefinition t{
        {0, 2, 1, 2, 4, 4, 3, 4, 7, 5, 4, 4, 0, 1, 2, 0x77},
        {0x00, 0x01, 0x02, 0x03, 0x11, 0x04, 0x05, 0x21, 0x31, 0x06, 0x12, 0x41, 0x51, 0x07, 0x61,
         0x71, 0x13, 0x22, 0x32, 0x81, 0x08, 0x14, 0x42, 0x91, 0xa1, 0xb1, 0xc1, 0x09, 0x23, 0x33,
         0x52, 0xf0, 0x15, 0x62, 0x72, 0xd1, 0x0a, 0x16, 0x24, 0x34, 0xe1, 0x25, 0xf1, 0x17, 0x18,
         0x19, 0x1a, 0x26, 0x27, 0x28, 0x29, 0x2a, 0x35, 0x36, 0x37, 0x38, 0x39, 0x3a, 0x43, 0x44,
         0x45, 0x46, 0x47, 0x48, 0x49, 0x4a, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5a, 0x63,
         0x64, 0x65, 0x66, 0x67, 0x68, 0x69, 0x6a, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7a,
         0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8a, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97,
         0x98, 0x99, 0x9a, 0xa2, 0xa3, 0xa4, 0xa5, 0xa6, 0xa7, 0xa8, 0xa9, 0xaa, 0xb2, 0xb3, 0xb4,
         0xb5, 0xb6, 0xb7, 0xb8, 0xb9, 0xba, 0xc2, 0xc3, 0xc4, 0xc5, 0xc6, 0xc7, 0xc8, 0xc9, 0xca,
         0xd2, 0xd3, 0xd4, 0xd5, 0xd6, 0xd7, 0xd8, 0xd9, 0xda, 0xe2, 0xe3, 0xe4, 0xe5, 0xe6, 0xe7,
         0xe8, 0xe9, 0xea, 0xf2, 0xf3, 0xf4, 0xf5, 0xf6, 0xf7, 0xf8, 0xf9, 0xfa}};
    return t;
}

// Categories 0..16 each with a code: the lossless difference alphabet, so
// every 16-bit value has a code.
inline TableDefinition allCategoriesTable() {
    TableDefinition t{{0, 0, 0, 0, 17, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, {}};
    for (int s = 0; s <= 16; ++s) t.values.push_back(static_cast<uint8_t>(s));
    return t;
}

// Every symbol 0..255 has a code: symbol s the 8-bit code s for s <= 254
// (a stream can be written byte by byte), 255 a code of 9 bits. Any block of
// 16-bit values can be coded, up to the symbol 256 that a category 16 after
// 15 zeros would need.
inline TableDefinition everySymbolTable() {
    TableDefinition t{{0, 0, 0, 0, 0, 0, 0, 255, 1}, {}};
    for (int s = 0; s < 256; ++s) t.values.push_back(static_cast<uint8_t>(s));
    return t;
}

// A record of the reported size, 8-byte aligned, filled with a sentinel.
template <class Record, size_t kBytes>
struct RecordBuffer {
    alignas(8) std::array<uint8_t, kBytes> bytes;
    RecordBuffer() { bytes.fill(0xA5); }
    Record* get() { return reinterpret_cast<Record*>(bytes.data()); }
    const Record* get() const { return reinterpret_cast<const Record*>(bytes.data()); }
    template <class T>
    T at(size_t offset, size_t index = 0) const {
        T v;
        std::memcpy(&v, bytes.data() + offset + index * sizeof(T), sizeof(T));
        return v;
    }
};
using EncodeSpecBuffer = RecordBuffer<HuffmanEncodeSpec, 1024>;
using DecodeSpecBuffer = RecordBuffer<HuffmanDecodeSpec, 1644>;
using EncodeStateBuffer = RecordBuffer<HuffmanEncodeState, 1048>;
using DecodeStateBuffer = RecordBuffer<HuffmanDecodeState, 24>;

// Never null, also for a definition without values.
inline const uint8_t* valuesOf(const TableDefinition& t) {
    static const uint8_t none = 0;
    return t.values.empty() ? &none : t.values.data();
}

inline EncodeSpecBuffer encodeSpec(const TableDefinition& t) {
    EncodeSpecBuffer b;
    zeqiEncodeHuffmanSpecInit_JPEG_8u(t.bits.data(), valuesOf(t), b.get());
    return b;
}
inline DecodeSpecBuffer decodeSpec(const TableDefinition& t) {
    DecodeSpecBuffer b;
    zeqiDecodeHuffmanSpecInit_JPEG_8u(t.bits.data(), valuesOf(t), b.get());
    return b;
}
inline EncodeStateBuffer freshEncodeState() {
    EncodeStateBuffer b;
    zeqiEncodeHuffmanStateInit_JPEG_8u(b.get());
    return b;
}
inline DecodeStateBuffer freshDecodeState() {
    DecodeStateBuffer b;
    zeqiDecodeHuffmanStateInit_JPEG_8u(b.get());
    return b;
}

// Canonical codes generated one by one: symbol -> (code, length).
inline std::map<int, std::pair<uint32_t, int>> canonicalCodes(const TableDefinition& t) {
    std::map<int, std::pair<uint32_t, int>> codes;
    uint32_t code = 0;
    size_t k = 0;
    for (int length = 1; length <= 16; ++length) {
        for (int i = 0; i < t.bits[length - 1]; ++i) codes[t.values[k++]] = {code++, length};
        code <<= 1;
    }
    return codes;
}

// The reference: bits appended one at a time, bytes formed at the end.
class ReferenceBitStream {
public:
    void put(uint32_t value, int n) {
        for (int i = n - 1; i >= 0; --i) bits_.push_back((value >> i) & 1);
    }
    size_t bitCount() const { return bits_.size(); }
    // Whole bytes with stuffing; with `pad` the last partial byte is filled with 1-bits.
    std::vector<uint8_t> bytes(bool pad) const {
        std::vector<uint8_t> out;
        const size_t whole = pad ? (bits_.size() + 7) / 8 : bits_.size() / 8;
        for (size_t b = 0; b < whole; ++b) {
            uint8_t byte = 0;
            for (size_t i = 0; i < 8; ++i) {
                const size_t at = b * 8 + i;
                byte = static_cast<uint8_t>(byte << 1 | (at < bits_.size() ? bits_[at] : 1));
            }
            out.push_back(byte);
            if (byte == 0xFF) out.push_back(0x00);
        }
        return out;
    }
    // Bits past the last whole byte, left-aligned in a byte.
    uint8_t partialByte() const {
        uint8_t byte = 0;
        const size_t start = bits_.size() / 8 * 8;
        for (size_t i = start; i < bits_.size(); ++i)
            byte = static_cast<uint8_t>(byte | bits_[i] << (7 - (i - start)));
        return byte;
    }

private:
    std::vector<bool> bits_;
};

inline int referenceCategory(int32_t v) {
    int s = 0;
    for (uint32_t m = static_cast<uint32_t>(v < 0 ? -v : v); m != 0; m >>= 1) ++s;
    return s;
}

// One block coded bit by bit. Returns false where a needed symbol has no code
// (the bits before it stay appended).
inline bool referenceEncodeBlock(const int16_t* block, int16_t& lastDC,
                                 const std::map<int, std::pair<uint32_t, int>>& dc,
                                 const std::map<int, std::pair<uint32_t, int>>& ac,
                                 ReferenceBitStream& out) {
    auto symbolAndBits = [&](const std::map<int, std::pair<uint32_t, int>>& table, int symbol,
                             int32_t v, int s) {
        auto it = table.find(symbol);
        if (it == table.end()) return false;
        out.put(it->second.first, it->second.second);
        if (s > 0) out.put(static_cast<uint32_t>(v < 0 ? v - 1 : v) & ((1u << s) - 1), s);
        return true;
    };
    const int32_t diff = block[0] - lastDC;
    lastDC = block[0];
    if (!symbolAndBits(dc, referenceCategory(diff), diff, referenceCategory(diff))) return false;
    int run = 0;
    for (int k = 1; k < 64; ++k) {
        const int16_t c = block[NaturalOfZigzag[k]];
        if (c == 0) {
            ++run;
            continue;
        }
        for (; run > 15; run -= 16)
            if (!symbolAndBits(ac, 0xF0, 0, 0)) return false;
        const int s = referenceCategory(c);
        if (!symbolAndBits(ac, run * 16 + s, c, s)) return false;
        run = 0;
    }
    return run == 0 || symbolAndBits(ac, 0x00, 0, 0);
}

// Adds the symbols one block codes to 257-entry statistics (DC category; AC
// run/size, ZRLs before a coefficient, EOB after a trailing run).
inline void countBlockSymbols(const int16_t* block, int16_t& lastDC, std::vector<int32_t>& dc,
                              std::vector<int32_t>& ac) {
    ++dc[referenceCategory(block[0] - lastDC)];
    lastDC = block[0];
    int run = 0;
    for (int k = 1; k < 64; ++k) {
        const int16_t c = block[NaturalOfZigzag[k]];
        if (c == 0) {
            ++run;
            continue;
        }
        ac[0xF0] += run / 16;
        ++ac[(run % 16) * 16 + referenceCategory(c)];
        run = 0;
    }
    if (run > 0) ++ac[0x00];
}

// An optimal definition for the counts, through the library.
inline TableDefinition optimalDefinition(const std::vector<int32_t>& counts) {
    TableDefinition t{{}, std::vector<uint8_t>(256)};
    zeqiEncodeHuffmanRawTableInit_JPEG_8u(counts.data(), t.bits.data(), t.values.data());
    return t;
}

}  // namespace zeq::test

#endif  // ZEQ_TESTS_JPEG_ENTROPY_HUFFMAN_TEST_SUPPORT_H
