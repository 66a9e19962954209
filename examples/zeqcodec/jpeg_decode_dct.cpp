// Baseline, extended sequential and progressive (DCT) frames.
//
// A file with one scan holding every component is decoded in a single pass:
// each block goes from the Huffman decoder straight through the inverse DCT
// into the component planes, and output rows are converted as soon as the
// planes hold everything they need. Other files (progressive, or sequential
// with several scans) keep all coefficients until the last scan and then
// reconstruct MCU row by MCU row the same way.
#include <algorithm>
#include <climits>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <thread>

#include "zeqcodec/jpeg_decode_internal.h"

namespace zeqcodec::jpegdec {
namespace {

using zeq::container::JpegComponent;
using zeq::container::JpegFrame;
using zeq::container::JpegParsedFile;
using zeq::container::JpegParsedScan;
using zeq::container::JpegQuantTable;
using zeq::container::JpegScanHeader;

constexpr int32_t kMaxBlocksPerMcu = 10;

// Zigzag index of each natural position (16-bit DQT tables are reordered
// here; 8-bit ones by the library).
constexpr uint8_t kZigzagOfNatural[64] = {
    0,  1,  5,  6,  14, 15, 27, 28, 2,  4,  7,  13, 16, 26, 29, 42, 3,  8,  12, 17, 25, 30,
    41, 43, 9,  11, 18, 24, 31, 40, 44, 53, 10, 19, 23, 32, 39, 45, 52, 54, 20, 22, 33, 38,
    46, 51, 55, 60, 21, 34, 37, 47, 50, 56, 59, 61, 35, 36, 48, 49, 57, 58, 62, 63};

struct Component {
    int32_t h = 1, v = 1;
    int32_t blocksWide = 0, blocksHigh = 0;          // storage: whole MCUs
    int32_t scanBlocksWide = 0, scanBlocksHigh = 0;  // covered by a lone-component scan
    int32_t blockSize = 8;                           // output samples per block side
    bool quantSet = false;
    alignas(16) uint16_t quant[64] = {};
    alignas(16) uint16_t unitDcQuant[64] = {};  // quant with a DC quantizer of 1
    // 64 per block, multi-scan files only. Zeroed by calloc: large blocks
    // come as fresh zero pages, with no clearing pass.
    std::unique_ptr<int16_t, decltype(&std::free)> coefficients{nullptr, &std::free};
};

struct Layout {
    int32_t hmax = 1, vmax = 1;
    int32_t mcusX = 0, mcusY = 0;
    std::vector<Component> components;
    PlaneSet planes;
    int32_t outWidth = 0, outHeight = 0;
};

int32_t ceilDiv(int64_t a, int64_t b) { return int32_t((a + b - 1) / b); }

bool fail(std::string* error, const std::string& message) {
    *error = message;
    return false;
}

// Grey, or three components with chroma at 1x1 and luma at 1x1, 2x1 or 2x2.
bool samplingSupported(const JpegFrame& frame, std::string* error) {
    const auto& c = frame.components;
    if (c.size() == 1) return true;
    if (c.size() != 3)
        return fail(error, std::to_string(c.size()) +
                               "-component images are not supported (grey or three-component "
                               "colour only)");
    const bool chromaFull = c[1].h == 1 && c[1].v == 1 && c[2].h == 1 && c[2].v == 1;
    const bool lumaOk = (c[0].h == 1 && c[0].v == 1) || (c[0].h == 2 && c[0].v == 1) ||
                        (c[0].h == 2 && c[0].v == 2);
    if (chromaFull && lumaOk) return true;
    std::string factors;
    for (const JpegComponent& k : c)
        factors += (factors.empty() ? "" : ", ") + std::to_string(k.h) + "x" + std::to_string(k.v);
    return fail(error,
                "sampling factors " + factors + " are not supported (only 4:4:4, 4:2:2 and 4:2:0)");
}

// Component geometry at the requested scale. Each component's inverse DCT
// size is the smallest of 2, 4 or 8 samples that the scale allows, doubled
// while that removes chroma up-sampling (a half-size 4:2:0 decode runs the
// full transform on chroma and needs no up-sampling).
void buildLayout(const JpegFrame& frame, int32_t denominator, Layout& layout) {
    const bool lone = frame.components.size() == 1;
    for (const JpegComponent& c : frame.components) {
        layout.hmax = std::max<int32_t>(layout.hmax, lone ? 1 : c.h);
        layout.vmax = std::max<int32_t>(layout.vmax, lone ? 1 : c.v);
    }
    const int32_t minSize = 8 / denominator;
    layout.mcusX = ceilDiv(frame.width, 8 * layout.hmax);
    layout.mcusY = ceilDiv(frame.height, 8 * layout.vmax);
    layout.outWidth = ceilDiv(frame.width, denominator);
    layout.outHeight = ceilDiv(frame.height, denominator);
    layout.components.resize(frame.components.size());
    int32_t step = 0, rows[3] = {};
    for (size_t i = 0; i < frame.components.size(); ++i) {
        Component& k = layout.components[i];
        k.h = lone ? 1 : frame.components[i].h;
        k.v = lone ? 1 : frame.components[i].v;
        int32_t size = minSize;
        while (size < 8 && (layout.hmax * minSize) % (k.h * size * 2) == 0 &&
               (layout.vmax * minSize) % (k.v * size * 2) == 0)
            size *= 2;
        k.blockSize = size;
        k.blocksWide = layout.mcusX * k.h;
        k.blocksHigh = layout.mcusY * k.v;
        k.scanBlocksWide = ceilDiv(ceilDiv(int64_t(frame.width) * k.h, layout.hmax), 8);
        k.scanBlocksHigh = ceilDiv(ceilDiv(int64_t(frame.height) * k.v, layout.vmax), 8);
        PlaneSet& p = layout.planes;
        p.width[i] = ceilDiv(int64_t(frame.width) * k.h * size, int64_t(layout.hmax) * 8);
        p.height[i] = ceilDiv(int64_t(frame.height) * k.v * size, int64_t(layout.vmax) * 8);
        p.upH[i] = layout.hmax * minSize / (k.h * size);
        p.upV[i] = layout.vmax * minSize / (k.v * size);
        step = std::max(step, k.blocksWide * size);
        rows[i] = 2 * k.v * size;  // the MCU row being filled and the one before
    }
    layout.planes.allocate(int32_t(frame.components.size()), step, rows, true);
}

bool setQuant(const JpegParsedScan& scan, const JpegFrame& frame, Layout& layout,
              std::string* error) {
    for (const auto& member : scan.header.components) {
        Component& k = layout.components[member.componentIndex];
        if (k.quantSet) continue;
        const uint8_t id = frame.components[member.componentIndex].quantTable;
        if (!scan.tables.quantDefined[id])
            return fail(error, "quantization table " + std::to_string(id) + " is not defined");
        const JpegQuantTable& t = scan.tables.quant[id];
        if (t.precision == 0) {
            uint8_t raw[64];
            for (int i = 0; i < 64; ++i) raw[i] = static_cast<uint8_t>(t.zigzag[size_t(i)]);
            zeqiQuantInvTableInit_JPEG_8u16u(raw, k.quant);
        } else {
            for (int i = 0; i < 64; ++i) k.quant[i] = t.zigzag[kZigzagOfNatural[i]];
        }
        std::copy(std::begin(k.quant), std::end(k.quant), std::begin(k.unitDcQuant));
        k.unitDcQuant[0] = 1;
        k.quantSet = true;
    }
    return true;
}

// Where a block's nonzero coefficients lie, which picks the pruned inverse
// transform that still reads them all.
enum class Coverage { Dc, TopLeft2x2, TopLeft4x4, Full };

// From the block decoder's count of zigzag positions reached.
Coverage coverageOfCount(int32_t covered) {
    if (covered <= 1) return Coverage::Dc;
    if (covered <= 3) return Coverage::TopLeft2x2;   // natural 0, 1, 8
    if (covered <= 10) return Coverage::TopLeft4x4;  // up to natural 24
    return Coverage::Full;
}

// From the stored coefficients (blocks built over several scans).
Coverage coverageOfBlock(const int16_t* b) {
    uint64_t lo[8], hi[8];
    for (int r = 0; r < 8; ++r) {
        std::memcpy(&lo[r], b + 8 * r, 8);
        std::memcpy(&hi[r], b + 8 * r + 4, 8);
    }
    if ((hi[0] | hi[1] | hi[2] | hi[3] | lo[4] | hi[4] | lo[5] | hi[5] | lo[6] | hi[6] | lo[7] |
         hi[7]) != 0)
        return Coverage::Full;
    if (((lo[0] | lo[1]) >> 32) != 0 || (lo[2] | lo[3]) != 0) return Coverage::TopLeft4x4;
    if ((lo[0] & 0xFFFF0000u) != 0 || (lo[1] & 0xFFFFFFFFu) != 0) return Coverage::TopLeft2x2;
    return Coverage::Dc;
}

// Transforms one block into the component's plane. A DC-only block takes the
// 1x1 transform, which truncates D * q / 8; handing it D * q + 4 with a unit
// quantizer gives the rounded value the full transform would produce, so
// flat blocks are not darkened by half a level. The block may be changed.
ZeqStatus inverseBlock(int16_t* block, Coverage coverage, uint8_t* dst, int32_t step,
                       const Component& k) {
    if (k.blockSize == 4)
        return zeqiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R(block, dst, step, k.quant);
    if (k.blockSize == 2)
        return zeqiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R(block, dst, step, k.quant);
    switch (coverage) {
        case Coverage::Dc: {
            const int32_t dc = int32_t(block[0]) * int16_t(k.quant[0]) + 4;
            block[0] = static_cast<int16_t>(std::clamp(dc, -32768, 32767));
            return zeqiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R(block, dst, step, k.unitDcQuant);
        }
        case Coverage::TopLeft2x2:
            return zeqiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R(block, dst, step, k.quant);
        case Coverage::TopLeft4x4:
            return zeqiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R(block, dst, step, k.quant);
        default:
            return zeqiDCTQuantInv8x8LS_JPEG_16s8u_C1R(block, dst, step, k.quant);
    }
}

// Output rows that can be produced once MCU row `mcuRow` is in the planes.
int32_t rowsReady(const Layout& layout, int32_t mcuRow) {
    if (mcuRow + 1 >= layout.mcusY) return layout.outHeight;
    int32_t ready = layout.outHeight;
    for (size_t c = 0; c < layout.components.size(); ++c) {
        const Component& k = layout.components[c];
        const int32_t have = (mcuRow + 1) * k.v * k.blockSize;
        // Up-sampling by 2 vertically reads the plane row below the output
        // row's own.
        ready = std::min(ready, layout.planes.upV[c] == 2 ? 2 * have - 1 : have);
    }
    return ready;
}

// Where the block rows of one MCU row start in the component planes, found
// once per MCU row rather than through the ring's division for every block.
class McuRowStarts {
public:
    McuRowStarts(const Layout& layout, int32_t mcuRow) {
        for (size_t c = 0; c < layout.components.size(); ++c) {
            const Component& k = layout.components[c];
            firstBlockRow_[c] = mcuRow * k.v;
            for (int32_t j = 0; j < k.v && j < kMaxV; ++j)
                start_[c][j] = layout.planes.row(int32_t(c), (firstBlockRow_[c] + j) * k.blockSize);
        }
    }
    uint8_t* blockRow(int32_t c, int32_t by) const { return start_[c][by - firstBlockRow_[c]]; }

private:
    static constexpr int32_t kMaxV = 2;  // the sampling factors the decoder takes
    uint8_t* start_[3][kMaxV] = {};
    int32_t firstBlockRow_[3] = {};
};

// One scan's entropy-coded data and the reader's position in them.
struct ScanReader {
    const uint8_t* src = nullptr;
    int32_t size = 0;
    int32_t pos = 0;
    int32_t marker = 0;
    DecodeState state;
    int16_t lastDC[4] = {};
};

// Counts a scan's MCUs down to its restart markers.
struct RestartCount {
    explicit RestartCount(int32_t mcus) : interval(mcus), untilRestart(mcus) {}
    // Before each MCU: when a restart is due, takes its marker and resets
    // the reader and the DC predictions. False when the marker is not there.
    bool beforeMcu(ScanReader& r) {
        if (interval <= 0 || untilRestart-- != 0) return true;
        untilRestart = interval - 1;
        std::fill(std::begin(r.lastDC), std::end(r.lastDC), int16_t{0});
        return takeRestartMarker(r.src, r.size, r.pos, r.marker, restarts++, r.state);
    }
    int32_t interval, untilRestart, restarts = 0;
};
constexpr const char* kMissingRestart = "a restart marker is missing or out of order";

// Calls block(member, component, blockX, blockY, reader) for every block of
// the scan in coding order, handling restart markers, and mcuRowDone(row)
// after each row of MCUs.
template <class BlockFn, class RowFn>
bool walkScan(const uint8_t* data, size_t size, const JpegParsedScan& scan, const Layout& layout,
              BlockFn&& block, RowFn&& mcuRowDone, std::string* error) {
    ScanReader reader;
    reader.src = data + scan.dataOffset;
    // The reader stops at the marker that ends the scan by itself.
    reader.size = int32_t(std::min<size_t>(size - scan.dataOffset, INT32_MAX));
    const auto& members = scan.header.components;
    const bool lone = members.size() == 1;
    const Component& first = layout.components[members[0].componentIndex];
    const int32_t mcusX = lone ? first.scanBlocksWide : layout.mcusX;
    const int32_t mcusY = lone ? first.scanBlocksHigh : layout.mcusY;
    RestartCount restart(scan.tables.restartInterval);
    if (lone) {
        // One block per MCU: the component's block grid in raster order.
        const int32_t c = members[0].componentIndex;
        for (int32_t my = 0; my < mcusY; ++my) {
            for (int32_t mx = 0; mx < mcusX; ++mx) {
                if (!restart.beforeMcu(reader)) return fail(error, kMissingRestart);
                const ZeqStatus s = block(0, c, mx, my, reader);
                if (s != StatusOk) return fail(error, statusText(s));
            }
            mcuRowDone(my);
        }
        return true;
    }
    // The blocks of one MCU in coding order, listed once: one flat loop per
    // MCU.
    struct McuBlock {
        int32_t member, component, h, v, dx, dy;
    };
    McuBlock order[kMaxBlocksPerMcu];
    int32_t count = 0;
    for (size_t m = 0; m < members.size(); ++m) {
        const int32_t c = members[m].componentIndex;
        const Component& k = layout.components[size_t(c)];
        for (int32_t by = 0; by < k.v; ++by)
            for (int32_t bx = 0; bx < k.h && count < kMaxBlocksPerMcu; ++bx)
                order[count++] = {int32_t(m), c, k.h, k.v, bx, by};
    }
    for (int32_t my = 0; my < mcusY; ++my) {
        for (int32_t mx = 0; mx < mcusX; ++mx) {
            if (!restart.beforeMcu(reader)) return fail(error, kMissingRestart);
            for (int32_t i = 0; i < count; ++i) {
                const McuBlock& b = order[i];
                const ZeqStatus s =
                    block(b.member, b.component, mx * b.h + b.dx, my * b.v + b.dy, reader);
                if (s != StatusOk) return fail(error, statusText(s));
            }
        }
        mcuRowDone(my);
    }
    return true;
}

bool checkScan(const JpegFrame& frame, const JpegParsedScan& scan, bool progressive,
               std::string* error) {
    const JpegScanHeader& h = scan.header;
    int32_t blocks = 0;
    for (const auto& m : h.components)
        blocks += frame.components[m.componentIndex].h * frame.components[m.componentIndex].v;
    if (h.components.size() > 1 && blocks > kMaxBlocksPerMcu)
        return fail(error, "an interleaved scan has more than 10 blocks per MCU");
    const bool dcScan = !progressive || h.ss == 0;
    const bool acScan = !progressive || h.ss > 0;
    if (progressive) {
        if (h.ss == 0 && h.se != 0)
            return fail(error, "a progressive scan mixes DC and AC coefficients");
        if (h.ss > 0 && (h.se < h.ss || h.se > 63 || h.components.size() != 1))
            return fail(error, "a progressive AC scan has a bad band or several components");
        if (h.al > 13 || h.ah > 13)
            return fail(error, "a progressive scan's successive approximation is out of range");
    }
    for (const auto& m : h.components) {
        const bool needsDc = dcScan && (!progressive || h.ah == 0);
        if (needsDc && !scan.tables.dcDefined[m.dcTable])
            return fail(error, "DC Huffman table " + std::to_string(m.dcTable) + " is not defined");
        if (acScan && !scan.tables.acDefined[m.acTable])
            return fail(error, "AC Huffman table " + std::to_string(m.acTable) + " is not defined");
    }
    return true;
}

// The decode records of a scan's tables, and which each member uses.
struct ScanTables {
    DecodeSpec dc[4], ac[4];
    const HuffmanDecodeSpec* dcOf[4] = {};
    const HuffmanDecodeSpec* acOf[4] = {};
    bool build(const JpegParsedScan& scan, std::string* error) {
        for (size_t m = 0; m < scan.header.components.size(); ++m) {
            dcOf[m] = dc[scan.header.components[m].dcTable].get();
            acOf[m] = ac[scan.header.components[m].acTable].get();
        }
        for (const auto& m : scan.header.components) {
            if (scan.tables.dcDefined[m.dcTable] && !dc[m.dcTable].build(scan.tables.dc[m.dcTable]))
                return fail(error, "DC Huffman table " + std::to_string(m.dcTable) + " is invalid");
            if (scan.tables.acDefined[m.acTable] && !ac[m.acTable].build(scan.tables.ac[m.acTable]))
                return fail(error, "AC Huffman table " + std::to_string(m.acTable) + " is invalid");
        }
        return true;
    }
};

bool decodeSinglePass(const uint8_t* data, size_t size, const JpegParsedScan& scan, Layout& layout,
                      OutputWriter& writer, Progress& progress, std::string* error) {
    ScanTables tables;
    if (!tables.build(scan, error)) return false;
    const HuffmanDecodeSpec* const* dc = tables.dcOf;
    const HuffmanDecodeSpec* const* ac = tables.acOf;
    const int32_t step = layout.planes.step;
    alignas(16) int16_t block[64];
    int32_t done = 0;
    McuRowStarts starts(layout, 0);
    return walkScan(
        data, size, scan, layout,
        [&](int32_t m, int32_t c, int32_t bx, int32_t by, ScanReader& r) {
            const ZeqStatus s = zeqiDecodeHuffman8x8_JPEG_1u16s_C1(
                r.src, r.size, &r.pos, block, &r.lastDC[m], &r.marker, dc[m], ac[m], r.state.get());
            if (s != StatusOk) return s;
            const Component& k = layout.components[size_t(c)];
            uint8_t* dst = starts.blockRow(c, by) + bx * k.blockSize;
            return inverseBlock(block, coverageOfCount(r.state.coveredCount()), dst, step, k);
        },
        [&](int32_t mcuRow) {
            const int32_t ready = rowsReady(layout, mcuRow);
            if (ready > done) writer.rows(done, ready);
            done = std::max(done, ready);
            progress.rowsDone(done);
            if (mcuRow + 1 < layout.mcusY) starts = McuRowStarts(layout, mcuRow + 1);
        },
        error);
}

// Two threads: a worker runs the Huffman decoder over MCU rows into a few
// coefficient slots while the calling thread transforms and converts the
// rows it has finished, so entropy decoding overlaps everything after it.
class McuRowSlots {
public:
    static constexpr int32_t kSlots = 4;

