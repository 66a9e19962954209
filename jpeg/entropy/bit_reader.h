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
// The contract's reader holds at most 32 bits (bytes are taken while 24 or
// fewer are valid) and fills only when a step lacks bits; the input position,
// buffer and count the caller sees after each call are exactly its own, while
// the reader underneath loads up to eight plain bytes at a time.
// - StreamSource: a bounded source (src, srcLen, byte position); its end gives
//   StatusBufferExhausted, as does an end right after a 0xFF.
// - UnboundedSource: the direct decoder's source; only a marker ends it.
// The bits live in local copies; close() hands them back.
#ifndef ZEQ_JPEG_ENTROPY_BIT_READER_H
#define ZEQ_JPEG_ENTROPY_BIT_READER_H

#include <emmintrin.h>

#include <array>
#include <cstdint>
#include <cstring>

#include "jpeg/entropy/huffman_records.h"

namespace zeq {

constexpr int kReadAheadBits = 32;
constexpr int kFillBelow = 25;  // bytes are taken while fewer valid bits than this
constexpr int kWindowBits = 64;
// A window of this many bits lets a decoding step (a code of up to 16 bits,
// then up to 16 extra bits) find the bytes of both its fills ahead.
constexpr int kSureStepBits = kFillBelow + kMaxCodeLength;

// Entry n: the low n bits set.
constexpr std::array<uint32_t, 33> kLowBitMasks = [] {
    std::array<uint32_t, 33> t{};
    for (int n = 1; n <= 32; ++n) t[n] = n == 32 ? ~0u : (uint32_t{1} << n) - 1;
    return t;
}();

// Sign extension by category s (1..16): values below kExtendHalf[s] (top bit
// 0) take kExtendOffset[s] = 1 - 2^s.
constexpr std::array<uint32_t, 17> kExtendHalf = [] {
    std::array<uint32_t, 17> t{};
    for (int s = 1; s <= 16; ++s) t[s] = uint32_t{1} << (s - 1);
    return t;
}();
constexpr std::array<int32_t, 17> kExtendOffset = [] {
    std::array<int32_t, 17> t{};
    for (int s = 1; s <= 16; ++s) t[s] = 1 - (int32_t{1} << s);
    return t;
}();

enum class SourceEnd { Bounded, MarkerOnly };

// Length of the code of more than 8 bits that starts a 17-bit window (first
// stream bit at bit 16): the first length L = 9..16 whose top L bits are not
// above maxCode[L] (read unsigned, -1 meaning no codes of that length), or
// 17 when none is. The scalar search, one length after the other:
inline bool longerThanLength(const HuffmanDecodeSpec* table, uint32_t code, int length) {
    const uint16_t last = loadField<uint16_t>(table, offsetof(HuffmanDecodeSpec, maxCode), length);
    return last == 0xFFFF || code > last;
}
inline int longCodeLengthScalar(const HuffmanDecodeSpec* table, uint32_t window) {
    constexpr int kWindow = kMaxCodeLength + 1;
    int length = kFastLookupBits + 1;
    while (length <= kMaxCodeLength &&
           longerThanLength(table, window >> (kWindow - length), length))
        ++length;
    return length;
}
// The same with the eight lengths 9..16 compared at once, on the top 16
// bits of the window: the top L bits are above maxCode[L] exactly when the
// 16 bits are above maxCode[L] shifted up to them with ones below (a
// maxCode beyond any L-bit code, read unsigned, leaves nothing above it).
// The table's lengths 9..16 are read once into LongCodeLimits where a loop
// decodes many codes with one table.
struct LongCodeLimits {
    __m128i biasedLast;  // left-aligned maxCode of lengths 9..16, biased for a signed compare
    __m128i none;        // lanes whose length has no codes (maxCode -1)
    ZEQ_ENTROPY_INLINE explicit LongCodeLimits(const HuffmanDecodeSpec* table) {
        __m128i last;
        std::memcpy(&last,
                    reinterpret_cast<const uint8_t*>(table) + offsetof(HuffmanDecodeSpec, maxCode) +
                        (kFastLookupBits + 1) * sizeof(int16_t),
                    sizeof(last));
        const __m128i bias = _mm_set1_epi16(static_cast<int16_t>(0x8000));
        const __m128i up =
            _mm_setr_epi16(1 << 7, 1 << 6, 1 << 5, 1 << 4, 1 << 3, 1 << 2, 1 << 1, 1);
        const __m128i below = _mm_setr_epi16(127, 63, 31, 15, 7, 3, 1, 0);
        const __m128i longest = _mm_setr_epi16(511, 1023, 2047, 4095, 8191, 16383, 32767, -1);
        const __m128i beyond =
            _mm_cmpgt_epi16(_mm_xor_si128(last, bias), _mm_xor_si128(longest, bias));
        const __m128i aligned =
            _mm_or_si128(_mm_or_si128(_mm_mullo_epi16(last, up), below), beyond);
        none = _mm_cmpeq_epi16(last, _mm_set1_epi16(-1));
        biasedLast = _mm_xor_si128(aligned, bias);
    }
};
ZEQ_ENTROPY_INLINE int longCodeLength(const LongCodeLimits& limits, uint32_t window) {
    constexpr int kFirst = kFastLookupBits + 1;
    const __m128i top16 = _mm_set1_epi16(static_cast<int16_t>((window >> 1) ^ 0x8000));
    const __m128i longer = _mm_or_si128(limits.none, _mm_cmpgt_epi16(top16, limits.biasedLast));
    const uint32_t fits = ~static_cast<uint32_t>(_mm_movemask_epi8(longer)) & 0xFFFF;
    return fits != 0 ? kFirst + (__builtin_ctz(fits) >> 1) : kMaxCodeLength + 1;
}
ZEQ_ENTROPY_INLINE int longCodeLength(const HuffmanDecodeSpec* table, uint32_t window) {
    return longCodeLength(LongCodeLimits(table), window);
}

// The symbol of a code of `length` (1..16) bits, through the length arrays.
// Masked to the table: a record built from a valid definition never needs it.
ZEQ_ENTROPY_INLINE int symbolOfLength(const HuffmanDecodeSpec* table, uint32_t code, int length) {
    const uint32_t first = loadField<uint16_t>(table, offsetof(HuffmanDecodeSpec, minCode), length);
    const uint32_t index =
        loadField<uint16_t>(table, offsetof(HuffmanDecodeSpec, valueIndex), length);
    return loadField<uint16_t>(table, offsetof(HuffmanDecodeSpec, symbols),
                               (index + code - first) & (kHuffmanSymbols - 1));
}

// The bits of a reader as plain values: a hot loop copies them into
// registers, works on them with the inline steps of the reader, and hands
// them back before it calls any of the reader's other functions.
struct ReaderBits {
    uint64_t window;  // stream bits, newest at the bottom; the low `avail` are unread
    uint64_t older;   // the bits pushed out of `window`
    int32_t pos;      // past the last byte taken, those ahead included
    int avail;
    int ahead;         // a multiple of 8: the bytes taken early, at the bottom of the window
    uint32_t stuffed;  // bit i: the i-th newest byte of the window was a stuffed 0xFF
};

// The reader works with two read-aheads. The contract's reader holds `count`
// bits: what a byte-at-a-time reader that fills only when a step lacks bits
// would hold, and with it an input position and a buffer, which the caller
// sees. This reader holds `avail` bits: those count bits plus `ahead` bits
// of whole plain bytes (no 0xFF among them) taken early in 8-byte loads. A
// fill of the contract then only moves the boundary between the two (a
// select); bytes are read one at a time (stuffing, fill bytes, markers, the
// end) only when too few are ahead. The caller's position is the reader's
// less the bytes ahead, its buffer the 32 stream bits that end there.
template <SourceEnd kEnd>
class HuffmanBitReader {
public:
    // srcLen is ignored for a MarkerOnly source. A bit count outside 0..32
    // (a damaged record) is taken as the nearest of the two.
    HuffmanBitReader(const uint8_t* src, int32_t srcLen, int32_t pos, int32_t* marker,
                     uint64_t buffer, int32_t count)
        : src_(src), len_(srcLen), marker_(marker), markerMet_(*marker != 0) {
        b_.window = buffer & 0xFFFFFFFFu;
        b_.older = 0;
        b_.pos = pos;
        b_.avail = count < 0 ? 0 : (count > kReadAheadBits ? kReadAheadBits : count);
        b_.ahead = 0;
        b_.stuffed = 0;
    }

