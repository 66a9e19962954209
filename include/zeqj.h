/* zeqj: still-image coding primitives (JPEG, JPEG 2000, HD Photo, TIFF,
 * texture blocks). Every function returns a ZeqStatus: 0 on success,
 * negative on error (nothing written), positive as a warning (work done).
 * Row steps are in bytes; sizes are in pixels. */
#ifndef ZEQJ_H
#define ZEQJ_H

#include <stdint.h>

#if defined(__GNUC__)
#define ZEQJ_API __attribute__((visibility("default")))
#else
#define ZEQJ_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Status codes ------------------------------------------------------ */

typedef int32_t ZeqStatus;

enum {
    StatusOk = 0,
    StatusDivideByZero = 6,         /* warning: zero quantizer in a reciprocal table */
    StatusBlockOverrun = -2,        /* AC run past the end of the block */
    StatusBadArgument = -5,         /* a value outside its allowed set */
    StatusBadSize = -6,             /* a width, height, length or capacity below 1 */
    StatusOutOfRange = -7,          /* a value beyond what the function can count */
    StatusNullPointer = -8,         /* a required pointer is null */
    StatusNoMemory = -9,            /* an allocation failed */
    StatusBadStep = -14,            /* a row step below 1 */
    StatusContextMismatch = -17,    /* a state record with the wrong identifier */
    StatusBufferExhausted = -62,    /* entropy destination full or source ended */
    StatusCoefficientRange = -63,   /* a value too large for the code, or no code matches */
    StatusHuffmanTable = -64,       /* invalid Huffman table or symbol without a code */
    StatusCodeBlockCorrupt = -112,  /* corrupt code-block data, or decoder error latch set */
    StatusBadPassIndex = -113,      /* coding-pass index outside the passes coded */
    StatusRowBufferExhausted = -124,/* PackBits row without room, or packed source too short */
    StatusNotAttached = -180        /* progressive decoder stepped before a code block is attached */
};

/* ---- Shared records ---------------------------------------------------- */

/* Region of interest, passed by value; both fields must be at least 1. */
typedef struct ZeqiSize {
    int32_t width;
    int32_t height;
} ZeqiSize;

/* Tile rectangle of the whole-level wavelet functions; the parity of x0 and
 * y0 tells whether a line starts with a low- or a high-pass sample. */
typedef struct ZeqiRect {
    int32_t x0;
    int32_t y0;
    int32_t width;
    int32_t height;
} ZeqiRect;

/* Constant description of this build, returned by zeqjGetLibVersion. */
typedef struct LibraryVersion {
    int32_t majorVersion;
    int32_t minorVersion;
    int32_t buildMajor;
    int32_t buildNumber;
    char cpuTag[4];
    const char* libraryName;
    const char* versionText;
    const char* buildDate;
} LibraryVersion;

/* ---- Library frame ----------------------------------------------------- */

/* Returns the constant version record (same pointer on every call, never freed). */
ZEQJ_API const LibraryVersion* zeqjGetLibVersion(void);

/* ---- JPEG level shift and quantization tables -------------------------- */

/* dst = src + 128, saturated to 0..255. */
ZEQJ_API ZeqStatus zeqiAdd128_JPEG_16s8u_C1R(const int16_t* src, int32_t srcStep, uint8_t* dst,
                                             int32_t dstStep, ZeqiSize roiSize);
/* dst = src - 128. */
ZEQJ_API ZeqStatus zeqiSub128_JPEG_8u16s_C1R(const uint8_t* src, int32_t srcStep, int16_t* dst,
                                             int32_t dstStep, ZeqiSize roiSize);
/* Scales a zigzag-ordered 64-entry quantization table in place by a quality factor (1..). */
ZEQJ_API ZeqStatus zeqiQuantFwdRawTableInit_JPEG_8u(uint8_t* rawQuantTable, int32_t qualityFactor);
/* Builds the 64 natural-order 15-bit reciprocals used by forward quantization. */
ZEQJ_API ZeqStatus zeqiQuantFwdTableInit_JPEG_8u16u(const uint8_t* rawQuantTable,
                                                    uint16_t* fwdQuantTable);
