// The direct block decoder, which has no source length: the caller's data
// must end in a marker, so the input is followed by FF D9. The bit position
// must never pass that marker, and every block both the direct and the
// bounded decoder return without error must be the same.
#include <cstdlib>

#include "fuzz/fuzz_support.h"
#include "fuzz/jpeg_seeds.h"

namespace {

using namespace zeq::fuzz;

constexpr int kMaxCalls = 4096;

void seeds(SeedSet& set) {
    set.add(encodedSeed(11, 1, 4, 0));
    set.add(encodedSeed(12, 16, 40, 0));
    set.add(encodedSeed(13, 48, 600, 0));
    set.add(encodedSeed(14, 24, 3000, 6));
}

}  // namespace

ZEQ_FUZZ_TARGET(seeds, in) {
    in.u8();  // the mode byte of the shared seed layout
    DecodeTable dc, ac;
    if (!takeDecodeTable(in, dc) || !takeDecodeTable(in, ac)) return;
    std::vector<uint8_t> stream = in.rest();
    stream.push_back(0xFF);
    stream.push_back(0xD9);
    const int32_t srcLen = static_cast<int32_t>(stream.size());

    int32_t bitPos = 0, marker = 0, reservoirCount = 0;
    uint32_t reservoir = 0;
    int16_t lastDC = 0, block[64];

    RecordMemory<HuffmanDecodeState> state(zeqiDecodeHuffmanStateGetBufSize_JPEG_8u);
    zeqiDecodeHuffmanStateInit_JPEG_8u(state.get());
    int32_t pos = 0, boundedMarker = 0;
    int16_t boundedLastDC = 0, boundedBlock[64];
    bool boundedGoing = true;

    for (int call = 0; call < kMaxCalls; ++call) {
        const ZeqStatus status = zeqiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(
            stream.data(), &bitPos, block, &lastDC, &marker, &reservoir, &reservoirCount, dc.spec(),
            ac.spec());
        if (bitPos < 0 || bitPos / 8 > srcLen || reservoirCount < 0 || reservoirCount > 32) {
            std::fprintf(stderr, "bit position %d, reservoir %d bits\n", bitPos, reservoirCount);
            std::abort();
        }
        if (boundedGoing) {
            const ZeqStatus bounded = zeqiDecodeHuffman8x8_JPEG_1u16s_C1(
                stream.data(), srcLen, &pos, boundedBlock, &boundedLastDC, &boundedMarker,
                dc.spec(), ac.spec(), state.get());
            boundedGoing = bounded == StatusOk;
            if (boundedGoing && status == StatusOk &&
                (std::memcmp(block, boundedBlock, sizeof block) != 0 || lastDC != boundedLastDC)) {
                std::fprintf(stderr, "direct and bounded decoders differ at block %d\n", call);
                std::abort();
            }
        }
        if (status != StatusOk || (marker != 0 && reservoirCount == 0)) break;
    }
}
