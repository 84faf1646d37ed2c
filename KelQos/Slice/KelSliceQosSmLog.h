#pragma once

#include "Platform/Logging/RingTrace.h"
#include "Platform/Logging/Syslog.h"
#include "Platform/Logging/Trace.h"

namespace KelQos {

// What the sources of the slice state machine log with. Hidden symbols, so that a trace that is off
// costs one load and one branch.
[[gnu::visibility( "hidden" )]] extern Kel::TraceHandle sliceTrace;
[[gnu::visibility( "hidden" )]] extern Kel::SyslogHandle KEL_TM_QUEUE_RESERVED_INVALID;
[[gnu::visibility( "hidden" )]] extern Kel::SyslogHandle KEL_TM_QUEUE_RESERVED_NORMAL;

} // namespace KelQos
