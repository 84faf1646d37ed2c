#include "KelQos/Slice/KelSliceQosSmPpg.h"
#include "Platform/Logging/Trace.h"
#include "tests/support/SmallChip.h"

#include <gtest/gtest.h>

namespace {

using namespace KelQos;
using KelPortTypes::PortIndex;
using TestSupport::SmallChip;
using Lines = std::vector<std::string>;

class Ppg : public testing::Test {
  protected:
    // Adds the group to port 4 of the running chip, without the calls of that.
    void add( const Kel::Ptr<TmPpgConfig> & config ) {
        intf->tmPpgConfigIs( config );
        switch1.takeLog();
    }
    void allocationFails( S32 status, U32 times ) {
        switch1.chip.faults().faultIs(
            { *KelModel::Operation::named( "bf_tm_ppg_allocate" ), status, times, 0 } );
    }
    const KelModel::Ppg * group( S32 handle ) { return switch1.chip.state().ppg( handle ); }
    Lines serve( F64 seconds = 0.0 ) {
        switch1.advance( seconds );
        return switch1.takeStory();
    }

    SmallChip switch1;
    Kel::Ptr<TmIntfConfig> intf = switch1.addIntf( 4 );
    KelSliceQosSm & sm = switch1.start();
};

TEST_F( Ppg, isAllocatedWhenTimersAreServedAndProgrammedInFull ) {
    auto ppg = SmallChip::newPpg( 3, 0x08, true, 100 );
    intf->flowControlTypeIs( flowControlTypePfc );
    switch1.takeLog();
    intf->tmPpgConfigIs( ppg );
    EXPECT_TRUE( switch1.takeLog().empty() );
    EXPECT_EQ( serve(),
               ( Lines{ "call bf_tm_ppg_allocate(0, 4) = 0 -> 0", "pools 97748 266240",
                        "call bf_tm_ppg_app_pool_usage_set(0, 0, 0, 1, 3, 0) = 0",
                        "call bf_tm_ppg_guaranteed_min_limit_set(0, 0, 100) = 0",
                        "pools 97748 266240", "call bf_tm_ppg_icos_mapping_set(0, 0, 8) = 0",
                        "call bf_tm_ppg_lossless_treatment_enable(0, 0) = 0",
                        "call bf_tm_ppg_skid_limit_set(0, 0, 232) = 0",
                        "status tmPpgStatus 4/3 true" } ) );
    EXPECT_TRUE( serve( 100.0 ).empty() );
}

TEST_F( Ppg, theLossyGroupIsThePortsDefaultGroup ) {
    add( SmallChip::newPpg( 8, 0x67, true, 50 ) );
    EXPECT_EQ( serve(),
               ( Lines{ "call bf_tm_ppg_defaultppg_get(0, 4) = 0 -> 132", "pools 98030 266240",
                        "call bf_tm_ppg_app_pool_usage_set(0, 132, 0, 1, 3, 0) = 0",
                        "call bf_tm_ppg_guaranteed_min_limit_set(0, 132, 50) = 0",
                        "status tmPpgStatus 4/8 true" } ) );
    const auto ppg = intf->tmPpgConfig( PpgId( 8 ) );
    ppg->internalCosBmpIs( 0x07 );
    ppg->pfcEnabledIs( false );
    EXPECT_TRUE( switch1.takeLog().empty() );
    ppg->dynamicThresholdIs( baf5 );
    ppg->minLimitCellsIs( 60 );
    EXPECT_EQ(
        switch1.takeStory(),
        ( Lines{ "call bf_tm_ppg_app_pool_usage_set(0, 132, 0, 1, 5, 0) = 0", "pools 98020 266240",
                 "call bf_tm_ppg_guaranteed_min_limit_set(0, 132, 60) = 0" } ) );
}

TEST_F( Ppg, waitsWhileThePipeHasNoneFreeAndTakesUpWhatChangedMeanwhile ) {
    allocationFails( 10, 3 );
    auto ppg = SmallChip::newPpg( 3, 0x08 );
    add( ppg );
    const std::string refused = "call bf_tm_ppg_allocate(0, 4) = 10";
    EXPECT_EQ( serve(), Lines{ refused } );
    EXPECT_TRUE( serve( 0.09 ).empty() );
    EXPECT_EQ( serve( 0.02 ), Lines{ refused } );
    // Changes program and recompute nothing while there is no group.
    ppg->minLimitCellsIs( 70 );
    ppg->pfcEnabledIs( true );
    ppg->internalCosBmpIs( 0x18 );
    ppg->dynamicThresholdIs( baf7 );
    EXPECT_TRUE( switch1.takeLog().empty() );
    EXPECT_FALSE( switch1.tmStatus->tmIntfStatus( PortIndex( 4 ) )->tmPpgStatusHas( PpgId( 3 ) ) );
    serve( 0.5 );
    EXPECT_EQ( group( 0 )->minLimitCells, 70U );
    EXPECT_EQ( group( 0 )->icosBitmap, 0x18U );
    EXPECT_TRUE( group( 0 )->lossless );
    EXPECT_TRUE( switch1.tmStatus->tmIntfStatus( PortIndex( 4 ) )->tmPpgStatus( PpgId( 3 ) ) );
}

TEST_F( Ppg, anyOtherRefusalLeavesItWithoutAGroupAndOneTrace ) {
    std::vector<std::string> traces;
    Kel::traceSinkIs(
        [&traces]( const Kel::TraceRecord & record ) { traces.emplace_back( record.text ); } );
    Kel::traceLevelsIs( "KelSliceQosSm=1" );
    allocationFails( 9, 1 );
    add( SmallChip::newPpg( 3, 0x08 ) );
    EXPECT_EQ( serve( 1000.0 ), Lines{ "call bf_tm_ppg_allocate(0, 4) = 9" } );
    EXPECT_EQ( traces, Lines{ "handlePpgClock: Could not allocate ppgId 3 for portId 4 rc=9" } );
    Kel::traceLevelsDelAll();
    Kel::traceSinkIs( nullptr );
    // Removing it has nothing to release.
    intf->tmPpgConfigDel( PpgId( 3 ) );
    EXPECT_TRUE( switch1.takeLog().empty() );
}

TEST_F( Ppg, removedWhileItWaitsNeverAsksAgain ) {
    allocationFails( 10, 1 );
    add( SmallChip::newPpg( 3, 0x08 ) );
    serve();
    intf->tmPpgConfigDel( PpgId( 3 ) );
    EXPECT_TRUE( serve( 10.0 ).empty() );
    EXPECT_EQ( switch1.chip.state().ppgsAllocated( 0 ), 0U );
}

// Whoever hears that the group has come may take its configuration away at once.
TEST_F( Ppg, removedByTheOneWhoIsToldOfItsAllocationIsReleased ) {
    class Remover : public Kel::NotifieeOf<TmIntfStatus> {
      public:
        Remover( Kel::Ptr<const TmIntfStatus> status, TmIntfConfig & intf )
            : NotifieeOf( std::move( status ) ), intf_( intf ) {
            hasNotificationActiveIs( true );
        }
        void onAttribute( Kel::AttributeId, const void * ) override {
            intf_.tmPpgConfigDel( PpgId( 3 ) );
        }

      private:
        TmIntfConfig & intf_;
    };
    const auto status = switch1.tmStatus->tmIntfStatus( PortIndex( 4 ) );
    const auto remover = Kel::makePtr<Remover>( status, *intf );
    add( SmallChip::newPpg( 3, 0x08 ) );
    serve();
    EXPECT_EQ( switch1.chip.state().ppgsAllocated( 0 ), 0U );
    EXPECT_FALSE( status->tmPpgStatusHas( PpgId( 3 ) ) );
    EXPECT_TRUE( sm.velTmIntfConfig( PortIndex( 4 ) )->velTmPpgConfig().empty() );
}

TEST_F( Ppg, headroomIsAccountedBeforeTheChipUsesItAndReleasedAfterItStopped ) {
    intf->flowControlTypeIs( flowControlTypePfc );
    auto ppg = SmallChip::newPpg( 3, 0x08 );
    add( ppg );
    serve();
    ppg->pfcEnabledIs( true );
    EXPECT_EQ( switch1.takeStory(),
               ( Lines{ "pools 97848 266240", "call bf_tm_ppg_lossless_treatment_enable(0, 0) = 0",
                        "call bf_tm_ppg_skid_limit_set(0, 0, 232) = 0" } ) );
    ppg->pfcEnabledIs( false );
    EXPECT_EQ( switch1.takeStory(),
               ( Lines{ "call bf_tm_ppg_lossless_treatment_disable(0, 0) = 0",
                        "call bf_tm_ppg_skid_limit_set(0, 0, 0) = 0", "pools 98080 266240" } ) );
    ppg->internalCosBmpIs( 0x30 );
    EXPECT_EQ( switch1.takeStory(),
               ( Lines{ "pools 98080 266240", "call bf_tm_ppg_icos_mapping_set(0, 0, 48) = 0" } ) );
}

TEST_F( Ppg, aThresholdWithoutFactorIsTracedAndSkipped ) {
    auto ppg = SmallChip::newPpg( 3, 0x08 );
    add( ppg );
    serve();
    ppg->dynamicThresholdIs( bafInvalid );
    EXPECT_TRUE( switch1.takeLog().empty() );
    EXPECT_NE( Kel::ringTraceText().find(
                   "called with bafInvalid: error condition for devId, portId, ppgId:0 4 3" ),
               std::string::npos );
    ppg->dynamicThresholdIs( baf9 );
    EXPECT_EQ( switch1.takeLog().size(), 1U );
}

TEST_F( Ppg, aMinimumThatNobodySetMustNotReachAGroup ) {
    auto ppg = SmallChip::newPpg( 3, 0x08 );
    add( ppg );
    serve();
    EXPECT_DEATH( ppg->minLimitCellsIs( TmConfigConstants::minLimitCellsInvalid() ),
                  "handlePpgMinLimitCells\\(\\): Assertion \"notifier\\(\\)->minLimitCells\\(\\) "
                  "!= TmConfigConstants::minLimitCellsInvalid\\(\\)\" failed" );
    // No group, no programming, no assertion.
    switch1.addIntf( 5 );
    allocationFails( 9, 1 );
    auto idle = SmallChip::newPpg( 2, 0x04 );
    add( idle );
    serve();
    idle->minLimitCellsIs( TmConfigConstants::minLimitCellsInvalid() );
}

TEST_F( Ppg, takesAnotherEntityAndProgramsAllOfIt ) {
    add( SmallChip::newPpg( 3, 0x08 ) );
    serve();
    const auto reactor = sm.velTmIntfConfig( PortIndex( 4 ) )->velTmPpgConfig( PpgId( 3 ) );
    intf->tmPpgConfigIs( SmallChip::newPpg( 3, 0x10, true, 5 ) );
    EXPECT_EQ(
        switch1.takeStory(),
        ( Lines{ "pools 98075 266240", "call bf_tm_ppg_icos_mapping_set(0, 0, 16) = 0",
                 "pools 98075 266240", "call bf_tm_ppg_lossless_treatment_enable(0, 0) = 0",
                 "call bf_tm_ppg_skid_limit_set(0, 0, 232) = 0",
                 "call bf_tm_ppg_app_pool_usage_set(0, 0, 0, 1, 3, 0) = 0", "pools 98075 266240",
                 "call bf_tm_ppg_guaranteed_min_limit_set(0, 0, 5) = 0" } ) );
    EXPECT_EQ( sm.velTmIntfConfig( PortIndex( 4 ) )->velTmPpgConfig( PpgId( 3 ) ), reactor );
    // A second release finds nothing to release.
    reactor->cleanup();
    switch1.takeLog();
    reactor->cleanup();
    EXPECT_TRUE( switch1.takeLog().empty() );
}

// A pipe with 128 groups taken serves the next port once another one gives a group back.
TEST_F( Ppg, aPipeThatIsFullServesTheOneThatWaitsWhenAnotherPortGoes ) {
    for ( U32 port = 8; port < 24; ++port ) {
        for ( U8 id = 0; id < 8; ++id ) {
            switch1.addIntf( port )->tmPpgConfigIs( SmallChip::newPpg( id, 0x01 ) );
        }
    }
    serve();
    EXPECT_EQ( switch1.chip.state().ppgsAllocated( 0 ), 128U );
    add( SmallChip::newPpg( 3, 0x08 ) );
    EXPECT_EQ( serve(), Lines{ "call bf_tm_ppg_allocate(0, 4) = 10" } );
    switch1.tmConfig->tmIntfConfigDel( PortIndex( 9 ) );
    switch1.takeLog();
    EXPECT_EQ( serve( 0.1 ).front(), "call bf_tm_ppg_allocate(0, 4) = 0 -> 8" );
}

} // namespace
