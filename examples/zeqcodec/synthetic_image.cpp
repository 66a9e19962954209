#include "zeqcodec/synthetic_image.h"

#include <algorithm>
#include <cmath>

namespace zeqcodec {
namespace {

uint8_t clamp(double v) { return uint8_t(std::lround(std::min(255.0, std::max(0.0, v)))); }

// A 5x7 glyph from a hash: a few vertical, horizontal and diagonal strokes.
bool glyphPixel(uint32_t code, int x, int y) {
    const bool left = code & 1, right = code & 2, top = code & 4, middle = code & 8,
               bottom = code & 16, diagonal = code & 32, stem = code & 64;
    return (left && x == 0) || (right && x == 4) || (top && y == 0) || (middle && y == 3) ||
           (bottom && y == 6) || (diagonal && x == y * 5 / 7) || (stem && x == 2);
}

}  // namespace

zeq::container::Image syntheticImage(int32_t width, int32_t height, int32_t channels,
                                     uint32_t seed) {
    zeq::container::Image img;
    img.width = width;
    img.height = height;
    img.channels = channels;
    img.pixels.resize(size_t(width) * size_t(height) * size_t(channels));
    uint32_t noise = seed * 2654435761u + 12345;
    const double cx = width * 0.62, cy = height * 0.42, radius = std::min(width, height) * 0.23;
    const int textTop = height * 3 / 4, textBottom = std::min(height, textTop + height / 8);
    const int scale = std::max(1, height / 270);  // glyph cell 6x9 times scale
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* row = img.pixels.data() + size_t(y) * size_t(width) * size_t(channels);
        for (int32_t x = 0; x < width; ++x) {
            const double u = double(x) / width, v = double(y) / height;
            // Sky-like gradient above a textured "ground".
            double r = 70 + 120 * u + 30 * std::sin(7 * v + 3 * u);
            double g = 110 + 90 * v + 25 * std::sin(11 * u * v + 1);
            double b = 200 - 120 * v + 20 * std::cos(5 * u);
            if (v > 0.55) {
                const double t = std::sin(x * 0.21 + std::sin(y * 0.05) * 4) *
                                 std::cos(y * 0.17 + std::cos(x * 0.03) * 3);
                r = 90 + 40 * t + 60 * u;
                g = 120 + 35 * t;
                b = 60 + 25 * t;
            }
            // A shaded disc and a hard-edged rectangle.
            const double dx = x - cx, dy = y - cy, d = std::sqrt(dx * dx + dy * dy);
            if (d < radius) {
                const double shade = 0.6 + 0.4 * (1 - d / radius) - 0.2 * dx / radius;
                r = 230 * shade;
                g = 160 * shade;
                b = 40 * shade;
            }
            if (x > width / 10 && x < width * 3 / 10 && y > height / 8 && y < height / 2) {
                r = 30;
                g = 40 + 100 * (((x / (8 * scale)) + (y / (8 * scale))) & 1);
                b = 150;
            }
            // Text-like rows on a light band.
            if (y >= textTop && y < textBottom && x > width / 20 && x < width * 19 / 20) {
                r = g = b = 235;
                const int cellX = (x - width / 20) / scale, cellY = (y - textTop) / scale;
                const uint32_t column = uint32_t(cellX / 6), line = uint32_t(cellY / 9);
                const uint32_t code = (column * 2246822519u ^ line * 3266489917u) >> 7;
                if (code % 7 != 0 && cellX % 6 < 5 && cellY % 9 < 7 &&
                    glyphPixel(code, cellX % 6, cellY % 9))
                    r = g = b = 25;
            }
            noise = noise * 1664525u + 1013904223u;
            const double n = double(int32_t(noise >> 24) % 9) - 4;  // -4..4
            if (channels == 1) {
                row[x] = clamp(0.299 * r + 0.587 * g + 0.114 * b + n);
            } else {
                row[3 * x] = clamp(r + n);
                row[3 * x + 1] = clamp(g + n);
                row[3 * x + 2] = clamp(b + n);
            }
        }
    }
    return img;
}

}  // namespace zeqcodec
