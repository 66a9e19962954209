/* zeqcore: the companion core of zeqj. Aligned memory for sample buffers and
 * state records, and the library-wide thread count used by the row-parallel
 * functions. Status values are those of zeqj.h. */
#ifndef ZEQCORE_H
#define ZEQCORE_H

#include "zeqj.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Allocates size bytes aligned to at least 64; null on failure or when size < 1. */
ZEQJ_API void* zeqMalloc(int size);
/* Releases memory from zeqMalloc; null is allowed. */
ZEQJ_API void zeqFree(void* ptr);
/* The library-wide thread count (at least 1). */
ZEQJ_API int ownGetNumThreads(void);
/* Sets the library-wide thread count; n below 1 gives StatusBadSize. */
ZEQJ_API ZeqStatus zeqSetNumThreads(int n);
/* Reads the library-wide thread count into *n. */
ZEQJ_API ZeqStatus zeqGetNumThreads(int* n);

#ifdef __cplusplus
}
#endif

#endif /* ZEQCORE_H */
