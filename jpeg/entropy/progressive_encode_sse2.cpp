// The progressive AC coders on vector masks: the non-zero coefficients of a
// band (and, for refinement, those that become significant) are found as the
// set bits of zigzag-order masks, so the walk visits only them and not every
// coefficient of the band. Every write (and every count) happens in the same
// order and with the same values as in the plain coders of
// progressive_encode.h, which are the reference.
#include "jpeg/entropy/progressive_encode.h"
#include "jpeg/entropy/symbol_counter.h"
#include "jpeg/entropy/zigzag_masks.h"

namespace zeq {

namespace {

// |c| >> al as the plain coders compute it.
ZEQ_ENTROPY_INLINE int32_t shiftedMagnitude(int32_t c, int al) { return (c < 0 ? -c : c) >> al; }

template <class Writer>
ZEQ_ENTROPY_INLINE ZeqStatus walkACFirst(const int16_t* src, int ss, int se, int al,
                                         const HuffmanEncodeSpec* ac, BandRun& run,
                                         int largestCategory, Writer& out) {
    uint64_t pending = zigzagMasks<false>(src, al).nonZero & bandMask(ss, se);
    int next = ss;  // the first zigzag index not yet coded
    while (pending != 0) {
        const int k = __builtin_ctzll(pending);
        pending &= pending - 1;
        const int32_t c = src[NaturalOfZigzag[size_t(k)]];
        const int32_t v = shiftedMagnitude(c, al);
        if (run.eobRun != 0)
            if (ZeqStatus status = emitEobRun(run, ac, out, false)) return status;
        if (ZeqStatus status = encodeACCoefficient(k - next, static_cast<int16_t>(c < 0 ? -v : v),
                                                   ac, out, largestCategory))
            return status;
        next = k + 1;
    }
    if (next <= se && ++run.eobRun >= kLongestEobRun) return emitEobRun(run, ac, out, false);
    return StatusOk;
}

// The correction bits of the block so far, kept both in the run's buffer
// (one per byte, as the state record holds them) and in a word, from which
// they are written in the plain coder's pieces of sixteen.
struct BlockCorrections {
    uint64_t word = 0;  // the block's bits, the newest at the bottom
    int count = 0;
    int bufferAt = 0;  // where the block's bits start in the run's buffer

