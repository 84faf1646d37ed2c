#pragma once

#include "KelQos/KelSliceQosCounters.h"
#include "KelQos/KelSliceQosSmAccount.h"
#include "KelQos/KelSliceQosSmBuffers.h"
#include "KelQos/KelSliceQosSmInputs.h"
#include "Platform/Framework/Clock.h"
#include "Platform/Framework/HashMap.h"

#include <string>

namespace KelQos {

class KelSliceQosCli;
class KelSliceQosLeakHandlerSm;
class KelSliceQosReply;
class KelSliceQosSm;

// Creates the QoS state machine of one chip, brings the whole chip up from the entities as they
// are, and turns notifications on. Each null entity leaves its source of notifications out, but the
// command channel must be there. A driver that refuses a setting, or a broken invariant, aborts the
// process. The activity manager must exist, and outlive the result.
Kel::Ptr<KelSliceQosSm> kelSliceQosSmFactory(
    U32 deviceId, Kel::Ptr<const Kel::Clock> clock, Kel::Ptr<const TmConfig> tmConfig,
    Kel::Ptr<TmStatus> tmStatus, Kel::Ptr<const TmBufferParamsConfig> tmBufferParams,
    Kel::Ptr<KelPfcSharedState> pfcSharedState,
    Kel::Ptr<const KelSystem::SystemStatus> systemStatus,
    Kel::Ptr<const KelSlice::ChipStatus> chipStatus,
    Kel::Ptr<Agent::AgentCommandRequestDirSm> cmdRequestDirSm,
    Kel::Ptr<const TmCountersData> tmCountersData, Kel::Ptr<TmCountersData> tmCountersDataLastClear,
    Kel::Ptr<const Interface::EthPhyIntfStatusDir> ethPhyIntfStatusDir );

// Follows the QoS configuration of one chip and programs its traffic manager: ports, priority
// groups, transmit queues and the shared buffer pools. Dropping it programs nothing: the chip keeps
// what it has.
class KelSliceQosSm : public Kel::Entity, public BufferCounters, public BufferAllocationLogStates {
  public:
    class VelClock;
    class VelTmConfig;
    class VelTmBufferParams;
    class VelSystemStatus;
    class VelEthPhyIntfStatusDir;
    class VelTmIntfConfig;
    class VelIntfStatus;

    static constexpr auto creation = &kelSliceQosSmFactory;
    // Takes the factory's arguments.
    template <class... Args>
    static Kel::Ptr<KelSliceQosSm> KelSliceQosSmIs( Args &&... args ) {
        auto sm =
            Kel::makePtr<KelSliceQosSm>( KelSliceQosSmInputs{ std::forward<Args>( args )... } );
        sm->hasNotificationActiveIs( true );
        return sm;
    }

    explicit KelSliceQosSm( const KelSliceQosSmInputs & inputs );
    ~KelSliceQosSm() override;

    // --- Inputs, fixed for life. The entities may be null.
    U32 deviceId() const { return deviceId_; }
    const Kel::Clock * clock() const;
    const TmConfig * tmConfig() const;
    const Kel::Ptr<TmStatus> & tmStatus() const { return tmStatus_; }
    const TmBufferParamsConfig * tmBufferParams() const;
    const Kel::Ptr<KelPfcSharedState> & pfcSharedState() const { return pfcSharedState_; }
    const KelSystem::SystemStatus * systemStatus() const;
    const Kel::Ptr<const KelSlice::ChipStatus> & chipStatus() const { return chipStatus_; }
    const Kel::Ptr<Agent::AgentCommandRequestDirSm> & cmdRequestDirSm() const {
        return cmdRequestDirSm_;
    }
    const Kel::Ptr<const TmCountersData> & tmCountersData() const { return tmCountersData_; }
    const Kel::Ptr<TmCountersData> & tmCountersDataLastClear() const {
        return tmCountersDataLastClear_;
    }
    const Interface::EthPhyIntfStatusDir * ethPhyIntfStatusDir() const;

