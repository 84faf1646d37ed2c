#include "bench/Chip/BenchChip.h"

#include "Platform/Logging/Syslog.h"

namespace KelBench {

using Kel::makePtr;
using namespace KelQos;
using KelPortTypes::PortIndex;

namespace {

constexpr U32 pipes = 4;

Kel::Ptr<TmPpgConfig> lossyGroup() {
    auto group = makePtr<TmPpgConfig>( PpgId::lossyPpgId() );
    group->internalCosBmpIs( 0xE7 );
    group->minLimitCellsIs( 20 );
    group->dynamicThresholdIs( baf8 );
    return group;
}

Kel::Ptr<TmPpgConfig> losslessGroup( PpgId id ) {
    auto group = makePtr<TmPpgConfig>( id );
    group->internalCosBmpIs( static_cast<U8>( 1U << id.value() ) );
    group->pfcEnabledIs( true );
    group->minLimitCellsIs( 20 );
    group->dynamicThresholdIs( baf8 );
    return group;
}

// Queues 3 and 4 carry the lossless classes, the last one is strict.
Kel::Ptr<TmTxQueueConfig> queueConfig( U32 id, bool strict ) {
    const bool lossless = id == 3 || id == 4;
    auto queue = makePtr<TmTxQueueConfig>( TxQueueId( static_cast<U8>( id ) ) );
    queue->pfcCosIs( lossless ? static_cast<S8>( id ) : S8{ -1 } );
    queue->priorityIs( strict ? 0 : 1 );
    queue->weightIs( lossless ? 15 : 14 );
    queue->minLimitCellsIs( 24 );
    queue->dynamicThresholdIs( baf8 );
    return queue;
}

} // namespace

BenchChip::BenchChip( const ChipSize & size ) : size_( size ) {
    // More groups than the buffer has room for are reported, here to nobody.
    Kel::syslogSinkIs( []( int, std::string_view, std::string_view ) {} );
    params_->totalCellsAvailableForIngressIs( 266240 );
    for ( U32 cos = 0; cos < Cos::count; ++cos ) {
        config_->cosToTcIs( Cos( cos ), static_cast<U8>( cos ) );
    }
    for ( U32 number = 0; number < size.ports; ++number ) {
        configure( number );
    }
}

std::string BenchChip::interfaceName( U32 number ) {
    return "Ethernet" + std::to_string( number + 1 );
}

PortIndex BenchChip::port( U32 number ) const {
    const U32 portsPerPipe = size_.ports / pipes;
    return PortIndex( number / portsPerPipe * 128 + number % portsPerPipe );
}

PpgId BenchChip::groupId( U32 index ) const {
    return index + 1 == size_.groups ? PpgId::lossyPpgId()
                                     : PpgId( static_cast<U8>( ( 3 + index ) % Cos::count ) );
}

void BenchChip::configure( U32 number ) {
    const Kel::IntfId intfId( interfaceName( number ) );
    auto intf = makePtr<TmIntfConfig>( port( number ) );
    intf->flowControlTypeIs( flowControlTypePfc );
    for ( U32 index = 0; index < size_.groups; ++index ) {
        const PpgId id = groupId( index );
        intf->tmPpgConfigIs( id == PpgId::lossyPpgId() ? lossyGroup() : losslessGroup( id ) );
    }
    for ( U32 id = 0; id < size_.queues; ++id ) {
        intf->tmTxQueueConfigIs( queueConfig( id, id + 1 == size_.queues ) );
    }
    config_->tmIntfConfigIs( intf );
    system_->portInfoIs( intfId, KelSystem::PortInfo( 0, port( number ) ) );
    system_->portToIntfIdIs( port( number ), intfId );
    interfaces_->intfStatusIs( intfId )->enabledIs( Interface::enabledStateEnabled );
}

void BenchChip::bringUp() {
    sm_ =
        kelSliceQosSmFactory( 0, activityManager_.config()->clock(), config_, status_, params_,
                              pfc_, system_, chip_, commands_, counters_, lastClear_, interfaces_ );
    activityManager_.advanceTo( activityManager_.now() );
}

void BenchChip::tearDown() {
    sm_ = nullptr;
    status_ = makePtr<TmStatus>();
    pfc_ = makePtr<KelPfcSharedState>();
}

TmIntfConfig & BenchChip::intf( U32 number ) { return *config_->tmIntfConfig( port( number ) ); }
TmPpgConfig & BenchChip::group( U32 number ) { return *intf( number ).tmPpgConfig( groupId( 0 ) ); }
TmTxQueueConfig & BenchChip::queue( U32 number ) {
    return *intf( number ).tmTxQueueConfig( TxQueueId( 1 ) );
}

} // namespace KelBench
