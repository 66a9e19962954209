// The InitAlloc contract shared by the Huffman tables and states: allocate
// through the library allocator, prepare, hand the block over whatever the
// preparation says. A failed allocation reports StatusNullPointer (as a missing
// argument does) and stores nothing.
#ifndef ZEQ_JPEG_ENTROPY_RECORD_ALLOCATION_H
#define ZEQ_JPEG_ENTROPY_RECORD_ALLOCATION_H

#include "core/memory.h"

namespace zeq {

template <class Record, class Prepare>
ZeqStatus allocateRecord(Record** out, int32_t bytes, Prepare prepare) {
    auto* block = static_cast<Record*>(allocateBuffer(bytes));
    if (block == nullptr) return StatusNullPointer;
    const ZeqStatus status = prepare(block);
    *out = block;
    return status;
}

}  // namespace zeq

#endif  // ZEQ_JPEG_ENTROPY_RECORD_ALLOCATION_H
