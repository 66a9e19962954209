// 5/3 wavelet: whole levels against the line-by-line reference for every
// parity and size, exact inverses, the copying members' layout, the Row,
// Col and ColLift members against their formulas with exactly the border
// reads they are allowed, buffer sizes and argument checks.
#include "jpeg2000/wavelet53.h"

#include <gtest/gtest.h>

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

// A tile of T samples at a byte step (odd steps allowed), in guarded memory.
template <class T>
struct TileImage {
    TileImage(int32_t w, int32_t h, int32_t pad, int offset)
        : width(w),
          height(h),
          step(w * static_cast<int32_t>(sizeof(T)) + pad),
          image(step, h, offset) {}
    void put(const Tile& t) {
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x)
                storeElement<T>(rowAt(image.data(), step, y), x, static_cast<T>(t[y][x]));
    }
    Tile get() const {
        Tile t(height, Line(width));
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x)
                t[y][x] = loadElement<T>(rowAt(image.data(), step, y), x);
        return t;
    }
    // The padding between rows must be untouched.
    bool paddingUntouched() const {
        const auto& all = image.allBytes();
        const size_t base = static_cast<size_t>(image.data() - all.data());
        for (size_t i = 0; i < all.size(); ++i) {
            const bool inside = i >= base && i < base + static_cast<size_t>(step) * height &&
                                (i - base) % step < width * sizeof(T);
            if (!inside && all[i] != ByteImage::kSentinel) return false;
        }
        return true;
    }
    T* data() { return reinterpret_cast<T*>(image.data()); }
    int32_t width, height, step;
    ByteImage image;
};

Tile randomTile(std::mt19937& rng, int32_t w, int32_t h, int64_t lo, int64_t hi) {
    Tile t(h, Line(w));
    for (auto& row : t)
        for (auto& v : row) v = test::uniform<int64_t>(rng, lo, hi);
    return t;
}

template <class T>
struct Family;
template <>
struct Family<int16_t> {
    static constexpr int kBits = 16;
    static constexpr int64_t kSafe = 1 << 14;
    static constexpr auto fwdIR = zeqiWTFwd_B53_JPEG2K_16s_C1IR;
    static constexpr auto invIR = zeqiWTInv_B53_JPEG2K_16s_C1IR;
    static constexpr auto fwdR = zeqiWTFwd_B53_JPEG2K_16s_C1R;
    static constexpr auto invR = zeqiWTInv_B53_JPEG2K_16s_C1R;
    static constexpr auto sizeIR = zeqiWTGetBufSize_B53_JPEG2K_16s_C1IR;
    static constexpr auto sizeR = zeqiWTGetBufSize_B53_JPEG2K_16s_C1R;
    static constexpr auto fwdRow = zeqiWTFwdRow_B53_JPEG2K_16s_C1R;
    static constexpr auto fwdCol = zeqiWTFwdCol_B53_JPEG2K_16s_C1R;
    static constexpr auto invRow = zeqiWTInvRow_B53_JPEG2K_16s_C1R;
    static constexpr auto invCol = zeqiWTInvCol_B53_JPEG2K_16s_C1R;
    static constexpr auto fwdLift = zeqiWTFwdColLift_B53_JPEG2K_16s_C1;
    static constexpr auto invLift = zeqiWTInvColLift_B53_JPEG2K_16s_C1;
};
template <>
struct Family<int32_t> {
    static constexpr int kBits = 32;
    static constexpr int64_t kSafe = 1 << 29;
    static constexpr auto fwdIR = zeqiWTFwd_B53_JPEG2K_32s_C1IR;
    static constexpr auto invIR = zeqiWTInv_B53_JPEG2K_32s_C1IR;
    static constexpr auto fwdR = zeqiWTFwd_B53_JPEG2K_32s_C1R;
    static constexpr auto invR = zeqiWTInv_B53_JPEG2K_32s_C1R;
    static constexpr auto sizeIR = zeqiWTGetBufSize_B53_JPEG2K_32s_C1IR;
    static constexpr auto sizeR = zeqiWTGetBufSize_B53_JPEG2K_32s_C1R;
    static constexpr auto fwdRow = zeqiWTFwdRow_B53_JPEG2K_32s_C1R;
    static constexpr auto fwdCol = zeqiWTFwdCol_B53_JPEG2K_32s_C1R;
    static constexpr auto invRow = zeqiWTInvRow_B53_JPEG2K_32s_C1R;
    static constexpr auto invCol = zeqiWTInvCol_B53_JPEG2K_32s_C1R;
    static constexpr auto fwdLift = zeqiWTFwdColLift_B53_JPEG2K_32s_C1;
    static constexpr auto invLift = zeqiWTInvColLift_B53_JPEG2K_32s_C1;
};

