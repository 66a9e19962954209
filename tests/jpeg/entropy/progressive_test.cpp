// Progressive block coding: exact bits of the documented cases (with a table
// whose code of symbol s is the byte s), end-of-band runs up to 32767 blocks
// and correction-bit runs up to 937 bits, flush behaviour, check orders,
// bounded and unbounded writers giving the same bytes, the decoders'
// tolerances, random round trips against the plain reference decoder, and
// damaged streams that give only the documented statuses.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

#include "tests/common/test_support.h"
#include "tests/jpeg/entropy/huffman_test_support.h"
#include "tests/jpeg/entropy/progressive_scans.h"
#include "zeqj.h"

namespace {

using namespace zeq::test;
using Block = std::array<int16_t, 64>;
using Bytes = std::vector<uint8_t>;

// The encoders over one stream, with the every-symbol table (code of s = byte s).
struct Encoder {
    ZeqStatus dcFirst(const Block& b, int al) {
        return zeqiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(b.data(), out.data(), len, &pos, &lastDC,
                                                          al, table.get(), state.get(), 0);
    }
    ZeqStatus dcRefine(const Block& b, int al) {
        return zeqiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(b.data(), out.data(), len, &pos, al,
                                                           state.get(), 0);
    }
    ZeqStatus acFirst(const Block& b, int ss, int se, int al) {
        return zeqiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(b.data(), out.data(), len, &pos, ss, se,
                                                          al, table.get(), state.get(), 0);
    }
    ZeqStatus acRefine(const Block& b, int ss, int se, int al) {
        return zeqiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(b.data(), out.data(), len, &pos, ss, se,
                                                           al, table.get(), state.get(), 0);
    }
    ZeqStatus flushFirst() {
        return zeqiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(nullptr, out.data(), len, &pos, 0, 0, 0,
                                                          table.get(), state.get(), 1);
    }
    ZeqStatus flushRefine() {
        return zeqiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(nullptr, out.data(), len, &pos, 0, 0, 0,
                                                           table.get(), state.get(), 1);
    }
    Bytes written() const { return Bytes(out.begin(), out.begin() + pos); }
    int32_t eobRun() const { return state.at<int32_t>(12); }
    int32_t correctionCount() const { return state.at<int32_t>(16); }

