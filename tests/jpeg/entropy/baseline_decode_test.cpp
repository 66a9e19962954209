// Baseline decoding: the byte reader's stuffing, fill-byte, end and marker
// rules, block decoding with covered counts and the overrun tolerance, round
// trips through the encoders across restart intervals, the direct decoder,
// corrupt input and the check orders.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "tests/common/test_support.h"
#include "tests/jpeg/entropy/huffman_test_support.h"
#include "tests/jpeg/entropy/photo_blocks.h"
#include "tests/jpeg/entropy/record_checks.h"
#include "zeqj.h"

namespace {

using namespace zeq::test;
using Block = std::array<int16_t, 64>;

// One code of 8 zero bits for symbol 8: a value is then one 0x00 byte and one
// byte of extra bits.
const TableDefinition kByteValueTable{{0, 0, 0, 0, 0, 0, 0, 1}, {8}};

struct Decoder {
    Decoder(const TableDefinition& dc, const TableDefinition& ac)
        : dcSpec(decodeSpec(dc)), acSpec(decodeSpec(ac)), state(freshDecodeState()) {}
    ZeqStatus block(const std::vector<uint8_t>& src, Block& out) {
        return zeqiDecodeHuffman8x8_JPEG_1u16s_C1(src.data(), int32_t(src.size()), &pos, out.data(),
                                                  &lastDC, &marker, dcSpec.get(), acSpec.get(),
                                                  state.get());
    }
    ZeqStatus one(const std::vector<uint8_t>& src, int16_t& out) {
        return zeqiDecodeHuffmanOne_JPEG_1u16s_C1(src.data(), int32_t(src.size()), &pos, &out,
                                                  &marker, dcSpec.get(), state.get());
    }
    int32_t covered() const { return state.at<int32_t>(16); }
    int32_t bitCount() const { return state.at<int32_t>(8); }
    DecodeSpecBuffer dcSpec, acSpec;
    DecodeStateBuffer state;
    int32_t pos = 0;
    int16_t lastDC = 0;
    int32_t marker = 0;
};

struct ReaderCase {
    const char* name;
    std::vector<uint8_t> src;
    ZeqStatus status;
    int16_t value;  // stored only on success
    int32_t pos;
    int32_t marker;
};

TEST(ByteReader, StuffingFillBytesEndsAndMarkers) {
    const ReaderCase cases[] = {
        {"FF 00 is the data byte FF", {0x00, 0xFF, 0x00}, StatusOk, 255, 3, 0},
        {"fill bytes are dropped", {0x00, 0xFF, 0xFF, 0xFF, 0x00}, StatusOk, 255, 5, 0},
        {"end right after FF", {0x00, 0xFF}, StatusBufferExhausted, -1, 2, 0},
        {"end before the extra bits", {0x00}, StatusBufferExhausted, -1, 1, 0},
        {"marker before the extra bits",
         {0x00, 0xFF, 0xD3, 0x55},
         StatusCoefficientRange,
         -1,
         3,
         0xD3},
        {"marker after the value", {0x00, 0xAB, 0xFF, 0xD0}, StatusOk, 171, 4, 0xD0},
        {"marker after fill bytes", {0x00, 0x2B, 0xFF, 0xFF, 0xD9, 0x00}, StatusOk, -212, 5, 0xD9},
    };
    for (const auto& c : cases) {
        Decoder d(kByteValueTable, kByteValueTable);
        int16_t value = -1;
        EXPECT_EQ(d.one(c.src, value), c.status) << c.name;
        EXPECT_EQ(value, c.value) << c.name;
        EXPECT_EQ(d.pos, c.pos) << c.name;
        EXPECT_EQ(d.marker, c.marker) << c.name;
    }
}

// Bits read before a marker are still decoded; once they run short the
// decoder reports StatusCoefficientRange and reads no further.
TEST(ByteReader, MarkerLetsBitsInHandBeDecodedThenStops) {
    Decoder d(kByteValueTable, kByteValueTable);
    const std::vector<uint8_t> src = {0x00, 0x01, 0x00, 0x02, 0xFF, 0xD5, 0x00, 0x03};
    int16_t value = 0;
    ASSERT_EQ(d.one(src, value), StatusOk);  // reads four bytes ahead
    EXPECT_EQ(value, -254);                  // 0x01 with top bit 0: 1 + 1 - 256
    EXPECT_EQ(d.pos, 4);
    ASSERT_EQ(d.one(src, value), StatusOk);  // from the bits in hand
    EXPECT_EQ(value, -253);
    EXPECT_EQ(d.marker, 0);
    EXPECT_EQ(d.one(src, value), StatusCoefficientRange);
    EXPECT_EQ(value, -253);
    EXPECT_EQ(d.marker, 0xD5);
    EXPECT_EQ(d.pos, 6);  // past the marker, nothing after it read
    EXPECT_EQ(d.one(src, value), StatusCoefficientRange);
    EXPECT_EQ(d.pos, 6);
}

TEST(DecodeBlock, ImmediateEOBAndCategoryModulo16) {
    Decoder d(annexKDcLuminance(), annexKAcLuminance());
    d.lastDC = 40;
    Block out;
    out.fill(9);
    ASSERT_EQ(d.block({0b00101011}, out), StatusOk);  // DC "00", EOB "1010"
    EXPECT_EQ(d.covered(), 1);
    EXPECT_EQ(d.lastDC, 40);
    EXPECT_EQ(out[0], 40);
    EXPECT_TRUE(std::all_of(out.begin() + 1, out.end(), [](int16_t v) { return v == 0; }));

    // DC symbol 0x11 stands for category 1: "0", extra "1", then EOB.
    Decoder m(TableDefinition{{1}, {0x11}}, annexKAcLuminance());
    m.lastDC = 40;
    ASSERT_EQ(m.block({0b01101011}, out), StatusOk);
    EXPECT_EQ(out[0], 41);
    EXPECT_EQ(m.lastDC, 41);
}

TEST(DecodeBlock, UndecodableDCLeavesCoveredZero) {
    Decoder d(annexKDcLuminance(), annexKAcLuminance());
    Block out;
    out.fill(9);
    EXPECT_EQ(d.block({0xFF, 0x00, 0xFF, 0x00, 0xFF, 0x00}, out), StatusCoefficientRange);
    EXPECT_EQ(d.covered(), 0);
    EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](int16_t v) { return v == 0; }));
}

