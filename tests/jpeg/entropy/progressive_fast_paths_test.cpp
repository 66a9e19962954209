// The progressive coders' vector paths against their scalar twins: zigzag
// masks, gathered correction bits, and the exported AC encoders, statistics
// and decoders against the plain per-coefficient walks, on seeded random
// blocks over spectral bands and every successive-approximation bit. Every
// output is compared: statuses, bytes, positions, whole state records,
// counts and decoded blocks, also with tight destinations, damaged records
// and damaged streams.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>
#include <vector>

#include "jpeg/entropy/progressive_decode.h"
#include "jpeg/entropy/progressive_encode.h"
#include "jpeg/entropy/symbol_counter.h"
#include "jpeg/entropy/zigzag_masks.h"
#include "tests/common/test_support.h"
#include "tests/jpeg/entropy/huffman_test_support.h"
#include "zeqj.h"

namespace {

using namespace zeq::test;
using Block = std::array<int16_t, 64>;
using Bytes = std::vector<uint8_t>;

struct Band {
    int ss, se;
};
// The bands of the usual scripts, single coefficients at both ends, and
// bands that start or end inside a row of the block.
const Band kBands[] = {{1, 5}, {6, 63}, {1, 63}, {1, 1}, {63, 63}, {2, 62}, {9, 40}, {30, 33}};

// Coefficients as a scan meets them: mostly zero, some just significant at
// bit al, some larger, now and then the extremes of the 16-bit range (or up
// to `largest`).
Block randomBlock(std::mt19937& rng, int al, int32_t largest = 32768) {
    Block b{};
    const int density = uniform<int>(rng, 0, 100);
    for (int16_t& c : b) {
        const int pick = uniform<int>(rng, 0, 99);
        if (pick >= density) continue;
        const int kind = uniform<int>(rng, 0, 19);
        int32_t v;
        if (kind < 8)
            v = int32_t{1} << al;
        else if (kind < 12)
            v = uniform<int32_t>(rng, 0, (int32_t{1} << al) - 1);
        else if (kind < 19)
            v = uniform<int32_t>(rng, 0, 3 << al) & 0x7FFF;
        else
            v = uniform<int32_t>(rng, 0, 32768);
        v = std::min(v, largest);
        c = static_cast<int16_t>(uniform<int>(rng, 0, 1) ? -v : v);
    }
    return b;
}

TEST(ZigzagMasks, VectorMasksMatchTheScalarWalkOnEveryShiftAndExtreme) {
    auto& rng = seededRng(101);
    for (int n = 0; n < scaledCount(20000); ++n) {
        const int al = n % 14;
        Block b = randomBlock(rng, al);
        if (n % 7 == 0) b[size_t(uniform<int>(rng, 0, 63))] = -32768;
        const zeq::ZigzagMasks scalar = zeq::zigzagMasksScalar(b.data(), al);
        const zeq::ZigzagMasks vector = zeq::zigzagMasks(b.data(), al);
        ASSERT_EQ(vector.nonZero, scalar.nonZero) << "al " << al;
        ASSERT_EQ(vector.one, scalar.one) << "al " << al;
        ASSERT_EQ(zeq::zigzagMasks<false>(b.data(), al).nonZero, scalar.nonZero);
        ASSERT_EQ(zeq::zigzagNonZeroMask(b.data()), zeq::zigzagMasksScalar(b.data(), 0).nonZero);
    }
}

// A writer that records its calls.
struct RecordingWriter {
    std::vector<std::pair<uint32_t, int>> calls;
    ZeqStatus bits(uint32_t v, int n) {
        calls.push_back({v & ((1u << n) - 1), n});
        return StatusOk;
    }
};

TEST(CorrectionBits, GatheredWritesMatchTheByteByByteWrites) {
    auto& rng = seededRng(102);
    // The gathered form loads sixteen bytes at a time; the slack keeps a
    // piece that starts at an odd offset inside the test buffer.
    std::array<uint8_t, 1024 + 16> buffer;
    for (int n = 0; n < scaledCount(3000); ++n) {
        fillRandom(rng, buffer.data(), buffer.size());  // only bit 0 counts
        const int count = uniform<int>(rng, 0, 1023);
        const int start = uniform<int>(rng, 0, 1023 - count);
        RecordingWriter scalar, vector;
        zeq::writeCorrectionBitsScalar(buffer.data() + start, count, scalar);
        zeq::writeCorrectionBits(buffer.data() + start, count, vector);
        ASSERT_EQ(vector.calls, scalar.calls) << "count " << count << " at " << start;
    }
}

// The AC encoders and statistics as they were before the vector walk: the
// scalar templates on the state-based stream, which the exported functions
// must match call for call.
ZeqStatus scalarEncodeBand(const Block& b, Bytes& out, int32_t len, int32_t* pos, int ss, int se,
                           int al, const HuffmanEncodeSpec* table, HuffmanEncodeState* state,
                           bool refine) {
    zeq::BandRun run = zeq::loadBandRun(state, refine);
    const ZeqStatus status = zeq::codeIntoStream(
        out.data(), len, pos, state, zeq::kWorstCaseProgressiveBytes, [&](auto& writer) {
            return refine ? zeq::encodeACRefine(b.data(), ss, se, al, table, run, writer)
                          : zeq::encodeACFirst(b.data(), ss, se, al, table, run,
                                               zeq::kLargestProgressiveCategory, writer);
        });
    zeq::storeBandRun(state, run);
    return status;
}

ZeqStatus scalarCountBand(const Block& b, int32_t* counts, int ss, int se, int al,
                          HuffmanEncodeState* state, bool refine) {
    zeq::BandRun run = zeq::loadBandRun(state, false);
    zeq::SymbolCounter counter;
    const HuffmanEncodeSpec* table = zeq::tableOfCounts(counts);
    const ZeqStatus status = refine
                                 ? zeq::encodeACRefine(b.data(), ss, se, al, table, run, counter)
                                 : zeq::encodeACFirst(b.data(), ss, se, al, table, run,
                                                      zeq::kLargestACFirstCountedCategory, counter);
    zeq::storeBandRun(state, run);
    return status;
}

struct EncodeSide {
    EncodeStateBuffer state = freshEncodeState();
    Bytes out;
    int32_t pos = 0;
    std::vector<int32_t> counts = std::vector<int32_t>(257, 0);
};

// A record as a caller may hand it: fresh, or carrying a run, correction
// bits, or (damaged) values outside what the coders produce.
void prepareState(std::mt19937& rng, EncodeStateBuffer& state, int kind) {
    state = freshEncodeState();
    auto put = [&](size_t offset, int32_t v) { std::memcpy(state.bytes.data() + offset, &v, 4); };
    if (kind == 1) {
        put(12, uniform<int32_t>(rng, 1, 32766));
        put(16, uniform<int32_t>(rng, 0, 937));
        for (size_t i = 20; i < 1044; ++i) state.bytes[i] = uniform<uint8_t>(rng, 0, 255);
    } else if (kind == 2) {
        put(12, uniform<int32_t>(rng, -5, int32_t{1} << 31 >> 1));
        put(16, uniform<int32_t>(rng, -5, 2000));
        const uint64_t buffer = uint64_t{uniform<uint32_t>(rng, 0, 0xFFFFFFFF)} << 8;
        std::memcpy(state.bytes.data(), &buffer, 8);
        put(8, uniform<int32_t>(rng, 0, 7));
    }
}

struct EncodeCase {
    const char* name;
    bool refine;
    int stateKind;     // see prepareState
    int32_t room;      // destination bytes; small ones take the bounded writer
    bool sparseTable;  // a table without codes for most symbols
};

const EncodeCase kEncodeCases[] = {
    {"first", false, 0, 1 << 14, false},
    {"refine", true, 0, 1 << 14, false},
    {"first with a run in the record", false, 1, 1 << 14, false},
    {"refine with a run and bits in the record", true, 1, 1 << 14, false},
    {"first with a damaged record", false, 2, 1 << 14, false},
    {"refine with a damaged record", true, 2, 1 << 14, false},
    {"first into a tight destination", false, 0, 40, false},
    {"refine into a tight destination", true, 1, 40, false},
    {"first with missing codes", false, 0, 1 << 14, true},
    {"refine with missing codes", true, 1, 1 << 14, true},
};

TEST(ProgressiveFastPaths, ExportedEncodersAndStatisticsMatchTheScalarWalks) {
    const EncodeSpecBuffer full = encodeSpec(everySymbolTable());
    const EncodeSpecBuffer sparse = encodeSpec(annexKAcLuminance());
    auto& rng = seededRng(103);
    for (const EncodeCase& c : kEncodeCases) {
        const HuffmanEncodeSpec* table = c.sparseTable ? sparse.get() : full.get();
        for (const Band& band : kBands)
            for (int al = 0; al <= 13; ++al) {
                EncodeSide scalar, fast;
                prepareState(rng, scalar.state, c.stateKind);
                fast.state = scalar.state;
                EncodeSide scalarCount, fastCount;
                scalarCount.state = scalar.state;
                fastCount.state = scalar.state;
                scalar.out.assign(size_t(c.room) + 64, 0xEE);
                fast.out = scalar.out;
                const int blocks = scaledCount(40);
                for (int n = 0; n < blocks; ++n) {
                    const Block b = randomBlock(rng, al);
                    const int32_t room = std::min<int32_t>(c.room, int32_t(scalar.out.size()));
                    if (scalar.pos + 8 > room) scalar.pos = fast.pos = 0;
                    const ZeqStatus expected =
                        scalarEncodeBand(b, scalar.out, room, &scalar.pos, band.ss, band.se, al,
                                         table, scalar.state.get(), c.refine);
                    const ZeqStatus actual =
                        c.refine ? zeqiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(
                                       b.data(), fast.out.data(), room, &fast.pos, band.ss, band.se,
                                       al, table, fast.state.get(), 0)
                                 : zeqiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(
                                       b.data(), fast.out.data(), room, &fast.pos, band.ss, band.se,
                                       al, table, fast.state.get(), 0);
                    ASSERT_EQ(actual, expected) << c.name << " band " << band.ss << ".." << band.se
                                                << " al " << al << " block " << n;
                    ASSERT_EQ(fast.pos, scalar.pos) << c.name << " al " << al << " block " << n;
                    ASSERT_EQ(fast.out, scalar.out) << c.name << " al " << al << " block " << n;
                    ASSERT_EQ(fast.state.bytes, scalar.state.bytes)
                        << c.name << " al " << al << " block " << n;

                    const ZeqStatus expectedCount =
                        scalarCountBand(b, scalarCount.counts.data(), band.ss, band.se, al,
                                        scalarCount.state.get(), c.refine);
                    const ZeqStatus actualCount =
                        c.refine ? zeqiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(
                                       b.data(), fastCount.counts.data(), band.ss, band.se, al,
                                       fastCount.state.get(), 0)
                                 : zeqiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(
                                       b.data(), fastCount.counts.data(), band.ss, band.se, al,
                                       fastCount.state.get(), 0);
                    ASSERT_EQ(actualCount, expectedCount) << c.name << " al " << al;
                    ASSERT_EQ(fastCount.counts, scalarCount.counts) << c.name << " al " << al;
                    ASSERT_EQ(fastCount.state.bytes, scalarCount.state.bytes) << c.name;
                }
            }
    }
}

// Streams for the decoders: what the encoder writes for random blocks of a
// band (all symbols coded as bytes), then, in some cases, damaged.
struct DecodeCase {
    const char* name;
    bool refine;
    int damage;  // 0 none, 1 flipped bytes, 2 cut short, 3 random bytes
};

const DecodeCase kDecodeCases[] = {
    {"first", false, 0},
    {"refine", true, 0},
    {"first, flipped bytes", false, 1},
    {"refine, flipped bytes", true, 1},
    {"first, cut short", false, 2},
    {"refine, cut short", true, 2},
    {"first, random bytes", false, 3},
    {"refine, random bytes", true, 3},
};

Bytes encodedBand(std::mt19937& rng, const std::vector<Block>& blocks, int ss, int se, int al,
                  bool refine, const HuffmanEncodeSpec* table) {
    EncodeStateBuffer state = freshEncodeState();
    Bytes out(size_t(blocks.size()) * 300 + 4096);
    int32_t pos = 0;
    for (const Block& b : blocks) {
        const ZeqStatus s = refine ? zeqiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(
                                         b.data(), out.data(), int32_t(out.size()), &pos, ss, se,
                                         al, table, state.get(), 0)
                                   : zeqiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(
                                         b.data(), out.data(), int32_t(out.size()), &pos, ss, se,
                                         al, table, state.get(), 0);
        if (s != StatusOk) break;
    }
    const ZeqStatus s =
        refine
            ? zeqiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(nullptr, out.data(), int32_t(out.size()),
                                                          &pos, 0, 0, 0, table, state.get(), 1)
            : zeqiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(nullptr, out.data(), int32_t(out.size()),
                                                         &pos, 0, 0, 0, table, state.get(), 1);
    if (s != StatusOk) pos = 0;
    out.resize(size_t(pos));
    (void)rng;
    return out;
}

TEST(ProgressiveFastPaths, BandDecodersMatchTheScalarWalks) {
    const EncodeSpecBuffer encodeTable = encodeSpec(everySymbolTable());
    const DecodeSpecBuffer decodeTable = decodeSpec(everySymbolTable());
    auto& rng = seededRng(104);
    for (const DecodeCase& c : kDecodeCases)
        for (const Band& band : kBands)
            for (int al = 0; al <= 13; ++al) {
                const int count = scaledCount(30);
                // The blocks of the scan before this one (what refinement
                // corrects), and the blocks this scan codes.
                std::vector<Block> before(static_cast<size_t>(count)),
                    coded(static_cast<size_t>(count));
                for (int i = 0; i < count; ++i) {
                    // Within the categories the encoder codes.
                    coded[size_t(i)] = randomBlock(rng, al, std::min(32767, (1024 << al) - 1));
                    before[size_t(i)] = coded[size_t(i)];
                    for (int16_t& v : before[size_t(i)]) {
                        // The coarser scans knew the bits above al.
                        const int32_t m = v < 0 ? -int32_t{v} : v;
                        const int32_t kept = (m >> (al + 1)) << (al + 1);
                        v = static_cast<int16_t>(v < 0 ? -kept : kept);
                    }
                }
                Bytes stream =
                    encodedBand(rng, coded, band.ss, band.se, al, c.refine, encodeTable.get());
                if (c.damage == 1)
                    for (int i = 0; i < 3 && !stream.empty(); ++i)
                        stream[size_t(uniform<int>(rng, 0, int(stream.size()) - 1))] ^=
                            uniform<uint8_t>(rng, 1, 255);
                if (c.damage == 2) stream.resize(stream.size() / 2);
                if (c.damage == 3)
                    for (uint8_t& byte : stream) byte = uniform<uint8_t>(rng, 0, 255);
                stream.resize(stream.size() + 8, 0x00);  // room for readers that look ahead
                const int32_t len = int32_t(stream.size()) - 8;
                if (len < 1) continue;

                DecodeStateBuffer scalarState = freshDecodeState(), fastState = freshDecodeState();
                int32_t scalarPos = 0, fastPos = 0, scalarMarker = 0, fastMarker = 0;
                for (int i = 0; i < count; ++i) {
                    Block scalarBlock = c.refine ? before[size_t(i)] : Block{};
                    Block fastBlock = scalarBlock;
                    const ZeqStatus expected = zeq::decodeBandWithStateScalar(
                        stream.data(), len, &scalarPos, scalarBlock.data(), &scalarMarker, band.ss,
                        band.se, al, decodeTable.get(), scalarState.get(), c.refine);
                    const ZeqStatus actual =
                        c.refine ? zeqiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(
                                       stream.data(), len, &fastPos, fastBlock.data(), &fastMarker,
                                       band.ss, band.se, al, decodeTable.get(), fastState.get())
                                 : zeqiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(
                                       stream.data(), len, &fastPos, fastBlock.data(), &fastMarker,
                                       band.ss, band.se, al, decodeTable.get(), fastState.get());
                    ASSERT_EQ(actual, expected) << c.name << " band " << band.ss << ".." << band.se
                                                << " al " << al << " block " << i;
                    ASSERT_EQ(fastPos, scalarPos) << c.name << " al " << al << " block " << i;
                    ASSERT_EQ(fastMarker, scalarMarker) << c.name << " block " << i;
                    ASSERT_EQ(fastState.bytes, scalarState.bytes) << c.name << " block " << i;
                    ASSERT_EQ(fastBlock, scalarBlock) << c.name << " al " << al << " block " << i;
                    if (c.damage == 0 && !c.refine) {
                        Block expectedBlock{};
                        for (int k = band.ss; k <= band.se; ++k) {
                            const int n = zeq::NaturalOfZigzag[size_t(k)];
                            const int32_t v = coded[size_t(i)][size_t(n)];
                            const int32_t m = (v < 0 ? -v : v) >> al;
                            expectedBlock[size_t(n)] =
                                static_cast<int16_t>(uint32_t(v < 0 ? -m : m) << al);
                        }
                        ASSERT_EQ(fastBlock, expectedBlock) << c.name << " al " << al;
                    }
                }
            }
}

// Records as callers hand them, damaged ones included (a run or a bit count
// outside what a decoder leaves): the band decoders and the DC refinement,
// which takes a bit the state holds without a reader.
TEST(ProgressiveFastPaths, DecodersHandBackRecordsAsTheScalarWalkDoes) {
    const DecodeSpecBuffer table = decodeSpec(everySymbolTable());
    auto& rng = seededRng(105);
    Bytes stream(256);
    for (uint8_t& b : stream) b = uniform<uint8_t>(rng, 0, 0xFE);
    for (int n = 0; n < scaledCount(2000); ++n) {
        DecodeStateBuffer scalarState, fastState;
        for (uint8_t& b : scalarState.bytes) b = uniform<uint8_t>(rng, 0, 255);
        const int32_t run = uniform<int32_t>(rng, -3, 40);
        const int32_t count = uniform<int32_t>(rng, -40, 80);
        std::memcpy(scalarState.bytes.data() + 12, &run, 4);
        std::memcpy(scalarState.bytes.data() + 8, &count, 4);
        fastState = scalarState;
        const bool refine = n % 2 == 1;
        const Band band = kBands[size_t(n) % (sizeof(kBands) / sizeof(kBands[0]))];
        const int al = n % 14;
        Block scalarBlock = randomBlock(rng, al), fastBlock = scalarBlock;
        int32_t scalarPos = uniform<int32_t>(rng, 0, 100), fastPos = scalarPos;
        int32_t scalarMarker = n % 5 == 0 ? 0xD0 : 0, fastMarker = scalarMarker;
        if (n % 3 == 0) {
            const ZeqStatus expected = zeq::decodeDCRefineWithStateScalar(
                stream.data(), 200, &scalarPos, scalarBlock.data(), &scalarMarker, al,
                scalarState.get());
            const ZeqStatus actual = zeqiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(
                stream.data(), 200, &fastPos, fastBlock.data(), &fastMarker, al, fastState.get());
            ASSERT_EQ(actual, expected) << n;
            ASSERT_EQ(fastPos, scalarPos) << n;
            ASSERT_EQ(fastState.bytes, scalarState.bytes) << n;
            ASSERT_EQ(fastBlock, scalarBlock) << n;
            continue;
        }
        const ZeqStatus expected = zeq::decodeBandWithStateScalar(
            stream.data(), 200, &scalarPos, scalarBlock.data(), &scalarMarker, band.ss, band.se, al,
            table.get(), scalarState.get(), refine);
        const ZeqStatus actual =
            zeq::decodeBandWithState(stream.data(), 200, &fastPos, fastBlock.data(), &fastMarker,
                                     band.ss, band.se, al, table.get(), fastState.get(), refine);
        ASSERT_EQ(actual, expected) << n;
        ASSERT_EQ(fastPos, scalarPos) << n;
        ASSERT_EQ(fastMarker, scalarMarker) << n;
        ASSERT_EQ(fastState.bytes, scalarState.bytes) << n;
        ASSERT_EQ(fastBlock, scalarBlock) << n;
    }
}

// Refinement walks with hand-made streams (every symbol s is the 8-bit code
// s in this table): the coefficients passed on the way take their correction
// bits in zigzag order, and a run longer than the zeros left in the band
// still stores its new value at the zigzag index just past the band.
TEST(ProgressiveFastPaths, RefinementRunsCorrectWhatTheyPassAndMayEndPastTheBand) {
    struct Case {
        const char* name;
        Bytes stream;
        std::vector<std::pair<int, int16_t>> before, after;  // zigzag index, value
    };
    const Case cases[] = {
        // r = 2, s = 1, sign 0 (-1); zigzag 2 and 4 pass with correction
        // bits 1 and 1; the third zero is zigzag 5.
        {"corrections on the way", {0x21, 0x7F}, {{2, 2}, {4, -2}}, {{2, 3}, {4, -3}, {5, -1}}},
        // r = 15, s = 1, sign 1 (+1): only five zeros in the band 1..5.
        {"run past the band", {0xF1, 0x80}, {}, {{6, 1}}},
    };
    const DecodeSpecBuffer table = decodeSpec(everySymbolTable());
    for (const Case& c : cases) {
        Block scalarBlock{}, expected{};
        for (const auto& [k, v] : c.before) scalarBlock[zeq::NaturalOfZigzag[size_t(k)]] = v;
        for (const auto& [k, v] : c.after) expected[zeq::NaturalOfZigzag[size_t(k)]] = v;
        Block fastBlock = scalarBlock;
        Bytes stream = c.stream;
        stream.resize(stream.size() + 8, 0x00);
        const int32_t len = int32_t(c.stream.size());
        DecodeStateBuffer scalarState = freshDecodeState(), fastState = freshDecodeState();
        int32_t scalarPos = 0, fastPos = 0, scalarMarker = 0, fastMarker = 0;
        ASSERT_EQ(zeq::decodeBandWithStateScalar(stream.data(), len, &scalarPos, scalarBlock.data(),
                                                 &scalarMarker, 1, 5, 0, table.get(),
                                                 scalarState.get(), true),
                  StatusOk)
            << c.name;
        ASSERT_EQ(zeqiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(stream.data(), len, &fastPos,
                                                              fastBlock.data(), &fastMarker, 1, 5,
                                                              0, table.get(), fastState.get()),
                  StatusOk)
            << c.name;
        EXPECT_EQ(scalarBlock, expected) << c.name;
        EXPECT_EQ(fastBlock, expected) << c.name;
        EXPECT_EQ(fastPos, scalarPos) << c.name;
        EXPECT_EQ(fastState.bytes, scalarState.bytes) << c.name;
    }
}

}  // namespace
