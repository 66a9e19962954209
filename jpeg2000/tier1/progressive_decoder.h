// The progressive code-block decoder: a caller-visible state record that
// decodes a code-block segment by segment (or pass by pass), and the kernels
// behind the exported functions.
#ifndef ZEQ_JPEG2000_TIER1_PROGRESSIVE_DECODER_H
#define ZEQ_JPEG2000_TIER1_PROGRESSIVE_DECODER_H

#include <cstddef>
#include <cstdint>

#include "jpeg2000/tier1/mq_coder.h"
#include "jpeg2000/tier1/t1_contexts.h"
#include "zeqj.h"

namespace zeq::t1 {

constexpr char kDecodeStateId[4] = {'P', 'A', 'M', 'C'};
// Bytes of the state size beyond the state array: the record and the
// alignment of the array to 32 bytes.
constexpr int32_t kDecodeStateOverhead = 472;
constexpr int32_t kStateArrayAlignment = 32;

// Decoder flags (with the encoder's 1, 2, 4, 8, 16).
constexpr int32_t kFlagMidpointAfterCorruption = 0x10000;
constexpr int32_t kFlagKeepDestination = 0x20000;
constexpr int32_t kFlagNoFinalTruncation = 0x40000;
constexpr int32_t kFlagKeepStateArray = 0x80000;
constexpr int32_t kFlagCheckPredictableTermination = 0x100000;

// Next-pass states. 0..2 are arithmetic-coded, 3 is the arithmetic cleanup
// that follows raw passes, 4 and 5 are raw.
enum NextPass : int32_t {
    kNextCleanup = 0,
    kNextRefinement = 1,
    kNextSignificance = 2,
    kNextCleanupAfterRaw = 3,
    kNextRawRefinement = 4,
    kNextRawSignificance = 5,
};

}  // namespace zeq::t1

struct ProgressiveDecodeState {
    char identifier[4];  // "PAMC"
    int32_t width;
    uint8_t* destination;
    int32_t height;
    int32_t destinationStep;
    int32_t bitPlane;  // Nb - 1 after Attach, -1 when every plane is done
    // For the current plane p: 2^p, 3 x 2^p / 2, 2^p / 2, and the bits above p.
    uint32_t planeBit;
    uint32_t planeMidpoint;
    uint32_t planeHalf;
    uint32_t planeMaskAbove;
    zeq::t1::MqDecoderRegisters mq;
    zeq::t1::RawReader raw;
    uint8_t contexts[zeq::t1::kContextCount];
    uint8_t reserved0[5];
    const uint8_t* zeroCoding;
    int32_t nextPass;
    int32_t bypassPlane;  // T: planes below it have raw significance and refinement passes
    int32_t passCounter;
    int32_t flags;
    int32_t errorLatch;
    int32_t attached;
    int32_t stateArrayOffset;  // from the record's start, 32-byte aligned
    int32_t reserved1;
};
static_assert(offsetof(ProgressiveDecodeState, destination) == 8);
static_assert(offsetof(ProgressiveDecodeState, bitPlane) == 24);
static_assert(offsetof(ProgressiveDecodeState, mq) == 48);
static_assert(offsetof(ProgressiveDecodeState, raw) == 80);
static_assert(offsetof(ProgressiveDecodeState, contexts) == 104);
static_assert(offsetof(ProgressiveDecodeState, zeroCoding) == 128);
static_assert(offsetof(ProgressiveDecodeState, nextPass) == 136);
static_assert(offsetof(ProgressiveDecodeState, stateArrayOffset) == 160);
static_assert(sizeof(ProgressiveDecodeState) == 168);
static_assert(sizeof(ProgressiveDecodeState) + zeq::t1::kStateArrayAlignment - 1 <=
                  zeq::t1::kDecodeStateOverhead,
              "the record and the alignment fit the fixed part of the state size");

namespace zeq::t1 {

bool hasDecodeId(const ProgressiveDecodeState* s);
int64_t decodeStateSize(ZeqiSize size);
void initDecodeState(ProgressiveDecodeState* s);
void attachCodeBlock(ProgressiveDecodeState* s, uint8_t* dst, int32_t dstStep, ZeqiSize size,
                     int32_t subband, int32_t sfBits, int32_t codeStyleFlags);
// Decodes from one segment (or one pass with flag 4); StatusOk or
// StatusCodeBlockCorrupt (the latch is then set).
ZeqStatus decodeStep(ProgressiveDecodeState* s, const uint8_t* src, int32_t srcLen);

// The one-shot decoder's clean-up after a corrupt pass at plane b: bits below
// b cleared and bit b set in every non-zero sample, zero samples lose the sign.
void reconstructAfterCorruption(uint8_t* dst, int32_t dstStep, ZeqiSize size, int32_t plane);
// Bits below plane b cleared in every sample (the sign stays).
void truncateBelowPlane(uint8_t* dst, int32_t dstStep, ZeqiSize size, int32_t plane);

}  // namespace zeq::t1

#endif  // ZEQ_JPEG2000_TIER1_PROGRESSIVE_DECODER_H
