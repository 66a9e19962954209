// Baseline encoding: exact bits of the documented cases, the bit writer's
// stuffing, exhaustion and flush contract, check orders, and random blocks
// against the bit-by-bit reference coder (state-based, direct, vector and
// scalar kernels, roomy and tight destinations).
#include "jpeg/entropy/baseline_encode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "jpeg/entropy/zigzag_masks.h"
#include "tests/common/test_support.h"
#include "tests/jpeg/entropy/huffman_test_support.h"
#include "tests/jpeg/entropy/photo_blocks.h"
#include "tests/jpeg/entropy/record_checks.h"
#include "zeqj.h"

namespace {

using namespace zeq::test;
using Block = std::array<int16_t, 64>;

struct Encoder {
    Encoder(const TableDefinition& dc, const TableDefinition& ac)
        : dcSpec(encodeSpec(dc)), acSpec(encodeSpec(ac)), state(freshEncodeState()) {}
    ZeqStatus block(const int16_t* b, std::vector<uint8_t>& out, int32_t len) {
        return zeqiEncodeHuffman8x8_JPEG_16s1u_C1(b, out.data(), len, &pos, &lastDC, dcSpec.get(),
                                                  acSpec.get(), state.get(), 0);
    }
    ZeqStatus flush(std::vector<uint8_t>& out, int32_t len) {
        return zeqiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, out.data(), len, &pos, nullptr, nullptr,
                                                  nullptr, state.get(), 1);
    }
    int32_t pendingBits() const { return state.at<int32_t>(8); }
    EncodeSpecBuffer dcSpec, acSpec;
    EncodeStateBuffer state;
    int32_t pos = 0;
    int16_t lastDC = 0;
};

Block blockWith(std::initializer_list<std::pair<int, int16_t>> zigzagValues) {
    Block b{};
    for (auto [k, v] : zigzagValues) b[zeq::NaturalOfZigzag[k]] = v;
    return b;
}

struct ExactCase {
    const char* name;
    Block block;
    int16_t lastDC;
    std::vector<uint8_t> flushedBytes;
};

// Annex K luminance codes: DC 0 "00", DC 1 "010"; AC EOB "1010", 0x01 "00",
// ZRL "11111111001".
TEST(EncodeBlock, ExactBitsOfTheDocumentedCases) {
    const ExactCase cases[] = {
        {"zero block, last DC 0: DC 0 then EOB", Block{}, 0, {0b00101011}},
        {"DC difference -1: extra bit 0", blockWith({{0, 4}}), 5, {0b01001010}},
        {"DC difference +1: extra bit 1", blockWith({{0, 6}}), 5, {0b01011010}},
        {"16 zeros: one ZRL then run 0", blockWith({{17, 1}}), 0, {0x3F, 0xC9, 0xAF}},
        {"32 zeros: two ZRLs", blockWith({{33, -1}}), 0, {0x3F, 0xCF, 0xF9, 0x15}},
    };
    for (const auto& c : cases) {
        Encoder e(annexKDcLuminance(), annexKAcLuminance());
        e.lastDC = c.lastDC;
        std::vector<uint8_t> out(64, 0xEE);
        ASSERT_EQ(e.block(c.block.data(), out, 64), StatusOk) << c.name;
        EXPECT_EQ(e.lastDC, c.block[0]) << c.name;
        ASSERT_EQ(e.flush(out, 64), StatusOk) << c.name;
        EXPECT_EQ(std::vector<uint8_t>(out.begin(), out.begin() + e.pos), c.flushedBytes) << c.name;
    }
}

TEST(EncodeBlock, LastCoefficientNonZeroEndsWithoutEOB) {
    const auto dc = canonicalCodes(annexKDcLuminance()), ac = canonicalCodes(annexKAcLuminance());
    for (int16_t last : {1, -1, 700}) {
        // 57 zeros before position 63: three ZRLs, then run 9.
        const Block b = blockWith({{5, 3}, {63, last}});
        ReferenceBitStream withoutEOB;
        int16_t lastDC = 0;
        ASSERT_TRUE(referenceEncodeBlock(b.data(), lastDC, dc, ac, withoutEOB));
        Encoder e(annexKDcLuminance(), annexKAcLuminance());
        std::vector<uint8_t> out(64);
        ASSERT_EQ(e.block(b.data(), out, 64), StatusOk);
        EXPECT_EQ(e.pendingBits(), int(withoutEOB.bitCount() % 8));
        ASSERT_EQ(e.flush(out, 64), StatusOk);
        EXPECT_EQ(std::vector<uint8_t>(out.begin(), out.begin() + e.pos), withoutEOB.bytes(true));
    }
}