struct RunCase {
    const char* name;
    std::vector<std::pair<int, int>> symbols;  // (symbol, extra bits of size s)
    ZeqStatus status;
    int32_t covered;
    int16_t at63;
};

// Runs that end at index 63, land within eight positions past it (on 63), and
// go beyond that.
TEST(DecodeBlock, OverrunToleranceOfEightPositions) {
    const RunCase cases[] = {
        {"ends at 63", {{0xF0, 0}, {0xF0, 0}, {0xF0, 0}, {0xE1, 1}}, StatusOk, 64, 1},
        {"run lands on 64", {{0xF0, 0}, {0xF0, 0}, {0xF0, 0}, {0xF1, 0}}, StatusOk, 65, -1},
        {"ZRL past the end", {{0xF0, 0}, {0xF0, 0}, {0xF0, 0}, {0xF0, 0}}, StatusOk, 65, 0},
        {"run lands on 71",
         {{0xF0, 0}, {0xF0, 0}, {0xF0, 0}, {0x61, 1}, {0xF1, 1}},
         StatusOk,
         72,
         1},
        {"run lands on 72",
         {{0xF0, 0}, {0xF0, 0}, {0xF0, 0}, {0x71, 1}, {0xF1, 1}},
         StatusBlockOverrun,
         73,
         0},
    };
    const TableDefinition every = everySymbolTable();
    for (const auto& c : cases) {
        ReferenceBitStream bits;
        bits.put(0x00, 8);  // DC category 0
        for (auto [symbol, extra] : c.symbols) {
            bits.put(uint32_t(symbol), 8);
            if (symbol & 15) bits.put(uint32_t(extra), symbol & 15);
        }
        Decoder d(every, every);
        Block out;
        EXPECT_EQ(d.block(bits.bytes(true), out), c.status) << c.name;
        EXPECT_EQ(d.covered(), c.covered) << c.name;
        EXPECT_EQ(out[63], c.at63) << c.name;
    }
}

