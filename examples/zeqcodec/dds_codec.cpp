#include "zeqcodec/dds_codec.h"

#include <algorithm>
#include <limits>

#include "zeqcodec/cli.h"
#include "zeqcodec/image_file_commands.h"
#include "zeqj.h"

namespace zeqcodec {
namespace {

using zeq::container::DdsFormat;
using zeq::container::DdsImage;
using zeq::container::Image;

constexpr uint8_t kOpaque = 255;
constexpr int kChromaOffset = 128;
// The YCoCg block encoder stores scale - 1 in the 5-bit blue field, which a
// decoder sees as blue = (scale - 1) * 8.
constexpr int kScaleFieldShift = 3;

// Sides above this are refused by the DDS reader, so they are not written.
constexpr int32_t kMaxDdsSide = 1 << 24;

bool fail(std::string* error, const std::string& why) {
    if (error) *error = why;
    return false;
}

uint8_t clampByte(int v) { return static_cast<uint8_t>(std::clamp(v, 0, 255)); }

// Floor division by a positive divisor, so chroma below the offset rounds
// the same way as above it.
int floorDivide(int n, int d) { return n >= 0 ? n / d : -((-n + d - 1) / d); }

using EncodeFunction = ZeqStatus (*)(const uint8_t*, int32_t, ZeqiSize, uint8_t*);
using DecodeFunction = ZeqStatus (*)(const uint8_t*, uint8_t*, int32_t, ZeqiSize);

DecodeFunction decoderFor(DdsFormat format) {
    switch (format) {
        case DdsFormat::Dxt1:
            return zeqiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R;
        case DdsFormat::Dxt3:
            return zeqiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R;
        case DdsFormat::Dxt5:
        case DdsFormat::YCoCgDxt5:
            return zeqiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R;
        case DdsFormat::Bc7:
            return zeqiTextureDecodeBlockToRGBA_BC7_8u_C1C4R;
    }
    return nullptr;
}

bool parseFormat(const std::string& name, DdsFormat& format) {
    const struct {
        const char* name;
        DdsFormat format;
    } kNames[] = {{"dxt1", DdsFormat::Dxt1},
                  {"dxt3", DdsFormat::Dxt3},
                  {"dxt5", DdsFormat::Dxt5},
                  {"ycocg-dxt5", DdsFormat::YCoCgDxt5}};
    for (const auto& n : kNames) {
        if (name == n.name) {
            format = n.format;
            return true;
        }
    }
    return false;
}

}  // namespace

void rgbToYCoCg(const uint8_t* rgb, uint8_t* ycocg, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i, rgb += 3, ycocg += 3) {
        const int r = rgb[0], g = rgb[1], b = rgb[2];
        ycocg[0] = clampByte((r + 2 * g + b + 2) >> 2);
        ycocg[1] = clampByte(((r - b + 1) >> 1) + kChromaOffset);
        ycocg[2] = clampByte(((2 * g - r - b + 2) >> 2) + kChromaOffset);
    }
}

void ycocgDxt5ToRgb(const uint8_t* rgba, uint8_t* rgb, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i, rgba += 4, rgb += 3) {
        const int scale = (rgba[2] >> kScaleFieldShift) + 1;
        const int co = floorDivide(rgba[0] - kChromaOffset, scale);
        const int cg = floorDivide(rgba[1] - kChromaOffset, scale);
        const int y = rgba[3];
        rgb[0] = clampByte(y + co - cg);
        rgb[1] = clampByte(y + cg);
        rgb[2] = clampByte(y - co - cg);
    }
}

