// Helpers of the DCT tests: double-precision orthonormal transforms (the
// exact values the integer and float engines approximate) and random blocks
// and tables that reach the wrap-around corners of the integer engines.
#ifndef ZEQ_TESTS_JPEG_SAMPLE_DCT_TEST_SUPPORT_H
#define ZEQ_TESTS_JPEG_SAMPLE_DCT_TEST_SUPPORT_H

#include <array>
#include <cmath>
#include <cstdint>
#include <random>

#include "tests/common/test_support.h"

namespace zeq::test {

using Block16 = std::array<int16_t, 64>;
using Table16 = std::array<uint16_t, 64>;
using TableF = std::array<float, 64>;
using BlockD = std::array<double, 64>;

inline Table16 flatTable(uint16_t v) {
    Table16 t;
    t.fill(v);
    return t;
}
inline TableF flatFloatTable(float v) {
    TableF t;
    t.fill(v);
    return t;
}

inline double basis(int position, int frequency) {
    const double c = frequency == 0 ? std::sqrt(0.125) : 0.5;
    return c * std::cos((2 * position + 1) * frequency * 3.14159265358979323846 / 16.0);
}

// Orthonormal 2D DCT: the DC term is the sum of the samples divided by 8.
inline BlockD exactForwardDct(const BlockD& samples) {
    BlockD out{};
    for (int u = 0; u < 8; ++u)
        for (int v = 0; v < 8; ++v) {
            double sum = 0;
            for (int y = 0; y < 8; ++y)
                for (int x = 0; x < 8; ++x) sum += samples[8 * y + x] * basis(y, u) * basis(x, v);
            out[8 * u + v] = sum;
        }
    return out;
}

inline BlockD exactInverseDct(const BlockD& coefficients) {
    BlockD out{};
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            double sum = 0;
            for (int u = 0; u < 8; ++u)
                for (int v = 0; v < 8; ++v)
                    sum += coefficients[8 * u + v] * basis(y, u) * basis(x, v);
            out[8 * y + x] = sum;
        }
    return out;
}

// Coefficient blocks of several kinds: full range, typical magnitudes, the
// extremes only, and constant extremes.
inline Block16 randomCoefficients(std::mt19937& rng, int kind) {
    Block16 b{};
    switch (kind % 5) {
        case 0:
            fillRandom(rng, b.data(), b.size());
            break;
        case 1:
            for (auto& v : b) v = uniform<int16_t>(rng, -1024, 1023);
            break;
        case 2:
            for (auto& v : b) v = uniform<int>(rng, 0, 1) ? 32767 : -32768;
            break;
        case 3:
            b.fill(uniform<int>(rng, 0, 1) ? 32767 : -32768);
            break;
        default:
            for (auto& v : b) {
                const int pick = uniform<int>(rng, 0, 3);
                v = pick == 0   ? 0
                    : pick == 1 ? 32767
                    : pick == 2 ? -32768
                                : uniform<int16_t>(rng, -40, 40);
            }
    }
    return b;
}

// Tables of any 16-bit value, of typical quantizers, and saturating ones.
inline Table16 randomTable(std::mt19937& rng, int kind, bool forward) {
    Table16 t{};
    switch (kind % 3) {
        case 0:
            fillRandom(rng, t.data(), t.size());
            break;
        case 1:
            for (auto& v : t)
                v = forward ? uniform<uint16_t>(rng, 129, 32768) : uniform<uint16_t>(rng, 1, 255);
            break;
        default:
            for (auto& v : t) {
                const int pick = uniform<int>(rng, 0, 3);
                v = pick == 0 ? 0 : pick == 1 ? 65535 : pick == 2 ? 32768 : 1;
            }
    }
    return t;
}

}  // namespace zeq::test

#endif  // ZEQ_TESTS_JPEG_SAMPLE_DCT_TEST_SUPPORT_H
