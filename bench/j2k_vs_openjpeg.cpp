// zeqcodec's JPEG 2000 encoder and decoder against libopenjp2 on one
// 3840x2160 RGB image: lossless (5/3, RCT) and 1 bit per pixel (9/7, ICT),
// five levels, 64x64 code blocks, one layer, one thread. Each iteration runs
// both codecs on the same input, so the ratio counters compare runs under
// the same machine load; times are the thread's CPU time, which other
// processes on a shared machine disturb far less than the wall clock.
#include <benchmark/benchmark.h>
#include <time.h>

#include "tests/examples/zeqcodec/openjpeg_j2k.h"
#include "zeqcodec/j2k_codec.h"
#include "zeqcore.h"

namespace {

using zeq::container::Image;
// CPU seconds of the calling thread.
struct Clock {
    using time_point = double;
    static double now() {
        timespec t{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
        return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
    }
};

constexpr int32_t Width = 3840, Height = 2160, Levels = 5;
constexpr double LossyBitsPerPixel = 1.0;

const Image& benchImage() {
    static const Image image = zeq::test::j2k::syntheticImage(Width, Height, 3, 11);
    return image;
}

double seconds(double a, double b) { return b - a; }

zeqcodec::J2kEncodeOptions options(bool lossless) {
    zeqcodec::J2kEncodeOptions o;
    o.lossless = lossless;
    o.bitsPerPixel = lossless ? 0 : LossyBitsPerPixel;
    o.levels = Levels;
    return o;
}

void report(benchmark::State& state, double ours, double theirs, size_t oursBytes,
            size_t theirBytes) {
    const double megapixels = Width * static_cast<double>(Height) / 1e6;
    const double n = static_cast<double>(state.iterations());
    state.counters["ours_MPps"] = megapixels * n / ours;
    state.counters["openjpeg_MPps"] = megapixels * n / theirs;
    state.counters["speedup"] = theirs / ours;
    state.counters["ours_bytes"] = static_cast<double>(oursBytes);
    state.counters["openjpeg_bytes"] = static_cast<double>(theirBytes);
}

void encode(benchmark::State& state, bool lossless) {
    zeqSetNumThreads(1);
    const Image& image = benchImage();
    double ours = 0, theirs = 0;
    std::vector<uint8_t> a, b;
    for (auto _ : state) {
        std::string error;
        const auto t0 = Clock::now();
        if (!zeqcodec::encodeJ2k(image, options(lossless), a, &error)) state.SkipWithError("ours");
        const auto t1 = Clock::now();
        if (!zeq::test::j2k::openjpegEncode(image, lossless, LossyBitsPerPixel, Levels, b))
            state.SkipWithError("openjpeg");
        const auto t2 = Clock::now();
        ours += seconds(t0, t1);
        theirs += seconds(t1, t2);
        state.SetIterationTime(seconds(t0, t1));
    }
    report(state, ours, theirs, a.size(), b.size());
}

void decode(benchmark::State& state, bool lossless) {
    zeqSetNumThreads(1);
    const Image& image = benchImage();
    // Each codec decodes its own stream of the same image and settings.
    std::vector<uint8_t> a, b;
    std::string error;
    if (!zeqcodec::encodeJ2k(image, options(lossless), a, &error) ||
        !zeq::test::j2k::openjpegEncode(image, lossless, LossyBitsPerPixel, Levels, b)) {
        state.SkipWithError("encode");
        return;
    }
    double ours = 0, theirs = 0;
    for (auto _ : state) {
        Image x, y;
        const auto t0 = Clock::now();
        if (!zeqcodec::decodeJ2k(a.data(), a.size(), x, &error)) state.SkipWithError("ours");
        const auto t1 = Clock::now();
        if (!zeq::test::j2k::openjpegDecode(b, y)) state.SkipWithError("openjpeg");
        const auto t2 = Clock::now();
        ours += seconds(t0, t1);
        theirs += seconds(t1, t2);
        state.SetIterationTime(seconds(t0, t1));
    }
    report(state, ours, theirs, a.size(), b.size());
}

void BM_J2kEncodeLossless(benchmark::State& s) { encode(s, true); }
void BM_J2kEncode1bpp(benchmark::State& s) { encode(s, false); }
void BM_J2kDecodeLossless(benchmark::State& s) { decode(s, true); }
void BM_J2kDecode1bpp(benchmark::State& s) { decode(s, false); }

BENCHMARK(BM_J2kEncodeLossless)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_J2kEncode1bpp)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_J2kDecodeLossless)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_J2kDecode1bpp)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
