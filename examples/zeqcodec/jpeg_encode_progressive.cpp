// Progressive scans: the usual script of spectral selection and successive
// approximation, each scan with optimal tables from its own statistics pass.
#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <thread>

#include "container/jpeg_writer.h"
#include "zeqcodec/jpeg_encode_plan.h"

namespace zeqcodec::jpeg {
namespace {

struct ScanStep {
    std::vector<uint8_t> components;  // indices into the frame
    uint8_t ss, se, ah, al;
};

// DC first at a halved precision, the low luma band, chroma, the rest of
// luma, then one refinement bit for everything.
std::vector<ScanStep> scanScript(size_t components) {
    if (components == 1)
        return {{{0}, 0, 0, 0, 1},  {{0}, 1, 5, 0, 2}, {{0}, 6, 63, 0, 2},
                {{0}, 1, 63, 2, 1}, {{0}, 0, 0, 1, 0}, {{0}, 1, 63, 1, 0}};
    return {{{0, 1, 2}, 0, 0, 0, 1}, {{0}, 1, 5, 0, 2},  {{2}, 1, 63, 0, 1},
            {{1}, 1, 63, 0, 1},      {{0}, 6, 63, 0, 2}, {{0}, 1, 63, 2, 1},
            {{0, 1, 2}, 0, 0, 1, 0}, {{2}, 1, 63, 1, 0}, {{1}, 1, 63, 1, 0},
            {{0}, 1, 63, 1, 0}};
}

// Walks the blocks of one scan in coding order: atMcu(m) before the blocks
// of MCU m, then block(pointer, component) for each of them. An interleaved
// scan takes every MCU of the store; a lone component its own block grid.
template <typename AtMcu, typename Block>
void walkScan(const Plan& plan, const int16_t* store, const ScanStep& step, AtMcu atMcu,
              Block block) {
    if (step.components.size() > 1) {
        const size_t perMcu = size_t(plan.blocksPerMcu);
        uint8_t component[8] = {};
        for (size_t b = 0, c = 0; b < perMcu; ++b) {
            while (c + 1 < plan.components.size() &&
                   int32_t(b) >= plan.components[c + 1].firstBlock)
                ++c;
            component[b] = uint8_t(c);
        }
        for (size_t m = 0; m < plan.mcuCount(); ++m) {
            if (!atMcu(m)) return;
            for (size_t b = 0; b < perMcu; ++b)
                if (!block(store + 64 * (m * perMcu + b), component[b])) return;
        }
        return;
    }
    const uint8_t c = step.components[0];
    const ComponentPlan& p = plan.components[c];
    const int hShift = p.h == 2 ? 1 : 0;
    const size_t mcuStride = 64 * size_t(plan.blocksPerMcu);
    size_t m = 0;
    for (int32_t by = 0; by < p.blocksHigh; ++by) {
        const int16_t* row = store + mcuStride * size_t(by / p.v) * size_t(plan.mcusWide) +
                             64 * size_t(p.firstBlock + (by % p.v) * p.h);
        for (int32_t bx = 0; bx < p.blocksWide; ++bx, ++m) {
            if (!atMcu(m)) return;
            if (!block(row + mcuStride * size_t(bx >> hShift) + 64 * size_t(bx & (p.h - 1)), c))
                return;
        }
    }
}

class ProgressiveCoder {
public:
    explicit ProgressiveCoder(const Plan& plan)
        : plan_(plan), interval_(uint32_t(plan.options.restartInterval)) {}

