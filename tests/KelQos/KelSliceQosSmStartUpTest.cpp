#include "KelQos/Leak/KelSliceQosLeakHandlerSm.h"
#include "KelQos/Show/KelSliceQosCli.h"
#include "KelQos/Slice/KelSliceQosSmPpg.h"
#include "KelQos/Slice/KelSliceQosSmReactors.h"
#include "KelQos/Slice/KelSliceQosSmTxQueue.h"
#include "tests/support/SmallChip.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

using namespace KelQos;
using KelPortTypes::PortIndex;
using TestSupport::SmallChip;
using Lines = std::vector<std::string>;

// The whole of a start-up with one PFC port, in the order that the chip needs it.
TEST( KelSliceQosSmStartUp, bringsTheChipUpInOneFixedOrder ) {
    SmallChip switch1;
    switch1.addPort( "Ethernet1", 4 );
    switch1.addPort( "Internal68", 65 );
    switch1.mapAllClasses();
    switch1.addIntf( 4 )->flowControlTypeIs( flowControlTypePfc );
    switch1.setStatus( "Ethernet1", Interface::enabledStateEnabled );
    switch1.takeLog();
    switch1.start();

    const Lines pools{ "call bf_tm_pool_skid_size_set(0, 118784) = 0",
                       "call bf_tm_total_cell_count_get(0) = 0 -> 278528",
                       "call bf_tm_pool_size_set(0, 0, 98080) = 0",
                       "call bf_tm_pool_size_set(0, 1, 0) = 0",
                       "call bf_tm_pool_size_set(0, 2, 0) = 0",
                       "call bf_tm_pool_size_set(0, 3, 0) = 0",
                       "call bf_tm_pool_size_set(0, 4, 266240) = 0",
                       "call bf_tm_pool_size_set(0, 5, 0) = 0",
                       "call bf_tm_pool_size_set(0, 6, 0) = 0",
                       "call bf_tm_pool_size_set(0, 7, 12288) = 0" };
    Lines expected{ "call bf_tm_total_cell_count_get(0) = 0 -> 278528" };
    const auto add = [&expected]( const Lines & lines ) {
        expected.insert( expected.end(), lines.begin(), lines.end() );
    };
    for ( int icos = 0; icos < 8; ++icos ) {
        add(
            { "call bf_tm_pool_pfc_limit_set(0, 0, " + std::to_string( icos ) + ", 278528) = 0" } );
    }
    add( { "status pfcEnabled Ethernet1 pfc",
           "call bf_tm_port_q_mapping_set(0, 65, 2, [0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, "
           "0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0]) = 0" } );
    for ( const char * mirror : { "72", "200", "328", "456" } ) {
        const std::string handle = std::to_string( std::stoi( mirror ) / 128 * 256 + 200 );
        add( { std::string( "call bf_tm_ppg_defaultppg_get(0, " ) + mirror + ") = 0 -> " + handle,
               "call bf_tm_ppg_guaranteed_min_limit_set(0, " + handle + ", 480) = 0" } );
    }
    add( pools );
    add( { "call bf_tm_pool_color_drop_limit_set(0, 0, 2, 0) = 0",
           "call bf_tm_pool_color_drop_limit_set(0, 4, 2, 0) = 0",
           "call bf_tm_sched_port_shaping_disable(0, 4) = 0",
           "call bf_tm_sched_port_shaping_rate_set(0, 4, 0, 0, 0) = 0" } );
    add( pools );
    add( { "call bf_tm_port_flowcontrol_mode_set(0, 4, 1) = 0",
           "call bf_tm_port_flowcontrol_rx_set(0, 4, 1) = 0",
           "call bf_tm_port_pfc_cos_mapping_set(0, 4, [0, 1, 2, 3, 4, 5, 6, 7]) = 0",
           "call bf_tm_port_pfc_cos_mapping_set(0, 4, [0, 1, 2, 3, 4, 5, 6, 7]) = 0",
           // The interface's status reactor applies the shaper again.
           "call bf_tm_sched_port_shaping_disable(0, 4) = 0",
           "call bf_tm_sched_port_shaping_rate_set(0, 4, 0, 0, 0) = 0" } );
    EXPECT_EQ( switch1.takeLog(), expected );
    EXPECT_TRUE( switch1.sm->initialized() );
    EXPECT_TRUE( switch1.sm->hasNotificationActive() );
    EXPECT_TRUE( switch1.sm->leakHandlerSm() );
    EXPECT_EQ( switch1.cmdRequestDirSm->agentCommandCallback( "KelSliceQos" ).get(),
               switch1.sm->cliCallback().get() );
}

TEST( KelSliceQosSmStartUp, modelModeFollowsTheEnvironmentVariableEvenWhenEmpty ) {
    for ( const bool simulation : { false, true } ) {
        SmallChip switch1;
        if ( simulation ) {
            setenv( "SIMULATION_VMID", "", 1 );
        }
        switch1.start();
        EXPECT_EQ( switch1.takeLog().front(),
                   simulation ? "call bf_tm_set_ut_mode_as_model(0) = 0"
                              : "call bf_tm_total_cell_count_get(0) = 0 -> 278528" );
        unsetenv( "SIMULATION_VMID" );
    }
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

TEST( KelSliceQosSmSwitch, offMissesChangesButTheAccountStaysRight ) {
    SmallChip switch1;
    auto intf = switch1.addIntf( 4 );
    auto queue = SmallChip::newQueue( 3 );
    intf->tmTxQueueConfigIs( queue );
    KelSliceQosSm & sm = switch1.start();
    sm.hasNotificationActiveIs( false );
    switch1.takeLog();

    queue->minLimitCellsIs( 1000 );
    intf->flowControlTypeIs( flowControlTypeLinkPause );
    switch1.addIntf( 5 );
    switch1.setStatus( "Ethernet1", Interface::enabledStateEnabled );
    EXPECT_TRUE( switch1.takeLog().empty() );
    EXPECT_EQ( sm.velTmIntfConfig().size(), 1U );

    sm.hasNotificationActiveIs( true );
    queue->weightIs( 5 );
    EXPECT_EQ( switch1.takeLog(), Lines{ "call bf_tm_sched_q_dwrr_weight_set(0, 4, 3, 5) = 0" } );
    sm.reconfigureSharedPools();
    EXPECT_EQ( sm.txQMinCellCount(), 1000U );
    EXPECT_EQ( sm.globalHeadroomCellCount(), 232U );
}

// A group that waits for its retry when notifications are off gets it once they are on again.
TEST( KelSliceQosSmSwitch, keepsARetryThatFallsDueWhileOff ) {
    SmallChip switch1;
    switch1.addIntf( 4 )->tmPpgConfigIs( SmallChip::newPpg( 3, 0x08 ) );
    switch1.chip.faults().faultIs(
        { *KelModel::Operation::named( "bf_tm_ppg_allocate" ), 10, 1, 0 } );
    KelSliceQosSm & sm = switch1.start();
    sm.hasNotificationActiveIs( false );
    switch1.advance( 5.0 );
    EXPECT_EQ( switch1.chip.state().ppgsAllocated( 0 ), 0U );
    sm.hasNotificationActiveIs( true );
    switch1.advance( 0.0 );
    EXPECT_EQ( switch1.chip.state().ppgsAllocated( 0 ), 1U );
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
