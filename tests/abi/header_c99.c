/* Both public headers compile as strict C99, and the records have the
 * layout C callers rely on. */
#include <stddef.h>

#include "zeqcore.h"
#include "zeqj.h"

typedef char sizeIsTwoInt32[sizeof(ZeqiSize) == 8 ? 1 : -1];
typedef char rectIsFourInt32[sizeof(ZeqiRect) == 16 ? 1 : -1];
typedef char cpuTagFollowsNumbers[offsetof(LibraryVersion, cpuTag) == 16 ? 1 : -1];
typedef char statusIsInt32[sizeof(ZeqStatus) == 4 ? 1 : -1];

int useTheApi(void) {
    ZeqiSize roi = {8, 8};
    int16_t block[64] = {0};
    uint8_t samples[64] = {0};
    const LibraryVersion* v = zeqjGetLibVersion();
    return (int)zeqiAdd128_JPEG_16s8u_C1R(block, 16, samples, 8, roi) + v->majorVersion;
}
