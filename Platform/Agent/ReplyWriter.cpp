#include "Platform/Agent/ReplyWriter.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <ctime>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Agent {

namespace {

// Keeps the SIGPIPE of a write to a closed pipe from being delivered: the signal is blocked while
// this object lives, and then discarded unless it was pending before.
class SigpipeHeld {
  public:
    SigpipeHeld() {
        sigset_t pending;
        sigpending( &pending );
        wasPending_ = sigismember( &pending, SIGPIPE ) == 1;
        sigemptyset( &sigpipe_ );
        sigaddset( &sigpipe_, SIGPIPE );
        pthread_sigmask( SIG_BLOCK, &sigpipe_, &previous_ );
    }
    SigpipeHeld( const SigpipeHeld & ) = delete;
    SigpipeHeld & operator=( const SigpipeHeld & ) = delete;
    ~SigpipeHeld() {
        if ( !wasPending_ ) {
            const timespec atOnce{};
            while ( sigtimedwait( &sigpipe_, nullptr, &atOnce ) < 0 && errno == EINTR ) {
            }
        }
        pthread_sigmask( SIG_SETMASK, &previous_, nullptr );
    }

  private:
    bool wasPending_;
    sigset_t sigpipe_{};
    sigset_t previous_{};
};

} // namespace

ReplyWriter::ReplyWriter( int fd, S32 patience )
    : fd_( fd ), patience_( std::chrono::milliseconds( patience ) ) {
    struct stat status {};
    if ( fstat( fd, &status ) != 0 ) {
        failure_ = errno;
    } else if ( S_ISSOCK( status.st_mode ) ) {
        kind_ = Kind::socket;
    } else if ( S_ISREG( status.st_mode ) ) {
        kind_ = Kind::file;
    }
}

void ReplyWriter::write( std::string_view text ) {
    if ( failure_ != 0 ) {
        return;
    }
    if ( kind_ == Kind::socket ) {
        writeAll( text );
    } else {
        const SigpipeHeld held;
        writeAll( text );
    }
}

void ReplyWriter::writeAll( std::string_view text ) {
    while ( !text.empty() && failure_ == 0 ) {
        if ( kind_ == Kind::other && !waitForPeer() ) {
            failure_ = ETIMEDOUT;
            return;
        }
        const S64 written = attempt( text );
        if ( written > 0 ) {
            text.remove_prefix( static_cast<std::size_t>( written ) );
        } else if ( written == 0 ) {
            failure_ = EIO;
        } else if ( errno == EAGAIN || errno == EWOULDBLOCK ) {
            if ( !waitForPeer() ) {
                failure_ = ETIMEDOUT;
            }
        } else if ( errno != EINTR ) {
            failure_ = errno;
        }
    }
}

S64 ReplyWriter::attempt( std::string_view text ) const {
    if ( kind_ == Kind::socket ) {
        return send( fd_, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT );
    }
    // A blocking pipe that takes anything at all has room for this much; writing more could block.
    const std::size_t most = kind_ == Kind::file ? text.size() : std::size_t{ PIPE_BUF };
    return ::write( fd_, text.data(), std::min( text.size(), most ) );
}

bool ReplyWriter::waitForPeer() {
    using Clock = std::chrono::steady_clock;
    using std::chrono::milliseconds;
    while ( true ) {
        pollfd peer{ fd_, POLLOUT, 0 };
        const auto begin = Clock::now();
        const auto most = std::chrono::ceil<milliseconds>( patience_ ).count();
        const int ready = poll( &peer, 1, static_cast<int>( most ) );
        const bool interrupted = ready < 0 && errno == EINTR;
        patience_ -= std::min<std::chrono::nanoseconds>( Clock::now() - begin, patience_ );
        if ( !interrupted ) {
            return ready != 0;
        }
    }
}

} // namespace Agent
