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

/* 8x8 8-bit samples less 128, integer DCT and quantization into a natural-order block. */
ZEQJ_API ZeqStatus zeqiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(const uint8_t* src, int32_t srcStep,
                                                       int16_t* dst, const uint16_t* fwdQuantTable);
/* 8x8 12-bit samples less 2048, float DCT, times the float table, rounded and saturated. */
ZEQJ_API ZeqStatus zeqiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(const uint16_t* src, int32_t srcStep,
                                                        int16_t* dst, const float* fwdQuantTable);
/* Integer DCT of a block into dst, then quantization; src is not modified. */
ZEQJ_API ZeqStatus zeqiDCTQuantFwd8x8_JPEG_16s_C1(const int16_t* src, int16_t* dst,
                                                  const uint16_t* fwdQuantTable);
/* Integer DCT and quantization of a block in place. */
ZEQJ_API ZeqStatus zeqiDCTQuantFwd8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* fwdQuantTable);

/* ---- JPEG inverse DCT with dequantization --------------------------- */

/* Dequantization and integer inverse DCT of a block into dst (no level shift). */
ZEQJ_API ZeqStatus zeqiDCTQuantInv8x8_JPEG_16s_C1(const int16_t* src, int16_t* dst,
                                                  const uint16_t* invQuantTable);
/* Dequantization and integer inverse DCT of a block in place. */
ZEQJ_API ZeqStatus zeqiDCTQuantInv8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* invQuantTable);
/* Full inverse DCT plus 128, saturated into 8x8 8-bit samples; src is not modified. */
ZEQJ_API ZeqStatus zeqiDCTQuantInv8x8LS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst,
                                                       int32_t dstStep,
                                                       const uint16_t* invQuantTable);
/* 8x8 samples from the DC coefficient alone ((dc * q) >> 3, plus 128). */
ZEQJ_API ZeqStatus zeqiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst,
                                                           int32_t dstStep,
                                                           const uint16_t* invQuantTable);
/* 8x8 samples from the top-left 2x2 coefficients (pruned transform). */
ZEQJ_API ZeqStatus zeqiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst,
                                                           int32_t dstStep,
                                                           const uint16_t* invQuantTable);
/* 8x8 samples from the top-left 4x4 coefficients (pruned transform). */
ZEQJ_API ZeqStatus zeqiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst,
                                                           int32_t dstStep,
                                                           const uint16_t* invQuantTable);
/* 2x2 samples, each the mean of a 4x4 quadrant of the inverse DCT. */
ZEQJ_API ZeqStatus zeqiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst,
                                                            int32_t dstStep,
                                                            const uint16_t* invQuantTable);
/* 4x4 samples, each the mean of a 2x2 group of the inverse DCT. */
ZEQJ_API ZeqStatus zeqiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst,
                                                            int32_t dstStep,
                                                            const uint16_t* invQuantTable);
/* 12-bit: float dequantization and inverse DCT plus 2048, rounded within 0..4095. */
ZEQJ_API ZeqStatus zeqiDCTQuantInv8x8LS_JPEG_16s16u_C1R(const int16_t* src, uint16_t* dst,
                                                        int32_t dstStep,
                                                        const float* invQuantTable);

/* ---- JPEG whole-image colour conversion ----------------------------- */

/* Interleaved RGB to Y, Cb, Cr planes. */
ZEQJ_API ZeqStatus zeqiRGBToYCbCr_JPEG_8u_C3P3R(const uint8_t* src, int32_t srcStep,
                                                uint8_t* const dst[3], int32_t dstStep,
                                                ZeqiSize roiSize);
/* R, G, B planes to Y, Cb, Cr planes. */
ZEQJ_API ZeqStatus zeqiRGBToYCbCr_JPEG_8u_P3R(const uint8_t* const src[3], int32_t srcStep,
                                              uint8_t* const dst[3], int32_t dstStep,
                                              ZeqiSize roiSize);
/* Interleaved BGR to Y, Cb, Cr planes. */
ZEQJ_API ZeqStatus zeqiBGRToYCbCr_JPEG_8u_C3P3R(const uint8_t* src, int32_t srcStep,
                                                uint8_t* const dst[3], int32_t dstStep,
                                                ZeqiSize roiSize);
/* Interleaved RGB to a luma plane. */
ZEQJ_API ZeqStatus zeqiRGBToY_JPEG_8u_C3C1R(const uint8_t* src, int32_t srcStep, uint8_t* dst,
                                            int32_t dstStep, ZeqiSize roiSize);
/* R, G, B planes to a luma plane. */
ZEQJ_API ZeqStatus zeqiRGBToY_JPEG_8u_P3C1R(const uint8_t* const src[3], int32_t srcStep,
                                            uint8_t* dst, int32_t dstStep, ZeqiSize roiSize);
/* Interleaved BGR to a luma plane. */
ZEQJ_API ZeqStatus zeqiBGRToY_JPEG_8u_C3C1R(const uint8_t* src, int32_t srcStep, uint8_t* dst,
                                            int32_t dstStep, ZeqiSize roiSize);
/* 16-bit RGB555 (red in the low bits) to Y, Cb, Cr planes. */
ZEQJ_API ZeqStatus zeqiRGB555ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int32_t srcStep,
                                                      uint8_t* const dst[3], int32_t dstStep,
                                                      ZeqiSize roiSize);
/* 16-bit RGB565 (red in the low bits) to Y, Cb, Cr planes. */
ZEQJ_API ZeqStatus zeqiRGB565ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int32_t srcStep,
                                                      uint8_t* const dst[3], int32_t dstStep,
                                                      ZeqiSize roiSize);
/* 16-bit BGR555 (blue in the low bits) to Y, Cb, Cr planes. */
ZEQJ_API ZeqStatus zeqiBGR555ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int32_t srcStep,
                                                      uint8_t* const dst[3], int32_t dstStep,
                                                      ZeqiSize roiSize);
/* 16-bit BGR565 (blue in the low bits) to Y, Cb, Cr planes. */
ZEQJ_API ZeqStatus zeqiBGR565ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int32_t srcStep,
                                                      uint8_t* const dst[3], int32_t dstStep,
                                                      ZeqiSize roiSize);
/* Y, Cb, Cr planes to interleaved RGB. */
ZEQJ_API ZeqStatus zeqiYCbCrToRGB_JPEG_8u_P3C3R(const uint8_t* const src[3], int32_t srcStep,
                                                uint8_t* dst, int32_t dstStep, ZeqiSize roiSize);
