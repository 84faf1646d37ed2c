#pragma once

#include "KelQos/KelSliceQosSmIntf.h"

namespace KelQos {

// Follows the configuration of one priority group: gets it a group of the chip, trying again every
// 0.1 s while the pipe has none free, and programs it. Until then changes only take effect when the
// group has come.
class KelSliceQosSm::VelTmIntfConfig::VelTmPpgConfig : public Kel::NotifieeOf<TmPpgConfig>,
                                                       public Kel::Pooled<VelTmPpgConfig> {
  public:
    // The retry timer of the allocation; due at once.
    class VelPollClock : public Kel::TimedNotifiee<Kel::TimerWheel>,
                         public Kel::Pooled<VelPollClock> {
      public:
        VelPollClock( Kel::Ptr<const Kel::TimerWheel> wheel, VelTmPpgConfig * owner );
        void ownerIs( VelTmPpgConfig * owner ) { owner_ = owner; }
        void onAttribute( Kel::AttributeId id, const void * key ) override;
        // Another wheel: tries to allocate at once.
        void notifierIs( Kel::Ptr<const Kel::TimerWheel> wheel ) override;

      private:
        VelTmPpgConfig * owner_;
    };

    VelTmPpgConfig( Kel::Ptr<const TmPpgConfig> config, PpgId ppgId, VelTmIntfConfig * owner );
    ~VelTmPpgConfig() override;

    PpgId ppgId() const { return ppgId_; }
    void ownerIs( VelTmIntfConfig * owner ) { owner_ = owner; }
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

    void onAttribute( Kel::AttributeId id, const void * key ) override;
    // Another entity: all its settings are programmed.
    void notifierIs( Kel::Ptr<const TmPpgConfig> config ) override;
    void hasNotificationActiveIs( bool on ) override;
    void velDoZombieReactors( bool zombie );

    void handleInitialized();
    void handlePpgClock();
    void handlePpgInternalCosBmp();
    void handlePpgPfcEnabled();
    void handlePpgDynamicThreshold();
    void handlePpgMinLimitCells();
    // Unmaps and frees the group and removes its status; for the moment before the reactor goes.
    void cleanup();

  private:
    bool isLossy() const { return ppgId_ == PpgId::lossyPpgId(); }
    KelSliceQosSm * sm() const { return owner_->sm(); }
    U32 portId() const { return owner_->portIndex().value(); }
    // The port's entry in the status, made if need be; null without a status.
    Kel::Ptr<TmIntfStatus> tmIntfStatusIs() const;
    S32 allocate( S32 & handle ) const;
    void handleAllocated( S32 handle );
    void doProgramPpgPfcEnabled();
    void doProgramPpgMinLimitCells();

    VelTmIntfConfig * owner_;
    S32 ppgHandle_ = -1;
    PpgId ppgId_;
    bool initialized_ = false;
    Kel::Ptr<VelPollClock> pollClock_;
};

} // namespace KelQos
