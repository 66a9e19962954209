// The shared parts of zeqcodec's JPEG encoder: the frame geometry, the
// prepared tables, the conversion of one MCU into quantized blocks, and the
// growing byte buffer the entropy coders write into.
#ifndef ZEQCODEC_JPEG_ENCODE_PLAN_H
#define ZEQCODEC_JPEG_ENCODE_PLAN_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "container/jpeg_markers.h"
#include "container/netpbm.h"
#include "zeqcodec/jpeg_encoder.h"
#include "zeqj.h"

namespace zeqcodec::jpeg {

// Worst case of one coded block: a 16-bit code and 11 extra bits for the DC
// and for each of 63 AC coefficients, every byte stuffed.
constexpr size_t MaxBlockBytes = 2 * (64 * (16 + 11) + 7) / 8;

// Bytes with room to spare and no zero-filling; grows by doubling.
class ByteBuffer {
public:
    ByteBuffer() = default;
    ByteBuffer(const ByteBuffer&) = delete;
    ByteBuffer& operator=(const ByteBuffer&) = delete;
    ~ByteBuffer() { std::free(data_); }

    // Makes room for at least `extra` more bytes behind size().
    bool reserve(size_t extra) { return capacity_ - size_ >= extra || growToFit(extra); }
    uint8_t* end() { return data_ + size_; }
    size_t room() const { return capacity_ - size_; }
    void grow(size_t written) { size_ += written; }
    void push(uint8_t b) { data_[size_++] = b; }
    const uint8_t* data() const { return data_; }
    size_t size() const { return size_; }

private:
    bool growToFit(size_t extra);
    uint8_t* data_ = nullptr;
    size_t size_ = 0, capacity_ = 0;
};

// Owns one HuffmanEncodeState.
struct EncodeState {
    EncodeState();
    ~EncodeState();
    EncodeState(const EncodeState&) = delete;
    EncodeState& operator=(const EncodeState&) = delete;
    HuffmanEncodeState* state = nullptr;
};

// A prepared encode table and the DHT form it came from.
struct CodeTable {
    std::vector<uint8_t> spec;  // a HuffmanEncodeSpec
    zeq::container::JpegHuffmanTable definition;
    bool build(const zeq::container::JpegHuffmanTable& table, std::string* error);
    // Optimal code lengths for 257 statistics words (a never-used alphabet
    // gets one code so that the table is still valid).
    bool fromStatistics(std::vector<int32_t> statistics, uint8_t tableClass, uint8_t id,
                        std::string* error);
    const HuffmanEncodeSpec* get() const {
        return reinterpret_cast<const HuffmanEncodeSpec*>(spec.data());
    }
};

struct ComponentPlan {
    int32_t h = 1, v = 1;                    // sampling factors
    int32_t blocksWide = 0, blocksHigh = 0;  // ceil(component size / 8): a lone-component scan
    int32_t firstBlock = 0;                  // offset of its blocks within one MCU
    int32_t table = 0;                       // 0 luminance, 1 chrominance
};

// Everything a scan coder needs to know about the image and its frame.
struct Plan {
    const zeq::container::Image* image = nullptr;
    JpegEncodeOptions options;
    zeq::container::JpegFrame frame;
    std::vector<ComponentPlan> components;
    int32_t mcuWidth = 8, mcuHeight = 8;  // pixels
    int32_t mcusWide = 0, mcusHigh = 0;
    int32_t blocksPerMcu = 1;
    alignas(16) uint16_t forward[2][64];  // FwdQuantTable per table
    zeq::container::JpegQuantTable quant[2];
    int32_t quantCount = 1;

    size_t mcuCount() const { return size_t(mcusWide) * size_t(mcusHigh); }
    size_t blocksTotal() const { return mcuCount() * size_t(blocksPerMcu); }
    // Component c's block (bx, by) within a store of whole MCUs.
    const int16_t* block(const int16_t* store, int32_t c, int32_t bx, int32_t by) const {
        const ComponentPlan& p = components[size_t(c)];
        const size_t mcu = size_t(by / p.v) * size_t(mcusWide) + size_t(bx / p.h);
        const size_t index =
            mcu * size_t(blocksPerMcu) + size_t(p.firstBlock) + size_t((by % p.v) * p.h + bx % p.h);
        return store + 64 * index;
    }
};

// Turns one MCU row at a time into sample planes (colour conversion with
// rounding, edges replicated to whole MCUs, chroma averaged down), then
// each MCU of that row into quantized blocks in MCU order (component 0's
// h*v blocks, then those of the others). One per thread.
class StripQuantizer {
public:
    explicit StripQuantizer(const Plan& plan);
    bool strip(int32_t my, std::string* error);
    int32_t current() const { return row_; }
    bool mcu(int32_t mx, int16_t* blocks, std::string* error) const;

private:
    void locateBlocks();
    const Plan& plan_;
    int32_t row_ = -1;
    int32_t paddedWidth_;
    std::vector<uint8_t> full_[3];     // paddedWidth x mcuHeight per component
    std::vector<uint8_t> sampled_[2];  // chroma at its own resolution
    const uint8_t* plane_[3] = {};
    int32_t step_[3] = {};
    // The blocks of one MCU in coding order: where the first MCU's block
    // starts and how far the next MCU's lies (one flat loop per MCU).
    struct BlockSource {
        const uint8_t* first;
        int32_t step;
        int32_t mcuStride;
        const uint16_t* table;
    };
    BlockSource blocks_[6] = {};
};

bool failStatus(const char* what, ZeqStatus status, std::string* error);

// Builds the plan: geometry, quantization and frame. Refuses bad options.
bool makePlan(const zeq::container::Image& image, const JpegEncodeOptions& options, Plan& plan,
              std::string* error);

// Quantized blocks of every MCU, in MCU order, using `threads` threads.
bool quantizeImage(const Plan& plan, std::unique_ptr<int16_t[]>& store, std::string* error);

// Progress on stderr for large images; `done` of `total` units.
void reportProgress(const Plan& plan, size_t done, size_t total);

// The scan coders append scan headers, tables and entropy-coded data to file.
bool encodeSequential(const Plan& plan, std::vector<uint8_t>& file, std::string* error);
bool encodeProgressive(const Plan& plan, std::vector<uint8_t>& file, std::string* error);
bool encodeLossless(const Plan& plan, std::vector<uint8_t>& file, std::string* error);

}  // namespace zeqcodec::jpeg

#endif