// Sizes covering every length 1..70 in each direction.
std::vector<std::pair<int32_t, int32_t>> levelSizes() {
    std::vector<std::pair<int32_t, int32_t>> sizes;
    const int32_t few[] = {1, 2, 3, 4, 5, 8, 17, 70};
    for (int32_t n = 1; n <= 70; ++n)
        for (int32_t m : few) {
            sizes.push_back({n, m});
            sizes.push_back({m, n});
        }
    return sizes;
}

// Runs the in-place forward level on t with a buffer of exactly the queried
// size inside guard bytes; checks the guards and returns the result.
template <class T>
Tile forwardInPlace(const Tile& t, int px, int py, int32_t pad, int offset) {
    using F = Family<T>;
    const int32_t w = static_cast<int32_t>(t[0].size()), h = static_cast<int32_t>(t.size());
    const ZeqiRect rect = {px + 2 * offset, py - 4, w, h};
    int32_t size = -1;
    EXPECT_EQ(F::sizeIR(&rect, &size), StatusOk);
    TileImage<T> img(w, h, pad, offset);
    img.put(t);
    ByteImage buffer(size, 1, offset);
    EXPECT_EQ(F::fwdIR(img.data(), img.step, &rect, buffer.data()), StatusOk);
    EXPECT_TRUE(img.paddingUntouched());
    const auto& all = buffer.allBytes();
    for (int i = 0; i < ByteImage::kGuard + offset; ++i) EXPECT_EQ(all[i], ByteImage::kSentinel);
    for (size_t i = all.size() - ByteImage::kGuard; i < all.size(); ++i)
        EXPECT_EQ(all[i], ByteImage::kSentinel);
    return img.get();
}

template <class T>
Tile inverseInPlace(const Tile& t, int px, int py) {
    using F = Family<T>;
    const int32_t w = static_cast<int32_t>(t[0].size()), h = static_cast<int32_t>(t.size());
    const ZeqiRect rect = {px, py, w, h};
    int32_t size = -1;
    EXPECT_EQ(F::sizeIR(&rect, &size), StatusOk);
    TileImage<T> img(w, h, 3, 1);
    img.put(t);
    ByteImage buffer(size, 1);
    EXPECT_EQ(F::invIR(img.data(), img.step, &rect, buffer.data()), StatusOk);
    EXPECT_TRUE(img.paddingUntouched());
    EXPECT_TRUE(std::equal(buffer.allBytes().end() - ByteImage::kGuard, buffer.allBytes().end(),
                           std::vector<uint8_t>(ByteImage::kGuard, ByteImage::kSentinel).begin()));
    return img.get();
}

template <class T>
void checkLevels(int64_t lo, int64_t hi, bool requireFit) {
    using F = Family<T>;
    auto& rng = test::seededRng(53 + F::kBits);
    auto fwd = [](const Line& x, int p) { return forward53(x, p, F::kBits); };
    auto inv = [](const Line& x, int p) { return inverse53(x, p, F::kBits); };
    const auto sizes = levelSizes();
    const int count = test::scaledCount(static_cast<int>(sizes.size()));
    for (int i = 0; i < count; ++i) {
        const auto [w, h] = sizes[static_cast<size_t>(i) * sizes.size() / count];
        for (int parity = 0; parity < 4; ++parity) {
            const int px = parity & 1, py = parity >> 1;
            const Tile t = randomTile(rng, w, h, lo, hi);
            const Tile expected = level(t, px, py, fwd);
            const Tile got = forwardInPlace<T>(t, px, py, (w + h) % 5, parity);
            ASSERT_EQ(got, expected) << w << "x" << h << " px " << px << " py " << py;
            const Tile back = inverseInPlace<T>(got, px, py);
            ASSERT_EQ(back, levelInverse(got, px, py, inv)) << w << "x" << h;
            // Exact inverse wherever the transformed values fit the type (the
            // unwrapped transform gives the same values).
            const bool fits = level(t, px, py, [](const Line& x, int p) {
                                  return forward53(x, p, 64, 64);
                              }) == expected;
            if (requireFit) {
                ASSERT_TRUE(fits) << w << "x" << h << " px " << px << " py " << py;
            }
            if (fits) {
                ASSERT_EQ(back, t) << w << "x" << h << " px " << px << " py " << py;
            }
        }
    }
}

