#pragma once

#include "Host/Agent/UnixSocket.h"
#include "tests/Host/KelqosProcess.h"

#include <fcntl.h>
#include <optional>

namespace KelHostTest {

using KelHost::FileDescriptor;
using TestSupport::TempFolder;

// `kelqos agent` on a configuration and a socket, with its log in hand.
class AgentProcess {
  public:
    AgentProcess( const std::string & config, std::string socket,
                  std::vector<std::string> options = {}, const std::string & notifySocket = {} )
        : socket_( std::move( socket ) ) {
        int ends[2];
        EXPECT_EQ( pipe2( ends, O_CLOEXEC ), 0 );
        log_ = FileDescriptor( ends[0] );
        const FileDescriptor error( ends[1] );
        options.insert( options.begin(),
                        { "agent", "--config", config, "--socket", socket_, "--foreground" } );
        process_.emplace( options, STDOUT_FILENO, error.get(), notifySocket );
    }

    Process & process() { return *process_; }

    // Waits until the log has a line with that text, and returns what the log has up to there. The
    // whole log of an agent that ends before.
    std::string logUpTo( const std::string & text ) {
        std::string log;
        char c = 0;
        while ( comes( log_.get(), '"' + text + "\" in the agent's log:\n" + log ) &&
                read( log_.get(), &c, 1 ) == 1 ) {
            log += c;
            if ( c == '\n' && log.find( text ) != std::string::npos ) {
                break;
            }
        }
        return log;
    }
    // Until it answers.
    AgentProcess & ready() {
        EXPECT_NE( logUpTo( " reload" ).find( "listening" ), std::string::npos );
        return *this;
    }
    // To its end.
    std::string log() { return logUpTo( "\n\n" ); }

    int stop() {
        process().signal( SIGTERM );
        return process().exitStatus();
    }

    Outcome ask( std::vector<std::string> words ) const {
        words.insert( words.end(), { "--socket", socket_ } );
        return runKelqos( words );
    }

  private:
    std::string socket_;
    FileDescriptor log_;
    std::optional<Process> process_;
};

// Takes the place of the service manager.
class NotifySocket {
  public:
    explicit NotifySocket( const std::string & path )
        : fd_( socket( AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0 ) ) {
        const KelHost::UnixAddress address( path );
        EXPECT_EQ( bind( fd_.get(), address.get(), address.size ), 0 );
    }
    // The next notice; waits for it. Empty when none comes.
    std::string next() const {
        char text[1024];
        const ssize_t size = comes( fd_.get(), "a notice of the agent" )
                                 ? recv( fd_.get(), text, sizeof text, 0 )
                                 : -1;
        return { text, size < 0 ? 0 : static_cast<std::size_t>( size ) };
    }

  private:
    FileDescriptor fd_;
};

} // namespace KelHostTest
