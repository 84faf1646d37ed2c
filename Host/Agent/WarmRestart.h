#pragma once

#include <string>

namespace KelHost {

// Remembers, next to the agent's socket, that the agent ended without having been stopped, most
// likely because of a leak. The next start is then a warm restart: it programs the same
// configuration, but begins with empty counter stores, as the counters of the chip do, because what
// ended the old process must not end the new one as well. Forgotten when the agent is stopped.
//
// All of it is best effort: without the folder there is nothing to remember it by.
class WarmRestart {
  public:
    explicit WarmRestart( const std::string & socketPath ) : file_( socketPath + ".warm" ) {}

    bool pending() const;
    // A document that is kept stays as it is.
    void pendingIs( bool pending ) const;

    // The text of the switch document that ran, in case its file has become unusable since; empty
    // when the process had no time to leave it.
    std::string document() const;
    // Keeps this text, which may be empty, and makes a warm restart pending.
    void documentIs( const std::string & text ) const;

  private:
    std::string file_;
};

} // namespace KelHost