// Samples within a quarter of the safe range never overflow a level; in
// the full safe range the inverse is exact wherever the results fit.
TEST(Wavelet53Level, MatchesLineReferenceAndInvertsExactly16s) {
    checkLevels<int16_t>(-Family<int16_t>::kSafe / 4, Family<int16_t>::kSafe / 4, true);
    checkLevels<int16_t>(-Family<int16_t>::kSafe, Family<int16_t>::kSafe, false);
}
TEST(Wavelet53Level, MatchesLineReferenceAndInvertsExactly32s) {
    checkLevels<int32_t>(-Family<int32_t>::kSafe / 4, Family<int32_t>::kSafe / 4, true);
    checkLevels<int32_t>(-Family<int32_t>::kSafe, Family<int32_t>::kSafe, false);
}
TEST(Wavelet53Level, ExtremeInputsWrapLikeTheReference) {
    checkLevels<int16_t>(-32768, 32767, false);
    checkLevels<int32_t>(INT32_MIN, INT32_MAX, false);
}

// The copying members give the in-place result cut into four blocks whose
// sizes take ceil/floor of the halves regardless of parity; the inverse
// copying member restores the tile.
template <class T>
void checkCopyingMembers() {
    using F = Family<T>;
    auto& rng = test::seededRng(7 + F::kBits);
    for (int32_t w : {1, 2, 3, 6, 7, 33}) {
        for (int32_t h : {1, 2, 3, 6, 9, 20}) {
            for (int parity = 0; parity < 4; ++parity) {
                const int px = parity & 1, py = parity >> 1;
                const Tile t = randomTile(rng, w, h, -F::kSafe / 4, F::kSafe / 4);
                const Tile inPlace = forwardInPlace<T>(t, px, py, 0, 0);
                const ZeqiRect rect = {px, py, w, h};
                int32_t size = 0;
                ASSERT_EQ(F::sizeR(&rect, &size), StatusOk);
                const int32_t cw = (w + 1) / 2, ch = (h + 1) / 2;
                const int32_t bw[4] = {cw, cw, w / 2, w / 2}, bh[4] = {ch, h / 2, ch, h / 2};
                const int32_t bx[4] = {0, 0, cw, cw}, by[4] = {0, ch, 0, ch};
                std::vector<TileImage<T>> bands;
                for (int b = 0; b < 4; ++b)
                    bands.emplace_back(std::max(bw[b], 1), std::max(bh[b], 1), b, b);
                T* dst[4];
                int32_t steps[4];
                for (int b = 0; b < 4; ++b) dst[b] = bands[b].data(), steps[b] = bands[b].step;
                TileImage<T> src(w, h, 1, 1);
                src.put(t);
                ByteImage buffer(size, 1, 3);
                ASSERT_EQ(F::fwdR(src.data(), src.step, &rect, dst, steps, buffer.data()),
                          StatusOk);
                for (int b = 0; b < 4; ++b) {
                    const Tile got = bands[b].get();
                    for (int32_t y = 0; y < bh[b]; ++y)
                        for (int32_t x = 0; x < bw[b]; ++x)
                            ASSERT_EQ(got[y][x], inPlace[by[b] + y][bx[b] + x]) << "band " << b;
                    EXPECT_TRUE(bands[b].paddingUntouched());
                }
                const T* src4[4] = {dst[0], dst[1], dst[2], dst[3]};
                TileImage<T> out(w, h, 2, 1);
                ByteImage buffer2(size, 1, 1);
                ASSERT_EQ(F::invR(src4, steps, out.data(), out.step, &rect, buffer2.data()),
                          StatusOk);
                ASSERT_EQ(out.get(), t) << w << "x" << h;
                EXPECT_TRUE(out.paddingUntouched());
            }
        }
    }
}
TEST(Wavelet53Level, CopyingMembersCutTheInPlaceResultAndRestoreIt) {
    checkCopyingMembers<int16_t>();
    checkCopyingMembers<int32_t>();
}