/* Builds the 64 natural-order quantizer values used by dequantization. */
ZEQJ_API ZeqStatus zeqiQuantInvTableInit_JPEG_8u16u(const uint8_t* rawQuantTable,
                                                    uint16_t* invQuantTable);
/* Quantizes one natural-order 8x8 block in place (round half to even, saturated). */
ZEQJ_API ZeqStatus zeqiQuantFwd8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* fwdQuantTable);
/* Dequantizes one natural-order 8x8 block in place (saturated). */
ZEQJ_API ZeqStatus zeqiQuantInv8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* invQuantTable);

/* ---- JPEG forward DCT with quantization ----------------------------- */

/* ---- JPEG inverse DCT with dequantization --------------------------- */

/* ---- JPEG whole-image colour conversion ----------------------------- */

/* ---- JPEG chroma sampling ------------------------------------------- */

/* ---- JPEG MCU-level fused conversions ------------------------------- */

/* ---- JPEG Huffman table specifications ------------------------------ */

/* ---- JPEG Huffman baseline encoding --------------------------------- */

/* ---- JPEG Huffman baseline decoding --------------------------------- */

/* ---- JPEG progressive block coding ---------------------------------- */

/* ---- JPEG statistics for optimal tables ----------------------------- */

/* ---- JPEG lossless prediction and row coding ------------------------ */

/* ---- JPEG 2000 component transforms --------------------------------- */

/* Forward reversible transform RGB -> Y, U = B - G, V = R - G (no clamping;
 * 16s results keep their low 16 bits). Interleaved RGB in, three planes out. */
ZEQJ_API ZeqStatus zeqiRCTFwd_JPEG2K_16s_C3P3R(const int16_t* src, int32_t srcStep,
                                               int16_t* const dst[3], int32_t dstStep,
                                               ZeqiSize roiSize);
/* Forward reversible transform in place on three planes. */
ZEQJ_API ZeqStatus zeqiRCTFwd_JPEG2K_16s_P3IR(int16_t* const srcDst[3], int32_t srcDstStep,
                                              ZeqiSize roiSize);
/* Forward reversible transform, 32-bit wrapping arithmetic. */
ZEQJ_API ZeqStatus zeqiRCTFwd_JPEG2K_32s_C3P3R(const int32_t* src, int32_t srcStep,
                                               int32_t* const dst[3], int32_t dstStep,
                                               ZeqiSize roiSize);
/* Forward reversible transform in place, 32-bit. */
ZEQJ_API ZeqStatus zeqiRCTFwd_JPEG2K_32s_P3IR(int32_t* const srcDst[3], int32_t srcDstStep,
                                              ZeqiSize roiSize);
/* Inverse reversible transform: three planes in, interleaved RGB out. */
ZEQJ_API ZeqStatus zeqiRCTInv_JPEG2K_16s_P3C3R(const int16_t* const src[3], int32_t srcStep,
                                               int16_t* dst, int32_t dstStep, ZeqiSize roiSize);
/* Inverse reversible transform in place on three planes. */
ZEQJ_API ZeqStatus zeqiRCTInv_JPEG2K_16s_P3IR(int16_t* const srcDst[3], int32_t srcDstStep,
                                              ZeqiSize roiSize);
/* Inverse reversible transform, 32-bit, planes to interleaved RGB. */
ZEQJ_API ZeqStatus zeqiRCTInv_JPEG2K_32s_P3C3R(const int32_t* const src[3], int32_t srcStep,
                                               int32_t* dst, int32_t dstStep, ZeqiSize roiSize);