/* Y, Cb, Cr planes to R, G, B planes. */
ZEQJ_API ZeqStatus zeqiYCbCrToRGB_JPEG_8u_P3R(const uint8_t* const src[3], int32_t srcStep,
                                              uint8_t* const dst[3], int32_t dstStep,
                                              ZeqiSize roiSize);
/* Y, Cb, Cr planes to interleaved BGR. */
ZEQJ_API ZeqStatus zeqiYCbCrToBGR_JPEG_8u_P3C3R(const uint8_t* const src[3], int32_t srcStep,
                                                uint8_t* dst, int32_t dstStep, ZeqiSize roiSize);
/* Y, Cb, Cr planes to 16-bit RGB555 (channels truncated). */
ZEQJ_API ZeqStatus zeqiYCbCrToRGB555_JPEG_8u16u_P3C3R(const uint8_t* const src[3], int32_t srcStep,
                                                      uint16_t* dst, int32_t dstStep,
                                                      ZeqiSize roiSize);
/* Y, Cb, Cr planes to 16-bit RGB565 (channels truncated). */
ZEQJ_API ZeqStatus zeqiYCbCrToRGB565_JPEG_8u16u_P3C3R(const uint8_t* const src[3], int32_t srcStep,
                                                      uint16_t* dst, int32_t dstStep,
                                                      ZeqiSize roiSize);
/* Y, Cb, Cr planes to 16-bit BGR555 (channels truncated). */
ZEQJ_API ZeqStatus zeqiYCbCrToBGR555_JPEG_8u16u_P3C3R(const uint8_t* const src[3], int32_t srcStep,
                                                      uint16_t* dst, int32_t dstStep,
                                                      ZeqiSize roiSize);
/* Y, Cb, Cr planes to 16-bit BGR565 (channels truncated). */
ZEQJ_API ZeqStatus zeqiYCbCrToBGR565_JPEG_8u16u_P3C3R(const uint8_t* const src[3], int32_t srcStep,
                                                      uint16_t* dst, int32_t dstStep,
                                                      ZeqiSize roiSize);
/* Packed Y0 Cb Y1 Cr pairs to interleaved RGB; an odd last pixel is left alone. */
ZEQJ_API ZeqStatus zeqiYCbCr422ToRGB_JPEG_8u_C2C3R(const uint8_t* src, int32_t srcStep,
                                                   uint8_t* dst, int32_t dstStep, ZeqiSize roiSize);
/* Interleaved CMYK to Y, Cb, Cr, K planes. */
ZEQJ_API ZeqStatus zeqiCMYKToYCCK_JPEG_8u_C4P4R(const uint8_t* src, int32_t srcStep,
                                                uint8_t* const dst[4], int32_t dstStep,
                                                ZeqiSize roiSize);
/* C, M, Y, K planes to Y, Cb, Cr, K planes. */
ZEQJ_API ZeqStatus zeqiCMYKToYCCK_JPEG_8u_P4R(const uint8_t* const src[4], int32_t srcStep,
                                              uint8_t* const dst[4], int32_t dstStep,
                                              ZeqiSize roiSize);
/* Y, Cb, Cr, K planes to interleaved CMYK. */
ZEQJ_API ZeqStatus zeqiYCCKToCMYK_JPEG_8u_P4C4R(const uint8_t* const src[4], int32_t srcStep,
                                                uint8_t* dst, int32_t dstStep, ZeqiSize roiSize);
/* Y, Cb, Cr, K planes to C, M, Y, K planes. */
ZEQJ_API ZeqStatus zeqiYCCKToCMYK_JPEG_8u_P4R(const uint8_t* const src[4], int32_t srcStep,
                                              uint8_t* const dst[4], int32_t dstStep,
                                              ZeqiSize roiSize);

/* ---- JPEG chroma sampling ------------------------------------------- */

/* Halves a plane horizontally: d = (s[2x] + s[2x+1] + 1) >> 1 over the destination region. */
ZEQJ_API ZeqStatus zeqiSampleDownH2V1_JPEG_8u_C1R(const uint8_t* src, int32_t srcStep,
                                                  ZeqiSize srcSize, uint8_t* dst, int32_t dstStep,
                                                  ZeqiSize dstSize);
/* Halves a plane both ways: the 2x2 sum plus 3, shifted right by 2. */
ZEQJ_API ZeqStatus zeqiSampleDownH2V2_JPEG_8u_C1R(const uint8_t* src, int32_t srcStep,
                                                  ZeqiSize srcSize, uint8_t* dst, int32_t dstStep,
                                                  ZeqiSize dstSize);
/* Doubles a plane horizontally (3:1 triangle); reads one source column past each side. */
ZEQJ_API ZeqStatus zeqiSampleUpH2V1_JPEG_8u_C1R(const uint8_t* src, int32_t srcStep,
                                                ZeqiSize srcSize, uint8_t* dst, int32_t dstStep,
                                                ZeqiSize dstSize);
/* Doubles a plane both ways (9:3:3:1 triangle); reads one source row and column past each side. */
ZEQJ_API ZeqStatus zeqiSampleUpH2V2_JPEG_8u_C1R(const uint8_t* src, int32_t srcStep,
                                                ZeqiSize srcSize, uint8_t* dst, int32_t dstStep,
                                                ZeqiSize dstSize);
/* Halves one row, biases alternating 0, 1; an odd srcWidth reads one sample past it. */
ZEQJ_API ZeqStatus zeqiSampleDownRowH2V1_Box_JPEG_8u_C1(const uint8_t* src, int32_t srcWidth,
                                                        uint8_t* dst);
/* Halves two rows into one, biases alternating 1, 2; an odd srcWidth reads one sample past it. */
ZEQJ_API ZeqStatus zeqiSampleDownRowH2V2_Box_JPEG_8u_C1(const uint8_t* src1, const uint8_t* src2,
                                                        int32_t srcWidth, uint8_t* dst);
/* Doubles one row (3:1 triangle, edges replicated): 2 * srcWidth outputs. */
ZEQJ_API ZeqStatus zeqiSampleUpRowH2V1_Triangle_JPEG_8u_C1(const uint8_t* src, int32_t srcWidth,
                                                           uint8_t* dst);
