#pragma once

#include "KelQos/Slice/KelSliceQosSmAccount.h"
#include "Platform/Framework/Clock.h"

#include <optional>

namespace KelQos {

// What the buffer-allocation syslog has to report, for each direction through the chip. The
// constants end in an underscore; the text forms do not.
enum BufferAllocationLogState : U8 {
    bufferAllocationIngressRecoveredLog_ = 0,
    bufferAllocationEgressRecoveredLog_ = 1,
    bufferAllocationIngressFailedLog_ = 2,
    bufferAllocationEgressFailedLog_ = 3,
};
const char * stringValue( BufferAllocationLogState state );

// One direction through the packet buffer: how many of its cells are reserved, how many are left to
// share, and what the operator has still to be told. A report is absent, or there with a bool; it
// is pending when that is true.
struct BufferDirection {
    U32 reservedCells = 0;
    S32 sharedCells = 0; // 0 while more is reserved than there is
    std::optional<bool> failedReport;
    std::optional<bool> recoveredReport;

    bool hasFailed( U32 capacity ) const { return reservedCells > capacity; }
    bool hasRecovered( U32 capacity ) const {
        return !hasFailed( capacity ) && failedReport.value_or( false );
    }
    // Shares out what is left of the capacity, and makes the reports those of the new state.
    void settle( U32 capacity );

    friend bool operator==( const BufferDirection &, const BufferDirection & ) = default;
};

// The buffer account of a chip as it was last computed. Starts at 0 and is not cleared when
// interfaces go away, only computed anew.
struct BufferFigures {
    U32 totalCells = 0;                    // the chip's packet buffer
    U32 totalCellsAvailableForIngress = 0; // of these
    Reservation counted;                   // in the configuration
    BufferDirection ingress;
    BufferDirection egress;

    // As they are published, in 32 bits.
    U32 ppgMinCells() const { return static_cast<U32>( counted.ppgMinCells ); }
    U32 headroomCells() const { return static_cast<U32>( counted.headroomCells ); }
    U32 txQMinCells() const { return static_cast<U32>( counted.txQMinCells ); }

    std::optional<bool> & report( BufferAllocationLogState state );
    const std::optional<bool> & report( BufferAllocationLogState state ) const {
        return const_cast<BufferFigures *>( this )->report( state );
    }
};

// The packet buffer of a chip: what the configuration reserves of it, the shared pools that are
// made of the rest, and the reports about reservations that do not fit. All counts are in cells.
class SharedPools {
  public:
    explicit SharedPools( U32 deviceId ) : deviceId_( deviceId ) {}

    const BufferFigures & figures() const { return figures_; }

    // The timer of the reports, whose expiry is to call handleSyslogClock(). Null, the default,
    // reports nothing. Must outlive the pools, or be replaced.
    void syslogClockIs( Kel::TimedNotifiee<Kel::Clock> * clock ) { syslogClock_ = clock; }
    // Seconds from the last recomputation to the reports, and between repeated reports.
    static constexpr F64 bufferSyslogClockInterval() { return 3.0; }

    // Guaranteed minimum of each pipe's mirror port; takes effect with the next two calls.
    U32 minLimitCellsForMirroring() const { return minLimitCellsForMirroring_; }
    void minLimitCellsForMirroringIs( U32 cells ) { minLimitCellsForMirroring_ = cells; }
    // Programs the mirror ports.
    void handleMinLimitCellsForMirroring() const;

    // Recomputes the account from the configuration as it is now (null reserves nothing) and
    // programs the pools. What does not fit leaves nothing to share and is reported later.
    void reconfigureSharedPools( const TmConfig * config, U32 totalCellsAvailableForIngress );
    // Makes the pending reports, once the chip is initialized, and arms the timer for the next.
    void handleSyslogClock( bool initialized );

    // The reports as a map from log state to bool.
    bool bufferAllocationLogStateCollEmpty() const;
    bool bufferAllocationLogStateCollHas( BufferAllocationLogState state ) const {
        return figures_.report( state ).has_value();
    }
    bool bufferAllocationLogStateColl( BufferAllocationLogState state ) const {
        return figures_.report( state ).value_or( false );
    }
    void bufferAllocationLogStateCollIs( BufferAllocationLogState state, bool pending ) {
        figures_.report( state ) = pending;
    }
    void bufferAllocationLogStateCollDel( BufferAllocationLogState state ) {
        figures_.report( state ).reset();
    }

  private:
    // Under the names that the report of a failed call quotes.
    U32 ingressSharedPoolCellCount() const { return static_cast<U32>( ingress().sharedCells ); }
    U32 egressSharedPoolCellCount() const { return static_cast<U32>( egress().sharedCells ); }
    const BufferDirection & ingress() const { return figures_.ingress; }
    const BufferDirection & egress() const { return figures_.egress; }

    void accountIngress();
    void accountEgress();
    void programSharedPools() const;
    void armSyslogClock();

    const U32 deviceId_;
    U32 minLimitCellsForMirroring_ = defaultMinLimitCellsForMirroring;
    BufferFigures figures_;
    Kel::TimedNotifiee<Kel::Clock> * syslogClock_ = nullptr;
    BufferAccount account_;
};

} // namespace KelQos
