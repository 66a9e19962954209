// PackBits rows of 4096 bytes mixing runs, two-byte runs and literals, coded
// and decoded through the exported functions; bytes processed are row bytes.
// The VsLibtiff rows put libtiff's PackBits codec on the same 1 MiB of rows
// in the same run (see below for what its side includes).
#include <benchmark/benchmark.h>
#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <utility>
#include <vector>

#include "bench/head_to_head.h"
#include "zeqj.h"

namespace {

constexpr int32_t kRowBytes = 4096;
constexpr int kRows = 256;

std::vector<std::vector<uint8_t>> mixedRows() {
    std::mt19937 rng(3);
    std::vector<std::vector<uint8_t>> rows(kRows);
    for (auto& row : rows) {
        while (static_cast<int32_t>(row.size()) < kRowBytes) {
            const auto v = static_cast<uint8_t>(rng());
            const unsigned kind = rng() % 8;
            const unsigned n = kind < 2 ? 3 + rng() % 60 : (kind < 3 ? 2 : 1);
            for (unsigned i = 0; i < n && static_cast<int32_t>(row.size()) < kRowBytes; ++i)
                row.push_back(v);
        }
    }
    return rows;
}

void BM_PackBitsEncode(benchmark::State& state) {
    const auto rows = mixedRows();
    std::vector<uint8_t> dst(kRowBytes * 2);
    for (auto _ : state) {
        for (const auto& row : rows) {
            int32_t position = 0;
            zeqiPackBitsRow_TIFF_8u_C1(row.data(), kRowBytes, dst.data(), &position,
                                       static_cast<int32_t>(dst.size()));
            benchmark::DoNotOptimize(position);
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kRows * kRowBytes);
}
BENCHMARK(BM_PackBitsEncode)->Unit(benchmark::kMicrosecond);

void BM_PackBitsDecode(benchmark::State& state) {
    const auto rows = mixedRows();
    std::vector<std::vector<uint8_t>> packed;
    for (const auto& row : rows) {
        std::vector<uint8_t> p(kRowBytes * 2);
        int32_t position = 0;
        zeqiPackBitsRow_TIFF_8u_C1(row.data(), kRowBytes, p.data(), &position,
                                   static_cast<int32_t>(p.size()));
        p.resize(static_cast<size_t>(position));
        packed.push_back(p);
    }
    std::vector<uint8_t> out(kRowBytes);
    for (auto _ : state) {
        for (const auto& p : packed) {
            int32_t position = 0;
            zeqiUnpackBitsRow_TIFF_8u_C1(p.data(), &position, static_cast<int32_t>(p.size()),
                                         out.data(), kRowBytes);
            benchmark::DoNotOptimize(out.data());
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kRows * kRowBytes);
}
BENCHMARK(BM_PackBitsDecode)->Unit(benchmark::kMicrosecond);

void BM_SplitRow16(benchmark::State& state) {
    std::vector<uint8_t> row(kRowBytes * 2, 7), high(kRowBytes), low(kRowBytes);
    uint8_t* const planes[2] = {high.data(), low.data()};
    for (auto _ : state) {
        zeqiSplitRow_TIFF_16u8u_C1(row.data(), planes, kRowBytes);
        benchmark::DoNotOptimize(high.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kRowBytes * 2);
}
BENCHMARK(BM_SplitRow16);

// ---- Head to head with libtiff's PackBits codec ---------------------------
// libtiff runs in-process on an in-memory file (client procedures over a
// byte vector, mapped for reading), as one grey 4096 x 256 strip holding the
// same rows; it codes and decodes rows one at a time within the strip like
// us. Its encode time is TIFFWriteEncodedStrip (row coding plus the copy of
// the coded strip into the memory file); its decode time is
// TIFFReadEncodedStrip (decoding straight from the mapped file). Nothing is
// subtracted. Our side is the exported row functions over the 256 rows.
class MemoryTiff {
public:
    explicit MemoryTiff(const char* mode, std::vector<uint8_t> bytes = {})
        : bytes_(std::move(bytes)),
          tif_(TIFFClientOpen("memory", mode, this, read, write, seek, close, size, map, unmap)) {}
    MemoryTiff(const MemoryTiff&) = delete;
    MemoryTiff& operator=(const MemoryTiff&) = delete;
    ~MemoryTiff() {
        if (tif_) TIFFClose(tif_);
    }
    TIFF* tif() { return tif_; }
    // Closes the file, keeping its bytes.
    std::vector<uint8_t> finish() {
        TIFFClose(tif_);
        tif_ = nullptr;
        return bytes_;
    }

    static MemoryTiff* self(thandle_t h) { return static_cast<MemoryTiff*>(h); }
    static tmsize_t read(thandle_t h, void* buf, tmsize_t n) {
        MemoryTiff* m = self(h);
        const auto count =
            std::min<size_t>(size_t(n), m->bytes_.size() - std::min(m->bytes_.size(), m->at_));
        if (count) std::memcpy(buf, m->bytes_.data() + m->at_, count);
        m->at_ += count;
        return tmsize_t(count);
    }
    static tmsize_t write(thandle_t h, void* buf, tmsize_t n) {
        MemoryTiff* m = self(h);
        if (m->at_ + size_t(n) > m->bytes_.size()) m->bytes_.resize(m->at_ + size_t(n));
        std::memcpy(m->bytes_.data() + m->at_, buf, size_t(n));
        m->at_ += size_t(n);
        return n;
    }
    static toff_t seek(thandle_t h, toff_t off, int whence) {
        MemoryTiff* m = self(h);
        const size_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? m->at_ : m->bytes_.size();
        m->at_ = base + size_t(off);
        return m->at_;
    }
    static int close(thandle_t) { return 0; }
    static toff_t size(thandle_t h) { return self(h)->bytes_.size(); }
    static int map(thandle_t h, void** base, toff_t* size) {
        *base = self(h)->bytes_.data();
        *size = self(h)->bytes_.size();
        return 1;
    }
    static void unmap(thandle_t, void*, toff_t) {}

private:
    // Declared before tif_: a reader opens on the bytes it was given.
    std::vector<uint8_t> bytes_;
    size_t at_ = 0;
    TIFF* tif_;
};

void setStripFields(TIFF* tif) {
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, uint32_t(kRowBytes));
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, uint32_t(kRows));
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_PACKBITS);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, uint32_t(kRows));
}

