#include "Platform/Entities/ChipStatus.h"
#include "Platform/Entities/EthPhyIntfStatus.h"
#include "Platform/Entities/KelPfcSharedState.h"
#include "Platform/Entities/SystemStatus.h"
#include "Platform/Entities/TmBufferParamsConfig.h"
#include "Platform/Entities/TmConfig.h"
#include "Platform/Entities/TmStatus.h"
#include "Platform/Entities/WredConfig.h"
#include "tests/support/Watcher.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using Interface::EthPhyIntfStatus;
using Interface::EthPhyIntfStatusDir;
using Kel::AttributeId;
using Kel::IntfId;
using Kel::makePtr;
using Kel::Ptr;
using KelPortTypes::PortIndex;
using KelSystem::PortInfo;
using KelSystem::SystemStatus;
using namespace KelQos;

// A setter, and the attribute that it must tell of.
template <class T>
struct Step {
    AttributeId attribute;
    void ( *set )( T & entity );
};

// Each step changes something: it tells of its own attribute, once, and when it is repeated of
// nothing.
template <class T>
void expectNotifications( T & entity, const std::vector<Step<T>> & steps ) {
    std::vector<AttributeId> told;
    const auto listener = makePtr<Watcher<T>>(
        Ptr<const T>( &entity ), [&]( AttributeId id, const void * ) { told.push_back( id ); } );
    for ( const auto & step : steps ) {
        step.set( entity );
        step.set( entity );
        EXPECT_EQ( told, std::vector{ step.attribute } );
        told.clear();
    }
}

TEST( EntitiesTest, EverySetterTellsOfItsOwnAttributeOnce ) {
    using Params = TmBufferParamsConfig;
    expectNotifications<Params>(
        *makePtr<Params>(),
        { { Params::totalCellsAvailableForIngressAttr,
            []( Params & p ) { p.totalCellsAvailableForIngressIs( 1 ); } },
          { Params::leakThresholdAttr, []( Params & p ) { p.leakThresholdIs( 1 ); } },
          { Params::leakPollIntervalAttr, []( Params & p ) { p.leakPollIntervalIs( 60.0 ); } } } );
    using Ppg = TmPpgConfig;
    expectNotifications<Ppg>(
        *makePtr<Ppg>( PpgId( 1 ) ),
        { { Ppg::internalCosBmpAttr, []( Ppg & p ) { p.internalCosBmpIs( 8 ); } },
          { Ppg::pfcEnabledAttr, []( Ppg & p ) { p.pfcEnabledIs( true ); } },
          { Ppg::minLimitCellsAttr, []( Ppg & p ) { p.minLimitCellsIs( 20 ); } },
          { Ppg::dynamicThresholdAttr, []( Ppg & p ) { p.dynamicThresholdIs( baf4 ); } } } );
    using Queue = TmTxQueueConfig;
    expectNotifications<Queue>(
        *makePtr<Queue>( TxQueueId( 3 ) ),
        { { Queue::pfcCosAttr, []( Queue & q ) { q.pfcCosIs( 3 ); } },
          { Queue::minLimitCellsAttr, []( Queue & q ) { q.minLimitCellsIs( 20 ); } },
          { Queue::dynamicThresholdAttr, []( Queue & q ) { q.dynamicThresholdIs( baf4 ); } },
          { Queue::priorityAttr, []( Queue & q ) { q.priorityIs( 1 ); } },
          { Queue::weightAttr, []( Queue & q ) { q.weightIs( 15 ); } },
          { Queue::rateParamsAttr,
            []( Queue & q ) {
                q.rateParamsIs( { ShapeRate( 1, 5, 6 ), true, 7, 8 } );
            } },
          { Queue::rateParamsAttr, // differs in the last field only
            []( Queue & q ) {
                q.rateParamsIs( { ShapeRate( 1, 5, 6 ), true, 7, 9 } );
            } } } );
    using Intf = TmIntfConfig;
    expectNotifications<Intf>(
        *makePtr<Intf>( PortIndex( 4 ) ),
        { { Intf::flowControlTypeAttr,
            []( Intf & i ) { i.flowControlTypeIs( flowControlTypePfc ); } },
          { Intf::shapeRateAttr,
            []( Intf & i ) {
                i.shapeRateIs( { 1, 1000, 64 } );
            } },
          { Intf::tmPpgConfigAttr, []( Intf & i ) { i.tmPpgConfigIs( PpgId( 3 ) ); } },
          { Intf::tmPpgConfigAttr, []( Intf & i ) { i.tmPpgConfigDel( PpgId( 3 ) ); } },
          { Intf::tmTxQueueConfigAttr, []( Intf & i ) { i.tmTxQueueConfigIs( TxQueueId( 3 ) ); } },
          { Intf::tmTxQueueConfigAttr, []( Intf & i ) { i.tmTxQueueConfigDelAll(); } } } );
    expectNotifications<KelSlice::ChipStatus>(
        *makePtr<KelSlice::ChipStatus>(),
        { { KelSlice::ChipStatus::maxPipeIdAttr, []( auto & chip ) { chip.maxPipeIdIs( 1 ); } } } );
    expectNotifications<EthPhyIntfStatus>(
        *makePtr<EthPhyIntfStatus>( IntfId( "Ethernet1/1" ) ),
        { { EthPhyIntfStatus::enabledAttr,
            []( auto & status ) { status.enabledIs( Interface::enabledStateDisabled ); } } } );
    using Pipe = WredBlockPipeConfig;
    expectNotifications<Pipe>(
        *makePtr<Pipe>(),
        { { Pipe::resourceConfigAttr, []( Pipe & p ) { p.resourceConfigIs( 7, {} ); } },
          { Pipe::resourceConfigAttr,
            []( Pipe & p ) {
                p.resourceConfigIs( 7, { 1, 2, 0.5, 0 } );
            } },
          { Pipe::resourceConfigAttr, []( Pipe & p ) { p.resourceConfigDel( 7 ); } } } );
}