/* One output row between the nearer and the farther source row (9:3:3:1, edges replicated). */
ZEQJ_API ZeqStatus zeqiSampleUpRowH2V2_Triangle_JPEG_8u_C1(const uint8_t* srcNear,
                                                           const uint8_t* srcFar, int32_t srcWidth,
                                                           uint8_t* dst);

/* ---- JPEG MCU-level fused conversions ------------------------------- */

/* RGB pixels to level-shifted 444 Y, Cb, Cr blocks. */
ZEQJ_API ZeqStatus zeqiRGBToYCbCr444LS_MCU_8u16s_C3P3R(const uint8_t* src, int32_t srcStep,
                                                       int16_t* const dstMCU[3]);
/* RGB pixels to level-shifted 422 Y, Cb, Cr blocks. */
ZEQJ_API ZeqStatus zeqiRGBToYCbCr422LS_MCU_8u16s_C3P3R(const uint8_t* src, int32_t srcStep,
                                                       int16_t* const dstMCU[3]);
/* RGB pixels to level-shifted 411 Y, Cb, Cr blocks. */
ZEQJ_API ZeqStatus zeqiRGBToYCbCr411LS_MCU_8u16s_C3P3R(const uint8_t* src, int32_t srcStep,
                                                       int16_t* const dstMCU[3]);
/* BGR pixels to level-shifted 444 Y, Cb, Cr blocks. */
ZEQJ_API ZeqStatus zeqiBGRToYCbCr444LS_MCU_8u16s_C3P3R(const uint8_t* src, int32_t srcStep,
                                                       int16_t* const dstMCU[3]);
/* BGR pixels to level-shifted 422 Y, Cb, Cr blocks. */
ZEQJ_API ZeqStatus zeqiBGRToYCbCr422LS_MCU_8u16s_C3P3R(const uint8_t* src, int32_t srcStep,
                                                       int16_t* const dstMCU[3]);
/* BGR pixels to level-shifted 411 Y, Cb, Cr blocks. */
ZEQJ_API ZeqStatus zeqiBGRToYCbCr411LS_MCU_8u16s_C3P3R(const uint8_t* src, int32_t srcStep,
                                                       int16_t* const dstMCU[3]);
/* 16-bit BGR555 pixels to level-shifted 444 Y, Cb, Cr blocks. */
ZEQJ_API ZeqStatus zeqiBGR555ToYCbCr444LS_MCU_16u16s_C3P3R(const uint16_t* src, int32_t srcStep,
                                                           int16_t* const dstMCU[3]);
/* 16-bit BGR555 pixels to level-shifted 422 Y, Cb, Cr blocks. */
ZEQJ_API ZeqStatus zeqiBGR555ToYCbCr422LS_MCU_16u16s_C3P3R(const uint16_t* src, int32_t srcStep,
                                                           int16_t* const dstMCU[3]);
/* 16-bit BGR555 pixels to level-shifted 411 Y, Cb, Cr blocks. */
ZEQJ_API ZeqStatus zeqiBGR555ToYCbCr411LS_MCU_16u16s_C3P3R(const uint16_t* src, int32_t srcStep,
                                                           int16_t* const dstMCU[3]);
/* 16-bit BGR565 pixels to level-shifted 444 Y, Cb, Cr blocks. */
ZEQJ_API ZeqStatus zeqiBGR565ToYCbCr444LS_MCU_16u16s_C3P3R(const uint16_t* src, int32_t srcStep,
                                                           int16_t* const dstMCU[3]);
/* 16-bit BGR565 pixels to level-shifted 422 Y, Cb, Cr blocks. */
ZEQJ_API ZeqStatus zeqiBGR565ToYCbCr422LS_MCU_16u16s_C3P3R(const uint16_t* src, int32_t srcStep,
                                                           int16_t* const dstMCU[3]);
/* 16-bit BGR565 pixels to level-shifted 411 Y, Cb, Cr blocks. */
ZEQJ_API ZeqStatus zeqiBGR565ToYCbCr411LS_MCU_16u16s_C3P3R(const uint16_t* src, int32_t srcStep,
                                                           int16_t* const dstMCU[3]);
/* CMYK pixels to level-shifted 444 Y, Cb, Cr blocks and full-size K blocks. */
ZEQJ_API ZeqStatus zeqiCMYKToYCCK444LS_MCU_8u16s_C4P4R(const uint8_t* src, int32_t srcStep,
                                                       int16_t* const dstMCU[4]);
/* CMYK pixels to level-shifted 422 Y, Cb, Cr blocks and full-size K blocks. */
ZEQJ_API ZeqStatus zeqiCMYKToYCCK422LS_MCU_8u16s_C4P4R(const uint8_t* src, int32_t srcStep,
                                                       int16_t* const dstMCU[4]);
/* CMYK pixels to level-shifted 411 Y, Cb, Cr blocks and full-size K blocks. */
ZEQJ_API ZeqStatus zeqiCMYKToYCCK411LS_MCU_8u16s_C4P4R(const uint8_t* src, int32_t srcStep,
                                                       int16_t* const dstMCU[4]);
/* Interleaved Y, Cb, Cr pixels to level-shifted 444 blocks (chroma averaged, truncated). */
ZEQJ_API ZeqStatus zeqiSampleDown444LS_MCU_8u16s_C3P3R(const uint8_t* src, int32_t srcStep,
                                                       int16_t* const dstMCU[3]);
/* Interleaved Y, Cb, Cr pixels to level-shifted 422 blocks (chroma averaged, truncated). */
ZEQJ_API ZeqStatus zeqiSampleDown422LS_MCU_8u16s_C3P3R(const uint8_t* src, int32_t srcStep,
                                                       int16_t* const dstMCU[3]);
/* Interleaved Y, Cb, Cr pixels to level-shifted 411 blocks (chroma averaged, truncated). */
ZEQJ_API ZeqStatus zeqiSampleDown411LS_MCU_8u16s_C3P3R(const uint8_t* src, int32_t srcStep,
                                                       int16_t* const dstMCU[3]);
/* Packed Y0 Cb Y1 Cr pixels (16x8) to level-shifted 422 blocks. */
ZEQJ_API ZeqStatus zeqiSplit422LS_MCU_8u16s_C2P3R(const uint8_t* src, int32_t srcStep,
                                                  int16_t* const dstMCU[3]);
/* Level-shifted 444 Y, Cb, Cr blocks to RGB pixels. */
ZEQJ_API ZeqStatus zeqiYCbCr444ToRGBLS_MCU_16s8u_P3C3R(const int16_t* const srcMCU[3], uint8_t* dst,
                                                       int32_t dstStep);
