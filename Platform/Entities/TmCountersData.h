#pragma once

#include "Platform/Entities/KelId.h"
#include "Platform/Framework/Entity.h"
#include "Platform/Framework/HashMap.h"

#include <array>
#include <string>

namespace KelQos {

// What a per-index counter counts.
enum CounterType : U32 {
    counterTypePpgMinUsage = 0,    // cells in use from a group's guaranteed area
    counterTypePpgSharedUsage = 1, // cells in use from the shared pool
    counterTypePpgSkidUsage = 2,   // cells in use from the skid area
    counterTypeQueueUsage = 4,     // cells in use by a queue
    counterTypePpgDrops = 6,       // packets dropped in a group; grows, and is cleared by snapshot
};
// The member's name; "unknown" for a number without one.
const char * stringValue( CounterType type );

// Chip-wide counters of a pipe that the leak handler looks at.
enum BlockLevelCounterName : U32 {
    blockLevelWacDropBufFull = 2, // ingress drops because the buffer was full
    blockLevelEpipePktDrop = 3,   // packets dropped in the egress pipe
};
const char * stringValue( BlockLevelCounterName name );

enum BlockLevelCounterType : U32 {
    blockLevelCounterTypeGauge = 1, // a state; every other type grows and is cleared by snapshot
};
const char * stringValue( BlockLevelCounterType type );

struct BlockLevelCounter {
    std::string name; // for display
    BlockLevelCounterType type{};
    U64 value = 0;
};
using BlockLevelCounters = Kel::HashMap<BlockLevelCounterName, BlockLevelCounter>;

// Usage counters of one chip: the latest values, or the values at the last clear. Filled by the
// agent that polls the chip; a counter that was never set reads as 0.
class TmCountersData : public Kel::Entity {
  public:
    // `index`: the low byte of a group's handle, or the port number within the pipe x 8 + queue
    // number.
    U64 getCounter( KelId::KelDevId devId, KelId::KelPipeId pipeId, U32 index,
                    CounterType type ) const;
    void setCounter( KelId::KelDevId devId, KelId::KelPipeId pipeId, U32 index, CounterType type,
                     const U64 & value );
    void counterDel( KelId::KelDevId devId, KelId::KelPipeId pipeId, U32 index, CounterType type );

    // The pipe's block-level counters, or null when that pipe was never fetched. Valid until the
    // store changes.
    const BlockLevelCounters * getBlockLevelCountersByPipePtr( KelId::KelDevId devId,
                                                               KelId::KelPipeId pipeId ) const;
    U64 getBlockLevelCounter( KelId::KelDevId devId, KelId::KelPipeId pipeId,
                              BlockLevelCounterName name ) const;
    // Sets the value; the pipe counts as fetched from then on. The display name stays.
    void setBlockLevelCounter( KelId::KelDevId devId, KelId::KelPipeId pipeId,
                               BlockLevelCounterName name, BlockLevelCounterType type,
                               const U64 & value );

    // For the owner of the store: marks a pipe as fetched; sets a whole entry; removes one or all.
    void blockLevelCountersIs( KelDriver::KelDevTgt pipe );
    void blockLevelCounterIs( KelDriver::KelDevTgt pipe, BlockLevelCounterName name,
                              BlockLevelCounter counter );
    void blockLevelCounterDel( KelDriver::KelDevTgt pipe, BlockLevelCounterName name );
    void blockLevelCountersDel( KelDriver::KelDevTgt pipe );

  private:
    // Counters that are read one after the other lie side by side. 0: absent.
    static constexpr U32 countersOfAPage = 64;
    using Page = std::array<U64, countersOfAPage>;
    static U64 pageKey( KelId::KelDevId devId, KelId::KelPipeId pipeId, U32 index,
                        CounterType type );

    struct Block : Kel::Counted {
        BlockLevelCounters counters;
    };
    BlockLevelCounters & block( KelDriver::KelDevTgt pipe );

    Kel::HashMap<U64, Page> pages_;
    Kel::HashMap<KelDriver::KelDevTgt, Kel::Ptr<Block>> blocks_;
};

} // namespace KelQos
