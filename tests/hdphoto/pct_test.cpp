// Photo core transform: an independent transcription of the lifting steps as
// the reference, the four-block vector path against the scalar block, exact
// round trips, the fixed areas against the general member, and check orders.
#include "hdphoto/pct.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "core/rows.h"
#include "tests/common/test_support.h"
#include "zeqj.h"

namespace {

using namespace zeq;
using test::ByteImage;

// Plain int32 transcription; callers keep values small enough not to overflow.
void hadamardRef(int32_t* x, int a, int b, int c, int d, int r) {
    x[a] += x[d];
    x[b] -= x[c];
    const int32_t t = (x[a] - x[b] + r) >> 1;
    const int32_t oldC = x[c];
    x[c] = t - x[d];
    x[d] = t - oldC;
    x[a] -= x[d];
    x[b] += x[c];
}
void oddRef(int32_t* x, int a, int b, int c, int d) {
    x[b] -= x[c];
    x[a] += x[d];
    x[c] += (x[b] + 1) >> 1;
    x[d] = ((x[a] + 1) >> 1) - x[d];
    x[b] -= (3 * x[a] + 4) >> 3;
    x[a] += (3 * x[b] + 4) >> 3;
    x[d] -= (3 * x[c] + 4) >> 3;
    x[c] += (3 * x[d] + 4) >> 3;
    x[d] += x[b] >> 1;
    x[c] -= (x[a] + 1) >> 1;
    x[b] -= x[d];
    x[a] += x[c];
}
void oddOddRef(int32_t* x, int a, int b, int c, int d) {
    x[b] = -x[b];
    x[c] = -x[c];
    x[d] += x[a];
    x[c] -= x[b];
    const int32_t t1 = x[d] >> 1;
    x[a] -= t1;
    const int32_t t2 = x[c] >> 1;
    x[b] += t2;
    x[a] += (3 * x[b] + 4) >> 3;
    x[b] -= (3 * x[a] + 3) >> 2;
    x[a] += (3 * x[b] + 3) >> 3;
    x[b] -= t2;
    x[a] += t1;
    x[c] += x[b];
    x[d] -= x[a];
}
void forwardRef(int32_t* x) {
    hadamardRef(x, 0, 3, 12, 15, 0);
    hadamardRef(x, 1, 2, 13, 14, 0);
    hadamardRef(x, 4, 7, 8, 11, 0);
    hadamardRef(x, 5, 6, 9, 10, 0);
    hadamardRef(x, 0, 1, 4, 5, 1);
    oddRef(x, 2, 3, 6, 7);
    oddRef(x, 8, 12, 9, 13);
    oddOddRef(x, 10, 11, 14, 15);
}

void randomBlock(std::mt19937& rng, int32_t* x, int32_t limit) {
    for (int i = 0; i < 16; ++i) x[i] = test::uniform<int32_t>(rng, -limit, limit);
}

TEST(PctBlock, ForwardMatchesAPlainTranscription) {
    auto& rng = test::seededRng(11);
    for (int n = 0; n < test::scaledCount(20000); ++n) {
        int32_t block[16], ref[16];
        randomBlock(rng, block, n % 2 ? (1 << 20) : 300);
        std::memcpy(ref, block, sizeof ref);
        forwardRef(ref);
        pctBlockScalar(PctDirection::Forward, reinterpret_cast<uint8_t*>(block), 16);
        ASSERT_EQ(std::memcmp(block, ref, sizeof ref), 0) << n;
    }
}

TEST(PctBlock, KnownBlocks) {
    int32_t zeros[16] = {};
    pctBlockScalar(PctDirection::Forward, reinterpret_cast<uint8_t*>(zeros), 16);
    for (int32_t v : zeros) EXPECT_EQ(v, 0);
    // A flat block keeps its energy in the DC coefficient only.
    int32_t flat[16];
    for (int32_t& v : flat) v = 10;
    pctBlockScalar(PctDirection::Forward, reinterpret_cast<uint8_t*>(flat), 16);
    EXPECT_EQ(flat[0], 40);
    for (int k = 1; k < 16; ++k) EXPECT_EQ(flat[k], 0) << k;
}

// Full-range values wrap; both paths must wrap the same way, and forward then
// inverse restores every block bit for bit.
TEST(PctBlock, FourBlockPathMatchesScalarAndRoundTripsExactly) {
    auto& rng = test::seededRng(12);
    for (int n = 0; n < test::scaledCount(5000); ++n) {
        const int32_t limit = n % 3 == 0 ? INT32_MAX : (n % 3 == 1 ? (1 << 24) : 255);
        std::vector<int32_t> image(19 * 4), original;
        for (auto& v : image) v = test::uniform<int32_t>(rng, -limit, limit);
        original = image;
        const int32_t step = (16 + 3) * 4;  // four blocks side by side, padded rows
        auto* base = reinterpret_cast<uint8_t*>(image.data());
        std::vector<int32_t> scalar = image;
        auto* scalarBase = reinterpret_cast<uint8_t*>(scalar.data());
        // Blocks in a scattered order so each lane reads its own pointer.
        uint8_t* const blocks[4] = {base + 48, base, base + 32, base + 16};
        for (PctDirection d : {PctDirection::Forward, PctDirection::Inverse}) {
            pctFourBlocksSse2(d, blocks, step);
            for (int b = 0; b < 4; ++b) pctBlockScalar(d, scalarBase + 16 * b, step);
            ASSERT_EQ(image, scalar) << n;
        }
        ASSERT_EQ(image, original) << n;
    }
}

struct AreaCase {
    ZeqiSize area;
    ZeqStatus (*forward)(int32_t*, int32_t);
    ZeqStatus (*inverse)(int32_t*, int32_t);
};
const AreaCase kAreas[] = {
    {{8, 8}, zeqiPCTFwd8x8_HDP_32s_C1IR, zeqiPCTInv8x8_HDP_32s_C1IR},
    {{8, 16}, zeqiPCTFwd8x16_HDP_32s_C1IR, zeqiPCTInv8x16_HDP_32s_C1IR},
    {{16, 16}, zeqiPCTFwd16x16_HDP_32s_C1IR, zeqiPCTInv16x16_HDP_32s_C1IR},
};

TEST(PctApi, FixedAreasEqualTheGeneralMemberAndStayInside) {
    auto& rng = test::seededRng(13);
    for (const auto& a : kAreas) {
        for (int32_t pad : {0, 1, 2, 7}) {
            const int32_t step = a.area.width * 4 + pad;
            ByteImage fixed(step, a.area.height), general(step, a.area.height);
            std::vector<uint8_t> samples(static_cast<size_t>(step) * a.area.height);
            for (int32_t y = 0; y < a.area.height; ++y)
                for (int32_t x = 0; x < a.area.width; ++x)
                    storeElement<int32_t>(samples.data() + y * step, x,
                                          test::uniform<int32_t>(rng, -70000, 70000));
            for (int32_t y = 0; y < a.area.height; ++y) {
                std::memcpy(fixed.data() + y * step, samples.data() + y * step, a.area.width * 4);
                std::memcpy(general.data() + y * step, samples.data() + y * step, a.area.width * 4);
            }
            auto* f = reinterpret_cast<int32_t*>(fixed.data());
            auto* g = reinterpret_cast<int32_t*>(general.data());
            ASSERT_EQ(a.forward(f, step), StatusOk);
            ASSERT_EQ(zeqiPCTFwd_HDP_32s_C1IR(g, step, a.area), StatusOk);
            ASSERT_EQ(fixed.allBytes(), general.allBytes()) << a.area.height << " pad " << pad;
            ASSERT_EQ(a.inverse(f, step), StatusOk);
            ASSERT_EQ(zeqiPCTInv_HDP_32s_C1IR(g, step, a.area), StatusOk);
            ASSERT_EQ(fixed.allBytes(), general.allBytes());
            for (int32_t y = 0; y < a.area.height; ++y) {
                ASSERT_EQ(std::memcmp(fixed.data() + y * step, samples.data() + y * step,
                                      a.area.width * 4),
                          0);
            }
        }
    }
}

TEST(PctApi, RegionsOfEveryBlockCountMatchTheScalarBlocks) {
    auto& rng = test::seededRng(14);
    for (int32_t bw = 1; bw <= 9; ++bw) {
        for (int32_t bh = 1; bh <= 5; ++bh) {
            const ZeqiSize roi = {4 * bw, 4 * bh};
            const int32_t step = roi.width * 4 + 12;
            ByteImage image(step, roi.height, 3), ref(step, roi.height, 3);
            for (int32_t y = 0; y < roi.height; ++y) {
                test::fillRandom(rng, image.data() + y * step, static_cast<size_t>(roi.width) * 4);
                std::memcpy(ref.data() + y * step, image.data() + y * step, roi.width * 4);
            }
            ASSERT_EQ(zeqiPCTFwd_HDP_32s_C1IR(reinterpret_cast<int32_t*>(image.data()), step, roi),
                      StatusOk);
            pctAreaScalar(PctDirection::Forward, ref.data(), step, bw, bh);
            ASSERT_EQ(image.allBytes(), ref.allBytes()) << bw << "x" << bh;
            ASSERT_EQ(zeqiPCTInv_HDP_32s_C1IR(reinterpret_cast<int32_t*>(image.data()), step, roi),
                      StatusOk);
            pctAreaScalar(PctDirection::Inverse, ref.data(), step, bw, bh);
            ASSERT_EQ(image.allBytes(), ref.allBytes()) << bw << "x" << bh;
        }
    }
}

// Null, size below 1, step short of the row, then sizes that are not whole blocks.
TEST(PctApi, GeneralMembersCheckInOrderAndWriteNothing) {
    struct Case {
        bool null;
        int32_t step;
        ZeqiSize size;
        ZeqStatus expected;
    } const cases[] = {
        {true, 0, {0, 0}, StatusNullPointer},
        {false, 0, {0, 4}, StatusBadSize},
        {false, 0, {4, 0}, StatusBadSize},
        {false, 15, {4, 6}, StatusBadStep},
        {false, 0, {4, 4}, StatusBadStep},
        {false, -16, {4, 4}, StatusBadStep},
        {false, 16, {4, 6}, StatusBadSize},
        {false, 64, {6, 4}, StatusBadSize},
        {false, 31, {8, 4}, StatusBadStep},
        {false, 16, {4, 4}, StatusOk},
        {false, INT32_MAX, {0x20000000, 4}, StatusBadStep},
    };
    for (const auto& c : cases) {
        for (auto fn : {zeqiPCTFwd_HDP_32s_C1IR, zeqiPCTInv_HDP_32s_C1IR}) {
            ByteImage image(64, 8);
            auto* p = c.null ? nullptr : reinterpret_cast<int32_t*>(image.data());
            EXPECT_EQ(fn(p, c.step, c.size), c.expected) << c.step << " " << c.size.width;
            if (c.expected != StatusOk) {
                EXPECT_TRUE(image.untouched());
            }
        }
    }
}

TEST(PctApi, FixedMembersCheckPointerThenStep) {
    for (const auto& a : kAreas) {
        const int32_t rowBytes = a.area.width * 4;
        for (auto fn : {a.forward, a.inverse}) {
            ByteImage image(rowBytes, a.area.height);
            auto* p = reinterpret_cast<int32_t*>(image.data());
            EXPECT_EQ(fn(nullptr, 0), StatusNullPointer);
            EXPECT_EQ(fn(p, rowBytes - 1), StatusBadStep);
            EXPECT_EQ(fn(p, 0), StatusBadStep);
            EXPECT_EQ(fn(p, -rowBytes), StatusBadStep);
            EXPECT_TRUE(image.untouched());
            EXPECT_EQ(fn(p, rowBytes), StatusOk);
        }
    }
}

}  // namespace
