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

/* ---- JPEG chroma sampling ------------------------------------------- */

/* ---- JPEG MCU-level fused conversions ------------------------------- */

/* ---- JPEG Huffman table specifications ------------------------------ */

/* ---- JPEG Huffman baseline encoding --------------------------------- */

/* ---- JPEG Huffman baseline decoding --------------------------------- */

/* ---- JPEG progressive block coding ---------------------------------- */

/* ---- JPEG statistics for optimal tables ----------------------------- */

/* ---- JPEG lossless prediction and row coding ------------------------ */

/* ---- JPEG 2000 component transforms --------------------------------- */

/* ---- JPEG 2000 reversible 5/3 wavelet ------------------------------- */

/* ---- JPEG 2000 irreversible 9/7 wavelet ----------------------------- */

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
