#include "Platform/Framework/ActivityManager.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Kel::Clock;
using Kel::makePtr;
using Kel::never;
using Kel::Ptr;
using Kel::TimerWheel;

using Log = std::vector<std::string>;

template <class Source>
class Alarm : public Kel::TimedNotifiee<Source> {
  public:
    Alarm( Ptr<const Source> source, std::function<void()> action )
        : Kel::TimedNotifiee<Source>( std::move( source ) ), action_( std::move( action ) ) {
        this->hasNotificationActiveIs( true );
    }
    void onAttribute( Kel::AttributeId id, const void * key ) override {
        EXPECT_EQ( id, Kel::TimeSource::timeMinAttr );
        EXPECT_EQ( key, nullptr );
        action_();
    }

  private:
    std::function<void()> action_;
};
using ClockAlarm = Ptr<Alarm<Clock>>;

// Alarms note their name and the time when they go off.
struct Timers : testing::Test {
    template <class Source>
    Ptr<Alarm<Source>> alarm( const Ptr<Source> & source, const std::string & name,
                              std::function<void()> deed = {} ) {
        auto action = [this, source, name, deed = std::move( deed )] {
            std::string time = std::to_string( source->now() );
            log.push_back( name + "@" + time.substr( 0, time.find( '.' ) + 2 ) );
            if ( deed ) {
                deed();
            }
        };
        return makePtr<Alarm<Source>>( source, std::move( action ) );
    }
    ClockAlarm alarm( const std::string & name, F64 due, std::function<void()> deed = {} ) {
        auto made = alarm( clock, name, std::move( deed ) );
        made->timeMinIs( due );
        return made;
    }
    Log advanceTo( F64 time ) {
        log.clear();
        manager.advanceTo( time );
        return log;
    }

    Kel::ActivityManager manager;
    Ptr<Clock> clock = Kel::activityManager()->config()->clock();
    Log log;
};

TEST_F( Timers, ClocksAndWheelsShareOneOrder ) {
    const auto wheel = Kel::TimerWheelIs( clock, 100, 30000, true, 1024 );
    const auto coarse = Kel::TimerWheelIs( clock, 5000, 30000, false, 4 );
    const auto shifted = makePtr<Clock>( manager.scheduler(), 1000.0 );
    const auto a = alarm( wheel, "wheel" );
    const auto b = alarm( clock, "clock" );
    const auto c = alarm( coarse, "coarse" );
    const auto d = alarm( shifted, "shifted" );
    a->timeMinIs( 2.5 );
    b->timeMinIs( 2.5 );
    c->timeMinIs( 0.5 );
    d->timeMinIs( 1002.5 );
    EXPECT_EQ( d->timeMin(), 1002.5 );
    EXPECT_EQ( manager.scheduler().nextDue(), 0.5 );
    EXPECT_EQ( advanceTo( 2.4 ), Log( { "coarse@0.5" } ) );
    EXPECT_EQ( manager.now(), 2.4 );
    EXPECT_EQ( advanceTo( 9.0 ), Log( { "wheel@2.5", "clock@2.5", "shifted@1002.5" } ) );
    EXPECT_EQ( shifted->now(), 1009.0 );
    EXPECT_EQ( advanceTo( 99.0 ), Log() ); // once is enough
    EXPECT_EQ( a->timeMin(), never );
    EXPECT_THROW( Kel::TimerWheelIs( nullptr, 1, 1, true, 1 ), Kel::NullArgumentException );
}

TEST_F( Timers, PlaceAmongThoseDueTogetherIsThatOfArming ) {
    const auto a = alarm( "a", 1.0 );
    const auto b = alarm( "b", 1.0 );
    const auto c = alarm( "c", 1.0 );
    a->timeMinIs( 1.0 ); // what it is already: keeps its place
    b->timeMinIs( 5.0 );
    b->timeMinIs( 1.0 ); // armed anew
    EXPECT_EQ( advanceTo( 1.0 ), Log( { "a@1.0", "c@1.0", "b@1.0" } ) );
}

