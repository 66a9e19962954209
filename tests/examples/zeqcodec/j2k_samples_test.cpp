// The decoder's sample conversions against their plain formulas, on every
// length up to a few vectors and on the extreme values of each input.
#include "zeqcodec/j2k_samples.h"

#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "tests/common/test_support.h"

namespace {

using namespace zeqcodec::j2k;
using zeq::test::scaledCount;
using zeq::test::seededRng;
using zeq::test::uniform;

// Sign-magnitude words: small and huge magnitudes, both signs, the extremes.
std::vector<int32_t> randomWords(std::mt19937& rng, int32_t n) {
    const uint32_t extremes[] = {0u,
                                 0x80000000u,
                                 0x7FFFFFFFu,
                                 0xFFFFFFFFu,
                                 1u << 20,
                                 (1u << 20) + 1,
                                 0x80000000u | (1u << 28)};
    std::vector<int32_t> v(static_cast<size_t>(n));
    for (auto& w : v) {
        uint32_t u;
        switch (uniform<int>(rng, 0, 3)) {
            case 0:
                u = extremes[uniform<int>(rng, 0, 6)];
                break;
            case 1:
                u = static_cast<uint32_t>(uniform<int64_t>(rng, 0, 0xFFFFFFFFll));
                break;
            default:
                u = static_cast<uint32_t>(uniform<int>(rng, 0, 1 << 22)) |
                    (uniform<int>(rng, 0, 1) ? 0x80000000u : 0);
        }
        w = static_cast<int32_t>(u);
    }
    return v;
}

TEST(J2kSamples, CoefficientConversionsMatchTheScalarFormulas) {
    for (int i = 0; i < scaledCount(3000); ++i) {
        auto& rng = seededRng(static_cast<uint32_t>(i));
        const int32_t n = uniform<int>(rng, 0, 70);
        const std::vector<int32_t> src = randomWords(rng, n);
        const int32_t limit = uniform<int>(rng, 0, 1) ? 1 << 20 : uniform<int>(rng, 0, INT_MAX);
        const float scale = static_cast<float>(uniform<int>(rng, 1, 1 << 16)) / 4096.0f;
        const float top = static_cast<float>(1 << 28);
        std::vector<int32_t> got(static_cast<size_t>(n) + 1, 0x5A5A5A5A);
        std::vector<int32_t> gotFloat(static_cast<size_t>(n) + 1, 0x5A5A5A5A);
        reversibleCoefficients(src.data(), got.data(), n, limit);
        irreversibleCoefficients(src.data(), gotFloat.data(), n, scale, top);
        for (int32_t x = 0; x < n; ++x) {
            const int32_t m = std::min(src[x] & 0x7FFFFFFF, limit);
            ASSERT_EQ(got[x], src[x] < 0 ? -m : m) << i << " at " << x;
            const float f = static_cast<float>(src[x] & 0x7FFFFFFF);
            const int32_t r = static_cast<int32_t>(std::min(f * scale, top) + 0.5f);
            ASSERT_EQ(gotFloat[x], src[x] < 0 ? -r : r) << i << " at " << x;
        }
        EXPECT_EQ(got[n], 0x5A5A5A5A);
        EXPECT_EQ(gotFloat[n], 0x5A5A5A5A);
    }
}

// The plain formula: round half up in 64 bits, level shift, clamp.
TEST(J2kSamples, BytesAreTheRoundedShiftedAndClampedSamples) {
    for (int i = 0; i < scaledCount(3000); ++i) {
        auto& rng = seededRng(static_cast<uint32_t>(i));
        const int32_t n = uniform<int>(rng, 0, 70);
        std::vector<int32_t> src = randomWords(rng, n);
        for (auto& v : src)  // also values near the clamp edges
            if (uniform<int>(rng, 0, 2) == 0) v = uniform<int>(rng, -300 * 64, 300 * 64);
        const int32_t shift = uniform<int>(rng, 0, 1) ? 0 : uniform<int>(rng, 1, 12);
        std::vector<uint8_t> got(static_cast<size_t>(n) + 1, 0xA5);
        samplesToBytes(src.data(), got.data(), static_cast<size_t>(n), shift);
        for (int32_t x = 0; x < n; ++x) {
            const int64_t half = shift ? int64_t{1} << (shift - 1) : 0;
            const int64_t v = ((int64_t{src[x]} + half) >> shift) + 128;
            ASSERT_EQ(got[x], static_cast<uint8_t>(std::clamp<int64_t>(v, 0, 255)))
                << i << " at " << x << " shift " << shift;
        }
        EXPECT_EQ(got[n], 0xA5);
    }
}

}  // namespace

TEST(J2kSamples, InterleavedBytesAreThePlanesInTurn) {
    for (int i = 0; i < scaledCount(2000); ++i) {
        auto& rng = seededRng(static_cast<uint32_t>(i));
        const size_t n = static_cast<size_t>(uniform<int>(rng, 0, 100));
        std::vector<uint8_t> planes[3];
        for (auto& p : planes) {
            p.resize(n);
            for (auto& v : p) v = static_cast<uint8_t>(uniform<int>(rng, 0, 255));
        }
        std::vector<uint8_t> got(3 * n + 8, 0xA5);
        interleaveBytes3(planes[0].data(), planes[1].data(), planes[2].data(), got.data(), n);
        for (size_t x = 0; x < n; ++x)
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(got[3 * x + static_cast<size_t>(c)], planes[c][x]) << i << " at " << x;
        for (size_t k = 3 * n; k < got.size(); ++k) EXPECT_EQ(got[k], 0xA5) << "past the end";
    }
}

TEST(J2kSamples, ShortCoefficientsBecomeSignMagnitudeWords) {
    for (int i = 0; i < scaledCount(2000); ++i) {
        auto& rng = seededRng(static_cast<uint32_t>(i));
        const int32_t n = uniform<int>(rng, 0, 70);
        std::vector<int16_t> src(static_cast<size_t>(n));
        for (auto& v : src) {
            const int kind = uniform<int>(rng, 0, 3);
            v = static_cast<int16_t>(kind == 0   ? (uniform<int>(rng, 0, 1) ? -32768 : 32767)
                                     : kind == 1 ? uniform<int>(rng, -2, 2)
                                                 : uniform<int>(rng, -32768, 32767));
        }
        std::vector<int32_t> got(static_cast<size_t>(n) + 1, 0x5A5A5A5A);
        shortsToSignMagnitude(src.data(), got.data(), n);
        for (int32_t x = 0; x < n; ++x) {
            const int32_t v = src[static_cast<size_t>(x)];
            const uint32_t expected =
                static_cast<uint32_t>(v < 0 ? -v : v) | (v < 0 ? 0x80000000u : 0u);
            ASSERT_EQ(static_cast<uint32_t>(got[static_cast<size_t>(x)]), expected)
                << i << " at " << x;
        }
        EXPECT_EQ(got[static_cast<size_t>(n)], 0x5A5A5A5A);
    }
}
