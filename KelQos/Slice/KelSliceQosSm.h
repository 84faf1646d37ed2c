#pragma once

#include "KelQos/Slice/KelSliceQosSmInputs.h"
#include "KelQos/Slice/KelSliceQosSmPools.h"
#include "Platform/Framework/Clock.h"
#include "Platform/Framework/ReactorCollection.h"

#include <string>

namespace KelQos {

class KelSliceQosCli;
class KelSliceQosLeakHandlerSm;
class KelSliceQosReply;
class KelSliceQosSm;
class PpgSorter;
class TxQSorter;

// Creates the QoS state machine of one chip, brings the whole chip up from the entities as they
// are, and turns notifications on. Changes of an entity that is null are not followed; only the
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
class KelSliceQosSm : public Kel::Entity {
  public:
    // Those that never change after construction have ids all the same.
    enum Attribute : Kel::AttributeId {
        deviceIdAttr = 1,
        clockAttr,
        tmConfigAttr,
        tmStatusAttr,
        tmBufferParamsAttr,
        pfcSharedStateAttr,
        systemStatusAttr,
        chipStatusAttr,
        cmdRequestDirSmAttr,
        tmCountersDataAttr,
        tmCountersDataLastClearAttr,
        ethPhyIntfStatusDirAttr,
        bufferSyslogClockIntervalAttr,
        bufferAllocationLogStateCollAttr, // key: BufferAllocationLogState
        totalCellsAvailableForIngressAttr,
        leakHandlerSmAttr,
        timerWheelAttr,
        cliCallbackAttr,
        totalCellCountAttr,
        numPpgsAllocatedAttr,
        ppgMinCellCountAttr,
        globalHeadroomCellCountAttr,
        totalIngressReservedCellCountAttr,
        ingressSharedPoolCellCountAttr,
        numTxQsAllocatedAttr,
        txQMinCellCountAttr,
        totalEgressReservedCellCountAttr,
        egressSharedPoolCellCountAttr,
        minLimitCellsForMirroringAttr,
        initializedAttr,
        velTmIntfConfigAttr, // key: PortIndex
        intfStatusAttr,      // key: IntfId
    };

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

    // --- Inputs. The entities may be null; a reactor may be pointed to another one.
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

    // --- The buffer account as it was last computed, in cells unless said otherwise.
    // The chip's packet buffer, and the part of it that the ingress side may use (0 without buffer
    // parameters).
    U32 totalCellCount() const { return figures().totalCells; }
    U32 totalCellsAvailableForIngress() const;
    // Number of priority groups that map at least one class, and their guaranteed minimums.
    U32 numPpgsAllocated() const { return figures().counted.numPpgs; }
    U32 ppgMinCellCount() const { return figures().ppgMinCells(); }
    // Reserved for what still arrives after pause has been sent.
    U32 globalHeadroomCellCount() const { return figures().headroomCells(); }
    U32 totalIngressReservedCellCount() const { return figures().ingress.reservedCells; }
    // What is left to share among the priority groups.
    S32 ingressSharedPoolCellCount() const { return figures().ingress.sharedCells; }
    // Number of transmit queues, and their guaranteed minimums.
    U32 numTxQsAllocated() const { return figures().counted.numTxQs; }
    U32 txQMinCellCount() const { return figures().txQMinCells(); }
    U32 totalEgressReservedCellCount() const { return figures().egress.reservedCells; }
    // What is left to share among the queues.
    S32 egressSharedPoolCellCount() const { return figures().egress.sharedCells; }

    // The reports about over-reservation and its end that are still to be made: log states, each
    // with a bool. One is pending when it is there and true.
    static constexpr F64 bufferSyslogClockInterval() {
        return SharedPools::bufferSyslogClockInterval();
    }
    bool bufferAllocationLogStateCollHas( BufferAllocationLogState state ) const {
        return pools_.bufferAllocationLogStateCollHas( state );
    }
    bool bufferAllocationLogStateColl( BufferAllocationLogState state ) const {
        return pools_.bufferAllocationLogStateColl( state );
    }
    void bufferAllocationLogStateCollIs( BufferAllocationLogState state, bool pending );
    void bufferAllocationLogStateCollDel( BufferAllocationLogState state );
    void bufferAllocationLogStateCollDelAll();

    // Guaranteed minimum, in cells, of each pipe's mirror port. A change programs the four mirror
    // ports and the shared pools.
    U32 minLimitCellsForMirroring() const { return pools_.minLimitCellsForMirroring(); }
    void minLimitCellsForMirroringIs( U32 cells );

    bool initialized() const { return initialized_; }
    void initializedIs( bool initialized ) {
        attributeIs( initialized_, initialized, initializedAttr );
    }

    // --- What the state machine owns.
    const Kel::Ptr<Kel::TimerWheel> & timerWheel() const { return timerWheel_; }
    // Throws Kel::NullArgumentException for null.
    void timerWheelIs( const Kel::Ptr<Kel::TimerWheel> & wheel );
    const Kel::Ptr<KelSliceQosLeakHandlerSm> & leakHandlerSm() const { return leakHandlerSm_; }
    Kel::Ptr<KelSliceQosLeakHandlerSm>
    leakHandlerSmIs( U32 deviceId, Kel::Ptr<const KelSlice::ChipStatus> chipStatus,
                     Kel::Ptr<const TmBufferParamsConfig> tmBufferParams,
                     Kel::Ptr<const TmCountersData> tmCountersData );
    void leakHandlerSmDel();
    const Kel::Ptr<KelSliceQosCli> & cliCallback() const { return cliCallback_; }
    // Keeps the present callback if its name, command type and state machine are the same;
    // otherwise releases it and makes another. Does not register it with the command channel.
    Kel::Ptr<KelSliceQosCli> cliCallbackIs( const std::string & name, const std::string & owner,
                                            KelSliceQosSm * sm );
    // Also takes it off the command channel.
    void cliCallbackDel();