// With the lossless-style table (every category a 5-bit code): 32 takes 5 + 6
// bits, then 255 takes its code and eight 1-bits that form a whole 0xFF byte.
TEST(BitWriter, StuffsAfter0xFFAndStopsWhenOnlyTheFFFits) {
    const TableDefinition categories = allCategoriesTable();
    const EncodeSpecBuffer spec = encodeSpec(categories);
    for (int32_t len : {64, 4, 3}) {
        EncodeStateBuffer state = freshEncodeState();
        std::vector<uint8_t> out(64, 0xEE);
        int32_t pos = 0;
        const int16_t first = 32, second = 255;
        ASSERT_EQ(zeqiEncodeHuffmanOne_JPEG_16s1u_C1(&first, out.data(), len, &pos, spec.get(),
                                                     state.get(), 0),
                  StatusOk);
        const ZeqStatus status = zeqiEncodeHuffmanOne_JPEG_16s1u_C1(&second, out.data(), len, &pos,
                                                                    spec.get(), state.get(), 0);
        EXPECT_EQ(out[0], 0x34);
        EXPECT_EQ(out[1], 0x08);
        EXPECT_EQ(out[2], 0xFF);
        EXPECT_EQ(state.at<int32_t>(8), 0);
        if (len == 3) {
            EXPECT_EQ(status, StatusBufferExhausted);
            EXPECT_EQ(pos, 3);  // advanced over the 0xFF, no room for its zero
        } else {
            EXPECT_EQ(status, StatusOk);
            EXPECT_EQ(out[3], 0x00);
            EXPECT_EQ(pos, 4);
        }
    }
}

TEST(BitWriter, FullDestinationKeepsTheStateOfTheLastCompleteWrite) {
    const EncodeSpecBuffer spec = encodeSpec(allCategoriesTable());
    EncodeStateBuffer state = freshEncodeState();
    std::vector<uint8_t> out(8, 0xEE);
    int32_t pos = 1;
    const int16_t v = 1000;  // symbol 10: 5 + 10 bits
    ASSERT_EQ(
        zeqiEncodeHuffmanOne_JPEG_16s1u_C1(&v, out.data(), 1, &pos, spec.get(), state.get(), 0),
        StatusBufferExhausted);
    // The code's 5 bits are pending; the extra bits' first byte did not fit.
    EXPECT_EQ(pos, 1);
    EXPECT_EQ(state.at<int32_t>(8), 5);
    EXPECT_EQ(state.at<uint64_t>(0), uint64_t{0b01010} << 19);
    EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](uint8_t b) { return b == 0xEE; }));
}