    int32_t position() const {
        const int bytes = b_.ahead >> 3;
        int32_t pos = b_.pos - bytes;
        for (uint32_t stuffed = b_.stuffed & ((1u << bytes) - 1); stuffed != 0;
             stuffed &= stuffed - 1)
            --pos;  // the 0x00 after a stuffed 0xFF ahead
        return pos;
    }
    int count() const { return b_.avail - b_.ahead; }
    uint32_t buffer() const {
        if (b_.ahead == 0) return static_cast<uint32_t>(b_.window);
        return static_cast<uint32_t>((b_.window >> b_.ahead) |
                                     (b_.older << (kWindowBits - b_.ahead)));
    }
    bool markerMet() const { return markerMet_; }

    const ReaderBits& bits() const { return b_; }
    void setBits(const ReaderBits& b) { b_ = b; }

    // ---- Inline steps on a copy of the bits ----

    // The contract's fill when fewer than n bits are valid, as a select when
    // the bytes it takes are ahead already: it then holds the 25 to 32 bits
    // congruent to avail modulo 8. False, with nothing changed, when the
    // byte reader has to run; with kSure the caller knows the window holds
    // kFillBelow bits at least, and the test is left out.
    template <bool kSure = false>
    ZEQ_ENTROPY_INLINE static bool fillFromAhead(ReaderBits& b, int n) {
        const int filled = ((b.avail + 7) & ~7) - kReadAheadBits;
        const int ahead = b.avail - b.ahead < n ? filled : b.ahead;
        if (!kSure && __builtin_expect(ahead < 0, 0)) return false;
        b.ahead = ahead;
        return true;
    }

