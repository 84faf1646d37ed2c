#include "KelQos/Slice/KelSliceQosSmPools.h"

#include "KelQos/Slice/KelSliceQosSmLog.h"
#include "Platform/Driver/CheckedCall.h"
#include "Platform/Driver/TmDriver.h"
#include "Platform/Framework/Assert.h"

#include <array>

namespace KelQos {

namespace {

// The port through which a pipe copies mirrored packets.
constexpr U32 mirrorPipePortIndex( U32 pipe ) { return pipe * 128 + 72; }

} // namespace

const char * stringValue( BufferAllocationLogState state ) {
    constexpr std::array names{
        "bufferAllocationIngressRecoveredLog", "bufferAllocationEgressRecoveredLog",
        "bufferAllocationIngressFailedLog", "bufferAllocationEgressFailedLog" };
    return state < names.size() ? names[state] : "unknown";
}

void BufferDirection::settle( U32 capacity ) {
    if ( hasFailed( capacity ) ) {
        sharedCells = 0;
        failedReport = true;
        recoveredReport.reset();
        return;
    }
    sharedCells = static_cast<S32>( capacity - reservedCells );
    if ( hasRecovered( capacity ) ) {
        recoveredReport = true;
    }
    failedReport.reset();
}

std::optional<bool> & BufferFigures::report( BufferAllocationLogState state ) {
    switch ( state ) {
    case bufferAllocationIngressRecoveredLog_:
        return ingress.recoveredReport;
    case bufferAllocationEgressRecoveredLog_:
        return egress.recoveredReport;
    case bufferAllocationIngressFailedLog_:
        return ingress.failedReport;
    case bufferAllocationEgressFailedLog_:
        break;
    }
    return egress.failedReport;
}

bool SharedPools::bufferAllocationLogStateCollEmpty() const {
    return !ingress().failedReport && !ingress().recoveredReport && !egress().failedReport &&
           !egress().recoveredReport;
}

void SharedPools::handleMinLimitCellsForMirroring() const {
    KEL_TRACE( sliceTrace, 9 ) << "handleMinLimitCellsForMirroring: ";
    const U32 devId = deviceId_;
    for ( U32 pipe = 0; pipe < mirrorPipes; ++pipe ) {
        S32 mirrorPpgHandle = 0;
        // Every port has a default group; if this one is invalid, the call below fails.
        (void)bf_tm_ppg_defaultppg_get( devId, mirrorPipePortIndex( pipe ), &mirrorPpgHandle );
        KEL_TM_CHECKED( bf_tm_ppg_guaranteed_min_limit_set( devId, mirrorPpgHandle,
                                                            minLimitCellsForMirroring() ) );
    }
}

void SharedPools::reconfigureSharedPools( const TmConfig * config,
                                          U32 totalCellsAvailableForIngress ) {
    KEL_TRACE( sliceTrace, 6 ) << "reconfigureSharedPools: ";
    figures_.counted = account_.reservation( config );
    figures_.totalCellsAvailableForIngress = totalCellsAvailableForIngress;
    const U32 devId = deviceId_;
    KEL_TM_CHECKED(
        bf_tm_pool_skid_size_set( devId, 128 * 4 * 2 * TmConfigConstants::tofinoJumboPktCells() ) );
    U32 cells = 0;
    (void)bf_tm_total_cell_count_get( devId, &cells ); // failed: 0, nothing is shared for now
    figures_.totalCells = cells;
    KEL_TRACE( sliceTrace, 6 ) << "reconfigureSharedPools: Total Cells Available: " << cells
                               << " totalCellsAvailableForIngress: "
                               << totalCellsAvailableForIngress;
    accountIngress();
    accountEgress();
    if ( !bufferAllocationLogStateCollEmpty() ) {
        KEL_TRACE( sliceTrace, 0 ) << "reconfigureSharedPools: Scheduling buffer log clock";
        armSyslogClock();
    }
    KEL_TRACE( sliceTrace, 6 )
        << "reconfigureSharedPools: Egress Admission Control Details numTxQsAllocated: "
        << figures_.counted.numTxQs << " txQMinCellTotal: " << figures_.txQMinCells()
        << " totalEgressReservedCellCount: " << egress().reservedCells
        << " egressSharedPoolCellCount: " << egress().sharedCells;
    programSharedPools();
}

void SharedPools::accountIngress() {
    BufferDirection & ingress = figures_.ingress;
    ingress.reservedCells =
        static_cast<U32>( figures_.counted.ingressCells( minLimitCellsForMirroring() ) );
    const U32 capacity = figures_.totalCellsAvailableForIngress;
    if ( ingress.hasFailed( capacity ) ) {
        KEL_TRACE( sliceTrace, 0 )
            << "reconfigureSharedPools: Ingress buffer reserved > totalCells, could be intermittent, see syslog";
    } else if ( ingress.hasRecovered( capacity ) ) {
        KEL_TRACE( sliceTrace, 0 )
            << "reconfigureSharedPools: Ingress buffer reservation now within available memory";
        KEL_ASSERT( !bufferAllocationLogStateCollHas( bufferAllocationIngressRecoveredLog_ ) );
    }
    ingress.settle( capacity );
    KEL_TRACE( sliceTrace, 6 )
        << "reconfigureSharedPools: Ingress Admission Control Details numPpgsAllocated: "
        << figures_.counted.numPpgs << " ppgMinCellCount: " << figures_.ppgMinCells()
        << " globalHeadroomCellCount: " << figures_.headroomCells()
        << " totalIngressReservedCellCount: " << ingress.reservedCells
        << " ingressSharedPoolCellCount: " << ingress.sharedCells;
}

void SharedPools::accountEgress() {
    BufferDirection & egress = figures_.egress;
    egress.reservedCells = static_cast<U32>( figures_.counted.egressCells() );
    const U32 capacity = figures_.totalCells;
    if ( egress.hasFailed( capacity ) ) {
        KEL_TRACE( sliceTrace, 0 )
            << "reconfigureSharedPools: Egress buffer reserved > totalCells, could be intermittent, see syslog";
    } else if ( egress.hasRecovered( capacity ) ) {
        KEL_TRACE( sliceTrace, 0 )
            << "reconfigureSharedPools: Egress buffer reservation now within available memory";
        KEL_ASSERT( !bufferAllocationLogStateCollHas( bufferAllocationEgressRecoveredLog_ ) );
    }
    egress.settle( capacity );
}

void SharedPools::programSharedPools() const {
    const U32 devId = deviceId_;
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

void SharedPools::armSyslogClock() {
    if ( syslogClock_ && syslogClock_->notifier() ) {
        syslogClock_->timeMinIs( syslogClock_->notifier()->now() + bufferSyslogClockInterval() );
    }
}

void SharedPools::handleSyslogClock( bool initialized ) {
    KEL_TRACE( sliceTrace, 0 ) << "handleSyslogClock:  handleSyslogClock";
    if ( !initialized ) {
        return;
    }
    const auto reportRecovery = []( BufferDirection & direction, const char * name ) {
        if ( direction.recoveredReport.value_or( false ) ) {
            log( KEL_TM_QUEUE_RESERVED_NORMAL, name );
            direction.recoveredReport.reset();
        }
    };
    if ( ingress().failedReport.value_or( false ) ) {
        log( KEL_TM_QUEUE_RESERVED_INVALID, ingress().reservedCells, "ingress" );
        KEL_ASSERT( !bufferAllocationLogStateCollHas( bufferAllocationIngressRecoveredLog_ ) );
    }
    if ( egress().failedReport.value_or( false ) ) {
        log( KEL_TM_QUEUE_RESERVED_INVALID, egress().reservedCells, "egress" );
        KEL_ASSERT( !bufferAllocationLogStateCollHas( bufferAllocationEgressRecoveredLog_ ) );
    }
    reportRecovery( figures_.ingress, "ingress" );
    reportRecovery( figures_.egress, "egress" );
    if ( !bufferAllocationLogStateCollEmpty() ) {
        armSyslogClock();
    } else if ( syslogClock_ ) {
        syslogClock_->timeMinIs( Kel::never );
    }
}

} // namespace KelQos
