#include "Host/Agent/AgentService.h"

#include "Host/Document/DocumentTransition.h"
#include "Host/Document/SwitchDocumentDecoder.h"
#include "Host/Json/JsonReader.h"
#include "Host/Switch/AnswerFile.h"
#include "KelQos/Show/KelSliceQosCli.h"
#include "KelQos/Slice/KelSliceQosSm.h"
#include "Platform/Logging/RingTrace.h"

#include <algorithm>

namespace KelHost {

namespace {

constexpr std::string_view countersMember = "counters";

JsonValue emptyStore() { return JsonValue( JsonObject{} ); }

Answer refused( std::string text ) { return { AnswerStatus::refused, std::move( text ) }; }

JsonValue documentOf( JsonValue counters ) {
    JsonObject root;
    *root.add( std::string( countersMember ) ) = std::move( counters );
    return JsonValue( std::move( root ) );
}

// A feed may be a patch of the counters, or of a document that has nothing else.
const JsonValue & countersPatch( const JsonValue & patch, const DocumentPlace & place ) {
    const auto * object = patch.as<JsonObject>();
    if ( object == nullptr ) {
        place.refuse( "", "must be an object: a merge patch of the counters" );
    }
    const JsonValue * counters = object->find( countersMember );
    if ( counters == nullptr ) {
        return patch;
    }
    if ( object->size() != 1 ) {
        place.refuse( "", "must have no other member beside \"counters\"; the configuration is "
                          "changed by a reload" );
    }
    return *counters;
}

} // namespace

AgentConfig::AgentConfig( const std::string & file ) : AgentConfig( file, readTextFile( file ) ) {}

AgentConfig::AgentConfig( const std::string & file, std::string fileText )
    : text( std::move( fileText ) ) {
    const JsonValue root = readJson( text, file );
    document = decodeSwitchDocument( root, { .file = file } );
    const JsonValue * found = root.as<JsonObject>()->find( countersMember );
    counters = found == nullptr ? emptyStore() : *found;
}

void AgentConfig::dropCounters() {
    document.counters.clear();
    document.countersLastClear.clear();
    counters = emptyStore();
}

AgentService::AgentService( SwitchRuntime & runtime, std::string file, const AgentConfig & config,
                            const AgentLog & log, const SystemdNotify & notify )
    : runtime_( runtime ),
      file_( std::move( file ) ),
      documentText_( config.text ),
      counters_( config.counters ),
      log_( log ),
      notify_( notify ) {}

Answer AgentService::answer( const Request & request ) noexcept {
    try {
        return act( request );
    } catch ( const std::exception & error ) {
        return refused( error.what() );
    }
}

Answer AgentService::act( const Request & request ) {
    switch ( request.kind ) {
    case RequestKind::command:
        return command( request.body );
    case RequestKind::reload:
        return reload();
    case RequestKind::feed:
        return feed( request.body );
    case RequestKind::clearCounters:
        runtime_.clearCounters();
        return {};
    case RequestKind::ring:
        return { AnswerStatus::done, Kel::ringTraceText() };
    }
    return refused( "unknown request" );
}

Answer AgentService::command( const std::string & text ) {
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
    return { verdict == Verdict::answered ? AnswerStatus::done : AnswerStatus::refused,
             output.text() };
}

AgentConfig AgentService::reread() const {
    AgentConfig next( file_ );
    next.document.counters = runtime_.document().counters;
    next.document.countersLastClear = runtime_.document().countersLastClear;
    checkTransition( runtime_.document(), next.document, { .file = file_ } );
    return next;
}

Answer AgentService::reload() noexcept {
    notify_.reloading();
    Answer answer;
    try {
        AgentConfig next = reread();
        documentText_ = std::move( next.text );
        runtime_.documentIs( std::move( next.document ) );
    } catch ( const std::exception & error ) {
        answer = refused( error.what() );
        log_.error( "reload refused, the configuration stays as it was: " + answer.text );
    }
    if ( answer.status == AnswerStatus::done ) {
        answer.text = "reloaded " + file_;
        log_.info( answer.text );
    }
    notify_.ready( answer.text );
    answer.text += '\n';
    return answer;
}

Answer AgentService::feed( const std::string & body ) {
    const std::size_t nameEnd = std::min( body.find( '\n' ), body.size() );
    DocumentPlace place{ .file = body.substr( 0, nameEnd ) };
    const std::size_t jsonBegin = std::min( nameEnd + 1, body.size() );
    const JsonValue patch = readJson( std::string_view( body ).substr( jsonBegin ), place.file );
    JsonValue counters = mergePatch( counters_, countersPatch( patch, place ) );
    if ( counters.isNull() ) {
        counters = emptyStore(); // the patch of a document removed the member
    }
    place.afterPatch = true;
    SwitchDocument next = runtime_.document();
    next.counters = decodeSwitchDocument( documentOf( counters ), place ).counters;
    counters_ = std::move( counters );
    runtime_.documentIs( std::move( next ) );
    return {};
}

} // namespace KelHost
