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

// One bit where the contract's ensure(1) comes before it: that fills only
// when the contract's count is used up, so while it lasts the bit is taken
// with no fill test.
ZEQ_ENTROPY_INLINE ZeqStatus nextBit(Reader& in, ReaderBits& b, uint32_t* bit) {
    if (__builtin_expect(b.avail == b.ahead, 0))
        if (ZeqStatus status = ensureBits(in, b, 1)) return status;
    --b.avail;
    *bit = static_cast<uint32_t>(b.window >> b.avail) & 1;
    return StatusOk;
}

// A correction bit for the coefficient at zigzag index k: a 1 adds p1 to
// its magnitude unless bit al is set already (no branch on the bit, which
// is noise).
ZEQ_ENTROPY_INLINE ZeqStatus correctAt(Reader& in, ReaderBits& b, int16_t* dst, int k, int32_t p1) {
    uint32_t bit;
    if (ZeqStatus status = nextBit(in, b, &bit)) return status;
    int16_t* coefficient = &dst[NaturalOfZigzag[size_t(k)]];
    const int32_t c = *coefficient;
    const int32_t sign = c >> 31;
    const int32_t clear = ((c & p1) - 1) >> 31;  // all ones when bit al is 0
    const int32_t apply = -static_cast<int32_t>(bit) & clear;
    *coefficient = static_cast<int16_t>(c + (((p1 ^ sign) - sign) & apply));
    return StatusOk;
}

// A correction bit for each coefficient the mask marks, in zigzag order.
ZEQ_ENTROPY_INLINE ZeqStatus correctMarked(Reader& in, ReaderBits& b, int16_t* dst, uint64_t marked,
                                           int32_t p1) {
    for (; marked != 0; marked &= marked - 1)
        if (ZeqStatus status = correctAt(in, b, dst, __builtin_ctzll(marked), p1)) return status;
    return StatusOk;
}

// The non-zero coefficients keep their places while the band is decoded:
// a new one lands on the zero where its run ends, behind the walk, and a
// correction never makes a coefficient zero. A run of r zeros from k ends on
// the zero at k + r plus the non-zero coefficients passed on the way, so the
// walk steps over the non-zero coefficients only, correcting each it passes,
// and never counts zeros.
ZEQ_ENTROPY_INLINE ZeqStatus decodeACRefineFast(Reader& in, ReaderBits& b, int16_t* dst, int ss,
                                                int se, int al, const HuffmanDecodeSpec* ac,
                                                int32_t* eobRun) {
    const int32_t p1 = int32_t{1} << al;
    // The non-zero coefficients of the band not yet passed.
    uint64_t ahead = zigzagNonZeroMask(dst) & bandMask(ss, se);
    if (*eobRun <= 0) {
        for (int k = ss; k <= se; ++k) {
            int symbol;
            bool sure;
            if (ZeqStatus status = nextSymbol(in, b, ac, &symbol, &sure)) return status;
            const int r = (symbol >> 4) & 15;
            int32_t newValue = 0;
            if ((symbol & kCategoryMask) != 0) {
                uint32_t bit;
                if (ZeqStatus status = nextBit(in, b, &bit)) return status;
                newValue = bit != 0 ? p1 : -p1;
            } else if (r != kZeroRunCode) {
                int32_t blocks;
                if (ZeqStatus status = eobRunOf(in, b, r, &blocks)) return status;
                *eobRun = blocks;
                break;
            }
            // The walk stops on the zero that takes the run past its end, or
            // just past the band (where a new value still lands, as in the
            // scalar walk).
            int stop = k + r;
            while (ahead != 0) {
                const int at = __builtin_ctzll(ahead);
                if (at > stop) break;
                if (ZeqStatus status = correctAt(in, b, dst, at, p1)) return status;
                ahead &= ahead - 1;
                ++stop;
            }
            k = stop > se ? se + 1 : stop;
            if (newValue != 0)
                dst[kNaturalOfZigzagWithTail[size_t(k)]] = static_cast<int16_t>(newValue);
        }
    }
    if (*eobRun > 0) {
        if (ZeqStatus status = correctMarked(in, b, dst, ahead, p1)) return status;
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
