#include "Platform/Framework/Scheduler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <vector>

namespace {

using Kel::never;

// Timers that are armed, moved, cancelled, kept, resumed and destroyed at random, in and outside
// their handlers, some of which throw, beside a plain sorted map that says which has to fire next.
class RandomTimers {
  public:
    explicit RandomTimers( std::size_t count ) : timers_( count ) {
        for ( std::size_t i = 0; i < count; ++i ) {
            renew( i );
        }
    }

    void act( const Kel::Timer * firing = nullptr ) {
        for ( auto acts = random_() % 4; acts > 0; --acts ) {
            const std::size_t i = random_() % timers_.size();
            const auto dice = random_() % 10;
            if ( dice == 0 ) {
                resume( *timers_[i] );
            } else if ( dice > 1 ) {
                set( *timers_[i], random_() % 10 == 0 ? timers_[i]->expectedDue : randomDue() );
            } else if ( timers_[i].get() != firing ) {
                forget( *timers_[i] );
                renew( i );
            }
        }
    }

    void advance() {
        static constexpr F64 steps[] = { -5, 0, 0.001, 0.1, 1, 20, 1000, 100000 };
        EXPECT_EQ( scheduler_.nextDue(),
                   expected_.empty() ? never : expected_.begin()->first.first );
        const F64 step = steps[random_() % std::size( steps )];
        const F64 time = now_ + std::max( step, 0.0 );
        try {
            scheduler_.advanceTo( now_ + step );
            EXPECT_TRUE( expected_.empty() || expected_.begin()->first.first > time );
            now_ = time;
        } catch ( const Interruption & ) {
        }
        EXPECT_EQ( scheduler_.now(), now_ );
    }

    U64 fired() const { return fired_; }

  private:
    struct Interruption {};
    struct Timer : Kel::Timer {
        explicit Timer( RandomTimers & owner ) : Kel::Timer( owner.scheduler_ ), all( owner ) {}
        ~Timer() override = default;
        bool handleExpiry() override { return all.expire( *this ); }
        using Kel::Timer::resume;

        RandomTimers & all;
        F64 expectedDue = never;
        U64 order = 0;
    };

    // The past, now, the same tick, near, far, beyond any use, and when another or the same timer
    // is due, or never.
    F64 randomDue() {
        const F64 now = now_;
        const auto some = static_cast<F64>( random_() % 1000 );
        switch ( random_() % 7 ) {
        case 0:
            return now - some / 100;
        case 1:
            return now;
        case 2:
            return now + some / 1e5;
        case 3:
            return now + some / 30;
        case 4:
            return now + some * 1000;
        case 5:
            return now + some * 1e12;
        default:
            return timers_[random_() % timers_.size()]->expectedDue;
        }
    }

    void renew( std::size_t i ) {
        timers_[i] = nullptr;
        timers_[i] = std::make_unique<Timer>( *this );
    }
    void forget( const Timer & timer ) { expected_.erase( { timer.expectedDue, timer.order } ); }
    void set( Timer & timer, F64 due ) {
        if ( due != timer.expectedDue ) {
            forget( timer );
            timer.expectedDue = due;
            timer.order = ++orders_;
            if ( due != never ) {
                expected_[{ due, timer.order }] = &timer;
            }
        }
        timer.dueIs( due );
        EXPECT_EQ( timer.due(), due );
    }
    void resume( Timer & timer ) {
        if ( timer.expectedDue != never ) {
            expected_[{ timer.expectedDue, timer.order }] = &timer;
        }
        timer.resume();
    }
    bool expire( Timer & timer ) {
        ++fired_;
        EXPECT_EQ( expected_.begin()->second, &timer );
        EXPECT_EQ( timer.due(), never );
        now_ = std::max( now_, timer.expectedDue );
        EXPECT_EQ( scheduler_.now(), now_ );
        forget( timer );
        if ( random_() % 10 == 0 ) {
            return false;
        }
        timer.expectedDue = never;
        act( &timer );
        return random_() % 50 != 0 ? true : throw Interruption();
    }

    F64 now_ = 0;
    Kel::Scheduler scheduler_;
    std::minstd_rand random_{ 1 };
    std::map<std::pair<F64, U64>, Timer *> expected_;
    std::vector<std::unique_ptr<Timer>> timers_;
    U64 orders_ = 0;
    U64 fired_ = 0;
};

TEST( SchedulerTest, firesInTheOrderOfASortedMap ) {
    RandomTimers timers( 60 );
    for ( int round = 0; round < 20000; ++round ) {
        timers.act();
        timers.advance();
        ASSERT_FALSE( testing::Test::HasFailure() ) << "round " << round;
    }
    EXPECT_GT( timers.fired(), 20000U );
}

} // namespace
