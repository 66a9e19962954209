// A minimal baseline JPEG file around an entropy-coded scan, for the
// cross-checks with a real decoder and encoder: the marker segments are
// written and parsed here, the scan itself by the library's coders.
#ifndef ZEQ_TESTS_JPEG_ENTROPY_JPEG_FILE_H
#define ZEQ_TESTS_JPEG_ENTROPY_JPEG_FILE_H

#include <algorithm>
#include <cstdint>
#include <vector>

#include "tests/jpeg/entropy/huffman_test_support.h"

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

class SegmentWriter {
public:
    void marker(uint8_t m) {
        bytes.push_back(0xFF);
        bytes.push_back(m);
    }
    void u8(int v) { bytes.push_back(static_cast<uint8_t>(v)); }
    void u16(int v) {
        u8(v >> 8);
        u8(v & 0xFF);
    }
    std::vector<uint8_t> bytes;
};

// SOI, DQT (all ones), SOF0, DHT (DC tables 0..1, AC tables 0..1), DRI, SOS,
// the scan as given (RSTn markers included), EOI.
inline std::vector<uint8_t> writeBaselineFile(const Frame& f, const TableDefinition* dc,
                                              const TableDefinition* ac, int tableCount,
                                              const std::vector<uint8_t>& scan) {
    SegmentWriter w;
    w.marker(0xD8);
    w.marker(0xDB);
    w.u16(2 + 65);
    w.u8(0);
    for (int i = 0; i < 64; ++i) w.u8(1);
    w.marker(0xC0);
    w.u16(8 + 3 * int(f.components.size()));
    w.u8(8);
    w.u16(f.height);
    w.u16(f.width);
    w.u8(int(f.components.size()));
    for (const auto& c : f.components) {
        w.u8(c.id);
        w.u8(c.h << 4 | c.v);
        w.u8(0);
    }
    for (int cls = 0; cls < 2; ++cls)
        for (int id = 0; id < tableCount; ++id) {
            const TableDefinition& t = cls == 0 ? dc[id] : ac[id];
            int count = 0;
            for (uint8_t b : t.bits) count += b;
            w.marker(0xC4);
            w.u16(2 + 1 + 16 + count);
            w.u8(cls << 4 | id);
            for (uint8_t b : t.bits) w.u8(b);
            for (int k = 0; k < count; ++k) w.u8(t.values[k]);
        }
    if (f.restartInterval > 0) {
        w.marker(0xDD);
        w.u16(4);
        w.u16(f.restartInterval);
    }
    w.marker(0xDA);
    w.u16(6 + 2 * int(f.components.size()));
    w.u8(int(f.components.size()));
    for (const auto& c : f.components) {
        w.u8(c.id);
        w.u8(c.dcTable << 4 | c.acTable);
    }
    w.u8(0);
    w.u8(63);
    w.u8(0);
    w.bytes.insert(w.bytes.end(), scan.begin(), scan.end());
    w.marker(0xD9);
    return w.bytes;
}

// The frame, the tables and the bytes from the start of the scan data to the
// end of the file, of a baseline file with one scan.
struct ParsedFile {
    Frame frame;
    TableDefinition dc[4], ac[4];
    std::vector<uint8_t> scan;
    bool ok = false;
};

inline ParsedFile parseBaselineFile(const std::vector<uint8_t>& file) {
    ParsedFile p;
    size_t at = 2;  // after SOI
    while (at + 4 <= file.size()) {
        if (file[at] != 0xFF) return p;
        const uint8_t m = file[at + 1];
        const size_t length = size_t(file[at + 2]) << 8 | file[at + 3];
        const uint8_t* s = file.data() + at + 4;
        if (m == 0xC0) {
            p.frame.height = s[1] << 8 | s[2];
            p.frame.width = s[3] << 8 | s[4];
            for (int i = 0; i < s[5]; ++i)
                p.frame.components.push_back(
                    {s[6 + 3 * i], s[7 + 3 * i] >> 4, s[7 + 3 * i] & 15, 0, 0});
        } else if (m == 0xC4) {
            for (size_t k = 0; k < length - 2;) {
                TableDefinition& t = (s[k] >> 4) == 0 ? p.dc[s[k] & 3] : p.ac[s[k] & 3];
                int count = 0;
                for (int i = 0; i < 16; ++i) count += t.bits[i] = s[k + 1 + i];
                t.values.assign(s + k + 17, s + k + 17 + count);
                k += 17 + size_t(count);
            }
        } else if (m == 0xDD) {
            p.frame.restartInterval = s[0] << 8 | s[1];
        } else if (m == 0xDA) {
            for (int i = 0; i < s[0]; ++i) {
                auto& c = p.frame.components[i];
                c.dcTable = s[2 + 2 * i] >> 4;
                c.acTable = s[2 + 2 * i] & 15;
            }
            p.scan.assign(file.begin() + long(at + 2 + length), file.end());
            p.frame.computeBlockCounts();
            p.ok = true;
            return p;
        }
        at += 2 + length;
    }
    return p;
}

}  // namespace zeq::test

#endif  // ZEQ_TESTS_JPEG_ENTROPY_JPEG_FILE_H
