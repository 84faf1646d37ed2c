#include "KelQos/Leak/KelSliceQosLeakHandlerSm.h"
#include "Platform/Framework/ActivityManager.h"
#include "Platform/Framework/Exceptions.h"
#include "Platform/Logging/RingTrace.h"
#include "Platform/Logging/Syslog.h"
#include "Platform/Logging/Trace.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace KelQos {
namespace {

using Lines = std::vector<std::string>;

struct ProcessEnd {
    int status;
};

// One chip with three pipes, watched once a second for 100 lost packets.
class LeakHandlerTest : public testing::Test {
  public:
    LeakHandlerTest() {
        ::unsetenv( "SIMULATION_VMID" );
        Kel::ringTraceClear();
        Kel::traceLevelsIs( "KelSliceQosLeakHandlerSm=*" );
        Kel::traceSinkIs( [this]( const Kel::TraceRecord & record ) {
            told.push_back( std::to_string( record.level ) + " " + std::string( record.text ) );
        } );
        Kel::syslogSinkIs(
            [this]( int severity, std::string_view mnemonic, std::string_view text ) {
                told.push_back( "syslog " + std::to_string( severity ) + " " +
                                std::string( mnemonic ) + " " + std::string( text ) );
            } );
        manager.exitHandlerIs( []( int status ) { throw ProcessEnd{ status }; } );
        chipStatus->maxPipeIdIs( 2 );
        params->leakThresholdIs( 100 );
    }
    ~LeakHandlerTest() override {
        ::unsetenv( "SIMULATION_VMID" );
        Kel::traceLevelsDelAll();
        Kel::traceSinkIs( nullptr );
        Kel::syslogSinkIs( nullptr );
    }

    void create( U32 deviceId = 0 ) {
        sm = Kel::construct<KelSliceQosLeakHandlerSm>( deviceId, chipStatus, params, counters );
        told.clear();
    }
    void createInSimulation() {
        ::setenv( "SIMULATION_VMID", "", 1 ); // any value will do
        create();
    }
    void counter( U16 pipe, BlockLevelCounterName name, U64 value ) {
        counters->setBlockLevelCounter( KelId::KelDevId( 0U ), KelId::KelPipeId( pipe ), name,
                                        BlockLevelCounterType(), value );
    }
    void drops( U16 pipe, U64 packets ) { counter( pipe, blockLevelEpipePktDrop, packets ); }
    Lines takeTold() { return std::exchange( told, {} ); }
    F64 nextPoll() { return manager.scheduler().nextDue(); }

