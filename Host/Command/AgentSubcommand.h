#pragma once

#include "Host/Agent/Agent.h"
#include "Host/Command/TraceOption.h"

#include <CLI/CLI.hpp>

namespace KelHost {

// `kelqos agent`: its options, and the agent once they are parsed.
class AgentSubcommand {
  public:
    // `name`: how the program was invoked.
    AgentSubcommand( CLI::App & program, const char * name );

    bool chosen() const { return agent_.parsed(); }
    // The exit status; throws like runAgent(), and std::invalid_argument for a bad option.
    int run( ChipAccess & chip );

  private:
    CLI::App & agent_;
    TraceOption trace_;
    AgentOptions options_;
};

} // namespace KelHost
