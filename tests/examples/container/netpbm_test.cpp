#include "container/netpbm.h"

#include <gtest/gtest.h>

#include <string>

namespace zeq::container {
namespace {

bool parseText(const std::string& text, Image& image, std::string* error) {
    return parseNetpbm(reinterpret_cast<const uint8_t*>(text.data()), text.size(), image, error);
}

TEST(Netpbm, GreyAndColourRoundTripThroughTheirFormats) {
    for (int32_t channels : {1, 3}) {
        Image image;
        image.width = 3;
        image.height = 2;
        image.channels = channels;
        for (int32_t i = 0; i < 6 * channels; ++i)
            image.pixels.push_back(static_cast<uint8_t>(i * 37));
        const std::vector<uint8_t> bytes = formatNetpbm(image);
        Image back;
        std::string error;
        ASSERT_TRUE(parseNetpbm(bytes.data(), bytes.size(), back, &error)) << error;
        EXPECT_EQ(back.width, 3);
        EXPECT_EQ(back.height, 2);
        EXPECT_EQ(back.channels, channels);
        EXPECT_EQ(back.pixels, image.pixels);
    }
}

TEST(Netpbm, HeaderCommentsAndWhitespaceAreSkipped) {
    Image image;
    std::string error;
    ASSERT_TRUE(parseText("P5 # grey\n2\t1\n# max\n255\n\x07\x09", image, &error)) << error;
    EXPECT_EQ(image.pixels, (std::vector<uint8_t>{7, 9}));
}

TEST(Netpbm, MalformedFilesAreRefusedWithAReason) {
    const char* const cases[] = {
        "",                          // empty
        "P3\n1 1\n255\n0 0 0",       // ASCII variant
        "P5\n1 1\n65535\n\0\0",      // 16-bit samples
        "P5\n0 1\n255\n",            // empty image
        "P5\n2 2\n255\n\1\2\3",      // truncated samples
        "P6\n99999999999 1\n255\n",  // absurd width
        "P5\n1 1\n255",              // header never ends
    };
    for (const char* text : cases) {
        Image image;
        std::string error;
        EXPECT_FALSE(parseText(text, image, &error)) << text;
        EXPECT_FALSE(error.empty());
        EXPECT_TRUE(image.pixels.empty());
    }
}

}  // namespace
}  // namespace zeq::container
