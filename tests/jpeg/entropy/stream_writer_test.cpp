// The stream writers of the encoders (the unchecked state-based writer and the
// direct writer at a bit position) against the bit-by-bit reference, on
// streams dense in 0xFF bytes so that every stuffing path runs: whole words,
// the closing bytes, the direct writer's closing stores of every length. The
// direct writer gets a destination of exactly the bytes it may touch, so the
// sanitizer build catches any access past them. Then the block coders on the
// values at the edge of the fast walk: -32768 (category 16) after every run.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

#include "jpeg/entropy/bit_writer.h"
#include "tests/common/test_support.h"
#include "tests/jpeg/entropy/huffman_test_support.h"
#include "zeqj.h"

namespace {

using namespace zeq::test;

struct Put {
    uint32_t value;
    int n;
};

// Mostly runs of ones (0xFF bytes and their stuffing), some random bits.
std::vector<Put> onesHeavyPuts(std::mt19937& rng, int count) {
    std::vector<Put> puts;
    for (int i = 0; i < count; ++i) {
        const int n = uniform<int>(rng, 1, 32);
        const uint32_t all = n == 32 ? ~0u : (1u << n) - 1;
        uint32_t value = uniform<uint32_t>(rng, 0, ~0u) & all;
        if (uniform<int>(rng, 0, 3) != 0) value = all ^ (uniform<int>(rng, 0, 1) ? 0 : 1);
        puts.push_back({value, n});
    }
    return puts;
}

ReferenceBitStream referenceOf(uint32_t pendingValue, int pendingBits, const std::vector<Put>& p) {
    ReferenceBitStream reference;
    reference.put(pendingValue, pendingBits);
    for (const Put& put : p) reference.put(put.value, put.n);
    return reference;
}

TEST(StreamWriters, StateBasedWriterMatchesTheReferenceAndKeepsTheBytesAfterIt) {
    auto& rng = seededRng(41);
    for (int round = 0; round < scaledCount(3000); ++round) {
        const int pendingBits = uniform<int>(rng, 0, 7);
        const uint32_t pendingValue = uniform<uint32_t>(rng, 0, (1u << pendingBits) - 1);
        const auto puts = onesHeavyPuts(rng, uniform<int>(rng, 0, 40));
        const ReferenceBitStream reference = referenceOf(pendingValue, pendingBits, puts);
        const std::vector<uint8_t> expected = reference.bytes(false);

        const int32_t start = uniform<int>(rng, 0, 9);
        std::vector<uint8_t> out(start + expected.size() + 24, 0xEE);
        EncodeStateBuffer state = freshEncodeState();
        const uint64_t buffer = uint64_t{pendingValue} << (24 - pendingBits);
        std::memcpy(state.bytes.data(), &buffer, 8);
        std::memcpy(state.bytes.data() + 8, &pendingBits, 4);

        zeq::FastBitWriter writer(out.data(), start, state.get());
        for (const Put& put : puts) writer.put(put.value, put.n);
        int32_t pos = -1;
        writer.close(&pos, state.get());

        ASSERT_EQ(pos, start + int32_t(expected.size())) << round;
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), out.begin() + start)) << round;
        ASSERT_TRUE(
            std::all_of(out.begin(), out.begin() + start, [](uint8_t b) { return b == 0xEE; }));
        ASSERT_TRUE(std::all_of(out.begin() + pos, out.end(), [](uint8_t b) { return b == 0xEE; }))
            << round;
        const int left = int(reference.bitCount() % 8);
        ASSERT_EQ(state.at<int32_t>(8), left);
        ASSERT_EQ(state.at<uint64_t>(0), uint64_t{reference.partialByte()} << 16) << round;
    }
}

