// Chroma down- and up-sampling by two, one destination row per call. The
// region functions and the row functions share these kernels: they differ only
// in their rounding biases (box filters) and in who supplies the edge samples
// (triangle filters). The SSE2 kernels give the same bytes as the scalar ones
// and read exactly the source samples the scalar formulas read.
#ifndef ZEQ_JPEG_SAMPLE_SAMPLING_H
#define ZEQ_JPEG_SAMPLE_SAMPLING_H

#include <cstdint>

namespace zeq {

// Rounding biases of the box filters, for even and odd output positions.
struct BoxBias {
    int32_t even, odd;
};
constexpr BoxBias kRegionH2V1Bias{1, 1};
constexpr BoxBias kRowH2V1Bias{0, 1};  // alternating, so ties do not all round up
constexpr BoxBias kRegionH2V2Bias{3, 3};
constexpr BoxBias kRowH2V2Bias{1, 2};

// d[k] = (s[2k] + s[2k+1] + bias) >> 1 for k in 0..count-1.
void boxDownH2V1Scalar(const uint8_t* s, uint8_t* d, int32_t count, BoxBias bias);
void boxDownH2V1Sse2(const uint8_t* s, uint8_t* d, int32_t count, BoxBias bias);

// d[k] = (s1[2k] + s1[2k+1] + s2[2k] + s2[2k+1] + bias) >> 2.
void boxDownH2V2Scalar(const uint8_t* s1, const uint8_t* s2, uint8_t* d, int32_t count,
                       BoxBias bias);
void boxDownH2V2Sse2(const uint8_t* s1, const uint8_t* s2, uint8_t* d, int32_t count, BoxBias bias);

// Triangle filter over `dstWidth` outputs with the neighbours taken from the
// row itself: even x reads s[x/2 - 1] (s[-1] at x = 0), odd x reads s[x/2 + 1].
void triangleUpH2V1Scalar(const uint8_t* s, uint8_t* d, int32_t dstWidth);
void triangleUpH2V1Sse2(const uint8_t* s, uint8_t* d, int32_t dstWidth);

// The same in both directions on c[i] = 3 * near[i] + far[i], weights 9, 3, 3, 1.
void triangleUpH2V2Scalar(const uint8_t* near, const uint8_t* far, uint8_t* d, int32_t dstWidth);
void triangleUpH2V2Sse2(const uint8_t* near, const uint8_t* far, uint8_t* d, int32_t dstWidth);

using TriangleUpH2V1Kernel = void (*)(const uint8_t*, uint8_t*, int32_t);
using TriangleUpH2V2Kernel = void (*)(const uint8_t*, const uint8_t*, uint8_t*, int32_t);

// 2 * srcWidth outputs from a row whose edges count as replicated: nothing
// outside s[0..srcWidth-1] is read. `interior` does all but the end pairs.
void triangleUpH2V1EdgeRow(const uint8_t* s, int32_t srcWidth, uint8_t* d,
                           TriangleUpH2V1Kernel interior);
void triangleUpH2V2EdgeRow(const uint8_t* near, const uint8_t* far, int32_t srcWidth, uint8_t* d,
                           TriangleUpH2V2Kernel interior);

}  // namespace zeq

#endif  // ZEQ_JPEG_SAMPLE_SAMPLING_H
