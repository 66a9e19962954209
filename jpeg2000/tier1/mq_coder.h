// The MQ arithmetic coder of JPEG 2000, shared by the code-block encoder and
// both code-block decoders, plus the plain bit packer and reader of bypassed
// passes. Everything here is inline: the coders run once per decision.
#ifndef ZEQ_JPEG2000_TIER1_MQ_CODER_H
#define ZEQ_JPEG2000_TIER1_MQ_CODER_H

#include <array>
#include <cstdint>

namespace zeq::t1 {

// One row of the 47-state probability estimation table: the LPS probability
// Qe, the next state after an MPS and after an LPS, and whether an LPS in
// this state exchanges the sense of the MPS.
struct MqStateRow {
    uint16_t qe;
    uint8_t nextMps;
    uint8_t nextLps;
    uint8_t switchMps;
};

inline constexpr MqStateRow kMqStateTable[47] = {
    {0x5601, 1, 1, 1},   {0x3401, 2, 6, 0},   {0x1801, 3, 9, 0},   {0x0AC1, 4, 12, 0},
    {0x0521, 5, 29, 0},  {0x0221, 38, 33, 0}, {0x5601, 7, 6, 1},   {0x5401, 8, 14, 0},
    {0x4801, 9, 14, 0},  {0x3801, 10, 14, 0}, {0x3001, 11, 17, 0}, {0x2401, 12, 18, 0},
    {0x1C01, 13, 20, 0}, {0x1601, 29, 21, 0}, {0x5601, 15, 14, 1}, {0x5401, 16, 14, 0},
    {0x5101, 17, 15, 0}, {0x4801, 18, 16, 0}, {0x3801, 19, 17, 0}, {0x3401, 20, 18, 0},
    {0x3001, 21, 19, 0}, {0x2801, 22, 19, 0}, {0x2401, 23, 20, 0}, {0x2201, 24, 21, 0},
    {0x1C01, 25, 22, 0}, {0x1801, 26, 23, 0}, {0x1601, 27, 24, 0}, {0x1401, 28, 25, 0},
    {0x1201, 29, 26, 0}, {0x1101, 30, 27, 0}, {0x0AC1, 31, 28, 0}, {0x09C1, 32, 29, 0},
    {0x08A1, 33, 30, 0}, {0x0521, 34, 31, 0}, {0x0441, 35, 32, 0}, {0x02A1, 36, 33, 0},
    {0x0221, 37, 34, 0}, {0x0141, 38, 35, 0}, {0x0111, 39, 36, 0}, {0x0085, 40, 37, 0},
    {0x0049, 41, 38, 0}, {0x0025, 42, 39, 0}, {0x0015, 43, 40, 0}, {0x0009, 44, 41, 0},
    {0x0005, 45, 42, 0}, {0x0001, 45, 43, 0}, {0x5601, 46, 46, 0},
};

// A context is kept in one byte, 2 x state index + MPS, so that one table
// lookup gives Qe and both successor contexts (MPS sense included).
constexpr uint8_t mqContext(int stateIndex, int mps) {
    return static_cast<uint8_t>(2 * stateIndex + mps);
}

struct MqTransition {
    uint32_t qe;
    uint8_t afterMps;
    uint8_t afterLps;
    uint8_t qeShift;  // the shifts that bring Qe to 0x8000 or above
};

constexpr uint8_t renormalizingShift(uint32_t a) {
    uint8_t shift = 0;
    for (; (a << shift) < 0x8000u; ++shift) {
    }
    return shift;
}

constexpr std::array<MqTransition, 94> makeMqTransitions() {
    std::array<MqTransition, 94> t{};
    for (int i = 0; i < 47; ++i) {
        for (int mps = 0; mps < 2; ++mps) {
            const MqStateRow& row = kMqStateTable[i];
            const int lpsMps = row.switchMps ? 1 - mps : mps;
            t[2 * i + mps] = {row.qe, mqContext(row.nextMps, mps), mqContext(row.nextLps, lpsMps),
                              renormalizingShift(row.qe)};
        }
    }
    return t;
}
inline constexpr std::array<MqTransition, 94> kMqTransitions = makeMqTransitions();
static_assert(kMqTransitions[0].qeShift == 1 && kMqTransitions[2 * 45].qeShift == 15 &&
              kMqTransitions[2 * 5 + 1].qeShift == 6);

// ---- Encoder ----------------------------------------------------------------

// The contexts of one code block (the labels of the tier-1 context model).
constexpr int kMqContextCount = 19;

// Registers of the encoder. `pending` is the byte B that a carry may still
// reach; before the first byte-out of a segment it is a placeholder that is
// never written (byteOuts == 0).
struct MqEncoderRegisters {
    uint32_t a;
    uint32_t c;
    int32_t ct;
    int32_t pending;
    int32_t byteOuts;
};
static_assert(sizeof(MqEncoderRegisters) == 20, "MQ encoder registers are five words");

inline void mqEncoderStart(MqEncoderRegisters& r) { r = {0x8000, 0, 12, 0, 0}; }

// Moves the pending byte to the sink and forms the next one from C, with the
// carry into the pending byte and a stuffed zero bit after every 0xFF.
template <class Sink>
inline void mqByteOut(MqEncoderRegisters& r, Sink& sink) {
    if (r.pending != 0xFF && r.c >= 0x8000000u) {
        ++r.pending;
        r.c &= 0x7FFFFFFu;
    }
    if (r.byteOuts++ > 0) sink.put(static_cast<uint8_t>(r.pending));
    if (r.pending == 0xFF) {
        r.pending = static_cast<int32_t>(r.c >> 20);
        r.c &= 0xFFFFFu;
        r.ct = 7;
    } else {
        r.pending = static_cast<int32_t>(r.c >> 19);
        r.c &= 0x7FFFFu;
        r.ct = 8;
    }
}

// The interval update of one decision in its plain branching form (the
// tests hold mqEncode to it): false when no renormalization follows (an MPS
// that leaves A at or above half the interval).
[[gnu::always_inline]] inline bool mqEncodeInterval(MqEncoderRegisters& r, uint8_t& context,
                                                    int decision) {
    const MqTransition t = kMqTransitions[context];
    r.a -= t.qe;
    if (decision == (context & 1)) {
        if (r.a & 0x8000u) {
            r.c += t.qe;
            return false;
        }
        if (r.a < t.qe)
            r.a = t.qe;
        else
            r.c += t.qe;
        context = t.afterMps;
    } else {
        if (r.a < t.qe)
            r.c += t.qe;
        else
            r.a = t.qe;
        context = t.afterLps;
    }
    return true;
}

// One decision. Whether a decision is the MPS is as unpredictable as the
// data, so the interval update is formed with selects rather than branches:
// with lt = (A - Qe < Qe), an MPS keeps A - Qe unless lt, an LPS takes Qe
// unless lt, and C grows by Qe exactly when A does not become Qe. The
// context moves on after an LPS and after an MPS that renormalizes. Only the
// byte-out, once per eight shifted bits at most, is a branch; the
// renormalization shifts up to each byte-out at once.
template <class Sink>
[[gnu::always_inline]] inline void mqEncode(MqEncoderRegisters& r, uint8_t& context, int decision,
                                            Sink& sink) {
    const MqTransition t = kMqTransitions[context];
    const uint32_t a = r.a - t.qe;
    const bool lps = decision != (context & 1);
    // As masks: left as selects, the compiler turns them into a branch.
    const uint32_t takeQe =
        (0u - static_cast<uint32_t>(a < t.qe)) ^ (0u - static_cast<uint32_t>(lps));
    const uint32_t newA = (t.qe & takeQe) | (a & ~takeQe);
    r.c += t.qe & ~takeQe;
    const uint8_t moved = lps ? t.afterLps : t.afterMps;
    context = (newA & 0x8000u) ? context : moved;
    // The shift of either candidate is known before the select (A - Qe is
    // never 0): it keeps the leading-zero count off the chain through A.
    const uint32_t shiftA = static_cast<uint32_t>(__builtin_clz(a)) - 16;
    int shift = static_cast<int>((t.qeShift & takeQe) | (shiftA & ~takeQe));
    r.a = newA;
    while (__builtin_expect(shift >= r.ct, 0)) {
        r.a <<= r.ct;
        r.c <<= r.ct;
        shift -= r.ct;
        mqByteOut(r, sink);
    }
    r.a <<= shift;
    r.c <<= shift;
    r.ct -= shift;
}

// A context as a run of decisions keeps it: its whole row of the
// transition table in one 64-bit word (Qe << 16 in bits 0..31, Qe's
// renormalizing shift in bits 32..39, the context's byte form in the top
// byte, one shift away), so that one load gives everything a decision needs.
constexpr uint64_t mqEncodeRow(int context) {
    return (uint64_t{kMqTransitions[context].qe} << 16) |
           (uint64_t{kMqTransitions[context].qeShift} << 32) | (uint64_t(context) << 56);
}

constexpr std::array<uint64_t, 94> makeMqEncodeRows() {
    std::array<uint64_t, 94> t{};
    for (int i = 0; i < 94; ++i) t[i] = mqEncodeRow(i);
    return t;
}
inline constexpr std::array<uint64_t, 94> kMqEncodeRows = makeMqEncodeRows();

// The row a context moves to when a decision renormalizes, indexed by
// 2 x context + decision: after an MPS or after an LPS.
constexpr std::array<uint64_t, 188> makeMqEncodeMoves() {
    std::array<uint64_t, 188> t{};
    for (int i = 0; i < 94; ++i)
        for (int d = 0; d < 2; ++d)
            t[2 * i + d] =
                mqEncodeRow(d == (i & 1) ? kMqTransitions[i].afterMps : kMqTransitions[i].afterLps);
    return t;
}
inline constexpr std::array<uint64_t, 188> kMqEncodeMoves = makeMqEncodeMoves();

// mqEncode on a context row, with A kept 16 bits up (`highA`, level with
// the row's Qe) so that its renormalizing shift is one leading-zero count.
// The chain from one decision to the next is what limits a run: through A
// (a subtraction, the count, one select, the shift) and, in one context,
// through its row (stored, then loaded by the next decision in the context),
// whose successor is loaded as soon as the row and the decision are known.
template <class Sink>
[[gnu::always_inline]] inline void mqEncodeOnRow(MqEncoderRegisters& r, uint32_t& highA,
                                                 uint64_t& row, uint32_t decision, Sink& sink) {
    const uint64_t current = row;
    const uint32_t qe = static_cast<uint32_t>(current);
    const uint32_t qeShift = static_cast<uint32_t>(current >> 32) & 0xFFu;
    const uint32_t context = static_cast<uint32_t>(current >> 56);
    // Row >> 55 is 2 x context (bit 55 is clear): one shift between the row
    // and the load of its successor, the decision's part taken before.
    const uint64_t* moves = kMqEncodeMoves.data() + decision;
    asm("" : "+r"(moves));  // kept from being folded into the index
    const uint64_t moved = moves[current >> 55];
    const uint32_t a = highA - qe;
    // A keeps A - Qe and C grows by Qe for an MPS unless A - Qe < Qe, for
    // an LPS only then.
    const uint32_t mps = ((context ^ decision) & 1u) - 1u;
    uint32_t keep = (0u - static_cast<uint32_t>(a < qe)) ^ mps;
    int shiftA = __builtin_clz(a);
    // Hidden from the compiler, which would turn the selects on them into
    // branches as unpredictable as the data.
    asm("" : "+r"(keep), "+r"(shiftA));
    r.c += (qe & keep) >> 16;
    int shift = keep != 0 ? shiftA : static_cast<int>(qeShift);
    // The row stays only after an MPS that leaves A - Qe at or above half
    // the interval: known from the top bit of A - Qe, before the shift.
    row = static_cast<int32_t>(a & mps) < 0 ? current : moved;
    highA = qe ^ ((qe ^ a) & keep);
    while (__builtin_expect(shift >= r.ct, 0)) {
        highA <<= r.ct;
        r.c <<= r.ct;
        shift -= r.ct;
        mqByteOut(r, sink);
    }
    highA <<= shift;
    r.c <<= shift;
    r.ct -= shift;
}

// Codes a run of recorded decisions (decision and context label arrays):
// the registers and the context rows stay in locals for the whole run, and
// the sink is entered only at byte-outs.
template <class Sink>
[[gnu::always_inline]] inline void mqEncodeRun(MqEncoderRegisters& registers, uint8_t* contexts,
                                               const uint8_t* labels, const uint8_t* decisions,
                                               int32_t count, Sink& sink) {
    MqEncoderRegisters r = registers;
    uint32_t highA = r.a << 16;
    uint64_t rows[kMqContextCount];
    for (int i = 0; i < kMqContextCount; ++i) rows[i] = kMqEncodeRows[contexts[i]];
    for (int32_t i = 0; i < count; ++i)
        mqEncodeOnRow(r, highA, rows[labels[i]], decisions[i], sink);
    for (int i = 0; i < kMqContextCount; ++i) contexts[i] = static_cast<uint8_t>(rows[i] >> 56);
    r.a = highA >> 16;
    registers = r;
}

// Most bytes one decision can push out: a renormalisation shifts at most 15
// bits, and a byte-out comes at most every 7.
constexpr int32_t kMqMaxBytesPerDecision = 3;

// Collects the bytes of a termination so that a final 0xFF can be dropped:
// decoders read missing bytes as 0xFF, and a segment never ends on 0xFF.
struct TerminationBytes {
    uint8_t bytes[8];
    int count = 0;
    void put(uint8_t b) { bytes[count++] = b; }
    template <class Sink>
    void deliver(Sink& sink) {
        if (count > 0 && bytes[count - 1] == 0xFF) --count;
        for (int i = 0; i < count; ++i) sink.put(bytes[i]);
    }
};

// The standard flush: C is set to the value with the most trailing 1 bits
// inside the interval, two byte-outs push it out, and the last byte is
// written unless it is 0xFF.
template <class Sink>
inline void mqFlushStandard(MqEncoderRegisters& r, Sink& sink) {
    TerminationBytes t;
    const uint32_t top = r.c + r.a;
    r.c |= 0xFFFFu;
    if (r.c >= top) r.c -= 0x8000u;
    r.c <<= r.ct;
    mqByteOut(r, t);
    r.c <<= r.ct;
    mqByteOut(r, t);
    if (r.byteOuts > 0) t.put(static_cast<uint8_t>(r.pending));
    t.deliver(sink);
}

// Predictable termination: byte-outs until 12 - CT bits have left C, then
// the pending byte unless it is 0xFF. A decoder can check that it ends
// exactly at the segment's end.
template <class Sink>
inline void mqFlushPredictable(MqEncoderRegisters& r, Sink& sink) {
    TerminationBytes t;
    int bits = 12 - r.ct;
    while (bits > 0) {
        r.c <<= r.ct;
        r.ct = 0;
        mqByteOut(r, t);
        bits -= r.ct;
    }
    if (r.byteOuts > 0 && r.pending != 0xFF) t.put(static_cast<uint8_t>(r.pending));
    t.deliver(sink);
}

// Shortest termination. A decoder that runs past the segment reads 1 bits,
// so the code value it sees is the bytes written followed by 1s. Choose the
// largest k for which V = floor(U / 2^k) x 2^k - 1 is still at least C
// (U = C + A): V ends in k 1 bits, and V followed by more 1s stays below U.
// C becomes V; the bytes holding bits at or above k are pushed out, and
// trailing bytes of nothing but 1 bits (0xFF, or 0x7F after a 0xFF) are left
// to the reader.
template <class Sink>
inline void mqFlushShortest(MqEncoderRegisters& r, Sink& sink) {
    TerminationBytes t;
    const uint32_t top = r.c + r.a;
    int k = 31;
    while (k > 0 && ((top >> k) == 0 || ((top >> k) << k) - 1 < r.c)) --k;
    r.c = ((top >> k) << k) - 1;
    int shifted = 0;
    do {  // the new pending byte holds bits 19..26 (20..26) of the shifted C
        shifted += r.ct;
        r.c <<= r.ct;
        mqByteOut(r, t);
    } while (27 - shifted > k);
    while (t.count > 0 &&
           (t.bytes[t.count - 1] == 0xFF ||
            (t.count > 1 && t.bytes[t.count - 1] == 0x7F && t.bytes[t.count - 2] == 0xFF)))
        --t.count;
    t.deliver(sink);
}

// ---- Decoder ----------------------------------------------------------------

// The decoder keeps A shifted up by 16 bits, level with the upper half of C
// that it is compared with: Qe is kept shifted the same way, the
// renormalization test is the sign bit and its shift count one clz.
//
// A decoding context holds its whole current row, so that one load gives Qe
// and the MPS; `self` is the row's index (2 x state index + MPS), the form
// the decoder record keeps, and afterMps / afterLps the indices of the rows
// an MPS or an LPS that renormalizes moves it to.
struct MqDecodeContext {
    uint32_t qe;  // Qe << 16
    uint8_t self;
    uint8_t afterMps;
    uint8_t afterLps;
    uint8_t mps;
};
static_assert(sizeof(MqDecodeContext) == 8, "a decoding context is one 64-bit word");

constexpr std::array<MqDecodeContext, 94> makeMqDecodeContexts() {
    std::array<MqDecodeContext, 94> t{};
    for (int i = 0; i < 94; ++i)
        t[i] = {kMqTransitions[i].qe << 16, static_cast<uint8_t>(i), kMqTransitions[i].afterMps,
                kMqTransitions[i].afterLps, static_cast<uint8_t>(i & 1)};
    return t;
}
inline constexpr std::array<MqDecodeContext, 94> kMqDecodeContexts = makeMqDecodeContexts();

constexpr uint32_t kMqDecoderHalfInterval = 0x8000u << 16;

// Registers of the decoder over one segment; bytes past its end read as 0xFF.
struct MqDecoderRegisters {
    uint32_t a;  // A << 16
    uint32_t c;
    int32_t ct;
    int32_t position;
    const uint8_t* data;
    int32_t length;
    int32_t markerReached;  // a 0xFF followed by a byte above 0x8F: 1 bits from now on
};

inline uint32_t segmentByte(const MqDecoderRegisters& r, int32_t i) {
    return i < r.length ? r.data[i] : 0xFFu;
}

// The next byte as the decoder reads it: eight bits; seven after a 0xFF (the
// byte then sits one bit higher); from a marker (0xFF then a byte above
// 0x8F) on, eight 1 bits, the position staying. Inside the segment both
// bytes are read at once.
struct MqByte {
    uint32_t value;
    int32_t raise;  // 1 after a 0xFF
    int32_t bits;
};

inline MqByte mqNextByte(MqDecoderRegisters& s) {
    const int32_t p = s.position;
    uint32_t current, next;
    if (__builtin_expect(p + 1 < s.length, 1)) {
        current = s.data[p];
        next = s.data[p + 1];
    } else {
        current = segmentByte(s, p);
        next = segmentByte(s, p + 1);
    }
    if (current != 0xFF) {
        s.position = p + 1;
        return {next, 0, 8};
    }
    if (next <= 0x8F) {
        s.position = p + 1;
        return {next, 1, 7};
    }
    s.markerReached = 1;
    return {0xFF, 0, 8};
}

// Appends the next byte to C once CT has run out.
inline void mqByteIn(MqDecoderRegisters& s, uint32_t& c, int32_t& ct) {
    const MqByte b = mqNextByte(s);
    c += b.value << (8 + b.raise);
    ct = b.bits;
}

// What a pass keeps of a decoder: A, C and CT in registers, the byte stream
// (touched once per refill) through a pointer to the full record. C is held
// in 64 bits, the record's C in the upper half, so that several bytes can be
// read at a time: below C's 16 integer bits CT counts the bits read, up to
// 40 of them. Bytes are read ahead only where no 0xFF is involved, whole
// eight bits each, and between decisions the record keeps fewer than eight
// bits of its last byte (every byte read in is shifted into at once): so
// the bytes read ahead are CT / 8, and store() hands them back (the cursor
// then goes on from the record's state).
struct MqDecoderCursor {
    uint32_t a;
    uint64_t c;
    int32_t ct;
    MqDecoderRegisters* stream;

