// zeqcodec jpeg-encode IN.ppm|IN.pgm OUT.jpg [options]
#include "container/netpbm.h"
#include "zeqcodec/cli.h"
#include "zeqcodec/jpeg_encoder.h"

namespace zeqcodec {

int runJpegEncode(const Arguments& args) {
    const std::string name = "jpeg-encode";
    ParsedArguments parsed;
    std::string error;
    if (!parsed.parse(args, {"--progressive", "--optimize", "--lossless"},
                      {"--quality", "--sampling", "--restart", "--predictor", "--threads"}, &error))
        return reportError(name, error);
    if (parsed.positional().size() != 2)
        return reportError(name, "expected an input image and an output file, got " +
                                     std::to_string(parsed.positional().size()) + " names");
    JpegEncodeOptions options;
    options.progressive = parsed.has("--progressive");
    options.optimize = parsed.has("--optimize");
    options.lossless = parsed.has("--lossless");
    options.progress = true;
    if (!parsed.integer("--quality", 75, 1, 100, options.quality, &error) ||
        !parsed.integer("--restart", 0, 0, 65535, options.restartInterval, &error) ||
        !parsed.integer("--predictor", 1, 1, 7, options.predictor, &error) ||
        !parsed.integer("--threads", 1, 1, 64, options.threads, &error))
        return reportError(name, error);
    const std::string sampling = parsed.value("--sampling", "420");
    if (sampling != "420" && sampling != "422" && sampling != "444")
        return reportError(name, "--sampling wants 444, 422 or 420, not '" + sampling + "'");
    options.sampling = std::stoi(sampling);
    if (parsed.has("--predictor") && !options.lossless)
        return reportError(name, "--predictor is only meaningful with --lossless");
    zeq::container::Image image;
    if (!zeq::container::readNetpbm(parsed.positional()[0], image, &error))
        return reportError(name, error);
    std::vector<uint8_t> file;
    if (!encodeJpeg(image, options, file, &error)) return reportError(name, error);
    if (!zeq::container::writeFile(parsed.positional()[1], file, &error))
        return reportError(name, error);
    return 0;
}

}  // namespace zeqcodec
