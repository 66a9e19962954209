// The coefficient planes of a whole image, one per component, in one
// allocation. Large ones come from an anonymous mapping whose pages the
// kernel supplies, zeroed, in a single call: a 3840x2160 RGB image takes
// 100 MB of 32-bit planes, and taking its 25,000 page faults one at a time
// costs about as much as the inverse wavelet of the whole image.
#ifndef ZEQCODEC_SAMPLE_PLANES_H
#define ZEQCODEC_SAMPLE_PLANES_H

#include <cstddef>
#include <cstdint>

namespace zeqcodec {

// Zeroed bytes, mapped with their pages present when large.
class PlaneMemory {
public:
    PlaneMemory() = default;
    PlaneMemory(const PlaneMemory&) = delete;
    PlaneMemory& operator=(const PlaneMemory&) = delete;
    ~PlaneMemory() { release(); }

    bool allocate(size_t bytes);  // false when memory is short (nothing held then)
    void release();
    void* data() const { return base_; }

private:
    void* base_ = nullptr;
    size_t bytes_ = 0;
    bool mapped_ = false;
};

template <class T>
class SamplePlanes {
public:
    // `count` planes of `samples` zeroed samples each; false when memory is
    // short or the size overflows (nothing is held then).
    bool allocate(int32_t count, size_t samples) {
        release();
        if (count < 0) return false;
        if (count == 0 || samples == 0) return true;
        if (samples > SIZE_MAX / sizeof(T) / static_cast<size_t>(count)) return false;
        if (!memory_.allocate(static_cast<size_t>(count) * samples * sizeof(T))) return false;
        samples_ = samples;
        count_ = count;
        return true;
    }
    void release() {
        memory_.release();
        samples_ = 0;
        count_ = 0;
    }

    int32_t count() const { return count_; }
    T* operator[](int32_t c) const {
        return static_cast<T*>(memory_.data()) + static_cast<size_t>(c) * samples_;
    }

private:
    PlaneMemory memory_;
    size_t samples_ = 0;
    int32_t count_ = 0;
};

// Has the kernel supply the pages of [p, p + bytes) in one call, as the
// planes above; the first write to each page then takes no fault. Does
// nothing where the kernel cannot.
void prefaultForWriting(void* p, size_t bytes);

}  // namespace zeqcodec

#endif
