// The companion core library: aligned allocation and the library-wide thread
// count. Built as its own shared object (libzeqcore.so) so that every library
// of the family shares one allocator and one thread setting.
#include "zeqcore.h"

#include <unistd.h>

#include <atomic>
#include <cstdlib>

#include "core/zeqcore/zeqcore_testing.h"

namespace {

// One cache line: every vector load of the family is naturally aligned.
constexpr std::size_t kAllocationAlignment = 64;

int onlineProcessors() {
    const long n = sysconf(_SC_NPROCESSORS_ONLN);
    return n < 1 ? 1 : (n > 1024 ? 1024 : static_cast<int>(n));
}

std::atomic<int>& threadCount() {
    static std::atomic<int> count{onlineProcessors()};
    return count;
}

// Test hook state: a countdown to the allocation that must fail (0 = none),
// and the number of calls seen since the hook was last armed.
std::atomic<int> failCountdown{0};
std::atomic<int> callsSinceArmed{0};

bool injectedFailure() {
    callsSinceArmed.fetch_add(1, std::memory_order_relaxed);
    int left = failCountdown.load(std::memory_order_relaxed);
    while (left > 0) {
        if (failCountdown.compare_exchange_weak(left, left - 1, std::memory_order_relaxed))
            return left == 1;
    }
    return false;
}

}  // namespace

extern "C" {

void* zeqMalloc(int size) {
    if (size < 1) return nullptr;
    if (injectedFailure()) return nullptr;
    void* p = nullptr;
    if (posix_memalign(&p, kAllocationAlignment, static_cast<std::size_t>(size)) != 0) return nullptr;
    return p;
}

void zeqFree(void* ptr) { std::free(ptr); }

int ownGetNumThreads(void) { return threadCount().load(std::memory_order_relaxed); }

ZeqStatus zeqSetNumThreads(int n) {
    if (n < 1) return StatusBadSize;
    threadCount().store(n, std::memory_order_relaxed);
    return StatusOk;
}

ZeqStatus zeqGetNumThreads(int* n) {
    if (n == nullptr) return StatusNullPointer;
    *n = ownGetNumThreads();
    return StatusOk;
}

void zeqTestFailMallocAt(int nth) {
    callsSinceArmed.store(0, std::memory_order_relaxed);
    failCountdown.store(nth > 0 ? nth : 0, std::memory_order_relaxed);
}

int zeqTestMallocCalls(void) { return callsSinceArmed.load(std::memory_order_relaxed); }

}  // extern "C"