/* Inverse reversible transform in place, 32-bit. */
ZEQJ_API ZeqStatus zeqiRCTInv_JPEG2K_32s_P3IR(int32_t* const srcDst[3], int32_t srcDstStep,
                                              ZeqiSize roiSize);
/* Forward irreversible transform (YCbCr, 14 fractional bits) in place. */
ZEQJ_API ZeqStatus zeqiICTFwd_JPEG2K_16s_P3IR(int16_t* const srcDst[3], int32_t srcDstStep,
                                              ZeqiSize roiSize);
/* Forward irreversible transform, 14 fractional bits, 32-bit wrapping. */
ZEQJ_API ZeqStatus zeqiICTFwd_JPEG2K_32s_P3IR(int32_t* const srcDst[3], int32_t srcDstStep,
                                              ZeqiSize roiSize);
/* Forward irreversible transform in single precision, in place. */
ZEQJ_API ZeqStatus zeqiICTFwd_JPEG2K_32f_P3IR(float* const srcDst[3], int32_t srcDstStep,
                                              ZeqiSize roiSize);
/* Forward irreversible transform in single precision, interleaved to planes. */
ZEQJ_API ZeqStatus zeqiICTFwd_JPEG2K_32f_C3P3R(const float* src, int32_t srcStep,
                                               float* const dst[3], int32_t dstStep,
                                               ZeqiSize roiSize);
/* Inverse irreversible transform, 14 fractional bits, in place. */
ZEQJ_API ZeqStatus zeqiICTInv_JPEG2K_16s_P3IR(int16_t* const srcDst[3], int32_t srcDstStep,
                                              ZeqiSize roiSize);
/* Inverse irreversible transform, 14 fractional bits, 32-bit wrapping. */
ZEQJ_API ZeqStatus zeqiICTInv_JPEG2K_32s_P3IR(int32_t* const srcDst[3], int32_t srcDstStep,
                                              ZeqiSize roiSize);
/* Inverse irreversible transform in single precision, in place. */
ZEQJ_API ZeqStatus zeqiICTInv_JPEG2K_32f_P3IR(float* const srcDst[3], int32_t srcDstStep,
                                              ZeqiSize roiSize);
/* Inverse irreversible transform in single precision, planes to interleaved. */
ZEQJ_API ZeqStatus zeqiICTInv_JPEG2K_32f_P3C3R(const float* const src[3], int32_t srcStep,
                                               float* dst, int32_t dstStep, ZeqiSize roiSize);

/* ---- JPEG 2000 reversible 5/3 wavelet ------------------------------- */

/* Forward 5/3 along rows; the caller extends each row; phase: parity of the first sample. */
ZEQJ_API ZeqStatus zeqiWTFwdRow_B53_JPEG2K_16s_C1R(const int16_t* src, int32_t srcStep,
                                                   int16_t* dstLow, int32_t dstLowStep,
                                                   int16_t* dstHigh, int32_t dstHighStep,
                                                   ZeqiSize dstRoiSize, int32_t phase);
/* Forward 5/3 down the columns; dstRoiSize.height coefficients per band. */
ZEQJ_API ZeqStatus zeqiWTFwdCol_B53_JPEG2K_16s_C1R(const int16_t* src, int32_t srcStep,
                                                   int16_t* dstLow, int32_t dstLowStep,
                                                   int16_t* dstHigh, int32_t dstHighStep,
                                                   ZeqiSize dstRoiSize, int32_t phase);
/* One forward 5/3 column step: rows x(2n), x(2n+1), x(2n+2) and d(n-1) give s(n), d(n). */
ZEQJ_API ZeqStatus zeqiWTFwdColLift_B53_JPEG2K_16s_C1(const int16_t* srcEven0,
                                                      const int16_t* srcOdd,
                                                      const int16_t* srcEven1, int16_t* dstLow,
                                                      const int16_t* srcHighPrev, int16_t* dstHigh,
                                                      int32_t width);
