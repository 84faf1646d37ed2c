#include "Host/Command/Client.h"

#include "Host/Agent/UnixSocket.h"
#include "Host/Json/DocumentError.h"
#include "Host/Json/MessageText.h"
#include "Host/Json/TextFile.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <sys/socket.h>

namespace KelHost {

namespace {

constexpr timeval patience{ .tv_sec = 30, .tv_usec = 0 };

std::string noAgentText( const std::vector<std::string> & paths ) {
    std::string text = "no agent answers on ";
    for ( const std::string & path : paths ) {
        text.append( &path == &paths.front() ? "" : ", " ).append( path );
    }
    return text;
}

[[noreturn]] void refuseSilent() { throw std::runtime_error( "the agent does not answer" ); }

FileDescriptor connection( const std::vector<std::string> & paths ) {
    for ( const std::string & path : paths ) {
        FileDescriptor fd = connectedTo( path, 0, patience );
        if ( fd ) {
            return fd;
        }
        if ( errno == EAGAIN ) {
            refuseSilent();
        }
        if ( errno == EACCES ) {
            throw std::runtime_error( "no permission to talk to the agent on " + path );
        }
    }
    throw std::runtime_error( noAgentText( paths ) );
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

void write( std::string_view text ) {
    if ( std::fwrite( text.data(), 1, text.size(), stdout ) != text.size() ||
         std::fflush( stdout ) != 0 ) {
        throw std::system_error( errno, std::generic_category(), "cannot write the answer" );
    }
}

} // namespace

Answer ask( const std::vector<std::string> & socketPaths, const Request & request ) {
    if ( request.body.size() > bodyLimit( request.kind ) ) {
        throw std::runtime_error( "the request is longer than " +
                                  std::to_string( bodyLimit( request.kind ) ) + " bytes" );
    }
    const FileDescriptor fd = connection( socketPaths );
    send( fd.get(), encoded( request ) );
    return receive( fd.get() );
}

int runClient( const std::vector<std::string> & socketPaths, const Request & request ) {
    const Answer answer = ask( socketPaths, request );
    if ( answer.status == AnswerStatus::done ) {
        write( answer.text );
        return EXIT_SUCCESS;
    }
    const bool endsLine = !answer.text.empty() && answer.text.back() == '\n';
    std::fprintf( stderr, "%s%s", answer.text.c_str(), endsLine ? "" : "\n" );
    return EXIT_FAILURE;
}

Request feedRequest( const std::string & file ) {
    try {
        // The name ends at the line end.
        return { RequestKind::feed, shown( inputName( file ), 300 ) + '\n' + readInput( file ) };
    } catch ( const DocumentError & error ) {
        throw std::runtime_error( error.what() );
    }
}

} // namespace KelHost