    EncodeSpecBuffer table = encodeSpec(everySymbolTable());
    EncodeStateBuffer state = freshEncodeState();
    Bytes out = Bytes(1 << 16, 0xEE);
    int32_t len = 1 << 16;
    int32_t pos = 0;
    int16_t lastDC = 0;
};

struct ExactCase {
    const char* name;
    std::vector<Block> blocks;
    int ss, se, al;
    bool refine;
    Bytes flushed;
};

TEST(ProgressiveEncode, ExactBitsOfTheDocumentedCases) {
    const ExactCase cases[] = {
        {"three zero bands: EOB run symbol 0x10 and bit 1",
         {Block{}, Block{}, Block{}},
         1,
         63,
         0,
         false,
         {0x10, 0xFF, 0x00}},
        {"one zero band: symbol 0x00", {Block{}}, 1, 63, 0, false, {0x00}},
        {"35 zeros: two ZRLs, then 0x33 and 101; EOB later",
         {zigzagBlock({{36, 5}})},
         1,
         63,
         0,
         false,
         {0xF0, 0xF0, 0x33, 0xA0, 0x1F}},
        {"negative: ones' complement bits",
         {zigzagBlock({{1, -5}})},
         1,
         63,
         0,
         false,
         {0x03, 0x40, 0x1F}},
        {"point transform: 13 >> 2 is 3",
         {zigzagBlock({{2, 13}})},
         1,
         63,
         2,
         false,
         {0x12, 0xC0, 0x3F}},
        {"point transform of a negative: magnitude shifted",
         {zigzagBlock({{2, -13}})},
         1,
         63,
         2,
         false,
         {0x12, 0x00, 0x3F}},
        {"last index of the band non-zero: no EOB",
         {zigzagBlock({{5, 1}})},
         2,
         5,
         0,
         false,
         {0x31, 0xFF, 0x00}},
        {"refine: new coefficient, sign, then the correction bit before it",
         {zigzagBlock({{1, 3}, {3, 1}})},
         1,
         5,
         0,
         true,
         {0x11, 0xC0, 0x3F}},
        {"refine: correction bits wait for the run, then follow its symbol",
         {zigzagBlock({{1, 2}, {2, 3}}), zigzagBlock({{1, 2}, {2, -1}})},
         1,
         2,
         0,
         true,
         // block 1: a run of 1 with bits 0 1; block 2: EOB0, bits 01, then 0x01, sign 0, bit 0
         {0x00, 0x40, 0x4F}},
    };
    for (const ExactCase& c : cases) {
        Encoder e;
        for (const Block& b : c.blocks)
            ASSERT_EQ(c.refine ? e.acRefine(b, c.ss, c.se, c.al) : e.acFirst(b, c.ss, c.se, c.al),
                      StatusOk)
                << c.name;
        ASSERT_EQ(c.refine ? e.flushRefine() : e.flushFirst(), StatusOk) << c.name;
        EXPECT_EQ(e.written(), c.flushed) << c.name;
        EXPECT_EQ(e.eobRun(), 0) << c.name;
    }
}

TEST(ProgressiveEncode, DCFirstAndRefineBits) {
    Encoder e;
    ASSERT_EQ(e.dcFirst(zigzagBlock({{0, -7}}), 1), StatusOk);  // -7 >> 1 = -4: 0x03, bits 011
    EXPECT_EQ(e.lastDC, -4);
    ASSERT_EQ(e.dcFirst(zigzagBlock({{0, -8}}), 1), StatusOk);  // difference 0: 0x00
    for (auto [v, al] : {std::pair{5, 2}, {5, 1}, {-1, 3}, {-2, 0}})
        ASSERT_EQ(e.dcRefine(zigzagBlock({{0, int16_t(v)}}), al), StatusOk);  // 1 0 1 0
    ASSERT_EQ(zeqiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(nullptr, e.out.data(), e.len, &e.pos, 0,
                                                          e.state.get(), 1),
              StatusOk);
    // 00000011 011 00000000 1010 + padding 1
    EXPECT_EQ(e.written(), (Bytes{0x03, 0x60, 0x15}));
}

TEST(ProgressiveEncode, CategoriesAboveElevenAreRefused) {
    Encoder e;
    EXPECT_EQ(e.acFirst(zigzagBlock({{1, 2047}}), 1, 63, 0), StatusOk);
    EXPECT_EQ(e.acFirst(zigzagBlock({{1, 2048}}), 1, 63, 0), StatusCoefficientRange);
    EXPECT_EQ(e.acFirst(zigzagBlock({{1, -32768}}), 1, 63, 5), StatusOk);  // 1024: category 11
    EXPECT_EQ(e.acFirst(zigzagBlock({{1, -32768}}), 1, 63, 4), StatusCoefficientRange);
    e.lastDC = 0;
    EXPECT_EQ(e.dcFirst(zigzagBlock({{0, -2047}}), 0), StatusOk);
    EXPECT_EQ(e.dcFirst(zigzagBlock({{0, 1}}), 0), StatusCoefficientRange);  // difference 2048
    EXPECT_EQ(e.lastDC, 1);  // taken before the refusal
}

// The run is coded as it reaches 32767 blocks: EOB14 with 14 one bits.
TEST(ProgressiveEncode, EndOfBandRunIsCodedAt32767Blocks) {
    Encoder e;
    const Block zero{};
    for (int i = 0; i < 32766; ++i) ASSERT_EQ(e.acFirst(zero, 1, 63, 0), StatusOk);
    EXPECT_EQ(e.pos, 0);
    EXPECT_EQ(e.eobRun(), 32766);
    ASSERT_EQ(e.acFirst(zero, 1, 63, 0), StatusOk);
    EXPECT_EQ(e.written(), (Bytes{0xE0, 0xFF, 0x00}));
    EXPECT_EQ(e.eobRun(), 0);
    ASSERT_EQ(e.acFirst(zero, 1, 63, 0), StatusOk);
    ASSERT_EQ(e.flushFirst(), StatusOk);
    // 6 pending one bits, EOB0 (0x00), 2 more bits of padding
    EXPECT_EQ(e.written(), (Bytes{0xE0, 0xFF, 0x00, 0xFC, 0x03}));
}

// Blocks of coefficients significant before only: 63 correction bits each.
// After the 15th the buffer passes 937 bits and the run is coded: EOB3 with
// the bits 111, then the 945 bits in order.
TEST(ProgressiveEncode, CorrectionBitsPast937EndTheRun) {
    Encoder e;
    Block dense;
    for (int k = 0; k < 64; ++k) dense[size_t(k)] = int16_t(k % 3 == 0 ? 3 : -2);  // bits 1 / 0
    for (int i = 0; i < 14; ++i) ASSERT_EQ(e.acRefine(dense, 1, 63, 0), StatusOk);
    EXPECT_EQ(e.pos, 0);
    EXPECT_EQ(e.correctionCount(), 14 * 63);
    ASSERT_EQ(e.acRefine(dense, 1, 63, 0), StatusOk);
    EXPECT_EQ(e.eobRun(), 0);
    EXPECT_EQ(e.correctionCount(), 0);
    ReferenceBitStream expected;
    expected.put(0x30, 8);
    expected.put(0b111, 3);
    for (int i = 0; i < 15; ++i)
        for (int k = 1; k < 64; ++k) expected.put(dense[zeq::NaturalOfZigzag[size_t(k)]] == 3, 1);
    EXPECT_EQ(e.written(), expected.bytes(false));
    EXPECT_EQ(e.state.at<int32_t>(8), int32_t(expected.bitCount() % 8));
}

TEST(ProgressiveEncode, FlushWithNothingPendingWritesNothing) {
    Encoder e;
    EXPECT_EQ(e.flushFirst(), StatusOk);
    EXPECT_EQ(e.flushRefine(), StatusOk);
    EXPECT_EQ(e.pos, 0);
}

// A flush that finds the destination full still resets the whole state.
TEST(ProgressiveEncode, FlushResetsTheStateEvenWhenTheDestinationIsFull) {
    for (bool refine : {false, true}) {
        Encoder e;
        Block dense;
        dense.fill(2);
        for (int i = 0; i < 3; ++i)
            ASSERT_EQ(refine ? e.acRefine(dense, 1, 63, 0) : e.acFirst(Block{}, 1, 63, 0),
                      StatusOk);
        e.len = 1;
        EXPECT_EQ(refine ? e.flushRefine() : e.flushFirst(), StatusBufferExhausted);
        EXPECT_EQ(e.pos, 1);
        for (size_t i = 0; i < 1048; ++i) ASSERT_EQ(e.state.bytes[i], 0) << i;
    }
}

// Every scan type with a destination of exactly the size it needs (the
// bounded writer at the end) gives the bytes of a roomy one; one byte less
// runs out.
TEST(ProgressiveEncode, TightDestinationGivesTheSameBytesOrRunsOut) {
    const Frame f = greyFrame(64, 64, 0);
    const Blocks blocks = photoComponents(f, 77, kQuality95);
    ZeqStatus status = StatusOk;
    const auto script = libraryEncodeScript(f, blocks, standardScript(false), status);
    ASSERT_EQ(status, StatusOk);
    for (const ProgressiveScan& s : script) {
        const int32_t size = int32_t(s.data.size());
        EXPECT_EQ(libraryEncodeScan(f, blocks, s, status, size), s.data);
        EXPECT_EQ(status, StatusOk) << s.ss << ".." << s.se << " Ah " << s.ah;
        ZeqStatus cutStatus = StatusOk;
        const Bytes cut = libraryEncodeScan(f, blocks, s, cutStatus, size - 1);
        EXPECT_EQ(cutStatus, StatusBufferExhausted) << s.ss << ".." << s.se << " Ah " << s.ah;
        EXPECT_TRUE(std::equal(cut.begin(), cut.end(), s.data.begin()));
    }
}

struct CheckCase {
    const char* name;
    ZeqStatus expected;
    int which;  // 0 DC first, 1 DC refine, 2 AC first, 3 AC refine
    bool nullSrc, nullDst, nullPos, nullLastDC, nullTable, nullState;
    int32_t dstLen, ss, se, al, flush;
};

// The first failing check decides, and nothing is written.
TEST(ProgressiveEncode, ArgumentChecksInOrder) {
    const CheckCase cases[] = {
        {"dst before everything", StatusNullPointer, 2, true, true, true, true, true, true, 0, 0, 0,
         99, 0},
        {"length before other pointers", StatusBadSize, 2, true, false, true, true, true, true, 0,
         0, 0, 99, 0},
        {"position", StatusNullPointer, 0, false, false, true, false, false, false, 8, 1, 1, 0, 0},
        {"AC table before flush", StatusNullPointer, 2, false, false, false, false, true, false, 8,
         1, 1, 0, 1},
        {"state before flush", StatusNullPointer, 3, false, false, false, false, false, true, 8, 1,
         1, 0, 1},
        {"flush looks at nothing else", StatusOk, 3, true, false, false, true, false, false, 8, 0,
         0, 99, 1},
        {"DC flush needs no table", StatusOk, 0, true, false, false, true, true, false, 8, 0, 0, 99,
         1},
        {"src", StatusNullPointer, 3, true, false, false, false, false, false, 8, 0, 0, 99, 0},
        {"last DC", StatusNullPointer, 0, false, false, false, true, true, false, 8, 0, 0, 99, 0},
        {"Al before the DC table", StatusBadArgument, 0, false, false, false, false, true, false, 8,
         0, 0, 14, 0},
        {"DC table", StatusNullPointer, 0, false, false, false, false, true, false, 8, 0, 0, 13, 0},
        {"negative Al", StatusBadArgument, 1, false, false, false, false, false, false, 8, 0, 0, -1,
         0},
        {"Ss 0", StatusBadArgument, 2, false, false, false, false, false, false, 8, 0, 5, 0, 0},
        {"Se below Ss", StatusBadArgument, 3, false, false, false, false, false, false, 8, 6, 5, 0,
         0},
        {"Se 64", StatusBadArgument, 2, false, false, false, false, false, false, 8, 1, 64, 0, 0},
        {"Al 14", StatusBadArgument, 3, false, false, false, false, false, false, 8, 1, 63, 14, 0},
    };
    const Block block = zigzagBlock({{0, 100}, {1, 5}});
    for (const CheckCase& c : cases) {
        EncodeSpecBuffer table = encodeSpec(everySymbolTable());
        EncodeStateBuffer state = freshEncodeState();
        state.bytes[12] = 3;  // a pending run: a flush writes it
        Bytes out(8, 0xEE);
        int32_t pos = 0;
        int16_t lastDC = 0;
        const int16_t* src = c.nullSrc ? nullptr : block.data();
        uint8_t* dst = c.nullDst ? nullptr : out.data();
        int32_t* p = c.nullPos ? nullptr : &pos;
        int16_t* dc = c.nullLastDC ? nullptr : &lastDC;
        const HuffmanEncodeSpec* t = c.nullTable ? nullptr : table.get();
        HuffmanEncodeState* s = c.nullState ? nullptr : state.get();
        ZeqStatus status;
        switch (c.which) {
            case 0:
                status = zeqiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(src, dst, c.dstLen, p, dc, c.al,
                                                                    t, s, c.flush);
                break;
            case 1:
                status = zeqiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(src, dst, c.dstLen, p, c.al, s,
                                                                     c.flush);
                break;
            case 2:
                status = zeqiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(src, dst, c.dstLen, p, c.ss,
                                                                    c.se, c.al, t, s, c.flush);
                break;
            default:
                status = zeqiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(src, dst, c.dstLen, p, c.ss,
                                                                     c.se, c.al, t, s, c.flush);
        }
        EXPECT_EQ(status, c.expected) << c.name;
        if (status != StatusOk) {
            EXPECT_EQ(pos, 0) << c.name;
            EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](uint8_t b) { return b == 0xEE; }))
                << c.name;
            EXPECT_EQ(lastDC, 0) << c.name;
        }
    }
}

