#pragma once

#include "Platform/Framework/Types.h"

namespace KelQos {

// What the buffer-allocation syslog has to report, for each side of the chip. The constants carry
// an underscore; the text forms do not.
enum BufferAllocationLogState : U8 {
    bufferAllocationIngressRecoveredLog_ = 0,
    bufferAllocationEgressRecoveredLog_ = 1,
    bufferAllocationIngressFailedLog_ = 2,
    bufferAllocationEgressFailedLog_ = 3,
};
const char * stringValue( BufferAllocationLogState state );

// The reports about over-reservation and its end that are still to be made: log states, each with a
// bool. One is pending when it is there and true.
class BufferAllocationLogStates {
  public:
    bool bufferAllocationLogStateCollEmpty() const { return present_ == 0; }
    bool bufferAllocationLogStateCollHas( BufferAllocationLogState state ) const {
        return ( present_ & bit( state ) ) != 0;
    }
    // Whether the report is pending.
    bool bufferAllocationLogStateColl( BufferAllocationLogState state ) const {
        return ( present_ & pending_ & bit( state ) ) != 0;
    }
    void bufferAllocationLogStateCollIs( BufferAllocationLogState state, bool pending ) {
        present_ |= bit( state );
        pending_ = pending ? pending_ | bit( state ) : pending_ & ~bit( state );
    }
    void bufferAllocationLogStateCollDel( BufferAllocationLogState state ) {
        present_ &= ~bit( state );
    }
    void bufferAllocationLogStateCollDelAll() { present_ = 0; }

    // Seconds from the last recomputation of the pools to the reports, and between two of them.
    static constexpr F64 bufferSyslogClockInterval() { return 3.0; }

  private:
    static constexpr U32 bit( BufferAllocationLogState state ) { return 1U << state; }

    U32 present_ = 0;
    U32 pending_ = 0;
};

// The buffer account of a chip as it was last computed, in cells unless said otherwise. Starts at 0
// and is not cleared when interfaces go away, only computed anew.
class BufferCounters {
  public:
    // The chip's packet buffer.
    U32 totalCellCount() const { return totalCellCount_; }
    // Number of priority groups that map at least one class, and their guaranteed minimums.
    U32 numPpgsAllocated() const { return numPpgsAllocated_; }
    U32 ppgMinCellCount() const { return ppgMinCellCount_; }
    // Reserved for what still arrives after a pause was sent.
    U32 globalHeadroomCellCount() const { return globalHeadroomCellCount_; }
    U32 totalIngressReservedCellCount() const { return totalIngressReservedCellCount_; }
    // What is left to share among the priority groups.
    S32 ingressSharedPoolCellCount() const { return ingressSharedPoolCellCount_; }
    // Number of transmit queues, and their guaranteed minimums.
    U32 numTxQsAllocated() const { return numTxQsAllocated_; }
    U32 txQMinCellCount() const { return txQMinCellCount_; }
    U32 totalEgressReservedCellCount() const { return totalEgressReservedCellCount_; }
    // What is left to share among the queues.
    S32 egressSharedPoolCellCount() const { return egressSharedPoolCellCount_; }

  protected:
    void totalCellCountIs( U32 cells ) { totalCellCount_ = cells; }
    void numPpgsAllocatedIs( U32 count ) { numPpgsAllocated_ = count; }
    void ppgMinCellCountIs( U32 cells ) { ppgMinCellCount_ = cells; }
    void globalHeadroomCellCountIs( U32 cells ) { globalHeadroomCellCount_ = cells; }
    void totalIngressReservedCellCountIs( U32 cells ) { totalIngressReservedCellCount_ = cells; }
    void ingressSharedPoolCellCountIs( S32 cells ) { ingressSharedPoolCellCount_ = cells; }
    void numTxQsAllocatedIs( U32 count ) { numTxQsAllocated_ = count; }
    void txQMinCellCountIs( U32 cells ) { txQMinCellCount_ = cells; }
    void totalEgressReservedCellCountIs( U32 cells ) { totalEgressReservedCellCount_ = cells; }
    void egressSharedPoolCellCountIs( S32 cells ) { egressSharedPoolCellCount_ = cells; }

  private:
    U32 totalCellCount_ = 0;
    U32 numPpgsAllocated_ = 0;
    U32 ppgMinCellCount_ = 0;
    U32 globalHeadroomCellCount_ = 0;
    U32 totalIngressReservedCellCount_ = 0;
    S32 ingressSharedPoolCellCount_ = 0;
    U32 numTxQsAllocated_ = 0;
    U32 txQMinCellCount_ = 0;
    U32 totalEgressReservedCellCount_ = 0;
    S32 egressSharedPoolCellCount_ = 0;
};

} // namespace KelQos
