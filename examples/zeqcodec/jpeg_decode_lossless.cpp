// Lossless (SOF3) frames: rows of differences from the library's row
// decoder, samples from its predictors.
#include <algorithm>
#include <climits>

#include "zeqcodec/jpeg_decode_internal.h"

namespace zeqcodec::jpegdec {
namespace {

using zeq::container::JpegFrame;
using zeq::container::JpegParsedFile;
using zeq::container::JpegParsedScan;

bool fail(std::string* error, const std::string& message) {
    *error = message;
    return false;
}

bool decodeScan(const uint8_t* data, size_t size, const JpegParsedScan& scan, int32_t width,
                int32_t height, PlaneSet& planes, std::string* error) {
    const auto& members = scan.header.components;
    const int32_t predictor = scan.header.ss, pointTransform = scan.header.al;
    if (predictor < 1 || predictor > 7)
        return fail(error, "lossless predictor " + std::to_string(predictor) + " is not 1 to 7");
    if (pointTransform > 7) return fail(error, "lossless point transform above 7");
    const int32_t interval = scan.tables.restartInterval;
    if (interval % width != 0)
        return fail(error, "lossless restart intervals that are not whole rows are not supported");
    const int32_t rowsPerInterval = interval / width;

    DecodeSpec specs[4];
    const HuffmanDecodeSpec* tables[4] = {};
    const size_t n = members.size();
    for (size_t m = 0; m < n; ++m) {
        const uint8_t id = members[m].dcTable;
        if (!scan.tables.dcDefined[id] || !specs[m].build(scan.tables.dc[id]))
            return fail(error, "Huffman table " + std::to_string(id) + " is missing or invalid");
        tables[m] = specs[m].get();
    }
    // Differences, then the reconstructed row and the one above, per member.
    std::vector<int16_t> rows(size_t(width) * 3 * n);
    int16_t* diff[4] = {};
    int16_t* current[4] = {};
    int16_t* above[4] = {};
    for (size_t m = 0; m < n; ++m) {
        diff[m] = rows.data() + size_t(width) * (3 * m);
        current[m] = diff[m] + width;
        above[m] = current[m] + width;
    }
    const uint8_t* src = data + scan.dataOffset;
    const int32_t srcLen = int32_t(std::min<size_t>(size - scan.dataOffset, INT32_MAX));
    int32_t pos = 0, marker = 0, restarts = 0;
    DecodeState state;
    bool firstRow = true;
    for (int32_t y = 0; y < height; ++y) {
        if (rowsPerInterval > 0 && y > 0 && y % rowsPerInterval == 0) {
            if (!takeRestartMarker(src, srcLen, pos, marker, restarts++, state))
                return fail(error, "a restart marker is missing or out of order");
            firstRow = true;
        }
        const ZeqStatus s = zeqiDecodeHuffmanRow_JPEG_1u16s_C1P4(
            src, srcLen, &pos, diff, width, int32_t(n), &marker, tables, state.get());
        if (s != StatusOk) return fail(error, statusText(s));
        for (size_t m = 0; m < n; ++m) {
            if (firstRow)
                zeqiReconstructPredFirstRow_JPEG_16s_C1(diff[m], current[m], width, 8,
                                                        pointTransform);
            else
                zeqiReconstructPredRow_JPEG_16s_C1(diff[m], above[m], current[m], width, predictor);
            uint8_t* out = planes.row(members[m].componentIndex, y);
            for (int32_t x = 0; x < width; ++x) {
                const int32_t v = int32_t(current[m][x]) * (1 << pointTransform);
                out[x] = static_cast<uint8_t>(std::clamp(v, 0, 255));
            }
            std::swap(current[m], above[m]);
        }
        firstRow = false;
    }
    return true;
}

}  // namespace

bool decodeLossless(const uint8_t* data, size_t size, const JpegParsedFile& file,
                    const JpegDecodeOptions& options, zeq::container::Image& image,
                    std::string* error) {
    const JpegFrame& frame = file.frame;
    if (frame.precision != 8)
        return fail(error, "lossless files of " + std::to_string(frame.precision) +
                               "-bit samples are not supported (8-bit only)");
    if (frame.components.size() != 1 && frame.components.size() != 3)
        return fail(error, "lossless files need 1 or 3 components");
    for (const auto& c : frame.components)
        if (c.h != 1 || c.v != 1)
            return fail(error, "lossless files with sub-sampled components are not supported");
    if (options.scaleDenominator != 1)
        return fail(error, "scaled decoding is for DCT files; lossless files decode at full size");
    PlaneSet planes;
    const int32_t rows[3] = {frame.height, frame.height, frame.height};
    planes.allocate(int32_t(frame.components.size()), frame.width, rows, false);
    for (int32_t c = 0; c < planes.count; ++c) {
        planes.width[c] = frame.width;
        planes.height[c] = frame.height;
    }
    std::vector<bool> seen(frame.components.size());
    for (const JpegParsedScan& scan : file.scans) {
        if (!decodeScan(data, size, scan, frame.width, frame.height, planes, error)) return false;
        for (const auto& m : scan.header.components) seen[m.componentIndex] = true;
    }
    if (std::find(seen.begin(), seen.end(), false) != seen.end())
        return fail(error, "a component is in no scan");
    ColourSpace space = colourSpaceOf(file);
    if (!options.convertColour && space == ColourSpace::YCbCr) space = ColourSpace::RGB;
    prepareImage(image, frame.width, frame.height, space == ColourSpace::Grey ? 1 : 3);
    Progress progress(progressWanted(options, frame.width, frame.height), frame.height);
    OutputWriter writer(planes, space, image);
    writer.rows(0, frame.height);
    progress.rowsDone(frame.height);
    return true;
}

}  // namespace zeqcodec::jpegdec
