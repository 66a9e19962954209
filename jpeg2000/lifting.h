// The lifting framework shared by the 5/3 and 9/7 wavelets. A scheme is a
// list of steps (wavelet_steps.h); everything else is common:
//
// - Plan: which band indices each step must compute so that a chosen range of
//   outputs comes out, and which raw samples that reads. The Row and Col
//   members read exactly the plan's raw range from the caller's extension.
// - Line lifting: a line split into its low (E) and high (O) samples in two
//   runs, so that every step is a vector loop over contiguous elements.
// - Rows lifting: the same plan where each band index is a whole row.
// - The whole-level driver: vertical lifting in place on the tile rows with
//   mirrored neighbours (whole-sample symmetric extension), pipelined so
//   that each row is finished, horizontally transformed and converted while
//   it is still in cache; then the rows are reordered low band first.
//
// Band indices: with p the parity of the first sample, low sample j sits at
// line position 2j + p and high sample j at 2j + 1 - p. A high sample's
// neighbours are low j - p and j + 1 - p; a low sample's are high j + p - 1
// and j + p.
#ifndef ZEQ_JPEG2000_LIFTING_H
#define ZEQ_JPEG2000_LIFTING_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "core/rows.h"
#include "jpeg2000/wavelet_level.h"
#include "jpeg2000/wavelet_steps.h"
#include "zeqj.h"

namespace zeq::wt {

enum Band : int { Low = 0, High = 1 };

// Step kinds: reads both neighbours; reads nothing; reads both neighbours
// but E::endOne replaces the kernel where a neighbour lies outside the line.
struct Lifting {};
struct Scaling {};
template <class E>
struct SeparateEnds {};

template <class K, Band kTarget, class Kind = Lifting>
struct Step {
    using Kernel = K;
    using StepKind = Kind;
    static constexpr Band target = kTarget;
    static constexpr bool readsNeighbours = !std::is_same_v<Kind, Scaling>;
};

template <class... S>
struct Steps {
    static constexpr int count = sizeof...(S);
    static constexpr Band target[count] = {S::target...};
    static constexpr bool readsNeighbours[count] = {S::readsNeighbours...};
    // f(step, index) for each step in order.
    template <class F>
    static void forEach(F&& f) {
        int i = 0;
        (f(S{}, i++), ...);
    }
};

template <class K>
struct EndsOf {
    using type = void;
};
template <class E>
struct EndsOf<SeparateEnds<E>> {
    using type = E;
};

// Index of the first neighbour of band index j in the other band is j + offset.
inline int32_t neighbourOffset(Band target, int p) { return target == High ? -p : p - 1; }

// Position of the mirror of line position k in a line of n samples
// (whole-sample symmetric extension, folded as often as a short line needs).
inline int32_t mirror(int32_t k, int32_t n) {
    if (n == 1) return 0;
    const int32_t period = 2 * (n - 1);
    int32_t m = k % period;
    if (m < 0) m += period;
    return m < n ? m : period - m;
}

inline int32_t lowCount(int32_t n, int p) { return (n + 1 - p) / 2; }

struct Range {
    int32_t lo = 0;
    int32_t hi = 0;
    bool empty() const { return hi <= lo; }
    int32_t size() const { return hi > lo ? hi - lo : 0; }
};
inline Range hull(Range a, Range b) {
    if (a.empty()) return b;
    if (b.empty()) return a;
    return {std::min(a.lo, b.lo), std::max(a.hi, b.hi)};
}

constexpr int kMaxSteps = 8;

struct Plan {
    int p = 0;
    int32_t length[2] = {0, 0};  // band lengths of the whole line
    Range step[kMaxSteps];       // indices each step computes
    Range raw[2];                // raw samples read, per band
};

// Walks the steps backwards from the wanted outputs.
template <class S>
Plan makePlan(int p, Range outLow, Range outHigh, int32_t nLow, int32_t nHigh) {
    static_assert(S::count <= kMaxSteps);
    Plan plan;
    plan.p = p;
    plan.length[Low] = nLow;
    plan.length[High] = nHigh;
    Range need[2] = {outLow, outHigh};
    for (int s = S::count - 1; s >= 0; --s) {
        const Band t = S::target[s];
        const Range r = need[t];
        plan.step[s] = r;
        if (S::readsNeighbours[s] && !r.empty()) {
            const int32_t off = neighbourOffset(t, p);
            need[1 - t] = hull(need[1 - t], Range{r.lo + off, r.hi + off + 1});
        }
    }
    plan.raw[Low] = need[Low];
    plan.raw[High] = need[High];
    return plan;
}

// Runs the steps of S over the plan's ranges. Access supplies
//   lift<K>(target, lo, hi, neighbourBand, offset)   (neighbours j+off, j+off+1)
//   scale<K>(target, lo, hi)
//   end<E>(target, j, neighbourBand, offset)         (one index, scalar)
template <class S, class Access>
void runPlan(const Plan& plan, Access& access) {
    S::forEach([&](auto step, int s) {
        using St = decltype(step);
        using K = typename St::Kernel;
        const Range r = plan.step[s];
        if (r.empty()) return;
        constexpr Band t = St::target;
        constexpr Band nb = t == Low ? High : Low;
        if constexpr (!St::readsNeighbours) {
            access.template scale<K>(t, r.lo, r.hi);
        } else {
            const int32_t off = neighbourOffset(t, plan.p);
            using E = typename EndsOf<typename St::StepKind>::type;
            if constexpr (std::is_void_v<E>) {
                access.template lift<K>(t, r.lo, r.hi, nb, off);
            } else {
                // Interior: both neighbours inside the line.
                const int32_t iLo = std::min(r.hi, std::max(r.lo, -off));
                const int32_t iHi = std::max(iLo, std::min(r.hi, plan.length[nb] - 1 - off));
                for (int32_t j = r.lo; j < iLo; ++j) access.template end<E>(t, j, nb, off);
                if (iHi > iLo) access.template lift<K>(t, iLo, iHi, nb, off);
                for (int32_t j = iHi; j < r.hi; ++j) access.template end<E>(t, j, nb, off);
            }
        }
    });
}

// ---- Line lifting: each band one contiguous run --------------------------

template <class T>
struct LineAccess {
    uint8_t* base[2];
    int32_t lo[2];

