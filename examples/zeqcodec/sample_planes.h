// The coefficient planes of a whole image, one per component, in one
// allocation. Large ones come from an anonymous mapping whose pages the
// kernel supplies, zeroed, in a single call: a 3840x2160 RGB image takes
// 100 MB of planes, and taking its 25,000 page faults one at a time costs
// about as much as the inverse wavelet of the whole image.
#ifndef ZEQCODEC_SAMPLE_PLANES_H
#define ZEQCODEC_SAMPLE_PLANES_H

#include <cstddef>
#include <cstdint>

namespace zeqcodec {

class SamplePlanes {
public:
    SamplePlanes() = default;
    SamplePlanes(const SamplePlanes&) = delete;
    SamplePlanes& operator=(const SamplePlanes&) = delete;
    ~SamplePlanes() { release(); }

    // `count` planes of `samples` zeroed samples each; false when memory
    // is short (nothing is held then).
    bool allocate(int32_t count, size_t samples);
    void release();

    int32_t count() const { return count_; }
    int32_t* operator[](int32_t c) const { return base_ + static_cast<size_t>(c) * samples_; }

private:
    int32_t* base_ = nullptr;
    size_t bytes_ = 0;
    size_t samples_ = 0;
    int32_t count_ = 0;
    bool mapped_ = false;
};

// Has the kernel supply the pages of [p, p + bytes) in one call, as the
// planes above; the first write to each page then takes no fault. Does
// nothing where the kernel cannot.
void prefaultForWriting(void* p, size_t bytes);

}  // namespace zeqcodec

#endif
