#pragma once

#include "Host/Document/SwitchDocument.h"
#include "Host/Json/DocumentError.h"

namespace KelHost {

// Checks that a running switch can go from one valid document to another in one step. Refused,
// with a DocumentError that names the member of `next`:
//  - a change of `device`, and `bufferParams` coming or going: both are settled at start-up;
//  - a changed `portIndex` of a port that has `qos` before or after: its programming belongs to
//    the old port number;
//  - a port index that goes from one interface to another, which takes two steps;
//  - the removal of an internal port.
void checkTransition( const SwitchDocument & current, const SwitchDocument & next,
                      const DocumentPlace & place );

} // namespace KelHost
