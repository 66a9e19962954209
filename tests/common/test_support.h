// Shared helpers of the test suite: the case-count scale, seeded random data,
// and guarded buffers that show writes outside the region a function owns.
#ifndef ZEQ_TESTS_COMMON_TEST_SUPPORT_H
#define ZEQ_TESTS_COMMON_TEST_SUPPORT_H

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <vector>

#include "core/zeqcore/zeqcore_testing.h"
#include "zeqcore.h"

namespace zeq::test {

// The one scale of the randomized tests (ZEQ_TEST_SCALE, default 1); the
// sanitizer build runs fewer cases.
inline double testScale() {
    static const double scale = [] {
        const char* text = std::getenv("ZEQ_TEST_SCALE");
        const double v = text ? std::atof(text) : 1.0;
        return v > 0 ? v : 1.0;
    }();
    return scale;
}

inline int scaledCount(int fullCount) {
    return std::max(1, static_cast<int>(fullCount * testScale()));
}

inline std::mt19937& seededRng(uint32_t seed) {
    thread_local std::mt19937 rng;
    rng.seed(seed);
    return rng;
}

template <class T>
T uniform(std::mt19937& rng, int64_t lo, int64_t hi) {
    return static_cast<T>(std::uniform_int_distribution<int64_t>(lo, hi)(rng));
}

// Fills with random values of T's full range.
template <class T>
void fillRandom(std::mt19937& rng, T* data, size_t count) {
    std::uniform_int_distribution<int64_t> d(INT64_C(0) + std::numeric_limits<T>::min(),
                                             INT64_C(0) + std::numeric_limits<T>::max());
    for (size_t i = 0; i < count; ++i) data[i] = static_cast<T>(d(rng));
}

// An image of raw bytes with a byte row step, placed at a chosen offset from
// an aligned start (to vary alignment) and surrounded by sentinel bytes, so a
// test sees every write outside the rows it expects.
class ByteImage {
public:
    static constexpr uint8_t kSentinel = 0xA5;
    static constexpr int kGuard = 64;

    ByteImage(int32_t step, int32_t height, int offset = 0)
        : step_(step), offset_(kGuard + offset),
          bytes_(static_cast<size_t>(step) * height + 2 * kGuard + offset, kSentinel) {}

    uint8_t* data() { return bytes_.data() + offset_; }
    const uint8_t* data() const { return bytes_.data() + offset_; }
    int32_t step() const { return step_; }
    const std::vector<uint8_t>& allBytes() const { return bytes_; }
    bool untouched() const {
        return std::all_of(bytes_.begin(), bytes_.end(), [](uint8_t b) { return b == kSentinel; });
    }

private:
    int32_t step_;
    int offset_;
    std::vector<uint8_t> bytes_;
};

// Sets the library-wide thread count for one scope.
class ScopedThreads {
public:
    explicit ScopedThreads(int n) {
        zeqGetNumThreads(&saved_);
        zeqSetNumThreads(n);
    }
    ~ScopedThreads() { zeqSetNumThreads(saved_); }

private:
    int saved_ = 1;
};

// Makes the nth allocation of this scope fail; disarmed on exit.
class ScopedAllocationFailure {
public:
    explicit ScopedAllocationFailure(int nth) { zeqTestFailMallocAt(nth); }
    ~ScopedAllocationFailure() { zeqTestFailMallocAt(0); }
};

}  // namespace zeq::test

#endif  // ZEQ_TESTS_COMMON_TEST_SUPPORT_H
