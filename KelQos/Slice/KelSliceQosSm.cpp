#include "KelQos/Slice/KelSliceQosSm.h"

#include "KelQos/Leak/KelSliceQosLeakHandlerSm.h"
#include "KelQos/Show/KelSliceQosCli.h"
#include "KelQos/Slice/KelSliceQosSmIntf.h"
#include "KelQos/Slice/KelSliceQosSmLog.h"
#include "KelQos/Slice/KelSliceQosSmReactors.h"
#include "Platform/Driver/CheckedCall.h"
#include "Platform/Driver/TmDriver.h"
#include "Platform/Framework/ActivityManager.h"
#include "Platform/Framework/Assert.h"
#include "Platform/Framework/Exceptions.h"

#include <algorithm>
#include <cstdlib>
#include <span>

namespace KelQos {

using Kel::IntfId;
using Kel::makePtr;
using Kel::Ptr;
using KelPortTypes::PortIndex;

Ptr<KelSliceQosSm> kelSliceQosSmFactory(
    U32 deviceId, Ptr<const Kel::Clock> clock, Ptr<const TmConfig> tmConfig, Ptr<TmStatus> tmStatus,
    Ptr<const TmBufferParamsConfig> tmBufferParams, Ptr<KelPfcSharedState> pfcSharedState,
    Ptr<const KelSystem::SystemStatus> systemStatus, Ptr<const KelSlice::ChipStatus> chipStatus,
    Ptr<Agent::AgentCommandRequestDirSm> cmdRequestDirSm, Ptr<const TmCountersData> tmCountersData,
    Ptr<TmCountersData> tmCountersDataLastClear,
    Ptr<const Interface::EthPhyIntfStatusDir> ethPhyIntfStatusDir ) {
    return KelSliceQosSm::KelSliceQosSmIs(
        deviceId, std::move( clock ), std::move( tmConfig ), std::move( tmStatus ),
        std::move( tmBufferParams ), std::move( pfcSharedState ), std::move( systemStatus ),
        std::move( chipStatus ), std::move( cmdRequestDirSm ), std::move( tmCountersData ),
        std::move( tmCountersDataLastClear ), std::move( ethPhyIntfStatusDir ) );
}

KelSliceQosSm::KelSliceQosSm( U32 deviceId ) : deviceId_( deviceId ), pools_( deviceId ) {}

// Delegates so that the destructor tidies up when somebody who is told of the start throws.
KelSliceQosSm::KelSliceQosSm( const KelSliceQosSmInputs & inputs )
    : KelSliceQosSm( inputs.deviceId ) {
    createReactors( inputs );
    // Only traces, since nothing is initialised yet.
    handlePortInfo();
    handleInitialized();
    syncTmIntfConfig();
    syncIntfStatus();
}

void KelSliceQosSm::createReactors( const KelSliceQosSmInputs & inputs ) {
    const auto create = [this]( auto & reactor, const auto & entity ) {
        if ( entity ) {
            using Reactor = typename std::remove_reference_t<decltype( reactor )>::element_type;
            reactor = makePtr<Reactor>( entity, this );
            reactor->hasNotificationActiveIs( true );
        }
    };
    create( velClock_, inputs.clock );
    pools_.syslogClockIs( velClock_.get() );
    create( velTmConfig_, inputs.tmConfig );
    tmStatus_ = inputs.tmStatus;
    create( velTmBufferParams_, inputs.tmBufferParams );
    pfcSharedState_ = inputs.pfcSharedState;
    create( velSystemStatus_, inputs.systemStatus );
    chipStatus_ = inputs.chipStatus;
    cmdRequestDirSm_ = inputs.cmdRequestDirSm;
    tmCountersData_ = inputs.tmCountersData;
    tmCountersDataLastClear_ = inputs.tmCountersDataLastClear;
    create( velEthPhyIntfStatusDir_, inputs.ethPhyIntfStatusDir );
}

void KelSliceQosSm::handleInitialized() {
    KEL_TRACE( sliceTrace, 4 ) << "void KelQos::KelSliceQosSm::handleInitialized(): ";
    initializedIs( true );
    timerWheelIs(
        Kel::TimerWheelIs( Kel::activityManager()->config()->clock(), 100, 30000, true, 1024 ) );
    const U32 devId = deviceId();
    if ( std::getenv( "SIMULATION_VMID" ) ) {
        (void)bf_tm_set_ut_mode_as_model( devId ); // a driver without one does nothing
    }
    U32 totalCellCount = 0;
    (void)bf_tm_total_cell_count_get( devId, &totalCellCount ); // failed: 0, all classes pause
    for ( U32 icos = 0; icos < Cos::count; ++icos ) {
        KEL_TM_CHECKED(
            bf_tm_pool_pfc_limit_set( devId, BF_TM_IG_APP_POOL_0, icos, totalCellCount ) );
    }
    handlePortInfo();
    handleMinLimitCellsForMirroring();
    for ( U32 cos = 0; cos < Cos::count; ++cos ) {
        handleCosToTcMap( Cos( cos ) );
    }
    // Red packets get no share of application pool 0 in either direction. A chip that refuses keeps
    // its own limit, and is only less strict.
    (void)bf_tm_pool_color_drop_limit_set( devId, BF_TM_IG_APP_POOL_0, BF_TM_COLOR_RED, 0 );
    (void)bf_tm_pool_color_drop_limit_set( devId, BF_TM_EG_APP_POOL_0, BF_TM_COLOR_RED, 0 );
    leakHandlerSmIs( deviceId(), chipStatus(), Ptr<const TmBufferParamsConfig>( tmBufferParams() ),
                     tmCountersData() );
    cliCallbackIs( "KelSliceQosCli", "KelSliceQos", this );
    KEL_ASSERT( cmdRequestDirSm() );
    cmdRequestDirSm()->agentCommandCallbackIs( cliCallback() );
}

KelSliceQosSm::~KelSliceQosSm() {
    velDoZombieReactors( true );
    dismissReactors();
    leakHandlerSmDel();
    cliCallbackDel();
    intfStatus_.clear();
    velTmIntfConfig_.clear();
    pools_.syslogClockIs( nullptr );
}

namespace {

// Calls f for each reactor that exists.
template <class F, class... Reactors>
void forEach( const F & f, const Reactors &... reactors ) {
    ( ( reactors ? f( *reactors ) : void() ), ... );
}

} // namespace

void KelSliceQosSm::hasNotificationActiveIs( bool on ) {
    if ( notificationActive_ == on ) {
        return;
    }
    notificationActive_ = on;
    forEach( [on]( auto & target ) { target.hasNotificationActiveIs( on ); }, velClock_,
             velTmConfig_, velTmBufferParams_, velSystemStatus_, velEthPhyIntfStatusDir_,
             leakHandlerSm_ );
    velTmIntfConfig_.hasNotificationActiveIs( on );
    intfStatus_.hasNotificationActiveIs( on );
}

void KelSliceQosSm::velDoZombieReactors( bool zombie ) {
    forEach( [zombie]( auto & reactor ) { reactor.zombieIs( zombie ); }, velClock_, velTmConfig_,
             velTmBufferParams_, velSystemStatus_, velEthPhyIntfStatusDir_ );
    velTmIntfConfig_.zombieIs( zombie );
    intfStatus_.zombieIs( zombie );
}

void KelSliceQosSm::dismissReactors() {
    forEach( []( auto & reactor ) { reactor.dismiss(); }, velClock_, velTmConfig_,
             velTmBufferParams_, velSystemStatus_, velEthPhyIntfStatusDir_ );
    velTmIntfConfig_.dismiss();
    intfStatus_.dismiss();
}

const Kel::Clock * KelSliceQosSm::clock() const {
    return velClock_ ? velClock_->notifier() : nullptr;
}
const TmConfig * KelSliceQosSm::tmConfig() const {
    return velTmConfig_ ? velTmConfig_->notifier() : nullptr;
}
const TmBufferParamsConfig * KelSliceQosSm::tmBufferParams() const {
    return velTmBufferParams_ ? velTmBufferParams_->notifier() : nullptr;
}
const KelSystem::SystemStatus * KelSliceQosSm::systemStatus() const {
    return velSystemStatus_ ? velSystemStatus_->notifier() : nullptr;
}
const Interface::EthPhyIntfStatusDir * KelSliceQosSm::ethPhyIntfStatusDir() const {
    return velEthPhyIntfStatusDir_ ? velEthPhyIntfStatusDir_->notifier() : nullptr;
}

void KelSliceQosSm::timerWheelIs( const Ptr<Kel::TimerWheel> & wheel ) {
    if ( !wheel ) {
        throw Kel::NullArgumentException( "timerWheelIs: null TimerWheel" );
    }
    attributeIs( timerWheel_, wheel, timerWheelAttr );
}

Ptr<KelSliceQosLeakHandlerSm>
KelSliceQosSm::leakHandlerSmIs( U32 deviceId, Ptr<const KelSlice::ChipStatus> chipStatus,
                                Ptr<const TmBufferParamsConfig> tmBufferParams,
                                Ptr<const TmCountersData> tmCountersData ) {
    auto leakHandler =
        KelSliceQosLeakHandlerSmIs( deviceId, std::move( chipStatus ), std::move( tmBufferParams ),
                                    std::move( tmCountersData ) );
    leakHandler->hasNotificationActiveIs( true );
    replaceLeakHandlerSm( leakHandler );
    return leakHandler;
}

void KelSliceQosSm::leakHandlerSmDel() {
    if ( leakHandlerSm_ ) {
        replaceLeakHandlerSm( nullptr );
    }
}

// Whoever holds the former one for longer holds one that polls nothing: what it would do about a
// leak is no longer this process's to do.
void KelSliceQosSm::replaceLeakHandlerSm( const Ptr<KelSliceQosLeakHandlerSm> & leakHandler ) {
    if ( const auto former = std::exchange( leakHandlerSm_, leakHandler ) ) {
        former->pollClockDel();
        former->tmBufferParamsDel();
    }
    attributeChanged( leakHandlerSmAttr );
}

Ptr<KelSliceQosCli> KelSliceQosSm::cliCallbackIs( const std::string & name,
                                                  const std::string & owner, KelSliceQosSm * sm ) {
    if ( cliCallback_ && cliCallback_->name() == name && cliCallback_->commandType() == owner &&
         cliCallback_->kelSliceQosSm() == sm ) {
        return cliCallback_;
    }
    auto callback = KelSliceQosCli::KelSliceQosCliIs( name, owner, sm );
    callback->parentIs( this );
    replaceCliCallback( callback );
    return callback;
}

void KelSliceQosSm::cliCallbackDel() {
    if ( cliCallback_ ) {
        replaceCliCallback( nullptr );
    }
}

// The command channel may hold the former one for longer. It gets no more commands, and whoever
// still holds it cannot reach this state machine.
void KelSliceQosSm::replaceCliCallback( const Ptr<KelSliceQosCli> & callback ) {
    if ( const auto former = std::exchange( cliCallback_, callback ) ) {
        const std::string & type = former->commandType();
        if ( cmdRequestDirSm_ && cmdRequestDirSm_->agentCommandCallback( type ) == former ) {
            cmdRequestDirSm_->agentCommandCallbackDel( type );
        }
        former->parentIs( nullptr );
        former->kelSliceQosSmIs( nullptr );
    }
    attributeChanged( cliCallbackAttr );
}

void KelSliceQosSm::syncTmIntfConfig() {
    const Ptr<const TmConfig> config( tmConfig() );
    if ( !config ) {
        return;
    }
    const auto stillOf = [&] { return tmConfig() == config.get(); };
    VelTmIntfConfigs::follow( config->tmIntfConfig(), stillOf, [this]( PortIndex port, auto intf ) {
        tmIntfConfigIs( port, std::move( intf ) );
    } );
    velTmIntfConfig_.delOthers( config->tmIntfConfig(), stillOf,
                                [this]( PortIndex port ) { tmIntfConfigDel( port ); } );
}

Ptr<KelSliceQosSm::VelTmIntfConfig> KelSliceQosSm::velTmIntfConfig( PortIndex port ) const {
    return velTmIntfConfig_.get( port );
}
bool KelSliceQosSm::velTmIntfConfigHas( PortIndex port ) const {
    return velTmIntfConfig_.contains( port );
}

Ptr<KelSliceQosSm::VelTmIntfConfig>
KelSliceQosSm::newTmIntfConfig( PortIndex port, Ptr<const TmIntfConfig> config ) {
    return makePtr<VelTmIntfConfig>( std::move( config ), port, this );
}

Ptr<KelSliceQosSm::VelTmIntfConfig>
KelSliceQosSm::tmIntfConfigIs( PortIndex port, Ptr<const TmIntfConfig> config ) {
    if ( !config ) {
        throw Kel::NullArgumentException( "tmIntfConfigIs: null TmIntfConfig" );
    }
    const Ptr<KelSliceQosSm> alive( this );
    bool isNew = false;
    auto reactor =
        velTmIntfConfig_.is( port, std::move( config ), [&]( Ptr<const TmIntfConfig> watched ) {
            isNew = true;
            return newTmIntfConfig( port, std::move( watched ) );
        } );
    if ( isNew ) {
        attributeChanged( velTmIntfConfigAttr, &port );
    }
    return reactor;
}

void KelSliceQosSm::tmIntfConfigDel( PortIndex port ) {
    const Ptr<KelSliceQosSm> alive( this );
    if ( velTmIntfConfig_.del( port ) ) {
        attributeChanged( velTmIntfConfigAttr, &port );
    }
}

void KelSliceQosSm::tmIntfConfigDelAll() {
    const Ptr<KelSliceQosSm> alive( this );
    for ( auto entry : velTmIntfConfig_ ) {
        tmIntfConfigDel( entry.key );
    }
}

void KelSliceQosSm::handleCosToTcMap( Cos cos ) {
    for ( auto entry : velTmIntfConfig_ ) {
        const TmIntfConfig * config = entry.value->notifier();
        if ( !config ) {
            continue;
        }
        KEL_TRACE( sliceTrace, 4 )
            << "handleCosToTcMap portId " << entry.key.value() << " cos " << cos.value()
            << " flowControlType " << config->flowControlType();
        if ( config->flowControlType() == flowControlTypePfc ) {
            KEL_TRACE( sliceTrace, 4 ) << "handleCosToTcMap:     has flowControlTypePfc ";
            doProgramIntfPfcCosToTcMap( entry.key );
        }
    }
}

void KelSliceQosSm::doProgramIntfPfcCosToTcMap( PortIndex port ) const {
    const U32 devId = deviceId();
    const U32 portId = port.value();
    KEL_TRACE( sliceTrace, 4 ) << "doProgramIntfPfcCosToTcMap: portId " << portId;
    if ( !tmConfig() ) {
        return;
    }
    const std::array<U8, Cos::count> & map = tmConfig()->cosToTc();
    const auto unmapped = std::ranges::find( map, trafficClassUnmapped );
    if ( sliceTrace.enabled( 4 ) ) {
        for ( const U8 & tc : std::span( map.begin(), unmapped ) ) {
            KEL_TRACE( sliceTrace, 4 )
                << "doProgramIntfPfcCosToTcMap:     cos, tc : " << &tc - map.data() << ", " << tc;
        }
    }
    if ( unmapped != map.end() ) {
        return;
    }
    const U8 * const cosToTc = map.data();
    KEL_TM_CHECKED( bf_tm_port_pfc_cos_mapping_set( devId, portId, cosToTc ) );
}

} // namespace KelQos
