#include "Host/Command/Client.h"

#include "Host/Agent/UnixSocket.h"
#include "Host/Document/CounterFeed.h"
#include "Host/Json/DocumentError.h"
#include "Host/Json/MessageText.h"
#include "Host/Json/TextFile.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <sys/socket.h>

namespace KelHost {

namespace {

constexpr timeval patience{ .tv_sec = 30, .tv_usec = 0 };

// That nobody is there needs no reason.
std::string reasonOf( int error ) {
    switch ( error ) {
    case ENOENT:
    case ENOTDIR:
    case ECONNREFUSED:
        return "";
    case EACCES:
        return " (no permission)";
    default:
        return std::string( " (" ) + std::strerror( error ) + ")";
    }
}

[[noreturn]] void refuseSilent() { throw std::runtime_error( "the agent does not answer" ); }

FileDescriptor connection( const std::vector<std::string> & paths ) {
    std::string tried;
    for ( const std::string & path : paths ) {
        FileDescriptor fd = connectedTo( path, 0, patience );
        if ( fd ) {
            return fd;
        }
        if ( errno == EAGAIN ) {
            refuseSilent();
        }
        tried += ( tried.empty() ? "" : ", " ) + path + reasonOf( errno );
    }
    throw std::runtime_error( "no agent answers on " + tried );
}

// An agent that refuses a request while it is still arriving does not read the rest; by then it has
// answered.
void send( int fd, std::string_view text ) {
    while ( !text.empty() ) {
        const ssize_t count = ::send( fd, text.data(), text.size(), MSG_NOSIGNAL );
        if ( count >= 0 ) {
            text.remove_prefix( static_cast<std::size_t>( count ) );
        } else if ( errno != EINTR ) {
            return;
        }
    }
}

Answer receive( int fd ) {
    AnswerReader reader;
    std::vector<char> piece( 65536 );
    while ( true ) {
        const ssize_t count = recv( fd, piece.data(), piece.size(), 0 );
        if ( count < 0 && errno == EINTR ) {
            continue;
        }
        if ( count < 0 && errno == EAGAIN ) {
            refuseSilent();
        }
        if ( count <= 0 ) {
            throw std::runtime_error( "the agent ended before it had answered" );
        }
        switch ( reader.add( { piece.data(), static_cast<std::size_t>( count ) } ) ) {
        case AnswerReader::State::incomplete:
            break;
        case AnswerReader::State::complete:
            return reader.takeAnswer();
        case AnswerReader::State::malformed:
            throw std::runtime_error( "whoever listens on the agent's socket is no agent" );
        }
    }
}

std::string tooLongText( const Request & request ) {
    return ( request.kind == RequestKind::feed ? "a feed" : "a command" ) +
           std::string( " has at most " ) + std::to_string( bodyLimit( request.kind ) ) +
           " bytes, and this one " + std::to_string( request.body.size() );
}

} // namespace

std::string ask( const std::vector<std::string> & socketPaths, const Request & request ) {
    if ( request.body.size() > bodyLimit( request.kind ) ) {
        throw std::runtime_error( tooLongText( request ) );
    }
    const FileDescriptor fd = connection( socketPaths );
    send( fd.get(), encoded( request ) );
    Answer answer = receive( fd.get() );
    if ( answer.status == AnswerStatus::done ) {
        return std::move( answer.text );
    }
    if ( answer.text.ends_with( '\n' ) ) {
        answer.text.pop_back();
    }
    throw AgentRefusal( answer.text );
}

Request feedRequest( const std::string & file ) {
    try {
        // The name ends at the line end.
        const std::string patch = readInput( file );
        if ( patch.size() > feedLimit ) {
            DocumentPlace{ .file = inputName( file ) }.refuse( {}, "must have 4 MiB at most" );
        }
        return { RequestKind::feed, shown( inputName( file ), 300 ) + '\n' + patch };
    } catch ( const DocumentError & error ) {
        throw std::runtime_error( error.what() );
    }
}

} // namespace KelHost
