// Exported Huffman table functions: record sizes, building in caller memory or
// in an allocated block, release, and optimal tables from statistics.
#include "core/arg_checks.h"
#include "core/memory.h"
#include "jpeg/entropy/huffman_tables.h"
#include "jpeg/entropy/record_allocation.h"

using namespace zeq;

namespace {

ZeqStatus reportSize(int32_t* size, int32_t bytes) {
    *size = bytes;
    return StatusOk;
}

}  // namespace

extern "C" ZeqStatus zeqiEncodeHuffmanSpecGetBufSize_JPEG_8u(int32_t* size) {
    if (ZeqStatus s = ArgChecks().pointer(size).status()) return s;
    return reportSize(size, kEncodeSpecBytes);
}

extern "C" ZeqStatus zeqiEncodeHuffmanSpecInit_JPEG_8u(const uint8_t* bits, const uint8_t* values,
                                                       HuffmanEncodeSpec* spec) {
    if (ZeqStatus s = ArgChecks().pointers(bits, values, spec).status()) return s;
    return buildEncodeSpec(bits, values, spec);
}

// The block is stored also when the build fails: the caller then owns a
// partly built record and frees it.
extern "C" ZeqStatus zeqiEncodeHuffmanSpecInitAlloc_JPEG_8u(const uint8_t* bits,
                                                            const uint8_t* values,
                                                            HuffmanEncodeSpec** spec) {
    if (ZeqStatus s = ArgChecks().pointers(bits, values, spec).status()) return s;
    return allocateRecord(spec, kEncodeSpecBytes, [&](HuffmanEncodeSpec* block) {
        return buildEncodeSpec(bits, values, block);
    });
}

extern "C" ZeqStatus zeqiEncodeHuffmanSpecFree_JPEG_8u(HuffmanEncodeSpec* spec) {
    if (ZeqStatus s = ArgChecks().pointer(spec).status()) return s;
    releaseBuffer(spec);
    return StatusOk;
}

extern "C" ZeqStatus zeqiEncodeHuffmanRawTableInit_JPEG_8u(const int32_t* statistics, uint8_t* bits,
                                                           uint8_t* values) {
    if (ZeqStatus s = ArgChecks().pointers(statistics, bits, values).status()) return s;
    return deriveOptimalTable(statistics, bits, values);
}

extern "C" ZeqStatus zeqiDecodeHuffmanSpecGetBufSize_JPEG_8u(int32_t* size) {
    if (ZeqStatus s = ArgChecks().pointer(size).status()) return s;
    return reportSize(size, kDecodeSpecBytes);
}

extern "C" ZeqStatus zeqiDecodeHuffmanSpecInit_JPEG_8u(const uint8_t* bits, const uint8_t* values,
                                                       HuffmanDecodeSpec* spec) {
    if (ZeqStatus s = ArgChecks().pointers(bits, values, spec).status()) return s;
    return buildDecodeSpec(bits, values, spec);
}

extern "C" ZeqStatus zeqiDecodeHuffmanSpecInitAlloc_JPEG_8u(const uint8_t* bits,
                                                            const uint8_t* values,
                                                            HuffmanDecodeSpec** spec) {
    if (ZeqStatus s = ArgChecks().pointers(bits, values, spec).status()) return s;
    return allocateRecord(spec, kDecodeSpecBytes, [&](HuffmanDecodeSpec* block) {
        return buildDecodeSpec(bits, values, block);
    });
}

extern "C" ZeqStatus zeqiDecodeHuffmanSpecFree_JPEG_8u(HuffmanDecodeSpec* spec) {
    if (ZeqStatus s = ArgChecks().pointer(spec).status()) return s;
    releaseBuffer(spec);
    return StatusOk;
}
