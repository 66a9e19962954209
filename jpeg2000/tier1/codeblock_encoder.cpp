// Code-block encoder: modeling (Load), byte output (StoreBits) and queries.
#include "jpeg2000/tier1/codeblock_encoder.h"

#include <algorithm>
#include <cstring>

#include "core/memory.h"
#include "core/rows.h"
#include "jpeg2000/tier1/encode_passes.h"
#include "jpeg2000/tier1/t1_distortion.h"
#include "jpeg2000/tier1/t1_passes.h"

namespace zeq::t1 {

bool hasEncodeId(const CodeBlockEncodeState* s) {
    return std::memcmp(s->identifier, kEncodeStateId, 4) == 0;
}

void releaseEncodeState(CodeBlockEncodeState* s) {
    if (s == nullptr) return;
    if (s->coding != nullptr) {
        releaseBuffer(s->coding->decisions);
        releaseBuffer(s->coding->labels);
    }
    releaseBuffer(s->stateArray);
    releaseBuffer(s->coding);
    releaseBuffer(s);
}

ZeqStatus allocateEncodeState(CodeBlockEncodeState** out, ZeqiSize maxSize) {
    *out = nullptr;
    const int64_t symbols = symbolCapacity(maxSize.width, maxSize.height);
    // The state array, then the block's copy in stripe-column order.
    const int64_t arrayBytes = int64_t{stateRowBytes(maxSize.width)} * stateRows(maxSize.height) +
                               stripeCopyBytes(maxSize.width, maxSize.height);
    if (symbols > INT32_MAX || arrayBytes > INT32_MAX) return StatusNoMemory;

    auto* s = static_cast<CodeBlockEncodeState*>(allocateBuffer(sizeof(CodeBlockEncodeState)));
    if (s == nullptr) return StatusNoMemory;
    zeroBuffer(s, sizeof(CodeBlockEncodeState));
    s->coding = static_cast<EncodeCodingRecord*>(allocateBuffer(sizeof(EncodeCodingRecord)));
    if (s->coding != nullptr) {
        zeroBuffer(s->coding, sizeof(EncodeCodingRecord));
        s->coding->decisions = static_cast<uint8_t*>(allocateBuffer(static_cast<int32_t>(symbols)));
        if (s->coding->decisions != nullptr)
            s->coding->labels =
                static_cast<uint8_t*>(allocateBuffer(static_cast<int32_t>(symbols)));
        if (s->coding->labels != nullptr)
            s->stateArray =
                static_cast<uint32_t*>(allocateBuffer(static_cast<int32_t>(arrayBytes)));
    }
    if (s->stateArray == nullptr) {
        releaseEncodeState(s);
        return StatusNoMemory;
    }
    std::memcpy(s->identifier, kEncodeStateId, 4);
    *out = s;
    return StatusOk;
}

namespace {

// The encoder's side of the passes: decisions come from the block's copy in
// stripe-column order (the four words of a stripe column side by side) and
// are recorded with their labels; significance and refinement add their
// distortion reduction. Plane p is at most 30, so bit p of a word is bit p of
// its magnitude, and the sign bit never reaches the distortion windows.
struct EncodeModel {
    const uint32_t* copy;   // the whole block
    const uint32_t* words;  // the current stripe
    int32_t stripeWords;    // 4 x width
    uint8_t* decisions;
    uint8_t* labels;
    int32_t count;
    int plane;
    int32_t distortion;
    const int32_t* significanceTable;
    const int32_t* refinementTable;

    void stripe(int y0) { words = copy + (y0 >> 2) * stripeWords; }
    uint32_t word(int x, int r) const { return words[4 * x + r]; }
    // Bits p .. p-6 of a magnitude (bits below plane 0 read as 0).
    uint32_t window(uint32_t w) const { return static_cast<uint32_t>((uint64_t{w} << 6) >> plane); }
    void record(int decision, int label) {
        decisions[count] = static_cast<uint8_t>(decision);
        labels[count] = static_cast<uint8_t>(label);
        ++count;
    }

