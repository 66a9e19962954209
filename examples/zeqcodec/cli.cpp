#include "zeqcodec/cli.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace zeqcodec {

bool ParsedArguments::parse(const Arguments& args, const std::vector<std::string>& flagOptions,
                            const std::vector<std::string>& valuedOptions, std::string* error) {
    auto listed = [](const std::vector<std::string>& list, const std::string& s) {
        return std::find(list.begin(), list.end(), s) != list.end();
    };
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a.size() < 3 || a.compare(0, 2, "--") != 0) {
            positional_.push_back(a);
        } else if (listed(flagOptions, a)) {
            options_.emplace_back(a, "");
        } else if (listed(valuedOptions, a)) {
            if (i + 1 == args.size()) {
                *error = "option " + a + " needs a value";
                return false;
            }
            options_.emplace_back(a, args[++i]);
        } else {
            *error = "unknown option " + a;
            return false;
        }
    }
    return true;
}

bool ParsedArguments::has(const std::string& option) const {
    return std::any_of(options_.begin(), options_.end(),
                       [&](const auto& o) { return o.first == option; });
}

std::string ParsedArguments::value(const std::string& option, const std::string& fallback) const {
    // The last occurrence wins, as on most command lines.
    for (auto it = options_.rbegin(); it != options_.rend(); ++it)
        if (it->first == option) return it->second;
    return fallback;
}

bool ParsedArguments::integer(const std::string& option, int32_t fallback, int32_t low,
                              int32_t high, int32_t& out, std::string* error) const {
    if (!has(option)) {
        out = fallback;
        return true;
    }
    const std::string text = value(option, "");
    char* end = nullptr;
    errno = 0;
    const long v = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno != 0 || v < low || v > high) {
        *error = option + " wants an integer from " + std::to_string(low) + " to " +
                 std::to_string(high) + ", not '" + text + "'";
        return false;
    }
    out = static_cast<int32_t>(v);
    return true;
}

int reportError(const std::string& command, const std::string& message) {
    std::fprintf(stderr, "zeqcodec %s: %s\n", command.c_str(), message.c_str());
    return 1;
}

}  // namespace zeqcodec
