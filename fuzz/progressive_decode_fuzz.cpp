// The four progressive decoders over a scan script read from the input: each
// scan has its kind, band, bit position and its own entropy-coded bytes, and
// the coefficient blocks are kept from scan to scan as a codec keeps them.
#include <cstdlib>

#include "fuzz/fuzz_support.h"

namespace {

using namespace zeq::fuzz;

enum ScanKind { kDCFirst, kDCRefine, kACFirst, kACRefine };
struct Scan {
    int kind, Ss, Se, Al;
};

constexpr Scan kScript[] = {{kDCFirst, 0, 0, 1},   {kACFirst, 1, 5, 2},   {kACFirst, 6, 63, 2},
                            {kACRefine, 1, 63, 1}, {kACRefine, 1, 63, 0}, {kDCRefine, 0, 0, 0}};

std::vector<uint8_t> encodedSeed(uint32_t seed, int blocks, int scale) {
    SeedRandom rng(seed);
    std::vector<int16_t> coefficients(static_cast<size_t>(blocks) * 64);
    for (int b = 0; b < blocks; ++b)
        seedBlock(rng, &coefficients[static_cast<size_t>(b) * 64], scale);
    auto block = [&](int b) { return &coefficients[static_cast<size_t>(b) * 64]; };

    RecordMemory<HuffmanEncodeState> state(zeqiEncodeHuffmanStateGetBufSize_JPEG_8u);
    int32_t dc[257] = {}, ac[257] = {};
    for (const Scan& s : kScript) {
        zeqiEncodeHuffmanStateInit_JPEG_8u(state.get());
        int16_t lastDC = 0;
        for (int b = 0; b < blocks; ++b) {
            if (s.kind == kDCFirst)
                zeqiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(block(b), dc, &lastDC, s.Al);
            if (s.kind == kACFirst)
                zeqiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(block(b), ac, s.Ss, s.Se, s.Al,
                                                                state.get(), 0);
            if (s.kind == kACRefine)
                zeqiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(block(b), ac, s.Ss, s.Se, s.Al,
                                                                 state.get(), 0);
        }
        if (s.kind == kACFirst)
            zeqiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(nullptr, ac, s.Ss, s.Se, s.Al,
                                                            state.get(), 1);
        if (s.kind == kACRefine)
            zeqiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(nullptr, ac, s.Ss, s.Se, s.Al,
                                                             state.get(), 1);
    }
    SeedBuilder out;
    out.u8(0);
    const EncodeTable dcTable = putEncodeTable(out, dc);
    const EncodeTable acTable = putEncodeTable(out, ac);
    out.u8(static_cast<uint32_t>(blocks - 1)).u8(std::size(kScript) - 1);
    for (const Scan& s : kScript) {
        std::vector<uint8_t> data(static_cast<size_t>(blocks) * 200 + 2048);
        const int32_t len = static_cast<int32_t>(data.size());
        int32_t pos = 0;
        int16_t lastDC = 0;
        zeqiEncodeHuffmanStateInit_JPEG_8u(state.get());
        for (int b = 0; b <= blocks; ++b) {
            const int16_t* src = b < blocks ? block(b) : nullptr;
            const int32_t flush = b == blocks;
            uint8_t* dst = data.data();
            if (s.kind == kDCFirst)
                zeqiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(src, dst, len, &pos, &lastDC, s.Al,
                                                           dcTable.spec(), state.get(), flush);
            if (s.kind == kDCRefine)
                zeqiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(src, dst, len, &pos, s.Al, state.get(),
                                                            flush);
            if (s.kind == kACFirst)
                zeqiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(src, dst, len, &pos, s.Ss, s.Se, s.Al,
                                                           acTable.spec(), state.get(), flush);
            if (s.kind == kACRefine)
                zeqiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(src, dst, len, &pos, s.Ss, s.Se, s.Al,
                                                            acTable.spec(), state.get(), flush);
        }
        data.resize(static_cast<size_t>(pos));
        out.u8(static_cast<uint32_t>(s.kind)).u8(static_cast<uint32_t>(s.Ss));
        out.u8(static_cast<uint32_t>(s.Se)).u8(static_cast<uint32_t>(s.Al));
        out.u16(static_cast<uint32_t>(data.size())).append(data);
    }
    return out.bytes();
}

void seeds(SeedSet& set) {
    set.add(encodedSeed(21, 1, 8));
    set.add(encodedSeed(22, 12, 60));
    set.add(encodedSeed(23, 40, 500));
}

}  // namespace

ZEQ_FUZZ_TARGET(seeds, in) {
    in.u8();  // mode byte of the shared seed layout
    DecodeTable dc, ac;
    if (!takeDecodeTable(in, dc) || !takeDecodeTable(in, ac)) return;
    const int blocks = in.range(1, 64);
    const int scans = in.range(1, 10);
    std::vector<int16_t> coefficients(static_cast<size_t>(blocks) * 64, 0);
    RecordMemory<HuffmanDecodeState> state(zeqiDecodeHuffmanStateGetBufSize_JPEG_8u);
    for (int i = 0; i < scans && in.remaining() > 0; ++i) {
        const int kind = in.u8() % 4;
        const int32_t Ss = in.u8() % 64, Se = in.u8() % 64, Al = in.u8() % 16;
        const std::vector<uint8_t> data = in.take(in.u16());
        if (data.empty()) continue;
        const int32_t len = static_cast<int32_t>(data.size());
        zeqiDecodeHuffmanStateInit_JPEG_8u(state.get());
        int32_t pos = 0, marker = 0;
        int16_t lastDC = 0;
        for (int b = 0; b < blocks; ++b) {
            int16_t* dst = &coefficients[static_cast<size_t>(b) * 64];
            const int32_t before = pos;
            ZeqStatus status = StatusOk;
            if (kind == kDCFirst)
                status = zeqiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(
                    data.data(), len, &pos, dst, &lastDC, &marker, Al, dc.spec(), state.get());
            if (kind == kDCRefine)
                status = zeqiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(data.data(), len, &pos, dst,
                                                                     &marker, Al, state.get());
            if (kind == kACFirst)
                status = zeqiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(
                    data.data(), len, &pos, dst, &marker, Ss, Se, Al, ac.spec(), state.get());
            if (kind == kACRefine)
                status = zeqiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(
                    data.data(), len, &pos, dst, &marker, Ss, Se, Al, ac.spec(), state.get());
            if (pos < before || pos > len) std::abort();
            if (status != StatusOk) break;
        }
    }
}