    ZEQ_ENTROPY_INLINE static uint32_t take(ReaderBits& b, int n) {
        b.avail -= n;
        return static_cast<uint32_t>(b.window >> b.avail) & kLowBitMasks[n];
    }

    // Plain bytes ahead, as many as the window has room for, stopping before
    // the first 0xFF (which may start a marker) and the end of the source;
    // nothing after a marker. The contract's state does not change.
    ZEQ_ENTROPY_INLINE void readAhead(ReaderBits& b) const {
        if (markerMet_) return;
        int room = (kWindowBits - 1 - b.avail) >> 3;
        if (kEnd == SourceEnd::Bounded) {
            while (room > 0 && int64_t{len_} - b.pos >= 8) {
                uint64_t word;
                std::memcpy(&word, src_ + b.pos, 8);
                const uint64_t inverted = ~word;
                // Bytes of 0xFF flagged; flags above the first may be false, the first is exact.
                const uint64_t flags =
                    (inverted - 0x0101010101010101ull) & ~inverted & 0x8080808080808080ull;
                const int plain = flags == 0 ? 8 : __builtin_ctzll(flags) >> 3;
                const int bytes = plain < room ? plain : room;
                if (bytes > 0) {
                    pushBytes(b, __builtin_bswap64(word) >> (kWindowBits - 8 * bytes), bytes);
                    b.pos += bytes;
                    b.ahead += 8 * bytes;
                    room -= bytes;
                }
                // Stopped at a 0xFF (within the eight bytes loaded): a stuffed one is data.
                if (bytes < plain || room == 0 || src_[b.pos + 1] != 0x00) return;
                takeStuffed(b);
                --room;
            }
        }
        while (room > 0 && !atEnd(b)) {
            if (src_[b.pos] == 0xFF) {
                if (int64_t{len_} - b.pos < 2 && kEnd == SourceEnd::Bounded) return;
                if (src_[b.pos + 1] != 0x00) return;  // a marker or a fill byte
                takeStuffed(b);
            } else {
                pushBytes(b, src_[b.pos++], 1);
                b.ahead += 8;
            }
            --room;
        }
    }

