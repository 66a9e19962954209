// Progressive scans driven through the library, shared by the tests and the
// benchmarks: scan scripts, the blocks of a scan in coding order, and whole
// scans through the progressive statistics, encoders and decoders.
#ifndef ZEQ_TESTS_JPEG_ENTROPY_PROGRESSIVE_DRIVERS_H
#define ZEQ_TESTS_JPEG_ENTROPY_PROGRESSIVE_DRIVERS_H

#include <algorithm>
#include <utility>
#include <vector>

#include "tests/jpeg/entropy/huffman_test_support.h"
#include "tests/jpeg/entropy/jpeg_file.h"
#include "zeqj.h"

namespace zeq::test {

inline ProgressiveScan scanOf(std::vector<int> components, int ss, int se, int ah, int al) {
    ProgressiveScan s;
    s.components = std::move(components);
    s.ss = ss;
    s.se = se;
    s.ah = ah;
    s.al = al;
    return s;
}

// The script libjpeg's simple progression uses (grey: one component; colour:
// Y, Cb, Cr): DC first with Al = 1, luma AC in two bands with Al = 2, chroma
// AC with Al = 1, then the refinements down to bit 0.
inline std::vector<ProgressiveScan> standardScript(bool colour) {
    if (!colour)
        return {scanOf({0}, 0, 0, 0, 1),  scanOf({0}, 1, 5, 0, 2), scanOf({0}, 6, 63, 0, 2),
                scanOf({0}, 1, 63, 2, 1), scanOf({0}, 0, 0, 1, 0), scanOf({0}, 1, 63, 1, 0)};
    return {scanOf({0, 1, 2}, 0, 0, 0, 1), scanOf({0}, 1, 5, 0, 2),  scanOf({2}, 1, 63, 0, 1),
            scanOf({1}, 1, 63, 0, 1),      scanOf({0}, 6, 63, 0, 2), scanOf({0}, 1, 63, 2, 1),
            scanOf({0, 1, 2}, 0, 0, 1, 0), scanOf({2}, 1, 63, 1, 0), scanOf({1}, 1, 63, 1, 0),
            scanOf({0}, 1, 63, 1, 0)};
}

// The blocks of a scan in coding order: raster order of a lone component,
// MCU order otherwise. BlockRef::component indexes the frame's components.
inline std::vector<BlockRef> scanBlocks(const Frame& f, const std::vector<int>& members) {
    Frame sub = f;
    sub.components.clear();
    for (int m : members) sub.components.push_back(f.components[size_t(m)]);
    std::vector<BlockRef> order;
    for (const auto& mcu : mcuOrder(sub))
        for (BlockRef b : mcu) order.push_back({members[size_t(b.component)], b.index});
    return order;
}

inline int16_t* blockAt(Blocks& blocks, BlockRef b) {
    return &blocks[size_t(b.component)][64 * size_t(b.index)];
}
inline const int16_t* blockAt(const Blocks& blocks, BlockRef b) {
    return &blocks[size_t(b.component)][64 * size_t(b.index)];
}

// The table a frame component codes with in a scan of class dc or ac.
inline int tableOf(const Frame& f, int component, bool dc) {
    return dc ? f.components[size_t(component)].dcTable : f.components[size_t(component)].acTable;
}

// First failure wins.
inline void keepFirst(ZeqStatus& status, ZeqStatus next) {
    if (status == StatusOk) status = next;
}

// Statistics of one scan through the library: counts[0..1] per table id.
struct ScanCounts {
    std::vector<int32_t> dc[2] = {std::vector<int32_t>(257), std::vector<int32_t>(257)};
    std::vector<int32_t> ac[2] = {std::vector<int32_t>(257), std::vector<int32_t>(257)};
};

// Every function that runs a scan takes the scan's blocks in coding order
// (scanBlocks), or works them out itself.
inline ScanCounts libraryScanStatistics(const Frame& f, const Blocks& blocks,
                                        const ProgressiveScan& s,
                                        const std::vector<BlockRef>& order, ZeqStatus& status) {
    ScanCounts counts;
    EncodeStateBuffer state = freshEncodeState();
    std::vector<int16_t> lastDC(f.components.size(), 0);
    const bool dcScan = s.ss == 0;
    auto count = [&](const int16_t* block, int component, int32_t flush) {
        int32_t* acCounts = counts.ac[tableOf(f, component, false)].data();
        if (dcScan)  // refinement bits have no symbols
            return s.ah != 0 || flush != 0
                       ? StatusOk
                       : zeqiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(
                             block, counts.dc[tableOf(f, component, true)].data(),
                             &lastDC[size_t(component)], s.al);
        return s.ah == 0 ? zeqiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(
                               block, acCounts, s.ss, s.se, s.al, state.get(), flush)
                         : zeqiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(
                               block, acCounts, s.ss, s.se, s.al, state.get(), flush);
    };
    for (BlockRef b : order) keepFirst(status, count(blockAt(blocks, b), b.component, 0));
    keepFirst(status, count(nullptr, s.components[0], 1));
    return counts;
}
inline ScanCounts libraryScanStatistics(const Frame& f, const Blocks& blocks,
                                        const ProgressiveScan& s, ZeqStatus& status) {
    return libraryScanStatistics(f, blocks, s, scanBlocks(f, s.components), status);
}

// Optimal tables from a scan's counts; a table without counts gets none.
inline void setOptimalTables(ProgressiveScan& s, const ScanCounts& counts) {
    for (int t = 0; t < 2; ++t) {
        auto used = [](const std::vector<int32_t>& v) {
            return std::any_of(v.begin(), v.end(), [](int32_t n) { return n > 0; });
        };
        s.dc[t] = used(counts.dc[t]) ? optimalDefinition(counts.dc[t]) : TableDefinition{};
        s.ac[t] = used(counts.ac[t]) ? optimalDefinition(counts.ac[t]) : TableDefinition{};
    }
}

// One scan through the library's encoders with the scan's tables, flushed at
// the end, into `out` (all of it the destination); stops at the first
// failure. Returns the bytes written.
inline int32_t libraryEncodeScan(const Frame& f, const Blocks& blocks, const ProgressiveScan& s,
                                 const std::vector<BlockRef>& order, std::vector<uint8_t>& out,
                                 ZeqStatus& status) {
    EncodeSpecBuffer dc[2] = {encodeSpec(s.dc[0]), encodeSpec(s.dc[1])};
    EncodeSpecBuffer ac[2] = {encodeSpec(s.ac[0]), encodeSpec(s.ac[1])};
    EncodeStateBuffer state = freshEncodeState();
    const int32_t room = int32_t(out.size());
    int32_t pos = 0;
    std::vector<int16_t> lastDC(f.components.size(), 0);
    const bool dcScan = s.ss == 0;
    auto code = [&](const int16_t* block, int component, int32_t flush) {
        const HuffmanEncodeSpec* dcTable = dc[tableOf(f, component, true)].get();
        const HuffmanEncodeSpec* acTable = ac[tableOf(f, component, false)].get();
        int16_t* last = &lastDC[size_t(component)];
        if (dcScan && s.ah == 0)
            return zeqiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(block, out.data(), room, &pos, last,
                                                              s.al, dcTable, state.get(), flush);
        if (dcScan)
            return zeqiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(block, out.data(), room, &pos, s.al,
                                                               state.get(), flush);
        if (s.ah == 0)
            return zeqiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(
                block, out.data(), room, &pos, s.ss, s.se, s.al, acTable, state.get(), flush);
        return zeqiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(block, out.data(), room, &pos, s.ss,
                                                           s.se, s.al, acTable, state.get(), flush);
    };
    ZeqStatus first = StatusOk;
    for (BlockRef b : order)
        if ((first = code(blockAt(blocks, b), b.component, 0)) != StatusOk) break;
    if (first == StatusOk) first = code(nullptr, s.components[0], 1);
    keepFirst(status, first);
    return pos;
}
// The same into a destination of `room` bytes; returns what was written.
inline std::vector<uint8_t> libraryEncodeScan(const Frame& f, const Blocks& blocks,
                                              const ProgressiveScan& s, ZeqStatus& status,
                                              int32_t room = 1 << 22) {
    std::vector<uint8_t> out(size_t(room), 0xEE);
    out.resize(size_t(libraryEncodeScan(f, blocks, s, scanBlocks(f, s.components), out, status)));
    return out;
}

// The whole script: statistics, optimal tables and data of every scan.
inline std::vector<ProgressiveScan> libraryEncodeScript(const Frame& f, const Blocks& blocks,
                                                        std::vector<ProgressiveScan> script,
                                                        ZeqStatus& status) {
    for (ProgressiveScan& s : script) {
        setOptimalTables(s, libraryScanStatistics(f, blocks, s, status));
        s.data = libraryEncodeScan(f, blocks, s, status);
    }
    return script;
}

// One scan (tables dc/ac by id, data to the end of the file) through the
// library's decoders into `blocks`, which keeps what earlier scans decoded.
// Returns the first failure.
inline ZeqStatus libraryDecodeScan(const Frame& f, Blocks& blocks,
                                   const std::vector<BlockRef>& order, int ss, int se, int ah,
                                   int al, const TableDefinition* dcDefs,
                                   const TableDefinition* acDefs,
                                   const std::vector<uint8_t>& data) {
    DecodeSpecBuffer dc[4], ac[4];
    for (int t = 0; t < 4; ++t) {
        if (!dcDefs[t].values.empty()) dc[t] = decodeSpec(dcDefs[t]);
        if (!acDefs[t].values.empty()) ac[t] = decodeSpec(acDefs[t]);
    }
    DecodeStateBuffer state = freshDecodeState();
    int32_t pos = 0, marker = 0;
    const int32_t len = int32_t(data.size());
    std::vector<int16_t> lastDC(f.components.size(), 0);
    for (BlockRef b : order) {
        int16_t* block = blockAt(blocks, b);
        const HuffmanDecodeSpec* dcTable = dc[tableOf(f, b.component, true)].get();
        const HuffmanDecodeSpec* acTable = ac[tableOf(f, b.component, false)].get();
        ZeqStatus status;
        if (ss == 0 && ah == 0)
            status = zeqiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(data.data(), len, &pos, block,
                                                                &lastDC[size_t(b.component)],
                                                                &marker, al, dcTable, state.get());
        else if (ss == 0)
            status = zeqiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(data.data(), len, &pos, block,
                                                                 &marker, al, state.get());
        else if (ah == 0)
            status = zeqiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(
                data.data(), len, &pos, block, &marker, ss, se, al, acTable, state.get());
        else
            status = zeqiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(
                data.data(), len, &pos, block, &marker, ss, se, al, acTable, state.get());
        if (status != StatusOk) return status;
    }
    return StatusOk;
}
inline ZeqStatus libraryDecodeScan(const Frame& f, Blocks& blocks, const std::vector<int>& members,
                                   int ss, int se, int ah, int al, const TableDefinition* dcDefs,
                                   const TableDefinition* acDefs,
                                   const std::vector<uint8_t>& data) {
    return libraryDecodeScan(f, blocks, scanBlocks(f, members), ss, se, ah, al, dcDefs, acDefs,
                             data);
}

}  // namespace zeq::test

#endif  // ZEQ_TESTS_JPEG_ENTROPY_PROGRESSIVE_DRIVERS_H
