// The encoders' bit writer: its closing store, which puts back the bytes
// after the stream, and the choice between the unchecked and the checked
// writer near the destination's end; the branch-free magnitude categories.
#include <gtest/gtest.h>

#include <vector>

#include "jpeg/entropy/magnitude_category.h"
#include "tests/common/test_support.h"
#include "tests/jpeg/entropy/huffman_test_support.h"
#include "tests/jpeg/entropy/photo_blocks.h"
#include "zeqj.h"

namespace {

using namespace zeq::test;

TEST(MagnitudeCategory, BitScanFormMatchesTheTableAndExtraBitsTheOnesComplement) {
    for (int32_t v = -65535; v <= 65535; ++v) {
        const int s = zeq::magnitudeCategory(v);
        ASSERT_EQ(s, zeq::magnitudeCategoryByTable(v)) << v;
        ASSERT_EQ(s, referenceCategory(v)) << v;
        const uint32_t expected = uint32_t(v < 0 ? v - 1 : v) & ((1u << s) - 1);
        ASSERT_EQ(zeq::extraBits(v, s), expected) << v;
    }
}

// Every room from far too little to plenty, around the point where the
// unchecked writer takes over: the same bytes, positions and statuses as a
// destination of ample size, and nothing written past the position (the
// bytes after it keep their sentinel).
TEST(BitWriter, AnyRoomGivesTheSameStreamAndLeavesTheBytesAfterIt) {
    const EncodeSpecBuffer dc = encodeSpec(annexKDcLuminance()),
                           ac = encodeSpec(annexKAcLuminance());
    for (uint32_t seed = 0; seed < uint32_t(scaledCount(6)); ++seed) {
        const int blocks = 24;
        const auto photo = photoBlocks(blocks, seed % 2 ? kQuality95 : kQuality75, seed);
        std::vector<uint8_t> expected(1 << 16, 0xEE);
        EncodeStateBuffer state = freshEncodeState();
        std::vector<int32_t> positions = {0};
        std::vector<EncodeStateBuffer> states = {state};
        int32_t pos = 0;
        int16_t lastDC = 0;
        for (int i = 0; i < blocks; ++i) {
            ASSERT_EQ(
                zeqiEncodeHuffman8x8_JPEG_16s1u_C1(&photo[64 * i], expected.data(), 1 << 16, &pos,
                                                   &lastDC, dc.get(), ac.get(), state.get(), 0),
                StatusOk);
            positions.push_back(pos);
            states.push_back(state);
        }
        for (size_t b = pos; b < expected.size(); ++b) ASSERT_EQ(expected[b], 0xEE);
        // Block i again from the saved state, with every room up to past the worst case.
        for (int i = 0; i < blocks; ++i) {
            for (int32_t room = 1; room < 560; room += (room < 40 || room > 500) ? 1 : 7) {
                std::vector<uint8_t> out(positions[i] + room + 16, 0xEE);
                std::copy(expected.begin(), expected.begin() + positions[i], out.begin());
                EncodeStateBuffer st = states[i];
                int32_t p = positions[i];
                int16_t dcValue = i > 0 ? photo[64 * (i - 1)] : 0;
                const ZeqStatus status = zeqiEncodeHuffman8x8_JPEG_16s1u_C1(
                    &photo[64 * i], out.data(), positions[i] + room, &p, &dcValue, dc.get(),
                    ac.get(), st.get(), 0);
                ASSERT_LE(p, positions[i] + room);
                ASSERT_TRUE(std::equal(out.begin(), out.begin() + p, expected.begin()));
                for (size_t b = p; b < out.size(); ++b) ASSERT_EQ(out[b], 0xEE) << room;
                if (status == StatusOk) {
                    ASSERT_EQ(p, positions[i + 1]);
                    ASSERT_EQ(st.bytes, states[i + 1].bytes);
                } else {
                    ASSERT_EQ(status, StatusBufferExhausted);
                    ASSERT_LT(room, positions[i + 1] - positions[i]);
                }
            }
        }
    }
}

}  // namespace
