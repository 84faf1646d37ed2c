#pragma once

#include "Host/Plan/ChangePlan.h"
#include "Host/Plan/PageStyle.h"

#include <string>

namespace KelHost {

// The plan as a page for a reader: the changed members, the harmless ones first; what is different
// in the chip; the buffers; with `calls` the driver calls; the worst impact in the last line.
// `before` and `after` are what the documents are called.
std::string pageOf( const ChangePlan & plan, const std::string & before, const std::string & after,
                    bool calls, const PageStyle & style );

// One JSON object, and a line end.
std::string jsonOf( const ChangePlan & plan );

} // namespace KelHost