/* Level-shifted 422 Y, Cb, Cr blocks to RGB pixels. */
ZEQJ_API ZeqStatus zeqiYCbCr422ToRGBLS_MCU_16s8u_P3C3R(const int16_t* const srcMCU[3], uint8_t* dst,
                                                       int32_t dstStep);
/* Level-shifted 411 Y, Cb, Cr blocks to RGB pixels. */
ZEQJ_API ZeqStatus zeqiYCbCr411ToRGBLS_MCU_16s8u_P3C3R(const int16_t* const srcMCU[3], uint8_t* dst,
                                                       int32_t dstStep);
/* Level-shifted 444 Y, Cb, Cr blocks to BGR pixels. */
ZEQJ_API ZeqStatus zeqiYCbCr444ToBGRLS_MCU_16s8u_P3C3R(const int16_t* const srcMCU[3], uint8_t* dst,
                                                       int32_t dstStep);
/* Level-shifted 422 Y, Cb, Cr blocks to BGR pixels. */
ZEQJ_API ZeqStatus zeqiYCbCr422ToBGRLS_MCU_16s8u_P3C3R(const int16_t* const srcMCU[3], uint8_t* dst,
                                                       int32_t dstStep);
/* Level-shifted 411 Y, Cb, Cr blocks to BGR pixels. */
ZEQJ_API ZeqStatus zeqiYCbCr411ToBGRLS_MCU_16s8u_P3C3R(const int16_t* const srcMCU[3], uint8_t* dst,
                                                       int32_t dstStep);
/* Level-shifted 444 Y, Cb, Cr blocks to 16-bit BGR555 pixels. */
ZEQJ_API ZeqStatus zeqiYCbCr444ToBGR555LS_MCU_16s16u_P3C3R(const int16_t* const srcMCU[3],
                                                           uint16_t* dst, int32_t dstStep);
/* Level-shifted 422 Y, Cb, Cr blocks to 16-bit BGR555 pixels. */
ZEQJ_API ZeqStatus zeqiYCbCr422ToBGR555LS_MCU_16s16u_P3C3R(const int16_t* const srcMCU[3],
                                                           uint16_t* dst, int32_t dstStep);
/* Level-shifted 411 Y, Cb, Cr blocks to 16-bit BGR555 pixels. */
ZEQJ_API ZeqStatus zeqiYCbCr411ToBGR555LS_MCU_16s16u_P3C3R(const int16_t* const srcMCU[3],
                                                           uint16_t* dst, int32_t dstStep);
/* Level-shifted 444 Y, Cb, Cr blocks to 16-bit BGR565 pixels. */
ZEQJ_API ZeqStatus zeqiYCbCr444ToBGR565LS_MCU_16s16u_P3C3R(const int16_t* const srcMCU[3],
                                                           uint16_t* dst, int32_t dstStep);
/* Level-shifted 422 Y, Cb, Cr blocks to 16-bit BGR565 pixels. */
ZEQJ_API ZeqStatus zeqiYCbCr422ToBGR565LS_MCU_16s16u_P3C3R(const int16_t* const srcMCU[3],
                                                           uint16_t* dst, int32_t dstStep);
/* Level-shifted 411 Y, Cb, Cr blocks to 16-bit BGR565 pixels. */
ZEQJ_API ZeqStatus zeqiYCbCr411ToBGR565LS_MCU_16s16u_P3C3R(const int16_t* const srcMCU[3],
                                                           uint16_t* dst, int32_t dstStep);
/* Level-shifted 444 Y, Cb, Cr and K blocks to CMYK pixels (K wraps). */
ZEQJ_API ZeqStatus zeqiYCCK444ToCMYKLS_MCU_16s8u_P4C4R(const int16_t* const srcMCU[4], uint8_t* dst,
                                                       int32_t dstStep);
/* Level-shifted 422 Y, Cb, Cr and K blocks to CMYK pixels (K wraps). */
ZEQJ_API ZeqStatus zeqiYCCK422ToCMYKLS_MCU_16s8u_P4C4R(const int16_t* const srcMCU[4], uint8_t* dst,
                                                       int32_t dstStep);
/* Level-shifted 411 Y, Cb, Cr and K blocks to CMYK pixels (K wraps). */
ZEQJ_API ZeqStatus zeqiYCCK411ToCMYKLS_MCU_16s8u_P4C4R(const int16_t* const srcMCU[4], uint8_t* dst,
                                                       int32_t dstStep);
/* Level-shifted 444 blocks to interleaved Y, Cb, Cr pixels (chroma replicated). */
ZEQJ_API ZeqStatus zeqiSampleUp444LS_MCU_16s8u_P3C3R(const int16_t* const srcMCU[3], uint8_t* dst,
                                                     int32_t dstStep);
/* Level-shifted 422 blocks to interleaved Y, Cb, Cr pixels (chroma replicated). */
ZEQJ_API ZeqStatus zeqiSampleUp422LS_MCU_16s8u_P3C3R(const int16_t* const srcMCU[3], uint8_t* dst,
                                                     int32_t dstStep);
/* Level-shifted 411 blocks to interleaved Y, Cb, Cr pixels (chroma replicated). */
ZEQJ_API ZeqStatus zeqiSampleUp411LS_MCU_16s8u_P3C3R(const int16_t* const srcMCU[3], uint8_t* dst,
                                                     int32_t dstStep);
/* Level-shifted 422 blocks to packed Y0 Cb Y1 Cr pixels (16x8). */
ZEQJ_API ZeqStatus zeqiJoin422LS_MCU_16s8u_P3C2R(const int16_t* const srcMCU[3], uint8_t* dst,
                                                 int32_t dstStep);

/* ---- JPEG Huffman tables ------------------------------------------- */

/* Prepared encode table: 1024 bytes, symbol-indexed codes. Read-only once built. */
typedef struct HuffmanEncodeSpec HuffmanEncodeSpec;
/* Prepared decode table: 1644 bytes, no alignment beyond 4. Read-only once built. */
typedef struct HuffmanDecodeSpec HuffmanDecodeSpec;

/* Writes the size of a HuffmanEncodeSpec (1024). */
ZEQJ_API ZeqStatus zeqiEncodeHuffmanSpecGetBufSize_JPEG_8u(int32_t* size);
/* Builds an encode table in caller memory from 16 code counts and their symbols. */
ZEQJ_API ZeqStatus zeqiEncodeHuffmanSpecInit_JPEG_8u(const uint8_t* bits, const uint8_t* values,
                                                    HuffmanEncodeSpec* spec);
