#include "container/tiff.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace zeq::container {
namespace {

using Bytes = std::vector<uint8_t>;

// Strips of a 3 x 5 grey image, two rows per strip, each row one repeat packet.
const TiffImageShape kShape = {3, 5, 1, 2};
std::vector<Bytes> strips() { return {{0xFE, 1, 0xFE, 2}, {0xFE, 3, 0xFE, 4}, {0xFE, 5}}; }

uint16_t le16(const Bytes& b, size_t at) { return uint16_t(b[at] | b[at + 1] << 8); }
uint32_t le32(const Bytes& b, size_t at) { return le16(b, at) | uint32_t(le16(b, at + 2)) << 16; }

// File offset of the entry of `tag` in the first directory.
size_t entryOf(const Bytes& file, uint16_t tag) {
    const uint32_t ifd = le32(file, 4);
    for (uint16_t i = 0; i < le16(file, ifd); ++i)
        if (le16(file, ifd + 2 + 12 * size_t(i)) == tag) return ifd + 2 + 12 * size_t(i);
    ADD_FAILURE() << "no tag " << tag;
    return 0;
}

TEST(Tiff, WrittenFilesParseBackToTheirShapeAndStrips) {
    const Bytes file = formatPackBitsTiff(kShape, strips());
    EXPECT_EQ(Bytes(file.begin(), file.begin() + 4), (Bytes{'I', 'I', 42, 0}));
    TiffPackBitsFile parsed;
    std::string error;
    ASSERT_TRUE(parsePackBitsTiff(file.data(), file.size(), parsed, &error)) << error;
    EXPECT_EQ(parsed.shape.width, 3);
    EXPECT_EQ(parsed.shape.height, 5);
    EXPECT_EQ(parsed.shape.samplesPerPixel, 1);
    EXPECT_EQ(parsed.shape.rowsPerStrip, 2);
    EXPECT_FALSE(parsed.whiteIsZero);
    ASSERT_EQ(parsed.strips.size(), 3u);
    for (size_t s = 0; s < 3; ++s) {
        const auto& span = parsed.strips[s];
        EXPECT_EQ(Bytes(file.begin() + span.offset, file.begin() + span.offset + span.bytes),
                  strips()[s]);
    }
    EXPECT_EQ(tiffStripCount(kShape), 3);
    EXPECT_EQ(tiffRowsInStrip(kShape, 2), 1);
}

TEST(Tiff, MalformedFilesAreRefusedWithAReason) {
    const Bytes good = formatPackBitsTiff(kShape, strips());
    auto set16 = [](Bytes& b, size_t at, uint16_t v) {
        b[at] = uint8_t(v);
        b[at + 1] = uint8_t(v >> 8);
    };
    auto set32 = [&](Bytes& b, size_t at, uint32_t v) {
        set16(b, at, uint16_t(v));
        set16(b, at + 2, uint16_t(v >> 16));
    };
    struct Case {
        const char* name;
        std::function<void(Bytes&)> damage;
        const char* message;
    } const cases[] = {
        {"byte order", [&](Bytes& b) { b[0] = 'X'; }, "not a TIFF file"},
        {"BigTIFF", [&](Bytes& b) { set16(b, 2, 43); }, "BigTIFF"},
        {"version", [&](Bytes& b) { set16(b, 2, 41); }, "version is not 42"},
        {"directory offset", [&](Bytes& b) { set32(b, 4, uint32_t(b.size())); }, "outside"},
        {"entry count", [&](Bytes& b) { set16(b, le32(b, 4), 999); }, "truncated TIFF directory"},
        {"compression", [&](Bytes& b) { set16(b, entryOf(b, 259) + 8, 5); }, "compression 5"},
        {"photometric", [&](Bytes& b) { set16(b, entryOf(b, 262) + 8, 3); }, "photometric"},
        {"bits", [&](Bytes& b) { set16(b, entryOf(b, 258) + 8, 4); }, "4 bits per sample"},
        {"samples", [&](Bytes& b) { set16(b, entryOf(b, 277) + 8, 2); }, "2 samples per pixel"},
        {"width", [&](Bytes& b) { set32(b, entryOf(b, 256) + 8, 0); }, "image size 0x5"},
        {"rows per strip", [&](Bytes& b) { set32(b, entryOf(b, 278) + 8, 0); }, "RowsPerStrip"},
        {"strip count", [&](Bytes& b) { set32(b, entryOf(b, 278) + 8, 1); },
         "3 strip offsets and 3 byte counts for 5 strips"},
        {"strip outside", [&](Bytes& b) { set32(b, le32(b, entryOf(b, 273) + 8) + 4, 1u << 30); },
         "strip 1 lies outside"},
        {"strip too short", [&](Bytes& b) { set32(b, le32(b, entryOf(b, 279) + 8) + 8, 1); },
         "strip 2 is too short"},
        {"strips overlap",
         [&](Bytes& b) {
             const uint32_t counts = le32(b, entryOf(b, 279) + 8);
             for (int s = 0; s < 3; ++s) set32(b, counts + 4 * size_t(s), uint32_t(b.size() / 2));
             const uint32_t offsets = le32(b, entryOf(b, 273) + 8);
             for (int s = 0; s < 3; ++s) set32(b, offsets + 4 * size_t(s), 0);
         },
         "overlap"},
        {"values outside", [&](Bytes& b) { set32(b, entryOf(b, 273) + 8, 0xFFFFFFF0u); },
         "tag 273 has an unknown type or values outside the file"},
        {"unknown type", [&](Bytes& b) { set16(b, entryOf(b, 257) + 2, 13); }, "tag 257"},
        {"rational width", [&](Bytes& b) { set16(b, entryOf(b, 256) + 2, 5); }, "integers"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Bytes file = good;
        c.damage(file);
        TiffPackBitsFile parsed;
        std::string error;
        EXPECT_FALSE(parsePackBitsTiff(file.data(), file.size(), parsed, &error));
        EXPECT_NE(error.find(c.message), std::string::npos) << error;
        EXPECT_TRUE(parsed.strips.empty());
        EXPECT_EQ(parsed.shape.width, 0);
    }
}

}  // namespace
}  // namespace zeq::container