    // --- Buffers; the bases tell what is left of them and what is to be reported.
    // Cells that the ingress side may use; 0 without buffer parameters.
    U32 totalCellsAvailableForIngress() const;
    // Guaranteed minimum, in cells, of each pipe's mirror port. A change programs the four mirror
    // ports and the shared pools.
    U32 minLimitCellsForMirroring() const { return minLimitCellsForMirroring_; }
    void minLimitCellsForMirroringIs( U32 cells );

    bool initialized() const { return initialized_; }
    void initializedIs( bool initialized ) { initialized_ = initialized; }

    // --- What the state machine owns.
    const Kel::Ptr<Kel::TimerWheel> & timerWheel() const { return timerWheel_; }
    void timerWheelIs( Kel::Ptr<Kel::TimerWheel> wheel ) { timerWheel_ = std::move( wheel ); }
    const Kel::Ptr<KelSliceQosLeakHandlerSm> & leakHandlerSm() const { return leakHandlerSm_; }
    Kel::Ptr<KelSliceQosLeakHandlerSm>
    leakHandlerSmIs( U32 deviceId, Kel::Ptr<const KelSlice::ChipStatus> chipStatus,
                     Kel::Ptr<const TmBufferParamsConfig> tmBufferParams,
                     Kel::Ptr<const TmCountersData> tmCountersData );
    void leakHandlerSmDel();
    const Kel::Ptr<KelSliceQosCli> & cliCallback() const { return cliCallback_; }
    // Keeps the callback that is there when name, command type and state machine are the same;
    // another one is released first. Does not register it with the command channel.
    Kel::Ptr<KelSliceQosCli> cliCallbackIs( const std::string & name, const std::string & owner,
                                            KelSliceQosSm * sm );
    // Takes it off the command channel, too.
    void cliCallbackDel();

    // Reactors. Null when there is none.
    const Kel::Ptr<VelClock> & velClock() const { return velClock_; }
    const Kel::Ptr<VelTmConfig> & velTmConfig() const { return velTmConfig_; }
    const Kel::Ptr<VelTmBufferParams> & velTmBufferParams() const { return velTmBufferParams_; }
    const Kel::Ptr<VelSystemStatus> & velSystemStatus() const { return velSystemStatus_; }
    const Kel::Ptr<VelEthPhyIntfStatusDir> & velEthPhyIntfStatusDir() const {
        return velEthPhyIntfStatusDir_;
    }

    using VelTmIntfConfigs = Kel::HashMap<KelPortTypes::PortIndex, Kel::Ptr<VelTmIntfConfig>>;
    const VelTmIntfConfigs & velTmIntfConfig() const { return velTmIntfConfig_; }
    Kel::Ptr<VelTmIntfConfig> velTmIntfConfig( KelPortTypes::PortIndex port ) const;
    // Creates the port's reactor, which programs the port, or re-points it to another entity.
    // Throws Kel::NullArgumentException for null.
    Kel::Ptr<VelTmIntfConfig> tmIntfConfigIs( KelPortTypes::PortIndex port,
                                              Kel::Ptr<const TmIntfConfig> config );
    // Frees the port's priority groups and lets the reactor go; its queues keep their settings.
    void tmIntfConfigDel( KelPortTypes::PortIndex port );
    void tmIntfConfigDelAll();

    using IntfStatuses = Kel::HashMap<Kel::IntfId, Kel::Ptr<VelIntfStatus>>;
    const IntfStatuses & intfStatus() const { return intfStatus_; }
    // Creates the interface's reactor or re-points it; either applies the port's shaper anew.
    // Throws Kel::NullArgumentException for null.
    Kel::Ptr<VelIntfStatus> intfStatusIs( Kel::Ptr<const Interface::EthPhyIntfStatus> status );
    void intfStatusDel( Kel::IntfId intfId );
    void intfStatusDelAll();

    // The notification switch of the state machine, forwarded to everything below it.
    bool hasNotificationActive() const { return notificationActive_; }
    void hasNotificationActiveIs( bool on );