/* Allocates and builds an encode table; the block is stored even when the build fails. */
ZEQJ_API ZeqStatus zeqiEncodeHuffmanSpecInitAlloc_JPEG_8u(const uint8_t* bits,
                                                         const uint8_t* values,
                                                         HuffmanEncodeSpec** spec);
/* Releases an encode table made by zeqiEncodeHuffmanSpecInitAlloc_JPEG_8u. */
ZEQJ_API ZeqStatus zeqiEncodeHuffmanSpecFree_JPEG_8u(HuffmanEncodeSpec* spec);
/* Derives optimal code counts (16 bytes) and symbols from 257 statistics words. */
ZEQJ_API ZeqStatus zeqiEncodeHuffmanRawTableInit_JPEG_8u(const int32_t* statistics, uint8_t* bits,
                                                        uint8_t* values);
/* Writes the size of a HuffmanDecodeSpec (1644). */
ZEQJ_API ZeqStatus zeqiDecodeHuffmanSpecGetBufSize_JPEG_8u(int32_t* size);
/* Builds a decode table in caller memory from 16 code counts and their symbols. */
ZEQJ_API ZeqStatus zeqiDecodeHuffmanSpecInit_JPEG_8u(const uint8_t* bits, const uint8_t* values,
                                                    HuffmanDecodeSpec* spec);
/* Allocates and builds a decode table; the block is stored even when the build fails. */
ZEQJ_API ZeqStatus zeqiDecodeHuffmanSpecInitAlloc_JPEG_8u(const uint8_t* bits,
                                                         const uint8_t* values,
                                                         HuffmanDecodeSpec** spec);
/* Releases a decode table made by zeqiDecodeHuffmanSpecInitAlloc_JPEG_8u. */
ZEQJ_API ZeqStatus zeqiDecodeHuffmanSpecFree_JPEG_8u(HuffmanDecodeSpec* spec);

/* ---- JPEG Huffman baseline encoding --------------------------------- */

/* Encode bit-stream state: 1048 bytes (pending bits, progressive run and correction bits). */
typedef struct HuffmanEncodeState HuffmanEncodeState;

/* Writes the size of a HuffmanEncodeState (1048). */
ZEQJ_API ZeqStatus zeqiEncodeHuffmanStateGetBufSize_JPEG_8u(int32_t* size);
/* Resets an encode state in caller memory. */
ZEQJ_API ZeqStatus zeqiEncodeHuffmanStateInit_JPEG_8u(HuffmanEncodeState* state);
/* Allocates and resets an encode state. */
ZEQJ_API ZeqStatus zeqiEncodeHuffmanStateInitAlloc_JPEG_8u(HuffmanEncodeState** state);
/* Releases an encode state made by zeqiEncodeHuffmanStateInitAlloc_JPEG_8u. */
ZEQJ_API ZeqStatus zeqiEncodeHuffmanStateFree_JPEG_8u(HuffmanEncodeState* state);
/* Codes one natural-order block (DC difference, 63 AC), or pads and resets when flush != 0. */
ZEQJ_API ZeqStatus zeqiEncodeHuffman8x8_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst,
                                                     int32_t dstLen, int32_t* dstPos,
                                                     int16_t* lastDC,
                                                     const HuffmanEncodeSpec* dcTable,
                                                     const HuffmanEncodeSpec* acTable,
                                                     HuffmanEncodeState* state, int32_t flush);
/* Codes one value as category plus extra bits, or pads and resets when flush != 0. */
ZEQJ_API ZeqStatus zeqiEncodeHuffmanOne_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst,
                                                     int32_t dstLen, int32_t* dstPos,
                                                     const HuffmanEncodeSpec* table,
                                                     HuffmanEncodeState* state, int32_t flush);
/* Codes one block at a bit position, without state or bound (the caller guarantees room). */
ZEQJ_API ZeqStatus zeqiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst,
                                                            int32_t* dstBitPos, int16_t* lastDC,
                                                            const HuffmanEncodeSpec* dcTable,
                                                            const HuffmanEncodeSpec* acTable);

/* ---- JPEG Huffman baseline decoding --------------------------------- */

/* Decode bit-stream state: 24 bytes (read-ahead bits, progressive run, covered count). */
typedef struct HuffmanDecodeState HuffmanDecodeState;

/* Writes the size of a HuffmanDecodeState (24). */
ZEQJ_API ZeqStatus zeqiDecodeHuffmanStateGetBufSize_JPEG_8u(int32_t* size);
/* Resets a decode state in caller memory. */
ZEQJ_API ZeqStatus zeqiDecodeHuffmanStateInit_JPEG_8u(HuffmanDecodeState* state);
/* Allocates and resets a decode state. */
ZEQJ_API ZeqStatus zeqiDecodeHuffmanStateInitAlloc_JPEG_8u(HuffmanDecodeState** state);
/* Releases a decode state made by zeqiDecodeHuffmanStateInitAlloc_JPEG_8u. */
ZEQJ_API ZeqStatus zeqiDecodeHuffmanStateFree_JPEG_8u(HuffmanDecodeState* state);
/* Decodes one block into 64 natural-order coefficients; stops reading at a marker. */
ZEQJ_API ZeqStatus zeqiDecodeHuffman8x8_JPEG_1u16s_C1(const uint8_t* src, int32_t srcLen,
                                                     int32_t* srcPos, int16_t* dst,
                                                     int16_t* lastDC, int32_t* marker,
                                                     const HuffmanDecodeSpec* dcTable,
                                                     const HuffmanDecodeSpec* acTable,
                                                     HuffmanDecodeState* state);
/* Decodes one value (category plus extra bits; category 16 gives -32768). */
ZEQJ_API ZeqStatus zeqiDecodeHuffmanOne_JPEG_1u16s_C1(const uint8_t* src, int32_t srcLen,
                                                     int32_t* srcPos, int16_t* dst,
                                                     int32_t* marker,
                                                     const HuffmanDecodeSpec* table,
                                                     HuffmanDecodeState* state);
/* Decodes one block at a bit position with a caller-held 32-bit reservoir; ends only at a marker. */
ZEQJ_API ZeqStatus zeqiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(
    const uint8_t* src, int32_t* srcBitPos, int16_t* dst, int16_t* lastDC, int32_t* marker,
    uint32_t* reservoir, int32_t* reservoirCount, const HuffmanDecodeSpec* dcTable,
    const HuffmanDecodeSpec* acTable);

