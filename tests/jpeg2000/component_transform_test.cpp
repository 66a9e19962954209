// Component transforms: vector rows against scalar rows for every member
// and layout, the exported functions against the formulas (wrapping, no
// clamping), exact RCT inverses, the fixed-point ICT's unit gain, the single
// precision ICT against double precision, and the argument checks.
#include "jpeg2000/component_transform.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "core/rows.h"
#include "tests/common/test_support.h"
#include "zeqj.h"

namespace {

using namespace zeq;

// memcmp that accepts empty (possibly null) runs.
bool sameBytes(const void* a, const void* b, size_t n) {
    return n == 0 || std::memcmp(a, b, n) == 0;
}

using namespace zeq::ct;
using test::ByteImage;

template <class T>
void fillAny(std::mt19937& rng, std::vector<uint8_t>& bytes) {
    if constexpr (std::is_same_v<T, float>) {
        std::uniform_real_distribution<float> d(-70000.0f, 70000.0f);
        for (size_t i = 0; i + 4 <= bytes.size(); i += 4) {
            const float v = d(rng);
            std::memcpy(&bytes[i], &v, 4);
        }
    } else {
        test::fillRandom(rng, bytes.data(), bytes.size());
    }
}

// Vector and scalar rows on every width 0..70 and byte offset 0..3, from
// separate buffers and in place.
template <Op op, class T>
void checkPlanar() {
    auto& rng = test::seededRng(static_cast<uint32_t>(op) * 7 + sizeof(T));
    for (int32_t width = 0; width <= 70; ++width) {
        for (int offset = 0; offset < 4; ++offset) {
            const size_t bytes = width * sizeof(T) + offset;
            std::vector<uint8_t> src[3];
            for (auto& s : src) {
                s.resize(bytes);
                fillAny<T>(rng, s);
            }
            const uint8_t* in[3] = {src[0].data() + offset, src[1].data() + offset,
                                    src[2].data() + offset};
            std::vector<ByteImage> vec, ref;
            for (int c = 0; c < 3; ++c)
                vec.emplace_back(width * sizeof(T), 1, offset),
                    ref.emplace_back(width * sizeof(T), 1, offset);
            uint8_t* const dv[3] = {vec[0].data(), vec[1].data(), vec[2].data()};
            uint8_t* const dr[3] = {ref[0].data(), ref[1].data(), ref[2].data()};
            planesRow<op, T>(in, dv, width);
            planesRowScalar<op, T>(in, dr, width);
            for (int c = 0; c < 3; ++c) ASSERT_EQ(vec[c].allBytes(), ref[c].allBytes()) << width;
            // In place.
            uint8_t* const io[3] = {src[0].data() + offset, src[1].data() + offset,
                                    src[2].data() + offset};
            planesRow<op, T>(in, io, width);
            for (int c = 0; c < 3; ++c)
                ASSERT_TRUE(sameBytes(io[c], dr[c], width * sizeof(T))) << width;
        }
    }
}

template <Op op, class T>
void checkInterleaved(bool toPlanes) {
    auto& rng = test::seededRng(static_cast<uint32_t>(op) * 11 + sizeof(T));
    for (int32_t width = 0; width <= 70; ++width) {
        for (int offset = 0; offset < 4; ++offset) {
            if (toPlanes) {
                std::vector<uint8_t> src(3 * width * sizeof(T) + offset);
                fillAny<T>(rng, src);
                std::vector<ByteImage> vec, ref;
                for (int c = 0; c < 3; ++c)
                    vec.emplace_back(width * sizeof(T), 1, offset),
                        ref.emplace_back(width * sizeof(T), 1, offset);
                uint8_t* const dv[3] = {vec[0].data(), vec[1].data(), vec[2].data()};
                uint8_t* const dr[3] = {ref[0].data(), ref[1].data(), ref[2].data()};
                pixelsToPlanesRow<op, T>(src.data() + offset, dv, width);
                pixelsToPlanesRowScalar<op, T>(src.data() + offset, dr, width);
                for (int c = 0; c < 3; ++c)
                    ASSERT_EQ(vec[c].allBytes(), ref[c].allBytes()) << width;
            } else {
                std::vector<uint8_t> src[3];
                for (auto& s : src) {
                    s.resize(width * sizeof(T) + offset);
                    fillAny<T>(rng, s);
                }
                const uint8_t* in[3] = {src[0].data() + offset, src[1].data() + offset,
                                        src[2].data() + offset};
                ByteImage vec(3 * width * sizeof(T), 1, offset),
                    ref(3 * width * sizeof(T), 1, offset);
                planesToPixelsRow<op, T>(in, vec.data(), width);
                planesToPixelsRowScalar<op, T>(in, ref.data(), width);
                ASSERT_EQ(vec.allBytes(), ref.allBytes()) << width;
            }
        }
    }
}

TEST(ComponentTransformRows, VectorRowsMatchScalarRowsForEveryWidthAndAlignment) {
    checkPlanar<Op::RctForward, int16_t>();
    checkPlanar<Op::RctForward, int32_t>();
    checkPlanar<Op::RctInverse, int16_t>();
    checkPlanar<Op::RctInverse, int32_t>();
    checkPlanar<Op::IctForward, int16_t>();
    checkPlanar<Op::IctForward, int32_t>();
    checkPlanar<Op::IctForward, float>();
    checkPlanar<Op::IctInverse, int16_t>();
    checkPlanar<Op::IctInverse, int32_t>();
    checkPlanar<Op::IctInverse, float>();
    checkInterleaved<Op::RctForward, int16_t>(true);
    checkInterleaved<Op::RctForward, int32_t>(true);
    checkInterleaved<Op::IctForward, float>(true);
    checkInterleaved<Op::RctInverse, int16_t>(false);
    checkInterleaved<Op::RctInverse, int32_t>(false);
    checkInterleaved<Op::IctInverse, float>(false);
}

// ---- Formulas --------------------------------------------------------------------

int64_t wrap(int64_t v, int bits) {
    const uint64_t m = (uint64_t{1} << bits) - 1;
    uint64_t u = static_cast<uint64_t>(v) & m;
    if (u >> (bits - 1)) u |= ~m;
    return static_cast<int64_t>(u);
}
// >> 14 of a 32-bit wrapped sum.
int64_t q14(int64_t v) { return wrap(v + 8192, 32) >> 14; }

void formula(bool rct, bool forward, int64_t a, int64_t b, int64_t c, int bits, int64_t out[3]) {
    if (rct && forward) {
        out[0] = wrap(a + 2 * b + c, 32) >> 2, out[1] = c - b, out[2] = a - b;
    } else if (rct) {
        const int64_t g = a - (wrap(b + c, 32) >> 2);
        out[0] = c + g, out[1] = g, out[2] = b + g;
    } else if (forward) {
        out[0] = q14(4899 * a + 9617 * b + 1868 * c);
        out[1] = q14(-2765 * a - 5427 * b + 8192 * c);
        out[2] = q14(8192 * a - 6860 * b - 1332 * c);
    } else {
        out[0] = a + q14(22970 * c), out[1] = a + q14(-5638 * b - 11700 * c),
        out[2] = a + q14(29032 * b);
    }
    for (int i = 0; i < 3; ++i) out[i] = wrap(out[i], bits);
}

using P3IR16 = ZeqStatus (*)(int16_t* const[3], int32_t, ZeqiSize);
using P3IR32 = ZeqStatus (*)(int32_t* const[3], int32_t, ZeqiSize);

template <class T, class Fn>
void checkInPlaceMember(Fn fn, bool rct, bool forward, int64_t lo, int64_t hi) {
    auto& rng = test::seededRng(3);
    const ZeqiSize roi = {23, 5};
    const int32_t step = roi.width * sizeof(T) + 5;
    std::vector<ByteImage> planes;
    for (int c = 0; c < 3; ++c) planes.emplace_back(step, roi.height, c);
    std::vector<int64_t> in(3 * roi.width * roi.height);
    for (auto& v : in) v = test::uniform<int64_t>(rng, lo, hi);
    T* const p[3] = {reinterpret_cast<T*>(planes[0].data()), reinterpret_cast<T*>(planes[1].data()),
                     reinterpret_cast<T*>(planes[2].data())};
    for (int32_t y = 0; y < roi.height; ++y)
        for (int32_t x = 0; x < roi.width; ++x)
            for (int c = 0; c < 3; ++c)
                storeElement<T>(rowAt(planes[c].data(), step, y), x,
                                static_cast<T>(in[3 * (y * roi.width + x) + c]));
    ASSERT_EQ(fn(p, step, roi), StatusOk);
    for (int32_t y = 0; y < roi.height; ++y)
        for (int32_t x = 0; x < roi.width; ++x) {
            const int64_t* v = &in[3 * (y * roi.width + x)];
            int64_t out[3];
            formula(rct, forward, v[0], v[1], v[2], sizeof(T) * 8, out);
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(loadElement<T>(rowAt(planes[c].data(), step, y), x), out[c])
                    << x << "," << y;
        }
}

TEST(ComponentTransforms, IntegerMembersFollowTheFormulasAndWrap) {
    for (auto [lo, hi] : {std::pair<int64_t, int64_t>{-300, 300}, {-32768, 32767}}) {
        checkInPlaceMember<int16_t>(zeqiRCTFwd_JPEG2K_16s_P3IR, true, true, lo, hi);
        checkInPlaceMember<int16_t>(zeqiRCTInv_JPEG2K_16s_P3IR, true, false, lo, hi);
        checkInPlaceMember<int16_t>(zeqiICTFwd_JPEG2K_16s_P3IR, false, true, lo, hi);
        checkInPlaceMember<int16_t>(zeqiICTInv_JPEG2K_16s_P3IR, false, false, lo, hi);
    }
    for (auto [lo, hi] : {std::pair<int64_t, int64_t>{-100000, 100000}, {INT32_MIN, INT32_MAX}}) {
        checkInPlaceMember<int32_t>(zeqiRCTFwd_JPEG2K_32s_P3IR, true, true, lo, hi);
        checkInPlaceMember<int32_t>(zeqiRCTInv_JPEG2K_32s_P3IR, true, false, lo, hi);
        checkInPlaceMember<int32_t>(zeqiICTFwd_JPEG2K_32s_P3IR, false, true, lo, hi);
        checkInPlaceMember<int32_t>(zeqiICTInv_JPEG2K_32s_P3IR, false, false, lo, hi);
    }
}

// Interleaved RGB -> planes -> interleaved RGB restores every sample for
// every width 1..70 (values whose differences fit the type).
template <class T>
void checkRctRoundTrip(decltype(zeqiRCTFwd_JPEG2K_16s_C3P3R)* fwd16,
                       decltype(zeqiRCTInv_JPEG2K_16s_P3C3R)* inv16,
                       decltype(zeqiRCTFwd_JPEG2K_32s_C3P3R)* fwd32,
                       decltype(zeqiRCTInv_JPEG2K_32s_P3C3R)* inv32, int64_t range) {
    auto& rng = test::seededRng(70);
    for (int32_t w = 1; w <= 70; ++w) {
        const int32_t h = 1 + w % 3;
        std::vector<T> rgb(3 * w * h), back(rgb.size());
        for (auto& v : rgb) v = test::uniform<T>(rng, -range, range - 1);
        std::vector<T> planes[3];
        for (auto& p : planes) p.resize(w * h);
        T* const dst[3] = {planes[0].data(), planes[1].data(), planes[2].data()};
        const T* const src[3] = {planes[0].data(), planes[1].data(), planes[2].data()};
        const int32_t s3 = 3 * w * sizeof(T), s1 = w * sizeof(T);
        if constexpr (sizeof(T) == 2) {
            ASSERT_EQ((*fwd16)(rgb.data(), s3, dst, s1, {w, h}), StatusOk);
            ASSERT_EQ((*inv16)(src, s1, back.data(), s3, {w, h}), StatusOk);
        } else {
            ASSERT_EQ((*fwd32)(rgb.data(), s3, dst, s1, {w, h}), StatusOk);
            ASSERT_EQ((*inv32)(src, s1, back.data(), s3, {w, h}), StatusOk);
        }
        ASSERT_EQ(back, rgb) << w;
        for (int32_t i = 0; i < w * h; ++i) {
            int64_t out[3];
            formula(true, true, rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2], sizeof(T) * 8, out);
            for (int c = 0; c < 3; ++c) ASSERT_EQ(planes[c][i], out[c]);
        }
    }
}
TEST(ComponentTransforms, RctRestoresEveryInputExactly) {
    checkRctRoundTrip<int16_t>(zeqiRCTFwd_JPEG2K_16s_C3P3R, zeqiRCTInv_JPEG2K_16s_P3C3R,
                               zeqiRCTFwd_JPEG2K_32s_C3P3R, zeqiRCTInv_JPEG2K_32s_P3C3R, 1 << 14);
    checkRctRoundTrip<int32_t>(zeqiRCTFwd_JPEG2K_16s_C3P3R, zeqiRCTInv_JPEG2K_16s_P3C3R,
                               zeqiRCTFwd_JPEG2K_32s_C3P3R, zeqiRCTInv_JPEG2K_32s_P3C3R, 1 << 29);
}

