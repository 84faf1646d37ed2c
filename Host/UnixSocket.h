#pragma once

#include "Host/FileDescriptor.h"

#include <string>
#include <sys/socket.h>
#include <sys/un.h>

namespace KelHost {

// The address of a path; one that begins with "@" is in the abstract name space, which no folder
// shows. `size` is what bind() and connect() take.
struct UnixAddress {
    sockaddr_un address;
    unsigned size;

    // Throws std::invalid_argument, with a text for the user, for a path that is empty or longer
    // than an address has room for (107 bytes).
    explicit UnixAddress( const std::string & path );
    const sockaddr * get() const { return reinterpret_cast<const sockaddr *>( &address ); }
};

// A connection to whoever listens at the path; none, with errno, when nobody does. Waits while more
// callers than the listener takes are in front, unless `flags` has SOCK_NONBLOCK. Throws
// std::invalid_argument like UnixAddress and std::system_error when there is no descriptor left.
FileDescriptor connectedTo( const std::string & path, int flags = 0 );

} // namespace KelHost
