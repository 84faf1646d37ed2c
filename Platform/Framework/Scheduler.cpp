#include "Platform/Framework/Scheduler.h"

#include <bit>
#include <utility>

namespace Kel {

Timer::Timer( Scheduler & scheduler ) : scheduler_( scheduler ) { ++scheduler_.timers_; }

Timer::~Timer() {
    scheduler_.remove( *this );
    --scheduler_.timers_;
}

void Timer::resume() {
    if ( tick_ == kept ) {
        scheduler_.insert( *this, Scheduler::tickOf( due_ ) );
    }
}

Scheduler::~Scheduler() { KEL_ASSERT( timers_ == 0 ); }

void Scheduler::insert( Timer & timer, U64 tick ) {
    if ( tick <= tick_ ) {
        insertNext( timer );
        return;
    }
    const auto level = static_cast<U32>( std::bit_width( tick ^ tick_ ) - 1 ) / digitBits;
    const auto slot = static_cast<U32>( tick >> ( level * digitBits ) ) % slots;
    Timer *& first = levels_[level].first[slot];
    timer.tick_ = tick;
    timer.link_ = &first;
    timer.following_ = first;
    if ( first ) {
        first->link_ = &timer.following_;
    }
    first = &timer;
    levels_[level].occupied |= U64{ 1 } << slot;
}

void Scheduler::insertNext( Timer & timer ) {
    Timer ** link = nextEnd_;
    if ( timer.due_ < nextLast_.due ||
         ( timer.due_ == nextLast_.due && timer.order_ < nextLast_.order ) ) {
        link = &next_;
        while ( *link && ( *link )->before( timer ) ) {
            link = &( *link )->following_;
        }
    }
    linkNext( timer, link );
}

// Puts it into the list of next timers, at the given place.
void Scheduler::linkNext( Timer & timer, Timer ** link ) {
    timer.tick_ = Timer::next;
    timer.link_ = link;
    timer.following_ = *link;
    *link = &timer;
    if ( timer.following_ ) {
        timer.following_->link_ = &timer.following_;
    } else {
        nextEnd_ = &timer.following_;
        nextLast_ = { timer.due_, timer.order_ };
    }
}

// Takes it out of its list, if it is in one.
void Scheduler::remove( Timer & timer ) {
    const U64 tick = std::exchange( timer.tick_, Timer::idle );
    if ( tick > Timer::next ) {
        return;
    }
    *timer.link_ = timer.following_;
    if ( timer.following_ ) {
        timer.following_->link_ = timer.link_;
    } else if ( tick == Timer::next ) {
        nextEnd_ = timer.link_;
    }
}

// The first slot that may have timers. Lower levels come first: a tick that differs from the
// present one only in a low digit is earlier.
bool Scheduler::firstSlot( Slot & slot ) const {
    for ( U32 level = 0; level < levels; ++level ) {
        if ( const U64 occupied = levels_[level].occupied ) {
            slot = { level, static_cast<U32>( std::countr_zero( occupied ) ) };
            return true;
        }
    }
    return false;
}

// The first tick that belongs to the slot.
U64 Scheduler::startOf( const Slot & slot ) const {
    const U32 shift = slot.level * digitBits;
    return ( ( tick_ >> shift >> digitBits << digitBits ) | slot.number ) << shift;
}

// Empties a slot: every timer goes where it belongs as seen from the present tick, which may be the
// same slot again. Those of the present tick are chained up in `present`, and counted.
U32 Scheduler::distribute( const Slot & slot, Timer *& present ) {
    Level & level = levels_[slot.level];
    level.occupied &= ~( U64{ 1 } << slot.number );
    Timer * following = std::exchange( level.first[slot.number], nullptr );
    U32 count = 0;
    while ( Timer * const timer = following ) {
        following = timer->following_;
        timer->tick_ = Timer::idle;
        if ( timer->due_ == never ) {
            continue;
        }
        if ( const U64 tick = tickOf( timer->due_ ); tick > tick_ ) {
            insert( *timer, tick );
        } else {
            timer->following_ = std::exchange( present, timer );
            ++count;
        }
    }
    return count;
}

// When the list of next timers is empty: moves on to the next slot, unless that begins after the
// tick `last`. Returns whether it did.
bool Scheduler::reachSlot( U64 last ) {
    Slot slot;
    if ( !firstSlot( slot ) || startOf( slot ) > last ) {
        return false;
    }
    tick_ = startOf( slot );
    Level & level = levels_[slot.level];
    Timer * const first = level.first[slot.number];
    if ( first && !first->following_ && first->tick_ <= last &&
         first->tick_ == tickOf( first->due_ ) ) {
        // A timer that is alone need not go down level by level.
        tick_ = first->tick_;
        level.first[slot.number] = nullptr;
        level.occupied &= ~( U64{ 1 } << slot.number );
        linkNext( *first, &next_ );
        return true;
    }
    Timer * present = nullptr;
    const U32 count = distribute( slot, present );
    sortNext( present, count );
    return true;
}

// Fills the list of next timers, which is empty, with timers that are chained up in any order.
void Scheduler::sortNext( Timer * timers, U32 count ) {
    next_ = count == 0 ? nullptr : sorted( timers, count );
    nextEnd_ = &next_;
    while ( Timer * const timer = *nextEnd_ ) {
        timer->tick_ = Timer::next;
        timer->link_ = nextEnd_;
        nextEnd_ = &timer->following_;
        nextLast_ = { timer->due_, timer->order_ };
    }
}

// Takes `count` timers, at least one, off the front of a chain, and sorts them by merging.
Timer * Scheduler::sorted( Timer *& chain, U32 count ) {
    if ( count == 1 ) {
        Timer * const timer = std::exchange( chain, chain->following_ );
        timer->following_ = nullptr;
        return timer;
    }
    Timer * left = sorted( chain, count / 2 );
    Timer * right = sorted( chain, count - count / 2 );
    Timer * list = nullptr;
    Timer ** end = &list;
    while ( left && right ) {
        Timer *& earlier = right->before( *left ) ? right : left;
        *end = earlier;
        end = &earlier->following_;
        earlier = earlier->following_;
    }
    *end = left ? left : right;
    return list;
}

F64 Scheduler::nextDue() {
    Slot slot;
    while ( !next_ && firstSlot( slot ) ) {
        Timer * none = nullptr;
        distribute( slot, none ); // drops or moves those that were cancelled or armed again
        F64 least = never;
        for ( const Timer * timer = levels_[slot.level].first[slot.number]; timer;
              timer = timer->following_ ) {
            least = std::min( least, timer->due_ );
        }
        if ( least != never ) {
            return least;
        }
    }
    return next_ ? next_->due_ : never;
}

void Scheduler::advanceTo( F64 time ) {
    time = std::max( time, now_ );
    const U64 last = tickOf( time );
    while ( next_ || reachSlot( last ) ) {
        if ( next_ ) {
            if ( next_->due_ > time ) {
                break;
            }
            fire( *next_ );
        }
    }
    now_ = std::max( now_, time );
    if ( !next_ ) {
        tick_ = std::max( tick_, last );
    }
}

// Fires the first of the next timers.
void Scheduler::fire( Timer & timer ) {
    now_ = std::max( now_, timer.due_ );
    timer.tick_ = Timer::idle;
    next_ = timer.following_;
    ( next_ ? next_->link_ : nextEnd_ ) = &next_;
    const F64 due = std::exchange( timer.due_, never );
    // A handler that acts returns true, and may have destroyed the timer; one that keeps the expiry
    // has touched nothing, not even the timer's order.
    if ( !timer.handleExpiry() ) {
        timer.due_ = due;
        timer.tick_ = Timer::kept;
    }
}

} // namespace Kel
