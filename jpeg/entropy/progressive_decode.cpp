#include "jpeg/entropy/progressive_decode.h"

#include "jpeg/entropy/baseline_decode.h"
#include "jpeg/entropy/scan_order.h"

namespace zeq {

namespace {

// No overrun check: a run past se lands in the tail of the zigzag table, at
// index 78 at most.
template <class Reader>
ZEQ_ENTROPY_INLINE ZeqStatus decodeACFirst(Reader& in, int16_t* dst, int ss, int se, int al,
                                           const HuffmanDecodeSpec* ac, int32_t* eobRun) {
    if (*eobRun > 0) {
        --*eobRun;
        return StatusOk;
    }
    for (int k = ss; k <= se;) {
        int symbol;
        if (ZeqStatus status = in.symbol(ac, &symbol)) return status;
        const int r = (symbol >> 4) & 15;
        const int s = symbol & kCategoryMask;
        if (s == 0) {
            if (r == kZeroRunCode) {
                k += kZeroRunLength;
                continue;
            }
            int32_t blocks;
            if (ZeqStatus status = readEobRun(in, r, &blocks)) return status;
            *eobRun = blocks - 1;
            return StatusOk;
        }
        k += r;
        int32_t value;
        if (ZeqStatus status = in.extended(s, &value)) return status;
        dst[kNaturalOfZigzagWithTail[k]] = scaledUp(value, al);
        ++k;
    }
    return StatusOk;
}

// A symbol's size is taken as 1 whatever it says. Zero coefficients count
// against the run, those significant before take a correction bit each; the
// new coefficient goes where the run ends (at index se + 1 at most, inside
// the table's tail).
template <class Reader>
ZEQ_ENTROPY_INLINE ZeqStatus decodeACRefine(Reader& in, int16_t* dst, int ss, int se, int al,
                                            const HuffmanDecodeSpec* ac, int32_t* eobRun) {
    const int32_t p1 = int32_t{1} << al;
    int k = ss;
    if (*eobRun <= 0) {
        for (; k <= se; ++k) {
            int symbol;
            if (ZeqStatus status = in.symbol(ac, &symbol)) return status;
            int r = (symbol >> 4) & 15;
            int32_t newValue = 0;
            if ((symbol & kCategoryMask) != 0) {
                if (ZeqStatus status = in.ensure(1)) return status;
                newValue = in.take(1) != 0 ? p1 : -p1;
            } else if (r != kZeroRunCode) {
                int32_t blocks;
                if (ZeqStatus status = readEobRun(in, r, &blocks)) return status;
                *eobRun = blocks;
                break;
            }
            for (; k <= se; ++k) {
                int16_t* coefficient = &dst[NaturalOfZigzag[k]];
                if (*coefficient != 0) {
                    if (ZeqStatus status = correct(in, coefficient, p1)) return status;
                } else if (--r < 0) {
                    break;
                }
            }
            if (newValue != 0) dst[kNaturalOfZigzagWithTail[k]] = static_cast<int16_t>(newValue);
        }
    }
    if (*eobRun > 0) {
        for (; k <= se; ++k) {
            int16_t* coefficient = &dst[NaturalOfZigzag[k]];
            if (*coefficient != 0)
                if (ZeqStatus status = correct(in, coefficient, p1)) return status;
        }
        --*eobRun;
    }
    return StatusOk;
}

}  // namespace

ZeqStatus decodeDCFirstWithState(const uint8_t* src, int32_t srcLen, int32_t* srcPos, int16_t* dst,
                                 int16_t* lastDC, int32_t* marker, int al,
                                 const HuffmanDecodeSpec* dc, HuffmanDecodeState* state) {
    StreamBitReader in = openStream(src, srcLen, srcPos, marker, state);
    int symbol;
    int16_t value;
    ZeqStatus status = in.symbol(dc, &symbol);
    if (status == StatusOk) status = dcValueOfSymbol(in, symbol, lastDC, &value);
    if (status == StatusOk) dst[0] = scaledUp(value, al);
    closeStream(in, srcPos, state);
    return status;
}

ZeqStatus decodeDCRefineWithStateScalar(const uint8_t* src, int32_t srcLen, int32_t* srcPos,
                                        int16_t* dst, int32_t* marker, int al,
                                        HuffmanDecodeState* state) {
    StreamBitReader in = openStream(src, srcLen, srcPos, marker, state);
    const ZeqStatus status = in.ensure(1);
    if (status == StatusOk && in.take(1) != 0) dst[0] = static_cast<int16_t>(dst[0] | (1 << al));
    closeStream(in, srcPos, state);
    return status;
}

ZeqStatus decodeDCRefineWithState(const uint8_t* src, int32_t srcLen, int32_t* srcPos, int16_t* dst,
                                  int32_t* marker, int al, HuffmanDecodeState* state) {
    const BitPosition held = loadBitPosition(state);
    if (held.count >= 1) {
        // The bit is in the state already: nothing is read, and the state's
        // bits are handed back as a reader hands them (32 bits, at most 32).
        const int32_t count = held.count > kReadAheadBits ? kReadAheadBits : held.count;
        const uint32_t buffer = static_cast<uint32_t>(held.buffer);
        storeBitPosition(state, {buffer, count - 1});
        if (((buffer >> (count - 1)) & 1) != 0) dst[0] = static_cast<int16_t>(dst[0] | (1 << al));
        return StatusOk;
    }
    return decodeDCRefineWithStateScalar(src, srcLen, srcPos, dst, marker, al, state);
}

ZeqStatus decodeBandWithStateScalar(const uint8_t* src, int32_t srcLen, int32_t* srcPos,
                                    int16_t* dst, int32_t* marker, int ss, int se, int al,
                                    const HuffmanDecodeSpec* ac, HuffmanDecodeState* state,
                                    bool refinement) {
    StreamBitReader in = openStream(src, srcLen, srcPos, marker, state);
    int32_t eobRun = loadField<int32_t>(state, kDecodeEobRunAt);
    const ZeqStatus status = refinement ? decodeACRefine(in, dst, ss, se, al, ac, &eobRun)
                                        : decodeACFirst(in, dst, ss, se, al, ac, &eobRun);
    closeStream(in, srcPos, state);
    storeField<int32_t>(state, kDecodeEobRunAt, eobRun);
    return status;
}

}  // namespace zeq
