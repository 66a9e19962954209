// JPEG 2000 tier-1 on one 64x64 code block of wavelet-like data (Laplacian
// magnitudes, about 8 significant planes): encode (Load + StoreBits) and
// decode, in samples per second. For scale, libopenjp2 (loaded at run time
// when present) codes the same samples as a one-tile, one-code-block
// lossless codestream without decomposition levels: its time is dominated by
// tier-1 but also holds codestream writing/parsing and tile set-up.
#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "zeqj.h"

#if __has_include(<openjpeg-2.5/openjpeg.h>)
#include <openjpeg-2.5/openjpeg.h>

#include "tests/jpeg2000/tier1/openjpeg_memory_stream.h"
#define ZEQJ_BENCH_OPENJPEG 1
#endif

namespace {

constexpr int kSide = 64;
constexpr int kSamples = kSide * kSide;

// Laplacian magnitudes with a scale that leaves about 8 significant planes;
// a larger scale gives the dense, noisy blocks of a lossless high band
// (decisions near even odds on the low planes).
std::vector<int32_t> waveletBlock(double scale = 12.0) {
    std::mt19937 rng(2024);
    std::exponential_distribution<double> magnitude(1.0 / scale);
    std::bernoulli_distribution negative(0.5);
    std::vector<int32_t> v(kSamples);
    for (auto& w : v) {
        const auto m =
            static_cast<uint32_t>(std::min(16.0 * scale + 63, std::floor(magnitude(rng))));
        w = static_cast<int32_t>(m | (m && negative(rng) ? 0x80000000u : 0));
    }
    return v;
}

struct EncodedBlock {
    int32_t sfBits = 0, passes = 0, segments = 0;
    std::vector<uint8_t> bytes;
    std::vector<int32_t> segmentLengths;
};

EncodedBlock encodeOnce(CodeBlockEncodeState* state, const std::vector<int32_t>& block,
                        int32_t flags, std::vector<uint8_t>& out) {
    EncodedBlock e;
    zeqiEncodeLoadCodeBlock_JPEG2K_32s_C1R(block.data(), 4 * kSide, {kSide, kSide}, state, 0, 31, 0,
                                           0, flags, &e.sfBits, &e.passes, &e.segments);
    int32_t len = static_cast<int32_t>(out.size()), notFinished = 0;
    zeqiEncodeStoreBits_JPEG2K_1u(out.data(), &len, state, &notFinished);
    e.bytes.assign(out.begin(), out.begin() + len);
    return e;
}

void BM_Encode(benchmark::State& st, int32_t flags) {
    const std::vector<int32_t> block = waveletBlock();
    CodeBlockEncodeState* state = nullptr;
    zeqiEncodeInitAlloc_JPEG2K(&state, {kSide, kSide});
    std::vector<uint8_t> out(1 << 16);
    for (auto _ : st) {
        int32_t sf, passes, segments, notFinished, len = static_cast<int32_t>(out.size());
        zeqiEncodeLoadCodeBlock_JPEG2K_32s_C1R(block.data(), 4 * kSide, {kSide, kSide}, state, 0,
                                               31, 0, 0, flags, &sf, &passes, &segments);
        zeqiEncodeStoreBits_JPEG2K_1u(out.data(), &len, state, &notFinished);
        benchmark::DoNotOptimize(out.data());
    }
    EncodedBlock e = encodeOnce(state, block, flags, out);
    st.counters["bytes"] = static_cast<double>(e.bytes.size());
    st.counters["planes"] = e.sfBits;
    st.counters["MS/s"] = benchmark::Counter(static_cast<double>(st.iterations()) * kSamples / 1e6,
                                             benchmark::Counter::kIsRate);
    zeqiEncodeFree_JPEG2K(state);
}

void BM_Decode(benchmark::State& st, int32_t flags, double scale = 12.0) {
    const std::vector<int32_t> block = waveletBlock(scale);
    CodeBlockEncodeState* enc = nullptr;
    zeqiEncodeInitAlloc_JPEG2K(&enc, {kSide, kSide});
    std::vector<uint8_t> out(1 << 16);
    EncodedBlock e = encodeOnce(enc, block, flags, out);
    e.segmentLengths.resize(static_cast<size_t>(e.segments));
    for (int32_t i = 0; i < e.segments; ++i)
        zeqiEncodeGetTermPassLen_JPEG2K(enc, i, &e.segmentLengths[static_cast<size_t>(i)]);
    zeqiEncodeFree_JPEG2K(enc);
    int32_t size = 0;
    zeqiDecodeGetBufSize_JPEG2K({kSide, kSide}, &size);
    std::vector<uint8_t> work(static_cast<size_t>(size));
    std::vector<int32_t> dst(kSamples);
    for (auto _ : st) {
        zeqiDecodeCodeBlock_JPEG2K_1u32s_C1R(
            e.bytes.data(), dst.data(), 4 * kSide, {kSide, kSide}, 0, e.sfBits, e.passes,
            e.segmentLengths.data(), e.segments, flags, nullptr,
            reinterpret_cast<ProgressiveDecodeState*>(work.data()));
        benchmark::DoNotOptimize(dst.data());
    }
    if (dst != block) st.SkipWithError("decoded block differs");
    st.counters["MS/s"] = benchmark::Counter(static_cast<double>(st.iterations()) * kSamples / 1e6,
                                             benchmark::Counter::kIsRate);
}

BENCHMARK_CAPTURE(BM_Encode, default, 0)->Name("CodeBlockEncode64x64/default");
BENCHMARK_CAPTURE(BM_Encode, bypass, 2)->Name("CodeBlockEncode64x64/bypass");
BENCHMARK_CAPTURE(BM_Decode, default, 0)->Name("CodeBlockDecode64x64/default");
BENCHMARK_CAPTURE(BM_Decode, bypass, 2)->Name("CodeBlockDecode64x64/bypass");
BENCHMARK_CAPTURE(BM_Decode, dense, 0, 400.0)->Name("CodeBlockDecode64x64/dense");

#ifdef ZEQJ_BENCH_OPENJPEG

// The few libopenjp2 entry points the comparison needs, resolved at run time
// so that the benchmark program does not depend on the library.
struct OpenJpeg {
    void* handle = dlopen("libopenjp2.so.7", RTLD_NOW | RTLD_LOCAL);
#define ZEQJ_OPJ(name)       \
    decltype(&::name) name = \
        handle ? reinterpret_cast<decltype(&::name)>(dlsym(handle, #name)) : nullptr
    ZEQJ_OPJ(opj_image_create);
    ZEQJ_OPJ(opj_image_destroy);
    ZEQJ_OPJ(opj_set_default_encoder_parameters);
    ZEQJ_OPJ(opj_set_default_decoder_parameters);
    ZEQJ_OPJ(opj_create_compress);
    ZEQJ_OPJ(opj_create_decompress);
    ZEQJ_OPJ(opj_setup_encoder);
    ZEQJ_OPJ(opj_setup_decoder);
    ZEQJ_OPJ(opj_start_compress);
    ZEQJ_OPJ(opj_encode);
    ZEQJ_OPJ(opj_end_compress);
    ZEQJ_OPJ(opj_read_header);
    ZEQJ_OPJ(opj_decode);
    ZEQJ_OPJ(opj_end_decompress);
    ZEQJ_OPJ(opj_destroy_codec);
    ZEQJ_OPJ(opj_stream_create);
    ZEQJ_OPJ(opj_stream_destroy);
    ZEQJ_OPJ(opj_stream_set_user_data);
    ZEQJ_OPJ(opj_stream_set_user_data_length);
    ZEQJ_OPJ(opj_stream_set_read_function);
    ZEQJ_OPJ(opj_stream_set_write_function);
    ZEQJ_OPJ(opj_stream_set_skip_function);
    ZEQJ_OPJ(opj_stream_set_seek_function);
#undef ZEQJ_OPJ
    bool ok() const { return handle != nullptr && opj_stream_set_seek_function != nullptr; }
};

OpenJpeg& openJpeg() {
    static OpenJpeg o;
    return o;
}

using Memory = zeq::test::t1::MemoryStream;

opj_stream_t* memoryStream(Memory* m, bool input) { return m->open(openJpeg(), input); }

std::vector<uint8_t> openJpegEncode(const std::vector<int32_t>& block, int mode) {
    OpenJpeg& o = openJpeg();
    opj_image_cmptparm_t comp{};
    comp.dx = comp.dy = 1;
    comp.w = comp.h = kSide;
    comp.prec = 16;
    comp.sgnd = 1;
    opj_image_t* image = o.opj_image_create(1, &comp, OPJ_CLRSPC_GRAY);
    image->x1 = image->y1 = kSide;
    for (int i = 0; i < kSamples; ++i) {
        const int32_t m = block[i] & 0x7FFFFFFF;
        image->comps[0].data[i] = block[i] < 0 ? -m : m;
    }
    opj_cparameters_t params;
    o.opj_set_default_encoder_parameters(&params);
    params.tcp_numlayers = 1;
    params.tcp_rates[0] = 0;
    params.cp_disto_alloc = 1;
    params.numresolution = 1;
    params.mode = mode;
    opj_codec_t* codec = o.opj_create_compress(OPJ_CODEC_J2K);
    Memory m;
    opj_stream_t* stream = memoryStream(&m, false);
    o.opj_setup_encoder(codec, &params, image);
    o.opj_start_compress(codec, image, stream);
    o.opj_encode(codec, stream);
    o.opj_end_compress(codec, stream);
    o.opj_stream_destroy(stream);
    o.opj_destroy_codec(codec);
    o.opj_image_destroy(image);
    return m.bytes;
}

void BM_OpenJpegEncode(benchmark::State& st, int mode) {
    if (!openJpeg().ok()) return st.SkipWithError("libopenjp2.so.7 not found");
    const std::vector<int32_t> block = waveletBlock();
    for (auto _ : st) benchmark::DoNotOptimize(openJpegEncode(block, mode).data());
    st.counters["MS/s"] = benchmark::Counter(static_cast<double>(st.iterations()) * kSamples / 1e6,
                                             benchmark::Counter::kIsRate);
}

void BM_OpenJpegDecode(benchmark::State& st, int mode) {
    if (!openJpeg().ok()) return st.SkipWithError("libopenjp2.so.7 not found");
    OpenJpeg& o = openJpeg();
    const std::vector<uint8_t> cs = openJpegEncode(waveletBlock(), mode);
    for (auto _ : st) {
        Memory m{cs, 0};
        opj_stream_t* stream = memoryStream(&m, true);
        opj_codec_t* codec = o.opj_create_decompress(OPJ_CODEC_J2K);
        opj_dparameters_t params;
        o.opj_set_default_decoder_parameters(&params);
        opj_image_t* image = nullptr;
        o.opj_setup_decoder(codec, &params);
        o.opj_read_header(stream, codec, &image);
        o.opj_decode(codec, stream, image);
        o.opj_end_decompress(codec, stream);
        benchmark::DoNotOptimize(image->comps[0].data);
        o.opj_image_destroy(image);
        o.opj_destroy_codec(codec);
        o.opj_stream_destroy(stream);
    }
    st.counters["MS/s"] = benchmark::Counter(static_cast<double>(st.iterations()) * kSamples / 1e6,
                                             benchmark::Counter::kIsRate);
}

BENCHMARK_CAPTURE(BM_OpenJpegEncode, default, 0)->Name("OpenJpegEncode64x64/default");
BENCHMARK_CAPTURE(BM_OpenJpegEncode, bypass, 1)->Name("OpenJpegEncode64x64/bypass");
BENCHMARK_CAPTURE(BM_OpenJpegDecode, default, 0)->Name("OpenJpegDecode64x64/default");
BENCHMARK_CAPTURE(BM_OpenJpegDecode, bypass, 1)->Name("OpenJpegDecode64x64/bypass");

#endif

}  // namespace
