// 9/7 wavelet: fixed-point members bit-exact against the positional
// reference (16.16 rows with their rounding orders and clamping, 2.14 whole
// levels with wrapping), single-precision members against a double-precision
// lifting, the column pipelines against the Col members and the reference,
// buffer sizes and argument checks.
#include "jpeg2000/wavelet97.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "core/rows.h"
#include "tests/common/test_support.h"
#include "tests/jpeg2000/wavelet_reference.h"
#include "zeqj.h"

namespace {

using namespace zeq;
using namespace zeq::test::wavelet;
using test::ByteImage;

// ---- References -------------------------------------------------------------

// Store of a fixed-point member: 16s clamps, 32s wraps; sums wrap at 32 bits.
struct FixArith {
    int bits;
    int64_t st(int64_t v) const { return bits == 16 ? sat16(v) : wrapTo(v, 32); }
    static int64_t sum(int64_t a, int64_t b) { return wrapTo(a + b, 32); }
};

// Forward 16.16 row over the window x(lo..): low n at 2n + p, high n at
// 2n + 1 - p; a low whose high neighbour lies outside 0..w-1 rounds the delta
// step and the 1/K scaling separately (unless fusedEverywhere).
void forwardRowFix(const Line& window, int32_t lo, int32_t w, int p, FixArith ar,
                   bool fusedEverywhere, Line& low, Line& high) {
    auto inLine = [&](int32_t pos) {
        const int32_t j = (pos - (1 - p)) / 2;
        return pos - (1 - p) >= 0 && j < w;
    };
    std::vector<int64_t> y = window;
    const auto ok =
        liftWindow(y, lo, p, {1, 0, 1, 0, 1}, {true, true, true, true, false},
                   [&](int s, int32_t pos, int64_t x, int64_t a, int64_t b) -> int64_t {
                       const int64_t sum = FixArith::sum(a, b);
                       switch (s) {
                           case 0:
                               return ar.st(x + round16(kA16 * sum));
                           case 1:
                               return ar.st(x + round16(kB16 * sum));
                           case 2:
                               return ar.st(x + round16(kG16 * sum));
                           case 3:
                               if (!fusedEverywhere && (!inLine(pos - 1) || !inLine(pos + 1)))
                                   return ar.st(round16(ar.st(x + round16(kD16 * sum)) * kInvK16));
                               return ar.st(round16(x * kInvK16 + sum * kDK16));
                           default:
                               return ar.st(round16(x * kK16));
                       }
                   });
    low.assign(w, 0);
    high.assign(w, 0);
    for (int32_t n = 0; n < w; ++n) {
        const int32_t pl = 2 * n + p - lo, ph = 2 * n + 1 - p - lo;
        ASSERT_TRUE(ok[pl] && ok[ph]);
        low[n] = y[pl];
        high[n] = y[ph];
    }
}

// Inverse 16.16 row: bands L(j), H(j) for j from lLo / hLo placed at their
// positions; returns x(0 .. 2w-1).
Line inverseRowFix(const Line& L, int32_t lLo, const Line& H, int32_t hLo, int32_t w, int p,
                   FixArith ar, bool fusedEverywhere) {
    const int32_t posLo = std::min(2 * lLo + p, 2 * hLo + 1 - p);
    const int32_t posHi = std::max(2 * (lLo + static_cast<int32_t>(L.size()) - 1) + p,
                                   2 * (hLo + static_cast<int32_t>(H.size()) - 1) + 1 - p);
    std::vector<int64_t> y(posHi - posLo + 1);
    for (size_t j = 0; j < L.size(); ++j) y[2 * (lLo + j) + p - posLo] = L[j];
    for (size_t j = 0; j < H.size(); ++j) y[2 * (hLo + j) + 1 - p - posLo] = H[j];
    auto inLine = [&](int32_t pos) {
        const int32_t j = (pos - (1 - p)) / 2;
        return pos - (1 - p) >= 0 && j < w;
    };
    const auto ok =
        liftWindow(y, posLo, p, {0, 1, 0, 1}, {true, true, true, true},
                   [&](int s, int32_t pos, int64_t x, int64_t a, int64_t b) -> int64_t {
                       switch (s) {
                           case 0:
                               if (!fusedEverywhere && (!inLine(pos - 1) || !inLine(pos + 1))) {
                                   const int64_t da = ar.st(round16(a * kInvK16));
                                   const int64_t db = ar.st(round16(b * kInvK16));
                                   return ar.st(ar.st(round16(x * kK16)) -
                                                round16(kD16 * FixArith::sum(da, db)));
                               }
                               return ar.st(round16(x * kK16 - FixArith::sum(a, b) * kDK16));
                           case 1:
                               return ar.st(round16(x * kInvK16 - FixArith::sum(a, b) * kG16));
                           case 2:
                               return ar.st(x - round16(kB16 * FixArith::sum(a, b)));
                           default:
                               return ar.st(x - round16(kA16 * FixArith::sum(a, b)));
                       }
                   });
    Line x(2 * w);
    for (int32_t k = 0; k < 2 * w; ++k) {
        EXPECT_TRUE(ok[k - posLo]);
        x[k] = y[k - posLo];
    }
    return x;
}

// Double-precision lifting of a window, forward or inverse (the single
// precision members' operation order, with the listed constants).
std::vector<double> liftDouble(std::vector<double> y, int32_t lo, int p, bool forward,
                               std::vector<bool>* valid = nullptr) {
    std::vector<bool> ok;
    if (forward) {
        ok = liftWindow(y, lo, p, {1, 0, 1, 0, 0, 1}, {true, true, true, true, false, false},
                        [](int s, int32_t, double x, double a, double b) {
                            const double c[] = {kAf, kBf, kGf, kDf};
                            if (s < 4) return x + c[s] * (a + b);
                            return s == 4 ? x * kInvKf : x * kKf;
                        });
    } else {
        ok = liftWindow(y, lo, p, {0, 1, 1, 0, 1}, {true, false, true, true, true},
                        [](int s, int32_t, double x, double a, double b) {
                            switch (s) {
                                case 0:
                                    return x * kKf - kDf / kKf * (a + b);
                                case 1:
                                    return x * kInvKf;
                                case 2:
                                    return x - kGf * (a + b);
                                case 3:
                                    return x - kBf * (a + b);
                                default:
                                    return x - kAf * (a + b);
                            }
                        });
    }
    if (valid) *valid = ok;
    return y;
}

// Whole-level lines: 16s in 2.14 with 16-bit wrapping.
Line forwardLine97Fix14(const Line& x, int p) {
    const int32_t n = static_cast<int32_t>(x.size());
    if (n == 1) return {p ? wrapTo(2 * x[0], 16) : x[0]};
    Line y = extend(x, 4);
    liftWindow(y, -4, p, {1, 0, 1, 0, 0, 1}, {true, true, true, true, false, false},
               [](int s, int32_t, int64_t v, int64_t a, int64_t b) {
                   const int64_t c[] = {kA14, kB14, kG14, kD14};
                   if (s < 4) return wrapTo(v + round14(c[s] * (a + b)), 16);
                   return wrapTo(round14(v * (s == 4 ? kInvK14 : kK14)), 16);
               });
    return lowThenHigh(y, 4, n, p);
}
Line inverseLine97Fix14(const Line& bands, int p) {
    const int32_t n = static_cast<int32_t>(bands.size());
    if (n == 1) return {p ? (bands[0] >> 1) : bands[0]};
    Line y = extend(interleaveBack(bands, n, p), 4);
    liftWindow(y, -4, p, {0, 1, 0, 1, 0, 1}, {false, false, true, true, true, true},
               [](int s, int32_t, int64_t v, int64_t a, int64_t b) {
                   if (s < 2) return wrapTo(round14(v * (s == 0 ? kK14 : kInvK14)), 16);
                   const int64_t c[] = {kD14, kG14, kB14, kA14};
                   return wrapTo(v - round14(c[s - 2] * (a + b)), 16);
               });
    return Line(y.begin() + 4, y.begin() + 4 + n);
}

// Whole-level lines of the 32s members in double precision (not truncated).
std::vector<double> forwardLine97Double(const std::vector<double>& x, int p) {
    const int32_t n = static_cast<int32_t>(x.size());
    if (n == 1) return {p ? 2 * x[0] : x[0]};
    std::vector<double> y(n + 8);
    for (int32_t k = -4; k < n + 4; ++k) y[k + 4] = x[reflect(k, n)];
    y = liftDouble(y, -4, p, true);
    std::vector<double> out;
    for (int q = 0; q < 2; ++q)
        for (int32_t k = 0; k < n; ++k)
            if (((k + p) & 1) == q) out.push_back(y[k + 4]);
    return out;
}

// ---- Whole levels -----------------------------------------------------------

template <class T>
struct LevelApi;
template <>
struct LevelApi<int16_t> {
    static constexpr auto fwdIR = zeqiWTFwd_D97_JPEG2K_16s_C1IR;
    static constexpr auto invIR = zeqiWTInv_D97_JPEG2K_16s_C1IR;
    static constexpr auto fwdR = zeqiWTFwd_D97_JPEG2K_16s_C1R;
    static constexpr auto invR = zeqiWTInv_D97_JPEG2K_16s_C1R;
    static constexpr auto sizeIR = zeqiWTGetBufSize_D97_JPEG2K_16s_C1IR;
    static constexpr auto sizeR = zeqiWTGetBufSize_D97_JPEG2K_16s_C1R;
};
template <>
struct LevelApi<int32_t> {
    static constexpr auto fwdIR = zeqiWTFwd_D97_JPEG2K_32s_C1IR;
    static constexpr auto invIR = zeqiWTInv_D97_JPEG2K_32s_C1IR;
    static constexpr auto fwdR = zeqiWTFwd_D97_JPEG2K_32s_C1R;
    static constexpr auto invR = zeqiWTInv_D97_JPEG2K_32s_C1R;
    static constexpr auto sizeIR = zeqiWTGetBufSize_D97_JPEG2K_32s_C1IR;
    static constexpr auto sizeR = zeqiWTGetBufSize_D97_JPEG2K_32s_C1R;
};

// Runs a level member on tile t (odd step, guarded buffer of the queried
// size) and returns the result; every byte outside the tile and the buffer
// must stay as it was.
template <class T>
Tile runLevel(const Tile& t, const ZeqiRect& rect, bool forward) {
    using A = LevelApi<T>;
    const int32_t w = rect.width, h = rect.height;
    int32_t size = -1;
    EXPECT_EQ(A::sizeIR(&rect, &size), StatusOk);
    const int32_t step = w * static_cast<int32_t>(sizeof(T)) + 3;
    ByteImage img(step, h, 1), buffer(size, 1, 2);
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x)
            storeElement<T>(rowAt(img.data(), step, y), x, static_cast<T>(t[y][x]));
    const ZeqStatus status =
        forward ? A::fwdIR(reinterpret_cast<T*>(img.data()), step, &rect, buffer.data())
                : A::invIR(reinterpret_cast<T*>(img.data()), step, &rect, buffer.data());
    EXPECT_EQ(status, StatusOk);
    Tile out(h, Line(w));
    for (int32_t y = 0; y < h; ++y) {
        for (int32_t x = 0; x < w; ++x) {
            out[y][x] = loadElement<T>(rowAt(img.data(), step, y), x);
            storeElement<T>(rowAt(img.data(), step, y), x, 0);
        }
        for (int32_t b = w * static_cast<int32_t>(sizeof(T)); b < step && y + 1 < h; ++b)
            EXPECT_EQ(rowAt(img.data(), step, y)[b], ByteImage::kSentinel);
    }
    const auto& g = buffer.allBytes();
    for (size_t i = g.size() - ByteImage::kGuard; i < g.size(); ++i)
        EXPECT_EQ(g[i], ByteImage::kSentinel);
    for (int i = 0; i < ByteImage::kGuard + 2; ++i) EXPECT_EQ(g[i], ByteImage::kSentinel);
    return out;
}

