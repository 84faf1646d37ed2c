#include "Platform/Entities/TmConfig.h"

#include "Platform/Framework/Exceptions.h"

namespace KelQos {

void TmConfig::cosToTcIs( Cos cos, U8 trafficClass ) {
    if ( trafficClass > trafficClassUnmapped ) {
        throw Kel::RangeException( "a traffic class is 0 to 7, or 8 for unmapped" );
    }
    U8 & stored = cosToTc_[cos.value()];
    if ( stored != trafficClass ) {
        stored = trafficClass;
        attributeChanged( cosToTcAttr, &cos );
    }
}

Kel::Ptr<TmIntfConfig> TmConfig::tmIntfConfigIs( KelPortTypes::PortIndex port ) {
    return tmIntfConfig_.getOrInsert( port, [&] { return newTmIntfConfig( port ); } );
}

void TmConfig::tmIntfConfigIs( const Kel::Ptr<TmIntfConfig> & config ) {
    tmIntfConfig_.insert( config ? config->portIndex() : KelPortTypes::PortIndex(), config );
}

} // namespace KelQos
