#pragma once

#include "KelQos/KelSliceQosSm.h"
#include "Platform/Entities/TmIntfConfig.h"
#include "Platform/Framework/Pool.h"

namespace KelQos {

// Follows the configuration of one port: programs its flow control, shaper and map of PFC classes,
// publishes its PFC state, and owns one reactor for each of its priority groups and queues.
class KelSliceQosSm::VelTmIntfConfig : public Kel::NotifieeOf<TmIntfConfig>,
                                       public Kel::Pooled<VelTmIntfConfig> {
  public:
    class VelTmPpgConfig;
    class VelTmTxQueueConfig;

    // Programs the port and everything in its configuration.
    VelTmIntfConfig( Kel::Ptr<const TmIntfConfig> config, KelPortTypes::PortIndex portIndex,
                     KelSliceQosSm * sm );
    ~VelTmIntfConfig() override;

    KelPortTypes::PortIndex portIndex() const { return portIndex_; }
    // The owner; null once that is being torn down.
    KelSliceQosSm * sm() const { return sm_; }
    void smIs( KelSliceQosSm * sm ) { sm_ = sm; }
    bool initialized() const { return initialized_; }
    void initializedIs( bool initialized ) { initialized_ = initialized; }

    void onAttribute( Kel::AttributeId id, const void * key ) override;
    // Another entity: its shaper and flow control are programmed, then groups and queues are made
    // those of it.
    void notifierIs( Kel::Ptr<const TmIntfConfig> config ) override;
    void hasNotificationActiveIs( bool on ) override;
    // Turns this reactor and all below it into zombies.
    void velDoZombieReactors( bool zombie );

    void handleInitialized();
    void handleIntfFlowControlType();
    void handleIntfShapeRate();
    // Releases all priority groups; for the moment before the reactor goes.
    void cleanup();

    using VelTmPpgConfigs = Kel::HashMap<PpgId, Kel::Ptr<VelTmPpgConfig>>;
    const VelTmPpgConfigs & velTmPpgConfig() const { return velTmPpgConfig_; }
    Kel::Ptr<VelTmPpgConfig> velTmPpgConfig( PpgId id ) const;
    // Creates the group's reactor, or re-points it to another entity. Throws
    // Kel::NullArgumentException for null.
    Kel::Ptr<VelTmPpgConfig> tmPpgConfigIs( PpgId id, Kel::Ptr<const TmPpgConfig> config );
    // Makes a reactor that is not in the collection yet.
    Kel::Ptr<VelTmPpgConfig> newTmPpgConfig( PpgId id, Kel::Ptr<const TmPpgConfig> config );
    // Releases the group in the chip and lets its reactor go.
    void tmPpgConfigDel( PpgId id );
    void tmPpgConfigDelAll();

    using VelTmTxQueueConfigs = Kel::HashMap<TxQueueId, Kel::Ptr<VelTmTxQueueConfig>>;
    const VelTmTxQueueConfigs & velTmTxQueueConfig() const { return velTmTxQueueConfig_; }
    Kel::Ptr<VelTmTxQueueConfig> velTmTxQueueConfig( TxQueueId id ) const;
    // Creates the queue's reactor and programs the queue, or re-points it to another entity; null
    // deletes it. Returns the reactor, or null.
    Kel::Ptr<VelTmTxQueueConfig> tmTxQueueConfigIs( TxQueueId id,
                                                    Kel::Ptr<const TmTxQueueConfig> config );
    Kel::Ptr<VelTmTxQueueConfig> newTmTxQueueConfig( TxQueueId id,
                                                     Kel::Ptr<const TmTxQueueConfig> config );
    // Lets the queue's reactor go; the queue keeps its settings.
    void tmTxQueueConfigDel( TxQueueId id );
    void tmTxQueueConfigDelAll();

  private:
    // Makes the reactors those of the configuration as it is now.
    void syncPpgsAndQueues();
    bool shapingIsOff() const;

    KelSliceQosSm * sm_;
    KelPortTypes::PortIndex portIndex_;
    bool initialized_ = false;
    VelTmPpgConfigs velTmPpgConfig_;
    VelTmTxQueueConfigs velTmTxQueueConfig_;
};

} // namespace KelQos
