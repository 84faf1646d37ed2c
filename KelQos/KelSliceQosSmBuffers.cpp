#include "KelQos/KelSliceQosSmBuffers.h"

#include "KelQos/KelSliceQosSm.h"
#include "KelQos/KelSliceQosSmLog.h"
#include "KelQos/KelSliceQosSmReactors.h"
#include "Platform/Driver/CheckedCall.h"
#include "Platform/Driver/TmDriver.h"
#include "Platform/Framework/Assert.h"

namespace KelQos {

namespace {

constexpr U32 mirrorPipes = 4;

// The port that mirrored packets of a pipe are copied through.
constexpr U32 mirrorPipePortIndex( U32 pipe ) { return pipe * 128 + 72; }

} // namespace

const char * stringValue( BufferAllocationLogState state ) {
    switch ( state ) {
    case bufferAllocationIngressRecoveredLog_:
        return "bufferAllocationIngressRecoveredLog";
    case bufferAllocationEgressRecoveredLog_:
        return "bufferAllocationEgressRecoveredLog";
    case bufferAllocationIngressFailedLog_:
        return "bufferAllocationIngressFailedLog";
    case bufferAllocationEgressFailedLog_:
        return "bufferAllocationEgressFailedLog";
    }
    return "unknown";
}

U32 KelSliceQosSm::totalCellsAvailableForIngress() const {
    const TmBufferParamsConfig * params = tmBufferParams();
    return params ? params->totalCellsAvailableForIngress() : 0;
}

void KelSliceQosSm::handleTotalCellsAvailableForIngress() {
    KEL_TRACE( sliceTrace, 4 ) << "handleTotalCellsAvailableForIngress"
                               << ": ";
    reconfigureSharedPools();
}

void KelSliceQosSm::minLimitCellsForMirroringIs( U32 cells ) {
    if ( cells != minLimitCellsForMirroring_ ) {
        minLimitCellsForMirroring_ = cells;
        handleMinLimitCellsForMirroring();
    }
}

void KelSliceQosSm::handleMinLimitCellsForMirroring() {
    KEL_TRACE( sliceTrace, 9 ) << "handleMinLimitCellsForMirroring"
                               << ": ";
    const U32 devId = deviceId();
    for ( U32 pipe = 0; pipe < mirrorPipes; ++pipe ) {
        S32 mirrorPpgHandle = 0;
        // Every port has a default group; the call below finds out about a handle that is none.
        (void)bf_tm_ppg_defaultppg_get( devId, mirrorPipePortIndex( pipe ), &mirrorPpgHandle );
        KEL_TM_CHECKED( bf_tm_ppg_guaranteed_min_limit_set( devId, mirrorPpgHandle,
                                                            minLimitCellsForMirroring() ) );
    }
    reconfigureSharedPools();
}

void KelSliceQosSm::reconfigureSharedPools() {
    KEL_TRACE( sliceTrace, 6 ) << "reconfigureSharedPools"
                               << ": ";
    const Reservation & reserved = account_.reservation();
    const U32 devId = deviceId();
    KEL_TM_CHECKED(
        bf_tm_pool_skid_size_set( devId, 128 * 4 * 2 * TmConfigConstants::tofinoJumboPktCells() ) );
    U32 cells = 0;
    (void)bf_tm_total_cell_count_get( devId, &cells ); // 0 shares nothing until the next time
    totalCellCountIs( cells );
    KEL_TRACE( sliceTrace, 6 ) << "reconfigureSharedPools: Total Cells Available: " << cells
                               << " totalCellsAvailableForIngress: "
                               << totalCellsAvailableForIngress();
    accountIngress( reserved );
    accountEgress( reserved );
    if ( !bufferAllocationLogStateCollEmpty() ) {
        KEL_TRACE( sliceTrace, 0 ) << "reconfigureSharedPools: Scheduling buffer log clock";
        armSyslogClock();
    }
    KEL_TRACE( sliceTrace, 6 ) << "reconfigureSharedPools: Egress Admission Control Details"
                               << " numTxQsAllocated: " << numTxQsAllocated()
                               << " txQMinCellTotal: " << txQMinCellCount()
                               << " totalEgressReservedCellCount: "
                               << totalEgressReservedCellCount()
                               << " egressSharedPoolCellCount: " << egressSharedPoolCellCount();
    programSharedPools();
}

void KelSliceQosSm::accountIngress( const Reservation & reserved ) {
    numPpgsAllocatedIs( reserved.numPpgs );
    ppgMinCellCountIs( reserved.ppgMinCells );
    globalHeadroomCellCountIs( reserved.headroomCells );
    totalIngressReservedCellCountIs( ppgMinCellCount() + globalHeadroomCellCount() +
                                     mirrorPipes * minLimitCellsForMirroring() );
    const U32 capacity = totalCellsAvailableForIngress();
    if ( totalIngressReservedCellCount() <= capacity ) {
        ingressSharedPoolCellCountIs(
            static_cast<S32>( capacity - totalIngressReservedCellCount() ) );
        if ( bufferAllocationLogStateColl( bufferAllocationIngressFailedLog_ ) ) {
            KEL_TRACE( sliceTrace, 0 ) << "reconfigureSharedPools: "
                                       << "Ingress buffer reservation now within available memory";
            KEL_ASSERT( !bufferAllocationLogStateCollHas( bufferAllocationIngressRecoveredLog_ ) );
            bufferAllocationLogStateCollIs( bufferAllocationIngressRecoveredLog_, true );
        }
        bufferAllocationLogStateCollDel( bufferAllocationIngressFailedLog_ );
    } else {
        KEL_TRACE( sliceTrace, 0 )
            << "reconfigureSharedPools: "
            << "Ingress buffer reserved > totalCells, could be intermittent, see syslog";
        bufferAllocationLogStateCollIs( bufferAllocationIngressFailedLog_, true );
        bufferAllocationLogStateCollDel( bufferAllocationIngressRecoveredLog_ );
        ingressSharedPoolCellCountIs( 0 );
    }
    KEL_TRACE( sliceTrace, 6 ) << "reconfigureSharedPools: Ingress Admission Control Details"
                               << " numPpgsAllocated: " << numPpgsAllocated()
                               << " ppgMinCellCount: " << ppgMinCellCount()
                               << " globalHeadroomCellCount: " << globalHeadroomCellCount()
                               << " totalIngressReservedCellCount: "
                               << totalIngressReservedCellCount()
                               << " ingressSharedPoolCellCount: " << ingressSharedPoolCellCount();
}

void KelSliceQosSm::accountEgress( const Reservation & reserved ) {
    numTxQsAllocatedIs( reserved.numTxQs );
    txQMinCellCountIs( reserved.txQMinCells );
    totalEgressReservedCellCountIs( txQMinCellCount() +
                                    TmConfigConstants::multicastReservedPoolCellCount() );
    if ( totalEgressReservedCellCount() <= totalCellCount() ) {
        egressSharedPoolCellCountIs(
            static_cast<S32>( totalCellCount() - totalEgressReservedCellCount() ) );
        if ( bufferAllocationLogStateColl( bufferAllocationEgressFailedLog_ ) ) {
            KEL_TRACE( sliceTrace, 0 ) << "reconfigureSharedPools: "
                                       << "Egress buffer reservation now within available memory";
            KEL_ASSERT( !bufferAllocationLogStateCollHas( bufferAllocationEgressRecoveredLog_ ) );
            bufferAllocationLogStateCollIs( bufferAllocationEgressRecoveredLog_, true );
        }
        bufferAllocationLogStateCollDel( bufferAllocationEgressFailedLog_ );
    } else {
        KEL_TRACE( sliceTrace, 0 )
            << "reconfigureSharedPools: "
            << "Egress buffer reserved > totalCells, could be intermittent, see syslog";
        bufferAllocationLogStateCollIs( bufferAllocationEgressFailedLog_, true );
        bufferAllocationLogStateCollDel( bufferAllocationEgressRecoveredLog_ );
        egressSharedPoolCellCountIs( 0 );
    }
}

void KelSliceQosSm::programSharedPools() {
    const U32 devId = deviceId();
    const auto ingressSharedPoolCellCount = [this] {
        return static_cast<U32>( BufferCounters::ingressSharedPoolCellCount() );
    };
    const auto egressSharedPoolCellCount = [this] {
        return static_cast<U32>( BufferCounters::egressSharedPoolCellCount() );
    };
    KEL_TRACE( sliceTrace, 6 ) << "reconfigureSharedPools: Programming ingressSharedPool";
    KEL_TM_CHECKED(
        bf_tm_pool_size_set( devId, BF_TM_IG_APP_POOL_0, ingressSharedPoolCellCount() ) );
    KEL_TM_CHECKED( bf_tm_pool_size_set( devId, BF_TM_IG_APP_POOL_1, 0 ) );
    KEL_TM_CHECKED( bf_tm_pool_size_set( devId, BF_TM_IG_APP_POOL_2, 0 ) );
    KEL_TM_CHECKED( bf_tm_pool_size_set( devId, BF_TM_IG_APP_POOL_3, 0 ) );
    KEL_TRACE( sliceTrace, 6 ) << "reconfigureSharedPools: Programming egressSharedPool";
    KEL_TM_CHECKED(
        bf_tm_pool_size_set( devId, BF_TM_EG_APP_POOL_0, egressSharedPoolCellCount() ) );
    KEL_TM_CHECKED( bf_tm_pool_size_set( devId, BF_TM_EG_APP_POOL_1, 0 ) );
    KEL_TM_CHECKED( bf_tm_pool_size_set( devId, BF_TM_EG_APP_POOL_2, 0 ) );
    KEL_TM_CHECKED( bf_tm_pool_size_set( devId, BF_TM_EG_APP_POOL_3,
                                         TmConfigConstants::multicastReservedPoolCellCount() ) );
}

void KelSliceQosSm::armSyslogClock() {
    if ( clock() ) {
        velClock_->timeMinIs( clock()->now() + bufferSyslogClockInterval() );
    }
}

void KelSliceQosSm::handleSyslogClock() {
    KEL_TRACE( sliceTrace, 0 ) << "handleSyslogClock: "
                               << " handleSyslogClock";
    if ( !initialized() ) {
        return;
    }
    if ( bufferAllocationLogStateColl( bufferAllocationIngressFailedLog_ ) ) {
        log( KEL_TM_QUEUE_RESERVED_INVALID, totalIngressReservedCellCount(), "ingress" );
        KEL_ASSERT( !bufferAllocationLogStateCollHas( bufferAllocationIngressRecoveredLog_ ) );
    }
    if ( bufferAllocationLogStateColl( bufferAllocationEgressFailedLog_ ) ) {
        log( KEL_TM_QUEUE_RESERVED_INVALID, totalEgressReservedCellCount(), "egress" );
        KEL_ASSERT( !bufferAllocationLogStateCollHas( bufferAllocationEgressRecoveredLog_ ) );
    }
    if ( bufferAllocationLogStateColl( bufferAllocationIngressRecoveredLog_ ) ) {
        log( KEL_TM_QUEUE_RESERVED_NORMAL, "ingress" );
        bufferAllocationLogStateCollDel( bufferAllocationIngressRecoveredLog_ );
    }
    if ( bufferAllocationLogStateColl( bufferAllocationEgressRecoveredLog_ ) ) {
        log( KEL_TM_QUEUE_RESERVED_NORMAL, "egress" );
        bufferAllocationLogStateCollDel( bufferAllocationEgressRecoveredLog_ );
    }
    if ( !bufferAllocationLogStateCollEmpty() ) {
        armSyslogClock();
    } else if ( clock() ) {
        velClock_->timeMinIs( Kel::never );
    }
}

} // namespace KelQos
