// The register-resident reader of the block decoders. It keeps the unread
// bits left-aligned in one 64-bit word and takes plain bytes eight at a time
// (the data of a bounded source) or one at a time (a source that only a
// marker ends), so a decoding step peeks with a constant shift and consumes
// with one shift.
//
// The caller-visible reader holds at most 32 bits and takes bytes only when
// a step lacks bits; what it would hold is followed as one count updated at
// its fill points, and its byte position and 32-bit buffer are worked out
// from the source once, when the bits are handed back. A step runs here only
// when the word holds enough bits for every fill that step can make (so those
// fills never meet a marker, a fill byte or the end); otherwise the reader
// hands its exact state to the general reader of bit_reader.h, at a step
// boundary.
#ifndef ZEQ_JPEG_ENTROPY_BLOCK_BIT_READER_H
#define ZEQ_JPEG_ENTROPY_BLOCK_BIT_READER_H

#include <cstdint>
#include <cstring>

#include "jpeg/entropy/bit_reader.h"

namespace zeq {

// Bits a step (a code of up to 16 bits, then up to 15 extra bits) needs in
// the word so that each fill of the caller-visible reader, which leaves it
// at most 32 bits, finds its bytes read already.
constexpr int kBitsForStep = kReadAheadBits + kMaxCodeLength;
constexpr int kWordBits = 64;

// The caller-visible count after a fill from `count`: bytes are taken while
// 24 or fewer bits are valid, so it lands on 25..32, congruent modulo 8.
ZEQ_ENTROPY_INLINE int filledCount(int count) { return kFillBelow + ((count + 7) & 7); }
// A conditional move, not a branch: whether a step fills is as random as
// the bits, and the compiler left to itself branches.
ZEQ_ENTROPY_INLINE int countBeforeTaking(int count, int needed) {
    const int filled = filledCount(count);
    __asm__("cmpl %[needed], %[count]\n\tcmovl %[filled], %[count]"
            : [count] "+r"(count)
            : [needed] "ri"(needed), [filled] "r"(filled)
            : "cc");
    return count;
}

// True when a byte of the word is 0xFF.
ZEQ_ENTROPY_INLINE bool hasByteFF(uint64_t word) {
    const uint64_t inverted = ~word;
    return ((inverted - 0x0101010101010101ull) & word & 0x8080808080808080ull) != 0;
}

// The reader's moving parts, kept together so that the rare byte-wise path
// can take and return them by value while the hot loop keeps them in
// registers.
struct WordBits {
    uint64_t word;    // unread bits from the top; zero or stream bits below them
    int32_t pos;      // past the last source byte taken into word
    int avail;        // unread bits in word
    int count;        // the bits the caller-visible reader holds (<= avail)
    int32_t stuffed;  // stuffed pairs taken
};

// Up to eight source bytes from the position (there must be eight): the
// plain ones before the first 0xFF, and that 0xFF when a 0x00 follows it
// among the eight (a stuffed pair), as many as fit in the word.
ZEQ_ENTROPY_INLINE void takePlainBytes(WordBits& b, const uint8_t* src) {
    uint64_t bytes;
    std::memcpy(&bytes, src + b.pos, 8);
    // Bytes of 0xFF flagged (flags above the first may be false, the first
    // is exact); with none among the first seven, 7 plain bytes count.
    const uint64_t flags =
        ((~bytes - 0x0101010101010101ull) & bytes & 0x8080808080808080ull) | (uint64_t{1} << 63);
    const int plain = __builtin_ctzll(flags) >> 3;
    const int pair = (((bytes >> (8 * plain)) & 0xFF00) == 0) & (plain != 7);
    const int data = plain + pair;
    const int room = (kWordBits - 1 - b.avail) >> 3;
    const int taken = data < room ? data : room;
    const int pairTaken = taken > plain;  // the 0xFF of a pair is among those taken
    // Data bytes past those taken land below the valid bits: they are the
    // stream's own, and later loads OR the same bits there.
    b.word |= (__builtin_bswap64(bytes) & ~(~uint64_t{0} >> (8 * data))) >> b.avail;
    b.pos += taken + pairTaken;
    b.stuffed += pairTaken;
    b.avail += 8 * taken;
}

// The bytes of a step near the end of a bounded source or across a second
// 0xFF, one at a time while the word has room for one: plain bytes and
// stuffed pairs, up to a marker, a fill byte or the end.
__attribute__((noinline)) inline WordBits readAcrossBytes(WordBits b, const uint8_t* src,
                                                          int32_t len) {
    b.word &= ~(~uint64_t{0} >> b.avail);  // no stream bits below the valid ones
    while (b.avail < kWordBits - 8) {
        if (b.pos >= len) break;
        const uint8_t byte = src[b.pos];
        if (byte == 0xFF) {
            if (int64_t{len} - b.pos < 2) break;
            if (src[b.pos + 1] != 0x00) break;
            ++b.stuffed;
            ++b.pos;
        }
        ++b.pos;
        b.word |= uint64_t{byte} << (kWordBits - 8 - b.avail);
        b.avail += 8;
    }
    return b;
}

// Keeps a value needed only before and after a block loop in memory from
// here on, leaving its register to the loop.
template <class T>
ZEQ_ENTROPY_INLINE void parkInMemory(T& value) {
    __asm__("" : "+m"(value));
}

template <SourceEnd kEnd>
class BlockBitReader {
public:
    // Opens at the caller's position with the caller's buffer and count (a
    // count outside 0..32 taken as the nearest of the two).
    BlockBitReader(const uint8_t* src, int32_t srcLen, int32_t pos, uint32_t buffer, int32_t count)
        : src_(src), len_(srcLen) {
        const int held = count < 0 ? 0 : (count > kReadAheadBits ? kReadAheadBits : count);
        b_.word = (uint64_t{buffer} << kReadAheadBits) << (kReadAheadBits - held);
        b_.pos = pos;
        b_.avail = held;
        b_.count = held;
        b_.stuffed = 0;
    }

