#pragma once

#include "Platform/Entities/PortIndex.h"
#include "Platform/Entities/TmPpgConfig.h"
#include "Platform/Entities/TmTxQueueConfig.h"
#include "Platform/Framework/Collections.h"

namespace KelQos {

// Traffic-manager configuration of one port.
class TmIntfConfig : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId {
        tmPpgConfigAttr = 1,
        flowControlTypeAttr,
        tmTxQueueConfigAttr,
        shapeRateAttr,
    };
    using TmPpgConfigs = Kel::MemberCollection<PpgId, TmPpgConfig>;
    using TmTxQueueConfigs = Kel::MemberCollection<TxQueueId, TmTxQueueConfig>;

    explicit TmIntfConfig( KelPortTypes::PortIndex portIndex ) : portIndex_( portIndex ) {}

    // The port; its value is also the driver's port number.
    KelPortTypes::PortIndex portIndex() const { return portIndex_; }

    FlowControlType flowControlType() const { return flowControlType_; }
    void flowControlTypeIs( FlowControlType type ) {
        attributeIs( flowControlType_, type, flowControlTypeAttr );
    }
    const ShapeRate & shapeRate() const { return shapeRate_; }
    void shapeRateIs( const ShapeRate & rate ) { attributeIs( shapeRate_, rate, shapeRateAttr ); }

    // Priority groups. newTmPpgConfig makes one with default values, which belongs to no port yet;
    // tmPpgConfigIs( id ) returns the group, or inserts a new one; tmPpgConfigIs( config ) inserts
    // one that was filled before, replacing that of the same id.
    const TmPpgConfigs & tmPpgConfig() const { return tmPpgConfig_; }
    Kel::Ptr<TmPpgConfig> tmPpgConfig( PpgId id ) const { return tmPpgConfig_.get( id ); }
    bool tmPpgConfigHas( PpgId id ) const { return tmPpgConfig_.has( id ); }
    static Kel::Ptr<TmPpgConfig> newTmPpgConfig( PpgId id ) {
        return Kel::makePtr<TmPpgConfig>( id );
    }
    Kel::Ptr<TmPpgConfig> tmPpgConfigIs( PpgId id );
    void tmPpgConfigIs( const Kel::Ptr<TmPpgConfig> & config );
    void tmPpgConfigDel( PpgId id ) { tmPpgConfig_.erase( id ); }
    void tmPpgConfigDelAll() { tmPpgConfig_.eraseAll(); }

    // Transmit queues, likewise.
    const TmTxQueueConfigs & tmTxQueueConfig() const { return tmTxQueueConfig_; }
    Kel::Ptr<TmTxQueueConfig> tmTxQueueConfig( TxQueueId id ) const {
        return tmTxQueueConfig_.get( id );
    }
    bool tmTxQueueConfigHas( TxQueueId id ) const { return tmTxQueueConfig_.has( id ); }
    static Kel::Ptr<TmTxQueueConfig> newTmTxQueueConfig( TxQueueId id ) {
        return Kel::makePtr<TmTxQueueConfig>( id );
    }
    Kel::Ptr<TmTxQueueConfig> tmTxQueueConfigIs( TxQueueId id );
    void tmTxQueueConfigIs( const Kel::Ptr<TmTxQueueConfig> & config );
    void tmTxQueueConfigDel( TxQueueId id ) { tmTxQueueConfig_.erase( id ); }
    void tmTxQueueConfigDelAll() { tmTxQueueConfig_.eraseAll(); }

  private:
    KelPortTypes::PortIndex portIndex_;
    FlowControlType flowControlType_ = flowControlTypeNone;
    ShapeRate shapeRate_;
    TmPpgConfigs tmPpgConfig_{ *this, tmPpgConfigAttr };
    TmTxQueueConfigs tmTxQueueConfig_{ *this, tmTxQueueConfigAttr };
};

} // namespace KelQos
