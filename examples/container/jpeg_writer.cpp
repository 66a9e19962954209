#include "container/jpeg_writer.h"

namespace zeq::container {

void JpegWriter::marker(uint8_t code) {
    u8(0xFF);
    u8(code);
}

void JpegWriter::u16(unsigned value) {
    u8(value >> 8);
    u8(value & 0xFF);
}

void JpegWriter::jfifHeader() {
    static const uint8_t kBody[] = {'J', 'F', 'I', 'F', 0, 1, 1, 0, 0, 1, 0, 1, 0, 0};
    marker(MarkerAPP0);
    u16(2 + sizeof kBody);
    bytes(kBody, sizeof kBody);
}

void JpegWriter::quantTables(const JpegQuantTable* tables, size_t count) {
    size_t length = 2;
    for (size_t i = 0; i < count; ++i) length += 1 + 64 * (tables[i].precision ? 2u : 1u);
    marker(MarkerDQT);
    u16(static_cast<unsigned>(length));
    for (size_t i = 0; i < count; ++i) {
        const JpegQuantTable& t = tables[i];
        u8(unsigned(t.precision) << 4 | t.id);
        for (uint16_t q : t.zigzag) t.precision ? u16(q) : u8(q);
    }
}

void JpegWriter::frameHeader(const JpegFrame& frame) {
    marker(frame.sofMarker);
    u16(static_cast<unsigned>(8 + 3 * frame.components.size()));
    u8(frame.precision);
    u16(frame.height);
    u16(frame.width);
    u8(static_cast<unsigned>(frame.components.size()));
    for (const JpegComponent& c : frame.components) {
        u8(c.id);
        u8(unsigned(c.h) << 4 | c.v);
        u8(c.quantTable);
    }
}

void JpegWriter::huffmanTables(const JpegHuffmanTable* tables, size_t count) {
    size_t length = 2;
    for (size_t i = 0; i < count; ++i)
        if (!tables[i].symbols.empty()) length += 17 + tables[i].symbols.size();
    if (length == 2) return;
    marker(MarkerDHT);
    u16(static_cast<unsigned>(length));
    for (size_t i = 0; i < count; ++i) {
        const JpegHuffmanTable& t = tables[i];
        if (t.symbols.empty()) continue;
        u8(unsigned(t.tableClass) << 4 | t.id);
        bytes(t.counts.data(), t.counts.size());
        bytes(t.symbols.data(), t.symbols.size());
    }
}

void JpegWriter::restartInterval(uint16_t mcus) {
    marker(MarkerDRI);
    u16(4);
    u16(mcus);
}

void JpegWriter::scanHeader(const JpegFrame& frame, const JpegScanHeader& scan) {
    marker(MarkerSOS);
    u16(static_cast<unsigned>(6 + 2 * scan.components.size()));
    u8(static_cast<unsigned>(scan.components.size()));
    for (const JpegScanComponent& c : scan.components) {
        u8(frame.components[c.componentIndex].id);
        u8(unsigned(c.dcTable) << 4 | c.acTable);
    }
    u8(scan.ss);
    u8(scan.se);
    u8(unsigned(scan.ah) << 4 | scan.al);
}

}  // namespace zeq::container
