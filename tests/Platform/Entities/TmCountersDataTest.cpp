#include "Platform/Entities/TmCountersData.h"

#include <gtest/gtest.h>

namespace {

using namespace KelQos;
using KelDriver::KelDevTgt;
using KelId::KelDevId;
using KelId::KelPipeId;

const KelDevId dev0( 0 );
const KelDevId dev7( 7 );
const KelPipeId pipe0( 0 );
const KelPipeId pipe3( 3 );

TEST( TmCountersDataTest, EveryCounterHasItsOwnPlace ) {
    const auto data = Kel::makePtr<TmCountersData>();
    U64 value = 0xFFFF'FFFF'0000'0000; // wider than a record's field
    for ( const KelDevId dev : { dev0, dev7 } ) {
        for ( const KelPipeId pipe : { pipe0, pipe3 } ) {
            for ( const U32 index : { 0U, 255U, 1023U } ) {
                for ( const CounterType type : { counterTypePpgMinUsage, counterTypePpgDrops } ) {
                    EXPECT_EQ( data->getCounter( dev, pipe, index, type ), 0U );
                    data->setCounter( dev, pipe, index, type, ++value );
                }
            }
        }
    }
    EXPECT_EQ( data->getCounter( dev0, pipe0, 0, counterTypePpgMinUsage ), value - 23 );
    EXPECT_EQ( data->getCounter( dev7, pipe3, 1023, counterTypePpgDrops ), value );
    data->counterDel( dev7, pipe3, 1023, counterTypePpgDrops );
    EXPECT_EQ( data->getCounter( dev7, pipe3, 1023, counterTypePpgDrops ), 0U );
    EXPECT_EQ( data->getCounter( dev7, pipe3, 1023, counterTypePpgMinUsage ), value - 1 );
}

TEST( TmCountersDataTest, PipeThatWasNeverFetchedHasNoBlockLevelCounters ) {
    const auto data = Kel::makePtr<TmCountersData>();
    const auto counters = [&]( KelPipeId pipe ) {
        return data->getBlockLevelCountersByPipePtr( dev0, pipe );
    };
    EXPECT_EQ( data->getBlockLevelCounter( dev0, pipe0, blockLevelEpipePktDrop ), 0U );
    EXPECT_EQ( counters( pipe0 ), nullptr ); // reading fetches nothing
    data->blockLevelCountersIs( KelDevTgt( dev0, pipe0 ) );
    ASSERT_NE( counters( pipe0 ), nullptr );
    EXPECT_TRUE( counters( pipe0 )->empty() );
    EXPECT_EQ( counters( pipe3 ), nullptr );

    const BlockLevelCounterType total{};
    data->blockLevelCounterIs( KelDevTgt( dev0, pipe3 ), blockLevelEpipePktDrop,
                               { "epipe drops", total, 5 } );
    data->setBlockLevelCounter( dev0, pipe3, blockLevelEpipePktDrop, total, 9 );
    EXPECT_EQ( data->getBlockLevelCounter( dev0, pipe3, blockLevelEpipePktDrop ), 9U );
    EXPECT_EQ( counters( pipe3 )->find( blockLevelEpipePktDrop )->name, "epipe drops" );
    EXPECT_EQ( data->getBlockLevelCounter( dev7, pipe3, blockLevelEpipePktDrop ), 0U );
    data->blockLevelCounterDel( KelDevTgt( dev0, pipe3 ), blockLevelEpipePktDrop );
    EXPECT_TRUE( counters( pipe3 )->empty() );
    data->blockLevelCountersDel( KelDevTgt( dev0, pipe3 ) );
    EXPECT_EQ( counters( pipe3 ), nullptr );
}

} // namespace
