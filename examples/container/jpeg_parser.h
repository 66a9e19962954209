// Reads the marker segments of a JPEG file into the model of jpeg_markers.h:
// the frame header, and for every scan its header, the tables in force when
// it starts and where its entropy-coded data lie. The entropy-coded data
// themselves are left to the library's decoders.
#ifndef ZEQ_CONTAINER_JPEG_PARSER_H
#define ZEQ_CONTAINER_JPEG_PARSER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "container/jpeg_markers.h"

namespace zeq::container {

// The tables a scan is decoded with: the last definition of each id met
// before its SOS.
struct JpegTables {
    std::array<JpegQuantTable, 4> quant{};
    std::array<JpegHuffmanTable, 4> dc{}, ac{};
    std::array<bool, 4> quantDefined{}, dcDefined{}, acDefined{};
    uint16_t restartInterval = 0;  // MCUs (lossless: samples), 0 = none
};

struct JpegParsedScan {
    JpegScanHeader header;
    JpegTables tables;
    // Entropy-coded data, RSTn markers included, from the byte after the SOS
    // segment up to the marker that ends the scan (or the end of the file).
    size_t dataOffset = 0;
    size_t dataSize = 0;
};

struct JpegParsedFile {
    JpegFrame frame;
    std::vector<JpegParsedScan> scans;
    bool sawEndOfImage = false;
    bool jfif = false;           // an APP0 "JFIF" segment was seen
    bool adobe = false;          // an APP14 "Adobe" segment was seen
    uint8_t adobeTransform = 0;  // its colour transform flag
};

// Parses a whole file held in memory. Accepts SOF0, SOF1, SOF2 and SOF3
// frames; every other frame type, a missing frame or scan, and any segment
// that does not fit its length or the buffer are refused with a reason in
// *error. Any byte sequence is safe to pass.
bool parseJpegFile(const uint8_t* data, size_t size, JpegParsedFile& file, std::string* error);

}  // namespace zeq::container

#endif
