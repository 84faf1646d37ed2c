#include "Host/Agent/KeptDocument.h"

#include "Host/Agent/OwnFile.h"
#include "Host/Json/FileDescriptor.h"
#include "Host/Json/TextFile.h"

#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <string_view>
#include <sys/stat.h>

namespace KelHost {

namespace {

[[noreturn]] void refuse( const std::string & what, const std::string & why ) {
    throw std::runtime_error( what + ": " + why );
}

void check( bool good, const std::string & what ) {
    if ( !good ) {
        refuse( what, std::strerror( errno ) );
    }
}

bool writeAll( int fd, std::string_view text ) {
    while ( !text.empty() ) {
        const ssize_t count = write( fd, text.data(), text.size() );
        if ( count >= 0 ) {
            text.remove_prefix( static_cast<std::size_t>( count ) );
        } else if ( errno != EINTR ) {
            return false;
        }
    }
    return true;
}

} // namespace

bool KeptDocument::present() const { return isOwn( file_, S_IFREG ); }

std::optional<std::string> KeptDocument::text() const {
    const std::string what = "the kept document " + file_ + " is not used";
    const auto trust = [&what]( const struct stat & found ) {
        if ( !S_ISREG( found.st_mode ) ) {
            refuse( what, "it is no regular file" );
        }
        if ( found.st_uid != geteuid() || ( found.st_mode & ( S_IWGRP | S_IWOTH ) ) != 0 ) {
            refuse( what, "it belongs to somebody else, or others may write to it" );
        }
    };
    struct stat found {};
    if ( lstat( file_.c_str(), &found ) != 0 && errno == ENOENT ) {
        return std::nullopt;
    }
    trust( found ); // before it is opened, since that may do something to what is no file
    const FileDescriptor fd(
        open( file_.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY ) );
    check( fd && fstat( fd.get(), &found ) == 0, what );
    trust( found );
    return readText( fd.get(), file_ );
}

bool KeptDocument::isKept( const std::string & document ) const {
    struct stat found {};
    if ( lstat( file_.c_str(), &found ) != 0 ||
         found.st_size != static_cast<off_t>( document.size() ) ) {
        return false;
    }
    try {
        return text() == document;
    } catch ( const std::runtime_error & ) {
        return false; // whatever is there, it is not the document
    }
}

void KeptDocument::textIs( const std::string & text ) const {
    if ( isKept( text ) ) {
        return;
    }
    const std::string what = "cannot keep the document in " + file_;
    const std::string draft = file_ + ".new";
    (void)unlink( draft.c_str() ); // of an agent that was killed
    const FileDescriptor fd(
        open( draft.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600 ) );
    check( static_cast<bool>( fd ), what );
    if ( !writeAll( fd.get(), text ) || fsync( fd.get() ) != 0 ||
         rename( draft.c_str(), file_.c_str() ) != 0 ) {
        const int error = errno;
        (void)unlink( draft.c_str() );
        errno = error;
        check( false, what );
    }
    // The new name is on the disk when its folder is.
    const std::string folder = file_.substr( 0, file_.rfind( '/' ) + 1 );
    const FileDescriptor opened(
        open( folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC ) );
    check( opened && fsync( opened.get() ) == 0, what );
}

void KeptDocument::forget() const {
    (void)unlink( file_.c_str() );
    (void)unlink( ( file_ + ".new" ).c_str() );
}

} // namespace KelHost