    uint8_t* at(Band b, int32_t j) const {
        return base[b] + static_cast<std::ptrdiff_t>(j - lo[b]) * sizeof(T);
    }
    template <class K>
    void lift(Band t, int32_t lo0, int32_t hi0, Band nb, int32_t off) {
        liftRun<K>(at(t, lo0), at(t, lo0), at(nb, lo0 + off), at(nb, lo0 + off + 1), hi0 - lo0);
    }
    template <class K>
    void scale(Band t, int32_t lo0, int32_t hi0) {
        uint8_t* p = at(t, lo0);
        liftRun<K>(p, p, p, p, hi0 - lo0);
    }
    template <class E>
    void end(Band t, int32_t j, Band nb, int32_t off) {
        storeElement<T>(at(t, j), 0,
                        E::endOne(loadElement<T>(at(t, j), 0), loadElement<T>(at(nb, j + off), 0),
                                  loadElement<T>(at(nb, j + off + 1), 0)));
    }
};

// Lays out the plan's raw ranges in buf: low run, then high run.
template <class T>
LineAccess<T> lineAccess(const Plan& plan, uint8_t* buf) {
    LineAccess<T> a;
    a.base[Low] = buf;
    a.lo[Low] = plan.raw[Low].lo;
    a.base[High] = buf + static_cast<std::ptrdiff_t>(plan.raw[Low].size()) * sizeof(T);
    a.lo[High] = plan.raw[High].lo;
    return a;
}

// f(j) for the indices of r below `from` and from `to` on.
template <class F>
void forEachOutside(Range r, int32_t from, int32_t to, const F& f) {
    for (int32_t j = r.lo; j < std::min(r.hi, from); ++j) f(j);
    for (int32_t j = std::max(r.lo, std::max(from, to)); j < r.hi; ++j) f(j);
}

// x points at line position 0. Copies the samples of the two ranges out of
// (split) or into (join) the interleaved line; pairs both bands share go
// through the vector (de)interleave.
template <class T>
void splitLine(const uint8_t* x, int p, Range rLow, Range rHigh, const LineAccess<T>& a) {
    constexpr std::ptrdiff_t sz = sizeof(T);
    auto pos = [&](Band b, int32_t j) {
        return 2 * static_cast<std::ptrdiff_t>(j) + (b == Low ? p : 1 - p);
    };
    const int32_t jA = std::max(rLow.lo, rHigh.lo), jB = std::min(rLow.hi, rHigh.hi);
    if (jB > jA) {
        const Band first = p == 0 ? Low : High;
        deinterleave<T>(x + 2 * jA * sz, a.at(first, jA), a.at(first == Low ? High : Low, jA),
                        jB - jA);
    }
    for (Band b : {Low, High}) {
        const Range r = b == Low ? rLow : rHigh;
        forEachOutside(r, jA, jB,
                       [&](int32_t j) { std::memcpy(a.at(b, j), x + pos(b, j) * sz, sz); });
    }
}

template <class T>
void joinLine(uint8_t* x, int p, Range rLow, Range rHigh, const LineAccess<T>& a) {
    constexpr std::ptrdiff_t sz = sizeof(T);
    auto pos = [&](Band b, int32_t j) {
        return 2 * static_cast<std::ptrdiff_t>(j) + (b == Low ? p : 1 - p);
    };
    const int32_t jA = std::max(rLow.lo, rHigh.lo), jB = std::min(rLow.hi, rHigh.hi);
    if (jB > jA) {
        const Band first = p == 0 ? Low : High;
        interleave<T>(a.at(first, jA), a.at(first == Low ? High : Low, jA), x + 2 * jA * sz,
                      jB - jA);
    }
    for (Band b : {Low, High}) {
        const Range r = b == Low ? rLow : rHigh;
        forEachOutside(r, jA, jB,
                       [&](int32_t j) { std::memcpy(x + pos(b, j) * sz, a.at(b, j), sz); });
    }
}

// Fills the raw samples outside a line of n samples from their mirrors.
template <class T>
void extendLine(const Plan& plan, int32_t n, const LineAccess<T>& a) {
    for (Band b : {Low, High}) {
        const int q = b == Low ? plan.p : 1 - plan.p;
        forEachOutside(plan.raw[b], 0, plan.length[b], [&](int32_t j) {
            const int32_t m = mirror(2 * j + q, n);
            std::memcpy(a.at(b, j), a.at(b, (m - q) / 2), sizeof(T));
        });
    }
}

// One band of a Row member's line: element j at base + j * stride bytes.
struct BandView {
    const uint8_t* base;
    std::ptrdiff_t stride;
};
struct BandOut {
    uint8_t* base;
    std::ptrdiff_t stride;
};

// Row members, forward: x (with the caller's extension) to low[0..w) and
// high[0..w). Chunks of the line go through a stack buffer; each chunk reads
// only what the plan of its outputs needs.
constexpr int32_t kLineChunk = 512;
constexpr int32_t kLineMargin = 8;

template <class S, class T>
void rowForward(const uint8_t* x, uint8_t* low, uint8_t* high, int32_t w, int p) {
    alignas(16) uint8_t buf[2 * (kLineChunk + 2 * kLineMargin) * sizeof(T)];
    for (int32_t n0 = 0; n0 < w; n0 += kLineChunk) {
        const int32_t n1 = std::min(w, n0 + kLineChunk);
        const Plan plan = makePlan<S>(p, {n0, n1}, {n0, n1}, w, w);
        LineAccess<T> a = lineAccess<T>(plan, buf);
        splitLine<T>(x, p, plan.raw[Low], plan.raw[High], a);
        runPlan<S>(plan, a);
        std::memcpy(low + n0 * sizeof(T), a.at(Low, n0), (n1 - n0) * sizeof(T));
        std::memcpy(high + n0 * sizeof(T), a.at(High, n0), (n1 - n0) * sizeof(T));
    }
}

// Row members, inverse: low and high (with the caller's extension) to the
// 2w samples of x.
template <class S, class T>
void rowInverse(const uint8_t* low, const uint8_t* high, uint8_t* x, int32_t w, int p) {
    alignas(16) uint8_t buf[2 * (kLineChunk + 2 * kLineMargin) * sizeof(T)];
    for (int32_t n0 = 0; n0 < w; n0 += kLineChunk) {
        const int32_t n1 = std::min(w, n0 + kLineChunk);
        const Plan plan = makePlan<S>(p, {n0, n1}, {n0, n1}, w, w);
        LineAccess<T> a = lineAccess<T>(plan, buf);
        const uint8_t* src[2] = {low, high};
        for (Band b : {Low, High})
            std::memcpy(a.at(b, plan.raw[b].lo),
                        src[b] + static_cast<std::ptrdiff_t>(plan.raw[b].lo) * sizeof(T),
                        plan.raw[b].size() * sizeof(T));
        runPlan<S>(plan, a);
        joinLine<T>(x, p, {n0, n1}, {n0, n1}, a);
    }
}

// Whole-level line, forward: n samples in place, low band first, through the
// scratch line buf (n + 8 elements at most).
template <class S, class T>
void levelLineForward(uint8_t* row, int32_t n, int p, uint8_t* buf) {
    const int32_t nL = lowCount(n, p), nH = n - nL;
    const Plan plan = makePlan<S>(p, {0, nL}, {0, nH}, nL, nH);
    LineAccess<T> a = lineAccess<T>(plan, buf);
    splitLine<T>(row, p, {0, nL}, {0, nH}, a);
    extendLine<T>(plan, n, a);
    runPlan<S>(plan, a);
    std::memcpy(row, a.at(Low, 0), nL * sizeof(T));
    std::memcpy(row + nL * sizeof(T), a.at(High, 0), nH * sizeof(T));
}

template <class S, class T>
void levelLineInverse(uint8_t* row, int32_t n, int p, uint8_t* buf) {
    const int32_t nL = lowCount(n, p), nH = n - nL;
    const Plan plan = makePlan<S>(p, {0, nL}, {0, nH}, nL, nH);
    LineAccess<T> a = lineAccess<T>(plan, buf);
    std::memcpy(a.at(Low, 0), row, nL * sizeof(T));
    std::memcpy(a.at(High, 0), row + nL * sizeof(T), nH * sizeof(T));
    extendLine<T>(plan, n, a);
    runPlan<S>(plan, a);
    joinLine<T>(row, p, {0, nL}, {0, nH}, a);
}

// ---- Rows lifting: each band index one row (Col members) ------------------

struct BandRows {
    const uint8_t* base;  // row of band index 0
    std::ptrdiff_t step;  // bytes from one band index to the next
    const uint8_t* row(int32_t j) const { return base + step * j; }
};

constexpr int32_t kColumnStrip = 256;
constexpr int32_t kEdgeRows = 4;  // rows outside the band, at each end

template <class T>
struct RowsAccess {
    BandRows out[2];
    int32_t length[2];
    int32_t column;  // first column of the strip
    int32_t count;   // columns in the strip
    T (*edge)[2 * kEdgeRows][kColumnStrip];

