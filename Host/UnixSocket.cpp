#include "Host/UnixSocket.h"

#include <cstddef>
#include <stdexcept>

namespace KelHost {

UnixAddress::UnixAddress( const std::string & path ) : address{} {
    if ( path.empty() || path.size() >= sizeof address.sun_path ) {
        throw std::invalid_argument( "\"" + path + "\" is no socket path: one has 1 to " +
                                     std::to_string( sizeof address.sun_path - 1 ) + " bytes" );
    }
    address.sun_family = AF_UNIX;
    path.copy( address.sun_path, path.size() );
    if ( path[0] == '@' ) {
        address.sun_path[0] = '\0';
    }
    size = static_cast<unsigned>( offsetof( sockaddr_un, sun_path ) + path.size() );
}

FileDescriptor connectedTo( const std::string & path, int flags ) {
    const UnixAddress address( path );
    FileDescriptor fd( checkedResult( socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0 ),
                                      "cannot make a socket" ) );
    if ( connect( fd.get(), address.get(), address.size ) != 0 ) {
        const int error = errno;
        fd = FileDescriptor();
        errno = error;
    }
    return fd;
}

} // namespace KelHost
