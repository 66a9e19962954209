// BC7 cross-check against Pillow's decoder: seeded random blocks of every
// mode (every partition of the partitioned modes, every rotation and index
// selection) go into a DDS file with a DX10 header (DXGI format BC7_UNORM), which
// /usr/bin/python3 decodes with Pillow; both decodes must agree on every
// byte. Reserved blocks are left out of the comparison: Pillow fills their
// alpha with 255, while this library decodes them to transparent black, as
// the format prescribes for blocks without a valid mode.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "container/dds.h"
#include "tests/common/test_support.h"
#include "texture/dxt_layout.h"
#include "zeqj.h"

namespace {

using namespace zeq;
using Bytes = std::vector<uint8_t>;

Bytes ddsFile(int32_t width, int32_t height, const Bytes& blocks) {
    return container::formatDds({width, height, container::DdsFormat::Bc7, blocks});
}

// Writes `bits` bits of value at bit position `at` (bit 0 = lowest bit of byte 0).
void setBits(uint8_t* block, int at, int bits, uint32_t value) {
    for (int i = 0; i < bits; ++i, ++at) {
        const auto mask = static_cast<uint8_t>(1u << (at % 8));
        block[at / 8] =
            static_cast<uint8_t>(((value >> i) & 1) ? block[at / 8] | mask : block[at / 8] & ~mask);
    }
}

Bytes pillowDecode(const Bytes& dds, int32_t width, int32_t height) {
    const std::string dir = testing::TempDir();
    const std::string in = dir + "zeqj_bc7_check.dds", out = dir + "zeqj_bc7_check.rgba";
    {
        std::ofstream f(in, std::ios::binary);
        f.write(reinterpret_cast<const char*>(dds.data()),
                static_cast<std::streamsize>(dds.size()));
    }
    const std::string command =
        "/usr/bin/python3 -c 'import sys\nfrom PIL import Image\n"
        "im = Image.open(sys.argv[1])\nassert im.mode == \"RGBA\"\n"
        "open(sys.argv[2], \"wb\").write(im.tobytes())' " +
        in + " " + out;
    EXPECT_EQ(std::system(command.c_str()), 0) << "Pillow (Debian python3-pil) did not decode";
    std::ifstream f(out, std::ios::binary);
    Bytes rgba((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
    std::remove(in.c_str());
    std::remove(out.c_str());
    EXPECT_EQ(rgba.size(), static_cast<size_t>(width) * height * 4);
    return rgba;
}

TEST(Bc7Decode, AgreesWithPillowOnEveryModePartitionAndRotation) {
    auto& rng = test::seededRng(71);
    const int perMode = std::max(128, test::scaledCount(1024));
    Bytes blocks;
    std::vector<int> modeOfBlock;
    for (int mode = 0; mode < 8; ++mode) {
        const int count = perMode;
        for (int n = 0; n < count; ++n) {
            uint8_t block[16];
            test::fillRandom(rng, block, 16);
            setBits(block, 0, mode + 1, 1u << mode);
            const int partitionBits = mode == 0 ? 4 : (mode <= 3 || mode == 7 ? 6 : 0);
            setBits(block, mode + 1, partitionBits, static_cast<uint32_t>(n));
            blocks.insert(blocks.end(), block, block + 16);
            modeOfBlock.push_back(mode);
        }
    }
    const int32_t across = 16;
    const auto blockCount = static_cast<int32_t>(modeOfBlock.size());
    const int32_t down = (blockCount + across - 1) / across;
    blocks.resize(static_cast<size_t>(across) * down * 16, 0);
    const int32_t width = 4 * across, height = 4 * down;

    const Bytes expected = pillowDecode(ddsFile(width, height, blocks), width, height);
    ASSERT_EQ(expected.size(), static_cast<size_t>(width) * height * 4);
    Bytes ours(expected.size());
    ASSERT_EQ(zeqiTextureDecodeBlockToRGBA_BC7_8u_C1C4R(blocks.data(), ours.data(), width * 4,
                                                        {width, height}),
              StatusOk);
    int mismatches = 0;
    for (int32_t b = 0; b < blockCount && mismatches < 5; ++b) {
        const int32_t bx = b % across, by = b / across;
        for (int p = 0; p < 16; ++p) {
            const size_t at = (static_cast<size_t>(4 * by + p / 4) * width + 4 * bx + p % 4) * 4;
            if (!std::equal(ours.begin() + static_cast<long>(at),
                            ours.begin() + static_cast<long>(at) + 4,
                            expected.begin() + static_cast<long>(at))) {
                ADD_FAILURE() << "block " << b << " mode " << modeOfBlock[static_cast<size_t>(b)]
                              << " pixel " << p << ": ours " << int{ours[at]} << ","
                              << int{ours[at + 1]} << "," << int{ours[at + 2]} << ","
                              << int{ours[at + 3]} << " Pillow " << int{expected[at]} << ","
                              << int{expected[at + 1]} << "," << int{expected[at + 2]} << ","
                              << int{expected[at + 3]};
                ++mismatches;
                break;
            }
        }
    }
}

// A first byte of 0 is the reserved mode: transparent black.
TEST(Bc7Decode, ReservedModeIsTransparentBlack) {
    Bytes block(16, 0xFF);
    block[0] = 0;
    Bytes out(64, 0x11);
    ASSERT_EQ(zeqiTextureDecodeBlockToRGBA_BC7_8u_C1C4R(block.data(), out.data(), 16, {4, 4}),
              StatusOk);
    EXPECT_EQ(out, Bytes(64, 0));
}

// Mode 6 with both endpoints' 7-bit fields all ones and p-bits 1: 255
// everywhere; with the first endpoint 0 and p-bit 0, index 15 gives the second.
TEST(Bc7Decode, ModeSixEndpointsAreSevenBitsAndAPBit) {
    uint8_t block[16] = {};
    setBits(block, 0, 7, 1u << 6);
    for (int ch = 0; ch < 4; ++ch) setBits(block, 7 + 14 * ch + 7, 7, 0x7F);  // second endpoints
    setBits(block, 63, 1, 0);
    setBits(block, 64, 1, 1);
    setBits(block, 65, 3, 7);   // pixel 0 (anchor): index 7 of 15
    setBits(block, 68, 4, 15);  // pixel 1: index 15
    uint8_t out[64];
    ASSERT_EQ(zeqiTextureDecodeBlockToRGBA_BC7_8u_C1C4R(block, out, 16, {4, 4}), StatusOk);
    for (int ch = 0; ch < 4; ++ch) {
        EXPECT_EQ(out[ch], (30 * 255 + 32) >> 6);  // weight 30
        EXPECT_EQ(out[4 + ch], 255);               // weight 64
        EXPECT_EQ(out[8 + ch], 0);                 // index 0
    }
}

}  // namespace
