// A real JPEG 2000 decoder and encoder (libopenjp2) as the oracle of the
// tier-1 coder. A minimal codestream (the container library's writer) wraps
// one code block: one tile, one component, no decomposition levels, one code
// block, one layer and one packet; the reverse direction parses such a
// codestream written by libopenjp2 with the container library's reader.
#ifndef ZEQ_TESTS_JPEG2000_TIER1_OPENJPEG_ORACLE_H
#define ZEQ_TESTS_JPEG2000_TIER1_OPENJPEG_ORACLE_H

#include <openjpeg.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "container/j2k_codestream.h"
#include "tests/jpeg2000/tier1/openjpeg_memory_stream.h"

namespace zeq::test::t1 {

// The code-block style byte of a COD marker for the library's flags and
// termination type, and back.
inline uint8_t codeBlockStyle(int32_t flags, int32_t termType) {
    return container::j2kStyleFromFlags(flags, termType);
}
inline int32_t libraryFlags(uint8_t style) { return container::j2kFlagsFromStyle(style); }

constexpr int kGuardBits = 2;
constexpr int kPrecision = 16;  // signed samples of 16 bits

// The header of such a codestream: one tile, one component, no
// decomposition, 64x64 code blocks, the style byte, the reversible filter,
// no quantization (the band's exponent = precision).
inline container::J2kHeader oneBlockHeader(int width, int height, uint8_t style) {
    container::J2kHeader h;
    h.width = static_cast<uint32_t>(width);
    h.height = static_cast<uint32_t>(height);
    h.components = 1;
    h.precision = kPrecision;
    h.isSigned = true;
    h.levels = 0;
    h.codeBlockStyle = style;
    h.reversible = true;
    h.guardBits = kGuardBits;
    h.steps.assign(1, container::J2kQuantStep{kPrecision, 0});
    return h;
}

// A codestream around one code block of width x height coded with `passes`
// passes from sfBits planes, its segments given by their lengths.
inline std::vector<uint8_t> wrapCodeBlock(int width, int height, uint8_t style, int sfBits,
                                          int passes, const std::vector<uint8_t>& data,
                                          const std::vector<int32_t>& segmentLengths) {
    const container::J2kHeader h = oneBlockHeader(width, height, style);
    std::vector<container::J2kPacketBand> bands(1);
    bands[0].blocksWide = bands[0].blocksHigh = 1;
    bands[0].magnitudeBits = container::j2kMagnitudeBits(h, 0);
    container::J2kCodeBlockContribution block;
    block.included = passes > 0;
    block.zeroBitPlanes = bands[0].magnitudeBits - sfBits;
    block.passes = passes;
    block.segmentLengths = segmentLengths;
    bands[0].blocks.push_back(block);
    std::vector<uint8_t> packet = container::writeJ2kPacketHeader(bands, style);
    packet.insert(packet.end(), data.begin(), data.end());
    return container::writeJ2kCodestream(h, packet.data(), packet.size());
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

// Decodes a codestream into a libopenjp2 image (to be destroyed by the
// caller); null if libopenjp2 rejects it.
inline opj_image_t* openjpegDecodeImage(const std::vector<uint8_t>& codestream) {
    MemoryStream m{codestream, 0};
    opj_stream_t* stream = openStream(&m, true);
    opj_codec_t* codec = opj_create_decompress(OPJ_CODEC_J2K);
    opj_set_error_handler(codec, quiet, nullptr);
    opj_set_warning_handler(codec, quiet, nullptr);
    opj_dparameters_t params;
    opj_set_default_decoder_parameters(&params);
    opj_image_t* image = nullptr;
    const bool ok = opj_setup_decoder(codec, &params) && opj_read_header(stream, codec, &image) &&
                    opj_decode(codec, stream, image) && opj_end_decompress(codec, stream);
    opj_destroy_codec(codec);
    opj_stream_destroy(stream);
    if (!ok) {
        opj_image_destroy(image);
        return nullptr;
    }
    return image;
}

// Decodes a codestream; false if libopenjp2 rejects it.
inline bool openjpegDecode(const std::vector<uint8_t>& codestream, std::vector<int32_t>& samples) {
    opj_image_t* image = openjpegDecodeImage(codestream);
    if (!image) return false;
    const opj_image_comp_t& c = image->comps[0];
    samples.assign(c.data, c.data + static_cast<size_t>(c.w) * c.h);
    opj_image_destroy(image);
    return true;
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
    container::J2kHeader h;
    const uint8_t* packet = nullptr;
    size_t available = 0;
    if (!container::parseJ2kCodestream(cs.data(), cs.size(), h, &packet, &available, nullptr) ||
        h.levels != 0 || h.width > 64 || h.height > 64)
        return p;
    p.style = h.codeBlockStyle;
    std::vector<container::J2kPacketBand> bands(1);
    bands[0].blocksWide = bands[0].blocksHigh = 1;
    bands[0].magnitudeBits = container::j2kMagnitudeBits(h, 0);
    size_t body = 0;
    if (!container::readJ2kPacketHeader(packet, available, bands, p.style, &body, nullptr))
        return p;
    const container::J2kCodeBlockContribution& block = bands[0].blocks[0];
    if (!block.included) return p;  // empty packet or block not included
    p.sfBits = bands[0].magnitudeBits - block.zeroBitPlanes;
    p.passes = block.passes;
    p.segmentLengths = block.segmentLengths;
    size_t total = 0;
    for (int32_t length : p.segmentLengths) total += static_cast<size_t>(length);
    if (body + total > available) return p;
    p.data.assign(packet + body, packet + body + total);
    p.ok = true;
    return p;
}

}  // namespace zeq::test::t1

#endif  // ZEQ_TESTS_JPEG2000_TIER1_OPENJPEG_ORACLE_H
