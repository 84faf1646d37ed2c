#include "KelQos/Slice/KelSliceQosSmIntf.h"

#include "KelQos/Slice/KelSliceQosSmLog.h"
#include "KelQos/Slice/KelSliceQosSmPpg.h"
#include "KelQos/Slice/KelSliceQosSmReactors.h"
#include "KelQos/Slice/KelSliceQosSmTxQueue.h"
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

// The driver numbers the flow control modes differently from the configuration.
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
    : Reactor( std::move( config ), sm ), portIndex_( portIndex ) {}

VelTmIntfConfig::~VelTmIntfConfig() = default;

void VelTmIntfConfig::hasNotificationActiveIs( bool on ) {
    Reactor::hasNotificationActiveIs( on );
    velTmPpgConfig_.hasNotificationActiveIs( on );
    velTmTxQueueConfig_.hasNotificationActiveIs( on );
}

void VelTmIntfConfig::zombieIs( bool zombie ) {
    Reactor::zombieIs( zombie );
    velTmPpgConfig_.zombieIs( zombie );
    velTmTxQueueConfig_.zombieIs( zombie );
}

void VelTmIntfConfig::dismiss() {
    Reactor::dismiss();
    velTmPpgConfig_.dismiss();
    velTmTxQueueConfig_.dismiss();
}

void VelTmIntfConfig::handleInitialized() {
    if ( !isAtWork() ) {
        return;
    }
    KEL_TRACE( sliceTrace, 5 ) << "handleInitialized: portIndex:" << portIndex().value();
    const TmIntfConfig * const config = notifier();
    // Status left from an earlier configuration of the interface says nothing about the groups of
    // this one.
    if ( sm()->tmStatus() ) {
        sm()->tmStatus()->tmIntfStatusIs( portIndex() )->tmPpgStatusDelAll();
    }
    if ( isAtWorkOn( config ) ) {
        handleIntfShapeRate();
        handleIntfFlowControlType();
    }
    if ( isAtWorkOn( config ) && config->flowControlType() == flowControlTypePfc ) {
        sm()->doProgramIntfPfcCosToTcMap( portIndex() );
    }
    initializedIs( true );
    // A reactor that was pointed to another entity meanwhile has done this for that one.
    if ( isAtWorkOn( config ) ) {
        syncPpgsAndQueues();
    }
}

void VelTmIntfConfig::handleNotifier() {
    const TmIntfConfig * const config = notifier();
    handleIntfShapeRate();
    handleIntfFlowControlType();
    if ( isAtWorkOn( config ) ) {
        syncPpgsAndQueues();
    }
}

void VelTmIntfConfig::handleIntfFlowControlType() {
    if ( !isAtWork() ) {
        return;
    }
    const U32 devId = sm()->deviceId();
    const U32 portId = portIndex().value();
    const TmIntfConfig * const config = notifier();
    const FlowControlType configured = config->flowControlType();
    KEL_TRACE( sliceTrace, 5 ) << "handleIntfFlowControlType: portId:" << portId << " flowControl "
                               << configured;
    const U32 flowControlType = driverFlowControl( configured );
    // Whoever is told of what the next two steps publish may change the mode again, or take the
    // configuration away; the chip has then been told of that.
    const auto isOvertaken = [&] {
        return !isAtWorkOn( config ) ||
               ( hasNotificationActive() && config->flowControlType() != configured );
    };
    sm()->reconfigureSharedPools();
    if ( isOvertaken() ) {
        return;
    }
    const auto * systemStatus = sm()->systemStatus();
    if ( systemStatus && systemStatus->portToIntfIdHas( portIndex() ) && sm()->pfcSharedState() ) {
        sm()->pfcSharedState()->pfcEnabledIs( systemStatus->portToIntfId( portIndex() ),
                                              configured );
    }
    if ( isOvertaken() ) {
        return;
    }
    KEL_TM_CHECKED( bf_tm_port_flowcontrol_mode_set( devId, portId, flowControlType ) );
    KEL_TM_CHECKED( bf_tm_port_flowcontrol_rx_set( devId, portId, flowControlType ) );
    if ( flowControlType == driverFlowControlPfc ) {
        sm()->doProgramIntfPfcCosToTcMap( portIndex() );
    }
}

// Off when no rate is configured, and on a disabled interface, so that it drains at once.
bool VelTmIntfConfig::shapingIsOff() const {
    if ( notifier()->shapeRate().shapeRateVal() == shapeRateUnlimited ) {
        return true;
    }
    const auto * systemStatus = sm()->systemStatus();
    if ( !systemStatus || !systemStatus->portToIntfIdHas( portIndex() ) ) {
        return false;
    }
    const auto status = sm()->intfStatus( systemStatus->portToIntfId( portIndex() ) );
    return status && status->notifier() &&
           status->notifier()->enabled() == Interface::enabledStateDisabled;
}

