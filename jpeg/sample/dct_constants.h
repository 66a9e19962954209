// Fixed-point factors of the integer 8x8 DCT engines, shared by the forward
// and inverse transforms and by their scalar and vector forms.
#ifndef ZEQ_JPEG_SAMPLE_DCT_CONSTANTS_H
#define ZEQ_JPEG_SAMPLE_DCT_CONSTANTS_H

#include <cstdint>

namespace zeq::dct {

// Even-part rotation by pi/8 at 2^15: sqrt(2)*cos(3pi/8),
// sqrt(2)*(cos(pi/8) - cos(3pi/8)), sqrt(2)*(cos(pi/8) + cos(3pi/8)).
constexpr int32_t kEvenRotation = 17734;
constexpr int32_t kEvenDifference = 25080;
constexpr int32_t kEvenSum = 60547;

// Forward odd part: sqrt(2) at 2^15, then the pi/16 and 3pi/16 rotations at 2^12.
constexpr int32_t kFwdSqrt2 = 46341;
constexpr int32_t kFwdSin1 = 799;
constexpr int32_t kFwdCos1MinusSin1 = 3218;
constexpr int32_t kFwdCos1PlusSin1 = 4816;
constexpr int32_t kFwdCos3 = 3406;
constexpr int32_t kFwdCos3MinusSin3 = 1130;
constexpr int32_t kFwdCos3PlusSin3 = 5681;

// Inverse odd part at 2^15, and sqrt(2) at 2^12 for the middle butterfly.
constexpr int32_t kInvCos3 = 27246;
constexpr int32_t kInvCos3MinusSin3 = 9041;
constexpr int32_t kInvCos3PlusSin3 = 45451;
constexpr int32_t kInvSin1 = 6393;
constexpr int32_t kInvCos1MinusSin1 = 25746;
constexpr int32_t kInvCos1PlusSin1 = 38531;
constexpr int32_t kInvSqrt2 = 5793;
// The pruned inverse transforms take cos(pi/16) as 32138 and form
// cos - sin as 32138 - 6393, one below the full transform's 25746.
constexpr int32_t kPrunedCos1MinusSin1 = 32138 - kInvSin1;

// Scaled-down inverse outputs. Quadrant means: frequency 1, 3, 5, 7's basis
// function averaged over a half block, at 2^16 (even frequencies average to
// zero). Pair means of the 4-point output: even part at 2^15 from
// frequencies 2 and 6, odd parts from 1, 3, 5, 7 (frequency 4 averages out).
constexpr int32_t kHalfMean[4] = {59384, -20853, 13932, -11812};
constexpr int32_t kPairCos2 = 30274, kPairCos6 = 12540;
constexpr int32_t kPairOdd1[4] = {41991, 14745, -9852, -8352};
constexpr int32_t kPairOdd2[4] = {17393, -35598, 23786, -3460};

// Rounding of the passes: the forward row pass keeps 2^12 of extra scale,
// the column pass removes 2^21 (2^6 for the terms without a rotation); the
// inverse column pass keeps 2^12 and the row pass removes 2^21.
constexpr int kPassOneShift = 12;
constexpr int kPassTwoShift = 21;
constexpr int kFwdEvenShift = 6;

}  // namespace zeq::dct

#endif  // ZEQ_JPEG_SAMPLE_DCT_CONSTANTS_H
