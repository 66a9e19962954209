// The JPEG 2000 encoder: component transform, whole-level wavelets, code
// blocks through the tier-1 coder, rate control over the per-pass rates and
// distortions, and one-layer LRCP packets with tag-tree headers.
#include <algorithm>
#include <cmath>
#include <memory>

#include "zeqcodec/j2k_codec.h"
#include "zeqcodec/j2k_layout.h"
#include "zeqcodec/j2k_samples.h"
#include "zeqcodec/sample_planes.h"
#include "zeqj.h"

namespace zeqcodec {
namespace {

using j2k::Band;
using j2k::CodeBlockSize;
using j2k::fail;
using zeq::container::J2kCodeBlockContribution;
using zeq::container::J2kHeader;
using zeq::container::J2kPacketBand;
using zeq::container::J2kQuantStep;

// Finest automatic quantizer step of the 9/7 path (sample units, before the
// band's synthesis norm).
constexpr double MinimumBaseStep = 1.0 / 16;
// Bit planes the tier-1 coder handles.
constexpr int32_t MaximumMagnitudeBits = 31;

// Lossless planes of 8-bit samples fit 16 bits up to this many levels: RCT
// leaves magnitudes up to 255, each 5/3 pass grows them at most 1.5-fold
// (low) or 2-fold (high), so the level-5 HH band stays below
// 255 x 2.25^4 x 4 = 26,200.
constexpr int32_t MaxShortLevels = 5;

// The library's forward colour transforms and wavelet levels by sample type:
// 16-bit samples are lossless only.
bool forwardColourTransform(int16_t* const p[3], int32_t step, ZeqiSize size, bool) {
    return zeqiRCTFwd_JPEG2K_16s_P3IR(p, step, size) == StatusOk;
}
bool forwardColourTransform(int32_t* const p[3], int32_t step, ZeqiSize size, bool lossless) {
    return (lossless ? zeqiRCTFwd_JPEG2K_32s_P3IR(p, step, size)
                     : zeqiICTFwd_JPEG2K_32s_P3IR(p, step, size)) == StatusOk;
}
template <class T>
size_t forwardWaveletBufferSize(const ZeqiRect& tile, bool lossless) {
    int32_t size = 0;
    if (sizeof(T) == 2)
        zeqiWTGetBufSize_B53_JPEG2K_16s_C1IR(&tile, &size);
    else if (lossless)
        zeqiWTGetBufSize_B53_JPEG2K_32s_C1IR(&tile, &size);
    else
        zeqiWTGetBufSize_D97_JPEG2K_32s_C1IR(&tile, &size);
    return static_cast<size_t>(size);
}
bool forwardWaveletLevel(int16_t* plane, int32_t step, const ZeqiRect& rect, uint8_t* buffer,
                         bool) {
    return zeqiWTFwd_B53_JPEG2K_16s_C1IR(plane, step, &rect, buffer) == StatusOk;
}
bool forwardWaveletLevel(int32_t* plane, int32_t step, const ZeqiRect& rect, uint8_t* buffer,
                         bool lossless) {
    return (lossless ? zeqiWTFwd_B53_JPEG2K_32s_C1IR(plane, step, &rect, buffer)
                     : zeqiWTFwd_D97_JPEG2K_32s_C1IR(plane, step, &rect, buffer)) == StatusOk;
}

// One block of a plane to the coder's sign-magnitude words, quantized by
// `inverseStep` on the 9/7 path.
template <class T>
void blockToSignMagnitude(const T* src, size_t rowLength, int32_t w, int32_t h, bool lossless,
                          float inverseStep, int32_t* dst) {
    for (int32_t y = 0; y < h; ++y, src += rowLength, dst += CodeBlockSize) {
        if constexpr (sizeof(T) == 2) {
            j2k::shortsToSignMagnitude(src, dst, w);
        } else if (lossless) {
            for (int32_t x = 0; x < w; ++x) {
                const int32_t v = src[x];
                const uint32_t m = static_cast<uint32_t>(v < 0 ? -v : v);
                dst[x] = static_cast<int32_t>(m | (v < 0 ? 0x80000000u : 0u));
            }
        } else {
            for (int32_t x = 0; x < w; ++x) {
                const int32_t v = src[x];
                const float a = static_cast<float>(v < 0 ? -v : v) * inverseStep;
                const uint32_t m = static_cast<uint32_t>(a);
                dst[x] = static_cast<int32_t>(m | (v < 0 && m ? 0x80000000u : 0u));
            }
        }
    }
}

struct EncoderStateDeleter {
    void operator()(CodeBlockEncodeState* s) const { zeqiEncodeFree_JPEG2K(s); }
};

// One coded block: its passes' cumulative rates and distortions and its
// terminated segments, all in flat arrays of the encoder.
struct CodedBlock {
    int32_t planes = 0;  // Nb
    int32_t passes = 0;
    size_t firstPass = 0, firstSegment = 0;
    size_t offset = 0;  // first byte in the data array
    int32_t kept = 0;   // passes kept by the rate control
    double weight = 1;  // distortion of one squared quantizer unit in the image
};

class Encoder {
public:
    Encoder(const zeq::container::Image& image, const J2kEncodeOptions& o) : image_(image), o_(o) {}

