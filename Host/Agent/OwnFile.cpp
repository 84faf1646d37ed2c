#include "Host/Agent/OwnFile.h"

#include <unistd.h>

namespace KelHost {

bool isOwn( const std::string & path, mode_t kind ) {
    struct stat found {};
    return lstat( path.c_str(), &found ) == 0 && ( found.st_mode & S_IFMT ) == kind &&
           found.st_uid == geteuid();
}

} // namespace KelHost
