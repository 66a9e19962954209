// The marker-level model of a JPEG file, shared by the writer
// (jpeg_writer.h) and the parser (jpeg_parser.h): what the frame, table and
// scan headers say, with the entropy-coded data left to the library's coders.
#ifndef ZEQ_CONTAINER_JPEG_MARKERS_H
#define ZEQ_CONTAINER_JPEG_MARKERS_H

#include <array>
#include <cstdint>
#include <vector>

namespace zeq::container {

// Marker codes (the byte after 0xFF).
enum JpegMarker : uint8_t {
    MarkerSOF0 = 0xC0,  // baseline DCT
    MarkerSOF1 = 0xC1,  // extended sequential DCT, Huffman
    MarkerSOF2 = 0xC2,  // progressive DCT, Huffman
    MarkerSOF3 = 0xC3,  // lossless, Huffman
    MarkerDHT = 0xC4,
    MarkerRST0 = 0xD0,  // RST0..RST7 = 0xD0..0xD7
    MarkerSOI = 0xD8,
    MarkerEOI = 0xD9,
    MarkerSOS = 0xDA,
    MarkerDQT = 0xDB,
    MarkerDRI = 0xDD,
    MarkerAPP0 = 0xE0,
    MarkerCOM = 0xFE,
};

struct JpegComponent {
    uint8_t id = 0;
    uint8_t h = 1, v = 1;    // sampling factors, 1..4
    uint8_t quantTable = 0;  // DQT id, 0..3 (unused by lossless frames)
};

struct JpegFrame {
    uint8_t sofMarker = MarkerSOF0;
    uint8_t precision = 8;  // sample bits
    uint16_t width = 0, height = 0;
    std::vector<JpegComponent> components;
};

// One DQT table: 8-bit entries (precision 0) or 16-bit (precision 1), in
// zigzag order as stored in the file.
struct JpegQuantTable {
    uint8_t id = 0;
    uint8_t precision = 0;
    std::array<uint16_t, 64> zigzag{};
};

// One DHT table: code counts by length 1..16 and the symbols in code order.
struct JpegHuffmanTable {
    uint8_t tableClass = 0;  // 0 DC (and lossless), 1 AC
    uint8_t id = 0;
    std::array<uint8_t, 16> counts{};
    std::vector<uint8_t> symbols;
};

struct JpegScanComponent {
    uint8_t componentIndex = 0;  // index into JpegFrame::components
    uint8_t dcTable = 0, acTable = 0;
};

// An SOS header. For lossless frames ss is the predictor, se is 0 and al the
// point transform.
struct JpegScanHeader {
    std::vector<JpegScanComponent> components;
    uint8_t ss = 0, se = 63, ah = 0, al = 0;
};

}  // namespace zeq::container

#endif
