#pragma once

#include <optional>
#include <string>

namespace KelHost {

// The text of the switch document that the agent applied last, in the file PATH.json next to the
// agent's socket: if the configuration file has become unusable when the agent has to start again,
// the switch comes up with this one instead of not at all. It outlives a process that was killed,
// and the machine's power, but not a stop.
class KeptDocument {
  public:
    explicit KeptDocument( const std::string & socketPath ) : file_( socketPath + ".json" ) {}

    const std::string & file() const { return file_; }

    // Whether there is one: then the last agent in this place was not stopped.
    bool present() const;

    // The document; nothing when there is none. Throws std::runtime_error, with a text for the
    // user, when the file is not to be trusted: when it is no regular file, or one that somebody
    // else owns or may write to.
    std::optional<std::string> text() const;

    // Replaces the document. The present one stays until the new one is on the disk whole. Throws
    // std::runtime_error, with a text for the user, when it cannot be written; what was there is
    // still there then.
    void textIs( const std::string & text ) const;

    // Forgets the document. Does nothing when there is none.
    void forget() const;

  private:
    bool isKept( const std::string & document ) const;

    std::string file_;
};

} // namespace KelHost
