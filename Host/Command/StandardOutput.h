#pragma once

#include "Host/Plan/PageStyle.h"

#include <string_view>

namespace KelHost {

// Writes an answer. Returns the exit status: 0, or 1 when the reader left before the end: one who
// has seen enough, as `head`, need not be told. Throws std::system_error when it cannot be written.
// SIGPIPE must be ignored.
int writeAnswer( std::string_view text );

// What standard output can show: nothing special unless it is a terminal. NO_COLOR in the
// environment takes the colours away.
PageStyle outputStyle();

} // namespace KelHost