Tile randomTile(std::mt19937& rng, int32_t w, int32_t h, int64_t lo, int64_t hi) {
    Tile t(h, Line(w));
    for (auto& row : t)
        for (auto& v : row) v = test::uniform<int64_t>(rng, lo, hi);
    return t;
}

std::vector<std::pair<int32_t, int32_t>> levelSizes() {
    std::vector<std::pair<int32_t, int32_t>> sizes;
    for (int32_t n = 1; n <= 70; ++n)
        for (int32_t m : {1, 2, 3, 4, 5, 9, 70}) {
            sizes.push_back({n, m});
            sizes.push_back({m, n});
        }
    return sizes;
}

TEST(Wavelet97Level, FixedPoint16sMatchesTheReferenceBitForBit) {
    auto& rng = test::seededRng(97);
    const auto sizes = levelSizes();
    const int count = test::scaledCount(static_cast<int>(sizes.size()));
    for (int i = 0; i < count; ++i) {
        const auto [w, h] = sizes[static_cast<size_t>(i) * sizes.size() / count];
        for (int parity = 0; parity < 4; ++parity) {
            const int px = parity & 1, py = parity >> 1;
            const bool extreme = (i + parity) % 5 == 0;
            const Tile t = randomTile(rng, w, h, extreme ? -32768 : -4000, extreme ? 32767 : 4000);
            const ZeqiRect rect = {px + 6, py - 2, w, h};
            const Tile got = runLevel<int16_t>(t, rect, true);
            ASSERT_EQ(got, level(t, px, py, forwardLine97Fix14)) << w << "x" << h << " " << parity;
            const Tile back = runLevel<int16_t>(got, rect, false);
            ASSERT_EQ(back, levelInverse(got, px, py, inverseLine97Fix14)) << w << "x" << h;
            if (!extreme) {
                for (int32_t y = 0; y < h; ++y)
                    for (int32_t x = 0; x < w; ++x)
                        ASSERT_NEAR(back[y][x], t[y][x], 8) << w << "x" << h;
            }
        }
    }
}

