// Quantized 8x8 blocks shaped like those of real photographs: the DC wanders
// slowly from block to block, AC coefficients thin out and shrink along the
// zigzag scan. The decay sets the quality: about 6 positions for quality 75,
// about 18 for quality 95. Shared by the entropy tests and the benchmarks.
#ifndef ZEQ_TESTS_JPEG_ENTROPY_PHOTO_BLOCKS_H
#define ZEQ_TESTS_JPEG_ENTROPY_PHOTO_BLOCKS_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "jpeg/zigzag.h"

namespace zeq::test {

struct PhotoBlockShape {
    double decay;           // zigzag positions over which the chance of a non-zero falls by e
    double firstAmplitude;  // typical magnitude of the first AC coefficients
    int dcStep;             // largest DC change between neighbouring blocks
};

constexpr PhotoBlockShape kQuality75{6.0, 12.0, 24};
constexpr PhotoBlockShape kQuality95{18.0, 40.0, 80};

// `count` natural-order blocks; values stay within the baseline ranges
// (DC -1024..1023, AC -1023..1023).
inline std::vector<int16_t> photoBlocks(int count, PhotoBlockShape shape, uint32_t seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::vector<int16_t> blocks(static_cast<size_t>(count) * kBlockSize, 0);
    int dc = 0;
    for (int b = 0; b < count; ++b) {
        int16_t* block = blocks.data() + static_cast<size_t>(b) * kBlockSize;
        dc = std::clamp(dc + static_cast<int>(std::lround((unit(rng) * 2 - 1) * shape.dcStep)),
                        -1024, 1023);
        block[0] = static_cast<int16_t>(dc);
        for (int k = 1; k < kBlockSize; ++k) {
            const double fade = std::exp(-(k - 1) / shape.decay);
            if (unit(rng) >= 0.9 * fade) continue;
            // Exponential magnitude around an amplitude that fades too.
            const double magnitude = 1.0 - std::log(1.0 - unit(rng)) * shape.firstAmplitude * fade;
            const int v = std::min(1023, static_cast<int>(magnitude));
            block[NaturalOfZigzag[k]] = static_cast<int16_t>(unit(rng) < 0.5 ? -v : v);
        }
    }
    return blocks;
}

}  // namespace zeq::test

#endif  // ZEQ_TESTS_JPEG_ENTROPY_PHOTO_BLOCKS_H
