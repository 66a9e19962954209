// Images for the seeds of the example codec targets: smooth gradients with a
// little noise, so that the encoders produce streams with realistic
// statistics rather than flat or white-noise ones.
#ifndef ZEQ_FUZZ_IMAGE_SEEDS_H
#define ZEQ_FUZZ_IMAGE_SEEDS_H

#include <cstdio>
#include <cstdlib>
#include <string>

#include "examples/container/netpbm.h"
#include "fuzz/fuzz_support.h"

namespace zeq::fuzz {

inline zeq::container::Image seedImage(SeedRandom& rng, int32_t width, int32_t height,
                                       int32_t channels) {
    zeq::container::Image image;
    image.width = width;
    image.height = height;
    image.channels = channels;
    image.pixels.resize(static_cast<size_t>(width) * height * channels);
    size_t i = 0;
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x)
            for (int32_t c = 0; c < channels; ++c)
                image.pixels[i++] =
                    static_cast<uint8_t>(x * (5 + c) + y * (3 + 2 * c) + rng.range(0, 12));
    return image;
}

// Seeds come from the codecs' own encoders; one refusing a seed image is a
// broken generator, not an input worth fuzzing.
inline void requireEncoded(bool ok, const std::string& error) {
    if (ok) return;
    std::fprintf(stderr, "seed encoder refused: %s\n", error.c_str());
    std::exit(2);
}

// A decoded image is whole: positive sides, one or three channels, and
// exactly the pixels those describe.
inline bool wholeImage(const zeq::container::Image& image) {
    return image.width >= 1 && image.height >= 1 && (image.channels == 1 || image.channels == 3) &&
           image.pixels.size() == static_cast<size_t>(image.width) * image.height * image.channels;
}

// Frames above this many samples are parsed but not decoded: a few bytes of
// header must not make one input allocate gigabytes or run for seconds.
constexpr uint64_t kMaxDecodedSamples = uint64_t{1} << 22;

}  // namespace zeq::fuzz

#endif  // ZEQ_FUZZ_IMAGE_SEEDS_H