TEST(Wavelet97Level, SinglePrecision32sIsCloseToDoubleLiftingAndInvertsClosely) {
    auto& rng = test::seededRng(970);
    const auto sizes = levelSizes();
    const int count = test::scaledCount(static_cast<int>(sizes.size()));
    for (int i = 0; i < count; ++i) {
        const auto [w, h] = sizes[static_cast<size_t>(i) * sizes.size() / count];
        for (int parity = 0; parity < 4; ++parity) {
            const int px = parity & 1, py = parity >> 1;
            const int64_t range = int64_t{1} << 20;
            const Tile t = randomTile(rng, w, h, -range, range);
            const ZeqiRect rect = {px, py, w, h};
            const Tile got = runLevel<int32_t>(t, rect, true);
            // Double lifting: vertical, then horizontal, no intermediate truncation.
            std::vector<std::vector<double>> d(h, std::vector<double>(w));
            for (int32_t x = 0; x < w; ++x) {
                std::vector<double> col(h);
                for (int32_t y = 0; y < h; ++y) col[y] = static_cast<double>(t[y][x]);
                col = forwardLine97Double(col, py);
                for (int32_t y = 0; y < h; ++y) d[y][x] = col[y];
            }
            for (int32_t y = 0; y < h; ++y) {
                // The library truncates after the vertical pass only when the
                // row is finished; rows stay single precision in between.
                d[y] = forwardLine97Double(d[y], px);
                for (int32_t x = 0; x < w; ++x)
                    ASSERT_NEAR(static_cast<double>(got[y][x]), std::trunc(d[y][x]),
                                2.0 + 4e-6 * range)
                        << w << "x" << h << " at " << x << "," << y;
            }
            const Tile back = runLevel<int32_t>(got, rect, false);
            for (int32_t y = 0; y < h; ++y)
                for (int32_t x = 0; x < w; ++x)
                    ASSERT_NEAR(back[y][x], t[y][x], 4.0 + 8e-6 * range);
        }
    }
}

