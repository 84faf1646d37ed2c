#pragma once

#include <string>

namespace KelHost {

// Remembers, in the file PATH.warm next to the agent's socket, that the agent ended without having
// been stopped, most likely because of a leak. The next start is then a warm restart: it begins
// with empty counter stores, as the counters of the chip do, because what ended the old process
// must not end the new one as well. Forgotten when the agent is stopped.
//
// All of it is best effort: without the folder there is nothing to remember it by.
class WarmRestart {
  public:
    explicit WarmRestart( const std::string & socketPath ) : file_( socketPath + ".warm" ) {}

    // Only a file of this user counts.
    bool pending() const;
    void pendingIs( bool pending ) const;

  private:
    std::string file_;
};

} // namespace KelHost
