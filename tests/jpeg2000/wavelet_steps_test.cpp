// Lifting steps and row helpers: every vector kernel against its scalar
// twin on seeded random data, for every count 0..70 at every byte offset,
// out of place and in place; the float-to-integer conversion at its limits.
#include "jpeg2000/wavelet_steps.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <type_traits>
#include <vector>

#include "jpeg2000/wavelet_schemes.h"
#include "tests/common/test_support.h"

namespace {

using namespace zeq;

// memcmp that accepts empty (possibly null) runs.
bool sameBytes(const void* a, const void* b, size_t n) {
    return n == 0 || std::memcmp(a, b, n) == 0;
}

using namespace zeq::wt;
using test::ByteImage;

template <class T>
std::vector<uint8_t> randomBytes(std::mt19937& rng, size_t count, int offset) {
    std::vector<uint8_t> b(count * sizeof(T) + offset);
    if constexpr (std::is_same_v<T, float>) {
        std::uniform_real_distribution<float> d(-1e6f, 1e6f);
        for (size_t i = 0; i < count; ++i) {
            const float v = d(rng);
            std::memcpy(b.data() + offset + i * 4, &v, 4);
        }
    } else {
        test::fillRandom(rng, b.data(), b.size());
    }
    return b;
}

template <class Step>
void checkStep(uint32_t seed) {
    using T = typename Step::T;
    auto& rng = test::seededRng(seed);
    for (int32_t n = 0; n <= 70; ++n) {
        for (int offset = 0; offset < 4; ++offset) {
            auto in = randomBytes<T>(rng, n, offset), a = randomBytes<T>(rng, n, 3 - offset),
                 b = randomBytes<T>(rng, n, offset ^ 1);
            ByteImage vec(n * sizeof(T), 1, offset), ref(n * sizeof(T), 1, offset);
            liftRun<Step>(vec.data(), in.data() + offset, a.data() + 3 - offset,
                          b.data() + (offset ^ 1), n);
            liftRunScalar<Step>(ref.data(), in.data() + offset, a.data() + 3 - offset,
                                b.data() + (offset ^ 1), n);
            ASSERT_EQ(vec.allBytes(), ref.allBytes()) << "n " << n << " offset " << offset;
            liftRun<Step>(in.data() + offset, in.data() + offset, a.data() + 3 - offset,
                          b.data() + (offset ^ 1), n);
            ASSERT_TRUE(sameBytes(in.data() + offset, ref.data(), n * sizeof(T))) << n;
        }
    }
}

TEST(WaveletSteps, EveryVectorStepMatchesItsScalarTwin) {
    uint32_t seed = 1;
#define ZEQ_CHECK_STEP(...) checkStep<__VA_ARGS__>(seed++);
    ZEQ_WT_FOR_EACH_STEP(ZEQ_CHECK_STEP)
#undef ZEQ_CHECK_STEP
}

TEST(WaveletSteps, FixedPointStepsRoundHalfUpAndClampOrWrap) {
    // 16.16: x + ((c (a + b) + 32768) >> 16).
    using Lift16 = FixStep<Sat16, 16, 1, 0, Alpha::q16>;
    EXPECT_EQ(Lift16::one(0, 1, 1), static_cast<int16_t>((-103949 * 2 + 32768) >> 16));
    EXPECT_EQ(Lift16::one(-32768, 32767, 32767), -32768);  // clamped, not wrapped
    using Lift32 = FixStep<Wrap32, 16, 1, 0, Alpha::q16>;
    EXPECT_EQ(Lift32::one(INT32_MIN, 30000, 30000),
              static_cast<int32_t>(static_cast<uint32_t>(INT32_MIN) +
                                   static_cast<uint32_t>((-103949LL * 60000 + 32768) >> 16)));
    // The 32-bit sum wraps before the 64-bit product.
    EXPECT_EQ((FixStep<Wrap32, 16, 0, 0, 65536>::one(0, INT32_MAX, 1)), INT32_MIN);
    // 2.14 with 16-bit wrapping.
    using Scale14 = FixStep<Wrap16, 14, 0, GainK::q14, 0>;
    EXPECT_EQ(Scale14::one(32767, 0, 0), static_cast<int16_t>((32767 * 20155 + 8192) >> 14));
    // 5/3 in 16 bits: sums in 32 bits, low 16 bits stored.
    EXPECT_EQ(Predict53<Wrap16>::one(-32768, 32767, 32767), static_cast<int16_t>(-32768 - 32767));
    EXPECT_EQ(Update53<Wrap16>::one(0, -3, 0), -1);  // (-3 + 2) >> 2 floors
}

// The fused 5/3 pairs against their scalar twin: every count, byte offset
// and full-range bits (so sums wrap), with the carried high value in and out.
template <class St>
void checkForwardPairs(uint32_t seed) {
    using T = typename St::T;
    auto& rng = test::seededRng(seed);
    for (int32_t count = 0; count <= 70; ++count) {
        for (int offset = 0; offset < 4; ++offset) {
            const auto e = randomBytes<T>(rng, 2 * count + 1, offset);
            const T dPrev = static_cast<T>(rng());
            ByteImage low(count * sizeof(T), 1, offset), high(count * sizeof(T), 1, 3 - offset);
            ByteImage lowRef(count * sizeof(T), 1, offset),
                highRef(count * sizeof(T), 1, 3 - offset);
            const T last =
                forwardPairs53<St>(e.data() + offset, count, dPrev, low.data(), high.data());
            const T lastRef = forwardPairs53Scalar<St>(e.data() + offset, count, dPrev,
                                                       lowRef.data(), highRef.data());
            ASSERT_EQ(last, lastRef) << "count " << count;
            ASSERT_EQ(low.allBytes(), lowRef.allBytes()) << "count " << count;
            ASSERT_EQ(high.allBytes(), highRef.allBytes()) << "count " << count;
        }
    }
}
TEST(WaveletSteps, ForwardPairs53MatchTheirScalarTwin) {
    checkForwardPairs<Wrap16>(101);
    checkForwardPairs<Wrap32>(102);
}

template <class T>
void checkInterleave() {
    auto& rng = test::seededRng(sizeof(T));
    for (int32_t pairs = 0; pairs <= 40; ++pairs) {
        for (int offset = 0; offset < 4; ++offset) {
            const auto src = randomBytes<T>(rng, 2 * pairs, offset);
            ByteImage f(pairs * sizeof(T), 1, offset), s(pairs * sizeof(T), 1, offset);
            ByteImage fr(pairs * sizeof(T), 1, offset), sr(pairs * sizeof(T), 1, offset);
            deinterleave<T>(src.data() + offset, f.data(), s.data(), pairs);
            deinterleaveScalar<T>(src.data() + offset, fr.data(), sr.data(), pairs);
            ASSERT_EQ(f.allBytes(), fr.allBytes());
            ASSERT_EQ(s.allBytes(), sr.allBytes());
            ByteImage joined(2 * pairs * sizeof(T), 1, 3 - offset);
            interleave<T>(f.data(), s.data(), joined.data(), pairs);
            ASSERT_TRUE(sameBytes(joined.data(), src.data() + offset, 2 * pairs * sizeof(T)));
            ByteImage joinedRef(2 * pairs * sizeof(T), 1, 3 - offset);
            interleaveScalar<T>(f.data(), s.data(), joinedRef.data(), pairs);
            ASSERT_EQ(joined.allBytes(), joinedRef.allBytes());
        }
    }
}
TEST(WaveletSteps, InterleaveHelpersMatchScalarAndInvertEachOther) {
    checkInterleave<int16_t>();
    checkInterleave<int32_t>();
    checkInterleave<float>();
}

TEST(WaveletSteps, FloatToIntegerTruncatesAndClampsLikeTheScalarRule) {
    std::vector<float> values = {
        0.0f,           0.5f,           -0.5f, 1.99f, -1.99f, 2147483520.0f, 2147483648.0f, 3e9f,
        -2147483648.0f, -2147483904.0f, -3e9f, 1e20f, -1e20f, 12345.678f,    -98765.4f};
    while (values.size() % 4 != 3) values.push_back(7.25f);  // and a scalar tail
    std::vector<float> copy = values;
    floatToInt32(reinterpret_cast<uint8_t*>(copy.data()), static_cast<int32_t>(copy.size()));
    for (size_t i = 0; i < values.size(); ++i) {
        int32_t got;
        std::memcpy(&got, &copy[i], 4);
        EXPECT_EQ(got, truncateToInt32(values[i])) << values[i];
    }
    EXPECT_EQ(truncateToInt32(2147483648.0f), INT32_MAX);
    EXPECT_EQ(truncateToInt32(-2147483648.0f), INT32_MIN);
    EXPECT_EQ(truncateToInt32(-3e9f), INT32_MIN);
    EXPECT_EQ(truncateToInt32(-1.99f), -1);
    std::vector<int32_t> ints = {INT32_MIN, -1, 0, 1, INT32_MAX, 16777217, -16777217};
    std::vector<int32_t> conv = ints;
    int32ToFloat(reinterpret_cast<uint8_t*>(conv.data()), static_cast<int32_t>(conv.size()));
    for (size_t i = 0; i < ints.size(); ++i) {
        float f;
        std::memcpy(&f, &conv[i], 4);
        EXPECT_EQ(f, static_cast<float>(ints[i]));
    }
}

}  // namespace