// The decoders over one stream with the every-symbol table.
struct Decoder {
    explicit Decoder(Bytes bytes) : src(std::move(bytes)) {}
    ZeqStatus acFirst(Block& b, int ss, int se, int al) {
        return zeqiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(src.data(), int32_t(src.size()), &pos,
                                                          b.data(), &marker, ss, se, al,
                                                          table.get(), state.get());
    }
    ZeqStatus acRefine(Block& b, int ss, int se, int al) {
        return zeqiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(src.data(), int32_t(src.size()), &pos,
                                                           b.data(), &marker, ss, se, al,
                                                           table.get(), state.get());
    }
    ZeqStatus dcFirst(Block& b, int al) {
        return zeqiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(src.data(), int32_t(src.size()), &pos,
                                                          b.data(), &lastDC, &marker, al,
                                                          table.get(), state.get());
    }
    ZeqStatus dcRefine(Block& b, int al) {
        return zeqiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(src.data(), int32_t(src.size()), &pos,
                                                           b.data(), &marker, al, state.get());
    }
    int32_t eobRun() const { return state.at<int32_t>(12); }

    Bytes src;
    DecodeSpecBuffer table = decodeSpec(everySymbolTable());
    DecodeStateBuffer state = freshDecodeState();
    int32_t pos = 0, marker = 0;
    int16_t lastDC = 0;
};

