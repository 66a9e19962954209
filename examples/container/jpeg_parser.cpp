#include "container/jpeg_parser.h"

#include <cstring>
#include <string>

namespace zeq::container {
namespace {

constexpr uint8_t kMarkerAPP14 = 0xEE;  // Adobe colour transform segment

// Bounds-checked big-endian reader over one marker segment's payload.
class SegmentReader {
public:
    SegmentReader(const uint8_t* data, size_t size) : data_(data), size_(size) {}
    size_t remaining() const { return size_ - at_; }
    bool u8(uint8_t& v) {
        if (at_ >= size_) return false;
        v = data_[at_++];
        return true;
    }
    bool u16(uint16_t& v) {
        if (remaining() < 2) return false;
        v = static_cast<uint16_t>(data_[at_] << 8 | data_[at_ + 1]);
        at_ += 2;
        return true;
    }

private:
    const uint8_t* data_;
    size_t size_;
    size_t at_ = 0;
};

std::string hex(unsigned v) {
    static const char digits[] = "0123456789ABCDEF";
    return std::string("0x") + digits[(v >> 4) & 15] + digits[v & 15];
}

bool fail(std::string* error, const std::string& message) {
    if (error) *error = message;
    return false;
}

bool isRestart(uint8_t m) { return m >= MarkerRST0 && m <= MarkerRST0 + 7; }

const char* frameName(uint8_t m) {
    switch (m) {
        case 0xC5:
        case 0xC6:
        case 0xC7:
            return "hierarchical (differential) frames are not supported";
        case 0xC9:
        case 0xCA:
        case 0xCB:
        case 0xCD:
        case 0xCE:
        case 0xCF:
            return "arithmetic-coded frames are not supported";
        default:
            return nullptr;
    }
}

bool parseFrame(uint8_t marker, SegmentReader r, JpegFrame& frame, std::string* error) {
    frame = JpegFrame{};
    frame.sofMarker = marker;
    uint8_t count = 0;
    if (!r.u8(frame.precision) || !r.u16(frame.height) || !r.u16(frame.width) || !r.u8(count))
        return fail(error, "frame header is truncated");
    const bool lossless = marker == MarkerSOF3;
    const bool precisionOk = lossless               ? frame.precision >= 2 && frame.precision <= 16
                             : marker == MarkerSOF0 ? frame.precision == 8
                                                    : frame.precision == 8 || frame.precision == 12;
    if (!precisionOk)
        return fail(error, "frame sample precision " + std::to_string(frame.precision) +
                               " is not valid for this frame type");
    if (frame.height == 0)
        return fail(error, "frame height 0 (height given by a DNL marker) is not supported");
    if (frame.width == 0) return fail(error, "frame width is 0");
    if (count < 1 || count > 4)
        return fail(error, "frame has " + std::to_string(count) + " components (1 to 4 allowed)");
    if (r.remaining() != size_t(count) * 3) return fail(error, "frame header length is wrong");
    for (uint8_t i = 0; i < count; ++i) {
        JpegComponent c;
        uint8_t sampling = 0;
        r.u8(c.id);
        r.u8(sampling);
        r.u8(c.quantTable);
        c.h = sampling >> 4;
        c.v = sampling & 15;
        if (c.h < 1 || c.h > 4 || c.v < 1 || c.v > 4)
            return fail(error, "component sampling factors must be 1 to 4");
        if (c.quantTable > 3) return fail(error, "component quantization table id above 3");
        for (const JpegComponent& other : frame.components)
            if (other.id == c.id) return fail(error, "two frame components share an id");
        frame.components.push_back(c);
    }
    return true;
}

bool parseQuantTables(SegmentReader r, JpegTables& tables, std::string* error) {
    while (r.remaining() > 0) {
        uint8_t pqTq = 0;
        r.u8(pqTq);
        JpegQuantTable t;
        t.precision = pqTq >> 4;
        t.id = pqTq & 15;
        if (t.precision > 1 || t.id > 3)
            return fail(error, "DQT table precision or id out of range");
        for (uint16_t& q : t.zigzag) {
            if (t.precision == 0) {
                uint8_t v = 0;
                if (!r.u8(v)) return fail(error, "DQT segment is truncated");
                q = v;
            } else if (!r.u16(q)) {
                return fail(error, "DQT segment is truncated");
            }
        }
        tables.quant[t.id] = t;
        tables.quantDefined[t.id] = true;
    }
    return true;
}

bool parseHuffmanTables(SegmentReader r, JpegTables& tables, std::string* error) {
    while (r.remaining() > 0) {
        uint8_t tcTh = 0;
        r.u8(tcTh);
        JpegHuffmanTable t;
        t.tableClass = tcTh >> 4;
        t.id = tcTh & 15;
        if (t.tableClass > 1 || t.id > 3) return fail(error, "DHT table class or id out of range");
        size_t total = 0;
        for (uint8_t& n : t.counts) {
            if (!r.u8(n)) return fail(error, "DHT segment is truncated");
            total += n;
        }
        if (total > 256) return fail(error, "DHT table defines more than 256 codes");
        if (r.remaining() < total) return fail(error, "DHT segment is truncated");
        t.symbols.resize(total);
        for (uint8_t& s : t.symbols) r.u8(s);
        if (t.tableClass == 0) {
            tables.dc[t.id] = t;
            tables.dcDefined[t.id] = true;
        } else {
            tables.ac[t.id] = t;
            tables.acDefined[t.id] = true;
        }
    }
    return true;
}

bool parseScanHeader(SegmentReader r, const JpegFrame& frame, JpegScanHeader& scan,
                     std::string* error) {
    uint8_t count = 0;
    r.u8(count);
    if (count < 1 || count > 4 || r.remaining() != size_t(count) * 2 + 3)
        return fail(error, "scan header has a wrong length or component count");
    for (uint8_t i = 0; i < count; ++i) {
        uint8_t id = 0, tables = 0;
        r.u8(id);
        r.u8(tables);
        JpegScanComponent c;
        c.componentIndex = 0xFF;
        for (size_t k = 0; k < frame.components.size(); ++k)
            if (frame.components[k].id == id) c.componentIndex = static_cast<uint8_t>(k);
        if (c.componentIndex == 0xFF)
            return fail(error, "scan names component " + std::to_string(id) +
                                   " that the frame does not have");
        for (const JpegScanComponent& other : scan.components)
            if (other.componentIndex == c.componentIndex)
                return fail(error, "scan names a component twice");
        c.dcTable = tables >> 4;
        c.acTable = tables & 15;
        if (c.dcTable > 3 || c.acTable > 3) return fail(error, "scan table id above 3");
        scan.components.push_back(c);
    }
    uint8_t approximation = 0;
    r.u8(scan.ss);
    r.u8(scan.se);
    r.u8(approximation);
    scan.ah = approximation >> 4;
    scan.al = approximation & 15;
    return true;
}

// The end of the entropy-coded data that starts at `from`: the position of
// the 0xFF (the first of any fill bytes) of the first marker other than RSTn,
// or the end of the buffer.
size_t endOfEntropyData(const uint8_t* data, size_t size, size_t from) {
    size_t i = from;
    while (i < size) {
        const void* ff = std::memchr(data + i, 0xFF, size - i);
        if (!ff) return size;
        i = size_t(static_cast<const uint8_t*>(ff) - data);
        size_t j = i + 1;
        while (j < size && data[j] == 0xFF) ++j;
        if (j >= size) return size;
        if (data[j] == 0x00 || isRestart(data[j])) {
            i = j + 1;
            continue;
        }
        return i;
    }
    return size;
}

}  // namespace

bool parseJpegFile(const uint8_t* data, size_t size, JpegParsedFile& file, std::string* error) {
    file = JpegParsedFile{};
    if (!data || size < 2 || data[0] != 0xFF || data[1] != MarkerSOI)
        return fail(error, "not a JPEG file (no SOI marker)");
    JpegTables tables;
    bool haveFrame = false;
    size_t at = 2;
    while (true) {
        if (at >= size) break;  // a file cut off before EOI: what was read stands
        if (data[at] != 0xFF) return fail(error, "expected a marker at byte " + std::to_string(at));
        while (at < size && data[at] == 0xFF) ++at;  // fill bytes
        if (at >= size) break;
        const uint8_t marker = data[at++];
        if (marker == MarkerEOI) {
            file.sawEndOfImage = true;
            break;
        }
        if (marker == MarkerSOI) return fail(error, "a second SOI marker");
        if (marker == 0x00) return fail(error, "stray 0xFF 0x00 outside a scan");
        if (isRestart(marker) || marker == 0x01) continue;  // stand-alone markers
        if (size - at < 2) return fail(error, "marker " + hex(marker) + " is truncated");
        const size_t length = size_t(data[at]) << 8 | data[at + 1];
        if (length < 2 || length > size - at)
            return fail(error, "segment of marker " + hex(marker) + " runs past the file end");
        const SegmentReader payload(data + at + 2, length - 2);
        const size_t next = at + length;
        if (const char* refused = frameName(marker)) return fail(error, refused);
        switch (marker) {
            case MarkerSOF0:
            case MarkerSOF1:
            case MarkerSOF2:
            case MarkerSOF3:
                if (haveFrame) return fail(error, "a second frame header");
                if (!parseFrame(marker, payload, file.frame, error)) return false;
                haveFrame = true;
                break;
            case MarkerDQT:
                if (!parseQuantTables(payload, tables, error)) return false;
                break;
            case MarkerDHT:
                if (!parseHuffmanTables(payload, tables, error)) return false;
                break;
            case MarkerDRI: {
                SegmentReader r = payload;
                if (length != 4 || !r.u16(tables.restartInterval))
                    return fail(error, "DRI segment has a wrong length");
                break;
            }
            case MarkerSOS: {
                if (!haveFrame) return fail(error, "scan before the frame header");
                JpegParsedScan scan;
                if (!parseScanHeader(payload, file.frame, scan.header, error)) return false;
                scan.tables = tables;
                scan.dataOffset = next;
                const size_t end = endOfEntropyData(data, size, next);
                scan.dataSize = end - next;
                file.scans.push_back(std::move(scan));
                at = end;
                continue;
            }
            case MarkerAPP0:
                if (length >= 2 + 5 && std::memcmp(data + at + 2, "JFIF", 5) == 0) file.jfif = true;
                break;
            case kMarkerAPP14:
                if (length >= 2 + 12 && std::memcmp(data + at + 2, "Adobe", 5) == 0) {
                    file.adobe = true;
                    file.adobeTransform = data[at + 2 + 11];
                }
                break;
            default:  // other APPn, COM, DNL, DAC and reserved markers carry nothing we use
                break;
        }
        at = next;
    }
    if (!haveFrame) return fail(error, "no frame header (SOF marker)");
    if (file.scans.empty()) return fail(error, "no scan (SOS marker)");
    return true;
}

}  // namespace zeq::container
