// Writes the marker segments of a JPEG file from the model in jpeg_markers.h.
// The bytes are appended to a vector the caller owns, so an encoder can put
// its entropy-coded data straight behind a scan header without a copy.
#ifndef ZEQ_CONTAINER_JPEG_WRITER_H
#define ZEQ_CONTAINER_JPEG_WRITER_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "container/jpeg_markers.h"

namespace zeq::container {

class JpegWriter {
public:
    explicit JpegWriter(std::vector<uint8_t>& out) : out_(out) {}

    void marker(uint8_t code);
    void u8(unsigned value) { out_.push_back(static_cast<uint8_t>(value)); }
    void u16(unsigned value);
    void bytes(const uint8_t* data, size_t size) { out_.insert(out_.end(), data, data + size); }

    void startOfImage() { marker(MarkerSOI); }
    void endOfImage() { marker(MarkerEOI); }
    // APP0 "JFIF" version 1.01, no density unit, aspect 1:1, no thumbnail.
    void jfifHeader();
    // One DQT segment holding every table given.
    void quantTables(const JpegQuantTable* tables, size_t count);
    // SOF0, SOF2 or SOF3 as frame.sofMarker says.
    void frameHeader(const JpegFrame& frame);
    // One DHT segment holding every table given; a table without symbols is
    // left out, and nothing is written when all are empty.
    void huffmanTables(const JpegHuffmanTable* tables, size_t count);
    void restartInterval(uint16_t mcus);
    void scanHeader(const JpegFrame& frame, const JpegScanHeader& scan);
    // RSTn with n = index mod 8.
    void restartMarker(uint32_t index) { marker(static_cast<uint8_t>(MarkerRST0 + (index & 7))); }

private:
    std::vector<uint8_t>& out_;
};

}  // namespace zeq::container

#endif
