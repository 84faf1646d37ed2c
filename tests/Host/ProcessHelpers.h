#pragma once

#include "Host/FileDescriptor.h"
#include "Host/UnixSocket.h"
#include "tests/Host/KelqosProcess.h"
#include "tests/support/TempFolder.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <vector>

namespace KelHostTest {

using KelHost::FileDescriptor;
using TestSupport::TempFolder;

// The program `kelqos` as a process of its own, which does not outlive the test.
class Process {
  public:
    Process( std::vector<std::string> words, int error, const std::string & notifySocket = {} ) {
        words.insert( words.begin(), KELQOS_PROGRAM );
        std::vector<char *> argv;
        for ( std::string & word : words ) {
            argv.push_back( word.data() );
        }
        argv.push_back( nullptr );
        pid_ = fork();
        if ( pid_ == 0 ) {
            prctl( PR_SET_PDEATHSIG, SIGKILL );
            unsetenv( "SIMULATION_VMID" );
            unsetenv( "KELQOS_SOCKET" );
            if ( !notifySocket.empty() ) {
                setenv( "NOTIFY_SOCKET", notifySocket.c_str(), 1 );
            }
            dup2( error, STDERR_FILENO );
            execv( argv[0], argv.data() );
            _exit( 127 );
        }
    }
    ~Process() {
        if ( pid_ > 0 ) {
            kill( pid_, SIGKILL );
            exitStatus();
        }
    }
    Process( const Process & ) = delete;
    Process & operator=( const Process & ) = delete;

    void signal( int number ) const { kill( pid_, number ); }

    // Waits for its end; -N when signal N ended it.
    int exitStatus() {
        int status = 0;
        EXPECT_EQ( waitpid( pid_, &status, 0 ), pid_ );
        pid_ = 0;
        return WIFEXITED( status ) ? WEXITSTATUS( status ) : -WTERMSIG( status );
    }

  private:
    pid_t pid_ = 0;
};

inline std::ostream & operator<<( std::ostream & out, const Outcome & outcome ) {
    return out << outcome.status << "\n" << outcome.out << outcome.err;
}

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
        process_.emplace( options, error.get(), notifySocket );
    }

    Process & process() { return *process_; }

    // Waits until the log has a line with that text, and returns what the log has up to there. The
    // whole log of an agent that ends before.
    std::string logUpTo( const std::string & text ) {
        std::string log;
        std::string line;
        char c = 0;
        while ( read( log_.get(), &c, 1 ) == 1 ) {
            log += c;
            line = c == '\n' ? "" : line + c;
            if ( c == '\n' && log.find( text ) != std::string::npos ) {
                return log;
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
        const timeval patience{ .tv_sec = 60, .tv_usec = 0 }; // an agent that died tells nothing
        setsockopt( fd_.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience );
    }
    // The next notice; waits for it. Empty when none comes.
    std::string next() const {
        char text[1024];
        const ssize_t size = recv( fd_.get(), text, sizeof text, 0 );
        return { text, size < 0 ? 0 : static_cast<std::size_t>( size ) };
    }

  private:
    FileDescriptor fd_;
};

} // namespace KelHostTest
