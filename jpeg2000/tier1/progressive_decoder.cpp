// Progressive code-block decoder: Attach, the next-pass state machine and
// the passes' decoder side.
#include "jpeg2000/tier1/progressive_decoder.h"

#include <cstring>

#include "core/rows.h"
#include "jpeg2000/tier1/decode_passes.h"

namespace zeq::t1 {

bool hasDecodeId(const ProgressiveDecodeState* s) {
    return std::memcmp(s->identifier, kDecodeStateId, 4) == 0;
}

int64_t decodeStateSize(ZeqiSize size) {
    return int64_t{stateRowBytes(size.width)} * stateRows(size.height) + kDecodeStateOverhead;
}

void initDecodeState(ProgressiveDecodeState* s) {
    std::memcpy(s->identifier, kDecodeStateId, 4);
    s->attached = 0;
    const uintptr_t base = reinterpret_cast<uintptr_t>(s);
    const uintptr_t array = (base + sizeof(ProgressiveDecodeState) + kStateArrayAlignment - 1) &
                            ~uintptr_t{kStateArrayAlignment - 1};
    s->stateArrayOffset = static_cast<int32_t>(array - base);
}

namespace {

uint32_t* stateArray(ProgressiveDecodeState* s) {
    return reinterpret_cast<uint32_t*>(reinterpret_cast<uint8_t*>(s) + s->stateArrayOffset);
}

void setPlane(ProgressiveDecodeState* s, int32_t plane) {
    s->bitPlane = plane;
    const uint32_t bit = plane >= 0 ? uint32_t{1} << plane : 0;
    s->planeBit = bit;
    s->planeMidpoint = (bit * 3) >> 1;
    s->planeHalf = bit >> 1;
    s->planeMaskAbove = ~((bit << 1) - 1);
}

CoefficientPlane coefficientPlane(const ProgressiveDecodeState* s) {
    const std::ptrdiff_t step = s->destinationStep;
    return {s->destination, {0, step, 2 * step, 3 * step},
            s->planeBit,    s->planeMidpoint,
            s->planeHalf,   s->planeMaskAbove};
}

// What a pass keeps of the arithmetic decoder: A, C and CT, the contexts (a
// copy, so that they sit next to the pass's other locals) and a pointer to
// the byte stream, which it touches once per byte.
struct ArithmeticDecoder {
    MqDecoderCursor mq;
    MqDecodeContext contexts[kContextCount];

    void setContexts(const uint8_t* rows) {
        for (int i = 0; i < kContextCount; ++i) contexts[i] = kMqDecodeContexts[rows[i]];
    }
    void getContexts(uint8_t* rows) const {
        for (int i = 0; i < kContextCount; ++i) rows[i] = contexts[i].self;
    }

    [[gnu::always_inline]] int decide(int label) { return mqDecode(mq, contexts[label]); }
    [[gnu::always_inline]] int sign(int label, uint32_t xorBit) {
        return mqDecodeEven(mq, contexts[label]) ^ static_cast<int>(xorBit);
    }
    [[gnu::always_inline]] int decideEven(int label) { return mqDecodeEven(mq, contexts[label]); }
};

// Raw passes read plain bits: no contexts, no XOR.
struct RawDecoder {
    RawReader raw;

