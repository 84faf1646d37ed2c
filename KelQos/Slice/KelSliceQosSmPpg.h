#pragma once

#include "KelQos/Slice/KelSliceQosSmIntf.h"

namespace KelQos {

// Follows the configuration of one priority group: allocates a group of the chip for it, trying
// again every 0.1 s while the pipe has none free, and programs that. Changes made while it waits
// take effect once it is allocated.
class KelSliceQosSm::VelTmIntfConfig::VelTmPpgConfig
    : public Kel::Reactor<KelSliceQosSm::VelTmIntfConfig::VelTmPpgConfig, TmPpgConfig,
                          KelSliceQosSm::VelTmIntfConfig>,
      public Kel::Pooled<KelSliceQosSm::VelTmIntfConfig::VelTmPpgConfig> {
  public:
    class VelPollClock;

    void handlePpgClock();
    void handlePpgInternalCosBmp();
    void handlePpgPfcEnabled();
    void handlePpgMinLimitCells();
    void handlePpgDynamicThreshold();
    static constexpr Kel::Handler<VelTmPpgConfig> handlers[]{
        Kel::calls<&VelTmPpgConfig::handlePpgInternalCosBmp>( TmPpgConfig::internalCosBmpAttr ),
        Kel::calls<&VelTmPpgConfig::handlePpgPfcEnabled>( TmPpgConfig::pfcEnabledAttr ),
        Kel::calls<&VelTmPpgConfig::handlePpgMinLimitCells>( TmPpgConfig::minLimitCellsAttr ),
        Kel::calls<&VelTmPpgConfig::handlePpgDynamicThreshold>( TmPpgConfig::dynamicThresholdAttr ),
    };

    VelTmPpgConfig( Kel::Ptr<const TmPpgConfig> config, PpgId ppgId, VelTmIntfConfig * owner );
    ~VelTmPpgConfig() override;

    PpgId ppgId() const { return ppgId_; }
    static constexpr F64 pollInterval() { return 0.1; } // seconds
    // The driver's handle; below 0: none is held.
    S32 ppgHandle() const { return ppgHandle_; }
    void ppgHandleIs( S32 handle ) { ppgHandle_ = handle; }
    const Kel::Ptr<VelPollClock> & pollClock() const { return pollClock_; }
    // Puts the retry timer on the wheel; moving it to another one tries to allocate at once. Throws
    // Kel::NullArgumentException for null.
    void pollClockIs( Kel::Ptr<const Kel::TimerWheel> wheel );
    bool initialized() const { return initialized_; }
    void initializedIs( bool initialized ) { initialized_ = initialized; }

    // Puts the retry timer, due at once, on the state machine's wheel.
    void handleInitialized() override;
    // Another entity: programs all its settings.
    void handleNotifier() override;
    // Unmaps and frees the group and removes its status.
    void cleanup() override;
    // The switches go to the retry timer too, and so does the end.
    void hasNotificationActiveIs( bool on ) override;
    void zombieIs( bool zombie ) override;
    void dismiss() override;

  private:
    bool isLossy() const { return ppgId_ == PpgId::lossyPpgId(); }
    KelSliceQosSm * sm() const { return owner() ? owner()->sm() : nullptr; }
    U32 portId() const { return owner()->portIndex().value(); }
    // Whether there is a group of the chip to program, and a configuration to program into it.
    bool isProgrammable() const { return ppgHandle_ >= 0 && isAtWork(); }
    S32 allocate( S32 & handle ) const;
    void handleAllocated( S32 handle );
    void doProgramPpgPfcEnabled();
    void doProgramPpgMinLimitCells();

    S32 ppgHandle_ = -1;
    PpgId ppgId_;
    bool initialized_ = false;
    Kel::Ptr<VelPollClock> pollClock_;
};

// The retry timer of the allocation; due at once.
class KelSliceQosSm::VelTmIntfConfig::VelTmPpgConfig::VelPollClock
    : public Kel::TimedReactor<KelSliceQosSm::VelTmIntfConfig::VelTmPpgConfig::VelPollClock,
                               Kel::TimerWheel, KelSliceQosSm::VelTmIntfConfig::VelTmPpgConfig>,
      public Kel::Pooled<KelSliceQosSm::VelTmIntfConfig::VelTmPpgConfig::VelPollClock> {
  public:
    static constexpr Kel::Handler<VelPollClock> handlers[]{
        Kel::calls<&VelTmPpgConfig::handlePpgClock>( Kel::TimerWheel::timeMinAttr ),
    };

    VelPollClock( Kel::Ptr<const Kel::TimerWheel> wheel, VelTmPpgConfig * owner );
    // Another wheel: tries to allocate at once.
    void handleNotifier() override { owner()->handlePpgClock(); }
};

} // namespace KelQos
