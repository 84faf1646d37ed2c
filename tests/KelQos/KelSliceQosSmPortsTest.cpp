#include "KelQos/Slice/KelSliceQosSmReactors.h"
#include "tests/support/SmallChip.h"

#include <gtest/gtest.h>

namespace {

using namespace KelQos;
using Interface::enabledStateDisabled;
using Interface::enabledStateEnabled;
using Kel::IntfId;
using KelPortTypes::PortIndex;
using TestSupport::SmallChip;
using Lines = std::vector<std::string>;

TEST( KelSliceQosSmPorts, cpuPortsGetTheirQueueMaps ) {
    SmallChip switch1;
    switch1.addPort( "Internal67", 64 );
    switch1.addPort( "Internal68", 65 );
    switch1.start();
    const std::array<U8, 32> cpuMap{ 13, 13, 13, 13, 13, 13, 13, 0,  11, 11, 11,
                                     11, 11, 11, 11, 1,  12, 12, 12, 12, 12, 12,
                                     12, 2,  3,  4,  5,  6,  7,  8,  9,  10 };
    const auto & cpu = switch1.chip.state().port( 64 );
    EXPECT_EQ( cpu.queueCount, 14U );
    EXPECT_TRUE( std::equal( cpuMap.begin(), cpuMap.end(), cpu.queueMap.begin() ) );
    EXPECT_EQ( switch1.chip.state().port( 65 ).queueCount, 2U );
}

TEST( KelSliceQosSmPorts, internalPortsMustBeKnownAndStay ) {
    SmallChip switch1;
    switch1.addPort( "Internal67", 64 );
    switch1.start();
    EXPECT_DEATH( switch1.systemStatus->portInfoDel( IntfId( "Internal67" ) ),
                  "Failed\\(systemStatus\\(\\)->portInfoHas\\( intfId \\)\\) We should never be "
                  "notified about deletion of cpu ports\n.*Assertion" );
    EXPECT_DEATH( switch1.addPort( "Internal69", 66 ),
                  "Failed\\(false\\) Unknown internal port\n.*Assertion" );
}

TEST( KelSliceQosSmPorts, frontPanelPortsPublishTheirPfcStateOnceConfigured ) {
    SmallChip switch1;
    switch1.start();
    switch1.takeLog();
    switch1.addPort( "Ethernet1", 4 );
    EXPECT_TRUE( switch1.takeLog().empty() );

    auto config = Kel::makePtr<TmIntfConfig>( PortIndex( 4 ) );
    config->flowControlTypeIs( flowControlTypeLinkPause );
    switch1.tmConfig->tmIntfConfigIs( config );
    const Lines story = switch1.takeStory();
    EXPECT_NE( std::find( story.begin(), story.end(), "status pfcEnabled Ethernet1 linkPause" ),
               story.end() );

    switch1.systemStatus->portInfoDel( IntfId( "Ethernet1" ) );
    EXPECT_EQ( switch1.takeLog(), Lines{ "status pfcEnabled Ethernet1 deleted" } );
    // The port returns, and is published from its configuration.
    switch1.addPort( "Ethernet1", 4 );
    EXPECT_EQ( switch1.takeLog(), Lines{ "status pfcEnabled Ethernet1 linkPause" } );
}

TEST( KelSliceQosSmPorts, nothingIsProgrammedBeforeInitialisation ) {
    SmallChip switch1;
    switch1.addPort( "Internal67", 64 );
    KelSliceQosSm & sm = switch1.start();
    switch1.takeLog();
    sm.initializedIs( false );
    sm.handlePortInfo();
    switch1.addPort( "Ethernet1", 4 );
    sm.handleSyslogClock();
    EXPECT_TRUE( switch1.takeLog().empty() );
    EXPECT_NE( Kel::ringTraceText().find( "handlePortInfo, port: Ethernet1" ), std::string::npos );
}

TEST( KelSliceQosSmPorts, theShaperFollowsTheInterfaceStatus ) {
    SmallChip switch1;
    switch1.addPort( "Ethernet1", 4 );
    switch1.addPort( "Ethernet2", 5 );
    switch1.addIntf( 4 )->shapeRateIs( ShapeRate( 1, 40000000, 64 ) );
    KelSliceQosSm & sm = switch1.start();
    switch1.takeLog();
    const Lines shaped{ "call bf_tm_sched_port_shaping_enable(0, 4) = 0",
                        "call bf_tm_sched_port_shaping_rate_set(0, 4, 0, 64, 40000000) = 0" };
    const Lines unshaped{ "call bf_tm_sched_port_shaping_disable(0, 4) = 0",
                          "call bf_tm_sched_port_shaping_rate_set(0, 4, 0, 0, 0) = 0" };

    // A status that is disabled from the start is not known yet when its reactor is built.
    switch1.setStatus( "Ethernet1", enabledStateDisabled );
    EXPECT_EQ( switch1.takeLog(), shaped );
    switch1.setStatus( "Ethernet1", enabledStateEnabled );
    EXPECT_EQ( switch1.takeLog(), shaped );
    switch1.setStatus( "Ethernet1", enabledStateDisabled );
    EXPECT_EQ( switch1.takeLog(), unshaped );
    // While it is disabled a new rate stays off.
    switch1.tmConfig->tmIntfConfig( PortIndex( 4 ) )->shapeRateIs( ShapeRate( 0, 7, 8 ) );
    EXPECT_EQ( switch1.takeLog(), unshaped );
    switch1.setStatus( "Ethernet1", enabledStateEnabled );
    EXPECT_EQ( switch1.takeLog(),
               ( Lines{ "call bf_tm_sched_port_shaping_enable(0, 4) = 0",
                        "call bf_tm_sched_port_shaping_rate_set(0, 4, 1, 8, 7) = 0" } ) );
    // A port without configuration has no shaper to apply.
    switch1.setStatus( "Ethernet2", enabledStateEnabled );
    EXPECT_TRUE( switch1.takeLog().empty() );

    // Another entity for the interface applies it at once; the same one does not.
    const auto reactor =
        sm.intfStatusIs( switch1.intfStatusDir->intfStatus( IntfId( "Ethernet1" ) ) );
    EXPECT_TRUE( switch1.takeLog().empty() );
    auto other = Kel::makePtr<Interface::EthPhyIntfStatus>( IntfId( "Ethernet1" ) );
    other->enabledIs( enabledStateDisabled );
    EXPECT_EQ( sm.intfStatusIs( other ), reactor );
    EXPECT_EQ( switch1.takeLog(), unshaped );
    EXPECT_THROW( sm.intfStatusIs( nullptr ), Kel::NullArgumentException );

    switch1.intfStatusDir->intfStatusDel( IntfId( "Ethernet1" ) );
    EXPECT_EQ( sm.intfStatus().size(), 1U );
    auto dir = Kel::makePtr<Interface::EthPhyIntfStatusDir>();
    dir->intfStatusIs( IntfId( "Ethernet1" ) );
    switch1.takeLog();
    sm.velEthPhyIntfStatusDir()->notifierIs( dir );
    EXPECT_EQ( switch1.takeLog().size(), 2U );
    EXPECT_TRUE( sm.intfStatus().contains( IntfId( "Ethernet1" ) ) );
    EXPECT_FALSE( sm.intfStatus().contains( IntfId( "Ethernet2" ) ) );
}

} // namespace
