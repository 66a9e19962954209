#include "zeqcodec/jpeg_encoder.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <thread>

#include "container/jpeg_standard_tables.h"
#include "container/jpeg_writer.h"
#include "zeqcodec/jpeg_encode_plan.h"

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

using McuConvert = ZeqStatus (*)(const uint8_t*, int32_t, int16_t* const[3]);

McuConvert colourConversion(int32_t sampling) {
    switch (sampling) {
        case 444:
            return zeqiRGBToYCbCr444LS_MCU_8u16s_C3P3R;
        case 422:
            return zeqiRGBToYCbCr422LS_MCU_8u16s_C3P3R;
        default:
            return zeqiRGBToYCbCr411LS_MCU_8u16s_C3P3R;
    }
}

}  // namespace

bool failStatus(const char* what, ZeqStatus status, std::string* error) {
    return fail(error, std::string(what) + " failed with status " + std::to_string(status));
}

bool ByteBuffer::reserve(size_t extra) {
    if (capacity_ - size_ >= extra) return true;
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

bool Plan::quantizedMcu(int32_t mx, int32_t my, int16_t* blocks, std::string* error) const {
    const Image& img = *image;
    const int32_t channels = img.channels;
    const int32_t x0 = mx * mcuWidth, y0 = my * mcuHeight;
    int32_t step = img.width * channels;
    const uint8_t* src =
        img.pixels.data() + (size_t(y0) * size_t(img.width) + size_t(x0)) * size_t(channels);
    alignas(16) uint8_t padded[16 * 16 * 3];
    if (x0 + mcuWidth > img.width || y0 + mcuHeight > img.height) {
        // Edge MCU: replicate the last column and row into a full MCU.
        const int32_t rowBytes = mcuWidth * channels;
        for (int32_t r = 0; r < mcuHeight; ++r) {
            const uint8_t* row =
                img.pixels.data() + size_t(std::min(y0 + r, img.height - 1)) * size_t(step);
            uint8_t* out = padded + r * rowBytes;
            for (int32_t c = 0; c < mcuWidth; ++c) {
                const uint8_t* p = row + size_t(std::min(x0 + c, img.width - 1)) * size_t(channels);
                for (int32_t k = 0; k < channels; ++k) out[c * channels + k] = p[k];
            }
        }
        src = padded;
        step = rowBytes;
    }
    ZeqStatus s;
    if (channels == 1) {
        s = zeqiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(src, step, blocks, forward[0]);
        return s == StatusOk || failStatus("forward DCT", s, error);
    }
    int16_t* const planes[3] = {blocks, blocks + 64 * components[1].firstBlock,
                                blocks + 64 * components[2].firstBlock};
    s = colourConversion(options.sampling)(src, step, planes);
    if (s != StatusOk) return failStatus("colour conversion", s, error);
    for (int32_t b = 0; b < blocksPerMcu; ++b) {
        s = zeqiDCTQuantFwd8x8_JPEG_16s_C1I(blocks + 64 * b,
                                            forward[b < components[1].firstBlock ? 0 : 1]);
        if (s != StatusOk) return failStatus("forward DCT", s, error);
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
        for (int32_t my = first; my < last; ++my) {
            for (int32_t mx = 0; mx < plan.mcusWide; ++mx) {
                int16_t* blocks =
                    store.get() + 64 * (size_t(my) * size_t(plan.mcusWide) + size_t(mx)) *
                                      size_t(plan.blocksPerMcu);
                if (!plan.quantizedMcu(mx, my, blocks, &errors[size_t(t)])) {
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
    zeq::container::JpegWriter w(file);
    w.startOfImage();
    // A lossless RGB file carries no JFIF header: JFIF means YCbCr.
    if (!(options.lossless && image.channels == 3)) w.jfifHeader();
    if (!options.lossless) w.quantTables(plan.quant, size_t(plan.quantCount));
    w.frameHeader(plan.frame);
    const bool ok = options.lossless      ? jpeg::encodeLossless(plan, file, error)
                    : options.progressive ? jpeg::encodeProgressive(plan, file, error)
                                          : jpeg::encodeSequential(plan, file, error);
    if (!ok) {
        file.clear();
        return false;
    }
    w.endOfImage();
    jpeg::reportProgress(plan, 1, 1);
    return true;
}

}  // namespace zeqcodec
