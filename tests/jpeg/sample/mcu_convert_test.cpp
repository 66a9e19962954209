// MCU conversions: every exported member against its scalar kernel (random
// pixels and blocks, odd steps, unaligned rows, guard bytes), the scalar
// kernels against a plain restatement of the arithmetic and block layout,
// known values, and the check orders of both directions.
#include "jpeg/sample/mcu_convert.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/rows.h"
#include "tests/common/test_support.h"
#include "zeqj.h"

namespace {

using namespace zeq;
using test::ByteImage;

using ForwardCall = std::function<ZeqStatus(const uint8_t*, int32_t, int16_t* const*)>;
using ReverseCall = std::function<ZeqStatus(const int16_t* const*, uint8_t*, int32_t)>;
using ForwardKernel = void (*)(const uint8_t*, int32_t, int16_t* const*);
using ReverseKernel = void (*)(const int16_t* const*, uint8_t*, int32_t);
using PlainForward = std::function<void(const uint8_t*, int32_t, std::vector<int16_t>*)>;
using PlainReverse = std::function<void(const std::vector<int16_t>*, uint8_t*, int32_t)>;

struct McuShape {
    int width, height, rowBytes, components, lumaBlocks;
};

template <class M>
McuShape shapeOf() {
    return {M::kWidth, M::kHeight, M::kWidth * M::Format::kBytesPerPixel, M::kComponents,
            M::kH * M::kV};
}

// ---- A plain restatement of the MCU arithmetic and block layout -------------

int64_t floorShift(int64_t v, int bits) { return v >> bits; }
int clamp255(int64_t v) { return static_cast<int>(v < 0 ? 0 : (v > 255 ? 255 : v)); }

// Block and offset of pixel (r, c): blocks run left to right, then top to bottom.
size_t lumaAt(int r, int c, int mcuWidth) {
    const int block = (r / 8) * (mcuWidth / 8) + c / 8;
    return static_cast<size_t>(block * 64 + (r % 8) * 8 + c % 8);
}

template <class M>
void plainForward(const uint8_t* src, int32_t step, std::vector<int16_t>* blocks) {
    const int hx = M::kH, vy = M::kV, count = hx * vy;
    for (int r = 0; r < M::kHeight; ++r) {
        for (int c = 0; c < M::kWidth; ++c) {
            const Pixel p = M::Format::load(InRow{{rowAt(src, step, r)}}, c);
            const size_t i = lumaAt(r, c, M::kWidth);
            blocks[0][i] = static_cast<int16_t>(
                M::kColour ? floorShift(19595 * p.c0 + 38470 * p.c1 + 7471 * p.c2, 16) - 128
                           : p.c0 - 128);
            if (M::kComponents == 4) blocks[3][i] = static_cast<int16_t>(p.k - 128);
        }
    }
    int shift = 0;
    while ((1 << shift) < count) ++shift;
    for (int j = 0; j < 8; ++j) {
        for (int i = 0; i < 8; ++i) {
            int64_t s0 = 0, s1 = 0, s2 = 0;
            for (int dy = 0; dy < vy; ++dy) {
                for (int dx = 0; dx < hx; ++dx) {
                    const Pixel p =
                        M::Format::load(InRow{{rowAt(src, step, j * vy + dy)}}, i * hx + dx);
                    s0 += p.c0, s1 += p.c1, s2 += p.c2;
                }
            }
            int64_t cb, cr;
            if (M::kColour) {
                cb = floorShift(-11059 * s0 - 21709 * s1 + 32768 * s2, 16 + shift);
                cr = floorShift(32768 * s0 - 27439 * s1 - 5329 * s2, 16 + shift);
            } else {
                cb = floorShift(s1 - 128 * count, shift);
                cr = floorShift(s2 - 128 * count, shift);
            }
            blocks[1][static_cast<size_t>(j * 8 + i)] = static_cast<int16_t>(cb);
            blocks[2][static_cast<size_t>(j * 8 + i)] = static_cast<int16_t>(cr);
        }
    }
}

template <class M>
void plainReverse(const std::vector<int16_t>* blocks, uint8_t* dst, int32_t step) {
    for (int r = 0; r < M::kHeight; ++r) {
        for (int c = 0; c < M::kWidth; ++c) {
            const size_t i = lumaAt(r, c, M::kWidth);
            const size_t j = static_cast<size_t>((r / M::kV) * 8 + c / M::kH);
            const int64_t y = blocks[0][i], cb = blocks[1][j], cr = blocks[2][j];
            Pixel p;
            if (M::kColour) {
                p = {clamp255(y + floorShift(91881 * cr, 16) + 128),
                     clamp255(y + floorShift(-22554 * cb - 46802 * cr, 16) + 128),
                     clamp255(y + floorShift(116130 * cb, 16) + 128), 0};
            } else {
                p = {clamp255(y + 128), clamp255(cb + 128), clamp255(cr + 128), 0};
            }
            if (M::kComponents == 4) p.k = static_cast<uint8_t>(blocks[3][i] + 128);
            M::Format::store(OutRow{{rowAt(dst, step, r)}}, c, p);
        }
    }
}

// ---- The members --------------------------------------------------------------

struct ForwardMember {
    const char* name;
    ForwardCall call;
    ForwardKernel scalar, vector;
    PlainForward plain;
    McuShape shape;
};
struct ReverseMember {
    const char* name;
    ReverseCall call;
    ReverseKernel scalar, vector;
    PlainReverse plain;
    McuShape shape;
};

template <class M, class S>
ForwardMember forward(const char* name, ZeqStatus (*fn)(S, int32_t, int16_t* const*)) {
    return {name,
            [fn](const uint8_t* src, int32_t step, int16_t* const* blocks) {
                return fn(reinterpret_cast<S>(src), step, blocks);
            },
            mcuForwardScalar<M>,
            mcuForwardSse2<M>,
            plainForward<M>,
            shapeOf<M>()};
}
template <class M, class D>
ReverseMember reverse(const char* name, ZeqStatus (*fn)(const int16_t* const*, D, int32_t)) {
    return {name,
            [fn](const int16_t* const* blocks, uint8_t* dst, int32_t step) {
                return fn(blocks, reinterpret_cast<D>(dst), step);
            },
            mcuReverseScalar<M>,
            mcuReverseSse2<M>,
            plainReverse<M>,
            shapeOf<M>()};
}

#define FORWARD(fn, M) forward<M>(#fn, fn)
#define REVERSE(fn, M) reverse<M>(#fn, fn)

const std::vector<ForwardMember>& forwardMembers() {
    static const std::vector<ForwardMember> all = {
        FORWARD(zeqiRGBToYCbCr444LS_MCU_8u16s_C3P3R, RgbMcu444),
        FORWARD(zeqiRGBToYCbCr422LS_MCU_8u16s_C3P3R, RgbMcu422),
        FORWARD(zeqiRGBToYCbCr411LS_MCU_8u16s_C3P3R, RgbMcu411),
        FORWARD(zeqiBGRToYCbCr444LS_MCU_8u16s_C3P3R, BgrMcu444),
        FORWARD(zeqiBGRToYCbCr422LS_MCU_8u16s_C3P3R, BgrMcu422),
        FORWARD(zeqiBGRToYCbCr411LS_MCU_8u16s_C3P3R, BgrMcu411),
        FORWARD(zeqiBGR555ToYCbCr444LS_MCU_16u16s_C3P3R, Bgr555Mcu444),
        FORWARD(zeqiBGR555ToYCbCr422LS_MCU_16u16s_C3P3R, Bgr555Mcu422),
        FORWARD(zeqiBGR555ToYCbCr411LS_MCU_16u16s_C3P3R, Bgr555Mcu411),
        FORWARD(zeqiBGR565ToYCbCr444LS_MCU_16u16s_C3P3R, Bgr565Mcu444),
        FORWARD(zeqiBGR565ToYCbCr422LS_MCU_16u16s_C3P3R, Bgr565Mcu422),
        FORWARD(zeqiBGR565ToYCbCr411LS_MCU_16u16s_C3P3R, Bgr565Mcu411),
        FORWARD(zeqiCMYKToYCCK444LS_MCU_8u16s_C4P4R, CmykMcu444),
        FORWARD(zeqiCMYKToYCCK422LS_MCU_8u16s_C4P4R, CmykMcu422),
        FORWARD(zeqiCMYKToYCCK411LS_MCU_8u16s_C4P4R, CmykMcu411),
        FORWARD(zeqiSampleDown444LS_MCU_8u16s_C3P3R, SamplesMcu444),
        FORWARD(zeqiSampleDown422LS_MCU_8u16s_C3P3R, SamplesMcu422),
        FORWARD(zeqiSampleDown411LS_MCU_8u16s_C3P3R, SamplesMcu411),
        FORWARD(zeqiSplit422LS_MCU_8u16s_C2P3R, Packed422Mcu),
    };
    return all;
}

const std::vector<ReverseMember>& reverseMembers() {
    static const std::vector<ReverseMember> all = {
        REVERSE(zeqiYCbCr444ToRGBLS_MCU_16s8u_P3C3R, RgbMcu444),
        REVERSE(zeqiYCbCr422ToRGBLS_MCU_16s8u_P3C3R, RgbMcu422),
        REVERSE(zeqiYCbCr411ToRGBLS_MCU_16s8u_P3C3R, RgbMcu411),
        REVERSE(zeqiYCbCr444ToBGRLS_MCU_16s8u_P3C3R, BgrMcu444),
        REVERSE(zeqiYCbCr422ToBGRLS_MCU_16s8u_P3C3R, BgrMcu422),
        REVERSE(zeqiYCbCr411ToBGRLS_MCU_16s8u_P3C3R, BgrMcu411),
        REVERSE(zeqiYCbCr444ToBGR555LS_MCU_16s16u_P3C3R, Bgr555Mcu444),
        REVERSE(zeqiYCbCr422ToBGR555LS_MCU_16s16u_P3C3R, Bgr555Mcu422),
        REVERSE(zeqiYCbCr411ToBGR555LS_MCU_16s16u_P3C3R, Bgr555Mcu411),
        REVERSE(zeqiYCbCr444ToBGR565LS_MCU_16s16u_P3C3R, Bgr565Mcu444),
        REVERSE(zeqiYCbCr422ToBGR565LS_MCU_16s16u_P3C3R, Bgr565Mcu422),
        REVERSE(zeqiYCbCr411ToBGR565LS_MCU_16s16u_P3C3R, Bgr565Mcu411),
        REVERSE(zeqiYCCK444ToCMYKLS_MCU_16s8u_P4C4R, CmykMcu444),
        REVERSE(zeqiYCCK422ToCMYKLS_MCU_16s8u_P4C4R, CmykMcu422),
        REVERSE(zeqiYCCK411ToCMYKLS_MCU_16s8u_P4C4R, CmykMcu411),
        REVERSE(zeqiSampleUp444LS_MCU_16s8u_P3C3R, SamplesMcu444),
        REVERSE(zeqiSampleUp422LS_MCU_16s8u_P3C3R, SamplesMcu422),
        REVERSE(zeqiSampleUp411LS_MCU_16s8u_P3C3R, SamplesMcu411),
        REVERSE(zeqiJoin422LS_MCU_16s8u_P3C2R, Packed422Mcu),
    };
    return all;
}

// Component blocks with guard samples on both sides.
class BlockSet {
public:
    static constexpr int16_t kSentinel = 0x5A5A;
    static constexpr size_t kGuard = 16;

