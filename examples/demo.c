/* The zeqj demo: prints the version record, then sends a built-in grey image
 * through the sample-domain steps of a JPEG encoder and back (level shift,
 * quantization with a quality-scaled table, dequantization, inverse shift),
 * block by block, and reports how close the result is to the original. */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "zeqcore.h"
#include "zeqj.h"

enum { kWidth = 256, kHeight = 256 };

/* The example luminance quantization table of JPEG, in zigzag order. */
static const uint8_t kLumaTable[64] = {
    16, 11, 12, 14, 12, 10, 16, 14, 13, 14, 18, 17, 16, 19, 24, 40,
    26, 24, 22, 22, 24, 49, 35, 37, 29, 40, 58, 51, 61, 60, 57, 51,
    56, 55, 64, 72, 92, 78, 64, 68, 87, 69, 55, 56, 80, 109, 81, 87,
    95, 98, 103, 104, 103, 62, 77, 113, 121, 112, 100, 120, 92, 101, 103, 99};

/* A smooth built-in test image: two gradients and a ring. */
static void makeImage(uint8_t* img) {
    int x, y;
    for (y = 0; y < kHeight; ++y)
        for (x = 0; x < kWidth; ++x) {
            const double dx = x - kWidth / 2.0, dy = y - kHeight / 2.0;
            const double ring = 40.0 * sin(sqrt(dx * dx + dy * dy) / 6.0);
            const double v = 0.35 * x + 0.25 * y + 64.0 + ring;
            img[y * kWidth + x] = (uint8_t)(v < 0 ? 0 : (v > 255 ? 255 : v));
        }
}

static int check(ZeqStatus status, const char* what) {
    if (status < 0) fprintf(stderr, "%s failed with status %d\n", what, (int)status);
    return status >= 0;
}

/* Shifts, quantizes, dequantizes and shifts back every 8x8 block of img. */
static int roundTrip(const uint8_t* img, uint8_t* out, int quality) {
    uint8_t raw[64];
    uint16_t fwd[64], inv[64];
    int16_t block[64];
    const ZeqiSize blockSize = {8, 8};
    int bx, by;
    memcpy(raw, kLumaTable, sizeof raw);
    if (!check(zeqiQuantFwdRawTableInit_JPEG_8u(raw, quality), "quality scaling") ||
        !check(zeqiQuantFwdTableInit_JPEG_8u16u(raw, fwd), "forward table") ||
        !check(zeqiQuantInvTableInit_JPEG_8u16u(raw, inv), "inverse table"))
        return 0;
    for (by = 0; by < kHeight; by += 8)
        for (bx = 0; bx < kWidth; bx += 8) {
            const uint8_t* src = img + by * kWidth + bx;
            if (!check(zeqiSub128_JPEG_8u16s_C1R(src, kWidth, block, 16, blockSize), "Sub128") ||
                !check(zeqiQuantFwd8x8_JPEG_16s_C1I(block, fwd), "quantize") ||
                !check(zeqiQuantInv8x8_JPEG_16s_C1I(block, inv), "dequantize") ||
                !check(zeqiAdd128_JPEG_16s8u_C1R(block, 16, out + by * kWidth + bx, kWidth, blockSize),
                       "Add128"))
                return 0;
        }
    return 1;
}

static double psnr(const uint8_t* a, const uint8_t* b, int n) {
    double sum = 0;
    int i;
    for (i = 0; i < n; ++i) sum += (double)(a[i] - b[i]) * (a[i] - b[i]);
    return sum == 0 ? INFINITY : 10.0 * log10(255.0 * 255.0 * n / sum);
}

int main(void) {
    const LibraryVersion* v = zeqjGetLibVersion();
    const int qualities[] = {10, 50, 90, 100};
    uint8_t* img = (uint8_t*)zeqMalloc(kWidth * kHeight);
    uint8_t* out = (uint8_t*)zeqMalloc(kWidth * kHeight);
    int threads = 0, i, ok = img != NULL && out != NULL;

    zeqGetNumThreads(&threads);
    printf("%s %s (%d.%d, build %d.%d, cpu tag \"%s\", %s), %d threads\n", v->libraryName,
           v->versionText, v->majorVersion, v->minorVersion, v->buildMajor, v->buildNumber,
           v->cpuTag, v->buildDate, threads);
    if (ok) {
        makeImage(img);
        printf("%dx%d built-in image, sample-domain round trip per 8x8 block:\n", kWidth, kHeight);
        for (i = 0; ok && i < 4; ++i) {
            ok = roundTrip(img, out, qualities[i]);
            if (ok) printf("  quality %3d: PSNR %.2f dB\n", qualities[i], psnr(img, out, kWidth * kHeight));
        }
    }
    zeqFree(img);
    zeqFree(out);
    return ok ? 0 : 1;
}