    explicit MqDecoderCursor(MqDecoderRegisters& r)
        : a(r.a), c(uint64_t{r.c} << 32), ct(r.ct), stream(&r) {}
    void store() {
        const int32_t kept = ct & 7;
        stream->position -= ct >> 3;
        c &= ~uint64_t{0} << (48 - kept);
        ct = kept;
        stream->a = a;
        stream->c = static_cast<uint32_t>(c >> 32);
        stream->ct = ct;
    }
};

inline void mqDecoderStart(MqDecoderRegisters& r, const uint8_t* data, int32_t length) {
    r.data = data;
    r.length = length;
    r.position = 0;
    r.markerReached = 0;
    r.c = segmentByte(r, 0) << 16;
    mqByteIn(r, r.c, r.ct);
    r.c <<= 7;
    r.ct -= 7;
    r.a = kMqDecoderHalfInterval;
}

// A, C and CT by value, for the out-of-line part of the renormalization.
struct MqShifted {
    uint32_t a;
    int32_t ct;
    uint64_t c;
};

// The renormalization that needs more bits than CT holds: reads the bytes
// it needs, then reads ahead while the bytes are plain. Kept out of line (it
// runs about once per four bytes) so that the decision code inlined into
// the passes stays small.
[[gnu::noinline]] inline MqShifted mqRenormalizeReading(MqDecoderRegisters& s, uint32_t a,
                                                        uint64_t c, int32_t ct) {
    const int shift = __builtin_clz(a);
    do {
        const MqByte b = mqNextByte(s);
        c += uint64_t{b.value} << (40 + b.raise - ct);
        ct += b.bits;
    } while (ct < shift);
    int32_t p = s.position;
    for (; ct <= 32 && p + 1 < s.length && s.data[p] != 0xFF; ct += 8)
        c += uint64_t{s.data[++p]} << (40 - ct);
    s.position = p;
    return {a << shift, ct - shift, c << shift};
}

// Shifts A back to at least half the interval; while CT covers the whole
// shift it is done at once.
[[gnu::always_inline]] inline void mqRenormalize(MqDecoderCursor& r) {
    const int shift = __builtin_clz(r.a);
    if (__builtin_expect(shift <= r.ct, 1)) {
        r.a <<= shift;
        r.c <<= shift;
        r.ct -= shift;
        return;
    }
    const MqShifted n = mqRenormalizeReading(*r.stream, r.a, r.c, r.ct);
    r.a = n.a;
    r.c = n.c;
    r.ct = n.ct;
}

// The LPS interval is the lower one: a code value below Qe decodes the LPS
// (or, after the conditional exchange, the MPS).
[[gnu::always_inline]] inline int mqDecode(MqDecoderCursor& r, MqDecodeContext& context) {
    const uint32_t qe = context.qe;
    const uint64_t qeHigh = uint64_t{qe} << 32;  // level with C's upper half
    int d = context.mps;
    r.a -= qe;
    if (r.c < qeHigh) {
        if (r.a < qe) {
            context = kMqDecodeContexts[context.afterMps];
        } else {
            d ^= 1;
            context = kMqDecodeContexts[context.afterLps];
        }
        r.a = qe;
    } else {
        r.c -= qeHigh;
        if (r.a >= kMqDecoderHalfInterval) return d;
        if (r.a < qe) {
            d ^= 1;
            context = kMqDecodeContexts[context.afterLps];
        } else {
            context = kMqDecodeContexts[context.afterMps];
        }
    }
    mqRenormalize(r);
    return d;
}

// The rows a context moves to, four per row: [4 x row + 2 x lps + top],
// top being the top bit of the new A (no renormalization follows): the row
// itself after an MPS that keeps A at half the interval or above, the MPS
// successor after one that does not, the LPS successor after an LPS (which
// always renormalizes: its A is Qe or below).
constexpr std::array<MqDecodeContext, 4 * 94> makeMqDecodeSteps() {
    std::array<MqDecodeContext, 4 * 94> t{};
    for (int i = 0; i < 94; ++i) {
        const MqDecodeContext& row = kMqDecodeContexts[static_cast<unsigned>(i)];
        t[4 * i] = kMqDecodeContexts[row.afterMps];
        t[4 * i + 1] = row;
        t[4 * i + 2] = t[4 * i + 3] = kMqDecodeContexts[row.afterLps];
    }
    return t;
}
inline constexpr std::array<MqDecodeContext, 4 * 94> kMqDecodeSteps = makeMqDecodeSteps();

// The same decision without a data-dependent branch: both intervals are
// formed and the outcome selected (conditional moves), and the
// renormalization shift is 0 when none is due. Slower than mqDecode where
// the MPS is the likely outcome, but decisions near even odds (refinement
// bits, signs, the low planes of a lossless block) would mispredict every
// other branch there.
[[gnu::always_inline]] inline int mqDecodeEven(MqDecoderCursor& r, MqDecodeContext& context) {
    const MqDecodeContext cx = context;
    const uint32_t rest = r.a - cx.qe;
    // low: the code value lies in the lower (Qe) interval, which then
    // becomes A while C stays; else A - Qe remains and C drops by Qe. As
    // likely as not, so the selections are conditional moves: left to
    // itself, the compiler turns them into a branch.
    const uint64_t qeHigh = uint64_t{cx.qe} << 32;  // level with C's upper half
    uint32_t a = rest;
    uint64_t c = r.c - qeHigh;
    bool low;
    asm("cmpq %[qeHigh], %[c0]\n\t"
        "cmovbl %[qe], %[a]\n\t"
        "cmovbq %[c0], %[c]"
        : [a] "+r"(a), [c] "+r"(c), "=@ccb"(low)
        : [qe] "r"(cx.qe), [qeHigh] "r"(qeHigh), [c0] "r"(r.c));
    r.c = c;
    const uint32_t lps = static_cast<uint32_t>(low) ^ static_cast<uint32_t>(rest < cx.qe);
    context = kMqDecodeSteps[4u * cx.self + 2 * lps + (a >> 31)];
    r.a = a;
    mqRenormalize(r);
    return cx.mps ^ static_cast<int>(lps);
}

// One decision with the context in its record form (a row index).
inline int mqDecode(MqDecoderRegisters& r, uint8_t& context) {
    MqDecoderCursor cursor(r);
    MqDecodeContext expanded = kMqDecodeContexts[context];
    const int d = mqDecode(cursor, expanded);
    cursor.store();
    context = expanded.self;
    return d;
}

// ---- Raw (bypassed) passes --------------------------------------------------

// Packs bits most significant first; the byte after a 0xFF takes 7 bits (its
// top bit stays 0). A completed 0xFF is held back until the next byte
// completes, so that a segment ending on it can drop it.
struct RawPacker {
    uint32_t partial;
    int32_t bitsFree;
    int32_t heldFF;
};
static_assert(sizeof(RawPacker) == 12, "raw packer is three words");

inline void rawPackerStart(RawPacker& p) { p = {0, 8, 0}; }

inline int32_t rawPackerCapacity(const RawPacker& p) { return p.heldFF ? 7 : 8; }

template <class Sink>
inline void rawPut(RawPacker& p, int bit, Sink& sink) {
    p.partial = (p.partial << 1) | static_cast<uint32_t>(bit);
    if (--p.bitsFree > 0) return;
    if (p.heldFF) sink.put(0xFF);
    p.heldFF = p.partial == 0xFF;
    if (!p.heldFF) sink.put(static_cast<uint8_t>(p.partial));
    p.partial = 0;
    p.bitsFree = rawPackerCapacity(p);
}

// Ends a raw segment: a partial byte is padded with alternating 0 and 1
// bits; a held 0xFF with nothing after it is dropped.
template <class Sink>
inline void rawFlush(RawPacker& p, Sink& sink) {
    if (p.bitsFree < rawPackerCapacity(p)) {
        if (p.heldFF) sink.put(0xFF);
        for (int pad = 0; p.bitsFree > 0; pad ^= 1, --p.bitsFree)
            p.partial = (p.partial << 1) | pad;
        sink.put(static_cast<uint8_t>(p.partial));
    }
    rawPackerStart(p);
}

struct RawReader {
    const uint8_t* data;
    int32_t length;
    int32_t position;
    uint32_t current;
    int32_t bitsLeft;
};

inline void rawReaderStart(RawReader& r, const uint8_t* data, int32_t length) {
    r = {data, length, 0, 0, 0};
}

inline int rawGet(RawReader& r) {
    if (r.bitsLeft == 0) {
        const bool afterFF = r.current == 0xFF;
        r.current = r.position < r.length ? r.data[r.position] : 0xFFu;
        if (r.position < r.length) ++r.position;
        r.bitsLeft = afterFF ? 7 : 8;
    }
    return static_cast<int>((r.current >> --r.bitsLeft) & 1);
}

}  // namespace zeq::t1

#endif  // ZEQ_JPEG2000_TIER1_MQ_CODER_H
