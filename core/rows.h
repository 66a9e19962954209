// Row addressing and element access for region functions. Steps are byte
// counts and need not be multiples of the element size, so rows are handled
// as byte pointers and elements are moved with memcpy: an odd step on a 16-bit
// image is well defined (and compiles to plain loads and stores).
#ifndef ZEQ_CORE_ROWS_H
#define ZEQ_CORE_ROWS_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zeq {

inline const uint8_t* rowAt(const void* base, int32_t step, int32_t y) {
    return static_cast<const uint8_t*>(base) + static_cast<std::ptrdiff_t>(step) * y;
}
inline uint8_t* rowAt(void* base, int32_t step, int32_t y) {
    return static_cast<uint8_t*>(base) + static_cast<std::ptrdiff_t>(step) * y;
}

template <class T>
inline T loadElement(const uint8_t* row, std::ptrdiff_t index) {
    T v;
    std::memcpy(&v, row + index * static_cast<std::ptrdiff_t>(sizeof(T)), sizeof(T));
    return v;
}
template <class T>
inline void storeElement(uint8_t* row, std::ptrdiff_t index, T v) {
    std::memcpy(row + index * static_cast<std::ptrdiff_t>(sizeof(T)), &v, sizeof(T));
}

}  // namespace zeq

#endif  // ZEQ_CORE_ROWS_H
