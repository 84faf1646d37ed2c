#pragma once

#include "Host/Agent/Protocol.h"

#include <string>
#include <vector>

namespace KelHost {

// Asks the agent: connects to the first of the paths on which one listens, and reads its whole
// answer, so that an agent never waits for the reader of this process's output. Waits for at most
// half a minute at a time.
//
// Throws std::runtime_error, with a text for the user, when there is no agent, when it does not
// answer, or when the request is longer than an agent takes; std::invalid_argument for a path that
// no socket can have.
Answer ask( const std::vector<std::string> & socketPaths, const Request & request );

// Asks, and shows the answer: on standard output, or a refusal on standard error. Returns the exit
// status: 0 when it was done, else 1; also when the reader of standard output left before the end,
// which needs no message. Throws like ask(), and std::system_error when the answer cannot be
// written. SIGPIPE must be ignored.
int runClient( const std::vector<std::string> & socketPaths, const Request & request );

// The request that feeds the counters in a file. Throws std::runtime_error, with a
// text for the user, when it cannot be read.
Request feedRequest( const std::string & file );

} // namespace KelHost
