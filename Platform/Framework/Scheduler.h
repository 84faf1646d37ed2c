#pragma once

#include "Platform/Framework/Assert.h"
#include "Platform/Framework/Types.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>

namespace Kel {

// A due time that never comes.
inline constexpr F64 never = std::numeric_limits<F64>::infinity();

class Scheduler;

// Something that falls due at some time. Arming, re-arming and cancelling never allocate.
class Timer {
  public:
    // The scheduler must outlive the timer.
    explicit Timer( Scheduler & scheduler );
    Timer( const Timer & ) = delete;
    Timer & operator=( const Timer & ) = delete;

    // When it is due, in seconds on the scheduler's scale; `never` when it is not armed.
    F64 due() const { return due_; }
    // Arms, moves or (with `never`) cancels it. Setting the due time that it already has changes
    // nothing, not even its place among the timers due at the same time.
    void dueIs( F64 due );
    // The same as setting `never`.
    void cancel();

  protected:
    virtual ~Timer();

    // Called at the due time, with the timer disarmed. Returns false to keep the expiry: it then
    // waits outside the schedule, in its old place by due time, until resume() puts it back.
    virtual bool handleExpiry() = 0;
    void resume();
    const Scheduler & scheduler() const { return scheduler_; }

  private:
    friend class Scheduler;

    // The values of tick_, beyond all real ticks, while the timer is in no slot of the wheel.
    static constexpr U64 idle = ~U64{ 0 };
    static constexpr U64 kept = idle - 1;
    static constexpr U64 next = idle - 2; // among the scheduler's next ones

    // Whether it is in one of the scheduler's lists.
    bool isLinked() const { return tick_ <= next; }
    bool before( const Timer & other ) const {
        return due_ < other.due_ || ( due_ == other.due_ && order_ < other.order_ );
    }

    Scheduler & scheduler_;
    F64 due_ = never;
    U64 order_ = 0;
    U64 tick_ = idle; // its slot is looked at by then
    Timer * following_ = nullptr;
    Timer ** link_ = nullptr; // what points to this timer in its list
};

// Orders all timers of the process by due time, then by the order in which they were armed, and is
// the one place that knows what time it is. Time moves only when its owner says so, and never back.
//
// A hierarchical wheel sorts the timers roughly. Time is cut into ticks, and a tick's number into
// digits: a timer lies in the slot of the highest digit in which its tick differs from the present
// one, on that digit's level. So arming costs the same for any number of timers. When the present
// tick reaches a slot, the slot's timers move to lower levels; those of the present tick itself,
// and the ones armed for the past, make up one exactly sorted list, from which timers fire.
//
// A timer that is cancelled or moved to a later time stays in its slot, and is only dropped or
// moved on when the slot's turn comes: most retries and time-outs never get there.
class Scheduler {
  public:
    Scheduler() = default;
    Scheduler( const Scheduler & ) = delete;
    Scheduler & operator=( const Scheduler & ) = delete;
    ~Scheduler();

    // Seconds since the host's epoch.
    F64 now() const { return now_; }
    // When the next timer is due, or `never`.
    F64 nextDue();
    // Fires, in order, every timer that is due at or before `time`, including those armed
    // meanwhile, each with now at exactly its due time (at the present time, if that lies in the
    // past). Then moves now to `time`. A time before now counts as now. An exception that leaves a
    // handler leaves this function too; the remaining timers fire at the next call.
    void advanceTo( F64 time );

  private:
    friend class Timer;

    static constexpr F64 ticksPerSecond = 64.0;
    static constexpr U32 digitBits = 6; // a level's slots have one bit each in a word
    static constexpr U32 slots = 1U << digitBits;
    static constexpr U32 levels = 7;
    // About 2,000 years. Later timers count as due then; they are never looked at before.
    static constexpr U64 lastTick = ( U64{ 1 } << ( digitBits * levels ) ) - 1;

    // One digit of a tick.
    struct Level {
        U64 occupied = 0; // bit per slot that may have timers
        std::array<Timer *, slots> first{};
    };
    struct Slot {
        U32 level;
        U32 number;
    };
    // A place in the order in which timers fire.
    struct Place {
        F64 due;
        U64 order;
    };

    static U64 tickOf( F64 due ) {
        const F64 tick = std::clamp( due * ticksPerSecond, 0.0, static_cast<F64>( lastTick ) );
        return static_cast<U64>( static_cast<S64>( tick ) ); // cheaper than straight to U64
    }

    void insert( Timer & timer, U64 tick );
    void insertNext( Timer & timer );
    void linkNext( Timer & timer, Timer ** link );
    void remove( Timer & timer );
    bool firstSlot( Slot & slot ) const;
    U64 startOf( const Slot & slot ) const;
    U32 distribute( const Slot & slot, Timer *& present );
    bool reachSlot( U64 last );
    void sortNext( Timer * timers, U32 count );
    static Timer * sorted( Timer *& chain, U32 count );
    void fire( Timer & timer );

    F64 now_ = 0.0;
    U64 nextOrder_ = 0;
    U64 tick_ = 0; // no slot holds a timer of this tick or an earlier one
    Timer * next_ = nullptr;
    Timer ** nextEnd_ = &next_; // where a timer that fires after all of them is linked
    Place nextLast_{ 0.0, 0 };  // none in the list fires after this
    std::size_t timers_ = 0;
    std::array<Level, levels> levels_;
};

inline void Timer::cancel() {
    due_ = never;
    if ( tick_ > Scheduler::lastTick ) {
        scheduler_.remove( *this );
    }
}

inline void Timer::dueIs( F64 due ) {
    KEL_ASSERT( due == due ); // NaN has no place in any order
    if ( due == due_ ) {
        return;
    }
    if ( due == never ) {
        cancel();
        return;
    }
    due_ = due;
    order_ = scheduler_.nextOrder_++;
    const U64 tick = Scheduler::tickOf( due );
    if ( tick_ > tick ) {
        if ( isLinked() ) {
            scheduler_.remove( *this );
        }
        scheduler_.insert( *this, tick );
    }
}

} // namespace Kel
