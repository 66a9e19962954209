// JPEG 2000 codestreams of the restricted shape zeqcodec writes: one tile
// covering the image at the origin, components of one precision without
// subsampling, one COD and one QCD for all components, one quality layer,
// LRCP order, one precinct per resolution, no SOP/EPH markers. The writer
// lays out the main header and the single tile-part around packets built by
// the caller; the parser checks every length and count and refuses anything
// outside that shape with a message, so it can face arbitrary bytes.
#ifndef ZEQ_CONTAINER_J2K_CODESTREAM_H
#define ZEQ_CONTAINER_J2K_CODESTREAM_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zeq::container {

// Marker codes (both bytes).
enum J2kMarker : uint16_t {
    J2kSOC = 0xFF4F,
    J2kSIZ = 0xFF51,
    J2kCOD = 0xFF52,
    J2kQCD = 0xFF5C,
    J2kCOM = 0xFF64,
    J2kSOT = 0xFF90,
    J2kSOD = 0xFF93,
    J2kEOC = 0xFFD9,
};

// Bits of the code-block style byte of COD.
enum J2kCodeBlockStyle : uint8_t {
    J2kStyleBypass = 0x01,
    J2kStyleResetContexts = 0x02,
    J2kStyleTerminateAll = 0x04,
    J2kStyleCausal = 0x08,
    J2kStylePredictableTermination = 0x10,
    J2kStyleSegmentationSymbol = 0x20,
};

// The code-block style byte for the tier-1 coder's flags (1 causal, 2 bypass,
// 4 terminate every pass, 8 reset contexts, 16 segmentation symbol) and its
// termination type (2 is the predictable termination), and back.
inline uint8_t j2kStyleFromFlags(int32_t flags, int32_t termType) {
    uint8_t style = 0;
    if (flags & 1) style |= J2kStyleCausal;
    if (flags & 2) style |= J2kStyleBypass;
    if (flags & 4) style |= J2kStyleTerminateAll;
    if (flags & 8) style |= J2kStyleResetContexts;
    if (flags & 16) style |= J2kStyleSegmentationSymbol;
    if (termType == 2) style |= J2kStylePredictableTermination;
    return style;
}
inline int32_t j2kFlagsFromStyle(uint8_t style) {
    int32_t flags = 0;
    if (style & J2kStyleCausal) flags |= 1;
    if (style & J2kStyleBypass) flags |= 2;
    if (style & J2kStyleTerminateAll) flags |= 4;
    if (style & J2kStyleResetContexts) flags |= 8;
    if (style & J2kStyleSegmentationSymbol) flags |= 16;
    return flags;
}

// Largest decomposition depth and component count the parser accepts.
constexpr int32_t J2kMaxLevels = 8;
constexpr int32_t J2kMaxComponents = 3;

// One QCD entry: exponent (5 bits) and, for quantized streams, the 11-bit
// mantissa of the step 2^(R - exponent) * (1 + mantissa / 2048).
struct J2kQuantStep {
    uint8_t exponent = 0;
    uint16_t mantissa = 0;
};

struct J2kHeader {
    uint32_t width = 0, height = 0;
    uint16_t components = 1;  // 1..J2kMaxComponents
    uint8_t precision = 8;    // bits per sample, 1..16
    bool isSigned = false;
    uint8_t levels = 0;  // decomposition levels, 0..J2kMaxLevels
    uint8_t codeBlockWidthExponent = 6, codeBlockHeightExponent = 6;  // 2^n samples
    uint8_t codeBlockStyle = 0;
    bool reversible = true;  // 5/3 filter; false: 9/7
    bool multiComponentTransform = false;
    uint8_t guardBits = 2;            // 0..7
    bool quantized = false;           // scalar expounded steps; false: exponents only
    std::vector<J2kQuantStep> steps;  // 3 * levels + 1, the LL band first
};

