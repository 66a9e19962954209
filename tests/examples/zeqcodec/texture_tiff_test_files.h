// Files and images shared by the texture and TIFF command tests: temporary
// paths, Netpbm round trips through the file system, and test images.
#ifndef ZEQ_TESTS_EXAMPLES_ZEQCODEC_TEXTURE_TIFF_TEST_FILES_H
#define ZEQ_TESTS_EXAMPLES_ZEQCODEC_TEXTURE_TIFF_TEST_FILES_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "container/netpbm.h"
#include "tests/common/test_support.h"

namespace zeq::test {

// A file name under the test temporary directory, removed with the object.
class TempFile {
public:
    explicit TempFile(const std::string& name) : path_(testing::TempDir() + "zeqcodec_" + name) {}
    ~TempFile() { std::remove(path_.c_str()); }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

// Smooth gradients with noise of the given amplitude (0 = none), grey or RGB.
inline container::Image makeImage(std::mt19937& rng, int32_t width, int32_t height,
                                  int32_t channels, int noise) {
    container::Image image;
    image.width = width;
    image.height = height;
    image.channels = channels;
    const int phase = uniform<int>(rng, 0, 255);
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x)
            for (int32_t c = 0; c < channels; ++c) {
                const int base = (phase + x * (c + 2) + y * (3 - c) + 60 * c) % 256;
                const int v = base + (noise ? uniform<int>(rng, -noise, noise) : 0);
                image.pixels.push_back(static_cast<uint8_t>(std::clamp(v, 0, 255)));
            }
    return image;
}

// Every sample equal to value.
inline container::Image flatImage(int32_t width, int32_t height, int32_t channels, uint8_t value) {
    container::Image image;
    image.width = width;
    image.height = height;
    image.channels = channels;
    image.pixels.assign(static_cast<size_t>(width) * height * channels, value);
    return image;
}

// An image whose samples are random runs, repeats of two and noise:
// the PackBits encoder's interesting cases.
inline container::Image makeRunImage(std::mt19937& rng, int32_t width, int32_t height,
                                     int32_t channels) {
    container::Image image;
    image.width = width;
    image.height = height;
    image.channels = channels;
    const size_t bytes = static_cast<size_t>(width) * height * channels;
    while (image.pixels.size() < bytes) {
        const auto v = uniform<uint8_t>(rng, 0, 255);
        const int kind = uniform<int>(rng, 0, 9);
        const int n = kind < 2 ? uniform<int>(rng, 3, 300) : (kind < 4 ? 2 : 1);
        for (int i = 0; i < n && image.pixels.size() < bytes; ++i) image.pixels.push_back(v);
    }
    return image;
}

inline void writeImage(const std::string& path, const container::Image& image) {
    std::string error;
    ASSERT_TRUE(container::writeNetpbm(path, image, &error)) << error;
}

inline container::Image readImage(const std::string& path) {
    container::Image image;
    std::string error;
    EXPECT_TRUE(container::readNetpbm(path, image, &error)) << error;
    return image;
}

inline std::vector<uint8_t> readBytes(const std::string& path) {
    std::vector<uint8_t> bytes;
    std::string error;
    EXPECT_TRUE(container::readFile(path, bytes, &error)) << error;
    return bytes;
}

inline void writeBytes(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::string error;
    ASSERT_TRUE(container::writeFile(path, bytes, &error)) << error;
}

}  // namespace zeq::test

#endif
