// Building quantization tables: quality scaling of a zigzag-ordered table and
// its preparation into natural-order forward (reciprocal) and inverse tables.
#ifndef ZEQ_JPEG_SAMPLE_QUANT_TABLES_H
#define ZEQ_JPEG_SAMPLE_QUANT_TABLES_H

#include <cstdint>

namespace zeq {

// Written for a zero quantizer: the largest reciprocal, so the coefficient
// quantizes as if by the smallest divisor rather than dividing by zero.
constexpr uint16_t kZeroQuantizerReciprocal = 65535;

// Scales 64 entries in place: quality below 50 gives 5000 / quality, else
// 200 - 2 * quality, as a percentage; entries are kept within 1..255.
void scaleQuantTable(uint8_t* raw, int32_t quality);

// 2^15 / q as 16-bit fixed point (q >= 1). The rounding adds 2 * (bit 16 of
// 2^31 / q) so that exact halves round to the even neighbour.
uint16_t quantReciprocal(uint8_t q);

// Natural-order reciprocals of a zigzag-ordered table; returns false if a
// zero quantizer was met (its entry gets kZeroQuantizerReciprocal).
bool buildFwdQuantTable(const uint8_t* raw, uint16_t* fwd);

// Natural-order quantizers of a zigzag-ordered table, widened to 16 bits.
void buildInvQuantTable(const uint8_t* raw, uint16_t* inv);

}  // namespace zeq

#endif  // ZEQ_JPEG_SAMPLE_QUANT_TABLES_H
