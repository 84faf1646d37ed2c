#include "Platform/Framework/ActivityManager.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace {

using Kel::Clock;
using Kel::makePtr;
using Kel::never;
using Kel::Ptr;

using Log = std::vector<std::string>;

// Does what the test wants when it goes off.
template <class Source = Clock>
class Alarm : public Kel::TimedNotifiee<Source> {
  public:
    Alarm( Ptr<const Source> source, F64 due, std::function<void()> action )
        : Kel::TimedNotifiee<Source>( std::move( source ) ), action_( std::move( action ) ) {
        this->timeMinIs( due );
        this->hasNotificationActiveIs( true );
    }
    void onAttribute( Kel::AttributeId id, const void * key ) override {
        EXPECT_TRUE( id == Kel::TimeSource::timeMinAttr && !key );
        EXPECT_EQ( this->timeMin(), never );
        action_();
    }

  private:
    std::function<void()> action_;
};

struct Timers : testing::Test {
    // Notes its name and its source's time when it goes off.
    template <class Source>
    Ptr<Alarm<Source>> alarm(
        const Ptr<Source> & source, const std::string & name, F64 due,
        std::function<void()> deed = [] {} ) {
        return makePtr<Alarm<Source>>( source, due, [this, source, name, deed = std::move( deed )] {
            const std::string time = std::to_string( source->now() );
            log.push_back( name + "@" + time.substr( 0, time.find( '.' ) + 2 ) );
            deed();
        } );
    }
    Log advanceTo( F64 time ) {
        log.clear();
        manager.advanceTo( time );
        return log;
    }

    Kel::ActivityManager manager;
    Ptr<Clock> clock = Kel::activityManager()->config()->clock();
    Ptr<Clock> shifted = makePtr<Clock>( manager.scheduler(), 1000.0 );
    Log log;
};

TEST_F( Timers, ClocksAndWheelsShareOneOrder ) {
    const auto a = alarm( Kel::TimerWheelIs( clock, 100, 30000, true, 1024 ), "wheel", 2.5 );
    const auto b = alarm( clock, "clock", 2.5 );
    const auto c = alarm( Kel::TimerWheelIs( shifted, 5000, 30000, false, 4 ), "coarse", 1000.5 );
    const auto d = alarm( shifted, "shifted", 1002.5 );
    EXPECT_EQ( d->timeMin(), 1002.5 );
    EXPECT_EQ( advanceTo( 2.4 ), Log( { "coarse@1000.5" } ) );
    EXPECT_EQ( manager.now(), 2.4 );
    EXPECT_EQ( advanceTo( 9.0 ), Log( { "wheel@2.5", "clock@2.5", "shifted@1002.5" } ) );
    EXPECT_EQ( b->timeMin(), never ); // once is enough
    EXPECT_THROW( Kel::TimerWheelIs( nullptr, 1, 1, true, 1 ), Kel::NullArgumentException );
}

TEST_F( Timers, ReactorsThatLeaveOrDieDoNotGoOff ) {
    Ptr<Alarm<>> own, dropped, left, moved;
    own = alarm( clock, "own", 1.0, [&] {
        own = nullptr; // lives until this handler returns
        dropped = nullptr;
        left->notifierIs( nullptr );
        left->timeMinIs( never );     // may be said without a source too
        moved->notifierIs( shifted ); // what was set on the old source is gone
    } );
    dropped = alarm( clock, "dropped", 1.0 );
    left = alarm( clock, "left", 1.0 );
    moved = alarm( clock, "moved", 1.0 );
    const auto zombie = alarm( clock, "zombie", 1.0 );
    zombie->zombieIs( true );
    const auto stranger = alarm( clock, "stranger", 1.0 );
    stranger->isRegisteredNotifieeIs( false );
    EXPECT_EQ( advanceTo( 1.0 ), Log( { "own@1.0" } ) );
    for ( const auto & silent : { left, moved, zombie, stranger } ) {
        EXPECT_EQ( silent->timeMin(), never );
    }

    zombie->zombieIs( false );
    left->notifierIs( clock );
    left->timeMinIs( 4.0 );
    left->notifierIs( clock ); // where it is: stays set
    moved->timeMinIs( 1003.0 );
    EXPECT_EQ( advanceTo( 9.0 ), Log( { "moved@3.0", "left@4.0" } ) );

    struct Dying : Alarm<> {
        using Alarm<>::Alarm;
        ~Dying() override { Kel::activityManager()->advanceTo( 20.0 ); }
    };
    makePtr<Dying>( clock, 10.0, [] { FAIL(); } );
    EXPECT_EQ( manager.now(), 20.0 );
}

