#include "KelQos/Wred/KelSliceQosWredBlockSm.h"

#include "KelQos/Wred/KelSliceQosWredBlockLog.h"
#include "Platform/Driver/PipeManager.h"
#include "Platform/Framework/Assert.h"
#include "Platform/Framework/Exceptions.h"

namespace KelQos {

Kel::Ptr<KelSliceQosWredBlockSm>
kelSliceQosWredBlockSmFactory( U32 sessionId, KelId::KelDevId devId,
                               Kel::Ptr<KelDriver::PdIntf> pdIntf,
                               Kel::Ptr<KelDriver::ResourceInfoIntf> resourceInfoIntf,
                               Kel::Ptr<const WredBlockConfig> wredBlockConfig ) {
    return KelSliceQosWredBlockSmIs( sessionId, devId, std::move( pdIntf ),
                                     std::move( resourceInfoIntf ), std::move( wredBlockConfig ) );
}

Kel::Ptr<KelSliceQosWredBlockSm>
KelSliceQosWredBlockSmIs( U32 sessionId, KelId::KelDevId devId, Kel::Ptr<KelDriver::PdIntf> pdIntf,
                          Kel::Ptr<KelDriver::ResourceInfoIntf> resourceInfoIntf,
                          Kel::Ptr<const WredBlockConfig> wredBlockConfig ) {
    return Kel::makePtr<KelSliceQosWredBlockSm>( sessionId, devId, std::move( pdIntf ),
                                                 std::move( resourceInfoIntf ),
                                                 std::move( wredBlockConfig ) );
}

KelSliceQosWredBlockSm::KelSliceQosWredBlockSm(
    U32 sessionId, KelId::KelDevId devId, Kel::Ptr<KelDriver::PdIntf> pdIntf,
    Kel::Ptr<KelDriver::ResourceInfoIntf> resourceInfoIntf,
    Kel::Ptr<const WredBlockConfig> wredBlockConfig )
    : sessionId_( sessionId ),
      devId_( devId ),
      pdIntf_( std::move( pdIntf ) ),
      resourceInfoIntf_( std::move( resourceInfoIntf ) ) {
    if ( wredBlockConfig ) {
        velWredBlockConfig_ =
            Kel::makePtr<VelWredBlockConfig>( std::move( wredBlockConfig ), this );
        velWredBlockConfig_->hasNotificationActiveIs( true );
    }
    handleInitialized();
}

KelSliceQosWredBlockSm::~KelSliceQosWredBlockSm() {
    velDoZombieReactors( true );
    if ( velWredBlockConfig_ ) {
        velWredBlockConfig_->dismiss();
    }
    pipeSmDelAll();
}

const WredBlockConfig * KelSliceQosWredBlockSm::wredBlockConfig() const {
    return velWredBlockConfig_ ? velWredBlockConfig_->notifier() : nullptr;
}

Kel::Ptr<KelSliceQosWredBlockPipeSm>
KelSliceQosWredBlockSm::pipeSmIs( U32 sessionId, const Kel::Ptr<KelDriver::PdIntf> & pdIntf,
                                  const Kel::Ptr<KelDriver::ResourceInfoIntf> & resourceInfoIntf,
                                  KelDriver::KelDevTgt devTgt,
                                  const Kel::Ptr<const WredBlockPipeConfig> & pipeConfig ) {
    if ( !pdIntf || !resourceInfoIntf || !pipeConfig ) {
        throw Kel::NullArgumentException(
            "a WRED pipe needs both driver interfaces and a configuration" );
    }
    if ( Kel::Ptr<KelSliceQosWredBlockPipeSm> present = pipeSm( devTgt ) ) {
        if ( present->sessionId() != sessionId || present->pdIntf() != pdIntf ||
             present->resourceInfoIntf() != resourceInfoIntf ||
             present->pipeConfig() != pipeConfig.get() ) {
            throw Kel::ReinstantiationException( "the WRED pipe " + valueToStrep( devTgt ) +
                                                 " exists, built from other arguments" );
        }
        return present;
    }
    Kel::Ptr<KelSliceQosWredBlockPipeSm> created =
        KelSliceQosWredBlockPipeSmIs( sessionId, pdIntf, resourceInfoIntf, devTgt, pipeConfig );
    pipeSm_.insert( devTgt, created );
    created->hasNotificationActiveIs( true );
    return created;
}

void KelSliceQosWredBlockSm::pipeSmDel( KelDriver::KelDevTgt devTgt ) {
    if ( const auto removed = pipeSm( devTgt ) ) {
        removed->pipeConfigDel();
        pipeSm_.erase( devTgt );
    }
}

void KelSliceQosWredBlockSm::pipeSmDelAll() {
    const Kel::Ptr<const Kel::Entity> alive( this );
    for ( const auto entry : pipeSm() ) {
        pipeSmDel( entry.key );
    }
}

void KelSliceQosWredBlockSm::hasNotificationActiveIs( bool on ) {
    notificationActive_ = on;
    if ( velWredBlockConfig_ ) {
        velWredBlockConfig_->hasNotificationActiveIs( on );
    }
    for ( const auto entry : pipeSm() ) {
        entry.value->hasNotificationActiveIs( on );
    }
}

void KelSliceQosWredBlockSm::velDoZombieReactors( bool zombie ) {
    if ( velWredBlockConfig_ ) {
        velWredBlockConfig_->zombieIs( zombie );
    }
}

// Trace lines begin with the full signature, since the overloads share a short name.

void KelSliceQosWredBlockSm::handleInitialized() {
    KEL_TRACE( wredTrace, 3 ) << "void KelQos::KelSliceQosWredBlockSm::handleInitialized(): ";
    KEL_ASSERT( resourceInfoIntf() );
    KEL_ASSERT( pdIntf() );
    KEL_ASSERT( wredBlockConfig() );
    const U32 wredQueueSelectIndex = resourceInfoIntf()->tableIndex( "wredQueueSelect" );
    KEL_ASSERT( wredQueueSelectIndex != 0xFFFFFFF );
    const KelDriver::TableRecord tableRecord = resourceInfoIntf()->table( wredQueueSelectIndex );
    const U32 pps =
        pipe_mgr_tbl_set_property( sessionId(), devId().value(), tableRecord.tableHandle,
                                   KEL_TABLE_ENTRY_SCOPE, KEL_ENTRY_SCOPE_SINGLE_PIPELINE, 0 );
    KEL_ASSERT( pps == 0 );
    handlePipeConfig();
    initializedIs( true );
}

void KelSliceQosWredBlockSm::handlePipeConfig() {
    KEL_TRACE( wredTrace, 3 ) << "void KelQos::KelSliceQosWredBlockSm::handlePipeConfig(): ";
    KEL_ASSERT( wredBlockConfig() );
    const Kel::Ptr<const Kel::Entity> alive( this );
    const Kel::Ptr<const WredBlockConfig> config( wredBlockConfig() );
    for ( const auto entry : config->pipeConfig() ) {
        handlePipeConfig( entry.key );
    }
}

void KelSliceQosWredBlockSm::handlePipeConfig( KelDriver::KelDevTgt devTgt ) {
    KEL_TRACE( wredTrace, 3 )
        << "void KelQos::KelSliceQosWredBlockSm::handlePipeConfig(KelDriver::KelDevTgt): devTgt: "
        << devTgt;
    KEL_ASSERT( wredBlockConfig() );
    if ( const Kel::Ptr<WredBlockPipeConfig> config = wredBlockConfig()->pipeConfig( devTgt ) ) {
        if ( pipeSmHas( devTgt ) ) {
            Kel::reportFailed( "!pipeSmHas( devTgt )",
                               "Unexpected KelSliceQosWredBlockPipeSm already initialized" );
            Kel::assertionFailed( "\"!pipeSmHas( devTgt )\" == nullptr", __FILE__, __LINE__,
                                  __PRETTY_FUNCTION__ );
        }
        pipeSmIs( sessionId(), pdIntf(), resourceInfoIntf(), devTgt, config );
        KEL_TRACE( wredTrace, 3 )
            << "void KelQos::KelSliceQosWredBlockSm::handlePipeConfig(KelDriver::KelDevTgt): pipeSm initialized for devTgt: "
            << devTgt;
    } else {
        pipeSmDel( devTgt );
        KEL_TRACE( wredTrace, 3 )
            << "void KelQos::KelSliceQosWredBlockSm::handlePipeConfig(KelDriver::KelDevTgt): pipeSm removed for devTgt: "
            << devTgt;
    }
}

} // namespace KelQos
