#pragma once

#include "Host/Json/FileDescriptor.h"
#include "Platform/Framework/Types.h"

#include <functional>
#include <memory>
#include <unordered_map>

namespace KelHost {

// Waits until descriptors are ready and calls those who watch them, one after the other. A handler
// may end any watch, its own included, and start new ones.
class EventLoop {
  public:
    // Called with the EPOLL... events that are there.
    using Handler = std::function<void( U32 events )>;

    // Watches one descriptor for as long as it lives. The loop must outlive it, and the descriptor
    // must stay open.
    class Watch {
      public:
        // `events`: EPOLLIN and the like. Throws std::system_error when the system refuses.
        Watch( EventLoop & loop, int fd, U32 events, Handler handler );
        ~Watch();
        Watch( const Watch & ) = delete;
        Watch & operator=( const Watch & ) = delete;

        // Watches for other events from now on.
        void eventsIs( U32 events );

      private:
        void control( int operation, U32 events );

        EventLoop & loop_;
        int fd_;
        U64 id_;
    };

    // Throws std::system_error when the system has no descriptor left.
    EventLoop();
    EventLoop( const EventLoop & ) = delete;
    EventLoop & operator=( const EventLoop & ) = delete;

    // Called before each handler.
    void beforeEventIs( std::function<void()> action ) { beforeEvent_ = std::move( action ); }

    // Waits for at most that many milliseconds (-1: for ever) and calls the handlers of what is
    // ready by then.
    void wait( int timeout = -1 );

  private:
    void handle( U64 id, U32 events );

    FileDescriptor epoll_;
    std::function<void()> beforeEvent_;
    // Keyed by a number that is never reused: an event that was fetched for a watch that has ended
    // since must not reach another one on the same descriptor.
    std::unordered_map<U64, std::shared_ptr<const Handler>> handlers_;
    U64 lastId_ = 0;
};

} // namespace KelHost
