#include "zeqcodec/jpeg_decoder.h"

#include <new>

#include "container/jpeg_parser.h"
#include "zeqcodec/cli.h"
#include "zeqcodec/jpeg_decode_internal.h"

namespace zeqcodec {
namespace {

using zeq::container::JpegParsedFile;
using zeq::container::JpegParsedScan;

// Every coded block (and lossless sample) takes at least one bit of its
// scans, so a frame far larger than its data can only be corrupt; refusing it
// before the planes are allocated keeps a damaged header from asking for
// gigabytes. The slack covers edge padding of tiny images.
constexpr uint64_t kPixelsPerDataBit = 64;
constexpr uint64_t kPixelSlack = 1 << 16;

bool plausibleSize(const JpegParsedFile& file) {
    uint64_t bits = 0;
    for (const JpegParsedScan& scan : file.scans) bits += uint64_t(scan.dataSize) * 8;
    const bool lossless = file.frame.sofMarker == zeq::container::MarkerSOF3;
    const uint64_t pixels = uint64_t(file.frame.width) * file.frame.height;
    return pixels <= bits * (lossless ? 1 : kPixelsPerDataBit) + kPixelSlack;
}

}  // namespace

bool decodeJpeg(const uint8_t* data, size_t size, const JpegDecodeOptions& options,
                zeq::container::Image& image, std::string* error) {
    std::string message;
    std::string* why = error ? error : &message;
    const int32_t d = options.scaleDenominator;
    if (d != 1 && d != 2 && d != 4) {
        *why = "the scale must be 1, 1/2 or 1/4";
        return false;
    }
    JpegParsedFile file;
    if (!zeq::container::parseJpegFile(data, size, file, why)) return false;
    if (!plausibleSize(file)) {
        *why = "the scans are far too short for a " + std::to_string(file.frame.width) + "x" +
               std::to_string(file.frame.height) + " image (corrupt or truncated file)";
        return false;
    }
    try {
        if (file.frame.sofMarker == zeq::container::MarkerSOF3)
            return jpegdec::decodeLossless(data, size, file, options, image, why);
        return jpegdec::decodeDct(data, size, file, options, image, why);
    } catch (const std::bad_alloc&) {
        *why = "out of memory";
        return false;
    }
}

int runJpegDecode(const Arguments& args) {
    const std::string command = "jpeg-decode";
    ParsedArguments parsed;
    std::string error;
    if (!parsed.parse(args, {}, {"--scale"}, &error)) return reportError(command, error);
    if (parsed.positional().size() != 2)
        return reportError(command,
                           "usage: zeqcodec jpeg-decode IN.jpg OUT.ppm [--scale 1|1/2|1/4]");
    JpegDecodeOptions options;
    options.reportProgress = true;
    const std::string scale = parsed.value("--scale", "1");
    if (scale == "1") {
        options.scaleDenominator = 1;
    } else if (scale == "1/2") {
        options.scaleDenominator = 2;
    } else if (scale == "1/4") {
        options.scaleDenominator = 4;
    } else {
        return reportError(command, "--scale wants 1, 1/2 or 1/4, not '" + scale + "'");
    }
    std::vector<uint8_t> bytes;
    if (!zeq::container::readFile(parsed.positional()[0], bytes, &error))
        return reportError(command, error);
    zeq::container::Image image;
    if (!decodeJpeg(bytes.data(), bytes.size(), options, image, &error))
        return reportError(command, parsed.positional()[0] + ": " + error);
    if (!zeq::container::writeNetpbm(parsed.positional()[1], image, &error))
        return reportError(command, error);
    return 0;
}

}  // namespace zeqcodec
