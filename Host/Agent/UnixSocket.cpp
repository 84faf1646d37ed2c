#include "Host/Agent/UnixSocket.h"

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

UnixAddress UnixAddress::ofFile( const std::string & path ) {
    if ( path.starts_with( '@' ) ) {
        throw std::invalid_argument( "\"" + path +
                                     "\" is no socket path: an abstract socket is open "
                                     "to everybody; a file of that name is ./" +
                                     path );
    }
    return UnixAddress( path );
}

FileDescriptor connectedTo( const std::string & path, int flags, timeval patience ) {
    const UnixAddress address = UnixAddress::ofFile( path );
    FileDescriptor fd( checkedResult( socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0 ),
                                      "cannot make a socket" ) );
    // Before connecting, which may have to wait as well.
    for ( const int option : { SO_RCVTIMEO, SO_SNDTIMEO } ) {
        checkedResult( setsockopt( fd.get(), SOL_SOCKET, option, &patience, sizeof patience ),
                       "cannot set up a connection" );
    }
    if ( connect( fd.get(), address.get(), address.size ) != 0 ) {
        const int error = errno;
        fd = FileDescriptor();
        errno = error;
    }
    return fd;
}

} // namespace KelHost
