#include "Host/Agent/EventLoop.h"

#include <array>
#include <sys/epoll.h>

namespace KelHost {

EventLoop::Watch::Watch( EventLoop & loop, int fd, U32 events, Handler handler )
    : loop_( loop ), fd_( fd ), id_( ++loop.lastId_ ) {
    control( EPOLL_CTL_ADD, events );
    loop_.handlers_.emplace( id_, std::make_shared<const Handler>( std::move( handler ) ) );
}

EventLoop::Watch::~Watch() {
    (void)epoll_ctl( loop_.epoll_.get(), EPOLL_CTL_DEL, fd_, nullptr ); // cannot fail: it was added
    loop_.handlers_.erase( id_ );
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

void EventLoop::wait( int timeout ) {
    std::array<epoll_event, 64> ready;
    const int count = epoll_wait( epoll_.get(), ready.data(), ready.size(), timeout );
    if ( count < 0 && errno == EINTR ) {
        return;
    }
    checkedResult( count, "cannot wait for events" );
    for ( int i = 0; i < count; ++i ) {
        const epoll_event & event = ready[static_cast<std::size_t>( i )];
        handle( event.data.u64, event.events );
    }
}

void EventLoop::handle( U64 id, U32 events ) {
    if ( beforeEvent_ ) {
        beforeEvent_();
    }
    const auto found = handlers_.find( id );
    if ( found != handlers_.end() ) {
        const std::shared_ptr<const Handler> handler = found->second; // it may end its own watch
        ( *handler )( events );
    }
}

} // namespace KelHost
