#include "KelQos/KelSliceQosSmIntf.h"

#include "KelQos/KelSliceQosSmLog.h"
#include "KelQos/KelSliceQosSmPpg.h"
#include "KelQos/KelSliceQosSmReactors.h"
#include "KelQos/KelSliceQosSmTxQueue.h"
#include "Platform/Driver/CheckedCall.h"
#include "Platform/Driver/TmDriver.h"
#include "Platform/Framework/Assert.h"
#include "Platform/Framework/Exceptions.h"

#include <utility>

namespace KelQos {

using Kel::Ptr;
using KelPortTypes::PortIndex;

using VelTmIntfConfig = KelSliceQosSm::VelTmIntfConfig;

namespace {

constexpr U32 driverFlowControlPfc = 1;

// The driver counts the modes of flow control in another order than the configuration.
U32 driverFlowControl( FlowControlType type ) {
    switch ( type ) {
    case flowControlTypeNone:
        return 0;
    case flowControlTypeLinkPause:
        return 2;
    case flowControlTypePfc:
        return driverFlowControlPfc;
    }
    KEL_ASSERT( 0 );
    return 0;
}

} // namespace

VelTmIntfConfig::VelTmIntfConfig( Ptr<const TmIntfConfig> config, PortIndex portIndex,
                                  KelSliceQosSm * sm )
    : NotifieeOf( std::move( config ) ), sm_( sm ), portIndex_( portIndex ) {
    handleInitialized();
    syncPpgsAndQueues();
}

VelTmIntfConfig::~VelTmIntfConfig() {
    velDoZombieReactors( true );
    velTmPpgConfig_.visit( []( PpgId, const auto & ppg ) { ppg->ownerIs( nullptr ); } );
    velTmTxQueueConfig_.visit( []( TxQueueId, const auto & queue ) { queue->ownerIs( nullptr ); } );
}

void VelTmIntfConfig::onAttribute( Kel::AttributeId id, const void * key ) {
    if ( !sm_ || !notifier() ) {
        return;
    }
    switch ( id ) {
    case TmIntfConfig::tmPpgConfigAttr: {
        const PpgId ppgId = *static_cast<const PpgId *>( key );
        if ( auto config = notifier()->tmPpgConfig( ppgId ) ) {
            tmPpgConfigIs( ppgId, std::move( config ) );
        } else {
            tmPpgConfigDel( ppgId );
        }
        break;
    }
    case TmIntfConfig::flowControlTypeAttr:
        handleIntfFlowControlType();
        break;
    case TmIntfConfig::tmTxQueueConfigAttr: {
        const TxQueueId txQueueId = *static_cast<const TxQueueId *>( key );
        if ( auto config = notifier()->tmTxQueueConfig( txQueueId ) ) {
            tmTxQueueConfigIs( txQueueId, std::move( config ) );
        } else {
            tmTxQueueConfigDel( txQueueId );
        }
        break;
    }
    case TmIntfConfig::shapeRateAttr:
        handleIntfShapeRate();
        break;
    default:
        break;
    }
}

void VelTmIntfConfig::notifierIs( Ptr<const TmIntfConfig> config ) {
    if ( config.get() == notifier() ) {
        return;
    }
    NotifieeOf::notifierIs( config );
    if ( config && sm_ && !isMarkedForDeletion() ) {
        handleIntfShapeRate();
        handleIntfFlowControlType();
        syncPpgsAndQueues();
    }
}

void VelTmIntfConfig::hasNotificationActiveIs( bool on ) {
    NotifieeOf::hasNotificationActiveIs( on );
    velTmPpgConfig_.visit(
        [on]( PpgId, const auto & ppg ) { ppg->hasNotificationActiveIs( on ); } );
    velTmTxQueueConfig_.visit(
        [on]( TxQueueId, const auto & queue ) { queue->hasNotificationActiveIs( on ); } );
}

void VelTmIntfConfig::velDoZombieReactors( bool zombie ) {
    zombieIs( zombie );
    velTmPpgConfig_.visit(
        [zombie]( PpgId, const auto & ppg ) { ppg->velDoZombieReactors( zombie ); } );
    velTmTxQueueConfig_.visit(
        [zombie]( TxQueueId, const auto & queue ) { queue->zombieIs( zombie ); } );
}

void VelTmIntfConfig::handleInitialized() {
    KEL_TRACE( sliceTrace, 5 ) << "handleInitialized"
                               << ": "
                               << "portIndex:" << portIndex().value();
    // What an earlier life of the interface left behind says nothing about this one's groups.
    if ( sm_->tmStatus() ) {
        sm_->tmStatus()->tmIntfStatusIs( portIndex() )->tmPpgStatusDelAll();
    }
    handleIntfShapeRate();
    handleIntfFlowControlType();
    if ( notifier()->flowControlType() == flowControlTypePfc ) {
        sm_->doProgramIntfPfcCosToTcMap( portIndex() );
    }
    initializedIs( true );
}

void VelTmIntfConfig::handleIntfFlowControlType() {
    const U32 devId = sm_->deviceId();
    const U32 portId = portIndex().value();
    const FlowControlType configured = notifier()->flowControlType();
    KEL_TRACE( sliceTrace, 5 ) << "handleIntfFlowControlType"
                               << ": "
                               << "portId:" << portId << " flowControl "
                               << stringValue( configured );
    const U32 flowControlType = driverFlowControl( configured );
    sm_->reconfigureSharedPools();
    const auto * systemStatus = sm_->systemStatus();
    if ( systemStatus && systemStatus->portToIntfIdHas( portIndex() ) && sm_->pfcSharedState() ) {
        sm_->pfcSharedState()->pfcEnabledIs( systemStatus->portToIntfId( portIndex() ),
                                             configured );
    }
    KEL_TM_CHECKED( bf_tm_port_flowcontrol_mode_set( devId, portId, flowControlType ) );
    KEL_TM_CHECKED( bf_tm_port_flowcontrol_rx_set( devId, portId, flowControlType ) );
    if ( flowControlType == driverFlowControlPfc ) {
        sm_->doProgramIntfPfcCosToTcMap( portIndex() );
    }
}

// Off when no rate is configured, and on an interface that is disabled: that one drains at once.
bool VelTmIntfConfig::shapingIsOff() const {
    if ( notifier()->shapeRate().shapeRateVal() == shapeRateUnlimited ) {
        return true;
    }
    const auto * systemStatus = sm_->systemStatus();
    if ( !systemStatus || !systemStatus->portToIntfIdHas( portIndex() ) ) {
        return false;
    }
    const auto * reactor = sm_->intfStatus().find( systemStatus->portToIntfId( portIndex() ) );
    return reactor && ( *reactor )->notifier() &&
           ( *reactor )->notifier()->enabled() == Interface::enabledStateDisabled;
}

void VelTmIntfConfig::handleIntfShapeRate() {
    const U32 devId = sm_->deviceId();
    const U32 portId = portIndex().value();
    const ShapeRate & shapeRate = notifier()->shapeRate();
    KEL_TRACE( sliceTrace, 7 ) << "handleIntfShapeRate"
                               << ": "
                               << " portId: " << portId
                               << " shapeRate:" << shapeRate.shapeRateVal();
    if ( shapingIsOff() ) {
        KEL_TM_CHECKED( bf_tm_sched_port_shaping_disable( devId, portId ) );
        KEL_TM_CHECKED( bf_tm_sched_port_shaping_rate_set( devId, portId, 0, 0, 0 ) );
        return;
    }
    const bool pps = shapeRate.accountingMode() == 0;
    KEL_TM_CHECKED( bf_tm_sched_port_shaping_enable( devId, portId ) );
    KEL_TM_CHECKED( bf_tm_sched_port_shaping_rate_set(
        devId, portId, pps, shapeRate.shapeRateBurst(), shapeRate.shapeRateVal() ) );
}

void VelTmIntfConfig::cleanup() {
    for ( auto entry : velTmPpgConfig_ ) {
        entry.value->cleanup();
    }
}

void VelTmIntfConfig::syncPpgsAndQueues() {
    for ( auto entry : notifier()->tmPpgConfig() ) {
        tmPpgConfigIs( entry.key, std::move( entry.value ) );
    }
    for ( auto entry : notifier()->tmTxQueueConfig() ) {
        tmTxQueueConfigIs( entry.key, std::move( entry.value ) );
    }
    // There is a reactor for everything that is configured; are there more?
    if ( velTmPpgConfig_.size() != notifier()->tmPpgConfig().size() ) {
        for ( auto entry : velTmPpgConfig_ ) {
            if ( !notifier()->tmPpgConfigHas( entry.key ) ) {
                tmPpgConfigDel( entry.key );
            }
        }
    }
    if ( velTmTxQueueConfig_.size() != notifier()->tmTxQueueConfig().size() ) {
        for ( auto entry : velTmTxQueueConfig_ ) {
            if ( !notifier()->tmTxQueueConfigHas( entry.key ) ) {
                tmTxQueueConfigDel( entry.key );
            }
        }
    }
}

Ptr<VelTmIntfConfig::VelTmPpgConfig> VelTmIntfConfig::velTmPpgConfig( PpgId id ) const {
    const auto * reactor = velTmPpgConfig_.find( id );
    return reactor ? *reactor : nullptr;
}

Ptr<VelTmIntfConfig::VelTmPpgConfig>
VelTmIntfConfig::tmPpgConfigIs( PpgId id, Ptr<const TmPpgConfig> config ) {
    if ( !config ) {
        throw Kel::NullArgumentException( "tmPpgConfigIs: null TmPpgConfig" );
    }
    auto reactor = velTmPpgConfig( id );
    if ( reactor ) {
        reactor->notifierIs( std::move( config ) );
        return reactor;
    }
    reactor = newTmPpgConfig( id, std::move( config ) );
    reactor->hasNotificationActiveIs( true );
    velTmPpgConfig_.insertNew( id, reactor );
    return reactor;
}

Ptr<VelTmIntfConfig::VelTmPpgConfig>
VelTmIntfConfig::newTmPpgConfig( PpgId id, Ptr<const TmPpgConfig> config ) {
    return Kel::makePtr<VelTmPpgConfig>( std::move( config ), id, this );
}

void VelTmIntfConfig::tmPpgConfigDel( PpgId id ) {
    if ( const auto reactor = velTmPpgConfig( id ) ) {
        reactor->cleanup();
        velTmPpgConfig_.erase( id );
        reactor->velDoZombieReactors( true );
    }
}

void VelTmIntfConfig::tmPpgConfigDelAll() {
    for ( auto entry : velTmPpgConfig_ ) {
        tmPpgConfigDel( entry.key );
    }
}

Ptr<VelTmIntfConfig::VelTmTxQueueConfig> VelTmIntfConfig::velTmTxQueueConfig( TxQueueId id ) const {
    const auto * reactor = velTmTxQueueConfig_.find( id );
    return reactor ? *reactor : nullptr;
}

Ptr<VelTmIntfConfig::VelTmTxQueueConfig>
VelTmIntfConfig::tmTxQueueConfigIs( TxQueueId id, Ptr<const TmTxQueueConfig> config ) {
    if ( !config ) {
        tmTxQueueConfigDel( id );
        return nullptr;
    }
    auto reactor = velTmTxQueueConfig( id );
    if ( reactor ) {
        reactor->tmTxQueueConfigIs( std::move( config ) );
        return reactor;
    }
    reactor = newTmTxQueueConfig( id, std::move( config ) );
    reactor->hasNotificationActiveIs( true );
    velTmTxQueueConfig_.insertNew( id, reactor );
    reactor->handleInitialized();
    return reactor;
}

Ptr<VelTmIntfConfig::VelTmTxQueueConfig>
VelTmIntfConfig::newTmTxQueueConfig( TxQueueId id, Ptr<const TmTxQueueConfig> config ) {
    return Kel::makePtr<VelTmTxQueueConfig>( std::move( config ), id, this );
}

void VelTmIntfConfig::tmTxQueueConfigDel( TxQueueId id ) {
    if ( const auto reactor = velTmTxQueueConfig_.take( id ) ) {
        ( *reactor )->zombieIs( true );
    }
}

void VelTmIntfConfig::tmTxQueueConfigDelAll() {
    for ( auto entry : velTmTxQueueConfig_ ) {
        tmTxQueueConfigDel( entry.key );
    }
}

} // namespace KelQos