    Lines told;
    Kel::ActivityManager manager;
    Kel::Ptr<KelSlice::ChipStatus> chipStatus = Kel::makePtr<KelSlice::ChipStatus>();
    Kel::Ptr<TmBufferParamsConfig> params = Kel::makePtr<TmBufferParamsConfig>();
    Kel::Ptr<TmCountersData> counters = Kel::makePtr<TmCountersData>();
    Kel::Ptr<KelSliceQosLeakHandlerSm> sm;
};

const std::string leakTraced =
    "1 handlePollClock: Buffer leak counters went above threshold of 100, have to do a warm-reset "
    "to recover";
const std::string leakLogged =
    "syslog 3 KEL_INTERNAL_BUFFER_ERROR An internal buffer accounting error was "
    "detected and corrected.";

TEST_F( LeakHandlerTest, BelowTheThresholdOnlyGrowthIsTraced ) {
    manager.advanceTo( 10.0 );
    sm = kelSliceQosLeakHandlerSmFactory( 0, chipStatus, params, counters );
    EXPECT_EQ( takeTold(), Lines{ "4 handleInitialized: handleInitialized" } );
    EXPECT_TRUE( sm->initialized() );
    EXPECT_EQ( nextPoll(), 11.0 );
    const Kel::TimerWheel & wheel = *sm->pollClock();
    EXPECT_EQ( wheel.clock(), manager.config()->clock() );
    EXPECT_EQ( std::tuple( wheel.slotWidth(), wheel.horizon(), wheel.shared(), wheel.slots() ),
               std::tuple( 100U, 300U, false, 1024U ) );

    // Pipe 1 has not been fetched, pipe 2 lacks one of its counters, pipe 3 does not exist.
    counter( 0, blockLevelWacDropBufFull, 0x100000000 );
    drops( 0, 50 );
    drops( 2, 48 );
    drops( 3, 1000 );
    manager.advanceTo( 10.999 );
    EXPECT_EQ( takeTold(), Lines{} );
    manager.advanceTo( 11.0 );
    EXPECT_EQ( takeTold(),
               ( Lines{ "4 traceCounters: "
                        "tm_wac_top.wac_pipe[0].wac_reg.wac_drop_buf_full: 4294967296",
                        "4 traceCounters: tm_top.tm_caa.epipe[0].pkt_dropcnt: 50",
                        "4 traceCounters: tm_top.tm_caa.epipe[2].pkt_dropcnt: 48",
                        "4 traceCounters: Buffer leak detected! Aggregate counts are current: 98 "
                        "lastPoll: 0" } ) );
    EXPECT_EQ( Kel::ringTraceText(),
               "1 tm_wac_top.wac_pipe[0].wac_reg.wac_drop_buf_full: 4294967296\n"
               "2 tm_top.tm_caa.epipe[0].pkt_dropcnt: 50\n"
               "3 tm_top.tm_caa.epipe[2].pkt_dropcnt: 48\n"
               "4 Buffer leak detected, Aggregate counts are current: 98  lastPoll: 0\n" );

    manager.advanceTo( 13.0 ); // two more polls see no change
    EXPECT_EQ( takeTold(), Lines{} );

    drops( 2, 49 );
    manager.advanceTo( 14.0 );
    EXPECT_EQ( takeTold().back(), "4 traceCounters: Buffer leak detected! Aggregate counts are "
                                  "current: 99 lastPoll: 98" );
    EXPECT_EQ( sm->leakedPktsFromLastPoll(), 99U );

    drops( 2, 1 );
    manager.advanceTo( 15.0 );
    EXPECT_EQ( takeTold(), Lines{} );
    EXPECT_EQ( sm->leakedPktsFromLastPoll(), 51U );
    EXPECT_EQ( nextPoll(), 16.0 );
}

TEST_F( LeakHandlerTest, AtTheThresholdItIsLoggedAndTheProcessEndsWithStatusZero ) {
    create();
    drops( 1, 100 );
    try {
        manager.advanceTo( 1.0 );
        FAIL() << "the process should have ended";
    } catch ( const ProcessEnd & end ) {
        EXPECT_EQ( end.status, 0 );
    }
    ASSERT_EQ( told.size(), 4U );
    EXPECT_EQ( told[2], leakTraced );
    EXPECT_EQ( told[3], leakLogged );
    EXPECT_TRUE( Kel::ringTraceText().ends_with(
        "\n3 Buffer leak counters went above threshold of 100, have to do a warm-reset to "
        "recover\n" ) );
    EXPECT_FALSE( sm->recovered() );
    EXPECT_EQ( nextPoll(), Kel::never );

    // The same without a host that has a say in how a process ends.
    manager.exitHandlerIs( nullptr );
    Kel::syslogSinkIs( nullptr );
    EXPECT_EXIT( sm->handlePollClock(), testing::ExitedWithCode( 0 ), leakLogged );
}

TEST_F( LeakHandlerTest, InSimulationItRecoversAndRestsUntilAParameterChanges ) {
    createInSimulation();
    drops( 0, 101 );
    manager.advanceTo( 1.0 );
    EXPECT_TRUE( sm->recovered() );
    EXPECT_EQ( takeTold().back(), leakLogged );
    drops( 0, 150 );
    manager.advanceTo( 5.0 );
    EXPECT_EQ( sm->leakedPktsFromLastPoll(), 101U );
    EXPECT_EQ( nextPoll(), Kel::never );

    // Another interval arms the timer again; the leak is still there when it fires.
    params->leakPollIntervalIs( 0.5 );
    EXPECT_EQ( nextPoll(), 5.5 );
    EXPECT_EQ( takeTold(), Lines{} );
    manager.advanceTo( 7.0 );
    EXPECT_EQ( takeTold().back(), leakLogged );
    EXPECT_EQ( nextPoll(), Kel::never );

    // Another threshold polls at once: first still a leak, then none.
    params->leakThresholdIs( 150 );
    EXPECT_EQ( takeTold().back(), leakLogged );
    EXPECT_EQ( nextPoll(), Kel::never );
    params->leakThresholdIs( 151 );
    EXPECT_EQ( takeTold(), Lines{} );
    EXPECT_EQ( nextPoll(), 7.5 );
    EXPECT_TRUE( sm->recovered() );
}

TEST_F( LeakHandlerTest, ParameterChangesTakeEffectAtTheTimeOfTheChange ) {
    createInSimulation();
    drops( 0, 40 );
    manager.advanceTo( 0.75 );
    params->leakPollIntervalIs( 2.0 );
    EXPECT_EQ( nextPoll(), 2.75 );
    EXPECT_EQ( sm->leakedPktsFromLastPoll(), 0U );

    manager.advanceTo( 1.5 );
    params->leakThresholdIs( 41 );
    EXPECT_EQ( sm->leakedPktsFromLastPoll(), 40U );
    EXPECT_EQ( nextPoll(), 3.5 );
    params->totalCellsAvailableForIngressIs( 1000 );
    EXPECT_EQ( nextPoll(), 3.5 );

    // A leak found by a lowered threshold does not leave the armed timer behind.
    params->leakThresholdIs( 40 );
    EXPECT_TRUE( sm->recovered() );
    EXPECT_EQ( nextPoll(), Kel::never );

    auto others = Kel::makePtr<TmBufferParamsConfig>();
    others->leakPollIntervalIs( 4.0 );
    drops( 0, 60 );
    sm->velTmBufferParams()->notifierIs( others );
    EXPECT_EQ( sm->leakedPktsFromLastPoll(), 60U );
    EXPECT_EQ( nextPoll(), 5.5 );
    params->leakThresholdIs( 1 );
    EXPECT_EQ( nextPoll(), 5.5 );
}

TEST_F( LeakHandlerTest, AThresholdOfZeroIsALeakAtTheFirstPoll ) {
    params->leakThresholdIs( 0 );
    create();
    manager.advanceTo( 0.999 );
    EXPECT_THROW( manager.advanceTo( 1.0 ), ProcessEnd );
}

TEST_F( LeakHandlerTest, SumsSaturateAtTheLargestCount ) {
    params->leakThresholdIs( 0xFFFFFFFF );
    createInSimulation();
    drops( 0, 4294967293 );
    drops( 1, 1 );
    manager.advanceTo( 1.0 );
    EXPECT_EQ( sm->leakedPktsFromLastPoll(), 4294967294U );
    EXPECT_FALSE( sm->recovered() );

    drops( 0, 0x8000000000000000 );
    drops( 1, 0x8000000000000000 );
    EXPECT_EQ( sm->getLeakedPktsCounter(), 4294967295U );
    manager.advanceTo( 2.0 );
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

TEST_F( LeakHandlerTest, APollDueWhileSwitchedOffIsMadeUpForAndAChangeIsNot ) {
    createInSimulation();
    drops( 0, 5 );
    sm->hasNotificationActiveIs( false );
    params->leakThresholdIs( 3 );
    manager.advanceTo( 4.0 );
    EXPECT_EQ( takeTold(), Lines{} );
    params->leakThresholdIs( 90 );
    sm->hasNotificationActiveIs( true );
    EXPECT_EQ( takeTold(), Lines{} );
    manager.advanceTo( 4.0 );
    EXPECT_EQ( sm->leakedPktsFromLastPoll(), 5U );
    EXPECT_EQ( nextPoll(), 5.0 );
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
    manager.advanceTo( 5.0 );
    EXPECT_EQ( takeTold(), Lines{} );
}

} // namespace
} // namespace KelQos
