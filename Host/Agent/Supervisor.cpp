#include "Host/Agent/Supervisor.h"

#include "Host/Agent/SignalQueue.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <sys/prctl.h>
#include <sys/wait.h>

namespace KelHost {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t endsAllowed = 5;
constexpr auto endsWithin = std::chrono::minutes( 1 );

std::string describe( int status ) {
    return WIFSIGNALED( status ) ? "was ended by signal " + std::to_string( WTERMSIG( status ) ) +
                                       " (" + strsignal( WTERMSIG( status ) ) + ")"
                                 : "ended with status " + std::to_string( WEXITSTATUS( status ) );
}

// Once it runs, an agent ends with status 0 or by a signal; any other status means that it refused
// to start, and it would refuse again.
bool isRefusal( int status ) { return WIFEXITED( status ) && WEXITSTATUS( status ) != 0; }

// The most recent ends, to tell an accident from an agent that cannot stay up.
class Ends {
  public:
    // Adds one, and returns whether there were too many in too short a time.
    bool add( Clock::time_point now ) {
        Clock::time_point & oldest = times_[next_++ % endsAllowed];
        oldest = now;
        return next_ >= endsAllowed && now - times_[next_ % endsAllowed] <= endsWithin;
    }

  private:
    std::array<Clock::time_point, endsAllowed> times_{};
    std::size_t next_ = 0;
};

class Supervisor {
  public:
    explicit Supervisor( const AgentLog & log ) : log_( log ) {
        // If the signal were inherited as ignored, the child's exit status would be lost.
        std::signal( SIGCHLD, SIG_DFL );
    }

    int run( const std::function<int()> & agent ) {
        while ( true ) {
            const pid_t parent = getpid();
            child_ = checkedResult( fork(), "cannot start the agent" );
            if ( child_ == 0 ) {
                return followParent( parent ) ? agent() : EXIT_FAILURE;
            }
            if ( const std::optional<int> result = afterEnd( waitForEnd() ) ) {
                return *result;
            }
        }
    }

  private:
    // The agent stops when its supervisor is gone, however that came about.
    static bool followParent( pid_t parent ) {
        return prctl( PR_SET_PDEATHSIG, SIGTERM ) == 0 && getppid() == parent;
    }

    int waitForEnd() {
        while ( true ) {
            const int signal = signals_.wait();
            int status = 0;
            if ( signal != SIGCHLD ) {
                stopping_ = stopping_ || signal != SIGHUP;
                (void)kill( child_, signal ); // it may just have ended
            } else if ( waitpid( child_, &status, WNOHANG ) == child_ ) {
                return status;
            }
        }
    }

    // The supervisor's exit status, or nothing when the agent is to be started again.
    std::optional<int> afterEnd( int status ) {
        if ( stopping_ ) {
            return EXIT_SUCCESS;
        }
        const std::string what = "the agent " + describe( status );
        if ( isRefusal( status ) ) {
            if ( restarted_ ) {
                log_.error( what + "; not starting it again" );
            }
            return WEXITSTATUS( status );
        }
        if ( ends_.add( Clock::now() ) ) {
            log_.error( what + ", for the fifth time within a minute; giving up" );
            return EXIT_FAILURE;
        }
        log_.error( what + "; starting it again" );
        restarted_ = true;
        return std::nullopt;
    }

    const AgentLog & log_;
    SignalQueue signals_{ SIGCHLD, SIGTERM, SIGINT, SIGHUP };
    Ends ends_;
    pid_t child_ = 0;
    bool stopping_ = false;
    bool restarted_ = false;
};

} // namespace

int supervise( const std::function<int()> & agent, const AgentLog & log ) {
    return Supervisor( log ).run( agent );
}

} // namespace KelHost
