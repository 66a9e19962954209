// Baseline (sequential Huffman) scans: one interleaved scan over all MCUs,
// with the example tables or with optimal ones from a statistics pass.
#include <algorithm>
#include <array>
#include <climits>
#include <thread>

#include "container/jpeg_standard_tables.h"
#include "container/jpeg_writer.h"
#include "zeqcodec/jpeg_encode_plan.h"

namespace zeqcodec::jpeg {
namespace {

// One thread's share of the scan: whole restart intervals from MCU `begin`
// to `end`, so its coded bytes join the others' without bit shifting.
struct Part {
    size_t begin = 0, end = 0;
    ByteBuffer bytes;
    std::string error;
    bool ok = true;
};

// Restart interval actually written: the caller's, or with several threads
// one that puts a marker where every part starts.
uint32_t effectiveInterval(const Plan& plan, int32_t threads) {
    if (plan.options.restartInterval > 0 || threads == 1)
        return uint32_t(plan.options.restartInterval);
    const int32_t rowsPerPart = (plan.mcusHigh + threads - 1) / threads;
    const int32_t rows = std::max(1, std::min(rowsPerPart, 65535 / plan.mcusWide));
    return uint32_t(rows * plan.mcusWide);
}

// Splits the scan at restart boundaries into up to `threads` parts.
std::vector<Part> splitScan(const Plan& plan, uint32_t interval, int32_t threads) {
    const size_t total = plan.mcuCount();
    const size_t intervals = interval ? (total + interval - 1) / interval : 1;
    const size_t count = std::min<size_t>(size_t(threads), intervals);
    std::vector<Part> parts(count);
    for (size_t t = 0; t < count; ++t) {
        parts[t].begin = std::min(total, intervals * t / count * (interval ? interval : total));
        parts[t].end = std::min(total, intervals * (t + 1) / count * (interval ? interval : total));
    }
    return parts;
}

template <typename Work>
void runParts(std::vector<Part>& parts, Work work) {
    std::vector<std::thread> helpers;
    for (size_t t = 1; t < parts.size(); ++t) helpers.emplace_back(work, std::ref(parts[t]));
    work(parts[0]);
    for (std::thread& h : helpers) h.join();
}

struct Tables {
    CodeTable dc[2], ac[2];
};

class ScanCoder {
public:
    ScanCoder(const Plan& plan, const Tables& tables, uint32_t interval)
        : plan_(plan), tables_(tables), interval_(interval) {
        for (int32_t b = 0; b < plan.blocksPerMcu; ++b) {
            int32_t c = 0;
            while (c + 1 < int32_t(plan.components.size()) &&
                   b >= plan.components[size_t(c) + 1].firstBlock)
                ++c;
            component_[b] = c;
        }
    }