TEST_F( Timers, ReArmedInTheirHandlersTakeTheirTurn ) {
    int rounds = 0;
    ClockAlarm a;
    a = alarm( "a", 1.0, [&] {
        EXPECT_EQ( a->timeMin(), never );
        const std::array<F64, 4> next{ 1.0, 0.2, 3.0, 8.0 }; // same, earlier, later, beyond
        a->timeMinIs( next.at( static_cast<std::size_t>( rounds++ ) ) );
    } );
    const auto b = alarm( "b", 1.0 );
    const auto c = alarm( "c", 2.0 );
    EXPECT_EQ( advanceTo( 4.0 ), Log( { "a@1.0", "b@1.0", "a@1.0", "a@1.0", "c@2.0", "a@3.0" } ) );
    EXPECT_EQ( a->timeMin(), 8.0 );
    EXPECT_EQ( manager.scheduler().nextDue(), 8.0 );
    a->timeMinIs( never );
    EXPECT_EQ( advanceTo( 99.0 ), Log() );
}

TEST_F( Timers, HandlersMayCancelMoveAndDestroyOthersAndThemselves ) {
    ClockAlarm a, cancelled, moved, dropped, left;
    a = alarm( "a", 1.0, [&] {
        a = nullptr; // lives until this handler returns
        cancelled->timeMinIs( never );
        moved->timeMinIs( 2.0 );
        dropped = nullptr;
        left->notifierIs( nullptr );
    } );
    cancelled = alarm( "cancelled", 1.0 );
    moved = alarm( "moved", 1.0 );
    dropped = alarm( "dropped", 1.0 );
    left = alarm( "left", 1.0 );
    const auto zombie = alarm( "zombie", 1.0 );
    zombie->zombieIs( true );
    const auto stranger = alarm( "stranger", 1.0 );
    stranger->isRegisteredNotifieeIs( false );
    EXPECT_EQ( advanceTo( 5.0 ), Log( { "a@1.0", "moved@2.0" } ) );
    EXPECT_EQ( a, nullptr );
    EXPECT_EQ( left->timeMin(), never );

    // Another face of the same scheduler: what was set on the old one is gone.
    const auto other = makePtr<Clock>( manager.scheduler(), 100.0 );
    moved->timeMinIs( 6.0 );
    moved->notifierIs( other );
    EXPECT_EQ( moved->timeMin(), never );
    moved->timeMinIs( 107.0 );
    EXPECT_EQ( advanceTo( 9.0 ), Log( { "moved@7.0" } ) );
}

TEST_F( Timers, PastTimesFireNowAndTimeNeverGoesBack ) {
    advanceTo( 10.0 );
    const auto a = alarm( "a", 9.0 );
    const auto b = alarm( "b", 3.0 );
    const auto c = alarm( "c", 10.5 );
    EXPECT_EQ( advanceTo( 4.0 ), Log( { "b@10.0", "a@10.0" } ) );
    EXPECT_EQ( manager.now(), 10.0 );
}

TEST_F( Timers, ExpiryIsKeptWhileTheSwitchIsOff ) {
    std::vector<ClockAlarm> alarms;
    for ( const char * name : { "a", "same", "moved", "stopped", "zombie" } ) {
        alarms.push_back( alarm( name, 1.0 ) );
        alarms.back()->hasNotificationActiveIs( false );
    }
    EXPECT_EQ( advanceTo( 2.0 ), Log() );
    EXPECT_EQ( alarms[0]->timeMin(), 1.0 );
    alarms[1]->timeMinIs( 1.0 );
    alarms[2]->timeMinIs( 4.0 );
    alarms[3]->timeMinIs( never );
    alarms[4]->zombieIs( true );
    const auto other = alarm( "other", 1.5 );
    for ( const std::size_t i : { 1U, 0U, 2U, 3U, 4U } ) { // not in the order of arming
        alarms[i]->hasNotificationActiveIs( true );
    }
    EXPECT_EQ( log, Log() ); // waits for the next service
    EXPECT_EQ( advanceTo( 2.0 ), Log( { "a@2.0", "same@2.0", "other@2.0" } ) );
    EXPECT_EQ( advanceTo( 9.0 ), Log( { "moved@4.0" } ) );
    alarms[0]->hasNotificationActiveIs( false );
    alarms[0]->timeMinIs( 10.0 );
    advanceTo( 11.0 );
    alarms.clear(); // with an expiry that nobody will ask for
    EXPECT_EQ( advanceTo( 20.0 ), Log() );
}

