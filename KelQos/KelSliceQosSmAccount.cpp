#include "KelQos/KelSliceQosSmAccount.h"

#include "Platform/Framework/Assert.h"

namespace KelQos {

using KelPortTypes::PortIndex;

namespace {

// Two jumbo packets may be under way before the far end of a link obeys a pause.
constexpr U32 headroomCells = 2 * TmConfigConstants::tofinoJumboPktCells();

} // namespace

Reservation & Reservation::operator+=( const Reservation & other ) {
    numPpgs += other.numPpgs;
    ppgMinCells += other.ppgMinCells;
    headroomCells += other.headroomCells;
    numTxQs += other.numTxQs;
    txQMinCells += other.txQMinCells;
    return *this;
}

Reservation & Reservation::operator-=( const Reservation & other ) {
    numPpgs -= other.numPpgs;
    ppgMinCells -= other.ppgMinCells;
    headroomCells -= other.headroomCells;
    numTxQs -= other.numTxQs;
    txQMinCells -= other.txQMinCells;
    return *this;
}

Reservation BufferAccount::walk( const TmIntfConfig & config ) {
    Reservation sum;
    if ( config.flowControlType() == flowControlTypeLinkPause ) {
        sum.headroomCells += headroomCells;
    }
    const bool pfc = config.flowControlType() == flowControlTypePfc;
    config.tmPpgConfig().visit( [&]( PpgId, const Kel::Ptr<TmPpgConfig> & ppg ) {
        if ( ppg->internalCosBmp() == 0 ) {
            return;
        }
        sum.ppgMinCells += ppg->minLimitCells();
        if ( pfc && ppg->pfcEnabled() ) {
            sum.headroomCells += headroomCells;
        }
        ++sum.numPpgs;
    } );
    config.tmTxQueueConfig().visit( [&]( TxQueueId, const Kel::Ptr<TmTxQueueConfig> & queue ) {
        sum.txQMinCells += queue->minLimitCells();
        ++sum.numTxQs;
    } );
    return sum;
}

Reservation BufferAccount::walk( const TmConfig & config ) {
    Reservation sum;
    config.tmIntfConfig().visit(
        [&]( PortIndex, const Kel::Ptr<TmIntfConfig> & intf ) { sum += walk( *intf ); } );
    return sum;
}

void BufferAccount::configIs( Kel::Ptr<const TmConfig> config ) {
    rootIs( config );
    config_ = std::move( config );
    total_ = {};
    sums_ = {};
    isStale_ = {};
    staleCount_ = 0;
    if ( config_ ) {
        config_->tmIntfConfig().visit(
            [&]( PortIndex port, const Kel::Ptr<TmIntfConfig> & ) { markStale( port ); } );
    }
}

const Reservation & BufferAccount::reservation() {
    if ( config_ && !config_->tellsChangesBelow() ) {
        total_ = walk( *config_ );
        return total_;
    }
    while ( staleCount_ > 0 ) {
        refresh( PortIndex( stale_[--staleCount_] ) );
    }
#ifndef NDEBUG
    KEL_ASSERT( !config_ || total_ == walk( *config_ ) );
#endif
    return total_;
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
