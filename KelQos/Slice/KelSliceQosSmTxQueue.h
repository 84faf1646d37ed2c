#pragma once

#include "KelQos/Slice/KelSliceQosSmIntf.h"

namespace KelQos {

// Follows the configuration of one transmit queue and programs its scheduling, rates, guaranteed
// cells and share of the egress pool. Publishes nothing; dropping it programs nothing.
class KelSliceQosSm::VelTmIntfConfig::VelTmTxQueueConfig
    : public Kel::Reactor<KelSliceQosSm::VelTmIntfConfig::VelTmTxQueueConfig, TmTxQueueConfig,
                          KelSliceQosSm::VelTmIntfConfig>,
      public Kel::Pooled<KelSliceQosSm::VelTmIntfConfig::VelTmTxQueueConfig> {
    // Only called at work: through the table, and by programAll().
    void handleTxQueuePfcCos();
    void handleTxQueueMinLimitCells();
    void handleTxQueueDynamicThreshold();
    void handleTxQueuePriority();
    void handleTxQueueWrrWeight();
    void handleTxQueueRateParameters();

  public:
    static constexpr Kel::Handler<VelTmTxQueueConfig> handlers[]{
        Kel::calls<&VelTmTxQueueConfig::handleTxQueuePfcCos>( TmTxQueueConfig::pfcCosAttr ),
        Kel::calls<&VelTmTxQueueConfig::handleTxQueueMinLimitCells>(
            TmTxQueueConfig::minLimitCellsAttr ),
        Kel::calls<&VelTmTxQueueConfig::handleTxQueueDynamicThreshold>(
            TmTxQueueConfig::dynamicThresholdAttr ),
        Kel::calls<&VelTmTxQueueConfig::handleTxQueuePriority>( TmTxQueueConfig::priorityAttr ),
        Kel::calls<&VelTmTxQueueConfig::handleTxQueueWrrWeight>( TmTxQueueConfig::weightAttr ),
        Kel::calls<&VelTmTxQueueConfig::handleTxQueueRateParameters>(
            TmTxQueueConfig::rateParamsAttr ),
    };

    VelTmTxQueueConfig( Kel::Ptr<const TmTxQueueConfig> config, TxQueueId txQueueId,
                        VelTmIntfConfig * owner )
        : Reactor( std::move( config ), owner ), txQueueId_( txQueueId ) {}

    TxQueueId txQueueId() const { return txQueueId_; }
    bool initialized() const { return initialized_; }
    void initializedIs( bool initialized ) { initialized_ = initialized; }

    const TmTxQueueConfig * tmTxQueueConfig() const { return notifier(); }
    // Another entity: programs all its settings.
    void tmTxQueueConfigIs( Kel::Ptr<const TmTxQueueConfig> config );

    // Programs the queue.
    void handleInitialized() override;
    void handleNotifier() override { programAll(); }

  private:
    U32 deviceId() const { return owner()->sm()->deviceId(); }
    U32 port() const { return owner()->portIndex().value(); }
    void programAll();
    void doProgramShapeRate( bool internal );
    void doProgramGuaranteedRate();

    TxQueueId txQueueId_;
    bool initialized_ = false;
};

} // namespace KelQos