/* Inverse 5/3 along rows: 2 * srcRoiSize.width samples per row from the extended bands. */
ZEQJ_API ZeqStatus zeqiWTInvRow_B53_JPEG2K_16s_C1R(const int16_t* srcLow, int32_t srcLowStep,
                                                   const int16_t* srcHigh, int32_t srcHighStep,
                                                   ZeqiSize srcRoiSize, int16_t* dst,
                                                   int32_t dstStep, int32_t phase);
/* Inverse 5/3 down the columns. */
ZEQJ_API ZeqStatus zeqiWTInvCol_B53_JPEG2K_16s_C1R(const int16_t* srcLow, int32_t srcLowStep,
                                                   const int16_t* srcHigh, int32_t srcHighStep,
                                                   ZeqiSize srcRoiSize, int16_t* dst,
                                                   int32_t dstStep, int32_t phase);
/* One inverse 5/3 step: s(n+1), d(n), d(n+1) and x(2n) give x(2n+2), then x(2n+1). */
ZEQJ_API ZeqStatus zeqiWTInvColLift_B53_JPEG2K_16s_C1(const int16_t* srcLow1,
                                                      const int16_t* srcHigh0,
                                                      const int16_t* srcHigh1,
                                                      const int16_t* srcEven0, int16_t* dstOdd,
                                                      int16_t* dstEven1, int32_t width);
/* Forward 5/3 level in place: vertical, then horizontal; each line low band first. */
ZEQJ_API ZeqStatus zeqiWTFwd_B53_JPEG2K_16s_C1IR(int16_t* srcDst, int32_t srcDstStep,
                                                 const ZeqiRect* tileRect, uint8_t* buffer);
/* Forward 5/3 level from src into four subbands (LL, LH, HL, HH). */
ZEQJ_API ZeqStatus zeqiWTFwd_B53_JPEG2K_16s_C1R(const int16_t* src, int32_t srcStep,
                                                const ZeqiRect* tileRect, int16_t* const dst[4],
                                                const int32_t dstStep[4], uint8_t* buffer);
/* Inverse 5/3 level in place on the forward member's layout. */
ZEQJ_API ZeqStatus zeqiWTInv_B53_JPEG2K_16s_C1IR(int16_t* srcDst, int32_t srcDstStep,
                                                 const ZeqiRect* tileRect, uint8_t* buffer);
/* Inverse 5/3 level from four subbands into dst. */
ZEQJ_API ZeqStatus zeqiWTInv_B53_JPEG2K_16s_C1R(const int16_t* const src[4],
                                                const int32_t srcStep[4], int16_t* dst,
                                                int32_t dstStep, const ZeqiRect* tileRect,
                                                uint8_t* buffer);
/* Scratch bytes of zeqiWTFwd/Inv_B53_JPEG2K_16s_C1IR for this tile. */
ZEQJ_API ZeqStatus zeqiWTGetBufSize_B53_JPEG2K_16s_C1IR(const ZeqiRect* tileRect, int32_t* size);
/* Scratch bytes of zeqiWTFwd/Inv_B53_JPEG2K_16s_C1R for this tile. */
ZEQJ_API ZeqStatus zeqiWTGetBufSize_B53_JPEG2K_16s_C1R(const ZeqiRect* tileRect, int32_t* size);
/* Forward 5/3 along rows; the caller extends each row; phase: parity of the first sample. */
ZEQJ_API ZeqStatus zeqiWTFwdRow_B53_JPEG2K_32s_C1R(const int32_t* src, int32_t srcStep,
                                                   int32_t* dstLow, int32_t dstLowStep,
                                                   int32_t* dstHigh, int32_t dstHighStep,
                                                   ZeqiSize dstRoiSize, int32_t phase);
