#include "jpeg/sample/quant_tables.h"

#include "jpeg/zigzag.h"

namespace zeq {

void scaleQuantTable(uint8_t* raw, int32_t quality) {
    // No upper bound on quality: 100 gives scale 0 and above 100 the scale is
    // negative; both leave every entry at the floor of 1. 64 bits keep that
    // true up to INT32_MAX, where 200 - 2 * quality no longer fits 32 bits.
    const int64_t scale = quality < 50 ? 5000 / quality : 200 - int64_t{2} * quality;
    for (int i = 0; i < kBlockSize; ++i) {
        const int64_t v = (raw[i] * scale + 50) / 100;
        raw[i] = static_cast<uint8_t>(v >= 255 ? 255 : (v < 1 ? 1 : v));
    }
}

uint16_t quantReciprocal(uint8_t q) {
    const uint32_t t = (1u << 31) / q;
    const uint32_t b = (t >> 16) & 1;
    return static_cast<uint16_t>((t + 32767 + 2 * b) >> 16);
}

bool buildFwdQuantTable(const uint8_t* raw, uint16_t* fwd) {
    bool allNonZero = true;
    for (int i = 0; i < kBlockSize; ++i) {
        const uint8_t q = raw[ZigzagToNatural[i]];
        if (q == 0) allNonZero = false;
        fwd[i] = q == 0 ? kZeroQuantizerReciprocal : quantReciprocal(q);
    }
    return allNonZero;
}

void buildInvQuantTable(const uint8_t* raw, uint16_t* inv) {
    for (int i = 0; i < kBlockSize; ++i) inv[i] = raw[ZigzagToNatural[i]];
}

}  // namespace zeq
