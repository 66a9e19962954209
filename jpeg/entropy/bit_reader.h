// The reading side of the Huffman decoders: a byte reader that undoes 0xFF
// stuffing, drops fill bytes and stops at the first marker, and the symbol
// decoder over a HuffmanDecodeSpec. Every decoder (baseline, progressive,
// lossless rows) works through one HuffmanBitReader:
//
//   ZeqStatus ensure(n)              at least n bits valid (n <= 16), or the reason why not
//   uint32_t take(n)                 consume n valid bits
//   ZeqStatus symbol(table, &s)      decode one Huffman symbol
//   ZeqStatus extended(s, &v)        s extra bits, sign-extended
//
// The reader holds at most 32 bits (bytes are taken while 24 or fewer are
// valid) and fills only when a step lacks bits, so the input position the
// caller sees after each call is the one of the bit-exact contract.
// - StreamSource: a bounded source (src, srcLen, byte position); its end gives
//   StatusBufferExhausted, as does an end right after a 0xFF.
// - UnboundedSource: the direct decoder's source; only a marker ends it.
// The bits live in local copies; close() hands them back.
#ifndef ZEQ_JPEG_ENTROPY_BIT_READER_H
#define ZEQ_JPEG_ENTROPY_BIT_READER_H

#include <cstdint>
#include <cstring>

#include "jpeg/entropy/huffman_records.h"

namespace zeq {

constexpr int kReadAheadBits = 32;
constexpr int kFillBelow = 25;  // bytes are taken while fewer valid bits than this

enum class SourceEnd { Bounded, MarkerOnly };

template <SourceEnd kEnd>
class HuffmanBitReader {
public:
    // srcLen is ignored for a MarkerOnly source. A bit count outside 0..32
    // (a damaged record) is taken as the nearest of the two.
    HuffmanBitReader(const uint8_t* src, int32_t srcLen, int32_t pos, int32_t* marker,
                     uint64_t buffer, int32_t count)
        : src_(src),
          len_(srcLen),
          pos_(pos),
          marker_(marker),
          markerMet_(*marker != 0),
          buffer_(buffer & 0xFFFFFFFFu),
          count_(count < 0 ? 0 : (count > kReadAheadBits ? kReadAheadBits : count)) {}

    int32_t position() const { return pos_; }
    int count() const { return count_; }
    uint32_t buffer() const { return static_cast<uint32_t>(buffer_); }
    bool markerMet() const { return markerMet_; }

    // The byte reader. Takes bytes while 24 or fewer bits are valid. After a
    // marker (this call or earlier) nothing more is read, and bits still
    // missing give StatusCoefficientRange.
    ZEQ_ENTROPY_INLINE ZeqStatus fill(int needed) {
        if (markerMet_) return count_ >= needed ? StatusOk : StatusCoefficientRange;
        if (kEnd == SourceEnd::Bounded && int64_t{len_} - pos_ >= 4) {
            // Fast path: the next four bytes are there and hold no 0xFF.
            uint32_t word;
            std::memcpy(&word, src_ + pos_, 4);
            const uint32_t inverted = ~word;
            if (((inverted - 0x01010101u) & ~inverted & 0x80808080u) == 0) {
                const int bytes = (kReadAheadBits - count_) >> 3;
                const uint64_t next = __builtin_bswap32(word);
                buffer_ = ((buffer_ << (8 * bytes)) | (next >> (32 - 8 * bytes))) & 0xFFFFFFFFu;
                count_ += 8 * bytes;
                pos_ += bytes;
                return StatusOk;
            }
        }
        while (count_ < kFillBelow) {
            if (atEnd()) return count_ >= needed ? StatusOk : StatusBufferExhausted;
            uint8_t byte = src_[pos_++];
            if (byte == 0xFF) {
                for (;;) {
                    if (atEnd()) return StatusBufferExhausted;
                    const uint8_t next = src_[pos_++];
                    if (next == 0x00) break;     // stuffed: the 0xFF is data
                    if (next == 0xFF) continue;  // fill byte
                    *marker_ = next;
                    markerMet_ = true;
                    return count_ >= needed ? StatusOk : StatusCoefficientRange;
                }
            }
            buffer_ = ((buffer_ << 8) | byte) & 0xFFFFFFFFu;
            count_ += 8;
        }
        return StatusOk;
    }

    ZEQ_ENTROPY_INLINE ZeqStatus ensure(int n) { return count_ >= n ? StatusOk : fill(n); }

    ZEQ_ENTROPY_INLINE uint32_t take(int n) {
        count_ -= n;
        return static_cast<uint32_t>(buffer_ >> count_) & ((uint32_t{1} << n) - 1);
    }

