#include "Host/Agent/WarmRestart.h"

#include "Host/Agent/OwnFile.h"
#include "Host/Json/FileDescriptor.h"

#include <fcntl.h>

namespace KelHost {

bool WarmRestart::noted() const { return isOwn( file_, S_IFREG ); }

void WarmRestart::note() const {
    FileDescriptor(
        open( file_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600 ) );
}

void WarmRestart::forget() const { (void)unlink( file_.c_str() ); }

} // namespace KelHost
