#include "zeqcodec/jpeg_encoder.h"

namespace zeqcodec {

bool encodeJpeg(const zeq::container::Image&, const JpegEncodeOptions&, std::vector<uint8_t>&,
                std::string* error) {
    *error = "the JPEG encoder is not built yet";
    return false;
}

}  // namespace zeqcodec