/* ---- JPEG progressive block coding ---------------------------------- */

/* DC first scan: codes the difference of src[0] >> Al to the last DC, or flushes. */
ZEQJ_API ZeqStatus zeqiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst,
                                                             int32_t dstLen, int32_t* dstPos,
                                                             int16_t* lastDC, int32_t Al,
                                                             const HuffmanEncodeSpec* dcTable,
                                                             HuffmanEncodeState* state,
                                                             int32_t flush);
/* DC refinement scan: writes bit Al of src[0], or flushes. */
ZEQJ_API ZeqStatus zeqiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst,
                                                              int32_t dstLen, int32_t* dstPos,
                                                              int32_t Al,
                                                              HuffmanEncodeState* state,
                                                              int32_t flush);
/* AC first scan of band Ss..Se with end-of-band runs across blocks; a flush codes the run. */
ZEQJ_API ZeqStatus zeqiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst,
                                                             int32_t dstLen, int32_t* dstPos,
                                                             int32_t Ss, int32_t Se, int32_t Al,
                                                             const HuffmanEncodeSpec* acTable,
                                                             HuffmanEncodeState* state,
                                                             int32_t flush);
/* AC refinement scan of band Ss..Se with buffered correction bits; a flush codes the run. */
ZEQJ_API ZeqStatus zeqiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst,
                                                              int32_t dstLen, int32_t* dstPos,
                                                              int32_t Ss, int32_t Se, int32_t Al,
                                                              const HuffmanEncodeSpec* acTable,
                                                              HuffmanEncodeState* state,
                                                              int32_t flush);
/* DC first scan: decodes the DC difference and stores the DC value << Al in dst[0]. */
ZEQJ_API ZeqStatus zeqiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(const uint8_t* src, int32_t srcLen,
                                                             int32_t* srcPos, int16_t* dst,
                                                             int16_t* lastDC, int32_t* marker,
                                                             int32_t Al,
                                                             const HuffmanDecodeSpec* dcTable,
                                                             HuffmanDecodeState* state);
/* DC refinement scan: reads one bit and sets bit Al of dst[0] when it is 1. */
ZEQJ_API ZeqStatus zeqiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(const uint8_t* src, int32_t srcLen,
                                                              int32_t* srcPos, int16_t* dst,
                                                              int32_t* marker, int32_t Al,
                                                              HuffmanDecodeState* state);
/* AC first scan of band Ss..Se into the caller's block; a block inside an end-of-band run stays as it is. */
ZEQJ_API ZeqStatus zeqiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(const uint8_t* src, int32_t srcLen,
                                                             int32_t* srcPos, int16_t* dst,
                                                             int32_t* marker, int32_t Ss,
                                                             int32_t Se, int32_t Al,
                                                             const HuffmanDecodeSpec* acTable,
                                                             HuffmanDecodeState* state);
/* AC refinement scan of band Ss..Se: new coefficients of +-(1 << Al) and correction bits. */
ZEQJ_API ZeqStatus zeqiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(const uint8_t* src, int32_t srcLen,
                                                              int32_t* srcPos, int16_t* dst,
                                                              int32_t* marker, int32_t Ss,
                                                              int32_t Se, int32_t Al,
                                                              const HuffmanDecodeSpec* acTable,
                                                              HuffmanDecodeState* state);

/* ---- JPEG statistics for optimal tables ----------------------------- */

/* Adds the DC and AC symbols one sequential block codes to 257-entry counters. */
ZEQJ_API ZeqStatus zeqiGetHuffmanStatistics8x8_JPEG_16s_C1(const int16_t* src,
                                                          int32_t* dcStatistics,
                                                          int32_t* acStatistics, int16_t* lastDC);
/* Adds the category symbol of one lone value. */
ZEQJ_API ZeqStatus zeqiGetHuffmanStatisticsOne_JPEG_16s_C1(const int16_t* src,
                                                          int32_t* statistics);
/* Adds the symbol of a DC first scan (difference of src[0] >> Al). */
ZEQJ_API ZeqStatus zeqiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(const int16_t* src,
                                                                  int32_t* dcStatistics,
                                                                  int16_t* lastDC, int32_t Al);
/* Adds the symbols of an AC first scan of band Ss..Se (run kept in state; flush ends it). */
ZEQJ_API ZeqStatus zeqiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(const int16_t* src,
                                                                  int32_t* acStatistics,
                                                                  int32_t Ss, int32_t Se,
                                                                  int32_t Al,
                                                                  HuffmanEncodeState* state,
                                                                  int32_t flush);
/* Adds the symbols of an AC refinement scan of band Ss..Se (run kept in state; flush ends it). */
ZEQJ_API ZeqStatus zeqiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(const int16_t* src,
                                                                   int32_t* acStatistics,
                                                                   int32_t Ss, int32_t Se,
                                                                   int32_t Al,
                                                                   HuffmanEncodeState* state,
                                                                   int32_t flush);

/* ---- JPEG lossless prediction and row coding ------------------------ */

/* Differences of a scan's first row: sample 0 against 2^(P - Pt - 1), the rest against the left. */
ZEQJ_API ZeqStatus zeqiDiffPredFirstRow_JPEG_16s_C1(const int16_t* src, int16_t* dst,
                                                    int32_t width, int32_t P, int32_t Pt);
/* Differences of a later row: sample 0 against the one above, the rest by predictor 1..7. */
ZEQJ_API ZeqStatus zeqiDiffPredRow_JPEG_16s_C1(const int16_t* src, const int16_t* prevRow,
                                               int16_t* dst, int32_t width, int32_t predictor);
/* Samples of a scan's first row from its differences. */
ZEQJ_API ZeqStatus zeqiReconstructPredFirstRow_JPEG_16s_C1(const int16_t* src, int16_t* dst,
                                                           int32_t width, int32_t P, int32_t Pt);
/* Samples of a later row from its differences and the reconstructed row above. */
ZEQJ_API ZeqStatus zeqiReconstructPredRow_JPEG_16s_C1(const int16_t* src, const int16_t* prevRow,
                                                      int16_t* dst, int32_t width,
                                                      int32_t predictor);
