#pragma once

#include "Platform/Framework/Types.h"

namespace KelDriver {

// The driver's status codes that decide what happens next; all others are only reported.
constexpr S32 statusSuccess = 0;
constexpr S32 statusInvalidArguments = 3;
constexpr S32 statusObjectNotFound = 6;
constexpr S32 statusTryAgainLater = 10;

// The text of a driver status: 0 to 25 have one each, any other value (negative ones included) is
// "Unknown error". Never null; lives as long as the program.
const char * statusText( S32 status );

} // namespace KelDriver
