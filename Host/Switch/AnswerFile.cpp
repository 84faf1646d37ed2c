#include "Host/Switch/AnswerFile.h"

#include <sys/mman.h>

namespace KelHost {

AnswerFile::AnswerFile()
    : fd_( checkedResult( memfd_create( "answer", MFD_CLOEXEC ), "cannot keep an answer" ) ) {}

std::string AnswerFile::text() const {
    std::string text;
    char piece[65536];
    while ( true ) {
        const ssize_t count = pread( fd(), piece, sizeof piece, static_cast<off_t>( text.size() ) );
        if ( count == 0 ) {
            return text;
        }
        if ( count > 0 ) {
            text.append( piece, static_cast<std::size_t>( count ) );
        } else if ( errno != EINTR ) {
            throw std::system_error( errno, std::generic_category(), "cannot read an answer" );
        }
    }
}

} // namespace KelHost
