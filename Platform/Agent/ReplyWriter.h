#pragma once

#include "Platform/Framework/Types.h"

#include <chrono>
#include <string_view>

namespace Agent {

// Writes an answer to a descriptor of any kind, blocking or not, that somebody else opened and
// closes. A peer that hangs up or stops reading cannot end the process, nor hold up the event loop
// for longer than `patience`: what cannot be written is dropped. No signal is delivered, and no
// signal disposition changes.
class ReplyWriter {
  public:
    // `patience`: how many milliseconds, in all, it may wait for the peer to read.
    ReplyWriter( int fd, S32 patience );

    // Writes the whole text, in as few pieces as the descriptor takes. After a failure it writes
    // nothing more, so the peer never gets an answer with a hole in it.
    void write( std::string_view text );

    int fd() const { return fd_; }
    // Why the rest was dropped, as an errno number; 0: nothing was.
    int failure() const { return failure_; }

  private:
    enum class Kind {
        socket,
        file,  // never makes its writer wait for a reader
        other, // a pipe or a terminal
    };

    // One system call: the number of bytes written, or -1 and errno.
    S64 attempt( std::string_view text ) const;
    void writeAll( std::string_view text );
    // Waits until the descriptor takes more, and says whether it does. An error counts as ready:
    // the next write reports it.
    bool waitForPeer();

    int fd_;
    Kind kind_ = Kind::other;
    int failure_ = 0;
    std::chrono::nanoseconds patience_;
};

} // namespace Agent
