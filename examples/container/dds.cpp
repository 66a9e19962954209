#include "container/dds.h"

#include <cstring>

#include "container/byte_order.h"

namespace zeq::container {
namespace {

constexpr uint8_t kMagic[4] = {'D', 'D', 'S', ' '};
constexpr uint32_t kHeaderBytes = 124;
constexpr uint32_t kPixelFormatBytes = 32;
constexpr uint32_t kDx10HeaderBytes = 20;
constexpr size_t kHeaderAt = 4;
constexpr size_t kBlocksAt = kHeaderAt + kHeaderBytes;

// Offsets of the header fields from the start of the file.
constexpr size_t kFlagsAt = 8, kHeightAt = 12, kWidthAt = 16, kLinearSizeAt = 20, kDepthAt = 24,
                 kReservedAt = 32, kPixelFormatAt = 76, kPixelFlagsAt = 80, kFourCcAt = 84,
                 kCapsAt = 108, kCaps2At = 112;
// Offsets within the DX10 header.
constexpr size_t kDxgiFormatAt = 0, kDimensionAt = 4, kMiscFlagAt = 8, kArraySizeAt = 12;

constexpr uint32_t kFlagCaps = 0x1, kFlagHeight = 0x2, kFlagWidth = 0x4, kFlagPixelFormat = 0x1000,
                   kFlagLinearSize = 0x80000, kFlagDepth = 0x800000;
constexpr uint32_t kPixelFlagFourCc = 0x4;
constexpr uint32_t kCapsTexture = 0x1000;
constexpr uint32_t kCaps2CubeMap = 0x200, kCaps2Volume = 0x200000;
constexpr uint32_t kDimensionTexture2D = 3;
constexpr uint32_t kMiscTextureCube = 0x4;

// DXGI format numbers: each block format has typeless, UNORM and sRGB forms.
constexpr uint32_t kDxgiBc1First = 70, kDxgiBc2First = 73, kDxgiBc3First = 76, kDxgiBc7First = 97,
                   kDxgiBc7Unorm = 98;

constexpr uint32_t fourCc(const char (&s)[5]) {
    return uint32_t{static_cast<uint8_t>(s[0])} | uint32_t{static_cast<uint8_t>(s[1])} << 8 |
           uint32_t{static_cast<uint8_t>(s[2])} << 16 | uint32_t{static_cast<uint8_t>(s[3])} << 24;
}

constexpr uint32_t kFourCcDxt1 = fourCc("DXT1"), kFourCcDxt3 = fourCc("DXT3"),
                   kFourCcDxt5 = fourCc("DXT5"), kFourCcDx10 = fourCc("DX10");
// The two reserved words that mark DXT5 blocks holding YCoCg colour.
constexpr uint32_t kVariantTag = fourCc("ZEQJ"), kYCoCgTag = fourCc("YCG5");

// Each side stays well inside int32_t and the pixel count matches the
// Netpbm limit, so decoders can size their buffers without overflow.
constexpr uint32_t kMaxSide = 1u << 24;
constexpr uint64_t kMaxPixels = uint64_t{1} << 31;

bool fail(std::string* error, const std::string& why) {
    if (error) *error = why;
    return false;
}

bool fromDxgi(uint32_t dxgi, DdsFormat& format) {
    const struct {
        uint32_t first;
        DdsFormat format;
    } kFamilies[] = {{kDxgiBc1First, DdsFormat::Dxt1},
                     {kDxgiBc2First, DdsFormat::Dxt3},
                     {kDxgiBc3First, DdsFormat::Dxt5},
                     {kDxgiBc7First, DdsFormat::Bc7}};
    for (const auto& f : kFamilies) {
        if (dxgi - f.first < 3) {
            format = f.format;
            return true;
        }
    }
    return false;
}

}  // namespace

size_t ddsBlockBytes(DdsFormat format) { return format == DdsFormat::Dxt1 ? 8 : 16; }

uint64_t ddsBlockStreamBytes(DdsFormat format, uint32_t width, uint32_t height) {
    return (uint64_t{width} + 3) / 4 * ((uint64_t{height} + 3) / 4) * ddsBlockBytes(format);
}

const char* ddsFormatName(DdsFormat format) {
    switch (format) {
        case DdsFormat::Dxt1:
            return "DXT1";
        case DdsFormat::Dxt3:
            return "DXT3";
        case DdsFormat::Dxt5:
            return "DXT5";
        case DdsFormat::YCoCgDxt5:
            return "YCoCg-DXT5";
        case DdsFormat::Bc7:
            return "BC7";
    }
    return "?";
}

std::vector<uint8_t> formatDds(const DdsImage& image) {
    const bool dx10 = image.format == DdsFormat::Bc7;
    const size_t blocksAt = kBlocksAt + (dx10 ? kDx10HeaderBytes : 0);
    std::vector<uint8_t> out(blocksAt, 0);
    std::memcpy(out.data(), kMagic, sizeof kMagic);
    uint8_t* const p = out.data();
    storeLe32(p + kHeaderAt, kHeaderBytes);
    storeLe32(p + kFlagsAt,
              kFlagCaps | kFlagHeight | kFlagWidth | kFlagPixelFormat | kFlagLinearSize);
    storeLe32(p + kHeightAt, static_cast<uint32_t>(image.height));
    storeLe32(p + kWidthAt, static_cast<uint32_t>(image.width));
    storeLe32(p + kLinearSizeAt, static_cast<uint32_t>(image.blocks.size()));
    storeLe32(p + kPixelFormatAt, kPixelFormatBytes);
    storeLe32(p + kPixelFlagsAt, kPixelFlagFourCc);
    storeLe32(p + kCapsAt, kCapsTexture);
    switch (image.format) {
        case DdsFormat::Dxt1:
            storeLe32(p + kFourCcAt, kFourCcDxt1);
            break;
        case DdsFormat::Dxt3:
            storeLe32(p + kFourCcAt, kFourCcDxt3);
            break;
        case DdsFormat::Dxt5:
            storeLe32(p + kFourCcAt, kFourCcDxt5);
            break;
        case DdsFormat::YCoCgDxt5:
            storeLe32(p + kFourCcAt, kFourCcDxt5);
            storeLe32(p + kReservedAt, kVariantTag);
            storeLe32(p + kReservedAt + 4, kYCoCgTag);
            break;
        case DdsFormat::Bc7: {
            storeLe32(p + kFourCcAt, kFourCcDx10);
            uint8_t* const dx = p + kBlocksAt;
            storeLe32(dx + kDxgiFormatAt, kDxgiBc7Unorm);
            storeLe32(dx + kDimensionAt, kDimensionTexture2D);
            storeLe32(dx + kArraySizeAt, 1);
            break;
        }
    }
    out.insert(out.end(), image.blocks.begin(), image.blocks.end());
    return out;
}

bool parseDds(const uint8_t* data, size_t size, DdsImage& image, std::string* error) {
    image = DdsImage{};
    if (size < kBlocksAt || std::memcmp(data, kMagic, sizeof kMagic) != 0)
        return fail(error, "not a DDS file (no 'DDS ' signature and 124-byte header)");
    if (loadLe32(data + kHeaderAt) != kHeaderBytes ||
        loadLe32(data + kPixelFormatAt) != kPixelFormatBytes)
        return fail(error, "malformed DDS header (header or pixel format size is wrong)");
    const uint32_t caps2 = loadLe32(data + kCaps2At);
    if (caps2 & (kCaps2CubeMap | kCaps2Volume))
        return fail(error, "DDS cube maps and volume textures are not supported");
    if ((loadLe32(data + kFlagsAt) & kFlagDepth) && loadLe32(data + kDepthAt) > 1)
        return fail(error, "DDS volume textures are not supported");
    if (!(loadLe32(data + kPixelFlagsAt) & kPixelFlagFourCc))
        return fail(error, "uncompressed DDS pixel formats are not supported (no FourCC)");

    DdsFormat format;
    size_t blocksAt = kBlocksAt;
    const uint32_t code = loadLe32(data + kFourCcAt);
    if (code == kFourCcDxt1) {
        format = DdsFormat::Dxt1;
    } else if (code == kFourCcDxt3) {
        format = DdsFormat::Dxt3;
    } else if (code == kFourCcDxt5) {
        const bool ycocg = loadLe32(data + kReservedAt) == kVariantTag &&
                           loadLe32(data + kReservedAt + 4) == kYCoCgTag;
        format = ycocg ? DdsFormat::YCoCgDxt5 : DdsFormat::Dxt5;
    } else if (code == kFourCcDx10) {
        if (size < kBlocksAt + kDx10HeaderBytes) return fail(error, "truncated DDS DX10 header");
        const uint8_t* dx = data + kBlocksAt;
        if (!fromDxgi(loadLe32(dx + kDxgiFormatAt), format))
            return fail(error, "unsupported DXGI format " +
                                   std::to_string(loadLe32(dx + kDxgiFormatAt)) +
                                   " (BC1, BC2, BC3 and BC7 are supported)");
        if (loadLe32(dx + kDimensionAt) != kDimensionTexture2D ||
            (loadLe32(dx + kMiscFlagAt) & kMiscTextureCube))
            return fail(error, "only 2-D DDS textures are supported");
        if (loadLe32(dx + kArraySizeAt) > 1)
            return fail(error, "DDS texture arrays are not supported");
        blocksAt += kDx10HeaderBytes;
    } else {
        char name[5] = {};
        for (int i = 0; i < 4; ++i) {
            const auto c = static_cast<char>(code >> (8 * i));
            name[i] = c >= 0x20 && c < 0x7F ? c : '?';
        }
        return fail(error, std::string("unsupported DDS FourCC '") + name +
                               "' (DXT1, DXT3, DXT5 and DX10/BC7 are supported)");
    }

    const uint32_t width = loadLe32(data + kWidthAt), height = loadLe32(data + kHeightAt);
    if (width == 0 || height == 0 || width > kMaxSide || height > kMaxSide ||
        uint64_t{width} * height > kMaxPixels)
        return fail(error, "unsupported DDS image size " + std::to_string(width) + "x" +
                               std::to_string(height));
    const uint64_t bytes = ddsBlockStreamBytes(format, width, height);
    if (size - blocksAt < bytes)
        return fail(error, "truncated DDS block data: " + std::to_string(size - blocksAt) +
                               " bytes for " + std::to_string(bytes));
    image.width = static_cast<int32_t>(width);
    image.height = static_cast<int32_t>(height);
    image.format = format;
    image.blocks.assign(data + blocksAt, data + blocksAt + bytes);
    return true;
}

}  // namespace zeq::container
