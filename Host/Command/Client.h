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
// answer or refuses, or when the request is longer than an agent takes; std::invalid_argument for a
// path that no socket can have.
std::string ask( const std::vector<std::string> & socketPaths, const Request & request );

// The request that feeds the counters in a file. Throws std::runtime_error, with a
// text for the user, when it cannot be read.
Request feedRequest( const std::string & file );

} // namespace KelHost
