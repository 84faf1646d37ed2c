#include "Platform/Entities/EthPhyIntfStatus.h"

namespace Interface {

const char * stringValue( EnabledState state ) {
    switch ( state ) {
    case enabledStateUnknown:
        return "enabledStateUnknown";
    case enabledStateEnabled:
        return "enabledStateEnabled";
    case enabledStateDisabled:
        return "enabledStateDisabled";
    }
    return "unknown";
}

Kel::Ptr<EthPhyIntfStatus> EthPhyIntfStatusDir::intfStatusIs( Kel::IntfId intfId ) {
    return intfStatus_.getOrInsert( intfId, [&] { return newIntfStatus( intfId ); } );
}

void EthPhyIntfStatusDir::intfStatusIs( const Kel::Ptr<EthPhyIntfStatus> & status ) {
    intfStatus_.insert( status ? status->intfId() : Kel::IntfId(), status );
}

} // namespace Interface
