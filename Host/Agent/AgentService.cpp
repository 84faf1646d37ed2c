#include "Host/Agent/AgentService.h"

#include "Host/Agent/AgentConfig.h"
#include "Host/Agent/StartReport.h"
#include "Host/Document/CounterFeed.h"
#include "Host/Document/DocumentTransition.h"
#include "Host/Document/SwitchDocumentEncoder.h"
#include "Host/Json/JsonTree.h"
#include "Host/Json/MessageText.h"
#include "Host/Json/TextFile.h"
#include "Host/Switch/AnswerFile.h"
#include "KelQos/Show/KelSliceQosCli.h"
#include "KelQos/Slice/KelSliceQosSm.h"
#include "Platform/Logging/RingTrace.h"

#include <algorithm>
#include <memory>
#include <new>
#include <optional>

namespace KelHost {

namespace {

std::string documentText( const SwitchDocument & document ) {
    const JsonTree tree( encodedSwitchDocument( document, Defaults::leftOut ) );
    return tree.root.dump();
}

Answer refused( std::string text ) { return { AnswerStatus::refused, std::move( text ) }; }

} // namespace

AgentService::AgentService( SwitchRuntime & runtime, DocumentChanges & changes, std::string file,
                            Keep keep, const AgentLog & log, const SystemdNotify & notify )
    : runtime_( runtime ),
      changes_( changes ),
      file_( std::move( file ) ),
      keep_( std::move( keep ) ),
      log_( log ),
      notify_( notify ) {}

void AgentService::textIs( std::string text ) {
    constexpr std::size_t mostKept = 1 << 20; // bytes; more than the document of a full chip has
    text_ = text.size() > mostKept ? std::string() : std::move( text );
}

void AgentService::answer( Request request, const Reply & reply ) noexcept {
    std::string why;
    try {
        act( request, reply );
        return;
    } catch ( const std::bad_alloc & ) {
        why = "out of memory";
    } catch ( const std::exception & error ) {
        why = error.what();
    }
    reply( refused( why ) );
}

void AgentService::act( Request & request, const Reply & reply ) {
    switch ( request.kind ) {
    case RequestKind::command:
        return reply( command( request.body ) );
    case RequestKind::reload:
        return reload( reply );
    case RequestKind::feed:
        return feed( std::move( request.body ), reply );
    case RequestKind::clearCounters:
        runtime_.clearCounters();
        return reply( {} );
    case RequestKind::ring:
        return reply( { AnswerStatus::done, Kel::ringTraceText() } );
    case RequestKind::document:
        return lookUp( [this] { return documentText( runtime_.document() ); }, reply );
    case RequestKind::config:
        return lookUp( [this] { return shown( file_, 300 ) + '\n' + readTextFile( file_ ); },
                       reply );
    }
    reply( refused( "unknown request" ) );
}

Answer AgentService::command( const std::string & text ) const {
    using Verdict = KelQos::KelSliceQosCli::Verdict;
    // With the device's number and a colon in front, so that a colon in the command itself stays
    // part of it.
    const std::string request = std::to_string( runtime_.document().device.id ) + ":" + text;
    const Verdict verdict = runtime_.sliceQosSm().cliCallback()->verdict( request );
    if ( verdict == Verdict::interfaceNameMissing ) {
        return refused( "interface name missing" );
    }
    const AnswerFile output;
    runtime_.deliver( request, output.fd() );
    std::string answer = output.text();
    if ( verdict == Verdict::answered ) {
        return { AnswerStatus::done, std::move( answer ) };
    }
    if ( answer.ends_with( '\n' ) ) {
        answer.pop_back();
    }
    return refused( bounded( answer ) + '\n' ); // it quotes what was asked
}

void AgentService::reload( Reply reply ) {
    // The text outlives the decoding, to be kept once the document is applied.
    const auto config = std::make_shared<AgentConfig>();
    const auto check = std::make_shared<std::optional<DocumentCheck>>();
    const auto prepare = [this, config, check]( const SwitchDocument & present ) {
        std::string text = readTextFile( file_ );
        if ( !text.empty() && text == text_ ) {
            config->text = std::move( text );
            return counterDifferenceOf( present, present.counters ); // none
        }
        *config = decodedConfig( file_, std::move( text ) );
        SwitchDocument & next = config->document;
        next.counters = present.counters;
        next.countersLastClear = present.countersLastClear;
        checkTransition( present, next, { .file = file_ } );
        DocumentDifference difference = differenceOf( present, next );
        *check = checkOf( next, file_, warningsKept );
        next = {};
        return difference;
    };
    const auto done = [this, config, check, reply = std::move( reply )](
                          const std::string & refusal, const std::string & trouble ) {
        if ( refusal.empty() ) {
            textIs( std::move( config->text ) );
        }
        const Warnings told = check_.warnings;
        if ( refusal.empty() && *check ) {
            check_ = std::move( **check );
        }
        reply( reloaded( refusal, trouble ) );
        reportWarnings( log_, told, check_.warnings );
    };
    notify_.reloading();
    changes_.add( { prepare, [this, config] { keep_( config->text ); }, done } );
}

Answer AgentService::reloaded( const std::string & refusal, const std::string & trouble ) {
    if ( !refusal.empty() ) {
        log_.error( bounded( "reload refused, the configuration stays as it was: " + refusal ) );
        notify_.ready( refusal );
        return refused( refusal + "\n" );
    }
    Answer answer{ AnswerStatus::done, "reloaded " + shown( file_, 300 ) };
    log_.info( answer.text );
    std::string status = answer.text;
    for ( const std::string & text : { overReservationText( check_.use ), trouble } ) {
        if ( !text.empty() ) {
            log_.error( text );
            answer.text += '\n' + text;
            status += "; " + text;
        }
    }
    notify_.ready( status );
    answer.text += '\n' + warningsText( check_.warnings );
    return answer;
}

void AgentService::reloadOnSignal() {
    if ( signalled_ ) {
        signalledAgain_ = true;
        return;
    }
    signalled_ = true;
    reload( [this]( const Answer & ) {
        signalled_ = false;
        if ( std::exchange( signalledAgain_, false ) ) {
            reloadOnSignal();
        }
    } );
}

void AgentService::lookUp( std::function<std::string()> text, const Reply & reply ) {
    const auto answer = std::make_shared<std::string>();
    changes_.add( { nullptr, [answer, text = std::move( text )] { *answer = text(); },
                    [answer, reply]( const std::string &, const std::string & trouble ) {
                        reply( trouble.empty() ? Answer{ AnswerStatus::done, std::move( *answer ) }
                                               : refused( trouble ) );
                    } } );
}

void AgentService::feed( std::string body, const Reply & reply ) {
    const auto prepare = [body = std::make_shared<std::string>( std::move( body ) )](
                             const SwitchDocument & present ) {
        const std::size_t nameEnd = std::min( body->find( '\n' ), body->size() );
        const std::string_view patch =
            std::string_view( *body ).substr( std::min( nameEnd + 1, body->size() ) );
        return counterDifferenceOf(
            present, fedCounters( present.counters, patch, body->substr( 0, nameEnd ) ) );
    };
    changes_.add( { prepare, nullptr, [reply]( const std::string & refusal, const std::string & ) {
                       reply( refusal.empty() ? Answer{} : refused( refusal ) );
                   } } );
}

} // namespace KelHost
