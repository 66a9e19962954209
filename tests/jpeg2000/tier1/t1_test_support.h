// Helpers of the tier-1 tests: random code blocks, encoding through the
// public functions, and both decoders.
#ifndef ZEQ_TESTS_JPEG2000_TIER1_T1_TEST_SUPPORT_H
#define ZEQ_TESTS_JPEG2000_TIER1_T1_TEST_SUPPORT_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "tests/common/test_support.h"
#include "zeqj.h"

namespace zeq::test::t1 {

constexpr int32_t kNegative = INT32_MIN;

// A code block of sign-magnitude words, rows packed (step = 4 x width).
struct Block {
    int32_t width = 0, height = 0;
    std::vector<int32_t> words;
    ZeqiSize size() const { return {width, height}; }
    int32_t step() const { return 4 * width; }
};

// Random magnitudes below 2^topPlane+1: a mix of zeros (so that run mode is
// taken), small values and a geometric spread of large ones.
inline Block randomBlock(std::mt19937& rng, int32_t width, int32_t height, int topPlane) {
    Block b{width, height, std::vector<int32_t>(static_cast<size_t>(width) * height)};
    const int zeroPercent = uniform<int>(rng, 0, 95);
    for (auto& w : b.words) {
        if (uniform<int>(rng, 0, 99) < zeroPercent) {
            w = 0;
            continue;
        }
        const int plane = uniform<int>(rng, 0, topPlane);
        const uint32_t mag =
            static_cast<uint32_t>(uniform<int64_t>(rng, 0, (int64_t{1} << plane) * 2 - 1));
        w = static_cast<int32_t>(mag | (mag && uniform<int>(rng, 0, 1) ? 0x80000000u : 0));
    }
    return b;
}

struct Encoded {
    int32_t sfBits = 0, passes = 0, segments = 0;
    std::vector<uint8_t> bytes;
    std::vector<uint32_t> rates;
    std::vector<int32_t> segmentLengths;
    std::vector<double> distortion;
};

struct EncoderHandle {
    CodeBlockEncodeState* state = nullptr;
    explicit EncoderHandle(ZeqiSize max) {
        EXPECT_EQ(zeqiEncodeInitAlloc_JPEG2K(&state, max), StatusOk);
    }
    ~EncoderHandle() { zeqiEncodeFree_JPEG2K(state); }
    EncoderHandle(const EncoderHandle&) = delete;
    EncoderHandle& operator=(const EncoderHandle&) = delete;
};

// Loads the block and pulls its bytes in chunks of `chunk` bytes.
inline Encoded encode(CodeBlockEncodeState* state, const Block& b, int32_t subband, int32_t flags,
                      int32_t termType, int32_t chunk = 1 << 20, int32_t magnBitDepth = 31) {
    Encoded e;
    EXPECT_EQ(zeqiEncodeLoadCodeBlock_JPEG2K_32s_C1R(b.words.data(), b.step(), b.size(), state,
                                                     subband, magnBitDepth, termType, 0, flags,
                                                     &e.sfBits, &e.passes, &e.segments),
              StatusOk);
    std::vector<uint8_t> buffer(static_cast<size_t>(chunk));
    for (int32_t notFinished = 1; notFinished;) {
        int32_t len = chunk;
        EXPECT_EQ(zeqiEncodeStoreBits_JPEG2K_1u(buffer.data(), &len, state, &notFinished),
                  StatusOk);
        EXPECT_LE(len, chunk);
        e.bytes.insert(e.bytes.end(), buffer.begin(), buffer.begin() + len);
        if (len == 0 && notFinished) {
            ADD_FAILURE() << "no progress";
            break;
        }
    }
    for (int32_t i = 0; i < e.passes; ++i) {
        uint32_t rate = 0;
        double dist = 0;
        EXPECT_EQ(zeqiEncodeGetRate_JPEG2K(state, i, &rate), StatusOk);
        EXPECT_EQ(zeqiEncodeGetDist_JPEG2K(state, i, &dist), StatusOk);
        e.rates.push_back(rate);
        e.distortion.push_back(dist);
    }
    for (int32_t i = 0; i < e.segments; ++i) {
        int32_t len = 0;
        EXPECT_EQ(zeqiEncodeGetTermPassLen_JPEG2K(state, i, &len), StatusOk);
        e.segmentLengths.push_back(len);
    }
    return e;
}

// Pass index ranges of the terminated segments, as the flags define them.
inline std::vector<int32_t> segmentEndPasses(int32_t passes, int32_t sfBits, int32_t flags) {
    std::vector<int32_t> ends;  // one past the last pass of each segment
    auto isRaw = [&](int32_t pass) {
        if (!(flags & 2) || pass < 10) return false;
        return (pass - 10) % 3 != 2;
    };
    (void)sfBits;
    for (int32_t i = 0; i < passes; ++i)
        if ((flags & 4) || i + 1 == passes || isRaw(i) != isRaw(i + 1)) ends.push_back(i + 1);
    return ends;
}

struct Decoded {
    ZeqStatus status = StatusOk;
    std::vector<int32_t> words;
    int32_t bitPlane = 0;
};

inline Decoded decodeOneShot(const Block& shape, const std::vector<uint8_t>& bytes,
                             const std::vector<int32_t>& segmentLengths, int32_t subband,
                             int32_t sfBits, int32_t passes, int32_t flags) {
    int32_t size = 0;
    EXPECT_EQ(zeqiDecodeGetBufSize_JPEG2K(shape.size(), &size), StatusOk);
    std::vector<uint8_t> work(static_cast<size_t>(size));
    Decoded d;
    d.words.assign(shape.words.size(), 0x5A5A5A5A);
    const uint8_t none = 0;
    const int32_t noLength = 0;
    d.status = zeqiDecodeCodeBlock_JPEG2K_1u32s_C1R(
        bytes.empty() ? &none : bytes.data(), d.words.data(), shape.step(), shape.size(), subband,
        sfBits, passes, segmentLengths.empty() ? &noLength : segmentLengths.data(),
        static_cast<int32_t>(segmentLengths.size()), flags, &d.bitPlane,
        reinterpret_cast<ProgressiveDecodeState*>(work.data()));
    return d;
}

// Steps the progressive decoder segment by segment.
inline Decoded decodeProgressive(const Block& shape, const std::vector<uint8_t>& bytes,
                                 const std::vector<int32_t>& segmentLengths, int32_t subband,
                                 int32_t sfBits, int32_t passes, int32_t flags) {
    ProgressiveDecodeState* state = nullptr;
    EXPECT_EQ(zeqiDecodeCBProgrInitAlloc_JPEG2K(&state, shape.size()), StatusOk);
    Decoded d;
    d.words.assign(shape.words.size(), 0x5A5A5A5A);
    EXPECT_EQ(zeqiDecodeCBProgrAttach_JPEG2K_32s_C1R(d.words.data(), shape.step(), shape.size(),
                                                     state, subband, sfBits, flags),
              StatusOk);
    EXPECT_EQ(zeqiDecodeCBProgrSetPassCounter_JPEG2K(passes, state), StatusOk);
    size_t offset = 0;
    const uint8_t none = 0;
    for (int32_t len : segmentLengths) {
        d.status = zeqiDecodeCBProgrStep_JPEG2K(
            offset < bytes.size() ? bytes.data() + offset : &none, len, state);
        // As the one-shot decoder does: a negative length does not move the
        // input back (wrapping the offset would hand the decoder one byte
        // for a longer segment).
        offset += static_cast<size_t>(std::max(len, 0));
        if (d.status != StatusOk) break;
    }
    EXPECT_EQ(zeqiDecodeCBProgrGetCurBitPlaneNum_JPEG2K(state, &d.bitPlane), StatusOk);
    EXPECT_EQ(zeqiDecodeCBProgrFree_JPEG2K(state), StatusOk);
    return d;
}

// The reconstruction of a block decoded down to (and including) plane p:
// bits at or above p kept, the mid-point bit p - 1 added to non-zero
// magnitudes; samples without bits at or above p are 0 (and lose the sign).
inline std::vector<int32_t> reconstructedAtPlane(const Block& b, int plane) {
    std::vector<int32_t> out(b.words.size());
    for (size_t i = 0; i < b.words.size(); ++i) {
        const uint32_t w = static_cast<uint32_t>(b.words[i]);
        const uint32_t mag = (w & 0x7FFFFFFFu) >> plane << plane;
        out[i] = mag == 0 ? 0
                          : static_cast<int32_t>((w & 0x80000000u) | mag |
                                                 (plane > 0 ? 1u << (plane - 1) : 0));
    }
    return out;
}

}  // namespace zeq::test::t1

#endif  // ZEQ_TESTS_JPEG2000_TIER1_T1_TEST_SUPPORT_H
