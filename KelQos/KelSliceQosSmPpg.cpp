#include "KelQos/KelSliceQosSmPpg.h"

#include "KelQos/KelSliceQosSmLog.h"
#include "Platform/Driver/CheckedCall.h"
#include "Platform/Driver/DriverStatus.h"
#include "Platform/Driver/TmDriver.h"
#include "Platform/Framework/ActivityManager.h"
#include "Platform/Framework/Assert.h"
#include "Platform/Framework/Exceptions.h"

namespace KelQos {

using Kel::Ptr;

using VelTmPpgConfig = KelSliceQosSm::VelTmIntfConfig::VelTmPpgConfig;

VelTmPpgConfig::VelPollClock::VelPollClock( Ptr<const Kel::TimerWheel> wheel,
                                            VelTmPpgConfig * owner )
    : TimedNotifiee( std::move( wheel ) ), owner_( owner ) {
    timeMinIs( 0.0 );
}

void VelTmPpgConfig::VelPollClock::onAttribute( Kel::AttributeId id, const void * ) {
    if ( owner_ && id == Kel::TimerWheel::timeMinAttr ) {
        // Whoever is told that the group has come may remove it.
        const Ptr<VelTmPpgConfig> alive( owner_ );
        alive->handlePpgClock();
    }
}

void VelTmPpgConfig::VelPollClock::notifierIs( Ptr<const Kel::TimerWheel> wheel ) {
    if ( wheel.get() == notifier() ) {
        return;
    }
    TimedNotifiee::notifierIs( wheel );
    if ( wheel && owner_ && !isMarkedForDeletion() ) {
        owner_->handlePpgClock();
    }
}

VelTmPpgConfig::VelTmPpgConfig( Ptr<const TmPpgConfig> config, PpgId ppgId,
                                VelTmIntfConfig * owner )
    : NotifieeOf( std::move( config ) ), owner_( owner ), ppgId_( ppgId ) {
    handleInitialized();
}

VelTmPpgConfig::~VelTmPpgConfig() {
    if ( pollClock_ ) {
        pollClock_->ownerIs( nullptr );
    }
}

void VelTmPpgConfig::pollClockIs( Ptr<const Kel::TimerWheel> wheel ) {
    if ( !wheel ) {
        throw Kel::NullArgumentException( "pollClockIs: null TimerWheel" );
    }
    if ( pollClock_ ) {
        pollClock_->notifierIs( std::move( wheel ) );
        return;
    }
    pollClock_ = Kel::makePtr<VelPollClock>( std::move( wheel ), this );
    pollClock_->hasNotificationActiveIs( true );
}

void VelTmPpgConfig::onAttribute( Kel::AttributeId id, const void * ) {
    if ( !owner_ || !sm() || !notifier() ) {
        return;
    }
    switch ( id ) {
    case TmPpgConfig::internalCosBmpAttr:
        handlePpgInternalCosBmp();
        break;
    case TmPpgConfig::pfcEnabledAttr:
        handlePpgPfcEnabled();
        break;
    case TmPpgConfig::minLimitCellsAttr:
        handlePpgMinLimitCells();
        break;
    case TmPpgConfig::dynamicThresholdAttr:
        handlePpgDynamicThreshold();
        break;
    default:
        break;
    }
}

void VelTmPpgConfig::notifierIs( Ptr<const TmPpgConfig> config ) {
    if ( config.get() == notifier() ) {
        return;
    }
    NotifieeOf::notifierIs( config );
    if ( config && owner_ && sm() && !isMarkedForDeletion() ) {
        handlePpgInternalCosBmp();
        handlePpgPfcEnabled();
        handlePpgDynamicThreshold();
        handlePpgMinLimitCells();
    }
}

void VelTmPpgConfig::hasNotificationActiveIs( bool on ) {
    NotifieeOf::hasNotificationActiveIs( on );
    pollClock_->hasNotificationActiveIs( on );
}

void VelTmPpgConfig::velDoZombieReactors( bool zombie ) {
    zombieIs( zombie );
    pollClock_->zombieIs( zombie );
}

void VelTmPpgConfig::handleInitialized() {
    pollClockIs( sm()->timerWheel() );
    initializedIs( true );
}

Ptr<TmIntfStatus> VelTmPpgConfig::tmIntfStatusIs() const {
    return sm()->tmStatus() ? sm()->tmStatus()->tmIntfStatusIs( owner_->portIndex() ) : nullptr;
}

S32 VelTmPpgConfig::allocate( S32 & handle ) const {
    const U32 devId = sm()->deviceId();
    return isLossy() ? bf_tm_ppg_defaultppg_get( devId, portId(), &handle )
                     : bf_tm_ppg_allocate( devId, portId(), &handle );
}

void VelTmPpgConfig::handlePpgClock() {
    KEL_TRACE( sliceTrace, 4 ) << "handlePpgClock"
                               << ": "
                               << "devId, portId, ppgId " << sm()->deviceId() << " " << portId()
                               << " " << ppgId();
    if ( ppgHandle() >= 0 ) {
        KEL_TRACE( sliceTrace, 4 ) << "handlePpgClock: ppgHandle already allocated " << ppgHandle();
        return;
    }
    S32 handle = 0;
    const S32 status = allocate( handle );
    KEL_ASSERT( ppgHandle() < 0 );
    if ( status == 0 ) {
        handleAllocated( handle );
        return;
    }
    KEL_TRACE( sliceTrace, 4 ) << "handlePpgClock: return value is " << status;
    if ( status == KelDriver::statusTryAgainLater ) {
        pollClock_->timeMinIs( pollClock_->notifier()->now() + pollInterval() );
        KEL_TRACE( sliceTrace, 9 ) << "handlePpgClock: Ppg not free currently, clock set for ppgId "
                                   << ppgId() << " for portId " << portId();
    } else {
        KEL_TRACE( sliceTrace, 1 ) << "handlePpgClock: Could not allocate ppgId " << ppgId()
                                   << " for portId " << portId() << " rc=" << status;
    }
}

// Everything that changed while the group was waited for takes effect here.
void VelTmPpgConfig::handleAllocated( S32 handle ) {
    pollClock_->timeMinIs( Kel::never );
    KEL_TRACE( sliceTrace, 4 ) << "handlePpgClock: ppgHandle value is " << handle;
    ppgHandleIs( handle );
    sm()->reconfigureSharedPools();
    handlePpgDynamicThreshold();
    doProgramPpgMinLimitCells();
    if ( !isLossy() ) {
        handlePpgInternalCosBmp();
        doProgramPpgPfcEnabled();
    }
    if ( const auto status = tmIntfStatusIs() ) {
        status->tmPpgStatusIs( ppgId(), true );
    }
}

void VelTmPpgConfig::handlePpgInternalCosBmp() {
    if ( isLossy() || ppgHandle() < 0 ) {
        return;
    }
    sm()->reconfigureSharedPools();
    const U32 devId = sm()->deviceId();
    KEL_TRACE( sliceTrace, 4 ) << "handlePpgInternalCosBmp"
                               << ": "
                               << " icosBmp " << notifier()->internalCosBmp();
    KEL_TM_CHECKED(
        bf_tm_ppg_icos_mapping_set( devId, ppgHandle(), notifier()->internalCosBmp() ) );
}

// The headroom is accounted before the chip starts to use it, and released only after the chip has
// stopped.
void VelTmPpgConfig::handlePpgPfcEnabled() {
    if ( isLossy() || ppgHandle() < 0 ) {
        return;
    }
    if ( notifier()->pfcEnabled() ) {
        sm()->reconfigureSharedPools();
        doProgramPpgPfcEnabled();
    } else {
        doProgramPpgPfcEnabled();
        sm()->reconfigureSharedPools();
    }
}

void VelTmPpgConfig::doProgramPpgPfcEnabled() {
    const U32 devId = sm()->deviceId();
    KEL_TRACE( sliceTrace, 4 ) << "doProgramPpgPfcEnabled"
                               << ": "
                               << " ppgId, ppgHandle, pfcEnabled " << ppgId() << " " << ppgHandle()
                               << " " << notifier()->pfcEnabled();
    KEL_ASSERT( notifier()->ppgId() != PpgId::lossyPpgId() );
    if ( notifier()->pfcEnabled() ) {
        KEL_TM_CHECKED( bf_tm_ppg_lossless_treatment_enable( devId, ppgHandle() ) );
        KEL_TM_CHECKED( bf_tm_ppg_skid_limit_set( devId, ppgHandle(),
                                                  2 * TmConfigConstants::tofinoJumboPktCells() ) );
    } else {
        KEL_TM_CHECKED( bf_tm_ppg_lossless_treatment_disable( devId, ppgHandle() ) );
        KEL_TM_CHECKED( bf_tm_ppg_skid_limit_set( devId, ppgHandle(), 0 ) );
    }
}

void VelTmPpgConfig::handlePpgDynamicThreshold() {
    const U32 devId = sm()->deviceId();
    KEL_TRACE( sliceTrace, 4 ) << "handlePpgDynamicThreshold"
                               << ": " << devId << " portId " << portId() << " ppgId " << ppgId();
    if ( ppgHandle() < 0 ) {
        KEL_TRACE( sliceTrace, 6 ) << "handlePpgDynamicThreshold: ppgHandle not initialized";
        return;
    }
    const BurstAbsorptionCoeff baf = notifier()->dynamicThreshold();
    if ( baf == bafInvalid ) {
        KEL_TRACE( sliceTrace, 1 )
            << "handlePpgDynamicThreshold: "
            << "called with bafInvalid: error condition for devId, portId, ppgId " << devId << " "
            << portId() << " " << ppgId();
        Kel::ringTrace( "called with bafInvalid: error condition for devId, portId, ppgId:", devId,
                        portId(), ppgId().value() );
        return;
    }
    const U32 poolId = BF_TM_IG_APP_POOL_0;
    KEL_TM_CHECKED( bf_tm_ppg_app_pool_usage_set( devId, ppgHandle(), poolId, 1, baf, 0 ) );
}

void VelTmPpgConfig::handlePpgMinLimitCells() {
    if ( ppgHandle() < 0 ) {
        return;
    }
    KEL_ASSERT( notifier()->minLimitCells() != TmConfigConstants::minLimitCellsInvalid() );
    sm()->reconfigureSharedPools();
    doProgramPpgMinLimitCells();
}

void VelTmPpgConfig::doProgramPpgMinLimitCells() {
    const U32 devId = sm()->deviceId();
    KEL_TM_CHECKED(
        bf_tm_ppg_guaranteed_min_limit_set( devId, ppgHandle(), notifier()->minLimitCells() ) );
}

void VelTmPpgConfig::cleanup() {
    if ( ppgHandle() < 0 ) {
        return;
    }
    const U32 devId = sm()->deviceId();
    KEL_TM_CHECKED( bf_tm_ppg_icos_mapping_set( devId, ppgHandle(), 0 ) );
    KEL_TRACE( sliceTrace, 4 ) << "cleanup: Freeing ppgId " << ppgId();
    KEL_TM_CHECKED( bf_tm_ppg_free( devId, ppgHandle() ) );
    ppgHandleIs( -1 );
    if ( const auto status = tmIntfStatusIs() ) {
        status->tmPpgStatusDel( ppgId() );
    }
    sm()->reconfigureSharedPools();
}

} // namespace KelQos