Bytes streamOf(std::initializer_list<std::pair<uint32_t, int>> bits) {
    ReferenceBitStream s;
    for (auto [v, n] : bits) s.put(v, n);
    return s.bytes(true);
}

TEST(ProgressiveDecode, RefinementSymbolSizeAboveOneIsTakenAsOne) {
    for (int symbol : {0x01, 0x02, 0x0F}) {
        // Run 1, sign 1; the run passes index 1 (a correction bit 1: 8 becomes
        // 12), one zero at 2, and the new coefficient goes to 3; then EOB0.
        Decoder d(streamOf({{0x10 | uint32_t(symbol), 8}, {1, 1}, {1, 1}, {0x00, 8}}));
        Block b = zigzagBlock({{1, 8}});
        ASSERT_EQ(d.acRefine(b, 1, 5, 2), StatusOk) << symbol;
        EXPECT_EQ(b, zigzagBlock({{1, 12}, {3, 4}})) << symbol;
    }
}

TEST(ProgressiveDecode, ACFirstLeavesBlocksUntouchedWhileARunLasts) {
    // EOB2 with bits 11: a run of 7 blocks.
    Decoder d(streamOf({{0x20, 8}, {3, 2}, {0x01, 8}, {1, 1}}));
    Block b;
    b.fill(9);
    for (int i = 0; i < 7; ++i) {
        ASSERT_EQ(d.acFirst(b, 1, 63, 0), StatusOk) << i;
        EXPECT_TRUE(std::all_of(b.begin(), b.end(), [](int16_t v) { return v == 9; })) << i;
        EXPECT_EQ(d.eobRun(), 6 - i);
    }
    ASSERT_EQ(d.acFirst(b, 1, 1, 3), StatusOk);
    EXPECT_EQ(b[1], 8);  // 1 << 3
}

