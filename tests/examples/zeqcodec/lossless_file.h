// Lossless (SOF3) JPEG files for the decoder tests, written with the
// library's own predictors and row coder: the installed libjpeg cannot write
// them. Three-component files carry the ids 'R', 'G', 'B' (no colour
// transform), so a decode must give back the pixels exactly.
#ifndef ZEQ_TESTS_EXAMPLES_ZEQCODEC_LOSSLESS_FILE_H
#define ZEQ_TESTS_EXAMPLES_ZEQCODEC_LOSSLESS_FILE_H

#include <cstdint>
#include <vector>

#include "container/netpbm.h"
#include "zeqj.h"

namespace zeq::test {

struct LosslessSettings {
    int32_t predictor = 1;
    int32_t pointTransform = 0;
    int32_t restartRows = 0;  // rows per restart interval, 0 = none
};

inline std::vector<uint8_t> writeLosslessFile(const container::Image& image,
                                              const LosslessSettings& s) {
    std::vector<uint8_t> out;
    auto u8 = [&](int v) { out.push_back(static_cast<uint8_t>(v)); };
    auto u16 = [&](int v) {
        u8(v >> 8);
        u8(v & 0xFF);
    };
    const int32_t n = image.channels, w = image.width, h = image.height;
    // Categories 0..16 as 5-bit codes 0..16.
    uint8_t bits[16] = {0, 0, 0, 0, 17};
    uint8_t values[17];
    for (int i = 0; i < 17; ++i) values[i] = static_cast<uint8_t>(i);
    u16(0xFFD8);
    u16(0xFFC3);
    u16(8 + 3 * n);
    u8(8);
    u16(h);
    u16(w);
    u8(n);
    for (int c = 0; c < n; ++c) {
        u8(n == 3 ? "RGB"[c] : 1);
        u8(0x11);
        u8(0);
    }
    u16(0xFFC4);
    u16(2 + 17 + 17);
    u8(0);
    for (uint8_t b : bits) u8(b);
    for (uint8_t v : values) u8(v);
    if (s.restartRows > 0) {
        u16(0xFFDD);
        u16(4);
        u16(s.restartRows * w);
    }
    u16(0xFFDA);
    u16(6 + 2 * n);
    u8(n);
    for (int c = 0; c < n; ++c) {
        u8(n == 3 ? "RGB"[c] : 1);
        u8(0x00);
    }
    u8(s.predictor);
    u8(0);
    u8(s.pointTransform);

    std::vector<uint8_t> specMemory(1024);
    auto* spec = reinterpret_cast<HuffmanEncodeSpec*>(specMemory.data());
    zeqiEncodeHuffmanSpecInit_JPEG_8u(bits, values, spec);
    std::vector<uint8_t> stateMemory(1048);
    auto* state = reinterpret_cast<HuffmanEncodeState*>(stateMemory.data());
    zeqiEncodeHuffmanStateInit_JPEG_8u(state);
    const HuffmanEncodeSpec* tables[4] = {spec, spec, spec, spec};
    std::vector<int16_t> samples(size_t(w) * 2 * n), diffs(size_t(w) * n);
    std::vector<uint8_t> data(size_t(w) * h * n * 3 + 64);
    int32_t pos = 0, interval = 0;
    for (int32_t y = 0; y < h; ++y) {
        const bool first = y == 0 || (s.restartRows > 0 && y % s.restartRows == 0);
        if (y > 0 && first) {
            zeqiEncodeHuffmanRow_JPEG_16s1u_P4C1(nullptr, 0, 0, data.data(), int32_t(data.size()),
                                                 &pos, nullptr, state, 1);
            data[size_t(pos++)] = 0xFF;
            data[size_t(pos++)] = static_cast<uint8_t>(0xD0 + (interval++ & 7));
        }
        const int16_t* rows[4] = {};
        for (int c = 0; c < n; ++c) {
            int16_t* cur = samples.data() + size_t(w) * (2 * c + (y & 1));
            const int16_t* above = samples.data() + size_t(w) * (2 * c + ((y + 1) & 1));
            for (int32_t x = 0; x < w; ++x)
                cur[x] = int16_t(image.pixels[(size_t(y) * w + x) * n + c] >> s.pointTransform);
            int16_t* d = diffs.data() + size_t(w) * c;
            if (first)
                zeqiDiffPredFirstRow_JPEG_16s_C1(cur, d, w, 8, s.pointTransform);
            else
                zeqiDiffPredRow_JPEG_16s_C1(cur, above, d, w, s.predictor);
            rows[c] = d;
        }
        zeqiEncodeHuffmanRow_JPEG_16s1u_P4C1(rows, w, n, data.data(), int32_t(data.size()), &pos,
                                             tables, state, 0);
    }
    zeqiEncodeHuffmanRow_JPEG_16s1u_P4C1(nullptr, 0, 0, data.data(), int32_t(data.size()), &pos,
                                         nullptr, state, 1);
    out.insert(out.end(), data.begin(), data.begin() + pos);
    u16(0xFFD9);
    return out;
}

}  // namespace zeq::test

#endif
