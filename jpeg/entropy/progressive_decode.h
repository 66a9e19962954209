// Progressive Huffman decoding of one 8x8 block in one scan, into a
// natural-order block the caller keeps across all scans of the image: DC
// first and refinement, AC first with end-of-band runs, AC refinement with
// correction bits. The end-of-band run still to come lives in the
// HuffmanDecodeState; a block inside a run is passed over (AC first) or only
// takes its correction bits (refinement).
#ifndef ZEQ_JPEG_ENTROPY_PROGRESSIVE_DECODE_H
#define ZEQ_JPEG_ENTROPY_PROGRESSIVE_DECODE_H

#include <cstdint>

#include "jpeg/entropy/bit_reader.h"

namespace zeq {

constexpr size_t kDecodeEobRunAt = offsetof(HuffmanDecodeState, eobRun);

// v << al in 16-bit arithmetic (the bits above 16 fall away).
ZEQ_ENTROPY_INLINE int16_t scaledUp(int32_t v, int al) {
    return static_cast<int16_t>(static_cast<uint32_t>(v) << al);
}

// An end-of-band symbol with run nibble r: 2^r blocks plus r more bits.
template <class Reader>
ZEQ_ENTROPY_INLINE ZeqStatus readEobRun(Reader& in, int r, int32_t* blocks) {
    int32_t run = int32_t{1} << r;
    if (r > 0) {
        if (ZeqStatus status = in.ensure(r)) return status;
        run += static_cast<int32_t>(in.take(r));
    }
    *blocks = run;
    return StatusOk;
}

// A correction bit for a coefficient significant before: a 1 adds bit al to
// its magnitude, unless the bit is set already.
template <class Reader>
ZEQ_ENTROPY_INLINE ZeqStatus correct(Reader& in, int16_t* coefficient, int32_t p1) {
    if (ZeqStatus status = in.ensure(1)) return status;
    if (in.take(1) != 0 && (*coefficient & p1) == 0)
        *coefficient = static_cast<int16_t>(*coefficient + (*coefficient >= 0 ? p1 : -p1));
    return StatusOk;
}

// The exported operations on the caller's stream and state. A failure leaves
// what was decoded before it in place, and the position past the bits read.
ZeqStatus decodeDCFirstWithState(const uint8_t* src, int32_t srcLen, int32_t* srcPos, int16_t* dst,
                                 int16_t* lastDC, int32_t* marker, int al,
                                 const HuffmanDecodeSpec* dc, HuffmanDecodeState* state);
// The refinement bit through the reader (the reference), and the same
// taking it straight from the state when the state holds one.
ZeqStatus decodeDCRefineWithStateScalar(const uint8_t* src, int32_t srcLen, int32_t* srcPos,
                                        int16_t* dst, int32_t* marker, int al,
                                        HuffmanDecodeState* state);
ZeqStatus decodeDCRefineWithState(const uint8_t* src, int32_t srcLen, int32_t* srcPos, int16_t* dst,
                                  int32_t* marker, int al, HuffmanDecodeState* state);
// The band of one block in an AC first scan, or in an AC refinement scan:
// the scalar walk over every coefficient of the band (the reference), and
// the same on vector masks of the non-zero coefficients with the reader's
// bits in registers (progressive_decode_sse2.cpp).
ZeqStatus decodeBandWithStateScalar(const uint8_t* src, int32_t srcLen, int32_t* srcPos,
                                    int16_t* dst, int32_t* marker, int ss, int se, int al,
                                    const HuffmanDecodeSpec* ac, HuffmanDecodeState* state,
                                    bool refinement);
ZeqStatus decodeBandWithState(const uint8_t* src, int32_t srcLen, int32_t* srcPos, int16_t* dst,
                              int32_t* marker, int ss, int se, int al, const HuffmanDecodeSpec* ac,
                              HuffmanDecodeState* state, bool refinement);

}  // namespace zeq

#endif  // ZEQ_JPEG_ENTROPY_PROGRESSIVE_DECODE_H