TEST(DecodeBlock, EmptySourceDecodesFromBitsAlreadyRead) {
    Decoder d(annexKDcLuminance(), annexKAcLuminance());
    // Two zero blocks: 001010 001010, padded.
    const std::vector<uint8_t> stream = {0b00101000, 0b10101111};
    Block out;
    ASSERT_EQ(d.block(stream, out), StatusOk);
    EXPECT_EQ(d.bitCount(), 10);
    const int32_t pos = d.pos;
    ASSERT_EQ(zeqiDecodeHuffman8x8_JPEG_1u16s_C1(stream.data(), 0, &d.pos, out.data(), &d.lastDC,
                                                 &d.marker, d.dcSpec.get(), d.acSpec.get(),
                                                 d.state.get()),
              StatusOk);
    EXPECT_EQ(d.covered(), 1);
    EXPECT_EQ(d.pos, pos);
    int16_t value;
    EXPECT_EQ(zeqiDecodeHuffmanOne_JPEG_1u16s_C1(stream.data(), 0, &d.pos, &value, &d.marker,
                                                 d.dcSpec.get(), d.state.get()),
              StatusBadSize);
}

// Encodes blocks in restart intervals (flush, then an RSTn marker, last DC
// back to 0) and decodes them again, resetting state and marker word at each
// marker; every block and its covered count must come back.
void roundTrip(const std::vector<Block>& blocks, int interval, const TableDefinition& dc,
               const TableDefinition& ac) {
    const EncodeSpecBuffer dcEnc = encodeSpec(dc), acEnc = encodeSpec(ac);
    EncodeStateBuffer encState = freshEncodeState();
    std::vector<uint8_t> stream(blocks.size() * 300 + 64);
    int32_t pos = 0;
    int16_t lastDC = 0;
    const int32_t len = int32_t(stream.size());
    for (size_t i = 0; i < blocks.size(); ++i) {
        ASSERT_EQ(
            zeqiEncodeHuffman8x8_JPEG_16s1u_C1(blocks[i].data(), stream.data(), len, &pos, &lastDC,
                                               dcEnc.get(), acEnc.get(), encState.get(), 0),
            StatusOk);
        if ((i + 1) % interval == 0 && i + 1 < blocks.size()) {
            ASSERT_EQ(zeqiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, stream.data(), len, &pos, nullptr,
                                                         nullptr, nullptr, encState.get(), 1),
                      StatusOk);
            stream[pos++] = 0xFF;
            stream[pos++] = uint8_t(0xD0 + (i / interval) % 8);
            lastDC = 0;
        }
    }
    ASSERT_EQ(zeqiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, stream.data(), len, &pos, nullptr,
                                                 nullptr, nullptr, encState.get(), 1),
              StatusOk);
    stream[pos++] = 0xFF;
    stream[pos++] = 0xD9;
    stream.resize(pos);

    Decoder d(dc, ac);
    for (size_t i = 0; i < blocks.size(); ++i) {
        Block out;
        ASSERT_EQ(d.block(stream, out), StatusOk) << i;
        ASSERT_EQ(out, blocks[i]) << i;
        int last = 0;
        for (int k = 0; k < 64; ++k)
            if (blocks[i][zeq::NaturalOfZigzag[k]] != 0) last = k;
        ASSERT_EQ(d.covered(), last + 1);
        if ((i + 1) % interval == 0 && i + 1 < blocks.size()) {
            // The marker may still be ahead of the bytes read so far.
            if (d.marker == 0) {
                while (!(stream[d.pos] == 0xFF && stream[d.pos + 1] != 0x00)) ++d.pos;
                d.marker = stream[d.pos + 1];
                d.pos += 2;
            }
            ASSERT_EQ(d.marker, int32_t(0xD0 + (i / interval) % 8));
            d.marker = 0;
            d.lastDC = 0;
            zeqiDecodeHuffmanStateInit_JPEG_8u(d.state.get());
        }
    }
}

