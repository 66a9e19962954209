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

// Walks the blocks of component c in the order of a scan of it alone (its
// block grid, row by row): atMcu(m) before block m, then block(pointer).
template <typename AtMcu, typename Block>
void walkComponent(const Plan& plan, const int16_t* store, uint8_t c, AtMcu atMcu, Block block) {
    const ComponentPlan& p = plan.components[c];
    const int hShift = p.h == 2 ? 1 : 0;
    const size_t mcuStride = 64 * size_t(plan.blocksPerMcu);
    size_t m = 0;
    for (int32_t by = 0; by < p.blocksHigh; ++by) {
        const int16_t* row = store + mcuStride * size_t(by / p.v) * size_t(plan.mcusWide) +
                             64 * size_t(p.firstBlock + (by % p.v) * p.h);
        for (int32_t bx = 0; bx < p.blocksWide; ++bx, ++m) {
            if (!atMcu(m)) return;
            if (!block(row + mcuStride * size_t(bx >> hShift) + 64 * size_t(bx & (p.h - 1))))
                return;
        }
    }
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
    walkComponent(plan, store, c, atMcu, [&](const int16_t* b) { return block(b, c); });
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

        header(step, tables, out);
        return code(store, step, tables, out, error);
    }

    // The scan's tables (those built) and its header.
    void header(const ScanStep& step, const CodeTable (&tables)[2],
                std::vector<uint8_t>& out) const {
        const bool dc = step.ss == 0;
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
    }

    // The AC scans of component c (script indices `which`), with the
    // tables, header and coded data of each appended to coded[i]. They are
    // coded together: one walk over the component's blocks gathers the
    // statistics of all of them and a second codes them, each with its own
    // state and bytes, so a block is loaded once per walk rather than once
    // per scan and pass. Each scan sees the very calls it would see alone.
    bool componentScans(const int16_t* store, uint8_t c, const std::vector<ScanStep>& script,
                        const std::vector<size_t>& which, std::vector<std::vector<uint8_t>>& coded,
                        std::string* error) const {
        struct Pass {
            const ScanStep* step = nullptr;
            std::vector<int32_t> stats = std::vector<int32_t>(257, 0);
            EncodeState state;
            CodeTable tables[2];
            ByteBuffer out;
            int32_t pos = 0, len = 0;
            uint8_t* dst = nullptr;
        };
        const size_t n = which.size();
        std::unique_ptr<Pass[]> passes(new Pass[n]);
        for (size_t i = 0; i < n; ++i) {
            passes[i].step = &script[which[i]];
            if (!passes[i].state.state) return failStatus("coder state", StatusNullPointer, error);
        }
        const int t = plan_.components[c].table;
        ZeqStatus s = StatusOk;
        auto count = [&](Pass& p, const int16_t* b, int32_t flush) {
            const ScanStep& k = *p.step;
            return k.ah == 0 ? zeqiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(
                                   b, p.stats.data(), k.ss, k.se, k.al, p.state.state, flush)
                             : zeqiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(
                                   b, p.stats.data(), k.ss, k.se, k.al, p.state.state, flush);
        };
        walkComponent(
            plan_, store, c,
            [&](size_t m) {
                if (interval_ && m > 0 && m % interval_ == 0)
                    for (size_t i = 0; i < n && s == StatusOk; ++i)
                        s = count(passes[i], nullptr, 1);
                return s == StatusOk;
            },
            [&](const int16_t* b) {
                for (size_t i = 0; i < n && s == StatusOk; ++i) s = count(passes[i], b, 0);
                return s == StatusOk;
            });
        for (size_t i = 0; i < n && s == StatusOk; ++i) s = count(passes[i], nullptr, 1);
        if (s != StatusOk) return failStatus("statistics", s, error);
        for (size_t i = 0; i < n; ++i) {
            Pass& p = passes[i];
            if (!p.tables[t].fromStatistics(p.stats, 1, uint8_t(t), error)) return false;
            header(*p.step, p.tables, coded[which[i]]);
        }

        // Room for one block plus a run of buffered correction bits.
        const size_t blockBytes = MaxBlockBytes + 512;
        auto room = [&](Pass& p) {
            if (p.dst != nullptr && size_t(p.len) - size_t(p.pos) >= blockBytes) return true;
            p.out.grow(size_t(p.pos));
            p.pos = 0;
            if (p.out.room() < blockBytes && !p.out.reserve(blockBytes)) return false;
            p.dst = p.out.end();
            p.len = int32_t(std::min<size_t>(p.out.room(), INT32_MAX));
            return true;
        };
        auto code = [&](Pass& p, const int16_t* b, int32_t flush) {
            const ScanStep& k = *p.step;
            const HuffmanEncodeSpec* table = p.tables[t].get();
            return k.ah == 0
                       ? zeqiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(
                             b, p.dst, p.len, &p.pos, k.ss, k.se, k.al, table, p.state.state, flush)
                       : zeqiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(b, p.dst, p.len, &p.pos, k.ss,
                                                                     k.se, k.al, table,
                                                                     p.state.state, flush);
        };
        const char* failed = nullptr;
        walkComponent(
            plan_, store, c,
            [&](size_t m) {
                for (size_t i = 0; i < n; ++i) {
                    Pass& p = passes[i];
                    if (!room(p)) {
                        failed = "output buffer";
                        s = StatusNullPointer;
                        return false;
                    }
                    if (interval_ && m > 0 && m % interval_ == 0) {
                        if ((s = code(p, nullptr, 1)) != StatusOk) {
                            failed = "restart flush";
                            return false;
                        }
                        p.dst[p.pos++] = 0xFF;
                        p.dst[p.pos++] =
                            uint8_t(zeq::container::MarkerRST0 + ((m / interval_ - 1) & 7));
                    }
                }
                return true;
            },
            [&](const int16_t* b) {
                for (size_t i = 0; i < n; ++i)
                    if ((s = code(passes[i], b, 0)) != StatusOk) {
                        failed = "progressive block coding";
                        return false;
                    }
                return true;
            });
        if (failed) return failStatus(failed, s, error);
        for (size_t i = 0; i < n; ++i) {
            Pass& p = passes[i];
            if (!room(p)) return failStatus("output buffer", StatusNullPointer, error);
            if ((s = code(p, nullptr, 1)) != StatusOk) return failStatus("final flush", s, error);
            p.out.grow(size_t(p.pos));
            coded[which[i]].insert(coded[which[i]].end(), p.out.data(),
                                   p.out.data() + p.out.size());
        }
        return true;
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
    // Scans are independent once the coefficients are known. The AC scans
    // of one component are one piece of work (coded together), each DC scan
    // another; threads take the pieces in turn, and the bytes join in
    // script order.
    const std::vector<ScanStep> script = scanScript(plan.components.size());
    std::vector<std::vector<size_t>> pieces;
    std::vector<int> pieceOfComponent(plan.components.size(), -1);
    for (size_t i = 0; i < script.size(); ++i) {
        if (script[i].ss == 0) {
            pieces.push_back({i});
            continue;
        }
        int& piece = pieceOfComponent[script[i].components[0]];
        if (piece < 0) {
            piece = int(pieces.size());
            pieces.emplace_back();
        }
        pieces[size_t(piece)].push_back(i);
    }
    std::vector<std::vector<uint8_t>> coded(script.size());
    std::vector<std::string> errors(pieces.size());
    std::vector<char> ok(pieces.size(), 1);
    std::atomic<size_t> next{0};
    const ProgressiveCoder coder(plan);
    auto work = [&](bool reporting) {
        for (size_t i; (i = next.fetch_add(1)) < pieces.size();) {
            const std::vector<size_t>& which = pieces[i];
            const ScanStep& first = script[which[0]];
            ok[i] = first.ss == 0 ? coder.scan(store.get(), first, coded[which[0]], &errors[i])
                                  : coder.componentScans(store.get(), first.components[0], script,
                                                         which, coded, &errors[i]);
            if (reporting) reportProgress(plan, pieces.size() + i, 2 * pieces.size());
        }
    };
    std::vector<std::thread> helpers;
    const int32_t threads = std::min<int32_t>(plan.options.threads, int32_t(pieces.size()));
    for (int32_t t = 1; t < threads; ++t) helpers.emplace_back(work, false);
    work(true);
    for (std::thread& h : helpers) h.join();
    for (size_t i = 0; i < pieces.size(); ++i)
        if (!ok[i]) {
            *error = errors[i];
            return false;
        }
    for (const std::vector<uint8_t>& bytes : coded)
        file.insert(file.end(), bytes.begin(), bytes.end());
    return true;
}

}  // namespace zeqcodec::jpeg
