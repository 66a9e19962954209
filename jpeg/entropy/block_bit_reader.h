// The register-resident reader of the block decoders. It keeps the unread
// bits left-aligned in one 64-bit word, so a decoding step peeks with a
// constant shift and consumes with one shift, and it reads the plain bytes
// of eight-byte loads (a bounded source) or single bytes (a source that only
// a marker ends).
//
// The caller-visible reader holds at most 32 bits and takes bytes only when
// a step lacks bits. This reader keeps that reader's count and does its
// fills at the same points, each one a move of whole bytes from those the
// word holds ahead of the count; the word reads more source bytes only when
// too few are ahead. The caller-visible position and 32-bit buffer are
// worked out from the source once, when the bits are handed back. Where the
// bytes for a fill are not there (a 0xFF that is not stuffing, the end), the
// reader stops before the fill and hands its exact state to the general
// reader of bit_reader.h.
#ifndef ZEQ_JPEG_ENTROPY_BLOCK_BIT_READER_H
#define ZEQ_JPEG_ENTROPY_BLOCK_BIT_READER_H

#include <cstdint>
#include <cstring>

#include "jpeg/entropy/bit_reader.h"

namespace zeq {

constexpr int kWordBits = 64;

// The caller-visible count after a fill from `count`: bytes are taken while
// 24 or fewer bits are valid, so it lands on 25..32, congruent modulo 8.
ZEQ_ENTROPY_INLINE int filledCount(int count) { return kFillBelow + ((count + 7) & 7); }

// The reader's moving parts, kept together so that the rare byte-wise path
// can take and return them by value while the hot loop keeps them in
// registers.
struct WordBits {
    uint64_t word;       // unread bits from the top; zero or stream bits below them
    int32_t pos;         // past the last source byte taken into word
    int avail;           // unread bits in word
    int count;           // the bits the caller-visible reader holds (<= avail)
    int32_t stuffedEnd;  // past the last stuffed pair taken (the start when none)
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
    b.stuffedEnd = pairTaken ? b.pos : b.stuffedEnd;
    b.avail += 8 * taken;
}

// Bytes one at a time while the word has room for one: plain bytes and
// stuffed pairs, up to a marker, a fill byte or (bounded) the end of `len`.
// Only a marker ends an unbounded source, so there the byte after one that
// is not 0xFF is there to read, and nothing further is.
template <SourceEnd kEnd>
ZEQ_ENTROPY_INLINE void takeBytesOneByOne(WordBits& b, const uint8_t* src, int32_t len) {
    constexpr bool kBounded = kEnd == SourceEnd::Bounded;
    b.word &= ~(~uint64_t{0} >> b.avail);  // no stream bits below the valid ones
    while (b.avail < kWordBits - 8) {
        if (kBounded && b.pos >= len) break;
        const uint8_t byte = src[b.pos];
        if (byte == 0xFF) {
            if (kBounded && int64_t{len} - b.pos < 2) break;
            if (src[b.pos + 1] != 0x00) break;
            b.stuffedEnd = b.pos + 2;
            ++b.pos;
        }
        ++b.pos;
        b.word |= uint64_t{byte} << (kWordBits - 8 - b.avail);
        b.avail += 8;
    }
}

// The same out of line, for a bounded source near its end or a 0xFF.
__attribute__((noinline)) inline WordBits readAcrossBytes(WordBits b, const uint8_t* src,
                                                          int32_t len) {
    takeBytesOneByOne<SourceEnd::Bounded>(b, src, len);
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
        word_ = (uint64_t{buffer} << kReadAheadBits) << (kReadAheadBits - held);
        pos_ = pos;
        count_ = held;
        ahead_ = 0;
        stuffedEnd_ = pos;
    }

    // A symbol: the caller-visible reader's top-up below 8 bits, then a code
    // of up to 8 bits from the fast table or a longer one. False when the
    // general reader has to take the step, with no bit of it consumed.
    ZEQ_ENTROPY_INLINE bool symbol(const HuffmanDecodeSpec* table, const LongCodeLimits& limits,
                                   int* s) {
        if (count_ < kFastLookupBits && !fill()) return false;
        const uint32_t entry = loadField<uint32_t>(
            table, kFastLookupAt, static_cast<uint32_t>(word_ >> (kWordBits - kFastLookupBits)));
        const uint32_t length = entry >> 16;
        if (__builtin_expect(length - 1 >= uint32_t{kFastLookupBits}, 0))
            return longSymbol(table, limits, s);
        skip(static_cast<int>(length));
        *s = static_cast<int>(entry & 0xFFFF);
        return true;
    }

    // s (1..15) extra bits, sign-extended (with the top bit 0 they stand for
    // v + 1 - 2^s); false when the general reader has to take them.
    ZEQ_ENTROPY_INLINE bool extended(int s, int32_t* value) {
        if (count_ < s && !fill()) return false;
        const uint32_t low = kLowBitMasks[s];
        const uint32_t negative = static_cast<uint32_t>(static_cast<int64_t>(~word_) >> 63);
        const uint32_t v = static_cast<uint32_t>((word_ << s) | (word_ >> (kWordBits - s))) & low;
        skip(s);
        *value = static_cast<int32_t>(v - (negative & low));
        return true;
    }