TEST(Wavelet97Level, ExtremeSinglePrecisionResultsClampWhenTruncated) {
    // A constant tile at the ends of the range: the level keeps the low band
    // at the value; rounding in single precision may push it past 2^31.
    for (int32_t v : {INT32_MAX, INT32_MIN}) {
        Tile t(4, Line(4, v));
        const Tile got = runLevel<int32_t>(t, {0, 0, 4, 4}, true);
        EXPECT_TRUE(got[0][0] == INT32_MAX || got[0][0] == INT32_MIN ||
                    std::llabs(got[0][0] - v) < 512)
            << got[0][0];
        EXPECT_EQ(v > 0 ? got[0][0] > 0 : got[0][0] < 0, true);
    }
}

template <class T>
void checkCopyingLevel() {
    using A = LevelApi<T>;
    auto& rng = test::seededRng(31);
    for (int32_t w : {1, 2, 5, 8}) {
        for (int32_t h : {1, 2, 3, 7}) {
            for (int parity = 0; parity < 4; ++parity) {
                const ZeqiRect rect = {parity & 1, parity >> 1, w, h};
                const Tile t = randomTile(rng, w, h, -3000, 3000);
                const Tile inPlace = runLevel<T>(t, rect, true);
                int32_t size = 0;
                ASSERT_EQ(A::sizeR(&rect, &size), StatusOk);
                std::vector<T> src(static_cast<size_t>(w) * h);
                for (int32_t y = 0; y < h; ++y)
                    for (int32_t x = 0; x < w; ++x) src[y * w + x] = static_cast<T>(t[y][x]);
                const int32_t cw = (w + 1) / 2, ch = (h + 1) / 2;
                const int32_t bw[4] = {cw, cw, w / 2, w / 2}, bh[4] = {ch, h / 2, ch, h / 2};
                const int32_t bx[4] = {0, 0, cw, cw}, by[4] = {0, ch, 0, ch};
                std::vector<std::vector<T>> bands(4);
                T* dst[4];
                int32_t steps[4];
                for (int b = 0; b < 4; ++b) {
                    bands[b].assign(static_cast<size_t>(std::max(bw[b], 1)) * std::max(bh[b], 1),
                                    0);
                    dst[b] = bands[b].data();
                    steps[b] = std::max(bw[b], 1) * sizeof(T);
                }
                std::vector<uint8_t> buffer(size);
                ASSERT_EQ(A::fwdR(src.data(), w * sizeof(T), &rect, dst, steps, buffer.data()),
                          StatusOk);
                for (int b = 0; b < 4; ++b)
                    for (int32_t y = 0; y < bh[b]; ++y)
                        for (int32_t x = 0; x < bw[b]; ++x)
                            ASSERT_EQ(bands[b][y * std::max(bw[b], 1) + x],
                                      inPlace[by[b] + y][bx[b] + x]);
                const T* srcBands[4] = {dst[0], dst[1], dst[2], dst[3]};
                std::vector<T> out(src.size());
                ASSERT_EQ(A::invR(srcBands, steps, out.data(), w * sizeof(T), &rect, buffer.data()),
                          StatusOk);
                const Tile back = runLevel<T>(inPlace, rect, false);
                for (int32_t y = 0; y < h; ++y)
                    for (int32_t x = 0; x < w; ++x) ASSERT_EQ(out[y * w + x], back[y][x]);
            }
        }
    }
}
TEST(Wavelet97Level, CopyingMembersEqualTheInPlaceMembers) {
    checkCopyingLevel<int16_t>();
    checkCopyingLevel<int32_t>();
}

TEST(Wavelet97Level, BufferSizesFollowTheFormulas) {
    struct Case {
        ZeqiRect rect;
        int32_t in16, in32, copy16, copy32;
    } const cases[] = {
        {{0, 0, 1, 1}, 0, 0, 32, 32},
        {{0, 0, 2, 1}, 20, 40, 32 + 20, 32 + 40},
        {{1, 0, 1, 2}, 20, 40, 64 + 20, 64 + 40},
        {{0, 0, 100, 7}, 216, 432, 224 * 7 + 216, 416 * 7 + 432},
    };
    for (const auto& c : cases) {
        int32_t s = -1;
        ASSERT_EQ(zeqiWTGetBufSize_D97_JPEG2K_16s_C1IR(&c.rect, &s), StatusOk);
        EXPECT_EQ(s, c.in16);
        ASSERT_EQ(zeqiWTGetBufSize_D97_JPEG2K_32s_C1IR(&c.rect, &s), StatusOk);
        EXPECT_EQ(s, c.in32);
        ASSERT_EQ(zeqiWTGetBufSize_D97_JPEG2K_16s_C1R(&c.rect, &s), StatusOk);
        EXPECT_EQ(s, c.copy16);
        ASSERT_EQ(zeqiWTGetBufSize_D97_JPEG2K_32s_C1R(&c.rect, &s), StatusOk);
        EXPECT_EQ(s, c.copy32);
    }
}

// ---- Rows with the caller's extension -----------------------------------------

