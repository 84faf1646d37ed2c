#pragma once

#include "Host/Switch/ChipAccess.h"

namespace KelHost {

// Runs the program `kelqos` as its arguments say, and returns its exit status: 0 if all went well,
// 2 for input that is refused (the command line included), 1 when something else failed, with one
// line on standard error that says why. A run that the library ends has the library's status. An
// agent drives `chip`. SIGPIPE must be ignored.
int runCommandLine( int argc, const char * const * argv, ChipAccess & chip );

} // namespace KelHost