    int bit(int x, int r, int label) {
        const int b = static_cast<int>((word(x, r) >> plane) & 1);
        record(b, label);
        return b;
    }
    int sign(int x, int r, int label, uint32_t xorBit) {
        const int negative = static_cast<int>(word(x, r) >> 31);
        record(negative ^ static_cast<int>(xorBit), label);
        return negative;
    }
    void significant(int x, int r, int) {
        distortion += significanceTable[window(word(x, r)) & 63];
    }
    int refine(int x, int r, int label) {
        const uint32_t w = word(x, r);
        const int b = static_cast<int>((w >> plane) & 1);
        record(b, label);
        distortion += refinementTable[window(w) & 127];
        return b;
    }
    int run(int x) {
        const uint32_t* w = words + 4 * x;
        if ((((w[0] | w[1] | w[2] | w[3]) >> plane) & 1) == 0) {
            record(0, kRunLabel);
            return -1;
        }
        // The first row with the bit, without a loop of unpredictable length.
        uint32_t rows = 0;
        for (int k = 0; k < 4; ++k) rows |= ((w[k] >> plane) & 1) << k;
        const int r = __builtin_ctz(rows);
        record(1, kRunLabel);
        record(r >> 1, kUniformLabel);
        record(r & 1, kUniformLabel);
        return r;
    }
};

// Copies the block into stripe-column order (rows past the block's end read
// as 0) and returns the OR of its magnitudes.
uint32_t copyInStripeColumns(const uint8_t* src, int32_t srcStep, int32_t width, int32_t height,
                             uint32_t* copy) {
    uint32_t largest = 0;
    for (int32_t y0 = 0; y0 < height; y0 += 4) {
        uint32_t* stripe = copy + static_cast<ptrdiff_t>(y0 >> 2) * 4 * width;
        for (int r = 0; r < 4; ++r) {
            if (y0 + r >= height) {
                for (int32_t x = 0; x < width; ++x) stripe[4 * x + r] = 0;
                continue;
            }
            const uint8_t* row = rowAt(src, srcStep, y0 + r);
            for (int32_t x = 0; x < width; ++x) {
                const uint32_t w = loadElement<uint32_t>(row, x);
                largest |= w;
                stripe[4 * x + r] = w;
            }
        }
    }
    return largest & 0x7FFFFFFFu;
}

struct PassPlan {
    enum Kind { Significance, Refinement, Cleanup } kind;
    bool raw;
};

// SharedPasses picks the passes written once for the encoder and the
// decoders, the reference of the encoder's own.
template <bool SharedPasses, bool Causal>
void runPass(const SampleGrid& g, EncodeModel& m, PassPlan plan, const uint8_t* zc,
             bool segmentationSymbol) {
    switch (plan.kind) {
        case PassPlan::Significance:
            if (SharedPasses && plan.raw)
                significancePass<true, Causal>(g, m, zc);
            else if (SharedPasses)
                significancePass<false, Causal>(g, m, zc);
            else if (plan.raw)
                encodeSignificancePass<true, Causal>(g, m, zc);
            else
                encodeSignificancePass<false, Causal>(g, m, zc);
            break;
        case PassPlan::Refinement:
            if (SharedPasses)
                refinementPass(g, m);
            else
                encodeRefinementPass(g, m);
            break;
        case PassPlan::Cleanup:
            cleanupPass<Causal>(g, m, zc);
            if (segmentationSymbol)
                for (int d : kSegmentationSymbol) m.record(d, kUniformLabel);
            break;
    }
}

template <bool SharedPasses>
LoadResult loadWith(const uint8_t* src, int32_t srcStep, ZeqiSize size, CodeBlockEncodeState* s,
                    int32_t subband, int32_t magnBitDepth, int32_t mqTermType,
                    int32_t codeStyleFlags) {
    EncodeCodingRecord* rec = s->coding;
    const int32_t width = size.width, height = size.height;
    std::memset(s->stateArray, 0, static_cast<size_t>(stateArrayBytes(width, height)));
    mqEncoderStart(rec->mq);
    std::memcpy(rec->contexts, kInitialContexts.data(), kContextCount);
    rawPackerStart(rec->raw);
    rec->passCount = 0;
    std::memset(rec->passRate, 0, sizeof(rec->passRate));
    std::memset(rec->passLength, 0, sizeof(rec->passLength));
    rec->readPass = rec->readDecision = rec->readSymbol = 0;
    rec->totalBytes = rec->passStartTotal = rec->rateCheckPass = 0;
    rec->lastByte = 0;
    rec->stagedHead = rec->stagedCount = 0;
    rec->mqTermType = (mqTermType == kTermShortest || mqTermType == kTermPredictable)
                          ? mqTermType
                          : kTermStandard;
    rec->terminateEachPass = (codeStyleFlags & kFlagTerminateEachPass) != 0;
    rec->resetEachPass = (codeStyleFlags & kFlagResetContexts) != 0;

    uint32_t* copy = s->stateArray + stateArrayBytes(width, height) / 4;
    const uint32_t largest = copyInStripeColumns(src, srcStep, width, height, copy);
    // The OR has the same highest bit as the largest magnitude.
    int32_t planes = 0;
    while (planes < 31 && (largest >> planes) != 0) ++planes;

    // Planes below 0 do not exist; a negative depth leaves no plane to code.
    const int64_t lowest = std::max<int64_t>(0, 31 - int64_t{magnBitDepth});
    const int32_t lowestPlane = static_cast<int32_t>(std::min<int64_t>(lowest, 32));
    s->lowestPlane = lowestPlane;
    s->finalPlaneDistortion = (codeStyleFlags & kFlagFinalPlaneDistortion) != 0;
    s->currentPass = 0;
    s->currentExponent = 2 * ((planes - 1) - lowestPlane) - 13;

    const SampleGrid g = makeGrid(s->stateArray, width, height);
    const uint8_t* zc = zeroCodingTable(subband);
    const bool causal = (codeStyleFlags & kFlagCausal) != 0;
    const bool bypass = (codeStyleFlags & kFlagBypass) != 0;
    const bool segmentation = (codeStyleFlags & kFlagSegmentationSymbol) != 0;
    EncodeModel m{};
    m.copy = copy;
    m.words = copy;
    m.stripeWords = 4 * width;
    m.decisions = rec->decisions;
    m.labels = rec->labels;

    auto code = [&](int plane, PassPlan plan) {
        const bool finalPlane = s->finalPlaneDistortion && plane == lowestPlane;
        m.plane = plane;
        m.distortion = 0;
        m.significanceTable =
            finalPlane ? kSignificanceDistortionFinal.data() : kSignificanceDistortion.data();
        m.refinementTable =
            finalPlane ? kRefinementDistortionFinal.data() : kRefinementDistortion.data();
        const int32_t before = m.count;
        if (causal)
            runPass<SharedPasses, true>(g, m, plan, zc, segmentation);
        else
            runPass<SharedPasses, false>(g, m, plan, zc, segmentation);
        const int32_t i = rec->passCount++;
        rec->passDecisions[i] = m.count - before;
        rec->passSegmentType[i] = plan.raw ? kSegmentRaw : kSegmentArithmetic;
        s->passDistortion[i] = m.distortion;
        s->passExponent[i] = s->currentExponent;
        s->currentPass = rec->passCount;
    };

    if (planes - 1 >= lowestPlane) {
        code(planes - 1, {PassPlan::Cleanup, false});
        for (int p = planes - 2; p >= lowestPlane; --p) {
            s->currentExponent -= 2;
            const bool raw = bypass && p < planes - 4;
            code(p, {PassPlan::Significance, raw});
            code(p, {PassPlan::Refinement, raw});
            code(p, {PassPlan::Cleanup, false});
        }
    }

    int32_t segments;
    if (rec->terminateEachPass) {
        segments = rec->passCount;
    } else if (rec->passCount < 2) {
        segments = 1;
    } else {
        segments = 1;
        for (int32_t i = 0; i + 1 < rec->passCount; ++i)
            segments += rec->passSegmentType[i] != rec->passSegmentType[i + 1];
    }
    rec->segmentCount = segments;
    return {planes, rec->passCount, segments};
}

}  // namespace

LoadResult loadCodeBlock(const uint8_t* src, int32_t srcStep, ZeqiSize size,
                         CodeBlockEncodeState* s, int32_t subband, int32_t magnBitDepth,
                         int32_t mqTermType, int32_t codeStyleFlags) {
    return loadWith<false>(src, srcStep, size, s, subband, magnBitDepth, mqTermType,
                           codeStyleFlags);
}

LoadResult loadCodeBlockWithSharedPasses(const uint8_t* src, int32_t srcStep, ZeqiSize size,
                                         CodeBlockEncodeState* s, int32_t subband,
                                         int32_t magnBitDepth, int32_t mqTermType,
                                         int32_t codeStyleFlags) {
    return loadWith<true>(src, srcStep, size, s, subband, magnBitDepth, mqTermType, codeStyleFlags);
}

namespace {

// Where coded bytes go: the caller's buffer while it has room, then the
// record's staging area (at most a few bytes: one decision or one
// termination). Every byte is also checked against the pass rates waiting for
// it, so that no rate ends just after a 0xFF, whatever the chunk sizes.
struct ByteSink {
    uint8_t* dst;
    int32_t capacity;
    int32_t written;
    EncodeCodingRecord* rec;
    int32_t total;
    int32_t nextCheck;  // position of the byte the next unchecked rate ends on