    // Appends the scan's tables, header and coded data to out.
    bool scan(const int16_t* store, const ScanStep& step, std::vector<uint8_t>& out,
              std::string* error) const {
        const bool dc = step.ss == 0;
        CodeTable tables[2];
        if (!(dc && step.ah > 0) && !buildTables(store, step, tables, error)) return false;

        zeq::container::JpegWriter w(out);
        std::vector<zeq::container::JpegHuffmanTable> dht;
        for (const CodeTable& t : tables)
            if (!t.spec.empty()) dht.push_back(t.definition);
        w.huffmanTables(dht.data(), dht.size());
        zeq::container::JpegScanHeader header;
        for (uint8_t c : step.components) {
            const uint8_t t = uint8_t(plan_.components[c].table);
            header.components.push_back({c, dc ? t : uint8_t(0), dc ? uint8_t(0) : t});
        }
        header.ss = step.ss;
        header.se = step.se;
        header.ah = step.ah;
        header.al = step.al;
        w.scanHeader(plan_.frame, header);
        return code(store, step, tables, out, error);
    }

private:
    bool buildTables(const int16_t* store, const ScanStep& step, CodeTable (&tables)[2],
                     std::string* error) const {
        std::vector<int32_t> stats[2] = {std::vector<int32_t>(257, 0),
                                         std::vector<int32_t>(257, 0)};
        EncodeState state;
        if (!state.state) return failStatus("coder state", StatusNullPointer, error);
        int16_t lastDC[3] = {0, 0, 0};
        const bool dc = step.ss == 0;
        ZeqStatus s = StatusOk;
        auto endSegment = [&]() -> ZeqStatus {
            lastDC[0] = lastDC[1] = lastDC[2] = 0;
            if (dc) return StatusOk;
            const int t = plan_.components[step.components[0]].table;
            return step.ah == 0 ? zeqiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(
                                      nullptr, stats[t].data(), 0, 0, 0, state.state, 1)
                                : zeqiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(
                                      nullptr, stats[t].data(), 0, 0, 0, state.state, 1);
        };
        int32_t* acCounts = dc ? nullptr : stats[plan_.components[step.components[0]].table].data();
        walkScan(
            plan_, store, step,
            [&](size_t m) {
                if (interval_ && m > 0 && m % interval_ == 0) s = endSegment();
                return s == StatusOk;
            },
            [&](const int16_t* b, uint8_t c) {
                if (dc)
                    s = zeqiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(
                        b, stats[plan_.components[c].table].data(), &lastDC[c], step.al);
                else if (step.ah == 0)
                    s = zeqiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(
                        b, acCounts, step.ss, step.se, step.al, state.state, 0);
                else
                    s = zeqiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(
                        b, acCounts, step.ss, step.se, step.al, state.state, 0);
                return s == StatusOk;
            });
        if (s == StatusOk) s = endSegment();
        if (s != StatusOk) return failStatus("statistics", s, error);
        for (uint8_t c : step.components) {
            const int t = plan_.components[c].table;
            if (tables[t].spec.empty() &&
                !tables[t].fromStatistics(stats[t], dc ? 0 : 1, uint8_t(t), error))
                return false;
        }
        return true;
    }

