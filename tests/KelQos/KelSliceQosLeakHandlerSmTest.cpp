#include "KelQos/Leak/KelSliceQosLeakHandlerSm.h"
#include "Platform/Framework/ActivityManager.h"
#include "Platform/Framework/Exceptions.h"
#include "Platform/Logging/RingTrace.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <tuple>

namespace KelQos {
namespace {

struct ProcessEnd {
    int status;
};

// One chip with three pipes, watched once a second for 100 lost packets.
class LeakHandlerTest : public testing::Test {
  public:
    LeakHandlerTest() {
        ::unsetenv( "SIMULATION_VMID" );
        Kel::ringTraceClear();
        manager.exitHandlerIs( []( int status ) { throw ProcessEnd{ status }; } );
        chipStatus->maxPipeIdIs( 2 );
        params->leakThresholdIs( 100 );
    }
    ~LeakHandlerTest() override { ::unsetenv( "SIMULATION_VMID" ); }

    void create( U32 deviceId = 0 ) {
        sm = Kel::construct<KelSliceQosLeakHandlerSm>( deviceId, chipStatus, params, counters );
    }
    void counter( U16 pipe, BlockLevelCounterName name, U64 value ) {
        counters->setBlockLevelCounter( KelId::KelDevId( 0U ), KelId::KelPipeId( pipe ), name,
                                        BlockLevelCounterType(), value );
    }
    void drops( U16 pipe, U64 packets ) { counter( pipe, blockLevelEpipePktDrop, packets ); }
    F64 nextPoll() { return manager.scheduler().nextDue(); }

