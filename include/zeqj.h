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
