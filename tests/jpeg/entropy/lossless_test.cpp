// Lossless prediction and row coding: every predictor against the plain
// formula (vector and scalar kernels, all widths and alignments, rows that
// are their own output), round trips over precisions 2..16 and point
// transforms, the documented edge cases and check orders; row coding against
// the lone-value coders, with -32768, five and six components taken as four,
// tight destinations, missing codes and damaged streams.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

#include "jpeg/entropy/lossless_predict.h"
#include "tests/common/test_support.h"
#include "tests/jpeg/entropy/huffman_test_support.h"
#include "zeqj.h"

namespace {

using namespace zeq::test;
using Row = std::vector<int16_t>;

// The predictors exactly as the lossless process defines them.
int32_t plainPrediction(int predictor, int32_t ra, int32_t rb, int32_t rc) {
    switch (predictor) {
        case 1:
            return ra;
        case 2:
            return rb;
        case 3:
            return rc;
        case 4:
            return ra + rb - rc;
        case 5:
            return ra + ((rb - rc) >> 1);
        case 6:
            return rb + ((ra - rc) >> 1);
        default:
            return (ra + rb) >> 1;
    }
}

// predictor 0 stands for a first row with the given initial prediction.
Row plainDifferences(const Row& src, const Row& prev, int predictor, int32_t initial) {
    Row d(src.size());
    for (size_t i = 0; i < src.size(); ++i) {
        int32_t p;
        if (i == 0)
            p = predictor == 0 ? initial : prev[0];
        else
            p = predictor == 0 ? src[i - 1]
                               : plainPrediction(predictor, src[i - 1], prev[i], prev[i - 1]);
        d[i] = int16_t(src[i] - p);
    }
    return d;
}

// A row of 16-bit values at a byte offset (possibly odd) inside guard bytes.
class GuardedRow {
public:
    GuardedRow(size_t width, int offset)
        : width_(width), offset_(16 + offset), bytes_(2 * width + 48, 0xA5) {}
    int16_t* data() { return reinterpret_cast<int16_t*>(bytes_.data() + offset_); }
    void set(const Row& r) { std::memcpy(bytes_.data() + offset_, r.data(), 2 * width_); }
    Row get() const {
        Row r(width_);
        std::memcpy(r.data(), bytes_.data() + offset_, 2 * width_);
        return r;
    }
    bool guardsIntact() const {
        for (size_t i = 0; i < bytes_.size(); ++i)
            if ((i < size_t(offset_) || i >= size_t(offset_) + 2 * width_) && bytes_[i] != 0xA5)
                return false;
        return true;
    }

private:
    size_t width_;
    int offset_;
    std::vector<uint8_t> bytes_;
};

Row randomRow(std::mt19937& rng, size_t width, int bits) {
    Row r(width);
    for (auto& v : r)
        v = bits == 16 ? int16_t(uniform<int>(rng, -32768, 32767))
                       : int16_t(uniform<int>(rng, 0, (1 << bits) - 1));
    return r;
}

const size_t kWidths[] = {1, 2, 7, 8, 9, 10, 15, 16, 17, 31, 33, 64, 100, 257};

// The exported functions (vector kernels where they apply) and the scalar
// kernels give the plain formula's values, at every width and alignment, and
// write nothing outside the row.
TEST(LosslessPredict, EveryPredictorMatchesThePlainFormula) {
    int seed = 0;
    for (size_t width : kWidths)
        for (int offset : {0, 2, 6, 1, 3})
            for (int predictor = 0; predictor <= 7; ++predictor) {
                auto& rng = seededRng(uint32_t(4000 + seed++));
                const Row src = randomRow(rng, width, 16), prev = randomRow(rng, width, 16);
                const int precision = uniform<int>(rng, 2, 16),
                          pt = uniform<int>(rng, 0, precision - 1);
                const int32_t initial = int16_t(1 << (precision - pt - 1));
                const Row expected = plainDifferences(src, prev, predictor, initial);
                GuardedRow in(width, offset), above(width, 4 - offset), diff(width, offset + 2),
                    back(width, 8 - offset);
                in.set(src);
                above.set(prev);
                if (predictor == 0) {
                    ASSERT_EQ(zeqiDiffPredFirstRow_JPEG_16s_C1(in.data(), diff.data(),
                                                               int32_t(width), precision, pt),
                              StatusOk);
                    ASSERT_EQ(zeqiReconstructPredFirstRow_JPEG_16s_C1(
                                  diff.data(), back.data(), int32_t(width), precision, pt),
                              StatusOk);
                } else {
                    ASSERT_EQ(zeqiDiffPredRow_JPEG_16s_C1(in.data(), above.data(), diff.data(),
                                                          int32_t(width), predictor),
                              StatusOk);
                    ASSERT_EQ(
                        zeqiReconstructPredRow_JPEG_16s_C1(diff.data(), above.data(), back.data(),
                                                           int32_t(width), predictor),
                        StatusOk);
                }
                EXPECT_EQ(diff.get(), expected)
                    << "width " << width << " offset " << offset << " predictor " << predictor;
                EXPECT_EQ(back.get(), src)
                    << "width " << width << " offset " << offset << " predictor " << predictor;
                EXPECT_TRUE(diff.guardsIntact() && back.guardsIntact() && in.guardsIntact());
                // The scalar kernels on their own.
                Row scalar(width), scalarBack(width);
                auto* s = reinterpret_cast<uint8_t*>(scalar.data());
                auto* sb = reinterpret_cast<uint8_t*>(scalarBack.data());
                const auto* x = reinterpret_cast<const uint8_t*>(src.data());
                const auto* p = reinterpret_cast<const uint8_t*>(prev.data());
                if (predictor == 0) {
                    zeq::diffPredFirstRowScalar(x, s, int32_t(width), int16_t(initial));
                    zeq::reconstructFirstRowScalar(s, sb, int32_t(width), int16_t(initial));
                } else {
                    zeq::diffPredRowScalar(x, p, s, int32_t(width), predictor);
                    zeq::reconstructRowScalar(s, p, sb, int32_t(width), predictor);
                }
                EXPECT_EQ(scalar, expected);
                EXPECT_EQ(scalarBack, src);
            }
}

// A row that is its own output (the differences over the samples, the
// samples over the differences or over the row above) gives the same values.
TEST(LosslessPredict, RowsThatAreTheirOwnOutputGiveTheSameValues) {
    for (size_t width : kWidths)
        for (int predictor = 0; predictor <= 7; ++predictor) {
            auto& rng = seededRng(uint32_t(5000 + width * 8 + size_t(predictor)));
            const Row src = randomRow(rng, width, 12), prev = randomRow(rng, width, 12);
            const Row expected = plainDifferences(src, prev, predictor, 2048);
            const int32_t w = int32_t(width);
            Row inPlace = src;
            if (predictor == 0)
                zeqiDiffPredFirstRow_JPEG_16s_C1(inPlace.data(), inPlace.data(), w, 12, 0);
            else
                zeqiDiffPredRow_JPEG_16s_C1(inPlace.data(), prev.data(), inPlace.data(), w,
                                            predictor);
            EXPECT_EQ(inPlace, expected) << width << " " << predictor;
            if (predictor == 0)
                zeqiReconstructPredFirstRow_JPEG_16s_C1(inPlace.data(), inPlace.data(), w, 12, 0);
            else
                zeqiReconstructPredRow_JPEG_16s_C1(inPlace.data(), prev.data(), inPlace.data(), w,
                                                   predictor);
            EXPECT_EQ(inPlace, src) << width << " " << predictor;
            if (predictor == 0) continue;
            Row overAbove = prev;  // the reconstructed row replaces the one above
            zeqiReconstructPredRow_JPEG_16s_C1(expected.data(), overAbove.data(), overAbove.data(),
                                               w, predictor);
            EXPECT_EQ(overAbove, src) << width << " " << predictor;
        }
}

// Samples of P - Pt bits (the point transform applied by the caller), a
// first row and later rows with every predictor, at every precision.
TEST(LosslessPredict, RoundTripsAtEveryPrecisionAndPointTransform) {
    for (int precision = 2; precision <= 16; ++precision)
        for (int pt = 0; pt < precision; pt += 1 + precision / 6) {
            auto& rng = seededRng(uint32_t(6000 + precision * 16 + pt));
            const int32_t width = uniform<int32_t>(rng, 1, 70);
            std::vector<Row> image, diffs, back;
            for (int y = 0; y < 8; ++y)
                image.push_back(randomRow(rng, size_t(width), precision - pt));
            for (int y = 0; y < 8; ++y) {
                diffs.emplace_back(size_t(width));
                back.emplace_back(size_t(width));
            }
            ASSERT_EQ(zeqiDiffPredFirstRow_JPEG_16s_C1(image[0].data(), diffs[0].data(), width,
                                                       precision, pt),
                      StatusOk);
            ASSERT_EQ(zeqiReconstructPredFirstRow_JPEG_16s_C1(diffs[0].data(), back[0].data(),
                                                              width, precision, pt),
                      StatusOk);
            for (int y = 1; y < 8; ++y) {
                const int predictor = 1 + (y + precision) % 7;
                ASSERT_EQ(zeqiDiffPredRow_JPEG_16s_C1(image[size_t(y)].data(),
                                                      image[size_t(y) - 1].data(),
                                                      diffs[size_t(y)].data(), width, predictor),
                          StatusOk);
                ASSERT_EQ(zeqiReconstructPredRow_JPEG_16s_C1(
                              diffs[size_t(y)].data(), back[size_t(y) - 1].data(),
                              back[size_t(y)].data(), width, predictor),
                          StatusOk);
            }
            EXPECT_EQ(back, image) << "P " << precision << " Pt " << pt;
        }
}

TEST(LosslessPredict, FirstSamplePredictions) {
    struct Case {
        int32_t precision, pt;
        int16_t sample, difference;
    } cases[] = {
        {8, 0, 128, 0},     {8, 0, 0, -128},    {8, 2, 32, 0},  {2, 0, 0, -2},
        {16, 0, 0, -32768}, {16, 0, -1, 32767}, {16, 15, 1, 0}, {8, 7, 1, 0},
        {8, 8, 5, 5},       {8, 40, 5, 5},  // no bit left: prediction 0
    };
    for (const auto& c : cases) {
        int16_t d = 0, back = 0;
        ASSERT_EQ(zeqiDiffPredFirstRow_JPEG_16s_C1(&c.sample, &d, 1, c.precision, c.pt), StatusOk);
        EXPECT_EQ(d, c.difference) << c.precision << " " << c.pt;
        ASSERT_EQ(zeqiReconstructPredFirstRow_JPEG_16s_C1(&d, &back, 1, c.precision, c.pt),
                  StatusOk);
        EXPECT_EQ(back, c.sample);
    }
    // A later row of width 1 uses the sample above whatever the predictor.
    for (int predictor = 1; predictor <= 7; ++predictor) {
        const int16_t x = 100, above = 30;
        int16_t d = 0;
        ASSERT_EQ(zeqiDiffPredRow_JPEG_16s_C1(&x, &above, &d, 1, predictor), StatusOk);
        EXPECT_EQ(d, 70);
    }
}

TEST(LosslessPredict, ArgumentChecksInOrder) {
    Row a(4, 1), b(4, 2), d(4, 7);
    const Row untouched = d;
    struct Case {
        const char* name;
        ZeqStatus expected;
        bool first;
        const int16_t *src, *prev;
        int16_t* dst;
        int32_t width, p, pt, predictor;
    } cases[] = {
        {"first: src", StatusNullPointer, true, nullptr, nullptr, nullptr, 0, 0, -1, 0},
        {"first: dst", StatusNullPointer, true, a.data(), nullptr, nullptr, 0, 0, -1, 0},
        {"first: width after pointers", StatusBadSize, true, a.data(), nullptr, d.data(), 0, 0, -1,
         0},
        {"first: P 1", StatusBadArgument, true, a.data(), nullptr, d.data(), 4, 1, 0, 0},
        {"first: P 17", StatusBadArgument, true, a.data(), nullptr, d.data(), 4, 17, 0, 0},
        {"first: Pt -1", StatusBadArgument, true, a.data(), nullptr, d.data(), 4, 8, -1, 0},
        {"row: prevRow", StatusNullPointer, false, a.data(), nullptr, d.data(), 0, 0, 0, 0},
        {"row: dst", StatusNullPointer, false, a.data(), b.data(), nullptr, 0, 0, 0, 0},
        {"row: width", StatusBadSize, false, a.data(), b.data(), d.data(), 0, 0, 0, 0},
        {"row: predictor 0", StatusBadArgument, false, a.data(), b.data(), d.data(), 4, 0, 0, 0},
        {"row: predictor 8", StatusBadArgument, false, a.data(), b.data(), d.data(), 4, 0, 0, 8},
    };
    for (const auto& c : cases) {
        for (bool inverse : {false, true}) {
            ZeqStatus status;
            if (c.first)
                status =
                    inverse
                        ? zeqiReconstructPredFirstRow_JPEG_16s_C1(c.src, c.dst, c.width, c.p, c.pt)
                        : zeqiDiffPredFirstRow_JPEG_16s_C1(c.src, c.dst, c.width, c.p, c.pt);
            else
                status = inverse ? zeqiReconstructPredRow_JPEG_16s_C1(c.src, c.prev, c.dst, c.width,
                                                                      c.predictor)
                                 : zeqiDiffPredRow_JPEG_16s_C1(c.src, c.prev, c.dst, c.width,
                                                               c.predictor);
            EXPECT_EQ(status, c.expected) << c.name << (inverse ? " (reconstruct)" : "");
            EXPECT_EQ(d, untouched) << c.name;
        }
    }
}

// ---- Row coding ----

struct RowTables {
    explicit RowTables(const std::vector<TableDefinition>& defs) {
        for (size_t c = 0; c < 4; ++c) {
            enc[c] = encodeSpec(defs[c % defs.size()]);
            dec[c] = decodeSpec(defs[c % defs.size()]);
            encPtr[c] = enc[c].get();
            decPtr[c] = dec[c].get();
        }
    }
    EncodeSpecBuffer enc[4];
    DecodeSpecBuffer dec[4];
    const HuffmanEncodeSpec* encPtr[4];
    const HuffmanDecodeSpec* decPtr[4];
};

// Differences with long runs of small values, some large ones and -32768.
Row randomDifferences(std::mt19937& rng, size_t width) {
    Row r(width);
    for (auto& v : r) {
        const int kind = uniform<int>(rng, 0, 9);
        v = kind == 0   ? int16_t(-32768)
            : kind == 1 ? int16_t(uniform<int>(rng, -32767, 32767))
                        : int16_t(uniform<int>(rng, -20, 20));
    }
    return r;
}

// The row coder writes what the lone-value coder writes for the same values
// taken component by component within each sample, and the row decoder gives
// them back.
TEST(LosslessRows, RowCodingMatchesTheLoneValueCodersAndRoundTrips) {
    const std::vector<TableDefinition> defs = {allCategoriesTable(), everySymbolTable()};
    const RowTables tables(defs);
    for (int i = 0; i < scaledCount(200); ++i) {
        auto& rng = seededRng(7000 + uint32_t(i));
        const int nComps = 1 + i % 6;  // 5 and 6 are taken as 4
        const int used = std::min(nComps, 4);
        const int32_t width = uniform<int32_t>(rng, 1, i % 10 == 0 ? 700 : 90);
        std::vector<Row> rows;
        for (int c = 0; c < 4; ++c) rows.push_back(randomDifferences(rng, size_t(width)));
        const int16_t* planes[4] = {rows[0].data(), rows[1].data(), rows[2].data(), rows[3].data()};

        std::vector<uint8_t> out(size_t(width) * 4 * 8 + 16), expected(out.size());
        EncodeStateBuffer state = freshEncodeState(), oneState = freshEncodeState();
        int32_t pos = 0, onePos = 0;
        const int32_t len = int32_t(out.size());
        ASSERT_EQ(zeqiEncodeHuffmanRow_JPEG_16s1u_P4C1(planes, width, nComps, out.data(), len, &pos,
                                                       tables.encPtr, state.get(), 0),
                  StatusOk);
        ASSERT_EQ(zeqiEncodeHuffmanRow_JPEG_16s1u_P4C1(nullptr, 0, 0, out.data(), len, &pos,
                                                       nullptr, state.get(), 1),
                  StatusOk);
        for (int32_t x = 0; x < width; ++x)
            for (int c = 0; c < used; ++c)
                ASSERT_EQ(zeqiEncodeHuffmanOne_JPEG_16s1u_C1(&rows[size_t(c)][size_t(x)],
                                                             expected.data(), len, &onePos,
                                                             tables.encPtr[c], oneState.get(), 0),
                          StatusOk);
        ASSERT_EQ(zeqiEncodeHuffmanOne_JPEG_16s1u_C1(nullptr, expected.data(), len, &onePos,
                                                     nullptr, oneState.get(), 1),
                  StatusOk);
        ASSERT_EQ(pos, onePos) << i;
        EXPECT_TRUE(std::equal(out.begin(), out.begin() + pos, expected.begin())) << i;

        std::vector<Row> decoded(4, Row(size_t(width), 99));
        int16_t* dstPlanes[4] = {decoded[0].data(), decoded[1].data(), decoded[2].data(),
                                 decoded[3].data()};
        DecodeStateBuffer decState = freshDecodeState();
        int32_t srcPos = 0, marker = 0;
        ASSERT_EQ(
            zeqiDecodeHuffmanRow_JPEG_1u16s_C1P4(out.data(), pos, &srcPos, dstPlanes, width, nComps,
                                                 &marker, tables.decPtr, decState.get()),
            StatusOk)
            << i;
        for (int c = 0; c < 4; ++c)
            EXPECT_EQ(decoded[size_t(c)], c < used ? rows[size_t(c)] : Row(size_t(width), 99))
                << i << " component " << c;
    }
}

TEST(LosslessRows, MinusThirtyTwoThousandSevenHundredSixtyEightIsItsSymbolAlone) {
    const RowTables tables({allCategoriesTable()});
    const int16_t values[] = {-32768, -32768, 1};
    const int16_t* planes[4] = {values, nullptr, nullptr, nullptr};
    std::vector<uint8_t> out(16);
    EncodeStateBuffer state = freshEncodeState();
    int32_t pos = 0;
    ASSERT_EQ(zeqiEncodeHuffmanRow_JPEG_16s1u_P4C1(planes, 3, 1, out.data(), 16, &pos,
                                                   tables.encPtr, state.get(), 0),
              StatusOk);
    ASSERT_EQ(zeqiEncodeHuffmanRow_JPEG_16s1u_P4C1(nullptr, 0, 0, out.data(), 16, &pos, nullptr,
                                                   state.get(), 1),
              StatusOk);
    // Five-bit codes: 16 is 10000, 1 is 00001 with extra bit 1.
    ReferenceBitStream bits;
    bits.put(0b10000, 5);
    bits.put(0b10000, 5);
    bits.put(0b00001, 5);
    bits.put(1, 1);
    EXPECT_EQ(std::vector<uint8_t>(out.begin(), out.begin() + pos), bits.bytes(true));
}

// A symbol without a code stops the row before anything of its value is
// written; the values before it are coded.
TEST(LosslessRows, MissingCodeStopsBeforeTheValue) {
    TableDefinition small{{0, 2}, {0, 1}};  // categories 0 and 1 only
    const RowTables tables({small});
    const int16_t a[] = {1, 0, 5}, b[] = {0, -1, 0};
    const int16_t* planes[4] = {a, b, nullptr, nullptr};
    std::vector<uint8_t> out(16, 0xEE);
    EncodeStateBuffer state = freshEncodeState();
    int32_t pos = 0;
    EXPECT_EQ(zeqiEncodeHuffmanRow_JPEG_16s1u_P4C1(planes, 3, 2, out.data(), 16, &pos,
                                                   tables.encPtr, state.get(), 0),
              StatusHuffmanTable);
    // 1: 01 1; 0: 00; 0: 00; -1: 01 0 -- ten bits, then 5 has no code.
    EXPECT_EQ(pos, 1);
    EXPECT_EQ(out[0], 0b01100000);
    EXPECT_EQ(out[1], 0xEE);
    EXPECT_EQ(state.at<int32_t>(8), 2);
}

// Destinations of every size up to what the row needs: a shorter one runs
// out with a prefix of the full stream written.
TEST(LosslessRows, TightDestinationRunsOutWithAPrefix) {
    const RowTables tables({allCategoriesTable()});
    auto& rng = seededRng(7500);
    const Row r0 = randomDifferences(rng, 150), r1 = randomDifferences(rng, 150);
    const int16_t* planes[4] = {r0.data(), r1.data(), nullptr, nullptr};
    std::vector<uint8_t> full(2048);
    EncodeStateBuffer state = freshEncodeState();
    int32_t fullLen = 0;
    ASSERT_EQ(zeqiEncodeHuffmanRow_JPEG_16s1u_P4C1(planes, 150, 2, full.data(), 2048, &fullLen,
                                                   tables.encPtr, state.get(), 0),
              StatusOk);
    for (int32_t room = 1; room <= fullLen; ++room) {
        std::vector<uint8_t> out(static_cast<size_t>(room));
        EncodeStateBuffer s = freshEncodeState();
        int32_t pos = 0;
        const ZeqStatus status = zeqiEncodeHuffmanRow_JPEG_16s1u_P4C1(
            planes, 150, 2, out.data(), room, &pos, tables.encPtr, s.get(), 0);
        ASSERT_EQ(status, room >= fullLen ? StatusOk : StatusBufferExhausted) << room;
        ASSERT_LE(pos, room);
        ASSERT_TRUE(std::equal(out.begin(), out.begin() + pos, full.begin())) << room;
    }
}

TEST(LosslessRows, EncoderArgumentChecksInOrder) {
    const RowTables tables({allCategoriesTable()});
    const int16_t row[2] = {1, 2};
    const int16_t* planes[4] = {row, row, nullptr, row};
    const HuffmanEncodeSpec* missingTable[4] = {tables.encPtr[0], nullptr, nullptr, nullptr};
    EncodeStateBuffer state = freshEncodeState();
    state.bytes[8] = 3;  // three pending bits: a flush writes a byte
    std::vector<uint8_t> out(8, 0xEE);
    int32_t pos = 0;
    auto call = [&](const int16_t* const* p, int32_t width, int32_t n, uint8_t* dst, int32_t len,
                    int32_t* at, const HuffmanEncodeSpec* const* t, HuffmanEncodeState* st,
                    int32_t flush) {
        return zeqiEncodeHuffmanRow_JPEG_16s1u_P4C1(p, width, n, dst, len, at, t, st, flush);
    };
    EXPECT_EQ(call(nullptr, 0, 0, nullptr, 0, nullptr, nullptr, nullptr, 0), StatusNullPointer);
    EXPECT_EQ(call(nullptr, 0, 0, out.data(), 0, nullptr, nullptr, nullptr, 0), StatusBadSize);
    EXPECT_EQ(call(nullptr, 0, 0, out.data(), 8, nullptr, nullptr, state.get(), 0),
              StatusNullPointer);
    EXPECT_EQ(call(nullptr, 0, 0, out.data(), 8, &pos, nullptr, nullptr, 0), StatusNullPointer);
    EXPECT_EQ(call(nullptr, 0, 0, out.data(), 8, &pos, nullptr, state.get(), 0), StatusNullPointer);
    EXPECT_EQ(call(planes, 0, 0, out.data(), 8, &pos, nullptr, state.get(), 0), StatusBadSize);
    EXPECT_EQ(call(planes, 2, 0, out.data(), 8, &pos, nullptr, state.get(), 0), StatusBadSize);
    EXPECT_EQ(call(planes, 2, 1, out.data(), 8, &pos, nullptr, state.get(), 0), StatusNullPointer);
    EXPECT_EQ(call(planes, 2, 2, out.data(), 8, &pos, missingTable, state.get(), 0),
              StatusNullPointer);
    EXPECT_EQ(call(planes, 2, 3, out.data(), 8, &pos, tables.encPtr, state.get(), 0),
              StatusNullPointer);  // plane 2
    EXPECT_EQ(pos, 0);
    EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](uint8_t b) { return b == 0xEE; }));
    // A flush looks at nothing else, pads the pending bits and resets.
    EXPECT_EQ(call(nullptr, 0, 0, out.data(), 8, &pos, nullptr, state.get(), 1), StatusOk);
    EXPECT_EQ(pos, 1);
    EXPECT_EQ(state.at<int32_t>(8), 0);
}

