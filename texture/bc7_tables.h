// Constant tables of the BC7 format: subset number of every pixel for the 64
// two-subset and 64 three-subset partitions, and the anchor pixels whose
// index drops its top bit (subset 0's anchor is always pixel 0).
#ifndef ZEQ_TEXTURE_BC7_TABLES_H
#define ZEQ_TEXTURE_BC7_TABLES_H

#include <cstdint>

namespace zeq::bc7 {

constexpr int kPartitionCount = 64;

extern const uint32_t kTwoSubsetPartitions[kPartitionCount][16];
extern const uint32_t kThreeSubsetPartitions[kPartitionCount][16];
extern const uint8_t kTwoSubsetSecondAnchor[kPartitionCount];
extern const uint8_t kThreeSubsetSecondAnchor[kPartitionCount];
extern const uint8_t kThreeSubsetThirdAnchor[kPartitionCount];

}  // namespace zeq::bc7

#endif  // ZEQ_TEXTURE_BC7_TABLES_H
