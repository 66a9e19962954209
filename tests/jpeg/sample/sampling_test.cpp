// Chroma sampling: vector kernels against scalar kernels, exported functions
// against a plain restatement of the filters, the source samples each function
// may read (tight buffers for the sanitizer build; bytes outside the window
// must not matter), serial against row-parallel runs, and check orders.
#include "jpeg/sample/sampling.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <vector>

#include "tests/common/test_support.h"
#include "zeqj.h"

namespace {

using namespace zeq;
using test::ByteImage;

// ---- Kernels: vector against scalar ---------------------------------------

// A buffer holding exactly `count` bytes from offset `before` below the pointer
// handed out: the sanitizer build reports any read outside it.
struct Tight {
    Tight(std::mt19937& rng, int32_t before, int32_t count) : bytes(static_cast<size_t>(count)) {
        test::fillRandom(rng, bytes.data(), bytes.size());
        origin = bytes.data() + before;
    }
    std::vector<uint8_t> bytes;
    const uint8_t* origin;
};

TEST(SamplingKernels, BoxVectorMatchesScalarForEveryCountAndBias) {
    auto& rng = test::seededRng(31);
    for (const BoxBias bias : {kRegionH2V1Bias, kRowH2V1Bias, kRegionH2V2Bias, kRowH2V2Bias}) {
        for (int32_t count = 0; count <= 70; ++count) {
            const Tight s1(rng, 0, 2 * count), s2(rng, 0, 2 * count);
            ByteImage vec(std::max(count, 1), 1, count % 4), ref(std::max(count, 1), 1, count % 4);
            boxDownH2V1Sse2(s1.origin, vec.data(), count, bias);
            boxDownH2V1Scalar(s1.origin, ref.data(), count, bias);
            ASSERT_EQ(vec.allBytes(), ref.allBytes()) << count;
            boxDownH2V2Sse2(s1.origin, s2.origin, vec.data(), count, bias);
            boxDownH2V2Scalar(s1.origin, s2.origin, ref.data(), count, bias);
            ASSERT_EQ(vec.allBytes(), ref.allBytes()) << count;
        }
    }
}

// The last source sample a triangle kernel reads for `dstWidth` outputs.
int32_t lastTriangleRead(int32_t dstWidth) {
    return dstWidth % 2 ? (dstWidth - 1) / 2 : dstWidth / 2;
}

TEST(SamplingKernels, TriangleVectorMatchesScalarReadingOnlyItsWindow) {
    auto& rng = test::seededRng(32);
    for (int32_t width = 0; width <= 70; ++width) {
        const int32_t window = lastTriangleRead(width) + 2;  // s[-1] .. s[last]
        const Tight near(rng, 1, window), far(rng, 1, window);
        ByteImage vec(std::max(width, 1), 1, width % 4), ref(std::max(width, 1), 1, width % 4);
        triangleUpH2V1Sse2(near.origin, vec.data(), width);
        triangleUpH2V1Scalar(near.origin, ref.data(), width);
        ASSERT_EQ(vec.allBytes(), ref.allBytes()) << width;
        triangleUpH2V2Sse2(near.origin, far.origin, vec.data(), width);
        triangleUpH2V2Scalar(near.origin, far.origin, ref.data(), width);
        ASSERT_EQ(vec.allBytes(), ref.allBytes()) << width;
    }
}

// Rows long enough for the streamed H2V2 up-sampler (each column sum carried
// to its neighbours by lane shifts), ending at every position relative to a
// step of sixteen, with random samples and with samples at the extremes.
TEST(SamplingKernels, LongTriangleRowsMatchScalarReadingOnlyTheirWindow) {
    auto& rng = test::seededRng(33);
    const int32_t widthStep = 10 / test::scaledCount(10);
    for (int32_t width = 71; width <= 420; width += widthStep) {
        for (int fill = 0; fill < 3; ++fill) {
            const int32_t window = lastTriangleRead(width) + 2;
            Tight near(rng, 1, window), far(rng, 1, window);
            if (fill > 0) {  // 0/255 stripes of different periods in the two rows
                for (int32_t i = 0; i < window; ++i) {
                    near.bytes[static_cast<size_t>(i)] = (i / fill) % 2 ? 255 : 0;
                    far.bytes[static_cast<size_t>(i)] = (i / (fill + 2)) % 2 ? 0 : 255;
                }
            }
            ByteImage vec(width, 1, width % 4), ref(width, 1, width % 4);
            triangleUpH2V2Sse2(near.origin, far.origin, vec.data(), width);
            triangleUpH2V2Scalar(near.origin, far.origin, ref.data(), width);
            ASSERT_EQ(vec.allBytes(), ref.allBytes()) << width << " fill " << fill;
        }
    }
}

// ---- Plain restatement of the region filters ------------------------------

// Source sample (y, x) of a plane whose row 0, column 0 is at `origin`.
struct PlaneView {
    const uint8_t* origin;
    int32_t step;
    int at(int32_t y, int32_t x) const { return origin[static_cast<ptrdiff_t>(step) * y + x]; }
};

int plainDownH2V1(const PlaneView& s, int32_t y, int32_t x) {
    return (s.at(y, 2 * x) + s.at(y, 2 * x + 1) + 1) >> 1;
}
int plainDownH2V2(const PlaneView& s, int32_t y, int32_t x) {
    return (s.at(2 * y, 2 * x) + s.at(2 * y, 2 * x + 1) + s.at(2 * y + 1, 2 * x) +
            s.at(2 * y + 1, 2 * x + 1) + 3) >>
           2;
}
int plainUpH2V1(const PlaneView& s, int32_t y, int32_t x) {
    const int32_t i = x / 2;
    return x % 2 ? (3 * s.at(y, i) + s.at(y, i + 1) + 2) >> 2
                 : (3 * s.at(y, i) + s.at(y, i - 1) + 1) >> 2;
}
int plainUpH2V2(const PlaneView& s, int32_t y, int32_t x) {
    const int32_t near = y / 2, far = y % 2 ? near + 1 : near - 1, i = x / 2;
    auto c = [&](int32_t col) { return 3 * s.at(near, col) + s.at(far, col); };
    return x % 2 ? (3 * c(i) + c(i + 1) + 7) >> 4 : (3 * c(i) + c(i - 1) + 8) >> 4;
}

using RegionFn = ZeqStatus (*)(const uint8_t*, int32_t, ZeqiSize, uint8_t*, int32_t, ZeqiSize);

// Source rows and columns a region function reads for a destination size.
struct Window {
    int32_t firstRow, lastRow, firstCol, lastCol;
};

struct RegionFunction {
    const char* name;
    RegionFn fn;
    std::function<int(const PlaneView&, int32_t, int32_t)> plain;
    std::function<Window(ZeqiSize)> window;
};

const std::vector<RegionFunction>& regionFunctions() {
    static const std::vector<RegionFunction> all = {
        {"DownH2V1", zeqiSampleDownH2V1_JPEG_8u_C1R, plainDownH2V1,
         [](ZeqiSize d) {
             return Window{0, d.height - 1, 0, 2 * d.width - 1};
         }},
        {"DownH2V2", zeqiSampleDownH2V2_JPEG_8u_C1R, plainDownH2V2,
         [](ZeqiSize d) {
             return Window{0, 2 * d.height - 1, 0, 2 * d.width - 1};
         }},
        {"UpH2V1", zeqiSampleUpH2V1_JPEG_8u_C1R, plainUpH2V1,
         [](ZeqiSize d) {
             return Window{0, d.height - 1, -1, lastTriangleRead(d.width)};
         }},
        {"UpH2V2", zeqiSampleUpH2V2_JPEG_8u_C1R, plainUpH2V2,
         [](ZeqiSize d) {
             return Window{-1, lastTriangleRead(d.height), -1, lastTriangleRead(d.width)};
         }},
    };
    return all;
}

// Runs one function on a source allocated to exactly its read window (row
// padding included), checks it against the plain filters and that bytes of
// the padding do not change the result; nothing outside the region is written.
void checkRegionFunction(const RegionFunction& f, ZeqiSize dstSize, int threads, uint32_t seed) {
    test::ScopedThreads scoped(threads);
    auto& rng = test::seededRng(seed);
    const Window w = f.window(dstSize);
    const int32_t windowWidth = w.lastCol - w.firstCol + 1, rows = w.lastRow - w.firstRow + 1;
    const int32_t srcStep = windowWidth + 3;
    std::vector<uint8_t> src(static_cast<size_t>(srcStep) * (rows - 1) + windowWidth);
    test::fillRandom(rng, src.data(), src.size());
    const uint8_t* origin = src.data() - static_cast<ptrdiff_t>(srcStep) * w.firstRow - w.firstCol;
    const ZeqiSize srcSize{std::max(1, windowWidth - 2), std::max(1, rows - 2)};
    const int32_t dstStep = dstSize.width + 5;
    ByteImage got(dstStep, dstSize.height, 1), again(dstStep, dstSize.height, 1);
    ASSERT_EQ(f.fn(origin, srcStep, srcSize, got.data(), dstStep, dstSize), StatusOk);
    const PlaneView view{origin, srcStep};
    for (int32_t y = 0; y < dstSize.height; ++y) {
        for (int32_t x = 0; x < dstStep; ++x) {
            const uint8_t b = got.data()[dstStep * y + x];
            if (x < dstSize.width)
                ASSERT_EQ(b, f.plain(view, y, x)) << f.name << " at " << y << "," << x;
            else
                ASSERT_EQ(b, ByteImage::kSentinel) << f.name << " wrote past the row";
        }
    }
    for (int32_t r = 0; r + 1 < rows; ++r)
        for (int32_t pad = windowWidth; pad < srcStep; ++pad)
            src[static_cast<size_t>(srcStep * r + pad)] ^= 0x5C;
    ASSERT_EQ(f.fn(origin, srcStep, srcSize, again.data(), dstStep, dstSize), StatusOk);
    ASSERT_EQ(got.allBytes(), again.allBytes()) << f.name << " read outside its window";
}

TEST(SamplingApi, RegionFunctionsMatchThePlainFiltersReadingOnlyTheirWindow) {
    const ZeqiSize sizes[] = {{1, 1},  {2, 2},    {7, 3},  {15, 4},
                              {33, 5}, {1000, 3}, {16, 1}, {17, 2}};
    uint32_t seed = 300;
    for (const auto& f : regionFunctions())
        for (const ZeqiSize d : sizes) checkRegionFunction(f, d, 1, ++seed);
}

// The destination's pixel count decides the fork; results do not depend on it.
TEST(SamplingApi, SameOutputSerialAndParallelAroundTheThreshold) {
    const ZeqiSize sizes[] = {{8192, 1}, {8193, 1}, {4096, 2}, {91, 91}, {1, 8193}};
    uint32_t seed = 400;
    for (const auto& f : regionFunctions())
        for (const ZeqiSize d : sizes)
            for (int threads : {1, 2}) checkRegionFunction(f, d, threads, ++seed);
}

TEST(SamplingApi, RegionBiasesAndFlatPlanes) {
    const uint8_t row[4] = {1, 2, 1, 2};
    uint8_t out[2];
    ASSERT_EQ(zeqiSampleDownH2V1_JPEG_8u_C1R(row, 4, {4, 1}, out, 2, {2, 1}), StatusOk);
    EXPECT_EQ(out[0], 2);
    EXPECT_EQ(out[1], 2);
    const uint8_t quad[4] = {0, 0, 0, 1};  // rows {0, 0} and {0, 1}
    ASSERT_EQ(zeqiSampleDownH2V2_JPEG_8u_C1R(quad, 2, {2, 2}, out, 1, {1, 1}), StatusOk);
    EXPECT_EQ(out[0], 1);  // (1 + 3) >> 2
    for (int v : {0, 1, 128, 255}) {
        std::vector<uint8_t> flat(12 * 12, static_cast<uint8_t>(v)), up(20 * 20);
        const uint8_t* inner = flat.data() + 12 + 1;
        ASSERT_EQ(zeqiSampleUpH2V2_JPEG_8u_C1R(inner, 12, {10, 10}, up.data(), 20, {20, 20}),
                  StatusOk);
        EXPECT_TRUE(std::all_of(up.begin(), up.end(), [&](uint8_t b) { return b == v; }));
        ASSERT_EQ(zeqiSampleUpH2V1_JPEG_8u_C1R(inner, 12, {10, 10}, up.data(), 20, {20, 10}),
                  StatusOk);
        EXPECT_TRUE(std::all_of(up.begin(), up.end(), [&](uint8_t b) { return b == v; }));
    }
}

// Two-size order: source pointer, step, size; then the destination's.
TEST(SamplingApi, TwoSizeCheckOrderAndNothingWritten) {
    struct Case {
        bool srcNull;
        int32_t srcStep;
        ZeqiSize srcSize;
        bool dstNull;
        int32_t dstStep;
        ZeqiSize dstSize;
        ZeqStatus expected;
    } const cases[] = {
        {true, 0, {0, 0}, true, 0, {0, 0}, StatusNullPointer},
        {false, 0, {0, 0}, true, 0, {0, 0}, StatusBadStep},
        {false, 16, {0, 4}, true, 0, {0, 0}, StatusBadSize},
        {false, 16, {4, -1}, true, 0, {0, 0}, StatusBadSize},
        {false, 16, {4, 4}, true, 0, {0, 0}, StatusNullPointer},
        {false, 16, {4, 4}, false, 0, {0, 0}, StatusBadStep},
        {false, 16, {4, 4}, false, 16, {0, 4}, StatusBadSize},
        {false, 16, {4, 4}, false, 16, {4, 0}, StatusBadSize},
    };
    std::vector<uint8_t> src(16 * 16, 7);
    for (const auto& f : regionFunctions()) {
        for (const auto& c : cases) {
            ByteImage dst(16, 8);
            EXPECT_EQ(f.fn(c.srcNull ? nullptr : src.data() + 17, c.srcStep, c.srcSize,
                           c.dstNull ? nullptr : dst.data(), c.dstStep, c.dstSize),
                      c.expected)
                << f.name;
            EXPECT_TRUE(dst.untouched()) << f.name;
        }
    }
}

// ---- Row functions ---------------------------------------------------------

TEST(SamplingRows, BoxBiasesAlternate) {
    const uint8_t row[4] = {1, 2, 1, 2};
    uint8_t out[2];
    ASSERT_EQ(zeqiSampleDownRowH2V1_Box_JPEG_8u_C1(row, 4, out), StatusOk);
    EXPECT_EQ(out[0], 1);  // 3 >> 1 with bias 0
    EXPECT_EQ(out[1], 2);  // (3 + 1) >> 1
    const uint8_t top[2] = {0, 0}, bottom[2] = {0, 1};
    ASSERT_EQ(zeqiSampleDownRowH2V2_Box_JPEG_8u_C1(top, bottom, 2, out), StatusOk);
    EXPECT_EQ(out[0], 0);  // (1 + 1) >> 2 at an even position
}

int replicated(const uint8_t* s, int32_t n, int32_t i) {
    return s[std::min(std::max(i, 0), n - 1)];
}

// Every width 1..70 and random rows: box rows from tight buffers holding the
// one extra sample an odd width reads; triangle rows from exactly srcWidth
// samples, matching the region filters on edge-replicated rows.
TEST(SamplingRows, MatchThePlainFiltersReadingOnlyWhatTheyMay) {
    auto& rng = test::seededRng(33);
    for (int32_t n = 1; n <= 70; ++n) {
        const Tight a(rng, 0, n + n % 2), b(rng, 0, n + n % 2);
        const int32_t outputs = (n + 1) / 2;
        ByteImage h1(outputs, 1, n % 4), h2(outputs, 1, n % 4);
        ASSERT_EQ(zeqiSampleDownRowH2V1_Box_JPEG_8u_C1(a.origin, n, h1.data()), StatusOk);
        ASSERT_EQ(zeqiSampleDownRowH2V2_Box_JPEG_8u_C1(a.origin, b.origin, n, h2.data()), StatusOk);
        for (int32_t k = 0; k < outputs; ++k) {
            const uint8_t* s = a.origin;
            const uint8_t* t = b.origin;
            ASSERT_EQ(h1.data()[k], (s[2 * k] + s[2 * k + 1] + (k & 1)) >> 1) << n;
            ASSERT_EQ(h2.data()[k],
                      (s[2 * k] + s[2 * k + 1] + t[2 * k] + t[2 * k + 1] + 1 + (k & 1)) >> 2)
                << n;
        }
        ByteImage probe1(outputs, 1, n % 4), probe2(outputs, 1, n % 4);
        boxDownH2V1Scalar(a.origin, probe1.data(), outputs, kRowH2V1Bias);
        boxDownH2V2Scalar(a.origin, b.origin, probe2.data(), outputs, kRowH2V2Bias);
        ASSERT_EQ(h1.allBytes(), probe1.allBytes()) << "wrote outside " << n;
        ASSERT_EQ(h2.allBytes(), probe2.allBytes()) << "wrote outside " << n;

        const Tight near(rng, 0, n), far(rng, 0, n);
        ByteImage u1(2 * n, 1, n % 4), u2(2 * n, 1, n % 4);
        ASSERT_EQ(zeqiSampleUpRowH2V1_Triangle_JPEG_8u_C1(near.origin, n, u1.data()), StatusOk);
        ASSERT_EQ(zeqiSampleUpRowH2V2_Triangle_JPEG_8u_C1(near.origin, far.origin, n, u2.data()),
                  StatusOk);
        for (int32_t x = 0; x < 2 * n; ++x) {
            const int32_t i = x / 2, side = x % 2 ? i + 1 : i - 1;
            const int e1 = (3 * replicated(near.origin, n, i) + replicated(near.origin, n, side) +
                            (x % 2 ? 2 : 1)) >>
                           2;
            ASSERT_EQ(u1.data()[x], e1) << n << " at " << x;
            auto c = [&](int32_t j) {
                return 3 * replicated(near.origin, n, j) + replicated(far.origin, n, j);
            };
            ASSERT_EQ(u2.data()[x], (3 * c(i) + c(side) + (x % 2 ? 7 : 8)) >> 4)
                << n << " at " << x;
        }
        ASSERT_TRUE(std::all_of(u1.allBytes().end() - ByteImage::kGuard, u1.allBytes().end(),
                                [](uint8_t v) { return v == ByteImage::kSentinel; }));
    }
}

TEST(SamplingRows, EndSamplesAreCopiedOrWeightedFourToZero) {
    const uint8_t near[3] = {10, 50, 90}, far[3] = {30, 70, 110};
    uint8_t out[6];
    ASSERT_EQ(zeqiSampleUpRowH2V1_Triangle_JPEG_8u_C1(near, 3, out), StatusOk);
    EXPECT_EQ(out[0], 10);
    EXPECT_EQ(out[5], 90);
    ASSERT_EQ(zeqiSampleUpRowH2V2_Triangle_JPEG_8u_C1(near, far, 3, out), StatusOk);
    EXPECT_EQ(out[0], (4 * (3 * 10 + 30) + 8) >> 4);
    EXPECT_EQ(out[5], (4 * (3 * 90 + 110) + 7) >> 4);
    // One sample: both outputs come from it alone.
    ASSERT_EQ(zeqiSampleUpRowH2V1_Triangle_JPEG_8u_C1(near + 1, 1, out), StatusOk);
    EXPECT_EQ(out[0], 50);
    EXPECT_EQ(out[1], 50);
    ASSERT_EQ(zeqiSampleUpRowH2V2_Triangle_JPEG_8u_C1(near + 1, far + 1, 1, out), StatusOk);
    EXPECT_EQ(out[0], (4 * 220 + 8) >> 4);
    EXPECT_EQ(out[1], (4 * 220 + 7) >> 4);
}

TEST(SamplingRows, AnyNullRowThenWidthBelowOne) {
    const uint8_t row[4] = {};
    ByteImage dst(16, 1);
    uint8_t* d = dst.data();
    EXPECT_EQ(zeqiSampleDownRowH2V1_Box_JPEG_8u_C1(nullptr, 0, d), StatusNullPointer);
    EXPECT_EQ(zeqiSampleDownRowH2V1_Box_JPEG_8u_C1(row, 0, nullptr), StatusNullPointer);
    EXPECT_EQ(zeqiSampleDownRowH2V1_Box_JPEG_8u_C1(row, 0, d), StatusBadSize);
    EXPECT_EQ(zeqiSampleDownRowH2V2_Box_JPEG_8u_C1(row, nullptr, 0, d), StatusNullPointer);
    EXPECT_EQ(zeqiSampleDownRowH2V2_Box_JPEG_8u_C1(row, row, -1, d), StatusBadSize);
    EXPECT_EQ(zeqiSampleUpRowH2V1_Triangle_JPEG_8u_C1(nullptr, 4, d), StatusNullPointer);
    EXPECT_EQ(zeqiSampleUpRowH2V1_Triangle_JPEG_8u_C1(row, 0, d), StatusBadSize);
    EXPECT_EQ(zeqiSampleUpRowH2V2_Triangle_JPEG_8u_C1(nullptr, row, 0, d), StatusNullPointer);
    EXPECT_EQ(zeqiSampleUpRowH2V2_Triangle_JPEG_8u_C1(row, row, 0, nullptr), StatusNullPointer);
    EXPECT_EQ(zeqiSampleUpRowH2V2_Triangle_JPEG_8u_C1(row, row, 0, d), StatusBadSize);
    EXPECT_TRUE(dst.untouched());
}

}  // namespace
