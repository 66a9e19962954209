#include "zeqcodec/tiff_codec.h"

#include <algorithm>
#include <limits>

#include "container/tiff.h"
#include "zeqcodec/cli.h"
#include "zeqcodec/image_file_commands.h"
#include "zeqj.h"

namespace zeqcodec {
namespace {

using zeq::container::Image;

// Strips of about this many uncompressed bytes keep readers' buffers small.
constexpr int64_t kStripTargetBytes = 8192;
// A PackBits row never grows past twice its length plus a header.
constexpr int64_t kMaxRowBytes = (std::numeric_limits<int32_t>::max() - 2) / 2;

bool fail(std::string* error, const std::string& why) {
    if (error) *error = why;
    return false;
}

}  // namespace

int32_t tiffRowsPerStrip(int64_t rowBytes) {
    return static_cast<int32_t>(std::max<int64_t>(1, kStripTargetBytes / rowBytes));
}

bool encodeTiffPackBits(const Image& image, std::vector<uint8_t>& file, std::string* error) {
    file.clear();
    if (image.channels != 1 && image.channels != 3)
        return fail(error, "only grey or RGB images can be written");
    const int64_t rowBytes = int64_t{image.width} * image.channels;
    if (image.width < 1 || image.height < 1 || rowBytes > kMaxRowBytes)
        return fail(error, "image size " + std::to_string(image.width) + "x" +
                               std::to_string(image.height) + " is outside what this writer takes");
    if (image.pixels.size() != static_cast<size_t>(rowBytes) * static_cast<size_t>(image.height))
        return fail(error, "image pixels do not match its size");
    const zeq::container::TiffImageShape shape = {image.width, image.height, image.channels,
                                                  tiffRowsPerStrip(rowBytes)};
    const auto rowLength = static_cast<int32_t>(rowBytes);
    std::vector<std::vector<uint8_t>> strips;
    for (int32_t s = 0; s < zeq::container::tiffStripCount(shape); ++s) {
        const int32_t rows = zeq::container::tiffRowsInStrip(shape, s);
        const int64_t rowCapacity = 2 * rowBytes + 2;
        if (rows * rowCapacity > std::numeric_limits<int32_t>::max())
            return fail(error, "strip too large");
        std::vector<uint8_t> strip(static_cast<size_t>(rows * rowCapacity));
        int32_t position = 0;
        for (int32_t r = 0; r < rows; ++r) {
            const uint8_t* row = image.pixels.data() +
                                 (static_cast<size_t>(s) * static_cast<size_t>(shape.rowsPerStrip) +
                                  static_cast<size_t>(r)) *
                                     static_cast<size_t>(rowBytes);
            // Each row is its own run of packets, as TIFF readers expect.
            const ZeqStatus st =
                zeqiPackBitsRow_TIFF_8u_C1(row, rowLength, strip.data(), &position,
                                           static_cast<int32_t>(position + rowCapacity));
            if (st != StatusOk)
                return fail(error, "PackBits encoder failed with status " + std::to_string(st));
        }
        strip.resize(static_cast<size_t>(position));
        strips.push_back(std::move(strip));
    }
    file = zeq::container::formatPackBitsTiff(shape, strips);
    return true;
}

bool decodeTiffPackBits(const uint8_t* data, size_t size, Image& image, std::string* error) {
    image = Image{};
    zeq::container::TiffPackBitsFile tiff;
    if (!zeq::container::parsePackBitsTiff(data, size, tiff, error)) return false;
    const auto& shape = tiff.shape;
    const size_t rowBytes =
        static_cast<size_t>(shape.width) * static_cast<size_t>(shape.samplesPerPixel);
    std::vector<uint8_t> pixels(rowBytes * static_cast<size_t>(shape.height));
    for (size_t s = 0; s < tiff.strips.size(); ++s) {
        const auto& span = tiff.strips[s];
        const auto strip = static_cast<int32_t>(s);
        // The parser bounds a strip's decoded bytes by INT32_MAX; its coded
        // bytes are only read as far as its rows need.
        const auto stripBytes = static_cast<int32_t>(
            rowBytes * static_cast<size_t>(zeq::container::tiffRowsInStrip(shape, strip)));
        const auto codedBytes = static_cast<int32_t>(
            std::min<uint32_t>(span.bytes, std::numeric_limits<int32_t>::max()));
        int32_t position = 0;
        // Whole strips are decoded in one call: a packet may then cross a row
        // end, which some writers do, without harm.
        const ZeqStatus st = zeqiUnpackBitsRow_TIFF_8u_C1(
            data + span.offset, &position, codedBytes,
            pixels.data() + s * static_cast<size_t>(shape.rowsPerStrip) * rowBytes, stripBytes);
        if (st == StatusRowBufferExhausted)
            return fail(error, "PackBits data of strip " + std::to_string(s) +
                                   " end early or overrun its rows (stopped at byte " +
                                   std::to_string(position) + " of " + std::to_string(span.bytes) +
                                   ")");
        if (st != StatusOk)
            return fail(error, "PackBits decoder failed with status " + std::to_string(st));
    }
    if (tiff.whiteIsZero)
        for (uint8_t& v : pixels) v = static_cast<uint8_t>(255 - v);
    image.width = shape.width;
    image.height = shape.height;
    image.channels = shape.samplesPerPixel;
    image.pixels = std::move(pixels);
    return true;
}

int runTiffPackBits(const Arguments& args) {
    return runEncodeFromNetpbm(
        "tiff-packbits", args, {}, "expects IN.pgm|IN.ppm OUT.tif",
        [](const Image& image, const ParsedArguments&, std::vector<uint8_t>& file,
           std::string* error) { return encodeTiffPackBits(image, file, error); });
}

int runTiffUnpack(const Arguments& args) {
    return runDecodeToNetpbm("tiff-unpack", args, "expects IN.tif OUT.ppm", decodeTiffPackBits);
}

}  // namespace zeqcodec
