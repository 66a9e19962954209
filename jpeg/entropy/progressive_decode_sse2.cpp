// The progressive AC decoders with the reader's bits in registers and the
// refinement walks on a vector mask of the band's non-zero coefficients:
// zero coefficients are counted off the mask and correction bits go only to
// the coefficients that take them, instead of a test of every coefficient.
// Every bit is read at the same point of the stream, with the same fills,
// as in the scalar decoders of progressive_decode.cpp, which are the
// reference.
#include "jpeg/entropy/baseline_decode.h"
#include "jpeg/entropy/progressive_decode.h"
#include "jpeg/entropy/scan_order.h"
#include "jpeg/entropy/zigzag_masks.h"

namespace zeq {

namespace {

using Reader = StreamBitReader;

// The contract's ensure(n) on the bits in registers: a select when the
// bytes are ahead, the reader's own fill otherwise (the bits go through the
// reader by value, so their address never escapes and they stay in
// registers).
ZEQ_ENTROPY_INLINE ZeqStatus ensureBits(Reader& in, ReaderBits& b, int n) {
    if (Reader::fillFromAhead(b, n)) return StatusOk;
    in.setBits(b);
    const ZeqStatus status = in.ensure(n);
    b = in.bits();
    return status;
}

// The next symbol, with the window topped up first so that a whole step
// usually finds its bytes ahead; *sure tells the step that it does.
ZEQ_ENTROPY_INLINE ZeqStatus nextSymbol(Reader& in, ReaderBits& b, const HuffmanDecodeSpec* ac,
                                        int* symbol, bool* sure) {
    if (b.avail < kSureStepBits) in.readAhead(b);
    *sure = b.avail >= kSureStepBits;
    return *sure ? in.template symbol<true>(b, ac, symbol)
                 : in.template symbol<false>(b, ac, symbol);
}

// An end-of-band symbol with run nibble r: 2^r blocks plus r more bits.
ZEQ_ENTROPY_INLINE ZeqStatus eobRunOf(Reader& in, ReaderBits& b, int r, int32_t* blocks) {
    int32_t run = int32_t{1} << r;
    if (r > 0) {
        if (ZeqStatus status = ensureBits(in, b, r)) return status;
        run += static_cast<int32_t>(Reader::take(b, r));
    }
    *blocks = run;
    return StatusOk;
}

ZEQ_ENTROPY_INLINE ZeqStatus decodeACFirstFast(Reader& in, ReaderBits& b, int16_t* dst, int ss,
                                               int se, int al, const HuffmanDecodeSpec* ac,
                                               int32_t* eobRun) {
    for (int k = ss; k <= se;) {
        int symbol;
        bool sure;
        if (ZeqStatus status = nextSymbol(in, b, ac, &symbol, &sure)) return status;
        const int r = (symbol >> 4) & 15;
        const int s = symbol & kCategoryMask;
        if (s == 0) {
            if (r == kZeroRunCode) {
                k += kZeroRunLength;
                continue;
            }
            int32_t blocks;
            if (ZeqStatus status = eobRunOf(in, b, r, &blocks)) return status;
            *eobRun = blocks - 1;
            return StatusOk;
        }
        k += r;
        int32_t value;
        const ZeqStatus status = sure ? in.template extended<true>(b, s, &value)
                                      : in.template extended<false>(b, s, &value);
        if (status != StatusOk) return status;
        dst[kNaturalOfZigzagWithTail[size_t(k)]] = scaledUp(value, al);
        ++k;
    }
    return StatusOk;
}

// A correction bit for each coefficient the mask marks, in zigzag order.
ZEQ_ENTROPY_INLINE ZeqStatus correctMarked(Reader& in, ReaderBits& b, int16_t* dst, uint64_t marked,
                                           int32_t p1) {
    while (marked != 0) {
        if (ZeqStatus status = ensureBits(in, b, 1)) return status;
        const int k = __builtin_ctzll(marked);
        marked &= marked - 1;
        int16_t* coefficient = &dst[NaturalOfZigzag[size_t(k)]];
        const int32_t c = *coefficient;
        if (Reader::take(b, 1) != 0 && (c & p1) == 0)
            *coefficient = static_cast<int16_t>(c + (c >= 0 ? p1 : -p1));
    }
    return StatusOk;
}

// Bits k..se, none when k is past se.
ZEQ_ENTROPY_INLINE uint64_t bandFrom(int k, int se) { return k <= se ? bandMask(k, se) : 0; }

// The non-zero coefficients keep their places while the band is decoded:
// a new one lands on the zero where its run ends, behind the walk, and a
// correction never makes a coefficient zero.
ZEQ_ENTROPY_INLINE ZeqStatus decodeACRefineFast(Reader& in, ReaderBits& b, int16_t* dst, int ss,
                                                int se, int al, const HuffmanDecodeSpec* ac,
                                                int32_t* eobRun) {
    const int32_t p1 = int32_t{1} << al;
    const uint64_t nonZero = zigzagNonZeroMask(dst) & bandMask(ss, se);
    int k = ss;
    if (*eobRun <= 0) {
        for (; k <= se; ++k) {
            int symbol;
            bool sure;
            if (ZeqStatus status = nextSymbol(in, b, ac, &symbol, &sure)) return status;
            int r = (symbol >> 4) & 15;
            int32_t newValue = 0;
            if ((symbol & kCategoryMask) != 0) {
                if (ZeqStatus status = ensureBits(in, b, 1)) return status;
                newValue = Reader::take(b, 1) != 0 ? p1 : -p1;
            } else if (r != kZeroRunCode) {
                int32_t blocks;
                if (ZeqStatus status = eobRunOf(in, b, r, &blocks)) return status;
                *eobRun = blocks;
                break;
            }
            // The walk stops on the zero that takes the run past its end.
            uint64_t zeros = ~nonZero & bandMask(k, se);
            for (; r > 0 && zeros != 0; --r) zeros &= zeros - 1;
            const int stop = zeros != 0 ? __builtin_ctzll(zeros) : se + 1;
            const uint64_t passed = nonZero & bandMask(k, se) & ~bandFrom(stop, se);
            if (ZeqStatus status = correctMarked(in, b, dst, passed, p1)) return status;
            k = stop;
            if (newValue != 0)
                dst[kNaturalOfZigzagWithTail[size_t(k)]] = static_cast<int16_t>(newValue);
        }
    }
    if (*eobRun > 0) {
        if (ZeqStatus status = correctMarked(in, b, dst, nonZero & bandFrom(k, se), p1))
            return status;
        --*eobRun;
    }
    return StatusOk;
}

}  // namespace

ZeqStatus decodeBandWithState(const uint8_t* src, int32_t srcLen, int32_t* srcPos, int16_t* dst,
                              int32_t* marker, int ss, int se, int al, const HuffmanDecodeSpec* ac,
                              HuffmanDecodeState* state, bool refinement) {
    int32_t eobRun = loadField<int32_t>(state, kDecodeEobRunAt);
    if (!refinement && eobRun > 0) {
        // A block inside a run reads nothing; the state's bits are handed
        // back as a reader would hand them (32 bits, a count within 0..32).
        const BitPosition p = loadBitPosition(state);
        const int32_t count =
            p.count < 0 ? 0 : (p.count > kReadAheadBits ? kReadAheadBits : p.count);
        storeBitPosition(state, {p.buffer & 0xFFFFFFFFu, count});
        storeField<int32_t>(state, kDecodeEobRunAt, eobRun - 1);
        return StatusOk;
    }
    StreamBitReader in = openStream(src, srcLen, srcPos, marker, state);
    ReaderBits b = in.bits();
    const ZeqStatus status = refinement ? decodeACRefineFast(in, b, dst, ss, se, al, ac, &eobRun)
                                        : decodeACFirstFast(in, b, dst, ss, se, al, ac, &eobRun);
    in.setBits(b);
    closeStream(in, srcPos, state);
    storeField<int32_t>(state, kDecodeEobRunAt, eobRun);
    return status;
}

}  // namespace zeq
