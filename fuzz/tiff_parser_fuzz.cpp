// The PackBits TIFF parser and the TIFF decoder of the example codecs on
// arbitrary files: every strip the parser reports lies inside the file, and
// the decoder turns any file into a whole image of the parsed shape or
// refuses it.
#include <cstdlib>
#include <string>

#include "examples/container/tiff.h"
#include "examples/zeqcodec/tiff_codec.h"
#include "fuzz/image_seeds.h"

namespace {

using namespace zeq::fuzz;

void seeds(SeedSet& set) {
    SeedRandom rng(103);
    for (int32_t channels : {1, 3}) {
        for (auto [w, h] : {std::pair{1, 1}, std::pair{17, 9}, std::pair{200, 30}}) {
            std::vector<uint8_t> file;
            std::string error;
            requireEncoded(
                zeqcodec::encodeTiffPackBits(seedImage(rng, w, h, channels), file, &error), error);
            set.add(file);
        }
    }
}

}  // namespace

ZEQ_FUZZ_TARGET(seeds, in) {
    const std::vector<uint8_t> file = in.rest();
    zeq::container::TiffPackBitsFile tiff;
    std::string error;
    if (!zeq::container::parsePackBitsTiff(file.data(), file.size(), tiff, &error)) return;
    if (static_cast<int64_t>(tiff.strips.size()) != zeq::container::tiffStripCount(tiff.shape))
        std::abort();
    for (const auto& strip : tiff.strips)
        if (strip.offset > file.size() || strip.bytes > file.size() - strip.offset) std::abort();

    zeq::container::Image image;
    if (!zeqcodec::decodeTiffPackBits(file.data(), file.size(), image, &error)) return;
    if (!wholeImage(image) || image.width != tiff.shape.width ||
        image.height != tiff.shape.height || image.channels != tiff.shape.samplesPerPixel)
        std::abort();
}