TEST(Flush, PadsWithOnesWritesNothingWhenAlignedAndAlwaysResets) {
    const EncodeSpecBuffer spec = encodeSpec(allCategoriesTable());
    for (int16_t v : {int16_t{0}, int16_t{3}, int16_t{-32768}}) {
        EncodeStateBuffer state = freshEncodeState();
        std::vector<uint8_t> out(8, 0xEE);
        int32_t pos = 0;
        ASSERT_EQ(
            zeqiEncodeHuffmanOne_JPEG_16s1u_C1(&v, out.data(), 8, &pos, spec.get(), state.get(), 0),
            StatusOk);
        ASSERT_EQ(zeqiEncodeHuffmanOne_JPEG_16s1u_C1(nullptr, out.data(), 8, &pos, nullptr,
                                                     state.get(), 1),
                  StatusOk);
        EXPECT_TRUE(
            std::all_of(state.bytes.begin(), state.bytes.end(), [](uint8_t b) { return b == 0; }));
        if (v == 0) {
            EXPECT_EQ(out[0], 0b00000111);  // 5 pending bits, 3 ones
        }
        if (v == 3) {  // 00010 11 + 1 padding bit; nothing more at an aligned end
            EXPECT_EQ(out[0], 0b00010111);
            EXPECT_EQ(pos, 1);
            ASSERT_EQ(zeqiEncodeHuffmanOne_JPEG_16s1u_C1(nullptr, out.data(), 8, &pos, nullptr,
                                                         state.get(), 1),
                      StatusOk);
            EXPECT_EQ(pos, 1);
            EXPECT_EQ(out[1], 0xEE);
        }
        if (v == -32768) {  // the code of symbol 16 alone: 10000, padded
            EXPECT_EQ(out[0], 0b10000111);
            EXPECT_EQ(pos, 1);
        }
    }
    // Three pending bits and a full destination: exhausted, and reset anyway.
    EncodeStateBuffer state = freshEncodeState();
    const int16_t v = 1;  // 00001 1: six bits
    std::vector<uint8_t> out(2, 0xEE);
    int32_t pos = 0;
    ASSERT_EQ(
        zeqiEncodeHuffmanOne_JPEG_16s1u_C1(&v, out.data(), 2, &pos, spec.get(), state.get(), 0),
        StatusOk);
    EXPECT_EQ(state.at<int32_t>(8), 6);
    pos = 2;
    EXPECT_EQ(
        zeqiEncodeHuffmanOne_JPEG_16s1u_C1(nullptr, out.data(), 2, &pos, nullptr, state.get(), 1),
        StatusBufferExhausted);
    EXPECT_TRUE(
        std::all_of(state.bytes.begin(), state.bytes.end(), [](uint8_t b) { return b == 0; }));
}

TEST(Flush, ClearsTheProgressiveFieldsAndCorrectionBuffer) {
    EncodeStateBuffer state;  // sentinel bytes everywhere
    std::vector<uint8_t> out(4);
    int32_t pos = 0;
    state.bytes[8] = 0;  // a valid pending count of 0
    state.bytes[9] = state.bytes[10] = state.bytes[11] = 0;
    ASSERT_EQ(zeqiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, out.data(), 4, &pos, nullptr, nullptr,
                                                 nullptr, state.get(), 7),
              StatusOk);
    EXPECT_EQ(pos, 0);
    EXPECT_TRUE(
        std::all_of(state.bytes.begin(), state.bytes.end(), [](uint8_t b) { return b == 0; }));
}

// Each case nulls one argument (or spoils a length); the first failing check
// decides and nothing is written.
TEST(EncodeBlock, ArgumentChecksInOrderWriteNothing) {
    const EncodeSpecBuffer dc = encodeSpec(annexKDcLuminance()),
                           ac = encodeSpec(annexKAcLuminance());
    const Block block = blockWith({{0, 50}, {1, 3}});
    struct Case {
        const char* name;
        bool src, dst;
        int32_t len;
        bool pos, lastDC, dcTable, acTable, state;
        int32_t flush;
        ZeqStatus expected;
    };
    const Case cases[] = {
        {"dst first", false, false, 0, false, false, false, false, false, 0, StatusNullPointer},
        {"length before pos", true, true, 0, false, true, true, true, true, 0, StatusBadSize},
        {"length 0 with flush", true, true, 0, true, true, true, true, true, 1, StatusBadSize},
        {"pos", false, true, 64, false, false, false, false, true, 0, StatusNullPointer},
        {"state", false, true, 64, true, false, false, false, false, 1, StatusNullPointer},
        {"src", false, true, 64, true, true, true, true, true, 0, StatusNullPointer},
        {"lastDC", true, true, 64, true, false, true, true, true, 0, StatusNullPointer},
        {"dcTable", true, true, 64, true, true, false, true, true, 0, StatusNullPointer},
        {"acTable", true, true, 64, true, true, true, false, true, 0, StatusNullPointer},
    };
    for (const auto& c : cases) {
        std::vector<uint8_t> out(64, 0xEE);
        EncodeStateBuffer state = freshEncodeState();
        state.bytes[0] = 0x80;  // one pending bit would be visible in a flush
        state.bytes[8] = 1;
        const auto stateBefore = state.bytes;
        int32_t pos = 0;
        int16_t lastDC = 7;
        EXPECT_EQ(zeqiEncodeHuffman8x8_JPEG_16s1u_C1(
                      c.src ? block.data() : nullptr, c.dst ? out.data() : nullptr, c.len,
                      c.pos ? &pos : nullptr, c.lastDC ? &lastDC : nullptr,
                      c.dcTable ? dc.get() : nullptr, c.acTable ? ac.get() : nullptr,
                      c.state ? state.get() : nullptr, c.flush),
                  c.expected)
            << c.name;
        EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](uint8_t b) { return b == 0xEE; }))
            << c.name;
        EXPECT_EQ(state.bytes, stateBefore) << c.name;
        EXPECT_EQ(pos, 0) << c.name;
        EXPECT_EQ(lastDC, 7) << c.name;
    }
    // The flush ignores the block arguments entirely.
    std::vector<uint8_t> out(4);
    int32_t pos = 0;
    EncodeStateBuffer state = freshEncodeState();
    EXPECT_EQ(zeqiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, out.data(), 4, &pos, nullptr, nullptr,
                                                 nullptr, state.get(), 1),
              StatusOk);
}

