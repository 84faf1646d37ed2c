#include "Host/Agent/SystemdNotify.h"

#include "Host/Agent/UnixSocket.h"
#include "Platform/Framework/Types.h"

#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <sys/socket.h>

namespace KelHost {

namespace {

U64 monotonicMicroseconds() {
    timespec now{};
    (void)clock_gettime( CLOCK_MONOTONIC, &now ); // this clock always exists
    return static_cast<U64>( now.tv_sec ) * 1'000'000 + static_cast<U64>( now.tv_nsec ) / 1000;
}

} // namespace

SystemdNotify::SystemdNotify() {
    const char * path = std::getenv( "NOTIFY_SOCKET" );
    path_ = path == nullptr ? "" : path;
}

void SystemdNotify::ready( const std::string & status ) const {
    send( "READY=1\nSTATUS=" + status + "\n" );
}

void SystemdNotify::reloading() const {
    send( "RELOADING=1\nMONOTONIC_USEC=" + std::to_string( monotonicMicroseconds() ) + "\n" );
}

void SystemdNotify::stopping() const { send( "STOPPING=1\n" ); }

void SystemdNotify::send( const std::string & text ) const {
    if ( path_.empty() ) {
        return;
    }
    try {
        const UnixAddress address( path_ );
        const FileDescriptor fd( checkedResult( socket( AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0 ),
                                                "cannot make a socket" ) );
        (void)sendto( fd.get(), text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
                      address.get(), address.size );
    } catch ( const std::exception & ) {
        // Neither a bad path nor a lack of descriptors is a reason to stop.
    }
}

} // namespace KelHost
