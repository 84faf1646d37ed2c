#include "KelQos/KelSliceQosSm.h"

#include "KelQos/KelSliceQosCli.h"
#include "KelQos/KelSliceQosLeakHandlerSm.h"
#include "KelQos/KelSliceQosSmIntf.h"
#include "KelQos/KelSliceQosSmLog.h"
#include "KelQos/KelSliceQosSmReactors.h"
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

KelSliceQosSm::KelSliceQosSm( const KelSliceQosSmInputs & inputs ) : deviceId_( inputs.deviceId ) {
    createReactors( inputs );
    // Returns at once, since nothing is initialised yet; start-up makes the same calls every time.
    handlePortInfo();
    handleInitialized();
    if ( tmConfig() ) {
        syncTmIntfConfig();
    }
    if ( ethPhyIntfStatusDir() ) {
        syncIntfStatus();
    }
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
    create( velTmConfig_, inputs.tmConfig );
    account_.configIs( inputs.tmConfig );
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
    KEL_TRACE( sliceTrace, 4 ) << "void KelQos::KelSliceQosSm::handleInitialized()"
                               << ": ";
    initializedIs( true );
    timerWheelIs(
        Kel::TimerWheelIs( Kel::activityManager()->config()->clock(), 100, 30000, true, 1024 ) );
    const U32 devId = deviceId();
    if ( std::getenv( "SIMULATION_VMID" ) ) {
        (void)bf_tm_set_ut_mode_as_model( devId ); // a driver without a model has nothing to do
    }
    U32 totalCellCount = 0;
    (void)bf_tm_total_cell_count_get( devId, &totalCellCount ); // 0: classes pause at once
    for ( U32 icos = 0; icos < Cos::count; ++icos ) {
        KEL_TM_CHECKED(
            bf_tm_pool_pfc_limit_set( devId, BF_TM_IG_APP_POOL_0, icos, totalCellCount ) );
    }
    handlePortInfo();
    handleMinLimitCellsForMirroring();
    for ( U32 cos = 0; cos < Cos::count; ++cos ) {
        handleCosToTcMap( Cos( cos ) );
    }
    // Red packets get no share of application pool 0 in either direction. A chip that keeps its own
    // limit only marks less strictly.
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
    clearBackPointers();
    leakHandlerSmDel();
    cliCallbackDel();
    intfStatus_.clear();
    velTmIntfConfig_.clear();
    bufferAllocationLogStateCollDelAll();
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
    const auto forward = [on]( auto & target ) { target.hasNotificationActiveIs( on ); };
    forEach( forward, velClock_, velTmConfig_, velTmBufferParams_, velSystemStatus_,
             velEthPhyIntfStatusDir_, leakHandlerSm_ );
    for ( auto entry : velTmIntfConfig_ ) {
        forward( *entry.value );
    }
    for ( auto entry : intfStatus_ ) {
        forward( *entry.value );
    }
}

void KelSliceQosSm::velDoZombieReactors( bool zombie ) {
    const auto mark = [zombie]( auto & reactor ) { reactor.zombieIs( zombie ); };
    forEach( mark, velClock_, velTmConfig_, velTmBufferParams_, velSystemStatus_,
             velEthPhyIntfStatusDir_ );
    for ( auto entry : velTmIntfConfig_ ) {
        entry.value->velDoZombieReactors( zombie );
    }
    for ( auto entry : intfStatus_ ) {
        mark( *entry.value );
    }
}

