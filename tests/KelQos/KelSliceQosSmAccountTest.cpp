#include "KelQos/Slice/KelSliceQosSmPools.h"

#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <random>

namespace {

using namespace KelQos;
using KelPortTypes::PortIndex;

// Whatever happens to a configuration, and whichever of two it is asked about, the kept account is
// that of the full walk.
TEST( BufferAccount, equalsTheFullWalkAfterAnyChange ) {
    const std::array configs{ Kel::makePtr<TmConfig>(), Kel::makePtr<TmConfig>() };
    auto config = configs[0];
    BufferAccount account;
    EXPECT_EQ( account.reservation( nullptr ), Reservation() );
    account.reservation( config.get() );
    // Every port of the one is still to be counted when the other is asked about.
    for ( U32 port = 0; port <= PortIndex::invalid; ++port ) {
        for ( const auto & each : configs ) {
            each->tmIntfConfigIs( PortIndex( port ) )
                ->flowControlTypeIs( flowControlTypeLinkPause );
        }
    }
    ASSERT_EQ( account.reservation( configs[1].get() ), BufferAccount::walk( *configs[1] ) );
    std::mt19937 random( 42 ); // NOLINT(cert-msc51-cpp): the same changes every time
    const auto pick = [&random]( U32 n ) { return static_cast<U32>( random() % n ); };
    for ( int round = 0; round < 3000; ++round ) {
        const PortIndex port( pick( 6 ) * 70 );
        auto intf = config->tmIntfConfigIs( port );
        auto ppg = intf->tmPpgConfigIs( PpgId( static_cast<U8>( pick( 4 ) ) ) );
        auto queue = intf->tmTxQueueConfigIs( TxQueueId( static_cast<U8>( pick( 3 ) ) ) );
        const std::function<void()> changes[]{
            [&] { config->tmIntfConfigDel( port ); },
            [&] { intf->tmPpgConfigDel( ppg->ppgId() ); },
            [&] { intf->tmTxQueueConfigDel( queue->txQueueId() ); },
            [&] { ppg->internalCosBmpIs( static_cast<U8>( pick( 3 ) ) ); },
            [&] { ppg->pfcEnabledIs( pick( 2 ) == 0 ); },
            [&] { ppg->minLimitCellsIs( pick( 3 ) == 0 ? 0xFFFFFFFE : pick( 100 ) ); },
            [&] { queue->minLimitCellsIs( pick( 1000 ) ); },
            [&] { intf->flowControlTypeIs( static_cast<FlowControlType>( pick( 3 ) ) ); },
            [&] { // an entity that was filled elsewhere takes the place of the one that is there
                auto other = Kel::makePtr<TmIntfConfig>( port );
                other->tmTxQueueConfigIs( TxQueueId( 7 ) )->minLimitCellsIs( pick( 50 ) );
                config->tmIntfConfigIs( other );
            } };
        changes[pick( 9 )]();
        if ( pick( 20 ) == 0 ) {
            config = configs.at( pick( 2 ) );
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

TEST( BufferAllocationLogState, isNamedByItsNumber ) {
    const char * names[]{ "bufferAllocationIngressRecoveredLog",
                          "bufferAllocationEgressRecoveredLog", "bufferAllocationIngressFailedLog",
                          "bufferAllocationEgressFailedLog", "unknown" };
    for ( U8 number = 0; number < std::size( names ); ++number ) {
        EXPECT_STREQ( stringValue( static_cast<BufferAllocationLogState>( number ) ),
                      names[number] );
    }
    EXPECT_STREQ( stringValue( bufferAllocationEgressFailedLog_ ), names[3] );
}

} // namespace
