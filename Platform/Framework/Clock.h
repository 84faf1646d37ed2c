#pragma once

#include "Platform/Framework/Assert.h"
#include "Platform/Framework/Entity.h"
#include "Platform/Framework/Exceptions.h"
#include "Platform/Framework/Notifiee.h"
#include "Platform/Framework/Scheduler.h"

namespace Kel {

// What timed reactors watch: tells the time, and notifies each reactor when its own due time is
// reached.
class TimeSource : public Entity {
  public:
    enum Attribute : AttributeId { timeMinAttr = 1 };

    Scheduler & scheduler() const { return scheduler_; }
    // Seconds added to the scheduler's time.
    F64 offset() const { return offset_; }
    F64 now() const { return scheduler_.now() + offset_; }

  protected:
    TimeSource( Scheduler & scheduler, F64 offset ) : scheduler_( scheduler ), offset_( offset ) {}

  private:
    Scheduler & scheduler_;
    F64 offset_;
};

// A clock on the process's scheduler, on the same scale, or shifted by an offset.
class Clock : public TimeSource {
  public:
    // `offset`: what this clock shows at the scheduler's time 0, in seconds.
    explicit Clock( Scheduler & scheduler, F64 offset = 0.0 ) : TimeSource( scheduler, offset ) {}
};

// A view of a clock for many reactors, each with its own due time. The creation parameters are for
// tuning an implementation that sorts timers into slots; they never change when a timer fires.
class TimerWheel : public TimeSource {
  public:
    // `slotWidth` and `horizon` in milliseconds; `shared`: whether its owner shares it among many
    // reactors; `slots`: their number.
    TimerWheel( Ptr<const Clock> clock, U32 slotWidth, U32 horizon, bool shared, U32 slots )
        : TimeSource( clock->scheduler(), clock->offset() ),
          clock_( std::move( clock ) ),
          slotWidth_( slotWidth ),
          horizon_( horizon ),
          shared_( shared ),
          slots_( slots ) {}

    const Ptr<const Clock> & clock() const { return clock_; }
    U32 slotWidth() const { return slotWidth_; }
    U32 horizon() const { return horizon_; }
    bool shared() const { return shared_; }
    U32 slots() const { return slots_; }

  private:
    Ptr<const Clock> clock_;
    U32 slotWidth_;
    U32 horizon_;
    bool shared_;
    U32 slots_;
};

// Throws NullArgumentException when there is no clock.
inline Ptr<TimerWheel> TimerWheelIs( Ptr<const Clock> clock, U32 slotWidth, U32 horizon,
                                     bool shared, U32 slots ) {
    if ( !clock ) {
        throw NullArgumentException( "a timer wheel needs a clock" );
    }
    return makePtr<TimerWheel>( std::move( clock ), slotWidth, horizon, shared, slots );
}

// A reactor on a Clock or a TimerWheel: onAttribute( timeMinAttr ) is called once when the source's
// time reaches timeMin. While the notification switch is off an expiry is kept, and delivered when
// timers are next served after it is switched on.
template <class Source>
class TimedNotifiee : public NotifieeOf<Source>, private Timer {
  public:
    // The due time in seconds on the source's scale; `never` when none is set.
    F64 timeMin() const { return this->notifier() ? due() + this->notifier()->offset() : never; }
    // Sets it, replacing an expiry that is kept; `never` stops the timer.
    void timeMinIs( F64 time ) {
        if ( time == never ) {
            cancel();
            return;
        }
        KEL_ASSERT( this->notifier() );
        dueIs( time - this->notifier()->offset() );
    }

    void hasNotificationActiveIs( bool on ) override {
        Notifiee::hasNotificationActiveIs( on );
        if ( on ) {
            resume();
        }
    }
    // Leaving a source stops the timer. The new source must be on the same scheduler.
    void notifierIs( Ptr<const Source> source ) override {
        KEL_ASSERT( !source || &source->scheduler() == &scheduler() );
        if ( source.get() != this->notifier() ) {
            cancel();
        }
        NotifieeOf<Source>::notifierIs( std::move( source ) );
    }

  protected:
    // The source must not be null.
    explicit TimedNotifiee( Ptr<const Source> source )
        : NotifieeOf<Source>( source ), Timer( schedulerOf( source ) ) {}

  private:
    static Scheduler & schedulerOf( const Ptr<const Source> & source ) {
        KEL_ASSERT( source );
        return source->scheduler();
    }

    bool handleExpiry() override {
        if ( !this->receives() || !this->isRegisteredNotifiee() ) [[unlikely]] {
            return this->isMarkedForDeletion() || !this->isRegisteredNotifiee();
        }
        const Ptr<Notifiee> alive( this );
        this->onAttribute( TimeSource::timeMinAttr, nullptr );
        return true;
    }
};

} // namespace Kel