// Quantized-looking blocks of the full ranges: AC -32767..32767, DC keeping
// every difference within -32767..32767 (categories up to 15).
std::vector<Block> fullRangeBlocks(std::mt19937& rng, int count) {
    std::vector<Block> blocks(count);
    for (auto& b : blocks) {
        const int density = uniform<int>(rng, 0, 64);
        for (int k = 1; k < 64; ++k) {
            if (uniform<int>(rng, 0, 63) >= density) continue;
            const int bitsWide = uniform<int>(rng, 1, 15);
            b[k] = uniform<int16_t>(rng, -((1 << bitsWide) - 1), (1 << bitsWide) - 1);
        }
        b[0] = uniform<int16_t>(rng, -16383, 16383);
    }
    return blocks;
}

TEST(DecodeBlock, RoundTripsAcrossRestartIntervals) {
    auto& rng = seededRng(21);
    const TableDefinition every = everySymbolTable();
    for (int round = 0; round < scaledCount(30); ++round) {
        const auto blocks = fullRangeBlocks(rng, 40);
        roundTrip(blocks, uniform<int>(rng, 1, 12), every, every);
        // Optimal tables for these blocks: codes up to 16 bits take the slow path.
        std::vector<int32_t> dcCounts(257, 0), acCounts(257, 0);
        int16_t last = 0;
        for (const Block& b : blocks) countBlockSymbols(b.data(), last, dcCounts, acCounts);
        for (int s = 0; s < 16; ++s) dcCounts[s] += 1;  // restarts reset the prediction
        const TableDefinition dc = optimalDefinition(dcCounts), ac = optimalDefinition(acCounts);
        roundTrip(blocks, uniform<int>(rng, 1, 12), dc, ac);
    }
    for (uint32_t seed = 0; seed < 4; ++seed) {
        const auto photo = photoBlocks(200, seed % 2 ? kQuality95 : kQuality75, seed);
        std::vector<Block> blocks(200);
        for (int i = 0; i < 200; ++i) std::copy_n(&photo[64 * i], 64, blocks[i].begin());
        roundTrip(blocks, 7, annexKDcLuminance(), annexKAcLuminance());
    }
}

TEST(DecodeOne, EverySixteenBitValueRoundTrips) {
    const TableDefinition categories = allCategoriesTable();
    const EncodeSpecBuffer enc = encodeSpec(categories);
    EncodeStateBuffer state = freshEncodeState();
    std::vector<uint8_t> stream(65536 * 3 + 16);
    int32_t pos = 0;
    const int32_t len = int32_t(stream.size());
    for (int v = -32768; v <= 32767; ++v) {
        const int16_t value = int16_t(v);
        ASSERT_EQ(zeqiEncodeHuffmanOne_JPEG_16s1u_C1(&value, stream.data(), len, &pos, enc.get(),
                                                     state.get(), 0),
                  StatusOk);
    }
    ASSERT_EQ(zeqiEncodeHuffmanOne_JPEG_16s1u_C1(nullptr, stream.data(), len, &pos, nullptr,
                                                 state.get(), 1),
              StatusOk);
    stream.resize(pos);
    Decoder d(categories, categories);
    for (int v = -32768; v <= 32767; ++v) {
        int16_t value = 0;
        ASSERT_EQ(d.one(stream, value), StatusOk) << v;
        ASSERT_EQ(value, v);
    }
}

