#include "Host/Agent/WarmRestart.h"

#include "Host/Json/FileDescriptor.h"
#include "Host/Json/JsonReader.h"

#include <exception>
#include <fcntl.h>

namespace KelHost {

namespace {

FileDescriptor opened( const std::string & file, int flags ) {
    return FileDescriptor(
        open( file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | flags, 0600 ) );
}

} // namespace

bool WarmRestart::pending() const { return access( file_.c_str(), F_OK ) == 0; }

void WarmRestart::pendingIs( bool pending ) const {
    if ( pending ) {
        opened( file_, 0 );
    } else {
        (void)unlink( file_.c_str() );
    }
}

std::string WarmRestart::document() const {
    try {
        return readTextFile( file_ );
    } catch ( const std::exception & ) {
        return "";
    }
}

void WarmRestart::documentIs( const std::string & text ) const {
    const FileDescriptor file = opened( file_, O_TRUNC );
    std::string_view rest = text;
    while ( file && !rest.empty() ) {
        const ssize_t written = write( file.get(), rest.data(), rest.size() );
        if ( written <= 0 ) {
            return; // the next start finds out that it is not whole
        }
        rest.remove_prefix( static_cast<std::size_t>( written ) );
    }
}

} // namespace KelHost