TEST_F( Timers, ExceptionLeavesTheOthersForTheNextService ) {
    const auto a = alarm( "a", 1.0, [] { throw std::runtime_error( "handler" ); } );
    const auto b = alarm( "b", 2.0 );
    EXPECT_THROW( advanceTo( 5.0 ), std::runtime_error );
    EXPECT_EQ( manager.now(), 1.0 );
    EXPECT_EQ( a->timeMin(), never );
    EXPECT_EQ( advanceTo( 5.0 ), Log( { "b@2.0" } ) );
}

// Hundreds of timers are armed, moved and cancelled at random, in handlers too; an ordered set says
// which one must be next, and when.
TEST_F( Timers, AgreeWithAnOrderedSet ) {
    struct Due {
        F64 due;
        int order;
        std::size_t who;
        auto operator<=>( const Due & ) const = default;
    };
    constexpr std::size_t count = 300;
    std::mt19937 random( 7 );
    std::vector<ClockAlarm> alarms;
    std::vector<Due> dues( count );
    std::set<Due> expected;
    int order = 0;
    std::size_t fired = 0;

    const auto rearm = [&]( std::size_t who ) {
        const F64 ahead = static_cast<F64>( random() % 64 ) / 4.0 - 2.0;
        const F64 due = random() % 8 == 0 ? never : clock->now() + ahead;
        if ( due != alarms[who]->timeMin() ) {
            expected.erase( dues[who] );
            dues[who] = { due, order++, who };
            if ( due != never ) {
                expected.insert( dues[who] );
            }
        }
        alarms[who]->timeMinIs( due );
    };
    for ( std::size_t who = 0; who < count; ++who ) {
        alarms.push_back( makePtr<Alarm<Clock>>( clock, [&, who] {
            ++fired;
            ASSERT_FALSE( expected.empty() );
            ASSERT_EQ( expected.begin()->who, who );
            ASSERT_GE( clock->now(), expected.begin()->due );
            expected.erase( expected.begin() );
            rearm( random() % 4 == 0 ? who : random() % count );
        } ) );
        rearm( who );
    }
    for ( F64 time = 0.25; time < 200.0 && !HasFailure(); time += 0.25 ) {
        manager.advanceTo( time );
        ASSERT_TRUE( expected.empty() || expected.begin()->due > time );
        rearm( random() % count );
    }
    EXPECT_GT( fired, 1000U );
}

TEST( ActivityManagerTest, OrderlyExitEndsTheProcessInTheHostsWay ) {
    const auto exits = []( std::function<void( int )> handler ) {
        Kel::ActivityManager manager;
        manager.exitHandlerIs( std::move( handler ) );
        Kel::activityManager()->exit( 0 );
    };
    EXPECT_EXIT( exits( nullptr ), testing::ExitedWithCode( 0 ), "^$" );
    EXPECT_EXIT(
        exits( []( int status ) { std::fprintf( stderr, "closing, status %d", status ); } ),
        testing::ExitedWithCode( 0 ), "^closing, status 0$" );
    // A host may leave by an exception of its own to end only the run.
    EXPECT_THROW( exits( []( int status ) { throw status; } ), int );
    EXPECT_DEATH( Kel::activityManager(), "Assertion \"current\" failed" );
}

} // namespace