    int decide(int) { return rawGet(raw); }
    int sign(int, uint32_t) { return rawGet(raw); }
    int decideEven(int) { return rawGet(raw); }
};

bool isRawPass(int32_t next) { return next == kNextRawSignificance || next == kNextRawRefinement; }
bool isCleanup(int32_t next) { return next == kNextCleanup || next == kNextCleanupAfterRaw; }

int32_t followingPass(int32_t next, int32_t newPlane, int32_t bypassPlane) {
    switch (next) {
        case kNextCleanup:
            return newPlane >= bypassPlane ? kNextSignificance : kNextRawSignificance;
        case kNextSignificance:
            return kNextRefinement;
        case kNextRefinement:
            return kNextCleanup;
        case kNextRawSignificance:
            return kNextRawRefinement;
        case kNextRawRefinement:
            return kNextCleanupAfterRaw;
        default:
            return kNextRawSignificance;
    }
}

// After the last decision of a segment that ends with predictable
// termination, the decoder has read exactly one byte past the segment (a
// 0xFF supplied by the reader) and the unread bits of the look-ahead are CT
// ones followed by zeros. Corrupt data rarely leave the decoder there.
bool predictableTerminationHolds(const MqDecoderRegisters& mq) {
    return mq.position == mq.length && (mq.c & 0xFFFFu) == ((0xFFFF0000u >> mq.ct) & 0xFFFFu);
}

template <bool Causal, const ZeroCodingTable& ZeroCoding>
bool decodePass(ProgressiveDecodeState* s, const SampleGrid& g, int32_t next,
                ArithmeticDecoder& arith, RawDecoder& raw) {
    const CoefficientPlane out = coefficientPlane(s);
    switch (next) {
        case kNextSignificance:
            decodeSignificancePass<false, Causal, ZeroCoding>(g, arith, out);
            return true;
        case kNextRefinement:
            decodeRefinementPass(g, arith, out);
            return true;
        case kNextRawSignificance:
            decodeSignificancePass<true, Causal, ZeroCoding>(g, raw, out);
            return true;
        case kNextRawRefinement:
            decodeRefinementPass(g, raw, out);
            return true;
        default:
            decodeCleanupPass<Causal, ZeroCoding>(g, arith, out);
            if (s->flags & kFlagSegmentationSymbol) {
                int symbol = 0;
                for (int i = 0; i < 4; ++i) symbol = (symbol << 1) | arith.decide(kUniformLabel);
                if (symbol != 0xA) return false;
            }
            return true;
    }
}

template <bool Causal>
bool decodePass(ProgressiveDecodeState* s, const SampleGrid& g, int32_t next,
                ArithmeticDecoder& arith, RawDecoder& raw) {
    if (s->zeroCoding == kZeroCodingHighLow.data())
        return decodePass<Causal, kZeroCodingHighLow>(s, g, next, arith, raw);
    if (s->zeroCoding == kZeroCodingHighHigh.data())
        return decodePass<Causal, kZeroCodingHighHigh>(s, g, next, arith, raw);
    return decodePass<Causal, kZeroCodingLowLow>(s, g, next, arith, raw);
}

}  // namespace

void attachCodeBlock(ProgressiveDecodeState* s, uint8_t* dst, int32_t dstStep, ZeqiSize size,
                     int32_t subband, int32_t sfBits, int32_t codeStyleFlags) {
    s->destination = dst;
    s->destinationStep = dstStep;
    s->width = size.width;
    s->height = size.height;
    s->flags = codeStyleFlags;
    if (!(codeStyleFlags & kFlagKeepDestination)) {
        const size_t rowBytes = static_cast<size_t>(size.width) * 4;
        if (static_cast<size_t>(dstStep) == rowBytes)  // rows back to back: one clear
            std::memset(dst, 0, rowBytes * static_cast<size_t>(size.height));
        else
            for (int32_t y = 0; y < size.height; ++y)
                std::memset(rowAt(dst, dstStep, y), 0, rowBytes);
    }
    if (!(codeStyleFlags & kFlagKeepStateArray))
        std::memset(stateArray(s), 0,
                    static_cast<size_t>(stateArrayBytes(size.width, size.height)));
    std::memcpy(s->contexts, kInitialContexts.data(), kContextCount);
    s->zeroCoding = zeroCodingTable(subband);
    // Magnitudes have 31 bits: a larger plane count starts at plane 30.
    const int32_t planes = sfBits > 31 ? 31 : (sfBits < 0 ? 0 : sfBits);
    s->bypassPlane = (codeStyleFlags & kFlagBypass) && planes >= 4 ? planes - 4 : 0;
    setPlane(s, planes - 1);
    s->passCounter = 0;
    s->nextPass = kNextCleanup;
    s->errorLatch = 0;
    s->attached = 1;
}

ZeqStatus decodeStep(ProgressiveDecodeState* s, const uint8_t* src, int32_t srcLen) {
    if (s->passCounter < 1 || s->bitPlane < 0) return StatusOk;
    if (srcLen < 0) srcLen = 0;
    const SampleGrid g = makeGrid(stateArray(s), s->width, s->height);
    const bool perPass = (s->flags & kFlagTerminateEachPass) != 0;
    const bool causal = (s->flags & kFlagCausal) != 0;

    MqDecoderRegisters mq{};
    RawDecoder raw{};
    if (isRawPass(s->nextPass))
        rawReaderStart(raw.raw, src, srcLen);
    else
        mqDecoderStart(mq, src, srcLen);
    ArithmeticDecoder arith{MqDecoderCursor(mq), {}};
    arith.setContexts(s->contexts);

    ZeqStatus status = StatusOk;
    for (;;) {
        const int32_t next = s->nextPass;
        if (s->flags & kFlagResetContexts) arith.setContexts(kInitialContexts.data());
        const bool ok = causal ? decodePass<true>(s, g, next, arith, raw)
                               : decodePass<false>(s, g, next, arith, raw);
        if (!ok) {
            status = StatusCodeBlockCorrupt;
            break;
        }
        --s->passCounter;
        int32_t plane = s->bitPlane;
        if (isCleanup(next)) setPlane(s, --plane);
        s->nextPass = followingPass(next, plane, s->bypassPlane);
        const bool segmentEnds = perPass || plane < 0 || isRawPass(s->nextPass) != isRawPass(next);
        arith.mq.store();
        if (segmentEnds && !isRawPass(next) && (s->flags & kFlagCheckPredictableTermination) &&
            !predictableTerminationHolds(mq)) {
            status = StatusCodeBlockCorrupt;
            break;
        }
        if (segmentEnds || s->passCounter < 1) break;
    }
    arith.mq.store();
    s->mq = mq;
    s->raw = raw.raw;
    arith.getContexts(s->contexts);
    if (status != StatusOk) s->errorLatch = 1;
    return status;
}

void reconstructAfterCorruption(uint8_t* dst, int32_t dstStep, ZeqiSize size, int32_t plane) {
    if (plane < 0) return;
    const uint32_t bit = uint32_t{1} << plane;
    const uint32_t keep = ~(bit - 1);
    for (int32_t y = 0; y < size.height; ++y) {
        uint8_t* row = rowAt(dst, dstStep, y);
        for (int32_t x = 0; x < size.width; ++x) {
            const uint32_t v = loadElement<uint32_t>(row, x) & keep;
            storeElement<uint32_t>(row, x, (v & 0x7FFFFFFFu) ? v | bit : 0);
        }
    }
}

void truncateBelowPlane(uint8_t* dst, int32_t dstStep, ZeqiSize size, int32_t plane) {
    if (plane < 1) return;
    const uint32_t keep = ~((uint32_t{1} << plane) - 1);
    for (int32_t y = 0; y < size.height; ++y) {
        uint8_t* row = rowAt(dst, dstStep, y);
        for (int32_t x = 0; x < size.width; ++x)
            storeElement<uint32_t>(row, x, loadElement<uint32_t>(row, x) & keep);
    }
}

}  // namespace zeq::t1
