#include "Host/Json/TextFile.h"

#include "Host/Json/DocumentError.h"
#include "Host/Json/FileDescriptor.h"

#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

namespace KelHost {

namespace {

constexpr const char * standardInput = "-";

[[noreturn]] void refuse( const std::string & file, const std::string & why ) {
    DocumentPlace{ .file = file }.refuse( {}, "cannot be read: " + why );
}

std::string kindOf( mode_t mode ) {
    switch ( mode & S_IFMT ) {
    case S_IFDIR:
        return "a folder";
    case S_IFIFO:
        return "a FIFO";
    case S_IFSOCK:
        return "a socket";
    default:
        return "a device";
    }
}

} // namespace

std::string readTextFile( const std::string & file ) {
    if ( file.find( '\0' ) != std::string::npos ) {
        refuse( file, std::strerror( ENOENT ) );
    }
    // Opening anything else than a regular file may wait, or do something to whoever is behind it.
    // If it becomes something else in between, at least nothing waits.
    const auto check = [&file]( int result, const struct stat & found ) {
        if ( result != 0 ) {
            refuse( file, std::strerror( errno ) );
        }
        if ( !S_ISREG( found.st_mode ) ) {
            refuse( file, "it is " + kindOf( found.st_mode ) + ", and must be a regular file" );
        }
    };
    struct stat found {};
    check( stat( file.c_str(), &found ), found );
    const FileDescriptor fd( open( file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY ) );
    check( fd ? fstat( fd.get(), &found ) : -1, found );
    return readText( fd.get(), file );
}

std::string readText( int fd, const std::string & name ) {
    std::string text;
    std::string chunk( 1 << 16, '\0' );
    while ( true ) {
        const ssize_t got = read( fd, chunk.data(), chunk.size() );
        if ( got == 0 ) {
            return text;
        }
        if ( got > 0 ) {
            text.append( chunk, 0, static_cast<std::size_t>( got ) );
        } else if ( errno != EINTR ) {
            refuse( name, std::strerror( errno ) );
        }
        if ( text.size() > textFileLimit ) {
            refuse( name, "it is larger than 16 MiB" );
        }
    }
}

std::string readInput( const std::string & file ) {
    return file == standardInput ? readText( STDIN_FILENO, inputName( file ) )
                                 : readTextFile( file );
}

std::string inputName( const std::string & file ) {
    return file == standardInput ? "standard input" : file;
}

} // namespace KelHost
