#include "core/memory.h"

#include <cstring>

#include "zeqcore.h"

namespace zeq {

void* allocateBuffer(int32_t size) { return size < 1 ? nullptr : zeqMalloc(size); }

void releaseBuffer(void* p) { zeqFree(p); }

ZeqStatus zeroBuffer(void* p, int32_t size) {
    if (p == nullptr) return StatusNullPointer;
    if (size < 1) return StatusBadSize;
    std::memset(p, 0, static_cast<size_t>(size));
    return StatusOk;
}

}  // namespace zeq
