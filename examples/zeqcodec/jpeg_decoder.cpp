#include "zeqcodec/jpeg_decoder.h"

namespace zeqcodec {

bool decodeJpeg(const uint8_t*, size_t, const JpegDecodeOptions&, zeq::container::Image&,
                std::string* error) {
    *error = "the JPEG decoder is not built yet";
    return false;
}

}  // namespace zeqcodec
