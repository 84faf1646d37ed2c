#include "Host/Agent/Beat.h"

#include <sys/epoll.h>
#include <sys/timerfd.h>

namespace KelHost {

Beat::Beat( EventLoop & loop, std::function<void()> handler )
    : timer_( checkedResult( timerfd_create( CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK ),
                             "cannot make a timer" ) ),
      watch_( loop, "the clients' patience", timer_.get(), EPOLLIN,
              [fd = timer_.get(), handler = std::move( handler )]( U32 ) {
                  U64 beats = 0; // however many: the others fell into a stall
                  (void)!read( fd, &beats, sizeof beats );
                  handler();
              } ) {}

void Beat::onIs( bool on ) {
    if ( on == on_ ) {
        return;
    }
    on_ = on;
    itimerspec setting{}; // all zero stops it
    setting.it_interval.tv_sec = on ? 1 : 0;
    setting.it_value = setting.it_interval;
    checkedResult( timerfd_settime( timer_.get(), 0, &setting, nullptr ), "cannot set a timer" );
}

} // namespace KelHost
