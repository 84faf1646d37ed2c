#include "Host/Command/AgentSubcommand.h"

#include "Host/Agent/SocketPath.h"
#include "Platform/Logging/Trace.h"

namespace KelHost {

namespace {

// As it has to be typed.
std::string shellWord( const std::string & text ) {
    constexpr std::string_view plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                       "0123456789_./-+,:@%";
    if ( text.find_first_not_of( plain ) == std::string::npos ) {
        return text;
    }
    std::string word = "'";
    for ( const char c : text ) {
        word += c == '\'' ? "'\\''" : std::string( 1, c );
    }
    return word + "'";
}

} // namespace

AgentSubcommand::AgentSubcommand( CLI::App & program, const char * name )
    : agent_( *program.add_subcommand( "agent", "Run a switch on the chip in real time, and "
                                                "answer the commands below" ) ),
      trace_( agent_, "syslog, or with --foreground to standard error (default: *=0)" ) {
    options_.program = name;
    agent_.add_option( "--config", options_.config, "Switch document (JSON)" )
        ->type_name( "FILE" )
        ->required();
    agent_
        .add_option( "--socket", options_.socketPath,
                     "Where to listen (default: agent.sock in /run/kelqos, "
                     "$XDG_RUNTIME_DIR/kelqos or /tmp/kelqos-UID)" )
        ->type_name( "PATH" )
        ->envname( socketVariable );
    agent_.add_flag( "--foreground", options_.foreground,
                     "Log to standard error instead of syslog" );
    agent_.add_flag( "--supervise", options_.supervise,
                     "Start the agent again when it ends on its own, as after a buffer leak; give "
                     "up after five ends within a minute" );
    agent_.footer( "SIGHUP: reload the configuration; SIGTERM, SIGINT: stop." );
}

int AgentSubcommand::run( ChipAccess & chip ) {
    Kel::traceLevelsIs( "*=0" ); // what an operator may ask about; an option may say otherwise
    trace_.apply();
    const bool named = !options_.socketPath.empty();
    if ( !named ) {
        options_.socketPath = usableSocketPath();
    }
    if ( named || !isFoundUnnamed( options_.socketPath ) ) {
        options_.socketOption = " --socket " + shellWord( options_.socketPath );
    }
    return runAgent( options_, chip );
}

} // namespace KelHost
