// zeqcodec's JPEG encoder and decoder next to libjpeg-turbo (TurboJPEG API)
// on the same 3840x2160 picture, quality and sampling, in one run.
//
// libjpeg-turbo picks its SIMD kernels once per process from the CPU and the
// JSIMD_FORCESSE2 variable, so its SSE2 leg is a second run of this program
// with JSIMD_FORCESSE2=1 (and --benchmark_filter=libjpeg-turbo); the peer's
// benchmark names carry the leg.
#include <benchmark/benchmark.h>
#include <turbojpeg.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "zeqcodec/jpeg_decoder.h"
#include "zeqcodec/jpeg_encoder.h"
#include "zeqcodec/synthetic_image.h"

namespace {

using zeq::container::Image;

constexpr int32_t Width = 3840, Height = 2160;

struct Setting {
    const char* name;
    int32_t channels;
    int32_t sampling;  // 444 or 420; grey ignores it
};
const Setting kSettings[] = {{"q90-420", 3, 420}, {"q90-444", 3, 444}, {"grey", 1, 420}};

enum class Mode { Baseline, Optimized, Progressive };
const char* modeName(Mode m) {
    return m == Mode::Baseline ? "baseline" : m == Mode::Optimized ? "optimized" : "progressive";
}

const Image& picture(int32_t channels) {
    static const Image colour = zeqcodec::syntheticImage(Width, Height, 3);
    static const Image grey = zeqcodec::syntheticImage(Width, Height, 1);
    return channels == 3 ? colour : grey;
}

const char* peerName() {
    const char* forced = std::getenv("JSIMD_FORCESSE2");
    return forced && std::strcmp(forced, "1") == 0 ? "libjpeg-turbo-sse2" : "libjpeg-turbo";
}

void setRate(benchmark::State& state) {
    state.counters["MP/s"] = benchmark::Counter(double(Width) * Height / 1e6,
                                                benchmark::Counter::kIsIterationInvariantRate);
}

zeqcodec::JpegEncodeOptions zeqOptions(const Setting& s, Mode m, int32_t threads) {
    zeqcodec::JpegEncodeOptions o;
    o.quality = 90;
    o.sampling = s.sampling;
    o.optimize = m == Mode::Optimized;
    o.progressive = m == Mode::Progressive;
    o.threads = threads;
    return o;
}

// TurboJPEG takes optimal tables from the TJ_OPTIMIZE variable, read at
// every compression.
class PeerCompressor {
public:
    PeerCompressor() : handle_(tjInitCompress()) {}
    ~PeerCompressor() {
        tjFree(buffer_);
        tjDestroy(handle_);
    }
    bool compress(const Image& img, const Setting& s, Mode m) {
        if (m == Mode::Optimized)
            setenv("TJ_OPTIMIZE", "1", 1);
        else
            unsetenv("TJ_OPTIMIZE");
        const int sampling = s.channels == 1     ? TJSAMP_GRAY
                             : s.sampling == 444 ? TJSAMP_444
                                                 : TJSAMP_420;
        const int ok = tjCompress2(handle_, img.pixels.data(), img.width, 0, img.height,
                                   s.channels == 1 ? TJPF_GRAY : TJPF_RGB, &buffer_, &size_,
                                   sampling, 90, m == Mode::Progressive ? TJFLAG_PROGRESSIVE : 0);
        unsetenv("TJ_OPTIMIZE");
        return ok == 0;
    }
    std::vector<uint8_t> bytes() const { return {buffer_, buffer_ + size_}; }
    const char* error() { return tjGetErrorStr2(handle_); }

private:
    tjhandle handle_;
    unsigned char* buffer_ = nullptr;
    unsigned long size_ = 0;
};

void encodeZeq(benchmark::State& state, Setting s, Mode m, int32_t threads) {
    const Image& img = picture(s.channels);
    const zeqcodec::JpegEncodeOptions o = zeqOptions(s, m, threads);
    std::vector<uint8_t> file;
    std::string error;
    for (auto _ : state)
        if (!zeqcodec::encodeJpeg(img, o, file, &error)) return state.SkipWithError(error.c_str());
    state.counters["bytes"] = double(file.size());
    setRate(state);
}

void encodePeer(benchmark::State& state, Setting s, Mode m) {
    const Image& img = picture(s.channels);
    PeerCompressor peer;
    for (auto _ : state)
        if (!peer.compress(img, s, m)) return state.SkipWithError(peer.error());
    state.counters["bytes"] = double(peer.bytes().size());
    setRate(state);
}

// Both decoders read the file libjpeg-turbo writes at the same settings.
std::vector<uint8_t> peerFile(const Setting& s, Mode m) {
    PeerCompressor peer;
    return peer.compress(picture(s.channels), s, m) ? peer.bytes() : std::vector<uint8_t>{};
}

void decodeZeq(benchmark::State& state, Setting s, Mode m) {
    const std::vector<uint8_t> file = peerFile(s, m);
    Image out;
    std::string error;
    for (auto _ : state)
        if (!zeqcodec::decodeJpeg(file.data(), file.size(), {}, out, &error))
            return state.SkipWithError(error.c_str());
    setRate(state);
}

void decodePeer(benchmark::State& state, Setting s, Mode m) {
    const std::vector<uint8_t> file = peerFile(s, m);
    std::vector<uint8_t> out(size_t(Width) * Height * size_t(s.channels));
    tjhandle handle = tjInitDecompress();
    for (auto _ : state)
        if (tjDecompress2(handle, file.data(), file.size(), out.data(), Width, 0, Height,
                          s.channels == 1 ? TJPF_GRAY : TJPF_RGB, 0) != 0) {
            state.SkipWithError(tjGetErrorStr2(handle));
            break;
        }
    tjDestroy(handle);
    setRate(state);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string peer = peerName();
    for (const Setting& s : kSettings)
        for (Mode m : {Mode::Baseline, Mode::Optimized, Mode::Progressive}) {
            const std::string at = std::string(s.name) + "/" + modeName(m) + "/";
            benchmark::RegisterBenchmark(("encode/" + at + "zeqcodec").c_str(), encodeZeq, s, m, 1)
                ->UseRealTime();
            benchmark::RegisterBenchmark(("encode/" + at + "zeqcodec-2threads").c_str(), encodeZeq,
                                         s, m, 2)
                ->UseRealTime();
            benchmark::RegisterBenchmark(("encode/" + at + peer).c_str(), encodePeer, s, m)
                ->UseRealTime();
            benchmark::RegisterBenchmark(("decode/" + at + "zeqcodec").c_str(), decodeZeq, s, m)
                ->UseRealTime();
            benchmark::RegisterBenchmark(("decode/" + at + peer).c_str(), decodePeer, s, m)
                ->UseRealTime();
        }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