// No overrun check: a run of 15 from index 63 lands on 78 and a ZRL on 79,
// both inside the table, so only position 63 of the block is written.
TEST(ProgressiveDecode, ACFirstOverrunStaysInsideTheBlock) {
    struct OverrunCase {
        const char* name;
        Bytes stream;
        int16_t at63;
    } cases[] = {
        {"run of 15 from 63", streamOf({{0xF1, 8}, {1, 1}}), 1},
        {"ZRL from 63", streamOf({{0xF0, 8}}), 7},
        {"run of 2 from 62", streamOf({{0x21, 8}, {0, 1}}), -1},
    };
    for (auto& c : cases) {
        std::array<int16_t, 64 + 16> guarded;
        guarded.fill(7);
        Decoder d(c.stream);
        ASSERT_EQ(zeqiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(
                      d.src.data(), int32_t(d.src.size()), &d.pos, guarded.data() + 8, &d.marker,
                      62, 63, 0, d.table.get(), d.state.get()),
                  StatusOk)
            << c.name;
        for (size_t i = 0; i < guarded.size(); ++i) {
            if (i != 8 + 63) {
                EXPECT_EQ(guarded[i], 7) << c.name << " " << i;
            }
        }
        EXPECT_EQ(guarded[8 + 63], c.at63) << c.name;
    }
}

