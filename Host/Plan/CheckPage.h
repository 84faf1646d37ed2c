#pragma once

#include "Host/Plan/DocumentCheck.h"
#include "Host/Plan/PageStyle.h"

#include <string>

namespace KelHost {

// The check as a page for a reader: whether it fits, a bar and the numbers of each direction, what
// reserves most (or has to give, when it does not fit), the warnings.
std::string pageOf( const DocumentCheck & check, const PageStyle & style );

// One JSON object, and a line end.
std::string jsonOf( const DocumentCheck & check );

} // namespace KelHost