    uint8_t* at(Band b, int32_t j) const {
        if (j >= 0 && j < length[b])
            return const_cast<uint8_t*>(out[b].row(j)) +
                   static_cast<std::ptrdiff_t>(column) * sizeof(T);
        const int32_t slot = j < 0 ? -j - 1 : kEdgeRows + (j - length[b]);
        return reinterpret_cast<uint8_t*>(edge[b][slot]);
    }
    template <class K>
    void lift(Band t, int32_t lo, int32_t hi, Band nb, int32_t off) {
        for (int32_t j = lo; j < hi; ++j)
            liftRun<K>(at(t, j), at(t, j), at(nb, j + off), at(nb, j + off + 1), count);
    }
    template <class K>
    void scale(Band t, int32_t lo, int32_t hi) {
        for (int32_t j = lo; j < hi; ++j) {
            uint8_t* p = at(t, j);
            liftRun<K>(p, p, p, p, count);
        }
    }
    template <class E>
    void end(Band t, int32_t j, Band nb, int32_t off) {
        uint8_t *r = at(t, j), *a = at(nb, j + off), *b = at(nb, j + off + 1);
        for (int32_t i = 0; i < count; ++i)
            storeElement<T>(
                r, i, E::endOne(loadElement<T>(r, i), loadElement<T>(a, i), loadElement<T>(b, i)));
    }
};

// Col members: `in` gives the raw rows of each band (with the caller's
// extension), `out` the rows of band indices 0..len-1, which also hold the
// intermediate values; indices outside the band live in a stack strip.
template <class S, class T>
void columnsTransform(const BandRows in[2], const BandRows out[2], int32_t len, int p,
                      int32_t width) {
    T edge[2][2 * kEdgeRows][kColumnStrip];
    const Plan plan = makePlan<S>(p, {0, len}, {0, len}, len, len);
    for (int32_t c0 = 0; c0 < width; c0 += kColumnStrip) {
        RowsAccess<T> a{{out[0], out[1]}, {len, len}, c0, std::min(kColumnStrip, width - c0), edge};
        for (Band b : {Low, High})
            for (int32_t j = plan.raw[b].lo; j < plan.raw[b].hi; ++j)
                std::memcpy(a.at(b, j), in[b].row(j) + static_cast<std::ptrdiff_t>(c0) * sizeof(T),
                            a.count * sizeof(T));
        runPlan<S>(plan, a);
    }
}

// ---- Whole level ----------------------------------------------------------

// Vertical lifting in place over n rows of `count` elements, first row at
// parity p. Step s reaches row r at time r + s, after step s - 1 has reached
// both neighbours; pre(r) runs at time r - 1, before anything reads row r,
// and post(r) at time r + count of steps, after the last read of row r.
template <class S, class Pre, class Post>
void liftColumnsInPlace(uint8_t* image, int32_t step, int32_t n, int p, int32_t count,
                        const Pre& pre, const Post& post) {
    auto row = [&](int32_t k) { return rowAt(image, step, mirror(k, n)); };
    for (int32_t t = -1; t < n + S::count; ++t) {
        if (t + 1 < n) pre(t + 1);
        S::forEach([&](auto st, int s) {
            using St = decltype(st);
            static_assert(std::is_same_v<typename St::StepKind, Lifting> ||
                          std::is_same_v<typename St::StepKind, Scaling>);
            const int32_t r = t - s;
            if (r < 0 || r >= n) return;
            if ((((r + p) & 1) ? High : Low) != St::target) return;
            uint8_t* target = row(r);
            if constexpr (St::readsNeighbours)
                liftRun<typename St::Kernel>(target, target, row(r - 1), row(r + 1), count);
            else
                liftRun<typename St::Kernel>(target, target, target, target, count);
        });
        const int32_t done = t - S::count;
        if (done >= 0 && done < n) post(done);
    }
}

// Reorders n rows between interleaved (parity p) and low band first, moving
// each row once along the cycles of the permutation with move(to, from);
// tmp holds the one row saved per cycle. A row already in place is moved
// through tmp as well when kMoveFixed is set (move then transforms).
template <bool kMoveFixed = false, class Move>
void reorderRows(uint8_t* image, int32_t step, int32_t n, int p, size_t rowBytes, uint8_t* tmp,
                 bool toLowFirst, const Move& move) {
    const int32_t nL = lowCount(n, p);
    auto source = [&](int32_t j) -> int32_t {
        if (toLowFirst) return j < nL ? 2 * j + p : 2 * (j - nL) + 1 - p;
        return ((j + p) & 1) == 0 ? (j - p) / 2 : nL + (j - 1 + p) / 2;
    };
    for (int32_t s = 0; s < n; ++s) {
        int32_t k = source(s);
        if (k == s && !kMoveFixed) continue;
        while (k > s) k = source(k);
        if (k < s) continue;  // the cycle was moved from its smallest row
        std::memcpy(tmp, rowAt(image, step, s), rowBytes);
        int32_t j = s;
        for (;;) {
            k = source(j);
            if (k == s) break;
            move(rowAt(image, step, j), rowAt(image, step, k));
            j = k;
        }
        move(rowAt(image, step, j), tmp);
    }
}
inline void reorderRows(uint8_t* image, int32_t step, int32_t n, int p, size_t rowBytes,
                        uint8_t* tmp, bool toLowFirst) {
    reorderRows(image, step, n, p, rowBytes, tmp, toLowFirst,
                [&](uint8_t* to, const uint8_t* from) { std::memcpy(to, from, rowBytes); });
}

// A whole-level family member is described by a Level type:
//   Scheme::Forward / Scheme::Inverse   step lists
//   T                                   element type of the lines while lifting
//   Image                               element type of the tile
//   kMinLifted                          shorter lines take the short-line rules
//   kFloatLines                         rows are single precision while lifting
//   doubled(v), halved(v)               a line of one sample at odd position
//   pairForward(e, o), pairInverse(l, h) two-sample lines (kMinLifted == 3)
template <class L>
void levelShortLinesForward(uint8_t* first, std::ptrdiff_t stride, int32_t n, int p) {
    using T = typename L::T;
    if (n == 1) {
        if (p) storeElement<T>(first, 0, L::doubled(loadElement<T>(first, 0)));
        return;
    }
    if constexpr (L::kMinLifted > 2) {
        // e at the even position, o the other; l to the first sample, h to the second.
        const T v0 = loadElement<T>(first, 0), v1 = loadElement<T>(first + stride, 0);
        T l, h;
        L::pairForward(p ? v1 : v0, p ? v0 : v1, l, h);
        storeElement<T>(first, 0, l);
        storeElement<T>(first + stride, 0, h);
    }
}
template <class L>
void levelShortLinesInverse(uint8_t* first, std::ptrdiff_t stride, int32_t n, int p) {
    using T = typename L::T;
    if (n == 1) {
        if (p) storeElement<T>(first, 0, L::halved(loadElement<T>(first, 0)));
        return;
    }
    if constexpr (L::kMinLifted > 2) {
        const T l = loadElement<T>(first, 0), h = loadElement<T>(first + stride, 0);
        T e, o;
        L::pairInverse(l, h, e, o);
        storeElement<T>(first, 0, p ? o : e);
        storeElement<T>(first + stride, 0, p ? e : o);
    }
}

// A Level type may lift its long lines in one pass:
//   lineForward(src, n, p, dst)   src and dst distinct, dst low band first
template <class L, class = void>
struct HasLineForward : std::false_type {};
template <class L>
struct HasLineForward<L, std::void_t<decltype(&L::lineForward)>> : std::true_type {};

template <class L>
void levelForward(uint8_t* image, int32_t step, const ZeqiRect& rect, uint8_t* buffer) {
    using T = typename L::T;
    const int32_t w = rect.width, h = rect.height;
    const int px = rect.x0 & 1, py = rect.y0 & 1;
    auto pre = [&](int32_t y) {
        if constexpr (L::kFloatLines) int32ToFloat(rowAt(image, step, y), w);
    };
    auto post = [&](int32_t y) {
        uint8_t* r = rowAt(image, step, y);
        if constexpr (HasLineForward<L>::value) {
            if (w >= L::kMinLifted) {
                std::memcpy(buffer, r, w * sizeof(T));
                L::lineForward(buffer, w, px, r);
                return;
            }
        }
        if (w >= L::kMinLifted)
            levelLineForward<typename L::Scheme::Forward, T>(r, w, px, buffer);
        else
            levelShortLinesForward<L>(r, sizeof(T), w, px);
        if constexpr (L::kFloatLines) floatToInt32(r, w);
    };
    if constexpr (HasLineForward<L>::value) {
        if (h >= L::kMinLifted && w >= L::kMinLifted) {
            // The horizontal pass runs in the row reorder: each row is lifted
            // straight from its interleaved place into its final one.
            liftColumnsInPlace<typename L::Scheme::Forward>(
                image, step, h, py, w, [](int32_t) {}, [](int32_t) {});
            reorderRows<true>(
                image, step, h, py, w * sizeof(T), buffer, true,
                [&](uint8_t* to, const uint8_t* from) { L::lineForward(from, w, px, to); });
            return;
        }
    }
    if (h >= L::kMinLifted) {
        liftColumnsInPlace<typename L::Scheme::Forward>(image, step, h, py, w, pre, post);
        reorderRows(image, step, h, py, w * sizeof(typename L::Image), buffer, true);
    } else {
        for (int32_t y = 0; y < h; ++y) pre(y);
        for (int32_t x = 0; x < w; ++x)
            levelShortLinesForward<L>(image + x * sizeof(T), step, h, py);
        for (int32_t y = 0; y < h; ++y) post(y);
    }
}

template <class L>
void levelInverse(uint8_t* image, int32_t step, const ZeqiRect& rect, uint8_t* buffer) {
    using T = typename L::T;
    const int32_t w = rect.width, h = rect.height;
    const int px = rect.x0 & 1, py = rect.y0 & 1;
    auto pre = [&](int32_t y) {
        uint8_t* r = rowAt(image, step, y);
        if constexpr (L::kFloatLines) int32ToFloat(r, w);
        if (w >= L::kMinLifted)
            levelLineInverse<typename L::Scheme::Inverse, T>(r, w, px, buffer);
        else
            levelShortLinesInverse<L>(r, sizeof(T), w, px);
    };
    auto post = [&](int32_t y) {
        if constexpr (L::kFloatLines) floatToInt32(rowAt(image, step, y), w);
    };
    if (h >= L::kMinLifted) {
        reorderRows(image, step, h, py, w * sizeof(typename L::Image), buffer, false);
        liftColumnsInPlace<typename L::Scheme::Inverse>(image, step, h, py, w, pre, post);
    } else {
        for (int32_t y = 0; y < h; ++y) pre(y);
        for (int32_t x = 0; x < w; ++x)
            levelShortLinesInverse<L>(image + x * sizeof(T), step, h, py);
        for (int32_t y = 0; y < h; ++y) post(y);
    }
}

// ---- Region members ---------------------------------------------------------

// Row members over roi.height rows, roi.width coefficients per band.
template <class S, class T>
void rowsForward(const uint8_t* src, int32_t srcStep, uint8_t* low, int32_t lowStep, uint8_t* high,
                 int32_t highStep, ZeqiSize roi, int p) {
    for (int32_t y = 0; y < roi.height; ++y)
        rowForward<S, T>(rowAt(src, srcStep, y), rowAt(low, lowStep, y), rowAt(high, highStep, y),
                         roi.width, p);
}
template <class S, class T>
void rowsInverse(const uint8_t* low, int32_t lowStep, const uint8_t* high, int32_t highStep,
                 ZeqiSize roi, uint8_t* dst, int32_t dstStep, int p) {
    for (int32_t y = 0; y < roi.height; ++y)
        rowInverse<S, T>(rowAt(low, lowStep, y), rowAt(high, highStep, y), rowAt(dst, dstStep, y),
                         roi.width, p);
}

// Col members: roi.width columns, roi.height coefficients per band.
template <class S, class T>
void columnsForward(const uint8_t* src, int32_t srcStep, uint8_t* low, int32_t lowStep,
                    uint8_t* high, int32_t highStep, ZeqiSize roi, int p) {
    const std::ptrdiff_t pair = 2 * static_cast<std::ptrdiff_t>(srcStep);
    const BandRows in[2] = {{rowAt(src, srcStep, p), pair}, {rowAt(src, srcStep, 1 - p), pair}};
    const BandRows out[2] = {{low, lowStep}, {high, highStep}};
    columnsTransform<S, T>(in, out, roi.height, p, roi.width);
}
template <class S, class T>
void columnsInverse(const uint8_t* low, int32_t lowStep, const uint8_t* high, int32_t highStep,
                    ZeqiSize roi, uint8_t* dst, int32_t dstStep, int p) {
    const std::ptrdiff_t pair = 2 * static_cast<std::ptrdiff_t>(dstStep);
    const BandRows in[2] = {{low, lowStep}, {high, highStep}};
    const BandRows out[2] = {{rowAt(dst, dstStep, p), pair}, {rowAt(dst, dstStep, 1 - p), pair}};
    columnsTransform<S, T>(in, out, roi.height, p, roi.width);
}

inline int64_t roundUp32(int64_t v) { return (v + 31) / 32 * 32; }

// Scratch bytes of a whole level: one line of the longer side plus the
// extension samples at both ends (none when every line is short), and for
// the copying members a copy of the tile at a pitch rounded up to 32 bytes.
// Computed for any rectangle, wrapping like 32-bit arithmetic.
inline int32_t levelBufferSize(const ZeqiRect& rect, int32_t sampleBytes, int32_t minLifted,
                               int32_t extensionSamples, bool copies) {
    const int64_t w = rect.width, h = rect.height;
    int64_t size = 0;
    if (w >= minLifted || h >= minLifted)
        size = std::max(w, h) * sampleBytes + extensionSamples * sampleBytes;
    if (copies) size += roundUp32(w * sampleBytes) * h;
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(size)));
}

