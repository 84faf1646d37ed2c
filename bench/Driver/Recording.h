#pragma once

#include "bench/Driver/CallSequence.h"

namespace KelBench {

// What was called since the program began, or since this was last emptied.
CallSequence & recording();

} // namespace KelBench
