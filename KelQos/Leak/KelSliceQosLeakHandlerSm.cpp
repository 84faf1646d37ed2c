#include "KelQos/Leak/KelSliceQosLeakHandlerSm.h"

#include "Platform/Framework/ActivityManager.h"
#include "Platform/Framework/Exceptions.h"
#include "Platform/Logging/RingTrace.h"
#include "Platform/Logging/Syslog.h"
#include "Platform/Logging/Trace.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace KelQos {

namespace {

Kel::TraceHandle trace( "KelSliceQosLeakHandlerSm" );

Kel::SyslogHandle KEL_INTERNAL_BUFFER_ERROR(
    { .mnemonic = "KEL_INTERNAL_BUFFER_ERROR",
      .severity = 3,
      .format = "An internal buffer accounting error was detected and corrected.",
      .explanation = "An internal buffer accounting error was detected and corrected causing "
                     "approximately 100ms of traffic loss.",
      .recommendedAction = Kel::CallSupportIfPersists,
      .minInterval = 0.0,
      .freeMessages = 1.0,
      .flags = 0,
      .rateLimitArgs = 0 } );

} // namespace

Kel::Ptr<KelSliceQosLeakHandlerSm>
kelSliceQosLeakHandlerSmFactory( U32 deviceId, Kel::Ptr<const KelSlice::ChipStatus> chipStatus,
                                 Kel::Ptr<const TmBufferParamsConfig> tmBufferParams,
                                 Kel::Ptr<const TmCountersData> tmCountersData ) {
    return KelSliceQosLeakHandlerSmIs( deviceId, std::move( chipStatus ),
                                       std::move( tmBufferParams ), std::move( tmCountersData ) );
}

Kel::Ptr<KelSliceQosLeakHandlerSm>
KelSliceQosLeakHandlerSmIs( U32 deviceId, Kel::Ptr<const KelSlice::ChipStatus> chipStatus,
                            Kel::Ptr<const TmBufferParamsConfig> tmBufferParams,
                            Kel::Ptr<const TmCountersData> tmCountersData ) {
    return Kel::makePtr<KelSliceQosLeakHandlerSm>( deviceId, std::move( chipStatus ),
                                                   std::move( tmBufferParams ),
                                                   std::move( tmCountersData ) );
}

KelSliceQosLeakHandlerSm::KelSliceQosLeakHandlerSm(
    U32 deviceId, Kel::Ptr<const KelSlice::ChipStatus> chipStatus,
    Kel::Ptr<const TmBufferParamsConfig> tmBufferParams,
    Kel::Ptr<const TmCountersData> tmCountersData )
    : deviceId_( deviceId ),
      chipStatus_( std::move( chipStatus ) ),
      tmCountersData_( std::move( tmCountersData ) ) {
    if ( tmBufferParams ) {
        velTmBufferParams_ = Kel::makePtr<VelTmBufferParams>( std::move( tmBufferParams ), this );
        velTmBufferParams_->hasNotificationActiveIs( true );
    }
    handleInitialized();
}

KelSliceQosLeakHandlerSm::~KelSliceQosLeakHandlerSm() {
    velDoZombieReactors( true );
    pollClockDel();
    tmBufferParamsDel();
}

const TmBufferParamsConfig * KelSliceQosLeakHandlerSm::tmBufferParams() const {
    return velTmBufferParams_ ? velTmBufferParams_->notifier() : nullptr;
}

void KelSliceQosLeakHandlerSm::tmBufferParamsDel() {
    if ( const auto released = std::exchange( velTmBufferParams_, nullptr ) ) {
        released->dismiss();
    }
}

const Kel::TimerWheel * KelSliceQosLeakHandlerSm::pollClock() const {
    return velPollClock_ ? velPollClock_->notifier() : nullptr;
}

void KelSliceQosLeakHandlerSm::pollClockIs( Kel::Ptr<const Kel::TimerWheel> wheel ) {
    if ( !wheel ) {
        throw Kel::NullArgumentException( "the poll clock needs a timer wheel" );
    }
    if ( velPollClock_ ) {
        velPollClock_->notifierIs( std::move( wheel ) );
        return;
    }
    velPollClock_ = Kel::makePtr<VelPollClock>( std::move( wheel ), this );
    velPollClock_->hasNotificationActiveIs( true );
}

void KelSliceQosLeakHandlerSm::pollClockDel() {
    if ( const auto released = std::exchange( velPollClock_, nullptr ) ) {
        released->dismiss();
    }
}

void KelSliceQosLeakHandlerSm::hasNotificationActiveIs( bool on ) {
    if ( velTmBufferParams_ ) {
        velTmBufferParams_->hasNotificationActiveIs( on );
    }
    if ( velPollClock_ ) {
        velPollClock_->hasNotificationActiveIs( on );
    }
}

void KelSliceQosLeakHandlerSm::velDoZombieReactors( bool zombie ) {
    if ( velTmBufferParams_ ) {
        velTmBufferParams_->zombieIs( zombie );
    }
    if ( velPollClock_ ) {
        velPollClock_->zombieIs( zombie );
    }
}