    bool run(std::vector<uint8_t>& out, std::string* error);

private:
    bool transform(std::string* error);
    template <class T>
    bool transformPlanes(SamplePlanes<T>& planes, std::string* error);
    bool codeBlocks(std::string* error);
    void chooseTruncation(size_t bodyBudget);
    size_t keptBytes(double slope) const;
    std::vector<uint8_t> packets(uint8_t style) const;
    J2kCodeBlockContribution contribution(const CodedBlock& b, uint8_t style) const;
    void setSteps(double baseStep);

    const zeq::container::Image& image_;
    const J2kEncodeOptions& o_;
    int32_t width_ = 0, height_ = 0, components_ = 0;
    // Lossless planes of up to MaxShortLevels levels hold 16-bit samples,
    // the others 32-bit ones.
    bool shortSamples_ = false;
    SamplePlanes<int16_t> shortPlanes_;
    SamplePlanes<int32_t> planes_;
    std::vector<Band> bands_;
    std::vector<J2kQuantStep> steps_;
    std::vector<double> invSteps_;  // coefficient to quantizer index
    std::vector<double> norms_;
    int32_t flags_ = 0;
    // Per component, per block of bands_ order.
    std::vector<CodedBlock> blocks_;
    std::vector<uint32_t> rates_;
    std::vector<double> dists_;
    std::vector<int32_t> segments_;
    std::vector<uint8_t> data_;
    // Convex-hull slopes of every block's truncation points (pass index and
    // slope), for the rate control.
    std::vector<std::vector<std::pair<int32_t, double>>> hulls_;
    int32_t guardBits_ = 2;
};

bool Encoder::transform(std::string* error) {
    shortSamples_ = o_.lossless && o_.levels <= MaxShortLevels;
    return shortSamples_ ? transformPlanes(shortPlanes_, error) : transformPlanes(planes_, error);
}

template <class T>
bool Encoder::transformPlanes(SamplePlanes<T>& planes, std::string* error) {
    const size_t pixels = static_cast<size_t>(width_) * static_cast<size_t>(height_);
    if (!planes.allocate(components_, pixels)) return fail(error, "out of memory");
    const uint8_t* px = image_.pixels.data();
    const int32_t scale = o_.lossless ? 1 : 1 << j2k::FractionBits;
    const size_t channels = static_cast<size_t>(components_);  // 1 or 3
    // The level shift and the colour transform run chunk by chunk, while the
    // chunk's samples are in cache.
    constexpr size_t Chunk = 4096;
    for (size_t first = 0; first < pixels; first += Chunk) {
        const size_t n = std::min(Chunk, pixels - first);
        const uint8_t* src = px + first * channels;
        if (components_ == 3) {
            T *r = planes[0] + first, *g = planes[1] + first, *b = planes[2] + first;
            for (size_t i = 0; i < n; ++i, src += 3) {
                r[i] = static_cast<T>((static_cast<int32_t>(src[0]) - 128) * scale);
                g[i] = static_cast<T>((static_cast<int32_t>(src[1]) - 128) * scale);
                b[i] = static_cast<T>((static_cast<int32_t>(src[2]) - 128) * scale);
            }
            T* const p[3] = {planes[0] + first, planes[1] + first, planes[2] + first};
            const ZeqiSize size{static_cast<int32_t>(n), 1};
            if (!forwardColourTransform(p, static_cast<int32_t>(n * sizeof(T)), size, o_.lossless))
                return fail(error, "component transform failed");
        } else {
            T* dst = planes[0] + first;
            for (size_t i = 0; i < n; ++i)
                dst[i] = static_cast<T>((static_cast<int32_t>(src[i]) - 128) * scale);
        }
    }
    const int32_t step = width_ * static_cast<int32_t>(sizeof(T));
    const ZeqiRect full{0, 0, width_, height_};
    std::vector<uint8_t> buffer(forwardWaveletBufferSize<T>(full, o_.lossless) + 64);
    for (int32_t c = 0; c < components_; ++c) {
        for (int32_t level = 1; level <= o_.levels; ++level) {
            const ZeqiRect rect{0, 0, j2k::lowSize(width_, level - 1),
                                j2k::lowSize(height_, level - 1)};
            if (!forwardWaveletLevel(planes[c], step, rect, buffer.data(), o_.lossless))
                return fail(error, "wavelet level failed");
        }
    }
    return true;
}

bool Encoder::codeBlocks(std::string* error) {
    CodeBlockEncodeState* raw = nullptr;
    if (zeqiEncodeInitAlloc_JPEG2K(&raw, ZeqiSize{CodeBlockSize, CodeBlockSize}) != StatusOk)
        return fail(error, "out of memory");
    std::unique_ptr<CodeBlockEncodeState, EncoderStateDeleter> state(raw);
    // Component weights of the distortion: energy of the inverse colour
    // transform's column for each component.
    static const double ictWeights[3] = {3.0, 0.34413 * 0.34413 + 1.772 * 1.772,
                                         1.402 * 1.402 + 0.71414 * 0.71414};
    std::vector<int32_t> block(static_cast<size_t>(CodeBlockSize) * CodeBlockSize);
    std::vector<uint8_t> scratch(size_t{1} << 16);
    data_.reserve(static_cast<size_t>(width_) * static_cast<size_t>(height_) *
                  static_cast<size_t>(components_));
    const size_t rowLength = static_cast<size_t>(width_);
    for (int32_t c = 0; c < components_; ++c) {
        for (size_t b = 0; b < bands_.size(); ++b) {
            const Band& band = bands_[b];
            const double inv = invSteps_[b];
            double weight = 1;
            if (!o_.lossless) {
                const double step = j2k::stepValue(steps_[b], j2k::rangeBits(band.orientation));
                weight =
                    step * step * norms_[b] * norms_[b] * (components_ == 3 ? ictWeights[c] : 1.0);
            }
            for (int32_t by = 0; by < band.blocksHigh; ++by) {
                for (int32_t bx = 0; bx < band.blocksWide; ++bx) {
                    const int32_t x0 = bx * CodeBlockSize, y0 = by * CodeBlockSize;
                    const int32_t w = std::min(CodeBlockSize, band.width - x0);
                    const int32_t h = std::min(CodeBlockSize, band.height - y0);
                    const size_t first = static_cast<size_t>(band.y + y0) * rowLength +
                                         static_cast<size_t>(band.x + x0);
                    if (shortSamples_)
                        blockToSignMagnitude(shortPlanes_[c] + first, rowLength, w, h, true, 1.0f,
                                             block.data());
                    else
                        blockToSignMagnitude(planes_[c] + first, rowLength, w, h, o_.lossless,
                                             static_cast<float>(inv), block.data());
                    int32_t planes = 0, passes = 0, segments = 0;
                    if (zeqiEncodeLoadCodeBlock_JPEG2K_32s_C1R(
                            block.data(), CodeBlockSize * 4, ZeqiSize{w, h}, state.get(),
                            j2k::tier1Subband(band.orientation), 31, 0, 0, flags_, &planes, &passes,
                            &segments) != StatusOk)
                        return fail(error, "code-block coder refused a block");
                    CodedBlock cb;
                    cb.planes = planes;
                    cb.passes = passes;
                    cb.firstPass = rates_.size();
                    cb.firstSegment = segments_.size();
                    cb.offset = data_.size();
                    cb.weight = weight;
                    if (passes > 0) {
                        int32_t notFinished = 1;
                        while (notFinished) {
                            int32_t length = static_cast<int32_t>(scratch.size());
                            if (zeqiEncodeStoreBits_JPEG2K_1u(scratch.data(), &length, state.get(),
                                                              &notFinished) != StatusOk)
                                return fail(error, "code-block coder failed");
                            data_.insert(data_.end(), scratch.data(), scratch.data() + length);
                        }
                        for (int32_t p = 0; p < passes; ++p) {
                            uint32_t rate = 0;
                            double dist = 0;
                            zeqiEncodeGetRate_JPEG2K(state.get(), p, &rate);
                            zeqiEncodeGetDist_JPEG2K(state.get(), p, &dist);
                            rates_.push_back(rate);
                            dists_.push_back(dist);
                        }
                        for (int32_t s = 0; s < segments; ++s) {
                            int32_t length = 0;
                            zeqiEncodeGetTermPassLen_JPEG2K(state.get(), s, &length);
                            segments_.push_back(length);
                        }
                    }
                    cb.kept = passes;
                    blocks_.push_back(cb);
                }
            }
        }
    }
    return true;
}

J2kCodeBlockContribution Encoder::contribution(const CodedBlock& b, uint8_t style) const {
    J2kCodeBlockContribution c;
    if (b.kept == 0) return c;
    c.included = true;
    c.passes = b.kept;
    c.zeroBitPlanes = 0;  // filled by the caller, which knows the magnitude bits
    const std::vector<int32_t> counts = zeq::container::j2kSegmentPassCounts(b.kept, style);
    const uint32_t end = b.kept == b.passes ? UINT32_MAX : rates_[b.firstPass + b.kept - 1];
    uint32_t start = 0;
    for (size_t s = 0; s < counts.size(); ++s) {
        const uint32_t full = static_cast<uint32_t>(segments_[b.firstSegment + s]);
        const uint32_t stop = std::min(start + full, end);
        c.segmentLengths.push_back(static_cast<int32_t>(stop > start ? stop - start : 0));
        start += full;
    }
    return c;
}

std::vector<uint8_t> Encoder::packets(uint8_t style) const {
    std::vector<uint8_t> out;
    // Every body byte at most, plus a few header bytes per block.
    out.reserve(data_.size() + 16 * blocks_.size() + 1024);
    prefaultForWriting(out.data(), out.capacity());
    const size_t blocksPerComponent = blocks_.size() / static_cast<size_t>(components_);
    std::vector<J2kPacketBand> packetBands;
    for (int32_t r = 0; r <= o_.levels; ++r) {
        const size_t firstBand = r == 0 ? 0 : static_cast<size_t>(3 * r - 2);
        const size_t lastBand = r == 0 ? 0 : static_cast<size_t>(3 * r);
        for (int32_t c = 0; c < components_; ++c) {
            const CodedBlock* blocks = blocks_.data() + static_cast<size_t>(c) * blocksPerComponent;
            packetBands.clear();
            for (size_t b = firstBand; b <= lastBand; ++b) {
                const Band& band = bands_[b];
                J2kPacketBand pb;
                pb.blocksWide = band.blocksWide;
                pb.blocksHigh = band.blocksHigh;
                pb.magnitudeBits = guardBits_ + steps_[b].exponent - 1;
                for (int32_t i = 0; i < band.blocksWide * band.blocksHigh; ++i) {
                    const CodedBlock& cb = blocks[band.firstBlock + i];
                    J2kCodeBlockContribution contribution = this->contribution(cb, style);
                    contribution.zeroBitPlanes = pb.magnitudeBits - cb.planes;
                    pb.blocks.push_back(std::move(contribution));
                }
                packetBands.push_back(std::move(pb));
            }
            const std::vector<uint8_t> header =
                zeq::container::writeJ2kPacketHeader(packetBands, style);
            out.insert(out.end(), header.begin(), header.end());
            // Bodies in the header's block order.
            for (size_t b = firstBand, k = 0; b <= lastBand; ++b, ++k) {
                const Band& band = bands_[b];
                for (int32_t i = 0; i < band.blocksWide * band.blocksHigh; ++i) {
                    const J2kCodeBlockContribution& contribution =
                        packetBands[k].blocks[static_cast<size_t>(i)];
                    if (!contribution.included) continue;
                    const CodedBlock& cb = blocks[band.firstBlock + i];
                    // Segments are contiguous in the block's bytes; a
                    // truncated last segment is a prefix of it.
                    size_t bytes = 0;
                    for (int32_t l : contribution.segmentLengths) bytes += static_cast<size_t>(l);
                    out.insert(out.end(), data_.begin() + static_cast<ptrdiff_t>(cb.offset),
                               data_.begin() + static_cast<ptrdiff_t>(cb.offset + bytes));
                }
            }
        }
    }
    return out;
}

// Bytes of the code-block bodies when every block keeps the hull points of
// slope at least `slope`.
size_t Encoder::keptBytes(double slope) const {
    size_t total = 0;
    for (size_t i = 0; i < blocks_.size(); ++i) {
        const CodedBlock& b = blocks_[i];
        int32_t kept = 0;
        for (const auto& point : hulls_[i]) {
            if (point.second < slope) break;
            kept = point.first + 1;
        }
        if (kept > 0) total += rates_[b.firstPass + static_cast<size_t>(kept) - 1];
    }
    return total;
}

void Encoder::chooseTruncation(size_t bodyBudget) {
    if (hulls_.empty()) {
        hulls_.resize(blocks_.size());
        for (size_t i = 0; i < blocks_.size(); ++i) {
            const CodedBlock& b = blocks_[i];
            auto& hull = hulls_[i];
            double lastRate = 0, lastDist = 0;
            for (int32_t p = 0; p < b.passes; ++p) {
                const double rate = rates_[b.firstPass + static_cast<size_t>(p)];
                const double dist = dists_[b.firstPass + static_cast<size_t>(p)] * b.weight;
                for (;;) {
                    const double dr = rate - lastRate, dd = dist - lastDist;
                    if (dd <= 0) break;
                    const double slope = dr <= 0 ? HUGE_VAL : dd / dr;
                    if (!hull.empty() && slope >= hull.back().second) {
                        hull.pop_back();
                        lastRate = hull.empty() ? 0 : rates_[b.firstPass + hull.back().first];
                        lastDist =
                            hull.empty() ? 0 : dists_[b.firstPass + hull.back().first] * b.weight;
                        continue;
                    }
                    hull.emplace_back(p, slope);
                    lastRate = rate;
                    lastDist = dist;
                    break;
                }
            }
        }
    }
    // Bisection on the log of the slope threshold: the smallest threshold
    // whose bodies fit the budget.
    double low = -60, high = 80;  // log2 of the slope
    if (keptBytes(std::exp2(low)) <= bodyBudget) {
        high = low;
    } else {
        for (int i = 0; i < 50; ++i) {
            const double mid = 0.5 * (low + high);
            if (keptBytes(std::exp2(mid)) <= bodyBudget)
                high = mid;
            else
                low = mid;
        }
    }
    const double slope = std::exp2(high);
    // The threshold leaves a gap below the budget: fill it with the next hull
    // points of the steepest blocks that still fit.
    struct Candidate {
        double slope;
        size_t block;
        int32_t kept;
    };
    std::vector<Candidate> next;
    size_t total = 0;
    for (size_t i = 0; i < blocks_.size(); ++i) {
        int32_t kept = 0;
        for (const auto& point : hulls_[i]) {
            if (point.second < slope) {
                next.push_back({point.second, i, point.first + 1});
                break;
            }
            kept = point.first + 1;
        }
        blocks_[i].kept = kept;
        if (kept > 0) total += rates_[blocks_[i].firstPass + static_cast<size_t>(kept) - 1];
    }
    std::sort(next.begin(), next.end(),
              [](const Candidate& a, const Candidate& b) { return a.slope > b.slope; });
    for (const Candidate& c : next) {
        CodedBlock& b = blocks_[c.block];
        const size_t now = b.kept > 0 ? rates_[b.firstPass + static_cast<size_t>(b.kept) - 1] : 0;
        const size_t then = rates_[b.firstPass + static_cast<size_t>(c.kept) - 1];
        if (total + (then - now) > bodyBudget) continue;
        total += then - now;
        b.kept = c.kept;
    }
}

void Encoder::setSteps(double baseStep) {
    for (size_t b = 0; b < bands_.size(); ++b) {
        const int32_t range = j2k::rangeBits(bands_[b].orientation);
        steps_[b] = j2k::encodeStep(baseStep / norms_[b], range);
        invSteps_[b] = 1.0 / (j2k::stepValue(steps_[b], range) * (1 << j2k::FractionBits));
    }
}

bool Encoder::run(std::vector<uint8_t>& out, std::string* error) {
    width_ = image_.width;
    height_ = image_.height;
    components_ = image_.channels;
    if (components_ != 1 && components_ != 3)
        return fail(error, "only grey or RGB images can be encoded");
    if (width_ < 1 || height_ < 1 ||
        image_.pixels.size() !=
            static_cast<size_t>(width_) * static_cast<size_t>(height_) * components_)
        return fail(error, "image size does not match its pixels");
    if (o_.levels < 0 || o_.levels > zeq::container::J2kMaxLevels)
        return fail(error, "levels must be 0..8");
    if (o_.lossless && o_.bitsPerPixel > 0)
        return fail(error, "a byte budget needs the lossy path");
    if (o_.bitsPerPixel < 0) return fail(error, "bits per pixel must be positive");
    if (static_cast<uint64_t>(width_) * static_cast<uint64_t>(height_) > (uint64_t{1} << 26))
        return fail(error, "image too large");
    flags_ = (o_.causal ? 1 : 0) | (o_.bypass ? 2 : 0) | (o_.terminateAll ? 4 : 0) |
             (o_.segmentationSymbols ? 16 : 0);
    const uint8_t style = zeq::container::j2kStyleFromFlags(flags_, 0);
    bands_ = j2k::planeBands(width_, height_, o_.levels);
    steps_.resize(bands_.size());
    invSteps_.assign(bands_.size(), 1.0);
    if (o_.lossless) {
        for (size_t b = 0; b < bands_.size(); ++b)
            steps_[b].exponent = static_cast<uint8_t>(j2k::rangeBits(bands_[b].orientation) +
                                                      (components_ == 3 ? 1 : 0));
    } else {
        norms_ = j2k::synthesisNorms97(o_.levels);
    }
    // The 9/7 step: fine enough that the rate control, not the quantizer,
    // sets the quality at the budget, coarse enough to spare the coder the
    // planes no truncation point reaches. When every pass of every block
    // fits in little more than the budget, the quantizer was the limit:
    // code again with finer steps.
    double baseStep = o_.baseStep;
    const bool adaptive = !o_.lossless && baseStep <= 0 && o_.bitsPerPixel > 0;
    if (baseStep <= 0)
        baseStep = o_.bitsPerPixel > 0 ? std::clamp(2.0 / o_.bitsPerPixel, 0.25, 8.0) : 1.0;
    if (!o_.lossless) setSteps(baseStep);
    if (!transform(error) || !codeBlocks(error)) return false;
    const double budgetBytes = o_.bitsPerPixel * width_ * static_cast<double>(height_) / 8;
    while (adaptive && baseStep > MinimumBaseStep &&
           static_cast<double>(data_.size()) < 1.5 * budgetBytes) {
        baseStep /= 4;
        setSteps(baseStep);
        blocks_.clear();
        rates_.clear();
        dists_.clear();
        segments_.clear();
        data_.clear();
        if (!codeBlocks(error)) return false;
    }
    planes_.release();
    shortPlanes_.release();
    // Guard bits: enough for the largest block of every band.
    guardBits_ = 1;
    const size_t blocksPerComponent = blocks_.size() / static_cast<size_t>(components_);
    for (size_t i = 0; i < blocks_.size(); ++i) {
        const size_t within = i % blocksPerComponent;
        size_t b = 0;
        while (b + 1 < bands_.size() && static_cast<size_t>(bands_[b + 1].firstBlock) <= within)
            ++b;
        guardBits_ = std::max(guardBits_, blocks_[i].planes - steps_[b].exponent + 1);
    }
    if (guardBits_ > 7) return fail(error, "coefficients exceed the codestream's range");
    for (const J2kQuantStep& step : steps_)
        if (guardBits_ + step.exponent - 1 > MaximumMagnitudeBits)
            return fail(error, "quantizer step too fine for the codestream");

    J2kHeader header;
    header.width = static_cast<uint32_t>(width_);
    header.height = static_cast<uint32_t>(height_);
    header.components = static_cast<uint16_t>(components_);
    header.precision = j2k::SampleBits;
    header.levels = static_cast<uint8_t>(o_.levels);
    header.codeBlockStyle = style;
    header.reversible = o_.lossless;
    header.multiComponentTransform = components_ == 3;
    header.guardBits = static_cast<uint8_t>(guardBits_);
    header.quantized = !o_.lossless;
    header.steps = steps_;

    std::vector<uint8_t> body;
    if (!o_.lossless && o_.bitsPerPixel > 0) {
        const double budgetBits =
            o_.bitsPerPixel * static_cast<double>(width_) * static_cast<double>(height_);
        const size_t budget = static_cast<size_t>(budgetBits / 8);
        const size_t fixed = zeq::container::writeJ2kCodestream(header, nullptr, 0).size();
        size_t bodyBudget = budget > fixed ? budget - fixed : 0;
        for (int attempt = 0; attempt < 8; ++attempt) {
            chooseTruncation(bodyBudget);
            body = packets(style);
            if (fixed + body.size() <= budget || bodyBudget == 0) break;
            const size_t excess = fixed + body.size() - budget;
            bodyBudget = bodyBudget > excess ? bodyBudget - excess : 0;
        }
    } else {
        body = packets(style);
    }
    out = zeq::container::writeJ2kCodestream(header, body.data(), body.size());
    return true;
}

}  // namespace

bool encodeJ2k(const zeq::container::Image& image, const J2kEncodeOptions& options,
               std::vector<uint8_t>& codestream, std::string* error) {
    Encoder encoder(image, options);
    return encoder.run(codestream, error);
}

}  // namespace zeqcodec
