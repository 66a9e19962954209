#include "tiff/packbits.h"

#include <algorithm>
#include <cstring>

namespace zeq {

namespace {

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

int32_t runLength(const uint8_t* src, int32_t from, int32_t srcLength) {
    int32_t n = 1;
    while (n < kMaxPacket && from + n < srcLength && src[from + n] == src[from]) ++n;
    return n;
}

// A literal ends before a pair of equal bytes, at the end of the row or at
// 128 bytes; its bytes never equal their successors.
int32_t literalLength(const uint8_t* src, int32_t from, int32_t srcLength) {
    int32_t end = from + 1;
    while (end < srcLength && end - from < kMaxPacket &&
           !(end + 1 < srcLength && src[end] == src[end + 1]))
        ++end;
    return end - from;
}

}  // namespace

ZeqStatus packBitsRow(const uint8_t* src, int32_t srcLength, uint8_t* dst, int32_t* position,
                      int32_t capacity) {
    int32_t at = *position;
    int32_t i = 0;
    Packet last, beforeLast;
    ZeqStatus status = StatusOk;
    while (i < srcLength) {
        const int32_t room = capacity - at;
        const int32_t run = runLength(src, i, srcLength);
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
        const int32_t n = literalLength(src, i, srcLength);
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
            std::memcpy(dst + at, src + i, static_cast<size_t>(take));
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
        std::memcpy(dst + at + 1, src + i, static_cast<size_t>(n));
        beforeLast = last;
        last = {PacketKind::Literal, at, n};
        at += n + 1;
        i += n;
    }
    *position = at;
    return status;
}

ZeqStatus unpackBitsRow(const uint8_t* src, int32_t* position, int32_t srcLength, uint8_t* dst,
                        int32_t dstLength) {
    int32_t at = *position;
    int32_t out = 0;
    ZeqStatus status = StatusOk;
    while (out < dstLength) {
        if (at >= srcLength) {
            status = StatusRowBufferExhausted;
            break;
        }
        const auto header = static_cast<int8_t>(src[at]);
        if (header == kNoOperation) {
            ++at;
            continue;
        }
        if (header < 0) {
            const int32_t count = 1 - header;
            if (srcLength - at < 2 || dstLength - out < count) {
                status = StatusRowBufferExhausted;
                break;
            }
            std::memset(dst + out, src[at + 1], static_cast<size_t>(count));
            out += count;
            at += 2;
        } else {
            const int32_t count = header + 1;
            if (srcLength - at - 1 < count || dstLength - out < count) {
                status = StatusRowBufferExhausted;
                break;
            }
            std::memcpy(dst + out, src + at + 1, static_cast<size_t>(count));
            out += count;
            at += 1 + count;
        }
    }
    *position = at;
    return status;
}

}  // namespace zeq
