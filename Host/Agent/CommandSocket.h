#pragma once

#include "Host/Json/FileDescriptor.h"

#include <string>
#include <sys/types.h>

namespace KelHost {

// Tells a file from another one that took its name.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    bool operator==( const FileIdentity & ) const = default;
};

// A claim to a path: a lock on the file PATH.lock. It ends with the process, so a socket that was
// left behind can be told from one that is in use, and of two agents that start at the same moment
// one is refused.
class PathClaim {
  public:
    // Throws std::runtime_error, with a text for the user, when another process has the path or
    // when the system refuses.
    explicit PathClaim( const std::string & path );
    ~PathClaim() { release(); }
    PathClaim( const PathClaim & ) = delete;
    PathClaim & operator=( const PathClaim & ) = delete;

    // Whether the path is still this process's: nobody has taken the file away.
    bool holds() const;

    // Gives the path up and removes the file, as destruction does.
    void release();

  private:
    std::string name_;
    FileDescriptor lock_;
};

// The socket on which an agent listens, with the claim to its path.
class CommandSocket {
  public:
    // Listens, replacing a socket that is no longer in use. Owner and group may connect. Throws
    // std::runtime_error, with a text for the user, when another agent has the path, when something
    // other than a socket is there, or when the system refuses; nothing is left behind then.
    explicit CommandSocket( const std::string & path );
    ~CommandSocket();
    CommandSocket( const CommandSocket & ) = delete;
    CommandSocket & operator=( const CommandSocket & ) = delete;

    const std::string & path() const { return path_; }
    // Listening, and non-blocking.
    int fd() const { return listener_.get(); }

    // Whether what lies beside the socket is still this agent's, and not another one's that was
    // started after somebody took the lock file away.
    bool holdsPath() const { return claim_.holds(); }

    // Stops listening and gives up the path, as destruction does. A socket that somebody else has
    // put there since stays.
    void close();

  private:
    std::string path_;
    PathClaim claim_;
    FileDescriptor listener_;
    FileIdentity file_; // of the socket
};

} // namespace KelHost