TEST(EncodeOneAndDirect, ArgumentChecksInOrder) {
    const EncodeSpecBuffer spec = encodeSpec(allCategoriesTable());
    EncodeStateBuffer state = freshEncodeState();
    std::vector<uint8_t> out(8, 0xEE);
    int32_t pos = 0;
    int16_t v = 5, lastDC = 0;
    EXPECT_EQ(zeqiEncodeHuffmanOne_JPEG_16s1u_C1(&v, nullptr, 0, nullptr, nullptr, nullptr, 0),
              StatusNullPointer);
    EXPECT_EQ(zeqiEncodeHuffmanOne_JPEG_16s1u_C1(&v, out.data(), 0, nullptr, nullptr, nullptr, 1),
              StatusBadSize);
    EXPECT_EQ(zeqiEncodeHuffmanOne_JPEG_16s1u_C1(&v, out.data(), 8, &pos, spec.get(), nullptr, 0),
              StatusNullPointer);
    EXPECT_EQ(zeqiEncodeHuffmanOne_JPEG_16s1u_C1(nullptr, out.data(), 8, &pos, spec.get(),
                                                 state.get(), 0),
              StatusNullPointer);
    EXPECT_EQ(zeqiEncodeHuffmanOne_JPEG_16s1u_C1(&v, out.data(), 8, &pos, nullptr, state.get(), 0),
              StatusNullPointer);
    int32_t bitPos = 0;
    const Block b{};
    for (int missing = 0; missing < 6; ++missing) {
        EXPECT_EQ(zeqiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(
                      missing == 0 ? nullptr : b.data(), missing == 1 ? nullptr : out.data(),
                      missing == 2 ? nullptr : &bitPos, missing == 3 ? nullptr : &lastDC,
                      missing == 4 ? nullptr : spec.get(), missing == 5 ? nullptr : spec.get()),
                  StatusNullPointer);
    }
    EXPECT_EQ(pos, 0);
    EXPECT_EQ(bitPos, 0);
    EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](uint8_t x) { return x == 0xEE; }));
}

int16_t randomCoefficient(std::mt19937& rng) {
    switch (uniform<int>(rng, 0, 3)) {
        case 0:
            return 0;
        case 1:
            return uniform<int16_t>(rng, -3, 3);
        case 2:
            return uniform<int16_t>(rng, -300, 300);
        default:
            return uniform<int16_t>(rng, -32768, 32767);
    }
}

// Blocks of every kind of value and run, including -32768 (category 16).
std::vector<Block> randomBlocks(std::mt19937& rng, int count) {
    std::vector<Block> blocks(count);
    for (auto& b : blocks) {
        const int density = uniform<int>(rng, 0, 64);
        for (int i = 0; i < 64; ++i)
            if (uniform<int>(rng, 0, 63) < density) b[i] = randomCoefficient(rng);
        b[0] = uniform<int16_t>(rng, -32768, 32767);
    }
    return blocks;
}

