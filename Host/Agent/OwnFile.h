#pragma once

#include <string>
#include <sys/stat.h>

namespace KelHost {

// Whether there is a file of that kind (S_IFREG, S_IFDIR), itself and no link to one, that belongs
// to this process's user: in a folder that others may write to, anybody could have put it there.
bool isOwn( const std::string & path, mode_t kind );

} // namespace KelHost
