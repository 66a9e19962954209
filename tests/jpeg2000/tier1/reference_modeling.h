// A plain model of tier-1 coding for the tests: per-sample flags in ordinary
// arrays, contexts counted from the neighbours with the standard's tables,
// samples visited one at a time. It lists the decisions (bit and context
// label) that a code block produces, the reference for the library's
// stripe-column passes.
#ifndef ZEQ_TESTS_JPEG2000_TIER1_REFERENCE_MODELING_H
#define ZEQ_TESTS_JPEG2000_TIER1_REFERENCE_MODELING_H

#include <cstdint>
#include <utility>
#include <vector>

namespace zeq::test::t1 {

struct ReferenceDecision {
    int bit;
    int label;  // -1 in raw passes (no context)
    bool operator==(const ReferenceDecision& o) const { return bit == o.bit && label == o.label; }
};

struct ReferencePass {
    std::vector<ReferenceDecision> decisions;
    bool raw = false;
};

class ReferenceModel {
public:
    // words: sign-magnitude samples, rows packed; flags: causal 1, bypass 2,
    // segmentation symbol 16 (the others do not change the decisions).
    ReferenceModel(const std::vector<int32_t>& words, int width, int height, int subband, int flags)
        : w_(width),
          h_(height),
          subband_(subband),
          causal_((flags & 1) != 0),
          bypass_((flags & 2) != 0),
          segmentation_((flags & 16) != 0),
          words_(words),
          sig_(words.size()),
          visited_(words.size()),
          refined_(words.size()) {}

    std::vector<ReferencePass> run(int lowestPlane) {
        uint32_t largest = 0;
        for (int32_t v : words_) largest |= static_cast<uint32_t>(v) & 0x7FFFFFFFu;
        int planes = 0;
        while (planes < 31 && (largest >> planes) != 0) ++planes;
        std::vector<ReferencePass> passes;
        if (planes - 1 < lowestPlane) return passes;
        cleanup(planes - 1, passes);
        for (int p = planes - 2; p >= lowestPlane; --p) {
            const bool raw = bypass_ && p < planes - 4;
            significance(p, raw, passes);
            refinement(p, raw, passes);
            cleanup(p, passes);
        }
        return passes;
    }

protected:
    int index(int x, int y) const { return y * w_ + x; }
    uint32_t magnitude(int x, int y) const {
        return static_cast<uint32_t>(words_[index(x, y)]) & 0x7FFFFFFFu;
    }
    bool negative(int x, int y) const { return words_[index(x, y)] < 0; }

    // Neighbour (x + dx, y + dy) as seen from (x, y): outside the block, or
    // below the stripe of a last stripe row in causal mode, it is
    // insignificant.
    bool seesSignificant(int x, int y, int dx, int dy) const {
        const int nx = x + dx, ny = y + dy;
        if (nx < 0 || ny < 0 || nx >= w_ || ny >= h_) return false;
        if (causal_ && dy == 1 && y % 4 == 3) return false;
        return sig_[index(nx, ny)] != 0;
    }
    // +1 positive significant neighbour, -1 negative, 0 insignificant.
    int signedNeighbour(int x, int y, int dx, int dy) const {
        if (!seesSignificant(x, y, dx, dy)) return 0;
        return negative(x + dx, y + dy) ? -1 : 1;
    }

    // The standard's zero-coding contexts 0..8 (label = context + 2).
    int zeroCodingLabel(int x, int y) const {
        int h = seesSignificant(x, y, -1, 0) + seesSignificant(x, y, 1, 0);
        int v = seesSignificant(x, y, 0, -1) + seesSignificant(x, y, 0, 1);
        const int d = seesSignificant(x, y, -1, -1) + seesSignificant(x, y, 1, -1) +
                      seesSignificant(x, y, -1, 1) + seesSignificant(x, y, 1, 1);
        if (subband_ == 2) std::swap(h, v);
        int context;
        if (subband_ == 3) {
            const int hv = h + v;
            if (d >= 3)
                context = 8;
            else if (d == 2)
                context = hv >= 1 ? 7 : 6;
            else if (d == 1)
                context = hv >= 2 ? 5 : (hv == 1 ? 4 : 3);
            else
                context = hv >= 2 ? 2 : hv;
        } else if (h == 2) {
            context = 8;
        } else if (h == 1) {
            context = v >= 1 ? 7 : (d >= 1 ? 6 : 5);
        } else if (v >= 1) {
            context = v == 2 ? 4 : 3;
        } else {
            context = d >= 2 ? 2 : d;
        }
        return context + 2;
    }

    bool hasSignificantNeighbour(int x, int y) const {
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx)
                if ((dx || dy) && seesSignificant(x, y, dx, dy)) return true;
        return false;
    }

