#pragma once

#include "Platform/Framework/Types.h"

#include <string_view>

namespace KelQos {

// Writes an answer to a descriptor of any kind, blocking or not, that somebody else opened and
// closes. A peer that hangs up or stops reading cannot end the process or hold up the event loop:
// what cannot be written is dropped. No signal gets out and no signal disposition changes.
class KelSliceQosReplyWriter {
  public:
    // `patience`: milliseconds in all that may go by in waiting for the peer to read.
    KelSliceQosReplyWriter( int fd, S32 patience );

    // Writes the whole text, in as few pieces as the descriptor takes. After a failure nothing is
    // written any more, so the peer never gets an answer with a hole in it.
    void write( std::string_view text );

    // Whether something was dropped.
    bool failed() const { return failed_; }

  private:
    enum class Kind {
        socket,
        file,  // never makes its writer wait for a reader
        other, // a pipe or a terminal
    };

    // One system call: the number of bytes written, or -1 and errno.
    S64 attempt( std::string_view text ) const;
    void writeAll( std::string_view text );
    // Waits until the descriptor takes more, and says whether it does.
    bool waitForPeer();
    void failedIs( int error );

    int fd_;
    Kind kind_ = Kind::other;
    bool failed_ = false;
    S32 patience_;
};

} // namespace KelQos