TEST(LosslessRows, DecoderArgumentChecksInOrder) {
    const RowTables tables({allCategoriesTable()});
    Row r0(2, 5), r1(2, 5);
    int16_t* planes[4] = {r0.data(), nullptr, nullptr, nullptr};
    const std::vector<uint8_t> src = {0x00, 0x00, 0x00};  // four 5-bit zero codes
    DecodeStateBuffer state = freshDecodeState();
    int32_t pos = 0, marker = 0;
    auto call = [&](const uint8_t* s, int32_t len, int32_t* at, int16_t* const* p, int32_t width,
                    int32_t n, int32_t* m, const HuffmanDecodeSpec* const* t,
                    HuffmanDecodeState* st) {
        return zeqiDecodeHuffmanRow_JPEG_1u16s_C1P4(s, len, at, p, width, n, m, t, st);
    };
    EXPECT_EQ(call(nullptr, 0, nullptr, nullptr, 0, 0, nullptr, nullptr, nullptr),
              StatusNullPointer);
    EXPECT_EQ(call(src.data(), 0, nullptr, nullptr, 0, 0, nullptr, nullptr, nullptr),
              StatusBadSize);
    EXPECT_EQ(call(src.data(), 2, nullptr, planes, 0, 0, nullptr, nullptr, nullptr),
              StatusNullPointer);
    EXPECT_EQ(call(src.data(), 2, &pos, nullptr, 0, 0, nullptr, nullptr, nullptr),
              StatusNullPointer);
    EXPECT_EQ(call(src.data(), 2, &pos, planes, 0, 0, nullptr, nullptr, nullptr), StatusBadSize);
    EXPECT_EQ(call(src.data(), 2, &pos, planes, 2, 0, nullptr, nullptr, nullptr), StatusBadSize);
    EXPECT_EQ(call(src.data(), 2, &pos, planes, 2, 1, nullptr, tables.decPtr, state.get()),
              StatusNullPointer);
    EXPECT_EQ(call(src.data(), 2, &pos, planes, 2, 1, &marker, nullptr, state.get()),
              StatusNullPointer);
    EXPECT_EQ(call(src.data(), 2, &pos, planes, 2, 1, &marker, tables.decPtr, nullptr),
              StatusNullPointer);
    EXPECT_EQ(call(src.data(), 2, &pos, planes, 2, 2, &marker, tables.decPtr, state.get()),
              StatusNullPointer);
    EXPECT_EQ(pos, 0);
    EXPECT_EQ(r0, Row(2, 5));
    planes[1] = r1.data();
    EXPECT_EQ(call(src.data(), 3, &pos, planes, 2, 2, &marker, tables.decPtr, state.get()),
              StatusOk);
    EXPECT_EQ(r0, Row(2, 0));
}

