#include "KelQos/Leak/KelSliceQosLeakHandlerSm.h"
#include "KelQos/Slice/KelSliceQosSmPpg.h"
#include "KelQos/Slice/KelSliceQosSmReactors.h"
#include "KelQos/Slice/KelSliceQosSmTxQueue.h"
#include "tests/support/SmallChip.h"

#include <functional>
#include <gtest/gtest.h>

namespace {

// What happens in a state store that no scenario can say: entities take the place of others, and
// hold what no switch document does.

using namespace KelQos;
using Kel::IntfId;
using Kel::makePtr;
using KelPortTypes::PortIndex;
using TestSupport::SmallChip;
using Lines = std::vector<std::string>;

// A port that is configured with a group and a queue.
class StateStore : public testing::Test {
  protected:
    StateStore() {
        switch1.addPort( "Ethernet1", 4 );
        intf->tmPpgConfigIs( SmallChip::newPpg( 1, 0x02 ) );
        intf->tmTxQueueConfigIs( SmallChip::newQueue( 0, 50 ) );
        switch1.start();
        switch1.takeLog();
    }
    Kel::Ptr<KelSliceQosSm::VelTmIntfConfig> reactor() {
        return switch1.sm->velTmIntfConfig( PortIndex( 4 ) );
    }
    // Of the calls for a queue only the last.
    Lines takeStory() {
        Lines story = switch1.takeStory();
        std::erase_if( story, []( const std::string & line ) {
            return line.find( "_q_" ) != std::string::npos &&
                   line.find( "color_drop" ) == std::string::npos;
        } );
        return story;
    }
    void expectSilence( const std::function<void()> & change ) {
        change();
        switch1.advance( 0.0 );
        EXPECT_EQ( switch1.takeLog(), Lines{} );
    }

