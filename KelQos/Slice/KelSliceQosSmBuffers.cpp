#include "KelQos/Slice/KelSliceQosSm.h"
#include "KelQos/Slice/KelSliceQosSmLog.h"
#include "KelQos/Slice/KelSliceQosSmReactors.h"

namespace KelQos {

namespace {

constexpr BufferAllocationLogState allBufferAllocationLogStates[]{
    bufferAllocationIngressRecoveredLog_, bufferAllocationEgressRecoveredLog_,
    bufferAllocationIngressFailedLog_, bufferAllocationEgressFailedLog_ };

} // namespace

// Where the state machine meets the packet buffer: it hands the pools what they need, and tells
// those who watch it of what they computed.

U32 KelSliceQosSm::totalCellsAvailableForIngress() const {
    const TmBufferParamsConfig * params = tmBufferParams();
    return params ? params->totalCellsAvailableForIngress() : 0;
}

// Nobody watches as a rule, and then it costs this one test.
template <class Work>
void KelSliceQosSm::tellingOfBuffers( const Work & work ) {
    if ( !isWatched() ) [[likely]] {
        work();
        return;
    }
    const BufferFigures before = figures();
    work();
    tellOfBuffers( before );
}

void KelSliceQosSm::tellOfBuffers( const BufferFigures & before ) {
    using Figures = const BufferFigures &;
    struct Row {
        Kel::AttributeId id;
        S64 ( *figure )( Figures );
    };
    static constexpr Row rows[]{
        { totalCellsAvailableForIngressAttr,
          []( Figures f ) -> S64 { return f.totalCellsAvailableForIngress; } },
        { totalCellCountAttr, []( Figures f ) -> S64 { return f.totalCells; } },
        { numPpgsAllocatedAttr, []( Figures f ) -> S64 { return f.counted.numPpgs; } },
        { ppgMinCellCountAttr, []( Figures f ) -> S64 { return f.ppgMinCells(); } },
        { globalHeadroomCellCountAttr, []( Figures f ) -> S64 { return f.headroomCells(); } },
        { totalIngressReservedCellCountAttr,
          []( Figures f ) -> S64 { return f.ingress.reservedCells; } },
        { ingressSharedPoolCellCountAttr,
          []( Figures f ) -> S64 { return f.ingress.sharedCells; } },
        { numTxQsAllocatedAttr, []( Figures f ) -> S64 { return f.counted.numTxQs; } },
        { txQMinCellCountAttr, []( Figures f ) -> S64 { return f.txQMinCells(); } },
        { totalEgressReservedCellCountAttr,
          []( Figures f ) -> S64 { return f.egress.reservedCells; } },
        { egressSharedPoolCellCountAttr, []( Figures f ) -> S64 { return f.egress.sharedCells; } },
    };
    const Kel::Ptr<KelSliceQosSm> alive( this );
    const BufferFigures after = figures();
    for ( const BufferAllocationLogState state : allBufferAllocationLogStates ) {
        if ( before.report( state ) != after.report( state ) ) {
            attributeChanged( bufferAllocationLogStateCollAttr, &state );
        }
    }
    for ( const Row & row : rows ) {
        if ( row.figure( before ) != row.figure( after ) ) {
            attributeChanged( row.id );
        }
    }
}

void KelSliceQosSm::handleTotalCellsAvailableForIngress() {
    KEL_TRACE( sliceTrace, 4 ) << "handleTotalCellsAvailableForIngress: ";
    reconfigureSharedPools();
}

void KelSliceQosSm::minLimitCellsForMirroringIs( U32 cells ) {
    if ( cells == minLimitCellsForMirroring() ) {
        return;
    }
    const Kel::Ptr<KelSliceQosSm> alive( this );
    pools_.minLimitCellsForMirroringIs( cells );
    attributeChanged( minLimitCellsForMirroringAttr );
    handleMinLimitCellsForMirroring();
}

void KelSliceQosSm::handleMinLimitCellsForMirroring() {
    pools_.handleMinLimitCellsForMirroring();
    reconfigureSharedPools();
}

void KelSliceQosSm::reconfigureSharedPools() {
    tellingOfBuffers(
        [this] { pools_.reconfigureSharedPools( tmConfig(), totalCellsAvailableForIngress() ); } );
}

void KelSliceQosSm::handleSyslogClock() {
    tellingOfBuffers( [this] { pools_.handleSyslogClock( initialized() ); } );
}

void KelSliceQosSm::bufferAllocationLogStateCollIs( BufferAllocationLogState state, bool pending ) {
    tellingOfBuffers( [&] { pools_.bufferAllocationLogStateCollIs( state, pending ); } );
}
void KelSliceQosSm::bufferAllocationLogStateCollDel( BufferAllocationLogState state ) {
    tellingOfBuffers( [&] { pools_.bufferAllocationLogStateCollDel( state ); } );
}
void KelSliceQosSm::bufferAllocationLogStateCollDelAll() {
    tellingOfBuffers( [this] {
        for ( const BufferAllocationLogState state : allBufferAllocationLogStates ) {
            pools_.bufferAllocationLogStateCollDel( state );
        }
    } );
}

} // namespace KelQos
