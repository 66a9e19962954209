// The constant version record of this build.
#include "zeqj.h"

namespace {

constexpr LibraryVersion kLibraryVersion = {
    6,                   // majorVersion
    1,                   // minorVersion
    137,                 // buildMajor
    787,                 // buildNumber
    {'m', 'x', 0, 0},    // cpuTag: the SSE2 ("mx") processor variant
    "zeqjmx-6.1.dll",    // libraryName
    "6.1 build 137.20",  // versionText
    "Jun 10 2009",       // buildDate
};

}  // namespace

extern "C" const LibraryVersion* zeqjGetLibVersion(void) { return &kLibraryVersion; }
