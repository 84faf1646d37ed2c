#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace KelHost {

// The option --trace HANDLE=LEVELS of a subcommand, which may be repeated.
class TraceOption {
  public:
    // `target`: where the subcommand's trace lines go, for its help.
    TraceOption( CLI::App & subcommand, const std::string & target );
    TraceOption( const TraceOption & ) = delete;
    TraceOption & operator=( const TraceOption & ) = delete;

    // Switches the levels on. Throws std::invalid_argument, with a text for the user, for an
    // unknown handle or a malformed setting.
    void apply() const;

  private:
    std::vector<std::string> settings_;
};

} // namespace KelHost
