#include "KelQos/KelSliceQosSmReactors.h"

#include "KelQos/KelSliceQosSmIntf.h"

namespace KelQos {

using Interface::EthPhyIntfStatus;
using Interface::EthPhyIntfStatusDir;
using Kel::AttributeId;
using Kel::IntfId;
using Kel::Ptr;
using KelPortTypes::PortIndex;
using KelSystem::SystemStatus;

void KelSliceQosSm::VelClock::onAttribute( AttributeId id, const void * ) {
    if ( sm_ && id == Kel::Clock::timeMinAttr ) {
        sm_->handleSyslogClock();
    }
}

void KelSliceQosSm::VelClock::notifierIs( Ptr<const Kel::Clock> clock ) {
    if ( clock.get() == notifier() ) {
        return;
    }
    TimedNotifiee::notifierIs( clock );
    if ( clock && sm_ && !isMarkedForDeletion() ) {
        sm_->handleSyslogClock();
    }
}

void KelSliceQosSm::VelTmConfig::onAttribute( AttributeId id, const void * key ) {
    if ( !sm_ || !notifier() ) {
        return;
    }
    if ( id == TmConfig::cosToTcAttr && key ) {
        sm_->handleCosToTcMap( *static_cast<const Cos *>( key ) );
    } else if ( id == TmConfig::tmIntfConfigAttr && key ) {
        handleTmIntfConfig( *static_cast<const PortIndex *>( key ) );
    }
}

void KelSliceQosSm::VelTmConfig::handleTmIntfConfig( PortIndex port ) {
    if ( auto config = notifier()->tmIntfConfig( port ) ) {
        sm_->tmIntfConfigIs( port, std::move( config ) );
    } else {
        sm_->tmIntfConfigDel( port );
    }
}

void KelSliceQosSm::VelTmConfig::notifierIs( Ptr<const TmConfig> config ) {
    if ( config.get() == notifier() ) {
        return;
    }
    NotifieeOf::notifierIs( config );
    if ( sm_ && !isMarkedForDeletion() ) {
        sm_->account_.configIs( config );
        if ( config ) {
            sm_->syncTmIntfConfig();
        }
    }
}

void KelSliceQosSm::VelTmBufferParams::onAttribute( AttributeId id, const void * ) {
    if ( sm_ && id == TmBufferParamsConfig::totalCellsAvailableForIngressAttr ) {
        sm_->handleTotalCellsAvailableForIngress();
    }
}

void KelSliceQosSm::VelTmBufferParams::notifierIs( Ptr<const TmBufferParamsConfig> params ) {
    if ( params.get() == notifier() ) {
        return;
    }
    NotifieeOf::notifierIs( params );
    if ( params && sm_ && !isMarkedForDeletion() ) {
        sm_->handleTotalCellsAvailableForIngress();
    }
}

void KelSliceQosSm::VelSystemStatus::onAttribute( AttributeId id, const void * key ) {
    if ( sm_ && id == SystemStatus::portInfoAttr && key ) {
        sm_->handlePortInfo( *static_cast<const IntfId *>( key ) );
    }
}

void KelSliceQosSm::VelEthPhyIntfStatusDir::onAttribute( AttributeId id, const void * key ) {
    if ( !sm_ || !notifier() || id != EthPhyIntfStatusDir::intfStatusAttr || !key ) {
        return;
    }
    const IntfId intfId = *static_cast<const IntfId *>( key );
    if ( auto status = notifier()->intfStatus( intfId ) ) {
        sm_->intfStatusIs( std::move( status ) );
    } else {
        sm_->intfStatusDel( intfId );
    }
}

void KelSliceQosSm::VelEthPhyIntfStatusDir::notifierIs( Ptr<const EthPhyIntfStatusDir> dir ) {
    if ( dir.get() == notifier() ) {
        return;
    }
    NotifieeOf::notifierIs( dir );
    if ( dir && sm_ && !isMarkedForDeletion() ) {
        sm_->syncIntfStatus();
    }
}

KelSliceQosSm::VelIntfStatus::VelIntfStatus( Ptr<const EthPhyIntfStatus> status,
                                             KelSliceQosSm * sm )
    : NotifieeOf( std::move( status ) ), sm_( sm ) {
    handleEnabled();
}

void KelSliceQosSm::VelIntfStatus::onAttribute( AttributeId id, const void * ) {
    if ( sm_ && id == EthPhyIntfStatus::enabledAttr ) {
        handleEnabled();
    }
}

void KelSliceQosSm::VelIntfStatus::notifierIs( Ptr<const EthPhyIntfStatus> status ) {
    if ( status.get() == notifier() ) {
        return;
    }
    NotifieeOf::notifierIs( status );
    if ( status && sm_ && !isMarkedForDeletion() ) {
        handleEnabled();
    }
}

void KelSliceQosSm::VelIntfStatus::handleEnabled() {
    const IntfId intfId = notifier() ? notifier()->intfId() : IntfId();
    const PortIndex port = sm_->portIndexOf( intfId );
    const auto intf = sm_->velTmIntfConfig( port );
    if ( intf && intf->notifier() ) {
        intf->handleIntfShapeRate();
    }
}

} // namespace KelQos
