// Test-only controls of the core library's allocator. Not part of the public
// headers: tests use them to reach every allocation-failure path.
#ifndef ZEQ_CORE_ZEQCORE_TESTING_H
#define ZEQ_CORE_ZEQCORE_TESTING_H

#include "zeqj.h"

#ifdef __cplusplus
extern "C" {
#endif

// Makes the nth zeqMalloc call from now on fail (1 = the next call); the calls
// after it succeed again. 0 or less disarms the hook. Also restarts the count
// read by zeqTestMallocCalls.
ZEQJ_API void zeqTestFailMallocAt(int nth);
// zeqMalloc calls (with a size of at least 1) since zeqTestFailMallocAt was last called.
ZEQJ_API int zeqTestMallocCalls(void);

#ifdef __cplusplus
}
#endif

#endif  // ZEQ_CORE_ZEQCORE_TESTING_H