TEST( EntitiesTest, PortTableTellsOfTheEntryThatIsGone ) {
    const auto system = makePtr<SystemStatus>();
    const IntfId intfId( "Ethernet5/1" );
    std::vector<IntfId> told;
    const auto listener =
        makePtr<Watcher<SystemStatus>>( system, [&]( AttributeId id, const void * key ) {
            if ( id == SystemStatus::portInfoAttr ) {
                told.push_back( *static_cast<const IntfId *>( key ) );
            }
        } );
    const PortInfo info( 1, PortIndex( 2 * 128 + 20 ) );
    system->portInfoIs( intfId, info );
    EXPECT_EQ( system->portInfo( intfId ), info );
    EXPECT_EQ( info.pipeId(), 2 );
    EXPECT_EQ( info.pipePortIndex(), 20 );
    system->portToIntfIdIs( info.portIndex(), intfId );
    EXPECT_EQ( system->portToIntfId( info.portIndex() ), intfId );

    system->portInfoDel( intfId );
    EXPECT_EQ( told, std::vector( { intfId, intfId } ) );
    EXPECT_FALSE( system->portInfoHas( intfId ) );
    EXPECT_EQ( system->portInfo( intfId ).portIndex(), PortIndex( PortIndex::invalid ) );
    EXPECT_TRUE( system->portToIntfIdHas( info.portIndex() ) ); // a table of its own
    EXPECT_TRUE( system->portToIntfId( PortIndex( 1 ) ).empty() );
}

TEST( EntitiesTest, ClassMapTellsOfTheClassAndRefusesOtherTrafficClasses ) {
    const auto config = makePtr<TmConfig>();
    std::vector<U8> told;
    const auto listener = makePtr<Watcher<TmConfig>>( config, [&]( AttributeId id, auto * key ) {
        EXPECT_EQ( id, TmConfig::cosToTcAttr );
        told.push_back( static_cast<const Cos *>( key )->value() );
    } );
    EXPECT_EQ( config->cosToTc( Cos( 5 ) ), trafficClassUnmapped );
    config->cosToTcIs( Cos( 5 ), 3 );
    config->cosToTcIs( Cos( 5 ), 3 );
    EXPECT_THROW( config->cosToTcIs( Cos( 5 ), 9 ), Kel::RangeException );
    EXPECT_EQ( config->cosToTc( Cos( 5 ) ), 3 );
    EXPECT_EQ( told, std::vector<U8>{ 5 } );
}

