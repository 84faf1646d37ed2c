#pragma once

#include "Host/Agent/Agent.h"
#include "Host/Agent/AgentLog.h"
#include "Host/Switch/SwitchRuntime.h"

#include <string>

namespace KelHost {

// What was programmed, in one line: ports, priority groups, queues and shared pools.
std::string programmedText( const SwitchRuntime & runtime );

// Which direction reserves more of the packet buffer than it has, and how much, in one line. Empty
// when everything fits.
std::string reservationText( const SwitchRuntime & runtime );

// The first lines of an agent's log: what was programmed, and from which file, where it listens,
// and what to type in another terminal.
void reportStart( const AgentLog & log, const SwitchRuntime & runtime, const std::string & file,
                  const AgentOptions & options );

} // namespace KelHost
