// Binary Netpbm images (P5 grey, P6 RGB, maxval 255): the raw pixel files
// zeqcodec reads and writes.
#ifndef ZEQ_CONTAINER_NETPBM_H
#define ZEQ_CONTAINER_NETPBM_H

#include <cstdint>
#include <string>
#include <vector>

namespace zeq::container {

struct Image {
    int32_t width = 0;
    int32_t height = 0;
    int32_t channels = 0;         // 1 grey, 3 RGB (interleaved)
    std::vector<uint8_t> pixels;  // rows of width * channels bytes, no padding
};

// Parses a P5/P6 file held in memory. On failure returns false and says why
// in *error; image is left empty.
bool parseNetpbm(const uint8_t* data, size_t size, Image& image, std::string* error);
bool readNetpbm(const std::string& path, Image& image, std::string* error);

// Serializes image as P5 (1 channel) or P6 (3 channels).
std::vector<uint8_t> formatNetpbm(const Image& image);
bool writeNetpbm(const std::string& path, const Image& image, std::string* error);

// Whole-file helpers shared by the other container readers and writers.
bool readFile(const std::string& path, std::vector<uint8_t>& bytes, std::string* error);
bool writeFile(const std::string& path, const std::vector<uint8_t>& bytes, std::string* error);

}  // namespace zeq::container

#endif