TEST(ComponentTransforms, FixedPointIctOfGreyIsTheGreyValue) {
    for (int32_t v : {-32768, -5, 0, 1, 255, 32767}) {
        int16_t r = static_cast<int16_t>(v), g = r, b = r;
        int16_t* const p[3] = {&r, &g, &b};
        ASSERT_EQ(zeqiICTFwd_JPEG2K_16s_P3IR(p, 2, {1, 1}), StatusOk);
        EXPECT_EQ(r, v);
        EXPECT_EQ(g, 0);
        EXPECT_EQ(b, 0);
    }
    // A 16s result beyond 16 bits wraps: Cb of B = 32767, R = G = -32768.
    int16_t r = -32768, g = -32768, b = 32767;
    int16_t* const p[3] = {&r, &g, &b};
    ASSERT_EQ(zeqiICTFwd_JPEG2K_16s_P3IR(p, 2, {1, 1}), StatusOk);
    const int32_t cb = (-2765 * -32768 - 5427 * -32768 + 8192 * 32767 + 8192) >> 14;
    EXPECT_GT(cb, 32767);
    EXPECT_EQ(g, static_cast<int16_t>(cb));
}

TEST(ComponentTransforms, SinglePrecisionIctIsCloseToDoubleAndRoundTrips) {
    auto& rng = test::seededRng(44);
    std::uniform_real_distribution<float> d(-1000.0f, 1000.0f);
    const int32_t w = 37, h = 3;
    std::vector<float> rgb(3 * w * h), planes[3], back(rgb.size());
    for (auto& v : rgb) v = d(rng);
    for (auto& p : planes) p.resize(w * h);
    float* const dst[3] = {planes[0].data(), planes[1].data(), planes[2].data()};
    ASSERT_EQ(zeqiICTFwd_JPEG2K_32f_C3P3R(rgb.data(), 3 * w * 4, dst, w * 4, {w, h}), StatusOk);
    for (int32_t i = 0; i < w * h; ++i) {
        const double R = rgb[3 * i], G = rgb[3 * i + 1], B = rgb[3 * i + 2];
        EXPECT_NEAR(planes[0][i], 0.299 * R + 0.587 * G + 0.114 * B, 1e-3);
        EXPECT_NEAR(planes[1][i], -0.16875 * R - 0.33126 * G + 0.5 * B, 1e-3);
        EXPECT_NEAR(planes[2][i], 0.5 * R - 0.41869 * G - 0.08131 * B, 1e-3);
    }
    // In place equals the interleaved member.
    std::vector<float> ip[3];
    for (int c = 0; c < 3; ++c) {
        ip[c].resize(w * h);
        for (int32_t i = 0; i < w * h; ++i) ip[c][i] = rgb[3 * i + c];
    }
    float* const io[3] = {ip[0].data(), ip[1].data(), ip[2].data()};
    ASSERT_EQ(zeqiICTFwd_JPEG2K_32f_P3IR(io, w * 4, {w, h}), StatusOk);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(ip[c], planes[c]);
    const float* const src[3] = {planes[0].data(), planes[1].data(), planes[2].data()};
    ASSERT_EQ(zeqiICTInv_JPEG2K_32f_P3C3R(src, w * 4, back.data(), 3 * w * 4, {w, h}), StatusOk);
    for (size_t i = 0; i < rgb.size(); ++i) EXPECT_NEAR(back[i], rgb[i], 0.05);
    ASSERT_EQ(zeqiICTInv_JPEG2K_32f_P3IR(io, w * 4, {w, h}), StatusOk);
    for (int32_t i = 0; i < w * h; ++i)
        for (int c = 0; c < 3; ++c) EXPECT_EQ(ip[c][i], back[3 * i + c]);
}

