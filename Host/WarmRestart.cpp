#include "Host/WarmRestart.h"

#include "Host/FileDescriptor.h"

#include <fcntl.h>

namespace KelHost {

bool WarmRestart::pending() const { return access( file_.c_str(), F_OK ) == 0; }

void WarmRestart::pendingIs( bool pending ) const {
    if ( pending ) {
        const FileDescriptor made(
            open( file_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600 ) );
    } else {
        (void)unlink( file_.c_str() );
    }
}

} // namespace KelHost