    // Makes sure the word holds the bits of one whole step; false when the
    // bytes ahead do not allow it (an unstuffed 0xFF, the end). A bounded
    // source is read without a branch on the data: the plain bytes of eight
    // loaded ones, as many as fit.
    ZEQ_ENTROPY_INLINE bool readyForStep() {
        if (kEnd == SourceEnd::Bounded) {
            if (__builtin_expect(b_.avail >= kBitsForStep, 1)) return true;
            if (__builtin_expect(b_.pos <= len_ - 8, 1)) {
                takePlainBytes(b_, src_);
                if (__builtin_expect(b_.avail >= kBitsForStep, 1)) return true;
            }
            b_ = readAcrossBytes(b_, src_, len_);
            return b_.avail >= kBitsForStep;
        }
        // Only a marker ends this source: bytes one at a time, no further
        // than the first 0xFF that is not stuffing.
        if (b_.avail >= kBitsForStep) return true;
        b_.word &= ~(~uint64_t{0} >> b_.avail);
        do {
            const uint8_t byte = src_[b_.pos];
            if (__builtin_expect(byte == 0xFF, 0)) {
                if (src_[b_.pos + 1] != 0x00) return b_.avail >= kBitsForStep;
                ++b_.stuffed;
                ++b_.pos;
            }
            ++b_.pos;
            b_.word |= uint64_t{byte} << (kWordBits - 8 - b_.avail);
            b_.avail += 8;
        } while (b_.avail < kWordBits - 8);
        return true;
    }

    // The next 8 bits, first stream bit highest.
    ZEQ_ENTROPY_INLINE uint32_t peek8() const {
        return static_cast<uint32_t>(b_.word >> (kWordBits - kFastLookupBits));
    }
    ZEQ_ENTROPY_INLINE uint32_t peek17() const {
        return static_cast<uint32_t>(b_.word >> (kWordBits - kMaxCodeLength - 1));
    }
    ZEQ_ENTROPY_INLINE void skip(int n) {
        b_.word <<= n;
        b_.avail -= n;
    }

    // A symbol from the fast table (length 1..8 in `entry`); false when the
    // entry sends the code to the long search.
    ZEQ_ENTROPY_INLINE bool fastSymbol(const HuffmanDecodeSpec* table, int* s) {
        const uint32_t entry = loadField<uint32_t>(table, kFastLookupAt, peek8());
        const uint32_t length = entry >> 16;
        if (__builtin_expect(length - 1 >= uint32_t{kFastLookupBits}, 0)) return false;
        b_.count = countBeforeTaking(b_.count, kFastLookupBits) - static_cast<int>(length);
        skip(static_cast<int>(length));
        *s = static_cast<int>(entry & 0xFFFF);
        return true;
    }

