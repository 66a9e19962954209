#include "zeqcodec/jpeg_encoder.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>
#include <thread>

#include "container/jpeg_standard_tables.h"
#include "container/jpeg_writer.h"
#include "zeqcodec/jpeg_encode_plan.h"
#include "zeqcodec/serial_pieces.h"

namespace zeqcodec {
namespace jpeg {

using zeq::container::Image;
using zeq::container::JpegComponent;

namespace {

// Images above this many pixels report their progress on stderr.
constexpr uint64_t ProgressPixels = 20'000'000;
constexpr int32_t MaxThreads = 64;

bool fail(std::string* error, const std::string& why) {
    *error = why;
    return false;
}

}  // namespace

bool failStatus(const char* what, ZeqStatus status, std::string* error) {
    return fail(error, std::string(what) + " failed with status " + std::to_string(status));
}

bool ByteBuffer::growToFit(size_t extra) {
    size_t capacity = std::max<size_t>(capacity_ * 2, 1 << 16);
    while (capacity - size_ < extra) capacity *= 2;
    void* grown = std::realloc(data_, capacity);
    if (!grown) return false;
    data_ = static_cast<uint8_t*>(grown);
    capacity_ = capacity;
    return true;
}

EncodeState::EncodeState() {
    if (zeqiEncodeHuffmanStateInitAlloc_JPEG_8u(&state) != StatusOk) state = nullptr;
}

EncodeState::~EncodeState() {
    if (state) zeqiEncodeHuffmanStateFree_JPEG_8u(state);
}

bool CodeTable::build(const zeq::container::JpegHuffmanTable& table, std::string* error) {
    definition = table;
    int32_t size = 0;
    zeqiEncodeHuffmanSpecGetBufSize_JPEG_8u(&size);
    spec.assign(size_t(size), 0);
    const ZeqStatus s =
        zeqiEncodeHuffmanSpecInit_JPEG_8u(table.counts.data(), table.symbols.data(),
                                          reinterpret_cast<HuffmanEncodeSpec*>(spec.data()));
    return s == StatusOk || failStatus("Huffman table preparation", s, error);
}

bool CodeTable::fromStatistics(std::vector<int32_t> statistics, uint8_t tableClass, uint8_t id,
                               std::string* error) {
    statistics.resize(257);
    if (std::all_of(statistics.begin(), statistics.begin() + 256, [](int32_t n) { return n == 0; }))
        statistics[0] = 1;
    zeq::container::JpegHuffmanTable table;
    table.tableClass = tableClass;
    table.id = id;
    uint8_t values[256];
    const ZeqStatus s =
        zeqiEncodeHuffmanRawTableInit_JPEG_8u(statistics.data(), table.counts.data(), values);
    if (s != StatusOk) return failStatus("optimal Huffman table", s, error);
    int32_t count = 0;
    for (uint8_t n : table.counts) count += n;
    table.symbols.assign(values, values + count);
    return build(table, error);
}

bool makePlan(const Image& image, const JpegEncodeOptions& options, Plan& plan,
              std::string* error) {
    if (image.channels != 1 && image.channels != 3)
        return fail(error, "only grey and RGB images can be encoded");
    if (image.width < 1 || image.height < 1 || image.width > 65535 || image.height > 65535)
        return fail(error, "image size " + std::to_string(image.width) + "x" +
                               std::to_string(image.height) +
                               " is outside what JPEG can hold (1..65535 on each side)");
    if (image.pixels.size() != size_t(image.width) * size_t(image.height) * size_t(image.channels))
        return fail(error, "the pixel buffer does not match the image size");
    if (options.quality < 1 || options.quality > 100)
        return fail(error, "quality must be from 1 to 100");
    if (options.sampling != 444 && options.sampling != 422 && options.sampling != 420)
        return fail(error, "sampling must be 444, 422 or 420");
    if (options.restartInterval < 0 || options.restartInterval > 65535)
        return fail(error, "the restart interval must be from 0 to 65535 MCUs");
    if (options.threads < 1 || options.threads > MaxThreads)
        return fail(error, "the thread count must be from 1 to " + std::to_string(MaxThreads));
    if (options.lossless) {
        if (options.progressive) return fail(error, "lossless files cannot be progressive");
        if (options.restartInterval != 0)
            return fail(error, "restart intervals are not supported in lossless files");
        if (options.predictor < 1 || options.predictor > 7)
            return fail(error, "the lossless predictor must be from 1 to 7");
    }

    plan.image = &image;
    plan.options = options;
    plan.frame = {};
    plan.frame.width = static_cast<uint16_t>(image.width);
    plan.frame.height = static_cast<uint16_t>(image.height);
    plan.components.clear();
    const bool colour = image.channels == 3;
    if (options.lossless) {
        // Lossless colour stays RGB (a colour transform would lose bits); the
        // component ids 'R', 'G', 'B' say so to readers.
        plan.frame.sofMarker = zeq::container::MarkerSOF3;
        static const uint8_t kRgbIds[3] = {'R', 'G', 'B'};
        for (int c = 0; c < image.channels; ++c) {
            plan.frame.components.push_back({colour ? kRgbIds[c] : uint8_t(1), 1, 1, 0});
            ComponentPlan p;
            p.blocksWide = image.width;
            p.blocksHigh = image.height;
            plan.components.push_back(p);
        }
        return true;
    }

    plan.frame.sofMarker =
        options.progressive ? zeq::container::MarkerSOF2 : zeq::container::MarkerSOF0;
    const int32_t hMax = colour && options.sampling != 444 ? 2 : 1;
    const int32_t vMax = colour && options.sampling == 420 ? 2 : 1;
    plan.mcuWidth = 8 * hMax;
    plan.mcuHeight = 8 * vMax;
    plan.mcusWide = (image.width + plan.mcuWidth - 1) / plan.mcuWidth;
    plan.mcusHigh = (image.height + plan.mcuHeight - 1) / plan.mcuHeight;
    plan.blocksPerMcu = 0;
    for (int c = 0; c < image.channels; ++c) {
        ComponentPlan p;
        p.h = c == 0 ? hMax : 1;
        p.v = c == 0 ? vMax : 1;
        p.table = c == 0 ? 0 : 1;
        p.firstBlock = plan.blocksPerMcu;
        const int32_t width = (image.width * p.h + hMax - 1) / hMax;
        const int32_t height = (image.height * p.v + vMax - 1) / vMax;
        p.blocksWide = (width + 7) / 8;
        p.blocksHigh = (height + 7) / 8;
        plan.blocksPerMcu += p.h * p.v;
        plan.components.push_back(p);
        plan.frame.components.push_back(
            JpegComponent{uint8_t(c + 1), uint8_t(p.h), uint8_t(p.v), uint8_t(p.table)});
    }
    plan.quantCount = colour ? 2 : 1;
    for (int t = 0; t < plan.quantCount; ++t) {
        uint8_t raw[64];
        std::memcpy(raw,
                    (t == 0 ? zeq::container::kLuminanceQuantZigzag
                            : zeq::container::kChrominanceQuantZigzag)
                        .data(),
                    64);
        ZeqStatus s = zeqiQuantFwdRawTableInit_JPEG_8u(raw, options.quality);
        if (s == StatusOk) s = zeqiQuantFwdTableInit_JPEG_8u16u(raw, plan.forward[t]);
        if (s != StatusOk) return failStatus("quantization table", s, error);
        plan.quant[t].id = uint8_t(t);
        std::copy(raw, raw + 64, plan.quant[t].zigzag.begin());
    }
    return true;
}

StripQuantizer::StripQuantizer(const Plan& plan)
    : plan_(plan), paddedWidth_(plan.mcusWide * plan.mcuWidth) {
    const size_t fullSize = size_t(paddedWidth_) * size_t(plan.mcuHeight);
    for (size_t c = 0; c < plan.components.size(); ++c) full_[c].resize(fullSize);
    if (plan.components.size() == 3 && plan.components[0].h * plan.components[0].v > 1)
        for (auto& s : sampled_) s.resize(size_t(paddedWidth_ / 2) * 8);
}

bool StripQuantizer::strip(int32_t my, std::string* error) {
    const Image& img = *plan_.image;
    const int32_t y0 = my * plan_.mcuHeight, width = img.width;
    const size_t pw = size_t(paddedWidth_);
    row_ = my;
    if (img.channels == 1) {
        if (y0 + plan_.mcuHeight <= img.height && width == paddedWidth_) {
            plane_[0] = img.pixels.data() + size_t(y0) * size_t(width);
            step_[0] = width;
            locateBlocks();
            return true;
        }
        for (int32_t r = 0; r < plan_.mcuHeight; ++r) {
            uint8_t* out = full_[0].data() + size_t(r) * pw;
            const uint8_t* in =
                img.pixels.data() + size_t(std::min(y0 + r, img.height - 1)) * size_t(width);
            std::memcpy(out, in, size_t(width));
            std::memset(out + width, in[width - 1], pw - size_t(width));
        }
        plane_[0] = full_[0].data();
        step_[0] = paddedWidth_;
        locateBlocks();
        return true;
    }
    // Rows are converted in pieces the library keeps on this thread: threads
    // split MCU rows instead.
    for (int32_t r = 0; r < plan_.mcuHeight; ++r) {
        const int32_t y = std::min(y0 + r, img.height - 1);
        if (r > 0 && y == std::min(y0 + r - 1, img.height - 1)) {
            for (auto& f : full_)
                std::memcpy(f.data() + size_t(r) * pw, f.data() + size_t(r - 1) * pw, pw);
            continue;
        }
        const uint8_t* in = img.pixels.data() + size_t(y) * size_t(width) * 3;
        ZeqStatus s = StatusOk;
        forEachSerialPiece(width, [&](int32_t x, int32_t n) {
            uint8_t* const out[3] = {full_[0].data() + size_t(r) * pw + size_t(x),
                                     full_[1].data() + size_t(r) * pw + size_t(x),
                                     full_[2].data() + size_t(r) * pw + size_t(x)};
            s = zeqiRGBToYCbCr_JPEG_8u_C3P3R(in + size_t(x) * 3, width * 3, out, paddedWidth_,
                                             ZeqiSize{n, 1});
            return s == StatusOk;
        });
        if (s != StatusOk) return failStatus("colour conversion", s, error);
        for (auto& f : full_) {
            uint8_t* row = f.data() + size_t(r) * pw;
            std::memset(row + width, row[width - 1], pw - size_t(width));
        }
    }
    for (int c = 0; c < 3; ++c) {
        plane_[c] = full_[c].data();
        step_[c] = paddedWidth_;
    }
    const ComponentPlan& luma = plan_.components[0];
    if (luma.h == 1 && luma.v == 1) {
        locateBlocks();
        return true;
    }
    const int32_t half = paddedWidth_ / 2;
    for (int c = 1; c < 3; ++c) {
        const uint8_t* src = full_[c].data();
        uint8_t* dst = sampled_[c - 1].data();
        for (int32_t j = 0; j < 8; ++j) {
            const ZeqStatus s =
                luma.v == 2 ? zeqiSampleDownRowH2V2_Box_JPEG_8u_C1(
                                  src + size_t(2 * j) * pw, src + size_t(2 * j + 1) * pw,
                                  paddedWidth_, dst + size_t(j * half))
                            : zeqiSampleDownRowH2V1_Box_JPEG_8u_C1(
                                  src + size_t(j) * pw, paddedWidth_, dst + size_t(j * half));
            if (s != StatusOk) return failStatus("chroma down-sampling", s, error);
        }
        plane_[c] = dst;
        step_[c] = half;
    }
    locateBlocks();
    return true;
}

void StripQuantizer::locateBlocks() {
    int32_t b = 0;
    for (size_t c = 0; c < plan_.components.size(); ++c) {
        const ComponentPlan& p = plan_.components[c];
        for (int32_t by = 0; by < p.v; ++by)
            for (int32_t bx = 0; bx < p.h; ++bx)
                blocks_[b++] = {plane_[c] + size_t(by * 8) * size_t(step_[c]) + size_t(bx * 8),
                                step_[c], p.h * 8, plan_.forward[p.table]};
    }
}

bool StripQuantizer::mcu(int32_t mx, int16_t* blocks, std::string* error) const {
    for (int32_t b = 0; b < plan_.blocksPerMcu; ++b) {
        const BlockSource& s = blocks_[b];
        const ZeqStatus status = zeqiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(
            s.first + size_t(mx) * size_t(s.mcuStride), s.step, blocks + 64 * b, s.table);
        if (status != StatusOk) return failStatus("forward DCT", status, error);
    }
    return true;
}

void reportProgress(const Plan& plan, size_t done, size_t total) {
    if (!plan.options.progress ||
        uint64_t(plan.image->width) * uint64_t(plan.image->height) <= ProgressPixels)
        return;
    std::fprintf(stderr, "\rzeqcodec: encoding %3u%%%s", unsigned(done * 100 / total),
                 done == total ? "\n" : "");
    std::fflush(stderr);
}

bool quantizeImage(const Plan& plan, std::unique_ptr<int16_t[]>& store, std::string* error) {
    store.reset(new int16_t[plan.blocksTotal() * 64]);
    const int32_t threads = std::min(plan.options.threads, plan.mcusHigh);
    std::vector<std::string> errors(static_cast<size_t>(threads));
    std::vector<char> ok(size_t(threads), 1);
    auto work = [&](int32_t t) {
        const int32_t first = int32_t(int64_t(plan.mcusHigh) * t / threads);
        const int32_t last = int32_t(int64_t(plan.mcusHigh) * (t + 1) / threads);
        StripQuantizer quantizer(plan);
        for (int32_t my = first; my < last; ++my) {
            if (!quantizer.strip(my, &errors[size_t(t)])) {
                ok[size_t(t)] = 0;
                return;
            }
            for (int32_t mx = 0; mx < plan.mcusWide; ++mx) {
                int16_t* blocks =
                    store.get() + 64 * (size_t(my) * size_t(plan.mcusWide) + size_t(mx)) *
                                      size_t(plan.blocksPerMcu);
                if (!quantizer.mcu(mx, blocks, &errors[size_t(t)])) {
                    ok[size_t(t)] = 0;
                    return;
                }
            }
            if (t == 0)
                reportProgress(plan, size_t(my + 1 - first) * size_t(threads),
                               size_t(plan.mcusHigh) * 2);
        }
    };
    std::vector<std::thread> helpers;
    for (int32_t t = 1; t < threads; ++t) helpers.emplace_back(work, t);
    work(0);
    for (std::thread& h : helpers) h.join();
    for (int32_t t = 0; t < threads; ++t)
        if (!ok[size_t(t)]) return fail(error, errors[size_t(t)]);
    return true;
}

}  // namespace jpeg

bool encodeJpeg(const zeq::container::Image& image, const JpegEncodeOptions& options,
                std::vector<uint8_t>& file, std::string* error) {
    jpeg::Plan plan;
    if (!jpeg::makePlan(image, options, plan, error)) return false;
    file.clear();
    bool ok = false;
    try {
        zeq::container::JpegWriter w(file);
        w.startOfImage();
        // A lossless RGB file carries no JFIF header: JFIF means YCbCr.
        if (!(options.lossless && image.channels == 3)) w.jfifHeader();
        if (!options.lossless) w.quantTables(plan.quant, size_t(plan.quantCount));
        w.frameHeader(plan.frame);
        ok = options.lossless      ? jpeg::encodeLossless(plan, file, error)
             : options.progressive ? jpeg::encodeProgressive(plan, file, error)
                                   : jpeg::encodeSequential(plan, file, error);
        if (ok) w.endOfImage();
    } catch (const std::bad_alloc&) {
        ok = false;
        *error = "out of memory for an image of " + std::to_string(image.width) + "x" +
                 std::to_string(image.height);
    }
    if (!ok) {
        file.clear();
        return false;
    }
    jpeg::reportProgress(plan, 1, 1);
    return true;
}

}  // namespace zeqcodec
