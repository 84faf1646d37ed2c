#include "KelQos/Slice/KelSliceQosSmLog.h"

namespace KelQos {

Kel::TraceHandle sliceTrace( "KelSliceQosSm" );

Kel::SyslogHandle KEL_TM_QUEUE_RESERVED_INVALID( {
    .mnemonic = "KEL_TM_QUEUE_RESERVED_INVALID",
    .severity = 3,
    .format = "Request to reserve %d buffers of 80 bytes each for %s traffic-manager cannot be "
              "satisfied.",
    .explanation = "The number of cells requested exceeds available memory.",
    .recommendedAction = "Reduce the amount of memory that should be reserved by reconfiguring the "
                         "traffic-manager profiles.",
    .minInterval = 0.0,
    .freeMessages = 1.0,
    .flags = 0,
    .rateLimitArgs = 2,
} );

Kel::SyslogHandle KEL_TM_QUEUE_RESERVED_NORMAL( {
    .mnemonic = "KEL_TM_QUEUE_RESERVED_NORMAL",
    .severity = 6,
    .format = "Reserved buffers programmed in %s traffic-manager",
    .explanation = "The switch was able to reserve requested memory.",
    .recommendedAction = Kel::NoActionRequired,
    .minInterval = 0.0,
    .freeMessages = 1.0,
    .flags = 0,
    .rateLimitArgs = 1,
} );

} // namespace KelQos
