#include "Host/Command/ClientSubcommands.h"

#include "Host/Agent/SocketPath.h"
#include "Host/Command/Client.h"
#include "Host/Command/StandardOutput.h"
#include "Host/Json/DocumentError.h"
#include "Host/Json/JsonReader.h"
#include "Host/Json/JsonTree.h"

#include <algorithm>

namespace KelHost {

namespace {

std::string joined( std::string text, const std::vector<std::string> & words ) {
    for ( const std::string & word : words ) {
        text.append( " " ).append( word );
    }
    return text;
}

const std::vector<std::string> documentWords{ "document" };

// Name and text of the file that the agent would reload.
std::string configOf( const std::vector<std::string> & socketPaths ) {
    try {
        return ask( socketPaths, { RequestKind::config } );
    } catch ( const AgentRefusal & refusal ) {
        throw DocumentError( refusal.what() ); // it cannot be read
    }
}

// As a person reads it.
std::string indented( const std::string & json ) {
    constexpr int blanks = 2;
    const JsonTree tree{ readJson( json, "the document of the agent" ) };
    return tree.root.dump( blanks ) + "\n";
}

} // namespace

ClientSubcommands::ClientSubcommands( CLI::App & program ) {
    add( program, "show",
         "Ask the agent: tm [nonzero], tm intf NAME [nonzero], tm queue status, "
         "tm blocklevel [nonzero], buf, document",
         [this] {
             return words_ == documentWords
                        ? Request{ RequestKind::document }
                        : Request{ RequestKind::command, joined( "show", words_ ) };
         } )
        .add_option( "WORDS", words_, "What to show" );
    CLI::App & reload = add( program, "reload", "Have the agent read its configuration again",
                             [] { return Request{ RequestKind::reload }; } );
    planOptions_.addTo(
        reload, reload.add_flag( "--dry-run", dryRun_,
                                 "Say what the reload would do; the agent changes nothing" ) );
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

std::vector<std::string> ClientSubcommands::socketPaths() const {
    return socketPath_.empty() ? usualSocketPaths() : std::vector<std::string>{ socketPath_ };
}

int ClientSubcommands::run() const {
    if ( dryRun_ ) {
        return rehearseReload();
    }
    const Request request = request_();
    const std::string answer = ask( socketPaths(), request );
    return writeAnswer( request.kind == RequestKind::document ? indented( answer ) : answer );
}

// The counters of a document count only when an agent starts.
int ClientSubcommands::rehearseReload() const {
    const std::string config = configOf( socketPaths() );
    const std::size_t nameEnd = std::min( config.find( '\n' ), config.size() );
    WrittenDocument after = writtenDocument(
        std::string_view( config ).substr( std::min( nameEnd + 1, config.size() ) ),
        config.substr( 0, nameEnd ) );
    const WrittenDocument before = writtenDocument( ask( socketPaths(), { RequestKind::document } ),
                                                    "the document that runs" );
    after.document.counters = before.document.counters;
    after.document.countersLastClear = before.document.countersLastClear;
    return planOptions_.tell( before, after );
}

} // namespace KelHost
