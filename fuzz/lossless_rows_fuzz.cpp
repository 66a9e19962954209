// The lossless row decoder over 1..4 interleaved components (more are taken
// as 4) with tables from the input, then the reconstruction of the decoded
// differences by the predictor the input names.
#include <cstdlib>

#include "fuzz/fuzz_support.h"

namespace {

using namespace zeq::fuzz;

constexpr int kMaxRows = 64;

std::vector<uint8_t> encodedSeed(uint32_t seed, int comps, int width, int rows, int predictor) {
    SeedRandom rng(seed);
    const int P = 8, Pt = 0;
    // Smooth samples, then their differences as an encoder forms them.
    std::vector<std::vector<int16_t>> diffs(static_cast<size_t>(comps) * rows,
                                            std::vector<int16_t>(static_cast<size_t>(width)));
    int32_t counts[4][257] = {};
    for (int c = 0; c < comps; ++c) {
        std::vector<int16_t> prev(static_cast<size_t>(width)), row(static_cast<size_t>(width));
        for (int y = 0; y < rows; ++y) {
            for (int x = 0; x < width; ++x)
                row[static_cast<size_t>(x)] =
                    static_cast<int16_t>((x * 3 + y * 5 + c * 40 + rng.range(0, 6)) & 255);
            std::vector<int16_t>& d = diffs[static_cast<size_t>(y * comps + c)];
            if (y == 0)
                zeqiDiffPredFirstRow_JPEG_16s_C1(row.data(), d.data(), width, P, Pt);
            else
                zeqiDiffPredRow_JPEG_16s_C1(row.data(), prev.data(), d.data(), width, predictor);
            for (int x = 0; x < width; ++x)
                zeqiGetHuffmanStatisticsOne_JPEG_16s_C1(&d[static_cast<size_t>(x)], counts[c]);
            prev = row;
        }
    }
    SeedBuilder out;
    out.u8(0).u8(static_cast<uint32_t>(comps - 1)).u16(static_cast<uint32_t>(width - 1));
    std::vector<EncodeTable> tables;
    for (int c = 0; c < comps; ++c) tables.push_back(putEncodeTable(out, counts[c]));
    out.u8(P - 2).u8(Pt).u8(static_cast<uint32_t>(predictor - 1));
    const HuffmanEncodeSpec* specs[4] = {};
    for (int c = 0; c < comps; ++c) specs[c] = tables[static_cast<size_t>(c)].spec();
    RecordMemory<HuffmanEncodeState> state(zeqiEncodeHuffmanStateGetBufSize_JPEG_8u);
    zeqiEncodeHuffmanStateInit_JPEG_8u(state.get());
    std::vector<uint8_t> stream(static_cast<size_t>(comps) * width * rows * 4 + 64);
    const int32_t len = static_cast<int32_t>(stream.size());
    int32_t pos = 0;
    for (int y = 0; y <= rows; ++y) {
        const int16_t* planes[4] = {};
        for (int c = 0; c < comps && y < rows; ++c)
            planes[c] = diffs[static_cast<size_t>(y * comps + c)].data();
        zeqiEncodeHuffmanRow_JPEG_16s1u_P4C1(y < rows ? planes : nullptr, width, comps,
                                             stream.data(), len, &pos, specs, state.get(),
                                             y == rows);
    }
    stream.resize(static_cast<size_t>(pos));
    out.append(stream);
    return out.bytes();
}

void seeds(SeedSet& set) {
    set.add(encodedSeed(31, 1, 1, 1, 1));
    set.add(encodedSeed(32, 1, 33, 6, 4));
    set.add(encodedSeed(33, 3, 17, 5, 7));
    set.add(encodedSeed(34, 4, 9, 8, 2));
}

}  // namespace

ZEQ_FUZZ_TARGET(seeds, in) {
    in.u8();
    const int32_t comps = in.range(1, 6);
    const int32_t width = in.range(1, 1024);
    const int used = std::min(comps, 4);
    DecodeTable tables[4];
    const HuffmanDecodeSpec* specs[4] = {};
    for (int c = 0; c < used; ++c) {
        if (!takeDecodeTable(in, tables[c])) return;
        specs[c] = tables[c].spec();
    }
    const int32_t P = in.range(2, 16), Pt = in.u8() % 16, predictor = in.range(1, 8);
    const std::vector<uint8_t> stream = in.rest();
    if (stream.empty()) return;
    const int32_t len = static_cast<int32_t>(stream.size());

    std::vector<std::vector<int16_t>> diffs(static_cast<size_t>(used) * kMaxRows);
    RecordMemory<HuffmanDecodeState> state(zeqiDecodeHuffmanStateGetBufSize_JPEG_8u);
    zeqiDecodeHuffmanStateInit_JPEG_8u(state.get());
    int32_t pos = 0, marker = 0, rows = 0;
    for (; rows < kMaxRows; ++rows) {
        int16_t* planes[4] = {};
        for (int c = 0; c < used; ++c) {
            auto& row = diffs[static_cast<size_t>(rows * used + c)];
            row.assign(static_cast<size_t>(width), 0);
            planes[c] = row.data();
        }
        const int32_t before = pos;
        const ZeqStatus status = zeqiDecodeHuffmanRow_JPEG_1u16s_C1P4(
            stream.data(), len, &pos, planes, width, comps, &marker, specs, state.get());
        if (pos < before || pos > len) std::abort();
        if (status != StatusOk) break;
    }
    // Samples from the differences of the rows decoded whole.
    for (int c = 0; c < used; ++c) {
        std::vector<int16_t> prev(static_cast<size_t>(width)), row(static_cast<size_t>(width));
        for (int y = 0; y < rows; ++y) {
            const int16_t* d = diffs[static_cast<size_t>(y * used + c)].data();
            if (y == 0)
                zeqiReconstructPredFirstRow_JPEG_16s_C1(d, row.data(), width, P, Pt);
            else
                zeqiReconstructPredRow_JPEG_16s_C1(d, prev.data(), row.data(), width, predictor);
            prev.swap(row);
        }
    }
}
