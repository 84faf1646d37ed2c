#pragma once

#include "Host/Plan/BufferUse.h"
#include "Host/Plan/ChipSettings.h"
#include "Host/Plan/Impact.h"

#include <string>
#include <vector>

namespace KelHost {

struct PlannedChange {
    MemberChange change;
    Impact impact;
    std::string note; // what a reader should know besides; may be empty
};

// What a running switch would do on the way from one document to another.
struct ChangePlan {
    Impact impact = Impact::none;       // the worst of the changes'
    std::vector<PlannedChange> changes; // ascending by pointer
    // What is different in the chip afterwards, and the driver calls that made it so, up to the
    // moment when the timers that are due have been served. Empty when a switch refuses the change.
    std::vector<ChipSetting> chip;
    std::vector<std::string> calls;
    BufferUse before;
    BufferUse after;
};

// Finds out by doing it to the modelled chip, as in simulation: brings it up with one document and
// goes on to the other. Sets SIMULATION_VMID in the environment of the process, and takes over the
// chip behind the driver's functions and the syslog sink while it runs. There must be no activity
// manager.
ChangePlan changePlanOf( const WrittenDocument & before, const WrittenDocument & after );

} // namespace KelHost
