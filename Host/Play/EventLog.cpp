#include "Host/Play/EventLog.h"

#include "Platform/Framework/Assert.h"

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <string>
#include <unistd.h>

namespace KelHost {

void EventLog::event( std::string_view text ) {
    const std::string_view time = prefix();
    const std::size_t size = time.size() + text.size() + 1;
    std::array<char, lineMax> line;
    std::string longLine;
    char * out = line.data();
    if ( size > line.size() ) {
        longLine.resize( size );
        out = longLine.data();
    }
    std::memcpy( out, time.data(), time.size() );
    std::memcpy( out + time.size(), text.data(), text.size() );
    out[size - 1] = '\n';
    write( out, size );
}

void EventLog::syslog( int severity, std::string_view mnemonic, std::string_view text ) {
    std::string line = "syslog " + std::to_string( severity ) + " ";
    line.append( mnemonic ).append( " " ).append( text );
    event( line );
}

void EventLog::reply( std::string_view text ) {
    constexpr auto replaceBadUtf8 = nlohmann::json::error_handler_t::replace;
    event( "reply " + nlohmann::json( text ).dump( -1, ' ', false, replaceBadUtf8 ) );
}

void EventLog::exit( int status ) { event( "exit " + std::to_string( status ) ); }

std::string_view EventLog::prefix() {
    const F64 now = activityManager_.now();
    if ( now != prefixTime_ ) {
        const auto result = std::to_chars( prefix_.data(), prefix_.data() + prefix_.size() - 1, now,
                                           std::chars_format::fixed, 3 );
        KEL_ASSERT( result.ec == std::errc{} );
        *result.ptr = ' ';
        prefixSize_ = static_cast<std::size_t>( result.ptr + 1 - prefix_.data() );
        prefixTime_ = now;
    }
    return { prefix_.data(), prefixSize_ };
}

void EventLog::write( const char * line, std::size_t size ) const {
    while ( size > 0 ) {
        const ssize_t count = ::write( fd_, line, size );
        if ( count >= 0 ) {
            line += count;
            size -= static_cast<std::size_t>( count );
        } else if ( errno == EAGAIN ) {
            // Somebody else made the pipe non-blocking; the log waits for its reader all the same.
            pollfd room{ fd_, POLLOUT, 0 };
            (void)poll( &room, 1, -1 ); // whatever it returns, the next write will tell
        } else if ( errno != EINTR ) {
            fail( errno );
        }
    }
}

void EventLog::fail( int error ) {
    std::fprintf( stderr, "kelqos: cannot write the event log: %s\n", std::strerror( error ) );
    // The callers are driver calls and handlers, which must not go on.
    std::_Exit( writeFailed );
}

} // namespace KelHost