// The four subbands of a level, in the copying members' layout: sizes from
// the halves of the width and height rounded up and down, whatever the parity.
struct SubbandBlock {
    int32_t x, y, width, height;
};
inline void subbandBlocks(const ZeqiRect& rect, SubbandBlock blocks[4]) {
    const int32_t cw = (rect.width + 1) / 2, fw = rect.width / 2;
    const int32_t ch = (rect.height + 1) / 2, fh = rect.height / 2;
    blocks[0] = {0, 0, cw, ch};
    blocks[1] = {0, ch, cw, fh};
    blocks[2] = {cw, 0, fw, ch};
    blocks[3] = {cw, ch, fw, fh};
}

inline void copyBlock(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep,
                      int32_t rowBytes, int32_t rows) {
    for (int32_t y = 0; y < rows; ++y)
        std::memcpy(rowAt(dst, dstStep, y), rowAt(src, srcStep, y), rowBytes);
}

template <class L>
void levelForwardCopy(const uint8_t* src, int32_t srcStep, const ZeqiRect& rect,
                      uint8_t* const dst[4], const int32_t dstStep[4], uint8_t* buffer) {
    constexpr int32_t sz = sizeof(typename L::Image);
    const int32_t pitch = static_cast<int32_t>(roundUp32(int64_t{rect.width} * sz));
    copyBlock(src, srcStep, buffer, pitch, rect.width * sz, rect.height);
    levelForward<L>(buffer, pitch, rect, rowAt(buffer, pitch, rect.height));
    SubbandBlock blocks[4];
    subbandBlocks(rect, blocks);
    for (int i = 0; i < 4; ++i)
        copyBlock(rowAt(buffer, pitch, blocks[i].y) + blocks[i].x * sz, pitch, dst[i], dstStep[i],
                  blocks[i].width * sz, blocks[i].height);
}

