// Helpers of the colour, sampling and MCU tests: guarded multi-plane images
// and a uniform way to call exported region functions whatever their image
// argument types (one pointer, a plane array, 8- or 16-bit elements).
#ifndef ZEQ_TESTS_JPEG_SAMPLE_COLOUR_TEST_SUPPORT_H
#define ZEQ_TESTS_JPEG_SAMPLE_COLOUR_TEST_SUPPORT_H

#include <cstdint>
#include <functional>
#include <type_traits>
#include <vector>

#include "tests/common/test_support.h"
#include "zeqj.h"

namespace zeq::test {

// Planes of one image, each a guarded ByteImage of the same step and height.
class PlaneSet {
public:
    PlaneSet(int planes, int32_t step, int32_t height, int offset = 0)
        : step_(step), height_(height) {
        for (int i = 0; i < planes; ++i) images_.emplace_back(step, height, offset + i);
        for (int i = 0; i < planes; ++i) pointers_[i] = images_[static_cast<size_t>(i)].data();
    }
    uint8_t* const* planes() { return pointers_; }
    uint8_t* plane(int i) { return pointers_[i]; }
    int count() const { return static_cast<int>(images_.size()); }
    void fillRandom(std::mt19937& rng) {
        for (auto& image : images_)
            test::fillRandom(rng, image.data(), static_cast<size_t>(step_) * height_);
    }
    bool operator==(const PlaneSet& o) const {
        if (images_.size() != o.images_.size()) return false;
        for (size_t i = 0; i < images_.size(); ++i)
            if (images_[i].allBytes() != o.images_[i].allBytes()) return false;
        return true;
    }
    // Every byte outside the first rowBytes of each of `rows` rows is still the sentinel.
    bool untouchedOutside(int32_t rowBytes, int32_t rows) const {
        for (const auto& image : images_) {
            const auto& all = image.allBytes();
            const size_t start = static_cast<size_t>(image.data() - all.data());
            for (size_t b = 0; b < all.size(); ++b) {
                const bool inside =
                    b >= start && b - start < static_cast<size_t>(image.step()) * rows &&
                    static_cast<int32_t>((b - start) % static_cast<size_t>(image.step())) <
                        rowBytes;
                if (!inside && all[b] != ByteImage::kSentinel) return false;
            }
        }
        return true;
    }
    bool untouched() const {
        for (const auto& image : images_)
            if (!image.untouched()) return false;
        return true;
    }

private:
    int32_t step_, height_;
    std::vector<ByteImage> images_;
    uint8_t* pointers_[4] = {};
};

// An image argument: a plane array (null for a null array), used as one
// pointer (its plane 0) by interleaved arguments.
struct ImageArg {
    uint8_t* const* array;
};

template <class T>
T asImageArgument(ImageArg image) {
    using Pointee = std::remove_cv_t<std::remove_pointer_t<T>>;
    if constexpr (std::is_pointer_v<Pointee>) {
        return image.array;
    } else {
        uint8_t* p = image.array ? image.array[0] : nullptr;
        return reinterpret_cast<T>(p);
    }
}

using RegionCall = std::function<ZeqStatus(ImageArg, int32_t, ImageArg, int32_t, ZeqiSize)>;

template <class S, class D>
RegionCall regionCall(ZeqStatus (*fn)(S, int32_t, D, int32_t, ZeqiSize)) {
    return [fn](ImageArg src, int32_t srcStep, ImageArg dst, int32_t dstStep, ZeqiSize roi) {
        return fn(asImageArgument<S>(src), srcStep, asImageArgument<D>(dst), dstStep, roi);
    };
}

}  // namespace zeq::test

#endif  // ZEQ_TESTS_JPEG_SAMPLE_COLOUR_TEST_SUPPORT_H
