// Scalar integer inverse DCTs: the references of the vector engine, and the
// DC-only and scaled-down kernels.
#include "jpeg/sample/idct.h"

#include "core/rows.h"
#include "jpeg/sample/dct_constants.h"
#include "jpeg/sample/dct_wrap32.h"
#include "jpeg/zigzag.h"

namespace zeq {

using namespace dct;

namespace {

int16_t clampToByteRange(int32_t v) {
    return static_cast<int16_t>(v < 0 ? 0 : (v > 255 ? 255 : v));
}

void storeSamples(const int16_t* block, int width, uint8_t* dst, int32_t dstStep) {
    for (int y = 0; y < width; ++y) {
        uint8_t* row = rowAt(dst, dstStep, y);
        for (int x = 0; x < width; ++x)
            row[x] = static_cast<uint8_t>(clampToByteRange(block[width * y + x] + 128));
    }
}

// One 8-point transform of the flow graph on v[0], v[stride], ..., in place.
// The column pass keeps a gain of 8 * sqrt(8) and stores the low 16 bits;
// the row pass removes it. kCos1MinusSin1 is 25746 in the full transform and
// one less in the pruned ones.
template <bool kRowPass, int32_t kCos1MinusSin1>
void inversePass(int16_t* v, int stride) {
    Wrap32 y[8];
    for (int i = 0; i < 8; ++i) y[i] = v[i * stride];

    const Wrap32 m = (y[5] + y[3]) * kInvCos3;
    const Wrap32 t5 = m - y[5] * kInvCos3MinusSin3;
    const Wrap32 t3 = m - y[3] * kInvCos3PlusSin3;
    const Wrap32 n = (y[1] + y[7]) * kInvSin1;
    const Wrap32 t1 = n + y[1] * kCos1MinusSin1;
    const Wrap32 t7 = n - y[7] * kInvCos1PlusSin1;
    const Wrap32 r0 = (t5 + t1 + 2048).sar(12) * kInvSqrt2;
    const Wrap32 r3 = (t3 + t7 + 2048).sar(12) * kInvSqrt2;
    const Wrap32 g = t1 - t5;
    const Wrap32 r1 = g + (t7 - t3);
    const Wrap32 r2 = g + (t3 - t7);

    const Wrap32 e = y[2] * kEvenDifference + (y[2] + y[6]) * kEvenRotation;
    const Wrap32 f = (y[2] + y[6]) * kEvenRotation - y[6] * kEvenSum;
    const Wrap32 s = (y[0] + y[4]) * 32768;
    const Wrap32 h = (y[0] - y[4]) * 32768;
    const Wrap32 e0 = s + e, e3 = s - e, e1 = h + f, e2 = h - f;

    const Wrap32 x[8] = {e0 + r0, e1 + r1, e2 + r2, e3 + r3, e3 - r3, e2 - r2, e1 - r1, e0 - r0};
    const int shift = kRowPass ? kPassTwoShift : kPassOneShift;
    const Wrap32 bias = 1 << (shift - 1);
    for (int i = 0; i < 8; ++i) v[i * stride] = (x[i] + bias).sar(shift).low16();
}

template <int32_t kCos1MinusSin1>
void inverseDct(int16_t* block) {
    for (int c = 0; c < 8; ++c) inversePass<false, kCos1MinusSin1>(block + c, 8);
    for (int r = 0; r < 8; ++r) inversePass<true, kCos1MinusSin1>(block + 8 * r, 1);
}

void dequantize(const int16_t* src, int16_t* block, const uint16_t* invTable) {
    for (int i = 0; i < kBlockSize; ++i) block[i] = dequantizeSigned(src[i], invTable[i]);
}

// The pruned transforms equal the engine with the pruned odd factor on a
// block whose coefficients outside the top-left size x size are zero.
void inverseDctPrunedSamples(int size, const int16_t* src, uint8_t* dst, int32_t dstStep,
                             const uint16_t* invTable) {
    int16_t block[kBlockSize];
    dequantize(src, block, invTable);
    for (int i = 0; i < kBlockSize; ++i) {
        if (i / 8 >= size || i % 8 >= size) block[i] = 0;
    }
    inverseDct<kPrunedCos1MinusSin1>(block);
    storeSamples(block, 8, dst, dstStep);
}

}  // namespace

void inverseDctQuantScalar(const int16_t* src, int16_t* dst, const uint16_t* invTable) {
    dequantize(src, dst, invTable);
    inverseDct<kInvCos1MinusSin1>(dst);
}

void inverseDctQuantSamplesScalar(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                  const uint16_t* invTable) {
    int16_t block[kBlockSize];
    inverseDctQuantScalar(src, block, invTable);
    storeSamples(block, 8, dst, dstStep);
}

void inverseDctQuant2x2SamplesScalar(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                     const uint16_t* invTable) {
    inverseDctPrunedSamples(2, src, dst, dstStep, invTable);
}

void inverseDctQuant4x4SamplesScalar(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                     const uint16_t* invTable) {
    inverseDctPrunedSamples(4, src, dst, dstStep, invTable);
}

// No transform: the DC product is not saturated, and the shift rounds toward
// minus infinity, unlike the full transform.
void inverseDctQuantDcSamples(const int16_t* src, uint8_t* dst, int32_t dstStep,
                              const uint16_t* invTable) {
    const int32_t dc = (int32_t{src[0]} * int32_t{static_cast<int16_t>(invTable[0])}) >> 3;
    const auto sample = static_cast<uint8_t>(clampToByteRange(dc + 128));
    for (int y = 0; y < 8; ++y) {
        uint8_t* row = rowAt(dst, dstStep, y);
        for (int x = 0; x < 8; ++x) row[x] = sample;
    }
}

namespace {

// top/bottom (or left/right) halves of one line of coefficients v[0], v[stride], ...
template <int kShift>
void halfMeans(const int16_t* v, int stride, int16_t* first, int16_t* second) {
    Wrap32 o = 0;
    for (int k = 0; k < 4; ++k) o = o + Wrap32(v[(2 * k + 1) * stride]) * kHalfMean[k];
    const Wrap32 d = Wrap32(v[0]) * 65536;
    const Wrap32 bias = 1 << (kShift - 1);
    *first = (d + o + bias).sar(kShift).low16();
    *second = (d - o + bias).sar(kShift).low16();
}

template <int kShift>
void pairMeans(const int16_t* v, int stride, int16_t* out, int outStride) {
    const Wrap32 even = Wrap32(v[2 * stride]) * kPairCos2 - Wrap32(v[6 * stride]) * kPairCos6;
    const Wrap32 dc = Wrap32(v[0]) * 32768;
    const Wrap32 bigE = dc + even, bigF = dc - even;
    Wrap32 o1 = 0, o2 = 0;
    for (int k = 0; k < 4; ++k) {
        o1 = o1 + Wrap32(v[(2 * k + 1) * stride]) * kPairOdd1[k];
        o2 = o2 + Wrap32(v[(2 * k + 1) * stride]) * kPairOdd2[k];
    }
    const Wrap32 bias = 1 << (kShift - 1);
    const Wrap32 x[4] = {bigE + o1, bigF + o2, bigF - o2, bigE - o1};
    for (int i = 0; i < 4; ++i) out[i * outStride] = (x[i] + bias).sar(kShift).low16();
}

}  // namespace

void inverseDctQuantTo2x2SamplesScalar(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                       const uint16_t* invTable) {
    int16_t block[kBlockSize];
    dequantize(src, block, invTable);
    // Pass one fills rows 0 (top halves) and 1 (bottom halves) of the columns
    // that pass two reads: 0, 1, 3, 5, 7.
    int16_t halves[2][8] = {};
    for (int c : {0, 1, 3, 5, 7}) halfMeans<13>(block + c, 8, &halves[0][c], &halves[1][c]);
    int16_t out[4];
    for (int r = 0; r < 2; ++r) halfMeans<22>(halves[r], 1, &out[2 * r], &out[2 * r + 1]);
    storeSamples(out, 2, dst, dstStep);
}

void inverseDctQuantTo4x4SamplesScalar(const int16_t* src, uint8_t* dst, int32_t dstStep,
                                       const uint16_t* invTable) {
    int16_t block[kBlockSize];
    dequantize(src, block, invTable);
    int16_t pairs[4][8] = {};
    for (int c : {0, 1, 2, 3, 5, 6, 7}) pairMeans<12>(block + c, 8, &pairs[0][c], 8);
    int16_t out[16];
    for (int r = 0; r < 4; ++r) pairMeans<21>(pairs[r], 1, out + 4 * r, 1);
    storeSamples(out, 4, dst, dstStep);
}

}  // namespace zeq