template <class L>
void levelInverseCopy(const uint8_t* const src[4], const int32_t srcStep[4], uint8_t* dst,
                      int32_t dstStep, const ZeqiRect& rect, uint8_t* buffer) {
    constexpr int32_t sz = sizeof(typename L::Image);
    const int32_t pitch = static_cast<int32_t>(roundUp32(int64_t{rect.width} * sz));
    SubbandBlock blocks[4];
    subbandBlocks(rect, blocks);
    for (int i = 0; i < 4; ++i)
        copyBlock(src[i], srcStep[i], rowAt(buffer, pitch, blocks[i].y) + blocks[i].x * sz, pitch,
                  blocks[i].width * sz, blocks[i].height);
    levelInverse<L>(buffer, pitch, rect, rowAt(buffer, pitch, rect.height));
    copyBlock(buffer, pitch, dst, dstStep, rect.width * sz, rect.height);
}

template <class L>
void LevelKernels<L>::forward(uint8_t* image, int32_t step, const ZeqiRect& rect, uint8_t* buffer) {
    levelForward<L>(image, step, rect, buffer);
}
template <class L>
void LevelKernels<L>::inverse(uint8_t* image, int32_t step, const ZeqiRect& rect, uint8_t* buffer) {
    levelInverse<L>(image, step, rect, buffer);
}
template <class L>
void LevelKernels<L>::forwardCopy(const uint8_t* src, int32_t srcStep, const ZeqiRect& rect,
                                  uint8_t* const dst[4], const int32_t dstStep[4],
                                  uint8_t* buffer) {
    levelForwardCopy<L>(src, srcStep, rect, dst, dstStep, buffer);
}
template <class L>
void LevelKernels<L>::inverseCopy(const uint8_t* const src[4], const int32_t srcStep[4],
                                  uint8_t* dst, int32_t dstStep, const ZeqiRect& rect,
                                  uint8_t* buffer) {
    levelInverseCopy<L>(src, srcStep, dst, dstStep, rect, buffer);
}

}  // namespace zeq::wt

#endif  // ZEQ_JPEG2000_LIFTING_H
