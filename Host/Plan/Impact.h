#pragma once

#include "Host/Plan/MemberChanges.h"

#include <set>
#include <string_view>
#include <utility>

namespace KelHost {

// What a change does to the traffic of a running switch, from harmless to harmful.
enum class Impact : U8 {
    none,         // nothing reaches the chip
    settings,     // limits, thresholds, rates, weights: traffic goes on
    reclassifies, // traffic moves to another class, group, queue priority or pause mode
    interrupts,   // a group is released or waits for a free one, or a leak ends the agent
    restart,      // a running switch refuses it
};
// As it is written: "none" and so on.
std::string_view word( Impact impact );
// In a few words, for a reader.
std::string_view meaning( Impact impact );

// What happened on the way from one document to the other.
struct WayTaken {
    // The groups that have one of the chip, by port number and group.
    using Groups = std::set<std::pair<U16, U8>>;

    const SwitchDocument & before;
    const SwitchDocument & after;
    Groups groupsBefore = {};
    Groups groupsAfter = {};
    bool leak = false; // the change makes the switch declare one
};

// What a change that a running switch takes does by itself.
struct MemberImpact {
    Impact impact = Impact::none;
    std::string_view note; // what a reader should know besides; may be empty
};
MemberImpact impactOf( const MemberChange & change, const WayTaken & way );

} // namespace KelHost
