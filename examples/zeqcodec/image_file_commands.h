// The shapes shared by zeqcodec's file commands: read a Netpbm image, encode
// it in memory and write the file; or read a whole file, decode it in memory
// and write the image as Netpbm. Failures are reported uniformly.
#ifndef ZEQCODEC_IMAGE_FILE_COMMANDS_H
#define ZEQCODEC_IMAGE_FILE_COMMANDS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "container/netpbm.h"
#include "zeqcodec/cli.h"
#include "zeqcodec/commands.h"

namespace zeqcodec {

using InMemoryDecoder = bool (*)(const uint8_t* data, size_t size, zeq::container::Image& image,
                                 std::string* error);

// Encodes an image into file bytes, reading its options from the parsed
// command line; false with *error set on refusal.
using NetpbmEncoder =
    std::function<bool(const zeq::container::Image& image, const ParsedArguments& options,
                       std::vector<uint8_t>& file, std::string* error)>;

// Runs `command IN OUT [options]`: reads IN as PGM/PPM, encodes it and
// writes OUT. valuedOptions are the options taking a value.
int runEncodeFromNetpbm(const std::string& command, const Arguments& args,
                        const std::vector<std::string>& valuedOptions, const std::string& usage,
                        const NetpbmEncoder& encode);

// Runs `command IN OUT`: decodes IN with decode and writes OUT as PGM/PPM.
// usage is the message for wrong arguments. Returns the exit status.
int runDecodeToNetpbm(const std::string& command, const Arguments& args, const std::string& usage,
                      InMemoryDecoder decode);

}  // namespace zeqcodec

#endif