    explicit McuRowSlots(const Layout& layout) {
        for (const Component& k : layout.components) {
            offset_.push_back(blocksPerRow_);
            blocksPerRow_ += k.v * k.blocksWide;
        }
        coefficients_.reset(new int16_t[size_t(kSlots) * blocksPerRow_ * 64]);
        covered_.reset(new uint8_t[size_t(kSlots) * blocksPerRow_]);
    }
    size_t index(const Layout& layout, int32_t mcuRow, int32_t c, int32_t bx, int32_t by) const {
        const Component& k = layout.components[size_t(c)];
        return size_t(mcuRow % kSlots) * blocksPerRow_ + offset_[size_t(c)] +
               size_t(by - mcuRow * k.v) * k.blocksWide + bx;
    }
    int16_t* block(size_t i) { return coefficients_.get() + i * 64; }
    uint8_t& covered(size_t i) { return covered_[i]; }

    // Worker side: row `mcuRow` is decoded; wait until the next row's slot is free.
    bool publish(int32_t mcuRow) {
        std::unique_lock<std::mutex> lock(mutex_);
        produced_ = mcuRow + 1;
        changed_.notify_all();
        changed_.wait(lock, [&] { return stop_ || consumed_ >= mcuRow + 2 - kSlots; });
        return !stop_;
    }
    void finish(bool ok) {
        std::lock_guard<std::mutex> lock(mutex_);
        failed_ = !ok;
        finished_ = true;
        changed_.notify_all();
    }
    // Caller side: wait for row `mcuRow`; false when the worker failed first.
    bool await(int32_t mcuRow) {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [&] { return produced_ > mcuRow || finished_; });
        return produced_ > mcuRow;
    }
    void release(int32_t mcuRow) {
        std::lock_guard<std::mutex> lock(mutex_);
        consumed_ = mcuRow + 1;
        changed_.notify_all();
    }
    void stop() {
        std::lock_guard<std::mutex> lock(mutex_);
        stop_ = true;
        changed_.notify_all();
    }

private:
    std::vector<size_t> offset_;
    size_t blocksPerRow_ = 0;
    std::unique_ptr<int16_t[]> coefficients_;
    std::unique_ptr<uint8_t[]> covered_;
    std::mutex mutex_;
    std::condition_variable changed_;
    int32_t produced_ = 0, consumed_ = 0;
    bool finished_ = false, failed_ = false, stop_ = false;
};

bool decodeSinglePassTwoThreads(const uint8_t* data, size_t size, const JpegParsedScan& scan,
                                Layout& layout, OutputWriter& writer, Progress& progress,
                                std::string* error) {
    ScanTables tables;
    if (!tables.build(scan, error)) return false;
    const HuffmanDecodeSpec* const* dc = tables.dcOf;
    const HuffmanDecodeSpec* const* ac = tables.acOf;
    McuRowSlots slots(layout);
    std::string workerError;
    std::thread worker([&] {
        int32_t row = 0;
        const bool ok = walkScan(
            data, size, scan, layout,
            [&](int32_t m, int32_t c, int32_t bx, int32_t by, ScanReader& r) -> ZeqStatus {
                if (row < 0) return StatusBadArgument;  // the caller has stopped
                const size_t i = slots.index(layout, row, c, bx, by);
                const ZeqStatus s = zeqiDecodeHuffman8x8_JPEG_1u16s_C1(
                    r.src, r.size, &r.pos, slots.block(i), &r.lastDC[m], &r.marker, dc[m], ac[m],
                    r.state.get());
                slots.covered(i) = static_cast<uint8_t>(r.state.coveredCount());
                return s;
            },
            [&](int32_t mcuRow) {
                row = mcuRow + 1;
                if (!slots.publish(mcuRow)) row = -1;
            },
            &workerError);
        slots.finish(ok);
    });
    const int32_t step = layout.planes.step;
    int32_t done = 0;
    bool ok = true;
    for (int32_t my = 0; my < layout.mcusY && ok; ++my) {
        if (!slots.await(my)) {
            ok = false;
            break;
        }
        const McuRowStarts starts(layout, my);
        for (size_t c = 0; c < layout.components.size(); ++c) {
            const Component& k = layout.components[c];
            const int32_t bs = k.blockSize;
            const int32_t blocksWide =
                scan.header.components.size() == 1 ? k.scanBlocksWide : k.blocksWide;
            for (int32_t by = my * k.v; by < (my + 1) * k.v; ++by)
                for (int32_t bx = 0; bx < blocksWide; ++bx) {
                    const size_t i = slots.index(layout, my, int32_t(c), bx, by);
                    uint8_t* dst = starts.blockRow(int32_t(c), by) + bx * bs;
                    inverseBlock(slots.block(i), coverageOfCount(slots.covered(i)), dst, step, k);
                }
        }
        slots.release(my);
        const int32_t ready = rowsReady(layout, my);
        if (ready > done) writer.rows(done, ready);
        done = std::max(done, ready);
        progress.rowsDone(done);
    }
    slots.stop();
    worker.join();
    if (!ok) *error = workerError.empty() ? "the entropy-coded data are corrupt" : workerError;
    return ok;
}

bool decodeScanCoefficients(const uint8_t* data, size_t size, const JpegParsedScan& scan,
                            bool progressive, Layout& layout, std::string* error) {
    ScanTables tables;
    if (!tables.build(scan, error)) return false;
    const JpegScanHeader& h = scan.header;
    const HuffmanDecodeSpec* const* dc = tables.dcOf;
    const HuffmanDecodeSpec* const* ac = tables.acOf;
    const int32_t ss = h.ss, se = h.se, al = h.al;
    const bool refine = h.ah != 0;
    // One walk per kind of scan, so no block chooses its decoder.
    auto walk = [&](auto decodeBlock) {
        return walkScan(
            data, size, scan, layout,
            [&](int32_t m, int32_t c, int32_t bx, int32_t by, ScanReader& r) -> ZeqStatus {
                Component& k = layout.components[size_t(c)];
                return decodeBlock(m, k.coefficients.get() + (size_t(by) * k.blocksWide + bx) * 64,
                                   r);
            },
            [](int32_t) {}, error);
    };
    if (!progressive)
        return walk([&](int32_t m, int16_t* b, ScanReader& r) {
            return zeqiDecodeHuffman8x8_JPEG_1u16s_C1(r.src, r.size, &r.pos, b, &r.lastDC[m],
                                                      &r.marker, dc[m], ac[m], r.state.get());
        });
    if (ss == 0 && !refine)
        return walk([&](int32_t m, int16_t* b, ScanReader& r) {
            return zeqiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(
                r.src, r.size, &r.pos, b, &r.lastDC[m], &r.marker, al, dc[m], r.state.get());
        });
    if (ss == 0)
        return walk([&](int32_t, int16_t* b, ScanReader& r) {
            return zeqiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(r.src, r.size, &r.pos, b, &r.marker,
                                                               al, r.state.get());
        });
    if (!refine)
        return walk([&](int32_t m, int16_t* b, ScanReader& r) {
            return zeqiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(r.src, r.size, &r.pos, b, &r.marker,
                                                              ss, se, al, ac[m], r.state.get());
        });
    return walk([&](int32_t m, int16_t* b, ScanReader& r) {
        return zeqiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(r.src, r.size, &r.pos, b, &r.marker, ss,
                                                           se, al, ac[m], r.state.get());
    });
}

// The AC scans of one component in a progressive file, decoded together:
// one walk over the component's blocks takes each block through all of
// them in file order, each scan with its own reader, tables and restart
// count. A block's scans still come in file order, and no other scan
// touches its AC coefficients (DC scans change coefficient 0 only), so the
// coefficients are those of decoding the scans one after the other, while
// every block is loaded once rather than once per scan.
bool decodeComponentScans(const uint8_t* data, size_t size,
                          const std::vector<const JpegParsedScan*>& scans, int32_t c,
                          Layout& layout, std::string* error) {
    struct Pass {
        ScanTables tables;
        ScanReader reader;
        int32_t ss = 1, se = 63, al = 0;
        bool refine = false;
        RestartCount restart{0};
    };
    const size_t n = scans.size();
    std::unique_ptr<Pass[]> passes(new Pass[n]);
    for (size_t i = 0; i < n; ++i) {
        const JpegParsedScan& scan = *scans[i];
        Pass& p = passes[i];
        if (!p.tables.build(scan, error)) return false;
        p.reader.src = data + scan.dataOffset;
        p.reader.size = int32_t(std::min<size_t>(size - scan.dataOffset, INT32_MAX));
        p.ss = scan.header.ss;
        p.se = scan.header.se;
        p.al = scan.header.al;
        p.refine = scan.header.ah != 0;
        p.restart = RestartCount(scan.tables.restartInterval);
    }
    Component& k = layout.components[size_t(c)];
    for (int32_t by = 0; by < k.scanBlocksHigh; ++by) {
        int16_t* row = k.coefficients.get() + size_t(by) * size_t(k.blocksWide) * 64;
        for (int32_t bx = 0; bx < k.scanBlocksWide; ++bx) {
            int16_t* b = row + size_t(bx) * 64;
            for (size_t i = 0; i < n; ++i) {
                Pass& p = passes[i];
                ScanReader& r = p.reader;
                if (!p.restart.beforeMcu(r)) return fail(error, kMissingRestart);
                const HuffmanDecodeSpec* ac = p.tables.acOf[0];
                const ZeqStatus s = p.refine ? zeqiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(
                                                   r.src, r.size, &r.pos, b, &r.marker, p.ss, p.se,
                                                   p.al, ac, r.state.get())
                                             : zeqiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(
                                                   r.src, r.size, &r.pos, b, &r.marker, p.ss, p.se,
                                                   p.al, ac, r.state.get());
                if (s != StatusOk) return fail(error, statusText(s));
            }
        }
    }
    return true;
}

void reconstructStored(Layout& layout, OutputWriter& writer, Progress& progress) {
    const int32_t step = layout.planes.step;
    int32_t done = 0;
    for (int32_t my = 0; my < layout.mcusY; ++my) {
        const McuRowStarts starts(layout, my);
        for (size_t c = 0; c < layout.components.size(); ++c) {
            const Component& k = layout.components[c];
            const int32_t bs = k.blockSize;
            for (int32_t by = my * k.v; by < (my + 1) * k.v; ++by)
                for (int32_t bx = 0; bx < k.blocksWide; ++bx) {
                    int16_t* b = k.coefficients.get() + (size_t(by) * k.blocksWide + bx) * 64;
                    uint8_t* dst = starts.blockRow(int32_t(c), by) + bx * bs;
                    inverseBlock(b, bs == 8 ? coverageOfBlock(b) : Coverage::Full, dst, step, k);
                }
        }
        const int32_t ready = rowsReady(layout, my);
        if (ready > done) writer.rows(done, ready);
        done = std::max(done, ready);
        progress.rowsDone(done);
    }
}

}  // namespace

