#include "Host/Agent/CommandSocket.h"

#include "Host/Agent/UnixSocket.h"

#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>

namespace KelHost {

namespace {

[[noreturn]] void refuse( const std::string & path, const std::string & why ) {
    throw std::runtime_error( "cannot listen on " + path + ": " + why );
}

[[noreturn]] void refuseInUse( const std::string & path ) {
    refuse( path, "another agent is running there" );
}

const std::string & checkedPath( const std::string & path ) {
    (void)UnixAddress::ofFile( path ); // before anything is created next to it
    return path;
}

// Nothing's identity when there is no such file.
FileIdentity identityOf( const std::string & name ) {
    struct stat found {};
    return lstat( name.c_str(), &found ) == 0 ? FileIdentity{ found.st_dev, found.st_ino }
                                              : FileIdentity{};
}

FileIdentity identityOf( int fd ) {
    struct stat found {};
    (void)fstat( fd, &found ); // cannot fail: it is open
    return { found.st_dev, found.st_ino };
}

FileDescriptor locked( const std::string & path, const std::string & name ) {
    while ( true ) {
        FileDescriptor lock(
            open( name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600 ) );
        if ( !lock ) {
            refuse( path, "cannot open " + name + ": " + std::strerror( errno ) );
        }
        if ( flock( lock.get(), LOCK_EX | LOCK_NB ) != 0 ) {
            if ( errno == EWOULDBLOCK ) {
                refuseInUse( path );
            }
            refuse( path, "cannot lock " + name + ": " + std::strerror( errno ) );
        }
        // The last owner may have removed the file between the two calls; the name is then free, or
        // that of another file.
        if ( identityOf( lock.get() ) == identityOf( name ) ) {
            return lock;
        }
    }
}

// With the claim in hand: whatever socket is there belongs to nobody, unless somebody removed the
// lock file of a running agent.
void removeStaleSocket( const std::string & path ) {
    struct stat found {};
    if ( lstat( path.c_str(), &found ) != 0 ) {
        return; // if anything is wrong, bind() reports it
    }
    if ( !S_ISSOCK( found.st_mode ) ) {
        refuse( path, "it is there and is no socket" );
    }
    if ( connectedTo( path, SOCK_NONBLOCK ) || errno == EAGAIN ) {
        refuseInUse( path );
    }
    (void)unlink( path.c_str() );
}

FileDescriptor listening( const std::string & path ) {
    const UnixAddress address = UnixAddress::ofFile( path );
    FileDescriptor listener(
        checkedResult( socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0 ),
                       "cannot make a socket" ) );
    // The socket never has wider permissions than these, not even for a moment.
    const mode_t usual = umask( 0117 );
    const int bound = bind( listener.get(), address.get(), address.size );
    const int error = errno;
    umask( usual );
    if ( bound != 0 ) {
        refuse( path, std::strerror( error ) );
    }
    if ( listen( listener.get(), SOMAXCONN ) != 0 ) {
        const std::string why = std::strerror( errno );
        (void)unlink( path.c_str() );
        refuse( path, why );
    }
    return listener;
}

} // namespace

PathClaim::PathClaim( const std::string & path )
    : name_( path + ".lock" ), lock_( locked( path, name_ ) ) {}

bool PathClaim::holds() const { return lock_ && identityOf( lock_.get() ) == identityOf( name_ ); }

void PathClaim::release() {
    if ( lock_ ) {
        if ( holds() ) {
            (void)unlink( name_.c_str() ); // while it is locked
        }
        lock_ = FileDescriptor();
    }
}

CommandSocket::CommandSocket( const std::string & path )
    : path_( checkedPath( path ) ), claim_( path ) {
    removeStaleSocket( path );
    listener_ = listening( path );
    file_ = identityOf( path );
}

CommandSocket::~CommandSocket() { close(); }

void CommandSocket::close() {
    if ( listener_ ) {
        if ( identityOf( path_ ) == file_ ) {
            (void)unlink( path_.c_str() );
        }
        listener_ = FileDescriptor();
        claim_.release();
    }
}

} // namespace KelHost
