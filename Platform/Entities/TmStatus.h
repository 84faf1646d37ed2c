#pragma once

#include "Platform/Entities/PortIndex.h"
#include "Platform/Entities/QosIds.h"
#include "Platform/Framework/Collections.h"

namespace KelQos {

// What is programmed for one port, written back by the state machine.
class TmIntfStatus : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId { tmPpgStatusAttr = 1 };
    using TmPpgStatus = Kel::ValueCollection<PpgId, bool>;

    explicit TmIntfStatus( KelPortTypes::PortIndex portIndex ) : portIndex_( portIndex ) {}

    KelPortTypes::PortIndex portIndex() const { return portIndex_; }

    // Priority groups that hold a group of the chip; true once it is programmed.
    const TmPpgStatus & tmPpgStatus() const { return tmPpgStatus_; }
    bool tmPpgStatus( PpgId id ) const;
    bool tmPpgStatusHas( PpgId id ) const { return tmPpgStatus_.has( id ); }
    void tmPpgStatusIs( PpgId id, bool programmed ) { tmPpgStatus_.set( id, programmed ); }
    void tmPpgStatusDel( PpgId id ) { tmPpgStatus_.erase( id ); }
    void tmPpgStatusDelAll() { tmPpgStatus_.eraseAll(); }

  private:
    KelPortTypes::PortIndex portIndex_;
    TmPpgStatus tmPpgStatus_{ *this, tmPpgStatusAttr };
};

// Status of one chip.
class TmStatus : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId { tmIntfStatusAttr = 1 };
    using TmIntfStatuses = Kel::MemberCollection<KelPortTypes::PortIndex, TmIntfStatus>;

    const TmIntfStatuses & tmIntfStatus() const { return tmIntfStatus_; }
    // Null when the port never had one.
    Kel::Ptr<TmIntfStatus> tmIntfStatus( KelPortTypes::PortIndex port ) const {
        return tmIntfStatus_.get( port );
    }
    bool tmIntfStatusHas( KelPortTypes::PortIndex port ) const { return tmIntfStatus_.has( port ); }
    // Makes the port's status unless there is one, and returns it.
    Kel::Ptr<TmIntfStatus> tmIntfStatusIs( KelPortTypes::PortIndex port );
    static Kel::Ptr<TmIntfStatus> newTmIntfStatus( KelPortTypes::PortIndex port ) {
        return Kel::makePtr<TmIntfStatus>( port );
    }
    void tmIntfStatusDel( KelPortTypes::PortIndex port ) { tmIntfStatus_.erase( port ); }
    void tmIntfStatusDelAll() { tmIntfStatus_.eraseAll(); }

  private:
    TmIntfStatuses tmIntfStatus_{ *this, tmIntfStatusAttr };
};

} // namespace KelQos