/* Forward 5/3 down the columns; dstRoiSize.height coefficients per band. */
ZEQJ_API ZeqStatus zeqiWTFwdCol_B53_JPEG2K_32s_C1R(const int32_t* src, int32_t srcStep,
                                                   int32_t* dstLow, int32_t dstLowStep,
                                                   int32_t* dstHigh, int32_t dstHighStep,
                                                   ZeqiSize dstRoiSize, int32_t phase);
/* One forward 5/3 column step: rows x(2n), x(2n+1), x(2n+2) and d(n-1) give s(n), d(n). */
ZEQJ_API ZeqStatus zeqiWTFwdColLift_B53_JPEG2K_32s_C1(const int32_t* srcEven0,
                                                      const int32_t* srcOdd,
                                                      const int32_t* srcEven1, int32_t* dstLow,
                                                      const int32_t* srcHighPrev, int32_t* dstHigh,
                                                      int32_t width);
/* Inverse 5/3 along rows: 2 * srcRoiSize.width samples per row from the extended bands. */
ZEQJ_API ZeqStatus zeqiWTInvRow_B53_JPEG2K_32s_C1R(const int32_t* srcLow, int32_t srcLowStep,
                                                   const int32_t* srcHigh, int32_t srcHighStep,
                                                   ZeqiSize srcRoiSize, int32_t* dst,
                                                   int32_t dstStep, int32_t phase);
/* Inverse 5/3 down the columns. */
ZEQJ_API ZeqStatus zeqiWTInvCol_B53_JPEG2K_32s_C1R(const int32_t* srcLow, int32_t srcLowStep,
                                                   const int32_t* srcHigh, int32_t srcHighStep,
                                                   ZeqiSize srcRoiSize, int32_t* dst,
                                                   int32_t dstStep, int32_t phase);
/* One inverse 5/3 step: s(n+1), d(n), d(n+1) and x(2n) give x(2n+2), then x(2n+1). */
ZEQJ_API ZeqStatus zeqiWTInvColLift_B53_JPEG2K_32s_C1(const int32_t* srcLow1,
                                                      const int32_t* srcHigh0,
                                                      const int32_t* srcHigh1,
                                                      const int32_t* srcEven0, int32_t* dstOdd,
                                                      int32_t* dstEven1, int32_t width);
/* Forward 5/3 level in place: vertical, then horizontal; each line low band first. */
ZEQJ_API ZeqStatus zeqiWTFwd_B53_JPEG2K_32s_C1IR(int32_t* srcDst, int32_t srcDstStep,
                                                 const ZeqiRect* tileRect, uint8_t* buffer);
/* Forward 5/3 level from src into four subbands (LL, LH, HL, HH). */
ZEQJ_API ZeqStatus zeqiWTFwd_B53_JPEG2K_32s_C1R(const int32_t* src, int32_t srcStep,
                                                const ZeqiRect* tileRect, int32_t* const dst[4],
                                                const int32_t dstStep[4], uint8_t* buffer);
/* Inverse 5/3 level in place on the forward member's layout. */
ZEQJ_API ZeqStatus zeqiWTInv_B53_JPEG2K_32s_C1IR(int32_t* srcDst, int32_t srcDstStep,
                                                 const ZeqiRect* tileRect, uint8_t* buffer);
/* Inverse 5/3 level from four subbands into dst. */
ZEQJ_API ZeqStatus zeqiWTInv_B53_JPEG2K_32s_C1R(const int32_t* const src[4],
                                                const int32_t srcStep[4], int32_t* dst,
                                                int32_t dstStep, const ZeqiRect* tileRect,
                                                uint8_t* buffer);
/* Scratch bytes of zeqiWTFwd/Inv_B53_JPEG2K_32s_C1IR for this tile. */
ZEQJ_API ZeqStatus zeqiWTGetBufSize_B53_JPEG2K_32s_C1IR(const ZeqiRect* tileRect, int32_t* size);
/* Scratch bytes of zeqiWTFwd/Inv_B53_JPEG2K_32s_C1R for this tile. */
ZEQJ_API ZeqStatus zeqiWTGetBufSize_B53_JPEG2K_32s_C1R(const ZeqiRect* tileRect, int32_t* size);
/* ---- JPEG 2000 irreversible 9/7 wavelet ----------------------------- */

