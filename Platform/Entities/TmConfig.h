#pragma once

#include "Platform/Entities/TmIntfConfig.h"

#include <array>

namespace KelQos {

// QoS configuration of one chip.
class TmConfig : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId { cosToTcAttr = 1, tmIntfConfigAttr };
    using TmIntfConfigs = Kel::MemberCollection<KelPortTypes::PortIndex, TmIntfConfig>;

    // The traffic class of a class of service: 0 to 7, or trafficClassUnmapped.
    U8 cosToTc( Cos cos ) const { return cosToTc_[cos.value()]; }
    const std::array<U8, Cos::count> & cosToTc() const { return cosToTc_; } // by class
    void cosToTcIs( Cos cos, U8 trafficClass );

    // One per configured port. newTmIntfConfig makes one with default values, which belongs to no
    // configuration yet; tmIntfConfigIs( port ) returns the port's, or inserts a new one;
    // tmIntfConfigIs( config ) inserts one that was filled before, replacing that of the same port.
    const TmIntfConfigs & tmIntfConfig() const { return tmIntfConfig_; }
    Kel::Ptr<TmIntfConfig> tmIntfConfig( KelPortTypes::PortIndex port ) const {
        return tmIntfConfig_.get( port );
    }
    bool tmIntfConfigHas( KelPortTypes::PortIndex port ) const { return tmIntfConfig_.has( port ); }
    static Kel::Ptr<TmIntfConfig> newTmIntfConfig( KelPortTypes::PortIndex port ) {
        return Kel::makePtr<TmIntfConfig>( port );
    }
    Kel::Ptr<TmIntfConfig> tmIntfConfigIs( KelPortTypes::PortIndex port );
    void tmIntfConfigIs( const Kel::Ptr<TmIntfConfig> & config );
    void tmIntfConfigDel( KelPortTypes::PortIndex port ) { tmIntfConfig_.erase( port ); }
    void tmIntfConfigDelAll() { tmIntfConfig_.eraseAll(); }

  private:
    std::array<U8, Cos::count> cosToTc_{
        trafficClassUnmapped, trafficClassUnmapped, trafficClassUnmapped, trafficClassUnmapped,
        trafficClassUnmapped, trafficClassUnmapped, trafficClassUnmapped, trafficClassUnmapped };
    TmIntfConfigs tmIntfConfig_{ *this, tmIntfConfigAttr };
};

} // namespace KelQos
