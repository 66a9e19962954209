// The progressive decoder's records, state machine, error latch and the
// one-shot decoder's clean-up; corrupt input gives only the decoders'
// statuses.
#include <gtest/gtest.h>

#include "tests/jpeg2000/tier1/t1_test_support.h"

namespace {

using namespace zeq::test;
using namespace zeq::test::t1;

constexpr int32_t kSegmentationSymbol = 16;

TEST(ProgressiveDecoder, StateSizeFollowsTheArrayGeometry) {
    int32_t size = -1;
    EXPECT_EQ(zeqiDecodeCBProgrGetStateSize_JPEG2K({0, 0}, nullptr), StatusBadSize);
    EXPECT_EQ(zeqiDecodeCBProgrGetStateSize_JPEG2K({4, 4}, nullptr), StatusNullPointer);
    EXPECT_EQ(size, -1);
    struct Case {
        int32_t w, h, size;
    };
    // (4 w + 8 rounded up to 32) x ((h + 1) / 2 + 2) + 472.
    for (Case c : {Case{1, 1, 32 * 3 + 472}, Case{6, 3, 32 * 4 + 472}, Case{7, 4, 64 * 4 + 472},
                   Case{64, 64, 288 * 34 + 472}}) {
        EXPECT_EQ(zeqiDecodeCBProgrGetStateSize_JPEG2K({c.w, c.h}, &size), StatusOk);
        EXPECT_EQ(size, c.size);
        EXPECT_EQ(zeqiDecodeGetBufSize_JPEG2K({c.w, c.h}, &size), StatusOk);
        EXPECT_EQ(size, c.size);
    }
}

TEST(ProgressiveDecoder, ChecksRunInTheirOrder) {
    ProgressiveDecodeState* s = nullptr;
    EXPECT_EQ(zeqiDecodeCBProgrInit_JPEG2K(nullptr), StatusNullPointer);
    EXPECT_EQ(zeqiDecodeCBProgrInitAlloc_JPEG2K(nullptr, {0, 0}), StatusNullPointer);
    EXPECT_EQ(zeqiDecodeCBProgrInitAlloc_JPEG2K(&s, {1, 0}), StatusBadSize);
    {
        ScopedAllocationFailure fail(1);
        s = reinterpret_cast<ProgressiveDecodeState*>(0x1);
        EXPECT_EQ(zeqiDecodeCBProgrInitAlloc_JPEG2K(&s, {8, 8}), StatusNoMemory);
        EXPECT_EQ(s, nullptr);
    }
    ASSERT_EQ(zeqiDecodeCBProgrInitAlloc_JPEG2K(&s, {8, 8}), StatusOk);
    std::vector<uint8_t> other(2048, 0);
    auto* wrong = reinterpret_cast<ProgressiveDecodeState*>(other.data());
    std::vector<int32_t> dst(64, 0x11111111);
    const uint8_t byte = 0;
    int32_t value = 99;

    EXPECT_EQ(zeqiDecodeCBProgrAttach_JPEG2K_32s_C1R(nullptr, 0, {0, 0}, nullptr, 0, 3, 0),
              StatusNullPointer);
    EXPECT_EQ(zeqiDecodeCBProgrAttach_JPEG2K_32s_C1R(nullptr, 0, {0, 0}, wrong, 0, 3, 0),
              StatusContextMismatch);
    EXPECT_EQ(zeqiDecodeCBProgrAttach_JPEG2K_32s_C1R(nullptr, 0, {0, 0}, s, 0, 3, 0),
              StatusNullPointer);
    EXPECT_EQ(zeqiDecodeCBProgrAttach_JPEG2K_32s_C1R(dst.data(), 0, {0, 0}, s, 0, 3, 0),
              StatusBadStep);
    EXPECT_EQ(zeqiDecodeCBProgrAttach_JPEG2K_32s_C1R(dst.data(), 32, {8, 0}, s, 0, 3, 0),
              StatusBadSize);
    EXPECT_EQ(dst[0], 0x11111111);  // nothing cleared on failure

    EXPECT_EQ(zeqiDecodeCBProgrStep_JPEG2K(nullptr, 0, s), StatusNullPointer);
    EXPECT_EQ(zeqiDecodeCBProgrStep_JPEG2K(&byte, 1, wrong), StatusContextMismatch);
    EXPECT_EQ(zeqiDecodeCBProgrStep_JPEG2K(&byte, 1, s), StatusNotAttached);
    EXPECT_EQ(zeqiDecodeCBProgrSetPassCounter_JPEG2K(3, nullptr), StatusNullPointer);
    EXPECT_EQ(zeqiDecodeCBProgrSetPassCounter_JPEG2K(3, wrong), StatusContextMismatch);
    EXPECT_EQ(zeqiDecodeCBProgrGetPassCounter_JPEG2K(wrong, nullptr), StatusNullPointer);
    EXPECT_EQ(zeqiDecodeCBProgrGetPassCounter_JPEG2K(wrong, &value), StatusContextMismatch);
    EXPECT_EQ(zeqiDecodeCBProgrGetCurBitPlaneNum_JPEG2K(wrong, nullptr), StatusContextMismatch);
    EXPECT_EQ(zeqiDecodeCBProgrGetCurBitPlaneNum_JPEG2K(s, nullptr), StatusNullPointer);
    EXPECT_EQ(value, 99);
    EXPECT_EQ(zeqiDecodeCBProgrFree_JPEG2K(wrong), StatusContextMismatch);
    EXPECT_EQ(zeqiDecodeCBProgrFree_JPEG2K(nullptr), StatusNullPointer);

    ASSERT_EQ(zeqiDecodeCBProgrAttach_JPEG2K_32s_C1R(dst.data(), 32, {8, 8}, s, 0, 3, 0), StatusOk);
    EXPECT_EQ(dst, std::vector<int32_t>(64, 0));
    EXPECT_EQ(zeqiDecodeCBProgrGetCurBitPlaneNum_JPEG2K(s, &value), StatusOk);
    EXPECT_EQ(value, 2);
    EXPECT_EQ(zeqiDecodeCBProgrGetPassCounter_JPEG2K(s, &value), StatusOk);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(zeqiDecodeCBProgrStep_JPEG2K(&byte, 1, s), StatusOk);  // no passes to decode
    EXPECT_EQ(zeqiDecodeCBProgrFree_JPEG2K(s), StatusOk);

    // The one-shot decoder: source and state, sizes, lengths and destination, step.
    std::vector<uint8_t> work(4096);
    auto* state = reinterpret_cast<ProgressiveDecodeState*>(work.data());
    const int32_t len = 0;
    auto decode = [&](const uint8_t* src, int32_t* d, int32_t step, ZeqiSize size,
                      const int32_t* lens, ProgressiveDecodeState* st) {
        return zeqiDecodeCodeBlock_JPEG2K_1u32s_C1R(src, d, step, size, 0, 3, 1, lens, 1, 0,
                                                    nullptr, st);
    };
    EXPECT_EQ(decode(&byte, nullptr, 0, {0, 0}, nullptr, nullptr), StatusNullPointer);
    EXPECT_EQ(decode(&byte, nullptr, 0, {0, 0}, nullptr, state), StatusBadSize);
    EXPECT_EQ(decode(&byte, dst.data(), 0, {8, 8}, nullptr, state), StatusNullPointer);
    EXPECT_EQ(decode(&byte, nullptr, 0, {8, 8}, &len, state), StatusNullPointer);
    EXPECT_EQ(decode(&byte, dst.data(), 0, {8, 8}, &len, state), StatusBadStep);
}

struct Fixture {
    Block block;
    Encoded encoded;
};

Fixture encodedBlock(uint32_t seed, int32_t flags, int32_t term = 0) {
    auto& rng = seededRng(seed);
    Fixture f;
    f.block = randomBlock(rng, 24, 20, 12);
    f.block.words[0] = 0x1FFF;  // 13 planes
    EncoderHandle enc({64, 64});
    f.encoded = encode(enc.state, f.block, 0, flags, term);
    return f;
}

TEST(ProgressiveDecoder, PassCounterBelowTheSegmentStopsDecodingThere) {
    const Fixture f = encodedBlock(1, 0);
    for (int32_t passes : {1, 2, 3, 4, 7, 20}) {
        ProgressiveDecodeState* s = nullptr;
        ASSERT_EQ(zeqiDecodeCBProgrInitAlloc_JPEG2K(&s, f.block.size()), StatusOk);
        std::vector<int32_t> dst(f.block.words.size());
        zeqiDecodeCBProgrAttach_JPEG2K_32s_C1R(dst.data(), f.block.step(), f.block.size(), s, 0,
                                               f.encoded.sfBits, 0);
        zeqiDecodeCBProgrSetPassCounter_JPEG2K(passes, s);
        EXPECT_EQ(zeqiDecodeCBProgrStep_JPEG2K(f.encoded.bytes.data(),
                                               static_cast<int32_t>(f.encoded.bytes.size()), s),
                  StatusOk);
        int32_t left = -1, plane = -2;
        zeqiDecodeCBProgrGetPassCounter_JPEG2K(s, &left);
        zeqiDecodeCBProgrGetCurBitPlaneNum_JPEG2K(s, &plane);
        EXPECT_EQ(left, 0);
        // The plane goes down after every cleanup pass (passes 1, 4, 7, ...).
        EXPECT_EQ(plane, f.encoded.sfBits - 1 - (passes + 2) / 3) << passes;
        // Without the one-shot's final truncation the samples hold the
        // mid-points of the last decoded bits.
        const Decoded one = decodeOneShot(f.block, f.encoded.bytes, f.encoded.segmentLengths, 0,
                                          f.encoded.sfBits, passes, 0x40000);
        EXPECT_EQ(dst, one.words) << passes;
        zeqiDecodeCBProgrFree_JPEG2K(s);
    }
}

TEST(ProgressiveDecoder, EmptySegmentsAndZeroPlanesDecodeNothingBadly) {
    Block shape{8, 8, std::vector<int32_t>(64)};
    // sfBits 0: plane -1, nothing decoded, all zero.
    Decoded d = decodeOneShot(shape, {}, {0}, 0, 0, 5, 0);
    EXPECT_EQ(d.status, StatusOk);
    EXPECT_EQ(d.words, std::vector<int32_t>(64, 0));
    // An empty segment reads 0xFF bytes: decoding goes on without failing.
    d = decodeOneShot(shape, {}, {0}, 0, 6, 16, 0);
    EXPECT_EQ(d.status, StatusOk);
    d = decodeProgressive(shape, {}, {0, 0, 0}, 3, 9, 30, 2 | 4);
    EXPECT_EQ(d.status, StatusOk);
}

TEST(ProgressiveDecoder, BrokenSegmentationSymbolLatchesUntilTheNextAttach) {
    const Fixture f = encodedBlock(2, kSegmentationSymbol | 4);  // one segment per pass
    ProgressiveDecodeState* s = nullptr;
    ASSERT_EQ(zeqiDecodeCBProgrInitAlloc_JPEG2K(&s, f.block.size()), StatusOk);
    std::vector<int32_t> dst(f.block.words.size());
    zeqiDecodeCBProgrAttach_JPEG2K_32s_C1R(dst.data(), f.block.step(), f.block.size(), s, 0,
                                           f.encoded.sfBits, kSegmentationSymbol | 4);
    zeqiDecodeCBProgrSetPassCounter_JPEG2K(f.encoded.passes, s);
    // The first cleanup pass read from a segment of zeros fails its symbol.
    const std::vector<uint8_t> zeros(64, 0);
    EXPECT_EQ(zeqiDecodeCBProgrStep_JPEG2K(zeros.data(), 64, s), StatusCodeBlockCorrupt);
    int32_t left = 0, plane = 0;
    zeqiDecodeCBProgrGetPassCounter_JPEG2K(s, &left);
    zeqiDecodeCBProgrGetCurBitPlaneNum_JPEG2K(s, &plane);
    EXPECT_EQ(left, f.encoded.passes);
    EXPECT_EQ(plane, f.encoded.sfBits - 1);
    EXPECT_EQ(zeqiDecodeCBProgrStep_JPEG2K(f.encoded.bytes.data(), 1, s), StatusCodeBlockCorrupt);
    // Attach clears the latch; the real data then decode.
    zeqiDecodeCBProgrAttach_JPEG2K_32s_C1R(dst.data(), f.block.step(), f.block.size(), s, 0,
                                           f.encoded.sfBits, kSegmentationSymbol | 4);
    zeqiDecodeCBProgrSetPassCounter_JPEG2K(f.encoded.passes, s);
    size_t offset = 0;
    for (int32_t len : f.encoded.segmentLengths) {
        ASSERT_EQ(zeqiDecodeCBProgrStep_JPEG2K(f.encoded.bytes.data() + offset, len, s), StatusOk);
        offset += static_cast<size_t>(len);
    }
    EXPECT_EQ(dst, f.block.words);
    zeqiDecodeCBProgrFree_JPEG2K(s);
}

TEST(CodeBlockDecoder, CorruptionReportsThePlaneAndRebuildsMidpointsOnRequest) {
    const Fixture f = encodedBlock(3, kSegmentationSymbol | 4);
    // Corrupt the segment of the cleanup pass of the third plane (pass 7).
    std::vector<uint8_t> bytes = f.encoded.bytes;
    size_t offset = 0;
    for (int i = 0; i < 6; ++i)
        offset += static_cast<size_t>(f.encoded.segmentLengths[static_cast<size_t>(i)]);
    for (int i = 0; i < f.encoded.segmentLengths[6]; ++i)
        bytes[offset + static_cast<size_t>(i)] = 0;
    for (int32_t extra : {0, 0x10000, 0x40000, 0x10000 | 0x40000}) {
        const Decoded d =
            decodeOneShot(f.block, bytes, f.encoded.segmentLengths, 0, f.encoded.sfBits,
                          f.encoded.passes, kSegmentationSymbol | 4 | extra);
        ASSERT_EQ(d.status, StatusCodeBlockCorrupt) << extra;
        const int plane = f.encoded.sfBits - 3;
        EXPECT_EQ(d.bitPlane, plane);
        const uint32_t bit = 1u << plane, below = bit - 1;
        for (size_t i = 0; i < d.words.size(); ++i) {
            const uint32_t got = static_cast<uint32_t>(d.words[i]);
            const uint32_t orig = static_cast<uint32_t>(f.block.words[i]);
            // Bits above b were decoded before the corrupt pass: they are exact.
            if ((orig & 0x7FFFFFFFu) >> (plane + 1)) {
                ASSERT_EQ((got & 0x7FFFFFFFu) >> (plane + 1), (orig & 0x7FFFFFFFu) >> (plane + 1));
                ASSERT_EQ(got >> 31, orig >> 31);
            }
            if (extra & 0x10000) {  // mid-point of plane b: bit b set, nothing below
                ASSERT_TRUE(got == 0 || ((got & bit) && !(got & below))) << i;
            } else if (!(extra & 0x40000)) {  // the final truncation below plane b
                ASSERT_EQ(got & below, 0u) << i;
            }
        }
    }
}

TEST(CodeBlockDecoder, KeepDestinationAndNegativeLengths) {
    const Fixture f = encodedBlock(4, 0);
    // 0x20000: samples that stay insignificant keep what the caller had.
    Block shape = f.block;
    int32_t size = 0;
    zeqiDecodeGetBufSize_JPEG2K(shape.size(), &size);
    std::vector<uint8_t> work(static_cast<size_t>(size));
    std::vector<int32_t> dst(shape.words.size(), 0x00000003);
    // A negative length after the data neither reads nor moves the input.
    const int32_t lengths[] = {static_cast<int32_t>(f.encoded.bytes.size()), -5};
    ASSERT_EQ(zeqiDecodeCodeBlock_JPEG2K_1u32s_C1R(
                  f.encoded.bytes.data(), dst.data(), shape.step(), shape.size(), 0,
                  f.encoded.sfBits, f.encoded.passes, lengths, 2, 0x20000 | 0x40000, nullptr,
                  reinterpret_cast<ProgressiveDecodeState*>(work.data())),
              StatusOk);
    for (size_t i = 0; i < dst.size(); ++i)
        ASSERT_EQ(dst[i], f.block.words[i] ? f.block.words[i] : 3) << i;
}

// Random bytes, truncated segments and lengths that lie (inside the buffer):
// the decoders return only their statuses and never reach outside the
// buffers (the sanitizer build checks the second part).
TEST(CodeBlockDecoder, CorruptInputGivesOnlyDecoderStatuses) {
    for (int i = 0; i < scaledCount(400); ++i) {
        auto& rng = seededRng(static_cast<uint32_t>(i));
        const int32_t flags = uniform<int>(rng, 0, 31) | (uniform<int>(rng, 0, 1) ? 0x100000 : 0) |
                              (uniform<int>(rng, 0, 1) ? 0x10000 : 0);
        Block shape{uniform<int>(rng, 1, 64), uniform<int>(rng, 1, 64), {}};
        shape.words.resize(static_cast<size_t>(shape.width) * shape.height);
        std::vector<uint8_t> bytes(static_cast<size_t>(uniform<int>(rng, 0, 600)));
        fillRandom(rng, bytes.data(), bytes.size());
        std::vector<int32_t> lengths;
        for (int32_t left = static_cast<int32_t>(bytes.size()); left > 0;) {
            const int32_t len = uniform<int>(rng, -3, left);
            lengths.push_back(len);
            left -= std::max(len, 1);
        }
        const int32_t sfBits = uniform<int>(rng, -2, 33), passes = uniform<int>(rng, -1, 100);
        for (bool progressive : {false, true}) {
            const Decoded d =
                progressive ? decodeProgressive(shape, bytes, lengths, i % 4, sfBits, passes, flags)
                            : decodeOneShot(shape, bytes, lengths, i % 4, sfBits, passes, flags);
            ASSERT_TRUE(d.status == StatusOk || d.status == StatusCodeBlockCorrupt) << d.status;
        }
    }
}

}  // namespace