TEST(ProgressiveDecode, DCScansShiftAndSetBits) {
    Decoder d(streamOf({{0x03, 8}, {0b011, 3}, {1, 1}, {0, 1}, {1, 1}}));
    Block b{};
    ASSERT_EQ(d.dcFirst(b, 2), StatusOk);
    EXPECT_EQ(d.lastDC, -4);
    EXPECT_EQ(b[0], -16);
    ASSERT_EQ(d.dcRefine(b, 1), StatusOk);
    EXPECT_EQ(b[0], -14);
    ASSERT_EQ(d.dcRefine(b, 0), StatusOk);
    EXPECT_EQ(b[0], -14);
    ASSERT_EQ(d.dcRefine(b, 0), StatusOk);
    EXPECT_EQ(b[0], -13);
}

struct DecodeCheckCase {
    const char* name;
    ZeqStatus expected;
    int which;
    bool nullSrc, nullPos, nullDst, nullLastDC, nullMarker, nullTable, nullState;
    int32_t srcLen, ss, se, al;
};

TEST(ProgressiveDecode, ArgumentChecksInOrder) {
    const DecodeCheckCase cases[] = {
        {"src first", StatusNullPointer, 2, true, true, true, true, true, true, true, 0, 0, 0, 99},
        {"length", StatusBadSize, 3, false, true, true, true, true, true, true, 0, 0, 0, 99},
        {"position", StatusNullPointer, 0, false, true, false, false, false, false, false, 4, 0, 0,
         99},
        {"DC: pointers before Al", StatusNullPointer, 0, false, false, false, false, false, true,
         false, 4, 0, 0, 99},
        {"DC refine: state before Al", StatusNullPointer, 1, false, false, false, false, false,
         false, true, 4, 0, 0, 99},
        {"DC Al", StatusBadArgument, 1, false, false, false, false, false, false, false, 4, 0, 0,
         14},
        {"AC: band before table", StatusBadArgument, 2, false, false, false, false, false, true,
         true, 4, 0, 5, 0},
        {"AC: Al before state", StatusBadArgument, 3, false, false, false, false, false, false,
         true, 4, 1, 5, 14},
        {"AC: marker before band", StatusNullPointer, 3, false, false, false, false, true, false,
         false, 4, 0, 5, 0},
        {"AC: table", StatusNullPointer, 2, false, false, false, false, false, true, false, 4, 1, 5,
         0},
    };
    for (const DecodeCheckCase& c : cases) {
        Decoder d(Bytes{0x00, 0x00, 0x00, 0x00});
        Block b;
        b.fill(5);
        const uint8_t* src = c.nullSrc ? nullptr : d.src.data();
        int32_t* pos = c.nullPos ? nullptr : &d.pos;
        int16_t* dst = c.nullDst ? nullptr : b.data();
        int16_t* lastDC = c.nullLastDC ? nullptr : &d.lastDC;
        int32_t* marker = c.nullMarker ? nullptr : &d.marker;
        const HuffmanDecodeSpec* t = c.nullTable ? nullptr : d.table.get();
        HuffmanDecodeState* s = c.nullState ? nullptr : d.state.get();
        ZeqStatus status;
        switch (c.which) {
            case 0:
                status = zeqiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(src, c.srcLen, pos, dst, lastDC,
                                                                    marker, c.al, t, s);
                break;
            case 1:
                status = zeqiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(src, c.srcLen, pos, dst,
                                                                     marker, c.al, s);
                break;
            case 2:
                status = zeqiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(src, c.srcLen, pos, dst, marker,
                                                                    c.ss, c.se, c.al, t, s);
                break;
            default:
                status = zeqiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(
                    src, c.srcLen, pos, dst, marker, c.ss, c.se, c.al, t, s);
        }
        EXPECT_EQ(status, c.expected) << c.name;
        EXPECT_EQ(d.pos, 0) << c.name;
        EXPECT_TRUE(std::all_of(b.begin(), b.end(), [](int16_t v) { return v == 5; })) << c.name;
    }
}