    // A code of 9 to 16 bits; false (nothing consumed) when no code of up to
    // 16 bits matches, which the general reader reports. The caller-visible
    // reader tops up below 8 bits, makes sure of 9, and fills once more when
    // it runs out mid-code.
    ZEQ_ENTROPY_INLINE bool longSymbol(const HuffmanDecodeSpec* table, const LongCodeLimits& limits,
                                       int* s) {
        constexpr int kWindow = kMaxCodeLength + 1;
        const uint32_t window = peek17();
        const int length = longCodeLength(limits, window);
        if (length > kMaxCodeLength) return false;
        // Topping up below 8 bits leaves 25 or more; with exactly 8 the
        // second check fills.
        const int held = countBeforeTaking(b_.count, kFastLookupBits + 1);
        b_.count = held - length + (held < length ? kReadAheadBits : 0);
        skip(length);
        const uint32_t code = window >> (kWindow - length);
        const uint32_t first =
            loadField<uint16_t>(table, offsetof(HuffmanDecodeSpec, minCode), length);
        const uint32_t index =
            loadField<uint16_t>(table, offsetof(HuffmanDecodeSpec, valueIndex), length);
        *s = loadField<uint16_t>(table, offsetof(HuffmanDecodeSpec, symbols),
                                 (index + code - first) & (kHuffmanSymbols - 1));
        return true;
    }

    ZEQ_ENTROPY_INLINE bool symbol(const HuffmanDecodeSpec* table, const LongCodeLimits& limits,
                                   int* s) {
        return fastSymbol(table, s) || longSymbol(table, limits, s);
    }

    // s (1..15) extra bits, sign-extended: with the top bit 0 they stand for
    // v + 1 - 2^s.
    ZEQ_ENTROPY_INLINE int32_t extended(int s) {
        b_.count = countBeforeTaking(b_.count, s) - s;
        const uint32_t low = kLowBitMasks[s];
        const uint32_t negative = static_cast<uint32_t>(static_cast<int64_t>(~b_.word) >> 63);
        const uint32_t v =
            static_cast<uint32_t>((b_.word << s) | (b_.word >> (kWordBits - s))) & low;
        skip(s);
        return static_cast<int32_t>(v - (negative & low));
    }

    // The caller-visible position, buffer and count.
    struct Handback {
        int32_t pos;
        uint32_t buffer;
        int32_t count;
    };
    // The reader's start position and buffer, which it does not keep.
    Handback handback(int32_t startPos, uint32_t startBuffer) const {
        const int aheadBytes = (b_.avail - b_.count) >> 3;
        Handback h{b_.pos - aheadBytes, 0, b_.count};
        if (__builtin_expect(b_.stuffed == 0, 1)) {
            if (h.pos - startPos >= 4) {
                uint32_t last;
                std::memcpy(&last, src_ + h.pos - 4, 4);
                h.buffer = __builtin_bswap32(last);
                return h;
            }
        } else {
            h.pos = b_.pos;
            for (int i = 0; i < aheadBytes; ++i) h.pos -= dataByteBefore(h.pos, startPos).raw;
        }
        // The last four data bytes before the position, the older ones from
        // the buffer the reader was opened with.
        int32_t p = h.pos;
        for (int i = 0; i < 4; ++i) {
            if (p == startPos) {
                h.buffer |= i == 0 ? startBuffer : startBuffer << (8 * i);
                break;
            }
            const DataByte d = dataByteBefore(p, startPos);
            h.buffer |= uint32_t{d.value} << (8 * i);
            p -= d.raw;
        }
        return h;
    }

private:
    static constexpr size_t kFastLookupAt = offsetof(HuffmanDecodeSpec, fastLookup);

    struct DataByte {
        uint8_t value;
        int raw;  // source bytes it took: 2 for a stuffed 0xFF
    };
    // The data byte that ends at p (p past startPos): a 0x00 after a 0xFF is
    // the stuffing of a data 0xFF (the only 0xFF this reader takes).
    DataByte dataByteBefore(int32_t p, int32_t startPos) const {
        if (src_[p - 1] == 0x00 && p - 2 >= startPos && src_[p - 2] == 0xFF) return {0xFF, 2};
        return {src_[p - 1], 1};
    }

    const uint8_t* src_;
    int32_t len_;
    WordBits b_;
};

}  // namespace zeq

#endif  // ZEQ_JPEG_ENTROPY_BLOCK_BIT_READER_H
