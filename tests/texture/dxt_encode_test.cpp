// DXT encoders: the four-block SSE2 path against the one-block path on every
// small size and on every endpoint range, hand-computed blocks, edge
// replication, negative steps and the check order.
#include "texture/dxt_encode.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/common/test_support.h"
#include "zeqj.h"

namespace {

using namespace zeq;
using Bytes = std::vector<uint8_t>;

using EncodeFn = ZeqStatus (*)(const uint8_t*, int32_t, ZeqiSize, uint8_t*);
struct Encoder {
    const char* name;
    DxtEncoding encoding;
    EncodeFn exported;
};
const Encoder kEncoders[] = {
    {"DXT1", DxtEncoding::Dxt1, zeqiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R},
    {"DXT3", DxtEncoding::Dxt3, zeqiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R},
    {"DXT5", DxtEncoding::Dxt5, zeqiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R},
    {"YCoCg", DxtEncoding::YCoCgDxt5, zeqiTextureEncodeBlockFromYCoCg_DXT5_8u_C3C1R},
};

size_t streamBytes(DxtEncoding e, ZeqiSize size) {
    return static_cast<size_t>(dxt::blocksAcross(size)) * dxt::blocksDown(size) *
           traitsOf(e).blockBytes;
}

// Pixels drawn around a per-image centre with a random spread, so ranges run
// from flat to full and chroma scales 1, 2 and 4 all occur.
Bytes randomPixels(std::mt19937& rng, size_t count) {
    Bytes v(count);
    const int centre = test::uniform<int>(rng, 0, 255);
    const int spread = std::array<int, 5>{0, 3, 20, 60, 255}[test::uniform<size_t>(rng, 0, 4)];
    for (auto& b : v)
        b = static_cast<uint8_t>(
            std::clamp(centre + test::uniform<int>(rng, -spread, spread), 0, 255));
    return v;
}

TEST(DxtEncode, FourBlockPathMatchesOneBlockPathOnEverySmallSize) {
    auto& rng = test::seededRng(51);
    for (const auto& enc : kEncoders) {
        const int channels = traitsOf(enc.encoding).sourceChannels;
        for (int32_t width = 1; width <= 33; ++width) {
            for (int32_t height = 1; height <= 9; ++height) {
                for (int rep = 0; rep < test::scaledCount(4); ++rep) {
                    const ZeqiSize size = {width, height};
                    const int32_t step = width * channels + test::uniform<int32_t>(rng, 0, 5);
                    const Bytes src = randomPixels(rng, static_cast<size_t>(step) * height);
                    const size_t bytes = streamBytes(enc.encoding, size);
                    test::ByteImage out(static_cast<int32_t>(bytes), 1),
                        ref(static_cast<int32_t>(bytes), 1);
                    ASSERT_EQ(enc.exported(src.data(), step, size, out.data()), StatusOk);
                    encodeTextureScalar(enc.encoding, src.data(), step, size, ref.data());
                    ASSERT_EQ(out.allBytes(), ref.allBytes())
                        << enc.name << " " << width << "x" << height;
                }
            }
        }
    }
}

// Every (low, high) pair of a channel range, four blocks per tile, each block
// with its own pair in every channel; the pixels between are random.
TEST(DxtEncode, FourBlockPathMatchesOneBlockPathOnEveryEndpointRange) {
    auto& rng = test::seededRng(52);
    std::vector<std::pair<int, int>> pairs;
    for (int lo = 0; lo < 256; ++lo)
        for (int hi = lo; hi < 256; ++hi) pairs.emplace_back(lo, hi);
    std::shuffle(pairs.begin(), pairs.end(), rng);
    const size_t stride = test::testScale() < 1 ? 7 : 1;
    for (const auto& enc : kEncoders) {
        const int channels = traitsOf(enc.encoding).sourceChannels;
        const int blockBytes = traitsOf(enc.encoding).blockBytes;
        const int32_t step = 16 * channels;
        Bytes tile(static_cast<size_t>(step) * 4);
        for (size_t first = 0; first + 4 <= pairs.size(); first += 4 * stride) {
            for (int b = 0; b < 4; ++b) {
                const auto [lo, hi] = pairs[first + static_cast<size_t>(b)];
                for (int p = 0; p < 16; ++p) {
                    for (int ch = 0; ch < channels; ++ch) {
                        // Rotate which pixels hold the ends, per channel.
                        const int slot = (p + 5 * ch) % 16;
                        const int v = slot == 0   ? lo
                                      : slot == 1 ? hi
                                                  : test::uniform<int>(rng, lo, hi);
                        tile[static_cast<size_t>((p / 4) * step + (4 * b + p % 4) * channels +
                                                 ch)] = static_cast<uint8_t>(v);
                    }
                }
            }
            Bytes out(static_cast<size_t>(4 * blockBytes)), ref(out.size());
            encodeFourBlocksSse2(enc.encoding, tile.data(), step, out.data());
            for (int b = 0; b < 4; ++b)
                encodeBlockScalar(enc.encoding,
                                  gatherBlock(tile.data(), step, {16, 4}, channels, b, 0),
                                  ref.data() + b * blockBytes);
            ASSERT_EQ(out, ref) << enc.name << " pairs from " << first;
        }
    }
}

Bytes encodeImage(const Encoder& enc, const Bytes& src, ZeqiSize size, int32_t step = 0) {
    if (step == 0) step = size.width * traitsOf(enc.encoding).sourceChannels;
    Bytes out(streamBytes(enc.encoding, size));
    EXPECT_EQ(enc.exported(src.data(), step, size, out.data()), StatusOk);
    return out;
}

TEST(DxtEncode, HandComputedBlocks) {
    // Black and white checkerboard: endpoints inset by 15, black takes index 1.
    Bytes board(64);
    for (int p = 0; p < 16; ++p)
        for (int ch = 0; ch < 4; ++ch)
            board[static_cast<size_t>(4 * p + ch)] = ((p + p / 4) % 2) ? 0 : 255;
    uint32_t boardIndices = 0;
    for (int p = 0; p < 16; ++p) boardIndices |= ((p + p / 4) % 2 ? 1u : 0u) << (2 * p);
    const Bytes dxt1 = encodeImage(kEncoders[0], board, {4, 4});
    EXPECT_EQ(dxt::loadLe16(dxt1.data()), 0xF79Eu);
    EXPECT_EQ(dxt::loadLe16(dxt1.data() + 2), 0x0861u);
    EXPECT_EQ(dxt::loadLe32(dxt1.data() + 4), boardIndices);

    // The same board as DXT5 alpha: 240 and 15, white above every threshold.
    const Bytes dxt5 = encodeImage(kEncoders[2], board, {4, 4});
    EXPECT_EQ(dxt5[0], 240);
    EXPECT_EQ(dxt5[1], 15);
    uint64_t alphaIndices = 0;
    for (int p = 0; p < 16; ++p) alphaIndices |= uint64_t{(p + p / 4) % 2 ? 1u : 0u} << (3 * p);
    EXPECT_EQ(dxt::loadLe64(dxt5.data()) >> 16, alphaIndices);

    // DXT3 alpha is the top nibble.
    Bytes ramp(64);
    for (int p = 0; p < 16; ++p)
        ramp[static_cast<size_t>(4 * p + 3)] = static_cast<uint8_t>(p * 17);
    const Bytes dxt3 = encodeImage(kEncoders[1], ramp, {4, 4});
    for (int p = 0; p < 16; ++p)
        EXPECT_EQ((dxt::loadLe64(dxt3.data()) >> (4 * p)) & 15, (p * 17) >> 4);
}

TEST(DxtEncode, UniformBlocks) {
    const Bytes one = {10, 200, 77, 99};
    // 1x1: all 16 pixels repeat the one pixel.
    const Bytes dxt5 = encodeImage(kEncoders[2], one, {1, 1});
    EXPECT_EQ(dxt5[0], 99);
    EXPECT_EQ(dxt5[1], 99);
    EXPECT_EQ(dxt::loadLe64(dxt5.data()) >> 16, 0x249249249249u);  // every alpha index 1
    EXPECT_EQ(dxt::loadLe16(dxt5.data() + 8), dxt::loadLe16(dxt5.data() + 10));
    EXPECT_EQ(dxt::loadLe32(dxt5.data() + 12), 0u);

    // Neutral YCoCg: scale 4, endpoints 128 and 127, every pixel nearest c2.
    const Bytes ycocg = {100, 128, 128};
    const Bytes y = encodeImage(kEncoders[3], ycocg, {1, 1});
    EXPECT_EQ(y[0], 100);
    EXPECT_EQ(y[1], 100);
    EXPECT_EQ(dxt::loadLe16(y.data() + 8), 0x8403u);
    EXPECT_EQ(dxt::loadLe16(y.data() + 10), 0x7BE3u);
    EXPECT_EQ(dxt::loadLe32(y.data() + 12), 0xAAAAAAAAu);
}

TEST(DxtEncode, ChromaScaleAndLowEndpointHeldAtZero) {
    // Co 0..3 (scale 1, range below 7 at 0): the low end stays 0.
    Bytes src(16 * 3);
    for (int p = 0; p < 16; ++p) {
        src[static_cast<size_t>(3 * p)] = 50;
        src[static_cast<size_t>(3 * p + 1)] = static_cast<uint8_t>(p % 4);
        src[static_cast<size_t>(3 * p + 2)] = 128;
    }
    const Bytes out = encodeImage(kEncoders[3], src, {4, 4});
    EXPECT_EQ(dxt::loadLe16(out.data() + 10) >> 11, 0u);
    EXPECT_EQ(dxt::loadLe16(out.data() + 8) & 31, 0u);  // scale 1
    EXPECT_EQ(dxt::loadLe16(out.data() + 10) & 31, 0u);
    // |Co - 128| up to 40: scale 2, blue field 1 in both endpoints.
    for (int p = 0; p < 16; ++p) src[static_cast<size_t>(3 * p + 1)] = static_cast<uint8_t>(88 + p);
    const Bytes two = encodeImage(kEncoders[3], src, {4, 4});
    EXPECT_EQ(dxt::loadLe16(two.data() + 8) & 31, 1u);
    EXPECT_EQ(dxt::loadLe16(two.data() + 10) & 31, 1u);
}

// A width of 17 (and height 6) encodes like the image padded by repeating
// its last column and row.
TEST(DxtEncode, PartialBlocksRepeatTheLastColumnAndRow) {
    auto& rng = test::seededRng(53);
    for (const auto& enc : kEncoders) {
        const int ch = traitsOf(enc.encoding).sourceChannels;
        const ZeqiSize size = {17, 6}, padded = {20, 8};
        const Bytes src = randomPixels(rng, static_cast<size_t>(17 * 6 * ch));
        Bytes big(static_cast<size_t>(20 * 8 * ch));
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 20; ++x)
                for (int c = 0; c < ch; ++c)
                    big[static_cast<size_t>((y * 20 + x) * ch + c)] =
                        src[static_cast<size_t>((std::min(y, 5) * 17 + std::min(x, 16)) * ch + c)];
        EXPECT_EQ(encodeImage(enc, src, size), encodeImage(enc, big, padded)) << enc.name;
    }
}

