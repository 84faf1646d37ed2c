#include "Host/Agent/EventLoop.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <sys/epoll.h>
#include <utility>

namespace KelHost {

namespace {

// Turns in which something else was ready.
constexpr int putOffAtMost = 16;

using Clock = std::chrono::steady_clock;

F64 secondsSince( Clock::time_point start ) {
    return std::chrono::duration<F64>( Clock::now() - start ).count();
}

} // namespace

EventLoop::Watch::Watch( EventLoop & loop, const char * name, int fd, U32 events, Handler handler )
    : loop_( loop ), fd_( fd ), id_( ++loop.lastId_ ) {
    control( EPOLL_CTL_ADD, events );
    loop_.watchers_.emplace(
        id_, std::make_shared<const Watcher>( Watcher{ name, std::move( handler ) } ) );
}

EventLoop::Watch::~Watch() {
    (void)epoll_ctl( loop_.epoll_.get(), EPOLL_CTL_DEL, fd_, nullptr ); // cannot fail: it was added
    loop_.watchers_.erase( id_ );
}

void EventLoop::Watch::eventsIs( U32 events ) { control( EPOLL_CTL_MOD, events ); }

void EventLoop::Watch::control( int operation, U32 events ) {
    epoll_event event{};
    event.events = events;
    event.data.u64 = id_;
    checkedResult( epoll_ctl( loop_.epoll_.get(), operation, fd_, &event ),
                   "cannot watch a descriptor" );
}

EventLoop::EventLoop()
    : epoll_( checkedResult( epoll_create1( EPOLL_CLOEXEC ), "cannot wait for events" ) ) {}

void EventLoop::whenIdle( const char * name, std::function<void()> action ) {
    idleActions_.push_back( { name, std::move( action ) } );
}

void EventLoop::runIdleAction() {
    if ( beforeEvent_ ) {
        timed( "timers", beforeEvent_ );
    }
    const IdleAction action = std::move( idleActions_.front() );
    idleActions_.pop_front();
    idlePutOff_ = 0;
    timed( action.name, action.act );
}

void EventLoop::wait( int timeout ) {
    std::array<epoll_event, 64> ready;
    const bool idle = !idleActions_.empty();
    const int count = epoll_wait( epoll_.get(), ready.data(), ready.size(), idle ? 0 : timeout );
    if ( count < 0 && errno == EINTR ) {
        return;
    }
    checkedResult( count, "cannot wait for events" );
    const auto start = Clock::now();
    ++turn_;
    for ( int i = 0; i < count; ++i ) {
        const epoll_event & event = ready[static_cast<std::size_t>( i )];
        handle( event.data.u64, event.events );
    }
    if ( idle && ( count == 0 || ++idlePutOff_ == putOffAtMost ) ) {
        runIdleAction();
    }
    delay_.latest = secondsSince( start );
    delay_.longest = std::max( delay_.longest, delay_.latest );
}

void EventLoop::handle( U64 id, U32 events ) {
    if ( beforeEvent_ ) {
        timed( "timers", beforeEvent_ );
    }
    const auto found = watchers_.find( id );
    if ( found != watchers_.end() ) {
        const std::shared_ptr<const Watcher> watcher = found->second; // it may end its own watch
        timed( watcher->name, [&] { watcher->handler( events ); } );
    }
}

template <class Work>
void EventLoop::timed( const char * name, const Work & work ) {
    eventName_.clear();
    const auto start = Clock::now();
    work();
    const F64 took = secondsSince( start );
    if ( took > slowEvent && slowEvent_ ) {
        slowEvent_( eventName_.empty() ? name : eventName_, took );
    }
}

} // namespace KelHost
