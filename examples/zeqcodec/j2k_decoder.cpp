// The JPEG 2000 decoder: packet headers, code blocks through the library's
// one-shot decoder, dequantization, inverse wavelet levels and the inverse
// component transform.
#include <algorithm>
#include <cmath>

#include "zeqcodec/j2k_codec.h"
#include "zeqcodec/j2k_layout.h"
#include "zeqcodec/j2k_samples.h"
#include "zeqcodec/j2k_stream_blocks.h"
#include "zeqcodec/sample_planes.h"
#include "zeqj.h"

namespace zeqcodec {
namespace {

using j2k::Band;
using j2k::CodeBlockSize;
using j2k::fail;
using j2k::interleaveBytes3;
using j2k::irreversibleCoefficients;
using j2k::reversibleCoefficients;
using j2k::samplesToBytes;

// The largest magnitude handed to an inverse 5/3 level, far above what 8-bit
// samples produce: one level grows values at most ninefold, so clamping the
// low band before each level keeps every lifting sum inside 32 bits whatever
// a corrupt stream holds.
constexpr int32_t ReversibleLimit = 1 << 20;
// Reconstructed 9/7 coefficients (with their fraction bits) stay below this.
constexpr double IrreversibleLimit = 1 << 28;
// Decoder flag: leave the decoded bits below the last plane as they are.
constexpr int32_t KeepDecodedBits = 0x40000;

class Decoder {
public:
    bool run(const uint8_t* data, size_t size, zeq::container::Image& image, std::string* error);

private:
    bool decodeBlocks(std::string* error);
    bool inverse(zeq::container::Image& image, std::string* error);

