// Bit writers of the Huffman encoders: codes and extra bits go out high bit
// first, and every 0xFF byte is followed by a stuffed 0x00.
//
// Three writers share one interface, so a coder (baseline, progressive,
// lossless rows) is written once as a template over its writer:
//   ZeqStatus bits(value, n)                      n low bits of value, 1 <= n <= 16
//   ZeqStatus symbol(table, s)                    the code of symbol s
//   ZeqStatus symbolWithBits(table, s, v, n)      the code of s, then n bits of v (n may be 0)
//
// - BoundedBitWriter: the state-based contract in full. Each write checks the
//   room before every byte; a full destination returns StatusBufferExhausted
//   with the bytes of that write already stored and the position advanced over
//   them, while the pending bits stay as they were before the write. A write of
//   0 bits (a symbol without a code) returns StatusHuffmanTable.
// - StreamBitWriter<MissingCode::Fails>: the same results with no bound
//   checks, for callers that made sure a whole block fits (kWorstCaseBlockBytes).
// - StreamBitWriter<MissingCode::Skipped>: the direct encoder's writer at a bit
//   position; a symbol without a code is passed over silently.
// A writer works on local copies; close() hands the position and the pending
// bits back to the caller's variables.
#ifndef ZEQ_JPEG_ENTROPY_BIT_WRITER_H
#define ZEQ_JPEG_ENTROPY_BIT_WRITER_H

#include <array>
#include <cstdint>
#include <cstring>

#include "jpeg/entropy/huffman_records.h"

namespace zeq {

constexpr uint8_t kStuffedByte = 0x00;
constexpr int kPendingTop = 24;
constexpr uint64_t kPendingMask = (uint64_t{1} << kPendingTop) - 1;
constexpr int kWordSlackBytes = 8;  // the state keeps pending bits left-aligned below bit 24

// Bytes one block can take at most: 64 codes of up to 16 bits with up to 16
// extra bits each, an EOB, 7 pending bits, every byte stuffed.
constexpr int32_t kWorstCaseBlockBytes = 2 * ((64 * 32 + 16 + 7 + 7) / 8);

inline int codeLength(uint32_t entry) { return static_cast<int>(entry >> 16); }
inline uint32_t codeBits(uint32_t entry) { return entry & 0xFFFF; }
inline uint32_t lowBits(uint32_t value, int n) { return value & ((uint32_t{1} << n) - 1); }

// The first m (1..8) bytes of word, lowest first, at p, and nothing after
// them, without a branch on m (it is as random as the data): overlapping
// stores of 1, 2 and 4 bytes, those that a short m has no use for sent to a
// scratch word. The choices are masks, which the compiler keeps branch-free.
inline void storeFirstBytes(uint8_t* p, uint64_t word, int m) {
    uint8_t scratch[8];
    const auto to = reinterpret_cast<uintptr_t>(p), away = reinterpret_cast<uintptr_t>(scratch);
    const uintptr_t two = uintptr_t{0} - uintptr_t{m >= 2}, four = uintptr_t{0} - uintptr_t{m >= 4};
    const uintptr_t end2 = static_cast<uintptr_t>(m - 2) & two;
    const uintptr_t end4 = static_cast<uintptr_t>(m - 4) & four;
    uint8_t* const at2 = reinterpret_cast<uint8_t*>(away ^ ((away ^ to) & two));
    uint8_t* const at4 = reinterpret_cast<uint8_t*>(away ^ ((away ^ to) & four));
    const auto first2 = static_cast<uint16_t>(word);
    const auto last2 = static_cast<uint16_t>(word >> (8 * end2));
    const auto first4 = static_cast<uint32_t>(word);
    const auto last4 = static_cast<uint32_t>(word >> (8 * end4));
    p[0] = static_cast<uint8_t>(word);
    std::memcpy(at2, &first2, 2);
    std::memcpy(at2 + end2, &last2, 2);
    std::memcpy(at4, &first4, 4);
    std::memcpy(at4 + end4, &last4, 4);
}

// Bit 7 of each of the eight bytes that is 0xFF (a zero byte of the
// complement), and perhaps of bytes above one: the lowest flag always marks
// a true 0xFF, and a lone flag is exact.
inline uint64_t byteFFFlags(uint64_t word) {
    const uint64_t inverted = ~word;
    return (inverted - 0x0101010101010101ull) & ~inverted & 0x8080808080808080ull;
}
// Whether any of the eight bytes is 0xFF.
inline bool hasByteFF(uint64_t word) { return byteFFFlags(word) != 0; }

// A symbol beyond the table (a category of 16 after a run of 15) has no code.
inline uint32_t codeOf(const HuffmanEncodeSpec* table, int symbol) {
    return symbol < kHuffmanSymbols ? encodeEntry(table, symbol) : 0;
}

class BoundedBitWriter {
public:
    BoundedBitWriter(uint8_t* dst, int32_t dstLen, int32_t pos, const HuffmanEncodeState* state)
        : dst_(dst), len_(dstLen), pos_(pos) {
        const BitPosition p = loadBitPosition(state);
        count_ = p.count & 7;
        buffer_ = static_cast<uint32_t>(p.buffer & kPendingMask);
    }