    // The standard's sign contexts 9..13 (as the label) and XOR bit from the
    // horizontal and vertical contributions.
    ReferenceDecision signContext(int x, int y) const {
        const auto clamp = [](int s) { return s > 0 ? 1 : (s < 0 ? -1 : 0); };
        const int h = clamp(signedNeighbour(x, y, -1, 0) + signedNeighbour(x, y, 1, 0));
        const int v = clamp(signedNeighbour(x, y, 0, -1) + signedNeighbour(x, y, 0, 1));
        static const int kContext[3][3] = {{13, 12, 11}, {10, 9, 10}, {11, 12, 13}};  // [h+1][v+1]
        static const int kXor[3][3] = {{1, 1, 1}, {1, 0, 0}, {0, 0, 0}};
        return {kXor[h + 1][v + 1], kContext[h + 1][v + 1] + 2};
    }
    ReferenceDecision signDecision(int x, int y) const {
        const ReferenceDecision c = signContext(x, y);
        return {(negative(x, y) ? 1 : 0) ^ c.bit, c.label};
    }

    // Run mode: a stripe column of four rows none of which is significant,
    // visited or next to a significant sample.
    bool startsRunMode(int x, int y0, int end) const {
        bool runMode = end - y0 == 4;
        for (int k = y0; k < end && runMode; ++k)
            runMode =
                !sig_[index(x, k)] && !visited_[index(x, k)] && !hasSignificantNeighbour(x, k);
        return runMode;
    }

    void becomeSignificant(int x, int y, bool raw, std::vector<ReferenceDecision>& out) {
        if (raw)
            out.push_back({negative(x, y) ? 1 : 0, -1});
        else
            out.push_back(signDecision(x, y));
        sig_[index(x, y)] = 1;
    }

    template <class Visit>
    void scan(Visit visit) {
        for (int y0 = 0; y0 < h_; y0 += 4)
            for (int x = 0; x < w_; ++x)
                for (int y = y0; y < y0 + 4 && y < h_; ++y) visit(x, y, y0);
    }

    void significance(int p, bool raw, std::vector<ReferencePass>& passes) {
        ReferencePass pass;
        pass.raw = raw;
        scan([&](int x, int y, int) {
            const int i = index(x, y);
            if (sig_[i] || !hasSignificantNeighbour(x, y)) return;
            const int bit = (magnitude(x, y) >> p) & 1;
            pass.decisions.push_back({bit, raw ? -1 : zeroCodingLabel(x, y)});
            if (bit) becomeSignificant(x, y, raw, pass.decisions);
            visited_[i] = 1;
        });
        passes.push_back(pass);
    }

    void refinement(int p, bool raw, std::vector<ReferencePass>& passes) {
        ReferencePass pass;
        pass.raw = raw;
        scan([&](int x, int y, int) {
            const int i = index(x, y);
            if (!sig_[i] || visited_[i]) return;
            const int label = refined_[i] ? 18 : (hasSignificantNeighbour(x, y) ? 17 : 16);
            pass.decisions.push_back(
                {static_cast<int>((magnitude(x, y) >> p) & 1), raw ? -1 : label});
            refined_[i] = 1;
        });
        passes.push_back(pass);
    }

    void cleanup(int p, std::vector<ReferencePass>& passes) {
        ReferencePass pass;
        auto& out = pass.decisions;
        for (int y0 = 0; y0 < h_; y0 += 4) {
            for (int x = 0; x < w_; ++x) {
                int y = y0;
                const int end = y0 + 4 < h_ ? y0 + 4 : h_;
                if (startsRunMode(x, y0, end)) {
                    int first = -1;
                    for (int k = 0; k < 4 && first < 0; ++k)
                        if ((magnitude(x, y0 + k) >> p) & 1) first = k;
                    out.push_back({first >= 0, 1});
                    if (first < 0) continue;
                    out.push_back({first >> 1, 0});
                    out.push_back({first & 1, 0});
                    becomeSignificant(x, y0 + first, false, out);
                    y = y0 + first + 1;
                }
                for (; y < end; ++y) {
                    const int i = index(x, y);
                    if (sig_[i] || visited_[i]) continue;
                    const int bit = (magnitude(x, y) >> p) & 1;
                    out.push_back({bit, zeroCodingLabel(x, y)});
                    if (bit) becomeSignificant(x, y, false, out);
                }
            }
        }
        for (auto& v : visited_) v = 0;
        if (segmentation_)
            for (int bit : {1, 0, 1, 0}) out.push_back({bit, 0});
        passes.push_back(pass);
    }

    int w_, h_, subband_;
    bool causal_, bypass_, segmentation_;
    const std::vector<int32_t>& words_;
    std::vector<uint8_t> sig_, visited_, refined_;
};

}  // namespace zeq::test::t1

#endif  // ZEQ_TESTS_JPEG2000_TIER1_REFERENCE_MODELING_H