    j2k::StreamBlocks s_;
    SamplePlanes<int32_t> planes_;
};

bool Decoder::decodeBlocks(std::string* error) {
    const ZeqiSize blockSize{CodeBlockSize, CodeBlockSize};
    int32_t stateSize = 0;
    if (zeqiDecodeGetBufSize_JPEG2K(blockSize, &stateSize) != StatusOk)
        return fail(error, "decoder state size refused");
    std::vector<uint8_t> stateBuffer(static_cast<size_t>(stateSize) + 64);
    auto* state = reinterpret_cast<ProgressiveDecodeState*>(stateBuffer.data());
    std::vector<int32_t> block(static_cast<size_t>(CodeBlockSize) * CodeBlockSize);
    const int32_t flags = zeq::container::j2kFlagsFromStyle(s_.header.codeBlockStyle);
    const size_t rowLength = static_cast<size_t>(s_.width);
    const size_t blocksPerComponent = s_.blocksPerComponent();
    const size_t pixels = rowLength * static_cast<size_t>(s_.height);
    if (!planes_.allocate(s_.components, pixels)) return fail(error, "out of memory");
    for (int32_t c = 0; c < s_.components; ++c) {
        int32_t* plane = planes_[c];
        const j2k::StreamBlock* blocks =
            s_.blocks.data() + static_cast<size_t>(c) * blocksPerComponent;
        for (size_t b = 0; b < s_.bands.size(); ++b) {
            const Band& band = s_.bands[b];
            double step = 1;
            if (!s_.header.reversible)
                step = j2k::stepValue(s_.header.steps[b], j2k::rangeBits(band.orientation)) *
                       (1 << j2k::FractionBits);
            for (int32_t by = 0; by < band.blocksHigh; ++by) {
                for (int32_t bx = 0; bx < band.blocksWide; ++bx) {
                    const j2k::StreamBlock& d =
                        blocks[static_cast<size_t>(band.firstBlock + by * band.blocksWide + bx)];
                    if (d.passes == 0) continue;  // the plane is already zero there
                    const int32_t x0 = bx * CodeBlockSize, y0 = by * CodeBlockSize;
                    const int32_t w = std::min(CodeBlockSize, band.width - x0);
                    const int32_t hgt = std::min(CodeBlockSize, band.height - y0);
                    // The 9/7 path decodes one plane up, keeping every
                    // coefficient's mid-point bit below its last decoded plane,
                    // so a block coded down to plane 0 reconstructs half a step
                    // up as well.
                    const bool midpoints = !s_.header.reversible && d.planes < 31;
                    const ZeqStatus s = zeqiDecodeCodeBlock_JPEG2K_1u32s_C1R(
                        d.bytes, block.data(), CodeBlockSize * 4, ZeqiSize{w, hgt},
                        j2k::tier1Subband(band.orientation), d.planes + (midpoints ? 1 : 0),
                        d.passes, s_.segmentLengths.data() + d.firstSegment,
                        static_cast<int32_t>(d.segments), flags | (midpoints ? KeepDecodedBits : 0),
                        nullptr, state);
                    if (s == StatusCodeBlockCorrupt)
                        return fail(error, "corrupt code-block data (segmentation symbol)");
                    if (s != StatusOk) return fail(error, "code-block decoder refused a block");
                    const double unit = midpoints ? 0.5 * step : step;
                    for (int32_t y = 0; y < hgt; ++y) {
                        const int32_t* src = block.data() + static_cast<size_t>(y) * CodeBlockSize;
                        int32_t* dst = plane + static_cast<size_t>(band.y + y0 + y) * rowLength +
                                       static_cast<size_t>(band.x + x0);
                        if (s_.header.reversible)
                            reversibleCoefficients(src, dst, w, ReversibleLimit);
                        else
                            irreversibleCoefficients(src, dst, w, static_cast<float>(unit),
                                                     static_cast<float>(IrreversibleLimit));
                    }
                }
            }
        }
    }
    return true;
}

bool Decoder::inverse(zeq::container::Image& image, std::string* error) {
    const int32_t step = s_.width * 4;
    const ZeqiRect full{0, 0, s_.width, s_.height};
    int32_t bufferSize = 0;
    if (s_.header.reversible)
        zeqiWTGetBufSize_B53_JPEG2K_32s_C1IR(&full, &bufferSize);
    else
        zeqiWTGetBufSize_D97_JPEG2K_32s_C1IR(&full, &bufferSize);
    std::vector<uint8_t> buffer(static_cast<size_t>(bufferSize) + 64);
    const size_t pixels = static_cast<size_t>(s_.width) * static_cast<size_t>(s_.height);
    const size_t pixelsPerRow = static_cast<size_t>(s_.width);
    for (int32_t c = 0; c < s_.components; ++c) {
        int32_t* plane = planes_[c];
        for (int32_t level = s_.levels; level >= 1; --level) {
            const ZeqiRect rect{0, 0, j2k::lowSize(s_.width, level - 1),
                                j2k::lowSize(s_.height, level - 1)};
            const ZeqStatus s =
                s_.header.reversible
                    ? zeqiWTInv_B53_JPEG2K_32s_C1IR(plane, step, &rect, buffer.data())
                    : zeqiWTInv_D97_JPEG2K_32s_C1IR(plane, step, &rect, buffer.data());
            if (s != StatusOk) return fail(error, "inverse wavelet level failed");
            if (s_.header.reversible && level > 1) {
                for (int32_t y = 0; y < rect.height; ++y) {
                    int32_t* row = plane + static_cast<size_t>(y) * pixelsPerRow;
                    for (int32_t x = 0; x < rect.width; ++x)
                        row[x] = std::clamp(row[x], -ReversibleLimit, ReversibleLimit);
                }
            }
        }
    }
    image.width = s_.width;
    image.height = s_.height;
    image.channels = s_.components;
    const size_t bytesOut = pixels * static_cast<size_t>(s_.components);
    image.pixels.reserve(bytesOut);
    prefaultForWriting(image.pixels.data(), bytesOut);
    image.pixels.resize(bytesOut);
    const bool colourTransform = s_.components == 3 && s_.header.multiComponentTransform;
    const int32_t shift = s_.header.reversible ? 0 : j2k::FractionBits;
    // The colour transform, the conversion to bytes and the interleave run
    // on a copy of a chunk of the planes, in cache; the planes are only read.
    constexpr size_t Chunk = 4096;
    std::vector<int32_t> samples(3 * Chunk);
    uint8_t bytes[3][Chunk];
    uint8_t* dst = image.pixels.data();
    for (size_t first = 0; first < pixels; first += Chunk) {
        const size_t n = std::min(Chunk, pixels - first);
        int32_t* const chunk[3] = {samples.data(), samples.data() + Chunk,
                                   samples.data() + 2 * Chunk};
        for (int32_t c = 0; c < s_.components; ++c)
            std::copy(planes_[c] + first, planes_[c] + first + n, chunk[c]);
        if (colourTransform) {
            const ZeqiSize size{static_cast<int32_t>(n), 1};
            const int32_t chunkStep = static_cast<int32_t>(Chunk * sizeof(int32_t));
            const ZeqStatus s = s_.header.reversible
                                    ? zeqiRCTInv_JPEG2K_32s_P3IR(chunk, chunkStep, size)
                                    : zeqiICTInv_JPEG2K_32s_P3IR(chunk, chunkStep, size);
            if (s != StatusOk) return fail(error, "inverse component transform failed");
        }
        for (int32_t c = 0; c < s_.components; ++c) samplesToBytes(chunk[c], bytes[c], n, shift);
        if (s_.components == 1) {
            std::copy(bytes[0], bytes[0] + n, dst + first);
        } else {
            interleaveBytes3(bytes[0], bytes[1], bytes[2], dst + 3 * first, n);
        }
    }
    return true;
}

bool Decoder::run(const uint8_t* data, size_t size, zeq::container::Image& image,
                  std::string* error) {
    if (!j2k::readStreamBlocks(data, size, s_, error) || !decodeBlocks(error)) return false;
    zeq::container::Image decoded;
    if (!inverse(decoded, error)) return false;
    image = std::move(decoded);
    return true;
}

}  // namespace

bool decodeJ2k(const uint8_t* data, size_t size, zeq::container::Image& image, std::string* error) {
    Decoder decoder;
    return decoder.run(data, size, image, error);
}

}  // namespace zeqcodec
