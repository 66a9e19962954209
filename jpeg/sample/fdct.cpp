// Scalar integer forward DCT: the reference the vector engine is tested against.
#include "jpeg/sample/fdct.h"

#include "core/rows.h"
#include "jpeg/sample/dct_constants.h"
#include "jpeg/sample/dct_wrap32.h"
#include "jpeg/sample/quantize.h"
#include "jpeg/zigzag.h"

namespace zeq {

using namespace dct;

namespace {

// One 8-point transform of the flow graph, on the eight elements
// v[0], v[stride], ... The row pass keeps a gain of 8 * sqrt(8) and stores
// the low 16 bits of its results; the column pass removes the gain.
template <bool kColumnPass>
void forwardPass(int16_t* v, int stride) {
    Wrap32 x[8];
    for (int i = 0; i < 8; ++i) x[i] = v[i * stride];

    const Wrap32 s07 = x[0] + x[7], s16 = x[1] + x[6], s25 = x[2] + x[5], s34 = x[3] + x[4];
    const Wrap32 d07 = x[0] - x[7], d16 = x[1] - x[6], d25 = x[2] - x[5], d34 = x[3] - x[4];

    const Wrap32 a = s07 + s34, b = s16 + s25, c = s07 - s34, d = s16 - s25;
    const Wrap32 z = (c + d) * kEvenRotation;
    const Wrap32 p2 = c * kEvenDifference + z;
    const Wrap32 p6 = z - d * kEvenSum;

    const Wrap32 u = (d07 * kFwdSqrt2 + 2048).sar(12);
    const Wrap32 w = (d34 * kFwdSqrt2 + 2048).sar(12);
    const Wrap32 p = d16 * 8, q = d25 * 8;
    const Wrap32 bigA = p + q + u, bigC = u - (p + q), bigE = p - q;
    const Wrap32 bigB = bigE + w, bigD = w - bigE;
    const Wrap32 z1 = (bigA + bigB) * kFwdSin1;
    const Wrap32 z2 = (bigC + bigD) * kFwdCos3;
    const Wrap32 p1 = z1 + bigA * kFwdCos1MinusSin1;
    const Wrap32 p7 = z1 - bigB * kFwdCos1PlusSin1;
    const Wrap32 p3 = z2 - bigD * kFwdCos3PlusSin3;
    const Wrap32 p5 = z2 - bigC * kFwdCos3MinusSin3;

    const int shift = kColumnPass ? kPassTwoShift : kPassOneShift;
    const Wrap32 bias = 1 << (shift - 1);
    const Wrap32 rotated[8] = {0, p1, p2, p3, 0, p5, p6, p7};
    for (int k = 1; k < 8; ++k) {
        if (k != 4) v[k * stride] = (rotated[k] + bias).sar(shift).low16();
    }
    if (kColumnPass) {
        const Wrap32 evenBias = 1 << (kFwdEvenShift - 1);
        v[0] = (a + b + evenBias).sar(kFwdEvenShift).low16();
        v[4 * stride] = (a - b + evenBias).sar(kFwdEvenShift).low16();
    } else {
        v[0] = ((a + b) * 8).low16();
        v[4 * stride] = ((a - b) * 8).low16();
    }
}

}  // namespace

void forwardDctScalar(int16_t* block) {
    for (int r = 0; r < 8; ++r) forwardPass<false>(block + 8 * r, 1);
    for (int c = 0; c < 8; ++c) forwardPass<true>(block + c, 8);
}

void forwardDctQuantScalar(const int16_t* src, int16_t* dst, const uint16_t* fwdTable) {
    int16_t block[kBlockSize];
    for (int i = 0; i < kBlockSize; ++i) block[i] = src[i];
    forwardDctScalar(block);
    for (int i = 0; i < kBlockSize; ++i) dst[i] = quantizeCoefficient(block[i], fwdTable[i]);
}

void forwardDctQuantSamplesScalar(const uint8_t* src, int32_t srcStep, int16_t* dst,
                                  const uint16_t* fwdTable) {
    int16_t block[kBlockSize];
    for (int y = 0; y < 8; ++y) {
        const uint8_t* row = rowAt(src, srcStep, y);
        for (int x = 0; x < 8; ++x) block[8 * y + x] = static_cast<int16_t>(row[x] - 128);
    }
    forwardDctQuantScalar(block, dst, fwdTable);
}

}  // namespace zeq
