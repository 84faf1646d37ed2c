#include "Platform/Entities/SystemStatus.h"

namespace KelSystem {

PortInfo SystemStatus::portInfo( Kel::IntfId intfId ) const {
    const PortInfo * info = portInfo_.find( intfId );
    return info ? *info : PortInfo();
}

Kel::IntfId SystemStatus::portToIntfId( KelPortTypes::PortIndex port ) const {
    const Kel::IntfId * intfId = portToIntfId_.find( port );
    return intfId ? *intfId : Kel::IntfId();
}

} // namespace KelSystem
