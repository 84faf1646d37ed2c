#include "Host/Agent/LogOutput.h"

#include "Host/Agent/UnixSocket.h"
#include "Host/Agent/WallClock.h"
#include "Host/Switch/AnswerFile.h"
#include "Platform/Logging/RingTrace.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <syslog.h>

namespace KelHost {

namespace {

// An open file of our own for the same terminal or pipe can be made non-blocking without the shell,
// or whoever else has it, noticing. A socket, or somebody else's pipe, cannot be opened again; but
// then it is most likely ours alone. A terminal stays as it is.
void unblockStandardError() {
    struct stat found {};
    if ( fstat( STDERR_FILENO, &found ) != 0 || S_ISREG( found.st_mode ) ) {
        return; // there is none, or it does not block
    }
    const FileDescriptor own(
        open( "/proc/self/fd/2", O_WRONLY | O_APPEND | O_NONBLOCK | O_NOCTTY | O_CLOEXEC ) );
    if ( own ) {
        (void)dup2( own.get(), STDERR_FILENO ); // cannot fail: both are open
    } else if ( isatty( STDERR_FILENO ) == 0 ) {
        (void)fcntl( STDERR_FILENO, F_SETFL, fcntl( STDERR_FILENO, F_GETFL ) | O_NONBLOCK );
    }
}

// The journal says so in the environment of what it reads from.
bool isJournal() {
    const char * stream = std::getenv( "JOURNAL_STREAM" );
    struct stat found {};
    return stream != nullptr && fstat( STDERR_FILENO, &found ) == 0 &&
           stream == std::to_string( found.st_dev ) + ":" + std::to_string( found.st_ino );
}

std::string now() {
    char text[32];
    return { text, wallClockText( wallClock(), text ) };
}

// Writes what standard error takes; waits for room for so many milliseconds at most, in all.
// Returns how much was written.
std::size_t writeSome( std::string_view text, int patience ) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::milliseconds( patience );
    std::size_t written = 0;
    while ( written < text.size() ) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>( end - Clock::now() ).count();
        pollfd room{ STDERR_FILENO, POLLOUT, 0 };
        if ( poll( &room, 1, static_cast<int>( std::max<long>( left, 0 ) ) ) != 1 ) {
            break;
        }
        const ssize_t count =
            ::write( STDERR_FILENO, text.data() + written, text.size() - written );
        if ( count < 0 && errno != EAGAIN && errno != EINTR ) {
            return text.size(); // nobody will ever read it
        }
        written += count < 0 ? 0 : static_cast<std::size_t>( count );
    }
    return written;
}

} // namespace

StandardErrorOutput::StandardErrorOutput() : toJournal_( isJournal() ) { unblockStandardError(); }

bool StandardErrorOutput::flush( int patience ) {
    if ( !kept_.empty() ) {
        kept_.erase( 0, writeSome( kept_, patience ) );
    }
    return kept_.empty();
}

bool StandardErrorOutput::write( int priority, std::string_view line ) {
    if ( kept_.size() + line.size() > keptAtMost && !flush( 0 ) ) {
        return false;
    }
    kept_ += toJournal_ ? "<" + std::to_string( priority ) + ">" : now() + " ";
    kept_.append( line ).append( "\n" );
    (void)flush( 0 );
    return true;
}

void SyslogOutput::connect() {
    const UnixAddress address( path_ );
    socket_ = FileDescriptor( socket( AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0 ) );
    if ( socket_ && ::connect( socket_.get(), address.get(), address.size ) != 0 ) {
        socket_ = FileDescriptor();
    }
}

bool SyslogOutput::write( int priority, std::string_view line ) {
    const std::time_t time = std::time( nullptr );
    tm parts{};
    localtime_r( &time, &parts );
    constexpr const char * months[] = { "Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec" };
    char date[32]; // in English, whatever the locale is
    (void)std::strftime( date, sizeof date, " %e %H:%M:%S ", &parts );
    std::string text = "<" + std::to_string( LOG_DAEMON | priority ) + ">" + months[parts.tm_mon] +
                       date + "kelqos[" + std::to_string( getpid() ) + "]: ";
    text.append( line );
    // Once more if the daemon was started again since.
    for ( int attempt = 0; attempt < 2; ++attempt ) {
        if ( !socket_ ) {
            connect();
        }
        if ( socket_ &&
             send( socket_.get(), text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT ) >= 0 ) {
            return true;
        }
        if ( errno == EAGAIN || errno == ENOBUFS ) {
            return false;
        }
        socket_ = FileDescriptor();
    }
    return false;
}

void writeRingTrace() {
    constexpr int patience = 1000; // milliseconds
    const AnswerFile text;
    Kel::ringTraceWrite( text.fd() );
    (void)writeSome( text.text(), patience );
}

} // namespace KelHost
