#pragma once

#include "KelQos/Slice/KelSliceQosSm.h"
#include "Platform/Entities/TmIntfConfig.h"
#include "Platform/Framework/Pool.h"
#include "Platform/Framework/Reactor.h"

namespace KelQos {

// Follows the configuration of one port: programs its flow control, shaper and map of PFC classes,
// publishes its PFC state, and owns one reactor for each of its priority groups and queues.
class KelSliceQosSm::VelTmIntfConfig
    : public Kel::Reactor<KelSliceQosSm::VelTmIntfConfig, TmIntfConfig, KelSliceQosSm>,
      public Kel::Pooled<KelSliceQosSm::VelTmIntfConfig> {
  public:
    class VelTmPpgConfig;
    class VelTmTxQueueConfig;

    void handleTmPpgConfig( PpgId id );
    void handleIntfFlowControlType();
    void handleTmTxQueueConfig( TxQueueId id );
    void handleIntfShapeRate();
    static constexpr Kel::Handler<VelTmIntfConfig> handlers[]{
        Kel::calls<&VelTmIntfConfig::handleTmPpgConfig>( TmIntfConfig::tmPpgConfigAttr ),
        Kel::calls<&VelTmIntfConfig::handleIntfFlowControlType>(
            TmIntfConfig::flowControlTypeAttr ),
        Kel::calls<&VelTmIntfConfig::handleTmTxQueueConfig>( TmIntfConfig::tmTxQueueConfigAttr ),
        Kel::calls<&VelTmIntfConfig::handleIntfShapeRate>( TmIntfConfig::shapeRateAttr ),
    };

    VelTmIntfConfig( Kel::Ptr<const TmIntfConfig> config, KelPortTypes::PortIndex portIndex,
                     KelSliceQosSm * sm );
    ~VelTmIntfConfig() override;

    KelPortTypes::PortIndex portIndex() const { return portIndex_; }
    KelSliceQosSm * sm() const { return owner(); }
    bool initialized() const { return initialized_; }
    void initializedIs( bool initialized ) { initialized_ = initialized; }

    // Programs the port and everything in its configuration.
    void handleInitialized() override;
    // Another entity: programs its shaper and flow control, then makes groups and queues match.
    void handleNotifier() override;
    // Releases all priority groups.
    void cleanup() override;
    // The switches go to the groups and queues too, and so does the end.
    void hasNotificationActiveIs( bool on ) override;
    void zombieIs( bool zombie ) override;
    void dismiss() override;

    using VelTmPpgConfigs = Kel::ReactorCollection<PpgId, VelTmPpgConfig>;
    const VelTmPpgConfigs & velTmPpgConfig() const { return velTmPpgConfig_; }
    Kel::Ptr<VelTmPpgConfig> velTmPpgConfig( PpgId id ) const;
    bool velTmPpgConfigHas( PpgId id ) const;
    // Creates the group's reactor, or points it at another entity. Returns the reactor, or null
    // when this one was dismissed. Throws Kel::NullArgumentException for null.
    Kel::Ptr<VelTmPpgConfig> tmPpgConfigIs( PpgId id, Kel::Ptr<const TmPpgConfig> config );
    // Makes a reactor that is not in the collection yet. Whoever keeps it out of the collection
    // drops it before this one ends.
    Kel::Ptr<VelTmPpgConfig> newTmPpgConfig( PpgId id, Kel::Ptr<const TmPpgConfig> config );
    // Releases the group in the chip and drops its reactor.
    void tmPpgConfigDel( PpgId id );
    void tmPpgConfigDelAll();

    using VelTmTxQueueConfigs = Kel::ReactorCollection<TxQueueId, VelTmTxQueueConfig>;
    const VelTmTxQueueConfigs & velTmTxQueueConfig() const { return velTmTxQueueConfig_; }
    Kel::Ptr<VelTmTxQueueConfig> velTmTxQueueConfig( TxQueueId id ) const;
    bool velTmTxQueueConfigHas( TxQueueId id ) const;
    // Creates the queue's reactor and programs the queue, or points it at another entity; null
    // deletes it. Returns the reactor, or null.
    Kel::Ptr<VelTmTxQueueConfig> tmTxQueueConfigIs( TxQueueId id,
                                                    Kel::Ptr<const TmTxQueueConfig> config );
    Kel::Ptr<VelTmTxQueueConfig> newTmTxQueueConfig( TxQueueId id,
                                                     Kel::Ptr<const TmTxQueueConfig> config );
    // Drops the queue's reactor; the queue keeps its settings in the chip.
    void tmTxQueueConfigDel( TxQueueId id );
    void tmTxQueueConfigDelAll();

  private:
    // Makes the reactors match the configuration as it is now.
    void syncPpgsAndQueues();
    bool shapingIsOff() const;

    KelPortTypes::PortIndex portIndex_;
    bool initialized_ = false;
    VelTmPpgConfigs velTmPpgConfig_;
    VelTmTxQueueConfigs velTmTxQueueConfig_;
};

} // namespace KelQos