    bool full() const { return written >= capacity; }

    void put(uint8_t b) {
        if (written < capacity) {
            dst[written++] = b;
        } else {
            rec->staged[(rec->stagedHead + rec->stagedCount) % kStagedBytes] = b;
            ++rec->stagedCount;
        }
        if (total == nextCheck) checkRatesEndingAt(total, b);
        rec->lastByte = b;
        ++total;
    }

    // After `count` bytes went straight into dst[written ..): the checks
    // put() would have made on them, in order.
    void wrote(int32_t count) {
        const uint8_t* bytes = dst + written - total;  // indexed by position
        const int32_t end = total + count;
        for (int32_t at = total; nextCheck >= at && nextCheck < end;) {
            const int32_t position = nextCheck;
            checkRatesEndingAt(position, bytes[position]);
            at = position + 1;
        }
        if (count > 0) rec->lastByte = bytes[end - 1];
        written += count;
        total = end;
    }

    // After rates were set or lowered: settles those whose last byte is
    // already out, and finds the next byte to wait for.
    void settleRates() {
        int32_t k = rec->rateCheckPass;
        for (; k < rec->readPass; ++k) {
            const int64_t end = static_cast<int64_t>(rec->passRate[k]) - 1;
            if (end >= total) break;
            if (end >= 0 && end == total - 1 && rec->lastByte == 0xFF) --rec->passRate[k];
        }
        rec->rateCheckPass = k;
        nextCheck = rateEnd(k);
    }

private:
    // The byte position the rate of pass k ends on; -1 past the passes read.
    int32_t rateEnd(int32_t k) const {
        return k < rec->readPass ? static_cast<int32_t>(rec->passRate[k]) - 1 : -1;
    }

