#include "container/j2k_codestream.h"

#include <algorithm>
#include <climits>
#include <cstdio>

namespace zeq::container {
namespace {

// Largest image the parser accepts: 64 M samples per component keeps every
// plane allocation of a decoder bounded whatever a file claims.
constexpr uint64_t MaxPixels = uint64_t{1} << 26;
// Most passes one code block can carry (31 planes).
constexpr int32_t MaxPasses = 3 * 31 - 2;
// Length indicators stay below 2^31.
constexpr int32_t MaxLengthBits = 31;

bool fail(std::string* error, const std::string& why) {
    if (error) *error = why;
    return false;
}

void put8(std::vector<uint8_t>& v, uint32_t x) { v.push_back(static_cast<uint8_t>(x)); }
void put16(std::vector<uint8_t>& v, uint32_t x) {
    put8(v, x >> 8);
    put8(v, x);
}
void put32(std::vector<uint8_t>& v, uint32_t x) {
    put16(v, x >> 16);
    put16(v, x & 0xFFFF);
}

uint32_t get16(const uint8_t* p) { return static_cast<uint32_t>(p[0]) << 8 | p[1]; }
uint32_t get32(const uint8_t* p) { return get16(p) << 16 | get16(p + 2); }

int floorLog2(uint32_t v) {
    int n = -1;
    for (; v; v >>= 1) ++n;
    return n;
}

// A tag tree over a grid of leaves: every node holds the minimum of its
// children; codes are emitted or read from the root down to a leaf.
class TagTree {
public:
    TagTree(int32_t width, int32_t height) {
        int32_t w = width, h = height;
        for (;;) {
            levels_.push_back({w, h, static_cast<size_t>(nodes_.size())});
            nodes_.resize(nodes_.size() + static_cast<size_t>(w) * static_cast<size_t>(h));
            if (w == 1 && h == 1) break;
            w = (w + 1) / 2;
            h = (h + 1) / 2;
        }
    }
    // Sets leaf values (raster order) and the minima above them.
    void setValues(const std::vector<int32_t>& leaves) {
        for (Node& n : nodes_) n.value = INT32_MAX;
        for (size_t i = 0; i < leaves.size(); ++i) nodes_[i].value = leaves[i];
        for (size_t l = 0; l + 1 < levels_.size(); ++l) {
            const Level& c = levels_[l];
            for (int32_t y = 0; y < c.height; ++y)
                for (int32_t x = 0; x < c.width; ++x) {
                    Node& parent = node(l + 1, x / 2, y / 2);
                    parent.value = std::min(parent.value, node(l, x, y).value);
                }
        }
    }
    void encode(J2kHeaderBitWriter& w, int32_t leaf, int32_t threshold) {
        int32_t low = 0;
        for (Node* n : path(leaf)) {
            if (low > n->low)
                n->low = low;
            else
                low = n->low;
            while (low < threshold) {
                if (low >= n->value) {
                    if (!n->known) {
                        w.bit(1);
                        n->known = true;
                    }
                    break;
                }
                w.bit(0);
                ++low;
            }
            n->low = low;
        }
    }
    // True when the leaf's value is known to be below threshold.
    bool decode(J2kHeaderBitReader& r, int32_t leaf, int32_t threshold) {
        int32_t low = 0;
        for (Node* n : path(leaf)) {
            if (low > n->low)
                n->low = low;
            else
                low = n->low;
            while (low < threshold && low < n->value) {
                if (r.bit())
                    n->value = low;
                else
                    ++low;
            }
            n->low = low;
        }
        return nodes_[static_cast<size_t>(leaf)].value < threshold;
    }
    int32_t value(int32_t leaf) const { return nodes_[static_cast<size_t>(leaf)].value; }

private:
    struct Node {
        int32_t value = INT32_MAX;
        int32_t low = 0;
        bool known = false;
    };
    struct Level {
        int32_t width, height;
        size_t first;
    };
    Node& node(size_t level, int32_t x, int32_t y) {
        const Level& l = levels_[level];
        return nodes_[l.first + static_cast<size_t>(y) * static_cast<size_t>(l.width) +
                      static_cast<size_t>(x)];
    }
    // Root first.
    const std::vector<Node*>& path(int32_t leaf) {
        path_.assign(levels_.size(), nullptr);
        int32_t x = leaf % levels_[0].width, y = leaf / levels_[0].width;
        for (size_t l = 0; l < levels_.size(); ++l) {
            path_[levels_.size() - 1 - l] = &node(l, x, y);
            x /= 2;
            y /= 2;
        }
        return path_;
    }
    std::vector<Level> levels_;
    std::vector<Node> nodes_;
    std::vector<Node*> path_;
};

void putPassCount(J2kHeaderBitWriter& w, int32_t passes) {
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

int32_t getPassCount(J2kHeaderBitReader& r) {
    if (!r.bit()) return 1;
    if (!r.bit()) return 2;
    const uint32_t two = r.bits(2);
    if (two < 3) return 3 + static_cast<int32_t>(two);
    const uint32_t five = r.bits(5);
    if (five < 31) return 6 + static_cast<int32_t>(five);
    return 37 + static_cast<int32_t>(r.bits(7));
}

}  // namespace

// ---- Codestream --------------------------------------------------------

std::vector<uint8_t> writeJ2kCodestream(const J2kHeader& h, const uint8_t* packets,
                                        size_t packetsSize) {
    std::vector<uint8_t> cs;
    cs.reserve(packetsSize + 128);
    put16(cs, J2kSOC);
    put16(cs, J2kSIZ);
    put16(cs, 38 + 3u * h.components);
    put16(cs, 0);  // capabilities: none beyond the baseline
    put32(cs, h.width);
    put32(cs, h.height);
    put32(cs, 0);
    put32(cs, 0);
    put32(cs, h.width);  // one tile
    put32(cs, h.height);
    put32(cs, 0);
    put32(cs, 0);
    put16(cs, h.components);
    for (uint32_t c = 0; c < h.components; ++c) {
        put8(cs, (h.isSigned ? 0x80u : 0u) | (h.precision - 1u));
        put8(cs, 1);
        put8(cs, 1);
    }
    put16(cs, J2kCOD);
    put16(cs, 12);
    put8(cs, 0);   // maximal precincts, no SOP, no EPH
    put8(cs, 0);   // LRCP
    put16(cs, 1);  // one layer
    put8(cs, h.multiComponentTransform ? 1 : 0);
    put8(cs, h.levels);
    put8(cs, h.codeBlockWidthExponent - 2u);
    put8(cs, h.codeBlockHeightExponent - 2u);
    put8(cs, h.codeBlockStyle);
    put8(cs, h.reversible ? 1 : 0);
    put16(cs, J2kQCD);
    const uint32_t entry = h.quantized ? 2 : 1;
    put16(cs, static_cast<uint32_t>(3 + entry * h.steps.size()));
    put8(cs, static_cast<uint32_t>(h.guardBits) << 5 | (h.quantized ? 2u : 0u));
    for (const J2kQuantStep& s : h.steps) {
        if (h.quantized)
            put16(cs, static_cast<uint32_t>(s.exponent) << 11 | (s.mantissa & 0x7FFu));
        else
            put8(cs, static_cast<uint32_t>(s.exponent) << 3);
    }
    put16(cs, J2kSOT);
    put16(cs, 10);
    put16(cs, 0);                                            // tile 0
    put32(cs, static_cast<uint32_t>(12 + 2 + packetsSize));  // SOT + SOD + packets
    put8(cs, 0);                                             // tile-part 0
    put8(cs, 1);                                             // of one
    put16(cs, J2kSOD);
    cs.insert(cs.end(), packets, packets + packetsSize);
    put16(cs, J2kEOC);
    return cs;
}

namespace {

bool parseSiz(const uint8_t* p, size_t length, J2kHeader& h, std::string* error) {
    if (length < 38 + 3) return fail(error, "SIZ segment too short");
    const uint32_t w = get32(p + 4), hgt = get32(p + 8);
    if (get32(p + 12) != 0 || get32(p + 16) != 0)
        return fail(error, "image offsets other than 0 are not supported");
    if (w == 0 || hgt == 0) return fail(error, "empty image");
    if (static_cast<uint64_t>(w) * hgt > MaxPixels) return fail(error, "image too large");
    if (get32(p + 28) != 0 || get32(p + 32) != 0 || get32(p + 20) < w || get32(p + 24) < hgt)
        return fail(error, "more than one tile is not supported");
    const uint32_t components = get16(p + 36);
    if (components < 1 || components > J2kMaxComponents)
        return fail(error, "component count " + std::to_string(components) + " not supported");
    if (length != 38 + 3 * components) return fail(error, "SIZ length does not match components");
    const uint8_t ssiz = p[38];
    for (uint32_t c = 0; c < components; ++c) {
        const uint8_t* comp = p + 38 + 3 * c;
        if (comp[0] != ssiz) return fail(error, "components of different precision");
        if (comp[1] != 1 || comp[2] != 1) return fail(error, "subsampled components");
    }
    if ((ssiz & 0x7F) > 15) return fail(error, "sample precision above 16 bits");
    h.width = w;
    h.height = hgt;
    h.components = static_cast<uint16_t>(components);
    h.precision = static_cast<uint8_t>((ssiz & 0x7F) + 1);
    h.isSigned = (ssiz & 0x80) != 0;
    return true;
}

bool parseCod(const uint8_t* p, size_t length, J2kHeader& h, std::string* error) {
    if (length != 12) return fail(error, "COD segment of unexpected length");
    if (p[2] != 0) return fail(error, "precincts, SOP or EPH markers are not supported");
    if (p[3] != 0) return fail(error, "progression orders other than LRCP are not supported");
    if (get16(p + 4) != 1) return fail(error, "more than one quality layer is not supported");
    if (p[6] > 1) return fail(error, "unknown multiple-component transform");
    if (p[7] > J2kMaxLevels) return fail(error, "more than 8 decomposition levels");
    if (p[8] != 4 || p[9] != 4) return fail(error, "code blocks other than 64x64");
    if (p[10] & 0xC0) return fail(error, "unknown code-block style bits");
    if (p[11] > 1) return fail(error, "unknown wavelet filter");
    h.multiComponentTransform = p[6] == 1;
    h.levels = p[7];
    h.codeBlockWidthExponent = static_cast<uint8_t>(p[8] + 2);
    h.codeBlockHeightExponent = static_cast<uint8_t>(p[9] + 2);
    h.codeBlockStyle = p[10];
    h.reversible = p[11] == 1;
    return true;
}

bool parseQcd(const uint8_t* p, size_t length, J2kHeader& h, std::string* error) {
    if (length < 3) return fail(error, "QCD segment too short");
    const uint8_t style = p[2] & 0x1F;
    if (style != 0 && style != 2) return fail(error, "quantization style not supported");
    h.guardBits = static_cast<uint8_t>(p[2] >> 5);
    h.quantized = style == 2;
    const size_t entry = h.quantized ? 2 : 1;
    if ((length - 3) % entry != 0) return fail(error, "QCD length is not whole steps");
    h.steps.resize((length - 3) / entry);
    for (size_t i = 0; i < h.steps.size(); ++i) {
        const uint8_t* s = p + 3 + i * entry;
        if (h.quantized) {
            h.steps[i].exponent = static_cast<uint8_t>(s[0] >> 3);
            h.steps[i].mantissa = static_cast<uint16_t>(get16(s) & 0x7FF);
        } else {
            h.steps[i].exponent = static_cast<uint8_t>(s[0] >> 3);
            h.steps[i].mantissa = 0;
        }
    }
    return true;
}

}  // namespace

bool parseJ2kCodestream(const uint8_t* data, size_t size, J2kHeader& header,
                        const uint8_t** packets, size_t* packetsSize, std::string* error) {
    J2kHeader h;
    if (size < 4 || get16(data) != J2kSOC) return fail(error, "not a JPEG 2000 codestream");
    size_t pos = 2;
    bool haveSiz = false, haveCod = false, haveQcd = false;
    // Main header: marker segments up to the first SOT.
    for (;;) {
        if (pos + 4 > size) return fail(error, "codestream truncated in the main header");
        const uint32_t marker = get16(data + pos);
        if (marker == J2kSOT) break;
        const size_t length = get16(data + pos + 2);
        if (length < 2 || pos + 2 + length > size)
            return fail(error, "marker segment length runs past the end");
        const uint8_t* body = data + pos + 2;
        if (!haveSiz && marker != J2kSIZ) return fail(error, "SIZ must follow SOC");
        switch (marker) {
            case J2kSIZ:
                if (haveSiz) return fail(error, "second SIZ segment");
                if (!parseSiz(body, length, h, error)) return false;
                haveSiz = true;
                break;
            case J2kCOD:
                if (haveCod) return fail(error, "second COD segment");
                if (!parseCod(body, length, h, error)) return false;
                haveCod = true;
                break;
            case J2kQCD:
                if (haveQcd) return fail(error, "second QCD segment");
                if (!parseQcd(body, length, h, error)) return false;
                haveQcd = true;
                break;
            case J2kCOM:
                break;
            default: {
                char name[8];
                std::snprintf(name, sizeof name, "%04X", marker);
                return fail(error, std::string("marker 0x") + name + " is not supported");
            }
        }
        pos += 2 + length;
    }
    if (!haveCod || !haveQcd) return fail(error, "COD or QCD segment missing");
    if (h.steps.size() != static_cast<size_t>(j2kBandCount(h.levels)))
        return fail(error, "QCD does not give one step per subband");
    if (h.multiComponentTransform && h.components != 3)
        return fail(error, "component transform needs three components");
    for (int32_t b = 0; b < j2kBandCount(h.levels); ++b) {
        const int32_t mb = j2kMagnitudeBits(h, b);
        if (mb < 1 || mb > 31) return fail(error, "subband magnitude bits outside 1..31");
    }
    // The one tile-part.
    if (pos + 12 > size) return fail(error, "codestream truncated in SOT");
    if (get16(data + pos + 2) != 10) return fail(error, "SOT segment of unexpected length");
    const uint8_t* sot = data + pos + 4;
    if (get16(sot) != 0) return fail(error, "tile index other than 0");
    if (sot[6] != 0 || sot[7] > 1) return fail(error, "more than one tile-part");
    const uint32_t psot = get32(sot + 2);
    const size_t tileStart = pos;
    pos += 12;
    for (;;) {
        if (pos + 2 > size) return fail(error, "codestream truncated in the tile header");
        const uint32_t marker = get16(data + pos);
        if (marker == J2kSOD) break;
        if (marker != J2kCOM || pos + 4 > size)
            return fail(error, "tile-part header markers are not supported");
        const size_t length = get16(data + pos + 2);
        if (length < 2 || pos + 2 + length > size)
            return fail(error, "marker segment length runs past the end");
        pos += 2 + length;
    }
    pos += 2;
    size_t tileEnd;
    if (psot == 0) {
        if (size < pos + 2) return fail(error, "codestream truncated");
        tileEnd = size - 2;  // the tile-part runs up to EOC
    } else {
        if (psot < pos - tileStart || psot > size - tileStart)
            return fail(error, "tile-part length runs past the end");
        tileEnd = tileStart + psot;
    }
    if (tileEnd + 2 > size || get16(data + tileEnd) != J2kEOC)
        return fail(error, "EOC missing after the tile-part");
    header = h;
    *packets = data + pos;
    *packetsSize = tileEnd - pos;
    return true;
}

// ---- Packet headers ----------------------------------------------------

void J2kHeaderBitWriter::bit(int b) {
    current_ = (current_ << 1) | static_cast<uint32_t>(b & 1);
    if (++count_ == capacity_) flushByte();
}

void J2kHeaderBitWriter::bits(uint32_t value, int n) {
    for (int i = n - 1; i >= 0; --i) bit(static_cast<int>((value >> i) & 1));
}

std::vector<uint8_t> J2kHeaderBitWriter::finish() {
    if (count_ > 0) {
        current_ <<= capacity_ - count_;
        flushByte();
    }
    if (!bytes_.empty() && bytes_.back() == 0xFF) bytes_.push_back(0);
    return bytes_;
}

void J2kHeaderBitWriter::flushByte() {
    bytes_.push_back(static_cast<uint8_t>(current_));
    capacity_ = current_ == 0xFF ? 7 : 8;
    current_ = 0;
    count_ = 0;
}

int J2kHeaderBitReader::bit() {
    if (left_ == 0) {
        const bool afterFF = current_ == 0xFF;
        current_ = pos_ < size_ ? data_[pos_] : 0;
        ++pos_;
        left_ = afterFF ? 7 : 8;
    }
    return static_cast<int>((current_ >> --left_) & 1);
}

uint32_t J2kHeaderBitReader::bits(int n) {
    uint32_t v = 0;
    for (int i = 0; i < n; ++i) v = (v << 1) | static_cast<uint32_t>(bit());
    return v;
}

std::vector<int32_t> j2kSegmentPassCounts(int32_t passes, uint8_t style) {
    std::vector<int32_t> counts;
    for (int32_t first = 0; first < passes;) {
        int32_t n;
        if (style & J2kStyleTerminateAll)
            n = 1;
        else if (!(style & J2kStyleBypass))
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

std::vector<uint8_t> writeJ2kPacketHeader(const std::vector<J2kPacketBand>& bands, uint8_t style) {
    J2kHeaderBitWriter w;
    bool any = false;
    for (const J2kPacketBand& b : bands)
        for (const J2kCodeBlockContribution& c : b.blocks) any = any || c.included;
    if (!any) {
        w.bit(0);  // empty packet
        return w.finish();
    }
    w.bit(1);
    std::vector<int32_t> values;
    for (const J2kPacketBand& band : bands) {
        const int32_t count = band.blocksWide * band.blocksHigh;
        if (count == 0) continue;
        TagTree inclusion(band.blocksWide, band.blocksHigh);
        TagTree zeroPlanes(band.blocksWide, band.blocksHigh);
        values.assign(static_cast<size_t>(count), 0);
        for (int32_t i = 0; i < count; ++i) values[i] = band.blocks[i].included ? 0 : 1;
        inclusion.setValues(values);
        for (int32_t i = 0; i < count; ++i)
            values[i] = band.blocks[i].included ? band.blocks[i].zeroBitPlanes : INT32_MAX / 2;
        zeroPlanes.setValues(values);
        for (int32_t i = 0; i < count; ++i) {
            const J2kCodeBlockContribution& c = band.blocks[static_cast<size_t>(i)];
            inclusion.encode(w, i, 1);
            if (!c.included) continue;
            zeroPlanes.encode(w, i, c.zeroBitPlanes + 1);
            putPassCount(w, c.passes);
            const std::vector<int32_t> counts = j2kSegmentPassCounts(c.passes, style);
            int lblock = 3;
            for (size_t s = 0; s < counts.size(); ++s)
                while (floorLog2(static_cast<uint32_t>(c.segmentLengths[s])) + 1 >
                       lblock + floorLog2(static_cast<uint32_t>(counts[s]))) {
                    ++lblock;
                    w.bit(1);
                }
            w.bit(0);
            for (size_t s = 0; s < counts.size(); ++s)
                w.bits(static_cast<uint32_t>(c.segmentLengths[s]),
                       lblock + floorLog2(static_cast<uint32_t>(counts[s])));
        }
    }
    return w.finish();
}

bool readJ2kPacketHeader(const uint8_t* data, size_t size, std::vector<J2kPacketBand>& bands,
                         uint8_t style, size_t* used, std::string* error) {
    J2kHeaderBitReader r(data, size);
    for (J2kPacketBand& band : bands)
        band.blocks.assign(
            static_cast<size_t>(band.blocksWide) * static_cast<size_t>(band.blocksHigh),
            J2kCodeBlockContribution{});
    if (size == 0) return fail(error, "packet header missing");
    if (r.bit()) {
        for (J2kPacketBand& band : bands) {
            const int32_t count = band.blocksWide * band.blocksHigh;
            if (count == 0) continue;
            TagTree inclusion(band.blocksWide, band.blocksHigh);
            TagTree zeroPlanes(band.blocksWide, band.blocksHigh);
            for (int32_t i = 0; i < count; ++i) {
                J2kCodeBlockContribution& c = band.blocks[static_cast<size_t>(i)];
                c.included = inclusion.decode(r, i, 1);
                if (!c.included) continue;
                int32_t threshold = 1;
                while (!zeroPlanes.decode(r, i, threshold)) {
                    if (threshold >= band.magnitudeBits || r.overrun())
                        return fail(error, "zero bit planes exceed the subband's magnitude bits");
                    ++threshold;
                }
                c.zeroBitPlanes = zeroPlanes.value(i);
                c.passes = getPassCount(r);
                const int32_t planes = band.magnitudeBits - c.zeroBitPlanes;
                if (c.passes > 3 * planes - 2 || c.passes > MaxPasses)
                    return fail(error, "more coding passes than the code block has planes for");
                int lblock = 3;
                while (r.bit()) {
                    if (++lblock > MaxLengthBits || r.overrun())
                        return fail(error, "segment length indicator too long");
                }
                const std::vector<int32_t> counts = j2kSegmentPassCounts(c.passes, style);
                c.segmentLengths.clear();
                for (int32_t n : counts) {
                    const int bits = lblock + floorLog2(static_cast<uint32_t>(n));
                    if (bits > MaxLengthBits)
                        return fail(error, "segment length indicator too long");
                    c.segmentLengths.push_back(static_cast<int32_t>(r.bits(bits)));
                }
                if (r.overrun()) return fail(error, "packet header truncated");
            }
        }
    }
    if (r.overrun()) return fail(error, "packet header truncated");
    *used = r.bytesUsed();
    return true;
}

}  // namespace zeq::container
