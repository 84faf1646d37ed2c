#pragma once

#include "Host/Agent/Protocol.h"
#include "Host/Command/PlanSubcommands.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

namespace KelHost {

// The subcommands that ask a running agent: show, reload, feed, clear counters, ring.
class ClientSubcommands {
  public:
    explicit ClientSubcommands( CLI::App & program );
    ClientSubcommands( const ClientSubcommands & ) = delete;
    ClientSubcommands & operator=( const ClientSubcommands & ) = delete;

    bool chosen() const { return static_cast<bool>( request_ ); }
    // The exit status. Throws like ask(), DocumentError when what the agent would reload is
    // refused, and std::system_error when the answer cannot be written.
    int run() const;

  private:
    std::vector<std::string> socketPaths() const;
    // What a reload would do, without the agent noticing.
    int rehearseReload() const;

    // `request` makes what is asked once the options are parsed.
    CLI::App & add( CLI::App & parent, const char * name, const char * description,
                    std::function<Request()> request );

    std::function<Request()> request_; // of the subcommand that was chosen
    std::string socketPath_;
    std::vector<std::string> words_;
    std::string file_;
    bool dryRun_ = false; // reload
    PlanOptions planOptions_;
};

} // namespace KelHost
