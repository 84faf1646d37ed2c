#pragma once

#include "KelQos/Slice/KelSliceQosSm.h"
#include "Platform/Framework/Pool.h"
#include "Platform/Framework/Reactor.h"

namespace KelQos {

// The top-level reactors of the slice state machine and the reactor on one interface's status.
// Their constructors attach and run no handler (except that of VelIntfStatus); each class says what
// it does when it is pointed to another entity.

// The tick of the buffer-allocation syslog. Re-pointing reports at once.
class KelSliceQosSm::VelClock
    : public Kel::TimedReactor<KelSliceQosSm::VelClock, Kel::Clock, KelSliceQosSm> {
  public:
    static constexpr Kel::Handler<VelClock> handlers[]{
        Kel::calls<&KelSliceQosSm::handleSyslogClock>( Kel::Clock::timeMinAttr ),
    };

    using Reactor::Reactor;
    void handleNotifier() override { owner()->handleSyslogClock(); }
    void tellOfNotifier() override { owner()->attributeChanged( clockAttr ); }
};

// The chip's configuration. Re-pointing makes the port reactors match the new one.
class KelSliceQosSm::VelTmConfig
    : public Kel::Reactor<KelSliceQosSm::VelTmConfig, TmConfig, KelSliceQosSm> {
  public:
    void handleTmIntfConfig( KelPortTypes::PortIndex port );
    static constexpr Kel::Handler<VelTmConfig> handlers[]{
        Kel::calls<&KelSliceQosSm::handleCosToTcMap>( TmConfig::cosToTcAttr ),
        Kel::calls<&VelTmConfig::handleTmIntfConfig>( TmConfig::tmIntfConfigAttr ),
    };

    using Reactor::Reactor;
    void handleNotifier() override { owner()->syncTmIntfConfig(); }
    void tellOfNotifier() override { owner()->attributeChanged( tmConfigAttr ); }
};

// The buffer parameters. Re-pointing recomputes the shared pools.
class KelSliceQosSm::VelTmBufferParams
    : public Kel::Reactor<KelSliceQosSm::VelTmBufferParams, TmBufferParamsConfig, KelSliceQosSm> {
  public:
    static constexpr Kel::Handler<VelTmBufferParams> handlers[]{
        Kel::calls<&KelSliceQosSm::handleTotalCellsAvailableForIngress>(
            TmBufferParamsConfig::totalCellsAvailableForIngressAttr ),
    };

    using Reactor::Reactor;
    void handleNotifier() override { owner()->handleTotalCellsAvailableForIngress(); }
    void tellOfNotifier() override { owner()->attributeChanged( tmBufferParamsAttr ); }
};

// The port table. Re-pointing programs nothing.
class KelSliceQosSm::VelSystemStatus
    : public Kel::Reactor<KelSliceQosSm::VelSystemStatus, KelSystem::SystemStatus, KelSliceQosSm> {
  public:
    static constexpr Kel::Handler<VelSystemStatus> handlers[]{
        Kel::calls<Kel::withKey<Kel::IntfId>( &KelSliceQosSm::handlePortInfo )>(
            KelSystem::SystemStatus::portInfoAttr ),
    };

    using Reactor::Reactor;
    void tellOfNotifier() override { owner()->attributeChanged( systemStatusAttr ); }
};

// The directory of interface statuses. Re-pointing makes the status reactors match the new one.
class KelSliceQosSm::VelEthPhyIntfStatusDir
    : public Kel::Reactor<KelSliceQosSm::VelEthPhyIntfStatusDir, Interface::EthPhyIntfStatusDir,
                          KelSliceQosSm> {
  public:
    void handleIntfStatus( Kel::IntfId intfId );
    static constexpr Kel::Handler<VelEthPhyIntfStatusDir> handlers[]{
        Kel::calls<&VelEthPhyIntfStatusDir::handleIntfStatus>(
            Interface::EthPhyIntfStatusDir::intfStatusAttr ),
    };

    using Reactor::Reactor;
    void handleNotifier() override { owner()->syncIntfStatus(); }
    void tellOfNotifier() override { owner()->attributeChanged( ethPhyIntfStatusDirAttr ); }
};

// The status of one interface. Whenever it gets a status to watch, also at its construction, it
// applies the port's shaper again.
class KelSliceQosSm::VelIntfStatus
    : public Kel::Reactor<KelSliceQosSm::VelIntfStatus, Interface::EthPhyIntfStatus, KelSliceQosSm>,
      public Kel::Pooled<KelSliceQosSm::VelIntfStatus> {
  public:
    void handleEnabled();
    static constexpr Kel::Handler<VelIntfStatus> handlers[]{
        Kel::calls<&VelIntfStatus::handleEnabled>( Interface::EthPhyIntfStatus::enabledAttr ),
    };

    VelIntfStatus( Kel::Ptr<const Interface::EthPhyIntfStatus> status, KelSliceQosSm * sm );
    void handleNotifier() override { handleEnabled(); }
};

} // namespace KelQos
