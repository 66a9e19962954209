// Progressive Huffman coding of one 8x8 block in one scan: DC first and
// refinement, AC first over a spectral band with end-of-band runs that span
// blocks, and AC refinement with buffered correction bits.
//
// The coders are templates over the bit writers of bit_writer.h and over
// SymbolCounter: the statistics for optimal tables run these same coders with
// a counter in place of the writer, so the counts match the written symbols
// one for one.
#ifndef ZEQ_JPEG_ENTROPY_PROGRESSIVE_ENCODE_H
#define ZEQ_JPEG_ENTROPY_PROGRESSIVE_ENCODE_H

#include <emmintrin.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "core/arg_checks.h"
#include "jpeg/entropy/baseline_encode.h"
#include "jpeg/entropy/bit_writer.h"
#include "jpeg/entropy/scan_order.h"

namespace zeq {

constexpr int kLargestSuccessiveApproximationBit = 13;
constexpr int kFirstACIndex = 1;
// A longer end-of-band run is coded as it reaches this length.
constexpr int32_t kLongestEobRun = 32767;
constexpr int kLongestEobRunIndex = 14;  // EOB14: runs of 16384..32767
constexpr int kEobRunBitsOfLongest = 14;
constexpr int kLongestEobRunSymbol = kLongestEobRunIndex << 4;
// More buffered correction bits than this after a block end the run, so the
// buffer never holds more than this plus one band's worth.
constexpr int32_t kCorrectionBitsLimit = 937;
// Categories after the point transform: the encoders refuse more than 11 bits
// (the AC-first statistics refuse more than 10).
constexpr int kLargestProgressiveCategory = 11;
constexpr int kLargestACFirstCountedCategory = 10;
// A symbol r x 16 + s of the AC-first coder stays within the 256 symbols.
static_assert(kLongestRun * 16 + kLargestProgressiveCategory < 256);

// Bytes one progressive call writes at most: two run symbols with their bits,
// a full correction buffer, a band of symbols with extra bits, the padding,
// every byte stuffed.
constexpr int32_t kWorstCaseProgressiveBytes =
    2 * ((2 * 2 * (16 + 14) + kCorrectionBitsCapacity + kBlockSize * (16 + 16 + 1) + 7 + 7) / 8);

constexpr bool validSuccessiveApproximationBit(int32_t al) {
    return al >= 0 && al <= kLargestSuccessiveApproximationBit;
}
constexpr bool validSpectralBand(int32_t ss, int32_t se) {
    return ss >= kFirstACIndex && ss <= kLastZigzagIndex && se >= ss && se <= kLastZigzagIndex;
}
// The block and band checks of the AC encoders and statistics (after a flush
// has been ruled out).
constexpr ZeqStatus checkBandBlock(const int16_t* src, int32_t ss, int32_t se, int32_t al) {
    return ArgChecks()
        .pointer(src)
        .argument(validSpectralBand(ss, se))
        .argument(validSuccessiveApproximationBit(al))
        .status();
}

// The end-of-band run of one band, carried from block to block in the
// HuffmanEncodeState: its length in blocks and, for refinement, the
// correction bits of its blocks (one bit per byte). The statistics carry no
// bits (correctionBits is null).
struct BandRun {
    int32_t eobRun;
    int32_t correctionCount;
    uint8_t* correctionBits;
};

// Loads the run from a state record. A damaged record cannot lead a coder out
// of the correction buffer or into overflow: a negative run or count is taken
// as 0, a count above what a block can append to is cut there.
constexpr size_t kEobRunAt = offsetof(HuffmanEncodeState, eobRun);
constexpr size_t kCorrectionCountAt = offsetof(HuffmanEncodeState, correctionCount);
constexpr size_t kCorrectionBitsAt = offsetof(HuffmanEncodeState, correctionBits);
// A block appends at most one bit per coefficient behind the run's bits.
constexpr int32_t kLargestCarriedCorrectionCount = kCorrectionBitsCapacity - kBlockSize;
// Far beyond any valid run, and far from overflow when a block adds to it.
constexpr int32_t kLargestCarriedEobRun = int32_t{1} << 30;

ZEQ_ENTROPY_INLINE BandRun loadBandRun(HuffmanEncodeState* state, bool withCorrectionBits) {
    BandRun run;
    run.eobRun = std::clamp(loadField<int32_t>(state, kEobRunAt), 0, kLargestCarriedEobRun);
    run.correctionCount = std::clamp(loadField<int32_t>(state, kCorrectionCountAt), 0,
                                     kLargestCarriedCorrectionCount);
    run.correctionBits =
        withCorrectionBits ? reinterpret_cast<uint8_t*>(state) + kCorrectionBitsAt : nullptr;
    return run;
}

ZEQ_ENTROPY_INLINE void storeBandRun(HuffmanEncodeState* state, const BandRun& run) {
    storeField<int32_t>(state, kEobRunAt, run.eobRun);
    storeField<int32_t>(state, kCorrectionCountAt, run.correctionCount);
}

// floor(log2 r) for r >= 1.
inline int eobRunIndex(uint32_t r) { return 31 - __builtin_clz(r); }

constexpr int kCorrectionBitsPerWrite = 16;

// `count` buffered correction bits (bit 0 of each byte), in order, sixteen
// at a time.
template <class Writer>
ZEQ_ENTROPY_INLINE ZeqStatus writeCorrectionBitsScalar(const uint8_t* bits, int count,
                                                       Writer& out) {
    for (int i = 0; i < count; i += kCorrectionBitsPerWrite) {
        const int n = std::min(kCorrectionBitsPerWrite, count - i);
        uint32_t value = 0;
        for (int j = 0; j < n; ++j) value = (value << 1) | (bits[i + j] & 1u);
        if (ZeqStatus status = out.bits(value, n)) return status;
    }
    return StatusOk;
}

// Bit 0 of sixteen bytes, the first byte's as the top bit of 16.
inline uint32_t correctionBitsOfSixteen(const uint8_t* bits) {
    constexpr std::array<uint8_t, 256> kReversed = [] {
        std::array<uint8_t, 256> t{};
        for (int i = 0; i < 256; ++i)
            for (int b = 0; b < 8; ++b)
                if (i & (1 << b)) t[size_t(i)] |= static_cast<uint8_t>(0x80 >> b);
        return t;
    }();
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bits));
    // Bit 0 of each byte to its bit 7 (the masked bit cannot spill into the next byte).
    const __m128i top = _mm_slli_epi16(_mm_and_si128(bytes, _mm_set1_epi8(1)), 7);
    const uint32_t firstAtBottom = static_cast<uint32_t>(_mm_movemask_epi8(top));
    return (uint32_t{kReversed[firstAtBottom & 0xFF]} << 8) | kReversed[firstAtBottom >> 8];
}

