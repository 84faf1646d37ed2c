#pragma once

#include <string>

namespace KelHost {

// Remembers, in the file PATH.warm next to the agent's socket, that the agent ended on its own,
// most likely because of a leak, perhaps before it had applied a document for good. All of it is
// best effort: without the folder there is nothing to remember it by.
class WarmRestart {
  public:
    explicit WarmRestart( const std::string & socketPath ) : file_( socketPath + ".warm" ) {}

    // Only a file of this user counts.
    bool noted() const;
    void note() const;
    void forget() const;

  private:
    std::string file_;
};

} // namespace KelHost
