#pragma once

#include "Platform/Framework/Clock.h"
#include "Platform/Framework/Scheduler.h"

#include <functional>

namespace Kel {

// Owns the time of the process and its orderly exit. The host creates one before anything that
// needs the time, and destroys it last; there is at most one at a time. The host's event loop moves
// time with advanceTo; a test or a scenario does the same with times of its own.
class ActivityManager {
  public:
    class Config {
      public:
        explicit Config( Scheduler & scheduler ) : clock_( makePtr<Clock>( scheduler ) ) {}
        const Ptr<Clock> & clock() const { return clock_; }

      private:
        Ptr<Clock> clock_;
    };

    ActivityManager();
    ActivityManager( const ActivityManager & ) = delete;
    ActivityManager & operator=( const ActivityManager & ) = delete;
    ~ActivityManager();

    Scheduler & scheduler() { return scheduler_; }
    const Config * config() const { return &config_; }
    F64 now() const { return scheduler_.now(); }
    void advanceTo( F64 time ) { scheduler_.advanceTo( time ); }

    // What the host does for an orderly exit: close what is open, and end the process with the
    // status (or leave in another way that does not return).
    void exitHandlerIs( std::function<void( int status )> handler ) {
        exitHandler_ = std::move( handler );
    }
    // Ends the process in an orderly way. Does not return: nothing else happens on behalf of the
    // library after it. Without a handler, or if the handler returns, it calls std::exit.
    [[noreturn]] void exit( int status );

  private:
    Scheduler scheduler_;
    Config config_;
    std::function<void( int )> exitHandler_;
};

// The process's activity manager. There must be one.
ActivityManager * activityManager();

} // namespace Kel
