// Seeds of the JPEG entropy decoders: blocks coded by the library's own
// encoders with tables made from their own statistics, in the layout the
// decoder targets read (mode byte, DC table, AC table, entropy-coded data).
#ifndef ZEQ_FUZZ_JPEG_SEEDS_H
#define ZEQ_FUZZ_JPEG_SEEDS_H

#include "fuzz/fuzz_support.h"

namespace zeq::fuzz {

// Encodes `blocks` coefficient blocks with tables made from their own
// statistics; a restart marker follows every `restart` blocks (0: none).
inline std::vector<uint8_t> encodedSeed(uint32_t seed, int blocks, int scale, int restart) {
    SeedRandom rng(seed);
    std::vector<int16_t> coefficients(static_cast<size_t>(blocks) * 64);
    int32_t dc[257] = {}, ac[257] = {};
    int16_t lastDC = 0;
    for (int b = 0; b < blocks; ++b) {
        seedBlock(rng, &coefficients[static_cast<size_t>(b) * 64], scale);
        if (restart && b % restart == 0) lastDC = 0;
        zeqiGetHuffmanStatistics8x8_JPEG_16s_C1(&coefficients[static_cast<size_t>(b) * 64], dc, ac,
                                                &lastDC);
    }
    SeedBuilder out;
    out.u8(0);  // block decoder
    const EncodeTable dcTable = putEncodeTable(out, dc);
    const EncodeTable acTable = putEncodeTable(out, ac);
    RecordMemory<HuffmanEncodeState> state(zeqiEncodeHuffmanStateGetBufSize_JPEG_8u);
    zeqiEncodeHuffmanStateInit_JPEG_8u(state.get());
    std::vector<uint8_t> stream(static_cast<size_t>(blocks) * 200 + 64);
    int32_t pos = 0;
    lastDC = 0;
    for (int b = 0; b < blocks; ++b) {
        if (restart && b && b % restart == 0) {
            zeqiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, stream.data(),
                                               static_cast<int32_t>(stream.size()), &pos, &lastDC,
                                               dcTable.spec(), acTable.spec(), state.get(), 1);
            stream[static_cast<size_t>(pos++)] = 0xFF;
            stream[static_cast<size_t>(pos++)] = static_cast<uint8_t>(0xD0 + (b / restart - 1) % 8);
            lastDC = 0;
        }
        zeqiEncodeHuffman8x8_JPEG_16s1u_C1(&coefficients[static_cast<size_t>(b) * 64],
                                           stream.data(), static_cast<int32_t>(stream.size()), &pos,
                                           &lastDC, dcTable.spec(), acTable.spec(), state.get(), 0);
    }
    zeqiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, stream.data(), static_cast<int32_t>(stream.size()),
                                       &pos, &lastDC, dcTable.spec(), acTable.spec(), state.get(),
                                       1);
    stream.resize(static_cast<size_t>(pos));
    out.append(stream);
    return out.bytes();
}

}  // namespace zeq::fuzz

#endif  // ZEQ_FUZZ_JPEG_SEEDS_H