/* Forward 9/7 along rows (16.16 fixed point, 16-bit clamping); width 1: direct filters. */
ZEQJ_API ZeqStatus zeqiWTFwdRow_D97_JPEG2K_16s_C1R(const int16_t* src, int32_t srcStep,
                                                   int16_t* dstLow, int32_t dstLowStep,
                                                   int16_t* dstHigh, int32_t dstHighStep,
                                                   ZeqiSize dstRoiSize, int32_t phase);
/* Inverse 9/7 along rows (16.16 fixed point, clamped to 16 bits); width 1 uses the direct synthesis
 * filters. */
ZEQJ_API ZeqStatus zeqiWTInvRow_D97_JPEG2K_16s_C1R(const int16_t* srcLow, int32_t srcLowStep,
                                                   const int16_t* srcHigh, int32_t srcHighStep,
                                                   ZeqiSize srcRoiSize, int16_t* dst,
                                                   int32_t dstStep, int32_t phase);
/* Forward 9/7 column pipeline step (16.16 fixed point, clamped to 16 bits): consumes x(2n+2),
 * x(2n+1) with x(2n); finishes the low row of the previous pair (lowPrev) and the older high row
 * (highOld). */
ZEQJ_API ZeqStatus zeqiWTFwdColLift_D97_JPEG2K_16s_C1(
    const int16_t* srcEven1, const int16_t* srcOdd, const int16_t* srcEven0, int16_t* lowPrev,
    int16_t* dstLow, int16_t* highOld, int16_t* highPrev, int16_t* dstHigh, int32_t width);
/* Inverse 9/7 column pipeline step (16.16 fixed point, clamped to 16 bits): consumes low s(n+1),
 * high d(n+1) with d(n); lowPrev becomes x(2n) (using x(2n-2) in srcEvenOld) and highPrev becomes
 * x(2n-1). */
ZEQJ_API ZeqStatus zeqiWTInvColLift_D97_JPEG2K_16s_C1(
    const int16_t* srcLow1, const int16_t* srcHigh1, const int16_t* srcHigh0, int16_t* lowPrev,
    int16_t* dstLow, const int16_t* srcEvenOld, int16_t* highPrev, int16_t* dstHigh, int32_t width);
/* Forward 9/7 along rows (16.16 fixed point); width 1 uses the direct filters. */
ZEQJ_API ZeqStatus zeqiWTFwdRow_D97_JPEG2K_32s_C1R(const int32_t* src, int32_t srcStep,
                                                   int32_t* dstLow, int32_t dstLowStep,
                                                   int32_t* dstHigh, int32_t dstHighStep,
                                                   ZeqiSize dstRoiSize, int32_t phase);
/* Inverse 9/7 along rows (16.16 fixed point); width 1 uses the direct synthesis filters. */
ZEQJ_API ZeqStatus zeqiWTInvRow_D97_JPEG2K_32s_C1R(const int32_t* srcLow, int32_t srcLowStep,
                                                   const int32_t* srcHigh, int32_t srcHighStep,
                                                   ZeqiSize srcRoiSize, int32_t* dst,
                                                   int32_t dstStep, int32_t phase);
/* Forward 9/7 column pipeline step (16.16 fixed point): consumes x(2n+2), x(2n+1) with x(2n);
 * finishes the low row of the previous pair (lowPrev) and the older high row (highOld). */
ZEQJ_API ZeqStatus zeqiWTFwdColLift_D97_JPEG2K_32s_C1(
    const int32_t* srcEven1, const int32_t* srcOdd, const int32_t* srcEven0, int32_t* lowPrev,
    int32_t* dstLow, int32_t* highOld, int32_t* highPrev, int32_t* dstHigh, int32_t width);