    ZEQ_ENTROPY_INLINE ZeqStatus bits(uint32_t value, int n) {
        if (n == 0) return StatusHuffmanTable;
        int t = count_ + n;
        uint32_t buffer = buffer_ | (lowBits(value, n) << (kPendingTop - t));
        for (; t >= 8; t -= 8) {
            if (pos_ >= len_) return StatusBufferExhausted;
            const uint8_t byte = static_cast<uint8_t>(buffer >> 16);
            dst_[pos_++] = byte;
            if (byte == 0xFF) {
                if (pos_ == len_) return StatusBufferExhausted;
                dst_[pos_++] = kStuffedByte;
            }
            buffer = (buffer << 8) & kPendingMask;
        }
        buffer_ = buffer;
        count_ = t;
        return StatusOk;
    }
    ZEQ_ENTROPY_INLINE ZeqStatus symbol(const HuffmanEncodeSpec* table, int s) {
        const uint32_t entry = codeOf(table, s);
        return bits(codeBits(entry), codeLength(entry));
    }
    ZEQ_ENTROPY_INLINE ZeqStatus symbolWithBits(const HuffmanEncodeSpec* table, int s,
                                                uint32_t value, int n) {
        ZeqStatus status = symbol(table, s);
        if (status == StatusOk && n > 0) status = bits(value, n);
        return status;
    }

    void close(int32_t* dstPos, HuffmanEncodeState* state) const {
        *dstPos = pos_;
        storeBitPosition(state, {buffer_, count_});
    }

private:
    uint8_t* dst_;
    int32_t len_;
    int32_t pos_;
    uint32_t buffer_;  // pending bits at 23 downwards
    int count_;
};

enum class MissingCode { Fails, Skipped };

// Entry m: the first m bytes of a word in memory order (the low m bytes).
inline constexpr std::array<uint64_t, 9> kFirstBytesMasks = [] {
    std::array<uint64_t, 9> masks{};
    for (size_t m = 1; m < masks.size(); ++m) masks[m] = ~uint64_t{0} >> (64 - 8 * m);
    return masks;
}();

// The first m (0..8) bytes of `word` (first byte lowest) at out, each 0xFF
// followed by a zero; returns the end. Without a branch per byte: each byte
// is followed by a zero that the next byte overwrites unless it stays as
// stuffing; after the last byte, the byte that follows keeps its value unless
// it is the stuffing. So nothing past the stuffed bytes changes.
ZEQ_ENTROPY_INLINE uint8_t* putStuffedBytes(uint8_t* out, uint64_t word, int m) {
    if (m == 0) return out;
    for (int i = 0; i < m - 1; ++i, word >>= 8) {
        const uint32_t byte = static_cast<uint8_t>(word);
        out[0] = static_cast<uint8_t>(byte);
        out[1] = kStuffedByte;
        out += 1 + ((byte + 1) >> 8);  // 2 after 0xFF
    }
    const uint32_t last = static_cast<uint8_t>(word);
    const uint32_t stuffed = (last + 1) >> 8;
    out[0] = static_cast<uint8_t>(last);
    out[1] = static_cast<uint8_t>(out[1] & (stuffed - 1));
    return out + 1 + stuffed;
}

template <MissingCode kMissing>
class StreamBitWriter {
public:
    // At byte `pos` of a state-based stream: the pending bits come from the state.
    StreamBitWriter(uint8_t* dst, int32_t pos, const HuffmanEncodeState* state)
        : start_(dst), out_(dst + pos) {
        const BitPosition p = loadBitPosition(state);
        const int count = p.count & 7;
        acc_ = (p.buffer & kPendingMask) >> (kPendingTop - count);
        free_ = kAccumulatorBits - count;
    }
    // At a bit position: the bits already in the byte at bitPos / 8 are kept.
    StreamBitWriter(uint8_t* dst, int32_t bitPos)
        : start_(dst), out_(dst + (bitPos >> 3)), startBits_(bitPos) {
        const int count = bitPos & 7;
        // (Read from a zero when none is pending: the byte itself may be past
        // what this call writes. A select, not a branch.)
        static constexpr uint8_t kNoBits = 0;
        const uint8_t* const partial = count > 0 ? out_ : &kNoBits;
        acc_ = uint64_t{*partial} >> (8 - count);
        free_ = kAccumulatorBits - count;
    }

