// The shape shared by zeqcodec's decode commands: read a whole file, decode
// it in memory, write the image as Netpbm, and report failures uniformly.
#ifndef ZEQCODEC_IMAGE_FILE_COMMANDS_H
#define ZEQCODEC_IMAGE_FILE_COMMANDS_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "container/netpbm.h"
#include "zeqcodec/commands.h"

namespace zeqcodec {

using InMemoryDecoder = bool (*)(const uint8_t* data, size_t size, zeq::container::Image& image,
                                 std::string* error);

// Runs `command IN OUT`: decodes IN with decode and writes OUT as PGM/PPM.
// usage is the message for wrong arguments. Returns the exit status.
int runDecodeToNetpbm(const std::string& command, const Arguments& args, const std::string& usage,
                      InMemoryDecoder decode);

}  // namespace zeqcodec

#endif
