// Whole-row library calls split into pieces the library runs on the calling
// thread: it starts threads of its own only above 8192 pixels per call. The
// codecs use this when they keep one thread (idle library threads spinning
// between MCU rows would compete with the entropy coder) or split the work
// across threads themselves.
#ifndef ZEQCODEC_SERIAL_PIECES_H
#define ZEQCODEC_SERIAL_PIECES_H

#include <algorithm>
#include <cstdint>

namespace zeqcodec {

constexpr int32_t LibrarySerialPixels = 8192;

// Calls piece(x, n) for consecutive pieces [x, x + n) covering [0, width);
// stops at and returns the first false.
template <typename Piece>
bool forEachSerialPiece(int32_t width, Piece&& piece) {
    for (int32_t x = 0; x < width; x += LibrarySerialPixels)
        if (!piece(x, std::min(LibrarySerialPixels, width - x))) return false;
    return true;
}

}  // namespace zeqcodec

#endif
