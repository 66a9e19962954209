// A plain model of the one-shot code-block decoder for the tests: the MQ
// decoder as the standard's flow charts write it (one shift per loop, one
// branch per case), per-sample flags in ordinary arrays, neighbours counted
// sample by sample, the passes visiting one sample at a time. It is the
// reference of the library's stripe-column passes and register tricks, on
// intact, truncated and corrupt segments alike.
#ifndef ZEQ_TESTS_JPEG2000_TIER1_REFERENCE_DECODING_H
#define ZEQ_TESTS_JPEG2000_TIER1_REFERENCE_DECODING_H

#include <cstdint>
#include <utility>
#include <vector>

#include "jpeg2000/tier1/mq_coder.h"
#include "jpeg2000/tier1/t1_contexts.h"
#include "tests/jpeg2000/tier1/reference_modeling.h"
#include "zeqj.h"

namespace zeq::test::t1 {

// The decoder over one segment; bytes past its end read as 0xFF.
class ReferenceMq {
public:
    ReferenceMq(const uint8_t* data, int32_t length) : data_(data), length_(length) {
        c_ = byteAt(0) << 16;
        byteIn();
        c_ <<= 7;
        ct_ -= 7;
        a_ = 0x8000;
    }

    int decode(int& state, int& mps) {
        const zeq::t1::MqStateRow& row = zeq::t1::kMqStateTable[state];
        const uint32_t qe = row.qe;
        a_ -= qe;
        int d;
        if ((c_ >> 16) < qe) {  // the lower interval: exchange, then renormalize
            if (a_ < qe) {
                d = mps;
                state = row.nextMps;
            } else {
                d = 1 - mps;
                if (row.switchMps) mps = 1 - mps;
                state = row.nextLps;
            }
            a_ = qe;
        } else {
            c_ -= qe << 16;
            if (a_ & 0x8000) return mps;
            if (a_ < qe) {
                d = 1 - mps;
                if (row.switchMps) mps = 1 - mps;
                state = row.nextLps;
            } else {
                d = mps;
                state = row.nextMps;
            }
        }
        do {
            if (ct_ == 0) byteIn();
            a_ <<= 1;
            c_ <<= 1;
            --ct_;
        } while (!(a_ & 0x8000));
        return d;
    }

    // After a predictable termination the decoder has read one byte past the
    // segment and the unread look-ahead bits are CT ones, then zeros.
    bool endsPredictably() const {
        return position_ == length_ && (c_ & 0xFFFF) == ((0xFFFF0000u >> ct_) & 0xFFFF);
    }

private:
    uint32_t byteAt(int32_t i) const { return i < length_ ? data_[i] : 0xFFu; }
    void byteIn() {
        if (byteAt(position_) == 0xFF) {
            if (byteAt(position_ + 1) > 0x8F) {
                c_ += 0xFF00;
                ct_ = 8;
            } else {
                ++position_;
                c_ += byteAt(position_) << 9;
                ct_ = 7;
            }
        } else {
            ++position_;
            c_ += byteAt(position_) << 8;
            ct_ = 8;
        }
    }

    const uint8_t* data_;
    int32_t length_;
    int32_t position_ = 0;
    uint32_t a_ = 0, c_ = 0;
    int32_t ct_ = 0;
};

// Raw bits, most significant first; a byte after 0xFF gives seven bits.
class ReferenceRaw {
public:
    ReferenceRaw(const uint8_t* data, int32_t length) : data_(data), length_(length) {}
    int bit() {
        if (left_ == 0) {
            const bool afterFF = current_ == 0xFF;
            current_ = position_ < length_ ? data_[position_++] : 0xFFu;
            left_ = afterFF ? 7 : 8;
        }
        return static_cast<int>((current_ >> --left_) & 1);
    }

private:
    const uint8_t* data_;
    int32_t length_;
    int32_t position_ = 0;
    uint32_t current_ = 0;
    int left_ = 0;
};

struct ReferenceDecodeResult {
    ZeqStatus status = StatusOk;
    int32_t errorPlane = 0;  // the plane reached when decoding stopped
};

// Decodes as zeqiDecodeCodeBlock_JPEG2K_1u32s_C1R does into `words`
// (width x height, rows packed), which holds the caller's destination. The
// neighbourhood rules are the encoder-side model's, read from the decoded
// samples.
class ReferenceDecoder : private ReferenceModel {
public:
    ReferenceDecoder(std::vector<int32_t>& words, int width, int height, int subband, int32_t flags)
        : ReferenceModel(words, width, height, subband, flags), out_(words), flags_(flags) {}

    ReferenceDecodeResult run(const uint8_t* src, const std::vector<int32_t>& segmentLengths,
                              int32_t sfBits, int32_t passes) {
        std::vector<int32_t>& words = out_;
        if (!(flags_ & 0x20000)) words.assign(words.size(), 0);
        resetContexts();
        const int32_t planes = sfBits > 31 ? 31 : (sfBits < 0 ? 0 : sfBits);
        const int32_t bypassPlane = (flags_ & 2) && planes >= 4 ? planes - 4 : 0;
        int32_t plane = planes - 1;
        int kind = 0;  // 0 cleanup, 1 significance, 2 refinement
        int32_t left = passes;
        ReferenceDecodeResult result;
        for (int32_t len : segmentLengths) {
            if (left < 1 || plane < 0) break;
            const int32_t length = len > 0 ? len : 0;
            const bool raw = isRaw(kind, plane, bypassPlane);
            ReferenceMq mq(src, length);
            ReferenceRaw bits(src, length);
            src += length;
            for (;;) {
                if (flags_ & 8) resetContexts();
                bool ok = true;
                if (kind == 0)
                    ok = cleanup(mq, plane);
                else if (kind == 1)
                    significance(mq, bits, raw, plane);
                else
                    refinement(mq, bits, raw, plane);
                if (!ok) return finish(StatusCodeBlockCorrupt, plane, result);
                --left;
                if (kind == 0) --plane;
                kind = (kind + 1) % 3;
                const bool ends =
                    (flags_ & 4) || plane < 0 || isRaw(kind, plane, bypassPlane) != raw;
                if (ends && !raw && (flags_ & 0x100000) && !mq.endsPredictably())
                    return finish(StatusCodeBlockCorrupt, plane, result);
                if (ends || left < 1) break;
            }
        }
        return finish(StatusOk, plane, result);
    }

private:
    static bool isRaw(int kind, int32_t plane, int32_t bypassPlane) {
        return kind != 0 && plane < bypassPlane;
    }