// Random bytes and cut streams: only the reader's statuses, and no write
// outside the rows.
TEST(LosslessRows, DamagedStreamsGiveOnlyReaderStatuses) {
    const RowTables tables({allCategoriesTable(), annexKDcLuminance(), everySymbolTable()});
    for (int i = 0; i < scaledCount(3000); ++i) {
        auto& rng = seededRng(8000 + uint32_t(i));
        std::vector<uint8_t> src(size_t(uniform<int>(rng, 1, 60)));
        fillRandom(rng, src.data(), src.size());
        const int32_t width = uniform<int32_t>(rng, 1, 40);
        const int nComps = uniform<int>(rng, 1, 6);
        std::vector<GuardedRow> rows;
        for (int c = 0; c < 4; ++c) rows.emplace_back(size_t(width), c);
        int16_t* planes[4] = {rows[0].data(), rows[1].data(), rows[2].data(), rows[3].data()};
        DecodeStateBuffer state = freshDecodeState();
        int32_t pos = 0, marker = 0;
        const ZeqStatus status = zeqiDecodeHuffmanRow_JPEG_1u16s_C1P4(
            src.data(), int32_t(src.size()), &pos, planes, width, nComps, &marker, tables.decPtr,
            state.get());
        ASSERT_TRUE(status == StatusOk || status == StatusBufferExhausted ||
                    status == StatusCoefficientRange)
            << status;
        ASSERT_LE(pos, int32_t(src.size()));
        for (const auto& r : rows) ASSERT_TRUE(r.guardsIntact()) << i;
    }
}

}  // namespace