// The one-pass line lift reads only the n samples of its source (the ends
// come through the mirror) and writes exactly n samples, for every length,
// parity and byte offset, on full-range values that wrap.
template <class T>
void checkLevelLines() {
    auto& rng = test::seededRng(53 + sizeof(T));
    const int bits = 8 * sizeof(T);
    for (int32_t n = 3; n <= 70; ++n) {
        for (int p = 0; p < 2; ++p) {
            for (int offset = 0; offset < 2; ++offset) {
                // The source ends its allocation: the sanitizer build sees any
                // read past it (and before it, at offset 0).
                std::vector<uint8_t> src(offset + n * sizeof(T));
                test::fillRandom(rng, src.data(), src.size());
                ByteImage dst(n * sizeof(T), 1, 1 - offset);
                Line x(n);
                for (int32_t i = 0; i < n; ++i) x[i] = loadElement<T>(src.data() + offset, i);
                wt::forwardLevelLine53<T>(src.data() + offset, n, p, dst.data());
                const Line want = forward53(x, p, bits);
                for (int32_t i = 0; i < n; ++i)
                    ASSERT_EQ(loadElement<T>(dst.data(), i), want[i])
                        << "n " << n << " p " << p << " at " << i;
                const auto& all = dst.allBytes();
                const size_t first = static_cast<size_t>(dst.data() - all.data());
                for (size_t i = 0; i < all.size(); ++i) {
                    const bool inside = i >= first && i < first + n * sizeof(T);
                    ASSERT_TRUE(inside || all[i] == ByteImage::kSentinel)
                        << "n " << n << " byte " << i;
                }
            }
        }
    }
}
TEST(Wavelet53Level, OnePassLineLiftMatchesTheLineReference) {
    checkLevelLines<int16_t>();
    checkLevelLines<int32_t>();
}

TEST(Wavelet53Level, ShortLinesFollowTheirRules) {
    // One sample: doubled at an odd position, kept at an even one.
    int16_t v = 1234;
    uint8_t unused[1];
    const ZeqiRect odd = {1, 0, 1, 1}, even = {0, 2, 1, 1};
    ASSERT_EQ(zeqiWTFwd_B53_JPEG2K_16s_C1IR(&v, 2, &odd, unused), StatusOk);
    EXPECT_EQ(v, 2468);
    ASSERT_EQ(zeqiWTFwd_B53_JPEG2K_16s_C1IR(&v, 2, &even, unused), StatusOk);
    EXPECT_EQ(v, 2468);
    // Two samples (e, o) -> (e + ((o - e + 1) >> 1), o - e); the 2x1 tile needs no buffer.
    int32_t pair[2] = {10, 3};
    const ZeqiRect row2 = {0, 0, 2, 1};
    int32_t size = -1;
    ASSERT_EQ(zeqiWTGetBufSize_B53_JPEG2K_32s_C1IR(&row2, &size), StatusOk);
    EXPECT_EQ(size, 0);
    ASSERT_EQ(zeqiWTFwd_B53_JPEG2K_32s_C1IR(pair, 8, &row2, unused), StatusOk);
    EXPECT_EQ(pair[0], 10 + ((3 - 10 + 1) >> 1));
    EXPECT_EQ(pair[1], -7);
    // A row of four, by hand: x = 1 2 3 4 (even start), mirrored 3 2 | 1 2 3 4 | 3.
    int16_t four[4] = {1, 2, 3, 4};
    const ZeqiRect row4 = {0, 0, 4, 1};
    uint8_t buf[16];
    ASSERT_EQ(zeqiWTFwd_B53_JPEG2K_16s_C1IR(four, 8, &row4, buf), StatusOk);
    // d0 = 2 - 2 = 0, d1 = 4 - 3 = 1; s0 = 1 + ((0 + 0 + 2) >> 2) = 1, s1 = 3 + ((0 + 1 + 2) >> 2)
    // = 3
    EXPECT_EQ(std::vector<int16_t>(four, four + 4), (std::vector<int16_t>{1, 3, 0, 1}));
}