TEST(StreamWriters, DirectWriterMatchesTheReferenceWithinExactlyItsBytes) {
    auto& rng = seededRng(42);
    for (int round = 0; round < scaledCount(3000); ++round) {
        const int startBits = uniform<int>(rng, 0, 7);
        const uint8_t prefix = uniform<uint8_t>(rng, 0, 255);
        const auto puts = onesHeavyPuts(rng, uniform<int>(rng, 1, 40));
        const ReferenceBitStream reference =
            referenceOf(prefix >> (8 - startBits), startBits, puts);
        std::vector<uint8_t> expected = reference.bytes(false);
        const size_t stuffed = expected.size() - reference.bitCount() / 8;
        expected.push_back(reference.partialByte());

        // Bytes before the start position, then the stream up to its partial byte.
        const int32_t startByte = uniform<int>(rng, 0, 3);
        std::vector<uint8_t> out(startByte + expected.size(), 0xEE);
        out[startByte] = prefix;
        int32_t bitPos = startByte * 8 + startBits;
        zeq::DirectBitWriter writer(out.data(), bitPos);
        for (const Put& put : puts) writer.put(put.value, put.n);
        writer.close(&bitPos);

        ASSERT_EQ(size_t(bitPos), startByte * 8 + reference.bitCount() + 8 * stuffed) << round;
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), out.begin() + startByte)) << round;
        ASSERT_TRUE(
            std::all_of(out.begin(), out.begin() + startByte, [](uint8_t b) { return b == 0xEE; }));
    }
}

// Words with their 0xFF bytes at every set of places (each of the 256
// patterns), the other bytes drawn with 0xFE and 0x01 frequent (a 0xFE right
// after a 0xFF is what a byte-parallel 0xFF test can mistake for another
// one), after every count of pending bits: whole words out mid-stream and the
// closing bytes, through both stream writers.
TEST(StreamWriters, EveryPlacementOfFFBytesInAWordMatchesTheReference) {
    auto& rng = seededRng(44);
    for (int pattern = 0; pattern < 256; ++pattern)
        for (int pendingBits = 0; pendingBits < 8; ++pendingBits) {
            std::array<uint8_t, 12> bytes;
            for (size_t i = 0; i < bytes.size(); ++i) {
                const int pick = uniform<int>(rng, 0, 3);
                bytes[i] = pick == 0 ? 0xFE : pick == 1 ? 0x01 : uniform<uint8_t>(rng, 0, 0xFE);
                if (i < 8 && (pattern >> i & 1)) bytes[i] = 0xFF;
            }
            // The pending bits completed to a byte, then the bytes as puts of
            // 32 bits; a tail of a few bits stays pending.
            std::vector<Put> puts;
            if (pendingBits > 0)
                puts.push_back(
                    {uniform<uint32_t>(rng, 0, (1u << (8 - pendingBits)) - 1), 8 - pendingBits});
            for (size_t i = 0; i < bytes.size(); i += 4)
                puts.push_back({uint32_t(bytes[i]) << 24 | uint32_t(bytes[i + 1]) << 16 |
                                    uint32_t(bytes[i + 2]) << 8 | bytes[i + 3],
                                32});
            puts.push_back({uniform<uint32_t>(rng, 0, 7), 3});
            const uint32_t pendingValue = uniform<uint32_t>(rng, 0, (1u << pendingBits) - 1);
            const ReferenceBitStream reference = referenceOf(pendingValue, pendingBits, puts);
            const std::vector<uint8_t> expected = reference.bytes(false);

            std::vector<uint8_t> out(expected.size() + 16, 0xEE);
            EncodeStateBuffer state = freshEncodeState();
            const uint64_t buffer = uint64_t{pendingValue} << (24 - pendingBits);
            std::memcpy(state.bytes.data(), &buffer, 8);
            std::memcpy(state.bytes.data() + 8, &pendingBits, 4);
            zeq::FastBitWriter writer(out.data(), 0, state.get());
            for (const Put& put : puts) writer.put(put.value, put.n);
            int32_t pos = -1;
            writer.close(&pos, state.get());
            ASSERT_EQ(std::vector<uint8_t>(out.begin(), out.begin() + pos), expected) << pattern;
            ASSERT_TRUE(
                std::all_of(out.begin() + pos, out.end(), [](uint8_t b) { return b == 0xEE; }));
            ASSERT_EQ(state.at<uint64_t>(0), uint64_t{reference.partialByte()} << 16);

            // The direct writer, in exactly the bytes it may touch.
            const uint8_t prefix = static_cast<uint8_t>(pendingValue << (8 - pendingBits));
            std::vector<uint8_t> direct(expected.size() + 1, 0xEE);
            direct[0] = prefix;
            int32_t bitPos = pendingBits;
            zeq::DirectBitWriter directWriter(direct.data(), bitPos);
            for (const Put& put : puts) directWriter.put(put.value, put.n);
            directWriter.close(&bitPos);
            ASSERT_EQ(std::vector<uint8_t>(direct.begin(), direct.end() - 1), expected) << pattern;
            ASSERT_EQ(direct.back(), reference.partialByte());
            ASSERT_EQ(size_t(bitPos), expected.size() * 8 + reference.bitCount() % 8);
        }
}