// A sequence of blocks through the API against the reference; a block whose
// symbol has no code stops both.
TEST(EncodeBlock, RandomBlocksMatchTheReferenceCoder) {
    auto& rng = seededRng(3);
    const TableDefinition every = everySymbolTable();
    const auto codes = canonicalCodes(every);
    for (int round = 0; round < scaledCount(300); ++round) {
        const auto blocks = randomBlocks(rng, uniform<int>(rng, 1, 12));
        const int32_t len = 1 << 16;
        Encoder e(every, every);
        std::vector<uint8_t> out(1 << 16);
        ReferenceBitStream reference;
        int16_t referenceDC = 0;
        ZeqStatus status = StatusOk;
        for (const Block& b : blocks) {
            const bool coded = referenceEncodeBlock(b.data(), referenceDC, codes, codes, reference);
            status = e.block(b.data(), out, len);
            ASSERT_EQ(status, coded ? StatusOk : StatusHuffmanTable) << round;
            ASSERT_EQ(e.lastDC, referenceDC);
            if (!coded) break;
        }
        const std::vector<uint8_t> whole = reference.bytes(false);
        ASSERT_EQ(std::vector<uint8_t>(out.begin(), out.begin() + e.pos), whole) << round;
        ASSERT_EQ(e.pendingBits(), int(reference.bitCount() % 8));
        if (status == StatusOk) {
            ASSERT_EQ(e.flush(out, len), StatusOk);
            ASSERT_EQ(std::vector<uint8_t>(out.begin(), out.begin() + e.pos),
                      reference.bytes(true));
        }
    }
}

// The vector walk and the scalar walk give the same bytes and statuses with
// each writer.
TEST(EncodeBlockKernels, VectorWalkMatchesScalarWalk) {
    auto& rng = seededRng(4);
    const EncodeSpecBuffer every = encodeSpec(everySymbolTable());
    const EncodeSpecBuffer dc = encodeSpec(annexKDcLuminance()),
                           ac = encodeSpec(annexKAcLuminance());
    for (int round = 0; round < scaledCount(2000); ++round) {
        const Block b = randomBlocks(rng, 1)[0];
        const bool standard = round % 2 == 0;
        const HuffmanEncodeSpec* dcTable = standard ? dc.get() : every.get();
        const HuffmanEncodeSpec* acTable = standard ? ac.get() : every.get();
        std::vector<uint8_t> outA(1024, 0), outB(1024, 0);
        EncodeStateBuffer stateA = freshEncodeState(), stateB = freshEncodeState();
        int16_t dcA = 5, dcB = 5;
        // Both walks with a writer each; positions and statuses must agree.
        auto both = [&](auto wa, auto wb, auto close) {
            ASSERT_EQ(zeq::encodeBlockSse2(b.data(), &dcA, dcTable, acTable, wa),
                      zeq::encodeBlockScalar(b.data(), &dcB, dcTable, acTable, wb));
            ASSERT_EQ(close(wa, stateA), close(wb, stateB));
        };
        auto closeStream = [](auto& w, EncodeStateBuffer& st) {
            int32_t pos;
            w.close(&pos, st.get());
            return pos;
        };
        both(zeq::FastBitWriter(outA.data(), 0, stateA.get()),
             zeq::FastBitWriter(outB.data(), 0, stateB.get()), closeStream);
        const int32_t len = uniform<int>(rng, 1, 40);
        both(zeq::BoundedBitWriter(outA.data(), len, 0, stateA.get()),
             zeq::BoundedBitWriter(outB.data(), len, 0, stateB.get()), closeStream);
        both(zeq::DirectBitWriter(outA.data(), 3), zeq::DirectBitWriter(outB.data(), 3),
             [](auto& w, EncodeStateBuffer&) {
                 int32_t bitPos = 3;
                 w.close(&bitPos);
                 return bitPos;
             });
        ASSERT_EQ(outA, outB) << round;
        ASSERT_EQ(stateA.bytes, stateB.bytes);
        ASSERT_EQ(dcA, dcB);
    }
}