TEST( EntitiesTest, ConfigurationIsATreeWhoseRootLearnsOfEveryChange ) {
    class Observer : public Kel::ChangeObserver {
      public:
        void memberChanged( const Kel::Entity & member ) override {
            told.push_back( static_cast<const TmIntfConfig &>( member ).portIndex() );
        }
        std::vector<PortIndex> told;
    };
    const auto config = makePtr<TmConfig>();
    Observer observer;
    observer.rootIs( config );
    const Ptr<TmIntfConfig> intf = config->tmIntfConfigIs( PortIndex( 9 ) );
    EXPECT_EQ( config->tmIntfConfigIs( PortIndex( 9 ) ), intf );
    const Ptr<TmPpgConfig> ppg = intf->tmPpgConfigIs( PpgId( 3 ) );
    ppg->minLimitCellsIs( 7 );
    intf->tmTxQueueConfigIs( TxQueueId( 1 ) )->minLimitCellsIs( 7 );
    intf->tmPpgConfigDel( PpgId( 3 ) );
    ppg->minLimitCellsIs( 8 ); // out of the tree
    config->cosToTcIs( Cos( 0 ), 0 );
    EXPECT_EQ( observer.told, std::vector( 6, PortIndex( 9 ) ) );

    // One that was filled before takes the place of another of its port, by its own key.
    observer.told.clear();
    const auto filled = makePtr<TmIntfConfig>( PortIndex( 9 ) );
    filled->tmPpgConfigIs( makePtr<TmPpgConfig>( PpgId( 4 ) ) );
    config->tmIntfConfigIs( filled );
    EXPECT_EQ( config->tmIntfConfig( PortIndex( 9 ) ), filled );
    EXPECT_TRUE( filled->tmPpgConfigHas( PpgId( 4 ) ) );
    EXPECT_EQ( intf->parent(), nullptr );
    EXPECT_THROW( config->tmIntfConfigIs( nullptr ), Kel::NullArgumentException );
    EXPECT_THROW( makePtr<TmConfig>()->tmIntfConfigIs( filled ), Kel::ParentException );
    config->tmIntfConfigDelAll();
    EXPECT_EQ( config->tmIntfConfig().size(), 0U );
    EXPECT_EQ( observer.told, std::vector( 3, PortIndex( 9 ) ) ); // replaced, came, went
}

TEST( EntitiesTest, StatusIsMadeOnceAndClearedByKey ) {
    const auto status = makePtr<TmStatus>();
    EXPECT_EQ( status->tmIntfStatus( PortIndex( 1 ) ), nullptr );
    const auto intf = status->tmIntfStatusIs( PortIndex( 1 ) );
    EXPECT_EQ( status->tmIntfStatusIs( PortIndex( 1 ) ), intf );
    intf->tmPpgStatusIs( PpgId( 3 ), false );
    EXPECT_TRUE( intf->tmPpgStatusHas( PpgId( 3 ) ) );
    EXPECT_FALSE( intf->tmPpgStatus( PpgId( 3 ) ) );
    intf->tmPpgStatusIs( PpgId( 3 ), true );
    intf->tmPpgStatusIs( PpgId::lossyPpgId(), true );
    EXPECT_TRUE( intf->tmPpgStatus( PpgId( 3 ) ) );
    intf->tmPpgStatusDel( PpgId( 3 ) );
    EXPECT_FALSE( intf->tmPpgStatusHas( PpgId( 3 ) ) );
    intf->tmPpgStatusDelAll();
    EXPECT_FALSE( intf->tmPpgStatusHas( PpgId( 8 ) ) );

    const auto pfc = makePtr<KelPfcSharedState>();
    const IntfId intfId( "Ethernet1/1" );
    pfc->pfcEnabledIs( intfId, flowControlTypePfc );
    EXPECT_EQ( pfc->pfcEnabled( intfId ), flowControlTypePfc );
    pfc->pfcEnabledDel( intfId );
    EXPECT_FALSE( pfc->pfcEnabledHas( intfId ) );

    const auto dir = makePtr<EthPhyIntfStatusDir>();
    const auto replaced = dir->intfStatusIs( intfId );
    dir->intfStatusIs( makePtr<EthPhyIntfStatus>( intfId ) );
    EXPECT_NE( dir->intfStatus( intfId ), replaced );
    EXPECT_THROW( dir->intfStatusIs( Ptr<EthPhyIntfStatus>() ), Kel::NullArgumentException );
    EXPECT_EQ( dir->intfStatus().size(), 1U );
}

TEST( EntitiesTest, EnumerationsPrintAsTheirMembersNames ) {
    EXPECT_EQ( Kel::valueToStrep( flowControlTypePfc ), "flowControlTypePfc" );
    EXPECT_STREQ( stringValue( FlowControlType( 3 ) ), "unknown" );
    EXPECT_STREQ( stringValue( baf9 ), "baf9" );
    EXPECT_STREQ( stringValue( bafInvalid ), "bafInvalid" );
    EXPECT_STREQ( stringValue( BurstAbsorptionCoeff( 11 ) ), "unknown" );
    EXPECT_STREQ( stringValue( Interface::enabledStateDisabled ), "enabledStateDisabled" );
}

} // namespace
