// Sixteen three-byte pixels at a time: the transposing load against the
// one-pixel load, reading only the bytes it is allowed to (buffers end where
// the pixels end, so the sanitizer build reports any read past them), and
// the overlapping store against the exact store, writing nothing past the
// two bytes of the next pixel it is allowed to cover.
#include "jpeg/sample/pixel_formats.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "tests/common/test_support.h"

namespace {

using namespace zeq;
using sse2::V128;

std::array<int16_t, 8> lanes(V128 v) {
    std::array<int16_t, 8> out{};
    sse2::storeu(out.data(), v);
    return out;
}

// Channel c of parity-split pixel p (0..15) as the one-pixel load sees it.
template <class F>
void expectSameAsOnePixelLoads(const Pixels16& got, const uint8_t* first, const uint8_t* second) {
    for (int p = 0; p < 16; ++p) {
        const InRow row{{p < 8 ? first : second}};
        const Pixel want = F::load(row, p % 8);
        const Pixels8& half = p % 2 ? got.odd : got.even;
        const int lane = p / 2;
        ASSERT_EQ(lanes(half.c0)[lane], want.c0) << "pixel " << p;
        ASSERT_EQ(lanes(half.c1)[lane], want.c1) << "pixel " << p;
        ASSERT_EQ(lanes(half.c2)[lane], want.c2) << "pixel " << p;
    }
}

template <class F>
void checkLoads(std::mt19937& rng) {
    // One row of sixteen pixels ending its buffer, read with and without the
    // two bytes past it; two rows of eight pixels, each ending its buffer.
    std::vector<uint8_t> row(48), later(50), top(24), bottom(24);
    for (auto* v : {&row, &later, &top, &bottom}) test::fillRandom(rng, v->data(), v->size());
    expectSameAsOnePixelLoads<F>(F::load16(row.data(), row.data() + 24, true, false), row.data(),
                                 row.data() + 24);
    expectSameAsOnePixelLoads<F>(F::load16(InRow{{later.data()}}, 0, true), later.data(),
                                 later.data() + 24);
    expectSameAsOnePixelLoads<F>(F::load16(top.data(), bottom.data(), false, false), top.data(),
                                 bottom.data());
}

TEST(SixteenPixels, TransposingLoadMatchesOnePixelLoadsWithinItsBytes) {
    auto& rng = test::seededRng(41);
    for (int n = 0; n < test::scaledCount(50); ++n) {
        checkLoads<Rgb8>(rng);
        checkLoads<Bgr8>(rng);
    }
}

template <class F>
void checkStores(std::mt19937& rng) {
    std::array<uint8_t, 48> channels{};
    test::fillRandom(rng, channels.data(), channels.size());
    V128 c[3];
    for (int i = 0; i < 3; ++i) c[i] = sse2::loadu(channels.data() + 16 * i);
    test::ByteImage exact(48, 1), overlapping(48, 1);
    F::store16(OutRow{{exact.data()}}, 0, c[0], c[1], c[2]);
    F::store16Overlapping(OutRow{{overlapping.data()}}, 0, c[0], c[1], c[2]);
    const auto& e = exact.allBytes();
    const auto& o = overlapping.allBytes();
    const size_t start = static_cast<size_t>(exact.data() - e.data());
    for (size_t b = 0; b < e.size(); ++b) {
        // The two bytes after the sixteen pixels may hold anything.
        if (b == start + 48 || b == start + 49) continue;
        ASSERT_EQ(o[b], e[b]) << "byte " << static_cast<long>(b - start);
    }
    for (int p = 0; p < 16; ++p) {
        const Pixel got = F::load(InRow{{exact.data()}}, p);
        ASSERT_EQ(got.c0, channels[p]);
        ASSERT_EQ(got.c1, channels[16 + p]);
        ASSERT_EQ(got.c2, channels[32 + p]);
    }
}

TEST(SixteenPixels, OverlappingStoreWritesTheExactBytesPlusTwoAtMost) {
    auto& rng = test::seededRng(42);
    for (int n = 0; n < test::scaledCount(50); ++n) {
        checkStores<Rgb8>(rng);
        checkStores<Bgr8>(rng);
    }
}

}  // namespace