    // Codes MCUs part.begin..part.end-1, each from `store` or converted on
    // the fly when store is null.
    void code(const int16_t* store, Part& part) {
        EncodeState state;
        if (!state.state) return failPart(part, "out of memory for the coder state");
        int16_t lastDC[3] = {0, 0, 0};
        // Each block's tables (built by now, optimal ones included).
        const HuffmanEncodeSpec* dcOf[6] = {};
        const HuffmanEncodeSpec* acOf[6] = {};
        for (int32_t b = 0; b < plan_.blocksPerMcu; ++b) {
            const int32_t t = plan_.components[size_t(component_[b])].table;
            dcOf[b] = tables_.dc[t].get();
            acOf[b] = tables_.ac[t].get();
        }
        alignas(16) int16_t local[6 * 64];
        std::unique_ptr<StripQuantizer> quantizer;
        if (!store) quantizer.reset(new StripQuantizer(plan_));
        const size_t mcuBytes = size_t(plan_.blocksPerMcu) * MaxBlockBytes + 8;
        // MCU column and row, and MCUs since the last restart, counted
        // rather than divided out of i for every MCU.
        const size_t mcusWide = size_t(plan_.mcusWide);
        size_t mx = part.begin % mcusWide;
        int32_t my = int32_t(part.begin / mcusWide);
        size_t sinceRestart = interval_ ? part.begin % interval_ : 1;
        for (size_t i = part.begin; i < part.end; ++i) {
            if (!part.bytes.reserve(mcuBytes)) return failPart(part, "out of memory");
            int32_t pos = 0;
            uint8_t* dst = part.bytes.end();
            const int32_t len = int32_t(std::min<size_t>(part.bytes.room(), INT32_MAX));
            if (sinceRestart == 0 && i > 0) {
                if (i != part.begin) {
                    const ZeqStatus s = zeqiEncodeHuffman8x8_JPEG_16s1u_C1(
                        nullptr, dst, len, &pos, nullptr, nullptr, nullptr, state.state, 1);
                    if (s != StatusOk) return failStatusPart(part, "restart flush", s);
                }
                dst[pos++] = 0xFF;
                dst[pos++] = uint8_t(zeq::container::MarkerRST0 + ((i / interval_ - 1) & 7));
                lastDC[0] = lastDC[1] = lastDC[2] = 0;
            }
            // Without a store there is no array to index: the MCU is made in `local`.
            const int16_t* blocks = local;
            if (store) {
                blocks = store + 64 * i * size_t(plan_.blocksPerMcu);
            } else {
                if ((quantizer->current() != my && !quantizer->strip(my, &part.error)) ||
                    !quantizer->mcu(int32_t(mx), local, &part.error)) {
                    part.ok = false;
                    return;
                }
            }
            for (int32_t b = 0; b < plan_.blocksPerMcu; ++b) {
                const ZeqStatus s = zeqiEncodeHuffman8x8_JPEG_16s1u_C1(
                    blocks + 64 * b, dst, len, &pos, &lastDC[component_[b]], dcOf[b], acOf[b],
                    state.state, 0);
                if (s != StatusOk) return failStatusPart(part, "block coding", s);
            }
            part.bytes.grow(size_t(pos));
            if (interval_ && ++sinceRestart == interval_) sinceRestart = 0;
            if (++mx == mcusWide) {
                mx = 0;
                ++my;
                if (part.begin == 0 && i + 1 < part.end)
                    reportProgress(plan_, store ? plan_.mcuCount() + i + 1 : 2 * (i + 1),
                                   2 * plan_.mcuCount());
            }
        }
        if (!part.bytes.reserve(4)) return failPart(part, "out of memory");
        int32_t pos = 0;
        const ZeqStatus s = zeqiEncodeHuffman8x8_JPEG_16s1u_C1(
            nullptr, part.bytes.end(), int32_t(std::min<size_t>(part.bytes.room(), INT32_MAX)),
            &pos, nullptr, nullptr, nullptr, state.state, 1);
        if (s != StatusOk) return failStatusPart(part, "final flush", s);
        part.bytes.grow(size_t(pos));
    }

    // Adds the symbols MCUs part.begin..part.end-1 will code to the
    // part's own counters (dc then ac, per table).
    void count(const int16_t* store, Part& part, std::array<std::vector<int32_t>, 4>& stats) {
        int16_t lastDC[3] = {0, 0, 0};
        if (part.begin > 0 && !(interval_ && part.begin % interval_ == 0)) {
            // The part continues a segment: start from the DC values the
            // MCU before it left.
            const int16_t* prev = store + 64 * (part.begin - 1) * size_t(plan_.blocksPerMcu);
            for (int32_t b = 0; b < plan_.blocksPerMcu; ++b) lastDC[component_[b]] = prev[64 * b];
        }
        for (size_t i = part.begin; i < part.end; ++i) {
            if (interval_ && i > 0 && i % interval_ == 0) lastDC[0] = lastDC[1] = lastDC[2] = 0;
            const int16_t* blocks = store + 64 * i * size_t(plan_.blocksPerMcu);
            for (int32_t b = 0; b < plan_.blocksPerMcu; ++b) {
                const int32_t c = component_[b];
                const int32_t t = plan_.components[size_t(c)].table;
                const ZeqStatus s = zeqiGetHuffmanStatistics8x8_JPEG_16s_C1(
                    blocks + 64 * b, stats[t].data(), stats[2 + t].data(), &lastDC[c]);
                if (s != StatusOk) return failStatusPart(part, "statistics", s);
            }
        }
    }

private:
    static void failPart(Part& part, const char* why) {
        part.ok = false;
        part.error = why;
    }
    static void failStatusPart(Part& part, const char* what, ZeqStatus s) {
        part.ok = false;
        failStatus(what, s, &part.error);
    }

