#include "zeqcodec/j2k_stream_blocks.h"

namespace zeqcodec::j2k {
namespace {

using zeq::container::J2kCodeBlockContribution;
using zeq::container::J2kPacketBand;

// Walks the LRCP packets (one precinct per resolution) and records each
// included block's bytes, planes, passes and segment lengths.
bool readPackets(const uint8_t* packets, size_t size, StreamBlocks& s, std::string* error) {
    const std::vector<Band>& bands = s.bands;
    const size_t perComponent = static_cast<size_t>(
        bands.back().firstBlock + bands.back().blocksWide * bands.back().blocksHigh);
    s.blocks.assign(perComponent * static_cast<size_t>(s.components), StreamBlock{});
    std::vector<J2kPacketBand> packetBands;
    size_t pos = 0;
    for (int32_t r = 0; r <= s.levels; ++r) {
        const size_t firstBand = r == 0 ? 0 : static_cast<size_t>(3 * r - 2);
        const size_t lastBand = r == 0 ? 0 : static_cast<size_t>(3 * r);
        for (int32_t c = 0; c < s.components; ++c) {
            packetBands.clear();
            for (size_t b = firstBand; b <= lastBand; ++b) {
                J2kPacketBand pb;
                pb.blocksWide = bands[b].blocksWide;
                pb.blocksHigh = bands[b].blocksHigh;
                pb.magnitudeBits =
                    zeq::container::j2kMagnitudeBits(s.header, static_cast<int32_t>(b));
                packetBands.push_back(pb);
            }
            size_t used = 0;
            if (pos >= size) return fail(error, "codestream ends before its last packet");
            if (!zeq::container::readJ2kPacketHeader(packets + pos, size - pos, packetBands,
                                                     s.header.codeBlockStyle, &used, error))
                return false;
            pos += used;
            StreamBlock* blocks = s.blocks.data() + static_cast<size_t>(c) * perComponent;
            for (size_t b = firstBand, k = 0; b <= lastBand; ++b, ++k) {
                const Band& band = bands[b];
                for (size_t i = 0; i < packetBands[k].blocks.size(); ++i) {
                    const J2kCodeBlockContribution& cb = packetBands[k].blocks[i];
                    if (!cb.included) continue;
                    StreamBlock& d = blocks[static_cast<size_t>(band.firstBlock) + i];
                    size_t bytes = 0;
                    for (int32_t l : cb.segmentLengths) bytes += static_cast<size_t>(l);
                    if (bytes > size - pos)
                        return fail(error, "code-block data runs past the end of the tile");
                    d.bytes = packets + pos;
                    d.planes = packetBands[k].magnitudeBits - cb.zeroBitPlanes;
                    d.passes = cb.passes;
                    d.firstSegment = s.segmentLengths.size();
                    d.segments = cb.segmentLengths.size();
                    s.segmentLengths.insert(s.segmentLengths.end(), cb.segmentLengths.begin(),
                                            cb.segmentLengths.end());
                    pos += bytes;
                }
            }
        }
    }
    return true;
}

}  // namespace

bool readStreamBlocks(const uint8_t* data, size_t size, StreamBlocks& out, std::string* error) {
    StreamBlocks s;
    const uint8_t* packets = nullptr;
    size_t packetsSize = 0;
    if (!zeq::container::parseJ2kCodestream(data, size, s.header, &packets, &packetsSize, error))
        return false;
    if (s.header.precision != SampleBits || s.header.isSigned)
        return fail(error, "only 8-bit unsigned samples are supported");
    if (s.header.components != 1 && s.header.components != 3)
        return fail(error, "only grey or three-component images are supported");
    s.width = static_cast<int32_t>(s.header.width);
    s.height = static_cast<int32_t>(s.header.height);
    s.components = s.header.components;
    s.levels = s.header.levels;
    s.bands = planeBands(s.width, s.height, s.levels);
    if (!readPackets(packets, packetsSize, s, error)) return false;
    out = std::move(s);
    return true;
}

}  // namespace zeqcodec::j2k
