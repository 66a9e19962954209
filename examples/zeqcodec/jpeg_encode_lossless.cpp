// Lossless (predictive) scans: one interleaved scan of sample differences,
// coded row by row with the example DC table or with an optimal one.
#include <algorithm>
#include <climits>

#include "container/jpeg_standard_tables.h"
#include "container/jpeg_writer.h"
#include "zeqcodec/jpeg_encode_plan.h"

namespace zeqcodec::jpeg {

bool encodeLossless(const Plan& plan, std::vector<uint8_t>& file, std::string* error) {
    const zeq::container::Image& img = *plan.image;
    const int32_t width = img.width, comps = img.channels;
    constexpr int32_t Precision = 8, PointTransform = 0;
    // Differences of every row and component; the optimal table needs them
    // all before the first code is written.
    std::vector<int16_t> diffs(size_t(width) * size_t(img.height) * size_t(comps));
    std::vector<int16_t> rows[2] = {std::vector<int16_t>(size_t(width) * size_t(comps)),
                                    std::vector<int16_t>(size_t(width) * size_t(comps))};
    for (int32_t y = 0; y < img.height; ++y) {
        int16_t* current = rows[y & 1].data();
        const int16_t* above = rows[(y + 1) & 1].data();
        const uint8_t* src = img.pixels.data() + size_t(y) * size_t(width) * size_t(comps);
        for (int32_t c = 0; c < comps; ++c) {
            int16_t* samples = current + size_t(c) * size_t(width);
            for (int32_t x = 0; x < width; ++x)
                samples[x] = src[size_t(x) * size_t(comps) + size_t(c)];
            int16_t* out = diffs.data() + (size_t(y) * size_t(comps) + size_t(c)) * size_t(width);
            const ZeqStatus s =
                y == 0 ? zeqiDiffPredFirstRow_JPEG_16s_C1(samples, out, width, Precision,
                                                          PointTransform)
                       : zeqiDiffPredRow_JPEG_16s_C1(samples, above + size_t(c) * size_t(width),
                                                     out, width, plan.options.predictor);
            if (s != StatusOk) return failStatus("prediction", s, error);
        }
    }

    CodeTable table;
    if (plan.options.optimize) {
        std::vector<int32_t> stats(257, 0);
        for (const int16_t& d : diffs) {
            const ZeqStatus s = zeqiGetHuffmanStatisticsOne_JPEG_16s_C1(&d, stats.data());
            if (s != StatusOk) return failStatus("statistics", s, error);
        }
        if (!table.fromStatistics(stats, 0, 0, error)) return false;
    } else if (!table.build(zeq::container::standardDcLuminance(), error)) {
        return false;
    }
    zeq::container::JpegWriter w(file);
    w.huffmanTables(&table.definition, 1);
    zeq::container::JpegScanHeader scan;
    for (int32_t c = 0; c < comps; ++c) scan.components.push_back({uint8_t(c), 0, 0});
    scan.ss = uint8_t(plan.options.predictor);
    scan.se = 0;
    scan.al = PointTransform;
    w.scanHeader(plan.frame, scan);

    EncodeState state;
    if (!state.state) return failStatus("coder state", StatusNullPointer, error);
    ByteBuffer out;
    const HuffmanEncodeSpec* const tables[4] = {table.get(), table.get(), table.get(), table.get()};
    // A difference codes in at most 16 + 16 bits, stuffed.
    const size_t rowBytes = size_t(width) * size_t(comps) * 8 + 8;
    for (int32_t y = 0; y <= img.height; ++y) {
        if (!out.reserve(rowBytes)) return failStatus("output buffer", StatusNullPointer, error);
        int32_t pos = 0;
        const int16_t* planes[4] = {nullptr, nullptr, nullptr, nullptr};
        if (y < img.height)
            for (int32_t c = 0; c < comps; ++c)
                planes[c] = diffs.data() + (size_t(y) * size_t(comps) + size_t(c)) * size_t(width);
        const ZeqStatus s = zeqiEncodeHuffmanRow_JPEG_16s1u_P4C1(
            planes, width, comps, out.end(), int32_t(std::min<size_t>(out.room(), INT32_MAX)), &pos,
            tables, state.state, y == img.height);
        if (s != StatusOk) return failStatus("lossless row coding", s, error);
        out.grow(size_t(pos));
        if (y < img.height && (y & 63) == 0) reportProgress(plan, size_t(y), size_t(img.height));
    }
    file.insert(file.end(), out.data(), out.data() + out.size());
    return true;
}

}  // namespace zeqcodec::jpeg
