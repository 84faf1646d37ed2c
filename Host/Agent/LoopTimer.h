#pragma once

#include "Host/Agent/EventLoop.h"

namespace KelHost {

// Real time for an event loop: seconds of the monotonic clock since this was made, and one due
// time at which the loop wakes up.
class LoopTimer {
  public:
    // Throws std::system_error when the system has no descriptor left.
    explicit LoopTimer( EventLoop & loop );

    F64 now() const;

    // The loop wakes up when now() has reached `due`, at once when it has already; infinity: never.
    // This replaces the due time that was set before.
    void dueIs( F64 due );

  private:
    S64 start_; // nanoseconds of the monotonic clock
    FileDescriptor timer_;
    EventLoop::Watch watch_;
    F64 due_;
};

} // namespace KelHost
