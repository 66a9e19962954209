#include "container/dds.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zeq::container {
namespace {

using Bytes = std::vector<uint8_t>;

void put32(Bytes& b, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) b[at + size_t(i)] = static_cast<uint8_t>(v >> (8 * i));
}

DdsImage sample(DdsFormat format, int32_t width, int32_t height) {
    DdsImage image;
    image.width = width;
    image.height = height;
    image.format = format;
    image.blocks.resize(ddsBlockStreamBytes(format, uint32_t(width), uint32_t(height)));
    for (size_t i = 0; i < image.blocks.size(); ++i) image.blocks[i] = uint8_t(i * 7 + 1);
    return image;
}

TEST(Dds, EveryFormatRoundTripsWithItsHeaderAndBlockCount) {
    const struct {
        DdsFormat format;
        const char* fourCc;
        size_t blocksAt, blockBytes;
    } cases[] = {{DdsFormat::Dxt1, "DXT1", 128, 8},
                 {DdsFormat::Dxt3, "DXT3", 128, 16},
                 {DdsFormat::Dxt5, "DXT5", 128, 16},
                 {DdsFormat::YCoCgDxt5, "DXT5", 128, 16},
                 {DdsFormat::Bc7, "DX10", 148, 16}};
    for (const auto& c : cases) {
        SCOPED_TRACE(ddsFormatName(c.format));
        const DdsImage image = sample(c.format, 9, 5);  // 3 x 2 blocks
        EXPECT_EQ(image.blocks.size(), 6 * c.blockBytes);
        const Bytes file = formatDds(image);
        EXPECT_EQ(file.size(), c.blocksAt + 6 * c.blockBytes);
        EXPECT_EQ(std::string(file.begin() + 84, file.begin() + 88), c.fourCc);
        DdsImage back;
        std::string error;
        ASSERT_TRUE(parseDds(file.data(), file.size(), back, &error)) << error;
        EXPECT_EQ(back.format, c.format);
        EXPECT_EQ(back.width, 9);
        EXPECT_EQ(back.height, 5);
        EXPECT_EQ(back.blocks, image.blocks);
        // Mipmap levels after the top surface are ignored.
        Bytes withMips = file;
        withMips.insert(withMips.end(), 40, 0xEE);
        ASSERT_TRUE(parseDds(withMips.data(), withMips.size(), back, &error));
        EXPECT_EQ(back.blocks, image.blocks);
    }
}

// Block formats named through a DX10 header by any of their DXGI numbers.
TEST(Dds, Dx10HeadersNameEveryBlockFormat) {
    const struct {
        uint32_t dxgi;
        DdsFormat format;
    } cases[] = {{70, DdsFormat::Dxt1}, {71, DdsFormat::Dxt1}, {72, DdsFormat::Dxt1},
                 {74, DdsFormat::Dxt3}, {77, DdsFormat::Dxt5}, {78, DdsFormat::Dxt5},
                 {97, DdsFormat::Bc7},  {99, DdsFormat::Bc7}};
    for (const auto& c : cases) {
        Bytes file = formatDds(sample(DdsFormat::Bc7, 4, 4));
        put32(file, 128, c.dxgi);
        DdsImage back;
        std::string error;
        if (c.format == DdsFormat::Dxt1) file.resize(148 + 8);
        ASSERT_TRUE(parseDds(file.data(), file.size(), back, &error)) << c.dxgi << error;
        EXPECT_EQ(back.format, c.format) << c.dxgi;
    }
}

TEST(Dds, MalformedFilesAreRefusedWithAReason) {
    const Bytes good = formatDds(sample(DdsFormat::Bc7, 8, 8));
    const struct {
        const char* name;
        size_t at;  // where to write value; at >= size truncates to `value` bytes
        uint32_t value;
        const char* message;
    } cases[] = {
        {"signature", 0, 0x20534444 ^ 1, "not a DDS file"},
        {"header size", 4, 100, "malformed DDS header"},
        {"pixel format size", 76, 0, "malformed DDS header"},
        {"cube map", 112, 0x200, "cube maps"},
        {"volume", 112, 0x200000, "volume"},
        {"no FourCC", 80, 0x40, "uncompressed"},
        {"FourCC", 84, 0x31545844 + 0x100, "unsupported DDS FourCC 'DYT1'"},
        {"DXGI format", 128, 28, "unsupported DXGI format 28"},
        {"dimension", 132, 4, "only 2-D"},
        {"cube flag", 136, 4, "only 2-D"},
        {"array", 140, 6, "texture arrays"},
        {"zero width", 16, 0, "image size 0x8"},
        {"huge height", 12, 1u << 30, "image size 8x1073741824"},
        {"blocks cut", ~size_t{0}, 148 + 63, "truncated DDS block data"},
        {"DX10 header cut", ~size_t{0}, 140, "truncated DDS DX10 header"},
        {"header cut", ~size_t{0}, 127, "not a DDS file"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Bytes file = good;
        if (c.at == ~size_t{0})
            file.resize(c.value);
        else
            put32(file, c.at, c.value);
        DdsImage image;
        std::string error;
        EXPECT_FALSE(parseDds(file.data(), file.size(), image, &error));
        EXPECT_NE(error.find(c.message), std::string::npos) << error;
        EXPECT_TRUE(image.blocks.empty());
    }
}

}  // namespace
}  // namespace zeq::container