    Kel::ActivityManager manager;
    Kel::Ptr<KelSlice::ChipStatus> chipStatus = Kel::makePtr<KelSlice::ChipStatus>();
    Kel::Ptr<TmBufferParamsConfig> params = Kel::makePtr<TmBufferParamsConfig>();
    Kel::Ptr<TmCountersData> counters = Kel::makePtr<TmCountersData>();
    Kel::Ptr<KelSliceQosLeakHandlerSm> sm;
};

TEST_F( LeakHandlerTest, PollsOnAWheelOfItsOwn ) {
    manager.advanceTo( 10.0 );
    create();
    EXPECT_TRUE( sm->initialized() );
    EXPECT_EQ( nextPoll(), 11.0 );
    const Kel::TimerWheel & wheel = *sm->pollClock();
    EXPECT_EQ( wheel.clock(), manager.config()->clock() );
    EXPECT_EQ( std::tuple( wheel.slotWidth(), wheel.horizon(), wheel.shared(), wheel.slots() ),
               std::tuple( 100U, 300U, false, 1024U ) );
    manager.advanceTo( 11.0 );
    EXPECT_EQ( nextPoll(), 12.0 );
}

TEST_F( LeakHandlerTest, ALeakIsInTheRingTraceAndEndsTheProcessWithStatusZero ) {
    create();
    counter( 0, blockLevelWacDropBufFull, 0x100000000 );
    drops( 0, 40 );
    drops( 2, 60 );
    EXPECT_THROW( manager.advanceTo( 1.0 ), ProcessEnd );
    EXPECT_EQ( Kel::ringTraceText(),
               "1 tm_wac_top.wac_pipe[0].wac_reg.wac_drop_buf_full: 4294967296\n"
               "2 tm_top.tm_caa.epipe[0].pkt_dropcnt: 40\n"
               "3 tm_top.tm_caa.epipe[2].pkt_dropcnt: 60\n"
               "4 Buffer leak detected, Aggregate counts are current: 100  lastPoll: 0\n"
               "5 Buffer leak counters went above threshold of 100, have to do a warm-reset to "
               "recover\n" );
    EXPECT_FALSE( sm->recovered() );
    EXPECT_EQ( nextPoll(), Kel::never );
    // The same without a host that has a say in how a process ends.
    manager.exitHandlerIs( nullptr );
    EXPECT_EXIT( sm->handlePollClock(), testing::ExitedWithCode( 0 ), "" );
}

TEST_F( LeakHandlerTest, FollowsOtherParameters ) {
    create();
    auto others = Kel::makePtr<TmBufferParamsConfig>();
    others->leakPollIntervalIs( 4.0 );
    drops( 0, 60 );
    manager.advanceTo( 0.5 );
    sm->velTmBufferParams()->notifierIs( others );
    EXPECT_EQ( sm->leakedPktsFromLastPoll(), 60U );
    EXPECT_EQ( nextPoll(), 4.5 );
    params->leakThresholdIs( 1 );
    EXPECT_EQ( nextPoll(), 4.5 );
}

TEST_F( LeakHandlerTest, SumsOfWideCountersSaturate ) {
    params->leakThresholdIs( 0xFFFFFFFF );
    ::setenv( "SIMULATION_VMID", "", 1 ); // any value will do
    create();
    drops( 0, 0x8000000000000000 );
    drops( 1, 0x8000000000000000 );
    EXPECT_EQ( sm->getLeakedPktsCounter(), 4294967295U );
    manager.advanceTo( 1.0 );
    EXPECT_TRUE( sm->recovered() );
}

TEST_F( LeakHandlerTest, WithoutParametersItNeitherSchedulesNorPolls ) {
    drops( 0, 1000 );
    sm = kelSliceQosLeakHandlerSmFactory( 0, chipStatus, nullptr, counters );
    EXPECT_TRUE( sm->initialized() );
    EXPECT_EQ( nextPoll(), Kel::never );
    sm->handlePollClock();
    EXPECT_EQ( sm->leakedPktsFromLastPoll(), 0U );

    create();
    sm->initializedIs( false );
    EXPECT_THROW( sm->pollClockIs( nullptr ), Kel::NullArgumentException );
    manager.advanceTo( 2.0 ); // the timer that was armed finds a handler that is not ready
    EXPECT_EQ( sm->leakedPktsFromLastPoll(), 0U );
    EXPECT_EQ( nextPoll(), Kel::never );
}

TEST_F( LeakHandlerTest, ADeviceIdThatIsNoneIsARangeError ) {
    create( 9 );
    try {
        manager.advanceTo( 1.0 );
        FAIL() << "expected a range error";
    } catch ( const Kel::RangeException & error ) {
        EXPECT_STREQ( error.what(),
                      "KelDevId::value < KelDevId::min or > KelDevId::invalid not allowed" );
    }
}

TEST_F( LeakHandlerTest, MovingToAnotherWheelPollsAtOnce ) {
    create();
    drops( 0, 5 );
    manager.advanceTo( 0.25 );
    sm->pollClockIs( Kel::TimerWheelIs( manager.config()->clock(), 100, 300, false, 1024 ) );
    EXPECT_EQ( sm->leakedPktsFromLastPoll(), 5U );
    EXPECT_EQ( nextPoll(), 1.25 );
}

TEST_F( LeakHandlerTest, WhoeverIsToldOfAPollMayDropTheHandler ) {
    struct Watcher : Kel::NotifieeOf<KelSliceQosLeakHandlerSm> {
        explicit Watcher( Kel::Ptr<KelSliceQosLeakHandlerSm> & watched )
            : NotifieeOf( watched ), sm( watched ) {}
        void onAttribute( Kel::AttributeId, const void * ) override {
            sm = nullptr;
            notifierIs( nullptr ); // this was the last reference
        }
        Kel::Ptr<KelSliceQosLeakHandlerSm> & sm;
    };
    create();
    const auto watcher = Kel::makePtr<Watcher>( sm );
    watcher->hasNotificationActiveIs( true );
    drops( 0, 5 );
    manager.advanceTo( 1.0 );
    EXPECT_EQ( sm, nullptr );
    EXPECT_EQ( nextPoll(), Kel::never );
}

TEST_F( LeakHandlerTest, ReactorsHeldBeyondTheHandlerStaySilent ) {
    create();
    drops( 0, 1000 );
    const auto onParams = sm->velTmBufferParams();
    const auto onWheel = sm->velPollClock();
    sm = nullptr;
    params->leakThresholdIs( 1 );
    onParams->notifierIs( Kel::makePtr<TmBufferParamsConfig>() );
    manager.advanceTo( 5.0 ); // a poll would end the process
    EXPECT_TRUE( !onParams->owner() && !onWheel->owner() );
}

} // namespace
} // namespace KelQos
