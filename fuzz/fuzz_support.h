// Shared pieces of the fuzz targets: a reader that turns the fuzz bytes into
// parameters, the writer the seed generators use to build inputs in the same
// layout, Huffman table definitions read from the input, and the hook that
// lets every target write its own seed corpus.
//
// A target is one file:
//
//   static void seeds(zeq::fuzz::SeedSet& set) { ... set.add(builder.bytes()); }
//   ZEQ_FUZZ_TARGET(seeds, in) { ... read parameters from `in`, call the API ... }
//
// Run with ZEQ_FUZZ_SEED_DIR=dir, the target writes its seeds (made with the
// library's own encoders) into dir and exits instead of fuzzing.
#ifndef ZEQ_FUZZ_FUZZ_SUPPORT_H
#define ZEQ_FUZZ_FUZZ_SUPPORT_H

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "zeqj.h"

namespace zeq::fuzz {

// Reads parameters off the front of the fuzz input; an exhausted input
// reads as zeros, so every input is a valid parameter set.
class FuzzInput {
public:
    FuzzInput(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    uint8_t u8() { return pos_ < size_ ? data_[pos_++] : 0; }
    uint16_t u16() {
        const uint16_t high = u8();
        return static_cast<uint16_t>(high << 8 | u8());
    }
    uint32_t u32() {
        const uint32_t high = u16();
        return high << 16 | u16();
    }
    // lo + (one byte, or two when the span needs them) modulo the span.
    int32_t range(int32_t lo, int32_t hi) {
        const uint32_t span = static_cast<uint32_t>(hi - lo) + 1;
        const uint32_t raw = span <= 256 ? u8() : u16();
        return lo + static_cast<int32_t>(raw % span);
    }
    // Up to n bytes, fewer when the input ends.
    std::vector<uint8_t> take(size_t n) {
        n = std::min(n, remaining());
        std::vector<uint8_t> out(data_ + pos_, data_ + pos_ + n);
        pos_ += n;
        return out;
    }
    std::vector<uint8_t> rest() { return take(remaining()); }
    size_t remaining() const { return size_ - pos_; }

private:
    const uint8_t* data_;
    size_t size_;
    size_t pos_ = 0;
};

// Builds an input in the layout FuzzInput reads.
class SeedBuilder {
public:
    SeedBuilder& u8(uint32_t v) {
        bytes_.push_back(static_cast<uint8_t>(v));
        return *this;
    }
    SeedBuilder& u16(uint32_t v) { return u8(v >> 8).u8(v); }
    SeedBuilder& u32(uint32_t v) { return u16(v >> 16).u16(v); }
    SeedBuilder& append(const std::vector<uint8_t>& more) {
        bytes_.insert(bytes_.end(), more.begin(), more.end());
        return *this;
    }
    const std::vector<uint8_t>& bytes() const { return bytes_; }

private:
    std::vector<uint8_t> bytes_;
};

class SeedSet {
public:
    explicit SeedSet(std::string dir) : dir_(std::move(dir)) {}
    void add(const std::vector<uint8_t>& input) {
        const std::string path = dir_ + "/seed-" + std::to_string(count_++);
        FILE* f = std::fopen(path.c_str(), "wb");
        if (f == nullptr || std::fwrite(input.data(), 1, input.size(), f) != input.size()) {
            std::fprintf(stderr, "cannot write seed %s\n", path.c_str());
            std::exit(2);
        }
        std::fclose(f);
    }
    int count() const { return count_; }

private:
    std::string dir_;
    int count_ = 0;
};

inline void writeSeedsIfAsked(void (*seeds)(SeedSet&)) {
    const char* dir = std::getenv("ZEQ_FUZZ_SEED_DIR");
    if (dir == nullptr) return;
    SeedSet set(dir);
    seeds(set);
    std::printf("%d seeds written to %s\n", set.count(), dir);
    std::exit(0);
}

// ---- Huffman table definitions ------------------------------------------

struct TableDefinition {
    uint8_t bits[16] = {};
    uint8_t values[256] = {};
};

// Reads a table definition. Mode byte bit 0 set: a symbol count byte n and
// n + 1 (symbol, weight) pairs, turned into an optimal definition by the
// statistics builder (always usable). Clear: sixteen code counts (masked to
// 0..7 unless bit 1 is set, so that both plausible and wild counts occur)
// and as many symbols as they add up to, taken as they come.
inline bool takeTableDefinition(FuzzInput& in, TableDefinition& def) {
    const uint8_t mode = in.u8();
    if (mode & 1) {
        int32_t counts[257] = {};
        const int n = in.u8() + 1;
        for (int i = 0; i < n; ++i) {
            const uint8_t symbol = in.u8();
            counts[symbol] += in.u8() + 1;
        }
        return zeqiEncodeHuffmanRawTableInit_JPEG_8u(counts, def.bits, def.values) == StatusOk;
    }
    int total = 0;
    for (uint8_t& b : def.bits) {
        b = (mode & 2) ? in.u8() : static_cast<uint8_t>(in.u8() & 7);
        total += b;
    }
    for (int i = 0; i < std::min(total, 256); ++i) def.values[i] = in.u8();
    return true;
}

// Writes symbol counts in the weighted form takeTableDefinition reads,
// scaled into 1..256 so that every counted symbol keeps a code.
inline void putTableDefinition(SeedBuilder& out, const int32_t* counts) {
    std::vector<int> used;
    int64_t largest = 1;
    for (int s = 0; s < 256; ++s) {
        if (counts[s] > 0) used.push_back(s);
        largest = std::max<int64_t>(largest, counts[s]);
    }
    if (used.empty()) used.push_back(0);
    out.u8(1).u8(static_cast<uint32_t>(used.size() - 1));
    for (int s : used) {
        const int64_t weight = std::max<int64_t>(1, counts[s] * 256 / largest);
        out.u8(static_cast<uint32_t>(s))
            .u8(static_cast<uint32_t>(std::min<int64_t>(weight, 256) - 1));
    }
}

// The table a seed's bytes stand for, read back exactly as the target reads it.
inline TableDefinition definitionOf(const std::vector<uint8_t>& tableBytes) {
    FuzzInput in(tableBytes.data(), tableBytes.size());
    TableDefinition def;
    takeTableDefinition(in, def);
    return def;
}

// Prepared records in plain memory of the sizes the library reports.
struct DecodeTable {
    std::vector<uint8_t> memory;
    const HuffmanDecodeSpec* spec() const {
        return reinterpret_cast<const HuffmanDecodeSpec*>(memory.data());
    }
};
struct EncodeTable {
    std::vector<uint8_t> memory;
    const HuffmanEncodeSpec* spec() const {
        return reinterpret_cast<const HuffmanEncodeSpec*>(memory.data());
    }
};

// Reads a definition and builds its decode record; false when the input's
// definition is not one a decoder could be given.
inline bool takeDecodeTable(FuzzInput& in, DecodeTable& table) {
    TableDefinition def;
    if (!takeTableDefinition(in, def)) return false;
    int32_t size = 0;
    zeqiDecodeHuffmanSpecGetBufSize_JPEG_8u(&size);
    table.memory.assign(static_cast<size_t>(size), 0);
    return zeqiDecodeHuffmanSpecInit_JPEG_8u(
               def.bits, def.values, reinterpret_cast<HuffmanDecodeSpec*>(table.memory.data())) ==
           StatusOk;
}

// Seeds: writes the table for these counts and returns its encode record.
inline EncodeTable putEncodeTable(SeedBuilder& out, const int32_t* counts) {
    SeedBuilder table;
    putTableDefinition(table, counts);
    out.append(table.bytes());
    const TableDefinition def = definitionOf(table.bytes());
    int32_t size = 0;
    zeqiEncodeHuffmanSpecGetBufSize_JPEG_8u(&size);
    EncodeTable spec{std::vector<uint8_t>(static_cast<size_t>(size))};
    if (zeqiEncodeHuffmanSpecInit_JPEG_8u(
            def.bits, def.values, reinterpret_cast<HuffmanEncodeSpec*>(spec.memory.data())) !=
        StatusOk) {
        std::fprintf(stderr, "seed table does not build\n");
        std::exit(2);
    }
    return spec;
}

// A record buffer of the size its GetBufSize function reports.
template <class Record>
struct RecordMemory {
    explicit RecordMemory(ZeqStatus (*getSize)(int32_t*)) {
        int32_t size = 0;
        getSize(&size);
        memory.assign(static_cast<size_t>(size), 0);
    }
    Record* get() { return reinterpret_cast<Record*>(memory.data()); }
    std::vector<uint8_t> memory;
};

// Deterministic pseudo-random numbers for the seed generators.
class SeedRandom {
public:
    explicit SeedRandom(uint32_t seed) : state_(seed * 2654435761u + 1) {}
    uint32_t next() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 17;
        state_ ^= state_ << 5;
        return state_;
    }
    int32_t range(int32_t lo, int32_t hi) {
        return lo + static_cast<int32_t>(next() % (static_cast<uint32_t>(hi - lo) + 1));
    }

private:
    uint32_t state_;
};

// Quantized-looking coefficient blocks: a DC, a few decaying AC values, and
// zeros (so that runs, ZRLs and EOBs all occur).
inline void seedBlock(SeedRandom& rng, int16_t* block, int scale) {
    for (int i = 0; i < 64; ++i) {
        const int row = i / 8, col = i % 8;
        const int spread = std::max(1, scale / (1 + row + col));
        block[i] =
            rng.range(0, 2 + row + col) == 0 ? static_cast<int16_t>(rng.range(-spread, spread)) : 0;
    }
    block[0] = static_cast<int16_t>(rng.range(-scale * 4, scale * 4));
}

}  // namespace zeq::fuzz

// Defines the libFuzzer entry points of a target: the seed hook and the
// body, which receives the input as `in` (a FuzzInput).
#define ZEQ_FUZZ_TARGET(seedFunction, in)                                     \
    static void zeqFuzzBody(zeq::fuzz::FuzzInput& in);                        \
    extern "C" int LLVMFuzzerInitialize(int*, char***) {                      \
        zeq::fuzz::writeSeedsIfAsked(seedFunction);                           \
        return 0;                                                             \
    }                                                                         \
    extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { \
        zeq::fuzz::FuzzInput input(data, size);                               \
        zeqFuzzBody(input);                                                   \
        return 0;                                                             \
    }                                                                         \
    static void zeqFuzzBody(zeq::fuzz::FuzzInput& in)

#endif  // ZEQ_FUZZ_FUZZ_SUPPORT_H
