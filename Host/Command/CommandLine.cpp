#include "Host/Command/CommandLine.h"

#include "Host/Command/AgentSubcommand.h"
#include "Host/Command/ClientSubcommands.h"
#include "Host/Command/PlanSubcommands.h"
#include "Host/Command/TraceOption.h"
#include "Host/Command/UnknownWord.h"
#include "Host/Json/DocumentError.h"
#include "Host/Json/MessageText.h"
#include "Host/Play/EventLog.h"
#include "Host/Play/Player.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>
#include <new>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace KelHost {

namespace {

constexpr int done = 0;
constexpr int failed = 1;
constexpr int refused = 2;
static_assert( failed == EventLog::writeFailed );

constexpr const char * statusHelp =
    "Exit status:\n"
    "  0  done; also when the switch software ended itself in an orderly way\n"
    "  1  the run failed: its output cannot be written (without a message when the reader has\n"
    "     left), the system lacks something, there is no agent to ask, or the agent refused\n"
    "  2  refused input: the command line, or a document, of which nothing was applied\n"
    "  3  of check: the document reserves more than there is; of diff --exit-code: something\n"
    "     changes\n"
    "A driver call that fails or a broken invariant aborts, with the reason and the ring-buffer\n"
    "trace on standard error.\n";

int report( int status, const std::string & text ) {
    std::fprintf( stderr, "%s\n", text.c_str() );
    return status;
}

// One subcommand: its options, and what it does once they are parsed.
class PlayCommand {
  public:
    explicit PlayCommand( CLI::App & program )
        : play_( *program.add_subcommand(
              "play", "Run a scenario, or the start-up of a switch document, on the modelled chip "
                      "in virtual time; print the event log" ) ),
          trace_( play_, "standard error" ) {
        play_
            .add_option( "FILE", file_, "Scenario or switch document (JSON); - is standard input" )
            ->required();
    }

    int run() const {
        trace_.apply();
        playFile( file_, STDOUT_FILENO );
        return done;
    }

  private:
    CLI::App & play_;
    TraceOption trace_;
    std::string file_;
};

} // namespace

int runCommandLine( int argc, const char * const * argv, ChipAccess & chip ) {
    CLI::App program( "QoS forwarding agent of a switch chip, and its modelled chip", "kelqos" );
    program.set_version_flag( "--version", "kelqos " KELQOS_VERSION );
    program.footer( statusHelp );
    program.require_subcommand( 0, 1 ); // a wrong word is reported first, then a missing one
    program.fallthrough();
    const PlayCommand play( program );
    AgentSubcommand agent( program, argv[0] );
    const PlanSubcommands plan( program );
    const ClientSubcommands client( program );
    try {
        program.parse( argc, argv );
        if ( program.get_subcommands().empty() ) {
            throw CLI::RequiredError( "A subcommand" );
        }
        if ( agent.chosen() ) {
            return agent.run( chip );
        }
        return client.chosen() ? client.run() : plan.chosen() ? plan.run() : play.run();
    } catch ( const CLI::ParseError & error ) {
        const std::string unknown =
            error.get_exit_code() == 0 ? std::string() : unknownWordText( program );
        if ( !unknown.empty() ) {
            return report( refused, unknown );
        }
        if ( error.get_exit_code() != 0 ) {
            const std::string hint = "\nRun with --help for more information.";
            return report( refused, shown( error.what(), messageLimit - hint.size() ) + hint );
        }
        program.exit( error ); // writes what was asked for
        return std::cout.flush() ? done
                                 : report( failed, "kelqos: cannot write to standard output" );
    } catch ( const DocumentError & error ) {
        return report( refused, bounded( error.what() ) );
    } catch ( const std::invalid_argument & error ) {
        return report( refused, bounded( error.what() ) );
    } catch ( const std::bad_alloc & ) {
        return report( failed, "kelqos: out of memory" );
    } catch ( const std::exception & error ) {
        return report( failed, bounded( error.what() ) );
    }
}

} // namespace KelHost
