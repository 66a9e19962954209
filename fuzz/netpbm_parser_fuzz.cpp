// The Netpbm parser of the example codecs on arbitrary files: a file it
// accepts describes an image whose pixels it holds in full, and writing that
// image and parsing it again gives the same image.
#include <cstdlib>

#include "examples/container/netpbm.h"
#include "fuzz/fuzz_support.h"

namespace {

using namespace zeq::fuzz;
using zeq::container::Image;

void seeds(SeedSet& set) {
    SeedRandom rng(61);
    for (int channels : {1, 3}) {
        for (auto [w, h] : {std::pair{1, 1}, std::pair{7, 3}, std::pair{16, 16}}) {
            Image image;
            image.width = w;
            image.height = h;
            image.channels = channels;
            image.pixels.resize(static_cast<size_t>(w) * h * channels);
            for (uint8_t& p : image.pixels) p = static_cast<uint8_t>(rng.next());
            set.add(zeq::container::formatNetpbm(image));
        }
    }
}

}  // namespace

ZEQ_FUZZ_TARGET(seeds, in) {
    const std::vector<uint8_t> file = in.rest();
    Image image;
    std::string error;
    if (!zeq::container::parseNetpbm(file.data(), file.size(), image, &error)) return;
    if (image.width < 1 || image.height < 1 || (image.channels != 1 && image.channels != 3) ||
        image.pixels.size() != static_cast<size_t>(image.width) * image.height * image.channels)
        std::abort();
    const std::vector<uint8_t> again = zeq::container::formatNetpbm(image);
    Image back;
    if (!zeq::container::parseNetpbm(again.data(), again.size(), back, &error) ||
        back.width != image.width || back.height != image.height ||
        back.channels != image.channels || back.pixels != image.pixels)
        std::abort();
}
