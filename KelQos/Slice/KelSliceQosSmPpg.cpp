#include "KelQos/Slice/KelSliceQosSmPpg.h"

#include "KelQos/Slice/KelSliceQosSmLog.h"
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
    : Reactor( std::move( wheel ), owner ) {
    timeMinIs( 0.0 );
}

VelTmPpgConfig::VelTmPpgConfig( Ptr<const TmPpgConfig> config, PpgId ppgId,
                                VelTmIntfConfig * owner )
    : Reactor( std::move( config ), owner ), ppgId_( ppgId ) {}

VelTmPpgConfig::~VelTmPpgConfig() = default;

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

void VelTmPpgConfig::hasNotificationActiveIs( bool on ) {
    Reactor::hasNotificationActiveIs( on );
    if ( pollClock_ ) {
        pollClock_->hasNotificationActiveIs( on );
    }
}

void VelTmPpgConfig::zombieIs( bool zombie ) {
    Reactor::zombieIs( zombie );
    if ( pollClock_ ) {
        pollClock_->zombieIs( zombie );
    }
}

void VelTmPpgConfig::dismiss() {
    Reactor::dismiss();
    if ( pollClock_ ) {
        pollClock_->dismiss();
    }
}

void VelTmPpgConfig::handleInitialized() {
    if ( !isAtWork() ) {
        return;
    }
    pollClockIs( sm()->timerWheel() );
    initializedIs( true );
}

void VelTmPpgConfig::handleNotifier() {
    handlePpgInternalCosBmp();
    handlePpgPfcEnabled();
    handlePpgDynamicThreshold();
    handlePpgMinLimitCells();
}

S32 VelTmPpgConfig::allocate( S32 & handle ) const {
    const U32 devId = sm()->deviceId();
    return isLossy() ? bf_tm_ppg_defaultppg_get( devId, portId(), &handle )
                     : bf_tm_ppg_allocate( devId, portId(), &handle );
}

void VelTmPpgConfig::handlePpgClock() {
    if ( !isAtWork() || !pollClock_ || !pollClock_->notifier() ) {
        return;
    }
    KEL_TRACE( sliceTrace, 4 ) << "handlePpgClock: devId, portId, ppgId " << sm()->deviceId() << " "
                               << portId() << " " << ppgId();
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

// Everything that changed during the wait takes effect here. Each recomputation may tell somebody
// who takes the configuration away, and with it the group that has just come.
void VelTmPpgConfig::handleAllocated( S32 handle ) {
    pollClock_->timeMinIs( Kel::never );
    KEL_TRACE( sliceTrace, 4 ) << "handlePpgClock: ppgHandle value is " << handle;
    ppgHandleIs( handle );
    sm()->reconfigureSharedPools();
    if ( !isAtWork() ) {
        return;
    }
    handlePpgDynamicThreshold();
    doProgramPpgMinLimitCells();
    if ( !isLossy() ) {
        handlePpgInternalCosBmp();
        if ( !isAtWork() ) {
            return;
        }
        doProgramPpgPfcEnabled();
    }
    const auto & tmStatus = sm()->tmStatus();
    const auto status = tmStatus ? tmStatus->tmIntfStatusIs( owner()->portIndex() ) : nullptr;
    if ( status && isAtWork() ) {
        status->tmPpgStatusIs( ppgId(), true );
    }
}

void VelTmPpgConfig::handlePpgInternalCosBmp() {
    if ( isLossy() || !isProgrammable() ) {
        return;
    }
    sm()->reconfigureSharedPools();
    if ( !isAtWork() ) {
        return;
    }
    const U32 devId = sm()->deviceId();
    KEL_TRACE( sliceTrace, 4 ) << "handlePpgInternalCosBmp:  icosBmp "
                               << notifier()->internalCosBmp();
    KEL_TM_CHECKED(
        bf_tm_ppg_icos_mapping_set( devId, ppgHandle(), notifier()->internalCosBmp() ) );
}

// Headroom is accounted for before the chip starts to use it, and released only after the chip has
// stopped using it.
void VelTmPpgConfig::handlePpgPfcEnabled() {
    if ( isLossy() || !isProgrammable() ) {
        return;
    }
    if ( !notifier()->pfcEnabled() ) {
        doProgramPpgPfcEnabled();
        sm()->reconfigureSharedPools();
        return;
    }
    sm()->reconfigureSharedPools();
    if ( isAtWork() ) {
        doProgramPpgPfcEnabled();
    }
}

void VelTmPpgConfig::doProgramPpgPfcEnabled() {
    const U32 devId = sm()->deviceId();
    KEL_TRACE( sliceTrace, 4 ) << "doProgramPpgPfcEnabled:  ppgId, ppgHandle, pfcEnabled "
                               << ppgId() << " " << ppgHandle() << " " << notifier()->pfcEnabled();
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
    if ( !isAtWork() ) {
        return;
    }
    const U32 devId = sm()->deviceId();
    KEL_TRACE( sliceTrace, 4 ) << "handlePpgDynamicThreshold: " << devId << " portId " << portId()
                               << " ppgId " << ppgId();
    if ( ppgHandle() < 0 ) {
        KEL_TRACE( sliceTrace, 6 ) << "handlePpgDynamicThreshold: ppgHandle not initialized";
        return;
    }
    const BurstAbsorptionCoeff baf = notifier()->dynamicThreshold();
    if ( baf == bafInvalid ) {
        KEL_TRACE( sliceTrace, 1 )
            << "handlePpgDynamicThreshold: called with bafInvalid: error condition for devId, portId, ppgId "
            << devId << " " << portId() << " " << ppgId();
        Kel::ringTrace( "called with bafInvalid: error condition for devId, portId, ppgId:", devId,
                        portId(), ppgId().value() );
        return;
    }
    const U32 poolId = BF_TM_IG_APP_POOL_0;
    KEL_TM_CHECKED( bf_tm_ppg_app_pool_usage_set( devId, ppgHandle(), poolId, 1, baf, 0 ) );
}

void VelTmPpgConfig::handlePpgMinLimitCells() {
    if ( !isProgrammable() ) {
        return;
    }
    KEL_ASSERT( notifier()->minLimitCells() != TmConfigConstants::minLimitCellsInvalid() );
    sm()->reconfigureSharedPools();
    if ( isAtWork() ) {
        doProgramPpgMinLimitCells();
    }
}

void VelTmPpgConfig::doProgramPpgMinLimitCells() {
    const U32 devId = sm()->deviceId();
    KEL_TM_CHECKED(
        bf_tm_ppg_guaranteed_min_limit_set( devId, ppgHandle(), notifier()->minLimitCells() ) );
}

void VelTmPpgConfig::cleanup() {
    if ( ppgHandle() < 0 || !sm() ) {
        return;
    }
    KelSliceQosSm & sm = *this->sm(); // whoever hears of the status may take the port away as well
    const U32 devId = sm.deviceId();
    KEL_TM_CHECKED( bf_tm_ppg_icos_mapping_set( devId, ppgHandle(), 0 ) );
    KEL_TRACE( sliceTrace, 4 ) << "cleanup: Freeing ppgId " << ppgId();
    KEL_TM_CHECKED( bf_tm_ppg_free( devId, ppgHandle() ) );
    ppgHandleIs( -1 );
    if ( sm.tmStatus() ) {
        sm.tmStatus()->tmIntfStatusIs( owner()->portIndex() )->tmPpgStatusDel( ppgId() );
    }
    sm.reconfigureSharedPools();
}

} // namespace KelQos
