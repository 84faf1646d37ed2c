#include "KelQos/Wred/KelSliceQosWredBlockPipeSm.h"

#include "KelQos/Wred/KelSliceQosWredBlockLog.h"
#include "Platform/Framework/Assert.h"
#include "Platform/Logging/RingTrace.h"

#include <utility>

namespace KelQos {

Kel::TraceHandle wredTrace( "KelSliceQosWredBlockSm" );

Kel::Ptr<KelSliceQosWredBlockPipeSm>
kelSliceQosWredBlockPipeSmFactory( U32 sessionId, Kel::Ptr<KelDriver::PdIntf> pdIntf,
                                   Kel::Ptr<KelDriver::ResourceInfoIntf> resourceInfoIntf,
                                   KelDriver::KelDevTgt devTgt,
                                   Kel::Ptr<const WredBlockPipeConfig> pipeConfig ) {
    return KelSliceQosWredBlockPipeSmIs( sessionId, std::move( pdIntf ),
                                         std::move( resourceInfoIntf ), devTgt,
                                         std::move( pipeConfig ) );
}

Kel::Ptr<KelSliceQosWredBlockPipeSm>
KelSliceQosWredBlockPipeSmIs( U32 sessionId, Kel::Ptr<KelDriver::PdIntf> pdIntf,
                              Kel::Ptr<KelDriver::ResourceInfoIntf> resourceInfoIntf,
                              KelDriver::KelDevTgt devTgt,
                              Kel::Ptr<const WredBlockPipeConfig> pipeConfig ) {
    return Kel::makePtr<KelSliceQosWredBlockPipeSm>( sessionId, std::move( pdIntf ),
                                                     std::move( resourceInfoIntf ), devTgt,
                                                     std::move( pipeConfig ) );
}

KelSliceQosWredBlockPipeSm::KelSliceQosWredBlockPipeSm(
    U32 sessionId, Kel::Ptr<KelDriver::PdIntf> pdIntf,
    Kel::Ptr<KelDriver::ResourceInfoIntf> resourceInfoIntf, KelDriver::KelDevTgt devTgt,
    Kel::Ptr<const WredBlockPipeConfig> pipeConfig )
    : sessionId_( sessionId ),
      pdIntf_( std::move( pdIntf ) ),
      resourceInfoIntf_( std::move( resourceInfoIntf ) ),
      devTgt_( devTgt ) {
    if ( pipeConfig ) {
        velPipeConfig_ = Kel::makePtr<VelPipeConfig>( std::move( pipeConfig ), this );
        velPipeConfig_->hasNotificationActiveIs( true );
    }
    handleInitialized();
}

KelSliceQosWredBlockPipeSm::~KelSliceQosWredBlockPipeSm() {
    velDoZombieReactors( true );
    pipeConfigDel();
}

const WredBlockPipeConfig * KelSliceQosWredBlockPipeSm::pipeConfig() const {
    return velPipeConfig_ ? velPipeConfig_->notifier() : nullptr;
}

void KelSliceQosWredBlockPipeSm::pipeConfigDel() {
    if ( const auto released = std::exchange( velPipeConfig_, nullptr ) ) {
        released->dismiss();
    }
}

void KelSliceQosWredBlockPipeSm::hasNotificationActiveIs( bool on ) {
    notificationActive_ = on;
    if ( velPipeConfig_ ) {
        velPipeConfig_->hasNotificationActiveIs( on );
    }
}

void KelSliceQosWredBlockPipeSm::velDoZombieReactors( bool zombie ) {
    if ( velPipeConfig_ ) {
        velPipeConfig_->zombieIs( zombie );
    }
}

// Trace lines begin with the full signature, since the overloads share a short name.

void KelSliceQosWredBlockPipeSm::handleInitialized() {
    KEL_TRACE( wredTrace, 4 ) << "void KelQos::KelSliceQosWredBlockPipeSm::handleInitialized(): ";
    KEL_ASSERT( resourceInfoIntf() );
    KEL_ASSERT( pdIntf() );
    KEL_ASSERT( pipeConfig() );
    wredBlockHdlIs( resourceInfoIntf()->tableWredField( wredBlockName(),
                                                        KelDriver::WredFieldId::resourceHandle ) );
    KEL_TRACE( wredTrace, 3 )
        << "void KelQos::KelSliceQosWredBlockPipeSm::handleInitialized(): WRED handle: "
        << wredBlockHdl();
    handleResourceConfig();
    initializedIs( true );
}

void KelSliceQosWredBlockPipeSm::handleResourceConfig() {
    KEL_TRACE( wredTrace, 9 )
        << "void KelQos::KelSliceQosWredBlockPipeSm::handleResourceConfig(): devTgt: " << devTgt();
    const Kel::Ptr<const WredBlockPipeConfig> config( pipeConfig() );
    if ( !config ) {
        return;
    }
    for ( const auto entry : config->resourceConfig() ) {
        handleResourceConfig( entry.key );
    }
}

void KelSliceQosWredBlockPipeSm::handleResourceConfig( U16 resourceIndex ) {
    if ( !pipeConfig() ) {
        return;
    }
    const U8 device = devTgt().devId().value();
    const U16 pipe = devTgt().pipeId().value();
    KEL_TRACE( wredTrace, 9 )
        << "void KelQos::KelSliceQosWredBlockPipeSm::handleResourceConfig(U16): devTgt: D" << device
        << " P" << pipe << " resourceIndex: " << resourceIndex;
    Kel::ringTrace( "handleResourceConfig devTgt: D", device, " P", pipe,
                    " resourceIndex: ", resourceIndex );
    const WredBlockResourceConfig * config = pipeConfig()->resourceConfig().find( resourceIndex );
    if ( !config ) {
        KEL_TRACE( wredTrace, 9 )
            << "void KelQos::KelSliceQosWredBlockPipeSm::handleResourceConfig(U16): WRED entry at index "
            << resourceIndex << " removed";
        Kel::ringTrace( "handleResourceConfig WRED entry at index ", resourceIndex, "removed" );
        return;
    }
    writeEntry( resourceIndex, *config );
}

void KelSliceQosWredBlockPipeSm::writeEntry( U16 resourceIndex,
                                             const WredBlockResourceConfig & config ) const {
    const U8 device = devTgt().devId().value();
    const U16 pipe = devTgt().pipeId().value();
    KEL_TRACE( wredTrace, 9 )
        << "void KelQos::KelSliceQosWredBlockPipeSm::handleResourceConfig(U16): Applying WRED entry at index "
        << resourceIndex << " minThdCells: " << config.minThdCells
        << " maxThdCells: " << config.maxThdCells
        << " maxDropProbablity: " << config.maxDropProbability
        << " timeConstantNs: " << config.timeConstantNs;
    Kel::ringTrace( "handleResourceConfig Applying WRED entry at index ", resourceIndex,
                    " minThdCells: ", config.minThdCells, " maxThdCells: ", config.maxThdCells,
                    " maxDropProbablity: ", config.maxDropProbability,
                    " timeConstantNs: ", config.timeConstantNs );
    const p4_pd_red_spec spec{ .timeConstantNs = config.timeConstantNs,
                               .minThdCells = config.minThdCells,
                               .maxThdCells = config.maxThdCells,
                               .maxDropProbability = config.maxDropProbability };
    const U32 status = pdIntf()->wredSetIndirect( sessionId(), device, pipe, wredBlockHdl(),
                                                  resourceIndex, &spec );
    if ( status != 0 ) {
        KEL_TRACE( wredTrace, 1 )
            << "void KelQos::KelSliceQosWredBlockPipeSm::handleResourceConfig(U16): WRED Set failed for D"
            << device << " P" << pipe << " resourceIndex: " << resourceIndex
            << " with errorCode: " << status;
        Kel::ringTrace( " WRED Set failed for D", device, " P", pipe,
                        " resourceIndex: ", resourceIndex, " with errorCode: ", status );
    }
}

} // namespace KelQos