    // --- Handlers and programming steps.
    void handleInitialized();
    void handlePortInfo();
    void handlePortInfo( Kel::IntfId intfId );
    void handleFrontPanelPortInfo( Kel::IntfId intfId ) const;
    void handleInternalPortInfo( Kel::IntfId intfId );
    void handleCpuPortInfo();
    void handleReservedCpuPortInfo();
    void handleTotalCellsAvailableForIngress();
    void handleMinLimitCellsForMirroring();
    void handleSyslogClock();
    void handleCosToTcMap( Cos cos );
    // Recomputes the buffer account from the configuration as it is now and programs the pools.
    void reconfigureSharedPools();
    // Writes a port's map of PFC classes, unless a class is unmapped.
    void doProgramIntfPfcCosToTcMap( KelPortTypes::PortIndex port ) const;

    // --- Answers to diagnostic commands, written to a descriptor, or added to an answer that has
    // several parts. Before initialisation the answer is "Agent not initialized yet". Counters are
    // asked for by device: Kel::RangeException when its number is too large for one that has any.
    void showBufferAllocation( U32 fd ) const;
    void showTmIntfCounters( U32 fd, Kel::IntfId intf, bool nonZeroOnly ) const;
    void showAllTmIntfCounters( U32 fd, bool nonZeroOnly ) const;
    void showAllTmIntfCounters( KelSliceQosReply & reply, bool nonZeroOnly ) const;
    void showTmNonIntfPpgCounters( U32 fd, bool nonZeroOnly ) const;
    void showTmNonIntfPpgCounters( KelSliceQosReply & reply, bool nonZeroOnly ) const;
    void showTmBlockLevelCounters( U32 fd, bool nonZeroOnly ) const;
    void showTmQueueStatus( U32 fd ) const;

    // Usage of the port's allocated groups, and of its queues. Throw Kel::RangeException for a
    // device id that is none.
    PpgSorter fetchPpgCounters( const KelSystem::PortInfo & portInfo, bool nonZeroOnly ) const;
    TxQSorter fetchTxQCounters( const KelSystem::PortInfo & portInfo, bool nonZeroOnly ) const;

  private:
    void createReactors( const KelSliceQosSmInputs & inputs );
    // Makes the reactors those of the configuration and of the status directory as they are now.
    void syncTmIntfConfig();
    void syncIntfStatus();
    void velDoZombieReactors( bool zombie );
    void clearBackPointers();

    // The port of an interface, PortIndex::invalid when it is not in the port table.
    KelPortTypes::PortIndex portIndexOf( Kel::IntfId intfId ) const;
    void accountIngress( const Reservation & reserved );
    void accountEgress( const Reservation & reserved );
    void programSharedPools();
    void armSyslogClock();

    const U32 deviceId_;
    Kel::Ptr<VelClock> velClock_;
    Kel::Ptr<VelTmConfig> velTmConfig_;
    Kel::Ptr<TmStatus> tmStatus_;
    Kel::Ptr<VelTmBufferParams> velTmBufferParams_;
    Kel::Ptr<KelPfcSharedState> pfcSharedState_;
    Kel::Ptr<VelSystemStatus> velSystemStatus_;
    Kel::Ptr<const KelSlice::ChipStatus> chipStatus_;
    Kel::Ptr<Agent::AgentCommandRequestDirSm> cmdRequestDirSm_;
    Kel::Ptr<const TmCountersData> tmCountersData_;
    Kel::Ptr<TmCountersData> tmCountersDataLastClear_;
    Kel::Ptr<VelEthPhyIntfStatusDir> velEthPhyIntfStatusDir_;

    Kel::Ptr<KelSliceQosLeakHandlerSm> leakHandlerSm_;
    Kel::Ptr<Kel::TimerWheel> timerWheel_;
    Kel::Ptr<KelSliceQosCli> cliCallback_;

    U32 minLimitCellsForMirroring_ = 480;
    bool initialized_ = false;
    bool notificationActive_ = false;

    VelTmIntfConfigs velTmIntfConfig_;
    IntfStatuses intfStatus_;
    BufferAccount account_;

    friend class VelTmConfig;
    friend class VelEthPhyIntfStatusDir;
};

} // namespace KelQos