void KelSliceQosLeakHandlerSm::handleInitialized() {
    KEL_TRACE( trace, 4 ) << "handleInitialized: handleInitialized";
    initializedIs( true );
    pollClockIs(
        Kel::TimerWheelIs( Kel::activityManager()->config()->clock(), 100, 300, false, 1024 ) );
    schedulePollClock();
}

bool KelSliceQosLeakHandlerSm::canPoll() const {
    return initialized() && tmBufferParams() && chipStatus() && tmCountersData();
}

void KelSliceQosLeakHandlerSm::schedulePollClock() {
    if ( canPoll() && pollClock() ) {
        velPollClock_->timeMinIs( Kel::activityManager()->now() +
                                  tmBufferParams()->leakPollInterval() );
    }
}

void KelSliceQosLeakHandlerSm::handlePollClock() {
    if ( !canPoll() ) {
        return;
    }
    const Kel::Ptr<KelSliceQosLeakHandlerSm> alive( this );
    const U32 poll = ++polls_;
    const U32 current = getLeakedPktsCounter();
    const U32 previous = leakedPktsFromLastPoll();
    if ( current > previous ) {
        traceCounters( current, previous );
    }
    leakedPktsFromLastPollIs( current );
    // Whoever watches the count may have taken away what a poll needs, or have changed a parameter
    // so that there was a poll meanwhile; that one has seen to everything.
    if ( !canPoll() || poll != polls_ ) {
        return;
    }
    const U32 threshold = tmBufferParams()->leakThreshold();
    if ( current < threshold ) {
        schedulePollClock();
    } else {
        handleLeak( threshold );
    }
}

void KelSliceQosLeakHandlerSm::handleLeak( U32 threshold ) {
    KEL_TRACE( trace, 1 ) << "handlePollClock: Buffer leak counters went above threshold of "
                          << threshold << ", have to do a warm-reset to recover";
    Kel::ringTrace( "Buffer leak counters went above threshold of ", threshold,
                    ", have to do a warm-reset to recover" );
    Kel::log( KEL_INTERNAL_BUFFER_ERROR );
    if ( std::getenv( "SIMULATION_VMID" ) == nullptr ) {
        Kel::activityManager()->exit( 0 );
    }
    // After a change of the threshold the timer is still armed, and its poll would find the leak
    // again.
    if ( pollClock() ) {
        velPollClock_->timeMinIs( Kel::never );
    }
    recoveredIs( true );
}

const BlockLevelCounters * KelSliceQosLeakHandlerSm::blockLevelCounters( U16 pipe ) const {
    const KelId::KelDevId devId( deviceId() );
    return tmCountersData()
               ? tmCountersData()->getBlockLevelCountersByPipePtr( devId, KelId::KelPipeId( pipe ) )
               : nullptr;
}

bool KelSliceQosLeakHandlerSm::hasPipe( U32 pipe ) const {
    return chipStatus() && pipe <= chipStatus()->maxPipeId();
}

U32 KelSliceQosLeakHandlerSm::getLeakedPktsCounter() const {
    constexpr U64 saturated = 0xFFFFFFFF;
    U64 sum = 0;
    for ( U32 pipe = 0; hasPipe( pipe ); ++pipe ) {
        const BlockLevelCounters * counters = blockLevelCounters( static_cast<U16>( pipe ) );
        const BlockLevelCounter * drops =
            counters ? counters->find( blockLevelEpipePktDrop ) : nullptr;
        // Each is capped, so that no number of pipes makes the sum wrap.
        sum += drops ? std::min( drops->value, saturated ) : 0;
    }
    return static_cast<U32>( std::min( sum, saturated ) );
}

void KelSliceQosLeakHandlerSm::traceCounters( U32 current, U32 previous ) const {
    for ( U32 index = 0; hasPipe( index ); ++index ) {
        const U16 pipe = static_cast<U16>( index );
        const BlockLevelCounters * counters = blockLevelCounters( pipe );
        if ( !counters ) {
            continue;
        }
        if ( const BlockLevelCounter * full = counters->find( blockLevelWacDropBufFull ) ) {
            KEL_TRACE( trace, 4 ) << "traceCounters: tm_wac_top.wac_pipe[" << pipe
                                  << "].wac_reg.wac_drop_buf_full: " << full->value;
            Kel::ringTrace( "tm_wac_top.wac_pipe[", pipe,
                            "].wac_reg.wac_drop_buf_full: ", full->value );
        }
        if ( const BlockLevelCounter * drops = counters->find( blockLevelEpipePktDrop ) ) {
            KEL_TRACE( trace, 4 ) << "traceCounters: tm_top.tm_caa.epipe[" << pipe
                                  << "].pkt_dropcnt: " << drops->value;
            Kel::ringTrace( "tm_top.tm_caa.epipe[", pipe, "].pkt_dropcnt: ", drops->value );
        }
    }
    KEL_TRACE( trace, 4 ) << "traceCounters: Buffer leak detected! Aggregate counts are current: "
                          << current << " lastPoll: " << previous;
    Kel::ringTrace( "Buffer leak detected, Aggregate counts are current: ", current,
                    "  lastPoll: ", previous );
}

void KelSliceQosLeakHandlerSm::VelTmBufferParams::handleNotifier() {
    owner()->schedulePollClock();
    owner()->handlePollClock();
}

} // namespace KelQos
