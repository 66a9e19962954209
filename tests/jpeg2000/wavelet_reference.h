// Plain references for the wavelet tests, written from the definitions with
// 64-bit values and explicit wrapping: one line at a time through an
// extended copy, the way the transforms are defined, with nothing shared
// with the library's drivers.
#ifndef ZEQ_TESTS_JPEG2000_WAVELET_REFERENCE_H
#define ZEQ_TESTS_JPEG2000_WAVELET_REFERENCE_H

#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

namespace zeq::test::wavelet {

using Line = std::vector<int64_t>;

inline int64_t wrapTo(int64_t v, int bits) {
    const uint64_t mask = bits == 64 ? ~uint64_t{0} : ((uint64_t{1} << bits) - 1);
    uint64_t u = static_cast<uint64_t>(v) & mask;
    if (bits < 64 && (u >> (bits - 1))) u |= ~mask;
    return static_cast<int64_t>(u);
}
inline int64_t floorShift(int64_t v, int s) { return v >> s; }

// Mirror of position k in a line of n >= 2 samples (reflect until inside).
inline int32_t reflect(int32_t k, int32_t n) {
    while (k < 0 || k >= n) k = k < 0 ? -k : 2 * (n - 1) - k;
    return k;
}

// Extended copy: y[k + margin] = x[mirror(k)] for k in [-margin, n + margin).
inline Line extend(const Line& x, int32_t margin) {
    const int32_t n = static_cast<int32_t>(x.size());
    Line y(x.size() + 2 * margin);
    for (int32_t k = -margin; k < n + margin; ++k) y[k + margin] = x[n == 1 ? 0 : reflect(k, n)];
    return y;
}

// Low samples (positions with (k + p) even) then high samples.
inline Line lowThenHigh(const Line& y, int32_t margin, int32_t n, int p) {
    Line out;
    for (int32_t k = 0; k < n; ++k)
        if (((k + p) & 1) == 0) out.push_back(y[k + margin]);
    for (int32_t k = 0; k < n; ++k)
        if (((k + p) & 1) == 1) out.push_back(y[k + margin]);
    return out;
}
inline Line interleaveBack(const Line& bands, int32_t n, int p) {
    Line x(n);
    int32_t lo = 0, hi = (n + 1 - p) / 2;
    for (int32_t k = 0; k < n; ++k) x[k] = ((k + p) & 1) == 0 ? bands[lo++] : bands[hi++];
    return x;
}

// 5/3 of one line as the whole-level members define it; bits = 16 or 32.
// sumBits = 64 gives the exact transform (nothing wraps).
inline Line forward53(const Line& x, int p, int bits, int sumBits = 32) {
    const int32_t n = static_cast<int32_t>(x.size());
    auto w = [&](int64_t v) { return wrapTo(v, bits); };
    auto s32 = [&](int64_t v) { return wrapTo(v, sumBits); };
    if (n == 1) return {p ? w(2 * x[0]) : x[0]};
    if (n == 2) {
        const int64_t e = x[p], o = x[1 - p];
        const int64_t h = w(o - e);
        return {w(e + (s32(h + 1) >> 1)), h};
    }
    const int32_t m = 2;
    Line y = extend(x, m);
    for (int32_t k = -1; k <= n; ++k)
        if ((k + p) & 1) y[k + m] = w(y[k + m] - (s32(y[k - 1 + m] + y[k + 1 + m]) >> 1));
    for (int32_t k = 0; k < n; ++k)
        if (!((k + p) & 1))
            y[k + m] = w(y[k + m] + (s32(s32(y[k - 1 + m] + y[k + 1 + m]) + 2) >> 2));
    return lowThenHigh(y, m, n, p);
}

inline Line inverse53(const Line& bands, int p, int bits) {
    const int32_t n = static_cast<int32_t>(bands.size());
    auto w = [&](int64_t v) { return wrapTo(v, bits); };
    auto s32 = [&](int64_t v) { return wrapTo(v, 32); };
    if (n == 1) return {p ? (bands[0] >> 1) : bands[0]};
    if (n == 2) {
        const int64_t l = bands[0], h = bands[1];
        const int64_t e = w(l - (s32(h + 1) >> 1)), o = w(h + e);
        return p ? Line{o, e} : Line{e, o};
    }
    const int32_t m = 2;
    Line y = extend(interleaveBack(bands, n, p), m);
    for (int32_t k = -1; k <= n; ++k)
        if (!((k + p) & 1))
            y[k + m] = w(y[k + m] - (s32(s32(y[k - 1 + m] + y[k + 1 + m]) + 2) >> 2));
    for (int32_t k = 0; k < n; ++k)
        if ((k + p) & 1) y[k + m] = w(y[k + m] + (s32(y[k - 1 + m] + y[k + 1 + m]) >> 1));
    return Line(y.begin() + m, y.begin() + m + n);
}

// A tile as rows of 64-bit values.
using Tile = std::vector<Line>;

// Vertical then horizontal, each line through f(line, parity).
inline Tile level(const Tile& in, int px, int py, const std::function<Line(const Line&, int)>& f) {
    const int32_t h = static_cast<int32_t>(in.size()), w = static_cast<int32_t>(in[0].size());
    Tile t = in;
    for (int32_t x = 0; x < w; ++x) {
        Line col(h);
        for (int32_t y = 0; y < h; ++y) col[y] = t[y][x];
        col = f(col, py);
        for (int32_t y = 0; y < h; ++y) t[y][x] = col[y];
    }
    for (auto& row : t) row = f(row, px);
    return t;
}
// Horizontal then vertical (the inverse order).
inline Tile levelInverse(const Tile& in, int px, int py,
                         const std::function<Line(const Line&, int)>& f) {
    const int32_t h = static_cast<int32_t>(in.size()), w = static_cast<int32_t>(in[0].size());
    Tile t = in;
    for (auto& row : t) row = f(row, px);
    for (int32_t x = 0; x < w; ++x) {
        Line col(h);
        for (int32_t y = 0; y < h; ++y) col[y] = t[y][x];
        col = f(col, py);
        for (int32_t y = 0; y < h; ++y) t[y][x] = col[y];
    }
    return t;
}

// ---- 9/7 ----------------------------------------------------------------

// Lifting of the samples y at line positions [lo, lo + y.size()), first
// position parity p. Each step rewrites the positions of one parity (0 low,
// 1 high) with op(step, x, left, right); a position is valid while it and
// the neighbours it read were; the result marks the valid positions.
template <class V, class Op>
std::vector<bool> liftWindow(std::vector<V>& y, int32_t lo, int p, const std::vector<int>& targets,
                             const std::vector<bool>& reads, const Op& op) {
    const int32_t n = static_cast<int32_t>(y.size());
    std::vector<bool> ok(n, true);
    for (size_t s = 0; s < targets.size(); ++s) {
        std::vector<bool> next = ok;
        std::vector<V> out = y;
        for (int32_t i = 0; i < n; ++i) {
            const int32_t pos = lo + i;
            if ((((pos + p) & 1) ? 1 : 0) != targets[s]) continue;
            if (!reads[s]) {
                out[i] = op(static_cast<int>(s), pos, y[i], y[i], y[i]);
                continue;
            }
            if (i == 0 || i == n - 1) {
                next[i] = false;
                continue;
            }
            next[i] = ok[i] && ok[i - 1] && ok[i + 1];
            out[i] = op(static_cast<int>(s), pos, y[i], y[i - 1], y[i + 1]);
        }
        y = out;
        ok = next;
    }
    return ok;
}

// 16.16 rounding: (v + 32768) >> 16; 2.14: (v + 8192) >> 14.
inline int64_t round16(int64_t v) { return (v + 32768) >> 16; }
inline int64_t round14(int64_t v) { return (v + 8192) >> 14; }
inline int64_t sat16(int64_t v) { return v < -32768 ? -32768 : (v > 32767 ? 32767 : v); }

// Constants as listed for the 9/7 members.
constexpr int64_t kA16 = -103949, kB16 = -3472, kG16 = 57862, kD16 = 29066, kK16 = 80621,
                  kInvK16 = 53274, kDK16 = 23627;
constexpr int64_t kA14 = -25987, kB14 = -868, kG14 = 14466, kD14 = 7266, kK14 = 20155,
                  kInvK14 = 13318;
constexpr double kAf = -1.5861343, kBf = -0.052980117, kGf = 0.8829111, kDf = 0.44350687,
                 kKf = 1.2301741, kInvKf = 0.8128931;

}  // namespace zeq::test::wavelet

#endif  // ZEQ_TESTS_JPEG2000_WAVELET_REFERENCE_H
