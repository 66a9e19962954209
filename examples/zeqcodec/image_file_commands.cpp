#include "zeqcodec/image_file_commands.h"

#include <vector>

namespace zeqcodec {

int runEncodeFromNetpbm(const std::string& command, const Arguments& args,
                        const std::vector<std::string>& valuedOptions, const std::string& usage,
                        const NetpbmEncoder& encode) {
    ParsedArguments parsed;
    std::string error;
    if (!parsed.parse(args, {}, valuedOptions, &error)) return reportError(command, error);
    if (parsed.positional().size() != 2) return reportError(command, usage);
    zeq::container::Image image;
    std::vector<uint8_t> file;
    if (!zeq::container::readNetpbm(parsed.positional()[0], image, &error) ||
        !encode(image, parsed, file, &error) ||
        !zeq::container::writeFile(parsed.positional()[1], file, &error))
        return reportError(command, error);
    return 0;
}

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