/* Codes one row of differences of 1..4 components (more are taken as 4), interleaved; or flushes. */
ZEQJ_API ZeqStatus zeqiEncodeHuffmanRow_JPEG_16s1u_P4C1(const int16_t* const srcPlanes[4],
                                                       int32_t width, int32_t nComps, uint8_t* dst,
                                                       int32_t dstLen, int32_t* dstPos,
                                                       const HuffmanEncodeSpec* const tables[4],
                                                       HuffmanEncodeState* state, int32_t flush);
/* Decodes one interleaved row of differences into 1..4 component rows. */
ZEQJ_API ZeqStatus zeqiDecodeHuffmanRow_JPEG_1u16s_C1P4(const uint8_t* src, int32_t srcLen,
                                                       int32_t* srcPos,
                                                       int16_t* const dstPlanes[4], int32_t width,
                                                       int32_t nComps, int32_t* marker,
                                                       const HuffmanDecodeSpec* const tables[4],
                                                       HuffmanDecodeState* state);

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

/* Code-block encoder state, made by zeqiEncodeInitAlloc_JPEG2K and opaque to callers. */
typedef struct CodeBlockEncodeState CodeBlockEncodeState;

/* Allocates an encoder state for code blocks of up to codeBlockMaxSize samples. */
ZEQJ_API ZeqStatus zeqiEncodeInitAlloc_JPEG2K(CodeBlockEncodeState** pState,
                                              ZeqiSize codeBlockMaxSize);
/* Frees an encoder state and everything it holds. */
ZEQJ_API ZeqStatus zeqiEncodeFree_JPEG2K(CodeBlockEncodeState* pState);
/* Models one sign-magnitude code block: all passes, decisions and per-pass distortion. */
ZEQJ_API ZeqStatus zeqiEncodeLoadCodeBlock_JPEG2K_32s_C1R(
    const int32_t* pSrc, int32_t srcStep, ZeqiSize codeBlockSize, CodeBlockEncodeState* pState,
    int32_t subband, int32_t magnBitDepth, int32_t mqTermType, int32_t reserved,
    int32_t codeStyleFlags, int32_t* pSfBits, int32_t* pNOfPasses, int32_t* pNOfTermPasses);
/* Writes the next coded bytes of the loaded block (up to *pDstLen) and fixes pass rates. */
ZEQJ_API ZeqStatus zeqiEncodeStoreBits_JPEG2K_1u(uint8_t* pDst, int32_t* pDstLen,
                                                 CodeBlockEncodeState* pState,
                                                 int32_t* pIsNotFinished);
/* Bytes needed to decode the passes up to passIndex (valid once they are stored). */
ZEQJ_API ZeqStatus zeqiEncodeGetRate_JPEG2K(const CodeBlockEncodeState* pState,
                                            int32_t passIndex, uint32_t* pRate);
/* Distortion reduction of the passes up to passIndex. */
ZEQJ_API ZeqStatus zeqiEncodeGetDist_JPEG2K(const CodeBlockEncodeState* pState,
                                            int32_t passIndex, double* pDist);
/* Byte length of one terminated segment. */
ZEQJ_API ZeqStatus zeqiEncodeGetTermPassLen_JPEG2K(const CodeBlockEncodeState* pState,
                                                   int32_t segmentIndex, int32_t* pLen);

/* ---- JPEG 2000 code-block decoder ----------------------------------- */

/* Progressive decoder state: caller memory of the size the GetBufSize or
 * GetStateSize functions report, or made by zeqiDecodeCBProgrInitAlloc_JPEG2K. */
typedef struct ProgressiveDecodeState ProgressiveDecodeState;

/* Size in bytes of the work buffer of the one-shot decoder. */
ZEQJ_API ZeqStatus zeqiDecodeGetBufSize_JPEG2K(ZeqiSize codeBlockSize, int32_t* pSize);
/* Decodes a whole code block from its terminated segments into sign-magnitude samples. */
ZEQJ_API ZeqStatus zeqiDecodeCodeBlock_JPEG2K_1u32s_C1R(
    const uint8_t* pSrc, int32_t* pDst, int32_t dstStep, ZeqiSize codeBlockSize,
    int32_t subband, int32_t sfBits, int32_t nOfPasses, const int32_t* pTermPassLen,
    int32_t nOfTermPasses, int32_t codeStyleFlags, int32_t* pErrorBitPlane,
    ProgressiveDecodeState* pState);

/* ---- JPEG 2000 progressive code-block decoder ----------------------- */

/* Size in bytes of a progressive decoder state for blocks of up to codeBlockMaxSize. */
ZEQJ_API ZeqStatus zeqiDecodeCBProgrGetStateSize_JPEG2K(ZeqiSize codeBlockMaxSize,
                                                        int32_t* pStateSize);
/* Prepares a caller-allocated state buffer. */
ZEQJ_API ZeqStatus zeqiDecodeCBProgrInit_JPEG2K(ProgressiveDecodeState* pState);
/* Allocates and prepares a state for blocks of up to codeBlockMaxSize. */
ZEQJ_API ZeqStatus zeqiDecodeCBProgrInitAlloc_JPEG2K(ProgressiveDecodeState** pState,
                                                     ZeqiSize codeBlockMaxSize);
/* Frees a state made by zeqiDecodeCBProgrInitAlloc_JPEG2K. */
ZEQJ_API ZeqStatus zeqiDecodeCBProgrFree_JPEG2K(ProgressiveDecodeState* pState);
/* Attaches a destination code block and starts decoding at plane sfBits - 1. */
ZEQJ_API ZeqStatus zeqiDecodeCBProgrAttach_JPEG2K_32s_C1R(int32_t* pDst, int32_t dstStep,
                                                          ZeqiSize codeBlockSize,
                                                          ProgressiveDecodeState* pState,
                                                          int32_t subband, int32_t sfBits,
                                                          int32_t codeStyleFlags);
/* Sets the number of passes still to decode. */
ZEQJ_API ZeqStatus zeqiDecodeCBProgrSetPassCounter_JPEG2K(int32_t nOfPasses,
                                                          ProgressiveDecodeState* pState);
/* Reads the number of passes still to decode. */
ZEQJ_API ZeqStatus zeqiDecodeCBProgrGetPassCounter_JPEG2K(const ProgressiveDecodeState* pState,
                                                          int32_t* pNOfPasses);
/* Reads the current bit plane (-1 when every plane is done). */
ZEQJ_API ZeqStatus zeqiDecodeCBProgrGetCurBitPlaneNum_JPEG2K(
    const ProgressiveDecodeState* pState, int32_t* pBitPlaneNum);