    ZEQ_ENTROPY_INLINE ZeqStatus bits(uint32_t value, int n) {
        if (n == 0) return kMissing == MissingCode::Fails ? StatusHuffmanTable : StatusOk;
        put(value & lowMask(n), n);
        return StatusOk;
    }
    ZEQ_ENTROPY_INLINE ZeqStatus symbol(const HuffmanEncodeSpec* table, int s) {
        const uint32_t entry = codeOf(table, s);
        const int length = codeLength(entry);
        if (length == 0) return kMissing == MissingCode::Fails ? StatusHuffmanTable : StatusOk;
        put(codeBits(entry), length);
        return StatusOk;
    }
    ZEQ_ENTROPY_INLINE ZeqStatus symbolWithBits(const HuffmanEncodeSpec* table, int s,
                                                uint32_t value, int n) {
        const uint32_t entry = codeOf(table, s);
        const int length = codeLength(entry);
        if (__builtin_expect(length == 0, 0)) {
            if (kMissing == MissingCode::Fails) return StatusHuffmanTable;
            return n > 0 ? bits(value, n) : StatusOk;
        }
        // Code and extra bits are at most 32 bits together.
        put((uint64_t{codeBits(entry)} << n) | (value & lowMask(n)), length + n);
        return StatusOk;
    }

    // State-based stream: whole bytes out, pending bits into the state. The
    // bytes go out in one 8-byte store that puts back what follows them
    // (the stream has a word of room past its worst case), also when there
    // are none.
    ZEQ_ENTROPY_INLINE void close(int32_t* dstPos, HuffmanEncodeState* state) {
        const int pending = kAccumulatorBits - free_;
        const int bytes = pending >> 3;
        // Behind the whole bytes come the partial byte, which ends in a zero
        // bit, and zeros: a 0xFF in the word is one of the whole bytes. (With
        // nothing pending the shift is by 0 and no byte is written.)
        const uint64_t word = __builtin_bswap64(acc_ << (free_ & (kAccumulatorBits - 1)));
        const uint64_t written = kFirstBytesMasks[size_t(bytes)];
        if (__builtin_expect(!hasByteFF(word), 1)) {
            uint64_t following;
            std::memcpy(&following, out_, 8);
            const uint64_t merged = following ^ ((following ^ word) & written);
            std::memcpy(out_, &merged, 8);
            out_ += bytes;
        } else {
            out_ = putStuffedBytes(out_, word, bytes);
        }
        const int count = pending & 7;
        *dstPos = static_cast<int32_t>(out_ - start_);
        storeBitPosition(state, {(acc_ << (kPendingTop - count)) & kPendingMask, count});
    }
    // Bit position: whole bytes out, then the partial byte (pending bits at
    // the top, zeros below; a zero byte when none are pending). Memory and
    // position stay untouched when nothing was written.
    ZEQ_ENTROPY_INLINE void close(int32_t* dstBitPos) {
        // Every put adds bits, every emitted word moves out_.
        if (out_ == start_ + (startBits_ >> 3) && free_ == kAccumulatorBits - (startBits_ & 7))
            return;
        const int pending = kAccumulatorBits - free_;
        const int bytes = pending >> 3;
        const int partial = pending & 7;
        // The whole bytes and the partial one, first byte lowest, then
        // zeros; the partial byte is never 0xFF (it ends in a zero bit).
        const uint64_t word = __builtin_bswap64(acc_ << (free_ & (kAccumulatorBits - 1)));
        if (__builtin_expect(bytes < 8 && !hasByteFF(word), 1)) {
            storeFirstBytes(out_, word, bytes + 1);
            *dstBitPos = static_cast<int32_t>((out_ - start_ + bytes) * 8 + partial);
            return;
        }
        out_ = putStuffedBytes(out_, word, bytes);
        *out_ = static_cast<uint8_t>(partial > 0 ? (acc_ & lowMask(partial)) << (8 - partial) : 0);
        *dstBitPos = static_cast<int32_t>((out_ - start_) * 8 + partial);
    }

