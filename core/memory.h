// Allocation wrappers: the only way library code takes memory. They sit on the
// core library's aligned allocator and add nothing of their own.
#ifndef ZEQ_CORE_MEMORY_H
#define ZEQ_CORE_MEMORY_H

#include "zeqj.h"

namespace zeq {

// Null for a size below 1 (without asking the core library), else zeqMalloc(size).
// The memory is not zeroed.
void* allocateBuffer(int32_t size);
// Passes the pointer to zeqFree (null allowed).
void releaseBuffer(void* p);
// Zeroes size bytes: StatusNullPointer for null, StatusBadSize for a size below 1.
ZeqStatus zeroBuffer(void* p, int32_t size);

}  // namespace zeq

#endif  // ZEQ_CORE_MEMORY_H