/* Decodes the passes of one terminated segment (one pass with flag 4). */
ZEQJ_API ZeqStatus zeqiDecodeCBProgrStep_JPEG2K(const uint8_t* pSrc, int32_t srcLen,
                                                ProgressiveDecodeState* pState);

/* ---- HD Photo core transform ---------------------------------------- */

/* Forward photo core transform of every 4x4 block of a region (width and height multiples of 4). */
ZEQJ_API ZeqStatus zeqiPCTFwd_HDP_32s_C1IR(int32_t* srcDst, int32_t srcDstStep, ZeqiSize roiSize);
/* Forward photo core transform of the 2x2 blocks of an 8x8 area. */
ZEQJ_API ZeqStatus zeqiPCTFwd8x8_HDP_32s_C1IR(int32_t* srcDst, int32_t srcDstStep);
/* Forward photo core transform of the 2x4 blocks of an area 8 wide and 16 high. */
ZEQJ_API ZeqStatus zeqiPCTFwd8x16_HDP_32s_C1IR(int32_t* srcDst, int32_t srcDstStep);
/* Forward photo core transform of the 4x4 blocks of a 16x16 area. */
ZEQJ_API ZeqStatus zeqiPCTFwd16x16_HDP_32s_C1IR(int32_t* srcDst, int32_t srcDstStep);
/* Inverse photo core transform of every 4x4 block of a region (width and height multiples of 4). */
ZEQJ_API ZeqStatus zeqiPCTInv_HDP_32s_C1IR(int32_t* srcDst, int32_t srcDstStep, ZeqiSize roiSize);
/* Inverse photo core transform of the 2x2 blocks of an 8x8 area. */
ZEQJ_API ZeqStatus zeqiPCTInv8x8_HDP_32s_C1IR(int32_t* srcDst, int32_t srcDstStep);
/* Inverse photo core transform of the 2x4 blocks of an area 8 wide and 16 high. */
ZEQJ_API ZeqStatus zeqiPCTInv8x16_HDP_32s_C1IR(int32_t* srcDst, int32_t srcDstStep);
/* Inverse photo core transform of the 4x4 blocks of a 16x16 area. */
ZEQJ_API ZeqStatus zeqiPCTInv16x16_HDP_32s_C1IR(int32_t* srcDst, int32_t srcDstStep);

/* ---- TIFF row utilities --------------------------------------------- */

/* PackBits-codes srcLength bytes, appending whole packets at dst[*dstPosition] within
 * dstCapacity bytes; *dstPosition is advanced, also when StatusRowBufferExhausted stops it. */
ZEQJ_API ZeqStatus zeqiPackBitsRow_TIFF_8u_C1(const uint8_t* src, int32_t srcLength, uint8_t* dst,
                                              int32_t* dstPosition, int32_t dstCapacity);
/* Decodes PackBits packets from src[*srcPosition] until dstLength bytes are out; *srcPosition
 * is advanced past the packets read, also when StatusRowBufferExhausted stops it. */
ZEQJ_API ZeqStatus zeqiUnpackBitsRow_TIFF_8u_C1(const uint8_t* src, int32_t* srcPosition,
                                                int32_t srcLength, uint8_t* dst,
                                                int32_t dstLength);
/* Splits little-endian 16-bit samples into high bytes (dst[0]) and low bytes (dst[1]). */
ZEQJ_API ZeqStatus zeqiSplitRow_TIFF_16u8u_C1(const uint8_t* src, uint8_t* const dst[2],
                                              int32_t length);
/* Joins high bytes (src[0]) and low bytes (src[1]) into little-endian 16-bit samples. */
ZEQJ_API ZeqStatus zeqiJoinRow_TIFF_8u16u_C1(const uint8_t* const src[2], uint8_t* dst,
                                             int32_t length);

/* ---- Texture block encoding ----------------------------------------- */

/* Encodes an RGBA image (alpha ignored) into ceil(w/4) x ceil(h/4) DXT1 blocks of 8 bytes. */
ZEQJ_API ZeqStatus zeqiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R(const uint8_t* src,
                                                                int32_t srcStep, ZeqiSize srcSize,
                                                                uint8_t* dst);
/* Encodes an RGBA image into DXT3 blocks of 16 bytes (4-bit alpha). */
ZEQJ_API ZeqStatus zeqiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R(const uint8_t* src,
                                                                int32_t srcStep, ZeqiSize srcSize,
                                                                uint8_t* dst);
/* Encodes an RGBA image into DXT5 blocks of 16 bytes (interpolated alpha). */
ZEQJ_API ZeqStatus zeqiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R(const uint8_t* src,
                                                                int32_t srcStep, ZeqiSize srcSize,
                                                                uint8_t* dst);
/* Encodes a Y, Co, Cg image into DXT5 blocks: Y as alpha, scaled Co/Cg as colour, scale in blue. */
ZEQJ_API ZeqStatus zeqiTextureEncodeBlockFromYCoCg_DXT5_8u_C3C1R(const uint8_t* src,
                                                                 int32_t srcStep, ZeqiSize srcSize,
                                                                 uint8_t* dst);

/* ---- Texture block decoding ----------------------------------------- */

/* Decodes DXT1 blocks to RGBA (three-colour mode's fourth entry is opaque white). */
ZEQJ_API ZeqStatus zeqiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R(const uint8_t* src, uint8_t* dst,
                                                              int32_t dstStep, ZeqiSize dstSize);
/* Decodes DXT3 blocks to RGBA (alpha nibble times 16). */
ZEQJ_API ZeqStatus zeqiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R(const uint8_t* src, uint8_t* dst,
                                                              int32_t dstStep, ZeqiSize dstSize);
/* Decodes DXT5 blocks to RGBA. */
ZEQJ_API ZeqStatus zeqiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R(const uint8_t* src, uint8_t* dst,
                                                              int32_t dstStep, ZeqiSize dstSize);
/* Decodes BC7 blocks (all eight modes) to RGBA; a first byte of 0 gives transparent black. */
ZEQJ_API ZeqStatus zeqiTextureDecodeBlockToRGBA_BC7_8u_C1C4R(const uint8_t* src, uint8_t* dst,
                                                             int32_t dstStep, ZeqiSize dstSize);

#ifdef __cplusplus
}
#endif

#endif /* ZEQJ_H */
