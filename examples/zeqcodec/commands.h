// The zeqcodec subcommands. Each takes the arguments after its name and
// returns the process exit status (0 on success; errors are reported on
// stderr).
#ifndef ZEQCODEC_COMMANDS_H
#define ZEQCODEC_COMMANDS_H

#include <string>
#include <vector>

namespace zeqcodec {

using Arguments = std::vector<std::string>;

struct Command {
    const char* name;
    int (*run)(const Arguments& args);
    const char* synopsis;  // one usage line, without the program name
};

}  // namespace zeqcodec

#endif