/* Inverse 9/7 column pipeline step (16.16 fixed point): consumes low s(n+1), high d(n+1) with d(n);
 * lowPrev becomes x(2n) (using x(2n-2) in srcEvenOld) and highPrev becomes x(2n-1). */
ZEQJ_API ZeqStatus zeqiWTInvColLift_D97_JPEG2K_32s_C1(
    const int32_t* srcLow1, const int32_t* srcHigh1, const int32_t* srcHigh0, int32_t* lowPrev,
    int32_t* dstLow, const int32_t* srcEvenOld, int32_t* highPrev, int32_t* dstHigh, int32_t width);
/* Forward 9/7 along rows (single precision); width 1 uses the direct filters. */
ZEQJ_API ZeqStatus zeqiWTFwdRow_D97_JPEG2K_32f_C1R(const float* src, int32_t srcStep, float* dstLow,
                                                   int32_t dstLowStep, float* dstHigh,
                                                   int32_t dstHighStep, ZeqiSize dstRoiSize,
                                                   int32_t phase);
/* Forward 9/7 down the columns (single precision). */
ZEQJ_API ZeqStatus zeqiWTFwdCol_D97_JPEG2K_32f_C1R(const float* src, int32_t srcStep, float* dstLow,
                                                   int32_t dstLowStep, float* dstHigh,
                                                   int32_t dstHighStep, ZeqiSize dstRoiSize,
                                                   int32_t phase);
/* Inverse 9/7 along rows (single precision); width 1 uses the direct synthesis filters. */
ZEQJ_API ZeqStatus zeqiWTInvRow_D97_JPEG2K_32f_C1R(const float* srcLow, int32_t srcLowStep,
                                                   const float* srcHigh, int32_t srcHighStep,
                                                   ZeqiSize srcRoiSize, float* dst, int32_t dstStep,
                                                   int32_t phase);
/* Inverse 9/7 down the columns (single precision). */
ZEQJ_API ZeqStatus zeqiWTInvCol_D97_JPEG2K_32f_C1R(const float* srcLow, int32_t srcLowStep,
                                                   const float* srcHigh, int32_t srcHighStep,
                                                   ZeqiSize srcRoiSize, float* dst, int32_t dstStep,
                                                   int32_t phase);
/* Forward 9/7 column pipeline step (single precision): consumes x(2n+2), x(2n+1) with x(2n);
 * finishes the low row of the previous pair (lowPrev) and the older high row (highOld). */
ZEQJ_API ZeqStatus zeqiWTFwdColLift_D97_JPEG2K_32f_C1(const float* srcEven1, const float* srcOdd,
                                                      const float* srcEven0, float* lowPrev,
                                                      float* dstLow, float* highOld,
                                                      float* highPrev, float* dstHigh,
                                                      int32_t width);
/* Inverse 9/7 column pipeline step (single precision): consumes low s(n+1), high d(n+1) with d(n);
 * lowPrev becomes x(2n) (using x(2n-2) in srcEvenOld) and highPrev becomes x(2n-1). */
ZEQJ_API ZeqStatus zeqiWTInvColLift_D97_JPEG2K_32f_C1(const float* srcLow1, const float* srcHigh1,
                                                      const float* srcHigh0, float* lowPrev,
                                                      float* dstLow, const float* srcEvenOld,
                                                      float* highPrev, float* dstHigh,
                                                      int32_t width);
/* Forward 9/7 level in place: vertical, then horizontal; each line low band first. */
ZEQJ_API ZeqStatus zeqiWTFwd_D97_JPEG2K_16s_C1IR(int16_t* srcDst, int32_t srcDstStep,
                                                 const ZeqiRect* tileRect, uint8_t* buffer);