// Read windows of the row members: forward x(-4 .. 2w+2) at phase 0 and
// x(-3 .. 2w+3) at phase 1; inverse low(-1 .. w+1), high(-2 .. w+1) at phase
// 0 and low(-2 .. w), high(-2 .. w+1) at phase 1.
struct Windows {
    int32_t xLo, xHi, lLo, lHi, hLo, hHi;  // inclusive
};
Windows windows(int32_t w, int p) {
    return p == 0 ? Windows{-4, 2 * w + 2, -1, w + 1, -2, w + 1}
                  : Windows{-3, 2 * w + 3, -2, w, -2, w + 1};
}

template <class T>
struct RowApi;
template <>
struct RowApi<int16_t> {
    static constexpr auto fwd = zeqiWTFwdRow_D97_JPEG2K_16s_C1R;
    static constexpr auto inv = zeqiWTInvRow_D97_JPEG2K_16s_C1R;
    static constexpr int kBits = 16;
};
template <>
struct RowApi<int32_t> {
    static constexpr auto fwd = zeqiWTFwdRow_D97_JPEG2K_32s_C1R;
    static constexpr auto inv = zeqiWTInvRow_D97_JPEG2K_32s_C1R;
    static constexpr int kBits = 32;
};

// Direct filters of single-coefficient rows in 16.16: taps centred on the
// low (position p) and high (1 - p) sample.
const int64_t kLowTaps[5] = {39515, 17489, -5126, -1105, 1753};
const int64_t kHighTaps[4] = {73078, -38749, -3771, 5982};
const int64_t kSynLowTaps[4] = {73078, 38749, -3771, -5982};
const int64_t kSynHighTaps[5] = {39515, -17489, -5126, 1105, 1753};

template <class T>
void checkFixedRows(int64_t lo, int64_t hi, uint32_t seed) {
    using A = RowApi<T>;
    const FixArith ar{A::kBits};
    auto& rng = test::seededRng(seed);
    for (int32_t w = 1; w <= 40; ++w) {
        for (int p = 0; p < 2; ++p) {
            const Windows win = windows(w, p);
            std::vector<T> x(win.xHi - win.xLo + 1);
            for (auto& v : x) v = test::uniform<T>(rng, lo, hi);
            std::vector<T> low(w), high(w);
            ASSERT_EQ(A::fwd(x.data() - win.xLo, 4, low.data(), 4, high.data(), 4, {w, 1}, p),
                      StatusOk);
            Line el, eh;
            if (w == 1) {
                auto at = [&](int32_t k) { return int64_t{x.at(k - win.xLo)}; };
                int64_t l = 32768, hv = 32768;
                for (int32_t k = -4; k <= 4; ++k) l += kLowTaps[std::abs(k)] * at(p + k);
                for (int32_t k = -3; k <= 3; ++k) hv += kHighTaps[std::abs(k)] * at(1 - p + k);
                el = {ar.st(l >> 16)};
                eh = {ar.st(hv >> 16)};
            } else {
                forwardRowFix(Line(x.begin(), x.end()), win.xLo, w, p, ar, false, el, eh);
            }
            for (int32_t n = 0; n < w; ++n) {
                ASSERT_EQ(low[n], el[n]) << "w " << w << " p " << p << " n " << n;
                ASSERT_EQ(high[n], eh[n]) << "w " << w << " p " << p << " n " << n;
            }
            // Inverse from bands with random extension values.
            std::vector<T> L(win.lHi - win.lLo + 1), H(win.hHi - win.hLo + 1);
            for (auto& v : L) v = test::uniform<T>(rng, lo, hi);
            for (auto& v : H) v = test::uniform<T>(rng, lo, hi);
            for (int32_t n = 0; n < w; ++n) L[n - win.lLo] = low[n], H[n - win.hLo] = high[n];
            std::vector<T> out(2 * w);
            ASSERT_EQ(
                A::inv(L.data() - win.lLo, 4, H.data() - win.hLo, 4, {w, 1}, out.data(), 4, p),
                StatusOk);
            Line ex;
            if (w == 1) {
                for (int32_t k = 0; k < 2; ++k) {
                    int64_t acc = 32768;
                    for (int32_t pos = k - 4; pos <= k + 4; ++pos) {
                        const int32_t d = std::abs(pos - k);
                        if (((pos + p) & 1) == 0) {
                            if (d <= 3) acc += kSynLowTaps[d] * L.at((pos - p) / 2 - win.lLo);
                        } else {
                            acc += kSynHighTaps[d] * H.at((pos - 1 + p) / 2 - win.hLo);
                        }
                    }
                    ex.push_back(ar.st(acc >> 16));
                }
            } else {
                ex = inverseRowFix(Line(L.begin(), L.end()), win.lLo, Line(H.begin(), H.end()),
                                   win.hLo, w, p, ar, false);
            }
            for (int32_t k = 0; k < 2 * w; ++k) ASSERT_EQ(out[k], ex[k]) << "w " << w << " p " << p;
        }
    }
}

TEST(Wavelet97Rows, FixedPointRowsMatchTheReferenceWithinTheirWindows) {
    checkFixedRows<int16_t>(-3000, 3000, 1);
    checkFixedRows<int16_t>(-32768, 32767, 2);  // clamping in every step
    checkFixedRows<int32_t>(-(1 << 20), 1 << 20, 3);
    checkFixedRows<int32_t>(INT32_MIN, INT32_MAX, 4);  // wrapping
}

