// The decoders against a plain byte-at-a-time reader written from the
// contract: 32 bits of read-ahead, bytes taken while 24 or fewer bits are
// valid and only when a step lacks bits, codes searched bit by bit. The
// library reads ahead eight bytes at a time behind that schedule, so every
// observable (status, coefficients, covered count, last DC, position, marker
// word and the whole state record) is compared after every call, on streams
// dense with stuffed bytes, fill bytes and markers, cut at every length and
// started at every alignment, in buffers of exactly their size.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <vector>

#include "jpeg/entropy/bit_reader.h"
#include "tests/common/test_support.h"
#include "tests/jpeg/entropy/huffman_test_support.h"
#include "tests/jpeg/entropy/photo_blocks.h"
#include "zeqj.h"

namespace {

using namespace zeq::test;
using Block = std::array<int16_t, 64>;

// ---- The reference ----

struct ReferenceSpec {
    std::array<uint32_t, 256> fast{};
    std::array<int32_t, 18> maxCode{};  // -1: no codes of that length
    std::array<int32_t, 18> minCode{}, valueIndex{};
    std::vector<uint8_t> values;

    explicit ReferenceSpec(const TableDefinition& t) : values(t.values) {
        int32_t code = 0, k = 0;
        for (int length = 1; length <= 16; ++length) {
            const int n = t.bits[length - 1];
            maxCode[length] = n ? code + n - 1 : -1;
            minCode[length] = code;
            valueIndex[length] = k;
            for (int i = 0; i < n; ++i, ++k, ++code)
                if (length <= 8)
                    for (int j = 0; j < 1 << (8 - length); ++j)
                        fast[(code << (8 - length)) + j] = uint32_t(length) << 16 | values[k];
            code <<= 1;
        }
        maxCode[17] = -1;
    }
};

struct ReferenceReader {
    const uint8_t* src;
    int64_t len;  // effectively endless for the direct decoder
    int32_t pos;
    int32_t* marker;
    uint32_t buffer;
    int count;

