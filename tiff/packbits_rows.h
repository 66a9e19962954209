// The PackBits row coder, written once over a table of byte-scanning and
// copying kernels: packbits.cpp instantiates it with plain loops (the
// reference), packbits_sse2.cpp with 16-byte compares and moves. The packet
// decisions, the merge rule and every stop are the same code in both.
#ifndef ZEQ_TIFF_PACKBITS_ROWS_H
#define ZEQ_TIFF_PACKBITS_ROWS_H

#include <algorithm>
#include <cstdint>

#include "zeqj.h"

namespace zeq::packbits {

constexpr int32_t kMaxPacket = 128;
constexpr int8_t kNoOperation = -128;
// A literal of at most this many bytes absorbs a following two-byte repeat.
constexpr int32_t kMergeableLiteral = 125;

enum class PacketKind { None, Literal, Repeat };

struct Packet {
    PacketKind kind = PacketKind::None;
    int32_t headerAt = 0;  // destination offset of the header byte
    int32_t length = 0;    // bytes the packet stands for
};

// Kernels is an object (it may remember what it scanned last) providing,
// for 0 <= from < length:
//   runLength(src, from, length): bytes equal to src[from] from there on,
//     at least 1, at most 128;
//   literalLength(src, from, length): bytes up to (not including) the next
//     pair of equal bytes after from, the end of the row, or 128;
//   copy(dst, src, n, dstRoom, srcRoom) for 1 <= n <= 128: stores exactly
//     src[0 .. n) at dst; dst[0 .. dstRoom) and src[0 .. srcRoom) are inside
//     the caller's buffers (so a kernel may read them, and rewrite bytes of
//     dst with their own values);
//   fill(dst, value, n, dstRoom): the same with n copies of value;
//   fastUnpack(src, at, srcLength, dst, out, dstLength): decodes whole
//     packets while no stop can occur, advancing at and out (or nothing).
template <class Kernels>
ZeqStatus packBitsRowWith(const uint8_t* src, int32_t srcLength, uint8_t* dst, int32_t* position,
                          int32_t capacity) {
    Kernels kernels;
    int32_t at = *position;
    int32_t i = 0;
    Packet last, beforeLast;
    ZeqStatus status = StatusOk;
    while (i < srcLength) {
        const int32_t room = capacity - at;
        const int32_t run = kernels.runLength(src, i, srcLength);
        if (run >= 2) {
            if (room < 2) {
                status = StatusRowBufferExhausted;
                break;
            }
            dst[at] = static_cast<uint8_t>(1 - run);
            dst[at + 1] = src[i];
            beforeLast = last;
            last = {PacketKind::Repeat, at, run};
            at += 2;
            i += run;
            continue;
        }
        const int32_t n = kernels.literalLength(src, i, srcLength);
        if (last.kind == PacketKind::Repeat && last.length == 2 &&
            beforeLast.kind == PacketKind::Literal && beforeLast.length <= kMergeableLiteral) {
            // The repeat's two bytes join the earlier literal (its header byte
            // becomes the first of them) and the new bytes follow, up to 128;
            // the rest of the new literal is scanned again as a packet of its own.
            const int32_t take = std::min(n, kMaxPacket - beforeLast.length - 2);
            if (room < take) {
                status = StatusRowBufferExhausted;
                break;
            }
            dst[last.headerAt] = dst[last.headerAt + 1];
            Kernels::copy(dst + at, src + i, take, capacity - at, srcLength - i);
            at += take;
            i += take;
            beforeLast.length += 2 + take;
            dst[beforeLast.headerAt] = static_cast<uint8_t>(beforeLast.length - 1);
            last = beforeLast;
            beforeLast = Packet{};
            continue;
        }
        if (room < n + 1) {
            status = StatusRowBufferExhausted;
            break;
        }
        dst[at] = static_cast<uint8_t>(n - 1);
        Kernels::copy(dst + at + 1, src + i, n, capacity - at - 1, srcLength - i);
        beforeLast = last;
        last = {PacketKind::Literal, at, n};
        at += n + 1;
        i += n;
    }
    *position = at;
    return status;
}

template <class Kernels>
ZeqStatus unpackBitsRowWith(const uint8_t* src, int32_t* position, int32_t srcLength, uint8_t* dst,
                            int32_t dstLength) {
    int32_t at = *position;
    int32_t out = 0;
    Kernels::fastUnpack(src, at, srcLength, dst, out, dstLength);
    ZeqStatus status = StatusOk;
    while (out < dstLength) {
        if (at >= srcLength) {
            status = StatusRowBufferExhausted;
            break;
        }
        const auto header = static_cast<int8_t>(src[at]);
        if (header < 0) {
            if (header == kNoOperation) {
                ++at;
                continue;
            }
            const int32_t count = 1 - header;
            if (srcLength - at < 2 || dstLength - out < count) {
                status = StatusRowBufferExhausted;
                break;
            }
            Kernels::fill(dst + out, src[at + 1], count, dstLength - out);
            out += count;
            at += 2;
        } else {
            const int32_t count = header + 1;
            if (srcLength - at - 1 < count || dstLength - out < count) {
                status = StatusRowBufferExhausted;
                break;
            }
            Kernels::copy(dst + out, src + at + 1, count, dstLength - out, srcLength - at - 1);
            out += count;
            at += 1 + count;
        }
    }
    *position = at;
    return status;
}

}  // namespace zeq::packbits

#endif  // ZEQ_TIFF_PACKBITS_ROWS_H