TEST(Wavelet97Rows, ConstantRowsGiveTheValueAndZero) {
    // Up to 15000: the first step (about -2.17 v) stays inside 16 bits.
    for (int32_t v : {0, 1, -1, 1000, -15000, 15000}) {
        for (int p = 0; p < 2; ++p) {
            for (int32_t w : {1, 2, 9}) {
                std::vector<int16_t> x(2 * w + 8, static_cast<int16_t>(v)), low(w), high(w);
                ASSERT_EQ(zeqiWTFwdRow_D97_JPEG2K_16s_C1R(x.data() + 4, 0x7fff, low.data(), 2,
                                                          high.data(), 2, {w, 1}, p),
                          StatusOk);
                for (int32_t n = 0; n < w; ++n) {
                    EXPECT_NEAR(low[n], v, 1) << v;
                    EXPECT_NEAR(high[n], 0, 1) << v;
                }
            }
        }
    }
}

// Single-precision rows and columns: within a tight tolerance of the double
// lifting; the Col members give the Row members' bits on transposed data.
TEST(Wavelet97Rows, SinglePrecisionRowsAndColumnsTrackDoubleLifting) {
    auto& rng = test::seededRng(32);
    std::uniform_real_distribution<float> dist(-1000.0f, 1000.0f);
    for (int32_t w = 1; w <= 40; ++w) {
        for (int p = 0; p < 2; ++p) {
            const Windows win = windows(w, p);
            const int32_t rows = 3, span = win.xHi - win.xLo + 1;
            std::vector<float> x(static_cast<size_t>(span) * rows);
            for (auto& v : x) v = dist(rng);
            std::vector<float> low(w * rows), high(w * rows);
            ASSERT_EQ(zeqiWTFwdRow_D97_JPEG2K_32f_C1R(x.data() - win.xLo, span * 4, low.data(),
                                                      w * 4, high.data(), w * 4, {w, rows}, p),
                      StatusOk);
            for (int32_t r = 0; r < rows; ++r) {
                std::vector<bool> ok;
                const auto y = liftDouble(
                    std::vector<double>(x.begin() + r * span, x.begin() + (r + 1) * span), win.xLo,
                    p, true, &ok);
                for (int32_t n = 0; n < w; ++n) {
                    ASSERT_NEAR(low[r * w + n], y[2 * n + p - win.xLo], 2e-3) << w << " " << p;
                    ASSERT_NEAR(high[r * w + n], y[2 * n + 1 - p - win.xLo], 2e-3) << w << " " << p;
                }
            }
            if (w > 1) {
                std::vector<float> xt(x.size()), lt(low.size()), ht(high.size());
                for (int32_t r = 0; r < rows; ++r)
                    for (int32_t k = 0; k < span; ++k) xt[k * rows + r] = x[r * span + k];
                ASSERT_EQ(
                    zeqiWTFwdCol_D97_JPEG2K_32f_C1R(xt.data() - win.xLo * rows, rows * 4, lt.data(),
                                                    rows * 4, ht.data(), rows * 4, {rows, w}, p),
                    StatusOk);
                for (int32_t r = 0; r < rows; ++r)
                    for (int32_t n = 0; n < w; ++n) {
                        ASSERT_EQ(lt[n * rows + r], low[r * w + n]);
                        ASSERT_EQ(ht[n * rows + r], high[r * w + n]);
                    }
            }
            // Inverse on bands of random values within the windows.
            std::vector<float> L(win.lHi - win.lLo + 1), H(win.hHi - win.hLo + 1), out(2 * w);
            for (auto& v : L) v = dist(rng);
            for (auto& v : H) v = dist(rng);
            ASSERT_EQ(zeqiWTInvRow_D97_JPEG2K_32f_C1R(L.data() - win.lLo, 4, H.data() - win.hLo, 4,
                                                      {w, 1}, out.data(), 4, p),
                      StatusOk);
            const int32_t posLo = std::min(2 * win.lLo + p, 2 * win.hLo + 1 - p);
            const int32_t posHi = std::max(2 * win.lHi + p, 2 * win.hHi + 1 - p);
            std::vector<double> y(posHi - posLo + 1);
            for (int32_t j = win.lLo; j <= win.lHi; ++j) y[2 * j + p - posLo] = L[j - win.lLo];
            for (int32_t j = win.hLo; j <= win.hHi; ++j) y[2 * j + 1 - p - posLo] = H[j - win.hLo];
            std::vector<bool> ok;
            y = liftDouble(y, posLo, p, false, &ok);
            for (int32_t k = 0; k < 2 * w; ++k) {
                ASSERT_TRUE(ok[k - posLo]);
                ASSERT_NEAR(out[k], y[k - posLo], 2e-3) << w << " " << p << " " << k;
            }
            if (w > 1) {
                std::vector<float> outCol(2 * w);
                ASSERT_EQ(zeqiWTInvCol_D97_JPEG2K_32f_C1R(L.data() - win.lLo, 4, H.data() - win.hLo,
                                                          4, {1, w}, outCol.data(), 4, p),
                          StatusOk);
                ASSERT_EQ(outCol, out);
            }
        }
    }
}

// ---- Column pipelines ---------------------------------------------------------

