// Lossless prediction of sample rows (differences from the predictors of the
// lossless process) and its inverse. Samples and differences are 16-bit;
// predictions are formed exactly in 32 bits and every result is kept modulo
// 65536. Rows are byte pointers: 16-bit elements may sit at any address.
//
// A kernel walks the row from left to right and reads sample i of each input
// before it writes sample i of the output, carrying the left neighbours in
// registers, so a row that is its own output (src == dst, or prevRow == dst)
// gives the same results as separate rows. The SSE2 kernels vectorise
// predictors 1 to 3 (and the first row) on rows that do not overlap and use
// the scalar kernels otherwise.
#ifndef ZEQ_JPEG_ENTROPY_LOSSLESS_PREDICT_H
#define ZEQ_JPEG_ENTROPY_LOSSLESS_PREDICT_H

#include <cstdint>

namespace zeq {

constexpr int kFirstPredictor = 1;
constexpr int kLastPredictor = 7;
constexpr int kSmallestPrecision = 2;
constexpr int kLargestPrecision = 16;

constexpr bool validPredictor(int32_t p) { return p >= kFirstPredictor && p <= kLastPredictor; }
constexpr bool validPrecision(int32_t p) {
    return p >= kSmallestPrecision && p <= kLargestPrecision;
}

// The prediction of a scan's first sample, 2^(P - Pt - 1) as a 16-bit value
// (P = 16, Pt = 0 gives -32768); 0 when the point transform leaves no bit.
int16_t firstSamplePrediction(int precision, int pointTransform);

// First row: sample 0 against `initial`, the others against their left neighbour.
void diffPredFirstRowScalar(const uint8_t* src, uint8_t* dst, int32_t width, int16_t initial);
void reconstructFirstRowScalar(const uint8_t* src, uint8_t* dst, int32_t width, int16_t initial);
// Later rows: sample 0 against the sample above, the others by `predictor` (1..7).
void diffPredRowScalar(const uint8_t* src, const uint8_t* prev, uint8_t* dst, int32_t width,
                       int predictor);
void reconstructRowScalar(const uint8_t* src, const uint8_t* prev, uint8_t* dst, int32_t width,
                          int predictor);

// Samples from..width-1 (from >= 1) of a row, with ra and rc the samples left
// of `from` in the row and the row above (the scalar tails of the SSE2
// kernels; predictor 1 of a first row reads no row above).
void diffPredRangeScalar(const uint8_t* src, const uint8_t* prev, uint8_t* dst, int32_t from,
                         int32_t width, int predictor, int32_t ra, int32_t rc);
void reconstructRangeScalar(const uint8_t* src, const uint8_t* prev, uint8_t* dst, int32_t from,
                            int32_t width, int predictor, int32_t ra, int32_t rc);

void diffPredFirstRowSse2(const uint8_t* src, uint8_t* dst, int32_t width, int16_t initial);
void reconstructFirstRowSse2(const uint8_t* src, uint8_t* dst, int32_t width, int16_t initial);
void diffPredRowSse2(const uint8_t* src, const uint8_t* prev, uint8_t* dst, int32_t width,
                     int predictor);
void reconstructRowSse2(const uint8_t* src, const uint8_t* prev, uint8_t* dst, int32_t width,
                        int predictor);

}  // namespace zeq

#endif  // ZEQ_JPEG_ENTROPY_LOSSLESS_PREDICT_H
