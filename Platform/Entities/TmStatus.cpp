#include "Platform/Entities/TmStatus.h"

namespace KelQos {

bool TmIntfStatus::tmPpgStatus( PpgId id ) const {
    const bool * programmed = tmPpgStatus_.find( id );
    return programmed && *programmed;
}

Kel::Ptr<TmIntfStatus> TmStatus::tmIntfStatusIs( KelPortTypes::PortIndex port ) {
    return tmIntfStatus_.getOrInsert( port, [&] { return newTmIntfStatus( port ); } );
}

} // namespace KelQos
