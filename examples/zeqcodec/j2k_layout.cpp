#include "zeqcodec/j2k_layout.h"

#include <cmath>

#include "zeqj.h"

namespace zeqcodec::j2k {

std::vector<Band> planeBands(int32_t width, int32_t height, int32_t levels) {
    std::vector<Band> bands(static_cast<size_t>(zeq::container::j2kBandCount(levels)));
    Band& ll = bands[0];
    ll.width = lowSize(width, levels);
    ll.height = lowSize(height, levels);
    for (int32_t b = 1; b < static_cast<int32_t>(bands.size()); ++b) {
        const int32_t level = zeq::container::j2kBandLevel(levels, b);
        const int32_t orientation = zeq::container::j2kBandOrientation(b);
        // The level splits the previous low band: low halves first.
        const int32_t w = lowSize(width, level - 1), h = lowSize(height, level - 1);
        const int32_t lw = (w + 1) / 2, lh = (h + 1) / 2;
        Band& band = bands[static_cast<size_t>(b)];
        band.orientation = orientation;
        band.resolution = levels - level + 1;
        const bool highX = orientation == 1 || orientation == 3;
        const bool highY = orientation == 2 || orientation == 3;
        band.x = highX ? lw : 0;
        band.y = highY ? lh : 0;
        band.width = highX ? w - lw : lw;
        band.height = highY ? h - lh : lh;
    }
    int32_t first = 0;
    for (Band& band : bands) {
        band.blocksWide = (band.width + CodeBlockSize - 1) / CodeBlockSize;
        band.blocksHigh = (band.height + CodeBlockSize - 1) / CodeBlockSize;
        band.firstBlock = first;
        first += band.blocksWide * band.blocksHigh;
    }
    return bands;
}

namespace {

// Squared norm of a 1D synthesis: an impulse in the low band after `level`
// levels (high = false) or in the high band of level `level`, synthesized
// back through every level.
double synthesisEnergy1d(int32_t level, bool high) {
    const int32_t length = 64 << level;
    const double amplitude = 1 << 20;
    std::vector<int32_t> line(static_cast<size_t>(length), 0);
    const int32_t n = length >> (high ? level - 1 : level);
    const int32_t position = high ? n / 2 + n / 4 : n / 2;
    line[static_cast<size_t>(position)] = static_cast<int32_t>(amplitude);
    const ZeqiRect full{0, 0, length, 1};
    int32_t bufferSize = 0;
    zeqiWTGetBufSize_D97_JPEG2K_32s_C1IR(&full, &bufferSize);
    std::vector<uint8_t> buffer(static_cast<size_t>(bufferSize) + 64);
    for (int32_t l = level; l >= 1; --l) {
        const ZeqiRect rect{0, 0, length >> (l - 1), 1};
        zeqiWTInv_D97_JPEG2K_32s_C1IR(line.data(), length * 4, &rect, buffer.data());
    }
    double energy = 0;
    for (int32_t v : line) energy += static_cast<double>(v) * v;
    return energy / (amplitude * amplitude);
}

}  // namespace

std::vector<double> synthesisNorms97(int32_t levels) {
    std::vector<double> low(static_cast<size_t>(levels) + 1, 1.0), high(low);
    for (int32_t l = 1; l <= levels; ++l) {
        low[static_cast<size_t>(l)] = std::sqrt(synthesisEnergy1d(l, false));
        high[static_cast<size_t>(l)] = std::sqrt(synthesisEnergy1d(l, true));
    }
    std::vector<double> norms(static_cast<size_t>(zeq::container::j2kBandCount(levels)));
    norms[0] = low[static_cast<size_t>(levels)] * low[static_cast<size_t>(levels)];
    for (size_t b = 1; b < norms.size(); ++b) {
        const size_t level = static_cast<size_t>(zeq::container::j2kBandLevel(levels, int32_t(b)));
        const int32_t orientation = zeq::container::j2kBandOrientation(static_cast<int32_t>(b));
        norms[b] = orientation == 3 ? high[level] * high[level] : high[level] * low[level];
    }
    return norms;
}

zeq::container::J2kQuantStep encodeStep(double step, int32_t range) {
    int exponent = 0;
    const double fraction = std::frexp(step, &exponent);  // step = fraction * 2^exponent
    // step = 2^(e) * (1 + mantissa / 2048) with e = exponent - 1
    int32_t e = exponent - 1;
    int32_t mantissa = static_cast<int32_t>(std::ceil((fraction * 2 - 1) * 2048));
    if (mantissa >= 2048) {
        mantissa = 0;
        ++e;
    }
    zeq::container::J2kQuantStep s;
    int32_t eps = range - e;
    if (eps < 0) eps = 0, mantissa = 2047;
    if (eps > 31) eps = 31, mantissa = 0;
    s.exponent = static_cast<uint8_t>(eps);
    s.mantissa = static_cast<uint16_t>(mantissa);
    return s;
}

double stepValue(const zeq::container::J2kQuantStep& s, int32_t range) {
    return std::ldexp(1.0 + s.mantissa / 2048.0, range - s.exponent);
}

}  // namespace zeqcodec::j2k
