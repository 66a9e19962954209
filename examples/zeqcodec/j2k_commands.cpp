#include "zeqcodec/j2k_commands.h"

#include <cerrno>
#include <cstdlib>

#include "zeqcodec/cli.h"
#include "zeqcodec/j2k_codec.h"

namespace zeqcodec {

int runJ2kEncode(const Arguments& args) {
    const std::string name = "j2k-encode";
    ParsedArguments parsed;
    std::string error;
    if (!parsed.parse(args, {"--lossless", "--bypass", "--terminate-all", "--causal", "--segmark"},
                      {"--rate", "--levels"}, &error))
        return reportError(name, error);
    if (parsed.positional().size() != 2)
        return reportError(name, "wants an input image and an output file");
    J2kEncodeOptions options;
    if (!parsed.integer("--levels", 5, 0, 8, options.levels, &error))
        return reportError(name, error);
    if (parsed.has("--rate")) {
        if (parsed.has("--lossless"))
            return reportError(name, "--lossless and --rate exclude each other");
        const std::string text = parsed.value("--rate", "");
        char* end = nullptr;
        errno = 0;
        const double rate = std::strtod(text.c_str(), &end);
        if (text.empty() || *end != '\0' || errno != 0 || !(rate > 0) || rate > 64)
            return reportError(
                name, "--rate wants bits per pixel above 0 and up to 64, not '" + text + "'");
        options.lossless = false;
        options.bitsPerPixel = rate;
    }
    options.bypass = parsed.has("--bypass");
    options.terminateAll = parsed.has("--terminate-all");
    options.causal = parsed.has("--causal");
    options.segmentationSymbols = parsed.has("--segmark");
    zeq::container::Image image;
    if (!zeq::container::readNetpbm(parsed.positional()[0], image, &error))
        return reportError(name, error);
    std::vector<uint8_t> codestream;
    if (!encodeJ2k(image, options, codestream, &error)) return reportError(name, error);
    if (!zeq::container::writeFile(parsed.positional()[1], codestream, &error))
        return reportError(name, error);
    return 0;
}

int runJ2kDecode(const Arguments& args) {
    const std::string name = "j2k-decode";
    ParsedArguments parsed;
    std::string error;
    if (!parsed.parse(args, {}, {}, &error)) return reportError(name, error);
    if (parsed.positional().size() != 2)
        return reportError(name, "wants an input codestream and an output image");
    std::vector<uint8_t> bytes;
    if (!zeq::container::readFile(parsed.positional()[0], bytes, &error))
        return reportError(name, error);
    zeq::container::Image image;
    if (!decodeJ2k(bytes.data(), bytes.size(), image, &error)) return reportError(name, error);
    if (!zeq::container::writeNetpbm(parsed.positional()[1], image, &error))
        return reportError(name, error);
    return 0;
}

}  // namespace zeqcodec
