// Fixed-order 16- and 32-bit fields in file headers, read and written a byte
// at a time so any alignment and any host order work.
#ifndef ZEQ_CONTAINER_BYTE_ORDER_H
#define ZEQ_CONTAINER_BYTE_ORDER_H

#include <cstdint>
#include <vector>

namespace zeq::container {

inline uint16_t loadLe16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | p[1] << 8); }
inline uint32_t loadLe32(const uint8_t* p) {
    return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}
inline uint16_t loadBe16(const uint8_t* p) { return static_cast<uint16_t>(p[0] << 8 | p[1]); }
inline uint32_t loadBe32(const uint8_t* p) {
    return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | uint32_t{p[3]};
}

inline void storeLe16(uint8_t* p, uint16_t v) {
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
}
inline void storeLe32(uint8_t* p, uint32_t v) {
    for (int i = 0; i < 4; ++i) p[i] = static_cast<uint8_t>(v >> (8 * i));
}

inline void appendLe16(std::vector<uint8_t>& out, uint16_t v) {
    out.push_back(static_cast<uint8_t>(v));
    out.push_back(static_cast<uint8_t>(v >> 8));
}
inline void appendLe32(std::vector<uint8_t>& out, uint32_t v) {
    appendLe16(out, static_cast<uint16_t>(v));
    appendLe16(out, static_cast<uint16_t>(v >> 16));
}

}  // namespace zeq::container

#endif