    // Reactors. Null when there is none.
    const Kel::Ptr<VelClock> & velClock() const { return velClock_; }
    const Kel::Ptr<VelTmConfig> & velTmConfig() const { return velTmConfig_; }
    const Kel::Ptr<VelTmBufferParams> & velTmBufferParams() const { return velTmBufferParams_; }
    const Kel::Ptr<VelSystemStatus> & velSystemStatus() const { return velSystemStatus_; }
    const Kel::Ptr<VelEthPhyIntfStatusDir> & velEthPhyIntfStatusDir() const {
        return velEthPhyIntfStatusDir_;
    }

    using VelTmIntfConfigs = Kel::ReactorCollection<KelPortTypes::PortIndex, VelTmIntfConfig>;
    const VelTmIntfConfigs & velTmIntfConfig() const { return velTmIntfConfig_; }
    Kel::Ptr<VelTmIntfConfig> velTmIntfConfig( KelPortTypes::PortIndex port ) const;
    bool velTmIntfConfigHas( KelPortTypes::PortIndex port ) const;
    // Makes a reactor that is not in the collection yet, and programs nothing. Whoever keeps it out
    // of the collection drops it before this state machine ends.
    Kel::Ptr<VelTmIntfConfig> newTmIntfConfig( KelPortTypes::PortIndex port,
                                               Kel::Ptr<const TmIntfConfig> config );
    // Creates the port's reactor, which programs the port, or points it at another entity. Throws
    // Kel::NullArgumentException for null.
    Kel::Ptr<VelTmIntfConfig> tmIntfConfigIs( KelPortTypes::PortIndex port,
                                              Kel::Ptr<const TmIntfConfig> config );
    // Frees the port's priority groups and drops the reactor; the queues keep their settings in the
    // chip.
    void tmIntfConfigDel( KelPortTypes::PortIndex port );
    void tmIntfConfigDelAll();

    using IntfStatuses = Kel::ReactorCollection<Kel::IntfId, VelIntfStatus>;
    const IntfStatuses & intfStatus() const { return intfStatus_; }
    Kel::Ptr<VelIntfStatus> intfStatus( Kel::IntfId intfId ) const;
    bool intfStatusHas( Kel::IntfId intfId ) const;
    // Makes a reactor that is not in the collection yet, likewise; it applies the port's shaper.
    Kel::Ptr<VelIntfStatus> newIntfStatus( Kel::Ptr<const Interface::EthPhyIntfStatus> status );
    // Creates the interface's reactor, or points it at another status; either way the port's shaper
    // is applied again. Throws Kel::NullArgumentException for null.
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
    // asked for by device: throws Kel::RangeException when that number is not a device id.
    void showBufferAllocation( U32 fd ) const;
    void showTmIntfCounters( U32 fd, Kel::IntfId intf, bool nonZeroOnly ) const;
    void showAllTmIntfCounters( U32 fd, bool nonZeroOnly ) const;
    void showAllTmIntfCounters( KelSliceQosReply & reply, bool nonZeroOnly ) const;
    void showTmNonIntfPpgCounters( U32 fd, bool nonZeroOnly ) const;
    void showTmNonIntfPpgCounters( KelSliceQosReply & reply, bool nonZeroOnly ) const;
    void showTmBlockLevelCounters( U32 fd, bool nonZeroOnly ) const;
    void showTmQueueStatus( U32 fd ) const;

    // Usage of the port's allocated groups, and of its queues. Throw Kel::RangeException for a
    // number that is not a device id.
    PpgSorter fetchPpgCounters( const KelSystem::PortInfo & portInfo, bool nonZeroOnly ) const;
    TxQSorter fetchTxQCounters( const KelSystem::PortInfo & portInfo, bool nonZeroOnly ) const;

  private:
    explicit KelSliceQosSm( U32 deviceId );

    void createReactors( const KelSliceQosSmInputs & inputs );
    // Make the reactors match the configuration, and the status directory, as they are now.
    void syncTmIntfConfig();
    void syncIntfStatus();
    void velDoZombieReactors( bool zombie );
    void dismissReactors();
    void replaceLeakHandlerSm( const Kel::Ptr<KelSliceQosLeakHandlerSm> & leakHandler );
    void replaceCliCallback( const Kel::Ptr<KelSliceQosCli> & callback );

    // The port of an interface, PortIndex::invalid when it is not in the port table.
    KelPortTypes::PortIndex portIndexOf( Kel::IntfId intfId ) const;

    const BufferFigures & figures() const { return pools_.figures(); }
    // Does the work, which may change the buffer account, and tells who watches of what changed.
    template <class Work>
    void tellingOfBuffers( const Work & work );
    void tellOfBuffers( const BufferFigures & before );

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

    SharedPools pools_;
    bool initialized_ = false;
    bool notificationActive_ = false;

    VelTmIntfConfigs velTmIntfConfig_;
    IntfStatuses intfStatus_;
};

} // namespace KelQos
