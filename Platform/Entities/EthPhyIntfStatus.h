#pragma once

#include "Platform/Entities/IntfId.h"
#include "Platform/Framework/Collections.h"

namespace Interface {

// Whether an interface is meant to carry traffic.
enum EnabledState : U32 {
    enabledStateUnknown = 0,
    enabledStateEnabled = 1,
    enabledStateDisabled = 2,
};
// The member's name; "unknown" for a number without one.
const char * stringValue( EnabledState state );

// Status of one Ethernet interface.
class EthPhyIntfStatus : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId { enabledAttr = 1 };

    explicit EthPhyIntfStatus( Kel::IntfId intfId ) : intfId_( intfId ) {}

    Kel::IntfId intfId() const { return intfId_; }
    EnabledState enabled() const { return enabled_; }
    void enabledIs( EnabledState state ) { attributeIs( enabled_, state, enabledAttr ); }

  private:
    Kel::IntfId intfId_;
    EnabledState enabled_ = enabledStateUnknown;
};

// The Ethernet interfaces of the switch.
class EthPhyIntfStatusDir : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId { intfStatusAttr = 1 };
    using IntfStatuses = Kel::MemberCollection<Kel::IntfId, EthPhyIntfStatus>;

    const IntfStatuses & intfStatus() const { return intfStatus_; }
    Kel::Ptr<EthPhyIntfStatus> intfStatus( Kel::IntfId intfId ) const {
        return intfStatus_.get( intfId );
    }
    bool intfStatusHas( Kel::IntfId intfId ) const { return intfStatus_.has( intfId ); }
    // Makes the status unless there is one, and returns it.
    Kel::Ptr<EthPhyIntfStatus> intfStatusIs( Kel::IntfId intfId );
    static Kel::Ptr<EthPhyIntfStatus> newIntfStatus( Kel::IntfId intfId ) {
        return Kel::makePtr<EthPhyIntfStatus>( intfId );
    }
    // Inserts one that was filled before, replacing that of the same interface. Throws
    // Kel::NullArgumentException for null.
    void intfStatusIs( const Kel::Ptr<EthPhyIntfStatus> & status );
    void intfStatusDel( Kel::IntfId intfId ) { intfStatus_.erase( intfId ); }
    void intfStatusDelAll() { intfStatus_.eraseAll(); }

  private:
    IntfStatuses intfStatus_{ *this, intfStatusAttr };
};

} // namespace Interface
