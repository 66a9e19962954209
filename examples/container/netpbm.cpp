#include "container/netpbm.h"

#include <cstdio>
#include <limits>

namespace zeq::container {
namespace {

// Largest image accepted: keeps width * height * channels far from overflow.
constexpr uint64_t MaxPixels = uint64_t{1} << 31;

bool fail(std::string* error, const std::string& why) {
    if (error) *error = why;
    return false;
}

class HeaderScanner {
public:
    HeaderScanner(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    // Skips whitespace and '#' comments, then reads a decimal number.
    bool number(uint32_t& value) {
        for (;;) {
            while (pos_ < size_ && isSpace(data_[pos_])) ++pos_;
            if (pos_ < size_ && data_[pos_] == '#') {
                while (pos_ < size_ && data_[pos_] != '\n' && data_[pos_] != '\r') ++pos_;
                continue;
            }
            break;
        }
        uint64_t v = 0;
        const size_t start = pos_;
        while (pos_ < size_ && data_[pos_] >= '0' && data_[pos_] <= '9' && v <= 0xFFFFFFFFu)
            v = v * 10 + (data_[pos_++] - '0');
        if (pos_ == start || v > 0xFFFFFFFFu) return false;
        value = static_cast<uint32_t>(v);
        return true;
    }

    // Exactly one whitespace byte separates the header from the samples.
    bool endOfHeader() {
        if (pos_ >= size_ || !isSpace(data_[pos_])) return false;
        ++pos_;
        return true;
    }

    size_t position() const { return pos_; }

private:
    static bool isSpace(uint8_t c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

    const uint8_t* data_;
    size_t size_;
    size_t pos_ = 2;
};

}  // namespace

bool parseNetpbm(const uint8_t* data, size_t size, Image& image, std::string* error) {
    image = Image{};
    if (size < 2 || data[0] != 'P' || (data[1] != '5' && data[1] != '6'))
        return fail(error, "not a binary PGM/PPM file (P5 or P6)");
    const int32_t channels = data[1] == '5' ? 1 : 3;
    HeaderScanner scan(data, size);
    uint32_t width, height, maxval;
    if (!scan.number(width) || !scan.number(height) || !scan.number(maxval) || !scan.endOfHeader())
        return fail(error, "malformed PGM/PPM header");
    if (maxval != 255) return fail(error, "only 8-bit PGM/PPM files (maxval 255) are supported");
    if (width == 0 || height == 0 || uint64_t{width} * height > MaxPixels ||
        width > static_cast<uint32_t>(std::numeric_limits<int32_t>::max()) ||
        height > static_cast<uint32_t>(std::numeric_limits<int32_t>::max()))
        return fail(error, "unsupported image size " + std::to_string(width) + "x" +
                               std::to_string(height));
    const uint64_t bytes = uint64_t{width} * height * channels;
    if (size - scan.position() < bytes) return fail(error, "truncated PGM/PPM samples");
    image.width = static_cast<int32_t>(width);
    image.height = static_cast<int32_t>(height);
    image.channels = channels;
    image.pixels.assign(data + scan.position(), data + scan.position() + bytes);
    return true;
}

bool readNetpbm(const std::string& path, Image& image, std::string* error) {
    std::vector<uint8_t> bytes;
    if (!readFile(path, bytes, error)) return false;
    if (!parseNetpbm(bytes.data(), bytes.size(), image, error)) {
        if (error) *error = path + ": " + *error;
        return false;
    }
    return true;
}

std::vector<uint8_t> formatNetpbm(const Image& image) {
    const std::string header = std::string(image.channels == 1 ? "P5\n" : "P6\n") +
                               std::to_string(image.width) + " " + std::to_string(image.height) +
                               "\n255\n";
    std::vector<uint8_t> out(header.begin(), header.end());
    out.insert(out.end(), image.pixels.begin(), image.pixels.end());
    return out;
}

bool writeNetpbm(const std::string& path, const Image& image, std::string* error) {
    return writeFile(path, formatNetpbm(image), error);
}

bool readFile(const std::string& path, std::vector<uint8_t>& bytes, std::string* error) {
    bytes.clear();
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) return fail(error, "cannot open " + path);
    uint8_t chunk[1 << 16];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0)
        bytes.insert(bytes.end(), chunk, chunk + n);
    const bool ok = !std::ferror(f);
    std::fclose(f);
    return ok || fail(error, "cannot read " + path);
}

bool writeFile(const std::string& path, const std::vector<uint8_t>& bytes, std::string* error) {
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return fail(error, "cannot create " + path);
    // An empty vector may hold no buffer at all, which fwrite must not see.
    const bool ok =
        bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    return (std::fclose(f) == 0 && ok) || fail(error, "cannot write " + path);
}

}  // namespace zeq::container
