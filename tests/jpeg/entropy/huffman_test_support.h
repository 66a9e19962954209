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

#include "container/jpeg_standard_tables.h"
#include "jpeg/zigzag.h"
#include "zeqj.h"

namespace zeq::test {

struct TableDefinition {
    std::array<uint8_t, 16> bits;
    std::vector<uint8_t> values;
};

// The tables of T.81 Annex K, from the container library's copy.
inline TableDefinition definitionOf(const zeq::container::JpegHuffmanTable& table) {
    return {table.counts, table.symbols};
}
inline const TableDefinition& annexKDcLuminance() {
    static const TableDefinition t = definitionOf(zeq::container::standardDcLuminance());
    return t;
}
inline const TableDefinition& annexKDcChrominance() {
    static const TableDefinition t = definitionOf(zeq::container::standardDcChrominance());
    return t;
}
inline const TableDefinition& annexKAcLuminance() {
    static const TableDefinition t = definitionOf(zeq::container::standardAcLuminance());
    return t;
}
inline const TableDefinition& annexKAcChrominance() {
    static const TableDefinition t = definitionOf(zeq::container::standardAcChrominance());
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