    // A symbol when all goes the common way: the contract's top-up fill from
    // the bytes ahead, then a code of up to 8 bits from the fast table, or a
    // longer one found in a 17-bit window. False when the general path must
    // run; nothing is consumed then (a fill already made is one the general
    // path, finding the bits valid, does not repeat). kSure: the window holds
    // kSureStepBits at least, so every fill finds its bytes ahead.
    template <bool kSure = false>
    ZEQ_ENTROPY_INLINE static bool quickSymbol(ReaderBits& b, const HuffmanDecodeSpec* table,
                                               int* s) {
        if (!fillFromAhead<kSure>(b, kFastLookupBits)) return false;
        const uint32_t prefix =
            static_cast<uint32_t>(b.window >> (b.avail - kFastLookupBits)) & 0xFF;
        const uint32_t entry = loadField<uint32_t>(table, kFastLookupAt, prefix);
        const uint32_t fastLength = entry >> 16;
        if (__builtin_expect(fastLength - 1 < uint32_t{kFastLookupBits}, 1)) {
            b.avail -= static_cast<int>(fastLength);
            *s = static_cast<int>(entry & 0xFFFF);
            return true;
        }
        return quickLongSymbol<kSure>(b, table, s);
    }

    // s (1..16) extra bits, sign-extended, from the bits in hand or ahead;
    // false (nothing changed) when the general path must run.
    template <bool kSure = false>
    ZEQ_ENTROPY_INLINE static bool quickExtended(ReaderBits& b, int s, int32_t* value) {
        if (!fillFromAhead<kSure>(b, s)) return false;
        *value = extend(take(b, s), s);
        return true;
    }

    // T.81 EXTEND: s bits with the top bit 0 stand for v + 1 - 2^s.
    ZEQ_ENTROPY_INLINE static int32_t extend(uint32_t v, int s) {
        // All ones below the half (no branch: the sign of a coefficient is noise).
        const int32_t below = static_cast<int32_t>(v - kExtendHalf[s]) >> 31;
        return static_cast<int32_t>(v) + (below & kExtendOffset[s]);
    }

    // ---- The general steps on the reader's own bits ----

    // The byte reader of the contract. Takes bytes while 24 or fewer bits are
    // valid. After a marker (this call or earlier) nothing more is read, and
    // bits still missing give StatusCoefficientRange.
    ZEQ_ENTROPY_INLINE ZeqStatus fill(int needed) {
        if (markerMet_) return count() >= needed ? StatusOk : StatusCoefficientRange;
        if (count() >= kFillBelow) return StatusOk;
        if (fillFromAhead(b_, kFillBelow)) return StatusOk;
        readAhead(b_);
        if (fillFromAhead(b_, kFillBelow)) return StatusOk;
        b_.ahead = 0;  // the contract takes what is ahead, then the bytes after it
        return fillByteByByte(needed);
    }

    ZEQ_ENTROPY_INLINE ZeqStatus ensure(int n) { return fillFromAhead(b_, n) ? StatusOk : fill(n); }

    ZEQ_ENTROPY_INLINE uint32_t take(int n) { return take(b_, n); }