    ZeqStatus fill(int needed) {
        if (*marker != 0) return count >= needed ? StatusOk : StatusCoefficientRange;
        while (count <= 24) {
            if (pos >= len) return count >= needed ? StatusOk : StatusBufferExhausted;
            uint8_t byte = src[pos++];
            if (byte == 0xFF) {
                uint8_t next;
                do {
                    if (pos >= len) return StatusBufferExhausted;
                    next = src[pos++];
                } while (next == 0xFF);
                if (next != 0x00) {
                    *marker = next;
                    return count >= needed ? StatusOk : StatusCoefficientRange;
                }
            }
            buffer = buffer << 8 | byte;
            count += 8;
        }
        return StatusOk;
    }
    uint32_t take(int n) {
        count -= n;
        return uint32_t(uint64_t(buffer) >> count) & ((1u << n) - 1);
    }
    ZeqStatus symbol(const ReferenceSpec& t, int& s) {
        int length = 1;
        if (count < 8) fill(0);
        if (count >= 8) {
            const uint32_t entry = t.fast[uint32_t(uint64_t(buffer) >> (count - 8)) & 0xFF];
            if (entry >> 16) {
                count -= int(entry >> 16);
                s = int(entry & 0xFFFF);
                return StatusOk;
            }
            length = 9;
        }
        if (count < length)
            if (ZeqStatus st = fill(length)) return st;
        uint32_t code = take(length);
        while (length <= 16 && (t.maxCode[length] < 0 || int32_t(code) > t.maxCode[length])) {
            if (count < 1)
                if (ZeqStatus st = fill(1)) return st;
            code = code << 1 | take(1);
            ++length;
        }
        if (length > 16) {
            s = 0;
            return StatusCoefficientRange;
        }
        s = t.values[t.valueIndex[length] + int32_t(code) - t.minCode[length]];
        return StatusOk;
    }
    ZeqStatus extended(int s, int32_t& v) {
        if (count < s)
            if (ZeqStatus st = fill(s)) return st;
        const int32_t bits = int32_t(take(s));
        v = bits < (1 << (s - 1)) ? bits + 1 - (1 << s) : bits;
        return StatusOk;
    }
    // One block; `covered` is the next zigzag index (0 before the DC symbol).
    ZeqStatus block(const ReferenceSpec& dc, const ReferenceSpec& ac, int16_t* out, int16_t& lastDC,
                    int32_t& covered) {
        std::fill(out, out + 64, int16_t{0});
        covered = 0;
        int s;
        if (ZeqStatus st = symbol(dc, s)) return st;
        covered = 1;
        if (s & 15) {
            int32_t diff;
            if (ZeqStatus st = extended(s & 15, diff)) return st;
            lastDC = int16_t(lastDC + diff);
        }
        out[0] = lastDC;
        for (int k = 1; k < 64;) {
            if (ZeqStatus st = symbol(ac, s)) return st;
            const int r = s >> 4 & 15, size = s & 15;
            if (size == 0) {
                if (r != 15) return StatusOk;
                covered = k += 16;
                continue;
            }
            k += r;
            covered = k + 1;
            if (k >= 72) return StatusBlockOverrun;
            int32_t v;
            if (ZeqStatus st = extended(size, v)) return st;
            out[k < 64 ? zeq::NaturalOfZigzag[k] : 63] = int16_t(v);
            covered = ++k;
        }
        return StatusOk;
    }
};

// ---- Streams ----

// Coded photo blocks with restart markers, then random damage: stuffed
// pairs, runs of fill bytes, stray markers, plain noise.
std::vector<uint8_t> denseStream(std::mt19937& rng, int blocks) {
    const auto photo = photoBlocks(blocks, kQuality95, uniform<uint32_t>(rng, 0, 1 << 30));
    const EncodeSpecBuffer dc = encodeSpec(annexKDcLuminance()),
                           ac = encodeSpec(annexKAcLuminance());
    EncodeStateBuffer state = freshEncodeState();
    std::vector<uint8_t> coded(blocks * 300 + 64);
    int32_t pos = 0;
    int16_t lastDC = 0;
    const int32_t len = int32_t(coded.size());
    for (int i = 0; i < blocks; ++i) {
        zeqiEncodeHuffman8x8_JPEG_16s1u_C1(&photo[64 * i], coded.data(), len, &pos, &lastDC,
                                           dc.get(), ac.get(), state.get(), 0);
        if (uniform<int>(rng, 0, 5) == 0) {
            zeqiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, coded.data(), len, &pos, nullptr, nullptr,
                                               nullptr, state.get(), 1);
            coded[pos++] = 0xFF;
            coded[pos++] = uint8_t(0xD0 + i % 8);
        }
    }
    coded.resize(pos);
    std::vector<uint8_t> out;
    for (uint8_t byte : coded) {
        switch (uniform<int>(rng, 0, 40)) {
            case 0:
                out.insert(out.end(), {0xFF, 0x00});
                break;
            case 1:
                out.insert(out.end(), uniform<size_t>(rng, 1, 3), 0xFF);
                break;
            case 2:
                out.insert(out.end(), {0xFF, uniform<uint8_t>(rng, 1, 0xFE)});
                break;
            case 3:
                out.push_back(uniform<uint8_t>(rng, 0, 0xFE));
                break;
            default:
                break;
        }
        out.push_back(byte);
    }
    return out;
}

// The source at `offset` bytes into its own allocation of exactly its size.
struct Source {
    std::unique_ptr<uint8_t[]> bytes;
    int32_t offset, len;
    Source(const std::vector<uint8_t>& stream, int32_t offset, int32_t len)
        : bytes(new uint8_t[offset + len]), offset(offset), len(len) {
        std::memset(bytes.get(), 0xFF, offset);
        std::memcpy(bytes.get() + offset, stream.data(), len);
    }
    const uint8_t* data() const { return bytes.get() + offset; }
};

struct Tables {
    TableDefinition dcDef, acDef;
    ReferenceSpec dcRef{dcDef}, acRef{acDef};
    DecodeSpecBuffer dc = decodeSpec(dcDef), ac = decodeSpec(acDef);
};

