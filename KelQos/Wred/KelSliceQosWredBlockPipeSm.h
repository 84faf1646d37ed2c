#pragma once

#include "Platform/Driver/PdIntf.h"
#include "Platform/Driver/ResourceInfoIntf.h"
#include "Platform/Entities/WredConfig.h"
#include "Platform/Framework/Entity.h"
#include "Platform/Framework/Reactor.h"

namespace KelQos {

class KelSliceQosWredBlockPipeSm;

// Creates the WRED state machine of one pipe of one chip and writes all its configured entries. All
// three entities must be there (asserted).
Kel::Ptr<KelSliceQosWredBlockPipeSm>
kelSliceQosWredBlockPipeSmFactory( U32 sessionId, Kel::Ptr<KelDriver::PdIntf> pdIntf,
                                   Kel::Ptr<KelDriver::ResourceInfoIntf> resourceInfoIntf,
                                   KelDriver::KelDevTgt devTgt,
                                   Kel::Ptr<const WredBlockPipeConfig> pipeConfig );

// The creation operation, which the factory calls.
Kel::Ptr<KelSliceQosWredBlockPipeSm>
KelSliceQosWredBlockPipeSmIs( U32 sessionId, Kel::Ptr<KelDriver::PdIntf> pdIntf,
                              Kel::Ptr<KelDriver::ResourceInfoIntf> resourceInfoIntf,
                              KelDriver::KelDevTgt devTgt,
                              Kel::Ptr<const WredBlockPipeConfig> pipeConfig );

// Keeps the WRED entries of one pipe as configured: an entry is written whenever its configuration
// is added or changed. One whose configuration is removed keeps its last profile in the chip, since
// a queue may still select it; for the same reason dropping the state machine writes nothing.
class KelSliceQosWredBlockPipeSm : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId { wredBlockHdlAttr = 1, initializedAttr };
    class VelPipeConfig;

    static constexpr auto creation = &kelSliceQosWredBlockPipeSmFactory;

    KelSliceQosWredBlockPipeSm( U32 sessionId, Kel::Ptr<KelDriver::PdIntf> pdIntf,
                                Kel::Ptr<KelDriver::ResourceInfoIntf> resourceInfoIntf,
                                KelDriver::KelDevTgt devTgt,
                                Kel::Ptr<const WredBlockPipeConfig> pipeConfig );
    ~KelSliceQosWredBlockPipeSm() override;

    // The pipe manager's session, for every write.
    U32 sessionId() const { return sessionId_; }
    const Kel::Ptr<KelDriver::PdIntf> & pdIntf() const { return pdIntf_; }
    const Kel::Ptr<KelDriver::ResourceInfoIntf> & resourceInfoIntf() const {
        return resourceInfoIntf_;
    }
    KelDriver::KelDevTgt devTgt() const { return devTgt_; }

    // The configuration that is followed and its reactor; null when there is none.
    const WredBlockPipeConfig * pipeConfig() const;
    const Kel::Ptr<VelPipeConfig> & velPipeConfig() const { return velPipeConfig_; }
    // Nothing is followed and nothing is written any more.
    void pipeConfigDel();

    // The WRED resource's name in the data plane's program, and the handle found under it; 0 until
    // it has been looked up, or if there is none; the driver then refuses the writes.
    static constexpr const char * wredBlockName() { return "wredBlock"; }
    U32 wredBlockHdl() const { return wredBlockHdl_; }
    void wredBlockHdlIs( U32 handle ) { attributeIs( wredBlockHdl_, handle, wredBlockHdlAttr ); }
    bool initialized() const { return initialized_; }
    void initializedIs( bool initialized ) {
        attributeIs( initialized_, initialized, initializedAttr );
    }

    // The notification switch, of this state machine and its reactor.
    bool hasNotificationActive() const { return notificationActive_; }
    void hasNotificationActiveIs( bool on );

    void handleInitialized();
    // Writes all configured entries. Neither this nor the next does anything once the configuration
    // is gone.
    void handleResourceConfig();
    // Writes the entry at this index if it is configured. A refused write is traced and not
    // repeated; the next change of the entry tries again.
    void handleResourceConfig( U16 resourceIndex );

  private:
    void velDoZombieReactors( bool zombie );
    void writeEntry( U16 resourceIndex, const WredBlockResourceConfig & config ) const;

    const U32 sessionId_;
    const Kel::Ptr<KelDriver::PdIntf> pdIntf_;
    const Kel::Ptr<KelDriver::ResourceInfoIntf> resourceInfoIntf_;
    const KelDriver::KelDevTgt devTgt_;
    Kel::Ptr<VelPipeConfig> velPipeConfig_;
    U32 wredBlockHdl_ = 0;
    bool initialized_ = false;
    bool notificationActive_ = false;
};

// Follows the pipe's entries.
class KelSliceQosWredBlockPipeSm::VelPipeConfig final
    : public Kel::Reactor<KelSliceQosWredBlockPipeSm::VelPipeConfig, WredBlockPipeConfig,
                          KelSliceQosWredBlockPipeSm> {
  public:
    static constexpr Kel::Handler<VelPipeConfig> handlers[]{
        Kel::calls<Kel::withKey<U16>( &KelSliceQosWredBlockPipeSm::handleResourceConfig )>(
            WredBlockPipeConfig::resourceConfigAttr ),
    };

    using Reactor::Reactor;
};

} // namespace KelQos