// The same writes as the scalar form, sixteen bits gathered at once, for
// the run's bits at the start of the state's 1024-byte buffer. The loads stay
// inside it: a run never buffers more than 1023 bits, so the last piece
// starts at byte 1008 at most.
template <class Writer>
ZEQ_ENTROPY_INLINE ZeqStatus writeCorrectionBits(const uint8_t* bits, int count, Writer& out) {
    static_assert(kCorrectionBitsCapacity % kCorrectionBitsPerWrite == 0);
    for (int i = 0; i < count; i += kCorrectionBitsPerWrite) {
        const int n = std::min(kCorrectionBitsPerWrite, count - i);
        const uint32_t value = correctionBitsOfSixteen(bits + i) >> (kCorrectionBitsPerWrite - n);
        if (ZeqStatus status = out.bits(value, n)) return status;
    }
    return StatusOk;
}

// Codes the pending run: a run longer than 32767 (only a damaged record has
// one) first gives EOB14 with the low 14 bits and 32767 fewer blocks; then
// symbol n x 16 and the n low bits of the run, n = floor(log2 run), n above 14
// refused. On success the run is 0 and, for refinement, its correction bits
// follow and the count is 0.
template <class Writer>
ZEQ_ENTROPY_INLINE ZeqStatus emitEobRun(BandRun& run, const HuffmanEncodeSpec* ac, Writer& out,
                                        bool refinement) {
    if (run.eobRun == 0) return StatusOk;
    uint32_t r = static_cast<uint32_t>(run.eobRun);
    if (r > uint32_t{kLongestEobRun}) {
        if (ZeqStatus status =
                out.symbolWithBits(ac, kLongestEobRunSymbol, r, kEobRunBitsOfLongest))
            return status;
        r -= kLongestEobRun;
    }
    const int n = eobRunIndex(r);
    if (n > kLongestEobRunIndex) return StatusCoefficientRange;
    if (ZeqStatus status = out.symbolWithBits(ac, n << 4, r, n)) return status;
    run.eobRun = 0;
    if (!refinement) return StatusOk;
    if (run.correctionBits != nullptr)
        if (ZeqStatus status = writeCorrectionBits(run.correctionBits, run.correctionCount, out))
            return status;
    run.correctionCount = 0;
    return StatusOk;
}

// DC first: the difference of src0 >> al against *lastDC, which takes the
// shifted value at once.
template <class Writer>
ZEQ_ENTROPY_INLINE ZeqStatus encodeDCFirst(int16_t src0, int16_t* lastDC, int al,
                                           const HuffmanEncodeSpec* dc, Writer& out) {
    return encodeDCDifference(static_cast<int16_t>(src0 >> al), lastDC, dc, out,
                              kLargestProgressiveCategory);
}