// Runs both decoders over a source, call after call, comparing everything.
void compareBlockDecoding(const Tables& t, const uint8_t* src, int32_t len, int calls) {
    DecodeStateBuffer state = freshDecodeState();
    int32_t pos = 0, marker = 0, refMarker = 0;
    int16_t lastDC = 0, refDC = 0;
    ReferenceReader ref{src, len, 0, &refMarker, 0, 0};
    for (int call = 0; call < calls; ++call) {
        Block out, refOut;
        out.fill(0x5555);
        int32_t covered;
        const ZeqStatus expected = ref.block(t.dcRef, t.acRef, refOut.data(), refDC, covered);
        const ZeqStatus got = zeqiDecodeHuffman8x8_JPEG_1u16s_C1(
            src, len, &pos, out.data(), &lastDC, &marker, t.dc.get(), t.ac.get(), state.get());
        ASSERT_EQ(got, expected) << "call " << call;
        ASSERT_EQ(out, refOut) << "call " << call;
        ASSERT_EQ(lastDC, refDC);
        ASSERT_EQ(pos, ref.pos) << "call " << call;
        ASSERT_EQ(marker, refMarker);
        ASSERT_EQ(state.at<uint64_t>(0), uint64_t{ref.buffer}) << "call " << call;
        ASSERT_EQ(state.at<int32_t>(8), ref.count) << "call " << call;
        ASSERT_EQ(state.at<int32_t>(16), covered) << "call " << call;
        if (got == StatusBlockOverrun || (got != StatusOk && call % 3 == 0)) {
            // What a caller does after a marker or a damaged block: reset.
            zeqiDecodeHuffmanStateInit_JPEG_8u(state.get());
            marker = refMarker = 0;
            ref.buffer = 0;
            ref.count = 0;
        }
    }
}

TEST(ByteReaderDifferential, BlocksMatchTheReferenceOnDenseStreamsCutAnywhere) {
    auto& rng = seededRng(41);
    const Tables standard{annexKDcLuminance(), annexKAcLuminance()};
    const Tables every{everySymbolTable(), everySymbolTable()};
    for (int round = 0; round < scaledCount(60); ++round) {
        const std::vector<uint8_t> stream = denseStream(rng, uniform<int>(rng, 1, 8));
        const Tables& t = round % 3 == 2 ? every : standard;
        for (int32_t len = 0; len <= int32_t(stream.size()); ++len) {
            const Source s(stream, len % 8, len);
            compareBlockDecoding(t, s.data(), s.len, 12);
            if (HasFatalFailure()) {
                ADD_FAILURE() << "round " << round << " length " << len;
                return;
            }
        }
    }
}

TEST(ByteReaderDifferential, LoneValuesMatchTheReference) {
    auto& rng = seededRng(42);
    const TableDefinition def = allCategoriesTable();
    const ReferenceSpec refSpec(def);
    const DecodeSpecBuffer spec = decodeSpec(def);
    for (int round = 0; round < scaledCount(200); ++round) {
        const std::vector<uint8_t> stream = denseStream(rng, uniform<int>(rng, 1, 4));
        const int32_t len = uniform<int32_t>(rng, 1, int32_t(stream.size()));
        const Source s(stream, round % 8, len);
        DecodeStateBuffer state = freshDecodeState();
        int32_t pos = 0, marker = 0, refMarker = 0;
        ReferenceReader ref{s.data(), len, 0, &refMarker, 0, 0};
        for (int call = 0; call < 40; ++call) {
            int16_t value = 0x1234, refValue = 0x1234;
            int sym;
            ZeqStatus expected = ref.symbol(refSpec, sym);
            if (expected == StatusOk) {
                int32_t v = 0;
                if (sym >= 16)
                    v = -32768;
                else if (sym > 0)
                    expected = ref.extended(sym, v);
                if (expected == StatusOk) refValue = int16_t(v);
            }
            ASSERT_EQ(zeqiDecodeHuffmanOne_JPEG_1u16s_C1(s.data(), len, &pos, &value, &marker,
                                                         spec.get(), state.get()),
                      expected)
                << round << " " << call;
            ASSERT_EQ(value, refValue);
            ASSERT_EQ(pos, ref.pos);
            ASSERT_EQ(marker, refMarker);
            ASSERT_EQ(state.at<uint64_t>(0), uint64_t{ref.buffer});
            ASSERT_EQ(state.at<int32_t>(8), ref.count);
        }
    }
}

