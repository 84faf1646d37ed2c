#include "Model/Faults.h"

#include "Platform/Framework/Exceptions.h"

#include <algorithm>
#include <string>

namespace KelModel {

void Faults::faultIs( const Fault & fault ) {
    if ( !fault.operation.canFailWith( fault.status ) ) {
        throw Kel::RangeException( "a call of " + std::string( fault.operation.name() ) +
                                   " cannot fail with status " + std::to_string( fault.status ) );
    }
    if ( fault.times == 0 ) {
        throw Kel::RangeException( "a fault answers one call at least" );
    }
    faults_.push_back( fault );
}

S32 Faults::plannedAnswer( Operation operation ) {
    const auto oldest = std::ranges::find( faults_, operation, &Fault::operation );
    if ( oldest == faults_.end() ) {
        return 0;
    }
    if ( oldest->skip > 0 ) {
        --oldest->skip;
        return 0;
    }
    const S32 status = oldest->status;
    if ( oldest->times != Fault::always && --oldest->times == 0 ) {
        faults_.erase( oldest );
    }
    return status;
}

} // namespace KelModel
