#pragma once

#include "Host/FileDescriptor.h"

#include <csignal>
#include <initializer_list>

namespace KelHost {

// Takes the given signals away from the process, which would end it, and keeps them until they are
// read, in the order of their numbers; several of one kind may be kept as one. They stay blocked
// when this is gone, and in children.
class SignalQueue {
  public:
    // Throws std::system_error when the system has no descriptor left.
    SignalQueue( std::initializer_list<int> signals );

    // Readable while a signal waits; it does not block.
    int fd() const { return fd_.get(); }

    // The next signal that waits, 0 when there is none.
    int take() const;
    // The next signal; waits for it.
    int wait() const;

  private:
    sigset_t set_{};
    FileDescriptor fd_;
};

} // namespace KelHost