// The direct decoder reads the same stream at a bit position with the bits it
// holds in the caller's reservoir; at a marker with nothing left it succeeds
// with a cleared block.
TEST(DecodeDirect, RoundTripAndMarkerWithNoBitsLeft) {
    const auto photo = photoBlocks(120, kQuality95, 77);
    const EncodeSpecBuffer dcEnc = encodeSpec(annexKDcLuminance()),
                           acEnc = encodeSpec(annexKAcLuminance());
    const DecodeSpecBuffer dc = decodeSpec(annexKDcLuminance()),
                           ac = decodeSpec(annexKAcLuminance());
    std::vector<uint8_t> stream(120 * 300, 0);
    int32_t bitPos = 0;
    int16_t lastDC = 0;
    for (int i = 0; i < 120; ++i)
        ASSERT_EQ(zeqiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(&photo[64 * i], stream.data(), &bitPos,
                                                            &lastDC, dcEnc.get(), acEnc.get()),
                  StatusOk);
    // Pad to a byte with ones, then EOI.
    size_t end = size_t(bitPos) / 8;
    if (bitPos % 8) stream[end++] |= uint8_t(0xFF >> (bitPos % 8));
    if (stream[end - 1] == 0xFF) stream[end++] = 0x00;
    stream[end++] = 0xFF;
    stream[end++] = 0xD9;
    stream.resize(end);

    int32_t readPos = 0, marker = 0, count = 0;
    uint32_t reservoir = 0;
    lastDC = 0;
    for (int i = 0; i < 120; ++i) {
        Block out;
        ASSERT_EQ(zeqiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(stream.data(), &readPos, out.data(),
                                                            &lastDC, &marker, &reservoir, &count,
                                                            dc.get(), ac.get()),
                  StatusOk)
            << i;
        ASSERT_TRUE(std::equal(out.begin(), out.end(), &photo[64 * i])) << i;
    }
    ASSERT_LT(count, 8);  // only padding left
    Block out;
    out.fill(3);
    count = 0;
    const int16_t dcBefore = lastDC;
    EXPECT_EQ(
        zeqiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(stream.data(), &readPos, out.data(), &lastDC,
                                                  &marker, &reservoir, &count, dc.get(), ac.get()),
        StatusOk);
    EXPECT_EQ(marker, 0xD9);
    EXPECT_EQ(readPos, int32_t(8 * stream.size()));
    EXPECT_EQ(lastDC, dcBefore);
    EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](int16_t v) { return v == 0; }));
}

