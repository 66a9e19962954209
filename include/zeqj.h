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

/* ---- JPEG 2000 reversible 5/3 wavelet ------------------------------- */

/* ---- JPEG 2000 irreversible 9/7 wavelet ----------------------------- */

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

/* ---- TIFF row utilities --------------------------------------------- */

/* ---- Texture block encoding ----------------------------------------- */

/* ---- Texture block decoding ----------------------------------------- */

#ifdef __cplusplus
}
#endif

#endif /* ZEQJ_H */
