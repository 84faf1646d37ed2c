#pragma once

#include "Platform/Framework/Clock.h"

#include <cmath>
#include <ev.h>
#include <map>
#include <queue>
#include <uv.h>
#include <vector>

// Numbered timers on each of the schedulers that are compared. All of them have the same
// operations:
//
//     arm( i, due )    timer i is idle and becomes due in so many seconds, 0 to horizon
//     rearm( i, due )  timer i is armed and moves
//     cancel( i )      timer i is armed and becomes idle
//     expireAll()      time passes the horizon: all armed timers are called, in order of due time

namespace KelBench {

constexpr F64 horizon = 30.0;

// What a timer of any kind does when it is due.
struct Expiries {
    U64 count = 0;
};

class KelTimers {
  public:
    explicit KelTimers( std::size_t count )
        : wheel_( Kel::TimerWheelIs( Kel::makePtr<Kel::Clock>( scheduler_ ), 100, 30000, true,
                                     1024 ) ) {
        for ( std::size_t i = 0; i < count; ++i ) {
            timers_.push_back( Kel::makePtr<Reactor>( wheel_, expiries_ ) );
        }
    }

    void arm( std::size_t i, F64 due ) { timers_[i]->timeMinIs( scheduler_.now() + due ); }
    void rearm( std::size_t i, F64 due ) { arm( i, due ); }
    void cancel( std::size_t i ) { timers_[i]->timeMinIs( Kel::never ); }
    void expireAll() { scheduler_.advanceTo( scheduler_.now() + horizon ); }
    U64 expiries() const { return expiries_.count; }

  private:
    class Reactor : public Kel::TimedNotifiee<Kel::TimerWheel> {
      public:
        Reactor( const Kel::Ptr<Kel::TimerWheel> & wheel, Expiries & expiries )
            : TimedNotifiee( wheel ), expiries_( expiries ) {
            hasNotificationActiveIs( true );
        }
        void onAttribute( Kel::AttributeId, const void * ) override { ++expiries_.count; }

      private:
        Expiries & expiries_;
    };

    Kel::Scheduler scheduler_;
    Kel::Ptr<Kel::TimerWheel> wheel_;
    Expiries expiries_;
    std::vector<Kel::Ptr<Reactor>> timers_;
};

// Called when due, for the schedulers that bring no timers of their own.
struct Callee {
    virtual ~Callee() = default;
    virtual void expired() = 0;
};
struct CountingCallee : Callee {
    Expiries * expiries = nullptr;
    void expired() override { ++expiries->count; }
};

class MultimapTimers {
  public:
    explicit MultimapTimers( std::size_t count ) : callees_( count ), places_( count ) {
        for ( auto & callee : callees_ ) {
            callee.expiries = &expiries_;
        }
    }

    void arm( std::size_t i, F64 due ) { places_[i] = queue_.emplace( due, &callees_[i] ); }
    void rearm( std::size_t i, F64 due ) {
        auto node = queue_.extract( places_[i] ); // its memory is used again
        node.key() = due;
        places_[i] = queue_.insert( std::move( node ) );
    }
    void cancel( std::size_t i ) { queue_.erase( places_[i] ); }
    void expireAll() {
        while ( !queue_.empty() && queue_.begin()->first <= horizon ) {
            Callee * const callee = queue_.begin()->second;
            queue_.erase( queue_.begin() );
            callee->expired();
        }
    }
    U64 expiries() const { return expiries_.count; }

  private:
    Expiries expiries_;
    std::vector<CountingCallee> callees_;
    std::multimap<F64, Callee *> queue_;
    std::vector<std::multimap<F64, Callee *>::iterator> places_;
};

// A cancelled or moved timer leaves its record behind, to be skipped when its turn comes.
class LazyQueueTimers {
  public:
    explicit LazyQueueTimers( std::size_t count ) : timers_( count ) {
        for ( auto & timer : timers_ ) {
            timer.callee.expiries = &expiries_;
        }
    }