    // n (1..32) bits, none above them set, for coders that have already
    // joined a code and its extra bits. The accumulator holds its
    // 64 - free_ pending bits at the bottom (bits above them are stale); when
    // it overflows, the top of the code completes a word of 8 bytes and the
    // rest of it stays pending.
    ZEQ_ENTROPY_INLINE void put(uint64_t code, int n) {
        if (__builtin_expect(n <= free_, 1)) {
            putWithRoom(code, n);
            return;
        }
        const int spill = n - free_;
        emitWord((acc_ << free_) | (code >> spill));
        acc_ = code;
        free_ = kAccumulatorBits - spill;
    }
    // put() where the caller knows that the n bits fit (n <= free_).
    ZEQ_ENTROPY_INLINE void putWithRoom(uint64_t code, int n) {
        free_ -= n;
        acc_ = (acc_ << n) | code;
    }

private:
    static constexpr int kAccumulatorBits = 64;

    static uint64_t lowMask(int n) { return (uint64_t{1} << n) - 1; }

    // Eight bytes high first: one store when none is 0xFF. With one 0xFF,
    // the bytes after it move up by one over its stuffing: 8 bytes and a
    // ninth. With more, one byte at a time.
    ZEQ_ENTROPY_INLINE void emitWord(uint64_t word) {
        const uint64_t bytes = __builtin_bswap64(word);  // first byte lowest
        const uint64_t ffs = byteFFFlags(bytes);
        if (__builtin_expect(ffs == 0, 1)) {
            std::memcpy(out_, &bytes, 8);
            out_ += 8;
            return;
        }
        if ((ffs & (ffs - 1)) == 0) {
            const int through = __builtin_ctzll(ffs);  // the top bit of the 0xFF byte
            const uint64_t kept = (uint64_t{2} << through) - 1;
            const uint64_t moved = (bytes & ~kept) << 8;
            const uint64_t low = (bytes & kept) | moved;
            std::memcpy(out_, &low, 8);
            out_[8] = static_cast<uint8_t>((bytes & ~kept) >> 56);
            out_ += 9;
            return;
        }
        out_ = putStuffedBytes(out_, bytes, 8);
    }

    uint8_t* start_;
    uint8_t* out_;
    uint64_t acc_;
    int free_;               // bits the accumulator can take before it is emitted
    int32_t startBits_ = 0;  // the direct writer's first bit position
};

using FastBitWriter = StreamBitWriter<MissingCode::Fails>;
using DirectBitWriter = StreamBitWriter<MissingCode::Skipped>;

// Whether a FastBitWriter may code at byte `pos`: at least worstCaseBytes
// of room are left (the code cannot fill the destination) and a word more
// (its last store).
inline bool fitsUnchecked(int32_t dstLen, int32_t pos, int32_t worstCaseBytes) {
    return int64_t{dstLen} - pos >= int64_t{worstCaseBytes} + kWordSlackBytes;
}

// Runs code(writer) on the caller's stream: with a FastBitWriter where it
// fits unchecked, with the BoundedBitWriter otherwise. Both give the same
// bytes, position and pending bits, also when the code stops at a symbol
// without a code.
template <class Code>
ZEQ_ENTROPY_INLINE ZeqStatus codeIntoStream(uint8_t* dst, int32_t dstLen, int32_t* dstPos,
                                            HuffmanEncodeState* state, int32_t worstCaseBytes,
                                            Code code) {
    if (fitsUnchecked(dstLen, *dstPos, worstCaseBytes)) {
        FastBitWriter out(dst, *dstPos, state);
        const ZeqStatus status = code(out);
        out.close(dstPos, state);
        return status;
    }
    BoundedBitWriter out(dst, dstLen, *dstPos, state);
    const ZeqStatus status = code(out);
    out.close(dstPos, state);
    return status;
}

// Pads the pending bits to a whole byte with 1-bits, then resets the state,
// also when the padding found the destination full (its bits are then lost).
inline ZeqStatus flushEncodeState(uint8_t* dst, int32_t dstLen, int32_t* dstPos,
                                  HuffmanEncodeState* state) {
    constexpr uint32_t kPadding = 0x7F;
    constexpr int kPaddingBits = 7;
    BoundedBitWriter writer(dst, dstLen, *dstPos, state);
    const ZeqStatus status = writer.bits(kPadding, kPaddingBits);
    writer.close(dstPos, state);
    resetEncodeState(state);
    return status;
}

}  // namespace zeq

#endif  // ZEQ_JPEG_ENTROPY_BIT_WRITER_H
