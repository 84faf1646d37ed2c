#pragma once

#include "Host/Agent/Protocol.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace KelHost {

// The agent will not do what it was asked for; the text is its own.
class AgentRefusal : public std::runtime_error {
  public:
    using runtime_error::runtime_error;
};

// Asks the agent: connects to the first of the paths on which one listens, and reads its whole
// answer, so that an agent never waits for the reader of this process's output. Waits for at most
// half a minute at a time.
//
// Throws AgentRefusal; std::runtime_error, with a text for the user, when there is no agent, when
// it does not answer, or when the request is longer than an agent takes; std::invalid_argument for
// a path that no socket can have.
std::string ask( const std::vector<std::string> & socketPaths, const Request & request );

// The request that feeds the counters in a file. Throws std::runtime_error, with a
// text for the user, when it cannot be read.
Request feedRequest( const std::string & file );

} // namespace KelHost
