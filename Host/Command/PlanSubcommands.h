#pragma once

#include "Host/Plan/MemberChanges.h"

#include <CLI/CLI.hpp>
#include <string>

namespace KelHost {

// How a plan is told: options that `diff` and `reload --dry-run` share.
class PlanOptions {
  public:
    // `needed`: an option without which these make no sense, or null.
    void addTo( CLI::App & subcommand, CLI::Option * needed = nullptr );

    // Finds out what a switch would do on the way from one document to the other, and tells it.
    // Returns the exit status.
    int tell( const WrittenDocument & before, const WrittenDocument & after ) const;

  private:
    bool json_ = false;
    bool calls_ = false;
    bool exitCode_ = false;
};

// The subcommands that ask before a chip is touched: check, diff.
class PlanSubcommands {
  public:
    explicit PlanSubcommands( CLI::App & program );
    PlanSubcommands( const PlanSubcommands & ) = delete;
    PlanSubcommands & operator=( const PlanSubcommands & ) = delete;

    bool chosen() const { return check_.parsed() || diff_.parsed(); }
    // The exit status. Throws DocumentError when a document is refused, and other exceptions of the
    // standard library when an answer cannot be written.
    int run() const;

  private:
    int check() const;

    CLI::App & check_;
    CLI::App & diff_;
    std::string file_;
    std::string newFile_;
    std::string picture_;
    bool json_ = false;
    PlanOptions options_;
};

} // namespace KelHost
