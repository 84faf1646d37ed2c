#pragma once

#include "Host/Agent/Wakeup.h"

#include <thread>

namespace KelHost {

// Does what takes long, or waits for files, beside the event loop: one job at a time, on a thread
// of its own. A job must not touch what the loop changes meanwhile, above all no entity.
class Worker {
  public:
    // Throws std::system_error when the system has no descriptor left. The loop must outlive it.
    explicit Worker( EventLoop & loop );
    // Waits for a job that is under way. Who must not wait ends the process instead.
    ~Worker();
    Worker( const Worker & ) = delete;
    Worker & operator=( const Worker & ) = delete;

    bool busy() const { return static_cast<bool>( done_ ); }

    // Starts `job`, which must not throw; `done` is called by the loop when it has ended. Only
    // while no other one is busy. Signals that should reach the loop alone must be blocked. When
    // the system has no thread left, the job is done here and now.
    void start( const std::function<void()> & job, std::function<void()> done );

    // Gives what has been freed back to the system, as a job, when it is much: after a large
    // document, not after each of the usual ones, which will need it again.
    static void returnMemory();

  private:
    void join();
    void finish();

    Wakeup ended_;
    std::function<void()> done_; // of the job that is under way
    std::thread thread_;
};

} // namespace KelHost