// Drives the forward pipeline down `cols` columns of x (rows x(-4) ..
// x(2w+4)), phase 0, and returns the finished low and high rows 0..w-1.
template <class T, class Lift>
void runForwardPipeline(Lift lift, const std::vector<std::vector<T>>& x, int32_t w, int32_t cols,
                        std::vector<std::vector<T>>& low, std::vector<std::vector<T>>& high) {
    auto X = [&](int32_t k) { return x.at(k + 4).data(); };
    std::vector<T> lowPrev(cols), lowNew(cols), highOld(cols), highPrev(cols), highNew(cols);
    low.assign(w, std::vector<T>(cols));
    high.assign(w, std::vector<T>(cols));
    for (int32_t n = -2; n <= w + 1; ++n) {
        ASSERT_EQ(lift(X(2 * n + 2), X(2 * n + 1), X(2 * n), lowPrev.data(), lowNew.data(),
                       highOld.data(), highPrev.data(), highNew.data(), cols),
                  StatusOk);
        if (n - 1 >= 0 && n - 1 < w) low[n - 1] = lowPrev;
        if (n - 2 >= 0 && n - 2 < w) high[n - 2] = highOld;
        std::swap(lowPrev, lowNew);
        std::swap(highOld, highPrev);
        std::swap(highPrev, highNew);
    }
}

// Drives the inverse pipeline over bands L(-4 ..), H(-4 ..) and returns
// x(0 .. 2w-1).
template <class T, class Lift>
std::vector<std::vector<T>> runInversePipeline(Lift lift, const std::vector<std::vector<T>>& L,
                                               const std::vector<std::vector<T>>& H, int32_t w,
                                               int32_t cols) {
    std::vector<T> lowPrev(cols), lowNew(cols), evenOld(cols), highPrev(cols), highNew(cols);
    std::vector<std::vector<T>> x(2 * w, std::vector<T>(cols));
    for (int32_t n = -3; n <= w; ++n) {
        EXPECT_EQ(
            lift(L.at(n + 1 + 4).data(), H.at(n + 1 + 4).data(), H.at(n + 4).data(), lowPrev.data(),
                 lowNew.data(), evenOld.data(), highPrev.data(), highNew.data(), cols),
            StatusOk);
        if (n >= 0 && n < w) x[2 * n] = lowPrev;
        if (n >= 1 && n <= w) x[2 * n - 1] = highPrev;
        std::swap(evenOld, lowPrev);  // x(2n) becomes the older even row
        std::swap(lowPrev, lowNew);
        std::swap(highPrev, highNew);
    }
    return x;
}

TEST(Wavelet97Pipelines, SinglePrecisionPipelinesGiveTheColumnMembersBits) {
    auto& rng = test::seededRng(8);
    std::uniform_real_distribution<float> dist(-500.0f, 500.0f);
    for (int32_t w : {2, 3, 8, 21}) {
        for (int32_t cols : {1, 5, 16}) {
            std::vector<std::vector<float>> x(2 * w + 9, std::vector<float>(cols));
            for (auto& r : x)
                for (auto& v : r) v = dist(rng);
            std::vector<std::vector<float>> low, high;
            runForwardPipeline<float>(zeqiWTFwdColLift_D97_JPEG2K_32f_C1, x, w, cols, low, high);
            std::vector<float> flat(x.size() * cols), lc(w * cols), hc(w * cols);
            for (size_t r = 0; r < x.size(); ++r)
                std::copy(x[r].begin(), x[r].end(), flat.begin() + r * cols);
            ASSERT_EQ(zeqiWTFwdCol_D97_JPEG2K_32f_C1R(flat.data() + 4 * cols, cols * 4, lc.data(),
                                                      cols * 4, hc.data(), cols * 4, {cols, w}, 0),
                      StatusOk);
            for (int32_t n = 0; n < w; ++n)
                for (int32_t c = 0; c < cols; ++c) {
                    ASSERT_EQ(low[n][c], lc[n * cols + c]) << w << " " << n;
                    ASSERT_EQ(high[n][c], hc[n * cols + c]) << w << " " << n;
                }
            // Inverse: bands L(-4 .. w+4), H(-4 .. w+4).
            std::vector<std::vector<float>> L(w + 9, std::vector<float>(cols)), H = L;
            for (auto* b : {&L, &H})
                for (auto& r : *b)
                    for (auto& v : r) v = dist(rng);
            const auto xs =
                runInversePipeline<float>(zeqiWTInvColLift_D97_JPEG2K_32f_C1, L, H, w, cols);
            std::vector<float> lf((w + 9) * cols), hf(lf.size()), out(2 * w * cols);
            for (int32_t r = 0; r < w + 9; ++r) {
                std::copy(L[r].begin(), L[r].end(), lf.begin() + r * cols);
                std::copy(H[r].begin(), H[r].end(), hf.begin() + r * cols);
            }
            ASSERT_EQ(zeqiWTInvCol_D97_JPEG2K_32f_C1R(lf.data() + 4 * cols, cols * 4,
                                                      hf.data() + 4 * cols, cols * 4, {cols, w},
                                                      out.data(), cols * 4, 0),
                      StatusOk);
            for (int32_t k = 0; k < 2 * w; ++k)
                for (int32_t c = 0; c < cols; ++c)
                    ASSERT_EQ(xs[k][c], out[k * cols + c]) << w << " " << k;
        }
    }
}

