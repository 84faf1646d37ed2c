#pragma once

#include "KelQos/Wred/KelSliceQosWredBlockPipeSm.h"

namespace KelQos {

class KelSliceQosWredBlockSm;

// Creates the WRED state machine of one chip: gives every pipe its own entries in the table that
// selects profiles, then writes what is configured. All three entities must be there, the data
// plane's program must have the table, and the pipe manager must accept the setting (all asserted).
Kel::Ptr<KelSliceQosWredBlockSm>
kelSliceQosWredBlockSmFactory( U32 sessionId, KelId::KelDevId devId,
                               Kel::Ptr<KelDriver::PdIntf> pdIntf,
                               Kel::Ptr<KelDriver::ResourceInfoIntf> resourceInfoIntf,
                               Kel::Ptr<const WredBlockConfig> wredBlockConfig );

// The creation operation, which the factory calls.
Kel::Ptr<KelSliceQosWredBlockSm>
KelSliceQosWredBlockSmIs( U32 sessionId, KelId::KelDevId devId, Kel::Ptr<KelDriver::PdIntf> pdIntf,
                          Kel::Ptr<KelDriver::ResourceInfoIntf> resourceInfoIntf,
                          Kel::Ptr<const WredBlockConfig> wredBlockConfig );

// Owns the WRED profile table of one chip: one pipe state machine for every device and pipe that is
// configured. The entries of a pipe whose configuration is removed stay in the chip.
class KelSliceQosWredBlockSm : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId { pipeSmAttr = 1, initializedAttr };
    using PipeSms = Kel::MemberCollection<KelDriver::KelDevTgt, KelSliceQosWredBlockPipeSm>;
    class VelWredBlockConfig;

    static constexpr auto creation = &kelSliceQosWredBlockSmFactory;

    KelSliceQosWredBlockSm( U32 sessionId, KelId::KelDevId devId,
                            Kel::Ptr<KelDriver::PdIntf> pdIntf,
                            Kel::Ptr<KelDriver::ResourceInfoIntf> resourceInfoIntf,
                            Kel::Ptr<const WredBlockConfig> wredBlockConfig );
    ~KelSliceQosWredBlockSm() override;

    // The pipe manager's session.
    U32 sessionId() const { return sessionId_; }
    KelId::KelDevId devId() const { return devId_; }
    const Kel::Ptr<KelDriver::PdIntf> & pdIntf() const { return pdIntf_; }
    const Kel::Ptr<KelDriver::ResourceInfoIntf> & resourceInfoIntf() const {
        return resourceInfoIntf_;
    }
    // The configuration that is followed and its reactor; null when there is none.
    const WredBlockConfig * wredBlockConfig() const;
    const Kel::Ptr<VelWredBlockConfig> & velWredBlockConfig() const { return velWredBlockConfig_; }

    const PipeSms & pipeSm() const { return pipeSm_; }
    Kel::Ptr<KelSliceQosWredBlockPipeSm> pipeSm( KelDriver::KelDevTgt devTgt ) const {
        return pipeSm_.get( devTgt );
    }
    bool pipeSmHas( KelDriver::KelDevTgt devTgt ) const { return pipeSm_.has( devTgt ); }
    // Creates the pipe's state machine, which writes all its entries. One that is there already is
    // returned as it is, or, if it was built from other arguments, Kel::ReinstantiationException is
    // thrown. Throws Kel::NullArgumentException for a null entity.
    Kel::Ptr<KelSliceQosWredBlockPipeSm>
    pipeSmIs( U32 sessionId, const Kel::Ptr<KelDriver::PdIntf> & pdIntf,
              const Kel::Ptr<KelDriver::ResourceInfoIntf> & resourceInfoIntf,
              KelDriver::KelDevTgt devTgt, const Kel::Ptr<const WredBlockPipeConfig> & pipeConfig );
    // Nothing is written, by this or by whoever still holds the pipe's state machine: the chip
    // keeps the entries.
    void pipeSmDel( KelDriver::KelDevTgt devTgt );
    void pipeSmDelAll();

    bool initialized() const { return initialized_; }
    void initializedIs( bool initialized ) {
        attributeIs( initialized_, initialized, initializedAttr );
    }

    // The notification switch of this state machine, its reactor and all pipe state machines.
    bool hasNotificationActive() const { return notificationActive_; }
    void hasNotificationActiveIs( bool on );

    void handleInitialized();
    // Creates the state machines of all configured pipes. Every other pipe is left as it is.
    void handlePipeConfig();
    // Creates the state machine of a pipe whose configuration was added, or drops that of one whose
    // configuration was removed. A configuration for a pipe that has a state machine aborts: the
    // writer of the configuration changes entries, and never replaces a pipe's whole configuration.
    void handlePipeConfig( KelDriver::KelDevTgt devTgt );

  private:
    void velDoZombieReactors( bool zombie );

    const U32 sessionId_;
    const KelId::KelDevId devId_;
    const Kel::Ptr<KelDriver::PdIntf> pdIntf_;
    const Kel::Ptr<KelDriver::ResourceInfoIntf> resourceInfoIntf_;
    Kel::Ptr<VelWredBlockConfig> velWredBlockConfig_;
    PipeSms pipeSm_{ *this, pipeSmAttr };
    bool initialized_ = false;
    bool notificationActive_ = false;
};

// Follows which pipes are configured.
class KelSliceQosWredBlockSm::VelWredBlockConfig final
    : public Kel::Reactor<KelSliceQosWredBlockSm::VelWredBlockConfig, WredBlockConfig,
                          KelSliceQosWredBlockSm> {
  public:
    static constexpr Kel::Handler<VelWredBlockConfig> handlers[]{
        Kel::calls<Kel::withKey<KelDriver::KelDevTgt>( &KelSliceQosWredBlockSm::handlePipeConfig )>(
            WredBlockConfig::pipeConfigAttr ),
    };

    using Reactor::Reactor;
};

} // namespace KelQos
