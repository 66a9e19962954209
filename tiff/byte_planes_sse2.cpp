#include "core/sse2.h"
#include "tiff/byte_planes.h"

namespace zeq {

using namespace sse2;

// 16 samples per step: the low bytes are the even bytes, the high bytes the odd ones.
void splitRowSse2(const uint8_t* row, uint8_t* high, uint8_t* low, int32_t count) {
    const V128 lowByte = splat16(0x00FF);
    int32_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const V128 a = loadu(row + 2 * i), b = loadu(row + 2 * i + 16);
        storeu(low + i, _mm_packus_epi16(_mm_and_si128(a, lowByte), _mm_and_si128(b, lowByte)));
        storeu(high + i, _mm_packus_epi16(_mm_srli_epi16(a, 8), _mm_srli_epi16(b, 8)));
    }
    splitRowScalar(row + 2 * i, high + i, low + i, count - i);
}

void joinRowSse2(const uint8_t* high, const uint8_t* low, uint8_t* row, int32_t count) {
    int32_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const V128 l = loadu(low + i), h = loadu(high + i);
        storeu(row + 2 * i, _mm_unpacklo_epi8(l, h));
        storeu(row + 2 * i + 16, _mm_unpackhi_epi8(l, h));
    }
    joinRowScalar(high + i, low + i, row + 2 * i, count - i);
}

}  // namespace zeq