// Subbands in codestream order: LL of the deepest level, then HL, LH, HH of
// each level from the deepest to the first. Band index b maps to its level
// and orientation (0 LL, 1 HL, 2 LH, 3 HH).
inline int32_t j2kBandCount(int32_t levels) { return 3 * levels + 1; }
inline int32_t j2kBandOrientation(int32_t band) { return band == 0 ? 0 : 1 + (band - 1) % 3; }
// Decomposition level of a band (levels for the LL band, 1 for the finest).
inline int32_t j2kBandLevel(int32_t levels, int32_t band) {
    return band == 0 ? levels : levels - (band - 1) / 3;
}
// log2 of the nominal gain of an orientation: LL 0, HL and LH 1, HH 2.
inline int32_t j2kBandGainBits(int32_t orientation) {
    return orientation == 0 ? 0 : orientation == 3 ? 2 : 1;
}
// Magnitude bit planes a band's code blocks may hold: guard bits +
// exponent - 1.
inline int32_t j2kMagnitudeBits(const J2kHeader& h, int32_t band) {
    return h.guardBits + h.steps[static_cast<size_t>(band)].exponent - 1;
}

// The main header, one tile-part holding `packets`, and EOC.
std::vector<uint8_t> writeJ2kCodestream(const J2kHeader& header, const uint8_t* packets,
                                        size_t packetsSize);

// Parses a codestream; on success the packets of the one tile are
// [*packets, *packets + *packetsSize) inside data. COM segments are skipped.
bool parseJ2kCodestream(const uint8_t* data, size_t size, J2kHeader& header,
                        const uint8_t** packets, size_t* packetsSize, std::string* error);

// ---- Packet headers ----------------------------------------------------

// Bits most significant first; the byte after a 0xFF carries 7 bits.
class J2kHeaderBitWriter {
public:
    void bit(int b);
    void bits(uint32_t value, int n);
    // Flushes the partial byte; a header ending on 0xFF gets a zero byte.
    std::vector<uint8_t> finish();

private:
    void flushByte();
    std::vector<uint8_t> bytes_;
    uint32_t current_ = 0;
    int count_ = 0, capacity_ = 8;
};

// Reads what J2kHeaderBitWriter writes; reading past the end is recorded
// (overrun()) and yields zero bits.
class J2kHeaderBitReader {
public:
    J2kHeaderBitReader(const uint8_t* data, size_t size) : data_(data), size_(size) {}
    int bit();
    uint32_t bits(int n);
    // Bytes taken by the header, with the stuffed byte after a final 0xFF.
    size_t bytesUsed() const { return pos_ + (current_ == 0xFF ? 1 : 0); }
    bool overrun() const { return pos_ > size_ || (pos_ == size_ && current_ == 0xFF); }

private:
    const uint8_t* data_;
    size_t size_;
    size_t pos_ = 0;
    uint32_t current_ = 0;
    int left_ = 0;
};

// Passes of each terminated segment of a code block coding `passes` passes
// with this style: all in one, one per pass (terminate all), or with bypass
// ten arithmetic passes, then alternating raw pairs and single cleanups.
std::vector<int32_t> j2kSegmentPassCounts(int32_t passes, uint8_t style);

// What one code block contributes to the one quality layer.
struct J2kCodeBlockContribution {
    bool included = false;
    int32_t zeroBitPlanes = 0;            // magnitude bits - coded planes
    int32_t passes = 0;                   // >= 1 when included
    std::vector<int32_t> segmentLengths;  // one per segment of the passes
};

// One subband's code blocks inside a packet, in raster order.
struct J2kPacketBand {
    int32_t blocksWide = 0, blocksHigh = 0;
    int32_t magnitudeBits = 0;  // bounds the zero bit planes the reader accepts
    std::vector<J2kCodeBlockContribution> blocks;
};

// Header of a first-layer packet over these bands (tag trees, pass counts,
// length indicators); the bodies follow it in the same block order.
std::vector<uint8_t> writeJ2kPacketHeader(const std::vector<J2kPacketBand>& bands, uint8_t style);

// Reads such a header into bands[*].blocks (sized from the blocks grid);
// *used receives the header's byte count. Counts and lengths are bounded;
// false with *error on anything malformed.
bool readJ2kPacketHeader(const uint8_t* data, size_t size, std::vector<J2kPacketBand>& bands,
                         uint8_t style, size_t* used, std::string* error);

}  // namespace zeq::container

#endif  // ZEQ_CONTAINER_J2K_CODESTREAM_H
