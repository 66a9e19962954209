#include "zeqcodec/sample_planes.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>

namespace zeqcodec {
namespace {

// Below this the page faults cost little and the heap may reuse memory.
constexpr size_t MappedFrom = size_t{1} << 20;

}  // namespace

bool PlaneMemory::allocate(size_t bytes) {
    release();
    if (bytes == 0) return true;
    void* p = nullptr;
    if (bytes >= MappedFrom) {
        p = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE,
                 -1, 0);
        if (p == MAP_FAILED) p = nullptr;
        mapped_ = p != nullptr;
    }
    if (p == nullptr) p = std::calloc(bytes, 1);
    if (p == nullptr) return false;
    base_ = p;
    bytes_ = bytes;
    return true;
}

void PlaneMemory::release() {
    if (base_ != nullptr) {
        if (mapped_)
            munmap(base_, bytes_);
        else
            std::free(base_);
    }
    base_ = nullptr;
    bytes_ = 0;
    mapped_ = false;
}

void prefaultForWriting(void* p, size_t bytes) {
#ifdef MADV_POPULATE_WRITE
    if (bytes < MappedFrom) return;
    const uintptr_t page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const uintptr_t first = (reinterpret_cast<uintptr_t>(p) + page - 1) & ~(page - 1);
    const uintptr_t end = (reinterpret_cast<uintptr_t>(p) + bytes) & ~(page - 1);
    if (end > first) madvise(reinterpret_cast<void*>(first), end - first, MADV_POPULATE_WRITE);
#else
    (void)p;
    (void)bytes;
#endif
}

}  // namespace zeqcodec
