// Level shift: vector rows against the scalar rows, exact values, the check
// order of the exported functions, and thread-count independence.
#include "jpeg/sample/level_shift.h"

#include <gtest/gtest.h>

#include <vector>

#include "core/rows.h"
#include "tests/common/test_support.h"
#include "zeqj.h"

namespace {

using namespace zeq;
using test::ByteImage;

using RowKernel = void (*)(const uint8_t*, uint8_t*, int32_t);
struct KernelPair {
    const char* name;
    RowKernel vector;
    RowKernel scalar;
    int srcBytes;
    int dstBytes;
};
const KernelPair kKernels[] = {
    {"add128", add128RowSse2, add128RowScalar, 2, 1},
    {"sub128", sub128RowSse2, sub128RowScalar, 1, 2},
};

TEST(LevelShiftRows, VectorMatchesScalarForEveryWidthAndAlignment) {
    auto& rng = test::seededRng(1);
    for (const auto& k : kKernels) {
        for (int32_t width = 1; width <= 70; ++width) {
            for (int offset = 0; offset < 4; ++offset) {
                std::vector<uint8_t> src(static_cast<size_t>(width * k.srcBytes + offset));
                test::fillRandom(rng, src.data(), src.size());
                ByteImage vec(width * k.dstBytes, 1, offset), ref(width * k.dstBytes, 1, offset);
                k.vector(src.data() + offset, vec.data(), width);
                k.scalar(src.data() + offset, ref.data(), width);
                ASSERT_EQ(vec.allBytes(), ref.allBytes()) << k.name << " width " << width;
            }
        }
    }
}

TEST(LevelShiftRows, VectorRowsMatchTheDefinitionOnEveryValue) {
    std::vector<int16_t> all16;
    for (int v = -32768; v <= 32767; ++v) all16.push_back(static_cast<int16_t>(v));
    std::vector<uint8_t> out(all16.size());
    add128RowSse2(reinterpret_cast<const uint8_t*>(all16.data()), out.data(),
                  static_cast<int32_t>(all16.size()));
    for (size_t i = 0; i < all16.size(); ++i) {
        const int v = all16[i] + 128;
        ASSERT_EQ(out[i], v >= 255 ? 255 : (v < 0 ? 0 : v)) << all16[i];
    }

    std::vector<uint8_t> all8(256);
    for (int v = 0; v < 256; ++v) all8[static_cast<size_t>(v)] = static_cast<uint8_t>(v);
    std::vector<int16_t> shifted(256);
    sub128RowSse2(all8.data(), reinterpret_cast<uint8_t*>(shifted.data()), 256);
    for (int v = 0; v < 256; ++v) ASSERT_EQ(shifted[static_cast<size_t>(v)], v - 128);
}

TEST(Add128, SaturatesAtBothEnds) {
    const int16_t src[8] = {-200, 200, 127, -128, -129, 0, 126, 32767};
    uint8_t dst[8] = {};
    ASSERT_EQ(zeqiAdd128_JPEG_16s8u_C1R(src, 16, dst, 8, {8, 1}), StatusOk);
    const uint8_t expected[8] = {0, 255, 255, 0, 0, 128, 254, 255};
    for (int i = 0; i < 8; ++i) EXPECT_EQ(dst[i], expected[i]) << i;
}

// Bad arguments in the interleaved order; every row must leave dst untouched.
TEST(LevelShiftApi, FirstFailingCheckWinsAndNothingIsWritten) {
    struct Case {
        bool srcNull;
        int32_t srcStep;
        bool dstNull;
        int32_t dstStep;
        ZeqiSize size;
        ZeqStatus expected;
    } const cases[] = {
        {true, 0, true, 0, {0, 0}, StatusNullPointer},
        {false, 0, true, 0, {0, 0}, StatusBadStep},
        {false, -16, false, 16, {8, 1}, StatusBadStep},
        {false, 16, true, 0, {0, 0}, StatusNullPointer},
        {false, 16, false, 0, {0, 0}, StatusBadStep},
        {false, 16, false, -1, {8, 1}, StatusBadStep},
        {false, 16, false, 16, {0, 1}, StatusBadSize},
        {false, 16, false, 16, {8, 0}, StatusBadSize},
        {false, 16, false, 16, {-8, 8}, StatusBadSize},
    };
    std::vector<uint8_t> src(16 * 8, 1);
    for (const auto& c : cases) {
        ByteImage dst(16, 8);
        const uint8_t* s = c.srcNull ? nullptr : src.data();
        uint8_t* d = c.dstNull ? nullptr : dst.data();
        EXPECT_EQ(zeqiAdd128_JPEG_16s8u_C1R(reinterpret_cast<const int16_t*>(s), c.srcStep, d,
                                            c.dstStep, c.size),
                  c.expected);
        EXPECT_EQ(zeqiSub128_JPEG_8u16s_C1R(s, c.srcStep, reinterpret_cast<int16_t*>(d),
                                            c.dstStep, c.size),
                  c.expected);
        EXPECT_TRUE(dst.untouched());
    }
}

// Runs both exported functions on a region with padded, odd-sized steps and
// checks them against the scalar rows; the padding must stay untouched.
void checkRegion(ZeqiSize roi, int threads) {
    test::ScopedThreads scoped(threads);
    auto& rng = test::seededRng(static_cast<uint32_t>(roi.width * 31 + roi.height));
    const int32_t srcStep16 = roi.width * 2 + 3, dstStep8 = roi.width + 5;
    std::vector<uint8_t> src16(static_cast<size_t>(srcStep16) * roi.height);
    test::fillRandom(rng, src16.data(), src16.size());
    ByteImage dst8(dstStep8, roi.height), ref8(dstStep8, roi.height);
    ASSERT_EQ(zeqiAdd128_JPEG_16s8u_C1R(reinterpret_cast<const int16_t*>(src16.data()), srcStep16,
                                        dst8.data(), dstStep8, roi),
              StatusOk);
    for (int32_t y = 0; y < roi.height; ++y)
        add128RowScalar(rowAt(src16.data(), srcStep16, y), rowAt(ref8.data(), dstStep8, y),
                        roi.width);
    ASSERT_EQ(dst8.allBytes(), ref8.allBytes()) << roi.width << "x" << roi.height;

    const int32_t srcStep8 = roi.width + 7, dstStep16 = roi.width * 2 + 1;
    std::vector<uint8_t> src8(static_cast<size_t>(srcStep8) * roi.height);
    test::fillRandom(rng, src8.data(), src8.size());
    ByteImage dst16(dstStep16, roi.height), ref16(dstStep16, roi.height);
    ASSERT_EQ(zeqiSub128_JPEG_8u16s_C1R(src8.data(), srcStep8,
                                        reinterpret_cast<int16_t*>(dst16.data()), dstStep16, roi),
              StatusOk);
    for (int32_t y = 0; y < roi.height; ++y)
        sub128RowScalar(rowAt(src8.data(), srcStep8, y), rowAt(ref16.data(), dstStep16, y),
                        roi.width);
    ASSERT_EQ(dst16.allBytes(), ref16.allBytes()) << roi.width << "x" << roi.height;
}

TEST(LevelShiftApi, SameOutputSerialAndParallelAroundTheThreshold) {
    const ZeqiSize regions[] = {{8192, 1}, {8193, 1}, {4096, 2}, {2731, 3}, {64, 128},
                                {64, 129}, {1, 8193}, {333, 77}, {17, 1}};
    for (const ZeqiSize roi : regions)
        for (int threads : {1, 2, 3}) checkRegion(roi, threads);
}

}  // namespace
