#pragma once

#include "KelQos/KelSliceQosSmIntf.h"

namespace KelQos {

// Follows the configuration of one transmit queue and programs its scheduling, rates, guaranteed
// cells and share of the egress pool. Writes nothing back; letting it go programs nothing.
class KelSliceQosSm::VelTmIntfConfig::VelTmTxQueueConfig : public Kel::NotifieeOf<TmTxQueueConfig>,
                                                           public Kel::Pooled<VelTmTxQueueConfig> {
  public:
    VelTmTxQueueConfig( Kel::Ptr<const TmTxQueueConfig> config, TxQueueId txQueueId,
                        VelTmIntfConfig * owner )
        : NotifieeOf( std::move( config ) ), owner_( owner ), txQueueId_( txQueueId ) {}

    TxQueueId txQueueId() const { return txQueueId_; }
    void ownerIs( VelTmIntfConfig * owner ) { owner_ = owner; }
    bool initialized() const { return initialized_; }
    void initializedIs( bool initialized ) { initialized_ = initialized; }

    const TmTxQueueConfig * tmTxQueueConfig() const { return notifier(); }
    // Another entity: all its settings are programmed.
    void tmTxQueueConfigIs( Kel::Ptr<const TmTxQueueConfig> config );

    void onAttribute( Kel::AttributeId id, const void * key ) override;
    void notifierIs( Kel::Ptr<const TmTxQueueConfig> config ) override;

    void handleInitialized();
    void handleTxQueuePfcCos();
    void handleTxQueuePriority();
    void handleTxQueueWrrWeight();
    void handleTxQueueRateParameters();
    void handleTxQueueDynamicThreshold();
    void handleTxQueueMinLimitCells();

  private:
    U32 deviceId() const { return owner_->sm()->deviceId(); }
    U32 port() const { return owner_->portIndex().value(); }
    void programAll();
    void doProgramShapeRate( bool internal );
    void doProgramGuaranteedRate();

    VelTmIntfConfig * owner_;
    TxQueueId txQueueId_;
    bool initialized_ = false;
};

} // namespace KelQos
