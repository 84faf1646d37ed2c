#include "KelQos/KelSliceQosReplyWriter.h"

#include "KelQos/KelSliceQosSmLog.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <ctime>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace KelQos {

namespace {

// Keeps the SIGPIPE of a write to a closed pipe from being delivered: it is held back while this
// lives, and then taken away unless it was pending before.
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

KelSliceQosReplyWriter::KelSliceQosReplyWriter( int fd, S32 patience )
    : fd_( fd ), patience_( patience ) {
    struct stat status {};
    if ( fstat( fd, &status ) != 0 ) {
        failedIs( errno );
    } else if ( S_ISSOCK( status.st_mode ) ) {
        kind_ = Kind::socket;
    } else if ( S_ISREG( status.st_mode ) ) {
        kind_ = Kind::file;
    }
}

void KelSliceQosReplyWriter::write( std::string_view text ) {
    if ( failed_ ) {
        return;
    }
    if ( kind_ == Kind::socket ) {
        writeAll( text );
    } else {
        const SigpipeHeld held;
        writeAll( text );
    }
}

void KelSliceQosReplyWriter::writeAll( std::string_view text ) {
    while ( !text.empty() && !failed_ ) {
        if ( kind_ == Kind::other && !waitForPeer() ) {
            failedIs( ETIMEDOUT );
            return;
        }
        const S64 written = attempt( text );
        if ( written > 0 ) {
            text.remove_prefix( static_cast<std::size_t>( written ) );
        } else if ( written == 0 ) {
            failedIs( EIO );
        } else if ( errno == EAGAIN || errno == EWOULDBLOCK ) {
            if ( !waitForPeer() ) {
                failedIs( ETIMEDOUT );
            }
        } else if ( errno != EINTR ) {
            failedIs( errno );
        }
    }
}

S64 KelSliceQosReplyWriter::attempt( std::string_view text ) const {
    if ( kind_ == Kind::socket ) {
        return send( fd_, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT );
    }
    // Once it takes anything, a blocking pipe has room for this much: writing more could block.
    const std::size_t most = kind_ == Kind::file ? text.size() : std::size_t{ PIPE_BUF };
    return ::write( fd_, text.data(), std::min( text.size(), most ) );
}

bool KelSliceQosReplyWriter::waitForPeer() {
    using Clock = std::chrono::steady_clock;
    pollfd peer{ fd_, POLLOUT, 0 };
    const auto begin = Clock::now();
    const int ready = poll( &peer, 1, patience_ );
    const auto waited =
        std::chrono::duration_cast<std::chrono::milliseconds>( Clock::now() - begin );
    patience_ -= static_cast<S32>( std::min<S64>( waited.count(), patience_ ) );
    // An interrupted wait and a descriptor in error count as ready: the next write finds out.
    return ready != 0;
}

void KelSliceQosReplyWriter::failedIs( int error ) {
    failed_ = true;
    KEL_TRACE( sliceTrace, 1 ) << "failedIs: Answer on descriptor " << fd_
                               << " cut short: " << std::generic_category().message( error );
}

} // namespace KelQos