    // The caller-visible position, buffer and count.
    struct Handback {
        int32_t pos;
        uint32_t buffer;
        int32_t count;
    };
    // The reader's start position and buffer, which it does not keep.
    Handback handback(int32_t startPos, uint32_t startBuffer) const {
        const int aheadBytes = ahead_ >> 3;
        Handback h{pos_ - aheadBytes, 0, count_};
        // No stuffed pair among the bytes ahead and the four before them
        // (which are then past the start).
        if (__builtin_expect(stuffedEnd_ <= h.pos - 4, 1)) {
            uint32_t last;
            std::memcpy(&last, src_ + h.pos - 4, 4);
            h.buffer = __builtin_bswap32(last);
            return h;
        }
        if (stuffedEnd_ > h.pos) {  // a stuffed pair may be among the bytes ahead
            h.pos = pos_;
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

    ZEQ_ENTROPY_INLINE void skip(int n) {
        word_ <<= n;
        count_ -= n;
    }

    ZEQ_ENTROPY_INLINE WordBits bits() const {
        return {word_, pos_, count_ + ahead_, count_, stuffedEnd_};
    }
    ZEQ_ENTROPY_INLINE void setBits(const WordBits& b) {
        word_ = b.word;
        pos_ = b.pos;
        ahead_ = b.avail - count_;
        stuffedEnd_ = b.stuffedEnd;
    }

    // More bytes into the word: from a bounded source the plain ones of an
    // eight-byte load (and one stuffed pair) without a branch on the data,
    // near its end one at a time; from an unbounded one one at a time.
    ZEQ_ENTROPY_INLINE void readMore() {
        WordBits b = bits();
        if (kEnd == SourceEnd::Bounded) {
            if (__builtin_expect(pos_ <= len_ - 8, 1))
                takePlainBytes(b, src_);
            else
                b = readAcrossBytes(b, src_, len_);
        } else {
            takeBytesOneByOne<kEnd>(b, src_, len_);
        }
        setBits(b);
    }
    // Bytes until `needed` bits beyond the caller-visible count are ahead (a
    // second 0xFF among the next ones is taken one byte at a time); false
    // when the source does not have them.
    ZEQ_ENTROPY_INLINE bool haveAhead(int needed) {
        if (ahead_ >= needed) return true;
        readMore();
        if (kEnd == SourceEnd::Bounded && ahead_ < needed)
            setBits(readAcrossBytes(bits(), src_, len_));
        return ahead_ >= needed;
    }

    // The caller-visible reader's fill: it takes bytes while 24 or fewer
    // bits are valid. The word reads on with it; false (nothing changed but
    // bytes read ahead) when the source does not have the bytes.
    ZEQ_ENTROPY_INLINE bool fill() {
        const int filled = filledCount(count_);
        if (ahead_ < filled - count_) {
            readMore();
            if (__builtin_expect(ahead_ < filled - count_, 0)) {
                if (!haveAhead(filled - count_)) return false;
            }
        }
        ahead_ -= filled - count_;
        count_ = filled;
        return true;
    }

    // A code of 9 to 16 bits: the caller-visible reader makes sure of 9 bits
    // (filling when it holds exactly 8) and fills once more when it runs out
    // mid-code. False (nothing consumed) when no code of up to 16 bits
    // matches, which the general reader reports.
    ZEQ_ENTROPY_INLINE bool longSymbol(const HuffmanDecodeSpec* table, const LongCodeLimits& limits,
                                       int* s) {
        constexpr int kWindow = kMaxCodeLength + 1;
        if (count_ < kFastLookupBits + 1 && !fill()) return false;
        if (count_ + ahead_ < kWindow && !haveAhead(kWindow - count_)) return false;
        const uint32_t window = static_cast<uint32_t>(word_ >> (kWordBits - kWindow));
        const int length = longCodeLength(limits, window);
        if (length > kMaxCodeLength) return false;
        if (count_ < length) {
            if (!haveAhead(kReadAheadBits)) return false;
            ahead_ -= kReadAheadBits;
            count_ += kReadAheadBits;
        }
        skip(length);
        *s = symbolOfLength(table, window >> (kWindow - length), length);
        return true;
    }

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
    uint64_t word_;  // unread bits from the top; zero or stream bits below them
    int count_;      // the bits the caller-visible reader holds
    int ahead_;      // bits of whole bytes in the word beyond those (a multiple of 8)
    int32_t pos_;    // past the last source byte taken into the word
    int32_t stuffedEnd_;
};

}  // namespace zeq

#endif  // ZEQ_JPEG_ENTROPY_BLOCK_BIT_READER_H
