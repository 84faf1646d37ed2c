#pragma once

#include "Host/Agent/Agent.h"
#include "Host/Agent/AgentLog.h"
#include "Host/Plan/DocumentCheck.h"
#include "Host/Switch/SwitchRuntime.h"

#include <string>

namespace KelHost {

// What was programmed, in one line: ports, priority groups, queues and shared pools.
std::string programmedText( const SwitchRuntime & runtime );

// As many warnings about a document as an agent keeps.
inline constexpr std::size_t warningsKept = 20;

// Logs the warnings that were not there before.
void reportWarnings( const AgentLog & log, const Warnings & before, const Warnings & now );

// How many there are, and the first few of them, a line each. Empty when there are none.
std::string warningsText( const Warnings & warnings );

// The first lines of an agent's log: what was programmed, and from which file, what the check of it
// found, where the agent listens, and what to type in another terminal.
void reportStart( const AgentLog & log, const SwitchRuntime & runtime, const DocumentCheck & check,
                  const AgentOptions & options );

} // namespace KelHost
