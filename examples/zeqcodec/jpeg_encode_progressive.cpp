// Progressive scans: the usual script of spectral selection and successive
// approximation, each scan with optimal tables from its own statistics pass.
#include <algorithm>
#include <array>
#include <climits>

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

// The blocks of one scan in coding order, grouped into MCUs.
struct ScanBlocks {
    std::vector<const int16_t*> blocks;
    std::vector<uint8_t> component;
    size_t perMcu = 1;
    size_t mcus() const { return blocks.size() / perMcu; }
};

ScanBlocks scanBlocks(const Plan& plan, const int16_t* store, const ScanStep& step) {
    ScanBlocks s;
    if (step.components.size() > 1) {
        s.perMcu = size_t(plan.blocksPerMcu);
        s.blocks.reserve(plan.blocksTotal());
        for (size_t i = 0; i < plan.blocksTotal(); ++i) {
            s.blocks.push_back(store + 64 * i);
            const int32_t b = int32_t(i % s.perMcu);
            uint8_t c = 0;
            while (c + 1u < plan.components.size() && b >= plan.components[c + 1u].firstBlock) ++c;
            s.component.push_back(c);
        }
        return s;
    }
    const uint8_t c = step.components[0];
    const ComponentPlan& p = plan.components[c];
    s.blocks.reserve(size_t(p.blocksWide) * size_t(p.blocksHigh));
    for (int32_t by = 0; by < p.blocksHigh; ++by)
        for (int32_t bx = 0; bx < p.blocksWide; ++bx) {
            s.blocks.push_back(plan.block(store, c, bx, by));
            s.component.push_back(c);
        }
    return s;
}

class ProgressiveCoder {
public:
    ProgressiveCoder(const Plan& plan, std::vector<uint8_t>& file)
        : plan_(plan), file_(file), interval_(uint32_t(plan.options.restartInterval)) {}

    bool scan(const int16_t* store, const ScanStep& step, std::string* error) {
        const ScanBlocks blocks = scanBlocks(plan_, store, step);
        const bool dc = step.ss == 0;
        CodeTable tables[2];
        if (!(dc && step.ah > 0) && !buildTables(blocks, step, tables, error)) return false;

        zeq::container::JpegWriter w(file_);
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
        return code(blocks, step, tables, error);
    }

private:
    bool buildTables(const ScanBlocks& blocks, const ScanStep& step, CodeTable (&tables)[2],
                     std::string* error) {
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
        for (size_t m = 0; m < blocks.mcus() && s == StatusOk; ++m) {
            if (interval_ && m > 0 && m % interval_ == 0) s = endSegment();
            for (size_t k = m * blocks.perMcu; k < (m + 1) * blocks.perMcu && s == StatusOk; ++k) {
                const uint8_t c = blocks.component[k];
                int32_t* counts = stats[plan_.components[c].table].data();
                if (dc)
                    s = zeqiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(blocks.blocks[k], counts,
                                                                        &lastDC[c], step.al);
                else if (step.ah == 0)
                    s = zeqiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(
                        blocks.blocks[k], counts, step.ss, step.se, step.al, state.state, 0);
                else
                    s = zeqiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(
                        blocks.blocks[k], counts, step.ss, step.se, step.al, state.state, 0);
            }
        }
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

    bool code(const ScanBlocks& blocks, const ScanStep& step, const CodeTable (&tables)[2],
              std::string* error) {
        EncodeState state;
        if (!state.state) return failStatus("coder state", StatusNullPointer, error);
        ByteBuffer out;
        int16_t lastDC[3] = {0, 0, 0};
        const bool dc = step.ss == 0;
        const HuffmanEncodeSpec* acTable =
            dc ? nullptr : tables[plan_.components[step.components[0]].table].get();
        // Room for one MCU plus a run of buffered correction bits.
        const size_t mcuBytes = blocks.perMcu * MaxBlockBytes + 512;
        int32_t pos = 0;
        auto flush = [&](uint8_t* dst, int32_t len) -> ZeqStatus {
            if (dc)
                return zeqiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(nullptr, dst, len, &pos, 0,
                                                                   state.state, 1);
            return step.ah == 0 ? zeqiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(
                                      nullptr, dst, len, &pos, 0, 0, 0, acTable, state.state, 1)
                                : zeqiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(
                                      nullptr, dst, len, &pos, 0, 0, 0, acTable, state.state, 1);
        };
        for (size_t m = 0; m < blocks.mcus(); ++m) {
            if (!out.reserve(mcuBytes))
                return failStatus("output buffer", StatusNullPointer, error);
            uint8_t* dst = out.end();
            const int32_t len = int32_t(std::min<size_t>(out.room(), INT32_MAX));
            pos = 0;
            ZeqStatus s = StatusOk;
            if (interval_ && m > 0 && m % interval_ == 0) {
                s = flush(dst, len);
                if (s != StatusOk) return failStatus("restart flush", s, error);
                dst[pos++] = 0xFF;
                dst[pos++] = uint8_t(zeq::container::MarkerRST0 + ((m / interval_ - 1) & 7));
                lastDC[0] = lastDC[1] = lastDC[2] = 0;
            }
            for (size_t k = m * blocks.perMcu; k < (m + 1) * blocks.perMcu && s == StatusOk; ++k) {
                const uint8_t c = blocks.component[k];
                const int16_t* b = blocks.blocks[k];
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
            }
            if (s != StatusOk) return failStatus("progressive block coding", s, error);
            out.grow(size_t(pos));
        }
        if (!out.reserve(1024)) return failStatus("output buffer", StatusNullPointer, error);
        pos = 0;
        const ZeqStatus s = flush(out.end(), int32_t(std::min<size_t>(out.room(), INT32_MAX)));
        if (s != StatusOk) return failStatus("final flush", s, error);
        out.grow(size_t(pos));
        file_.insert(file_.end(), out.data(), out.data() + out.size());
        return true;
    }

    const Plan& plan_;
    std::vector<uint8_t>& file_;
    uint32_t interval_;
};

}  // namespace

bool encodeProgressive(const Plan& plan, std::vector<uint8_t>& file, std::string* error) {
    std::unique_ptr<int16_t[]> store;
    if (!quantizeImage(plan, store, error)) return false;
    if (plan.options.restartInterval > 0)
        zeq::container::JpegWriter(file).restartInterval(uint16_t(plan.options.restartInterval));
    ProgressiveCoder coder(plan, file);
    const std::vector<ScanStep> script = scanScript(plan.components.size());
    for (size_t i = 0; i < script.size(); ++i) {
        if (!coder.scan(store.get(), script[i], error)) return false;
        reportProgress(plan, script.size() + i, 2 * script.size());
    }
    return true;
}

}  // namespace zeqcodec::jpeg