    explicit BlockSet(const McuShape& s) {
        for (int c = 0; c < s.components; ++c) {
            const int blocks = (c == 0 || c == 3) ? s.lumaBlocks : 1;
            storage_.emplace_back(static_cast<size_t>(64 * blocks) + 2 * kGuard, kSentinel);
            pointers_[c] = storage_.back().data() + kGuard;
            sizes_[c] = 64 * blocks;
        }
    }
    int16_t* const* pointers() { return pointers_; }
    std::vector<int16_t> component(int c) const { return {pointers_[c], pointers_[c] + sizes_[c]}; }
    void fill(std::mt19937& rng, int lo, int hi) {
        for (size_t c = 0; c < storage_.size(); ++c)
            for (int i = 0; i < sizes_[c]; ++i)
                pointers_[c][i] = test::uniform<int16_t>(rng, lo, hi);
    }
    bool operator==(const BlockSet& o) const { return storage_ == o.storage_; }
    bool guardsIntact() const {
        for (size_t c = 0; c < storage_.size(); ++c) {
            const auto& s = storage_[c];
            for (size_t i = 0; i < kGuard; ++i)
                if (s[i] != kSentinel || s[s.size() - 1 - i] != kSentinel) return false;
        }
        return true;
    }
    bool untouched() const {
        for (const auto& s : storage_)
            for (int16_t v : s)
                if (v != kSentinel) return false;
        return true;
    }
    int components() const { return static_cast<int>(storage_.size()); }

private:
    std::vector<std::vector<int16_t>> storage_;
    int16_t* pointers_[4] = {};
    int sizes_[4] = {};
};

std::vector<uint8_t> pixelsOf(const ByteImage& image, const McuShape& s) {
    std::vector<uint8_t> out;
    for (int r = 0; r < s.height; ++r)
        out.insert(out.end(), image.data() + image.step() * r,
                   image.data() + image.step() * r + s.rowBytes);
    return out;
}

// ---- Forward ---------------------------------------------------------------

TEST(McuForward, ExportedVectorScalarAndPlainAgreeWithGuardsIntact) {
    auto& rng = test::seededRng(21);
    const int rounds = test::scaledCount(60);
    for (const auto& m : forwardMembers()) {
        for (int n = 0; n < rounds; ++n) {
            const int32_t step = m.shape.rowBytes + n % 5;  // odd steps too
            ByteImage src(step, m.shape.height, n % 4);
            test::fillRandom(rng, src.data(), static_cast<size_t>(step) * m.shape.height);
            BlockSet exported(m.shape), vector(m.shape), scalar(m.shape), plain(m.shape);
            ASSERT_EQ(m.call(src.data(), step, exported.pointers()), StatusOk) << m.name;
            m.vector(src.data(), step, vector.pointers());
            m.scalar(src.data(), step, scalar.pointers());
            std::vector<int16_t> want[4];
            for (int c = 0; c < m.shape.components; ++c) want[c] = plain.component(c);
            m.plain(src.data(), step, want);
            ASSERT_TRUE(exported == vector) << m.name;
            ASSERT_TRUE(vector == scalar) << m.name;
            ASSERT_TRUE(scalar.guardsIntact()) << m.name;
            for (int c = 0; c < m.shape.components; ++c)
                ASSERT_EQ(scalar.component(c), want[c]) << m.name << " component " << c;
        }
    }
}

// Pixels whose bytes are 0 or 255 (and flat extremes) push the luma and
// chroma sums to the ends of their ranges: vector and scalar still agree.
TEST(McuForward, VectorMatchesScalarOnExtremePixels) {
    auto& rng = test::seededRng(22);
    const int rounds = test::scaledCount(200);
    for (const auto& m : forwardMembers()) {
        for (int n = 0; n < rounds; ++n) {
            const int32_t step = m.shape.rowBytes;
            std::vector<uint8_t> src(static_cast<size_t>(step * m.shape.height));
            const int mode = n % 4;  // random 0/255, all 0, all 255, 0/255 by column
            for (size_t i = 0; i < src.size(); ++i) {
                const bool high = mode == 0   ? test::uniform<int>(rng, 0, 1) == 1
                                  : mode == 3 ? (i / 3) % 2 == 0
                                              : mode == 2;
                src[i] = high ? 255 : 0;
            }
            BlockSet vector(m.shape), scalar(m.shape);
            m.vector(src.data(), step, vector.pointers());
            m.scalar(src.data(), step, scalar.pointers());
            ASSERT_TRUE(vector == scalar) << m.name << " mode " << mode;
        }
    }
}

const ForwardMember& forwardNamed(const std::string& name) {
    for (const auto& m : forwardMembers())
        if (name == m.name) return m;
    throw std::runtime_error(name);
}
const ReverseMember& reverseNamed(const std::string& name) {
    for (const auto& m : reverseMembers())
        if (name == m.name) return m;
    throw std::runtime_error(name);
}

// Every RGB triple through the 4:4:4 members, 64 triples per MCU: the
// three-byte path (sixteen pixels, pair rows) and the CMYK path (eight
// pixels, inks inverted) meet every value the pair arithmetic of luma and
// chroma can see. The sanitizer build visits every tenth MCU.
TEST(McuForward, VectorMatchesScalarOnEveryTriple) {
    const int stride = 10 / test::scaledCount(10);
    for (const char* name :
         {"zeqiRGBToYCbCr444LS_MCU_8u16s_C3P3R", "zeqiCMYKToYCCK444LS_MCU_8u16s_C4P4R"}) {
        const auto& m = forwardNamed(name);
        const int bytes = m.shape.rowBytes / 8;
        std::vector<uint8_t> src(static_cast<size_t>(m.shape.rowBytes * 8));
        BlockSet vector(m.shape), scalar(m.shape);
        for (int mcu = 0; mcu < (1 << 18); mcu += stride) {
            for (int i = 0; i < 64; ++i) {
                const int t = mcu * 64 + i;
                for (int c = 0; c < bytes; ++c) {
                    const int v = c < 3 ? (t >> (8 * c)) & 255 : i;
                    src[static_cast<size_t>(bytes * i + c)] =
                        static_cast<uint8_t>(bytes == 4 && c < 3 ? 255 - v : v);
                }
            }
            m.vector(src.data(), m.shape.rowBytes, vector.pointers());
            m.scalar(src.data(), m.shape.rowBytes, scalar.pointers());
            ASSERT_TRUE(vector == scalar) << name << " MCU " << mcu;
        }
    }
}

// Fills an MCU with one pixel value (given as its bytes) and converts it.
BlockSet forwardOfFlat(const std::string& name, const std::vector<uint8_t>& pixel) {
    const auto& m = forwardNamed(name);
    std::vector<uint8_t> src(static_cast<size_t>(m.shape.rowBytes * m.shape.height));
    for (size_t i = 0; i < src.size(); ++i) src[i] = pixel[i % pixel.size()];
    BlockSet out(m.shape);
    EXPECT_EQ(m.call(src.data(), m.shape.rowBytes, out.pointers()), StatusOk);
    return out;
}

TEST(McuForward, GreyGivesLevelShiftedLumaAndZeroChroma) {
    for (int v : {0, 1, 77, 128, 254, 255}) {
        const auto b = static_cast<uint8_t>(v);
        for (const char* name :
             {"zeqiRGBToYCbCr444LS_MCU_8u16s_C3P3R", "zeqiBGRToYCbCr422LS_MCU_8u16s_C3P3R",
              "zeqiRGBToYCbCr411LS_MCU_8u16s_C3P3R"}) {
            const BlockSet out = forwardOfFlat(name, {b, b, b});
            for (int16_t s : out.component(0)) ASSERT_EQ(s, v - 128) << name;
            for (int c = 1; c < 3; ++c)
                for (int16_t s : out.component(c)) ASSERT_EQ(s, 0) << name;
        }
    }
    // White: 127 and 0, 0 (the truncation leaves no rounding error to see).
    const BlockSet white = forwardOfFlat("zeqiRGBToYCbCr444LS_MCU_8u16s_C3P3R", {255, 255, 255});
    EXPECT_EQ(white.component(0)[0], 127);
    EXPECT_EQ(white.component(1)[0], 0);
}

TEST(McuForward, TruncatesWhereTheWholeImageConversionRounds) {
    // Pure red: Cb is -43.03 before the shift and truncates toward minus infinity to -44.
    const BlockSet red = forwardOfFlat("zeqiRGBToYCbCr444LS_MCU_8u16s_C3P3R", {255, 0, 0});
    EXPECT_EQ(red.component(0)[0], (19595 * 255 >> 16) - 128);
    EXPECT_EQ(red.component(1)[0], (-11059 * 255) >> 16);
    EXPECT_EQ(red.component(2)[0], (32768 * 255) >> 16);
}

TEST(McuForward, SampleDownChromaIsTheTruncatedMeanWithoutBias) {
    // Chroma bytes 0 then 1 along each pixel pair.
    const auto& m = forwardNamed("zeqiSampleDown422LS_MCU_8u16s_C3P3R");
    std::vector<uint8_t> src(48 * 8);
    for (int r = 0; r < 8; ++r)
        for (int c = 0; c < 16; ++c)
            for (int ch = 0; ch < 3; ++ch)
                src[static_cast<size_t>(48 * r + 3 * c + ch)] = static_cast<uint8_t>(c & 1);
    BlockSet out(m.shape);
    ASSERT_EQ(m.call(src.data(), 48, out.pointers()), StatusOk);
    EXPECT_EQ(out.component(1)[0], -128);  // (0 + 1 - 256) >> 1
    EXPECT_EQ(out.component(0)[1], 1 - 128);
}

TEST(McuForward, KBlocksFollowTheLumaArrangement) {
    const auto& m = forwardNamed("zeqiCMYKToYCCK411LS_MCU_8u16s_C4P4R");
    std::vector<uint8_t> src(64 * 16);
    for (int r = 0; r < 16; ++r)
        for (int c = 0; c < 16; ++c)
            src[static_cast<size_t>(64 * r + 4 * c + 3)] = static_cast<uint8_t>(r * 16 + c);
    BlockSet out(m.shape);
    ASSERT_EQ(m.call(src.data(), 64, out.pointers()), StatusOk);
    const auto k = out.component(3);
    EXPECT_EQ(k[0], 0 - 128);
    EXPECT_EQ(k[64], 8 - 128);            // pixel (0, 8): top-right block
    EXPECT_EQ(k[128], 8 * 16 - 128);      // pixel (8, 0)
    EXPECT_EQ(k[192], 8 * 16 + 8 - 128);  // pixel (8, 8)
    EXPECT_EQ(k[255], 255 - 128);
}

// ---- Reverse ---------------------------------------------------------------

// Full 16-bit samples (products leave 32 bits) and samples in the usual range.
TEST(McuReverse, ExportedVectorScalarAndPlainAgreeWithGuardsIntact) {
    auto& rng = test::seededRng(22);
    const int rounds = test::scaledCount(60);
    for (const auto& m : reverseMembers()) {
        for (int n = 0; n < rounds; ++n) {
            const int32_t step = m.shape.rowBytes + n % 5;
            BlockSet blocks(m.shape);
            if (n % 2)
                blocks.fill(rng, -32768, 32767);
            else
                blocks.fill(rng, -200, 200);
            const int16_t* const* in = blocks.pointers();
            ByteImage exported(step, m.shape.height, n % 4), vector(step, m.shape.height, n % 4),
                scalar(step, m.shape.height, n % 4), plain(step, m.shape.height, n % 4);
            ASSERT_EQ(m.call(in, exported.data(), step), StatusOk) << m.name;
            m.vector(in, vector.data(), step);
            m.scalar(in, scalar.data(), step);
            std::vector<int16_t> want[4];
            for (int c = 0; c < m.shape.components; ++c) want[c] = blocks.component(c);
            m.plain(want, plain.data(), step);
            ASSERT_EQ(exported.allBytes(), vector.allBytes()) << m.name;
            ASSERT_EQ(vector.allBytes(), scalar.allBytes()) << m.name << " round " << n;
            ASSERT_EQ(scalar.allBytes(), plain.allBytes()) << m.name;
            // Only the MCU's pixels are written.
            for (int r = 0; r < m.shape.height; ++r)
                for (int b = m.shape.rowBytes; b < step; ++b)
                    ASSERT_EQ(scalar.data()[step * r + b], ByteImage::kSentinel) << m.name;
        }
    }
}

std::vector<uint8_t> reverseOfFlat(const std::string& name, std::vector<int16_t> samples) {
    const auto& m = reverseNamed(name);
    BlockSet blocks(m.shape);
    for (int c = 0; c < m.shape.components; ++c) {
        const int count = (c == 0 || c == 3) ? 64 * m.shape.lumaBlocks : 64;
        for (int i = 0; i < count; ++i) blocks.pointers()[c][i] = samples[static_cast<size_t>(c)];
    }
    ByteImage dst(m.shape.rowBytes, m.shape.height);
    EXPECT_EQ(m.call(blocks.pointers(), dst.data(), m.shape.rowBytes), StatusOk);
    return pixelsOf(dst, m.shape);
}

TEST(McuReverse, KnownValues) {
    const auto white = reverseOfFlat("zeqiYCbCr411ToRGBLS_MCU_16s8u_P3C3R", {127, 0, 0});
    EXPECT_EQ(std::vector<uint8_t>(white.begin(), white.begin() + 3),
              (std::vector<uint8_t>{255, 255, 255}));
    const auto dark = reverseOfFlat("zeqiYCbCr444ToRGBLS_MCU_16s8u_P3C3R", {-128, 0, -128});
    EXPECT_EQ(dark[0], 0);  // R clamped
    // The K byte wraps: 200 + 128 = 328 keeps its low 8 bits, 72; C, M, Y clamp.
    const auto cmyk = reverseOfFlat("zeqiYCCK422ToCMYKLS_MCU_16s8u_P4C4R", {-300, 0, 0, 200});
    EXPECT_EQ(std::vector<uint8_t>(cmyk.begin(), cmyk.begin() + 4),
              (std::vector<uint8_t>{255, 255, 255, 72}));
    const auto join = reverseOfFlat("zeqiJoin422LS_MCU_16s8u_P3C2R", {-1, 300, -300});
    EXPECT_EQ(std::vector<uint8_t>(join.begin(), join.begin() + 4),
              (std::vector<uint8_t>{127, 255, 127, 0}));
}

TEST(McuReverse, ChromaIsReplicatedOverItsPixelGroup) {
    const auto& m = reverseNamed("zeqiSampleUp411LS_MCU_16s8u_P3C3R");
    BlockSet blocks(m.shape);
    for (int i = 0; i < 256; ++i) blocks.pointers()[0][i] = 0;
    for (int i = 0; i < 64; ++i) blocks.pointers()[1][i] = static_cast<int16_t>(i - 64);
    for (int i = 0; i < 64; ++i) blocks.pointers()[2][i] = static_cast<int16_t>(-i);
    std::vector<uint8_t> dst(48 * 16);
    ASSERT_EQ(m.call(blocks.pointers(), dst.data(), 48), StatusOk);
    for (int r = 0; r < 16; ++r)
        for (int c = 0; c < 16; ++c) {
            const int j = (r / 2) * 8 + c / 2;
            ASSERT_EQ(dst[static_cast<size_t>(48 * r + 3 * c + 1)], j - 64 + 128);
            ASSERT_EQ(dst[static_cast<size_t>(48 * r + 3 * c + 2)], -j + 128);
        }
}

// The inverse sums with saturating 16-bit adds; samples at and around the
// points where those sums saturate, or where what follows a saturation is
// largest, give the same bytes as the exact arithmetic. Every combination of
// the critical values through the 4:4:4 members of both store paths.
TEST(McuReverse, SaturatingSumsClampLikeExactOnes) {
    const std::vector<int16_t> critical = {
        -32768, -32767, -32766, -32641, -32640, -32639, -32513, -32512, -32511,
        -20644, -20000, -13173, -7471,  -383,   -256,   -255,   -129,   -128,
        -127,   -1,     0,      1,      127,    128,    255,    256,    383,
        7470,   13172,  20644,  32511,  32512,  32639,  32640,  32766,  32767};
    const size_t n = critical.size();
    for (const char* name :
         {"zeqiYCbCr444ToRGBLS_MCU_16s8u_P3C3R", "zeqiYCbCr444ToBGR565LS_MCU_16s16u_P3C3R",
          "zeqiYCCK444ToCMYKLS_MCU_16s8u_P4C4R"}) {
        const auto& m = reverseNamed(name);
        BlockSet blocks(m.shape);
        std::vector<uint8_t> vector(static_cast<size_t>(m.shape.rowBytes * 8));
        std::vector<uint8_t> scalar(vector.size());
        for (size_t first = 0; first < n * n * n; first += 64) {
            for (size_t i = 0; i < 64; ++i) {
                const size_t t = (first + i) % (n * n * n);
                const size_t digit[4] = {t % n, t / n % n, t / n / n, t % n};  // Y, Cb, Cr, K
                for (int c = 0; c < m.shape.components; ++c)
                    blocks.pointers()[c][i] = critical[digit[c]];
            }
            m.vector(blocks.pointers(), vector.data(), m.shape.rowBytes);
            m.scalar(blocks.pointers(), scalar.data(), m.shape.rowBytes);
            ASSERT_EQ(vector, scalar) << name << " from " << first;
        }
    }
}

// ---- Check orders ------------------------------------------------------------

TEST(McuApi, ForwardChecksSourceArrayStepThenComponents) {
    for (const auto& m : forwardMembers()) {
        std::vector<uint8_t> src(static_cast<size_t>(m.shape.rowBytes * m.shape.height), 9);
        BlockSet blocks(m.shape);
        int16_t* comps[4];
        struct Case {
            bool nullSrc, nullArray;
            int32_t step;
            int nullComponent;
            ZeqStatus expected;
        };
        std::vector<Case> cases = {
            {true, false, 0, 0, StatusNullPointer},
            {false, true, 0, 0, StatusNullPointer},
            {false, false, 0, 0, StatusBadStep},
            {false, false, -5, -1, StatusBadStep},
        };
        for (int c = 0; c < m.shape.components; ++c)
            cases.push_back({false, false, m.shape.rowBytes, c, StatusNullPointer});
        for (const Case& c : cases) {
            for (int i = 0; i < 4; ++i)
                comps[i] = i < m.shape.components ? blocks.pointers()[i] : nullptr;
            if (c.nullComponent >= 0) comps[c.nullComponent] = nullptr;
            EXPECT_EQ(
                m.call(c.nullSrc ? nullptr : src.data(), c.step, c.nullArray ? nullptr : comps),
                c.expected)
                << m.name;
            EXPECT_TRUE(blocks.untouched()) << m.name;
        }
    }
}

TEST(McuApi, ReverseChecksArrayComponentsDestinationThenStep) {
    for (const auto& m : reverseMembers()) {
        BlockSet blocks(m.shape);
        ByteImage dst(m.shape.rowBytes, m.shape.height);
        const int16_t* comps[4];
        struct Case {
            bool nullArray;
            int nullComponent;
            bool nullDst;
            int32_t step;
            ZeqStatus expected;
        };
        std::vector<Case> cases = {
            {true, -1, true, 0, StatusNullPointer},
            {false, -1, true, 0, StatusNullPointer},
            {false, -1, false, 0, StatusBadStep},
            {false, -1, false, -48, StatusBadStep},
        };
        for (int c = 0; c < m.shape.components; ++c)
            cases.push_back({false, c, false, 0, StatusNullPointer});
        for (const Case& c : cases) {
            for (int i = 0; i < 4; ++i)
                comps[i] = i < m.shape.components ? blocks.pointers()[i] : nullptr;
            if (c.nullComponent >= 0) comps[c.nullComponent] = nullptr;
            EXPECT_EQ(
                m.call(c.nullArray ? nullptr : comps, c.nullDst ? nullptr : dst.data(), c.step),
                c.expected)
                << m.name;
            EXPECT_TRUE(dst.untouched()) << m.name;
        }
    }
}

}  // namespace
