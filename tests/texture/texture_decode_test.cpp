// Texture decoders: DXT blocks against a transcription of this library's own
// widening and palette formulas, hand-computed edge cases, the four-block
// path against the one-block path with only in-image pixels written, negative
// steps and the check order.
#include "texture/texture_decode.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "tests/common/test_support.h"
#include "zeqj.h"

namespace {

using namespace zeq;
using Bytes = std::vector<uint8_t>;
using DecodeFn = ZeqStatus (*)(const uint8_t*, uint8_t*, int32_t, ZeqiSize);

struct Decoder {
    const char* name;
    TextureFormat format;
    DecodeFn exported;
};
const Decoder kDecoders[] = {
    {"DXT1", TextureFormat::Dxt1, zeqiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R},
    {"DXT3", TextureFormat::Dxt3, zeqiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R},
    {"DXT5", TextureFormat::Dxt5, zeqiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R},
    {"BC7", TextureFormat::Bc7, zeqiTextureDecodeBlockToRGBA_BC7_8u_C1C4R},
};

using Pixel = std::array<int, 4>;

// The formulas written out plainly, one pixel at a time.
Pixel referenceDxtPixel(TextureFormat f, const uint8_t* block, int i) {
    const uint8_t* c = block + (f == TextureFormat::Dxt1 ? 0 : 8);
    const int c0 = c[0] | c[1] << 8, c1 = c[2] | c[3] << 8;
    const int e0[3] = {(c0 & 0xF800) >> 8, (c0 & 0x07E0) >> 3, (c0 << 3) & 255};
    const int e1[3] = {(c1 & 0xF800) >> 8, (c1 & 0x07E0) >> 3, (c1 << 3) & 255};
    const int index = (c[4 + i / 4] >> (2 * (i % 4))) & 3;
    Pixel p{0, 0, 0, 255};
    const bool threeColour = f == TextureFormat::Dxt1 && c0 <= c1;
    for (int ch = 0; ch < 3; ++ch) {
        const int v[4] = {e0[ch], e1[ch],
                          threeColour ? (e0[ch] + e1[ch]) / 2 : (2 * e0[ch] + e1[ch]) / 3,
                          threeColour ? 255 : (e0[ch] + 2 * e1[ch]) / 3};
        p[ch] = v[index];
    }
    if (f == TextureFormat::Dxt3) p[3] = ((block[i / 2] >> (4 * (i % 2))) & 15) * 16;
    if (f == TextureFormat::Dxt5) {
        const int a0 = block[0], a1 = block[1];
        int bitPos = 16 + 3 * i, index3 = 0;
        for (int b = 0; b < 3; ++b, ++bitPos)
            index3 |= ((block[bitPos / 8] >> (bitPos % 8)) & 1) << b;
        if (index3 == 0)
            p[3] = a0;
        else if (index3 == 1)
            p[3] = a1;
        else if (a0 > a1)
            p[3] = ((8 - index3) * a0 + (index3 - 1) * a1 + 3) / 7;
        else if (index3 < 6)
            p[3] = ((6 - index3) * a0 + (index3 - 1) * a1 + 2) / 5;
        else
            p[3] = index3 == 6 ? 0 : 255;
    }
    return p;
}

Bytes randomBlocks(std::mt19937& rng, size_t bytes) {
    Bytes b(bytes);
    test::fillRandom(rng, b.data(), b.size());
    return b;
}

TEST(DxtDecode, BlocksFollowTheShiftOnlyWideningAndPalettes) {
    auto& rng = test::seededRng(61);
    for (int d = 0; d < 3; ++d) {
        const auto& dec = kDecoders[d];
        const int blockBytes = blockBytesOf(dec.format);
        for (int n = 0; n < test::scaledCount(20000); ++n) {
            Bytes block = randomBlocks(rng, static_cast<size_t>(blockBytes));
            // Equal endpoints and equal alphas often, to reach both palette modes.
            if (n % 4 == 0)
                std::copy_n(block.begin() + blockBytes - 8, 2, block.begin() + blockBytes - 6);
            if (n % 3 == 0) block[1] = block[0];
            uint8_t pixels[64];
            decodeBlockScalar(dec.format, block.data(), pixels);
            for (int i = 0; i < 16; ++i) {
                const Pixel ref = referenceDxtPixel(dec.format, block.data(), i);
                for (int ch = 0; ch < 4; ++ch)
                    ASSERT_EQ(pixels[4 * i + ch], ref[ch])
                        << dec.name << " pixel " << i << " ch " << ch;
            }
        }
    }
}

Bytes decodeOne(const Decoder& dec, const Bytes& block) {
    Bytes out(64);
    EXPECT_EQ(dec.exported(block.data(), out.data(), 16, {4, 4}), StatusOk);
    return out;
}

TEST(DxtDecode, HandComputedEdgeCases) {
    // c0 = c1: three-colour mode, index 3 gives opaque white, index 2 the mean.
    const Bytes equal = {0x00, 0xF8, 0x00, 0xF8, 0xFF, 0xFF, 0xFF, 0xBF};
    const Bytes px = decodeOne(kDecoders[0], equal);
    EXPECT_EQ(Bytes(px.begin(), px.begin() + 4), (Bytes{255, 255, 255, 255}));
    EXPECT_EQ(Bytes(px.begin() + 60, px.end()),
              (Bytes{248, 0, 0, 255}));  // index 2: mean of equal ends
    // 0xFFFF widens to (248, 252, 248).
    const Bytes white = {0xFF, 0xFF, 0x00, 0x00, 0, 0, 0, 0};
    const Bytes whitePixels = decodeOne(kDecoders[0], white);
    EXPECT_EQ(Bytes(whitePixels.begin(), whitePixels.begin() + 4), (Bytes{248, 252, 248, 255}));
    // DXT3 nibble 15 gives 240.
    Bytes dxt3(16, 0xFF);
    EXPECT_EQ(decodeOne(kDecoders[1], dxt3)[3], 240);
    // DXT5 with a0 = a1: six-value mode, index 6 gives 0 and index 7 gives 255.
    Bytes dxt5(16, 0);
    dxt5[0] = dxt5[1] = 100;
    dxt5[2] = 6 | (7 << 3);  // pixel 0 index 6, pixel 1 index 7
    const Bytes a = decodeOne(kDecoders[2], dxt5);
    EXPECT_EQ(a[3], 0);
    EXPECT_EQ(a[7], 255);
    EXPECT_EQ(a[11], 100);
    // Eight-value mode rounds with +3: (6 * 255 + 0 + 3) / 7 = 219.
    dxt5[0] = 255;
    dxt5[1] = 0;
    dxt5[2] = 2;
    EXPECT_EQ(decodeOne(kDecoders[2], dxt5)[3], 219);
}

// Images of every small size, destination padded and guarded: the four-block
// path equals the one-block path and writes nothing outside the image.
TEST(TextureDecode, FourBlockPathMatchesOneBlockPathAndStaysInside) {
    auto& rng = test::seededRng(62);
    for (const auto& dec : kDecoders) {
        for (int32_t width = 1; width <= 33; ++width) {
            for (int32_t height = 1; height <= 9; ++height) {
                const ZeqiSize size = {width, height};
                const size_t blocks = static_cast<size_t>((width + 3) / 4) * ((height + 3) / 4);
                const Bytes src = randomBlocks(rng, blocks * blockBytesOf(dec.format));
                const int32_t step = width * 4 + 3;
                test::ByteImage out(step, height, 1), ref(step, height, 1);
                ASSERT_EQ(dec.exported(src.data(), out.data(), step, size), StatusOk);
                decodeTextureScalar(dec.format, src.data(), ref.data(), step, size);
                ASSERT_EQ(out.allBytes(), ref.allBytes())
                    << dec.name << " " << width << "x" << height;
                // Every byte outside the width x height pixels keeps its sentinel.
                for (int32_t y = 0; y < height; ++y)
                    for (int32_t x = width * 4; x < step; ++x)
                        ASSERT_EQ(out.data()[y * step + x], test::ByteImage::kSentinel);
            }
        }
    }
}

TEST(TextureDecode, FiveByFiveWritesTwentyFivePixels) {
    auto& rng = test::seededRng(63);
    for (const auto& dec : kDecoders) {
        const Bytes src = randomBlocks(rng, 4 * static_cast<size_t>(blockBytesOf(dec.format)));
        test::ByteImage out(20, 5);
        ASSERT_EQ(dec.exported(src.data(), out.data(), 20, {5, 5}), StatusOk);
        size_t changed = 0;
        for (size_t i = 0; i < out.allBytes().size(); ++i)
            changed += out.allBytes()[i] != test::ByteImage::kSentinel;
        EXPECT_LE(changed, 100u) << dec.name;
        // Pixel (4, 4) comes from the fourth block's pixel 0.
        uint8_t block[64];
        decodeBlockScalar(dec.format, src.data() + 3 * blockBytesOf(dec.format), block);
        EXPECT_TRUE(std::equal(block, block + 4, out.data() + 4 * 20 + 16)) << dec.name;
    }
}

TEST(TextureDecode, NegativeStepWritesRowsUpward) {
    auto& rng = test::seededRng(64);
    for (const auto& dec : kDecoders) {
        const ZeqiSize size = {19, 10};
        const Bytes src = randomBlocks(rng, 15 * static_cast<size_t>(blockBytesOf(dec.format)));
        Bytes down(19 * 4 * 10), up(down.size());
        ASSERT_EQ(dec.exported(src.data(), down.data(), 76, size), StatusOk);
        ASSERT_EQ(dec.exported(src.data(), up.data() + 9 * 76, -76, size), StatusOk);
        for (int y = 0; y < 10; ++y)
            ASSERT_TRUE(std::equal(down.begin() + y * 76, down.begin() + (y + 1) * 76,
                                   up.begin() + (9 - y) * 76))
                << dec.name;
    }
}

TEST(TextureDecodeApi, PointersThenZeroStepThenWidthThenHeight) {
    const Bytes src(64, 0x55);
    struct Case {
        bool srcNull, dstNull;
        int32_t step;
        ZeqiSize size;
        ZeqStatus expected;
    } const cases[] = {
        {true, false, 0, {0, 0}, StatusNullPointer}, {false, true, 0, {0, 0}, StatusNullPointer},
        {false, false, 0, {0, 0}, StatusBadStep},    {false, false, 16, {0, 4}, StatusBadSize},
        {false, false, -16, {4, 0}, StatusBadSize},  {false, false, 16, {-1, -1}, StatusBadSize},
    };
    for (const auto& dec : kDecoders) {
        for (const auto& c : cases) {
            test::ByteImage dst(16, 4);
            EXPECT_EQ(dec.exported(c.srcNull ? nullptr : src.data(),
                                   c.dstNull ? nullptr : dst.data(), c.step, c.size),
                      c.expected)
                << dec.name;
            EXPECT_TRUE(dst.untouched());
        }
    }
}

// Encoding then decoding stays close: the encoder's inset box and the
// decoder's shift-only widening keep every channel within a small error on
// smooth blocks.
TEST(TextureRoundTrip, SmoothImagesComeBackClose) {
    auto& rng = test::seededRng(65);
    const ZeqiSize size = {32, 16};
    Bytes rgba(32 * 16 * 4);
    const int base = test::uniform<int>(rng, 40, 200);
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 32; ++x)
            for (int ch = 0; ch < 4; ++ch)
                rgba[static_cast<size_t>((y * 32 + x) * 4 + ch)] =
                    static_cast<uint8_t>(base + (x + y + ch * 3) / 4);
    Bytes blocks(8 * 4 * 16), back(rgba.size());
    ASSERT_EQ(zeqiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R(rgba.data(), 128, size, blocks.data()),
              StatusOk);
    ASSERT_EQ(zeqiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R(blocks.data(), back.data(), 128, size),
              StatusOk);
    for (size_t i = 0; i < rgba.size(); ++i) ASSERT_NEAR(back[i], rgba[i], 12) << i;
}

}  // namespace
