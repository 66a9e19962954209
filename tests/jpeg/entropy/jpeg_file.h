// A minimal baseline JPEG file around an entropy-coded scan, for the
// cross-checks with a real decoder and encoder: the marker segments are
// written and parsed here, the scan itself by the library's coders.
#ifndef ZEQ_TESTS_JPEG_ENTROPY_JPEG_FILE_H
#define ZEQ_TESTS_JPEG_ENTROPY_JPEG_FILE_H

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "container/jpeg_parser.h"
#include "container/jpeg_writer.h"
#include "tests/jpeg/entropy/huffman_test_support.h"
#include "tests/jpeg/entropy/photo_blocks.h"

namespace zeq::test {

struct FrameComponent {
    int id;
    int h, v;              // sampling factors
    int dcTable, acTable;  // table ids in the scan
    int widthInBlocks = 0, heightInBlocks = 0;
};

// Sizes are multiples of 8 times the largest sampling factor, so every
// component is whole MCUs.
struct Frame {
    int width = 0, height = 0;
    std::vector<FrameComponent> components;
    int restartInterval = 0;  // MCUs, 0 = none

    int maxH() const {
        int m = 1;
        for (const auto& c : components) m = std::max(m, c.h);
        return m;
    }
    int maxV() const {
        int m = 1;
        for (const auto& c : components) m = std::max(m, c.v);
        return m;
    }
    void computeBlockCounts() {
        for (auto& c : components) {
            c.widthInBlocks = width * c.h / maxH() / 8;
            c.heightInBlocks = height * c.v / maxV() / 8;
        }
    }
};

using Blocks = std::vector<std::vector<int16_t>>;  // per component, 64 per block

struct BlockRef {
    int component;
    int index;  // raster index among the component's blocks
};

// The blocks of the scan, MCU by MCU (one block per MCU for a lone component).
inline std::vector<std::vector<BlockRef>> mcuOrder(const Frame& f) {
    std::vector<std::vector<BlockRef>> mcus;
    if (f.components.size() == 1) {
        const auto& c = f.components[0];
        for (int i = 0; i < c.widthInBlocks * c.heightInBlocks; ++i) mcus.push_back({{0, i}});
        return mcus;
    }
    const int mcusX = f.width / (8 * f.maxH()), mcusY = f.height / (8 * f.maxV());
    for (int my = 0; my < mcusY; ++my)
        for (int mx = 0; mx < mcusX; ++mx) {
            std::vector<BlockRef> mcu;
            for (size_t ci = 0; ci < f.components.size(); ++ci) {
                const auto& c = f.components[ci];
                for (int y = 0; y < c.v; ++y)
                    for (int x = 0; x < c.h; ++x)
                        mcu.push_back({int(ci), (my * c.v + y) * c.widthInBlocks + mx * c.h + x});
            }
            mcus.push_back(mcu);
        }
    return mcus;
}

// One 8x8 luma component, or Y, Cb, Cr sampled 4:2:0 (tables 0 and 1).
inline Frame greyFrame(int width, int height, int interval) {
    Frame f;
    f.width = width;
    f.height = height;
    f.components = {{1, 1, 1, 0, 0}};
    f.restartInterval = interval;
    f.computeBlockCounts();
    return f;
}

inline Frame colour420Frame(int width, int height, int interval) {
    Frame f;
    f.width = width;
    f.height = height;
    f.components = {{1, 2, 2, 0, 0}, {2, 1, 1, 1, 1}, {3, 1, 1, 1, 1}};
    f.restartInterval = interval;
    f.computeBlockCounts();
    return f;
}

inline Blocks photoComponents(const Frame& f, uint32_t seed, PhotoBlockShape shape) {
    Blocks blocks;
    for (size_t c = 0; c < f.components.size(); ++c)
        blocks.push_back(photoBlocks(f.components[c].widthInBlocks * f.components[c].heightInBlocks,
                                     shape, seed + uint32_t(c)));
    return blocks;
}

using SegmentWriter = zeq::container::JpegWriter;

inline zeq::container::JpegFrame markerFrame(const Frame& f, uint8_t sofMarker) {
    zeq::container::JpegFrame frame;
    frame.sofMarker = sofMarker;
    frame.width = static_cast<uint16_t>(f.width);
    frame.height = static_cast<uint16_t>(f.height);
    for (const auto& c : f.components)
        frame.components.push_back({static_cast<uint8_t>(c.id), static_cast<uint8_t>(c.h),
                                    static_cast<uint8_t>(c.v), 0});
    return frame;
}

// SOI, DQT (all ones) and the frame header (SOF0 baseline, SOF2 progressive).
inline void writeFrameHeader(SegmentWriter& w, const Frame& f, uint8_t sofMarker) {
    w.startOfImage();
    zeq::container::JpegQuantTable ones;
    ones.zigzag.fill(1);
    w.quantTables(&ones, 1);
    w.frameHeader(markerFrame(f, sofMarker));
}

// One DHT segment per table: class 0 (DC) or 1 (AC), ids 0..count-1; a
// definition without values is left out.
inline void writeTables(SegmentWriter& w, int tableClass, const TableDefinition* tables,
                        int count) {
    for (int id = 0; id < count; ++id) {
        zeq::container::JpegHuffmanTable t;
        t.tableClass = static_cast<uint8_t>(tableClass);
        t.id = static_cast<uint8_t>(id);
        t.counts = tables[id].bits;
        int n = 0;
        for (uint8_t b : t.counts) n += b;
        t.symbols.assign(tables[id].values.begin(), tables[id].values.begin() + n);
        w.huffmanTables(&t, 1);
    }
}

// SOS for the frame components at `members` (indices into f.components).
inline void writeScanHeader(SegmentWriter& w, const Frame& f, const std::vector<int>& members,
                            int ss, int se, int ah, int al) {
    zeq::container::JpegScanHeader scan;
    for (int m : members) {
        const auto& c = f.components[size_t(m)];
        scan.components.push_back({static_cast<uint8_t>(m), static_cast<uint8_t>(c.dcTable),
                                   static_cast<uint8_t>(c.acTable)});
    }
    scan.ss = static_cast<uint8_t>(ss);
    scan.se = static_cast<uint8_t>(se);
    scan.ah = static_cast<uint8_t>(ah);
    scan.al = static_cast<uint8_t>(al);
    w.scanHeader(markerFrame(f, 0), scan);
}

// SOI, DQT (all ones), SOF0, DHT (DC tables 0..1, AC tables 0..1), DRI, SOS,
// the scan as given (RSTn markers included), EOI.
inline std::vector<uint8_t> writeBaselineFile(const Frame& f, const TableDefinition* dc,
                                              const TableDefinition* ac, int tableCount,
                                              const std::vector<uint8_t>& scan) {
    std::vector<uint8_t> bytes;
    SegmentWriter w(bytes);
    writeFrameHeader(w, f, 0xC0);
    writeTables(w, 0, dc, tableCount);
    writeTables(w, 1, ac, tableCount);
    if (f.restartInterval > 0) w.restartInterval(static_cast<uint16_t>(f.restartInterval));
    std::vector<int> all;
    for (size_t i = 0; i < f.components.size(); ++i) all.push_back(int(i));
    writeScanHeader(w, f, all, 0, 63, 0, 0);
    w.bytes(scan.data(), scan.size());
    w.endOfImage();
    return bytes;
}

// One scan of a progressive file: its components (indices into the frame's),
// spectral band and successive approximation, the tables it codes with (DHT
// segments written just before its SOS) and its entropy-coded data. A
// component's dcTable/acTable in the frame picks among the given tables.
struct ProgressiveScan {
    std::vector<int> components;
    int ss = 0, se = 0, ah = 0, al = 0;
    TableDefinition dc[4] = {}, ac[4] = {};  // by table id; ids without values are not written
    std::vector<uint8_t> data;
};

// SOI, DQT, SOF2, then per scan its DHTs, SOS and data; EOI.
inline std::vector<uint8_t> writeProgressiveFile(const Frame& f,
                                                 const std::vector<ProgressiveScan>& scans) {
    std::vector<uint8_t> bytes;
    SegmentWriter w(bytes);
    writeFrameHeader(w, f, 0xC2);
    for (const ProgressiveScan& s : scans) {
        writeTables(w, 0, s.dc, 4);
        writeTables(w, 1, s.ac, 4);
        writeScanHeader(w, f, s.components, s.ss, s.se, s.ah, s.al);
        w.bytes(s.data.data(), s.data.size());
    }
    w.endOfImage();
    return bytes;
}

// One scan as read from a file: the tables defined before its SOS (the last
// definition of each id wins), its header, and the bytes from the start of
// its data to the end of the file.
struct ParsedScan {
    std::vector<int> components;           // indices into the frame's components
    int dcTable[4] = {}, acTable[4] = {};  // per scan member
    int ss = 0, se = 63, ah = 0, al = 0;
    TableDefinition dc[4] = {}, ac[4] = {};
    std::vector<uint8_t> data;
};

struct ParsedFile {
    Frame frame;
    bool progressive = false;
    std::vector<ParsedScan> scans;
    TableDefinition dc[4] = {}, ac[4] = {};  // of the first scan
    std::vector<uint8_t> scan;               // the first scan's data to the end of the file
    bool ok = false;
};

// Frame header (SOF0, SOF1 or SOF2), DHT, DRI and every SOS with the data
// behind it, read by the container parser that zeqcodec uses.
inline ParsedFile parseJpegFile(const std::vector<uint8_t>& file) {
    ParsedFile p;
    container::JpegParsedFile parsed;
    std::string error;
    if (!container::parseJpegFile(file.data(), file.size(), parsed, &error)) return p;
    const container::JpegFrame& frame = parsed.frame;
    if (frame.sofMarker == container::MarkerSOF3) return p;
    p.progressive = frame.sofMarker == container::MarkerSOF2;
    p.frame.width = frame.width;
    p.frame.height = frame.height;
    for (const container::JpegComponent& c : frame.components)
        p.frame.components.push_back({c.id, c.h, c.v, 0, 0});
    p.frame.computeBlockCounts();
    p.frame.restartInterval = parsed.scans[0].tables.restartInterval;
    for (const container::JpegParsedScan& s : parsed.scans) {
        ParsedScan scan;
        for (size_t i = 0; i < s.header.components.size(); ++i) {
            scan.components.push_back(s.header.components[i].componentIndex);
            scan.dcTable[i] = s.header.components[i].dcTable;
            scan.acTable[i] = s.header.components[i].acTable;
        }
        scan.ss = s.header.ss;
        scan.se = s.header.se;
        scan.ah = s.header.ah;
        scan.al = s.header.al;
        for (int t = 0; t < 4; ++t) {
            if (s.tables.dcDefined[size_t(t)]) scan.dc[t] = definitionOf(s.tables.dc[size_t(t)]);
            if (s.tables.acDefined[size_t(t)]) scan.ac[t] = definitionOf(s.tables.ac[size_t(t)]);
        }
        scan.data.assign(file.begin() + long(s.dataOffset), file.end());
        p.scans.push_back(std::move(scan));
    }
    // The frame's table choice is that of the first scan (all members of a
    // baseline scan).
    const ParsedScan& first = p.scans[0];
    for (size_t i = 0; i < first.components.size(); ++i) {
        p.frame.components[size_t(first.components[i])].dcTable = first.dcTable[i];
        p.frame.components[size_t(first.components[i])].acTable = first.acTable[i];
    }
    for (int t = 0; t < 4; ++t) {
        p.dc[t] = first.dc[t];
        p.ac[t] = first.ac[t];
    }
    p.scan = first.data;
    p.ok = true;
    return p;
}

// The frame, the tables and the bytes from the start of the scan data to the
// end of the file, of a baseline file with one scan.
inline ParsedFile parseBaselineFile(const std::vector<uint8_t>& file) {
    return parseJpegFile(file);
}

}  // namespace zeq::test

#endif  // ZEQ_TESTS_JPEG_ENTROPY_JPEG_FILE_H