// Random images (values up to category 11 after the point transform) and
// random scripts, coded with the every-symbol table: the library's decoders
// and the plain reference decoder both give back the image.
TEST(ProgressiveRoundTrip, RandomScriptsDecodeToTheImage) {
    for (int i = 0; i < scaledCount(40); ++i) {
        auto& rng = seededRng(900 + uint32_t(i));
        const bool colour = i % 2 == 0;
        const Frame f = colour ? colour420Frame(32, 32, 0) : greyFrame(24, 16, 0);
        Blocks blocks;
        for (const auto& c : f.components) {
            blocks.emplace_back(size_t(64) * c.widthInBlocks * c.heightInBlocks, int16_t{0});
            for (size_t b = 0; b < blocks.back().size() / 64; ++b) {
                const int density = uniform<int>(rng, 0, 4);
                for (int k = 0; k < 64; ++k)
                    if (uniform<int>(rng, 0, 4) < density)
                        blocks.back()[64 * b + size_t(k)] = int16_t(uniform<int>(rng, -1023, 1023));
            }
        }
        auto script = randomScript(rng, int(f.components.size()));
        for (ProgressiveScan& s : script) {
            for (int t = 0; t < 2; ++t) s.dc[t] = s.ac[t] = everySymbolTable();
            ZeqStatus status = StatusOk;
            s.data = libraryEncodeScan(f, blocks, s, status);
            ASSERT_EQ(status, StatusOk) << i;
        }
        Blocks ours, reference;
        for (const auto& b : blocks) {
            ours.emplace_back(b.size(), int16_t{0});
            reference.emplace_back(b.size(), int16_t{0});
        }
        for (const ProgressiveScan& s : script) {
            ASSERT_EQ(StatusOk, libraryDecodeScan(f, ours, s.components, s.ss, s.se, s.ah, s.al,
                                                  s.dc, s.ac, s.data))
                << i;
            ScanCounts tally;
            ASSERT_TRUE(referenceDecodeScan(f, reference, s, tally)) << i;
            ASSERT_EQ(ours, reference) << "script " << i << " scan " << s.ss << ".." << s.se;
        }
        EXPECT_EQ(ours, blocks) << i;
    }
}

// Damaged streams: random bytes, and real scans cut short or with bytes
// changed. Only the reader's statuses come back, and nothing outside the
// 64 coefficients is written.
TEST(ProgressiveDecode, DamagedStreamsGiveOnlyReaderStatuses) {
    const TableDefinition tables[] = {annexKAcLuminance(), everySymbolTable()};
    for (int i = 0; i < scaledCount(3000); ++i) {
        auto& rng = seededRng(1300 + uint32_t(i));
        Bytes src(size_t(uniform<int>(rng, 1, 40)));
        fillRandom(rng, src.data(), src.size());
        const DecodeSpecBuffer table = decodeSpec(tables[i % 2]);
        DecodeStateBuffer state = freshDecodeState();
        std::array<int16_t, 96> guarded;
        guarded.fill(3);
        int32_t pos = 0, marker = 0;
        int16_t lastDC = 0;
        const int ss = uniform<int>(rng, 1, 63), se = uniform<int>(rng, ss, 63);
        const int al = uniform<int>(rng, 0, 13);
        for (int block = 0; block < 8; ++block) {
            int16_t* b = guarded.data() + 16;
            ZeqStatus status;
            switch (uniform<int>(rng, 0, 3)) {
                case 0:
                    status = zeqiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(
                        src.data(), int32_t(src.size()), &pos, b, &lastDC, &marker, al, table.get(),
                        state.get());
                    break;
                case 1:
                    status = zeqiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(
                        src.data(), int32_t(src.size()), &pos, b, &marker, al, state.get());
                    break;
                case 2:
                    status = zeqiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(
                        src.data(), int32_t(src.size()), &pos, b, &marker, ss, se, al, table.get(),
                        state.get());
                    break;
                default:
                    status = zeqiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(
                        src.data(), int32_t(src.size()), &pos, b, &marker, ss, se, al, table.get(),
                        state.get());
            }
            ASSERT_TRUE(status == StatusOk || status == StatusBufferExhausted ||
                        status == StatusCoefficientRange)
                << status;
            ASSERT_LE(pos, int32_t(src.size()));
            if (status != StatusOk) break;
        }
        for (size_t k = 0; k < guarded.size(); ++k) {
            if (k < 16 || k >= 80) {
                ASSERT_EQ(guarded[k], 3) << i;
            }
        }
    }
}

}  // namespace