// The documented recipe: save position, last DC and state before each block;
// on StatusBufferExhausted restore them and repeat with more room. The stream
// is the one a large buffer gives, and what was written before the failure
// is always a prefix of it.
TEST(EncodeBlock, ExhaustionRecipeRebuildsTheSameStream) {
    for (uint32_t seed = 0; seed < uint32_t(scaledCount(40)); ++seed) {
        const auto blocks = photoBlocks(60, seed % 2 ? kQuality95 : kQuality75, seed);
        std::vector<uint8_t> expected(1 << 16);
        Encoder big(annexKDcLuminance(), annexKAcLuminance());
        for (int i = 0; i < 60; ++i)
            ASSERT_EQ(big.block(&blocks[64 * i], expected, 1 << 16), StatusOk);
        ASSERT_EQ(big.flush(expected, 1 << 16), StatusOk);
        expected.resize(big.pos);

        auto& rng = seededRng(seed + 100);
        Encoder small(annexKDcLuminance(), annexKAcLuminance());
        std::vector<uint8_t> out(1 << 16, 0xEE);
        int32_t len = 1;
        int exhausted = 0;
        for (int i = 0; i <= 60;) {
            const int32_t savedPos = small.pos;
            const int16_t savedDC = small.lastDC;
            const EncodeStateBuffer savedState = small.state;
            const ZeqStatus status =
                i < 60 ? small.block(&blocks[64 * i], out, len) : small.flush(out, len);
            ASSERT_LE(small.pos, len);
            ASSERT_TRUE(std::equal(out.begin(), out.begin() + small.pos, expected.begin()));
            if (status == StatusBufferExhausted) {
                ++exhausted;
                small.pos = savedPos;
                small.lastDC = savedDC;
                small.state = savedState;
                len += uniform<int>(rng, 1, 6);
                continue;
            }
            ASSERT_EQ(status, StatusOk);
            ++i;
        }
        EXPECT_GT(exhausted, 0);
        EXPECT_EQ(std::vector<uint8_t>(out.begin(), out.begin() + small.pos), expected);
    }
}

// The direct coder writes the same bits at a bit position: its bytes are the
// state-based stream's, with the pending bits in the byte at the end and the
// bits before the start position kept.
TEST(EncodeDirect, SameBitsAsTheStateBasedCoderAtAnyBitPosition) {
    auto& rng = seededRng(8);
    const auto dcCodes = canonicalCodes(annexKDcLuminance());
    const auto acCodes = canonicalCodes(annexKAcLuminance());
    const EncodeSpecBuffer dc = encodeSpec(annexKDcLuminance()),
                           ac = encodeSpec(annexKAcLuminance());
    for (int round = 0; round < scaledCount(200); ++round) {
        const int blockCount = uniform<int>(rng, 1, 10);
        const auto blocks = photoBlocks(blockCount, kQuality95, uint32_t(round));
        const int startBits = uniform<int>(rng, 0, 7);
        const uint8_t prefix = uniform<uint8_t>(rng, 0, 255);
        ReferenceBitStream reference;
        reference.put(prefix >> (8 - startBits), startBits);
        std::vector<uint8_t> out(4096, 0xEE);
        out[0] = prefix;
        int32_t bitPos = startBits;
        int16_t lastDC = 0, referenceDC = 0;
        for (int i = 0; i < blockCount; ++i) {
            ASSERT_TRUE(
                referenceEncodeBlock(&blocks[64 * i], referenceDC, dcCodes, acCodes, reference));
            ASSERT_EQ(zeqiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(
                          &blocks[64 * i], out.data(), &bitPos, &lastDC, dc.get(), ac.get()),
                      StatusOk);
        }
        std::vector<uint8_t> expected = reference.bytes(false);
        const size_t stuffed = expected.size() - reference.bitCount() / 8;
        ASSERT_EQ(size_t(bitPos), reference.bitCount() + 8 * stuffed);
        expected.push_back(reference.partialByte());
        ASSERT_EQ(std::vector<uint8_t>(out.begin(), out.begin() + expected.size()), expected)
            << round;
        ASSERT_EQ(out[expected.size()], 0xEE);
    }
}