namespace {

using namespace zeq::test;
using namespace zeq::test::t1;

// Predictable termination lets the decoder check every segment's end: intact
// streams always pass, and a changed byte is caught in most segments.
TEST(CodeBlockDecoder, PredictableTerminationCheckPassesIntactAndCatchesChangedData) {
    EncoderHandle enc({32, 32});
    int changed = 0, caught = 0;
    for (int i = 0; i < scaledCount(200); ++i) {
        auto& rng = seededRng(static_cast<uint32_t>(i));
        const Block b = randomBlock(rng, 32, 32, 12);
        const int32_t flags = 4 | (uniform<int>(rng, 0, 1) ? 2 : 0);
        const Encoded e = encode(enc.state, b, 0, flags, 2);
        if (e.bytes.empty()) continue;
        const Decoded intact =
            decodeOneShot(b, e.bytes, e.segmentLengths, 0, e.sfBits, e.passes, flags | 0x100000);
        ASSERT_EQ(intact.status, StatusOk) << i;
        std::vector<uint8_t> bytes = e.bytes;
        const size_t at = uniform<size_t>(rng, 0, static_cast<int64_t>(bytes.size()) - 1);
        bytes[at] = static_cast<uint8_t>(bytes[at] ^ (1 << uniform<int>(rng, 0, 7)));
        const Decoded d =
            decodeOneShot(b, bytes, e.segmentLengths, 0, e.sfBits, e.passes, flags | 0x100000);
        ++changed;
        caught += d.status == StatusCodeBlockCorrupt;
    }
    // Raw (bypassed) segments carry no check, so not every change is seen.
    EXPECT_GT(caught * 5, changed * 2) << caught << " of " << changed;
}

}  // namespace