    bool code(const int16_t* store, const ScanStep& step, const CodeTable (&tables)[2],
              std::vector<uint8_t>& file, std::string* error) const {
        EncodeState state;
        if (!state.state) return failStatus("coder state", StatusNullPointer, error);
        ByteBuffer out;
        int16_t lastDC[3] = {0, 0, 0};
        const bool dc = step.ss == 0;
        const HuffmanEncodeSpec* acTable =
            dc ? nullptr : tables[plan_.components[step.components[0]].table].get();
        // Room for one MCU plus a run of buffered correction bits.
        const size_t mcuBytes = size_t(plan_.blocksPerMcu) * MaxBlockBytes + 512;
        int32_t pos = 0, len = 0;
        uint8_t* dst = nullptr;
        ZeqStatus s = StatusOk;
        const char* failed = nullptr;
        auto flush = [&]() -> ZeqStatus {
            if (dc)
                return zeqiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(nullptr, dst, len, &pos, 0,
                                                                   state.state, 1);
            return step.ah == 0 ? zeqiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(
                                      nullptr, dst, len, &pos, 0, 0, 0, acTable, state.state, 1)
                                : zeqiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(
                                      nullptr, dst, len, &pos, 0, 0, 0, acTable, state.state, 1);
        };
        // The output is committed and re-reserved when less than an MCU's
        // worth of room is left.
        auto startMcu = [&]() {
            if (dst != nullptr && size_t(len) - size_t(pos) >= mcuBytes) return true;
            out.grow(size_t(pos));
            pos = 0;
            if (out.room() < mcuBytes && !out.reserve(mcuBytes)) return false;
            dst = out.end();
            len = int32_t(std::min<size_t>(out.room(), INT32_MAX));
            return true;
        };
        walkScan(
            plan_, store, step,
            [&](size_t m) {
                if (!startMcu()) {
                    failed = "output buffer";
                    s = StatusNullPointer;
                    return false;
                }
                if (interval_ && m > 0 && m % interval_ == 0) {
                    s = flush();
                    if (s != StatusOk) {
                        failed = "restart flush";
                        return false;
                    }
                    dst[pos++] = 0xFF;
                    dst[pos++] = uint8_t(zeq::container::MarkerRST0 + ((m / interval_ - 1) & 7));
                    lastDC[0] = lastDC[1] = lastDC[2] = 0;
                }
                return true;
            },
            [&](const int16_t* b, uint8_t c) {
                if (dc && step.ah == 0)
                    s = zeqiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(
                        b, dst, len, &pos, &lastDC[c], step.al,
                        tables[plan_.components[c].table].get(), state.state, 0);
                else if (dc)
                    s = zeqiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(b, dst, len, &pos, step.al,
                                                                    state.state, 0);
                else if (step.ah == 0)
                    s = zeqiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(
                        b, dst, len, &pos, step.ss, step.se, step.al, acTable, state.state, 0);
                else
                    s = zeqiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(
                        b, dst, len, &pos, step.ss, step.se, step.al, acTable, state.state, 0);
                if (s != StatusOk) failed = "progressive block coding";
                return s == StatusOk;
            });
        if (failed) return failStatus(failed, s, error);
        if (!startMcu()) return failStatus("output buffer", StatusNullPointer, error);
        s = flush();
        if (s != StatusOk) return failStatus("final flush", s, error);
        out.grow(size_t(pos));
        file.insert(file.end(), out.data(), out.data() + out.size());
        return true;
    }

    const Plan& plan_;
    uint32_t interval_;
};

}  // namespace

bool encodeProgressive(const Plan& plan, std::vector<uint8_t>& file, std::string* error) {
    std::unique_ptr<int16_t[]> store;
    if (!quantizeImage(plan, store, error)) return false;
    if (plan.options.restartInterval > 0)
        zeq::container::JpegWriter(file).restartInterval(uint16_t(plan.options.restartInterval));
    // Scans are independent once the coefficients are known: threads take
    // them in turn, and their bytes join in script order.
    const std::vector<ScanStep> script = scanScript(plan.components.size());
    std::vector<std::vector<uint8_t>> coded(script.size());
    std::vector<std::string> errors(script.size());
    std::vector<char> ok(script.size(), 1);
    std::atomic<size_t> next{0};
    const ProgressiveCoder coder(plan);
    auto work = [&](bool reporting) {
        for (size_t i; (i = next.fetch_add(1)) < script.size();) {
            ok[i] = coder.scan(store.get(), script[i], coded[i], &errors[i]);
            if (reporting) reportProgress(plan, script.size() + i, 2 * script.size());
        }
    };
    std::vector<std::thread> helpers;
    const int32_t threads = std::min<int32_t>(plan.options.threads, int32_t(script.size()));
    for (int32_t t = 1; t < threads; ++t) helpers.emplace_back(work, false);
    work(true);
    for (std::thread& h : helpers) h.join();
    for (size_t i = 0; i < script.size(); ++i) {
        if (!ok[i]) {
            *error = errors[i];
            return false;
        }
        file.insert(file.end(), coded[i].begin(), coded[i].end());
    }
    return true;
}

}  // namespace zeqcodec::jpeg