    template <class Writer>
    ZEQ_ENTROPY_INLINE ZeqStatus flush(bool buffered, Writer& out) {
        ZeqStatus status = StatusOk;
        if (buffered) {
            constexpr int kBitsPerWrite = 16;
            for (int i = 0; i < count && status == StatusOk; i += kBitsPerWrite) {
                const int n = count - i < kBitsPerWrite ? count - i : kBitsPerWrite;
                status = out.bits(static_cast<uint32_t>(word >> (count - i - n)), n);
            }
        }
        bufferAt = 0;  // the run's bits are gone with the run
        count = 0;
        word = 0;
        return status;
    }
};

template <class Writer>
ZEQ_ENTROPY_INLINE ZeqStatus walkACRefine(const int16_t* src, int ss, int se, int al,
                                          const HuffmanEncodeSpec* ac, BandRun& run, Writer& out) {
    const uint64_t band = bandMask(ss, se);
    const ZigzagMasks masks = zigzagMasks(src, al);
    uint64_t pending = masks.nonZero & band;
    const uint64_t ones = masks.one & band;
    const int lastNew = ones != 0 ? 63 - __builtin_clzll(ones) : 0;
    uint8_t* const buffer = run.correctionBits;
    BlockCorrections block;
    block.bufferAt = run.correctionCount;
    int zeros = 0;
    int next = ss;
    while (pending != 0) {
        const int k = __builtin_ctzll(pending);
        pending &= pending - 1;
        zeros += k - next;
        next = k + 1;
        while (zeros > kLongestRun && k <= lastNew) {
            if (ZeqStatus status = emitEobRun(run, ac, out, true)) return status;
            if (ZeqStatus status = out.symbol(ac, kZeroRunSymbol)) return status;
            zeros -= kLongestRun + 1;
            if (ZeqStatus status = block.flush(buffer != nullptr, out)) return status;
        }
        const int32_t c = src[NaturalOfZigzag[size_t(k)]];
        const int32_t a = shiftedMagnitude(c, al);
        if (a > 1) {
            const uint32_t bit = static_cast<uint32_t>(a & 1);
            if (buffer != nullptr) buffer[block.bufferAt + block.count] = static_cast<uint8_t>(bit);
            block.word = (block.word << 1) | bit;
            ++block.count;
            continue;
        }
        if (run.eobRun != 0)
            if (ZeqStatus status = emitEobRun(run, ac, out, true)) return status;
        if (ZeqStatus status = out.symbolWithBits(ac, (zeros << 4) + 1, c > 0 ? 1u : 0u, 1))
            return status;
        if (ZeqStatus status = block.flush(buffer != nullptr, out)) return status;
        zeros = 0;
    }
    zeros += se + 1 - next;
    if (zeros > 0 || block.count > 0) {
        ++run.eobRun;
        run.correctionCount += block.count;
        if (run.eobRun >= kLongestEobRun || run.correctionCount > kCorrectionBitsLimit)
            return emitEobRun(run, ac, out, true);
    }
    return StatusOk;
}

// Set bits of x (no population-count instruction in the base instruction set).
ZEQ_ENTROPY_INLINE int bitCount(uint64_t x) {
    x -= (x >> 1) & 0x5555555555555555ull;
    x = (x & 0x3333333333333333ull) + ((x >> 2) & 0x3333333333333333ull);
    x = (x + (x >> 4)) & 0x0F0F0F0F0F0F0F0Full;
    return static_cast<int>((x * 0x0101010101010101ull) >> 56);
}

// Bits lo..hi (none when hi < lo), 0 <= lo <= 64, hi <= 63.
ZEQ_ENTROPY_INLINE uint64_t bitsBetween(int lo, int hi) {
    return hi < lo ? 0 : (~uint64_t{0} >> (kBlockSize - 1 - hi)) & (~uint64_t{0} << lo);
}

// The refinement statistics without a walk over the coefficients: between
// two newly significant coefficients the zeros are the positions that are
// not significant, so each new coefficient counts its ZRLs (a run of Z zeros
// gives Z / 16 of them, wherever the coder emits them) and its run/1 symbol
// from a count of mask bits; the correction bits of the block are those of
// the coefficients behind the last new one. The run's symbol is counted
// where the walk would first count it, before anything else of the block.
ZEQ_ENTROPY_INLINE ZeqStatus countACRefine(const int16_t* src, int ss, int se, int al,
                                           const HuffmanEncodeSpec* counts, BandRun& run) {
    SymbolCounter counter;
    const uint64_t band = bandMask(ss, se);
    const ZigzagMasks masks = zigzagMasks(src, al);
    const uint64_t fresh = masks.one & band;
    const uint64_t old = masks.nonZero & band & ~masks.one;
    int32_t* const table = const_cast<int32_t*>(reinterpret_cast<const int32_t*>(counts));
    int lastNew = ss - 1;
    if (fresh != 0) {
        if (ZeqStatus status = emitEobRun(run, counts, counter, true)) return status;
        for (uint64_t pending = fresh; pending != 0; pending &= pending - 1) {
            const int k = __builtin_ctzll(pending);
            const int zeros = k - (lastNew + 1) - bitCount(old & bitsBetween(lastNew + 1, k - 1));
            table[kZeroRunSymbol] = static_cast<int32_t>(
                static_cast<uint32_t>(table[kZeroRunSymbol]) + static_cast<uint32_t>(zeros >> 4));
            counter.symbol(counts, ((zeros & kLongestRun) << 4) + 1);
            lastNew = k;
        }
    }
    if (lastNew < se) {
        ++run.eobRun;
        run.correctionCount += bitCount(old & bitsBetween(lastNew + 1, se));
        if (run.eobRun >= kLongestEobRun || run.correctionCount > kCorrectionBitsLimit)
            return emitEobRun(run, counts, counter, true);
    }
    return StatusOk;
}

// One block's band on the caller's stream, with the writer made for it; a
// function of its own for every writer and pass, so each keeps its loop tight.
template <bool kRefinement, class Writer>
__attribute__((noinline)) ZeqStatus codeBand(Writer out, int32_t* dstPos, const int16_t* src,
                                             int ss, int se, int al, const HuffmanEncodeSpec* ac,
                                             HuffmanEncodeState* state) {
    BandRun run = loadBandRun(state, kRefinement);
    const ZeqStatus status =
        kRefinement ? walkACRefine(src, ss, se, al, ac, run, out)
                    : walkACFirst(src, ss, se, al, ac, run, kLargestProgressiveCategory, out);
    out.close(dstPos, state);
    storeBandRun(state, run);
    return status;
}

template <bool kRefinement>
ZEQ_ENTROPY_INLINE ZeqStatus codeBandIntoStream(const int16_t* src, uint8_t* dst, int32_t dstLen,
                                                int32_t* dstPos, int ss, int se, int al,
                                                const HuffmanEncodeSpec* ac,
                                                HuffmanEncodeState* state) {
    // As codeIntoStream: the unchecked writer when the band surely fits.
    if (int64_t{dstLen} - *dstPos >= int64_t{kWorstCaseProgressiveBytes} + kWordSlackBytes)
        return codeBand<kRefinement>(FastBitWriter(dst, *dstPos, state), dstPos, src, ss, se, al,
                                     ac, state);
    return codeBand<kRefinement>(BoundedBitWriter(dst, dstLen, *dstPos, state), dstPos, src, ss, se,
                                 al, ac, state);
}

}  // namespace

ZeqStatus encodeBandWithState(const int16_t* src, uint8_t* dst, int32_t dstLen, int32_t* dstPos,
                              int ss, int se, int al, const HuffmanEncodeSpec* ac,
                              HuffmanEncodeState* state, bool refinement) {
    return refinement ? codeBandIntoStream<true>(src, dst, dstLen, dstPos, ss, se, al, ac, state)
                      : codeBandIntoStream<false>(src, dst, dstLen, dstPos, ss, se, al, ac, state);
}

namespace {

template <bool kRefinement>
__attribute__((noinline)) ZeqStatus countBand(const int16_t* src, int32_t* acCounts, int ss, int se,
                                              int al, HuffmanEncodeState* state) {
    BandRun run = loadBandRun(state, false);
    SymbolCounter counter;
    const HuffmanEncodeSpec* counts = tableOfCounts(acCounts);
    const ZeqStatus status = kRefinement ? countACRefine(src, ss, se, al, counts, run)
                                         : walkACFirst(src, ss, se, al, counts, run,
                                                       kLargestACFirstCountedCategory, counter);
    storeBandRun(state, run);
    return status;
}

}  // namespace

ZeqStatus countBandSymbols(const int16_t* src, int32_t* acCounts, int ss, int se, int al,
                           HuffmanEncodeState* state, bool refinement) {
    return refinement ? countBand<true>(src, acCounts, ss, se, al, state)
                      : countBand<false>(src, acCounts, ss, se, al, state);
}

}  // namespace zeq
