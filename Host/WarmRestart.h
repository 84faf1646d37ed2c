#pragma once

#include <string>

namespace KelHost {

// Remembers, beside the agent's socket, that the agent ended without having been stopped: by a leak
// above all. The next one is then a warm restart: it programs the same configuration, but begins
// with empty counter stores, as the counters of the chip do, because what ended the old process
// must not end the new one as well. Forgotten when the agent is stopped.
class WarmRestart {
  public:
    explicit WarmRestart( const std::string & socketPath ) : file_( socketPath + ".warm" ) {}

    bool pending() const;
    // Best effort: without the folder there is nothing to remember it by.
    void pendingIs( bool pending ) const;

  private:
    std::string file_;
};

} // namespace KelHost