    ReferenceDecodeResult finish(ZeqStatus status, int32_t plane, ReferenceDecodeResult r) {
        std::vector<int32_t>& out = out_;
        r.status = status;
        if (status != StatusOk) {
            r.errorPlane = plane;
            if ((flags_ & 0x10000) && plane >= 0) {
                for (auto& v : out) {
                    const uint32_t kept = static_cast<uint32_t>(v) & ~((1u << plane) - 1);
                    v = (kept & 0x7FFFFFFFu) ? static_cast<int32_t>(kept | (1u << plane)) : 0;
                }
            }
        }
        if (!(flags_ & 0x40000) && plane >= 1)
            for (auto& v : out)
                v = static_cast<int32_t>(static_cast<uint32_t>(v) & ~((1u << plane) - 1));
        return r;
    }

    void resetContexts() {
        for (int i = 0; i < zeq::t1::kContextCount; ++i) {
            state_[i] = zeq::t1::kInitialContexts[i] >> 1;
            mps_[i] = zeq::t1::kInitialContexts[i] & 1;
        }
    }
    int decide(ReferenceMq& mq, int label) { return mq.decode(state_[label], mps_[label]); }

    // The sign with its context and the standard's prediction, then the
    // sample's first reconstruction, 3 x 2^p / 2.
    void becomeSignificant(ReferenceMq& mq, ReferenceRaw& bits, bool raw, int x, int y, int p) {
        int negative;
        if (raw) {
            negative = bits.bit();
        } else {
            const ReferenceDecision c = signContext(x, y);
            negative = decide(mq, c.label) ^ c.bit;
        }
        out_[static_cast<size_t>(index(x, y))] =
            static_cast<int32_t>((static_cast<uint32_t>(negative) << 31) | ((3u << p) >> 1));
        sig_[index(x, y)] = 1;
    }

    void significance(ReferenceMq& mq, ReferenceRaw& bits, bool raw, int p) {
        scan([&](int x, int y, int) {
            if (sig_[static_cast<size_t>(index(x, y))] || !hasSignificantNeighbour(x, y)) return;
            const int bit = raw ? bits.bit() : decide(mq, zeroCodingLabel(x, y));
            if (bit) becomeSignificant(mq, bits, raw, x, y, p);
            visited_[static_cast<size_t>(index(x, y))] = 1;
        });
    }

    void refinement(ReferenceMq& mq, ReferenceRaw& bits, bool raw, int p) {
        scan([&](int x, int y, int) {
            const size_t i = static_cast<size_t>(index(x, y));
            if (!sig_[i] || visited_[i]) return;
            const int label = refined_[i] ? 18 : (hasSignificantNeighbour(x, y) ? 17 : 16);
            const uint32_t bit = static_cast<uint32_t>(raw ? bits.bit() : decide(mq, label));
            const uint32_t v = static_cast<uint32_t>(out_[i]);
            out_[i] = static_cast<int32_t>((v & ~((2u << p) - 1)) | (bit << p) | ((1u << p) >> 1));
            refined_[i] = 1;
        });
    }

    bool cleanup(ReferenceMq& mq, int p) {
        ReferenceRaw none(nullptr, 0);
        for (int y0 = 0; y0 < h_; y0 += 4) {
            for (int x = 0; x < w_; ++x) {
                int y = y0;
                const int end = y0 + 4 < h_ ? y0 + 4 : h_;
                if (startsRunMode(x, y0, end)) {
                    if (!decide(mq, 1)) continue;
                    const int high = decide(mq, 0);
                    const int r = 2 * high + decide(mq, 0);
                    becomeSignificant(mq, none, false, x, y0 + r, p);
                    y = y0 + r + 1;
                }
                for (; y < end; ++y) {
                    if (sig_[static_cast<size_t>(index(x, y))] ||
                        visited_[static_cast<size_t>(index(x, y))])
                        continue;
                    if (decide(mq, zeroCodingLabel(x, y)))
                        becomeSignificant(mq, none, false, x, y, p);
                }
            }
        }
        for (auto& v : visited_) v = 0;
        if (flags_ & 16) {
            int symbol = 0;
            for (int i = 0; i < 4; ++i) symbol = 2 * symbol + decide(mq, 0);
            if (symbol != 0xA) return false;
        }
        return true;
    }

    std::vector<int32_t>& out_;
    int32_t flags_;
    int state_[zeq::t1::kContextCount] = {};
    int mps_[zeq::t1::kContextCount] = {};
};

}  // namespace zeq::test::t1

#endif  // ZEQ_TESTS_JPEG2000_TIER1_REFERENCE_DECODING_H
