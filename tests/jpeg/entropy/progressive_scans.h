// Progressive scans for the tests: random scan scripts and a plain
// bit-by-bit reference decoder that also tallies every symbol it reads.
#ifndef ZEQ_TESTS_JPEG_ENTROPY_PROGRESSIVE_SCANS_H
#define ZEQ_TESTS_JPEG_ENTROPY_PROGRESSIVE_SCANS_H

#include <array>
#include <initializer_list>
#include <map>
#include <random>
#include <utility>
#include <vector>

#include "tests/common/test_support.h"
#include "tests/jpeg/entropy/huffman_test_support.h"
#include "tests/jpeg/entropy/jpeg_file.h"
#include "tests/jpeg/entropy/progressive_drivers.h"

namespace zeq::test {

// A block with the given values at zigzag indices, zeros elsewhere.
inline std::array<int16_t, 64> zigzagBlock(
    std::initializer_list<std::pair<int, int16_t>> zigzagValues) {
    std::array<int16_t, 64> b{};
    for (auto [k, v] : zigzagValues) b[zeq::NaturalOfZigzag[size_t(k)]] = v;
    return b;
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
