// The DDS parser and the DDS decoder of the example codecs on arbitrary
// files: a parsed texture holds exactly the blocks its sides need, and the
// decoder turns any file into a whole image or refuses it.
#include <cstdlib>
#include <string>

#include "examples/container/dds.h"
#include "examples/zeqcodec/dds_codec.h"
#include "fuzz/image_seeds.h"

namespace {

using namespace zeq::fuzz;
using zeq::container::DdsFormat;

void seeds(SeedSet& set) {
    SeedRandom rng(101);
    for (DdsFormat format :
         {DdsFormat::Dxt1, DdsFormat::Dxt3, DdsFormat::Dxt5, DdsFormat::YCoCgDxt5}) {
        for (int32_t channels : {1, 3}) {
            for (auto [w, h] : {std::pair{4, 4}, std::pair{13, 7}}) {
                std::vector<uint8_t> file;
                std::string error;
                requireEncoded(
                    zeqcodec::encodeDds(seedImage(rng, w, h, channels), format, file, &error),
                    error);
                set.add(file);
            }
        }
    }
    // BC7 is decode-only: blocks of every mode, the mode bit set in the
    // first byte and the rest pseudo-random, in the container's own writer.
    zeq::container::DdsImage bc7;
    bc7.width = 32;
    bc7.height = 6;
    bc7.format = DdsFormat::Bc7;
    bc7.blocks.resize(zeq::container::ddsBlockStreamBytes(DdsFormat::Bc7, 32, 6));
    for (size_t b = 0; b < bc7.blocks.size(); b += 16) {
        const int mode = static_cast<int>(b / 16 % 8);
        for (size_t i = 0; i < 16; ++i) bc7.blocks[b + i] = static_cast<uint8_t>(rng.next());
        bc7.blocks[b] = static_cast<uint8_t>((bc7.blocks[b] << (mode + 1)) | (1u << mode));
    }
    set.add(zeq::container::formatDds(bc7));
}

}  // namespace

ZEQ_FUZZ_TARGET(seeds, in) {
    const std::vector<uint8_t> file = in.rest();
    zeq::container::DdsImage dds;
    std::string error;
    if (!zeq::container::parseDds(file.data(), file.size(), dds, &error)) return;
    if (dds.width < 1 || dds.height < 1 ||
        dds.blocks.size() != zeq::container::ddsBlockStreamBytes(dds.format,
                                                                 static_cast<uint32_t>(dds.width),
                                                                 static_cast<uint32_t>(dds.height)))
        std::abort();

    zeq::container::Image image;
    if (!zeqcodec::decodeDds(file.data(), file.size(), image, &error)) return;
    if (!wholeImage(image) || image.channels != 3 || image.width != dds.width ||
        image.height != dds.height)
        std::abort();
}