// Every length of the direct writer's closing stores, into a destination of
// exactly that length.
TEST(StreamWriters, FirstBytesStoreWritesExactlyThoseBytes) {
    const uint64_t word = 0x8877665544332211ull;
    for (int m = 1; m <= 8; ++m) {
        std::vector<uint8_t> out(m, 0);
        zeq::storeFirstBytes(out.data(), word, m);
        for (int i = 0; i < m; ++i) ASSERT_EQ(out[i], 0x11 * (i + 1)) << m;
    }
}

using Block = std::array<int16_t, 64>;

// -32768 after every run from 0 to 20 zeros, with and without a coefficient
// before the run: category 16 forms symbol r x 16 + 16, which the table of
// every symbol codes up to a run of 14; after exactly 15 zeros it is past the table
// and the state-based coder stops with StatusHuffmanTable (after 16 zeros, a ZRL
// comes first and category 16 is coded again).
TEST(EncodeBlock, CategorySixteenAfterEveryRunMatchesTheReference) {
    const TableDefinition every = everySymbolTable();
    const auto codes = canonicalCodes(every);
    const EncodeSpecBuffer spec = encodeSpec(every);
    auto& rng = seededRng(43);
    for (int run = 0; run <= 20; ++run)
        for (int first = 1; first <= 3; ++first) {
            Block b{};
            b[0] = uniform<int16_t>(rng, -32768, 32767);
            if (first > 1) b[zeq::NaturalOfZigzag[first - 1]] = -1;
            const int k = first + run;
            b[zeq::NaturalOfZigzag[k]] = -32768;
            if (k + 1 < 64) b[zeq::NaturalOfZigzag[k + 1]] = uniform<int16_t>(rng, 1, 32767);

            ReferenceBitStream reference;
            int16_t referenceDC = 3;
            const bool coded = referenceEncodeBlock(b.data(), referenceDC, codes, codes, reference);
            ASSERT_EQ(coded, run != 15);

            std::vector<uint8_t> out(2048, 0xEE);
            EncodeStateBuffer state = freshEncodeState();
            int32_t pos = 0;
            int16_t lastDC = 3;
            const ZeqStatus status =
                zeqiEncodeHuffman8x8_JPEG_16s1u_C1(b.data(), out.data(), int32_t(out.size()), &pos,
                                                   &lastDC, spec.get(), spec.get(), state.get(), 0);
            ASSERT_EQ(status, coded ? StatusOk : StatusHuffmanTable) << run;
            ASSERT_EQ(lastDC, referenceDC);
            const std::vector<uint8_t> expected = reference.bytes(false);
            ASSERT_EQ(std::vector<uint8_t>(out.begin(), out.begin() + pos), expected) << run;
            ASSERT_EQ(state.at<int32_t>(8), int(reference.bitCount() % 8));
            if (!coded) continue;

            std::vector<uint8_t> direct(expected.size() + 1, 0xEE);
            int32_t bitPos = 0;
            lastDC = 3;
            ASSERT_EQ(zeqiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(b.data(), direct.data(), &bitPos,
                                                                &lastDC, spec.get(), spec.get()),
                      StatusOk);
            ASSERT_TRUE(std::equal(expected.begin(), expected.end(), direct.begin())) << run;
            ASSERT_EQ(direct.back(), reference.partialByte());
        }
}

}  // namespace