std::vector<uint8_t> joinedRows(const std::vector<std::vector<uint8_t>>& rows) {
    std::vector<uint8_t> all;
    for (const auto& row : rows) all.insert(all.end(), row.begin(), row.end());
    return all;
}

void BM_PackBitsEncodeVsLibtiff(benchmark::State& state) {
    TIFFSetWarningHandler(nullptr);
    const auto rows = mixedRows();
    std::vector<uint8_t> strip = joinedRows(rows);
    std::vector<uint8_t> dst(size_t(kRowBytes) * 2 * kRows);
    // Rewriting the strip with the same bytes replaces it in place, so the
    // memory file does not grow from run to run.
    MemoryTiff file("w");
    setStripFields(file.tif());
    zeq::bench::headToHead(
        state, double(kRows) * kRowBytes, "MB/s",
        [&] {
            int32_t position = 0;
            for (const auto& row : rows)
                zeqiPackBitsRow_TIFF_8u_C1(row.data(), kRowBytes, dst.data(), &position,
                                           static_cast<int32_t>(dst.size()));
            benchmark::DoNotOptimize(position);
        },
        [&] {
            benchmark::DoNotOptimize(
                TIFFWriteEncodedStrip(file.tif(), 0, strip.data(), tmsize_t(strip.size())));
        });
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kRows * kRowBytes);
}
BENCHMARK(BM_PackBitsEncodeVsLibtiff)
    ->UseManualTime()
    ->Iterations(300)
    ->Unit(benchmark::kMicrosecond);

void BM_PackBitsDecodeVsLibtiff(benchmark::State& state) {
    TIFFSetWarningHandler(nullptr);
    const auto rows = mixedRows();
    std::vector<uint8_t> strip = joinedRows(rows);
    std::vector<uint8_t> packed(size_t(kRowBytes) * 2 * kRows);
    int32_t packedBytes = 0;
    for (const auto& row : rows)
        zeqiPackBitsRow_TIFF_8u_C1(row.data(), kRowBytes, packed.data(), &packedBytes,
                                   static_cast<int32_t>(packed.size()));
    MemoryTiff writer("w");
    setStripFields(writer.tif());
    TIFFWriteEncodedStrip(writer.tif(), 0, strip.data(), tmsize_t(strip.size()));
    MemoryTiff reader("r", writer.finish());
    std::vector<uint8_t> ours(strip.size()), theirs(strip.size());
    zeq::bench::headToHead(
        state, double(kRows) * kRowBytes, "MB/s",
        [&] {
            int32_t position = 0;
            for (int r = 0; r < kRows; ++r)
                zeqiUnpackBitsRow_TIFF_8u_C1(packed.data(), &position, packedBytes,
                                             ours.data() + size_t(r) * kRowBytes, kRowBytes);
            benchmark::DoNotOptimize(ours.data());
        },
        [&] {
            benchmark::DoNotOptimize(
                TIFFReadEncodedStrip(reader.tif(), 0, theirs.data(), tmsize_t(theirs.size())));
        });
    if (ours != strip || theirs != strip) state.SkipWithError("decoded rows differ");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kRows * kRowBytes);
}
BENCHMARK(BM_PackBitsDecodeVsLibtiff)
    ->UseManualTime()
    ->Iterations(300)
    ->Unit(benchmark::kMicrosecond);

}  // namespace