    // One symbol: the next 8 bits index the fast table; codes longer than 8
    // bits (or fewer than 8 bits left) go bit by bit through the length
    // arrays, up to 16 bits. No match gives symbol 0 and StatusCoefficientRange.
    ZEQ_ENTROPY_INLINE ZeqStatus symbol(const HuffmanDecodeSpec* table, int* s) {
        if (count_ < kFastLookupBits) fill(0);  // a top-up; shortage is handled below
        int length = 1;
        if (count_ >= kFastLookupBits) {
            const uint32_t prefix =
                static_cast<uint32_t>(buffer_ >> (count_ - kFastLookupBits)) & 0xFF;
            const uint32_t entry = loadField<uint32_t>(table, kFastLookupAt, prefix);
            const uint32_t fastLength = entry >> 16;
            if (fastLength - 1 < uint32_t{kFastLookupBits}) {
                count_ -= static_cast<int>(fastLength);
                *s = static_cast<int>(entry & 0xFFFF);
                return StatusOk;
            }
            length = kFastLookupBits + 1;
        }
        return slowSymbol(table, length, s);
    }

    // s (1..16) extra bits as the signed value they stand for.
    ZEQ_ENTROPY_INLINE ZeqStatus extended(int s, int32_t* value) {
        if (ZeqStatus status = ensure(s)) return status;
        const uint32_t v = take(s);
        *value = v < (uint32_t{1} << (s - 1)) ? static_cast<int32_t>(v) + 1 - (int32_t{1} << s)
                                              : static_cast<int32_t>(v);
        return StatusOk;
    }

private:
    static constexpr size_t kFastLookupAt = offsetof(HuffmanDecodeSpec, fastLookup);

    ZEQ_ENTROPY_INLINE bool atEnd() const { return kEnd == SourceEnd::Bounded && pos_ >= len_; }

    ZEQ_ENTROPY_INLINE ZeqStatus slowSymbol(const HuffmanDecodeSpec* table, int length, int* s) {
        constexpr int kLongestSearch = kMaxCodeLength + 1;  // a failed search eats one more bit
        uint32_t code;
        if (count_ >= kLongestSearch && length > 1) {
            // All bits the search can consume are in hand, so it needs no
            // fill: find the length on the peeked bits, then consume.
            const uint32_t window =
                static_cast<uint32_t>(buffer_ >> (count_ - kLongestSearch)) & 0x1FFFF;
            code = window >> (kLongestSearch - length);
            while (length <= kMaxCodeLength && longerThanLength(table, code, length)) {
                ++length;
                code = window >> (kLongestSearch - length);
            }
            count_ -= length;
        } else {
            if (ZeqStatus status = ensure(length)) return status;
            code = take(length);
            while (length <= kMaxCodeLength && longerThanLength(table, code, length)) {
                if (ZeqStatus status = ensure(1)) return status;
                code = (code << 1) | take(1);
                ++length;
            }
        }
        if (length > kMaxCodeLength) {
            *s = 0;
            return StatusCoefficientRange;
        }
        const uint32_t first =
            loadField<uint16_t>(table, offsetof(HuffmanDecodeSpec, minCode), length);
        const uint32_t index =
            loadField<uint16_t>(table, offsetof(HuffmanDecodeSpec, valueIndex), length);
        // Masked to the table: a record built from a valid definition never needs it.
        *s = loadField<uint16_t>(table, offsetof(HuffmanDecodeSpec, symbols),
                                 (index + code - first) & (kHuffmanSymbols - 1));
        return StatusOk;
    }

    // maxCode -1 marks a length without codes; other values are unsigned.
    ZEQ_ENTROPY_INLINE static bool longerThanLength(const HuffmanDecodeSpec* table, uint32_t code,
                                                    int length) {
        const uint16_t last =
            loadField<uint16_t>(table, offsetof(HuffmanDecodeSpec, maxCode), length);
        return last == 0xFFFF || code > last;
    }

    const uint8_t* src_;
    int32_t len_;
    int32_t pos_;
    int32_t* marker_;
    bool markerMet_;
    uint64_t buffer_;  // valid bits at the bottom, oldest first
    int count_;
};

using StreamBitReader = HuffmanBitReader<SourceEnd::Bounded>;
using UnboundedBitReader = HuffmanBitReader<SourceEnd::MarkerOnly>;

// A state-based reader over src[0..srcLen) from *srcPos, and its hand-back.
inline StreamBitReader openStream(const uint8_t* src, int32_t srcLen, const int32_t* srcPos,
                                  int32_t* marker, const HuffmanDecodeState* state) {
    const BitPosition p = loadBitPosition(state);
    return StreamBitReader(src, srcLen, *srcPos, marker, p.buffer, p.count);
}
inline void closeStream(const StreamBitReader& in, int32_t* srcPos, HuffmanDecodeState* state) {
    *srcPos = in.position();
    storeBitPosition(state, {in.buffer(), in.count()});
}

}  // namespace zeq

#endif  // ZEQ_JPEG_ENTROPY_BIT_READER_H