TEST(Wavelet53Level, BufferSizesFollowTheFormulas) {
    struct Case {
        ZeqiRect rect;
        int32_t in16, in32, copy16, copy32;
    } const cases[] = {
        {{0, 0, 2, 2}, 0, 0, 32 * 2, 32 * 2},
        {{0, 0, 3, 1}, 14, 28, 32 + 14, 32 + 28},
        {{1, 1, 1, 3}, 14, 28, 32 * 3 + 14, 32 * 3 + 28},
        {{0, 0, 100, 7}, 208, 416, 224 * 7 + 208, 416 * 7 + 416},
        {{0, 0, 16, 40}, 88, 176, 32 * 40 + 88, 64 * 40 + 176},
    };
    for (const auto& c : cases) {
        int32_t s = -1;
        ASSERT_EQ(zeqiWTGetBufSize_B53_JPEG2K_16s_C1IR(&c.rect, &s), StatusOk);
        EXPECT_EQ(s, c.in16);
        ASSERT_EQ(zeqiWTGetBufSize_B53_JPEG2K_32s_C1IR(&c.rect, &s), StatusOk);
        EXPECT_EQ(s, c.in32);
        ASSERT_EQ(zeqiWTGetBufSize_B53_JPEG2K_16s_C1R(&c.rect, &s), StatusOk);
        EXPECT_EQ(s, c.copy16);
        ASSERT_EQ(zeqiWTGetBufSize_B53_JPEG2K_32s_C1R(&c.rect, &s), StatusOk);
        EXPECT_EQ(s, c.copy32);
    }
    int32_t s = 5;
    const ZeqiRect r = {0, 0, 4, 4};
    EXPECT_EQ(zeqiWTGetBufSize_B53_JPEG2K_16s_C1IR(nullptr, &s), StatusNullPointer);
    EXPECT_EQ(zeqiWTGetBufSize_B53_JPEG2K_32s_C1R(&r, nullptr), StatusNullPointer);
    EXPECT_EQ(s, 5);
}

// ---- Row, Col and ColLift: formulas with the caller's extension ------------

// Forward of one line with caller extension: x(k) for k in [lo, hi).
struct Extended {
    std::vector<int64_t> v;
    int32_t lo;
    int64_t at(int32_t k) const { return v.at(static_cast<size_t>(k - lo)); }
};

// The formulas of the forward Row member; the reads outside [-2 .. 2w] (phase
// 0) or [-1 .. 2w+1] (phase 1) would throw.
void forwardFormula(const Extended& x, int32_t w, int phase, int bits, Line& low, Line& high) {
    auto wr = [&](int64_t v) { return wrapTo(v, bits); };
    auto s32 = [&](int64_t v) { return wrapTo(v, 32); };
    low.assign(w, 0);
    high.assign(w, 0);
    auto d = [&](int32_t c) { return wr(x.at(c) - (s32(x.at(c - 1) + x.at(c + 1)) >> 1)); };
    for (int32_t n = 0; n < w; ++n) {
        if (phase == 0) {
            high[n] = d(2 * n + 1);
            low[n] = wr(x.at(2 * n) + (s32(s32(d(2 * n - 1) + d(2 * n + 1)) + 2) >> 2));
        } else {
            high[n] = d(2 * n);
            low[n] = wr(x.at(2 * n + 1) + (s32(s32(d(2 * n) + d(2 * n + 2)) + 2) >> 2));
        }
    }
}

