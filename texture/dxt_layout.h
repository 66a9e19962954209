// Block geometry and the 5:6:5 colour fields shared by the DXT encoders and
// decoders. A stream holds ceil(width / 4) blocks per row of blocks, rows top
// to bottom, with no padding between blocks.
#ifndef ZEQ_TEXTURE_DXT_LAYOUT_H
#define ZEQ_TEXTURE_DXT_LAYOUT_H

#include <cstddef>
#include <cstdint>

#include "zeqj.h"

namespace zeq::dxt {

constexpr int32_t kBlockSide = 4;
constexpr int kBlockPixels = 16;
constexpr int kColourBlockBytes = 8;
constexpr int kAlphaBlockBytes = 8;

// Sizes are at least 1; the form keeps INT32_MAX from overflowing.
inline int32_t blocksAcross(ZeqiSize size) { return (size.width - 1) / kBlockSide + 1; }
inline int32_t blocksDown(ZeqiSize size) { return (size.height - 1) / kBlockSide + 1; }
// Block rows whose four pixel rows all lie inside the image.
inline int32_t fullBlockRows(ZeqiSize size) { return size.height / kBlockSide; }

// Offset of block (bx, by) in a stream of blockBytes-sized blocks.
inline std::ptrdiff_t blockOffset(ZeqiSize size, int32_t bx, int32_t by, int blockBytes) {
    return (static_cast<std::ptrdiff_t>(by) * blocksAcross(size) + bx) * blockBytes;
}

// 5:6:5 fields: red in bits 11..15, green in 5..10, blue in 0..4.
constexpr uint8_t kFiveBitMask = 248;
constexpr uint8_t kSixBitMask = 252;

inline uint16_t pack565(int r, int g, int b) {
    return static_cast<uint16_t>(((r & kFiveBitMask) << 8) | ((g & kSixBitMask) << 3) | (b >> 3));
}

inline void storeLe16(uint8_t* p, uint32_t v) {
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
}
inline void storeLe32(uint8_t* p, uint32_t v) {
    storeLe16(p, v);
    storeLe16(p + 2, v >> 16);
}
inline void storeLe64(uint8_t* p, uint64_t v) {
    storeLe32(p, static_cast<uint32_t>(v));
    storeLe32(p + 4, static_cast<uint32_t>(v >> 32));
}
inline uint32_t loadLe16(const uint8_t* p) { return p[0] | (uint32_t{p[1]} << 8); }
inline uint32_t loadLe32(const uint8_t* p) { return loadLe16(p) | (loadLe16(p + 2) << 16); }
inline uint64_t loadLe64(const uint8_t* p) {
    return loadLe32(p) | (uint64_t{loadLe32(p + 4)} << 32);
}

}  // namespace zeq::dxt

#endif  // ZEQ_TEXTURE_DXT_LAYOUT_H
