#include "Platform/Entities/EthPhyIntfStatus.h"
#include "Platform/Entities/KelPfcSharedState.h"
#include "Platform/Entities/SystemStatus.h"
#include "Platform/Entities/TmConfig.h"
#include "Platform/Entities/TmCountersData.h"
#include "Platform/Entities/TmStatus.h"
#include "Platform/Entities/WredConfig.h"
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

TEST( EntitiesTest, RecordsAreValuesWithATextForm ) {
    const auto differ = []<class Record>( const Record & record, const Record & other ) {
        EXPECT_EQ( record.hash(), Record( record ).hash() );
        EXPECT_TRUE( record == Record( record ) && record != other );
        EXPECT_NE( record.hash(), other.hash() );
        return valueToStrep( record );
    };
    EXPECT_EQ( differ( ShapeRate( 0, 7, 8 ), ShapeRate( 0, 8, 7 ) ),
               "Value('KelQos::ShapeRate', ** {'accountingMode': 0, 'shapeRateVal': 7, "
               "'shapeRateBurst': 8})" );
    EXPECT_EQ( differ( RateParams( ShapeRate( 1, 2, 3 ), true, 4, 5 ), RateParams() ),
               "Value('KelQos::RateParams', ** {'shapeRateAccountingMode': 1, 'shapeRateVal': 2, "
               "'shapeRateBurst': 3, 'accountingModeGBwPps': True, 'guaranteedBwRate': 4, "
               "'guaranteedBwRateBurst': 5})" );
    EXPECT_EQ( differ( PortInfo( 1, port ), PortInfo( 2, port ) ),
               "Value('KelSystem::PortInfo', ** {'devId': 1, 'pipeId': 2, 'portIndex': 276})" );
    EXPECT_EQ( differ( WredBlockResourceConfig{ 1, 2, 0.5F, 1000.0F }, WredBlockResourceConfig() ),
               "Value('KelQos::WredBlockResourceConfig', ** {'minThdCells': 1, 'maxThdCells': 2, "
               "'maxDropProbability': 0.5, 'timeConstantNs': 1000})" );
    EXPECT_EQ( ( WredBlockResourceConfig{ .maxDropProbability = -0.0F }.hash() ),
               WredBlockResourceConfig().hash() ); // they are equal
}

// Fills the collection with a member under each key, takes one out and then the others, and counts
// what a watcher is told of.
template <class Owner, class Key, class Insert>
U32 toldOf( const Kel::Ptr<Owner> & owner, const Key & one, const Key & other, const Insert & is,
            bool ( Owner::*has )( Key ) const, void ( Owner::*del )( Key ),
            void ( Owner::*delAll )() ) {
    U32 told = 0;
    const auto listener = makePtr<Watcher<Owner>>(
        owner, [&]( Kel::AttributeId, const void * key ) { told += key != nullptr; } );
    is( one );
    is( other );
    ( owner.get()->*del )( one );
    EXPECT_TRUE( !( owner.get()->*has )( one ) && ( owner.get()->*has )( other ) );
    is( one );
    ( owner.get()->*delAll )();
    EXPECT_FALSE( ( owner.get()->*has )( one ) || ( owner.get()->*has )( other ) );
    return told;
}

TEST( EntitiesTest, CollectionsAreFilledAndEmptied ) {
    const PortIndex other( 5 );
    const auto config = makePtr<TmConfig>();
    const auto addIntf = [&]( PortIndex key ) {
        config->tmIntfConfigIs( TmConfig::newTmIntfConfig( key ) );
    };
    EXPECT_EQ( toldOf( config, port, other, addIntf, &TmConfig::tmIntfConfigHas,
                       &TmConfig::tmIntfConfigDel, &TmConfig::tmIntfConfigDelAll ),
               6U );
    const auto intf = makePtr<TmIntfConfig>( port );
    const auto addPpg = [&]( PpgId key ) {
        intf->tmPpgConfigIs( TmIntfConfig::newTmPpgConfig( key ) );
    };
    EXPECT_EQ( toldOf( intf, PpgId( 1 ), PpgId( 8 ), addPpg, &TmIntfConfig::tmPpgConfigHas,
                       &TmIntfConfig::tmPpgConfigDel, &TmIntfConfig::tmPpgConfigDelAll ),
               6U );
    const auto addQueue = [&]( TxQueueId key ) {
        intf->tmTxQueueConfigIs( TmIntfConfig::newTmTxQueueConfig( key ) );
    };
    EXPECT_EQ( toldOf( intf, TxQueueId( 1 ), TxQueueId( 13 ), addQueue,
                       &TmIntfConfig::tmTxQueueConfigHas, &TmIntfConfig::tmTxQueueConfigDel,
                       &TmIntfConfig::tmTxQueueConfigDelAll ),
               6U );
    const auto status = makePtr<TmStatus>();
    const auto addStatus = [&]( PortIndex key ) { status->tmIntfStatusIs( key ); };
    EXPECT_EQ( toldOf( status, port, other, addStatus, &TmStatus::tmIntfStatusHas,
                       &TmStatus::tmIntfStatusDel, &TmStatus::tmIntfStatusDelAll ),
               6U );
    const auto groups = TmStatus::newTmIntfStatus( port );
    const auto addGroup = [&]( PpgId key ) { groups->tmPpgStatusIs( key, false ); };
    EXPECT_EQ( toldOf( groups, PpgId( 0 ), PpgId( 7 ), addGroup, &TmIntfStatus::tmPpgStatusHas,
                       &TmIntfStatus::tmPpgStatusDel, &TmIntfStatus::tmPpgStatusDelAll ),
               6U );
    const auto block = makePtr<WredBlockConfig>();
    const KelDriver::KelDevTgt pipe0( KelDevId( 1 ), KelPipeId( 0 ) );
    const KelDriver::KelDevTgt pipe3( KelDevId( 1 ), KelPipeId( 3 ) );
    const auto addPipe = [&]( KelDriver::KelDevTgt key ) {
        block->pipeConfigIs( key, WredBlockConfig::newPipeConfig() );
    };
    EXPECT_EQ( toldOf( block, pipe0, pipe3, addPipe, &WredBlockConfig::pipeConfigHas,
                       &WredBlockConfig::pipeConfigDel, &WredBlockConfig::pipeConfigDelAll ),
               6U );
    const auto profiles = WredBlockConfig::newPipeConfig();
    const auto addProfile = [&]( U16 key ) { profiles->resourceConfigIs( key, {} ); };
    EXPECT_EQ( toldOf( profiles, U16( 0 ), U16( 65535 ), addProfile,
                       &WredBlockPipeConfig::resourceConfigHas,
                       &WredBlockPipeConfig::resourceConfigDel,
                       &WredBlockPipeConfig::resourceConfigDelAll ),
               6U );
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
