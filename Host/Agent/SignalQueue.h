#pragma once

#include "Host/Json/FileDescriptor.h"

#include <csignal>
#include <initializer_list>

namespace KelHost {

// Blocks the given signals, which would end the process, and keeps them until they are read, in the
// order of their numbers; several of one kind may become one. They stay blocked when this is
// destroyed, and in child processes.
class SignalQueue {
  public:
    // Throws std::system_error when the system has no descriptor left.
    SignalQueue( std::initializer_list<int> signals );

    // Readable while a signal is pending, and non-blocking.
    int fd() const { return fd_.get(); }

    // The next pending signal, or 0 when there is none.
    int take() const;
    // The next signal; waits for it.
    int wait() const;

  private:
    sigset_t set_{};
    FileDescriptor fd_;
};

} // namespace KelHost