/* Forward 9/7 level from src into four subbands (LL, LH, HL, HH). */
ZEQJ_API ZeqStatus zeqiWTFwd_D97_JPEG2K_16s_C1R(const int16_t* src, int32_t srcStep,
                                                const ZeqiRect* tileRect, int16_t* const dst[4],
                                                const int32_t dstStep[4], uint8_t* buffer);
/* Inverse 9/7 level in place on the forward member's layout. */
ZEQJ_API ZeqStatus zeqiWTInv_D97_JPEG2K_16s_C1IR(int16_t* srcDst, int32_t srcDstStep,
                                                 const ZeqiRect* tileRect, uint8_t* buffer);
/* Inverse 9/7 level from four subbands into dst. */
ZEQJ_API ZeqStatus zeqiWTInv_D97_JPEG2K_16s_C1R(const int16_t* const src[4],
                                                const int32_t srcStep[4], int16_t* dst,
                                                int32_t dstStep, const ZeqiRect* tileRect,
                                                uint8_t* buffer);
/* Scratch bytes of zeqiWTFwd/Inv_D97_JPEG2K_16s_C1IR for this tile. */
ZEQJ_API ZeqStatus zeqiWTGetBufSize_D97_JPEG2K_16s_C1IR(const ZeqiRect* tileRect, int32_t* size);
/* Scratch bytes of zeqiWTFwd/Inv_D97_JPEG2K_16s_C1R for this tile. */
ZEQJ_API ZeqStatus zeqiWTGetBufSize_D97_JPEG2K_16s_C1R(const ZeqiRect* tileRect, int32_t* size);
/* Forward 9/7 level in place: vertical, then horizontal; each line low band first. */
ZEQJ_API ZeqStatus zeqiWTFwd_D97_JPEG2K_32s_C1IR(int32_t* srcDst, int32_t srcDstStep,
                                                 const ZeqiRect* tileRect, uint8_t* buffer);
/* Forward 9/7 level from src into four subbands (LL, LH, HL, HH). */
ZEQJ_API ZeqStatus zeqiWTFwd_D97_JPEG2K_32s_C1R(const int32_t* src, int32_t srcStep,
                                                const ZeqiRect* tileRect, int32_t* const dst[4],
                                                const int32_t dstStep[4], uint8_t* buffer);
/* Inverse 9/7 level in place on the forward member's layout. */
ZEQJ_API ZeqStatus zeqiWTInv_D97_JPEG2K_32s_C1IR(int32_t* srcDst, int32_t srcDstStep,
                                                 const ZeqiRect* tileRect, uint8_t* buffer);
/* Inverse 9/7 level from four subbands into dst. */
ZEQJ_API ZeqStatus zeqiWTInv_D97_JPEG2K_32s_C1R(const int32_t* const src[4],
                                                const int32_t srcStep[4], int32_t* dst,
                                                int32_t dstStep, const ZeqiRect* tileRect,
                                                uint8_t* buffer);
/* Scratch bytes of zeqiWTFwd/Inv_D97_JPEG2K_32s_C1IR for this tile. */
ZEQJ_API ZeqStatus zeqiWTGetBufSize_D97_JPEG2K_32s_C1IR(const ZeqiRect* tileRect, int32_t* size);
/* Scratch bytes of zeqiWTFwd/Inv_D97_JPEG2K_32s_C1R for this tile. */
ZEQJ_API ZeqStatus zeqiWTGetBufSize_D97_JPEG2K_32s_C1R(const ZeqiRect* tileRect, int32_t* size);
/* ---- JPEG 2000 code-block encoder ----------------------------------- */

/* ---- JPEG 2000 code-block decoder ----------------------------------- */

/* ---- JPEG 2000 progressive code-block decoder ----------------------- */

/* ---- HD Photo core transform ---------------------------------------- */

/* ---- TIFF row utilities --------------------------------------------- */

/* ---- Texture block encoding ----------------------------------------- */

/* ---- Texture block decoding ----------------------------------------- */

#ifdef __cplusplus
}
#endif

#endif /* ZEQJ_H */