// A symbol without a code: the state-based coders stop with StatusHuffmanTable
// (the last DC already taken), the direct coder skips the code but writes the
// extra bits.
TEST(EncodeBlock, SymbolWithoutCode) {
    const Block b = blockWith({{0, 2047}, {1, 1}});  // DC category 11 in a table up to 5
    const TableDefinition shortDc{{0, 1, 5}, {0, 1, 2, 3, 4, 5}};
    Encoder e(shortDc, annexKAcLuminance());
    std::vector<uint8_t> out(64, 0xEE);
    EXPECT_EQ(e.block(b.data(), out, 64), StatusHuffmanTable);
    EXPECT_EQ(e.lastDC, 2047);
    EXPECT_EQ(e.pos, 0);
    EXPECT_EQ(e.pendingBits(), 0);

    const EncodeSpecBuffer dc = encodeSpec(shortDc), ac = encodeSpec(annexKAcLuminance());
    int32_t bitPos = 0;
    int16_t lastDC = 0;
    ASSERT_EQ(zeqiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(b.data(), out.data(), &bitPos, &lastDC,
                                                        dc.get(), ac.get()),
              StatusOk);
    // 11 extra bits of 2047 (a stuffed 0xFF first), then 0x01 "00" + "1", then EOB "1010".
    EXPECT_EQ(bitPos, 11 + 3 + 4 + 8);
    EXPECT_EQ(out[0], 0xFF);
    EXPECT_EQ(out[1], 0x00);
    EXPECT_EQ(out[2], 0b11100110);
    EXPECT_EQ(out[3], 0b10000000);
}

// The direct coder with nothing to write (category 0 and EOB without codes,
// both skipped): neither memory nor the bit position changes, also mid-byte.
TEST(EncodeDirect, NothingToWriteLeavesMemoryAndPositionAlone) {
    const TableDefinition dcWithoutZero{{0, 2}, {1, 2}};
    const TableDefinition acWithoutEOB{{0, 2}, {0x01, 0x02}};
    const EncodeSpecBuffer dc = encodeSpec(dcWithoutZero), ac = encodeSpec(acWithoutEOB);
    const Block b = blockWith({{0, 7}});
    for (int32_t start : {0, 5, 16, 21}) {
        std::vector<uint8_t> out(8, 0xA7);
        int32_t bitPos = start;
        int16_t lastDC = 7;
        ASSERT_EQ(zeqiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(b.data(), out.data(), &bitPos, &lastDC,
                                                            dc.get(), ac.get()),
                  StatusOk);
        EXPECT_EQ(bitPos, start);
        EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](uint8_t v) { return v == 0xA7; }));
    }
}

// A single non-zero coefficient at every position, with values whose low byte
// is zero or that saturate when packed to bytes: the zigzag mask of non-zero
// coefficients has exactly its bit.
TEST(ZigzagMasks, NonZeroMaskSeesEveryValueAtEveryPosition) {
    for (int natural = 0; natural < 64; ++natural)
        for (int16_t v : {1, -1, 255, 256, -256, 0x7F00, -32768, 32767, 128, -128}) {
            Block b{};
            b[natural] = v;
            EXPECT_EQ(zeq::zigzagNonZeroMask(b.data()),
                      uint64_t{1} << zeq::ZigzagToNatural[natural])
                << natural << " " << v;
            EXPECT_EQ(zeq::zigzagZeroMask(b.data()),
                      ~(uint64_t{1} << zeq::ZigzagToNatural[natural]));
        }
}

TEST(EncodeState, SizesInitAllocAndAllocationFailure) {
    checkStateLifecycle<HuffmanEncodeState>(
        zeqiEncodeHuffmanStateGetBufSize_JPEG_8u, zeqiEncodeHuffmanStateInit_JPEG_8u,
        zeqiEncodeHuffmanStateInitAlloc_JPEG_8u, zeqiEncodeHuffmanStateFree_JPEG_8u, 1048);
}

}  // namespace
