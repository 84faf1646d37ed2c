#include "Platform/Entities/EthPhyIntfStatus.h"
#include "Platform/Entities/KelPfcSharedState.h"
#include "Platform/Entities/SystemStatus.h"
#include "Platform/Entities/TmConfig.h"
#include "Platform/Entities/TmCountersData.h"
#include "Platform/Entities/TmStatus.h"
#include "tests/support/Watcher.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using Kel::IntfId;
using Kel::makePtr;
using KelId::KelDevId;
using KelId::KelPipeId;
using KelPortTypes::PortIndex;
using KelSystem::PortInfo;
using namespace KelQos;

const PortIndex port( 2 * 128 + 20 );

TEST( EntitiesTest, WhatIsNotThereReadsAsNothing ) {
    const auto system = makePtr<KelSystem::SystemStatus>();
    const IntfId ethernet( "Ethernet5/1" );
    EXPECT_TRUE( system->portToIntfId( port ).empty() );
    system->portInfoIs( ethernet, PortInfo( 1, port ) );
    EXPECT_EQ( system->portInfo( ethernet ), PortInfo( 1, port ) );
    EXPECT_TRUE( PortInfo( 1, port ).pipeId() == 2 && PortInfo( 1, port ).pipePortIndex() == 20 );
    EXPECT_FALSE( system->portToIntfIdHas( port ) ); // a table of its own
    EXPECT_EQ( system->portInfo( IntfId( "Ethernet6/1" ) ), PortInfo() );
    const auto status = makePtr<TmStatus>();
    EXPECT_EQ( status->tmIntfStatus( port ), nullptr );
    const auto groups = status->tmIntfStatusIs( port );
    EXPECT_EQ( status->tmIntfStatusIs( port ), groups );
    EXPECT_FALSE( groups->tmPpgStatus( PpgId( 3 ) ) );
    groups->tmPpgStatusIs( PpgId( 3 ), true );
    EXPECT_TRUE( groups->tmPpgStatus( PpgId( 3 ) ) );
    EXPECT_EQ( makePtr<KelPfcSharedState>()->pfcEnabled( ethernet ), flowControlTypeNone );
}

TEST( EntitiesTest, ConfigurationTellsWhatChangedByItsKeyAndRefusesTheRest ) {
    const auto config = makePtr<TmConfig>();
    std::vector<U32> told;
    const auto listener =
        makePtr<Watcher<TmConfig>>( config, [&]( Kel::AttributeId id, const void * key ) {
            told.push_back( id == TmConfig::cosToTcAttr
                                ? static_cast<const Cos *>( key )->value()
                                : static_cast<const PortIndex *>( key )->value() );
        } );
    EXPECT_EQ( config->cosToTc( Cos( 5 ) ), trafficClassUnmapped );
    config->cosToTcIs( Cos( 5 ), 3 );
    config->cosToTcIs( Cos( 5 ), 3 );
    EXPECT_THROW( config->cosToTcIs( Cos( 5 ), 9 ), Kel::RangeException );
    EXPECT_EQ( config->cosToTc( Cos( 5 ) ), 3 );
    const auto intf = config->tmIntfConfigIs( port );
    EXPECT_EQ( config->tmIntfConfigIs( port ), intf );
    EXPECT_THROW( config->tmIntfConfigIs( nullptr ), Kel::NullArgumentException );
    const auto filled = makePtr<TmIntfConfig>( port );
    config->tmIntfConfigIs( filled ); // in place of the other, by its own key
    EXPECT_TRUE( config->tmIntfConfig( port ) == filled && !intf->parent() );
    config->tmIntfConfigDelAll();
    EXPECT_EQ( told, ( std::vector<U32>{ 5, port.value(), port.value(), port.value() } ) );
}

TEST( EntitiesTest, EnumerationsPrintAsTheirMembersNames ) {
    EXPECT_EQ( Kel::valueToStrep( flowControlTypePfc ), "flowControlTypePfc" );
    EXPECT_EQ( Kel::valueToStrep( bafInvalid ), "bafInvalid" );
    for ( const char * text :
          { stringValue( FlowControlType( 3 ) ), stringValue( CounterType( 3 ) ),
            stringValue( BurstAbsorptionCoeff( 11 ) ), stringValue( Interface::EnabledState( 3 ) ),
            stringValue( BlockLevelCounterName( 0 ) ) } ) {
        EXPECT_STREQ( text, "unknown" );
    }
}

TEST( EntitiesTest, EveryCounterHasItsOwnPlace ) {
    const KelDevId dev7( 7 );
    const KelPipeId pipe3( 3 );
    const auto data = Kel::makePtr<TmCountersData>();
    U64 value = 0xFFFF'FFFF'0000'0000; // wider than a record's field
    for ( const KelDevId dev : { KelDevId( 0 ), dev7 } ) {
        for ( const KelPipeId pipe : { KelPipeId( 0 ), pipe3 } ) {
            for ( const U32 index : { 0U, 255U, 1023U } ) {
                for ( const CounterType type : { counterTypePpgMinUsage, counterTypePpgDrops } ) {
                    EXPECT_EQ( data->getCounter( dev, pipe, index, type ), 0U );
                    data->setCounter( dev, pipe, index, type, ++value );
                }
            }
        }
    }
    EXPECT_EQ( data->getCounter( KelDevId( 0 ), KelPipeId( 0 ), 0, counterTypePpgMinUsage ),
               value - 23 );
    data->counterDel( dev7, pipe3, 1023, counterTypePpgDrops );
    EXPECT_EQ( data->getCounter( dev7, pipe3, 1023, counterTypePpgDrops ), 0U );
    EXPECT_EQ( data->getCounter( dev7, pipe3, 1023, counterTypePpgMinUsage ), value - 1 );
}

} // namespace
