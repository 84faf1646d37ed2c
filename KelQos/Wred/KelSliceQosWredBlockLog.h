#pragma once

#include "Platform/Logging/Trace.h"

namespace KelQos {

// What both WRED state machines trace with. Hidden symbols, so that a trace that is off costs one
// load and one branch.
[[gnu::visibility( "hidden" )]] extern Kel::TraceHandle wredTrace;

} // namespace KelQos
