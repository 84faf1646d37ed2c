#pragma once

#include "Host/Json/FileDescriptor.h"
#include "Platform/Framework/Types.h"

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>

namespace KelHost {

// Waits until descriptors are ready and calls those who watch them, one after the other. A handler
// may end any watch, its own included, and start new ones. It should not take long: everybody else
// waits for it. The loop measures that.
class EventLoop {
  public:
    // Called with the EPOLL... events that are there.
    using Handler = std::function<void( U32 events )>;

    // Watches one descriptor for as long as it lives. The loop must outlive it, and the descriptor
    // must stay open.
    class Watch {
      public:
        // `name` says in messages what happens there, and must have static storage. `events`:
        // EPOLLIN and the like; EPOLLHUP and EPOLLERR always come. Throws std::system_error when
        // the system refuses.
        Watch( EventLoop & loop, const char * name, int fd, U32 events, Handler handler );
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

    // How long one turn of the loop took, in seconds: what was ready at its beginning had to wait
    // that long at most. The waiting for events does not count.
    struct Delay {
        F64 latest = 0;
        F64 longest = 0;
    };
    // An event that takes longer than this, in seconds, is told.
    static constexpr F64 slowEvent = 0.1;
    using SlowEventHandler = std::function<void( const std::string & name, F64 seconds )>;

    // Throws std::system_error when the system has no descriptor left.
    EventLoop();
    EventLoop( const EventLoop & ) = delete;
    EventLoop & operator=( const EventLoop & ) = delete;

    // Called before each handler.
    void beforeEventIs( std::function<void()> action ) { beforeEvent_ = std::move( action ); }
    void slowEventHandlerIs( SlowEventHandler handler ) { slowEvent_ = std::move( handler ); }
    // Tells more exactly what the event is that is being handled.
    void eventNameIs( std::string name ) { eventName_ = std::move( name ); }

    // Calls the action, once, in a later turn: when nothing else is ready, or when it has been put
    // off for long enough. Of several, one in each turn, in their order. `name` as for a watch.
    void whenIdle( const char * name, std::function<void()> action );

    // Waits for at most that many milliseconds (-1: for ever) and calls the handlers of what is
    // ready by then.
    void wait( int timeout = -1 );

    const Delay & delay() const { return delay_; }
    // The number of the present turn, or of the last one.
    U64 turn() const { return turn_; }

  private:
    struct Watcher {
        const char * name;
        Handler handler;
    };

    struct IdleAction {
        const char * name;
        std::function<void()> act;
    };

    void handle( U64 id, U32 events );
    void runIdleAction();
    // Does the work and tells when it was slow.
    template <class Work>
    void timed( const char * name, const Work & work );

    FileDescriptor epoll_;
    std::function<void()> beforeEvent_;
    SlowEventHandler slowEvent_;
    std::string eventName_;
    std::deque<IdleAction> idleActions_;
    int idlePutOff_ = 0; // turns
    Delay delay_;
    U64 turn_ = 0;
    // Keyed by a number that is never reused: an event that was fetched for a watch that has ended
    // since must not reach another one on the same descriptor.
    std::unordered_map<U64, std::shared_ptr<const Watcher>> watchers_;
    U64 lastId_ = 0;
};

} // namespace KelHost