    // The rates ending on the byte b at `position`: one lower when it is
    // 0xFF. Then the next position to wait for.
    void checkRatesEndingAt(int32_t position, uint8_t b) {
        int32_t k = rec->rateCheckPass;
        for (; k < rec->readPass && static_cast<int64_t>(rec->passRate[k]) - 1 == position; ++k)
            if (b == 0xFF) --rec->passRate[k];
        rec->rateCheckPass = k;
        nextCheck = rateEnd(k);
    }
};

// Bytes of a run that cannot overflow the caller's buffer.
struct DirectSink {
    uint8_t* next;
    void put(uint8_t b) { *next++ = b; }
};

// 27 - CT bits beyond the last byte out; the limit is one lower when the
// pending byte may still become 0xFF.
uint32_t openArithmeticRate(const EncodeCodingRecord* rec, int32_t total) {
    const MqEncoderRegisters& r = rec->mq;
    const int32_t limit = r.pending < 254 ? 23 : 22;
    return static_cast<uint32_t>(total + 4 + (27 - r.ct > limit) - (r.byteOuts == 0));
}

void finishPass(EncodeCodingRecord* rec, ByteSink& out, int32_t i) {
    const bool raw = rec->passSegmentType[i] == kSegmentRaw;
    const bool terminate = rec->terminateEachPass || i + 1 == rec->passCount ||
                           rec->passSegmentType[i] != rec->passSegmentType[i + 1];
    uint32_t rate;
    if (raw) {
        if (terminate) {
            rawFlush(rec->raw, out);
            rate = static_cast<uint32_t>(out.total);
        } else {
            rate = static_cast<uint32_t>(out.total + rec->raw.heldFF +
                                         (rec->raw.bitsFree < rawPackerCapacity(rec->raw)));
        }
    } else if (terminate) {
        if (rec->mqTermType == kTermShortest)
            mqFlushShortest(rec->mq, out);
        else if (rec->mqTermType == kTermPredictable)
            mqFlushPredictable(rec->mq, out);
        else
            mqFlushStandard(rec->mq, out);
        mqEncoderStart(rec->mq);
        rate = static_cast<uint32_t>(out.total);
    } else {
        rate = openArithmeticRate(rec, out.total);
    }
    rec->passRate[i] = rate;
    if (terminate)
        for (int32_t j = i - 1; j >= 0 && rec->passRate[j] > rate; --j) rec->passRate[j] = rate;
    rec->passLength[i] = out.total - rec->passStartTotal;
    rec->passStartTotal = out.total;
    rec->readPass = i + 1;
    rec->readDecision = 0;
    out.settleRates();
}

}  // namespace

bool storeBits(CodeBlockEncodeState* s, uint8_t* dst, int32_t* length) {
    EncodeCodingRecord* rec = s->coding;
    ByteSink out{dst, *length, 0, rec, rec->totalBytes, -1};
    out.nextCheck = rec->rateCheckPass < rec->readPass
                        ? static_cast<int32_t>(rec->passRate[rec->rateCheckPass]) - 1
                        : -1;
    for (; rec->stagedCount > 0 && !out.full(); --rec->stagedCount) {
        dst[out.written++] = rec->staged[rec->stagedHead];
        rec->stagedHead = (rec->stagedHead + 1) % kStagedBytes;
    }
    while (rec->readPass < rec->passCount && !out.full()) {
        const int32_t i = rec->readPass;
        const int32_t n = rec->passDecisions[i];
        if (rec->readDecision == 0 && rec->resetEachPass)
            std::memcpy(rec->contexts, kInitialContexts.data(), kContextCount);
        int32_t d = rec->readDecision;
        const uint8_t* decisions = rec->decisions + rec->readSymbol - d;
        if (rec->passSegmentType[i] == kSegmentRaw) {
            RawPacker raw = rec->raw;
            for (; d < n && !out.full(); ++d) rawPut(raw, decisions[d], out);
            rec->raw = raw;
        } else {
            const uint8_t* labels = rec->labels + rec->readSymbol - rec->readDecision;
            // Runs short enough that the buffer cannot fill before their
            // last decision write straight into it, the rate checks made on
            // the run's bytes afterwards; only the last few decisions before
            // the buffer fills go through the sink byte by byte.
            while (d < n && !out.full()) {
                const int32_t room = out.capacity - out.written;
                if (room >= kMqMaxBytesPerDecision) {
                    const int32_t run = std::min(n - d, room / kMqMaxBytesPerDecision);
                    DirectSink direct{dst + out.written};
                    mqEncodeRun(rec->mq, rec->contexts, labels + d, decisions + d, run, direct);
                    out.wrote(static_cast<int32_t>(direct.next - (dst + out.written)));
                    d += run;
                } else {
                    mqEncodeRun(rec->mq, rec->contexts, labels + d, decisions + d, 1, out);
                    ++d;
                }
            }
        }
        rec->readSymbol += d - rec->readDecision;
        rec->readDecision = d;
        if (d < n) break;
        finishPass(rec, out, i);
    }
    rec->totalBytes = out.total;
    *length = out.written;
    return rec->readPass < rec->passCount || rec->stagedCount > 0;
}

double cumulativeDistortion(const CodeBlockEncodeState* s, int32_t passIndex) {
    double sum = 0;
    for (int32_t i = 0; i <= passIndex; ++i) {
        const int32_t e = s->passExponent[i];
        const double scale = e >= 1 ? static_cast<double>(uint64_t{1} << e)
                                    : 1.0 / static_cast<double>(uint64_t{1} << -e);
        sum += s->passDistortion[i] * scale;
    }
    return sum;
}

int32_t segmentLength(const CodeBlockEncodeState* s, int32_t segmentIndex) {
    const EncodeCodingRecord* rec = s->coding;
    if (rec->terminateEachPass) return rec->passLength[segmentIndex];
    int32_t segment = 0, length = 0;
    for (int32_t i = 0; i < rec->passCount; ++i) {
        if (i > 0 && rec->passSegmentType[i] != rec->passSegmentType[i - 1]) ++segment;
        if (segment == segmentIndex) length += rec->passLength[i];
    }
    return length;
}

}  // namespace zeq::t1
