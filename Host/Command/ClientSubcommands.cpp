#include "Host/Command/ClientSubcommands.h"

#include "Host/Agent/SocketPath.h"
#include "Host/Command/Client.h"

namespace KelHost {

namespace {

std::string joined( std::string text, const std::vector<std::string> & words ) {
    for ( const std::string & word : words ) {
        text.append( " " ).append( word );
    }
    return text;
}

} // namespace

ClientSubcommands::ClientSubcommands( CLI::App & program ) {
    add( program, "show",
         "Ask the agent: tm [nonzero], tm intf NAME [nonzero], tm queue status, "
         "tm blocklevel [nonzero], buf",
         [this] {
             return Request{ RequestKind::command, joined( "show", words_ ) };
         } )
        .add_option( "WORDS", words_, "What to show" );
    add( program, "reload", "Have the agent read its configuration again",
         [] { return Request{ RequestKind::reload }; } );
    add( program, "feed", "Give the agent new counter values",
         [this] { return feedRequest( file_ ); } )
        .add_option(
            "FILE", file_,
            "Merge patch (RFC 7396) of the document's counters (JSON); - is standard input" )
        ->required();
    CLI::App & clear = *program.add_subcommand( "clear", "Have the agent clear something" );
    clear.require_subcommand( 1 );
    add( clear, "counters", "Counters count from here on",
         [] { return Request{ RequestKind::clearCounters }; } );
    add( program, "ring", "Show the agent's ring-buffer trace",
         [] { return Request{ RequestKind::ring }; } );
}

CLI::App & ClientSubcommands::add( CLI::App & parent, const char * name, const char * description,
                                   std::function<Request()> request ) {
    CLI::App & subcommand = *parent.add_subcommand( name, description );
    subcommand
        .add_option( "--socket", socketPath_,
                     "Where the agent listens (default: agent.sock in /run/kelqos, "
                     "$XDG_RUNTIME_DIR/kelqos or /tmp/kelqos-UID, where there is one)" )
        ->type_name( "PATH" )
        ->envname( socketVariable );
    subcommand.parse_complete_callback(
        [this, request = std::move( request )] { request_ = request; } );
    return subcommand;
}

int ClientSubcommands::run() const {
    const auto paths =
        socketPath_.empty() ? usualSocketPaths() : std::vector<std::string>{ socketPath_ };
    return runClient( paths, request_() );
}

} // namespace KelHost
