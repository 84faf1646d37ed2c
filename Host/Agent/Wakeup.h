#pragma once

#include "Host/Agent/EventLoop.h"

namespace KelHost {

// Calls a handler from the event loop, some time after it was asked to.
class Wakeup {
  public:
    // `name` as for a watch. Throws std::system_error when the system has no descriptor left. The
    // loop must outlive it.
    Wakeup( EventLoop & loop, const char * name, std::function<void()> handler );

    // One call in a later turn of the loop, however often this is asked for before. Any thread may
    // ask.
    void raise() const;

  private:
    FileDescriptor raised_; // an eventfd
    EventLoop::Watch watch_;
};

} // namespace KelHost