template <class T>
void checkRowAndColumnMembers() {
    using F = Family<T>;
    auto& rng = test::seededRng(11 + F::kBits);
    for (int32_t w = 1; w <= 40; ++w) {
        for (int phase = 0; phase < 2; ++phase) {
            const int32_t rows = 3;
            // Exactly the allowed window per row, so a wider read leaves the vector.
            const int32_t lo = phase == 0 ? -2 : -1, hi = phase == 0 ? 2 * w + 1 : 2 * w + 2;
            const int32_t span = hi - lo;
            std::vector<T> src(static_cast<size_t>(span) * rows);
            test::fillRandom(rng, src.data(), src.size());
            std::vector<T> low(static_cast<size_t>(w) * rows), high(low.size());
            const int32_t stepBytes = span * sizeof(T);
            ASSERT_EQ(F::fwdRow(src.data() - lo, stepBytes, low.data(), w * sizeof(T), high.data(),
                                w * sizeof(T), {w, rows}, phase),
                      StatusOk);
            for (int32_t r = 0; r < rows; ++r) {
                Extended x{{src.begin() + r * span, src.begin() + (r + 1) * span}, lo};
                Line el, eh;
                forwardFormula(x, w, phase, F::kBits, el, eh);
                for (int32_t n = 0; n < w; ++n) {
                    ASSERT_EQ(low[r * w + n], el[n]) << "w " << w << " phase " << phase;
                    ASSERT_EQ(high[r * w + n], eh[n]) << "w " << w << " phase " << phase;
                }
            }
            // The column member on the transposed layout gives the same bands.
            std::vector<T> srcT(src.size()), lowT(low.size()), highT(high.size());
            for (int32_t r = 0; r < rows; ++r)
                for (int32_t k = 0; k < span; ++k) srcT[k * rows + r] = src[r * span + k];
            ASSERT_EQ(F::fwdCol(srcT.data() - lo * rows, rows * sizeof(T), lowT.data(),
                                rows * sizeof(T), highT.data(), rows * sizeof(T), {rows, w}, phase),
                      StatusOk);
            for (int32_t r = 0; r < rows; ++r)
                for (int32_t n = 0; n < w; ++n) {
                    ASSERT_EQ(lowT[n * rows + r], low[r * w + n]);
                    ASSERT_EQ(highT[n * rows + r], high[r * w + n]);
                }
            // Inverse: the bands with their extension (phase 0: d(-1), s(w),
            // d(w); phase 1: s(-1), d(-1), d(w)) give back the samples.
            const int32_t lLo = phase == 0 ? 0 : -1, lHi = phase == 0 ? w + 1 : w;
            const int32_t hLo = -1, hHi = w + 1;
            for (int32_t r = 0; r < rows; ++r) {
                Extended x{{src.begin() + r * span, src.begin() + (r + 1) * span}, lo};
                // Bands of a longer line so that the extension values are real.
                std::vector<T> lb(lHi - lLo), hb(hHi - hLo);
                for (int32_t n = lLo; n < lHi; ++n)
                    lb[n - lLo] = static_cast<T>(n >= 0 && n < w ? low[r * w + n] : rng());
                for (int32_t n = hLo; n < hHi; ++n)
                    hb[n - hLo] = static_cast<T>(n >= 0 && n < w ? high[r * w + n] : rng());
                std::vector<T> out(2 * w);
                ASSERT_EQ(
                    F::invRow(lb.data() - lLo, 1, hb.data() - hLo, 1, {w, 1}, out.data(), 1, phase),
                    StatusOk);
                // Expected from the inverse formulas.
                auto wr = [&](int64_t v) { return wrapTo(v, F::kBits); };
                auto s32 = [&](int64_t v) { return wrapTo(v, 32); };
                auto L = [&](int32_t n) -> int64_t { return lb.at(n - lLo); };
                auto H = [&](int32_t n) -> int64_t { return hb.at(n - hLo); };
                auto e = [&](int32_t n) {
                    return wr(L(n) - (s32(s32(H(n - 1 + phase) + H(n + phase)) + 2) >> 2));
                };
                for (int32_t n = 0; n < w; ++n) {
                    if (phase == 0) {
                        ASSERT_EQ(out[2 * n], e(n));
                        ASSERT_EQ(out[2 * n + 1], wr(H(n) + (s32(e(n) + e(n + 1)) >> 1)));
                    } else {
                        ASSERT_EQ(out[2 * n], wr(H(n) + (s32(e(n - 1) + e(n)) >> 1)));
                        ASSERT_EQ(out[2 * n + 1], e(n));
                    }
                }
                // The inverse column member on a one-column layout agrees.
                std::vector<T> outCol(2 * w);
                ASSERT_EQ(F::invCol(lb.data() - lLo, sizeof(T), hb.data() - hLo, sizeof(T), {1, w},
                                    outCol.data(), sizeof(T), phase),
                          StatusOk);
                ASSERT_EQ(outCol, out);
            }
        }
    }
}

TEST(Wavelet53Lines, RowAndColumnMembersFollowTheFormulasWithinTheirBorders) {
    checkRowAndColumnMembers<int16_t>();
    checkRowAndColumnMembers<int32_t>();
}

