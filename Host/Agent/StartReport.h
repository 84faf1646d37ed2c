#pragma once

#include "Host/Agent/AgentLog.h"
#include "Host/Switch/SwitchRuntime.h"

#include <string>

namespace KelHost {

// What was programmed, in one line: ports, priority groups, queues and shared pools.
std::string programmedText( const SwitchRuntime & runtime );

// The first lines of an agent's log: what was programmed, where it listens, and what to type in
// another terminal. `program` is the program's name as it was invoked, `socketOption` what a client
// has to add to find the agent (empty: nothing).
void reportStart( const AgentLog & log, const SwitchRuntime & runtime, const std::string & config,
                  const std::string & socketPath, const std::string & program,
                  const std::string & socketOption );

} // namespace KelHost