    const Plan& plan_;
    const Tables& tables_;
    uint32_t interval_;
    int32_t component_[6] = {};
};

bool firstError(const std::vector<Part>& parts, std::string* error) {
    for (const Part& p : parts)
        if (!p.ok) {
            *error = p.error;
            return false;
        }
    return true;
}

}  // namespace

bool encodeSequential(const Plan& plan, std::vector<uint8_t>& file, std::string* error) {
    const int32_t threads = std::min<int32_t>(plan.options.threads, plan.mcusHigh);
    const uint32_t interval = effectiveInterval(plan, threads);
    std::vector<Part> parts = splitScan(plan, interval, threads);
    Tables tables;
    ScanCoder coder(plan, tables, interval);
    std::unique_ptr<int16_t[]> store;
    const size_t tableCount = plan.components.size() == 1 ? 1 : 2;
    if (plan.options.optimize) {
        if (!quantizeImage(plan, store, error)) return false;
        std::vector<std::array<std::vector<int32_t>, 4>> stats(parts.size());
        for (auto& s : stats)
            for (auto& v : s) v.assign(257, 0);
        std::vector<std::thread> helpers;
        for (size_t t = 1; t < parts.size(); ++t)
            helpers.emplace_back([&, t] { coder.count(store.get(), parts[t], stats[t]); });
        coder.count(store.get(), parts[0], stats[0]);
        for (std::thread& h : helpers) h.join();
        if (!firstError(parts, error)) return false;
        for (size_t t = 1; t < parts.size(); ++t)
            for (int k = 0; k < 4; ++k)
                for (size_t i = 0; i < 257; ++i) stats[0][k][i] += stats[t][k][i];
        for (size_t t = 0; t < tableCount; ++t)
            if (!tables.dc[t].fromStatistics(stats[0][t], 0, uint8_t(t), error) ||
                !tables.ac[t].fromStatistics(stats[0][2 + t], 1, uint8_t(t), error))
                return false;
    } else {
        using namespace zeq::container;
        if (!tables.dc[0].build(standardDcLuminance(), error) ||
            !tables.ac[0].build(standardAcLuminance(), error) ||
            !tables.dc[1].build(standardDcChrominance(), error) ||
            !tables.ac[1].build(standardAcChrominance(), error))
            return false;
        for (uint8_t t = 0; t < 2; ++t) tables.dc[t].definition.id = tables.ac[t].definition.id = t;
    }

    zeq::container::JpegWriter w(file);
    std::vector<zeq::container::JpegHuffmanTable> dht;
    for (size_t t = 0; t < tableCount; ++t) dht.push_back(tables.dc[t].definition);
    for (size_t t = 0; t < tableCount; ++t) dht.push_back(tables.ac[t].definition);
    w.huffmanTables(dht.data(), dht.size());
    if (interval) w.restartInterval(uint16_t(interval));
    zeq::container::JpegScanHeader scan;
    for (size_t c = 0; c < plan.components.size(); ++c)
        scan.components.push_back(
            {uint8_t(c), uint8_t(plan.components[c].table), uint8_t(plan.components[c].table)});
    w.scanHeader(plan.frame, scan);

    runParts(parts, [&](Part& part) { coder.code(store.get(), part); });
    if (!firstError(parts, error)) return false;
    size_t total = file.size();
    for (const Part& p : parts) total += p.bytes.size();
    file.reserve(total + 2);
    for (const Part& p : parts)
        file.insert(file.end(), p.bytes.data(), p.bytes.data() + p.bytes.size());
    return true;
}

}  // namespace zeqcodec::jpeg
