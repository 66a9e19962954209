// The four records of the Huffman coders: the prepared encode and decode
// tables and the encode and decode bit-stream states. They live in caller
// memory (or in blocks from the InitAlloc functions) and are plain byte
// layouts: no identifier, no pointers, copyable.
//
// The layouts are fixed (the sizes are reported to callers), so every field
// is read and written through its byte offset: a record in caller memory needs
// no alignment, and the decode builder's one write of a fast-lookup entry past
// the table lands, as a byte copy, in the field that follows it.
#ifndef ZEQ_JPEG_ENTROPY_HUFFMAN_RECORDS_H
#define ZEQ_JPEG_ENTROPY_HUFFMAN_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "zeqj.h"

// Symbol-indexed codes: length (1..16) in the upper half, the right-aligned
// code in the lower half; 0 means the symbol has no code.
struct HuffmanEncodeSpec {
    uint32_t codes[256];
};

struct HuffmanDecodeSpec {
    uint16_t symbols[256];     // the definition's values in order, widened
    uint32_t fastLookup[256];  // next 8 stream bits -> (length << 16) | symbol, 0 = slow path
    int16_t minCode[18];       // first code of each length 0..17
    int16_t maxCode[18];       // last code of each length, -1 where none
    int16_t valueIndex[18];    // index in symbols of each length's first code
};

struct HuffmanEncodeState {
    uint64_t bitBuffer;       // pending bits left-aligned below bit 24
    int32_t bitCount;         // pending bits, 0..7 between calls
    int32_t eobRun;           // progressive AC: blocks of the pending EOB run
    int32_t correctionCount;  // progressive AC refinement: buffered correction bits
    uint8_t correctionBits[1024];
};

struct HuffmanDecodeState {
    uint64_t bitBuffer;    // read-ahead bits at the bottom, oldest first
    int32_t bitCount;      // valid bits, 0..32
    int32_t eobRun;        // progressive AC: blocks of the EOB run still to come
    int32_t coveredCount;  // one past the last zigzag index a block decode reached
};

// The coders keep their bit reader or writer in a local with every member
// inline, so its fields stay in registers across the byte loads and stores of
// the hot loops.
#define ZEQ_ENTROPY_INLINE inline __attribute__((always_inline))

namespace zeq {

constexpr int kHuffmanSymbols = 256;
constexpr int kMaxCodeLength = 16;
constexpr int kFastLookupBits = 8;
constexpr int32_t kEncodeSpecBytes = 1024;
constexpr int32_t kDecodeSpecBytes = 1644;
constexpr int32_t kEncodeStateBytes = 1048;
constexpr int32_t kDecodeStateBytes = 24;
constexpr int kCorrectionBitsCapacity = 1024;

static_assert(sizeof(HuffmanEncodeSpec) == kEncodeSpecBytes);
static_assert(sizeof(HuffmanDecodeSpec) == kDecodeSpecBytes);
static_assert(offsetof(HuffmanDecodeSpec, symbols) == 0);
static_assert(offsetof(HuffmanDecodeSpec, fastLookup) == 512);
static_assert(offsetof(HuffmanDecodeSpec, minCode) == 1536);
static_assert(offsetof(HuffmanDecodeSpec, maxCode) == 1572);
static_assert(offsetof(HuffmanDecodeSpec, valueIndex) == 1608);
static_assert(sizeof(HuffmanEncodeState) == kEncodeStateBytes);
static_assert(offsetof(HuffmanEncodeState, bitBuffer) == 0);
static_assert(offsetof(HuffmanEncodeState, bitCount) == 8);
static_assert(offsetof(HuffmanEncodeState, eobRun) == 12);
static_assert(offsetof(HuffmanEncodeState, correctionCount) == 16);
static_assert(offsetof(HuffmanEncodeState, correctionBits) == 20);
static_assert(sizeof(HuffmanDecodeState) == kDecodeStateBytes);
static_assert(offsetof(HuffmanDecodeState, bitBuffer) == 0);
static_assert(offsetof(HuffmanDecodeState, bitCount) == 8);
static_assert(offsetof(HuffmanDecodeState, eobRun) == 12);
static_assert(offsetof(HuffmanDecodeState, coveredCount) == 16);

// Element `index` of the array field at byte `offset` of a record.
template <class T>
inline T loadField(const void* record, size_t offset, size_t index = 0) {
    T v;
    std::memcpy(&v, static_cast<const uint8_t*>(record) + offset + index * sizeof(T), sizeof(T));
    return v;
}
template <class T>
inline void storeField(void* record, size_t offset, T v, size_t index = 0) {
    std::memcpy(static_cast<uint8_t*>(record) + offset + index * sizeof(T), &v, sizeof(T));
}

inline uint32_t encodeEntry(const HuffmanEncodeSpec* spec, int symbol) {
    return loadField<uint32_t>(spec, offsetof(HuffmanEncodeSpec, codes), size_t(symbol));
}

// The bit position both states carry between calls: the buffer and its count
// share their offsets in the two records.
struct BitPosition {
    uint64_t buffer;
    int32_t count;
};
static_assert(offsetof(HuffmanEncodeState, bitCount) == offsetof(HuffmanDecodeState, bitCount));

inline BitPosition loadBitPosition(const void* state) {
    return {loadField<uint64_t>(state, offsetof(HuffmanEncodeState, bitBuffer)),
            loadField<int32_t>(state, offsetof(HuffmanEncodeState, bitCount))};
}
inline void storeBitPosition(void* state, BitPosition p) {
    storeField<uint64_t>(state, offsetof(HuffmanEncodeState, bitBuffer), p.buffer);
    storeField<int32_t>(state, offsetof(HuffmanEncodeState, bitCount), p.count);
}

// Every field zero (the correction buffer included for the encode state).
inline void resetEncodeState(HuffmanEncodeState* state) {
    std::memset(static_cast<void*>(state), 0, kEncodeStateBytes);
}
inline void resetDecodeState(HuffmanDecodeState* state) {
    std::memset(static_cast<void*>(state), 0, kDecodeStateBytes);
}

}  // namespace zeq

#endif  // ZEQ_JPEG_ENTROPY_HUFFMAN_RECORDS_H
