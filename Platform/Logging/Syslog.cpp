#include "Platform/Logging/Syslog.h"

#include "Platform/Framework/Assert.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace Kel {

namespace {

// Set up before any constructor runs, since handles of other libraries enter it while they load.
constinit SyslogHandle * firstHandle = nullptr;

// Handles have no fixed number of keys; above this one, those that no longer matter are dropped.
constexpr std::size_t keysToKeep = 1024;

class Fnv1a {
  public:
    void add( std::string_view text ) {
        for ( const char c : text ) {
            value_ = ( value_ ^ static_cast<U8>( c ) ) * 0x100000001b3;
        }
    }
    U64 value() const { return value_; }

  private:
    U64 value_ = 0xcbf29ce484222325;
};

U64 hashOf( std::string_view text ) {
    Fnv1a hash;
    hash.add( text );
    return hash.value();
}

void writeToStandardError( int severity, std::string_view mnemonic, std::string_view text ) {
    std::fprintf( stderr, "syslog %d %.*s %.*s\n", severity, static_cast<int>( mnemonic.size() ),
                  mnemonic.data(), static_cast<int>( text.size() ), text.data() );
}

// Made on first use: the host may install them while static objects are still being constructed.
SyslogSink & installedSink() {
    static SyslogSink sink = writeToStandardError;
    return sink;
}

std::function<double()> & installedTimeSource() {
    static std::function<double()> now = [] { return 0.0; };
    return now;
}

} // namespace

SyslogHandle::SyslogHandle( const SyslogDefinition & definition )
    : definition_( definition ),
      idHash_( hashOf( definition.mnemonic ) ),
      next_( std::exchange( firstHandle, this ) ) {
    KEL_ASSERT( definition.severity >= 0 && definition.severity <= 7 );
    KEL_ASSERT( definition.rateLimitArgs <= definition.format.argCount() );
}

SyslogHandle::~SyslogHandle() {
    SyslogHandle ** link = &firstHandle;
    while ( *link != this ) {
        link = &( *link )->next_;
    }
    *link = next_;
}

bool SyslogHandle::okToLog( U64 key ) {
    if ( minInterval() <= 0.0 ) {
        return true;
    }
    const double now = installedTimeSource()();
    if ( keys_.size() >= keysToKeep ) {
        std::erase_if( keys_, [&]( const auto & entry ) {
            return now - entry.second.lastSent >= minInterval();
        } );
    }
    KeyState & state = keys_[key];
    const bool ok =
        state.sent == 0.0 || state.sent < freeMessages() || now - state.lastSent >= minInterval();
    if ( ok ) {
        state.sent += 1.0;
        state.lastSent = now;
    }
    return ok;
}

std::vector<const SyslogHandle *> syslogHandles() {
    std::vector<const SyslogHandle *> handles;
    for ( const SyslogHandle * handle = firstHandle; handle != nullptr; handle = handle->next_ ) {
        handles.push_back( handle );
    }
    std::ranges::sort( handles, {}, &SyslogHandle::mnemonic );
    return handles;
}

U64 logArgsHash( std::span<const std::string> texts ) {
    Fnv1a hash;
    for ( const std::string & text : texts ) {
        hash.add( text );
        hash.add( std::string_view( "\0", 1 ) ); // a zero byte, to mark where each text ends
    }
    return hash.value();
}

void syslogSinkIs( SyslogSink sink ) {
    installedSink() = sink ? std::move( sink ) : writeToStandardError;
}

void syslogTimeSourceIs( std::function<double()> now ) {
    installedTimeSource() = now ? std::move( now ) : [] { return 0.0; };
}

void logMessage( SyslogHandle & handle, std::span<const SyslogArg> args ) {
    if ( !handle.format().accepts( args ) ) {
        KEL_FAILED( "handle.format().accepts( args )", handle.mnemonic().data() );
    }
    std::vector<std::string> keyTexts;
    for ( const SyslogArg & arg : args.first( handle.rateLimitArgs() ) ) {
        keyTexts.push_back( arg.toText() );
    }
    const U64 key = logArgsHash( keyTexts ) ^ handle.idHash();
    if ( handle.okToLog( key ) ) {
        installedSink()( handle.severity(), handle.mnemonic(), handle.format().formatted( args ) );
    }
}

} // namespace Kel
