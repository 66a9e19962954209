// Progressive scans for the tests: scan scripts, the blocks of a scan in
// coding order, drivers that run a whole scan through the library's
// progressive encoders, statistics and decoders, and a plain bit-by-bit
// reference decoder that also tallies every symbol it reads.
#ifndef ZEQ_TESTS_JPEG_ENTROPY_PROGRESSIVE_SCANS_H
#define ZEQ_TESTS_JPEG_ENTROPY_PROGRESSIVE_SCANS_H

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <utility>
#include <vector>

#include "tests/jpeg/entropy/huffman_test_support.h"
#include "tests/jpeg/entropy/jpeg_file.h"
#include "tests/jpeg/entropy/libjpeg_oracle.h"
#include "zeqj.h"

namespace zeq::test {

inline ProgressiveScan scanOf(std::vector<int> components, int ss, int se, int ah, int al) {
    ProgressiveScan s;
    s.components = std::move(components);
    s.ss = ss;
    s.se = se;
    s.ah = ah;
    s.al = al;
    return s;
}

// The script libjpeg's simple progression uses (grey: one component; colour:
// Y, Cb, Cr): DC first with Al = 1, luma AC in two bands with Al = 2, chroma
// AC with Al = 1, then the refinements down to bit 0.
inline std::vector<ProgressiveScan> standardScript(bool colour) {
    if (!colour)
        return {scanOf({0}, 0, 0, 0, 1),  scanOf({0}, 1, 5, 0, 2), scanOf({0}, 6, 63, 0, 2),
                scanOf({0}, 1, 63, 2, 1), scanOf({0}, 0, 0, 1, 0), scanOf({0}, 1, 63, 1, 0)};
    return {scanOf({0, 1, 2}, 0, 0, 0, 1), scanOf({0}, 1, 5, 0, 2),  scanOf({2}, 1, 63, 0, 1),
            scanOf({1}, 1, 63, 0, 1),      scanOf({0}, 6, 63, 0, 2), scanOf({0}, 1, 63, 2, 1),
            scanOf({0, 1, 2}, 0, 0, 1, 0), scanOf({2}, 1, 63, 1, 0), scanOf({1}, 1, 63, 1, 0),
            scanOf({0}, 1, 63, 1, 0)};
}

// A random valid script: DC first with a random Al, its refinements; per
// component a random split of 1..63 into bands, each with a random first Al
// and its refinements. First scans come before refinements, refinements in
// decreasing Al.
inline std::vector<ProgressiveScan> randomScript(std::mt19937& rng, int components) {
    std::vector<int> all;
    for (int c = 0; c < components; ++c) all.push_back(c);
    std::vector<ProgressiveScan> firsts, refines;
    const int dcAl = uniform<int>(rng, 0, 3);
    firsts.push_back(scanOf(all, 0, 0, 0, dcAl));
    for (int al = dcAl - 1; al >= 0; --al) refines.push_back(scanOf(all, 0, 0, al + 1, al));
    for (int c = 0; c < components; ++c) {
        for (int ss = 1; ss <= 63;) {
            const int se = std::min(63, ss + uniform<int>(rng, 0, 40));
            const int al = uniform<int>(rng, 0, 3);
            firsts.push_back(scanOf({c}, ss, se, 0, al));
            for (int a = al - 1; a >= 0; --a) refines.push_back(scanOf({c}, ss, se, a + 1, a));
            ss = se + 1;
        }
    }
    std::stable_sort(
        refines.begin(), refines.end(),
        [](const ProgressiveScan& a, const ProgressiveScan& b) { return a.al > b.al; });
    firsts.insert(firsts.end(), refines.begin(), refines.end());
    return firsts;
}

// The blocks of a scan in coding order: raster order of a lone component,
// MCU order otherwise. BlockRef::component indexes the frame's components.
inline std::vector<BlockRef> scanBlocks(const Frame& f, const std::vector<int>& members) {
    Frame sub = f;
    sub.components.clear();
    for (int m : members) sub.components.push_back(f.components[size_t(m)]);
    std::vector<BlockRef> order;
    for (const auto& mcu : mcuOrder(sub))
        for (BlockRef b : mcu) order.push_back({members[size_t(b.component)], b.index});
    return order;
}

inline int16_t* blockAt(Blocks& blocks, BlockRef b) {
    return &blocks[size_t(b.component)][64 * size_t(b.index)];
}
inline const int16_t* blockAt(const Blocks& blocks, BlockRef b) {
    return &blocks[size_t(b.component)][64 * size_t(b.index)];
}

// The table a frame component codes with in a scan of class dc or ac.
inline int tableOf(const Frame& f, int component, bool dc) {
    return dc ? f.components[size_t(component)].dcTable : f.components[size_t(component)].acTable;
}

// Statistics of one scan through the library: counts[0..1] per table id.
struct ScanCounts {
    std::vector<int32_t> dc[2] = {std::vector<int32_t>(257), std::vector<int32_t>(257)};
    std::vector<int32_t> ac[2] = {std::vector<int32_t>(257), std::vector<int32_t>(257)};
};

inline ScanCounts libraryScanStatistics(const Frame& f, const Blocks& blocks,
                                        const ProgressiveScan& s) {
    ScanCounts counts;
    EncodeStateBuffer state = freshEncodeState();
    std::vector<int16_t> lastDC(f.components.size(), 0);
    const bool dcScan = s.ss == 0;
    for (BlockRef b : scanBlocks(f, s.components)) {
        const int16_t* block = blockAt(blocks, b);
        if (dcScan) {
            if (s.ah != 0) continue;  // refinement bits have no symbols
            EXPECT_EQ(zeqiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(
                          block, counts.dc[tableOf(f, b.component, true)].data(),
                          &lastDC[size_t(b.component)], s.al),
                      StatusOk);
        } else {
            auto* acCounts = counts.ac[tableOf(f, b.component, false)].data();
            EXPECT_EQ(s.ah == 0 ? zeqiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(
                                      block, acCounts, s.ss, s.se, s.al, state.get(), 0)
                                : zeqiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(
                                      block, acCounts, s.ss, s.se, s.al, state.get(), 0),
                      StatusOk);
        }
    }
    if (!dcScan) {
        auto* acCounts = counts.ac[tableOf(f, s.components[0], false)].data();
        EXPECT_EQ(s.ah == 0 ? zeqiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(nullptr, acCounts, 0,
                                                                              0, 0, state.get(), 1)
                            : zeqiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(
                                  nullptr, acCounts, 0, 0, 0, state.get(), 1),
                  StatusOk);
    }
    return counts;
}

// Optimal tables from a scan's counts; a table without counts gets none
// (except that every DC table keeps one symbol so it can be written).
inline void setOptimalTables(ProgressiveScan& s, const ScanCounts& counts) {
    for (int t = 0; t < 2; ++t) {
        auto used = [](const std::vector<int32_t>& v) {
            return std::any_of(v.begin(), v.end(), [](int32_t n) { return n > 0; });
        };
        s.dc[t] = used(counts.dc[t]) ? optimalDefinition(counts.dc[t]) : TableDefinition{};
        s.ac[t] = used(counts.ac[t]) ? optimalDefinition(counts.ac[t]) : TableDefinition{};
    }
}

// One scan through the library's encoders with the scan's tables, flushed at
// the end, into a destination of `room` bytes. The first failing status goes
// to *failure (a test failure when no failure is expected).
inline std::vector<uint8_t> libraryEncodeScan(const Frame& f, const Blocks& blocks,
                                              const ProgressiveScan& s, int32_t room = 1 << 22,
                                              ZeqStatus* failure = nullptr) {
    EncodeSpecBuffer dc[2] = {encodeSpec(s.dc[0]), encodeSpec(s.dc[1])};
    EncodeSpecBuffer ac[2] = {encodeSpec(s.ac[0]), encodeSpec(s.ac[1])};
    EncodeStateBuffer state = freshEncodeState();
    std::vector<uint8_t> out(size_t(room), 0xEE);
    int32_t pos = 0;
    std::vector<int16_t> lastDC(f.components.size(), 0);
    const bool dcScan = s.ss == 0;
    auto code = [&](const int16_t* block, int component, int32_t flush) {
        const HuffmanEncodeSpec* dcTable = dc[tableOf(f, component, true)].get();
        const HuffmanEncodeSpec* acTable = ac[tableOf(f, component, false)].get();
        int16_t* last = &lastDC[size_t(component)];
        if (dcScan && s.ah == 0)
            return zeqiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(block, out.data(), room, &pos, last,
                                                              s.al, dcTable, state.get(), flush);
        if (dcScan)
            return zeqiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(block, out.data(), room, &pos, s.al,
                                                               state.get(), flush);
        if (s.ah == 0)
            return zeqiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(
                block, out.data(), room, &pos, s.ss, s.se, s.al, acTable, state.get(), flush);
        return zeqiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(block, out.data(), room, &pos, s.ss,
                                                           s.se, s.al, acTable, state.get(), flush);
    };
    ZeqStatus status = StatusOk;
    for (BlockRef b : scanBlocks(f, s.components))
        if ((status = code(blockAt(blocks, b), b.component, 0)) != StatusOk) break;
    if (status == StatusOk) status = code(nullptr, s.components[0], 1);
    if (failure != nullptr)
        *failure = status;
    else
        EXPECT_EQ(status, StatusOk);
    out.resize(size_t(pos));
    return out;
}

// The whole script: statistics, optimal tables and data of every scan.
inline std::vector<ProgressiveScan> libraryEncodeScript(const Frame& f, const Blocks& blocks,
                                                        std::vector<ProgressiveScan> script) {
    for (ProgressiveScan& s : script) {
        setOptimalTables(s, libraryScanStatistics(f, blocks, s));
        s.data = libraryEncodeScan(f, blocks, s);
    }
    return script;
}

// One scan (tables dc/ac by id, data to the end of the file) through the
// library's decoders into `blocks`, which keeps what earlier scans decoded.
inline bool libraryDecodeScan(const Frame& f, Blocks& blocks, const std::vector<int>& members,
                              int ss, int se, int ah, int al, const TableDefinition* dcDefs,
                              const TableDefinition* acDefs, const std::vector<uint8_t>& data) {
    DecodeSpecBuffer dc[4], ac[4];
    for (int t = 0; t < 4; ++t) {
        if (!dcDefs[t].values.empty()) dc[t] = decodeSpec(dcDefs[t]);
        if (!acDefs[t].values.empty()) ac[t] = decodeSpec(acDefs[t]);
    }
    DecodeStateBuffer state = freshDecodeState();
    int32_t pos = 0, marker = 0;
    const int32_t len = int32_t(data.size());
    std::vector<int16_t> lastDC(f.components.size(), 0);
    for (BlockRef b : scanBlocks(f, members)) {
        int16_t* block = blockAt(blocks, b);
        ZeqStatus status;
        if (ss == 0 && ah == 0)
            status = zeqiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(
                data.data(), len, &pos, block, &lastDC[size_t(b.component)], &marker, al,
                dc[tableOf(f, b.component, true)].get(), state.get());
        else if (ss == 0)
            status = zeqiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(data.data(), len, &pos, block,
                                                                 &marker, al, state.get());
        else if (ah == 0)
            status = zeqiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(
                data.data(), len, &pos, block, &marker, ss, se, al,
                ac[tableOf(f, b.component, false)].get(), state.get());
        else
            status = zeqiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(
                data.data(), len, &pos, block, &marker, ss, se, al,
                ac[tableOf(f, b.component, false)].get(), state.get());
        if (status != StatusOk) return false;
    }
    return true;
}

// The reference: bytes unstuffed up to the first marker, then read one bit
// at a time; codes matched against the canonical codes of the definition.
class ReferenceBitReader {
public:
    explicit ReferenceBitReader(const std::vector<uint8_t>& data) {
        for (size_t i = 0; i < data.size(); ++i) {
            if (data[i] == 0xFF) {
                if (i + 1 >= data.size() || data[i + 1] != 0x00) break;
                ++i;
                pushByte(0xFF);
            } else {
                pushByte(data[i]);
            }
        }
    }
    uint32_t bits(int n) {
        uint32_t v = 0;
        for (int i = 0; i < n; ++i) {
            if (at_ >= bits_.size()) {
                ran_out = true;
                return v;
            }
            v = v << 1 | bits_[at_++];
        }
        return v;
    }
    int symbol(const std::map<std::pair<int, uint32_t>, int>& codes) {
        uint32_t code = 0;
        for (int length = 1; length <= 16; ++length) {
            code = code << 1 | bits(1);
            auto it = codes.find({length, code});
            if (it != codes.end()) return it->second;
        }
        ran_out = true;
        return 0;
    }
    bool ran_out = false;

private:
    void pushByte(uint8_t b) {
        for (int i = 7; i >= 0; --i) bits_.push_back((b >> i) & 1);
    }
    std::vector<uint8_t> bits_;
    size_t at_ = 0;
};

inline std::map<std::pair<int, uint32_t>, int> codesToSymbols(const TableDefinition& t) {
    std::map<std::pair<int, uint32_t>, int> m;
    if (t.values.empty()) return m;
    for (const auto& [symbol, code] : canonicalCodes(t)) m[{code.second, code.first}] = symbol;
    return m;
}

inline int32_t extendReference(uint32_t v, int s) {
    return s == 0 ? 0 : (v < (1u << (s - 1)) ? int32_t(v) - (1 << s) + 1 : int32_t(v));
}

// One scan decoded the plain way into `blocks`, counting every symbol read
// per table; false when the data ran out or a code was not found.
inline bool referenceDecodeScan(const Frame& f, Blocks& blocks, const ProgressiveScan& s,
                                ScanCounts& tally) {
    std::map<std::pair<int, uint32_t>, int> dc[2] = {codesToSymbols(s.dc[0]),
                                                     codesToSymbols(s.dc[1])};
    std::map<std::pair<int, uint32_t>, int> ac[2] = {codesToSymbols(s.ac[0]),
                                                     codesToSymbols(s.ac[1])};
    ReferenceBitReader in(s.data);
    std::vector<int32_t> pred(f.components.size(), 0);
    int32_t eobrun = 0;
    const int32_t p1 = 1 << s.al;
    for (BlockRef b : scanBlocks(f, s.components)) {
        int16_t* block = blockAt(blocks, b);
        auto coef = [&](int k) -> int16_t& { return block[NaturalOfZigzag[size_t(k)]]; };
        auto correct = [&](int k) {
            if (in.bits(1) && (coef(k) & p1) == 0)
                coef(k) = int16_t(coef(k) + (coef(k) > 0 ? p1 : -p1));
        };
        if (s.ss == 0 && s.ah == 0) {
            const int t = tableOf(f, b.component, true);
            const int sym = in.symbol(dc[t]);
            ++tally.dc[t][size_t(sym)];
            pred[size_t(b.component)] += extendReference(in.bits(sym), sym);
            block[0] = int16_t(pred[size_t(b.component)] * (1 << s.al));
        } else if (s.ss == 0) {
            if (in.bits(1)) block[0] = int16_t(block[0] | p1);
        } else if (s.ah == 0) {
            const int t = tableOf(f, b.component, false);
            if (eobrun > 0) {
                --eobrun;
                continue;
            }
            for (int k = s.ss; k <= s.se; ++k) {
                const int rs = in.symbol(ac[t]);
                ++tally.ac[t][size_t(rs)];
                const int r = rs >> 4, size = rs & 15;
                if (size == 0) {
                    if (r == 15) {
                        k += 15;
                        continue;
                    }
                    eobrun = (1 << r) + int32_t(in.bits(r)) - 1;
                    break;
                }
                k += r;
                if (k > s.se) return false;
                coef(k) = int16_t(extendReference(in.bits(size), size) * (1 << s.al));
            }
        } else {
            const int t = tableOf(f, b.component, false);
            int k = s.ss;
            if (eobrun == 0) {
                while (k <= s.se) {
                    const int rs = in.symbol(ac[t]);
                    ++tally.ac[t][size_t(rs)];
                    const int r = rs >> 4, size = rs & 15;
                    if (size == 0 && r < 15) {
                        eobrun = (1 << r) + int32_t(in.bits(r));
                        break;
                    }
                    if (size == 0) {  // ZRL: sixteen zeros, corrections between them
                        for (int zeros = 16; k <= s.se && zeros > 0; ++k) {
                            if (coef(k) != 0)
                                correct(k);
                            else
                                --zeros;
                        }
                        continue;
                    }
                    const int16_t value = int16_t(in.bits(1) ? p1 : -p1);
                    for (int zeros = r; k <= s.se; ++k) {
                        if (coef(k) != 0)
                            correct(k);
                        else if (zeros-- == 0)
                            break;
                    }
                    if (k > s.se) return false;
                    coef(k++) = value;
                }
            }
            if (eobrun > 0) {
                for (; k <= s.se; ++k)
                    if (coef(k) != 0) correct(k);
                --eobrun;
            }
        }
        if (in.ran_out) return false;
    }
    return !in.ran_out;
}

}  // namespace zeq::test

#endif  // ZEQ_TESTS_JPEG_ENTROPY_PROGRESSIVE_SCANS_H