bool encodeDds(const Image& image, DdsFormat format, std::vector<uint8_t>& file,
               std::string* error) {
    file.clear();
    if (image.channels != 1 && image.channels != 3)
        return fail(error, "only grey or RGB images can be encoded");
    if (image.width < 1 || image.height < 1 || image.width > kMaxDdsSide ||
        image.height > kMaxDdsSide)
        return fail(error, "image size " + std::to_string(image.width) + "x" +
                               std::to_string(image.height) + " is outside what DDS files hold");
    const auto pixels = static_cast<size_t>(image.width) * static_cast<size_t>(image.height);
    if (image.pixels.size() != pixels * static_cast<size_t>(image.channels))
        return fail(error, "image pixels do not match its size");
    const uint8_t* src = image.pixels.data();
    auto channel = [&](size_t i, int c) {
        return image.channels == 1 ? src[i] : src[3 * i + static_cast<size_t>(c)];
    };

    std::vector<uint8_t> interleaved;
    int32_t step;
    EncodeFunction encode;
    if (format == DdsFormat::YCoCgDxt5) {
        interleaved.resize(pixels * 3);
        if (image.channels == 3) {
            rgbToYCoCg(src, interleaved.data(), pixels);
        } else {
            for (size_t i = 0; i < pixels; ++i) {
                interleaved[3 * i] = src[i];
                interleaved[3 * i + 1] = interleaved[3 * i + 2] = kChromaOffset;
            }
        }
        step = image.width * 3;
        encode = zeqiTextureEncodeBlockFromYCoCg_DXT5_8u_C3C1R;
    } else {
        interleaved.resize(pixels * 4);
        for (size_t i = 0; i < pixels; ++i) {
            for (int c = 0; c < 3; ++c) interleaved[4 * i + static_cast<size_t>(c)] = channel(i, c);
            interleaved[4 * i + 3] = kOpaque;
        }
        step = image.width * 4;
        switch (format) {
            case DdsFormat::Dxt1:
                encode = zeqiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R;
                break;
            case DdsFormat::Dxt3:
                encode = zeqiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R;
                break;
            case DdsFormat::Dxt5:
                encode = zeqiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R;
                break;
            default:
                return fail(error, "BC7 encoding is not available");
        }
    }

    DdsImage dds;
    dds.width = image.width;
    dds.height = image.height;
    dds.format = format;
    dds.blocks.resize(static_cast<size_t>(zeq::container::ddsBlockStreamBytes(
        format, static_cast<uint32_t>(image.width), static_cast<uint32_t>(image.height))));
    if (const ZeqStatus s =
            encode(interleaved.data(), step, {image.width, image.height}, dds.blocks.data()))
        return fail(error, "texture block encoder failed with status " + std::to_string(s));
    file = zeq::container::formatDds(dds);
    return true;
}

bool decodeDdsBlocks(const DdsImage& dds, RgbaImage& rgba, std::string* error) {
    rgba = RgbaImage{};
    if (dds.width < 1 || dds.height < 1 || dds.width > kMaxDdsSide || dds.height > kMaxDdsSide ||
        dds.blocks.size() != zeq::container::ddsBlockStreamBytes(dds.format,
                                                                 static_cast<uint32_t>(dds.width),
                                                                 static_cast<uint32_t>(dds.height)))
        return fail(error, "texture size and block data do not match");
    std::vector<uint8_t> pixels(static_cast<size_t>(dds.width) * static_cast<size_t>(dds.height) *
                                4);
    if (const ZeqStatus s = decoderFor(dds.format)(dds.blocks.data(), pixels.data(), dds.width * 4,
                                                   {dds.width, dds.height}))
        return fail(error, "texture block decoder failed with status " + std::to_string(s));
    rgba.width = dds.width;
    rgba.height = dds.height;
    rgba.pixels = std::move(pixels);
    return true;
}

bool decodeDds(const uint8_t* data, size_t size, Image& image, std::string* error) {
    image = Image{};
    DdsImage dds;
    RgbaImage rgba;
    if (!zeq::container::parseDds(data, size, dds, error) || !decodeDdsBlocks(dds, rgba, error))
        return false;
    const size_t pixels = static_cast<size_t>(rgba.width) * static_cast<size_t>(rgba.height);
    image.pixels.resize(pixels * 3);
    if (dds.format == DdsFormat::YCoCgDxt5) {
        ycocgDxt5ToRgb(rgba.pixels.data(), image.pixels.data(), pixels);
    } else {
        for (size_t i = 0; i < pixels; ++i)
            std::copy_n(&rgba.pixels[4 * i], 3, &image.pixels[3 * i]);
    }
    image.width = rgba.width;
    image.height = rgba.height;
    image.channels = 3;
    return true;
}

int runDdsEncode(const Arguments& args) {
    return runEncodeFromNetpbm("dds-encode", args, {"--format"},
                               "expects IN.ppm OUT.dds [--format dxt1|dxt3|dxt5|ycocg-dxt5]",
                               [](const Image& image, const ParsedArguments& options,
                                  std::vector<uint8_t>& file, std::string* error) {
                                   DdsFormat format;
                                   const std::string name = options.value("--format", "dxt1");
                                   if (!parseFormat(name, format)) {
                                       *error = "unknown --format '" + name +
                                                "' (dxt1, dxt3, dxt5 or ycocg-dxt5)";
                                       return false;
                                   }
                                   return encodeDds(image, format, file, error);
                               });
}

int runDdsDecode(const Arguments& args) {
    return runDecodeToNetpbm("dds-decode", args, "expects IN.dds OUT.ppm", decodeDds);
}

}  // namespace zeqcodec
