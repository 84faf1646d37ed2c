#pragma once

#include "KelQos/KelSliceQosSm.h"
#include "Platform/Framework/Pool.h"

namespace KelQos {

// The top-level reactors of the slice state machine and the reactor on one interface's status.
// Their constructors attach and run no handler (but for VelIntfStatus); notifierIs with another
// entity does the work that its class names. The state machine owns them and clears their way back
// to it before it goes.

// The tick of the buffer-allocation syslog. Re-pointing reports at once.
class KelSliceQosSm::VelClock : public Kel::TimedNotifiee<Kel::Clock> {
  public:
    VelClock( Kel::Ptr<const Kel::Clock> clock, KelSliceQosSm * sm )
        : TimedNotifiee( std::move( clock ) ), sm_( sm ) {}
    void smIs( KelSliceQosSm * sm ) { sm_ = sm; }
    void onAttribute( Kel::AttributeId id, const void * key ) override;
    void notifierIs( Kel::Ptr<const Kel::Clock> clock ) override;

  private:
    KelSliceQosSm * sm_;
};

// The chip's configuration. Re-pointing makes the port reactors those of the new one.
class KelSliceQosSm::VelTmConfig : public Kel::NotifieeOf<TmConfig> {
  public:
    VelTmConfig( Kel::Ptr<const TmConfig> config, KelSliceQosSm * sm )
        : NotifieeOf( std::move( config ) ), sm_( sm ) {}
    void smIs( KelSliceQosSm * sm ) { sm_ = sm; }
    void onAttribute( Kel::AttributeId id, const void * key ) override;
    void notifierIs( Kel::Ptr<const TmConfig> config ) override;

  private:
    void handleTmIntfConfig( KelPortTypes::PortIndex port );

    KelSliceQosSm * sm_;
};

// The buffer parameters. Re-pointing recomputes the shared pools.
class KelSliceQosSm::VelTmBufferParams : public Kel::NotifieeOf<TmBufferParamsConfig> {
  public:
    VelTmBufferParams( Kel::Ptr<const TmBufferParamsConfig> params, KelSliceQosSm * sm )
        : NotifieeOf( std::move( params ) ), sm_( sm ) {}
    void smIs( KelSliceQosSm * sm ) { sm_ = sm; }
    void onAttribute( Kel::AttributeId id, const void * key ) override;
    void notifierIs( Kel::Ptr<const TmBufferParamsConfig> params ) override;

  private:
    KelSliceQosSm * sm_;
};

// The port table. Re-pointing does nothing more.
class KelSliceQosSm::VelSystemStatus : public Kel::NotifieeOf<KelSystem::SystemStatus> {
  public:
    VelSystemStatus( Kel::Ptr<const KelSystem::SystemStatus> status, KelSliceQosSm * sm )
        : NotifieeOf( std::move( status ) ), sm_( sm ) {}
    void smIs( KelSliceQosSm * sm ) { sm_ = sm; }
    void onAttribute( Kel::AttributeId id, const void * key ) override;

  private:
    KelSliceQosSm * sm_;
};

// The directory of interface statuses. Re-pointing makes the status reactors those of the new one.
class KelSliceQosSm::VelEthPhyIntfStatusDir
    : public Kel::NotifieeOf<Interface::EthPhyIntfStatusDir> {
  public:
    VelEthPhyIntfStatusDir( Kel::Ptr<const Interface::EthPhyIntfStatusDir> dir, KelSliceQosSm * sm )
        : NotifieeOf( std::move( dir ) ), sm_( sm ) {}
    void smIs( KelSliceQosSm * sm ) { sm_ = sm; }
    void onAttribute( Kel::AttributeId id, const void * key ) override;
    void notifierIs( Kel::Ptr<const Interface::EthPhyIntfStatusDir> dir ) override;

  private:
    KelSliceQosSm * sm_;
};

// The status of one interface. Whenever it gets a status to watch, its construction included, it
// applies the port's shaper anew.
class KelSliceQosSm::VelIntfStatus : public Kel::NotifieeOf<Interface::EthPhyIntfStatus>,
                                     public Kel::Pooled<VelIntfStatus> {
  public:
    VelIntfStatus( Kel::Ptr<const Interface::EthPhyIntfStatus> status, KelSliceQosSm * sm );
    void smIs( KelSliceQosSm * sm ) { sm_ = sm; }
    void onAttribute( Kel::AttributeId id, const void * key ) override;
    void notifierIs( Kel::Ptr<const Interface::EthPhyIntfStatus> status ) override;

    void handleEnabled();

  private:
    KelSliceQosSm * sm_;
};

} // namespace KelQos
