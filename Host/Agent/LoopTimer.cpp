#include "Host/Agent/LoopTimer.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <limits>
#include <sys/epoll.h>
#include <sys/timerfd.h>

namespace KelHost {

namespace {

constexpr S64 second = 1'000'000'000; // nanoseconds
// A due time beyond any process's life; later ones count as this one.
constexpr F64 farthest = 1e9; // seconds

S64 monotonicNow() {
    timespec now{};
    checkedResult( clock_gettime( CLOCK_MONOTONIC, &now ), "cannot read the clock" );
    return now.tv_sec * second + now.tv_nsec;
}

// The timer counts its expiries until they are read.
void handleExpiry( int timer ) {
    U64 expiries = 0;
    (void)!read( timer, &expiries, sizeof expiries ); // nothing is there if it was set again
}

} // namespace

LoopTimer::LoopTimer( EventLoop & loop )
    : start_( monotonicNow() ),
      timer_( checkedResult( timerfd_create( CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK ),
                             "cannot make a timer" ) ),
      watch_( loop, "the timers' clock", timer_.get(), EPOLLIN,
              [this]( U32 ) { handleExpiry( timer_.get() ); } ),
      due_( std::numeric_limits<F64>::infinity() ) {}

F64 LoopTimer::now() const {
    return static_cast<F64>( monotonicNow() - start_ ) / static_cast<F64>( second );
}

void LoopTimer::dueIs( F64 due ) {
    if ( due == due_ && due > now() ) {
        return;
    }
    due_ = due;
    itimerspec setting{}; // all zero stops it
    if ( due != std::numeric_limits<F64>::infinity() ) {
        // One nanosecond more, so that rounding never wakes the loop before the due time.
        const F64 delay = std::clamp( due, 0.0, farthest ) * static_cast<F64>( second );
        const S64 at = start_ + static_cast<S64>( std::ceil( delay ) ) + 1;
        setting.it_value = { at / second, at % second };
    }
    checkedResult( timerfd_settime( timer_.get(), TFD_TIMER_ABSTIME, &setting, nullptr ),
                   "cannot set a timer" );
}

} // namespace KelHost
