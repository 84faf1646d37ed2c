#include "KelQos/Slice/KelSliceQosSmReactors.h"

#include "KelQos/Slice/KelSliceQosSmIntf.h"

namespace KelQos {

using Kel::IntfId;
using Kel::Ptr;
using KelPortTypes::PortIndex;

void KelSliceQosSm::VelTmConfig::handleTmIntfConfig( PortIndex port ) {
    if ( !isAtWork() ) {
        return;
    }
    if ( auto config = notifier()->tmIntfConfig( port ) ) {
        owner()->tmIntfConfigIs( port, std::move( config ) );
    } else {
        owner()->tmIntfConfigDel( port );
    }
}

void KelSliceQosSm::VelEthPhyIntfStatusDir::handleIntfStatus( IntfId intfId ) {
    if ( !isAtWork() ) {
        return;
    }
    if ( auto status = notifier()->intfStatus( intfId ) ) {
        owner()->intfStatusIs( std::move( status ) );
    } else {
        owner()->intfStatusDel( intfId );
    }
}

KelSliceQosSm::VelIntfStatus::VelIntfStatus( Ptr<const Interface::EthPhyIntfStatus> status,
                                             KelSliceQosSm * sm )
    : Reactor( std::move( status ), sm ) {
    handleEnabled();
}

void KelSliceQosSm::VelIntfStatus::handleEnabled() {
    if ( !isAtWork() ) {
        return;
    }
    const PortIndex port = owner()->portIndexOf( notifier()->intfId() );
    if ( const auto intf = owner()->velTmIntfConfig( port ) ) {
        intf->handleIntfShapeRate();
    }
}

} // namespace KelQos