TEST(DxtEncode, NegativeStepWalksRowsUpward) {
    auto& rng = test::seededRng(54);
    for (const auto& enc : kEncoders) {
        const int ch = traitsOf(enc.encoding).sourceChannels;
        const ZeqiSize size = {21, 10};
        const int32_t step = 21 * ch;
        const Bytes src = randomPixels(rng, static_cast<size_t>(step) * 10);
        Bytes flipped(src.size());
        for (int y = 0; y < 10; ++y)
            std::copy_n(src.begin() + y * step, step, flipped.begin() + (9 - y) * step);
        Bytes out(streamBytes(enc.encoding, size));
        ASSERT_EQ(enc.exported(flipped.data() + 9 * step, -step, size, out.data()), StatusOk);
        EXPECT_EQ(out, encodeImage(enc, src, size)) << enc.name;
    }
}

TEST(DxtEncodeApi, PointersThenZeroStepThenSize) {
    const Bytes src(64 * 4, 7);
    struct Case {
        bool srcNull, dstNull;
        int32_t step;
        ZeqiSize size;
        ZeqStatus expected;
    } const cases[] = {
        {true, false, 0, {0, 0}, StatusNullPointer}, {false, true, 0, {0, 0}, StatusNullPointer},
        {false, false, 0, {0, 0}, StatusBadStep},    {false, false, 16, {0, 4}, StatusBadSize},
        {false, false, 16, {4, 0}, StatusBadSize},   {false, false, -16, {4, -1}, StatusBadSize},
    };
    for (const auto& enc : kEncoders) {
        for (const auto& c : cases) {
            test::ByteImage dst(64, 1);
            EXPECT_EQ(enc.exported(c.srcNull ? nullptr : src.data(), c.step, c.size,
                                   c.dstNull ? nullptr : dst.data()),
                      c.expected)
                << enc.name;
            EXPECT_TRUE(dst.untouched());
        }
    }
}

}  // namespace
