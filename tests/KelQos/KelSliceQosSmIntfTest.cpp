#include "KelQos/Slice/KelSliceQosSmIntf.h"
#include "tests/support/SmallChip.h"

#include <gtest/gtest.h>

namespace {

using namespace KelQos;
using KelPortTypes::PortIndex;
using TestSupport::SmallChip;
using Lines = std::vector<std::string>;

const std::string cosMap =
    "call bf_tm_port_pfc_cos_mapping_set(0, 4, [0, 1, 2, 3, 4, 5, 6, 7]) = 0";

TEST( KelSliceQosSmIntf, flowControlRecomputesThePoolsPublishesAndThenTellsTheChip ) {
    SmallChip switch1;
    switch1.addPort( "Ethernet1", 4 );
    switch1.mapAllClasses();
    auto intf = switch1.addIntf( 4 );
    auto ppg = SmallChip::newPpg( 3, 0x08, true );
    intf->tmPpgConfigIs( ppg );
    switch1.start();
    switch1.takeLog();

    intf->flowControlTypeIs( flowControlTypePfc );
    EXPECT_EQ( switch1.takeStory(),
               ( Lines{ "pools 97848 266240", "status pfcEnabled Ethernet1 pfc",
                        "call bf_tm_port_flowcontrol_mode_set(0, 4, 1) = 0",
                        "call bf_tm_port_flowcontrol_rx_set(0, 4, 1) = 0", cosMap } ) );
    intf->flowControlTypeIs( flowControlTypeLinkPause );
    EXPECT_EQ( switch1.takeStory(),
               ( Lines{ "pools 97848 266240", "status pfcEnabled Ethernet1 linkPause",
                        "call bf_tm_port_flowcontrol_mode_set(0, 4, 2) = 0",
                        "call bf_tm_port_flowcontrol_rx_set(0, 4, 2) = 0" } ) );
    intf->flowControlTypeIs( flowControlTypeNone );
    EXPECT_EQ( switch1.takeStory(),
               ( Lines{ "pools 98080 266240", "status pfcEnabled Ethernet1 none",
                        "call bf_tm_port_flowcontrol_mode_set(0, 4, 0) = 0",
                        "call bf_tm_port_flowcontrol_rx_set(0, 4, 0) = 0" } ) );
    EXPECT_DEATH( intf->flowControlTypeIs( static_cast<FlowControlType>( 3 ) ),
                  "Assertion \"0\" failed" );
}

TEST( KelSliceQosSmIntf, aPortWithoutAnInterfaceIsProgrammedButNotPublished ) {
    SmallChip switch1;
    switch1.start();
    switch1.takeLog();
    switch1.addIntf( 9 );
    const Lines story = switch1.takeStory();
    EXPECT_EQ( story,
               ( Lines{ "call bf_tm_sched_port_shaping_disable(0, 9) = 0",
                        "call bf_tm_sched_port_shaping_rate_set(0, 9, 0, 0, 0) = 0",
                        "pools 98080 266240", "call bf_tm_port_flowcontrol_mode_set(0, 9, 0) = 0",
                        "call bf_tm_port_flowcontrol_rx_set(0, 9, 0) = 0" } ) );
}

TEST( KelSliceQosSmIntf, theClassMapIsWrittenOnPfcPortsOnceAllClassesAreMapped ) {
    SmallChip switch1;
    switch1.addIntf( 4 )->flowControlTypeIs( flowControlTypePfc );
    switch1.addIntf( 5 )->flowControlTypeIs( flowControlTypeLinkPause );
    switch1.start();
    switch1.takeLog();
    for ( U8 cos = 0; cos < 7; ++cos ) {
        switch1.tmConfig->cosToTcIs( Cos( cos ), cos );
    }
    EXPECT_TRUE( switch1.takeLog().empty() );
    switch1.tmConfig->cosToTcIs( Cos( 7 ), 7 );
    EXPECT_EQ( switch1.takeLog(), Lines{ cosMap } );
    switch1.tmConfig->cosToTcIs( Cos( 2 ), trafficClassUnmapped );
    EXPECT_TRUE( switch1.takeLog().empty() );
}

TEST( KelSliceQosSmIntf, theShaperIsOnForEveryRateButTheUnlimitedOne ) {
    SmallChip switch1;
    auto intf = switch1.addIntf( 4 );
    switch1.start();
    switch1.takeLog();
    intf->shapeRateIs( ShapeRate( 0, 10000002, 9 ) );
    intf->shapeRateIs( ShapeRate( 1, 600000000, 0 ) );
    intf->shapeRateIs( ShapeRate( 0, 600000001, 9 ) );
    EXPECT_EQ( switch1.takeLog(),
               ( Lines{ "call bf_tm_sched_port_shaping_enable(0, 4) = 0",
                        "call bf_tm_sched_port_shaping_rate_set(0, 4, 1, 9, 10000002) = 0",
                        "call bf_tm_sched_port_shaping_enable(0, 4) = 0",
                        "call bf_tm_sched_port_shaping_rate_set(0, 4, 0, 0, 600000000) = 0",
                        "call bf_tm_sched_port_shaping_disable(0, 4) = 0",
                        "call bf_tm_sched_port_shaping_rate_set(0, 4, 0, 0, 0) = 0" } ) );
}

TEST( KelSliceQosSmIntf, removingAnInterfaceReleasesItsGroupsAndLeavesItsQueuesAlone ) {
    SmallChip switch1;
    switch1.addPort( "Ethernet1", 4 );
    auto intf = switch1.addIntf( 4 );
    intf->tmPpgConfigIs( SmallChip::newPpg( 3, 0x08 ) );
    intf->tmPpgConfigIs( SmallChip::newPpg( 8, 0x07, false, 20 ) );
    intf->tmTxQueueConfigIs( SmallChip::newQueue( 0, 10 ) );
    KelSliceQosSm & sm = switch1.start();
    switch1.takeLog();

    switch1.tmConfig->tmIntfConfigDel( PortIndex( 4 ) );
    EXPECT_EQ( switch1.takeStory(),
               ( Lines{ "call bf_tm_ppg_icos_mapping_set(0, 0, 0) = 0",
                        "call bf_tm_ppg_free(0, 0) = 0", "status tmPpgStatus 4/3 deleted",
                        "pools 98080 266240", "call bf_tm_ppg_icos_mapping_set(0, 132, 0) = 0",
                        "call bf_tm_ppg_free(0, 132) = 0", "status tmPpgStatus 4/8 deleted",
                        "pools 98080 266240" } ) );
    EXPECT_TRUE( switch1.pfcSharedState->pfcEnabledHas( Kel::IntfId( "Ethernet1" ) ) );
    EXPECT_EQ( sm.numTxQsAllocated(), 0U );
    // What is gone reacts to nothing.
    intf->flowControlTypeIs( flowControlTypePfc );
    intf->tmPpgConfig( PpgId( 3 ) )->pfcEnabledIs( true );
    intf->tmTxQueueConfig( TxQueueId( 0 ) )->weightIs( 7 );
    EXPECT_TRUE( switch1.takeLog().empty() );
}

TEST( KelSliceQosSmIntf, anInterfaceThatReturnsStartsWithCleanStatus ) {
    SmallChip switch1;
    switch1.tmStatus->tmIntfStatusIs( PortIndex( 4 ) )->tmPpgStatusIs( PpgId( 5 ), true );
    switch1.start();
    auto intf = Kel::makePtr<TmIntfConfig>( PortIndex( 4 ) );
    intf->tmPpgConfigIs( SmallChip::newPpg( 3, 0x08 ) );
    switch1.takeLog();
    switch1.tmConfig->tmIntfConfigIs( intf );
    switch1.advance( 0.0 );
    EXPECT_EQ( switch1.takeLog().front(), "status tmPpgStatus 4/5 deleted" );
    EXPECT_TRUE( switch1.tmStatus->tmIntfStatus( PortIndex( 4 ) )->tmPpgStatus( PpgId( 3 ) ) );
}

} // namespace
