// Texture blocks on a 2048x2048 RGBA image: DXT1 and DXT5 encoding next to
// libsquish's fastest mode (range fit) in the same run, the one-block path
// alone, and DXT1 and BC7 decoding. Items are pixels, so items/s reads as
// pixels per second. The VsSquish rows run both encoders alternately in one
// benchmark and show the speed ratio as a counter.
#include <benchmark/benchmark.h>
#include <omp.h>
#include <squish.h>

#include <algorithm>
#include <random>
#include <vector>

#include "bench/head_to_head.h"
#include "texture/dxt_encode.h"
#include "texture/texture_decode.h"
#include "zeqj.h"

namespace {

using namespace zeq;

constexpr int32_t kSide = 2048;
constexpr ZeqiSize kImage = {kSide, kSide};
constexpr size_t kPixels = size_t{kSide} * kSide;

// Smooth gradients with a little noise, like a photograph's texture.
const std::vector<uint8_t>& photoLikeRgba() {
    static const std::vector<uint8_t> image = [] {
        std::vector<uint8_t> v(kPixels * 4);
        std::mt19937 rng(7);
        std::uniform_int_distribution<int> noise(-6, 6);
        for (int32_t y = 0; y < kSide; ++y)
            for (int32_t x = 0; x < kSide; ++x)
                for (int ch = 0; ch < 4; ++ch) {
                    const int base = ((x * (ch + 1) + y * (3 - ch)) / 11 + ch * 40) % 256;
                    v[(size_t{static_cast<uint32_t>(y)} * kSide + x) * 4 + ch] =
                        static_cast<uint8_t>(std::clamp(base + noise(rng), 0, 255));
                }
        return v;
    }();
    return image;
}

void encodeZeqj(benchmark::State& state, DxtEncoding encoding, bool fourBlockPath) {
    const auto& src = photoLikeRgba();
    std::vector<uint8_t> dst(kPixels);
    for (auto _ : state) {
        if (fourBlockPath)
            encodeTextureSse2(encoding, src.data(), kSide * 4, kImage, dst.data());
        else
            encodeTextureScalar(encoding, src.data(), kSide * 4, kImage, dst.data());
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kPixels));
}

void encodeSquish(benchmark::State& state, int flags) {
    const auto& src = photoLikeRgba();
    std::vector<uint8_t> dst(kPixels);
    for (auto _ : state) {
        squish::CompressImage(src.data(), kSide, kSide, dst.data(),
                              flags | squish::kColourRangeFit);
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kPixels));
}

void BM_EncodeDxt1(benchmark::State& s) { encodeZeqj(s, DxtEncoding::Dxt1, true); }
void BM_EncodeDxt1OneBlockPath(benchmark::State& s) { encodeZeqj(s, DxtEncoding::Dxt1, false); }
void BM_EncodeDxt1SquishRangeFit(benchmark::State& s) { encodeSquish(s, squish::kDxt1); }
void BM_EncodeDxt5(benchmark::State& s) { encodeZeqj(s, DxtEncoding::Dxt5, true); }
void BM_EncodeDxt5OneBlockPath(benchmark::State& s) { encodeZeqj(s, DxtEncoding::Dxt5, false); }
void BM_EncodeDxt5SquishRangeFit(benchmark::State& s) { encodeSquish(s, squish::kDxt5); }
BENCHMARK(BM_EncodeDxt1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EncodeDxt1OneBlockPath)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EncodeDxt1SquishRangeFit)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_EncodeDxt5)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EncodeDxt5OneBlockPath)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EncodeDxt5SquishRangeFit)->Unit(benchmark::kMillisecond)->UseRealTime();

void decode(benchmark::State& state, TextureFormat format, const std::vector<uint8_t>& blocks) {
    std::vector<uint8_t> dst(kPixels * 4);
    for (auto _ : state) {
        decodeTextureSse2(format, blocks.data(), dst.data(), kSide * 4, kImage);
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kPixels));
}

void BM_DecodeDxt1(benchmark::State& state) {
    std::vector<uint8_t> blocks(kPixels / 2);
    encodeTextureSse2(DxtEncoding::Dxt1, photoLikeRgba().data(), kSide * 4, kImage, blocks.data());
    decode(state, TextureFormat::Dxt1, blocks);
}
BENCHMARK(BM_DecodeDxt1)->Unit(benchmark::kMillisecond);

// Random blocks with the mode bits set so all eight modes occur evenly.
void BM_DecodeBc7(benchmark::State& state) {
    std::vector<uint8_t> blocks(kPixels);
    std::mt19937 rng(9);
    for (size_t b = 0; b < blocks.size(); b += 16) {
        for (size_t i = 0; i < 16; ++i) blocks[b + i] = static_cast<uint8_t>(rng());
        const int mode = static_cast<int>((b / 16) % 8);
        blocks[b] = static_cast<uint8_t>((blocks[b] << (mode + 1)) | (1 << mode));
    }
    decode(state, TextureFormat::Bc7, blocks);
}
BENCHMARK(BM_DecodeBc7)->Unit(benchmark::kMillisecond);

// ---- Head to head with libsquish, ratio as a counter ----------------------
// Both single-threaded on the same image in the same run: our exported DXT1
// and DXT5 encoders against libsquish's image function in its fastest mode
// (range fit), its OpenMP team held to one thread for the call.
void squishOneThread(const uint8_t* rgba, uint8_t* dst, int flags) {
    const int threads = omp_get_max_threads();
    omp_set_num_threads(1);
    squish::CompressImage(rgba, kSide, kSide, dst, flags | squish::kColourRangeFit);
    omp_set_num_threads(threads);
}

void encodeVersusSquish(benchmark::State& state,
                        ZeqStatus (*encode)(const uint8_t*, int32_t, ZeqiSize, uint8_t*),
                        int flags) {
    const auto& src = photoLikeRgba();
    std::vector<uint8_t> ours(kPixels), theirs(kPixels);
    bench::headToHead(
        state, double(kPixels), "MP/s",
        [&] {
            encode(src.data(), kSide * 4, kImage, ours.data());
            benchmark::DoNotOptimize(ours.data());
        },
        [&] {
            squishOneThread(src.data(), theirs.data(), flags);
            benchmark::DoNotOptimize(theirs.data());
        });
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kPixels));
}

void BM_EncodeDxt1VsSquish(benchmark::State& s) {
    encodeVersusSquish(s, zeqiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R, squish::kDxt1);
}
void BM_EncodeDxt5VsSquish(benchmark::State& s) {
    encodeVersusSquish(s, zeqiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R, squish::kDxt5);
}
BENCHMARK(BM_EncodeDxt1VsSquish)->UseManualTime()->Iterations(12)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EncodeDxt5VsSquish)->UseManualTime()->Iterations(12)->Unit(benchmark::kMillisecond);

}  // namespace