    // One symbol: the next 8 bits index the fast table; codes longer than 8
    // bits (or fewer than 8 bits left) go through the length arrays, up to 16
    // bits. No match gives symbol 0 and StatusCoefficientRange.
    ZEQ_ENTROPY_INLINE ZeqStatus symbol(const HuffmanDecodeSpec* table, int* s) {
        return symbol(b_, table, s);
    }
    // s (1..16) extra bits as the signed value they stand for.
    ZEQ_ENTROPY_INLINE ZeqStatus extended(int s, int32_t* value) { return extended(b_, s, value); }

    // The same on a copy of the bits (see quickSymbol for kSure), handing
    // them to the general path and back when the quick one cannot serve.
    template <bool kSure = false>
    ZEQ_ENTROPY_INLINE ZeqStatus symbol(ReaderBits& b, const HuffmanDecodeSpec* table, int* s) {
        if (quickSymbol<kSure>(b, table, s)) return StatusOk;
        setBits(b);
        const ZeqStatus status = generalSymbol(table, s);
        b = b_;
        return status;
    }
    template <bool kSure = false>
    ZEQ_ENTROPY_INLINE ZeqStatus extended(ReaderBits& b, int s, int32_t* value) {
        if (quickExtended<kSure>(b, s, value)) return StatusOk;
        setBits(b);
        const ZeqStatus status = generalExtended(s, value);
        b = b_;
        return status;
    }

    // The general paths, out of line.
    __attribute__((noinline)) ZeqStatus generalSymbol(const HuffmanDecodeSpec* table, int* s) {
        if (!fillFromAhead(b_, kFastLookupBits)) fill(0);  // a top-up; shortage is handled below
        if (count() < kFastLookupBits) return slowSymbol(table, 1, s);
        const uint32_t prefix =
            static_cast<uint32_t>(b_.window >> (b_.avail - kFastLookupBits)) & 0xFF;
        const uint32_t entry = loadField<uint32_t>(table, kFastLookupAt, prefix);
        const uint32_t fastLength = entry >> 16;
        if (fastLength - 1 < uint32_t{kFastLookupBits}) {
            b_.avail -= static_cast<int>(fastLength);
            *s = static_cast<int>(entry & 0xFFFF);
            return StatusOk;
        }
        return longSymbol(table, s);
    }
    __attribute__((noinline)) ZeqStatus generalExtended(int s, int32_t* value) {
        if (ZeqStatus status = ensure(s)) return status;
        *value = extend(take(s), s);
        return StatusOk;
    }
    __attribute__((noinline)) void readAhead() { readAhead(b_); }

private:
    static constexpr size_t kFastLookupAt = offsetof(HuffmanDecodeSpec, fastLookup);
    static constexpr int kLongestSearch = kMaxCodeLength + 1;  // a failed search eats one more bit

    ZEQ_ENTROPY_INLINE bool atEnd(const ReaderBits& b) const {
        return kEnd == SourceEnd::Bounded && b.pos >= len_;
    }

    // Shifts `bytes` (1..7) whole bytes of `next`, right-aligned, into the
    // window; the bits pushed out are kept for buffer().
    ZEQ_ENTROPY_INLINE static void pushBytes(ReaderBits& b, uint64_t next, int bytes) {
        const int shift = 8 * bytes;
        b.older = (b.older << shift) | (b.window >> (kWindowBits - shift));
        b.window = (b.window << shift) | next;
        b.avail += shift;
        b.stuffed <<= bytes;
    }

    // The data byte 0xFF of a stuffed pair, taken ahead.
    ZEQ_ENTROPY_INLINE static void takeStuffed(ReaderBits& b) {
        pushBytes(b, 0xFF, 1);
        b.stuffed |= 1;
        b.pos += 2;
        b.ahead += 8;
    }

