#include "Host/Agent/WarmRestart.h"

#include "Host/Json/FileDescriptor.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace KelHost {

bool WarmRestart::noted() const {
    struct stat found {};
    return lstat( file_.c_str(), &found ) == 0 && S_ISREG( found.st_mode ) &&
           found.st_uid == geteuid();
}

void WarmRestart::note() const {
    FileDescriptor(
        open( file_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600 ) );
}

void WarmRestart::forget() const { (void)unlink( file_.c_str() ); }

} // namespace KelHost
