// Command-line helpers shared by the zeqcodec subcommands.
#ifndef ZEQCODEC_CLI_H
#define ZEQCODEC_CLI_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "zeqcodec/commands.h"

namespace zeqcodec {

// Splits a command's arguments into positional ones and --options. An option
// takes the next argument as its value when it is listed in valuedOptions.
class ParsedArguments {
public:
    // Returns false (with *error set) on an unknown option or a missing value.
    bool parse(const Arguments& args, const std::vector<std::string>& flagOptions,
               const std::vector<std::string>& valuedOptions, std::string* error);

    const std::vector<std::string>& positional() const { return positional_; }
    bool has(const std::string& option) const;
    // The option's value, or fallback when it was not given.
    std::string value(const std::string& option, const std::string& fallback) const;
    // Parses the option's value as a decimal integer within [low, high].
    bool integer(const std::string& option, int32_t fallback, int32_t low, int32_t high,
                 int32_t& out, std::string* error) const;

private:
    std::vector<std::string> positional_;
    std::vector<std::pair<std::string, std::string>> options_;
};

// Prints "zeqcodec <command>: <message>" on stderr and returns exit status 1.
int reportError(const std::string& command, const std::string& message);

}  // namespace zeqcodec

#endif