    // A code longer than 8 bits with its 17-bit window in hand: the
    // contract's fills (up to 9 bits first, then one when its count runs out
    // mid-code, taking four bytes) come from the bytes ahead. With kSure
    // (kSureStepBits in the window, at most 16 bits of them valid for the
    // contract when it runs out) they surely do.
    template <bool kSure>
    ZEQ_ENTROPY_INLINE static bool quickLongSymbol(ReaderBits& b, const HuffmanDecodeSpec* table,
                                                   int* s) {
        constexpr int kFirstLength = kFastLookupBits + 1;
        if (!kSure && b.avail < kLongestSearch) return false;
        ReaderBits next = b;
        if (!fillFromAhead<kSure>(next, kFirstLength)) return false;
        const uint32_t window =
            static_cast<uint32_t>(next.window >> (next.avail - kLongestSearch)) & 0x1FFFF;
        const int length = longCodeLength(table, window);
        if (length > kMaxCodeLength) return false;  // the general path reports it
        if (length > next.avail - next.ahead) {
            if (!kSure && next.ahead < kReadAheadBits) return false;
            next.ahead -= kReadAheadBits;
        }
        next.avail -= length;
        b = next;
        symbolOfCode(table, window >> (kLongestSearch - length), length, s);
        return true;
    }

    // The contract's byte loop, with no bytes ahead.
    ZeqStatus fillByteByByte(int needed) {
        while (b_.avail < kFillBelow) {
            if (atEnd(b_)) return b_.avail >= needed ? StatusOk : StatusBufferExhausted;
            uint8_t byte = src_[b_.pos++];
            if (byte == 0xFF) {
                for (;;) {
                    if (atEnd(b_)) return StatusBufferExhausted;
                    const uint8_t next = src_[b_.pos++];
                    if (next == 0x00) break;     // stuffed: the 0xFF is data
                    if (next == 0xFF) continue;  // fill byte
                    *marker_ = next;
                    markerMet_ = true;
                    return b_.avail >= needed ? StatusOk : StatusCoefficientRange;
                }
            }
            pushBytes(b_, byte, 1);
        }
        return StatusOk;
    }

    // A code longer than 8 bits, with at least 8 bits in hand. When the
    // longest search (17 bits) is in the window the length is found on the
    // peeked bits; the contract's fills (up to 9 bits first, then one when
    // its count runs out) happen at the same points of the consumption.
    ZeqStatus longSymbol(const HuffmanDecodeSpec* table, int* s) {
        constexpr int kFirstLength = kFastLookupBits + 1;
        if (ZeqStatus status = ensure(kFirstLength)) return status;
        if (b_.avail < kLongestSearch) readAhead(b_);
        if (b_.avail < kLongestSearch) return slowSymbol(table, kFirstLength, s);
        const uint32_t window =
            static_cast<uint32_t>(b_.window >> (b_.avail - kLongestSearch)) & 0x1FFFF;
        const int length = longCodeLength(table, window);
        const int held = count();
        if (length > held) {
            take(held);
            if (ZeqStatus status = fill(1)) return status;
            take(length - held);
        } else {
            take(length);
        }
        return symbolOfCode(table, window >> (kLongestSearch - length), length, s);
    }

    // The bit-at-a-time search of the contract from `length`, filling when a
    // step lacks bits.
    ZeqStatus slowSymbol(const HuffmanDecodeSpec* table, int length, int* s) {
        if (ZeqStatus status = ensure(length)) return status;
        uint32_t code = take(length);
        while (length <= kMaxCodeLength && longerThanLength(table, code, length)) {
            if (ZeqStatus status = ensure(1)) return status;
            code = (code << 1) | take(1);
            ++length;
        }
        return symbolOfCode(table, code, length, s);
    }

    ZEQ_ENTROPY_INLINE static ZeqStatus symbolOfCode(const HuffmanDecodeSpec* table, uint32_t code,
                                                     int length, int* s) {
        if (length > kMaxCodeLength) {
            *s = 0;
            return StatusCoefficientRange;
        }
        *s = symbolOfLength(table, code, length);
        return StatusOk;
    }

    const uint8_t* src_;
    int32_t len_;
    int32_t* marker_;
    bool markerMet_;
    ReaderBits b_;
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
