#pragma once

#include "Host/Document/SwitchDocument.h"
#include "Host/Json/DocumentError.h"

#include <string>
#include <vector>

namespace KelHost {

// What a running switch cannot do in one step.
struct TransitionRefusal {
    std::string pointer; // of what is named to the user
    std::string member;  // of what differs
    std::string text;    // what is allowed
};

// Everything that keeps a running switch from going from one valid document to another in one step,
// by JSON pointers into `next`:
//  - a change of `device`, and `bufferParams` coming or going: both are settled at start-up;
//  - a changed `portIndex` of a port that has `qos` before or after: its programming belongs to
//    the old port number;
//  - a port index that goes from one interface to another, which takes two steps;
//  - the removal of an internal port.
std::vector<TransitionRefusal> transitionRefusals( const SwitchDocument & current,
                                                   const SwitchDocument & next );

// Throws a DocumentError about the first of them.
void checkTransition( const SwitchDocument & current, const SwitchDocument & next,
                      const DocumentPlace & place );

} // namespace KelHost