    void arm( std::size_t i, F64 due ) {
        queue_.push( { due, &timers_[i], ++timers_[i].generation } );
    }
    void rearm( std::size_t i, F64 due ) { arm( i, due ); }
    void cancel( std::size_t i ) { ++timers_[i].generation; }
    void expireAll() {
        while ( !queue_.empty() && queue_.top().due <= horizon ) {
            const Record record = queue_.top();
            queue_.pop();
            if ( record.timer->generation == record.generation ) {
                Callee * const callee = &record.timer->callee;
                callee->expired();
            }
        }
    }
    U64 expiries() const { return expiries_.count; }

  private:
    struct Timer {
        U64 generation = 0;
        CountingCallee callee;
    };
    struct Record {
        F64 due;
        Timer * timer;
        U64 generation;
        bool operator<( const Record & other ) const { return due > other.due; }
    };

    Expiries expiries_;
    std::vector<Timer> timers_;
    std::priority_queue<Record> queue_;
};

// Its time is the machine's, so every due time lies before now by the horizon at most.
class EvTimers {
  public:
    explicit EvTimers( std::size_t count ) : timers_( count ) {
        ev_set_userdata( loop_, &expiries_ );
    }
    EvTimers( const EvTimers & ) = delete;
    EvTimers & operator=( const EvTimers & ) = delete;
    ~EvTimers() { ev_loop_destroy( loop_ ); }

    void arm( std::size_t i, F64 due ) {
        ev_timer & timer = timers_[i];
        timer = {};
        timer.cb = []( struct ev_loop * loop, ev_timer *, int ) {
            ++static_cast<Expiries *>( ev_userdata( loop ) )->count;
        };
        timer.at = due - horizon;
        ev_timer_start( loop_, &timer );
    }
    void rearm( std::size_t i, F64 due ) {
        cancel( i );
        arm( i, due );
    }
    void cancel( std::size_t i ) { ev_timer_stop( loop_, &timers_[i] ); }
    void expireAll() { ev_run( loop_, EVRUN_NOWAIT ); }
    U64 expiries() const { return expiries_.count; }

  private:
    struct ev_loop * loop_ = ev_loop_new( EVFLAG_AUTO );
    Expiries expiries_;
    std::vector<ev_timer> timers_;
};

// Its time is the machine's too, in milliseconds: the loop is told that it is long ago.
class UvTimers {
  public:
    explicit UvTimers( std::size_t count ) : timers_( count ) {
        uv_loop_init( &loop_ );
        loop_.data = &expiries_;
        for ( uv_timer_t & timer : timers_ ) {
            uv_timer_init( &loop_, &timer );
        }
    }
    UvTimers( const UvTimers & ) = delete;
    UvTimers & operator=( const UvTimers & ) = delete;
    ~UvTimers() {
        for ( uv_timer_t & timer : timers_ ) {
            uv_close( asHandle( timer ), nullptr );
        }
        uv_run( &loop_, UV_RUN_DEFAULT );
        uv_loop_close( &loop_ );
    }

    void arm( std::size_t i, F64 due ) {
        loop_.time = 0;
        uv_timer_start(
            &timers_[i],
            []( uv_timer_t * timer ) { ++static_cast<Expiries *>( timer->loop->data )->count; },
            static_cast<U64>( due * 1000 ), 0 );
    }
    void rearm( std::size_t i, F64 due ) { arm( i, due ); }
    void cancel( std::size_t i ) { uv_timer_stop( &timers_[i] ); }
    void expireAll() { uv_run( &loop_, UV_RUN_NOWAIT ); }
    U64 expiries() const { return expiries_.count; }

  private:
    static uv_handle_t * asHandle( uv_timer_t & timer ) {
        return static_cast<uv_handle_t *>( static_cast<void *>( &timer ) );
    }

    uv_loop_t loop_;
    Expiries expiries_;
    std::vector<uv_timer_t> timers_;
};

} // namespace KelBench
