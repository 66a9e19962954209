// Pieces shared by the DCT and lossless paths of the JPEG decoder: the
// colour space of a file, component planes and their conversion into output
// rows, the progress line, and the library's Huffman records.
#ifndef ZEQCODEC_JPEG_DECODE_INTERNAL_H
#define ZEQCODEC_JPEG_DECODE_INTERNAL_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "container/jpeg_parser.h"
#include "container/netpbm.h"
#include "zeqcodec/jpeg_decoder.h"
#include "zeqj.h"

namespace zeqcodec::jpegdec {

// RGB also stands for any three planes copied out as they are.
enum class ColourSpace { Grey, YCbCr, RGB };

// Three components are YCbCr unless the file says RGB (component ids 'R',
// 'G', 'B', or an Adobe segment without transform and no JFIF segment).
ColourSpace colourSpaceOf(const zeq::container::JpegParsedFile& file);

// Sample planes of the components (8-bit, one shared row step), with the
// factors that bring each to the output size. A plane may be a ring of rows
// (row r lives at r mod ring), so a streaming decode keeps only the MCU rows
// still to be converted, in cache.
struct PlaneSet {
    int32_t count = 0;
    int32_t step = 0;
    std::unique_ptr<uint8_t[]> storage;
    uint8_t* plane[3] = {};
    int32_t ring[3] = {};                   // rows held, 0 = the whole plane
    int32_t width[3] = {}, height[3] = {};  // valid samples
    int32_t upH[3] = {1, 1, 1}, upV[3] = {1, 1, 1};

    // Allocates `rows` rows per plane (uninitialised contents); a plane of
    // fewer rows than its height is a ring.
    void allocate(int32_t planes, int32_t rowStep, const int32_t rows[3], bool rings);
    uint8_t* row(int32_t c, int32_t r) const {
        return plane[c] + size_t(ring[c] ? r % ring[c] : r) * size_t(step);
    }
};

// Prints "zeqcodec jpeg-decode: NN%" on stderr while rows are produced, for
// large images only.
bool progressWanted(const JpegDecodeOptions& options, int32_t width, int32_t height);
class Progress {
public:
    Progress(bool enabled, int32_t totalRows);
    ~Progress();
    void rowsDone(int32_t rows);

private:
    bool enabled_;
    int32_t total_;
    int32_t lastPercent_ = -1;
};

// Turns plane rows into output rows: chroma up-sampling (triangle filter,
// edges replicated) and colour conversion through the library.
class OutputWriter {
public:
    // Colour is converted in pieces small enough that the library never
    // starts threads of its own: a one-thread decode stays on one thread
    // (idle team threads spinning between MCU rows would compete with the
    // entropy decoder on a busy machine), and the two-thread decoder already
    // uses both cores.
    OutputWriter(const PlaneSet& planes, ColourSpace space, zeq::container::Image& image);
    // Converts output rows [begin, end).
    void rows(int32_t begin, int32_t end);

private:
    const PlaneSet& planes_;
    ColourSpace space_;
    zeq::container::Image& image_;
    std::vector<uint8_t> upsampled_;  // one row per up-sampled plane
};

// Sizes the output image (kept when it already has this size, so a caller
// that decodes repeatedly into one image pays no clearing).
void prepareImage(zeq::container::Image& image, int32_t width, int32_t height, int32_t channels);

// A HuffmanDecodeSpec or HuffmanDecodeState in caller memory.
class DecodeSpec {
public:
    bool build(const zeq::container::JpegHuffmanTable& table);
    const HuffmanDecodeSpec* get() const {
        return reinterpret_cast<const HuffmanDecodeSpec*>(words_);
    }

private:
    static constexpr int32_t kBytes = 1644;
    uint32_t words_[(kBytes + 3) / 4] = {};
};

class DecodeState {
public:
    DecodeState() { reset(); }
    void reset() { zeqiDecodeHuffmanStateInit_JPEG_8u(get()); }
    HuffmanDecodeState* get() { return reinterpret_cast<HuffmanDecodeState*>(words_); }
    // The block decoder's count of zigzag positions reached in the last block.
    int32_t coveredCount() const { return words_[kCoveredCountWord]; }

private:
    static constexpr int32_t kBytes = 24;
    static constexpr int32_t kCoveredCountWord = 4;  // after the 8-byte buffer, count, run
    alignas(8) int32_t words_[kBytes / 4] = {};
};

// Moves the read position to just past the restart marker RSTn, n =
// `index` mod 8, unless the reader already stopped at it; resets the state
// and the marker word. Returns false when the next marker is another one.
bool takeRestartMarker(const uint8_t* data, int32_t size, int32_t& pos, int32_t& marker,
                       int32_t index, DecodeState& state);

// Decoding paths; each sets *error on failure.
bool decodeDct(const uint8_t* data, size_t size, const zeq::container::JpegParsedFile& file,
               const JpegDecodeOptions& options, zeq::container::Image& image, std::string* error);
bool decodeLossless(const uint8_t* data, size_t size, const zeq::container::JpegParsedFile& file,
                    const JpegDecodeOptions& options, zeq::container::Image& image,
                    std::string* error);

std::string statusText(ZeqStatus status);

}  // namespace zeqcodec::jpegdec

#endif
