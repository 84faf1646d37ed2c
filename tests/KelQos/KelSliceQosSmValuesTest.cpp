#include "KelQos/Slice/KelSliceQosSmIntf.h"
#include "tests/support/SmallChip.h"

#include <gtest/gtest.h>

namespace {

// What the state store may hold, or do, that no switch document can say.

using namespace KelQos;
using Kel::IntfId;
using KelPortTypes::PortIndex;
using TestSupport::SmallChip;
using Lines = std::vector<std::string>;

class Values : public testing::Test {
  protected:
    SmallChip switch1;
    Kel::Ptr<TmIntfConfig> intf = switch1.addIntf( 4 );
    Kel::Ptr<TmPpgConfig> ppg = SmallChip::newPpg( 3, 0x08 );
    Kel::Ptr<TmTxQueueConfig> queue = SmallChip::newQueue( 3 );
};

TEST_F( Values, thatBreakAnInvariantEndTheProcess ) {
    intf->tmPpgConfigIs( ppg );
    intf->tmTxQueueConfigIs( queue );
    switch1.addPort( "Internal67", 64 );
    switch1.start();
    const U32 invalid = TmConfigConstants::minLimitCellsInvalid();
    const std::string failed = "\\(\\): Assertion \"notifier\\(\\)->minLimitCells\\(\\) != "
                               "TmConfigConstants::minLimitCellsInvalid\\(\\)\" failed";
    EXPECT_DEATH( ppg->minLimitCellsIs( invalid ), "handlePpgMinLimitCells" + failed );
    EXPECT_DEATH( queue->minLimitCellsIs( invalid ), "handleTxQueueMinLimitCells" + failed );
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
    idle->minLimitCellsIs( invalid );
    EXPECT_EQ( switch1.takeLog(), Lines{} );
}

TEST_F( Values, ofAPortWithoutAnInterfaceAreProgrammedButNotPublished ) {
    switch1.start();
    switch1.takeLog();
    switch1.addIntf( 9 );
    EXPECT_EQ( switch1.takeStory(),
               ( Lines{ "call bf_tm_sched_port_shaping_disable(0, 9) = 0",
                        "call bf_tm_sched_port_shaping_rate_set(0, 9, 0, 0, 0) = 0",
                        "pools 98080 266240", "call bf_tm_port_flowcontrol_mode_set(0, 9, 0) = 0",
                        "call bf_tm_port_flowcontrol_rx_set(0, 9, 0) = 0" } ) );
}

TEST_F( Values, ofAStatusFromEarlierGoBeforeThePortIsProgrammed ) {
    switch1.tmStatus->tmIntfStatusIs( PortIndex( 5 ) )->tmPpgStatusIs( PpgId( 6 ), true );
    switch1.start();
    switch1.takeLog();
    switch1.addIntf( 5 );
    EXPECT_EQ( switch1.takeLog().front(), "status tmPpgStatus 5/6 deleted" );
}

// A port of which only the entry of the port table goes keeps its configuration.
TEST_F( Values, ofAPortThatReturnsToThePortTableArePublishedAgain ) {
    switch1.start();
    switch1.addPort( "Ethernet1", 4 );
    switch1.takeLog();
    switch1.systemStatus->portInfoDel( IntfId( "Ethernet1" ) );
    switch1.addPort( "Ethernet1", 4 );
    EXPECT_EQ( switch1.takeLog(), ( Lines{ "status pfcEnabled Ethernet1 deleted",
                                           "status pfcEnabled Ethernet1 none" } ) );
}

TEST_F( Values, thatComeBeforeInitialisationProgramNothing ) {
    switch1.addPort( "Internal67", 64 );
    KelSliceQosSm & sm = switch1.start();
    switch1.tmBufferParams->totalCellsAvailableForIngressIs( 10 );
    switch1.takeLog();
    sm.initializedIs( false );
    sm.handlePortInfo();
    switch1.addPort( "Ethernet1", 4 );
    sm.handleSyslogClock();
    EXPECT_EQ( switch1.takeLog(), Lines{} );
}

TEST_F( Values, thatAnOperatorMayAskAboutAreInTheRingTrace ) {
    switch1.addPort( "Ethernet1", 4 );
    ppg->dynamicThresholdIs( bafInvalid );
    queue->dynamicThresholdIs( bafInvalid );
    intf->tmPpgConfigIs( ppg );
    intf->tmTxQueueConfigIs( queue );
    switch1.start();
    for ( const char * event :
          { "handlePortInfo, port: Ethernet1",
            "called with bafInvalid: error condition for devId, portId, ppgId:0 4 3",
            "called with bafInvalid: error condition for devId, portId, txQid:0 4 3" } ) {
        EXPECT_NE( Kel::ringTraceText().find( event ), std::string::npos ) << event;
    }
}

} // namespace