// Damaged streams in exactly sized buffers: only the documented statuses, the
// position within the data, no access outside it (the sanitizer build).
TEST(DecodeBlock, CorruptInputGivesOnlyDocumentedStatuses) {
    auto& rng = seededRng(99);
    const TableDefinition every = everySymbolTable();
    const auto photo = photoBlocks(30, kQuality95, 5);
    std::vector<uint8_t> clean(30 * 300);
    {
        const EncodeSpecBuffer dc = encodeSpec(annexKDcLuminance()),
                               ac = encodeSpec(annexKAcLuminance());
        EncodeStateBuffer st = freshEncodeState();
        int32_t pos = 0;
        int16_t lastDC = 0;
        for (int i = 0; i < 30; ++i)
            zeqiEncodeHuffman8x8_JPEG_16s1u_C1(&photo[64 * i], clean.data(), int32_t(clean.size()),
                                               &pos, &lastDC, dc.get(), ac.get(), st.get(), 0);
        zeqiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, clean.data(), int32_t(clean.size()), &pos,
                                           nullptr, nullptr, nullptr, st.get(), 1);
        clean.resize(pos);
    }
    for (int round = 0; round < scaledCount(3000); ++round) {
        std::vector<uint8_t> src;
        switch (round % 4) {
            case 0:  // garbage
                src.resize(uniform<size_t>(rng, 0, 200));
                for (auto& b : src) b = uniform<uint8_t>(rng, 0, 255);
                break;
            case 1:  // truncated
                src.assign(clean.begin(), clean.begin() + uniform<int>(rng, 0, int(clean.size())));
                break;
            case 2:  // flipped bits
                src = clean;
                for (int f = 0; f < 4; ++f)
                    src[uniform<size_t>(rng, 0, src.size() - 1)] ^=
                        uint8_t(1u << uniform<int>(rng, 0, 7));
                break;
            default:  // a marker mid-stream
                src = clean;
                src.insert(src.begin() + uniform<int>(rng, 0, int(src.size())),
                           {0xFF, uint8_t(uniform<int>(rng, 0xC0, 0xFE))});
                break;
        }
        const bool standard = round % 3 != 0;
        Decoder d(standard ? annexKDcLuminance() : every, standard ? annexKAcLuminance() : every);
        // An allocation of exactly the data (non-null also when empty).
        const int32_t size = int32_t(src.size());
        std::unique_ptr<uint8_t[]> exact(new uint8_t[size]);
        std::copy(src.begin(), src.end(), exact.get());
        for (int b = 0; b < 40; ++b) {
            Block out;
            const ZeqStatus s = zeqiDecodeHuffman8x8_JPEG_1u16s_C1(
                exact.get(), size, &d.pos, out.data(), &d.lastDC, &d.marker, d.dcSpec.get(),
                d.acSpec.get(), d.state.get());
            ASSERT_TRUE(s == StatusOk || s == StatusBufferExhausted ||
                        s == StatusCoefficientRange || s == StatusBlockOverrun)
                << s;
            ASSERT_LE(d.pos, size);
            ASSERT_GE(d.covered(), 0);
            ASSERT_LE(d.covered(), 79);
            if (s != StatusOk) break;
        }
        // The direct decoder needs a marker to end its data.
        std::unique_ptr<uint8_t[]> marked(new uint8_t[size + 2]);
        std::copy(src.begin(), src.end(), marked.get());
        marked[size] = 0xFF;
        marked[size + 1] = 0xD9;
        int32_t bitPos = 0, marker = 0, count = 0;
        uint32_t reservoir = 0;
        int16_t lastDC = 0;
        for (int b = 0; b < 40; ++b) {
            Block out;
            const ZeqStatus s = zeqiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(
                marked.get(), &bitPos, out.data(), &lastDC, &marker, &reservoir, &count,
                d.dcSpec.get(), d.acSpec.get());
            ASSERT_TRUE(s == StatusOk || s == StatusCoefficientRange || s == StatusBlockOverrun)
                << s;
            ASSERT_LE(bitPos, 8 * (size + 2));
            if (s != StatusOk) break;
        }
    }
}

