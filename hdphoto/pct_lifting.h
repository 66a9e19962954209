// The lifting steps of the photo core transform, written once over a lane
// type so the scalar block and the four-block SSE2 path run the very same
// sequence. A lane type supplies wrapping 32-bit +, -, an arithmetic >> and
// splat(int). Coefficient k of a block is c[k], k = 4 * row + column.
#ifndef ZEQ_HDPHOTO_PCT_LIFTING_H
#define ZEQ_HDPHOTO_PCT_LIFTING_H

namespace zeq::pct {

template <class L>
inline L times3(L x) {
    return x + x + x;
}

// Its own inverse; r is the rounding added before the halving (0 or 1).
template <int kRounding, class L>
inline void hadamard(L& a, L& b, L& c, L& d) {
    a = a + d;
    b = b - c;
    const L t = (a - b + L::splat(kRounding)) >> 1;
    const L oldC = c;
    c = t - d;
    d = t - oldC;
    a = a - d;
    b = b + c;
}

template <class L>
inline void oddForward(L& a, L& b, L& c, L& d) {
    b = b - c;
    a = a + d;
    c = c + ((b + L::splat(1)) >> 1);
    d = ((a + L::splat(1)) >> 1) - d;
    b = b - ((times3(a) + L::splat(4)) >> 3);
    a = a + ((times3(b) + L::splat(4)) >> 3);
    d = d - ((times3(c) + L::splat(4)) >> 3);
    c = c + ((times3(d) + L::splat(4)) >> 3);
    d = d + (b >> 1);
    c = c - ((a + L::splat(1)) >> 1);
    b = b - d;
    a = a + c;
}

template <class L>
inline void oddInverse(L& a, L& b, L& c, L& d) {
    b = b + d;
    a = a - c;
    d = d - (b >> 1);
    c = c + ((a + L::splat(1)) >> 1);
    a = a - ((times3(b) + L::splat(4)) >> 3);
    b = b + ((times3(a) + L::splat(4)) >> 3);
    c = c - ((times3(d) + L::splat(4)) >> 3);
    d = d + ((times3(c) + L::splat(4)) >> 3);
    c = c - ((b + L::splat(1)) >> 1);
    d = ((a + L::splat(1)) >> 1) - d;
    b = b + c;
    a = a - d;
}

// Both odd-odd kernels open and close with the same steps around a rotation
// of (a, b); the inverse runs the forward rotation backwards.
template <class L, class Rotation>
inline void oddOddFrame(L& a, L& b, L& c, L& d, Rotation rotate) {
    d = d + a;
    c = c - b;
    const L t1 = d >> 1;
    a = a - t1;
    const L t2 = c >> 1;
    b = b + t2;
    rotate(a, b);
    b = b - t2;
    a = a + t1;
    c = c + b;
    d = d - a;
}

// The asymmetric offsets (4, then 3 and 3) are part of the transform.
template <class L>
inline void oddOddForward(L& a, L& b, L& c, L& d) {
    b = L::splat(0) - b;
    c = L::splat(0) - c;
    oddOddFrame(a, b, c, d, [](L& x, L& y) {
        x = x + ((times3(y) + L::splat(4)) >> 3);
        y = y - ((times3(x) + L::splat(3)) >> 2);
        x = x + ((times3(y) + L::splat(3)) >> 3);
    });
}

template <class L>
inline void oddOddInverse(L& a, L& b, L& c, L& d) {
    oddOddFrame(a, b, c, d, [](L& x, L& y) {
        x = x - ((times3(y) + L::splat(3)) >> 3);
        y = y + ((times3(x) + L::splat(3)) >> 2);
        x = x - ((times3(y) + L::splat(4)) >> 3);
    });
    b = L::splat(0) - b;
    c = L::splat(0) - c;
}

template <class L>
inline void forward4x4(L* c) {
    hadamard<0>(c[0], c[3], c[12], c[15]);
    hadamard<0>(c[1], c[2], c[13], c[14]);
    hadamard<0>(c[4], c[7], c[8], c[11]);
    hadamard<0>(c[5], c[6], c[9], c[10]);
    hadamard<1>(c[0], c[1], c[4], c[5]);
    oddForward(c[2], c[3], c[6], c[7]);
    // The middle pair is taken transposed: this block is the transpose of the one above.
    oddForward(c[8], c[12], c[9], c[13]);
    oddOddForward(c[10], c[11], c[14], c[15]);
}

template <class L>
inline void inverse4x4(L* c) {
    oddInverse(c[2], c[3], c[6], c[7]);
    oddInverse(c[8], c[12], c[9], c[13]);
    oddOddInverse(c[10], c[11], c[14], c[15]);
    hadamard<1>(c[0], c[1], c[4], c[5]);
    hadamard<0>(c[0], c[3], c[12], c[15]);
    hadamard<0>(c[1], c[2], c[13], c[14]);
    hadamard<0>(c[4], c[7], c[8], c[11]);
    hadamard<0>(c[5], c[6], c[9], c[10]);
}

}  // namespace zeq::pct

#endif  // ZEQ_HDPHOTO_PCT_LIFTING_H