// AC first over zigzag indices ss..se: coefficients are |c| >> al with the
// sign of c; a band without one adds a block to the run, which is coded when
// the next coefficient comes, when it reaches 32767 blocks, or at the flush.
template <class Writer>
ZEQ_ENTROPY_INLINE ZeqStatus encodeACFirst(const int16_t* src, int ss, int se, int al,
                                           const HuffmanEncodeSpec* ac, BandRun& run,
                                           int largestCategory, Writer& out) {
    int zeros = 0;
    for (int k = ss; k <= se; ++k) {
        const int32_t c = src[NaturalOfZigzag[k]];
        const int32_t v = (c < 0 ? -c : c) >> al;
        if (v == 0) {
            ++zeros;
            continue;
        }
        if (ZeqStatus status = emitEobRun(run, ac, out, false)) return status;
        if (ZeqStatus status = encodeACCoefficient(zeros, static_cast<int16_t>(c < 0 ? -v : v), ac,
                                                   out, largestCategory))
            return status;
        zeros = 0;
    }
    if (zeros > 0 && ++run.eobRun >= kLongestEobRun) return emitEobRun(run, ac, out, false);
    return StatusOk;
}

// AC refinement: coefficients that become significant at bit al are coded as
// run/1 symbols with a sign bit; those significant before contribute a
// correction bit each, which follows the next symbol of the band or joins the
// run's buffer. ZRLs are coded only where a newly significant coefficient
// follows. The block's correction bits are buffered behind the run's.
template <class Writer>
ZEQ_ENTROPY_INLINE ZeqStatus encodeACRefine(const int16_t* src, int ss, int se, int al,
                                            const HuffmanEncodeSpec* ac, BandRun& run,
                                            Writer& out) {
    int32_t magnitude[kBlockSize];
    int lastNew = 0;  // zigzag index of the last newly significant coefficient
    for (int k = ss; k <= se; ++k) {
        const int32_t c = src[NaturalOfZigzag[k]];
        magnitude[k] = (c < 0 ? -c : c) >> al;
        if (magnitude[k] == 1) lastNew = k;
    }
    uint8_t* const buffer = run.correctionBits;
    int blockBitsAt = run.correctionCount;
    int blockBits = 0;
    int zeros = 0;
    auto flushBlockBits = [&]() {
        const ZeqStatus status =
            buffer != nullptr ? writeCorrectionBitsScalar(buffer + blockBitsAt, blockBits, out)
                              : StatusOk;
        blockBitsAt = 0;  // the run's bits are gone with the run
        blockBits = 0;
        return status;
    };
    for (int k = ss; k <= se; ++k) {
        const int32_t a = magnitude[k];
        if (a == 0) {
            ++zeros;
            continue;
        }
        while (zeros > kLongestRun && k <= lastNew) {
            if (ZeqStatus status = emitEobRun(run, ac, out, true)) return status;
            if (ZeqStatus status = out.symbol(ac, kZeroRunSymbol)) return status;
            zeros -= kLongestRun + 1;
            if (ZeqStatus status = flushBlockBits()) return status;
        }
        if (a > 1) {
            if (buffer != nullptr) buffer[blockBitsAt + blockBits] = static_cast<uint8_t>(a & 1);
            ++blockBits;
            continue;
        }
        if (ZeqStatus status = emitEobRun(run, ac, out, true)) return status;
        const uint32_t positive = src[NaturalOfZigzag[k]] > 0 ? 1 : 0;
        if (ZeqStatus status = out.symbolWithBits(ac, (zeros << 4) + 1, positive, 1)) return status;
        if (ZeqStatus status = flushBlockBits()) return status;
        zeros = 0;
    }
    if (zeros > 0 || blockBits > 0) {
        ++run.eobRun;
        run.correctionCount += blockBits;
        if (run.eobRun >= kLongestEobRun || run.correctionCount > kCorrectionBitsLimit)
            return emitEobRun(run, ac, out, true);
    }
    return StatusOk;
}

// The exported AC coders and statistics run the same coders walking only
// the non-zero coefficients of the band, found with vector masks
// (progressive_encode_sse2.cpp); same writes, same results.

// The exported operations on the caller's stream and state.
ZeqStatus encodeDCFirstWithState(const int16_t* src, uint8_t* dst, int32_t dstLen, int32_t* dstPos,
                                 int16_t* lastDC, int al, const HuffmanEncodeSpec* dc,
                                 HuffmanEncodeState* state);
ZeqStatus encodeDCRefineWithState(const int16_t* src, uint8_t* dst, int32_t dstLen, int32_t* dstPos,
                                  int al, HuffmanEncodeState* state);
// The band of one block in an AC first scan, or in an AC refinement scan.
ZeqStatus encodeBandWithState(const int16_t* src, uint8_t* dst, int32_t dstLen, int32_t* dstPos,
                              int ss, int se, int al, const HuffmanEncodeSpec* ac,
                              HuffmanEncodeState* state, bool refinement);
// Codes the pending run (with its correction bits for refinement), pads the
// last byte and resets the state, also when a write failed.
ZeqStatus flushBandWithState(uint8_t* dst, int32_t dstLen, int32_t* dstPos,
                             const HuffmanEncodeSpec* ac, HuffmanEncodeState* state,
                             bool refinement);

}  // namespace zeq

#endif  // ZEQ_JPEG_ENTROPY_PROGRESSIVE_ENCODE_H
