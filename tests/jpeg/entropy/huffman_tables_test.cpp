// Huffman table records: byte-exact encode and decode records, the asymmetric
// validity checks, InitAlloc ownership and allocation failure, and optimal
// tables from statistics against an independent Huffman construction.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <numeric>
#include <queue>
#include <vector>

#include "jpeg/entropy/huffman_records.h"
#include "tests/common/test_support.h"
#include "tests/jpeg/entropy/huffman_test_support.h"
#include "zeqj.h"

namespace {

using namespace zeq::test;

constexpr size_t kSymbolsAt = offsetof(HuffmanDecodeSpec, symbols);
constexpr size_t kFastAt = offsetof(HuffmanDecodeSpec, fastLookup);
constexpr size_t kMinAt = offsetof(HuffmanDecodeSpec, minCode);
constexpr size_t kMaxAt = offsetof(HuffmanDecodeSpec, maxCode);
constexpr size_t kIndexAt = offsetof(HuffmanDecodeSpec, valueIndex);

uint32_t entry(const EncodeSpecBuffer& spec, int symbol) { return spec.at<uint32_t>(0, symbol); }
uint32_t codeEntry(uint32_t code, int length) { return uint32_t(length) << 16 | code; }

TEST(HuffmanSpecSizes, ReportTheRecordSizes) {
    int32_t size = 0;
    EXPECT_EQ(zeqiEncodeHuffmanSpecGetBufSize_JPEG_8u(&size), StatusOk);
    EXPECT_EQ(size, 1024);
    EXPECT_EQ(zeqiDecodeHuffmanSpecGetBufSize_JPEG_8u(&size), StatusOk);
    EXPECT_EQ(size, 1644);
    EXPECT_EQ(zeqiEncodeHuffmanSpecGetBufSize_JPEG_8u(nullptr), StatusNullPointer);
    EXPECT_EQ(zeqiDecodeHuffmanSpecGetBufSize_JPEG_8u(nullptr), StatusNullPointer);
}

// Codes printed in T.81 Tables K.3 and K.5.
TEST(EncodeSpec, AnnexKTablesGiveThePrintedCodes) {
    const EncodeSpecBuffer dc = encodeSpec(annexKDcLuminance());
    const uint32_t dcCodes[12][2] = {{0b00, 2},      {0b010, 3},      {0b011, 3},
                                     {0b100, 3},     {0b101, 3},      {0b110, 3},
                                     {0b1110, 4},    {0b11110, 5},    {0b111110, 6},
                                     {0b1111110, 7}, {0b11111110, 8}, {0b111111110, 9}};
    for (int s = 0; s < 12; ++s)
        EXPECT_EQ(entry(dc, s), codeEntry(dcCodes[s][0], int(dcCodes[s][1]))) << s;
    for (int s = 12; s < 256; ++s) EXPECT_EQ(entry(dc, s), 0u) << s;

    const EncodeSpecBuffer ac = encodeSpec(annexKAcLuminance());
    EXPECT_EQ(entry(ac, 0x00), codeEntry(0b1010, 4));
    EXPECT_EQ(entry(ac, 0x01), codeEntry(0b00, 2));
    EXPECT_EQ(entry(ac, 0x02), codeEntry(0b01, 2));
    EXPECT_EQ(entry(ac, 0x03), codeEntry(0b100, 3));
    EXPECT_EQ(entry(ac, 0x11), codeEntry(0b1100, 4));
    EXPECT_EQ(entry(ac, 0xF0), codeEntry(0b11111111001, 11));
    EXPECT_EQ(entry(ac, 0x0A), codeEntry(0xFF83, 16));
    EXPECT_EQ(entry(ac, 0xFA), codeEntry(0xFFFE, 16));
    EXPECT_EQ(entry(ac, 0x10), 0u);  // run 1 with size 0 is not a symbol
}

TEST(EncodeSpec, EveryStandardTableMatchesItsCanonicalCodes) {
    for (const TableDefinition* t : {&annexKDcLuminance(), &annexKDcChrominance(),
                                     &annexKAcLuminance(), &annexKAcChrominance()}) {
        const EncodeSpecBuffer spec = encodeSpec(*t);
        const auto codes = canonicalCodes(*t);
        for (int s = 0; s < 256; ++s) {
            const auto it = codes.find(s);
            EXPECT_EQ(entry(spec, s),
                      it == codes.end() ? 0u : codeEntry(it->second.first, it->second.second));
        }
    }
}

TEST(DecodeSpec, AnnexKLuminanceAcRecord) {
    const TableDefinition& t = annexKAcLuminance();
    const DecodeSpecBuffer spec = decodeSpec(t);
    for (size_t k = 0; k < 256; ++k)
        EXPECT_EQ(spec.at<uint16_t>(kSymbolsAt, k), k < t.values.size() ? t.values[k] : 0) << k;
    // Lengths 2, 3, 4, ...: first codes, last codes, first indices.
    const int16_t minCode[18] = {0,   0,    0,    4,    10, 26, 58,    120,  248,
                                 502, 1014, 2038, 4084, 0,  0,  32704, -126, 0};
    const int16_t maxCode[18] = {0,   -1,   1,    4,    12, 28, 59,    123, 250,
                                 506, 1018, 2041, 4087, -1, -1, 32704, -2,  -1};
    const int16_t valueIndex[18] = {0, 0, 0, 2, 3, 6, 9, 11, 15, 18, 23, 28, 32, 0, 0, 36, 37, 0};
    for (int l = 0; l < 18; ++l) {
        EXPECT_EQ(spec.at<int16_t>(kMinAt, l), minCode[l]) << l;
        EXPECT_EQ(spec.at<int16_t>(kMaxAt, l), maxCode[l]) << l;
        EXPECT_EQ(spec.at<int16_t>(kIndexAt, l), valueIndex[l]) << l;
    }
    // Every code of up to 8 bits owns exactly the fast entries under its prefix.
    std::vector<uint32_t> expected(256, 0);
    for (const auto& [symbol, code] : canonicalCodes(t)) {
        if (code.second > 8) continue;
        const uint32_t span = 1u << (8 - code.second);
        for (uint32_t i = 0; i < span; ++i)
            expected[code.first * span + i] = uint32_t(code.second) << 16 | uint32_t(symbol);
    }
    for (int i = 0; i < 256; ++i) EXPECT_EQ(spec.at<uint32_t>(kFastAt, i), expected[i]) << i;
}

struct EdgeDefinition {
    const char* name;
    std::array<uint8_t, 16> bits;
    int valueCount;
    ZeqStatus encodeStatus;
    ZeqStatus decodeStatus;
};

TEST(HuffmanSpecInit, ValidityChecksDifferBetweenEncodeAndDecode) {
    const EdgeDefinition cases[] = {
        {"no codes", {}, 0, StatusOk, StatusOk},
        {"one code of length 1", {1}, 1, StatusOk, StatusOk},
        {"all-ones code of length 1", {2}, 2, StatusHuffmanTable, StatusOk},
        {"full length 2", {0, 4}, 4, StatusHuffmanTable, StatusOk},
        {"256 codes", {0, 0, 0, 0, 0, 0, 0, 255, 1}, 256, StatusOk, StatusOk},
        {"257 codes", {0, 0, 0, 0, 0, 0, 0, 255, 2}, 257, StatusHuffmanTable, StatusHuffmanTable},
        {"over-subscribed to fast index 257", {3}, 3, StatusHuffmanTable, StatusHuffmanTable},
        {"over-subscribed past 16 bits",
         {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 255},
         255,
         StatusOk,
         StatusOk},
    };
    std::vector<uint8_t> values(300);
    std::iota(values.begin(), values.end(), 0);
    for (const auto& c : cases) {
        EncodeSpecBuffer enc;
        DecodeSpecBuffer dec;
        EXPECT_EQ(zeqiEncodeHuffmanSpecInit_JPEG_8u(c.bits.data(), values.data(), enc.get()),
                  c.encodeStatus)
            << c.name;
        EXPECT_EQ(zeqiDecodeHuffmanSpecInit_JPEG_8u(c.bits.data(), values.data(), dec.get()),
                  c.decodeStatus)
            << c.name;
        if (c.encodeStatus != StatusOk) {  // checked before any entry is written
            EXPECT_TRUE(std::all_of(enc.bytes.begin(), enc.bytes.end(), [](uint8_t b) {
                return b == 0;
            })) << c.name;
        }
    }
}

TEST(HuffmanSpecInit, NoCodesGiveZeroEncodeRecordAndEmptyLengths) {
    const TableDefinition none{{}, {}};
    const EncodeSpecBuffer enc = encodeSpec(none);
    EXPECT_TRUE(std::all_of(enc.bytes.begin(), enc.bytes.end(), [](uint8_t b) { return b == 0; }));
    const DecodeSpecBuffer dec = decodeSpec(none);
    EXPECT_EQ(dec.at<int16_t>(kMaxAt, 0), 0);
    for (int l = 1; l < 18; ++l) EXPECT_EQ(dec.at<int16_t>(kMaxAt, l), -1) << l;
    for (int i = 0; i < 256; ++i) EXPECT_EQ(dec.at<uint32_t>(kFastAt, i), 0u);
}

TEST(HuffmanSpecInit, SingleOneBitCode) {
    const TableDefinition one{{1}, {0x42}};
    EXPECT_EQ(entry(encodeSpec(one), 0x42), codeEntry(0, 1));
    const DecodeSpecBuffer dec = decodeSpec(one);
    for (int i = 0; i < 256; ++i)
        EXPECT_EQ(dec.at<uint32_t>(kFastAt, i), i < 128 ? (1u << 16 | 0x42) : 0u) << i;
}

TEST(HuffmanSpecInit, ARepeatedSymbolKeepsItsLaterCode) {
    const TableDefinition t{{0, 3}, {7, 9, 7}};
    EXPECT_EQ(entry(encodeSpec(t), 7), codeEntry(0b10, 2));
}

// Length 1 takes code 0, so 129 codes of length 8 run from 128 to 256: the
// last one writes fast entry 256, the first word after the table, which is
// minCode[0] (low half, the symbol) and minCode[1] (high half, the length).
TEST(DecodeSpecInit, OverSubscribedTableWritesOneEntryPastTheFastTable) {
    TableDefinition t{{1, 0, 0, 0, 0, 0, 0, 129}, {}};
    for (int v = 0; v < 130; ++v) t.values.push_back(static_cast<uint8_t>(v + 1));
    DecodeSpecBuffer dec;
    ASSERT_EQ(zeqiDecodeHuffmanSpecInit_JPEG_8u(t.bits.data(), t.values.data(), dec.get()),
              StatusOk);
    EXPECT_EQ(dec.at<int16_t>(kMinAt, 0), 130);  // the symbol of code 256
    EXPECT_EQ(dec.at<int16_t>(kMinAt, 1), 8);
    EXPECT_EQ(dec.at<uint32_t>(kFastAt, 255), 8u << 16 | 129);
    EXPECT_EQ(dec.at<int16_t>(kMaxAt, 8), 256);

    // Three codes of length 1: entry 256 is written, 257 stops the build.
    const TableDefinition three{{3}, {5, 6, 7}};
    ASSERT_EQ(zeqiDecodeHuffmanSpecInit_JPEG_8u(three.bits.data(), three.values.data(), dec.get()),
              StatusHuffmanTable);
    EXPECT_EQ(dec.at<uint32_t>(kFastAt, 0), 1u << 16 | 5);
    EXPECT_EQ(dec.at<uint32_t>(kFastAt, 128), 1u << 16 | 6);
    EXPECT_EQ(dec.at<int16_t>(kMinAt, 0), 7);
    EXPECT_EQ(dec.at<int16_t>(kMinAt, 1), 1);
}

TEST(HuffmanSpecInit, NullArgumentsInOrder) {
    const TableDefinition& t = annexKDcLuminance();
    EncodeSpecBuffer enc;
    DecodeSpecBuffer dec;
    EXPECT_EQ(zeqiEncodeHuffmanSpecInit_JPEG_8u(nullptr, nullptr, nullptr), StatusNullPointer);
    EXPECT_EQ(zeqiEncodeHuffmanSpecInit_JPEG_8u(t.bits.data(), nullptr, enc.get()),
              StatusNullPointer);
    EXPECT_EQ(zeqiEncodeHuffmanSpecInit_JPEG_8u(t.bits.data(), t.values.data(), nullptr),
              StatusNullPointer);
    EXPECT_EQ(zeqiDecodeHuffmanSpecInit_JPEG_8u(nullptr, t.values.data(), dec.get()),
              StatusNullPointer);
    EXPECT_EQ(zeqiDecodeHuffmanSpecInit_JPEG_8u(t.bits.data(), t.values.data(), nullptr),
              StatusNullPointer);
    EXPECT_EQ(enc.at<uint32_t>(0), 0xA5A5A5A5u);  // nothing written
    EXPECT_EQ(dec.at<uint32_t>(0), 0xA5A5A5A5u);
    EXPECT_EQ(zeqiEncodeHuffmanSpecFree_JPEG_8u(nullptr), StatusNullPointer);
    EXPECT_EQ(zeqiDecodeHuffmanSpecFree_JPEG_8u(nullptr), StatusNullPointer);
    EXPECT_EQ(zeqiEncodeHuffmanSpecInitAlloc_JPEG_8u(t.bits.data(), t.values.data(), nullptr),
              StatusNullPointer);
    EXPECT_EQ(zeqiDecodeHuffmanSpecInitAlloc_JPEG_8u(nullptr, t.values.data(), nullptr),
              StatusNullPointer);
}

// InitAlloc hands over its block whatever the build says; only a failed
// allocation leaves the caller's pointer alone, reporting StatusNullPointer.
template <class Record>
void checkInitAlloc(ZeqStatus (*initAlloc)(const uint8_t*, const uint8_t*, Record**),
                    ZeqStatus (*init)(const uint8_t*, const uint8_t*, Record*),
                    ZeqStatus (*release)(Record*), size_t bytes) {
    const TableDefinition& good = annexKAcChrominance();
    const TableDefinition bad{{0, 0, 0, 0, 0, 0, 0, 255, 2}, std::vector<uint8_t>(257, 1)};
    for (const TableDefinition* t : {&good, &bad}) {
        Record* block = nullptr;
        std::vector<uint8_t> reference(bytes);
        const ZeqStatus expected =
            init(t->bits.data(), t->values.data(), reinterpret_cast<Record*>(reference.data()));
        EXPECT_EQ(initAlloc(t->bits.data(), t->values.data(), &block), expected);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(std::memcmp(block, reference.data(), bytes), 0);
        EXPECT_EQ(release(block), StatusOk);
    }
    Record* untouched = reinterpret_cast<Record*>(&checkInitAlloc<Record>);
    {
        ScopedAllocationFailure fail(1);
        EXPECT_EQ(initAlloc(good.bits.data(), good.values.data(), &untouched), StatusNullPointer);
    }
    EXPECT_EQ(untouched, reinterpret_cast<Record*>(&checkInitAlloc<Record>));
}

TEST(HuffmanSpecInitAlloc, StoresTheBlockAlsoOnAFailedBuildAndNothingWhenAllocationFails) {
    checkInitAlloc<HuffmanEncodeSpec>(zeqiEncodeHuffmanSpecInitAlloc_JPEG_8u,
                                      zeqiEncodeHuffmanSpecInit_JPEG_8u,
                                      zeqiEncodeHuffmanSpecFree_JPEG_8u, 1024);
    checkInitAlloc<HuffmanDecodeSpec>(zeqiDecodeHuffmanSpecInitAlloc_JPEG_8u,
                                      zeqiDecodeHuffmanSpecInit_JPEG_8u,
                                      zeqiDecodeHuffmanSpecFree_JPEG_8u, 1644);
}

// ---- Optimal tables ----------------------------------------------------------

struct OptimalTable {
    ZeqStatus status;
    std::array<uint8_t, 16> bits;
    std::vector<uint8_t> values;
};

OptimalTable optimalTable(const std::vector<int32_t>& counts) {
    std::vector<int32_t> statistics(counts);
    statistics.resize(257, 0);
    statistics[256] = -12345;  // ignored
    OptimalTable t{StatusOk, {}, std::vector<uint8_t>(256, 0xEE)};
    t.bits.fill(0xEE);
    t.status =
        zeqiEncodeHuffmanRawTableInit_JPEG_8u(statistics.data(), t.bits.data(), t.values.data());
    if (t.status == StatusOk)
        t.values.resize(std::accumulate(t.bits.begin(), t.bits.end(), size_t{0}));
    return t;
}

// Total coded length of an optimal code over the weights, optionally with the
// reserved point (weight 1) in the tree but not in the total.
int64_t huffmanCost(std::vector<int64_t> weights, bool withReserved) {
    const size_t real = weights.size();
    if (withReserved) weights.push_back(1);
    if (weights.size() == 1) return weights[0];  // a lone symbol still takes one bit
    using Node = std::pair<int64_t, int>;
    std::priority_queue<Node, std::vector<Node>, std::greater<>> queue;
    std::vector<int> parent(2 * weights.size(), -1);
    int nodes = 0;
    for (int64_t w : weights) queue.push({w, nodes++});
    while (queue.size() > 1) {
        const Node a = queue.top();
        queue.pop();
        const Node b = queue.top();
        queue.pop();
        parent[a.second] = parent[b.second] = nodes;
        queue.push({a.first + b.first, nodes++});
    }
    int64_t cost = 0;
    for (size_t i = 0; i < real; ++i) {
        int depth = 0;
        for (int n = int(i); parent[n] >= 0; n = parent[n]) ++depth;
        cost += weights[i] * depth;
    }
    return cost;
}

TEST(OptimalTable, SingleSymbolGetsOneBitCode) {
    std::vector<int32_t> counts(256, 0);
    counts[77] = 5;
    const OptimalTable t = optimalTable(counts);
    ASSERT_EQ(t.status, StatusOk);
    EXPECT_EQ(t.bits[0], 1);
    EXPECT_EQ(std::accumulate(t.bits.begin(), t.bits.end(), 0), 1);
    EXPECT_EQ(t.values, std::vector<uint8_t>{77});
}

// Equal counts: the larger symbol is merged first, with the reserved point.
TEST(OptimalTable, EqualCountsMergeTheLargerSymbolFirst) {
    std::vector<int32_t> counts(256, 0);
    counts[3] = 1;
    counts[7] = 1;
    const OptimalTable t = optimalTable(counts);
    ASSERT_EQ(t.status, StatusOk);
    EXPECT_EQ(t.bits[0], 1);
    EXPECT_EQ(t.bits[1], 1);
    EXPECT_EQ(t.values, (std::vector<uint8_t>{3, 7}));

    counts[3] = counts[7] = 100;
    counts[200] = 1;  // pairs with the reserved point; that pair then takes 7
    const OptimalTable u = optimalTable(counts);
    EXPECT_EQ(u.bits[0], 1);
    EXPECT_EQ(u.bits[1], 1);
    EXPECT_EQ(u.bits[2], 1);
    EXPECT_EQ(u.values, (std::vector<uint8_t>{3, 7, 200}));
}

TEST(OptimalTable, CountsAboveTheBoundAreNeverMerged) {
    std::vector<int32_t> counts(256, 0);
    counts[1] = 1000000001;
    counts[2] = 10;
    counts[3] = 20;
    const OptimalTable t = optimalTable(counts);
    ASSERT_EQ(t.status, StatusOk);
    EXPECT_EQ(t.values, (std::vector<uint8_t>{3, 2}));
    counts[1] = 1000000000;  // the bound itself takes part
    EXPECT_EQ(optimalTable(counts).values, (std::vector<uint8_t>{1, 3, 2}));
}

TEST(OptimalTable, NoUsableCountGivesHuffmanTableAndWritesNothing) {
    for (int32_t count : {0, -5, 1000000001}) {
        const OptimalTable t = optimalTable(std::vector<int32_t>(256, count));
        EXPECT_EQ(t.status, StatusHuffmanTable) << count;
        EXPECT_EQ(t.bits[0], 0xEE);
    }
}

// Counts 2, 3, 5, 8, ...: each merged pair is just below the next count but
// one, so the tree is a chain as deep as there are symbols.
std::vector<int32_t> fibonacciCounts(int symbols) {
    std::vector<int32_t> counts(256, 0);
    int64_t a = 2, b = 3;
    for (int i = 0; i < symbols; ++i) {
        counts[i] = static_cast<int32_t>(a);
        const int64_t c = a + b;
        a = b;
        b = c;
    }
    return counts;
}

TEST(OptimalTable, DeepTreesAreLimitedTo16BitsAndOver32BitsFail) {
    const OptimalTable t = optimalTable(fibonacciCounts(30));
    ASSERT_EQ(t.status, StatusOk);
    EXPECT_EQ(std::accumulate(t.bits.begin(), t.bits.end(), 0), 30);
    EXPECT_GT(t.bits[15], 0);
    EncodeSpecBuffer spec;
    EXPECT_EQ(zeqiEncodeHuffmanSpecInit_JPEG_8u(t.bits.data(), t.values.data(), spec.get()),
              StatusOk);

    const OptimalTable deep = optimalTable(fibonacciCounts(40));  // 40 symbols deep
    EXPECT_EQ(deep.status, StatusHuffmanTable);
    EXPECT_EQ(deep.bits[0], 0xEE);
}

// Random statistics: the table is a valid encode table that leaves the
// all-ones code free, codes every used symbol, and, where no length needed
// limiting, costs exactly what an optimal code costs.
TEST(OptimalTable, RandomStatisticsGiveOptimalValidTables) {
    auto& rng = seededRng(41);
    for (int round = 0; round < scaledCount(400); ++round) {
        std::vector<int32_t> counts(256, 0);
        const int used = uniform<int>(rng, 1, 256);
        const int64_t scale = int64_t{1} << uniform<int>(rng, 0, 24);
        for (int i = 0; i < used; ++i)
            counts[uniform<int>(rng, 0, 255)] =
                static_cast<int32_t>(uniform<int64_t>(rng, 1, scale));
        const OptimalTable t = optimalTable(counts);
        ASSERT_EQ(t.status, StatusOk);
        const int nonZero =
            int(std::count_if(counts.begin(), counts.end(), [](int32_t c) { return c > 0; }));
        ASSERT_EQ(int(t.values.size()), nonZero);
        EncodeSpecBuffer spec;
        ASSERT_EQ(zeqiEncodeHuffmanSpecInit_JPEG_8u(t.bits.data(), t.values.data(), spec.get()),
                  StatusOk);
        std::vector<int64_t> weights;
        int64_t cost = 0;
        for (int s = 0; s < 256; ++s) {
            if (counts[s] == 0) continue;
            weights.push_back(counts[s]);
            cost += int64_t{counts[s]} * (entry(spec, s) >> 16);
        }
        // Dropping the reserved point can only shorten codes; without it the
        // code cannot beat an optimal one that needs no free code point.
        if (t.bits[15] == 0) {
            EXPECT_LE(cost, huffmanCost(weights, true)) << round;
        }
        EXPECT_GE(cost, huffmanCost(weights, false)) << round;
    }
}

TEST(OptimalTable, NullArgumentsStatisticsFirst) {
    std::vector<int32_t> stats(257, 1);
    uint8_t bits[16], values[256];
    EXPECT_EQ(zeqiEncodeHuffmanRawTableInit_JPEG_8u(nullptr, nullptr, nullptr), StatusNullPointer);
    EXPECT_EQ(zeqiEncodeHuffmanRawTableInit_JPEG_8u(stats.data(), nullptr, values),
              StatusNullPointer);
    EXPECT_EQ(zeqiEncodeHuffmanRawTableInit_JPEG_8u(stats.data(), bits, nullptr),
              StatusNullPointer);
}

}  // namespace
