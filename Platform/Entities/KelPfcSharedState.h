#pragma once

#include "Platform/Entities/IntfId.h"
#include "Platform/Entities/QosTypes.h"
#include "Platform/Framework/Collections.h"

namespace KelQos {

// Flow control of every interface, published for the sibling component that watches for PFC storms.
class KelPfcSharedState : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId { pfcEnabledAttr = 1 };
    using PfcEnabled = Kel::ValueCollection<Kel::IntfId, FlowControlType>;

    const PfcEnabled & pfcEnabled() const { return pfcEnabled_; }
    bool pfcEnabledHas( Kel::IntfId intfId ) const { return pfcEnabled_.has( intfId ); }
    // flowControlTypeNone when nothing is published for the interface.
    FlowControlType pfcEnabled( Kel::IntfId intfId ) const {
        const FlowControlType * type = pfcEnabled_.find( intfId );
        return type ? *type : flowControlTypeNone;
    }
    void pfcEnabledIs( Kel::IntfId intfId, FlowControlType type ) {
        pfcEnabled_.set( intfId, type );
    }
    void pfcEnabledDel( Kel::IntfId intfId ) { pfcEnabled_.erase( intfId ); }
    void pfcEnabledDelAll() { pfcEnabled_.eraseAll(); }

  private:
    PfcEnabled pfcEnabled_{ *this, pfcEnabledAttr };
};

} // namespace KelQos
