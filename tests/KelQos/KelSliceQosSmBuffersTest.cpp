#include "Platform/Logging/Trace.h"
#include "tests/support/SmallChip.h"

#include <gtest/gtest.h>
#include <random>

namespace {

using namespace KelQos;
using KelPortTypes::PortIndex;
using TestSupport::SmallChip;
using Lines = std::vector<std::string>;

constexpr U32 mirrorCells = 4 * 480;
constexpr U32 multicastCells = 12288;

// One port with a lossless group of 100 cells and a queue of 200.
class Buffers : public testing::Test {
  protected:
    Buffers() {
        intf->flowControlTypeIs( flowControlTypePfc );
        ppg->minLimitCellsIs( 100 );
        intf->tmPpgConfigIs( ppg );
        intf->tmTxQueueConfigIs( queue );
    }
    static constexpr U32 ingressCells = mirrorCells + 100 + 232;
    static constexpr U32 egressCells = multicastCells + 200;

    SmallChip switch1{ egressCells };
    Kel::Ptr<TmIntfConfig> intf = switch1.addIntf( 4 );
    Kel::Ptr<TmPpgConfig> ppg = SmallChip::newPpg( 3, 0x08, true );
    Kel::Ptr<TmTxQueueConfig> queue = SmallChip::newQueue( 3, 200 );
};

TEST_F( Buffers, countWhatTheConfigurationReserves ) {
    KelSliceQosSm & sm = switch1.start();
    EXPECT_EQ( sm.numPpgsAllocated(), 1U );
    EXPECT_EQ( sm.ppgMinCellCount(), 100U );
    EXPECT_EQ( sm.globalHeadroomCellCount(), 232U );
    EXPECT_EQ( sm.numTxQsAllocated(), 1U );
    EXPECT_EQ( sm.txQMinCellCount(), 200U );

    // A group without classes counts for nothing, whatever else it asks for.
    ppg->internalCosBmpIs( 0 );
    EXPECT_EQ( sm.numPpgsAllocated(), 0U );
    EXPECT_EQ( sm.totalIngressReservedCellCount(), mirrorCells );
    // Link-level pause takes headroom for the port, groups or not; PFC flags count no more.
    ppg->internalCosBmpIs( 0x08 );
    intf->flowControlTypeIs( flowControlTypeLinkPause );
    EXPECT_EQ( sm.globalHeadroomCellCount(), 232U );
    intf->tmPpgConfigDel( PpgId( 3 ) );
    EXPECT_EQ( sm.totalIngressReservedCellCount(), mirrorCells + 232 );
    intf->flowControlTypeIs( flowControlTypeNone );
    EXPECT_EQ( sm.totalIngressReservedCellCount(), mirrorCells );

    sm.minLimitCellsForMirroringIs( 600 );
    EXPECT_EQ( sm.totalIngressReservedCellCount(), 4 * 600U );
    EXPECT_EQ( switch1.chip.state().ppg( 200 )->minLimitCells, 600U );
    switch1.takeLog();
    sm.minLimitCellsForMirroringIs( 600 );
    EXPECT_TRUE( switch1.takeLog().empty() );
}

TEST_F( Buffers, atTheBoundaryEverythingFitsAndBeyondItThePoolIsZero ) {
    switch1.tmBufferParams->totalCellsAvailableForIngressIs( ingressCells );
    KelSliceQosSm & sm = switch1.start();
    EXPECT_EQ( sm.ingressSharedPoolCellCount(), 0 );
    EXPECT_EQ( sm.egressSharedPoolCellCount(), 0 );
    EXPECT_FALSE( sm.bufferAllocationLogStateCollHas( bufferAllocationIngressFailedLog_ ) );
    EXPECT_FALSE( sm.bufferAllocationLogStateCollHas( bufferAllocationEgressFailedLog_ ) );
    switch1.takeLog();

    ppg->minLimitCellsIs( 101 );
    EXPECT_TRUE( sm.bufferAllocationLogStateColl( bufferAllocationIngressFailedLog_ ) );
    EXPECT_EQ( switch1.takeStory().front(), "pools 0 0" );
    queue->minLimitCellsIs( 201 );
    EXPECT_TRUE( sm.bufferAllocationLogStateColl( bufferAllocationEgressFailedLog_ ) );

    // Each tick reports again while it lasts, and the end of it once.
    switch1.takeLog();
    switch1.advance( 6.0 );
    const std::string ingressFailed =
        "syslog 3 KEL_TM_QUEUE_RESERVED_INVALID Request to reserve 2253 buffers of 80 bytes each "
        "for ingress traffic-manager cannot be satisfied.";
    const std::string egressFailed =
        "syslog 3 KEL_TM_QUEUE_RESERVED_INVALID Request to reserve 12489 buffers of 80 bytes each "
        "for egress traffic-manager cannot be satisfied.";
    EXPECT_EQ( switch1.takeLog(),
               ( Lines{ ingressFailed, egressFailed, ingressFailed, egressFailed } ) );

    ppg->minLimitCellsIs( 99 );
    EXPECT_EQ( sm.ingressSharedPoolCellCount(), 1 );
    switch1.takeLog();
    switch1.advance( 3.0 );
    EXPECT_EQ( switch1.takeLog(),
               ( Lines{ egressFailed, "syslog 6 KEL_TM_QUEUE_RESERVED_NORMAL Reserved buffers "
                                      "programmed in ingress traffic-manager" } ) );
    queue->minLimitCellsIs( 0 );
    switch1.takeLog();
    switch1.advance( 100.0 );
    EXPECT_EQ( switch1.takeLog(), Lines{ "syslog 6 KEL_TM_QUEUE_RESERVED_NORMAL Reserved buffers "
                                         "programmed in egress traffic-manager" } );
}

TEST_F( Buffers, overReservationThatEndsBeforeTheTickIsOnlyReportedAsRecovered ) {
    switch1.start();
    switch1.tmBufferParams->totalCellsAvailableForIngressIs( 10 );
    switch1.tmBufferParams->totalCellsAvailableForIngressIs( 100000 );
    switch1.takeLog();
    switch1.advance( 3.0 );
    EXPECT_EQ( switch1.takeLog(), Lines{ "syslog 6 KEL_TM_QUEUE_RESERVED_NORMAL Reserved buffers "
                                         "programmed in ingress traffic-manager" } );
    // One that comes back while the recovery is pending leaves only the failure.
    switch1.tmBufferParams->totalCellsAvailableForIngressIs( 10 );
    switch1.tmBufferParams->totalCellsAvailableForIngressIs( 100000 );
    switch1.tmBufferParams->totalCellsAvailableForIngressIs( 10 );
    switch1.takeLog();
    switch1.advance( 3.0 );
    const Lines log = switch1.takeLog();
    ASSERT_EQ( log.size(), 1U );
    EXPECT_TRUE( log.front().starts_with( "syslog 3 KEL_TM_QUEUE_RESERVED_INVALID" ) );
}

TEST_F( Buffers, everyRecomputationMovesAnArmedClock ) {
    switch1.start();
    switch1.tmBufferParams->totalCellsAvailableForIngressIs( 10 );
    for ( int i = 0; i < 3; ++i ) {
        switch1.advance( 2.5 );
        queue->minLimitCellsIs( static_cast<U32>( i ) );
    }
    switch1.takeLog();
    switch1.advance( 2.5 );
    EXPECT_TRUE( switch1.takeLog().empty() );
    switch1.advance( 0.5 );
    EXPECT_EQ( switch1.takeLog().size(), 1U );
}

// What a developer reads about a chip that is asked for too much, each line under its level.
TEST_F( Buffers, overReservationIsTracedStepByStep ) {
    switch1.start();
    Lines traces;
    Kel::traceSinkIs( [&traces]( const Kel::TraceRecord & record ) {
        traces.push_back( std::to_string( record.level ) + " " + std::string( record.text ) );
    } );
    Kel::traceLevelsIs( "KelSliceQosSm=*" );
    switch1.tmBufferParams->totalCellsAvailableForIngressIs( 10 );
    switch1.advance( 3.0 );
    Kel::traceLevelsDelAll();
    Kel::traceSinkIs( nullptr );
    const std::string pools = "reconfigureSharedPools: ";
    EXPECT_EQ(
        traces,
        ( Lines{ "4 handleTotalCellsAvailableForIngress: ", "6 " + pools,
                 "6 " + pools + "Total Cells Available: 12488 totalCellsAvailableForIngress: 10",
                 "0 " + pools +
                     "Ingress buffer reserved > totalCells, could be intermittent, see syslog",
                 "6 " + pools +
                     "Ingress Admission Control Details numPpgsAllocated: 1 ppgMinCellCount: 100 "
                     "globalHeadroomCellCount: 232 totalIngressReservedCellCount: 2252 "
                     "ingressSharedPoolCellCount: 0",
                 "0 " + pools + "Scheduling buffer log clock",
                 "6 " + pools +
                     "Egress Admission Control Details numTxQsAllocated: 1 txQMinCellTotal: 200 "
                     "totalEgressReservedCellCount: 12488 egressSharedPoolCellCount: 0",
                 "6 " + pools + "Programming ingressSharedPool",
                 "6 " + pools + "Programming egressSharedPool",
                 "0 handleSyslogClock:  handleSyslogClock" } ) );
}

// "Now" of the report clock is that of the clock that the state machine was given.
TEST_F( Buffers, theReportClockMayRunOnAScaleOfItsOwn ) {
    switch1.clock = Kel::makePtr<Kel::Clock>( switch1.activityManager.scheduler(), 1e6 );
    switch1.start();
    switch1.tmBufferParams->totalCellsAvailableForIngressIs( 10 );
    switch1.takeLog();
    switch1.advance( 2.9 );
    EXPECT_TRUE( switch1.takeLog().empty() );
    switch1.advance( 0.2 );
    EXPECT_EQ( switch1.takeLog().size(), 1U );
}

// Whatever happens to a configuration, the kept account is that of the full walk.
TEST( BufferAccount, equalsTheFullWalkAfterAnyChange ) {
    auto config = Kel::makePtr<TmConfig>();
    BufferAccount account;
    std::mt19937 random( 42 ); // NOLINT(cert-msc51-cpp): the same changes every time
    const auto pick = [&random]( U32 n ) { return static_cast<U32>( random() % n ); };
    for ( int round = 0; round < 3000; ++round ) {
        const PortIndex port( pick( 6 ) * 70 );
        auto intf = config->tmIntfConfigIs( port );
        auto ppg = intf->tmPpgConfigIs( PpgId( static_cast<U8>( pick( 4 ) ) ) );
        auto queue = intf->tmTxQueueConfigIs( TxQueueId( static_cast<U8>( pick( 3 ) ) ) );
        switch ( pick( 9 ) ) {
        case 0:
            config->tmIntfConfigDel( port );
            break;
        case 1:
            intf->tmPpgConfigDel( ppg->ppgId() );
            break;
        case 2:
            intf->tmTxQueueConfigDel( queue->txQueueId() );
            break;
        case 3:
            ppg->internalCosBmpIs( static_cast<U8>( pick( 3 ) ) );
            break;
        case 4:
            ppg->pfcEnabledIs( pick( 2 ) == 0 );
            break;
        case 5:
            ppg->minLimitCellsIs( pick( 3 ) == 0 ? 0xFFFFFFFE : pick( 100 ) );
            break;
        case 6:
            queue->minLimitCellsIs( pick( 1000 ) );
            break;
        case 7:
            intf->flowControlTypeIs( static_cast<FlowControlType>( pick( 3 ) ) );
            break;
        default: { // an entity that was filled elsewhere takes the place of the one that is there
            auto other = Kel::makePtr<TmIntfConfig>( port );
            other->tmTxQueueConfigIs( TxQueueId( 7 ) )->minLimitCellsIs( pick( 50 ) );
            config->tmIntfConfigIs( other );
        }
        }
        if ( pick( 3 ) == 0 ) {
            ASSERT_EQ( account.reservation( config.get() ), BufferAccount::walk( *config ) )
                << round;
        }
    }
}

// A store whose entities do not tell upwards is walked every time.
TEST( BufferAccount, isRightOnAStoreThatCannotTell ) {
    class SilentConfig : public TmConfig {
        bool tellsChangesBelow() const override { return false; }
    };
    auto config = Kel::makePtr<SilentConfig>();
    auto intf = Kel::makePtr<TmIntfConfig>( PortIndex( 4 ) );
    config->tmIntfConfigIs( intf );
    BufferAccount account;
    EXPECT_EQ( account.reservation( config.get() ).headroomCells, 0U );
    intf->parentIs( nullptr );
    intf->flowControlTypeIs( flowControlTypeLinkPause );
    EXPECT_EQ( account.reservation( config.get() ).headroomCells, 232U );
}

} // namespace