    SmallChip switch1;
    Kel::Ptr<TmIntfConfig> intf = switch1.addIntf( 4 );
};

TEST_F( StateStore, anotherGroupEntityIsProgrammedInFull ) {
    const auto old = intf->tmPpgConfig( PpgId( 1 ) );
    const auto group = reactor()->velTmPpgConfig( PpgId( 1 ) );
    intf->tmPpgConfigIs( SmallChip::newPpg( 1, 0x10, true, 5 ) );
    const std::string pools = "pools 98075 266190";
    EXPECT_EQ( switch1.takeStory(),
               ( Lines{ pools, "call bf_tm_ppg_icos_mapping_set(0, 0, 16) = 0", pools,
                        "call bf_tm_ppg_lossless_treatment_enable(0, 0) = 0",
                        "call bf_tm_ppg_skid_limit_set(0, 0, 232) = 0",
                        "call bf_tm_ppg_app_pool_usage_set(0, 0, 0, 1, 3, 0) = 0", pools,
                        "call bf_tm_ppg_guaranteed_min_limit_set(0, 0, 5) = 0" } ) );
    EXPECT_EQ( reactor()->velTmPpgConfig( PpgId( 1 ) ), group );
    expectSilence( [&] { old->minLimitCellsIs( 9 ); } );
    // A second release finds nothing to release.
    group->cleanup();
    switch1.takeLog();
    expectSilence( [&] { group->cleanup(); } );
}

TEST_F( StateStore, anotherQueueEntityIsProgrammedInFull ) {
    const TxQueueId id( 0 );
    const auto old = intf->tmTxQueueConfig( id );
    const auto queue = reactor()->velTmTxQueueConfig( id );
    expectSilence( [&] { EXPECT_EQ( reactor()->tmTxQueueConfigIs( id, old ), queue ); } );
    const auto other = SmallChip::newQueue( 0, 8 );
    intf->tmTxQueueConfigIs( other );
    const Lines replaced = switch1.takeStory();
    EXPECT_EQ( reactor()->velTmTxQueueConfig( id ), queue );
    expectSilence( [&] { old->weightIs( 3 ); } );
    // Null is a removal; a new one programs the same.
    expectSilence( [&] { EXPECT_FALSE( reactor()->tmTxQueueConfigIs( id, nullptr ) ); } );
    EXPECT_NE( reactor()->tmTxQueueConfigIs( id, other ), queue );
    EXPECT_EQ( switch1.takeStory(), replaced );
}

// The shaper and the flow control, then the groups and queues that it has, and then those go that
// it has no longer. A group that is new is allocated when timers are served.
TEST_F( StateStore, anotherPortEntityIsProgrammedInFull ) {
    switch1.mapAllClasses();
    const auto port = reactor();
    const auto other = makePtr<TmIntfConfig>( PortIndex( 4 ) );
    other->flowControlTypeIs( flowControlTypePfc );
    other->shapeRateIs( ShapeRate( 1, 9, 8 ) );
    other->tmPpgConfigIs( SmallChip::newPpg( 4, 0x20, false, 6 ) );
    other->tmTxQueueConfigIs( SmallChip::newQueue( 2, 70 ) );
    switch1.tmConfig->tmIntfConfigIs( other );
    const std::string pools = "pools 98074 266170";
    EXPECT_EQ(
        takeStory(),
        ( Lines{ "call bf_tm_sched_port_shaping_enable(0, 4) = 0",
                 "call bf_tm_sched_port_shaping_rate_set(0, 4, 0, 8, 9) = 0", pools,
                 "status pfcEnabled Ethernet1 pfc",
                 "call bf_tm_port_flowcontrol_mode_set(0, 4, 1) = 0",
                 "call bf_tm_port_flowcontrol_rx_set(0, 4, 1) = 0",
                 "call bf_tm_port_pfc_cos_mapping_set(0, 4, [0, 1, 2, 3, 4, 5, 6, 7]) = 0", pools,
                 "call bf_tm_q_color_drop_enable(0, 4, 2) = 0",
                 "call bf_tm_ppg_icos_mapping_set(0, 0, 0) = 0", "call bf_tm_ppg_free(0, 0) = 0",
                 "status tmPpgStatus 4/1 deleted", pools } ) );
    switch1.advance( 0.0 );
    EXPECT_EQ( takeStory().front(), "call bf_tm_ppg_allocate(0, 4) = 0 -> 0" );
    EXPECT_EQ( reactor(), port );
    EXPECT_EQ( port->velTmTxQueueConfig().size(), 1U );
    expectSilence( [&] {
        intf->shapeRateIs( ShapeRate( 1, 2, 3 ) );
        intf->tmPpgConfig( PpgId( 1 ) )->pfcEnabledIs( true );
        intf->tmTxQueueConfig( TxQueueId( 0 ) )->weightIs( 7 );
        intf->tmPpgConfigIs( PpgId( 5 ) );
    } );
}

TEST_F( StateStore, anotherConfigurationAloneCountsAndIsProgrammed ) {
    // What has not been counted yet when the configuration goes must not be looked for in the next.
    intf->tmTxQueueConfigDel( TxQueueId( 0 ) );
    const auto old = std::exchange( switch1.tmConfig, makePtr<TmConfig>() );
    switch1.addIntf( 6 )->tmTxQueueConfigIs( SmallChip::newQueue( 0, 70 ) );
    switch1.sm->velTmConfig()->notifierIs( switch1.tmConfig );
    const std::string pools = "pools 98080 266170";
    EXPECT_EQ( takeStory(), ( Lines{ "call bf_tm_sched_port_shaping_disable(0, 6) = 0",
                                     "call bf_tm_sched_port_shaping_rate_set(0, 6, 0, 0, 0) = 0",
                                     pools, "call bf_tm_port_flowcontrol_mode_set(0, 6, 0) = 0",
                                     "call bf_tm_port_flowcontrol_rx_set(0, 6, 0) = 0", pools,
                                     "call bf_tm_q_color_drop_enable(0, 6, 0) = 0",
                                     "call bf_tm_ppg_icos_mapping_set(0, 0, 0) = 0",
                                     "call bf_tm_ppg_free(0, 0) = 0",
                                     "status tmPpgStatus 4/1 deleted", pools } ) );
    expectSilence( [&] { old->tmIntfConfigIs( PortIndex( 7 ) ); } );
}

TEST_F( StateStore, anotherInterfaceStatusAppliesTheShaperAtOnce ) {
    const IntfId intfId( "Ethernet1" );
    KelSliceQosSm & sm = *switch1.sm;
    intf->shapeRateIs( ShapeRate( 1, 40000000, 64 ) );
    switch1.setStatus( "Ethernet1", Interface::enabledStateEnabled );
    switch1.setStatus( "Ethernet2", Interface::enabledStateEnabled );
    switch1.takeLog();
    const auto status = switch1.intfStatusDir->intfStatus( intfId );
    const auto reactor = sm.intfStatus( intfId );
    expectSilence( [&] { EXPECT_EQ( sm.intfStatusIs( status ), reactor ); } );
    const auto other = makePtr<Interface::EthPhyIntfStatus>( intfId );
    other->enabledIs( Interface::enabledStateDisabled );
    EXPECT_EQ( sm.intfStatusIs( other ), reactor );
    EXPECT_EQ( switch1.takeLog().front(), "call bf_tm_sched_port_shaping_disable(0, 4) = 0" );
    EXPECT_THROW( sm.intfStatusIs( nullptr ), Kel::NullArgumentException );

    const auto dir = makePtr<Interface::EthPhyIntfStatusDir>();
    dir->intfStatusIs( intfId );
    sm.velEthPhyIntfStatusDir()->notifierIs( dir );
    EXPECT_EQ( switch1.takeLog().front(), "call bf_tm_sched_port_shaping_enable(0, 4) = 0" );
    EXPECT_EQ( sm.intfStatus( intfId ), reactor );
    EXPECT_FALSE( sm.intfStatusHas( IntfId( "Ethernet2" ) ) );
    expectSilence( [&] {
        switch1.intfStatusDir->intfStatusDel( intfId );
        sm.intfStatusDelAll();
    } );
    EXPECT_TRUE( sm.intfStatus().empty() );
}

TEST_F( StateStore, anotherClockReportsAtOnceAndGoesOnOnItsOwnScale ) {
    switch1.tmBufferParams->totalCellsAvailableForIngressIs( 10 );
    switch1.takeLog();
    switch1.sm->velClock()->notifierIs(
        makePtr<Kel::Clock>( switch1.activityManager.scheduler(), 1e6 ) );
    const Lines report{ "syslog 3 KEL_TM_QUEUE_RESERVED_INVALID Request to reserve 1920 buffers of "
                        "80 bytes each for ingress traffic-manager cannot be satisfied." };
    EXPECT_EQ( switch1.takeLog(), report );
    expectSilence( [&] { switch1.advance( 2.9 ); } );
    switch1.advance( 0.2 );
    EXPECT_EQ( switch1.takeLog(), report );
}

TEST_F( StateStore, anotherTimerWheelRetriesAtOnce ) {
    switch1.chip.faults().faultIs( { *KelModel::Operation::named( "bf_tm_ppg_allocate" ), 10, 1 } );
    intf->tmPpgConfigIs( SmallChip::newPpg( 2, 0x04 ) );
    switch1.advance( 0.0 );
    switch1.takeLog();
    const auto waiting = reactor()->velTmPpgConfig( PpgId( 2 ) );
    EXPECT_TRUE( waiting->initialized() );
    waiting->pollClockIs( Kel::TimerWheelIs( switch1.clock, 100, 30000, true, 1024 ) );
    EXPECT_EQ( switch1.takeLog().front(), "call bf_tm_ppg_allocate(0, 4) = 0 -> 1" );
    EXPECT_THROW( waiting->pollClockIs( nullptr ), Kel::NullArgumentException );
    // One that has its group, though its handle is 0, has nothing to ask for.
    const auto programmed = reactor()->velTmPpgConfig( PpgId( 1 ) );
    EXPECT_EQ( programmed->ppgHandle(), 0 );
    expectSilence( [&] {
        programmed->pollClockIs( Kel::TimerWheelIs( switch1.clock, 100, 30000, true, 1024 ) );
    } );
}

TEST_F( StateStore, reportThatIsMadeEarlyIsNotMadeAgain ) {
    switch1.tmBufferParams->totalCellsAvailableForIngressIs( 1 );
    switch1.tmBufferParams->totalCellsAvailableForIngressIs( 100000 );
    EXPECT_EQ( switch1.sm->velClock()->timeMin(), 3.0 );
    switch1.takeLog();
    switch1.sm->handleSyslogClock();
    EXPECT_EQ( switch1.takeLog().size(), 1U );
    EXPECT_EQ( switch1.sm->velClock()->timeMin(), Kel::never );
}

TEST_F( StateStore, hostMayEmptyTheCollectionsOfReactors ) {
    expectSilence( [&] { reactor()->tmTxQueueConfigDelAll(); } );
    EXPECT_TRUE( reactor()->initialized() && reactor()->velTmTxQueueConfig().empty() );
    switch1.sm->tmIntfConfigDelAll();
    EXPECT_EQ( switch1.takeStory().at( 1 ), "call bf_tm_ppg_free(0, 0) = 0" );
    EXPECT_TRUE( switch1.sm->velTmIntfConfig().empty() );
}

TEST_F( StateStore, leakHandlerThatIsHeldForLongerPollsNothing ) {
    const auto leakHandler = switch1.sm->leakHandlerSm();
    switch1.stop();
    EXPECT_FALSE( leakHandler->velPollClock() );
    switch1.tmCountersData->setBlockLevelCounter( KelId::KelDevId( 0 ), KelId::KelPipeId( 0 ),
                                                  blockLevelEpipePktDrop, {}, 5 );
    switch1.advance( 5.0 );
    EXPECT_EQ( leakHandler->leakedPktsFromLastPoll(), 0U );
    switch1.tmBufferParams->leakThresholdIs( 6 );
    EXPECT_EQ( leakHandler->leakedPktsFromLastPoll(), 0U );
}

TEST_F( StateStore, callbackOfAnotherOwnerStaysOnTheChannel ) {
    class Other : public Agent::AgentCommandCallback {
      public:
        Other() : AgentCommandCallback( "Other", "KelSliceQos" ) {}
        void handleCommand( U32, std::string ) override {}
    };
    const auto other = makePtr<Other>();
    switch1.cmdRequestDirSm->agentCommandCallbackIs( other );
    switch1.stop();
    EXPECT_EQ( switch1.cmdRequestDirSm->agentCommandCallback( "KelSliceQos" ).get(), other.get() );
}

TEST_F( StateStore, valueThatBreaksAnInvariantEndsTheProcess ) {
    switch1.addPort( "Internal67", 64 );
    const U32 invalid = TmConfigConstants::minLimitCellsInvalid();
    const std::string failed = "\\(\\): Assertion \"notifier\\(\\)->minLimitCells\\(\\) != "
                               "TmConfigConstants::minLimitCellsInvalid\\(\\)\" failed";
    EXPECT_DEATH( intf->tmPpgConfig( PpgId( 1 ) )->minLimitCellsIs( invalid ),
                  "handlePpgMinLimitCells" + failed );
    EXPECT_DEATH( intf->tmTxQueueConfig( TxQueueId( 0 ) )->minLimitCellsIs( invalid ),
                  "handleTxQueueMinLimitCells" + failed );
    EXPECT_DEATH( intf->flowControlTypeIs( static_cast<FlowControlType>( 3 ) ),
                  "Assertion \"0\" failed" );
    EXPECT_DEATH( switch1.systemStatus->portInfoDel( IntfId( "Internal67" ) ),
                  "Failed\\(systemStatus\\(\\)->portInfoHas\\( intfId \\)\\) We should never be "
                  "notified about deletion of cpu ports\n.*Assertion" );
    EXPECT_DEATH( switch1.addPort( "Internal69", 66 ),
                  "Failed\\(false\\) Unknown internal port\n.*Assertion" );
    // Of a group that the chip has none for nothing is looked at.
    switch1.chip.faults().faultIs( { *KelModel::Operation::named( "bf_tm_ppg_allocate" ), 9, 1 } );
    const auto idle = intf->tmPpgConfigIs( PpgId( 2 ) );
    switch1.advance( 0.0 );
    switch1.takeLog();
    expectSilence( [&] { idle->minLimitCellsIs( invalid ); } );
}

TEST_F( StateStore, portWithoutAnInterfaceIsProgrammedButNotPublished ) {
    switch1.addIntf( 9 );
    const Lines story = switch1.takeStory();
    EXPECT_EQ( story.back(), "call bf_tm_port_flowcontrol_rx_set(0, 9, 0) = 0" );
    EXPECT_EQ( story.size(), 5U );
}

TEST_F( StateStore, portThatReturnsToThePortTableIsPublishedAgain ) {
    switch1.systemStatus->portInfoDel( IntfId( "Ethernet1" ) );
    switch1.addPort( "Ethernet1", 4 );
    EXPECT_EQ( switch1.takeLog(), ( Lines{ "status pfcEnabled Ethernet1 deleted",
                                           "status pfcEnabled Ethernet1 none" } ) );
}

TEST_F( StateStore, statusFromEarlierGoesBeforeThePortIsProgrammed ) {
    switch1.tmStatus->tmIntfStatusIs( PortIndex( 5 ) )->tmPpgStatusIs( PpgId( 6 ), true );
    switch1.takeLog();
    switch1.addIntf( 5 );
    EXPECT_EQ( switch1.takeLog().front(), "status tmPpgStatus 5/6 deleted" );
}

TEST_F( StateStore, programsNothingBeforeInitialisation ) {
    switch1.addPort( "Internal67", 64 );
    switch1.tmBufferParams->totalCellsAvailableForIngressIs( 10 );
    switch1.takeLog();
    expectSilence( [&] {
        switch1.sm->initializedIs( false );
        switch1.sm->handlePortInfo();
        switch1.addPort( "Ethernet2", 5 );
        switch1.sm->handleSyslogClock();
    } );
}

TEST_F( StateStore, leavesInTheRingTraceWhatAnOperatorMayAskAbout ) {
    intf->tmPpgConfig( PpgId( 1 ) )->dynamicThresholdIs( bafInvalid );
    intf->tmTxQueueConfig( TxQueueId( 0 ) )->dynamicThresholdIs( bafInvalid );
    for ( const char * event :
          { "handlePortInfo\n", "handlePortInfo, port: Ethernet1",
            "called with bafInvalid: error condition for devId, portId, ppgId:0 4 1",
            "called with bafInvalid: error condition for devId, portId, txQid:0 4 0" } ) {
        EXPECT_NE( Kel::ringTraceText().find( event ), std::string::npos ) << event;
    }
}

} // namespace