bool decodeDct(const uint8_t* data, size_t size, const JpegParsedFile& file,
               const JpegDecodeOptions& options, zeq::container::Image& image, std::string* error) {
    const JpegFrame& frame = file.frame;
    if (frame.precision != 8)
        return fail(
            error, std::to_string(frame.precision) + "-bit samples are not supported (8-bit only)");
    if (!samplingSupported(frame, error)) return false;
    const bool progressive = frame.sofMarker == zeq::container::MarkerSOF2;
    for (const JpegParsedScan& scan : file.scans)
        if (!checkScan(frame, scan, progressive, error)) return false;

    Layout layout;
    buildLayout(frame, options.scaleDenominator, layout);
    ColourSpace space = colourSpaceOf(file);
    if (!options.convertColour && space == ColourSpace::YCbCr) space = ColourSpace::RGB;
    prepareImage(image, layout.outWidth, layout.outHeight, space == ColourSpace::Grey ? 1 : 3);
    OutputWriter writer(layout.planes, space, image);
    Progress progress(progressWanted(options, frame.width, frame.height), layout.outHeight);

    const bool singlePass = !progressive && file.scans.size() == 1 &&
                            file.scans[0].header.components.size() == frame.components.size();
    if (singlePass) {
        if (!setQuant(file.scans[0], frame, layout, error)) return false;
        if (options.threads >= 2)
            return decodeSinglePassTwoThreads(data, size, file.scans[0], layout, writer, progress,
                                              error);
        return decodeSinglePass(data, size, file.scans[0], layout, writer, progress, error);
    }
    for (Component& k : layout.components) {
        k.coefficients.reset(static_cast<int16_t*>(
            std::calloc(size_t(k.blocksWide) * size_t(k.blocksHigh) * 64, sizeof(int16_t))));
        if (!k.coefficients) throw std::bad_alloc();
    }
    if (progressive) {
        // DC scans one after the other, then the AC scans of each component
        // together.
        std::vector<std::vector<const JpegParsedScan*>> acScans(layout.components.size());
        for (const JpegParsedScan& scan : file.scans) {
            if (!setQuant(scan, frame, layout, error)) return false;
            if (scan.header.ss > 0) {
                acScans[size_t(scan.header.components[0].componentIndex)].push_back(&scan);
                continue;
            }
            if (!decodeScanCoefficients(data, size, scan, progressive, layout, error)) return false;
        }
        for (size_t c = 0; c < acScans.size(); ++c)
            if (!acScans[c].empty() &&
                !decodeComponentScans(data, size, acScans[c], int32_t(c), layout, error))
                return false;
    } else {
        for (const JpegParsedScan& scan : file.scans) {
            if (!setQuant(scan, frame, layout, error)) return false;
            if (!decodeScanCoefficients(data, size, scan, progressive, layout, error)) return false;
        }
    }
    for (size_t c = 0; c < layout.components.size(); ++c)
        if (!layout.components[c].quantSet)
            return fail(error,
                        "component " + std::to_string(frame.components[c].id) + " is in no scan");
    reconstructStored(layout, writer, progress);
    return true;
}

}  // namespace zeqcodec::jpegdec
