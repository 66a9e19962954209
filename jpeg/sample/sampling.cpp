#include "jpeg/sample/sampling.h"

namespace zeq {

namespace {

int32_t biasAt(BoxBias bias, int32_t k) { return (k & 1) ? bias.odd : bias.even; }

uint8_t byte(int32_t v) { return static_cast<uint8_t>(v); }

}  // namespace

void boxDownH2V1Scalar(const uint8_t* s, uint8_t* d, int32_t count, BoxBias bias) {
    for (int32_t k = 0; k < count; ++k)
        d[k] = byte((s[2 * k] + s[2 * k + 1] + biasAt(bias, k)) >> 1);
}

void boxDownH2V2Scalar(const uint8_t* s1, const uint8_t* s2, uint8_t* d, int32_t count,
                       BoxBias bias) {
    for (int32_t k = 0; k < count; ++k)
        d[k] = byte((s1[2 * k] + s1[2 * k + 1] + s2[2 * k] + s2[2 * k + 1] + biasAt(bias, k)) >> 2);
}

void triangleUpH2V1Scalar(const uint8_t* s, uint8_t* d, int32_t dstWidth) {
    for (int32_t x = 0; x < dstWidth; ++x) {
        const int32_t i = x >> 1;
        d[x] =
            (x & 1) ? byte((3 * s[i] + s[i + 1] + 2) >> 2) : byte((3 * s[i] + s[i - 1] + 1) >> 2);
    }
}

void triangleUpH2V2Scalar(const uint8_t* near, const uint8_t* far, uint8_t* d, int32_t dstWidth) {
    auto c = [&](int32_t i) { return 3 * near[i] + far[i]; };
    for (int32_t x = 0; x < dstWidth; ++x) {
        const int32_t i = x >> 1;
        d[x] =
            (x & 1) ? byte((3 * c(i) + c(i + 1) + 7) >> 4) : byte((3 * c(i) + c(i - 1) + 8) >> 4);
    }
}

// The end pairs are the interior formulas with the edge sample standing in for
// its missing neighbour.
void triangleUpH2V1EdgeRow(const uint8_t* s, int32_t srcWidth, uint8_t* d,
                           TriangleUpH2V1Kernel interior) {
    const int32_t n = srcWidth;
    if (n == 1) {
        d[0] = d[1] = s[0];
        return;
    }
    d[0] = s[0];
    d[1] = byte((3 * s[0] + s[1] + 2) >> 2);
    interior(s + 1, d + 2, 2 * (n - 2));
    d[2 * n - 2] = byte((3 * s[n - 1] + s[n - 2] + 1) >> 2);
    d[2 * n - 1] = s[n - 1];
}

void triangleUpH2V2EdgeRow(const uint8_t* near, const uint8_t* far, int32_t srcWidth, uint8_t* d,
                           TriangleUpH2V2Kernel interior) {
    const int32_t n = srcWidth;
    auto c = [&](int32_t i) { return 3 * near[i] + far[i]; };
    d[0] = byte((4 * c(0) + 8) >> 4);
    if (n == 1) {
        d[1] = byte((4 * c(0) + 7) >> 4);
        return;
    }
    d[1] = byte((3 * c(0) + c(1) + 7) >> 4);
    interior(near + 1, far + 1, d + 2, 2 * (n - 2));
    d[2 * n - 2] = byte((3 * c(n - 1) + c(n - 2) + 8) >> 4);
    d[2 * n - 1] = byte((4 * c(n - 1) + 7) >> 4);
}

}  // namespace zeq
