#pragma once

#include "Platform/Entities/TmConfig.h"

#include <array>

namespace KelQos {

// Each pipe has a port through which it copies mirrored packets.
constexpr U32 mirrorPipes = 4;
constexpr U32 defaultMinLimitCellsForMirroring = 480; // cells of each

// Two jumbo packets may still be on their way before the far end of a link obeys a pause.
constexpr U64 pauseHeadroom = U64{ 2 } * TmConfigConstants::tofinoJumboPktCells(); // cells

// What a configuration reserves of the packet buffer, in true sums. The account of the chip, and
// what it publishes, has 32 bits: there a sum of 2^32 cells or more wraps.
struct Reservation {
    U32 numPpgs = 0;       // priority groups that map at least one class
    U64 ppgMinCells = 0;   // their guaranteed minimums
    U64 headroomCells = 0; // for what still arrives after pause has been sent
    U32 numTxQs = 0;       // transmit queues
    U64 txQMinCells = 0;   // their guaranteed minimums

    // The rules of the account: what a port reserves by its flow control, and what each of its
    // groups and queues adds.
    static Reservation ofPort( FlowControlType flowControl ) {
        return { .headroomCells = flowControl == flowControlTypeLinkPause ? pauseHeadroom : 0 };
    }
    static Reservation ofPpg( FlowControlType flowControl, U8 internalCosBmp, bool pfcEnabled,
                              U32 minLimitCells ) {
        if ( internalCosBmp == 0 ) {
            return {};
        }
        const bool pauses = flowControl == flowControlTypePfc && pfcEnabled;
        return { .numPpgs = 1,
                 .ppgMinCells = minLimitCells,
                 .headroomCells = pauses ? pauseHeadroom : 0 };
    }
    static Reservation ofTxQueue( U32 minLimitCells ) {
        return { .numTxQs = 1, .txQMinCells = minLimitCells };
    }

    // Together with what is reserved whatever the configuration says: the minimums of the mirror
    // ports, and the multicast pool.
    U64 ingressCells( U32 minLimitCellsForMirroring ) const {
        return ppgMinCells + headroomCells + U64{ mirrorPipes } * minLimitCellsForMirroring;
    }
    U64 egressCells() const {
        return txQMinCells + TmConfigConstants::multicastReservedPoolCellCount();
    }

    Reservation & operator+=( const Reservation & other ) {
        numPpgs += other.numPpgs;
        ppgMinCells += other.ppgMinCells;
        headroomCells += other.headroomCells;
        numTxQs += other.numTxQs;
        txQMinCells += other.txQMinCells;
        return *this;
    }
    Reservation & operator-=( const Reservation & other ) {
        numPpgs -= other.numPpgs;
        ppgMinCells -= other.ppgMinCells;
        headroomCells -= other.headroomCells;
        numTxQs -= other.numTxQs;
        txQMinCells -= other.txQMinCells;
        return *this;
    }
    friend bool operator==( const Reservation &, const Reservation & ) = default;
};

// Keeps the reservation of all interfaces: it has a sum per interface, and sums again only those
// that changed since it was last asked. The result is always exactly that of a walk over the
// configuration as it is now; debug builds check that it is.
class BufferAccount : private Kel::ChangeObserver {
  public:
    // What this configuration reserves as it is now; nothing when null. Another one than the last
    // time is walked whole. The result is valid until the next call.
    const Reservation & reservation( const TmConfig * config ) {
        if ( config != config_ || staleCount_ > 0 || !tellsChanges_ ) {
            bringUpToDate( config );
        }
#ifndef NDEBUG
        checkAgainstWalk();
#endif
        return total_;
    }

    // The plain walk over everything.
    static Reservation walk( const TmConfig & config );
    static Reservation walk( const TmIntfConfig & config );

  private:
    static constexpr std::size_t ports = KelPortTypes::PortIndex::invalid + 1;

    void configIs( const TmConfig * config );
    void bringUpToDate( const TmConfig * config );
    void checkAgainstWalk() const;
    void memberChanged( const Kel::Entity & member ) override;
    void markStale( KelPortTypes::PortIndex port );
    void refresh( KelPortTypes::PortIndex port );

    const TmConfig * config_ = nullptr; // the root that is observed
    bool tellsChanges_ = true;
    Reservation total_;
    std::array<Reservation, ports> sums_;
    std::array<bool, ports> isStale_{};
    std::array<U16, ports> stale_{}; // the first staleCount_: ports to sum again
    std::size_t staleCount_ = 0;
};

} // namespace KelQos