void VelTmIntfConfig::handleIntfShapeRate() {
    if ( !isAtWork() ) {
        return;
    }
    const U32 devId = sm()->deviceId();
    const U32 portId = portIndex().value();
    const ShapeRate & shapeRate = notifier()->shapeRate();
    KEL_TRACE( sliceTrace, 7 ) << "handleIntfShapeRate:  portId: " << portId
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
    const Ptr<const TmIntfConfig> config( notifier() );
    const auto stillOf = [&] { return isAtWorkOn( config.get() ); };
    VelTmPpgConfigs::follow( config->tmPpgConfig(), stillOf, [this]( PpgId id, auto ppg ) {
        tmPpgConfigIs( id, std::move( ppg ) );
    } );
    VelTmTxQueueConfigs::follow(
        config->tmTxQueueConfig(), stillOf,
        [this]( TxQueueId id, auto queue ) { tmTxQueueConfigIs( id, std::move( queue ) ); } );
    velTmPpgConfig_.delOthers( config->tmPpgConfig(), stillOf,
                               [this]( PpgId id ) { tmPpgConfigDel( id ); } );
    velTmTxQueueConfig_.delOthers( config->tmTxQueueConfig(), stillOf,
                                   [this]( TxQueueId id ) { tmTxQueueConfigDel( id ); } );
}

void VelTmIntfConfig::handleTmPpgConfig( PpgId id ) {
    if ( !isAtWork() ) {
        return;
    }
    if ( auto config = notifier()->tmPpgConfig( id ) ) {
        tmPpgConfigIs( id, std::move( config ) );
    } else {
        tmPpgConfigDel( id );
    }
}

Ptr<VelTmIntfConfig::VelTmPpgConfig> VelTmIntfConfig::velTmPpgConfig( PpgId id ) const {
    return velTmPpgConfig_.get( id );
}
bool VelTmIntfConfig::velTmPpgConfigHas( PpgId id ) const { return velTmPpgConfig_.contains( id ); }

Ptr<VelTmIntfConfig::VelTmPpgConfig>
VelTmIntfConfig::tmPpgConfigIs( PpgId id, Ptr<const TmPpgConfig> config ) {
    if ( !config ) {
        throw Kel::NullArgumentException( "tmPpgConfigIs: null TmPpgConfig" );
    }
    if ( !owner() ) {
        return nullptr;
    }
    return velTmPpgConfig_.is( id, std::move( config ), [&]( Ptr<const TmPpgConfig> watched ) {
        return newTmPpgConfig( id, std::move( watched ) );
    } );
}

Ptr<VelTmIntfConfig::VelTmPpgConfig>
VelTmIntfConfig::newTmPpgConfig( PpgId id, Ptr<const TmPpgConfig> config ) {
    return Kel::makePtr<VelTmPpgConfig>( std::move( config ), id, this );
}

void VelTmIntfConfig::tmPpgConfigDel( PpgId id ) { velTmPpgConfig_.del( id ); }

void VelTmIntfConfig::tmPpgConfigDelAll() {
    const Ptr<VelTmIntfConfig> alive( this );
    for ( auto entry : velTmPpgConfig_ ) {
        tmPpgConfigDel( entry.key );
    }
}

void VelTmIntfConfig::handleTmTxQueueConfig( TxQueueId id ) {
    if ( isAtWork() ) {
        tmTxQueueConfigIs( id, notifier()->tmTxQueueConfig( id ) );
    }
}

Ptr<VelTmIntfConfig::VelTmTxQueueConfig> VelTmIntfConfig::velTmTxQueueConfig( TxQueueId id ) const {
    return velTmTxQueueConfig_.get( id );
}
bool VelTmIntfConfig::velTmTxQueueConfigHas( TxQueueId id ) const {
    return velTmTxQueueConfig_.contains( id );
}

Ptr<VelTmIntfConfig::VelTmTxQueueConfig>
VelTmIntfConfig::tmTxQueueConfigIs( TxQueueId id, Ptr<const TmTxQueueConfig> config ) {
    if ( !config ) {
        tmTxQueueConfigDel( id );
        return nullptr;
    }
    if ( !owner() ) {
        return nullptr;
    }
    return velTmTxQueueConfig_.is( id, std::move( config ),
                                   [&]( Ptr<const TmTxQueueConfig> watched ) {
                                       return newTmTxQueueConfig( id, std::move( watched ) );
                                   } );
}

Ptr<VelTmIntfConfig::VelTmTxQueueConfig>
VelTmIntfConfig::newTmTxQueueConfig( TxQueueId id, Ptr<const TmTxQueueConfig> config ) {
    return Kel::makePtr<VelTmTxQueueConfig>( std::move( config ), id, this );
}

void VelTmIntfConfig::tmTxQueueConfigDel( TxQueueId id ) { velTmTxQueueConfig_.del( id ); }

void VelTmIntfConfig::tmTxQueueConfigDelAll() {
    for ( auto entry : velTmTxQueueConfig_ ) {
        tmTxQueueConfigDel( entry.key );
    }
}

} // namespace KelQos
