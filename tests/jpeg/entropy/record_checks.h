// Lifecycle checks shared by the encode and decode state tests.
#ifndef ZEQ_TESTS_JPEG_ENTROPY_RECORD_CHECKS_H
#define ZEQ_TESTS_JPEG_ENTROPY_RECORD_CHECKS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "tests/common/test_support.h"
#include "zeqj.h"

namespace zeq::test {

// A state record's size query, reset in caller memory, allocation (all zero),
// release, null checks, and an allocation failure that stores nothing.
template <class State>
void checkStateLifecycle(ZeqStatus (*getSize)(int32_t*), ZeqStatus (*init)(State*),
                         ZeqStatus (*initAlloc)(State**), ZeqStatus (*release)(State*),
                         int32_t bytes) {
    auto allZero = [&](const State* state) {
        const auto* p = reinterpret_cast<const uint8_t*>(state);
        return std::all_of(p, p + bytes, [](uint8_t b) { return b == 0; });
    };
    int32_t size = 0;
    EXPECT_EQ(getSize(&size), StatusOk);
    EXPECT_EQ(size, bytes);
    EXPECT_EQ(getSize(nullptr), StatusNullPointer);
    EXPECT_EQ(init(nullptr), StatusNullPointer);
    EXPECT_EQ(initAlloc(nullptr), StatusNullPointer);
    EXPECT_EQ(release(nullptr), StatusNullPointer);
    alignas(8) std::array<uint8_t, 2048> memory;
    memory.fill(0xA5);
    ASSERT_EQ(init(reinterpret_cast<State*>(memory.data())), StatusOk);
    EXPECT_TRUE(allZero(reinterpret_cast<const State*>(memory.data())));
    EXPECT_EQ(memory[size_t(bytes)], 0xA5);
    State* allocated = nullptr;
    ASSERT_EQ(initAlloc(&allocated), StatusOk);
    EXPECT_TRUE(allZero(allocated));
    EXPECT_EQ(release(allocated), StatusOk);
    State* const sentinel = reinterpret_cast<State*>(memory.data());
    State* untouched = sentinel;
    {
        ScopedAllocationFailure fail(1);
        EXPECT_EQ(initAlloc(&untouched), StatusNullPointer);
    }
    EXPECT_EQ(untouched, sentinel);
}

}  // namespace zeq::test

#endif  // ZEQ_TESTS_JPEG_ENTROPY_RECORD_CHECKS_H
