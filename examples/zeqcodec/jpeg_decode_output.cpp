#include <algorithm>
#include <cstdio>
#include <cstring>

#include "zeqcodec/jpeg_decode_internal.h"
#include "zeqcodec/serial_pieces.h"

namespace zeqcodec::jpegdec {

using zeq::container::Image;
using zeq::container::JpegParsedFile;

namespace {

constexpr int64_t kProgressPixels = 20000000;  // a progress line above 20 megapixels

}  // namespace

ColourSpace colourSpaceOf(const JpegParsedFile& file) {
    const auto& c = file.frame.components;
    if (c.size() == 1) return ColourSpace::Grey;
    if (c[0].id == 'R' && c[1].id == 'G' && c[2].id == 'B') return ColourSpace::RGB;
    if (!file.jfif && file.adobe && file.adobeTransform == 0) return ColourSpace::RGB;
    return ColourSpace::YCbCr;
}

void PlaneSet::allocate(int32_t planes, int32_t rowStep, const int32_t rows[3], bool rings) {
    count = planes;
    step = rowStep;
    size_t total = 0;
    for (int32_t c = 0; c < planes; ++c) total += size_t(rowStep) * size_t(rows[c]);
    storage.reset(new uint8_t[total]);
    size_t at = 0;
    for (int32_t c = 0; c < planes; ++c) {
        plane[c] = storage.get() + at;
        ring[c] = rings ? rows[c] : 0;
        at += size_t(rowStep) * size_t(rows[c]);
    }
}

Progress::Progress(bool enabled, int32_t totalRows) : enabled_(enabled), total_(totalRows) {}

Progress::~Progress() {
    if (enabled_ && lastPercent_ >= 0) std::fputc('\n', stderr);
}

void Progress::rowsDone(int32_t rows) {
    if (!enabled_ || total_ < 1) return;
    const int32_t percent = int32_t(int64_t(rows) * 100 / total_);
    if (percent / 10 == lastPercent_ / 10 && lastPercent_ >= 0) return;
    lastPercent_ = percent;
    std::fprintf(stderr, "\rzeqcodec jpeg-decode: %3d%%", int(percent));
    std::fflush(stderr);
}

bool progressWanted(const JpegDecodeOptions& options, int32_t width, int32_t height) {
    return options.reportProgress && int64_t(width) * height > kProgressPixels;
}

OutputWriter::OutputWriter(const PlaneSet& planes, ColourSpace space, Image& image)
    : planes_(planes), space_(space), image_(image) {
    size_t upsampledPlanes = 0;
    for (int32_t c = 0; c < planes.count; ++c)
        if (planes.upH[c] > 1 || planes.upV[c] > 1) ++upsampledPlanes;
    upsampled_.resize(upsampledPlanes * size_t(planes.step));
}

void OutputWriter::rows(int32_t begin, int32_t end) {
    const int32_t width = image_.width;
    const int32_t step = planes_.step;
    const size_t outStep = size_t(width) * size_t(image_.channels);
    // Row by row: a row's up-sampled chroma is converted while it is still
    // in the first-level cache.
    uint8_t* const scratch = upsampled_.data();
    for (int32_t y = begin; y < end; ++y) {
        const uint8_t* src[3] = {};
        uint8_t* upsampled = scratch;
        for (int32_t c = 0; c < planes_.count; ++c) {
            if (planes_.upH[c] == 1 && planes_.upV[c] == 1) {
                src[c] = planes_.row(c, y);
                continue;
            }
            const int32_t w = planes_.width[c];
            if (planes_.upV[c] == 1) {
                zeqiSampleUpRowH2V1_Triangle_JPEG_8u_C1(planes_.row(c, y), w, upsampled);
            } else {
                const int32_t nearRow = y >> 1, lastRow = planes_.height[c] - 1;
                const int32_t farRow =
                    (y & 1) ? std::min(nearRow + 1, lastRow) : std::max(nearRow - 1, 0);
                zeqiSampleUpRowH2V2_Triangle_JPEG_8u_C1(planes_.row(c, nearRow),
                                                        planes_.row(c, farRow), w, upsampled);
            }
            src[c] = upsampled;
            upsampled += step;
        }
        uint8_t* out = image_.pixels.data() + size_t(y) * outStep;
        if (space_ == ColourSpace::Grey) {
            std::memcpy(out, src[0], size_t(width));
        } else if (space_ == ColourSpace::YCbCr) {
            forEachSerialPiece(width, [&](int32_t x, int32_t pieceWidth) {
                const uint8_t* const piece[3] = {src[0] + x, src[1] + x, src[2] + x};
                return zeqiYCbCrToRGB_JPEG_8u_P3C3R(piece, step, out + 3 * size_t(x),
                                                    int32_t(outStep),
                                                    ZeqiSize{pieceWidth, 1}) == StatusOk;
            });
        } else {
            for (int32_t x = 0; x < width; ++x) {
                out[3 * x] = src[0][x];
                out[3 * x + 1] = src[1][x];
                out[3 * x + 2] = src[2][x];
            }
        }
    }
}

void prepareImage(Image& image, int32_t width, int32_t height, int32_t channels) {
    image.width = width;
    image.height = height;
    image.channels = channels;
    image.pixels.resize(size_t(width) * size_t(height) * size_t(channels));
}

bool DecodeSpec::build(const zeq::container::JpegHuffmanTable& table) {
    return zeqiDecodeHuffmanSpecInit_JPEG_8u(table.counts.data(), table.symbols.data(),
                                             reinterpret_cast<HuffmanDecodeSpec*>(words_)) ==
           StatusOk;
}

bool takeRestartMarker(const uint8_t* data, int32_t size, int32_t& pos, int32_t& marker,
                       int32_t index, DecodeState& state) {
    if (marker == 0) {
        // The reader stopped short of the marker: skip what is left of the
        // interval's last byte and find it.
        while (pos + 1 < size &&
               !(data[pos] == 0xFF && data[pos + 1] != 0x00 && data[pos + 1] != 0xFF))
            ++pos;
        if (pos + 1 >= size) return false;
        marker = data[pos + 1];
        pos += 2;
    }
    const bool expected = marker == 0xD0 + (index & 7);
    marker = 0;
    state.reset();
    return expected;
}

std::string statusText(ZeqStatus status) {
    switch (status) {
        case StatusBufferExhausted:
            return "the entropy-coded data end too early (truncated file)";
        case StatusCoefficientRange:
            return "the entropy-coded data are corrupt (invalid code or marker inside a scan)";
        case StatusBlockOverrun:
            return "the entropy-coded data are corrupt (a block runs past 64 coefficients)";
        case StatusHuffmanTable:
            return "a Huffman table is invalid";
        case StatusBadArgument:
            return "a scan parameter is out of range";
        default:
            return "the library reported status " + std::to_string(status);
    }
}

}  // namespace zeqcodec::jpegdec
