// Reentrancy: two threads call the same exported functions at once, each on
// its own buffers and state records (the prepared Huffman tables are shared,
// as they may be), and every result must equal the single-threaded one. One
// workload per family; the colour conversion is large enough to fork its own
// row team inside each calling thread.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/common/test_support.h"
#include "tests/jpeg/entropy/huffman_test_support.h"
#include "tests/jpeg2000/tier1/t1_test_support.h"
#include "zeqj.h"

namespace {

using namespace zeq::test;

// FNV-1a over everything a workload produced, statuses included.
class Digest {
public:
    void add(const void* data, size_t bytes) {
        const auto* p = static_cast<const uint8_t*>(data);
        for (size_t i = 0; i < bytes; ++i) value_ = (value_ ^ p[i]) * 1099511628211u;
    }
    template <class T>
    void add(const std::vector<T>& v) {
        add(v.data(), v.size() * sizeof(T));
    }
    void add(int32_t v) { add(&v, sizeof v); }
    uint64_t value() const { return value_; }

private:
    uint64_t value_ = 14695981039346656037u;
};

std::vector<uint8_t> randomBytes(std::mt19937& rng, size_t n) {
    std::vector<uint8_t> v(n);
    fillRandom(rng, v.data(), n);
    return v;
}

// Smooth pixels with noise, as images look to the coders.
std::vector<uint8_t> photoBytes(std::mt19937& rng, size_t n) {
    std::vector<uint8_t> v(n);
    for (size_t i = 0; i < n; ++i) v[i] = static_cast<uint8_t>(i / 7 + uniform<int>(rng, 0, 24));
    return v;
}

uint64_t dctWorkload(uint32_t seed) {
    auto& rng = seededRng(seed);
    uint8_t raw[64];
    for (int i = 0; i < 64; ++i) raw[i] = static_cast<uint8_t>(1 + (i * 3) % 90);
    zeqiQuantFwdRawTableInit_JPEG_8u(raw, uniform<int>(rng, 10, 95));
    uint16_t fwd[64], inv[64];
    Digest d;
    d.add(zeqiQuantFwdTableInit_JPEG_8u16u(raw, fwd));
    d.add(zeqiQuantInvTableInit_JPEG_8u16u(raw, inv));
    const std::vector<uint8_t> pixels = photoBytes(rng, 64 * 16);
    std::vector<int16_t> coefficients(64 * 16);
    std::vector<uint8_t> back(64 * 16);
    for (int b = 0; b < 16; ++b) {
        d.add(zeqiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(&pixels[b * 64], 8, &coefficients[b * 64], fwd));
        d.add(zeqiDCTQuantInv8x8LS_JPEG_16s8u_C1R(&coefficients[b * 64], &back[b * 64], 8, inv));
    }
    d.add(coefficients);
    d.add(back);
    return d.value();
}

uint64_t colourWorkload(uint32_t seed) {
    auto& rng = seededRng(seed);
    const ZeqiSize roi{128, 80};  // above the parallel threshold
    const std::vector<uint8_t> rgb = randomBytes(rng, 128 * 3 * 80);
    std::vector<uint8_t> planes(3 * 128 * 80), back(rgb.size());
    uint8_t* const dst[3] = {&planes[0], &planes[128 * 80], &planes[2 * 128 * 80]};
    const uint8_t* const src[3] = {dst[0], dst[1], dst[2]};
    Digest d;
    d.add(zeqiRGBToYCbCr_JPEG_8u_C3P3R(rgb.data(), 128 * 3, dst, 128, roi));
    d.add(zeqiYCbCrToRGB_JPEG_8u_P3C3R(src, 128, back.data(), 128 * 3, roi));
    std::vector<int16_t> mcu(4 * 64 + 2 * 64);
    int16_t* const blocks[3] = {&mcu[0], &mcu[256], &mcu[320]};
    d.add(zeqiRGBToYCbCr422LS_MCU_8u16s_C3P3R(rgb.data(), 128 * 3, blocks));
    d.add(planes);
    d.add(back);
    d.add(mcu);
    return d.value();
}

// Tables built once and shared by both threads: prepared tables are read-only.
struct SharedTables {
    EncodeSpecBuffer dcEncode = encodeSpec(annexKDcLuminance());
    EncodeSpecBuffer acEncode = encodeSpec(annexKAcLuminance());
    DecodeSpecBuffer dcDecode = decodeSpec(annexKDcLuminance());
    DecodeSpecBuffer acDecode = decodeSpec(annexKAcLuminance());
};
const SharedTables& sharedTables() {
    static const SharedTables tables;
    return tables;
}

uint64_t huffmanWorkload(uint32_t seed) {
    auto& rng = seededRng(seed);
    const SharedTables& t = sharedTables();
    constexpr int kBlocks = 24;
    std::vector<int16_t> blocks(kBlocks * 64);
    for (int16_t& c : blocks) c = uniform<int>(rng, 0, 3) ? 0 : uniform<int16_t>(rng, -300, 300);
    EncodeStateBuffer encodeState = freshEncodeState();
    std::vector<uint8_t> stream(kBlocks * 200);
    int32_t pos = 0;
    int16_t lastDC = 0;
    Digest d;
    for (int b = 0; b <= kBlocks; ++b)
        d.add(zeqiEncodeHuffman8x8_JPEG_16s1u_C1(b < kBlocks ? &blocks[b * 64] : nullptr,
                                                 stream.data(), static_cast<int32_t>(stream.size()),
                                                 &pos, &lastDC, t.dcEncode.get(), t.acEncode.get(),
                                                 encodeState.get(), b == kBlocks));
    stream.resize(static_cast<size_t>(pos));
    DecodeStateBuffer decodeState = freshDecodeState();
    std::vector<int16_t> decoded(kBlocks * 64);
    int32_t readPos = 0, marker = 0;
    lastDC = 0;
    for (int b = 0; b < kBlocks; ++b)
        d.add(zeqiDecodeHuffman8x8_JPEG_1u16s_C1(stream.data(), pos, &readPos, &decoded[b * 64],
                                                 &lastDC, &marker, t.dcDecode.get(),
                                                 t.acDecode.get(), decodeState.get()));
    EXPECT_EQ(decoded, blocks);
    // Optimal tables from statistics, built per call.
    std::vector<int32_t> dc(257), ac(257);
    lastDC = 0;
    for (int b = 0; b < kBlocks; ++b)
        d.add(zeqiGetHuffmanStatistics8x8_JPEG_16s_C1(&blocks[b * 64], dc.data(), ac.data(),
                                                      &lastDC));
    std::vector<uint8_t> bits(16), values(256);
    d.add(zeqiEncodeHuffmanRawTableInit_JPEG_8u(ac.data(), bits.data(), values.data()));
    d.add(stream);
    d.add(bits);
    d.add(values);
    return d.value();
}

uint64_t tier1Workload(uint32_t seed) {
    auto& rng = seededRng(seed);
    const int32_t w = uniform<int>(rng, 1, 64), h = uniform<int>(rng, 1, 64);
    const t1::Block block = t1::randomBlock(rng, w, h, uniform<int>(rng, 0, 20));
    const int32_t flags = uniform<int>(rng, 0, 31), subband = uniform<int>(rng, 0, 3);
    t1::EncoderHandle encoder({64, 64});
    const t1::Encoded e = t1::encode(encoder.state, block, subband, flags, uniform<int>(rng, 0, 2));
    const t1::Decoded one =
        t1::decodeOneShot(block, e.bytes, e.segmentLengths, subband, e.sfBits, e.passes, flags);
    const t1::Decoded progressive =
        t1::decodeProgressive(block, e.bytes, e.segmentLengths, subband, e.sfBits, e.passes, flags);
    EXPECT_EQ(one.words, progressive.words);
    Digest d;
    d.add(e.bytes);
    d.add(e.segmentLengths);
    d.add(e.distortion);
    d.add(one.status);
    d.add(one.words);
    return d.value();
}

uint64_t waveletWorkload(uint32_t seed) {
    auto& rng = seededRng(seed);
    const ZeqiRect tile{uniform<int>(rng, 0, 1), uniform<int>(rng, 0, 1), uniform<int>(rng, 2, 70),
                        uniform<int>(rng, 2, 70)};
    std::vector<int32_t> samples(static_cast<size_t>(tile.width) * tile.height);
    for (int32_t& s : samples) s = uniform<int>(rng, -2048, 2047);
    const std::vector<int32_t> original = samples;
    std::vector<int16_t> samples16(samples.begin(), samples.end());
    int32_t size53 = 0, size97 = 0;
    Digest d;
    d.add(zeqiWTGetBufSize_B53_JPEG2K_32s_C1IR(&tile, &size53));
    d.add(zeqiWTGetBufSize_D97_JPEG2K_16s_C1IR(&tile, &size97));
    std::vector<uint8_t> buffer53(static_cast<size_t>(size53)),
        buffer97(static_cast<size_t>(size97));
    const int32_t step = tile.width * 4;
    d.add(zeqiWTFwd_B53_JPEG2K_32s_C1IR(samples.data(), step, &tile, buffer53.data()));
    d.add(samples);
    d.add(zeqiWTInv_B53_JPEG2K_32s_C1IR(samples.data(), step, &tile, buffer53.data()));
    EXPECT_EQ(samples, original);
    d.add(zeqiWTFwd_D97_JPEG2K_16s_C1IR(samples16.data(), step / 2, &tile, buffer97.data()));
    d.add(samples16);
    d.add(zeqiWTInv_D97_JPEG2K_16s_C1IR(samples16.data(), step / 2, &tile, buffer97.data()));
    d.add(samples16);
    std::vector<int32_t> area(16 * 16);
    for (int32_t& s : area) s = uniform<int>(rng, -4096, 4095);
    d.add(zeqiPCTFwd16x16_HDP_32s_C1IR(area.data(), 64));
    d.add(area);
    d.add(zeqiPCTInv16x16_HDP_32s_C1IR(area.data(), 64));
    d.add(area);
    return d.value();
}

uint64_t rowsAndTexturesWorkload(uint32_t seed) {
    auto& rng = seededRng(seed);
    Digest d;
    // PackBits round trip of a row with runs.
    std::vector<uint8_t> row(static_cast<size_t>(uniform<int>(rng, 1, 600)));
    for (size_t i = 0; i < row.size(); ++i)
        row[i] =
            uniform<int>(rng, 0, 3) == 0 || i == 0 ? uniform<uint8_t>(rng, 0, 255) : row[i - 1];
    std::vector<uint8_t> packed(row.size() * 2 + 2), unpacked(row.size());
    int32_t pos = 0, readPos = 0;
    const int32_t n = static_cast<int32_t>(row.size());
    d.add(zeqiPackBitsRow_TIFF_8u_C1(row.data(), n, packed.data(), &pos,
                                     static_cast<int32_t>(packed.size())));
    d.add(zeqiUnpackBitsRow_TIFF_8u_C1(packed.data(), &readPos, pos, unpacked.data(), n));
    EXPECT_EQ(unpacked, row);
    packed.resize(static_cast<size_t>(pos));
    d.add(packed);
    // DXT1 and DXT5 blocks of a small image, decoded again; random BC7 blocks.
    const ZeqiSize size{uniform<int>(rng, 1, 40), uniform<int>(rng, 1, 40)};
    const std::vector<uint8_t> rgba =
        photoBytes(rng, static_cast<size_t>(size.width) * size.height * 4);
    const size_t blocks = static_cast<size_t>((size.width + 3) / 4) * ((size.height + 3) / 4);
    std::vector<uint8_t> dxt1(blocks * 8), dxt5(blocks * 16), image(rgba.size());
    d.add(zeqiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R(rgba.data(), size.width * 4, size,
                                                       dxt1.data()));
    d.add(zeqiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R(rgba.data(), size.width * 4, size,
                                                       dxt5.data()));
    d.add(dxt1);
    d.add(dxt5);
    d.add(zeqiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R(dxt1.data(), image.data(), size.width * 4,
                                                     size));
    d.add(image);
    d.add(zeqiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R(dxt5.data(), image.data(), size.width * 4,
                                                     size));
    d.add(image);
    const std::vector<uint8_t> bc7 = randomBytes(rng, blocks * 16);
    d.add(
        zeqiTextureDecodeBlockToRGBA_BC7_8u_C1C4R(bc7.data(), image.data(), size.width * 4, size));
    d.add(image);
    return d.value();
}

struct Workload {
    const char* family;
    std::function<uint64_t(uint32_t)> run;
};

const std::vector<Workload>& workloads() {
    static const std::vector<Workload> all = {
        {"DCT and quantization", dctWorkload},
        {"colour conversion and MCU", colourWorkload},
        {"Huffman coding and optimal tables", huffmanWorkload},
        {"tier-1 encode and both decoders", tier1Workload},
        {"wavelets and photo core transform", waveletWorkload},
        {"PackBits and texture blocks", rowsAndTexturesWorkload},
    };
    return all;
}

TEST(Reentrancy, TwoThreadsOnSeparateStatesMatchTheSerialResults) {
    ScopedThreads teams(2);  // the large colour conversion forks inside each caller
    const int rounds = scaledCount(40);
    constexpr int kThreads = 2;
    sharedTables();
    // Serial results first: one per (thread, round, workload).
    auto seedOf = [](int thread, int round, size_t w) {
        return static_cast<uint32_t>(thread * 100000 + round * 100 + static_cast<int>(w));
    };
    std::vector<std::vector<uint64_t>> expected(kThreads), actual(kThreads);
    for (int t = 0; t < kThreads; ++t)
        for (int r = 0; r < rounds; ++r)
            for (size_t w = 0; w < workloads().size(); ++w)
                expected[static_cast<size_t>(t)].push_back(workloads()[w].run(seedOf(t, r, w)));

    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            std::vector<uint64_t>& out = actual[static_cast<size_t>(t)];
            for (int r = 0; r < rounds; ++r)
                for (size_t w = 0; w < workloads().size(); ++w)
                    out.push_back(workloads()[w].run(seedOf(t, r, w)));
        });
    }
    for (std::thread& th : threads) th.join();

    for (int t = 0; t < kThreads; ++t) {
        const auto& e = expected[static_cast<size_t>(t)];
        const auto& a = actual[static_cast<size_t>(t)];
        ASSERT_EQ(a.size(), e.size());
        for (size_t i = 0; i < e.size(); ++i)
            EXPECT_EQ(a[i], e[i]) << "thread " << t << " round " << i / workloads().size() << ": "
                                  << workloads()[i % workloads().size()].family;
    }
}

}  // namespace
