// The code-block encoder: its state records and kernels. Load models the
// whole block into recorded decisions and per-pass distortion; StoreBits
// codes them into bytes in caller-sized chunks and fixes the pass rates.
#ifndef ZEQ_JPEG2000_TIER1_CODEBLOCK_ENCODER_H
#define ZEQ_JPEG2000_TIER1_CODEBLOCK_ENCODER_H

#include <cstddef>
#include <cstdint>

#include "jpeg2000/tier1/mq_coder.h"
#include "jpeg2000/tier1/t1_contexts.h"
#include "zeqj.h"

namespace zeq::t1 {

constexpr char kEncodeStateId[4] = {'D', 'S', 'M', 'L'};
// Room per pass array; 31 planes produce at most 91 passes.
constexpr int kMaxPasses = 109;
// Decisions recorded per column of a four-row stripe: room enough for every
// pass of 31 planes.
constexpr int32_t kDecisionsPerStripeColumn = 1090;
constexpr int32_t kStagedBytes = 16;

// mqTermType
constexpr int32_t kTermStandard = 0;
constexpr int32_t kTermShortest = 1;
constexpr int32_t kTermPredictable = 2;

constexpr int32_t kSegmentArithmetic = 0;
constexpr int32_t kSegmentRaw = 1;

// Symbol array capacity for a block of at most width x height samples.
constexpr int64_t symbolCapacity(int32_t width, int32_t height) {
    return int64_t{width} * kDecisionsPerStripeColumn * ((int64_t{height} + 3) / 4);
}

// Bytes of the encoder's copy of a block in stripe-column order (whole
// stripes), kept after the state array in the same allocation.
constexpr int64_t stripeCopyBytes(int32_t width, int32_t height) {
    return int64_t{width} * ((int64_t{height} + 3) / 4) * 16;
}

}  // namespace zeq::t1

// The coding record: coder registers, the recorded decisions and the per-pass
// results of StoreBits.
struct EncodeCodingRecord {
    zeq::t1::MqEncoderRegisters mq;
    uint8_t contexts[zeq::t1::kContextCount];
    uint8_t reserved0;
    zeq::t1::RawPacker raw;
    int32_t passCount;
    int32_t passDecisions[zeq::t1::kMaxPasses];
    int32_t passSegmentType[zeq::t1::kMaxPasses];
    int32_t passLength[zeq::t1::kMaxPasses];
    uint32_t passRate[zeq::t1::kMaxPasses];
    uint8_t* decisions;
    uint8_t* labels;
    int32_t readPass;      // StoreBits resumes at this pass ...
    int32_t readDecision;  // ... and this decision within it
    int32_t readSymbol;    // index of that decision in the symbol arrays
    int32_t totalBytes;    // bytes produced so far (handed out or staged)
    int32_t mqTermType;
    int32_t terminateEachPass;
    int32_t resetEachPass;
    int32_t segmentCount;
    int32_t passStartTotal;  // totalBytes when the current pass began
    int32_t rateCheckPass;   // first pass whose rate may still end on 0xFF
    int32_t lastByte;        // the byte at totalBytes - 1
    int32_t stagedHead;      // bytes produced past the end of a caller's buffer
    int32_t stagedCount;
    uint8_t staged[zeq::t1::kStagedBytes];
};
static_assert(offsetof(EncodeCodingRecord, mq) == 0);
static_assert(offsetof(EncodeCodingRecord, contexts) == 20);
static_assert(offsetof(EncodeCodingRecord, raw) == 40);
static_assert(offsetof(EncodeCodingRecord, passCount) == 52);
static_assert(offsetof(EncodeCodingRecord, passDecisions) == 56);
static_assert(offsetof(EncodeCodingRecord, decisions) == 56 + 4 * 4 * zeq::t1::kMaxPasses);
static_assert(offsetof(EncodeCodingRecord, staged) == 1816 + 4 * 13);
static_assert(sizeof(EncodeCodingRecord) == 1888);

// The state record behind the public handle.
struct CodeBlockEncodeState {
    char identifier[4];  // "DSML"
    int32_t reserved0;
    EncodeCodingRecord* coding;
    int32_t passDistortion[zeq::t1::kMaxPasses];
    int32_t passExponent[zeq::t1::kMaxPasses];
    int32_t currentPass;
    int32_t currentExponent;
    int32_t finalPlaneDistortion;
    int32_t lowestPlane;
    uint32_t* stateArray;
};
static_assert(offsetof(CodeBlockEncodeState, coding) == 8);
static_assert(offsetof(CodeBlockEncodeState, passDistortion) == 16);
static_assert(offsetof(CodeBlockEncodeState, passExponent) == 16 + 4 * zeq::t1::kMaxPasses);
static_assert(offsetof(CodeBlockEncodeState, currentPass) == 16 + 8 * zeq::t1::kMaxPasses);
static_assert(offsetof(CodeBlockEncodeState, stateArray) == 16 + 8 * zeq::t1::kMaxPasses + 16);
static_assert(sizeof(CodeBlockEncodeState) == 912);

namespace zeq::t1 {

bool hasEncodeId(const CodeBlockEncodeState* s);

// Takes the records; StatusNoMemory (and *out = null) when an allocation fails.
ZeqStatus allocateEncodeState(CodeBlockEncodeState** out, ZeqiSize maxSize);
void releaseEncodeState(CodeBlockEncodeState* s);

struct LoadResult {
    int32_t significantPlanes;
    int32_t passes;
    int32_t segments;
};
LoadResult loadCodeBlock(const uint8_t* src, int32_t srcStep, ZeqiSize size,
                         CodeBlockEncodeState* s, int32_t subband, int32_t magnBitDepth,
                         int32_t mqTermType, int32_t codeStyleFlags);
// The same through the passes shared with the decoders: the reference the
// encoder's own passes are tested against.
LoadResult loadCodeBlockWithSharedPasses(const uint8_t* src, int32_t srcStep, ZeqiSize size,
                                         CodeBlockEncodeState* s, int32_t subband,
                                         int32_t magnBitDepth, int32_t mqTermType,
                                         int32_t codeStyleFlags);

// Codes into dst[0 .. *length); returns whether output remains.
bool storeBits(CodeBlockEncodeState* s, uint8_t* dst, int32_t* length);

double cumulativeDistortion(const CodeBlockEncodeState* s, int32_t passIndex);
int32_t segmentLength(const CodeBlockEncodeState* s, int32_t segmentIndex);

}  // namespace zeq::t1

#endif  // ZEQ_JPEG2000_TIER1_CODEBLOCK_ENCODER_H
