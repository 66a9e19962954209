// The JPEG 2000 subcommands of zeqcodec.
#ifndef ZEQCODEC_J2K_COMMANDS_H
#define ZEQCODEC_J2K_COMMANDS_H

#include "zeqcodec/commands.h"

namespace zeqcodec {

// j2k-encode IN.ppm|IN.pgm OUT.j2k [--lossless | --rate BITS_PER_PIXEL] [--levels 0..8]
//            [--bypass] [--terminate-all] [--causal] [--segmark]
int runJ2kEncode(const Arguments& args);
// j2k-decode IN.j2k OUT.ppm
int runJ2kDecode(const Arguments& args);

}  // namespace zeqcodec

#endif
