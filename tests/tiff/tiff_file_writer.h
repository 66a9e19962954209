// A minimal little-endian baseline TIFF writer for the tests: one image,
// chunky samples of 8 bits, PackBits strips whose rows are coded one by one by
// this library's encoder.
#ifndef ZEQ_TESTS_TIFF_TIFF_FILE_WRITER_H
#define ZEQ_TESTS_TIFF_TIFF_FILE_WRITER_H

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "zeqj.h"

namespace zeq::test {

class TiffFileWriter {
public:
    // rows: height rows of width * samplesPerPixel bytes each.
    static bool write(const std::string& path, int32_t width, int32_t height,
                      int32_t samplesPerPixel, int32_t rowsPerStrip,
                      const std::vector<std::vector<uint8_t>>& rows) {
        TiffFileWriter w;
        w.bytes_ = {'I', 'I', 42, 0, 0, 0, 0, 0};  // IFD offset patched below
        std::vector<uint32_t> stripOffsets, stripCounts;
        for (int32_t y0 = 0; y0 < height; y0 += rowsPerStrip) {
            stripOffsets.push_back(static_cast<uint32_t>(w.bytes_.size()));
            for (int32_t y = y0; y < height && y < y0 + rowsPerStrip; ++y) {
                const auto& row = rows[static_cast<size_t>(y)];
                std::vector<uint8_t> packed(row.size() * 2 + 2);
                int32_t position = 0;
                if (zeqiPackBitsRow_TIFF_8u_C1(row.data(), static_cast<int32_t>(row.size()),
                                               packed.data(), &position,
                                               static_cast<int32_t>(packed.size())) != StatusOk)
                    return false;
                w.bytes_.insert(w.bytes_.end(), packed.begin(), packed.begin() + position);
            }
            stripCounts.push_back(static_cast<uint32_t>(w.bytes_.size()) - stripOffsets.back());
        }
        w.align();
        const uint32_t bitsAt = w.array16(std::vector<uint16_t>(samplesPerPixel, 8));
        const uint32_t offsetsAt = w.array32(stripOffsets);
        const uint32_t countsAt = w.array32(stripCounts);
        w.align();
        w.put32(4, static_cast<uint32_t>(w.bytes_.size()));

        const uint16_t kShort = 3, kLong = 4;
        const auto strips = static_cast<uint32_t>(stripOffsets.size());
        struct Entry {
            uint16_t tag, type;
            uint32_t count, value;
        } const entries[] = {
            {256, kLong, 1, static_cast<uint32_t>(width)},
            {257, kLong, 1, static_cast<uint32_t>(height)},
            {258, kShort, static_cast<uint32_t>(samplesPerPixel),
             samplesPerPixel == 1 ? 8u : bitsAt},
            {259, kShort, 1, 32773},                           // PackBits
            {262, kShort, 1, samplesPerPixel == 3 ? 2u : 1u},  // RGB or black is zero
            {273, kLong, strips, strips == 1 ? stripOffsets[0] : offsetsAt},
            {277, kShort, 1, static_cast<uint32_t>(samplesPerPixel)},
            {278, kLong, 1, static_cast<uint32_t>(rowsPerStrip)},
            {279, kLong, strips, strips == 1 ? stripCounts[0] : countsAt},
            {284, kShort, 1, 1},  // chunky
        };
        w.append16(static_cast<uint16_t>(std::size(entries)));
        for (const auto& e : entries) {
            w.append16(e.tag);
            w.append16(e.type);
            w.append32(e.count);
            if (e.type == kShort && e.count == 1) {
                w.append16(static_cast<uint16_t>(e.value));
                w.append16(0);
            } else {
                w.append32(e.value);
            }
        }
        w.append32(0);
        std::ofstream out(path, std::ios::binary);
        out.write(reinterpret_cast<const char*>(w.bytes_.data()),
                  static_cast<std::streamsize>(w.bytes_.size()));
        return static_cast<bool>(out);
    }

private:
    void append16(uint16_t v) {
        bytes_.push_back(static_cast<uint8_t>(v));
        bytes_.push_back(static_cast<uint8_t>(v >> 8));
    }
    void append32(uint32_t v) {
        append16(static_cast<uint16_t>(v));
        append16(static_cast<uint16_t>(v >> 16));
    }
    void put32(size_t at, uint32_t v) {
        for (int i = 0; i < 4; ++i) bytes_[at + i] = static_cast<uint8_t>(v >> (8 * i));
    }
    void align() {
        while (bytes_.size() % 4) bytes_.push_back(0);
    }
    uint32_t array16(const std::vector<uint16_t>& values) {
        const auto at = static_cast<uint32_t>(bytes_.size());
        for (uint16_t v : values) append16(v);
        return at;
    }
    uint32_t array32(const std::vector<uint32_t>& values) {
        const auto at = static_cast<uint32_t>(bytes_.size());
        for (uint32_t v : values) append32(v);
        return at;
    }
    std::vector<uint8_t> bytes_;
};

}  // namespace zeq::test

#endif  // ZEQ_TESTS_TIFF_TIFF_FILE_WRITER_H
