#pragma once

#include "Host/Json/FileDescriptor.h"

#include <string>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

namespace KelHost {

// The address of a path; one that begins with "@" is in the abstract namespace, which has no files.
// `size` is what bind() and connect() take.
struct UnixAddress {
    sockaddr_un address;
    unsigned size;

    // Throws std::invalid_argument, with a text for the user, for a path that is empty or longer
    // than an address has room for (107 bytes).
    explicit UnixAddress( const std::string & path );
    // The address of a file, whose permissions say who may connect. Throws std::invalid_argument
    // for an abstract one too.
    static UnixAddress ofFile( const std::string & path );
    const sockaddr * get() const { return reinterpret_cast<const sockaddr *>( &address ); }
};

// A connection to whoever listens on the file; none, with errno, when nobody does. While the
// listener's queue is full it waits, for as long as `patience` (zero: for ever), or not at all when
// `flags` has SOCK_NONBLOCK; then errno is EAGAIN. The patience also applies to each later call on
// the connection. Throws std::invalid_argument like UnixAddress::ofFile() and std::system_error
// when the system refuses.
FileDescriptor connectedTo( const std::string & path, int flags = 0, timeval patience = {} );

} // namespace KelHost
