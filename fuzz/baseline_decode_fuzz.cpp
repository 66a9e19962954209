// The baseline block decoder and the one-value decoder over tables built
// from the input, restarting after every marker as a codec would. The input
// position must only move forward and never pass the end of the source.
#include <cstdlib>

#include "fuzz/fuzz_support.h"
#include "fuzz/jpeg_seeds.h"

namespace {

using namespace zeq::fuzz;

constexpr int kMaxCalls = 4096;

void seeds(SeedSet& set) {
    set.add(encodedSeed(1, 1, 4, 0));
    set.add(encodedSeed(2, 16, 40, 0));
    set.add(encodedSeed(3, 64, 400, 8));
    set.add(encodedSeed(4, 40, 2000, 5));
    std::vector<uint8_t> oneValues = encodedSeed(5, 8, 30, 0);
    oneValues[0] = 1;  // the same bytes read as lone values
    set.add(oneValues);
}

}  // namespace

ZEQ_FUZZ_TARGET(seeds, in) {
    const uint8_t mode = in.u8();
    DecodeTable dc, ac;
    if (!takeDecodeTable(in, dc) || !takeDecodeTable(in, ac)) return;
    const std::vector<uint8_t> stream = in.rest();
    // An empty source is still a valid pointer; the length says it is empty.
    const uint8_t empty = 0;
    const uint8_t* src = stream.empty() ? &empty : stream.data();
    const int32_t srcLen = static_cast<int32_t>(stream.size());

    RecordMemory<HuffmanDecodeState> state(zeqiDecodeHuffmanStateGetBufSize_JPEG_8u);
    zeqiDecodeHuffmanStateInit_JPEG_8u(state.get());
    int32_t pos = 0, marker = 0;
    int16_t lastDC = 0, block[64];
    for (int call = 0; call < kMaxCalls; ++call) {
        const int32_t before = pos;
        ZeqStatus status;
        if (mode & 1) {
            int16_t value = 0;
            status =
                zeqiDecodeHuffmanOne_JPEG_1u16s_C1(src, srcLen, &pos, &value, &marker,
                                                   (mode & 2) ? ac.spec() : dc.spec(), state.get());
        } else {
            status = zeqiDecodeHuffman8x8_JPEG_1u16s_C1(src, srcLen, &pos, block, &lastDC, &marker,
                                                        dc.spec(), ac.spec(), state.get());
        }
        if (pos < before || pos > srcLen) {
            std::fprintf(stderr, "position moved from %d to %d of %d\n", before, pos, srcLen);
            std::abort();
        }
        if (status == StatusOk) continue;
        if (marker == 0 || pos >= srcLen) break;
        // A restart: the codec drops the bits read ahead and starts afresh.
        zeqiDecodeHuffmanStateInit_JPEG_8u(state.get());
        marker = 0;
        lastDC = 0;
    }
}
