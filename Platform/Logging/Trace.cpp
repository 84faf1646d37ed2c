#include "Platform/Logging/Trace.h"

#include "Platform/Framework/Text.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace Kel {

namespace {

constexpr U16 allLevels = ( 1U << ( TraceHandle::maxLevel + 1 ) ) - 1;

// Set up before any constructor runs, since handles of other libraries enter it while they load.
constinit TraceHandle * firstHandle = nullptr;

void writeToStandardError( const TraceRecord & record ) {
    const std::string line = traceText( record ) + '\n';
    std::fwrite( line.data(), 1, line.size(), stderr );
}

TraceSink & installedSink() {
    static TraceSink sink = writeToStandardError;
    return sink;
}

std::string quoted( std::string_view text ) { return '"' + std::string( text ) + '"'; }

[[noreturn]] void refuse( std::string_view setting, const std::string & reason ) {
    throw std::invalid_argument( "trace setting " + quoted( setting ) + ": " + reason );
}

// The levels of "4" or "0-4"; 0 when it is neither.
U16 levelsOfRange( std::string_view range ) {
    const auto digit = []( char c ) { return c >= '0' && c <= '9'; };
    const bool single = range.size() == 1 && digit( range[0] );
    const bool isRange = range.size() == 3 && digit( range[0] ) && range[1] == '-' &&
                         digit( range[2] ) && range[0] <= range[2];
    if ( !single && !isRange ) {
        return 0;
    }
    const U32 first = static_cast<U32>( range.front() - '0' );
    const U32 last = static_cast<U32>( range.back() - '0' );
    return static_cast<U16>( ( 2U << last ) - ( 1U << first ) );
}

U16 parsedLevels( std::string_view setting, std::string_view levels ) {
    if ( levels == "*" ) {
        return allLevels;
    }
    U32 mask = 0;
    while ( true ) {
        const std::size_t comma = levels.find( ',' );
        const std::string_view range = levels.substr( 0, comma );
        const U16 rangeMask = levelsOfRange( range );
        if ( rangeMask == 0 ) {
            refuse( setting, "bad level " + quoted( range ) +
                                 "; allowed are levels 0 to 9 and ranges as in 0-4,7, or *" );
        }
        mask |= rangeMask;
        if ( comma == std::string_view::npos ) {
            return static_cast<U16>( mask );
        }
        levels.remove_prefix( comma + 1 );
    }
}

} // namespace

TraceHandle::TraceHandle( const char * name )
    : name_( name ), next_( std::exchange( firstHandle, this ) ) {}

TraceHandle::~TraceHandle() {
    levels_ = 0;
    TraceHandle ** link = &firstHandle;
    while ( *link != this ) {
        link = &( *link )->next_;
    }
    *link = next_;
}

TraceHandle * traceHandle( std::string_view name ) {
    TraceHandle * handle = firstHandle;
    while ( handle != nullptr && handle->name_ != name ) {
        handle = handle->next_;
    }
    return handle;
}

std::vector<std::string> traceHandleNames() {
    std::vector<std::string> names;
    for ( const TraceHandle * handle = firstHandle; handle != nullptr; handle = handle->next_ ) {
        names.emplace_back( handle->name_ );
    }
    std::ranges::sort( names );
    names.erase( std::unique( names.begin(), names.end() ), names.end() );
    return names;
}

void traceLevelsIs( std::string_view setting ) {
    const std::size_t equals = setting.find( '=' );
    if ( equals == std::string_view::npos ) {
        refuse( setting, "expected HANDLE=LEVELS, with levels as in 0-4,7 or *" );
    }
    const std::string_view name = setting.substr( 0, equals );
    if ( name != "*" && traceHandle( name ) == nullptr ) {
        std::string known;
        for ( const std::string & other : traceHandleNames() ) {
            known += ( known.empty() ? "" : ", " ) + other;
        }
        refuse( setting, "unknown handle " + quoted( name ) + "; known are " + known );
    }
    const U16 levels = parsedLevels( setting, setting.substr( equals + 1 ) );
    for ( TraceHandle * handle = firstHandle; handle != nullptr; handle = handle->next_ ) {
        if ( name == "*" || handle->name_ == name ) {
            handle->levels_ = levels;
        }
    }
}

void traceLevelsDelAll() {
    for ( TraceHandle * handle = firstHandle; handle != nullptr; handle = handle->next_ ) {
        handle->levels_ = 0;
    }
}

std::string traceText( const TraceRecord & record ) {
    std::string line;
    line.append( record.file ).append( ":" ).append( std::to_string( record.line ) );
    line.append( " " ).append( record.function ).append( " " ).append( record.handle );
    line.append( "/" ).append( std::to_string( record.level ) );
    return line.append( " " ).append( record.text );
}

void traceSinkIs( TraceSink sink ) {
    installedSink() = sink ? std::move( sink ) : writeToStandardError;
}

TraceLine::~TraceLine() {
    std::string_view rest = text_;
    do {
        const std::size_t end = std::min( rest.find( '\n' ), rest.size() );
        record_.text = rest.substr( 0, end );
        installedSink()( record_ );
        rest.remove_prefix( std::min( end + 1, rest.size() ) );
    } while ( !rest.empty() );
}

void TraceLine::appendText( const char * text ) { text_.append( text ? text : "(null)" ); }
void TraceLine::appendSigned( S64 value ) { text_ += valueToStrep( value ); }
void TraceLine::appendUnsigned( U64 value ) { text_ += valueToStrep( value ); }
void TraceLine::appendReal( float value ) { text_ += valueToStrep( value ); }
void TraceLine::appendReal( double value ) { text_ += valueToStrep( value ); }

} // namespace Kel
