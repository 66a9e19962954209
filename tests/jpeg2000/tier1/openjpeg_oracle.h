// A real JPEG 2000 decoder and encoder (libopenjp2) as the oracle of the
// tier-1 coder. A minimal codestream wraps one code block: one tile, one
// component, no decomposition levels, one code block, one layer and one
// hand-written packet header; the reverse direction parses the packet header
// of such a codestream written by libopenjp2.
#ifndef ZEQ_TESTS_JPEG2000_TIER1_OPENJPEG_ORACLE_H
#define ZEQ_TESTS_JPEG2000_TIER1_OPENJPEG_ORACLE_H

#include <openjpeg.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "tests/jpeg2000/tier1/openjpeg_memory_stream.h"

namespace zeq::test::t1 {

// The code-block style byte of a COD marker for the library's flags and
// termination type.
inline uint8_t codeBlockStyle(int32_t flags, int32_t termType) {
    uint8_t style = 0;
    if (flags & 1) style |= 0x08;
    if (flags & 2) style |= 0x01;
    if (flags & 4) style |= 0x04;
    if (flags & 8) style |= 0x02;
    if (flags & 16) style |= 0x20;
    if (termType == 2) style |= 0x10;
    return style;
}

inline int32_t libraryFlags(uint8_t style) {
    int32_t flags = 0;
    if (style & 0x08) flags |= 1;
    if (style & 0x01) flags |= 2;
    if (style & 0x04) flags |= 4;
    if (style & 0x02) flags |= 8;
    if (style & 0x20) flags |= 16;
    return flags;
}

// Writes bits most significant first; the byte after a 0xFF takes 7 bits.
class HeaderBitWriter {
public:
    void bit(int b) {
        current_ = (current_ << 1) | (b & 1);
        if (++count_ == capacity_) flushByte();
    }
    void bits(uint32_t value, int n) {
        for (int i = n - 1; i >= 0; --i) bit((value >> i) & 1);
    }
    std::vector<uint8_t> finish() {
        if (count_ > 0) {
            current_ <<= capacity_ - count_;
            flushByte();
        }
        // A header ending on 0xFF gets a zero byte after it.
        if (!bytes_.empty() && bytes_.back() == 0xFF) bytes_.push_back(0);
        return bytes_;
    }

private:
    void flushByte() {
        bytes_.push_back(static_cast<uint8_t>(current_));
        capacity_ = current_ == 0xFF ? 7 : 8;
        current_ = 0;
        count_ = 0;
    }
    std::vector<uint8_t> bytes_;
    uint32_t current_ = 0;
    int count_ = 0, capacity_ = 8;
};

class HeaderBitReader {
public:
    HeaderBitReader(const uint8_t* data, size_t size) : data_(data), size_(size) {}
    int bit() {
        if (left_ == 0) {
            const bool afterFF = current_ == 0xFF;
            current_ = pos_ < size_ ? data_[pos_] : 0;
            ++pos_;
            left_ = afterFF ? 7 : 8;
        }
        return (current_ >> --left_) & 1;
    }
    uint32_t bits(int n) {
        uint32_t v = 0;
        for (int i = 0; i < n; ++i) v = (v << 1) | static_cast<uint32_t>(bit());
        return v;
    }
    // Bytes taken by the header, with the stuffed byte after a final 0xFF.
    size_t bytesUsed() const { return pos_ + (current_ == 0xFF ? 1 : 0); }

private:
    const uint8_t* data_;
    size_t size_;
    size_t pos_ = 0;
    uint32_t current_ = 0;
    int left_ = 0;
};

inline int floorLog2(uint32_t v) {
    int n = -1;
    for (; v; v >>= 1) ++n;
    return n;
}

inline void putPassCount(HeaderBitWriter& w, int passes) {
    if (passes == 1) {
        w.bit(0);
    } else if (passes == 2) {
        w.bits(0b10, 2);
    } else if (passes <= 5) {
        w.bits(0b11, 2);
        w.bits(static_cast<uint32_t>(passes - 3), 2);
    } else if (passes <= 36) {
        w.bits(0b1111, 4);
        w.bits(static_cast<uint32_t>(passes - 6), 5);
    } else {
        w.bits(0b111111111, 9);
        w.bits(static_cast<uint32_t>(passes - 37), 7);
    }
}

inline int getPassCount(HeaderBitReader& r) {
    if (!r.bit()) return 1;
    if (!r.bit()) return 2;
    const uint32_t two = r.bits(2);
    if (two < 3) return 3 + static_cast<int>(two);
    const uint32_t five = r.bits(5);
    if (five < 31) return 6 + static_cast<int>(five);
    return 37 + static_cast<int>(r.bits(7));
}

// Passes per terminated segment for the COD style byte.
inline std::vector<int> segmentPassCounts(int passes, uint8_t style) {
    std::vector<int> counts;
    for (int first = 0; first < passes;) {
        int n;
        if (style & 0x04)
            n = 1;
        else if (!(style & 0x01))
            n = passes;
        else if (first < 10)
            n = 10;
        else
            n = (first - 10) % 3 == 0 ? 2 : 1;
        n = std::min(n, passes - first);
        counts.push_back(n);
        first += n;
    }
    return counts;
}

constexpr int kGuardBits = 2;
constexpr int kPrecision = 16;  // signed samples of 16 bits
// Magnitude bits of the only band: guard bits + exponent - 1.
constexpr int kMagnitudeBits = kGuardBits + kPrecision - 1;

inline void put16(std::vector<uint8_t>& v, uint32_t x) {
    v.push_back(static_cast<uint8_t>(x >> 8));
    v.push_back(static_cast<uint8_t>(x));
}
inline void put32(std::vector<uint8_t>& v, uint32_t x) {
    put16(v, x >> 16);
    put16(v, x & 0xFFFF);
}

// A codestream around one code block of width x height coded with `passes`
// passes from sfBits planes, its segments given by their lengths.
inline std::vector<uint8_t> wrapCodeBlock(int width, int height, uint8_t style, int sfBits,
                                          int passes, const std::vector<uint8_t>& data,
                                          const std::vector<int32_t>& segmentLengths) {
    std::vector<uint8_t> cs = {0xFF, 0x4F, 0xFF, 0x51};
    put16(cs, 41);
    put16(cs, 0);  // Rsiz
    put32(cs, static_cast<uint32_t>(width));
    put32(cs, static_cast<uint32_t>(height));
    put32(cs, 0);
    put32(cs, 0);
    put32(cs, static_cast<uint32_t>(width));  // one tile
    put32(cs, static_cast<uint32_t>(height));
    put32(cs, 0);
    put32(cs, 0);
    put16(cs, 1);
    cs.push_back(0x80 | (kPrecision - 1));  // signed
    cs.push_back(1);
    cs.push_back(1);
    // COD: no precincts, LRCP, one layer, no MCT, no decomposition, 64x64
    // code blocks, the style byte, the reversible 5/3 filter.
    cs.insert(cs.end(), {0xFF, 0x52, 0, 12, 0, 0, 0, 1, 0, 0, 4, 4, style, 1});
    // QCD: no quantization, the band's exponent = precision.
    cs.insert(cs.end(), {0xFF, 0x5C, 0, 4, kGuardBits << 5, kPrecision << 3});

    HeaderBitWriter h;
    if (passes == 0) {
        h.bit(0);  // empty packet
    } else {
        h.bit(1);  // non-empty
        h.bit(1);  // the code block is included in layer 0
        for (int i = 0; i < kMagnitudeBits - sfBits; ++i) h.bit(0);  // zero bit planes
        h.bit(1);
        putPassCount(h, passes);
        const std::vector<int> counts = segmentPassCounts(passes, style);
        int lblock = 3;
        for (size_t s = 0; s < counts.size(); ++s)
            while (floorLog2(static_cast<uint32_t>(segmentLengths[s])) + 1 >
                   lblock + floorLog2(static_cast<uint32_t>(counts[s])))
                ++lblock, h.bit(1);
        h.bit(0);
        for (size_t s = 0; s < counts.size(); ++s)
            h.bits(static_cast<uint32_t>(segmentLengths[s]),
                   lblock + floorLog2(static_cast<uint32_t>(counts[s])));
    }
    std::vector<uint8_t> packet = h.finish();
    packet.insert(packet.end(), data.begin(), data.end());

    cs.insert(cs.end(), {0xFF, 0x90, 0, 10, 0, 0});
    put32(cs, static_cast<uint32_t>(12 + 2 + packet.size()));  // SOT + SOD + packet
    cs.insert(cs.end(), {0, 1, 0xFF, 0x93});
    cs.insert(cs.end(), packet.begin(), packet.end());
    cs.insert(cs.end(), {0xFF, 0xD9});
    return cs;
}

// The stream functions of the linked library, for MemoryStream::open.
struct LinkedStreamApi {
    decltype(&::opj_stream_create) opj_stream_create = ::opj_stream_create;
    decltype(&::opj_stream_set_user_data) opj_stream_set_user_data = ::opj_stream_set_user_data;
    decltype(&::opj_stream_set_user_data_length) opj_stream_set_user_data_length =
        ::opj_stream_set_user_data_length;
    decltype(&::opj_stream_set_read_function) opj_stream_set_read_function =
        ::opj_stream_set_read_function;
    decltype(&::opj_stream_set_write_function) opj_stream_set_write_function =
        ::opj_stream_set_write_function;
    decltype(&::opj_stream_set_skip_function) opj_stream_set_skip_function =
        ::opj_stream_set_skip_function;
    decltype(&::opj_stream_set_seek_function) opj_stream_set_seek_function =
        ::opj_stream_set_seek_function;
};

inline opj_stream_t* openStream(MemoryStream* m, bool input) {
    return m->open(LinkedStreamApi{}, input);
}

inline void quiet(const char*, void*) {}

// Decodes a codestream; false if libopenjp2 rejects it.
inline bool openjpegDecode(const std::vector<uint8_t>& codestream, std::vector<int32_t>& samples) {
    MemoryStream m{codestream, 0};
    opj_stream_t* stream = openStream(&m, true);
    opj_codec_t* codec = opj_create_decompress(OPJ_CODEC_J2K);
    opj_set_error_handler(codec, quiet, nullptr);
    opj_set_warning_handler(codec, quiet, nullptr);
    opj_dparameters_t params;
    opj_set_default_decoder_parameters(&params);
    opj_image_t* image = nullptr;
    bool ok = opj_setup_decoder(codec, &params) && opj_read_header(stream, codec, &image) &&
              opj_decode(codec, stream, image) && opj_end_decompress(codec, stream);
    if (ok) {
        const opj_image_comp_t& c = image->comps[0];
        samples.assign(c.data, c.data + static_cast<size_t>(c.w) * c.h);
    }
    opj_image_destroy(image);
    opj_destroy_codec(codec);
    opj_stream_destroy(stream);
    return ok;
}

// Encodes signed 16-bit samples losslessly as one code block, one layer, no
// decomposition, with the given code-block style.
inline std::vector<uint8_t> openjpegEncode(const std::vector<int32_t>& samples, int width,
                                           int height, uint8_t style) {
    opj_image_cmptparm_t comp{};
    comp.dx = comp.dy = 1;
    comp.w = static_cast<OPJ_UINT32>(width);
    comp.h = static_cast<OPJ_UINT32>(height);
    comp.prec = kPrecision;
    comp.sgnd = 1;
    opj_image_t* image = opj_image_create(1, &comp, OPJ_CLRSPC_GRAY);
    image->x1 = static_cast<OPJ_UINT32>(width);
    image->y1 = static_cast<OPJ_UINT32>(height);
    std::copy(samples.begin(), samples.end(), image->comps[0].data);
    opj_cparameters_t params;
    opj_set_default_encoder_parameters(&params);
    params.tcp_numlayers = 1;
    params.tcp_rates[0] = 0;
    params.cp_disto_alloc = 1;
    params.numresolution = 1;
    params.cblockw_init = 64;
    params.cblockh_init = 64;
    params.mode = style;
    opj_codec_t* codec = opj_create_compress(OPJ_CODEC_J2K);
    opj_set_error_handler(codec, quiet, nullptr);
    opj_set_warning_handler(codec, quiet, nullptr);
    MemoryStream m;
    opj_stream_t* stream = openStream(&m, false);
    const bool ok = opj_setup_encoder(codec, &params, image) &&
                    opj_start_compress(codec, image, stream) && opj_encode(codec, stream) &&
                    opj_end_compress(codec, stream);
    opj_stream_destroy(stream);
    opj_destroy_codec(codec);
    opj_image_destroy(image);
    if (!ok) m.bytes.clear();
    return m.bytes;
}

// The code block of a codestream in the form written above (as libopenjp2
// writes it with these parameters): its planes, passes and segments.
struct ParsedCodeBlock {
    bool ok = false;
    uint8_t style = 0;
    int sfBits = 0, passes = 0;
    std::vector<int32_t> segmentLengths;
    std::vector<uint8_t> data;
};

inline ParsedCodeBlock parseCodeBlock(const std::vector<uint8_t>& cs) {
    ParsedCodeBlock p;
    int magnitudeBits = -1;
    size_t i = 2;
    while (i + 4 <= cs.size()) {
        const int marker = cs[i] << 8 | cs[i + 1];
        const size_t length = static_cast<size_t>(cs[i + 2] << 8 | cs[i + 3]);
        if (marker == 0xFF52) p.style = cs[i + 12];
        if (marker == 0xFF5C) magnitudeBits = (cs[i + 4] >> 5) + (cs[i + 5] >> 3) - 1;
        if (marker == 0xFF93) break;
        i += 2 + length;
    }
    if (i + 2 > cs.size() || magnitudeBits < 0) return p;
    const uint8_t* packet = cs.data() + i + 2;
    const size_t available = cs.size() - i - 2;
    HeaderBitReader r(packet, available);
    if (!r.bit() || !r.bit()) return p;  // empty packet or block not included
    int zeroPlanes = 0;
    while (!r.bit()) ++zeroPlanes;
    p.sfBits = magnitudeBits - zeroPlanes;
    p.passes = getPassCount(r);
    int lblock = 3;
    while (r.bit()) ++lblock;
    size_t total = 0;
    for (int n : segmentPassCounts(p.passes, p.style)) {
        p.segmentLengths.push_back(
            static_cast<int32_t>(r.bits(lblock + floorLog2(static_cast<uint32_t>(n)))));
        total += static_cast<size_t>(p.segmentLengths.back());
    }
    const size_t body = r.bytesUsed();
    if (body + total > available) return p;
    p.data.assign(packet + body, packet + body + total);
    p.ok = true;
    return p;
}

}  // namespace zeq::test::t1

#endif  // ZEQ_TESTS_JPEG2000_TIER1_OPENJPEG_ORACLE_H