// The fixed-point pipelines fuse the delta step everywhere.
template <class T>
void checkFixedPipelines(decltype(zeqiWTFwdColLift_D97_JPEG2K_16s_C1) fwd16,
                         decltype(zeqiWTInvColLift_D97_JPEG2K_16s_C1) inv16,
                         decltype(zeqiWTFwdColLift_D97_JPEG2K_32s_C1) fwd32,
                         decltype(zeqiWTInvColLift_D97_JPEG2K_32s_C1) inv32, int64_t range) {
    const FixArith ar{sizeof(T) == 2 ? 16 : 32};
    auto& rng = test::seededRng(9);
    for (int32_t w : {2, 5, 12}) {
        const int32_t cols = 11;
        std::vector<std::vector<T>> x(2 * w + 9, std::vector<T>(cols));
        for (auto& r : x)
            for (auto& v : r) v = test::uniform<T>(rng, -range, range);
        std::vector<std::vector<T>> low, high;
        if constexpr (sizeof(T) == 2)
            runForwardPipeline<T>(fwd16, x, w, cols, low, high);
        else
            runForwardPipeline<T>(fwd32, x, w, cols, low, high);
        for (int32_t c = 0; c < cols; ++c) {
            Line col;
            for (const auto& r : x) col.push_back(r[c]);
            Line el, eh;
            forwardRowFix(col, -4, w, 0, ar, true, el, eh);
            for (int32_t n = 0; n < w; ++n) {
                ASSERT_EQ(low[n][c], el[n]);
                ASSERT_EQ(high[n][c], eh[n]);
            }
        }
        std::vector<std::vector<T>> L(w + 9, std::vector<T>(cols)), H = L;
        for (auto* b : {&L, &H})
            for (auto& r : *b)
                for (auto& v : r) v = test::uniform<T>(rng, -range, range);
        std::vector<std::vector<T>> xs;
        if constexpr (sizeof(T) == 2)
            xs = runInversePipeline<T>(inv16, L, H, w, cols);
        else
            xs = runInversePipeline<T>(inv32, L, H, w, cols);
        for (int32_t c = 0; c < cols; ++c) {
            Line lc, hc;
            for (const auto& r : L) lc.push_back(r[c]);
            for (const auto& r : H) hc.push_back(r[c]);
            const Line ex = inverseRowFix(lc, -4, hc, -4, w, 0, ar, true);
            for (int32_t k = 0; k < 2 * w; ++k) ASSERT_EQ(xs[k][c], ex[k]) << w << " " << k;
        }
    }
}
TEST(Wavelet97Pipelines, FixedPointPipelinesMatchTheFusedReference) {
    checkFixedPipelines<int16_t>(
        zeqiWTFwdColLift_D97_JPEG2K_16s_C1, zeqiWTInvColLift_D97_JPEG2K_16s_C1,
        zeqiWTFwdColLift_D97_JPEG2K_32s_C1, zeqiWTInvColLift_D97_JPEG2K_32s_C1, 32767);
    checkFixedPipelines<int32_t>(
        zeqiWTFwdColLift_D97_JPEG2K_16s_C1, zeqiWTInvColLift_D97_JPEG2K_16s_C1,
        zeqiWTFwdColLift_D97_JPEG2K_32s_C1, zeqiWTInvColLift_D97_JPEG2K_32s_C1, INT32_MAX);
}

TEST(Wavelet97Api, ColumnLiftsCheckEightRowsThenTheWidth) {
    float r[8][4] = {};
    float* p[8];
    for (int i = 0; i < 8; ++i) p[i] = r[i];
    for (int missing = 0; missing < 8; ++missing) {
        float* q[8];
        std::copy(p, p + 8, q);
        q[missing] = nullptr;
        EXPECT_EQ(
            zeqiWTFwdColLift_D97_JPEG2K_32f_C1(q[0], q[1], q[2], q[3], q[4], q[5], q[6], q[7], 0),
            StatusNullPointer);
        EXPECT_EQ(
            zeqiWTInvColLift_D97_JPEG2K_32f_C1(q[0], q[1], q[2], q[3], q[4], q[5], q[6], q[7], 0),
            StatusNullPointer);
    }
    EXPECT_EQ(zeqiWTFwdColLift_D97_JPEG2K_32f_C1(p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], 0),
              StatusBadSize);
    int16_t a[4] = {}, b[4] = {};
    EXPECT_EQ(zeqiWTInvColLift_D97_JPEG2K_16s_C1(a, a, a, b, b, a, b, b, -1), StatusBadSize);
    EXPECT_EQ(zeqiWTFwdRow_D97_JPEG2K_16s_C1R(a, 0, b, 2, b, 2, {1, 1}, 0), StatusBadStep);
    EXPECT_EQ(zeqiWTInvRow_D97_JPEG2K_32s_C1R(nullptr, 4, nullptr, 4, {1, 1}, nullptr, 4, 0),
              StatusNullPointer);
    EXPECT_EQ(zeqiWTFwdCol_D97_JPEG2K_32f_C1R(p[0], 4, p[1], 4, p[2], 4, {0, 1}, 0), StatusBadSize);
    for (int16_t v : b) EXPECT_EQ(v, 0);
    for (auto& row : r)
        for (float v : row) EXPECT_EQ(v, 0.0f);
}

}  // namespace