template <class T>
void checkColumnLifts() {
    using F = Family<T>;
    auto& rng = test::seededRng(5 + F::kBits);
    for (int32_t width = 1; width <= 70; ++width) {
        std::vector<T> x0(width), x1(width), x2(width), dprev(width), low(width), high(width);
        for (auto* v : {&x0, &x1, &x2, &dprev}) test::fillRandom(rng, v->data(), v->size());
        ASSERT_EQ(F::fwdLift(x0.data(), x1.data(), x2.data(), low.data(), dprev.data(), high.data(),
                             width),
                  StatusOk);
        std::vector<T> odd(width), even(width);
        ASSERT_EQ(F::invLift(low.data(), dprev.data(), high.data(), x0.data(), odd.data(),
                             even.data(), width),
                  StatusOk);
        auto wr = [&](int64_t v) { return wrapTo(v, F::kBits); };
        auto s32 = [&](int64_t v) { return wrapTo(v, 32); };
        for (int32_t i = 0; i < width; ++i) {
            const int64_t d = wr(x1[i] - (s32(int64_t{x0[i]} + x2[i]) >> 1));
            ASSERT_EQ(high[i], d);
            ASSERT_EQ(low[i], wr(x0[i] + (s32(s32(int64_t{dprev[i]} + d) + 2) >> 2)));
            const int64_t e = wr(low[i] - (s32(s32(int64_t{dprev[i]} + high[i]) + 2) >> 2));
            ASSERT_EQ(even[i], e);
            ASSERT_EQ(odd[i], wr(dprev[i] + (s32(x0[i] + e) >> 1)));
        }
    }
}
TEST(Wavelet53Lines, ColumnLiftsFollowTheFormulas) {
    checkColumnLifts<int16_t>();
    checkColumnLifts<int32_t>();
}

// ---- Argument checks ------------------------------------------------------

TEST(Wavelet53Api, RowChecksRunInParameterOrderAndWriteNothing) {
    int16_t src[64] = {};
    struct Case {
        bool srcNull, lowNull, highNull;
        int32_t srcStep, lowStep, highStep;
        ZeqiSize size;
        ZeqStatus expected;
    } const cases[] = {
        {true, true, true, 0, 0, 0, {0, 0}, StatusNullPointer},
        {false, true, false, 0, 8, 8, {0, 0}, StatusBadStep},
        {false, true, false, 8, 8, 8, {0, 0}, StatusNullPointer},
        {false, false, false, 8, -1, 8, {0, 0}, StatusBadStep},
        {false, false, true, 8, 8, 0, {0, 0}, StatusNullPointer},
        {false, false, false, 8, 8, 0, {0, 0}, StatusBadStep},
        {false, false, false, 8, 8, 8, {0, 1}, StatusBadSize},
        {false, false, false, 8, 8, 8, {1, -1}, StatusBadSize},
    };
    for (const auto& c : cases) {
        ByteImage low(8, 1), high(8, 1);
        int16_t* l = c.lowNull ? nullptr : reinterpret_cast<int16_t*>(low.data());
        int16_t* h = c.highNull ? nullptr : reinterpret_cast<int16_t*>(high.data());
        const int16_t* s = c.srcNull ? nullptr : src + 8;
        EXPECT_EQ(
            zeqiWTFwdRow_B53_JPEG2K_16s_C1R(s, c.srcStep, l, c.lowStep, h, c.highStep, c.size, 0),
            c.expected);
        EXPECT_EQ(
            zeqiWTFwdCol_B53_JPEG2K_16s_C1R(s, c.srcStep, l, c.lowStep, h, c.highStep, c.size, 1),
            c.expected);
        // The inverse takes (low, high, size, dst): images first, then the size.
        EXPECT_EQ(
            zeqiWTInvRow_B53_JPEG2K_16s_C1R(s, c.srcStep, l, c.lowStep, c.size, h, c.highStep, 0),
            c.expected);
        EXPECT_TRUE(low.untouched());
        EXPECT_TRUE(high.untouched());
    }
    int32_t a[4] = {}, b[4] = {};
    EXPECT_EQ(zeqiWTFwdColLift_B53_JPEG2K_32s_C1(a, a, a, b, nullptr, b, 0), StatusNullPointer);
    EXPECT_EQ(zeqiWTFwdColLift_B53_JPEG2K_32s_C1(a, a, a, b, a, b, 0), StatusBadSize);
    EXPECT_EQ(zeqiWTInvColLift_B53_JPEG2K_32s_C1(a, a, a, a, nullptr, b, 4), StatusNullPointer);
    EXPECT_EQ(zeqiWTInvColLift_B53_JPEG2K_32s_C1(a, a, a, a, b, b, -4), StatusBadSize);
    EXPECT_EQ(std::vector<int32_t>(b, b + 4), std::vector<int32_t>(4, 0));
}

