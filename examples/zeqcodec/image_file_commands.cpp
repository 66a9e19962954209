#include "zeqcodec/image_file_commands.h"

#include <vector>

#include "zeqcodec/cli.h"

namespace zeqcodec {

int runDecodeToNetpbm(const std::string& command, const Arguments& args, const std::string& usage,
                      InMemoryDecoder decode) {
    ParsedArguments parsed;
    std::string error;
    if (!parsed.parse(args, {}, {}, &error)) return reportError(command, error);
    if (parsed.positional().size() != 2) return reportError(command, usage);
    const std::string& in = parsed.positional()[0];
    std::vector<uint8_t> bytes;
    zeq::container::Image image;
    if (!zeq::container::readFile(in, bytes, &error)) return reportError(command, error);
    if (!decode(bytes.data(), bytes.size(), image, &error))
        return reportError(command, in + ": " + error);
    if (!zeq::container::writeNetpbm(parsed.positional()[1], image, &error))
        return reportError(command, error);
    return 0;
}

}  // namespace zeqcodec