void KelSliceQosSm::clearBackPointers() {
    const auto clear = []( auto & reactor ) { reactor.smIs( nullptr ); };
    forEach( clear, velClock_, velTmConfig_, velTmBufferParams_, velSystemStatus_,
             velEthPhyIntfStatusDir_ );
    for ( auto entry : velTmIntfConfig_ ) {
        clear( *entry.value );
    }
    for ( auto entry : intfStatus_ ) {
        clear( *entry.value );
    }
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

Ptr<KelSliceQosLeakHandlerSm>
KelSliceQosSm::leakHandlerSmIs( U32 deviceId, Ptr<const KelSlice::ChipStatus> chipStatus,
                                Ptr<const TmBufferParamsConfig> tmBufferParams,
                                Ptr<const TmCountersData> tmCountersData ) {
    leakHandlerSm_ =
        KelSliceQosLeakHandlerSmIs( deviceId, std::move( chipStatus ), std::move( tmBufferParams ),
                                    std::move( tmCountersData ) );
    leakHandlerSm_->hasNotificationActiveIs( true );
    return leakHandlerSm_;
}

void KelSliceQosSm::leakHandlerSmDel() { leakHandlerSm_ = nullptr; }

Ptr<KelSliceQosCli> KelSliceQosSm::cliCallbackIs( const std::string & name,
                                                  const std::string & owner, KelSliceQosSm * sm ) {
    if ( cliCallback_ && cliCallback_->name() == name && cliCallback_->commandType() == owner &&
         cliCallback_->kelSliceQosSm() == sm ) {
        return cliCallback_;
    }
    cliCallbackDel();
    cliCallback_ = KelSliceQosCli::KelSliceQosCliIs( name, owner, sm );
    cliCallback_->parentIs( this );
    return cliCallback_;
}

// The command channel may hold the callback for longer: it takes no more commands, and what holds
// it still cannot reach this state machine.
void KelSliceQosSm::cliCallbackDel() {
    if ( !cliCallback_ ) {
        return;
    }
    if ( cmdRequestDirSm_ &&
         cmdRequestDirSm_->agentCommandCallback( cliCallback_->commandType() ).get() ==
             cliCallback_.get() ) {
        cmdRequestDirSm_->agentCommandCallbackDel( cliCallback_->commandType() );
    }
    cliCallback_->parentIs( nullptr );
    cliCallback_->kelSliceQosSmIs( nullptr );
    cliCallback_ = nullptr;
}

void KelSliceQosSm::syncTmIntfConfig() {
    for ( auto entry : tmConfig()->tmIntfConfig() ) {
        tmIntfConfigIs( entry.key, entry.value );
    }
    for ( auto entry : velTmIntfConfig_ ) {
        if ( !tmConfig()->tmIntfConfigHas( entry.key ) ) {
            tmIntfConfigDel( entry.key );
        }
    }
}

Ptr<KelSliceQosSm::VelTmIntfConfig> KelSliceQosSm::velTmIntfConfig( PortIndex port ) const {
    const auto * reactor = velTmIntfConfig_.find( port );
    return reactor ? *reactor : nullptr;
}

Ptr<KelSliceQosSm::VelTmIntfConfig>
KelSliceQosSm::tmIntfConfigIs( PortIndex port, Ptr<const TmIntfConfig> config ) {
    if ( !config ) {
        throw Kel::NullArgumentException( "tmIntfConfigIs: null TmIntfConfig" );
    }
    auto reactor = velTmIntfConfig( port );
    if ( reactor ) {
        reactor->notifierIs( std::move( config ) );
        return reactor;
    }
    reactor = makePtr<VelTmIntfConfig>( std::move( config ), port, this );
    reactor->hasNotificationActiveIs( true );
    velTmIntfConfig_.insertOrAssign( port, reactor );
    return reactor;
}

void KelSliceQosSm::tmIntfConfigDel( PortIndex port ) {
    if ( const auto reactor = velTmIntfConfig( port ) ) {
        reactor->cleanup();
        velTmIntfConfig_.erase( port );
        reactor->velDoZombieReactors( true );
    }
}

void KelSliceQosSm::tmIntfConfigDelAll() {
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
            << " flowControlType " << stringValue( config->flowControlType() );
        if ( config->flowControlType() == flowControlTypePfc ) {
            KEL_TRACE( sliceTrace, 4 ) << "handleCosToTcMap:     has flowControlTypePfc ";
            doProgramIntfPfcCosToTcMap( entry.key );
        }
    }
}

void KelSliceQosSm::doProgramIntfPfcCosToTcMap( PortIndex port ) const {
    const U32 devId = deviceId();
    const U32 portId = port.value();
    KEL_TRACE( sliceTrace, 4 ) << "doProgramIntfPfcCosToTcMap"
                               << ": "
                               << "portId " << portId;
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
