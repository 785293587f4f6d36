#pragma once
// The usage text, printed for "-h", for no arguments and for every command line or settings
// argument that cannot be run.

#include "platform/Reporter.h"

namespace frontend {

// One reporter line per line of the text. The text opens and closes with a line "\n", which a
// standard output line shows as two empty lines.
void printUsage(platform::Reporter& reporter);

}  // namespace frontend
