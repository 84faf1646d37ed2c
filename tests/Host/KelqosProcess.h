#pragma once

#include "Host/Json/FileDescriptor.h"
#include "Host/Switch/AnswerFile.h"
#include "tests/support/TempFolder.h"

#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <ostream>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace KelHostTest {

// Waits until the descriptor can be read, a process's until it has ended. That `what` did not come
// in time is a failure of the test.
inline bool comes( int fd, const std::string & what ) {
    constexpr int patience = 15; // seconds
    pollfd awaited{ fd, POLLIN, 0 };
    const bool came = poll( &awaited, 1, patience * 1000 ) == 1;
    EXPECT_TRUE( came ) << "waited " << patience << " s for " << what;
    return came;
}

// The program `kelqos` as a process of its own, which does not outlive the test. It starts with its
// three standard descriptors only.
class Process {
  public:
    Process( std::vector<std::string> words, int out, int err,
             const std::string & notifySocket = {} ) {
        words.insert( words.begin(), KELQOS_PROGRAM );
        std::vector<char *> argv;
        for ( std::string & word : words ) {
            argv.push_back( word.data() );
            name_ += word + " ";
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
            dup2( out, STDOUT_FILENO );
            dup2( err, STDERR_FILENO );
            closefrom( STDERR_FILENO + 1 );
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
        const KelHost::FileDescriptor process(
            static_cast<int>( syscall( SYS_pidfd_open, pid_, 0 ) ) );
        if ( !comes( process.get(), "the end of " + name_ ) ) {
            kill( pid_, SIGKILL );
        }
        int status = 0;
        EXPECT_GT( waitpid( std::exchange( pid_, 0 ), &status, 0 ), 0 );
        return WIFEXITED( status ) ? WEXITSTATUS( status ) : -WTERMSIG( status );
    }

  private:
    std::string name_;
    pid_t pid_ = 0;
};

struct Outcome {
    int status = 0; // exit status, or minus the signal that ended the process
    std::string out = {};
    std::string err = {};

    bool operator==( const Outcome & ) const = default;
    friend std::ostream & operator<<( std::ostream & stream, const Outcome & outcome ) {
        return stream << outcome.status << "\n" << outcome.out << outcome.err;
    }
};

// Runs the program to its end. `outFd`: where standard output goes instead of into the result.
inline Outcome runKelqos( std::vector<std::string> args, int outFd = -1 ) {
    const KelHost::AnswerFile out;
    const KelHost::AnswerFile err;
    const int status =
        Process( std::move( args ), outFd >= 0 ? outFd : out.fd(), err.fd() ).exitStatus();
    return { status, out.text(), err.text() };
}

inline Outcome play( std::string_view text, std::vector<std::string> options = {} ) {
    const TestSupport::TempFolder folder;
    options.insert( options.begin(), { "play", folder.write( "tour.json", text ) } );
    return runKelqos( std::move( options ) );
}

} // namespace KelHostTest
