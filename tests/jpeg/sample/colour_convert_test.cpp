// Whole-image colour conversion: the formulas against the constant tables they
// stand for, vector rows against scalar rows, every exported member against
// the scalar rows (serial and row-parallel, guard bytes), layouts against one
// another, check order, and round trips.
#include "jpeg/sample/colour_convert.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <vector>

#include "jpeg/sample/colour_formulas.h"
#include "tests/common/test_support.h"
#include "tests/jpeg/sample/colour_test_support.h"
#include "zeqj.h"

namespace {

using namespace zeq;
using test::ImageArg;
using test::PlaneSet;

using RowKernel = void (*)(const InRow&, const OutRow&, int32_t);

struct Member {
    const char* name;
    test::RegionCall call;
    RowKernel scalar, vector;
    int srcPlanes, srcBytes, dstPlanes, dstBytes, pixelGroup;
    bool parallel;
};

template <class C>
Member member(const char* name, test::RegionCall call) {
    return {name,
            std::move(call),
            convertRowScalar<C>,
            convertRowSse2<C>,
            C::Src::kPlanes,
            C::Src::kBytesPerPixel,
            C::Dst::kPlanes,
            C::Dst::kBytesPerPixel,
            C::Src::kPixelGroup,
            C::kRowParallel};
}

#define MEMBER(fn, C) member<C>(#fn, test::regionCall(fn))

const std::vector<Member>& members() {
    static const std::vector<Member> all = {
        MEMBER(zeqiRGBToYCbCr_JPEG_8u_C3P3R, RgbToYCbCr_C3P3),
        MEMBER(zeqiRGBToYCbCr_JPEG_8u_P3R, RgbToYCbCr_P3),
        MEMBER(zeqiBGRToYCbCr_JPEG_8u_C3P3R, BgrToYCbCr_C3P3),
        MEMBER(zeqiRGBToY_JPEG_8u_C3C1R, RgbToY_C3C1),
        MEMBER(zeqiRGBToY_JPEG_8u_P3C1R, RgbToY_P3C1),
        MEMBER(zeqiBGRToY_JPEG_8u_C3C1R, BgrToY_C3C1),
        MEMBER(zeqiRGB555ToYCbCr_JPEG_16u8u_C3P3R, Rgb555ToYCbCr),
        MEMBER(zeqiRGB565ToYCbCr_JPEG_16u8u_C3P3R, Rgb565ToYCbCr),
        MEMBER(zeqiBGR555ToYCbCr_JPEG_16u8u_C3P3R, Bgr555ToYCbCr),
        MEMBER(zeqiBGR565ToYCbCr_JPEG_16u8u_C3P3R, Bgr565ToYCbCr),
        MEMBER(zeqiYCbCrToRGB_JPEG_8u_P3C3R, YCbCrToRgb_P3C3),
        MEMBER(zeqiYCbCrToRGB_JPEG_8u_P3R, YCbCrToRgb_P3),
        MEMBER(zeqiYCbCrToBGR_JPEG_8u_P3C3R, YCbCrToBgr_P3C3),
        MEMBER(zeqiYCbCrToRGB555_JPEG_8u16u_P3C3R, YCbCrToRgb555),
        MEMBER(zeqiYCbCrToRGB565_JPEG_8u16u_P3C3R, YCbCrToRgb565),
        MEMBER(zeqiYCbCrToBGR555_JPEG_8u16u_P3C3R, YCbCrToBgr555),
        MEMBER(zeqiYCbCrToBGR565_JPEG_8u16u_P3C3R, YCbCrToBgr565),
        MEMBER(zeqiYCbCr422ToRGB_JPEG_8u_C2C3R, YCbCr422ToRgb),
        MEMBER(zeqiCMYKToYCCK_JPEG_8u_C4P4R, CmykToYcck_C4P4),
        MEMBER(zeqiCMYKToYCCK_JPEG_8u_P4R, CmykToYcck_P4),
        MEMBER(zeqiYCCKToCMYK_JPEG_8u_P4C4R, YcckToCmyk_P4C4),
        MEMBER(zeqiYCCKToCMYK_JPEG_8u_P4R, YcckToCmyk_P4),
    };
    return all;
}

InRow inRow(PlaneSet& image, int32_t step, int32_t y) {
    InRow r{};
    for (int i = 0; i < image.count(); ++i) r.plane[i] = image.plane(i) + step * y;
    return r;
}
OutRow outRow(PlaneSet& image, int32_t step, int32_t y) {
    OutRow r{};
    for (int i = 0; i < image.count(); ++i) r.plane[i] = image.plane(i) + step * y;
    return r;
}

// ---- Formulas against the constant tables ---------------------------------

struct Tables {
    std::array<int32_t, 256> yR, yG, yB, cbR, cbG, half, crG, crB, rCr, bCb, gCb, gCr;
    Tables() {
        for (int32_t v = 0; v < 256; ++v) {
            const auto i = static_cast<size_t>(v);
            yR[i] = 19595 * v, yG[i] = 38470 * v, yB[i] = 7471 * v + 32768;
            cbR[i] = -11059 * v, cbG[i] = -21709 * v, half[i] = 32768 * v + 8421375;
            crG[i] = -27439 * v, crB[i] = -5329 * v;
            rCr[i] = (91881 * (v - 128) + 32768) >> 16;
            bCb[i] = (116130 * (v - 128) + 32768) >> 16;
            gCb[i] = -22554 * (v - 128) + 32768;
            gCr[i] = -46802 * (v - 128);
        }
    }
};

TEST(ColourFormulas, MatchTheConstantTablesOnEveryInputSampled) {
    const Tables t;
    auto& rng = test::seededRng(11);
    const int count = test::scaledCount(1 << 20);
    for (int n = 0; n < count; ++n) {
        const int r = test::uniform<int>(rng, 0, 255), g = test::uniform<int>(rng, 0, 255),
                  b = test::uniform<int>(rng, 0, 255);
        const auto R = static_cast<size_t>(r), G = static_cast<size_t>(g),
                   B = static_cast<size_t>(b);
        const Pixel ycc = rgbToYCbCr({r, g, b, 7});
        ASSERT_EQ(ycc.c0, (t.yR[R] + t.yG[G] + t.yB[B]) >> 16);
        ASSERT_EQ(ycc.c1, (t.cbR[R] + t.cbG[G] + t.half[B]) >> 16);
        ASSERT_EQ(ycc.c2, (t.half[R] + t.crG[G] + t.crB[B]) >> 16);
        ASSERT_EQ(ycc.k, 7);
        // Forward results never need a clamp.
        ASSERT_TRUE(ycc.c1 >= 0 && ycc.c1 <= 255 && ycc.c2 >= 0 && ycc.c2 <= 255);
        const Pixel rgb = yCbCrToRgb({r, g, b, 9});  // r, g, b taken as Y, Cb, Cr
        ASSERT_EQ(rgb.c0, clampByte(r + t.rCr[B]));
        ASSERT_EQ(rgb.c1, clampByte(r + ((t.gCb[G] + t.gCr[B]) >> 16)));
        ASSERT_EQ(rgb.c2, clampByte(r + t.bCb[G]));
        ASSERT_EQ(rgb.k, 9);
    }
}

// ---- Vector rows against scalar rows ---------------------------------------

TEST(ColourRows, VectorMatchesScalarForEveryMemberWidthAndAlignment) {
    auto& rng = test::seededRng(12);
    for (const Member& m : members()) {
        for (int32_t width = 1; width <= 70; ++width) {
            for (int offset = 0; offset < 4; ++offset) {
                PlaneSet src(m.srcPlanes, width * m.srcBytes, 1, offset);
                src.fillRandom(rng);
                PlaneSet vec(m.dstPlanes, width * m.dstBytes, 1, offset);
                PlaneSet ref(m.dstPlanes, width * m.dstBytes, 1, offset);
                m.vector(inRow(src, 0, 0), outRow(vec, 0, 0), width);
                m.scalar(inRow(src, 0, 0), outRow(ref, 0, 0), width);
                ASSERT_TRUE(vec == ref) << m.name << " width " << width << " offset " << offset;
                const int32_t written = (width - width % m.pixelGroup) * m.dstBytes;
                ASSERT_TRUE(ref.untouchedOutside(written, 1)) << m.name << " width " << width;
            }
        }
    }
}

// Every input triple through the vector rows: rows of 256 pixels where the
// first channel runs 0..255 and the row number gives the other two, so the
// sixteen-pixel arithmetic (pmaddwd on channel differences, the folded
// constants and the mulhi fractions) meets every value it can. The sanitizer
// build visits every tenth row.
template <class C>
void checkEveryTriple(int srcBytes, int dstBytes, int srcPlanes, int dstPlanes) {
    const int32_t width = 256;
    const int rowStride = 10 / test::scaledCount(10);
    std::vector<uint8_t> src(static_cast<size_t>(width * srcBytes * srcPlanes));
    std::vector<uint8_t> got(static_cast<size_t>(width * dstBytes * dstPlanes));
    std::vector<uint8_t> want(got.size());
    auto rowOfPlanes = [width](uint8_t* base, int planes, int bytes) {
        OutRow r{};
        for (int i = 0; i < planes; ++i) r.plane[i] = base + i * width * bytes;
        return r;
    };
    for (int rest = 0; rest < 65536; rest += rowStride) {
        for (int v = 0; v < width; ++v) {
            const uint8_t triple[3] = {static_cast<uint8_t>(v), static_cast<uint8_t>(rest & 255),
                                       static_cast<uint8_t>(rest >> 8)};
            for (int c = 0; c < 3; ++c) {
                const size_t at = srcPlanes == 1 ? static_cast<size_t>(3 * v + c)
                                                 : static_cast<size_t>(c * width + v);
                src[at] = triple[c];
            }
        }
        const OutRow in = rowOfPlanes(src.data(), srcPlanes, srcBytes);
        const InRow srcRow{{in.plane[0], in.plane[1], in.plane[2], in.plane[3]}};
        convertRowSse2<C>(srcRow, rowOfPlanes(got.data(), dstPlanes, dstBytes), width);
        convertRowScalar<C>(srcRow, rowOfPlanes(want.data(), dstPlanes, dstBytes), width);
        ASSERT_EQ(got, want) << "row " << rest;
    }
}

TEST(ColourRows, VectorMatchesScalarOnEveryTriple) {
    checkEveryTriple<RgbToYCbCr_C3P3>(3, 1, 1, 3);
    checkEveryTriple<BgrToY_C3C1>(3, 1, 1, 1);
    checkEveryTriple<YCbCrToRgb_P3C3>(1, 3, 3, 1);
    checkEveryTriple<YCbCrToBgr_P3C3>(1, 3, 3, 1);
}

// ---- Exported members against the scalar rows -----------------------------

void checkRegion(const Member& m, ZeqiSize roi, int threads, uint32_t seed) {
    test::ScopedThreads scoped(threads);
    auto& rng = test::seededRng(seed);
    const int32_t srcStep = roi.width * m.srcBytes + 3, dstStep = roi.width * m.dstBytes + 5;
    PlaneSet src(m.srcPlanes, srcStep, roi.height, 1);
    src.fillRandom(rng);
    PlaneSet got(m.dstPlanes, dstStep, roi.height, 2), want(m.dstPlanes, dstStep, roi.height, 2);
    ASSERT_EQ(m.call(ImageArg{src.planes()}, srcStep, ImageArg{got.planes()}, dstStep, roi),
              StatusOk)
        << m.name;
    for (int32_t y = 0; y < roi.height; ++y)
        m.scalar(inRow(src, srcStep, y), outRow(want, dstStep, y), roi.width);
    ASSERT_TRUE(got == want) << m.name << " " << roi.width << "x" << roi.height << " threads "
                             << threads;
    const int32_t written = (roi.width - roi.width % m.pixelGroup) * m.dstBytes;
    ASSERT_TRUE(want.untouchedOutside(written, roi.height)) << m.name;
}

TEST(ColourApi, EveryMemberMatchesTheScalarRowsOnOddSizesAndPaddedSteps) {
    const ZeqiSize sizes[] = {{1, 1}, {7, 3}, {15, 2}, {33, 5}, {1000, 3}, {2, 9}};
    uint32_t seed = 100;
    for (const Member& m : members())
        for (const ZeqiSize roi : sizes) checkRegion(m, roi, 1, ++seed);
}

// 8192 pixels run serially, 8193 may fork; 1 and 2 threads give the same bytes.
TEST(ColourApi, SameOutputSerialAndParallelAroundTheThreshold) {
    const ZeqiSize sizes[] = {{8192, 1}, {8193, 1}, {4096, 2}, {2731, 3}, {91, 91}, {1, 8193}};
    uint32_t seed = 500;
    for (const Member& m : members())
        for (const ZeqiSize roi : sizes)
            for (int threads : {1, 2}) checkRegion(m, roi, threads, ++seed);
}

// Sources allocated to exactly the bytes of the region (the last row ends the
// allocation), so the sanitizer build reports any read past it.
TEST(ColourApi, ReadsNoSourceByteOutsideTheRegion) {
    auto& rng = test::seededRng(15);
    for (const Member& m : members()) {
        for (int32_t width = 1; width <= 40; ++width) {
            const ZeqiSize roi{width, 2};
            const int32_t rowBytes = width * m.srcBytes, srcStep = rowBytes + 1;
            std::vector<std::vector<uint8_t>> planes;
            uint8_t* srcPlanes[4] = {};
            for (int p = 0; p < m.srcPlanes; ++p) {
                planes.emplace_back(static_cast<size_t>(srcStep + rowBytes));
                test::fillRandom(rng, planes.back().data(), planes.back().size());
            }
            for (int p = 0; p < m.srcPlanes; ++p)
                srcPlanes[p] = planes[static_cast<size_t>(p)].data();
            PlaneSet got(m.dstPlanes, width * m.dstBytes, 2),
                want(m.dstPlanes, width * m.dstBytes, 2);
            ASSERT_EQ(m.call(ImageArg{srcPlanes}, srcStep, ImageArg{got.planes()},
                             width * m.dstBytes, roi),
                      StatusOk);
            PlaneSet src(m.srcPlanes, srcStep, 2);
            for (int p = 0; p < m.srcPlanes; ++p)
                std::copy(planes[static_cast<size_t>(p)].begin(),
                          planes[static_cast<size_t>(p)].end(), src.plane(p));
            for (int32_t y = 0; y < 2; ++y)
                m.scalar(inRow(src, srcStep, y), outRow(want, width * m.dstBytes, y), width);
            ASSERT_TRUE(got == want) << m.name << " width " << width;
        }
    }
}

// ---- Exact values and layouts ----------------------------------------------

// One pixel through an exported member: the source bytes in, the destination
// bytes (plane after plane) out.
std::vector<uint8_t> convertOne(const char* name, std::vector<uint8_t> in) {
    for (const Member& m : members()) {
        if (std::string(m.name) != name) continue;
        const int32_t width = m.pixelGroup;
        PlaneSet src(m.srcPlanes, width * m.srcBytes, 1), dst(m.dstPlanes, width * m.dstBytes, 1);
        size_t at = 0;
        for (int p = 0; p < m.srcPlanes; ++p)
            for (int b = 0; b < width * m.srcBytes; ++b) src.plane(p)[b] = in.at(at++);
        EXPECT_EQ(m.call(ImageArg{src.planes()}, width * m.srcBytes, ImageArg{dst.planes()},
                         width * m.dstBytes, {width, 1}),
                  StatusOk);
        std::vector<uint8_t> out;
        for (int p = 0; p < m.dstPlanes; ++p)
            for (int b = 0; b < width * m.dstBytes; ++b) out.push_back(dst.plane(p)[b]);
        return out;
    }
    ADD_FAILURE() << "no member " << name;
    return {};
}

using Bytes = std::vector<uint8_t>;

TEST(ColourValues, KnownPixels) {
    struct Case {
        const char* fn;
        Bytes in, out;
    } const cases[] = {
        {"zeqiRGBToYCbCr_JPEG_8u_C3P3R", {255, 0, 0}, {76, 85, 255}},
        {"zeqiRGBToYCbCr_JPEG_8u_C3P3R", {0, 0, 255}, {29, 255, 107}},
        {"zeqiBGRToYCbCr_JPEG_8u_C3P3R", {255, 0, 0}, {29, 255, 107}},
        {"zeqiRGBToYCbCr_JPEG_8u_P3R", {0, 0, 255}, {29, 255, 107}},
        {"zeqiRGBToY_JPEG_8u_C3C1R", {255, 0, 0}, {76}},
        {"zeqiBGRToY_JPEG_8u_C3C1R", {255, 0, 0}, {29}},
        {"zeqiRGBToY_JPEG_8u_P3C1R", {0, 0, 255}, {29}},
        {"zeqiYCbCrToRGB_JPEG_8u_P3C3R", {255, 128, 255}, {255, 164, 255}},
        {"zeqiYCbCrToRGB_JPEG_8u_P3R", {0, 0, 128}, {0, 44, 0}},
        {"zeqiYCbCrToBGR_JPEG_8u_P3C3R", {76, 85, 255}, {0, 0, 254}},
        // A 565 pixel of all ones widens to 248, 252, 248 (not 255): Y 250, Cb 127, Cr 126
        // after rounding.
        {"zeqiBGR565ToYCbCr_JPEG_16u8u_C3P3R", {0xFF, 0xFF}, {250, 127, 126}},
        {"zeqiRGB565ToYCbCr_JPEG_16u8u_C3P3R", {0xFF, 0xFF}, {250, 127, 126}},
        // Bit 15 of a 555 pixel is ignored; 0x7C00 is pure blue (BGR555) or red (RGB555).
        {"zeqiBGR555ToYCbCr_JPEG_16u8u_C3P3R", {0x00, 0xFC}, {74, 86, 252}},
        {"zeqiRGB555ToYCbCr_JPEG_16u8u_C3P3R", {0x00, 0xFC}, {28, 252, 108}},
        // 100 truncates to 12 (5 bits) and 25 (6 bits).
        {"zeqiYCbCrToBGR565_JPEG_8u16u_P3C3R", {100, 128, 128}, {0x2C, 0x63}},
        {"zeqiYCbCrToBGR555_JPEG_8u16u_P3C3R", {100, 128, 128}, {0x8C, 0x31}},
        {"zeqiYCbCrToRGB565_JPEG_8u16u_P3C3R", {255, 128, 128}, {0xFF, 0xFF}},
        {"zeqiYCbCrToRGB555_JPEG_8u16u_P3C3R", {255, 128, 128}, {0xFF, 0x7F}},
        // Pure red as its 555 pixel: red field 31 lands in the low bits for RGB555.
        {"zeqiYCbCrToRGB555_JPEG_8u16u_P3C3R", {76, 85, 255}, {0x1F, 0x00}},
        {"zeqiYCbCrToBGR555_JPEG_8u16u_P3C3R", {76, 85, 255}, {0x00, 0x7C}},
        {"zeqiCMYKToYCCK_JPEG_8u_C4P4R", {0, 255, 255, 77}, {76, 85, 255, 77}},
        {"zeqiCMYKToYCCK_JPEG_8u_P4R", {255, 255, 0, 1}, {29, 255, 107, 1}},
        {"zeqiYCCKToCMYK_JPEG_8u_P4C4R", {76, 85, 255, 200}, {1, 255, 255, 200}},
        {"zeqiYCCKToCMYK_JPEG_8u_P4R", {255, 128, 128, 3}, {0, 0, 0, 3}},
        // Y0 Cb Y1 Cr: both pixels use the pair's chroma.
        {"zeqiYCbCr422ToRGB_JPEG_8u_C2C3R", {76, 85, 29, 255}, {254, 0, 0, 207, 0, 0}},
    };
    for (const auto& c : cases) EXPECT_EQ(convertOne(c.fn, c.in), c.out) << c.fn;
}

TEST(ColourValues, GreyStaysGreyBothWays) {
    for (int v = 0; v < 256; ++v) {
        const auto b = static_cast<uint8_t>(v);
        EXPECT_EQ(convertOne("zeqiRGBToYCbCr_JPEG_8u_C3P3R", {b, b, b}), (Bytes{b, 128, 128}));
        EXPECT_EQ(convertOne("zeqiYCbCrToRGB_JPEG_8u_P3C3R", {b, 128, 128}), (Bytes{b, b, b}));
    }
}

TEST(ColourValues, InverseClampsAtBothEnds) {
    EXPECT_EQ(convertOne("zeqiYCbCrToRGB_JPEG_8u_P3C3R", {255, 128, 255})[0], 255);  // R
    EXPECT_EQ(convertOne("zeqiYCbCrToRGB_JPEG_8u_P3C3R", {0, 0, 128})[2], 0);        // B
}

// RGB -> YCbCr -> RGB moves no channel by more than 3 on random pixels.
TEST(ColourValues, RoundTripStaysClose) {
    auto& rng = test::seededRng(13);
    const int32_t width = 999;
    std::vector<uint8_t> rgb(3 * width), back(3 * width);
    test::fillRandom(rng, rgb.data(), rgb.size());
    std::vector<uint8_t> y(width), cb(width), cr(width);
    uint8_t* planes[3] = {y.data(), cb.data(), cr.data()};
    ASSERT_EQ(zeqiRGBToYCbCr_JPEG_8u_C3P3R(rgb.data(), 3 * width, planes, width, {width, 1}),
              StatusOk);
    ASSERT_EQ(zeqiYCbCrToRGB_JPEG_8u_P3C3R(planes, width, back.data(), 3 * width, {width, 1}),
              StatusOk);
    for (size_t i = 0; i < rgb.size(); ++i) ASSERT_LE(std::abs(rgb[i] - back[i]), 3) << i;
}

// Members of one family agree with one another on the same pixels.
TEST(ColourLayouts, FamiliesAgreeOnTheSamePixels) {
    auto& rng = test::seededRng(14);
    const int32_t w = 37;
    const ZeqiSize roi{w, 1};
    std::vector<uint8_t> rgb(3 * w), bgr(3 * w), r(w), g(w), b(w);
    test::fillRandom(rng, rgb.data(), rgb.size());
    for (int x = 0; x < w; ++x) {
        const size_t i = static_cast<size_t>(x);
        r[i] = rgb[3 * i], g[i] = rgb[3 * i + 1], b[i] = rgb[3 * i + 2];
        bgr[3 * i] = b[i], bgr[3 * i + 1] = g[i], bgr[3 * i + 2] = r[i];
    }
    const uint8_t* rgbPlanes[3] = {r.data(), g.data(), b.data()};
    PlaneSet fromRgb(3, w, 1), fromBgr(3, w, 1), fromPlanes(3, w, 1);
    ASSERT_EQ(zeqiRGBToYCbCr_JPEG_8u_C3P3R(rgb.data(), 3 * w, fromRgb.planes(), w, roi), StatusOk);
    ASSERT_EQ(zeqiBGRToYCbCr_JPEG_8u_C3P3R(bgr.data(), 3 * w, fromBgr.planes(), w, roi), StatusOk);
    ASSERT_EQ(zeqiRGBToYCbCr_JPEG_8u_P3R(rgbPlanes, w, fromPlanes.planes(), w, roi), StatusOk);
    EXPECT_TRUE(fromRgb == fromBgr);
    EXPECT_TRUE(fromRgb == fromPlanes);
    std::vector<uint8_t> luma(w);
    ASSERT_EQ(zeqiBGRToY_JPEG_8u_C3C1R(bgr.data(), 3 * w, luma.data(), w, roi), StatusOk);
    EXPECT_TRUE(std::equal(luma.begin(), luma.end(), fromRgb.plane(0)));

    // CMYK is inverted RGB with K carried along.
    std::vector<uint8_t> cmyk(4 * w), k(w);
    test::fillRandom(rng, k.data(), k.size());
    for (int x = 0; x < w; ++x)
        for (int c = 0; c < 3; ++c)
            cmyk[static_cast<size_t>(4 * x + c)] =
                static_cast<uint8_t>(255 - rgb[static_cast<size_t>(3 * x + c)]);
    for (int x = 0; x < w; ++x) cmyk[static_cast<size_t>(4 * x + 3)] = k[static_cast<size_t>(x)];
    PlaneSet ycck(4, w, 1);
    ASSERT_EQ(zeqiCMYKToYCCK_JPEG_8u_C4P4R(cmyk.data(), 4 * w, ycck.planes(), w, roi), StatusOk);
    for (int p = 0; p < 3; ++p)
        EXPECT_TRUE(std::equal(ycck.plane(p), ycck.plane(p) + w, fromRgb.plane(p)));
    EXPECT_TRUE(std::equal(k.begin(), k.end(), ycck.plane(3)));
    std::vector<uint8_t> cmykBack(4 * w), rgbBack(3 * w);
    ASSERT_EQ(zeqiYCCKToCMYK_JPEG_8u_P4C4R(ycck.planes(), w, cmykBack.data(), 4 * w, roi),
              StatusOk);
    ASSERT_EQ(zeqiYCbCrToRGB_JPEG_8u_P3C3R(ycck.planes(), w, rgbBack.data(), 3 * w, roi), StatusOk);
    for (int x = 0; x < w; ++x) {
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(cmykBack[static_cast<size_t>(4 * x + c)],
                      255 - rgbBack[static_cast<size_t>(3 * x + c)]);
        EXPECT_EQ(cmykBack[static_cast<size_t>(4 * x + 3)], k[static_cast<size_t>(x)]);
    }

    // 4:2:2 pairs are the planar inverse with the pair's chroma on both pixels.
    std::vector<uint8_t> packed(2 * w), fromPacked(3 * w, 0xA5), fromP3(3 * w);
    test::fillRandom(rng, packed.data(), packed.size());
    std::vector<uint8_t> py(w), pcb(w), pcr(w);
    for (int x = 0; x < w; ++x) {
        const size_t i = static_cast<size_t>(x), pair = 2 * (i & ~size_t{1});
        py[i] = packed[2 * i], pcb[i] = packed[pair + 1],
        pcr[i] = packed[(pair + 3) % packed.size()];
    }
    const uint8_t* yccPlanes[3] = {py.data(), pcb.data(), pcr.data()};
    ASSERT_EQ(zeqiYCbCr422ToRGB_JPEG_8u_C2C3R(packed.data(), 2 * w, fromPacked.data(), 3 * w, roi),
              StatusOk);
    ASSERT_EQ(zeqiYCbCrToRGB_JPEG_8u_P3C3R(yccPlanes, w, fromP3.data(), 3 * w, roi), StatusOk);
    // Odd width: the unpaired last pixel is left alone.
    EXPECT_TRUE(std::equal(fromPacked.begin(), fromPacked.end() - 3, fromP3.begin()));
    EXPECT_EQ(fromPacked[3 * w - 1], 0xA5);
}

// ---- Check order -------------------------------------------------------------

// Grouped order: all source pointers, all destination pointers, both steps, size.
TEST(ColourApi, GroupedCheckOrderAndNothingWritten) {
    for (const Member& m : members()) {
        PlaneSet src(m.srcPlanes, 64, 4), dst(m.dstPlanes, 64, 4);
        uint8_t *srcPlanes[4], *dstPlanes[4];
        struct Case {
            int nullSrc;  // -2 none, -1 the array or pointer, else that plane
            int nullDst;
            int32_t srcStep, dstStep;
            ZeqiSize roi;
            ZeqStatus expected;
        };
        std::vector<Case> cases = {
            {-1, -1, 0, 0, {0, 0}, StatusNullPointer}, {-2, -1, 0, 0, {0, 0}, StatusNullPointer},
            {-2, -2, 0, 64, {0, 0}, StatusBadStep},    {-2, -2, 64, 0, {0, 0}, StatusBadStep},
            {-2, -2, -64, -1, {0, 0}, StatusBadStep},  {-2, -2, 64, 64, {0, 4}, StatusBadSize},
            {-2, -2, 64, 64, {4, 0}, StatusBadSize},   {-2, -2, 64, 64, {-4, 4}, StatusBadSize},
        };
        for (int p = 0; p < m.srcPlanes && m.srcPlanes > 1; ++p)
            cases.push_back({p, -2, 0, 0, {0, 0}, StatusNullPointer});
        for (int p = 0; p < m.dstPlanes && m.dstPlanes > 1; ++p)
            cases.push_back({-2, p, 0, 0, {0, 0}, StatusNullPointer});
        for (const Case& c : cases) {
            for (int p = 0; p < 4; ++p) {
                srcPlanes[p] = p < m.srcPlanes ? src.plane(p) : nullptr;
                dstPlanes[p] = p < m.dstPlanes ? dst.plane(p) : nullptr;
            }
            if (c.nullSrc >= 0) srcPlanes[c.nullSrc] = nullptr;
            if (c.nullDst >= 0) dstPlanes[c.nullDst] = nullptr;
            const ImageArg s{c.nullSrc == -1 ? nullptr : srcPlanes};
            const ImageArg d{c.nullDst == -1 ? nullptr : dstPlanes};
            EXPECT_EQ(m.call(s, c.srcStep, d, c.dstStep, c.roi), c.expected)
                << m.name << " src " << c.nullSrc << " dst " << c.nullDst;
            EXPECT_TRUE(dst.untouched()) << m.name;
        }
    }
}

}  // namespace