// Runs the direct decoder and the reference over a source that ends in a
// marker, call after call, comparing everything.
void compareDirectDecoding(const Tables& t, const uint8_t* src, int calls) {
    int32_t bitPos = 0, marker = 0, count = 0, refMarker = 0;
    uint32_t reservoir = 0;
    int16_t lastDC = 0, refDC = 0;
    ReferenceReader ref{src, INT64_MAX, 0, &refMarker, 0, 0};
    for (int call = 0; call < calls; ++call) {
        Block out, refOut;
        int32_t covered;
        ZeqStatus expected = StatusOk;
        if (ref.count == 0) ref.fill(0);
        if (refMarker != 0 && ref.count == 0)
            refOut.fill(0);
        else
            expected = ref.block(t.dcRef, t.acRef, refOut.data(), refDC, covered);
        ASSERT_EQ(
            zeqiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(src, &bitPos, out.data(), &lastDC, &marker,
                                                      &reservoir, &count, t.dc.get(), t.ac.get()),
            expected)
            << "call " << call;
        ASSERT_EQ(out, refOut) << "call " << call;
        ASSERT_EQ(lastDC, refDC);
        ASSERT_EQ(bitPos, 8 * ref.pos) << "call " << call;
        ASSERT_EQ(marker, refMarker);
        ASSERT_EQ(reservoir, ref.buffer) << "call " << call;
        ASSERT_EQ(count, ref.count) << "call " << call;
        if (expected == StatusBlockOverrun) break;
    }
}

// The direct decoder reads until a marker: every stream ends in one, at the
// very end of its allocation.
TEST(ByteReaderDifferential, DirectBlocksMatchTheReference) {
    auto& rng = seededRng(43);
    const Tables t{annexKDcLuminance(), annexKAcLuminance()};
    for (int round = 0; round < scaledCount(300); ++round) {
        std::vector<uint8_t> stream = denseStream(rng, uniform<int>(rng, 1, 8));
        stream.insert(stream.end(), {0xFF, 0xD9});
        const Source s(stream, round % 8, int32_t(stream.size()));
        compareDirectDecoding(t, s.data(), 12);
        if (HasFatalFailure()) {
            ADD_FAILURE() << "round " << round;
            return;
        }
    }
}

// ---- Undamaged scans ----

// Coded photo blocks as a scan holds them: long runs of plain bytes, a
// stuffed pair wherever the codes make a 0xFF, now and then a restart marker
// after a flush.
std::vector<uint8_t> cleanStream(std::mt19937& rng, const std::vector<int16_t>& blocks,
                                 const TableDefinition& dcDef, const TableDefinition& acDef) {
    const EncodeSpecBuffer dc = encodeSpec(dcDef), ac = encodeSpec(acDef);
    EncodeStateBuffer state = freshEncodeState();
    const int count = int(blocks.size() / 64);
    std::vector<uint8_t> coded(size_t(count) * 300 + 64);
    int32_t pos = 0;
    int16_t lastDC = 0;
    const int32_t len = int32_t(coded.size());
    for (int i = 0; i < count; ++i) {
        EXPECT_EQ(
            zeqiEncodeHuffman8x8_JPEG_16s1u_C1(&blocks[64 * size_t(i)], coded.data(), len, &pos,
                                               &lastDC, dc.get(), ac.get(), state.get(), 0),
            StatusOk);
        if (uniform<int>(rng, 0, 40) == 0) {
            zeqiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, coded.data(), len, &pos, nullptr, nullptr,
                                               nullptr, state.get(), 1);
            coded[pos++] = 0xFF;
            coded[pos++] = uint8_t(0xD0 + i % 8);
        }
    }
    zeqiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, coded.data(), len, &pos, nullptr, nullptr, nullptr,
                                       state.get(), 1);
    coded.resize(pos);
    return coded;
}

// The standard AC symbols with codes of 9 to 15 bits only: every symbol
// takes the long search, and the reader runs dry in the middle of codes.
TableDefinition longCodesOnlyTable() {
    return {{0, 0, 0, 0, 0, 0, 0, 0, 2, 4, 8, 16, 32, 64, 36, 0}, annexKAcLuminance().values};
}

