#include "KelQos/Leak/KelSliceQosLeakHandlerSm.h"
#include "KelQos/Show/KelSliceQosCli.h"
#include "KelQos/Slice/KelSliceQosSmPpg.h"
#include "KelQos/Slice/KelSliceQosSmReactors.h"
#include "KelQos/Slice/KelSliceQosSmTxQueue.h"
#include "tests/support/SmallChip.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <tuple>

namespace {

using namespace KelQos;
using KelPortTypes::PortIndex;
using TestSupport::SmallChip;
using Lines = std::vector<std::string>;

TEST( KelSliceQosSmStartUp, endsReadyToAnswer ) {
    SmallChip switch1;
    setenv( "SIMULATION_VMID", "", 1 ); // any value will do
    const KelSliceQosSm & sm = switch1.start();
    unsetenv( "SIMULATION_VMID" );
    EXPECT_EQ( switch1.takeLog().front(), "call bf_tm_set_ut_mode_as_model(0) = 0" );
    EXPECT_TRUE( sm.initialized() && sm.hasNotificationActive() && sm.leakHandlerSm() );
    EXPECT_EQ( switch1.cmdRequestDirSm->agentCommandCallback( "KelSliceQos" ).get(),
               sm.cliCallback().get() );
    const Kel::TimerWheel & wheel = *sm.timerWheel();
    EXPECT_EQ( wheel.clock(), switch1.activityManager.config()->clock() );
    EXPECT_EQ( std::tuple( wheel.slotWidth(), wheel.horizon(), wheel.shared(), wheel.slots() ),
               std::tuple( 100U, 30000U, true, 1024U ) );
}

TEST( KelSliceQosSmStartUp, whatHasStartedSaysSo ) {
    SmallChip switch1;
    const auto config = switch1.addIntf( 4 );
    const auto ppg = SmallChip::newPpg( 3, 0x08 );
    const auto queue = SmallChip::newQueue( 3 );
    config->tmPpgConfigIs( ppg );
    config->tmTxQueueConfigIs( queue );
    KelSliceQosSm & sm = switch1.start();
    const auto intf = sm.velTmIntfConfig( PortIndex( 4 ) );
    EXPECT_TRUE( intf->initialized() && intf->velTmPpgConfig( PpgId( 3 ) )->initialized() &&
                 intf->velTmTxQueueConfig( TxQueueId( 3 ) )->initialized() );
    EXPECT_FALSE( sm.newTmIntfConfig( PortIndex( 4 ), config )->initialized() ||
                  intf->newTmPpgConfig( PpgId( 3 ), ppg )->initialized() ||
                  intf->newTmTxQueueConfig( TxQueueId( 3 ), queue )->initialized() );
}

TEST( KelSliceQosSmStartUp, leavesOutWhatItWasNotGivenButNeedsTheCommandChannel ) {
    Kel::ActivityManager activityManager;
    KelModel::Chip chip;
    KelModel::Chip::currentIs( &chip );
    auto channel = Kel::makePtr<Agent::AgentCommandRequestDirSm>();
    const auto start = [&]( Kel::Ptr<Agent::AgentCommandRequestDirSm> dir ) {
        return Kel::construct<KelSliceQosSm>( 0U, nullptr, nullptr, nullptr, nullptr, nullptr,
                                              nullptr, nullptr, dir, nullptr, nullptr, nullptr );
    };
    const auto sm = start( channel );
    EXPECT_FALSE( sm->velClock() || sm->velTmConfig() || sm->velTmBufferParams() ||
                  sm->velSystemStatus() || sm->velEthPhyIntfStatusDir() );
    // Without buffer parameters any reservation is too much; without a clock nobody reports it.
    EXPECT_EQ( sm->totalCellsAvailableForIngress(), 0U );
    EXPECT_TRUE( sm->bufferAllocationLogStateColl( bufferAllocationIngressFailedLog_ ) );
    EXPECT_EQ( chip.state().pools[0].sizeCells, 0U );
    EXPECT_DEATH( start( nullptr ), "Assertion \"cmdRequestDirSm\\(\\)\" failed" );
}

TEST( KelSliceQosSmStartUp, keepsAnEqualCallbackAndReplacesAnother ) {
    SmallChip switch1;
    KelSliceQosSm & sm = switch1.start();
    const auto callback = sm.cliCallback();
    EXPECT_EQ( sm.cliCallbackIs( "KelSliceQosCli", "KelSliceQos", &sm ), callback );
    EXPECT_EQ( callback->parent(), &sm );
    EXPECT_NE( sm.cliCallbackIs( "other", "KelSliceQos", &sm ), callback );
    EXPECT_EQ( callback->parent(), nullptr );
    // The one that was replaced is not left on the channel with a way to a state machine that goes.
    EXPECT_EQ( switch1.answer( "show buf" ), "" );
    EXPECT_EQ( callback->kelSliceQosSm(), nullptr );
    // Nor does the last one reach it, for whoever holds it still.
    const auto last = sm.cliCallback();
    switch1.stop();
    EXPECT_EQ( last->kelSliceQosSm(), nullptr );
}

TEST( KelSliceQosSmTeardown, programsNothingAndIsReachedByNothingAfterwards ) {
    SmallChip switch1;
    switch1.addPort( "Ethernet1", 4 );
    auto intf = switch1.addIntf( 4 );
    auto ppg = SmallChip::newPpg( 3, 0x08, true );
    intf->tmPpgConfigIs( ppg );
    intf->tmTxQueueConfigIs( SmallChip::newQueue( 3 ) );
    switch1.setStatus( "Ethernet1", Interface::enabledStateEnabled );
    KelSliceQosSm & sm = switch1.start();
    const auto clock = sm.velClock();
    const auto intfReactor = sm.velTmIntfConfig( PortIndex( 4 ) );
    const auto callback = sm.cliCallback();
    switch1.takeLog();

    switch1.stop();
    // Reactors that somebody else still holds neither act nor reach the state machine that is gone.
    clock->onAttribute( Kel::Clock::timeMinAttr, nullptr );
    intfReactor->onAttribute( TmIntfConfig::shapeRateAttr, nullptr );
    EXPECT_EQ( intfReactor->sm(), nullptr );
    EXPECT_EQ( callback->kelSliceQosSm(), nullptr );
    ppg->pfcEnabledIs( false );
    intf->flowControlTypeIs( flowControlTypePfc );
    switch1.tmConfig->cosToTcIs( Cos( 0 ), 3 );
    switch1.setStatus( "Ethernet1", Interface::enabledStateDisabled );
    switch1.advance( 100.0 );
    EXPECT_TRUE( switch1.takeLog().empty() );
    EXPECT_EQ( switch1.answer( "show buf" ), "" );
    EXPECT_TRUE( switch1.tmStatus->tmIntfStatus( PortIndex( 4 ) )->tmPpgStatus( PpgId( 3 ) ) );
}

// The top-level reactors take another entity and bring everything below in line with it.
TEST( KelSliceQosSmRepointing, makesThePortsThoseOfTheNewConfiguration ) {
    SmallChip switch1;
    switch1.addIntf( 4 );
    auto kept = switch1.addIntf( 5 );
    kept->tmTxQueueConfigIs( SmallChip::newQueue( 0, 50 ) );
    KelSliceQosSm & sm = switch1.start();
    const auto reactor = sm.velTmIntfConfig( PortIndex( 5 ) );

    auto other = Kel::makePtr<TmConfig>();
    other->tmIntfConfigIs( PortIndex( 5 ) )->tmTxQueueConfigIs( SmallChip::newQueue( 1, 70 ) );
    other->tmIntfConfigIs( PortIndex( 6 ) );
    sm.velTmConfig()->notifierIs( other );
    EXPECT_FALSE( sm.velTmIntfConfig( PortIndex( 4 ) ) );
    EXPECT_EQ( sm.velTmIntfConfig( PortIndex( 5 ) ), reactor );
    EXPECT_TRUE( sm.velTmIntfConfig( PortIndex( 6 ) ) );
    EXPECT_FALSE( reactor->velTmTxQueueConfig( TxQueueId( 0 ) ) );
    EXPECT_TRUE( reactor->velTmTxQueueConfig( TxQueueId( 1 ) ) );
    EXPECT_EQ( sm.txQMinCellCount(), 70U );

    auto params = Kel::makePtr<TmBufferParamsConfig>();
    params->totalCellsAvailableForIngressIs( 5000 );
    sm.velTmBufferParams()->notifierIs( params );
    EXPECT_EQ( sm.ingressSharedPoolCellCount(), 5000 - 4 * 480 );
    switch1.takeLog();
    switch1.tmBufferParams->totalCellsAvailableForIngressIs( 7 );
    kept->flowControlTypeIs( flowControlTypeLinkPause );
    EXPECT_TRUE( switch1.takeLog().empty() );

    EXPECT_THROW( sm.tmIntfConfigIs( PortIndex( 7 ), nullptr ), Kel::NullArgumentException );
    EXPECT_FALSE( sm.velTmIntfConfig( PortIndex( 7 ) ) );
}

} // namespace
