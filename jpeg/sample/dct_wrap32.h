// Two's-complement 32-bit arithmetic for the scalar DCT engines. The integer
// transforms are defined on signed 32-bit values that wrap on overflow (large
// 16-bit inputs do overflow), so the references compute modulo 2^32 on
// unsigned storage and shift arithmetically, and the vector engines are held
// to exactly that.
#ifndef ZEQ_JPEG_SAMPLE_DCT_WRAP32_H
#define ZEQ_JPEG_SAMPLE_DCT_WRAP32_H

#include <cstdint>

namespace zeq {

class Wrap32 {
public:
    constexpr Wrap32() = default;
    constexpr Wrap32(int32_t v) : bits_(static_cast<uint32_t>(v)) {}  // NOLINT: implicit on purpose

    constexpr int32_t value() const { return static_cast<int32_t>(bits_); }
    // Arithmetic shift right.
    constexpr Wrap32 sar(int n) const { return Wrap32(value() >> n); }
    // The low 16 bits as a signed value.
    constexpr int16_t low16() const { return static_cast<int16_t>(bits_ & 0xFFFFu); }

    friend constexpr Wrap32 operator+(Wrap32 a, Wrap32 b) { return fromBits(a.bits_ + b.bits_); }
    friend constexpr Wrap32 operator-(Wrap32 a, Wrap32 b) { return fromBits(a.bits_ - b.bits_); }
    friend constexpr Wrap32 operator*(Wrap32 a, Wrap32 b) { return fromBits(a.bits_ * b.bits_); }

private:
    static constexpr Wrap32 fromBits(uint32_t bits) {
        Wrap32 w;
        w.bits_ = bits;
        return w;
    }
    uint32_t bits_ = 0;
};

}  // namespace zeq

#endif  // ZEQ_JPEG_SAMPLE_DCT_WRAP32_H