// Undamaged scans under the standard tables, tables made for the blocks
// (codes of up to 16 bits) and a table of long codes only, at both quality
// shapes, whole and cut at random lengths, for the block decoder and the
// direct decoder.
TEST(ByteReaderDifferential, UndamagedScansMatchTheReferenceForEveryTableShape) {
    auto& rng = seededRng(44);
    for (int round = 0; round < scaledCount(48); ++round) {
        const PhotoBlockShape shape = round % 2 ? kQuality95 : kQuality75;
        const int count = uniform<int>(rng, 20, 160);
        const auto blocks = photoBlocks(count, shape, uniform<uint32_t>(rng, 0, 1 << 30));
        TableDefinition dcDef = annexKDcLuminance(), acDef = annexKAcLuminance();
        switch (round / 2 % 4) {
            case 1:
                dcDef = annexKDcChrominance();
                acDef = annexKAcChrominance();
                break;
            case 2: {
                std::vector<int32_t> dcCounts(257), acCounts(257);
                int16_t lastDC = 0;
                for (int i = 0; i < count; ++i)
                    countBlockSymbols(&blocks[64 * size_t(i)], lastDC, dcCounts, acCounts);
                dcDef = optimalDefinition(dcCounts);
                acDef = optimalDefinition(acCounts);
                break;
            }
            case 3:
                acDef = longCodesOnlyTable();
                break;
            default:
                break;
        }
        std::vector<uint8_t> stream = cleanStream(rng, blocks, dcDef, acDef);
        const Tables t{dcDef, acDef};
        const int calls = count + 8;
        for (int32_t len :
             {int32_t(stream.size()), uniform<int32_t>(rng, 0, int32_t(stream.size()))}) {
            const Source s(stream, uniform<int32_t>(rng, 0, 7), len);
            compareBlockDecoding(t, s.data(), s.len, calls);
            if (HasFatalFailure()) {
                ADD_FAILURE() << "round " << round << " length " << len;
                return;
            }
        }
        stream.insert(stream.end(), {0xFF, 0xD9});
        const Source s(stream, round % 8, int32_t(stream.size()));
        compareDirectDecoding(t, s.data(), calls);
        if (HasFatalFailure()) {
            ADD_FAILURE() << "direct, round " << round;
            return;
        }
    }
}

// The vector search for codes longer than 8 bits finds the length the
// length-by-length search finds, on every 17-bit window.
TEST(ByteReaderKernels, VectorCodeLengthSearchMatchesScalar) {
    TableDefinition sparse{{0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 3, 0, 0, 0, 0, 2}, {1, 2, 3, 4, 5, 6}};
    for (const TableDefinition& def :
         {annexKAcLuminance(), annexKAcChrominance(), everySymbolTable(), sparse}) {
        const DecodeSpecBuffer spec = decodeSpec(def);
        for (uint32_t window = 0; window < (1u << 17); ++window)
            ASSERT_EQ(zeq::longCodeLength(spec.get(), window),
                      zeq::longCodeLengthScalar(spec.get(), window))
                << window;
    }
}

// The same on records whose maxCode entries for 9..16 bits are anything a
// damaged record may hold: -1, values past every code of their length,
// lengths that fall back below shorter ones.
TEST(ByteReaderKernels, VectorCodeLengthSearchMatchesScalarOnAnyLimits) {
    std::mt19937& rng = seededRng(4417);
    const int records = scaledCount(24);
    for (int r = 0; r < records; ++r) {
        DecodeSpecBuffer spec = decodeSpec(annexKAcLuminance());
        for (int length = 9; length <= 16; ++length) {
            const int kind = uniform<int>(rng, 0, 3);
            const int32_t last = kind == 0   ? -1
                                 : kind == 1 ? uniform<int32_t>(rng, 0, (1 << length) - 1)
                                 : kind == 2 ? uniform<int32_t>(rng, 1 << length, 0xFFFE)
                                             : uniform<int32_t>(rng, 0, 0xFFFE);
            const int16_t field = static_cast<int16_t>(static_cast<uint16_t>(last));
            std::memcpy(
                spec.bytes.data() + offsetof(HuffmanDecodeSpec, maxCode) + length * sizeof(int16_t),
                &field, sizeof(field));
        }
        for (uint32_t window = 0; window < (1u << 17); ++window)
            ASSERT_EQ(zeq::longCodeLength(spec.get(), window),
                      zeq::longCodeLengthScalar(spec.get(), window))
                << "record " << r << " window " << window;
    }
}

}  // namespace