TEST(DecodeBlock, ArgumentChecksInOrderWriteNothing) {
    const DecodeSpecBuffer dc = decodeSpec(annexKDcLuminance()),
                           ac = decodeSpec(annexKAcLuminance());
    const std::vector<uint8_t> src = {0x2B};
    struct Case {
        const char* name;
        int missing;  // 0 src, 1 pos, 2 dst, 3 lastDC, 4 marker, 5 dcTable, 6 acTable, 7 state, -1
                      // none
        int32_t len;
        ZeqStatus expected;
    };
    const Case cases[] = {
        {"src before length", 0, -1, StatusNullPointer},
        {"negative length", 1, -1, StatusBadArgument},
        {"pos", 1, 1, StatusNullPointer},
        {"dst", 2, 1, StatusNullPointer},
        {"lastDC", 3, 1, StatusNullPointer},
        {"marker", 4, 1, StatusNullPointer},
        {"dcTable", 5, 1, StatusNullPointer},
        {"acTable", 6, 1, StatusNullPointer},
        {"state", 7, 1, StatusNullPointer},
    };
    for (const auto& c : cases) {
        DecodeStateBuffer state = freshDecodeState();
        const auto stateBefore = state.bytes;
        Block out;
        out.fill(7);
        int32_t pos = 0, marker = 0;
        int16_t lastDC = 5;
        EXPECT_EQ(zeqiDecodeHuffman8x8_JPEG_1u16s_C1(
                      c.missing == 0 ? nullptr : src.data(), c.len, c.missing == 1 ? nullptr : &pos,
                      c.missing == 2 ? nullptr : out.data(), c.missing == 3 ? nullptr : &lastDC,
                      c.missing == 4 ? nullptr : &marker, c.missing == 5 ? nullptr : dc.get(),
                      c.missing == 6 ? nullptr : ac.get(), c.missing == 7 ? nullptr : state.get()),
                  c.expected)
            << c.name;
        EXPECT_EQ(state.bytes, stateBefore) << c.name;
        EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](int16_t v) { return v == 7; }))
            << c.name;
        EXPECT_EQ(pos, 0);
        EXPECT_EQ(lastDC, 5);
    }
    // One value: a length of 0 is rejected (the block decoder accepts it).
    DecodeStateBuffer state = freshDecodeState();
    int32_t pos = 0, marker = 0;
    int16_t v = 0;
    EXPECT_EQ(
        zeqiDecodeHuffmanOne_JPEG_1u16s_C1(nullptr, 0, nullptr, nullptr, nullptr, nullptr, nullptr),
        StatusNullPointer);
    EXPECT_EQ(zeqiDecodeHuffmanOne_JPEG_1u16s_C1(src.data(), 0, nullptr, nullptr, nullptr, nullptr,
                                                 nullptr),
              StatusBadSize);
    EXPECT_EQ(
        zeqiDecodeHuffmanOne_JPEG_1u16s_C1(src.data(), 1, &pos, &v, &marker, dc.get(), nullptr),
        StatusNullPointer);
    EXPECT_EQ(
        zeqiDecodeHuffmanOne_JPEG_1u16s_C1(src.data(), 1, &pos, &v, nullptr, dc.get(), state.get()),
        StatusNullPointer);
}

TEST(DecodeDirect, ArgumentChecksInOrder) {
    const DecodeSpecBuffer dc = decodeSpec(annexKDcLuminance());
    const uint8_t src[2] = {0xFF, 0xD9};
    Block out;
    int16_t lastDC = 0;
    int32_t marker = 0, count = 0, bitPos = 0, negative = -1;
    uint32_t reservoir = 0;
    auto call = [&](const uint8_t* s, int32_t* bp, int16_t* d, int16_t* ldc, int32_t* m,
                    uint32_t* r, int32_t* c, const HuffmanDecodeSpec* t1,
                    const HuffmanDecodeSpec* t2) {
        return zeqiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(s, bp, d, ldc, m, r, c, t1, t2);
    };
    EXPECT_EQ(
        call(nullptr, &negative, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
        StatusNullPointer);
    EXPECT_EQ(
        call(src, nullptr, out.data(), &lastDC, &marker, &reservoir, &count, dc.get(), dc.get()),
        StatusNullPointer);
    EXPECT_EQ(call(src, &negative, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              StatusBadArgument);
    EXPECT_EQ(
        call(src, &bitPos, out.data(), &lastDC, &marker, &reservoir, nullptr, dc.get(), dc.get()),
        StatusNullPointer);
    EXPECT_EQ(
        call(src, &bitPos, out.data(), &lastDC, &marker, &reservoir, &negative, nullptr, nullptr),
        StatusBadArgument);
    EXPECT_EQ(
        call(src, &bitPos, out.data(), &lastDC, &marker, &reservoir, &count, dc.get(), nullptr),
        StatusNullPointer);
    EXPECT_EQ(bitPos, 0);
    EXPECT_EQ(marker, 0);
}

TEST(DecodeState, SizesInitAllocAndAllocationFailure) {
    checkStateLifecycle<HuffmanDecodeState>(
        zeqiDecodeHuffmanStateGetBufSize_JPEG_8u, zeqiDecodeHuffmanStateInit_JPEG_8u,
        zeqiDecodeHuffmanStateInitAlloc_JPEG_8u, zeqiDecodeHuffmanStateFree_JPEG_8u, 24);
}

}  // namespace
