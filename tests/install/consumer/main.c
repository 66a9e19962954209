/* Calls the installed library: version record, allocation, one level shift. */
#include <stdio.h>
#include <string.h>

#include "zeqcore.h"
#include "zeqj.h"

int main(void) {
    const LibraryVersion* v = zeqjGetLibVersion();
    ZeqiSize roi = {4, 1};
    const int16_t src[4] = {-200, -1, 0, 200};
    uint8_t* dst = (uint8_t*)zeqMalloc(4);
    const uint8_t expected[4] = {0, 127, 128, 255};
    int ok;
    if (dst == NULL) return 1;
    ok = zeqiAdd128_JPEG_16s8u_C1R(src, 8, dst, 4, roi) == StatusOk && memcmp(dst, expected, 4) == 0 &&
         v->majorVersion == 6;
    zeqFree(dst);
    printf("%s %s\n", v->versionText, ok ? "ok" : "FAILED");
    return ok ? 0 : 1;
}
