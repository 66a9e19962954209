// The JPEG file parser and the JPEG decoder of the example codecs on
// arbitrary files: the parser accepts or refuses any bytes, and a file small
// enough to decode either decodes to a whole image or is refused.
#include <cstdlib>
#include <string>

#include "examples/container/jpeg_parser.h"
#include "examples/zeqcodec/jpeg_decoder.h"
#include "examples/zeqcodec/jpeg_encoder.h"
#include "fuzz/image_seeds.h"

namespace {

using namespace zeq::fuzz;

void seeds(SeedSet& set) {
    SeedRandom rng(83);
    struct Variant {
        int32_t channels, sampling;
        bool progressive, optimize, lossless;
        int32_t restart, predictor, quality;
    };
    const Variant variants[] = {
        {3, 420, false, false, false, 0, 1, 75}, {3, 444, false, false, false, 0, 1, 90},
        {3, 422, false, true, false, 0, 1, 50},  {1, 420, false, false, false, 0, 1, 75},
        {3, 420, true, false, false, 0, 1, 75},  {1, 444, true, true, false, 0, 1, 60},
        {3, 420, false, false, false, 1, 1, 75}, {3, 444, true, false, false, 2, 1, 80},
        {1, 444, false, false, true, 0, 1, 100}, {3, 444, false, false, true, 0, 4, 100},
        {3, 444, false, false, true, 0, 7, 100},
    };
    for (const Variant& v : variants) {
        for (auto [w, h] : {std::pair{8, 8}, std::pair{21, 13}}) {
            zeqcodec::JpegEncodeOptions options;
            options.quality = v.quality;
            options.sampling = v.sampling;
            options.progressive = v.progressive;
            options.optimize = v.optimize;
            options.lossless = v.lossless;
            options.restartInterval = v.restart;
            options.predictor = v.predictor;
            std::vector<uint8_t> file;
            std::string error;
            requireEncoded(
                zeqcodec::encodeJpeg(seedImage(rng, w, h, v.channels), options, file, &error),
                error);
            set.add(file);
        }
    }
}

}  // namespace

ZEQ_FUZZ_TARGET(seeds, in) {
    const std::vector<uint8_t> file = in.rest();
    zeq::container::JpegParsedFile parsed;
    std::string error;
    if (!zeq::container::parseJpegFile(file.data(), file.size(), parsed, &error)) return;
    for (const auto& scan : parsed.scans)
        if (scan.dataOffset > file.size() || scan.dataSize > file.size() - scan.dataOffset)
            std::abort();
    const uint64_t samples = uint64_t{parsed.frame.width} * parsed.frame.height *
                             std::max<size_t>(1, parsed.frame.components.size());
    if (samples > kMaxDecodedSamples) return;

    // The options come from the length, so every file meets each of them.
    zeqcodec::JpegDecodeOptions options;
    options.scaleDenominator = 1 << (file.size() % 3);
    options.convertColour = (file.size() / 3) % 2 == 0;
    zeq::container::Image image;
    if (!zeqcodec::decodeJpeg(file.data(), file.size(), options, image, &error)) return;
    if (!wholeImage(image)) std::abort();
}