TEST(ComponentTransforms, ChecksPointersThenStepsThenSizeAndWriteNothing) {
    int32_t a[4] = {1, 2, 3, 4}, b[4] = {5, 6, 7, 8}, c[4] = {9, 10, 11, 12}, px[12] = {};
    int32_t* const planes[3] = {a, b, c};
    int32_t* const holed[3] = {a, nullptr, c};
    const int32_t* const cplanes[3] = {a, b, c};
    EXPECT_EQ(zeqiRCTFwd_JPEG2K_32s_P3IR(nullptr, 0, {0, 0}), StatusNullPointer);
    EXPECT_EQ(zeqiRCTFwd_JPEG2K_32s_P3IR(holed, 0, {0, 0}), StatusNullPointer);
    EXPECT_EQ(zeqiRCTFwd_JPEG2K_32s_P3IR(planes, 0, {0, 0}), StatusBadStep);
    EXPECT_EQ(zeqiICTInv_JPEG2K_32s_P3IR(planes, 16, {0, 1}), StatusBadSize);
    EXPECT_EQ(zeqiRCTFwd_JPEG2K_32s_C3P3R(nullptr, 48, planes, 16, {4, 1}), StatusNullPointer);
    EXPECT_EQ(zeqiRCTFwd_JPEG2K_32s_C3P3R(px, 48, holed, 16, {4, 1}), StatusNullPointer);
    EXPECT_EQ(zeqiRCTFwd_JPEG2K_32s_C3P3R(px, 48, planes, -1, {4, 1}), StatusBadStep);
    EXPECT_EQ(zeqiRCTFwd_JPEG2K_32s_C3P3R(px, 0, planes, 16, {0, 1}), StatusBadStep);
    EXPECT_EQ(zeqiRCTFwd_JPEG2K_32s_C3P3R(px, 48, planes, 16, {4, 0}), StatusBadSize);
    EXPECT_EQ(zeqiRCTInv_JPEG2K_32s_P3C3R(cplanes, 16, nullptr, 48, {4, 1}), StatusNullPointer);
    EXPECT_EQ(zeqiRCTInv_JPEG2K_32s_P3C3R(nullptr, 16, px, 48, {4, 1}), StatusNullPointer);
    EXPECT_EQ(zeqiRCTInv_JPEG2K_32s_P3C3R(cplanes, 16, px, 0, {0, 1}), StatusBadStep);
    EXPECT_EQ(zeqiRCTInv_JPEG2K_32s_P3C3R(cplanes, 16, px, 48, {-1, 1}), StatusBadSize);
    EXPECT_EQ(std::vector<int32_t>(a, a + 4), (std::vector<int32_t>{1, 2, 3, 4}));
    EXPECT_EQ(std::vector<int32_t>(px, px + 12), std::vector<int32_t>(12, 0));
    // A 1x1 region is transformed.
    EXPECT_EQ(zeqiRCTFwd_JPEG2K_32s_P3IR(planes, 16, {1, 1}), StatusOk);
    EXPECT_EQ(a[0], (1 + 2 * 5 + 9) >> 2);
    EXPECT_EQ(b[0], 9 - 5);
    EXPECT_EQ(c[0], 1 - 5);
    EXPECT_EQ(a[1], 2);
}

}  // namespace
