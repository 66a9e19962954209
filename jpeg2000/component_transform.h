// JPEG 2000 component transforms on three components: the reversible RCT
// and the irreversible ICT (14-bit fixed point on 16s and 32s, single
// precision on 32f). Row kernels over byte pointers: planar rows (three
// planes, in place allowed) and pixel-interleaved rows (three elements per
// pixel). 16s members compute in 32 bits and keep the low 16 bits; 32s
// members wrap; nothing is clamped. The SSE2 kernels give the bytes of their
// scalar twins.
#ifndef ZEQ_JPEG2000_COMPONENT_TRANSFORM_H
#define ZEQ_JPEG2000_COMPONENT_TRANSFORM_H

#include <cstdint>

namespace zeq::ct {

enum class Op { RctForward, RctInverse, IctForward, IctInverse };

// Planes to planes (in place when src and dst are the same planes).
template <Op op, class T>
void planesRow(const uint8_t* const src[3], uint8_t* const dst[3], int32_t width);
template <Op op, class T>
void planesRowScalar(const uint8_t* const src[3], uint8_t* const dst[3], int32_t width);
// Interleaved pixels to planes.
template <Op op, class T>
void pixelsToPlanesRow(const uint8_t* src, uint8_t* const dst[3], int32_t width);
template <Op op, class T>
void pixelsToPlanesRowScalar(const uint8_t* src, uint8_t* const dst[3], int32_t width);
// Planes to interleaved pixels.
template <Op op, class T>
void planesToPixelsRow(const uint8_t* const src[3], uint8_t* dst, int32_t width);
template <Op op, class T>
void planesToPixelsRowScalar(const uint8_t* const src[3], uint8_t* dst, int32_t width);

// Every (op, type, layout) the exported functions use.
#define ZEQ_CT_FOR_EACH_PLANAR(X)                                                      \
    X(Op::RctForward, int16_t)                                                         \
    X(Op::RctForward, int32_t)                                                         \
    X(Op::RctInverse, int16_t)                                                         \
    X(Op::RctInverse, int32_t) X(Op::IctForward, int16_t) X(Op::IctForward, int32_t)   \
        X(Op::IctForward, float) X(Op::IctInverse, int16_t) X(Op::IctInverse, int32_t) \
            X(Op::IctInverse, float)
#define ZEQ_CT_FOR_EACH_TO_PLANES(X) \
    X(Op::RctForward, int16_t) X(Op::RctForward, int32_t) X(Op::IctForward, float)
#define ZEQ_CT_FOR_EACH_TO_PIXELS(X) \
    X(Op::RctInverse, int16_t) X(Op::RctInverse, int32_t) X(Op::IctInverse, float)

}  // namespace zeq::ct

#endif  // ZEQ_JPEG2000_COMPONENT_TRANSFORM_H
