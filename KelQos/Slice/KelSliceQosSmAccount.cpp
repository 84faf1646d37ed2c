#include "KelQos/Slice/KelSliceQosSmAccount.h"

#include "Platform/Framework/Assert.h"

namespace KelQos {

using KelPortTypes::PortIndex;

Reservation BufferAccount::walk( const TmIntfConfig & config ) {
    const FlowControlType flowControl = config.flowControlType();
    Reservation sum = Reservation::ofPort( flowControl );
    config.tmPpgConfig().visit( [&]( PpgId, const Kel::Ptr<TmPpgConfig> & ppg ) {
        sum += Reservation::ofPpg( flowControl, ppg->internalCosBmp(), ppg->pfcEnabled(),
                                   ppg->minLimitCells() );
    } );
    config.tmTxQueueConfig().visit( [&]( TxQueueId, const Kel::Ptr<TmTxQueueConfig> & queue ) {
        sum += Reservation::ofTxQueue( queue->minLimitCells() );
    } );
    return sum;
}

Reservation BufferAccount::walk( const TmConfig & config ) {
    Reservation sum;
    config.tmIntfConfig().visit(
        [&]( PortIndex, const Kel::Ptr<TmIntfConfig> & intf ) { sum += walk( *intf ); } );
    return sum;
}

void BufferAccount::configIs( const TmConfig * config ) {
    rootIs( Kel::Ptr<const TmConfig>( config ) );
    config_ = config;
    tellsChanges_ = !config || config->tellsChangesBelow();
    total_ = {};
    sums_ = {};
    isStale_ = {};
    staleCount_ = 0;
    if ( config_ ) {
        config_->tmIntfConfig().visit(
            [&]( PortIndex port, const Kel::Ptr<TmIntfConfig> & ) { markStale( port ); } );
    }
}

void BufferAccount::bringUpToDate( const TmConfig * config ) {
    if ( config != config_ ) {
        configIs( config );
    }
    if ( !tellsChanges_ ) {
        total_ = walk( *config_ );
        return;
    }
    while ( staleCount_ > 0 ) {
        refresh( PortIndex( stale_[--staleCount_] ) );
    }
}

void BufferAccount::checkAgainstWalk() const {
    KEL_ASSERT( total_ == ( config_ ? walk( *config_ ) : Reservation() ) );
}

void BufferAccount::memberChanged( const Kel::Entity & member ) {
    markStale( static_cast<const TmIntfConfig &>( member ).portIndex() );
}

void BufferAccount::markStale( PortIndex port ) {
    if ( !isStale_[port.value()] ) {
        isStale_[port.value()] = true;
        stale_[staleCount_++] = port.value();
    }
}

void BufferAccount::refresh( PortIndex port ) {
    isStale_[port.value()] = false;
    Reservation & sum = sums_[port.value()];
    total_ -= sum;
    const Kel::Ptr<TmIntfConfig> config = config_->tmIntfConfig( port );
    sum = config ? walk( *config ) : Reservation();
    total_ += sum;
}

} // namespace KelQos
