// Argument checks of the exported functions. Each function states its check
// order as one chain; the first failing check decides the status and later
// checks are skipped, so a chain reads exactly as the order it enforces:
//
//   ArgChecks().image(src, srcStep).image(dst, dstStep).size(roi).status()
//
// The three region orders of the library have named shorthands below.
#ifndef ZEQ_CORE_ARG_CHECKS_H
#define ZEQ_CORE_ARG_CHECKS_H

#include "zeqj.h"

namespace zeq {

class ArgChecks {
public:
    // A required pointer (image, table, state record).
    constexpr ArgChecks& pointer(const void* p) { return fail(p == nullptr, StatusNullPointer); }
    template <class... More>
    constexpr ArgChecks& pointers(const void* first, More... more) {
        pointer(first);
        (pointer(more), ...);
        return *this;
    }
    // A planar argument: the array of plane pointers, then each plane in order.
    template <class Plane>
    constexpr ArgChecks& planes(const Plane* const* array, int count) {
        pointer(array);
        for (int i = 0; i < count && ok(); ++i) pointer(array[i]);
        return *this;
    }
    // Row steps (bytes) must be at least 1.
    template <class... More>
    constexpr ArgChecks& steps(int32_t first, More... more) {
        fail(first < 1, StatusBadStep);
        (fail(more < 1, StatusBadStep), ...);
        return *this;
    }
    // One image argument of the interleaved order: its pointer, then its step.
    constexpr ArgChecks& image(const void* p, int32_t step) { return pointer(p).steps(step); }
    constexpr ArgChecks& size(ZeqiSize roi) {
        return fail(roi.width < 1 || roi.height < 1, StatusBadSize);
    }
    // A length or capacity below 1.
    constexpr ArgChecks& length(int32_t n) { return fail(n < 1, StatusBadSize); }
    // A value outside its allowed set.
    constexpr ArgChecks& argument(bool valid) { return fail(!valid, StatusBadArgument); }

    constexpr bool ok() const { return status_ == StatusOk; }
    constexpr ZeqStatus status() const { return status_; }

private:
    constexpr ArgChecks& fail(bool failed, ZeqStatus why) {
        if (ok() && failed) status_ = why;
        return *this;
    }
    ZeqStatus status_ = StatusOk;
};

// src null, src step, dst null, dst step, size.
constexpr ZeqStatus checkInterleavedRegion(const void* src, int32_t srcStep, const void* dst,
                                           int32_t dstStep, ZeqiSize roi) {
    return ArgChecks().image(src, srcStep).image(dst, dstStep).size(roi).status();
}

// Source, then destination, each with its own size (the resizing functions).
constexpr ZeqStatus checkTwoSizeRegion(const void* src, int32_t srcStep, ZeqiSize srcSize,
                                       const void* dst, int32_t dstStep, ZeqiSize dstSize) {
    return ArgChecks()
        .image(src, srcStep)
        .size(srcSize)
        .image(dst, dstStep)
        .size(dstSize)
        .status();
}

// The grouped order (whole-image colour conversions) is spelled out per
// function because its pointers differ in kind (plain image or plane array):
//   ArgChecks().pointer(src).planes(dst, 3).steps(srcStep, dstStep).size(roi)

}  // namespace zeq

#endif  // ZEQ_CORE_ARG_CHECKS_H