TEST_F( Timers, ExpiryIsKeptWhileTheSwitchIsOff ) {
    std::vector<Ptr<Alarm<>>> alarms;
    for ( const char * name : { "a", "same", "moved", "stopped", "zombie", "forgotten" } ) {
        alarms.push_back( alarm( clock, name, 1.0 ) );
        alarms.back()->hasNotificationActiveIs( false );
    }
    EXPECT_EQ( advanceTo( 2.0 ), Log() );
    EXPECT_EQ( alarms[0]->timeMin(), 1.0 );
    alarms[0]->hasNotificationActiveIs( false );
    EXPECT_EQ( manager.scheduler().nextDue(), never );
    alarms[1]->timeMinIs( 1.0 );
    alarms[2]->timeMinIs( 4.0 );
    alarms[3]->timeMinIs( never );
    alarms[4]->zombieIs( true );
    alarms.pop_back(); // with an expiry that nobody will ask for
    const auto other = alarm( clock, "other", 1.0 );
    for ( const std::size_t i : { 1U, 0U, 2U, 3U, 4U } ) { // not in the order of arming
        alarms[i]->hasNotificationActiveIs( false );
        alarms[i]->hasNotificationActiveIs( true );
    }
    EXPECT_EQ( log, Log() ); // waits for the next service
    EXPECT_EQ( advanceTo( 2.0 ), Log( { "a@2.0", "same@2.0", "other@2.0" } ) );
    EXPECT_EQ( advanceTo( 9.0 ), Log( { "moved@4.0" } ) );
}

TEST_F( Timers, MisuseAborts ) {
    const auto a = alarm( clock, "a", 1.0 );
    EXPECT_DEATH( a->timeMinIs( std::numeric_limits<F64>::quiet_NaN() ), "\"due == due\"" );
    EXPECT_DEATH( alarm( Ptr<Clock>(), "b", 1.0 ), "\"source\"" );
    EXPECT_DEATH( ( a->notifierIs( nullptr ), a->timeMinIs( 1.0 ) ), "\"this->notifier\\(\\)\"" );
    EXPECT_DEATH( Kel::ActivityManager(), "\"!current\"" );
    std::optional<Kel::Scheduler> other( std::in_place );
    const auto ofOther = makePtr<Clock>( *other );
    EXPECT_DEATH( a->notifierIs( ofOther ), "scheduler\\(\\) == &scheduler\\(\\)" );
    const auto late = alarm( ofOther, "late", 1.0 );
    EXPECT_DEATH( other.reset(), "\"timers_ == 0\"" );
}

TEST( ActivityManagerTest, OrderlyExitEndsTheProcessInTheHostsWay ) {
    const auto exits = []( std::function<void( int )> handler ) {
        Kel::ActivityManager manager;
        manager.exitHandlerIs( std::move( handler ) );
        Kel::activityManager()->exit( 3 );
    };
    EXPECT_EXIT( exits( nullptr ), testing::ExitedWithCode( 3 ), "^$" );
    EXPECT_EXIT(
        exits( []( int status ) { std::fprintf( stderr, "closing, status %d", status ); } ),
        testing::ExitedWithCode( 3 ), "^closing, status 3$" );
    // A host may leave by an exception of its own to end only the run.
    EXPECT_THROW( exits( []( int status ) { throw status; } ), int );
    EXPECT_DEATH( Kel::activityManager(), "Assertion \"current\" failed" );
}

} // namespace
