#pragma once

#include "Host/Agent/EventLoop.h"

namespace KelHost {

// Calls a handler about once a second while it is on. Unlike a timer of the scheduler it makes up
// for nothing: after a stall of any length there is one call.
class Beat {
  public:
    // Throws std::system_error when the system has no descriptor left. The loop must outlive it.
    Beat( EventLoop & loop, std::function<void()> handler );

    void onIs( bool on );

  private:
    FileDescriptor timer_;
    EventLoop::Watch watch_;
    bool on_ = false;
};

} // namespace KelHost
