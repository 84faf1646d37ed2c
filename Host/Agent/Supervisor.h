#pragma once

#include "Host/Agent/AgentLog.h"

#include <functional>

namespace KelHost {

// Runs an agent in a child process, and again whenever it ends on its own: by the library's orderly
// exit, by an abort, or by a signal. After five ends within a minute it gives up. SIGTERM, SIGINT
// and SIGHUP are passed on to the agent.
//
// `agent` runs the agent and returns its exit status. In the child process this function returns
// (or throws) what `agent` does. In the parent it returns the supervisor's exit status: 0 when it
// was told to stop; the agent's when the agent refused to start (1 or 2; it has said why); 1 when
// it gave up. Call it while the process has a single thread.
int supervise( const std::function<int()> & agent, const AgentLog & log );

} // namespace KelHost
