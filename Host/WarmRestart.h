#pragma once

#include <string>

namespace KelHost {

// Remembers, beside the agent's socket, that the agent ended without having been stopped: by a leak
// above all. The next one is then a warm restart: it programs the same configuration, but begins
// with empty counter stores, as the counters of the chip do, because what ended the old process
// must not end the new one as well. Forgotten when the agent is stopped.
//
// All of it is best effort: without the folder there is nothing to remember it by.
class WarmRestart {
  public:
    explicit WarmRestart( const std::string & socketPath ) : file_( socketPath + ".warm" ) {}

    bool pending() const;
    // Leaves a document that is kept as it is.
    void pendingIs( bool pending ) const;

    // The text of the switch document that ran, for the case that its file has become unusable
    // since; empty when the process had no time to leave it.
    std::string document() const;
    // Keeps it, or nothing, and makes a warm restart pending.
    void documentIs( const std::string & text ) const;

  private:
    std::string file_;
};

} // namespace KelHost
