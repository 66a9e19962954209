// The JPEG 2000 codestream parser and the decoder of the example codecs on
// arbitrary codestreams: the parser's packets lie inside the input, and a
// codestream small enough to decode either decodes to a whole image or is
// refused.
#include <cstdlib>
#include <string>

#include "examples/container/j2k_codestream.h"
#include "examples/zeqcodec/j2k_codec.h"
#include "fuzz/image_seeds.h"

namespace {

using namespace zeq::fuzz;

void seeds(SeedSet& set) {
    SeedRandom rng(97);
    struct Variant {
        bool lossless;
        double bitsPerPixel;
        int32_t levels;
        bool bypass, terminateAll, causal, segmentationSymbols;
    };
    const Variant variants[] = {
        {true, 0, 5, false, false, false, false},   {true, 0, 0, false, false, false, false},
        {true, 0, 2, true, false, false, false},    {true, 0, 3, false, true, true, false},
        {true, 0, 1, true, true, true, true},       {false, 0, 3, false, false, false, false},
        {false, 1.5, 2, false, false, false, true}, {false, 0.5, 4, true, true, false, false},
    };
    for (const Variant& v : variants) {
        for (int32_t channels : {1, 3}) {
            zeqcodec::J2kEncodeOptions options;
            options.lossless = v.lossless;
            options.bitsPerPixel = v.bitsPerPixel;
            options.levels = v.levels;
            options.bypass = v.bypass;
            options.terminateAll = v.terminateAll;
            options.causal = v.causal;
            options.segmentationSymbols = v.segmentationSymbols;
            std::vector<uint8_t> codestream;
            std::string error;
            requireEncoded(
                zeqcodec::encodeJ2k(seedImage(rng, 19, 23, channels), options, codestream, &error),
                error);
            set.add(codestream);
        }
    }
}

}  // namespace

ZEQ_FUZZ_TARGET(seeds, in) {
    const std::vector<uint8_t> codestream = in.rest();
    zeq::container::J2kHeader header;
    const uint8_t* packets = nullptr;
    size_t packetsSize = 0;
    std::string error;
    if (!zeq::container::parseJ2kCodestream(codestream.data(), codestream.size(), header, &packets,
                                            &packetsSize, &error))
        return;
    if (packets < codestream.data() || packetsSize > codestream.size() ||
        static_cast<size_t>(packets - codestream.data()) > codestream.size() - packetsSize)
        std::abort();
    const uint64_t samples = uint64_t{header.width} * header.height * header.components;
    if (samples > kMaxDecodedSamples) return;

    zeq::container::Image image;
    if (!zeqcodec::decodeJ2k(codestream.data(), codestream.size(), image, &error)) return;
    if (!wholeImage(image)) std::abort();
}