TEST(Wavelet53Api, LevelChecksRunInTheirOrderAndWriteNothing) {
    int16_t img[16] = {};
    uint8_t buf[64] = {};
    const ZeqiRect ok = {0, 0, 4, 4}, empty = {0, 0, 0, 4};
    EXPECT_EQ(zeqiWTFwd_B53_JPEG2K_16s_C1IR(nullptr, 0, nullptr, nullptr), StatusNullPointer);
    EXPECT_EQ(zeqiWTFwd_B53_JPEG2K_16s_C1IR(img, 0, nullptr, nullptr), StatusBadStep);
    EXPECT_EQ(zeqiWTFwd_B53_JPEG2K_16s_C1IR(img, 8, nullptr, buf), StatusNullPointer);
    EXPECT_EQ(zeqiWTInv_B53_JPEG2K_16s_C1IR(img, 8, &ok, nullptr), StatusNullPointer);
    EXPECT_EQ(zeqiWTInv_B53_JPEG2K_16s_C1IR(img, 8, &empty, buf), StatusBadSize);

    int16_t band[16] = {};
    int16_t* dst[4] = {band, band, band, band};
    const int16_t* srcBands[4] = {band, band, band, band};
    int32_t steps[4] = {8, 8, 8, 8};
    // Forward copying member: source, subbands, steps, rect, buffer; source
    // step; each subband; subband steps; size.
    EXPECT_EQ(zeqiWTFwd_B53_JPEG2K_16s_C1R(img, 0, &ok, dst, nullptr, buf), StatusNullPointer);
    EXPECT_EQ(zeqiWTFwd_B53_JPEG2K_16s_C1R(img, 0, &ok, dst, steps, buf), StatusBadStep);
    dst[2] = nullptr;
    steps[1] = 0;
    EXPECT_EQ(zeqiWTFwd_B53_JPEG2K_16s_C1R(img, 8, &ok, dst, steps, buf), StatusNullPointer);
    dst[2] = band;
    EXPECT_EQ(zeqiWTFwd_B53_JPEG2K_16s_C1R(img, 8, &empty, dst, steps, buf), StatusBadStep);
    steps[1] = 8;
    EXPECT_EQ(zeqiWTFwd_B53_JPEG2K_16s_C1R(img, 8, &empty, dst, steps, buf), StatusBadSize);
    // Inverse copying member: subbands, destination, steps, rect, buffer;
    // destination step; each subband; subband steps; size.
    EXPECT_EQ(zeqiWTInv_B53_JPEG2K_16s_C1R(srcBands, steps, img, 0, nullptr, buf),
              StatusNullPointer);
    EXPECT_EQ(zeqiWTInv_B53_JPEG2K_16s_C1R(srcBands, steps, img, 0, &ok, buf), StatusBadStep);
    srcBands[3] = nullptr;
    steps[0] = -2;
    EXPECT_EQ(zeqiWTInv_B53_JPEG2K_16s_C1R(srcBands, steps, img, 8, &ok, buf), StatusNullPointer);
    srcBands[3] = band;
    EXPECT_EQ(zeqiWTInv_B53_JPEG2K_16s_C1R(srcBands, steps, img, 8, &ok, buf), StatusBadStep);
    steps[0] = 8;
    EXPECT_EQ(zeqiWTInv_B53_JPEG2K_16s_C1R(srcBands, steps, img, 8, &empty, buf), StatusBadSize);
    for (int16_t v : img) EXPECT_EQ(v, 0);
    for (int16_t v : band) EXPECT_EQ(v, 0);
    for (uint8_t v : buf) EXPECT_EQ(v, 0);
}

}  // namespace
