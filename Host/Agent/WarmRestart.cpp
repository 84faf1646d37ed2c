#include "Host/Agent/WarmRestart.h"

#include "Host/Json/FileDescriptor.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace KelHost {

bool WarmRestart::pending() const {
    struct stat found {};
    return lstat( file_.c_str(), &found ) == 0 && S_ISREG( found.st_mode ) &&
           found.st_uid == geteuid();
}

void WarmRestart::pendingIs( bool pending ) const {
    if ( pending ) {
        FileDescriptor(
            open( file_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600 ) );
    } else {
        (void)unlink( file_.c_str() );
    }
}

} // namespace KelHost
